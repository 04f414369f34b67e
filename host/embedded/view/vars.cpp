// The view variables, kept by the view service and computed from its state whenever they are
// read (see view.h); the editor's acedGetVar, acedSetVar and kwhost::DefineSysVar reach them
// through its variable hooks. Read-only ones change only through DefineSysVar (tests) and the
// view calls; points are in the current UCS unless the name says otherwise (UCSORG, UCSXDIR and
// UCSYDIR are world values, as on the platform).
#include <cmath>

#include "host/api/adesk.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/view/view.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::editor::SysVar;
using kwhost::editor::SysVarHook;
namespace view = kwhost::view;

SysVar Real(double v, bool readOnly = true) {
  SysVar s;
  s.type = RTREAL;
  s.point[0] = v;
  s.readOnly = readOnly;
  return s;
}

SysVar Short(int v, bool readOnly = true) {
  SysVar s;
  s.type = RTSHORT;
  s.integer = v;
  s.readOnly = readOnly;
  return s;
}

SysVar Point(const AcGePoint3d& p, short type = RT3DPOINT) {
  SysVar s;
  s.type = type;
  s.point[0] = p.x;
  s.point[1] = p.y;
  s.point[2] = type == RTPOINT ? 0 : p.z;
  s.readOnly = true;
  return s;
}

AcGePoint3d PointOf(const SysVar& v) {
  return {v.point[0], v.point[1], v.point[2]};
}

AcGeVector3d VectorOf(const AcGePoint3d& p) {
  return {p.x, p.y, p.z};
}

bool Finite(const AcGePoint3d& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// A display corner of the view window (sx, sy: -1 or 1) as a UCS point.
AcGePoint3d ViewCorner(int sx, int sy) {
  const view::View& v = view::Current();
  const AcGePoint3d corner(v.center.x + sx * view::Width() / 2, v.center.y + sy * v.height / 2, 0);
  return view::WorldToUcs(view::DisplayToWorld(corner));
}

bool Refuse(const SysVar&) {
  return false;
}

// ---------------------------------------------------------------- the view

void GetViewCtr(SysVar* out) {
  const view::View& v = view::Current();
  *out = Point(view::WorldToUcs(view::DisplayToWorld(AcGePoint3d(v.center.x, v.center.y, 0))));
}

bool SetViewCtr(const SysVar& in) {
  const AcGePoint3d d = view::WorldToDisplay(view::UcsToWorld(PointOf(in)));
  if (!Finite(PointOf(in)) || !Finite(d)) return false;
  view::Current().center = AcGePoint2d(d.x, d.y);
  return true;
}

void GetViewSize(SysVar* out) {
  *out = Real(view::Current().height);
}

bool SetViewSize(const SysVar& in) {
  if (!(in.point[0] > 0 && in.point[0] <= view::kMaxViewSize)) return false;
  view::Current().height = in.point[0];
  return true;
}

void GetTarget(SysVar* out) {
  *out = Point(view::WorldToUcs(view::Current().target));
}

bool SetTarget(const SysVar& in) {
  const AcGePoint3d target = view::UcsToWorld(PointOf(in));
  if (!Finite(PointOf(in)) || !Finite(target)) return false;
  view::Current().target = target;
  return true;
}

void GetViewDir(SysVar* out) {
  *out = Point(view::WorldToUcs(AcGePoint3d::kOrigin + view::Current().direction, true));
}

bool SetViewDir(const SysVar& in) {
  const AcGePoint3d d = view::UcsToWorld(PointOf(in), true);
  const double length = VectorOf(d).length();
  if (!Finite(PointOf(in)) || !(length > 0 && std::isfinite(length))) return false;
  view::Current().direction = VectorOf(d);
  return true;
}

void GetVsMin(SysVar* out) {
  *out = Point(ViewCorner(-1, -1));
}

void GetVsMax(SysVar* out) {
  *out = Point(ViewCorner(1, 1));
}

void GetViewMode(SysVar* out) {
  *out = Short(view::Current().mode);
}

bool SetViewMode(const SysVar& in) {
  if (in.integer < 0 || in.integer > 31) return false;
  view::Current().mode = static_cast<int>(in.integer);
  return true;
}

// A real of the current view: read-only, any finite value (LENSLENGTH: positive).
template <double view::View::*field, bool positive = false>
SysVarHook ViewReal() {
  return {[](SysVar* out) { *out = Real(view::Current().*field); },
          [](const SysVar& in) {
            const double v = in.point[0];
            if (!std::isfinite(v) || (positive && !(v > 0))) return false;
            view::Current().*field = v;
            return true;
          }};
}

// ---------------------------------------------------------------- the screen and picking

void GetScreenSize(SysVar* out) {
  const view::State& s = view::Views();
  *out = Point(AcGePoint3d(s.screenWidth, s.screenHeight, 0), RTPOINT);
}

bool SetScreenSizeVar(const SysVar& in) {
  const double w = in.point[0];
  const double h = in.point[1];
  if (!(w >= 1 && w <= view::kMaxScreenPixels && h >= 1 && h <= view::kMaxScreenPixels)) {
    return false;
  }
  return view::SetScreen(static_cast<int>(w), static_cast<int>(h));
}

// A whole number the user may set within [low, high].
template <int view::State::*field, int low, int high>
SysVarHook Setting() {
  return {[](SysVar* out) { *out = Short(view::Views().*field, false); },
          [](const SysVar& in) {
            if (in.integer < low || in.integer > high) return false;
            view::Views().*field = static_cast<int>(in.integer);
            return true;
          }};
}

// ---------------------------------------------------------------- layouts

void GetCtab(SysVar* out) {
  out->type = RTSTR;
  out->text = view::Views().layout;
  out->readOnly = false;
}

bool SetCtab(const SysVar& in) {
  return view::SetLayout(in.text);
}

void GetTileMode(SysVar* out) {
  *out = Short(view::InModelSpace() ? 1 : 0, false);
}

bool SetTileMode(const SysVar& in) {
  if (in.integer != 0 && in.integer != 1) return false;
  return view::SetLayout(in.integer == 1 ? L"Model" : view::Views().lastPaperLayout);
}

// The model viewport is 2, the paper space of a layout 1; neither can be left by CVPORT here.
void GetCvport(SysVar* out) {
  *out = Short(view::InModelSpace() ? 2 : 1, false);
}

bool SetCvport(const SysVar& in) {
  return in.integer == (view::InModelSpace() ? 2 : 1);
}

// ---------------------------------------------------------------- the UCS

void GetWorldUcs(SysVar* out) {
  const view::Ucs& u = view::Views().ucs;
  const bool world = u.origin == AcGePoint3d::kOrigin && u.x == AcGeVector3d::kXAxis &&
                     u.y == AcGeVector3d::kYAxis;
  *out = Short(world ? 1 : 0);
}

// A world value of the UCS: its origin or an axis.
template <int which>
SysVarHook UcsValue() {
  return {[](SysVar* out) {
            const view::Ucs& u = view::Views().ucs;
            const AcGeVector3d axis = which == 1 ? u.x : u.y;
            *out = Point(which == 0 ? u.origin : AcGePoint3d::kOrigin + axis);
          },
          [](const SysVar& in) {
            view::Ucs u = view::Views().ucs;
            if (which == 0) u.origin = PointOf(in);
            if (which == 1) u.x = VectorOf(PointOf(in));
            if (which == 2) u.y = VectorOf(PointOf(in));
            return view::SetUcs(u);
          }};
}

void Register() {
  using kwhost::editor::AddSysVarHook;
  AddSysVarHook(L"VIEWCTR", {GetViewCtr, SetViewCtr});
  AddSysVarHook(L"VIEWSIZE", {GetViewSize, SetViewSize});
  AddSysVarHook(L"TARGET", {GetTarget, SetTarget});
  AddSysVarHook(L"VIEWDIR", {GetViewDir, SetViewDir});
  AddSysVarHook(L"VSMIN", {GetVsMin, Refuse});
  AddSysVarHook(L"VSMAX", {GetVsMax, Refuse});
  AddSysVarHook(L"VIEWMODE", {GetViewMode, SetViewMode});
  AddSysVarHook(L"VIEWTWIST", ViewReal<&view::View::twist>());
  AddSysVarHook(L"FRONTZ", ViewReal<&view::View::frontZ>());
  AddSysVarHook(L"BACKZ", ViewReal<&view::View::backZ>());
  AddSysVarHook(L"LENSLENGTH", ViewReal<&view::View::lensLength, true>());
  AddSysVarHook(L"SCREENSIZE", {GetScreenSize, SetScreenSizeVar});
  AddSysVarHook(L"PICKBOX", Setting<&view::State::pickBox, 0, 50>());
  AddSysVarHook(L"PICKADD", Setting<&view::State::pickAdd, 0, 2>());
  AddSysVarHook(L"CTAB", {GetCtab, SetCtab});
  AddSysVarHook(L"TILEMODE", {GetTileMode, SetTileMode});
  AddSysVarHook(L"CVPORT", {GetCvport, SetCvport});
  AddSysVarHook(L"WORLDUCS", {GetWorldUcs, Refuse});
  AddSysVarHook(L"UCSORG", UcsValue<0>());
  AddSysVarHook(L"UCSXDIR", UcsValue<1>());
  AddSysVarHook(L"UCSYDIR", UcsValue<2>());
}

[[maybe_unused]] const bool kRegistered = (Register(), true);

}  // namespace

namespace kwhost {

bool SetScreenSize(int widthPixels, int heightPixels) {
  return view::SetScreen(widthPixels, heightPixels);
}

bool SetUcs(const AcGePoint3d& origin, const AcGeVector3d& xAxis, const AcGeVector3d& yAxis) {
  return view::SetUcs({origin, xAxis, yAxis});
}

void SetWorldUcs() {
  view::Views().ucs = view::Ucs();
}

}  // namespace kwhost
