// Views of the active viewport (CadView.h): the current view from the view variables, view
// changes through acedSetCurrentView, and the helpers that keep points in view.
#include "editor/CadView.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"

namespace {

using CadView::CCadView;
using CadView::kViewMargin;

constexpr int kWcs = 0;
constexpr int kUcs = 1;
constexpr int kDcs = 2;

double RealVar(const wchar_t* name) {
  resbuf rb{};
  return acedGetVar(name, &rb) == RTNORM && rb.restype == RTREAL ? rb.resval.rreal : 0;
}

int ShortVar(const wchar_t* name) {
  resbuf rb{};
  return acedGetVar(name, &rb) == RTNORM && rb.restype == RTSHORT ? rb.resval.rint : 0;
}

AcGePoint3d PointVar(const wchar_t* name) {
  resbuf rb{};
  if (acedGetVar(name, &rb) != RTNORM || (rb.restype != RTPOINT && rb.restype != RT3DPOINT)) {
    return AcGePoint3d::kOrigin;
  }
  return {rb.resval.rpoint[0], rb.resval.rpoint[1],
          rb.restype == RTPOINT ? 0 : rb.resval.rpoint[2]};
}

bool ModelLayoutActive() {
  resbuf rb{};
  if (acedGetVar(L"CTAB", &rb) != RTNORM || rb.restype != RTSTR) return true;
  const bool model = kw::EqualsNoCase(kw::View(rb.resval.rstring), L"Model");
  std::free(rb.resval.rstring);
  return model;
}

AcGePoint3d Trans(const AcGePoint3d& p, int from, int to, bool disp = false) {
  resbuf f{}, t{};
  f.restype = t.restype = RTSHORT;
  f.resval.rint = static_cast<short>(from);
  t.resval.rint = static_cast<short>(to);
  ads_point in = {p.x, p.y, p.z}, out = {p.x, p.y, p.z};
  acedTrans(in, &f, &t, disp ? 1 : 0, out);
  return {out[0], out[1], out[2]};
}

// The view window as two corners.
struct Window {
  AcGePoint3d ll, ur;
};

Window CurrentWindow() {
  Window w;
  KWRDPub::GetScreenPt(w.ll, w.ur);
  return w;
}

bool Inside(const Window& w, const AcGePoint3d& p) {
  return w.ll.x <= p.x && p.x <= w.ur.x && w.ll.y <= p.y && p.y <= w.ur.y;
}

void Extend(Window& w, const AcGePoint3d& p) {
  w.ll = AcGePoint3d(std::min(w.ll.x, p.x), std::min(w.ll.y, p.y), 0);
  w.ur = AcGePoint3d(std::max(w.ur.x, p.x), std::max(w.ur.y, p.y), 0);
}

void Widen(Window& w) {
  w.ll = AcGePoint3d(w.ll.x - kViewMargin, w.ll.y - kViewMargin, 0);
  w.ur = AcGePoint3d(w.ur.x + kViewMargin, w.ur.y + kViewMargin, 0);
}

int ShowForced(const Window& w) {
  return CCadView::SetCurrentView(AcGePoint2d(w.ll.x, w.ll.y), AcGePoint2d(w.ur.x, w.ur.y), 1,
                                  nullptr);
}

AcGePoint3d FromAds(const double* p) {
  return {p[0], p[1], p[2]};
}

bool IsPoint(const resbuf* rb) {
  return rb->restype == RTPOINT || rb->restype == RT3DPOINT;
}

// The list holds only points from its first point on.
bool OnlyPointsAfterFirst(const resbuf* rb) {
  bool seen = false;
  for (; rb; rb = rb->rbnext) {
    if (IsPoint(rb)) {
      seen = true;
    } else if (seen) {
      return false;
    }
  }
  return true;
}

// Shows each point that is outside the view of its moment, the running box growing by it and
// by the margin each time.
template <class Points>
void ShowEach(const Points& points) {
  Window box = CurrentWindow();
  for (const AcGePoint3d& p : points) {
    if (Inside(CurrentWindow(), p)) continue;
    Extend(box, p);
    Widen(box);
    ShowForced(box);
  }
}

}  // namespace

namespace CadView {

CCadView::CCadView(AcDbViewTableRecord& view, int restore, int force, AcDbViewport* vp)
    : m_force(force), m_restore(restore), m_viewport(vp) {
  GetCurrentView(*this);
  SetCurrentView(view, m_force, m_viewport);
}

CCadView::CCadView(const AcGePoint3d& p1, const AcGePoint3d& p2, int restore, int force,
                   AcDbViewport* vp)
    : m_force(force), m_restore(restore), m_viewport(vp) {
  GetCurrentView(*this);
  SetCurrentView(AcGePoint2d(p1.x, p1.y), AcGePoint2d(p2.x, p2.y), m_force, m_viewport);
}

CCadView::CCadView(const AcDbExtents& ext, int restore, int force, AcDbViewport* vp)
    : m_force(force), m_restore(restore), m_viewport(vp) {
  GetCurrentView(*this);
  SetCurrentView(ext, m_force, m_viewport);
}

CCadView::CCadView(const CCadView& other)
    : AcDbViewTableRecord(other),
      m_force(other.m_force),
      m_restore(other.m_restore),
      m_viewport(other.m_viewport) {}

CCadView& CCadView::operator=(const CCadView& other) {
  AcDbViewTableRecord::operator=(other);
  m_force = other.m_force;
  m_restore = other.m_restore;
  m_viewport = other.m_viewport;
  return *this;
}

CCadView::~CCadView() {
  if (m_restore) SetCurrentView(*this, 1, m_viewport);
}

void CCadView::GetCurrentView(AcDbViewTableRecord& view) {
  const int mode = ShortVar(L"VIEWMODE");
  view.setPerspectiveEnabled(mode & 1);
  view.setFrontClipEnabled(false);
  view.setBackClipEnabled(false);
  view.setFrontClipAtEye(!(mode & 16));
  view.setBackClipDistance(RealVar(L"BACKZ"));
  view.setFrontClipDistance(RealVar(L"FRONTZ"));
  view.setLensLength(RealVar(L"LENSLENGTH"));
  const AcGePoint3d center = Trans(PointVar(L"VIEWCTR"), kUcs, kDcs);
  view.setCenterPoint(AcGePoint2d(center.x, center.y));
  view.setTarget(Trans(PointVar(L"TARGET"), kUcs, kWcs));
  const AcGePoint3d dir = Trans(PointVar(L"VIEWDIR"), kUcs, kWcs, true);
  view.setViewDirection(AcGeVector3d(dir.x, dir.y, dir.z));
  const double height = RealVar(L"VIEWSIZE");
  view.setHeight(height);
  const AcGePoint3d vsMin = Trans(PointVar(L"VSMIN"), kUcs, kDcs);
  const AcGePoint3d vsMax = Trans(PointVar(L"VSMAX"), kUcs, kDcs);
  view.setWidth(height * std::abs(vsMax.x - vsMin.x) / std::abs(vsMax.y - vsMin.y));
}

int CCadView::SetCurrentView(AcDbViewTableRecord& view, int force, AcDbViewport* vp) {
  if (force == 0) {
    AcDbViewTableRecord current;
    GetCurrentView(current);
    const double dh = current.height() - view.height();
    const double dw = current.width() - view.width();
    const double dx = std::abs(view.centerPoint().x - current.centerPoint().x);
    const double dy = std::abs(view.centerPoint().y - current.centerPoint().y);
    if (dh >= 0 && dh / 2 >= dy && dw >= 0 && dw / 2 >= dx) return 1;
  }
  if (!ModelLayoutActive()) view.setIsPaperspaceView(true);
  return acedSetCurrentView(&view, vp) == Acad::eOk ? 1 : 0;
}

int CCadView::SetCurrentView(const AcGePoint2d& p1, const AcGePoint2d& p2, int force,
                             AcDbViewport* vp) {
  AcDbViewTableRecord view;
  view.setCenterPoint(AcGePoint2d((p1.x + p2.x) / 2, (p1.y + p2.y) / 2));
  view.setWidth(std::abs(p2.x - p1.x));
  view.setHeight(std::abs(p2.y - p1.y));
  return SetCurrentView(view, force, vp);
}

int CCadView::SetCurrentView(const AcGePoint3d& p1, const AcGePoint3d& p2, int force,
                             AcDbViewport* vp) {
  return SetCurrentView(AcGePoint2d(p1.x, p1.y), AcGePoint2d(p2.x, p2.y), force, vp);
}

int CCadView::SetCurrentView(const AcDbExtents& ext, int force, AcDbViewport* vp) {
  return SetCurrentView(ext.minPoint(), ext.maxPoint(), force, vp);
}

int screenpt(double* lowerLeft, double* upperRight) {
  if (!lowerLeft || !upperRight) return RTERROR;
  const double h = RealVar(L"VIEWSIZE");
  const AcGePoint3d c = PointVar(L"VIEWCTR");
  const AcGePoint3d vsMin = PointVar(L"VSMIN");
  const AcGePoint3d vsMax = PointVar(L"VSMAX");
  // The virtual screen's shape, as the platform keeps it, stands for the view's.
  const double halfWidth = (vsMax.x - vsMin.x) / (vsMax.y - vsMin.y) * h / 2;
  const ads_point center = {c.x, c.y, c.z};
  constexpr double kPi = std::numbers::pi;
  ads_point below;
  acutPolar(center, 3 * kPi / 2, h / 2, below);
  acutPolar(below, kPi, halfWidth, lowerLeft);
  ads_point above;
  acutPolar(center, kPi / 2, h / 2, above);
  acutPolar(above, 0, halfWidth, upperRight);
  return RTNORM;
}

int pt_in_view(double* pt) {
  return pt && Inside(CurrentWindow(), FromAds(pt)) ? 1 : 0;
}

int acs_pan2v(double* pt) {
  return pt ? acs_pan2v(FromAds(pt)) : 0;
}

int acs_pan2v(AcGePoint3d pt) {
  Window w = CurrentWindow();
  if (Inside(w, pt)) return 0;
  Extend(w, pt);
  Widen(w);
  return ShowForced(w);
}

int acs_zm2pt(double* p1, double* p2) {
  if (!p1 || !p2) return 0;
  return acs_zm2pt(FromAds(p1), FromAds(p2));
}

int acs_zm2pt(AcGePoint3d p1, AcGePoint3d p2) {
  Window w = CurrentWindow();
  const bool in1 = Inside(w, p1);
  const bool in2 = Inside(w, p2);
  if (in1 && in2) return 0;
  if (!in1) Extend(w, p1);
  if (!in2) Extend(w, p2);
  Widen(w);
  return ShowForced(w);
}

int view_ptb(resbuf* points) {
  if (!points) {
    acutPrintf(L"\n参数错误，链表为空!");
    return 2;
  }
  if (!OnlyPointsAfterFirst(points)) {
    acutPrintf(L"\n参数错误，链表中有非ads_point的数据!");
    return 2;
  }
  std::vector<AcGePoint3d> list;
  for (const resbuf* rb = points; rb; rb = rb->rbnext) {
    if (IsPoint(rb)) list.push_back(FromAds(rb->resval.rpoint));
  }
  ShowEach(list);
  return 1;
}

int view_ptb(const AcGePoint3dArray& points) {
  ShowEach(points);
  return 1;
}

double get_dd_ex() {
  const int pickBox = ShortVar(L"PICKBOX");
  ads_point ll, ur;
  screenpt(ll, ur);
  return (ur[1] - ll[1]) / 200 * (pickBox == 0 ? 3 : pickBox);
}

}  // namespace CadView

namespace KWRDPub {

void GetScreenPt(AcGePoint3d& lowerLeft, AcGePoint3d& upperRight) {
  ads_point ll, ur;
  CadView::screenpt(ll, ur);
  lowerLeft = FromAds(ll);
  upperRight = FromAds(ur);
}

bool IsPtInView(const AcGePoint3d& pt) {
  return Inside(CurrentWindow(), pt);
}

void PanView(AcGePoint3d pt) {
  Window w = CurrentWindow();
  if (Inside(w, pt)) return;
  Extend(w, pt);
  Widen(w);
  const AcGePoint3d a = Trans(w.ll, kUcs, kDcs);
  const AcGePoint3d b = Trans(w.ur, kUcs, kDcs);
  AcDbViewTableRecord view;
  CCadView::GetCurrentView(view);
  view.setCenterPoint(AcGePoint2d((a.x + b.x) / 2, (a.y + b.y) / 2));
  view.setWidth(std::abs(b.x - a.x));
  view.setHeight(std::abs(b.y - a.y));
  CCadView::SetCurrentView(view, 1, nullptr);
}

}  // namespace KWRDPub
