// The view service's state, its coordinate systems and view changes.
#include "host/embedded/view/view.h"

#include <algorithm>
#include <cmath>

#include "common/text.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/geom.h"

namespace kwhost::view {

namespace {

bool Finite(double v) {
  return std::isfinite(v);
}

bool Finite(const AcGePoint3d& p) {
  return Finite(p.x) && Finite(p.y) && Finite(p.z);
}

bool Finite(const AcGeVector3d& v) {
  return Finite(v.x) && Finite(v.y) && Finite(v.z);
}

// The display's axes in world coordinates (its origin is the target).
struct Axes {
  AcGeVector3d x, y, z;
};

Axes DisplayAxes() {
  const View& v = Current();
  const kwhost::db::Ecs ecs(v.direction);
  const AcGeVector3d ax = ecs.toWorld(1, 0, 0);
  const AcGeVector3d ay = ecs.toWorld(0, 1, 0);
  const double c = std::cos(v.twist);
  const double s = std::sin(v.twist);
  return {ax * c - ay * s, ax * s + ay * c, v.direction.normal()};
}

AcGePoint3d Combine(const AcGePoint3d& origin, const Axes& a, const AcGePoint3d& p) {
  return origin + a.x * p.x + a.y * p.y + a.z * p.z;
}

AcGePoint3d Project(const AcGePoint3d& origin, const Axes& a, const AcGePoint3d& p) {
  const AcGeVector3d d = p - origin;
  return {d.dotProduct(a.x), d.dotProduct(a.y), d.dotProduct(a.z)};
}

Axes UcsAxes() {
  const Ucs& u = Views().ucs;
  return {u.x, u.y, u.z()};
}

// The height that shows a window of that size on the whole screen (invariant 1).
double FittedHeight(double width, double height) {
  const State& s = Views();
  return std::max(height, width * s.screenHeight / s.screenWidth);
}

int ModeBits(const AcDbAbstractViewTableRecord& r, int previous) {
  int mode = previous & 8;  // UCS follow is the viewport's, not the view's
  if (r.perspectiveEnabled()) mode |= 1;
  if (r.frontClipEnabled()) mode |= 2;
  if (r.backClipEnabled()) mode |= 4;
  if (!r.frontClipAtEye()) mode |= 16;
  return mode;
}

bool Acceptable(const AcDbAbstractViewTableRecord& r) {
  const double numbers[] = {r.height(),
                            r.width(),
                            r.viewTwist(),
                            r.lensLength(),
                            r.frontClipDistance(),
                            r.backClipDistance(),
                            r.centerPoint().x,
                            r.centerPoint().y};
  for (double n : numbers) {
    if (!Finite(n)) return false;
  }
  return r.height() > 0 && r.width() > 0 && Finite(r.target()) && Finite(r.viewDirection()) &&
         Finite(r.viewDirection().length()) && r.viewDirection().length() > 0;
}

}  // namespace

State& Views() {
  static State state;
  return state;
}

void Reset() {
  Views() = State();
}

namespace {

Space& CurrentSpace() {
  State& s = Views();
  return InModelSpace() ? s.model : s.paper;
}

}  // namespace

View& Current() {
  return CurrentSpace().view;
}

void Remember() {
  Space& space = CurrentSpace();
  if (space.previous.size() == kPreviousViews) space.previous.erase(space.previous.begin());
  space.previous.push_back(space.view);
}

bool ShowPrevious() {
  Space& space = CurrentSpace();
  if (space.previous.empty()) return false;
  space.view = space.previous.back();
  space.previous.pop_back();
  return true;
}

bool InModelSpace() {
  return Views().layout == L"Model";
}

double Width() {
  const State& s = Views();
  return Current().height * s.screenWidth / s.screenHeight;
}

double PixelsToWorld(double pixels) {
  return pixels * Current().height / Views().screenHeight;
}

AcGePoint3d UcsToWorld(const AcGePoint3d& p, bool disp) {
  return Combine(disp ? AcGePoint3d::kOrigin : Views().ucs.origin, UcsAxes(), p);
}

AcGePoint3d WorldToUcs(const AcGePoint3d& p, bool disp) {
  return Project(disp ? AcGePoint3d::kOrigin : Views().ucs.origin, UcsAxes(), p);
}

AcGePoint3d DisplayToWorld(const AcGePoint3d& p, bool disp) {
  return Combine(disp ? AcGePoint3d::kOrigin : Current().target, DisplayAxes(), p);
}

AcGePoint3d WorldToDisplay(const AcGePoint3d& p, bool disp) {
  return Project(disp ? AcGePoint3d::kOrigin : Current().target, DisplayAxes(), p);
}

Acad::ErrorStatus SetView(const AcDbAbstractViewTableRecord& record, bool paperspace) {
  if (!Acceptable(record) || paperspace == InModelSpace()) return Acad::eInvalidInput;
  const double height = FittedHeight(record.width(), record.height());
  if (!(height <= kMaxViewSize)) return Acad::eInvalidInput;
  Remember();
  View& v = Current();
  v.center = record.centerPoint();
  v.height = height;
  v.target = record.target();
  v.direction = record.viewDirection();
  v.twist = record.viewTwist();
  v.lensLength = record.lensLength();
  v.frontZ = record.frontClipDistance();
  v.backZ = record.backClipDistance();
  v.mode = ModeBits(record, v.mode);
  return Acad::eOk;
}

bool ShowWindow(const AcGePoint2d& a, const AcGePoint2d& b) {
  const double width = std::abs(b.x - a.x);
  const double height = FittedHeight(width, std::abs(b.y - a.y));
  const AcGePoint2d center(a.x / 2 + b.x / 2, a.y / 2 + b.y / 2);
  if (!Finite(width) || !(height > 0 && height <= kMaxViewSize) || !Finite(center.x) ||
      !Finite(center.y)) {
    return false;
  }
  Remember();
  View& v = Current();
  v.center = center;
  v.height = height;
  return true;
}

bool SetUcs(const Ucs& ucs) {
  if (!Finite(ucs.origin) || !Finite(ucs.x) || !Finite(ucs.y)) return false;
  const AcGeVector3d x = ucs.x.normal();
  const AcGeVector3d z = x.crossProduct(ucs.y.normal());
  if (x.length() == 0 || z.length() < 1e-12) return false;
  Ucs& u = Views().ucs;
  u.origin = ucs.origin;
  u.x = x;
  u.y = z.normal().crossProduct(x).normal();
  return true;
}

bool SetScreen(int width, int height) {
  if (width < 1 || height < 1 || width > kMaxScreenPixels || height > kMaxScreenPixels) {
    return false;
  }
  Views().screenWidth = width;
  Views().screenHeight = height;
  return true;
}

bool SetLayout(const std::wstring& name) {
  State& s = Views();
  if (kw::CompareNoCase(name, L"Model") == 0) {
    s.layout = L"Model";
    return true;
  }
  for (const wchar_t* layout : kPaperLayouts) {
    if (kw::CompareNoCase(name, layout) != 0) continue;
    s.layout = layout;
    s.lastPaperLayout = layout;
    return true;
  }
  return false;
}

}  // namespace kwhost::view
