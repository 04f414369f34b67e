// Views: reading and showing views, keeping points in view with the margin, the result-buffer
// forms with their messages, the pick tolerance and the scoped view change.
#include "editor/CadView.h"

#include <gtest/gtest.h>

#include <string>

#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "kwhost/embedded.h"

namespace {

using CadView::CCadView;

constexpr double kEps = 1e-9;
constexpr double kAspect = 1280.0 / 720;  // the host's default screen
constexpr double kHalfWidth = 100 * kAspect / 2;

AcGePoint3d PointVar(const wchar_t* name) {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(name, &rb), RTNORM) << name;
  return {rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]};
}

double ViewSize() {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(L"VIEWSIZE", &rb), RTNORM);
  return rb.resval.rreal;
}

void ExpectCenter(double x, double y) {
  const AcGePoint3d c = PointVar(L"VIEWCTR");
  EXPECT_NEAR(c.x, x, kEps);
  EXPECT_NEAR(c.y, y, kEps);
}

void SetPickBox(int value) {
  resbuf rb{};
  rb.restype = RTSHORT;
  rb.resval.rint = static_cast<short>(value);
  ASSERT_EQ(acedSetVar(L"PICKBOX", &rb), RTNORM);
}

// The view the host shows when it must show a window (its height fitted to the screen).
void ExpectWindowShown(double llx, double lly, double urx, double ury) {
  ExpectCenter((llx + urx) / 2, (lly + ury) / 2);
  EXPECT_NEAR(ViewSize(), std::max(ury - lly, (urx - llx) / kAspect), kEps);
}

class ViewWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    ASSERT_EQ(CadView::screenpt(ll_, ur_), RTNORM);
  }
  ads_point ll_ = {0, 0, 0}, ur_ = {0, 0, 0};
};

TEST_F(ViewWindow, IsTheVirtualScreensShapeAroundTheCentre) {
  EXPECT_NEAR(ll_[0], -kHalfWidth, kEps);
  EXPECT_NEAR(ll_[1], -50, kEps);
  EXPECT_NEAR(ur_[0], kHalfWidth, kEps);
  EXPECT_NEAR(ur_[1], 50, kEps);
  EXPECT_EQ(CadView::screenpt(nullptr, ur_), RTERROR);
  AcGePoint3d ll, ur;
  KWRDPub::GetScreenPt(ll, ur);
  EXPECT_EQ(ll, AcGePoint3d(ll_[0], ll_[1], ll_[2]));
  EXPECT_EQ(ur, AcGePoint3d(ur_[0], ur_[1], ur_[2]));
}

TEST_F(ViewWindow, BordersAreInView) {
  EXPECT_EQ(CadView::pt_in_view(ll_), 1);
  EXPECT_EQ(CadView::pt_in_view(ur_), 1);
  ads_point border = {ur_[0], 0, 0};
  EXPECT_EQ(CadView::acs_pan2v(border), 0);
  EXPECT_TRUE(KWRDPub::IsPtInView(AcGePoint3d(ll_[0], ur_[1], 0)));
  ads_point beyond = {ur_[0] + 1e-9, 0, 0};
  EXPECT_EQ(CadView::pt_in_view(beyond), 0);
  EXPECT_EQ(CadView::pt_in_view(nullptr), 0);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
}

TEST_F(ViewWindow, PanningToAPointWidensTheWindowByTheMargin) {
  EXPECT_EQ(CadView::acs_pan2v(AcGePoint3d(200, 0, 0)), 1);
  ExpectWindowShown(ll_[0] - 10, ll_[1] - 10, 210, ur_[1] + 10);
}

TEST_F(ViewWindow, ZoomingToTwoPointsExtendsByTheOutsideOnesOnly) {
  EXPECT_EQ(CadView::acs_zm2pt(AcGePoint3d(1, 1, 0), AcGePoint3d(-1, -1, 0)), 0);
  ads_point inside = {0, 0, 0}, below = {0, -300, 0};
  EXPECT_EQ(CadView::acs_zm2pt(inside, below), 1);
  ExpectWindowShown(ll_[0] - 10, -310, ur_[0] + 10, ur_[1] + 10);
}

TEST_F(ViewWindow, PickToleranceUsesThreeForAZeroPickBox) {
  SetPickBox(0);
  EXPECT_NEAR(CadView::get_dd_ex(), 100.0 / 200 * 3, kEps);
  SetPickBox(5);
  EXPECT_NEAR(CadView::get_dd_ex(), 100.0 / 200 * 5, kEps);
}

class PointLists : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    ASSERT_EQ(CadView::screenpt(ll_, ur_), RTNORM);
    kwhost::TakeOutput();
  }
  ads_point ll_ = {0, 0, 0}, ur_ = {0, 0, 0};
};

TEST_F(PointLists, LeadingItemsAreSkippedAndTheMarginAccumulates) {
  const double a[3] = {200, 0, 0}, b[3] = {0, 300, 0};
  resbuf* list = acutBuildList(RTSHORT, 5, RT3DPOINT, a, RTPOINT, b, 0);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(CadView::view_ptb(list), 1);
  acutRelRb(list);
  // (200,0) widened the window to x 210; (0,300) then widened that box by another 10.
  ExpectWindowShown(ll_[0] - 20, ll_[1] - 20, 220, 310);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(PointLists, ANonPointAfterAPointIsRefusedBeforeAnythingMoves) {
  const double a[3] = {500, 0, 0};
  resbuf* list = acutBuildList(RT3DPOINT, a, RTSHORT, 1, 0);
  EXPECT_EQ(CadView::view_ptb(list), 2);
  acutRelRb(list);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n参数错误，链表中有非ads_point的数据!");
  EXPECT_EQ(CadView::view_ptb(static_cast<resbuf*>(nullptr)), 2);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n参数错误，链表为空!");
  ExpectCenter(0, 0);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
}

TEST_F(PointLists, ArraysShowEachOutsidePoint) {
  AcGePoint3dArray none;
  EXPECT_EQ(CadView::view_ptb(none), 1);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
  AcGePoint3dArray points;
  points.append(AcGePoint3d(0, 0, 0));
  points.append(AcGePoint3d(-400, 0, 0));
  EXPECT_EQ(CadView::view_ptb(points), 1);
  ExpectWindowShown(-410, ll_[1] - 10, ur_[0] + 10, ur_[1] + 10);
}

class ShowingViews : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(ShowingViews, ANonForcedWindowInsideTheViewChangesNothing) {
  EXPECT_EQ(CCadView::SetCurrentView(AcGePoint2d(-10, -10), AcGePoint2d(10, 10), 0, nullptr), 1);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
  EXPECT_EQ(CCadView::SetCurrentView(AcGePoint2d(-10, -10), AcGePoint2d(10, 10), 1, nullptr), 1);
  EXPECT_DOUBLE_EQ(ViewSize(), 20);  // forced: zoomed in
}

TEST_F(ShowingViews, ANonForcedWindowReachingOutsideIsShown) {
  const AcDbExtents ext(AcGePoint3d(0, -60, 0), AcGePoint3d(20, 60, 5));
  EXPECT_EQ(CCadView::SetCurrentView(ext, 0, nullptr), 1);
  ExpectCenter(10, 0);
  EXPECT_DOUBLE_EQ(ViewSize(), 120);
  EXPECT_EQ(CCadView::SetCurrentView(AcGePoint3d(1, 1, 9), AcGePoint3d(1, 1, -9), 1, nullptr), 0);
  EXPECT_DOUBLE_EQ(ViewSize(), 120);  // an empty window: the host refuses it
}

TEST_F(ShowingViews, APaperLayoutGetsPaperSpaceViews) {
  resbuf* ctab = acutNewRb(RTSTR);
  ctab->resval.rstring = acutNewString(L"Layout1");
  ASSERT_EQ(acedSetVar(L"CTAB", ctab), RTNORM);
  acutRelRb(ctab);
  AcDbViewTableRecord view;
  view.setCenterPoint(AcGePoint2d(1, 2));
  view.setHeight(30);
  view.setWidth(10);
  EXPECT_EQ(CCadView::SetCurrentView(view, 1, nullptr), 1);
  EXPECT_TRUE(view.isPaperspaceView());
  EXPECT_DOUBLE_EQ(ViewSize(), 30);
}

TEST_F(ShowingViews, TheCurrentViewUnderATurnedUcsAndAnObliqueDirection) {
  ASSERT_TRUE(kwhost::SetUcs({100, 50, 10}, {0, 1, 0}, {-1, 0, 0}));
  AcDbViewTableRecord shown;
  shown.setCenterPoint(AcGePoint2d(3, 4));
  shown.setHeight(50);
  shown.setWidth(20);
  shown.setTarget(AcGePoint3d(5, 5, 0));
  shown.setViewDirection(AcGeVector3d(1, -1, 1));
  shown.setFrontClipAtEye(false);
  ASSERT_EQ(acedSetCurrentView(&shown, nullptr), Acad::eOk);
  AcDbViewTableRecord read;
  CCadView::GetCurrentView(read);
  EXPECT_NEAR(read.centerPoint().x, 3, kEps);
  EXPECT_NEAR(read.centerPoint().y, 4, kEps);
  EXPECT_TRUE(read.target().isEqualTo(AcGePoint3d(5, 5, 0), AcGeTol{1e-9}));
  EXPECT_NEAR(read.viewDirection().x, 1, kEps);
  EXPECT_NEAR(read.viewDirection().y, -1, kEps);
  EXPECT_NEAR(read.viewDirection().z, 1, kEps);
  EXPECT_DOUBLE_EQ(read.height(), 50);
  EXPECT_NEAR(read.width(), 50 * kAspect, kEps);
  EXPECT_FALSE(read.frontClipAtEye());
  EXPECT_FALSE(read.perspectiveEnabled());
  EXPECT_DOUBLE_EQ(read.lensLength(), 50);
  const AcGePoint3d before = PointVar(L"VSMAX");
  EXPECT_EQ(CCadView::SetCurrentView(read, 1, nullptr), 1);  // shows the same view again
  EXPECT_TRUE(PointVar(L"VSMAX").isEqualTo(before, AcGeTol{1e-9}));
}

TEST_F(ShowingViews, PanViewShowsTheUcsWindowOnTheDisplay) {
  ASSERT_TRUE(kwhost::SetUcs({100, 50, 0}, {1, 0, 0}, {0, 1, 0}));
  const AcGePoint3d far(300, 0, 0);
  EXPECT_FALSE(KWRDPub::IsPtInView(far));
  KWRDPub::PanView(far);
  EXPECT_TRUE(KWRDPub::IsPtInView(far));
  AcGePoint3d ll, ur;
  KWRDPub::GetScreenPt(ll, ur);
  EXPECT_NEAR(ur.x, 310, kEps);  // the margin beyond the point, in the UCS
  EXPECT_EQ(PointVar(L"VIEWDIR"), AcGePoint3d(0, 0, 1));
  KWRDPub::PanView(AcGePoint3d(0, 0, 0));  // in view: nothing happens
  EXPECT_NEAR(PointVar(L"VSMAX").x, ur.x, kEps);
}

class ScopedView : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(ScopedView, RestoreShowsTheRememberedViewAgainEvenAfterZoomingIn) {
  {
    CCadView scoped(AcGePoint3d(0, 0, 0), AcGePoint3d(8, 8, 0), 1, 1, nullptr);
    ExpectCenter(4, 4);
    EXPECT_DOUBLE_EQ(ViewSize(), 8);
    EXPECT_DOUBLE_EQ(scoped.height(), 100);  // the remembered view
  }
  ExpectCenter(0, 0);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
}

TEST_F(ScopedView, WithoutRestoreTheNewViewStays) {
  { CCadView scoped(AcDbExtents(AcGePoint3d(0, 0, 0), AcGePoint3d(400, 10, 0)), 0, 0, nullptr); }
  ExpectCenter(200, 5);
  EXPECT_DOUBLE_EQ(ViewSize(), 400 / kAspect);
}

TEST_F(ScopedView, CopiesRestoreTheSameView) {
  AcDbViewTableRecord wide;
  wide.setCenterPoint(AcGePoint2d(50, 50));
  wide.setHeight(500);
  wide.setWidth(500);
  auto* first = new CCadView(wide, 1, 0, nullptr);
  EXPECT_DOUBLE_EQ(ViewSize(), 500);
  CCadView copy(*first);
  EXPECT_EQ(copy.m_restore, 1);
  EXPECT_EQ(copy.m_force, 0);
  delete first;
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
  CCadView::SetCurrentView(wide, 1, nullptr);
  copy.m_restore = 0;
  CCadView assigned(wide, 0, 1, nullptr);
  assigned = copy;
  EXPECT_EQ(assigned.m_restore, 0);
  EXPECT_DOUBLE_EQ(assigned.height(), 100);
}

}  // namespace
