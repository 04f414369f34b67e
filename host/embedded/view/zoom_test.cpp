// ZOOM and PAN on the command line: windows, scales, centres, extents, previous views and
// displacements, typed in a turned UCS too.
#include <gtest/gtest.h>

#include <string>

#include "host/api/aced.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

AcGePoint3d Var3(const wchar_t* name) {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(name, &rb), RTNORM);
  return {rb.resval.rpoint[0], rb.resval.rpoint[1], rb.resval.rpoint[2]};
}

double ViewSize() {
  resbuf rb{};
  EXPECT_EQ(acedGetVar(L"VIEWSIZE", &rb), RTNORM);
  return rb.resval.rreal;
}

void ExpectCenter(double x, double y) {
  const AcGePoint3d c = Var3(L"VIEWCTR");
  EXPECT_NEAR(c.x, x, 1e-9);
  EXPECT_NEAR(c.y, y, 1e-9);
}

void AddToModelSpace(AcDbEntity* entity) {
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead), Acad::eOk);
  AcDbBlockTableRecord* space = nullptr;
  ASSERT_EQ(table->getAt(L"*Model_Space", space, AcDb::kForWrite), Acad::eOk);
  table->close();
  ASSERT_EQ(space->appendAcDbEntity(entity), Acad::eOk);
  entity->close();
  space->close();
}

class ZoomCommand : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
  void Run(const wchar_t* command, const std::wstring& answers) {
    kwhost::QueueInput(answers);
    ASSERT_TRUE(kwhost::RunCommand(command));
    EXPECT_EQ(kwhost::PendingInput(), 0u);
  }
};

TEST_F(ZoomCommand, AWindowFillsTheScreenAroundItsMiddle) {
  Run(L"ZOOM", L"0,0\n100,10");
  ExpectCenter(50, 5);
  EXPECT_DOUBLE_EQ(ViewSize(), 100 * 720.0 / 1280);  // as wide as the window
  Run(L"zoom", L"w\n-5,-5\n5,45");
  ExpectCenter(0, 20);
  EXPECT_DOUBLE_EQ(ViewSize(), 50);
}

TEST_F(ZoomCommand, ScalesZoomAboutTheCentre) {
  Run(L"ZOOM", L"2x");
  EXPECT_DOUBLE_EQ(ViewSize(), 50);
  Run(L"ZOOM", L"S\n0.5");
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
  Run(L"ZOOM", L"C\n10,20\n20");
  ExpectCenter(10, 20);
  EXPECT_DOUBLE_EQ(ViewSize(), 20);
  Run(L"ZOOM", L"C\n0,0\n4X");
  EXPECT_DOUBLE_EQ(ViewSize(), 5);
}

TEST_F(ZoomCommand, PreviousWalksBackThroughEveryChange) {
  Run(L"ZOOM", L"C\n10,10\n");  // Enter keeps the height
  Run(L"ZOOM", L"2");
  Run(L"ZOOM", L"P");
  ExpectCenter(10, 10);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
  Run(L"ZOOM", L"P");
  ExpectCenter(0, 0);
  kwhost::TakeOutput();
  Run(L"ZOOM", L"P");
  EXPECT_NE(kwhost::TakeOutput().find(L"\n没有保存上一个视图。"), std::wstring::npos);
}

TEST_F(ZoomCommand, ExtentsShowEveryEntityOfTheSpace) {
  kwhost::TakeOutput();
  Run(L"ZOOM", L"E");
  EXPECT_NE(kwhost::TakeOutput().find(L"\n没有对象。"), std::wstring::npos);
  AddToModelSpace(new AcDbLine({0, 0, 0}, {200, 10, 0}));
  AddToModelSpace(new AcDbCircle({100, 90, 0}, {0, 0, 1}, 10));
  Run(L"ZOOM", L"e");
  ExpectCenter(100, 50);
  EXPECT_DOUBLE_EQ(ViewSize(), 200 * 720.0 / 1280);
}

TEST_F(ZoomCommand, WrongAnswersAskAgainAndACancelEndsIt) {
  kwhost::TakeOutput();
  Run(L"ZOOM", L"nonsense\n-2x\n^C");
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n指定窗口的角点，输入比例因子 (nX)，或者\n[中心(C)/范围(E)/上一个(P)/比例(S)/"
            L"窗口(W)] <实时>: \n需要点或选项关键字。"
            L"\n指定窗口的角点，输入比例因子 (nX)，或者\n[中心(C)/范围(E)/上一个(P)/比例(S)/"
            L"窗口(W)] <实时>: \n需要点或选项关键字。"
            L"\n指定窗口的角点，输入比例因子 (nX)，或者\n[中心(C)/范围(E)/上一个(P)/比例(S)/"
            L"窗口(W)] <实时>: ");
  Run(L"ZOOM", L"W\n1,1\n1,1");
  EXPECT_NE(kwhost::TakeOutput().find(L"\n窗口无效。"), std::wstring::npos);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
}

TEST_F(ZoomCommand, TheHostRunsItForCallersToo) {
  const double a[3] = {0, 0, 0}, b[3] = {0, 30, 0};
  EXPECT_EQ(acedCommand(RTSTR, L"_.ZOOM", RTSTR, L"W", RT3DPOINT, a, RT3DPOINT, b, 0), RTNORM);
  ExpectCenter(0, 15);
  EXPECT_DOUBLE_EQ(ViewSize(), 30);
}

class PanCommand : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(PanCommand, TheDrawingMovesByTheDisplacement) {
  kwhost::QueueInput(L"10,0\n");
  ASSERT_TRUE(kwhost::RunCommand(L"PAN"));
  ExpectCenter(-10, 0);
  kwhost::QueueInput(L"1,1\n6,-4");
  ASSERT_TRUE(kwhost::RunCommand(L"PAN"));
  ExpectCenter(-15, 5);
  EXPECT_DOUBLE_EQ(ViewSize(), 100);
}

TEST_F(PanCommand, DisplacementsAreTypedInTheUcs) {
  ASSERT_TRUE(kwhost::SetUcs({7, 7, 0}, {0, 1, 0}, {-1, 0, 0}));
  kwhost::QueueInput(L"10,0\n");
  ASSERT_TRUE(kwhost::RunCommand(L"PAN"));
  kwhost::SetWorldUcs();
  ExpectCenter(0, -10);  // UCS x is world y
}

}  // namespace
