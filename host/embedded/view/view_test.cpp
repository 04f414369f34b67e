// The view service: the view variables, acedSetCurrentView, acedTrans and the screen agree,
// with the world UCS and with a turned UCS under an oblique view.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>

#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/view/view.h"
#include "kwhost/embedded.h"

namespace {

constexpr double kEps = 1e-9;

AcGePoint3d PointVar(const wchar_t* name) {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(name, &rb), RTNORM) << name;
  EXPECT_TRUE(rb.restype == RT3DPOINT || rb.restype == RTPOINT) << name;
  return {rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]};
}

double RealVar(const wchar_t* name) {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(name, &rb), RTNORM) << name;
  EXPECT_EQ(rb.restype, RTREAL) << name;
  return rb.resval.rreal;
}

int ShortVar(const wchar_t* name) {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(name, &rb), RTNORM) << name;
  EXPECT_EQ(rb.restype, RTSHORT) << name;
  return rb.resval.rint;
}

std::wstring TextVar(const wchar_t* name) {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(name, &rb), RTNORM) << name;
  if (rb.restype != RTSTR) return L"(not text)";
  std::wstring text = rb.resval.rstring;
  std::free(rb.resval.rstring);
  return text;
}

int SetShort(const wchar_t* name, int value) {
  resbuf rb{};
  rb.restype = RTSHORT;
  rb.resval.rint = static_cast<short>(value);
  return acedSetVar(name, &rb);
}

int SetText(const wchar_t* name, const wchar_t* value) {
  resbuf* rb = acutNewRb(RTSTR);
  rb->resval.rstring = acutNewString(value);
  int rc = acedSetVar(name, rb);
  acutRelRb(rb);
  return rc;
}

resbuf Code(int code) {
  resbuf rb{};
  rb.restype = RTSHORT;
  rb.resval.rint = static_cast<short>(code);
  return rb;
}

AcGePoint3d Trans(const AcGePoint3d& p, int from, int to, bool disp = false) {
  resbuf f = Code(from), t = Code(to);
  ads_point in = {p.x, p.y, p.z}, out = {0, 0, 0};
  EXPECT_EQ(acedTrans(in, &f, &t, disp ? 1 : 0, out), RTNORM);
  return {out[0], out[1], out[2]};
}

void ExpectNear(const AcGePoint3d& got, const AcGePoint3d& want, const char* what) {
  EXPECT_NEAR(got.x, want.x, kEps) << what;
  EXPECT_NEAR(got.y, want.y, kEps) << what;
  EXPECT_NEAR(got.z, want.z, kEps) << what;
}

AcDbViewTableRecord ViewRecord(AcGePoint2d center, double width, double height) {
  AcDbViewTableRecord view;
  view.setCenterPoint(center);
  view.setWidth(width);
  view.setHeight(height);
  return view;
}

class ViewDefaults : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(ViewDefaults, ANewSessionLooksAtTheOriginFromAboveOnA1280By720Screen) {
  ExpectNear(PointVar(L"VIEWCTR"), {0, 0, 0}, "VIEWCTR");
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 100);
  ExpectNear(PointVar(L"VSMIN"), {-100 * 1280.0 / 720 / 2, -50, 0}, "VSMIN");
  ExpectNear(PointVar(L"VSMAX"), {100 * 1280.0 / 720 / 2, 50, 0}, "VSMAX");
  ExpectNear(PointVar(L"VIEWDIR"), {0, 0, 1}, "VIEWDIR");
  ExpectNear(PointVar(L"TARGET"), {0, 0, 0}, "TARGET");
  EXPECT_EQ(ShortVar(L"VIEWMODE"), 0);
  EXPECT_DOUBLE_EQ(RealVar(L"FRONTZ"), 0);
  EXPECT_DOUBLE_EQ(RealVar(L"BACKZ"), 0);
  EXPECT_DOUBLE_EQ(RealVar(L"LENSLENGTH"), 50);
  EXPECT_EQ(ShortVar(L"PICKBOX"), 3);
  EXPECT_EQ(ShortVar(L"PICKADD"), 1);
  EXPECT_EQ(ShortVar(L"CVPORT"), 2);
  EXPECT_EQ(ShortVar(L"TILEMODE"), 1);
  EXPECT_EQ(ShortVar(L"WORLDUCS"), 1);
  EXPECT_EQ(TextVar(L"CTAB"), L"Model");
  resbuf rb{};
  ASSERT_EQ(acedGetVar(L"SCREENSIZE", &rb), RTNORM);
  EXPECT_EQ(rb.restype, RTPOINT);
  EXPECT_EQ(rb.resval.rpoint[0], 1280);
  EXPECT_EQ(rb.resval.rpoint[1], 720);
}

TEST_F(ViewDefaults, TheScreenShapesTheWidthAndThePixelSize) {
  ASSERT_TRUE(kwhost::SetScreenSize(1000, 500));
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 100);
  ExpectNear(PointVar(L"VSMAX"), {100, 50, 0}, "VSMAX");
  EXPECT_DOUBLE_EQ(kwhost::view::PixelsToWorld(1), 0.2);
  EXPECT_DOUBLE_EQ(kwhost::view::PixelsToWorld(3), 0.6);
  EXPECT_FALSE(kwhost::SetScreenSize(0, 500));
  EXPECT_FALSE(kwhost::SetScreenSize(1000, 65536));
  ExpectNear(PointVar(L"SCREENSIZE"), {1000, 500, 0}, "SCREENSIZE");
}

TEST_F(ViewDefaults, PickSettingsKeepTheirRanges) {
  EXPECT_EQ(SetShort(L"PICKBOX", 0), RTNORM);
  EXPECT_EQ(ShortVar(L"PICKBOX"), 0);
  EXPECT_EQ(SetShort(L"PICKBOX", 50), RTNORM);
  EXPECT_EQ(SetShort(L"PICKBOX", 51), RTERROR);
  EXPECT_EQ(SetShort(L"PICKBOX", -1), RTERROR);
  EXPECT_EQ(ShortVar(L"PICKBOX"), 50);
  EXPECT_EQ(SetShort(L"PICKADD", 0), RTNORM);
  EXPECT_EQ(SetShort(L"PICKADD", 3), RTERROR);
  EXPECT_EQ(ShortVar(L"PICKADD"), 0);
  resbuf rb{};
  rb.restype = RTREAL;
  rb.resval.rreal = 10;
  EXPECT_EQ(acedSetVar(L"VIEWSIZE", &rb), RTERROR);  // read-only for commands
  EXPECT_TRUE(kwhost::DefineSysVar(L"VIEWSIZE", &rb, true));
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 10);
  rb.resval.rreal = -1;
  EXPECT_FALSE(kwhost::DefineSysVar(L"VIEWSIZE", &rb, true));
  rb.resval.rreal = 1e200;  // its width would not be finite on some screens
  EXPECT_FALSE(kwhost::DefineSysVar(L"VIEWSIZE", &rb, true));
  EXPECT_FALSE(kwhost::DefineSysVar(L"VSMAX", &rb, true));  // follows from the view
  kwhost::ResetSession();
  EXPECT_EQ(ShortVar(L"PICKBOX"), 3);
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 100);
}

class CurrentView : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(CurrentView, AWindowWiderThanTheScreenShowsATallerView) {
  AcDbViewTableRecord view = ViewRecord({10, 20}, 400, 100);
  ASSERT_EQ(acedSetCurrentView(&view, nullptr), Acad::eOk);
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 400 * 720.0 / 1280);
  ExpectNear(PointVar(L"VIEWCTR"), {10, 20, 0}, "VIEWCTR");
  view = ViewRecord({0, 0}, 10, 30);
  ASSERT_EQ(acedSetCurrentView(&view, nullptr), Acad::eOk);
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 30);
}

TEST_F(CurrentView, BadViewsAreRefusedAndChangeNothing) {
  AcDbViewTableRecord view = ViewRecord({1, 1}, 0, 10);
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);
  view = ViewRecord({1, 1}, 10, std::nan(""));
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);
  view = ViewRecord({1, 1}, 1e308, 10);  // its fitted height overflows
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);
  view = ViewRecord({1, 1}, 10, 10);
  view.setViewDirection({0, 0, 0});
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);
  view.setViewDirection({1e300, 1e300, 1e300});  // its length is not finite
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);
  EXPECT_EQ(acedSetCurrentView(nullptr, nullptr), Acad::eInvalidInput);
  view = ViewRecord({1, 1}, 10, 10);
  view.setIsPaperspaceView(true);  // model space is active
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 100);
  ExpectNear(PointVar(L"VIEWCTR"), {0, 0, 0}, "VIEWCTR");
}

TEST_F(CurrentView, EachSpaceKeepsItsOwnView) {
  EXPECT_EQ(SetText(L"CTAB", L"layout1"), RTNORM);
  EXPECT_EQ(TextVar(L"CTAB"), L"Layout1");
  EXPECT_EQ(ShortVar(L"TILEMODE"), 0);
  EXPECT_EQ(ShortVar(L"CVPORT"), 1);
  EXPECT_EQ(SetShort(L"CVPORT", 2), RTERROR);
  AcDbViewTableRecord view = ViewRecord({5, 5}, 10, 10);
  EXPECT_EQ(acedSetCurrentView(&view, nullptr), Acad::eInvalidInput);  // not a paper view
  view.setIsPaperspaceView(true);
  ASSERT_EQ(acedSetCurrentView(&view, nullptr), Acad::eOk);
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 10);
  EXPECT_EQ(SetShort(L"TILEMODE", 1), RTNORM);
  EXPECT_EQ(TextVar(L"CTAB"), L"Model");
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 100);
  EXPECT_EQ(SetShort(L"TILEMODE", 0), RTNORM);
  EXPECT_EQ(TextVar(L"CTAB"), L"Layout1");  // the layout last shown
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 10);
  EXPECT_EQ(SetText(L"CTAB", L"Layout9"), RTERROR);
  EXPECT_EQ(TextVar(L"CTAB"), L"Layout1");
}

// A UCS turned a quarter about z and moved, and a view from the south-east above: what the
// variables say, what acedTrans computes and what acedSetCurrentView was given agree.
class ObliqueView : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    ASSERT_TRUE(kwhost::SetUcs({100, 50, 10}, {0, 2, 0}, {-1, 1, 0}));
    view_ = ViewRecord({3, 4}, 20, 50);
    view_.setTarget({5, 5, 0});
    view_.setViewDirection({1, -1, 1});
    ASSERT_EQ(acedSetCurrentView(&view_, nullptr), Acad::eOk);
  }
  AcDbViewTableRecord view_;
};

TEST_F(ObliqueView, TheUcsIsMadeRightAngledAndUnitLength) {
  ExpectNear(PointVar(L"UCSXDIR"), {0, 1, 0}, "UCSXDIR");
  ExpectNear(PointVar(L"UCSYDIR"), {-1, 0, 0}, "UCSYDIR");
  ExpectNear(PointVar(L"UCSORG"), {100, 50, 10}, "UCSORG");
  EXPECT_EQ(ShortVar(L"WORLDUCS"), 0);
  ExpectNear(Trans({1, 2, 3}, 1, 0), {98, 51, 13}, "UCS to world");
  ExpectNear(Trans({98, 51, 13}, 0, 1), {1, 2, 3}, "world to UCS");
  ExpectNear(Trans({1, 2, 3}, 1, 0, true), {-2, 1, 3}, "UCS displacement");
  EXPECT_FALSE(kwhost::SetUcs({0, 0, 0}, {1, 0, 0}, {2, 0, 0}));
  EXPECT_FALSE(kwhost::SetUcs({0, 0, 0}, {0, 0, 0}, {0, 1, 0}));
  ExpectNear(PointVar(L"UCSORG"), {100, 50, 10}, "unchanged");
}

TEST_F(ObliqueView, TheDisplayHasWorldZUpAndTheTargetAtItsOrigin) {
  ExpectNear(Trans({5, 5, 0}, 0, 2), {0, 0, 0}, "target");
  const double r2 = std::sqrt(2.0), r6 = std::sqrt(6.0), r3 = std::sqrt(3.0);
  ExpectNear(Trans({6, 6, 0}, 0, 2), {r2, 0, 0}, "screen right is world (1,1,0)");
  ExpectNear(Trans({0, 0, 1}, 0, 2, true), {0, 2 / r6, 1 / r3}, "world z is up");
  ExpectNear(
      Trans({3, 4, 0}, 2, 0),
      AcGePoint3d(5, 5, 0) + AcGeVector3d(1, 1, 0) * (3 / r2) + AcGeVector3d(-1, 1, 2) * (4 / r6),
      "view centre in the world");
}

TEST_F(ObliqueView, TheVariablesAreTheViewInUcsCoordinates) {
  ExpectNear(PointVar(L"TARGET"), Trans({5, 5, 0}, 0, 1), "TARGET");
  ExpectNear(PointVar(L"VIEWDIR"), Trans({1, -1, 1}, 0, 1, true), "VIEWDIR");
  ExpectNear(Trans(PointVar(L"VIEWCTR"), 1, 2), {3, 4, 0}, "VIEWCTR");
  EXPECT_DOUBLE_EQ(RealVar(L"VIEWSIZE"), 50);
  const double halfWidth = 50 * 1280.0 / 720 / 2;
  ExpectNear(Trans(PointVar(L"VSMIN"), 1, 2), {3 - halfWidth, 4 - 25, 0}, "VSMIN");
  ExpectNear(Trans(PointVar(L"VSMAX"), 1, 2), {3 + halfWidth, 4 + 25, 0}, "VSMAX");
}

TEST_F(ObliqueView, ChangingTheUcsMovesOnlyTheNumbers) {
  const AcGePoint3d centerWorld = Trans(PointVar(L"VIEWCTR"), 1, 0);
  kwhost::SetWorldUcs();
  ExpectNear(PointVar(L"VIEWCTR"), centerWorld, "VIEWCTR in the world");
  ExpectNear(PointVar(L"VIEWDIR"), {1, -1, 1}, "VIEWDIR in the world");
  EXPECT_EQ(ShortVar(L"WORLDUCS"), 1);
}

class Transforms : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(Transforms, EntityAndExtrusionSystemsFollowTheArbitraryAxisRule) {
  AcDbDatabase* db = kwhost::CurrentDatabase();
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(db->getBlockTable(table, AcDb::kForRead), Acad::eOk);
  AcDbBlockTableRecord* space = nullptr;
  ASSERT_EQ(table->getAt(L"*Model_Space", space, AcDb::kForWrite), Acad::eOk);
  table->close();
  AcDbObjectId circleId, lineId;
  auto* circle = new AcDbCircle({0, 0, 0}, {0, 0, -1}, 1);
  ASSERT_EQ(space->appendAcDbEntity(circleId, circle), Acad::eOk);
  circle->close();
  auto* line = new AcDbLine({0, 0, 0}, {1, 1, 0});
  ASSERT_EQ(space->appendAcDbEntity(lineId, line), Acad::eOk);
  line->close();
  space->close();

  resbuf world = Code(0), ent{};
  ent.restype = RTENAME;
  ASSERT_EQ(acdbGetAdsName(ent.resval.rlname, circleId), Acad::eOk);
  ads_point p = {2, 3, 4}, out = {0, 0, 0};
  ASSERT_EQ(acedTrans(p, &world, &ent, 0, out), RTNORM);
  ExpectNear({out[0], out[1], out[2]}, {-2, 3, -4}, "ECS of a circle facing down");
  ASSERT_EQ(acdbGetAdsName(ent.resval.rlname, lineId), Acad::eOk);
  ASSERT_EQ(acedTrans(p, &world, &ent, 0, out), RTNORM);
  ExpectNear({out[0], out[1], out[2]}, {2, 3, 4}, "a line's coordinates are world ones");

  resbuf extrusion{};
  extrusion.restype = RT3DPOINT;
  extrusion.resval.rpoint[0] = 1;  // x axis: arbitrary x is world z x (1,0,0) = (0,1,0)
  ASSERT_EQ(acedTrans(p, &world, &extrusion, 0, out), RTNORM);
  ExpectNear({out[0], out[1], out[2]}, {3, 4, 2}, "ECS of the x axis");
}

TEST_F(Transforms, UnknownSystemsAndNamesAreErrors) {
  resbuf world = Code(0), paper = Code(3), zero{};
  zero.restype = RT3DPOINT;
  ads_point p = {1, 2, 3}, out = {7, 7, 7};
  EXPECT_EQ(acedTrans(p, &world, &paper, 0, out), RTERROR);
  EXPECT_EQ(acedTrans(p, &zero, &world, 0, out), RTERROR);
  EXPECT_EQ(acedTrans(p, nullptr, &world, 0, out), RTERROR);
  resbuf ent{};
  ent.restype = RTENAME;
  ent.resval.rlname[0] = 12345;
  EXPECT_EQ(acedTrans(p, &ent, &world, 0, out), RTERROR);
  EXPECT_EQ(out[0], 7);
}

TEST_F(Transforms, PolarDistanceAndAngleWorkInThePlane) {
  ads_point a = {1, 1, 5};
  acutPolar(a, std::numbers::pi / 2, 2, a);  // the result may be the input
  EXPECT_NEAR(a[0], 1, kEps);
  EXPECT_NEAR(a[1], 3, kEps);
  EXPECT_EQ(a[2], 5);
  ads_point o = {0, 0, 0}, down = {0, -1, 9}, same = {0, 0, 4}, far = {3, 4, 12};
  EXPECT_NEAR(acutAngle(o, down), 3 * std::numbers::pi / 2, kEps);
  EXPECT_EQ(acutAngle(o, same), 0);
  ads_point tiny = {1, -1e-300, 0};
  EXPECT_LT(acutAngle(o, tiny), 2 * std::numbers::pi);
  EXPECT_DOUBLE_EQ(acutDistance(o, far), 13);
}

}  // namespace
