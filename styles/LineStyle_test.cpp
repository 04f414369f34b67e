#include "styles/LineStyle.h"

#include <gtest/gtest.h>

#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

// Text lists and validation: no drawing involved, but IsOK prints on the host's command line.
class LineStyleText : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { kwhost::ResetSession(); }
  void SetUp() override { kwhost::TakeOutput(); }

  // A consistent three-dash definition named "ROAD".
  static CLineStyle ThreeDashes() {
    CLineStyle s;
    s.SetStyle(L"road");
    s.SetNumDashes(3);
    s.SetDashLen(L"1,-0.5,0");
    s.SetShapeIsUcsOriented(L"0,1,0");
    s.SetShapeNumber(L"0,0,0");
    s.SetOffset(L"0,0;1,2;0,0");
    s.SetRotation(L"0,0,0");
    s.SetShapeScale(L"1,1,1");
    s.SetShapeStyle(L"||");
    s.SetText(L"\"\"");
    return s;
  }
};

TEST_F(LineStyleText, StyleIsStoredUpperCaseAndNullChangesNothing) {
  CLineStyle s;
  s.SetStyle(L"dashdot");
  EXPECT_EQ(s.GetStyle(), L"DASHDOT");
  s.SetStyle(nullptr);
  s.SetDes(nullptr);
  EXPECT_EQ(s.GetStyle(), L"DASHDOT");
  s.SetDes(L"Dash dot __ . __");
  s.SetComments(L"mixed Case");
  EXPECT_EQ(s.GetDes(), L"Dash dot __ . __");
  EXPECT_EQ(s.GetComments(), L"mixed Case");
}

TEST_F(LineStyleText, OffsetKeepsOnlyPiecesOfExactlyTwoNumbers) {
  CLineStyle s;
  s.SetOffset(L"1,2;3;4,5,6;7,8");
  ASSERT_EQ(s.Offsets().size(), 2u);
  EXPECT_EQ(s.Offsets()[0], AcGeVector2d(1, 2));
  EXPECT_EQ(s.Offsets()[1], AcGeVector2d(7, 8));
  EXPECT_EQ(s.GetOffset(), L"1,2;7,8");
  s.SetOffset(L"-0.5,2.25");
  EXPECT_EQ(s.GetOffset(), L"-0.5,2.25");
  s.SetOffset(nullptr);
  EXPECT_EQ(s.GetOffset(), L"");
}

TEST_F(LineStyleText, NumberListsRoundTripWithSixDecimalsAtMost) {
  CLineStyle s;
  s.SetDashLen(L"");
  EXPECT_TRUE(s.DashLengths().empty());
  s.SetDashLen(L"0.5,-0.25");
  EXPECT_EQ(s.GetDashLen(), L"0.5,-0.25");
  s.SetDashLen(L"1.23456789,3.0000001,x,  7y");
  EXPECT_EQ(s.GetDashLen(), L"1.234568,3,0,7");
  s.SetShapeNumber(L"130, 5,-2,abc");
  EXPECT_EQ(s.GetShapeNumber(), L"130,5,-2,0");
  s.SetShapeNumber(L"4");
  EXPECT_EQ(s.ShapeNumbers(), std::vector<int>{4});
}

TEST_F(LineStyleText, TextsSplitAtTheDoubleQuoteAndKeepBars) {
  CLineStyle s;
  s.SetText(L"a|b,c;d");
  EXPECT_EQ(s.Texts(), std::vector<std::wstring>{L"a|b,c;d"});
  EXPECT_EQ(s.GetText(), L"a|b,c;d");
  s.SetText(L"say \"hi\"");
  EXPECT_EQ(s.Texts(), (std::vector<std::wstring>{L"say ", L"hi", L""}));
  s.SetShapeStyle(L"ltypeshp.shx||STANDARD");
  EXPECT_EQ(s.ShapeStyles(), (std::vector<std::wstring>{L"ltypeshp.shx", L"", L"STANDARD"}));
  EXPECT_EQ(s.GetShapeStyle(), L"ltypeshp.shx||STANDARD");
}

TEST_F(LineStyleText, EmptyStringListIsOneEntryOnlyForOneDash) {
  CLineStyle s;
  s.SetShapeStyle(L"");
  EXPECT_TRUE(s.ShapeStyles().empty());
  s.SetNumDashes(1);
  s.SetShapeStyle(L"");
  s.SetText(L"");
  EXPECT_EQ(s.ShapeStyles().size(), 1u);
  EXPECT_EQ(s.Texts().size(), 1u);
  s.SetText(nullptr);
  EXPECT_TRUE(s.Texts().empty());
}

TEST_F(LineStyleText, CopiesAreIndependent) {
  CLineStyle a = ThreeDashes();
  CLineStyle b = a;
  b.SetDashLen(L"9");
  b.SetStyle(L"other");
  EXPECT_EQ(a.GetDashLen(), L"1,-0.5,0");
  EXPECT_EQ(a.GetStyle(), L"ROAD");
  a = b;
  EXPECT_EQ(a.GetDashLen(), L"9");
}

TEST_F(LineStyleText, IsOKAcceptsAConsistentDefinitionSilently) {
  EXPECT_EQ(ThreeDashes().IsOK(), 1);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
  CLineStyle none;
  none.SetStyle(L"x");
  EXPECT_EQ(none.IsOK(), 1);
}

TEST_F(LineStyleText, IsOKRefusesAnEmptyNameWithoutAMessage) {
  CLineStyle unnamed;
  unnamed.SetNumDashes(0);
  EXPECT_EQ(unnamed.IsOK(), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(LineStyleText, IsOKReportsTooFewAndTooManyWithTheSameWords) {
  CLineStyle s = ThreeDashes();
  s.SetShapeNumber(L"0,0");
  EXPECT_EQ(s.IsOK(), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\nShapeNumber size (2) less than 3.");
  s.SetShapeNumber(L"0,0,0,0");
  EXPECT_EQ(s.IsOK(), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\nShapeNumber size (4) less than 3.");
}

TEST_F(LineStyleText, IsOKChecksTheListsInOrderAndStopsAtTheFirst) {
  const std::vector<std::pair<void (CLineStyle::*)(const wchar_t*), std::wstring>> cases{
      {&CLineStyle::SetDashLen, L"\nDashlen size (0) less than 3."},
      {&CLineStyle::SetShapeIsUcsOriented, L"\nShapeUcsInfo size (0) less than 3."},
      {&CLineStyle::SetOffset, L"\nOffset size (0) less than 3."},
      {&CLineStyle::SetRotation, L"\nRotation size (0) less than 3."},
      {&CLineStyle::SetShapeScale, L"\nShapeScale size (0) less than 3."},
      {&CLineStyle::SetShapeStyle, L"\nShapeStyle size (0) less than 3."},
      {&CLineStyle::SetText, L"\nText size (0) less than 3."},
  };
  for (const auto& [setter, message] : cases) {
    CLineStyle s = ThreeDashes();
    (s.*setter)(nullptr);
    EXPECT_EQ(s.IsOK(), 0);
    EXPECT_EQ(kwhost::TakeOutput(), message);
  }
  CLineStyle both = ThreeDashes();
  both.SetDashLen(L"1");
  both.SetText(L"");
  EXPECT_EQ(both.IsOK(), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\nDashlen size (1) less than 3.");
}

TEST_F(LineStyleText, AbsurdDashCountIsRefused) {
  CLineStyle s = ThreeDashes();
  s.SetNumDashes(-1);
  EXPECT_EQ(s.IsOK(), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\nDashlen size (3) less than -1.");
  s.SetNumDashes(2147483647);
  EXPECT_EQ(s.IsOK(), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\nDashlen size (3) less than 2147483647.");
}

// Reading linetypes from the working drawing.
class LineStyleFromDrawing : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    kwhost::ResetSession();
    AcDbDatabase* db = kwhost::CurrentDatabase();
    ASSERT_EQ(db->loadLineTypeFile(L"DASHDOT", L"acadiso.lin"), Acad::eOk);
    ASSERT_EQ(db->loadLineTypeFile(L"GAS_LINE", L"acadiso.lin"), Acad::eOk);
    ASSERT_EQ(db->loadLineTypeFile(L"FENCELINE1", L"acadiso.lin"), Acad::eOk);
  }
};

TEST_F(LineStyleFromDrawing, ReadsAPlainLinetypeWithItsCommentsTwice) {
  CLineStyle s;
  ASSERT_EQ(CLineStyle::GetLineStyleDef(L"dashdot", s), 1);
  EXPECT_EQ(s.GetStyle(), L"dashdot");
  EXPECT_EQ(s.GetDes(), L"Dash dot __ . __ . __ .");
  EXPECT_EQ(s.GetComments(), L"Dash dot __ . __ . __ .");
  EXPECT_EQ(s.GetNumDashes(), 4);
  EXPECT_EQ(s.GetDashLen(), L"12.7,-6.35,0,-6.35");
  EXPECT_DOUBLE_EQ(s.GetPatternLen(), 25.4);
  EXPECT_EQ(s.GetShapeStyle(), L"|||");
  EXPECT_EQ(s.GetText(), L"\"\"\"");
  EXPECT_EQ(s.GetShapeScale(), L"1,1,1,1");
  EXPECT_EQ(s.IsOK(), 1);
}

TEST_F(LineStyleFromDrawing, TextDashNamesItsStyleAndShapeDashItsFile) {
  CLineStyle gas;
  ASSERT_EQ(CLineStyle::GetLineStyleDef(L"GAS_LINE", gas), 1);
  EXPECT_EQ(gas.GetText(), L"\"GAS\"");
  EXPECT_EQ(gas.GetShapeStyle(), L"|Standard|");
  EXPECT_EQ(gas.GetShapeNumber(), L"0,0,0");
  EXPECT_EQ(gas.GetOffset(), L"0,0;-2.54,-1.27;0,0");
  CLineStyle fence;
  ASSERT_EQ(CLineStyle::GetLineStyleDef(L"FENCELINE1", fence), 1);
  EXPECT_EQ(fence.GetShapeStyle(), L"|ltypeshp.shx|");
  EXPECT_EQ(fence.GetShapeNumber(), L"0,130,0");
  EXPECT_EQ(fence.GetShapeScale(), L"1,2.54,1");
}

TEST_F(LineStyleFromDrawing, BuiltInNamesKeepTheirCaseAndHaveNoDashes) {
  CLineStyle s = CLineStyle();
  s.SetDashLen(L"1,2");
  ASSERT_EQ(CLineStyle::GetLineStyleDef(L"continuous", s), 1);
  EXPECT_EQ(s.GetStyle(), L"continuous");
  EXPECT_EQ(s.GetNumDashes(), 0);
  EXPECT_TRUE(s.DashLengths().empty());
  ASSERT_EQ(CLineStyle::GetLineStyleDef(L"BYLAYER", s), 1);
  EXPECT_EQ(s.GetStyle(), L"BYLAYER");
}

TEST_F(LineStyleFromDrawing, MissingLinetypeOrDrawingResetsTheOutput) {
  CLineStyle s;
  ASSERT_EQ(CLineStyle::GetLineStyleDef(L"DASHDOT", s), 1);
  EXPECT_EQ(CLineStyle::GetLineStyleDef(L"NOSUCH", s), 0);
  EXPECT_EQ(s.GetStyle(), L"");
  EXPECT_EQ(s.GetNumDashes(), 0);
  EXPECT_TRUE(s.DashLengths().empty());
  EXPECT_EQ(CLineStyle::GetLineStyleDef(nullptr, s), 0);
}

TEST(LineStyleWithoutDrawing, GivesNothing) {
  kwhost::ResetSession();
  kwhost::CloseAllDocuments();
  CLineStyle s;
  EXPECT_EQ(CLineStyle::GetLineStyleDef(L"DASHDOT", s), 0);
  EXPECT_EQ(CLineStyle::GetLineStyleDef(L"ByBlock", s), 1);
  kwhost::ResetSession();
}

}  // namespace
