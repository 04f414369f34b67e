// Restoring line styles into the drawing: a definition becomes a linetype record (with the text
// styles and shape files its dashes need), bad definitions are refused with their messages, and
// names the collection does not hold come from the standard linetype files.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "host/api/adsdef.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"
#include "styles/LineStyleCollection.h"
#include "styles/internal/LineStyleTestWorld.h"
#include "styles/internal/StandardLinFiles.h"

namespace {

namespace fs = std::filesystem;

class LineStyleRestore : public LineStyleWorld {};

TEST_F(LineStyleRestore, InconsistentDefinitionIsRefusedWithBothMessages) {
  CLineStyle s = Plain(L"ROADX", 3);
  s.SetShapeNumber(L"0,0");
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 0);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\nShapeNumber size (2) less than 3.\n创建或恢复线形 ROADX 失败(无效的线形定义).");
  EXPECT_TRUE(LinetypeId(L"ROADX").isNull());
}

TEST_F(LineStyleRestore, NumbersThatAreNotFiniteAreRefused) {
  CLineStyle s = Plain(L"NANLEN", 2);
  s.SetPatternLen(std::nan(""));
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n创建或恢复线形 NANLEN 失败(无效的线形定义).");
  WriteCollection(
      "<LineType Style=\"HUGE\" NumDashes=\"1\" DashLen=\"1e999\" "
      "ShapeIsUcsOriented=\"0\" ShapeNumber=\"0\" Offset=\"0,0\" Rotation=\"0\" "
      "ShapeScale=\"1\"/>");
  EXPECT_EQ(Lines()->RestoreLinetype(L"huge", id), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n创建或恢复线形 HUGE 失败(无效的线形定义).");
  EXPECT_TRUE(LinetypeId(L"HUGE").isNull());
}

TEST_F(LineStyleRestore, AbsurdDashCountsFromTheFileAreRefusedClearly) {
  WriteCollection(
      "<LineType Style=\"KW_2P31\" NumDashes=\"2147483648\" DashLen=\"1,-1\"/>"
      "<LineType Style=\"KW_NEG\" NumDashes=\"-2147483649\"/>");
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(Lines()->RestoreLinetype(L"KW_2P31", id), 0);
  EXPECT_EQ(
      kwhost::TakeOutput(),
      L"\nDashlen size (2) less than 2147483647.\n创建或恢复线形 KW_2P31 失败(无效的线形定义).");
  EXPECT_EQ(Lines()->RestoreLinetype(L"KW_NEG", id), 0);
  EXPECT_EQ(
      kwhost::TakeOutput(),
      L"\nDashlen size (0) less than -2147483648.\n创建或恢复线形 KW_NEG 失败(无效的线形定义).");
}

TEST_F(LineStyleRestore, DashCountTheDrawingCannotHoldIsRefused) {
  const CLineStyle s = Plain(L"MANY", 20000);
  ASSERT_EQ(s.IsOK(), 1);
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n创建或恢复线形 MANY 失败(无效的线形定义).");
  EXPECT_TRUE(LinetypeId(L"MANY").isNull());
}

TEST_F(LineStyleRestore, BuiltInNamesAreLeftAlone) {
  AcDbObjectId id = LinetypeId(L"ByLayer");
  const AcDbObjectId before = id;
  for (const wchar_t* name : {L"continuous", L"BYLAYER", L"ByBlock"}) {
    CLineStyle s;
    s.SetStyle(name);
    EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  }
  EXPECT_EQ(id, before);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(LineStyleRestore, StandardFileWinsAndLeavesTheIdAlone) {
  CLineStyle s = Plain(L"dashed", 2);
  AcDbObjectId id;
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"DASHED",
               [](const AcDbLinetypeTableRecord& r) { EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 12.7); });
}

TEST_F(LineStyleRestore, NewRecordTakesEveryValueAndTheCommentsWin) {
  CLineStyle s = Plain(L"KW_ROAD", 2);
  s.SetDes(L"description");
  s.SetComments(L"comments");
  s.SetPatternLen(3.5);
  s.SetIsScaleToFit(7);
  s.SetDashLen(L"2.5,-1");
  s.SetShapeIsUcsOriented(L"1,0");
  s.SetRotation(L"0.5,0");
  s.SetShapeScale(L"2,1");
  s.SetOffset(L"1,-2;0,0");
  AcDbObjectId id = LinetypeId(L"Continuous");
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"KW_ROAD", [](const AcDbLinetypeTableRecord& r) {
    const wchar_t* comments = nullptr;
    r.comments(comments);
    EXPECT_STREQ(comments, L"comments");
    EXPECT_DOUBLE_EQ(r.patternLength(), 3.5);
    EXPECT_TRUE(r.isScaledToFit());
    ASSERT_EQ(r.numDashes(), 2);
    EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 2.5);
    EXPECT_DOUBLE_EQ(r.dashLengthAt(1), -1);
    EXPECT_TRUE(r.shapeIsUcsOrientedAt(0));
    EXPECT_DOUBLE_EQ(r.shapeRotationAt(0), 0.5);
    EXPECT_DOUBLE_EQ(r.shapeScaleAt(0), 2);
    EXPECT_EQ(r.shapeOffsetAt(0), AcGeVector2d(1, -2));
    EXPECT_TRUE(r.shapeStyleAt(0).isNull());
  });
}

TEST_F(LineStyleRestore, ExistingRecordIsKeptAndTheIdLeftAlone) {
  CLineStyle s = Plain(L"KW_TWICE", 2);
  AcDbObjectId id;
  ASSERT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  s.SetDashLen(L"9,-9");
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"KW_TWICE",
               [](const AcDbLinetypeTableRecord& r) { EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 1); });
}

TEST_F(LineStyleRestore, TextDashWithAShapeNumberBecomesATextDashOnStandard) {
  CLineStyle s = Plain(L"KW_TEXT", 3);
  s.SetShapeStyle(L"|RoadFont|");
  s.SetShapeNumber(L"0,5,0");
  s.SetText(L"\"KW\"");
  AcDbObjectId id;
  kwhost::TakeOutput();
  ASSERT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"KW_TEXT", [](const AcDbLinetypeTableRecord& r) {
    EXPECT_EQ(TextStyleName(r.shapeStyleAt(1)), L"Standard");
    EXPECT_EQ(r.shapeNumberAt(1), 0);
    const wchar_t* text = nullptr;
    r.textAt(1, text);
    EXPECT_STREQ(text, L"KW");
  });
}

TEST_F(LineStyleRestore, ShapeDashLoadsItsShapeFileOnce) {
  CLineStyle s = Plain(L"KW_SHAPES", 4);
  s.SetShapeStyle(L"|ltypeshp.shx||LTYPESHP.SHX");
  s.SetShapeNumber(L"0,130,0,131");
  AcDbObjectId id;
  kwhost::TakeOutput();
  ASSERT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
  EXPECT_EQ(TextStyleName(id), L"shx:LTYPESHP.SHX");
  WithLinetype(L"KW_SHAPES", [&](const AcDbLinetypeTableRecord& r) {
    EXPECT_EQ(r.shapeStyleAt(1), id);
    EXPECT_EQ(r.shapeNumberAt(1), 130);
    EXPECT_TRUE(r.shapeStyleAt(2).isNull());
  });
  CLineStyle again = s;
  again.SetStyle(L"KW_SHAPES2");
  ASSERT_EQ(CLineStyleCollection::RestoreLinetype(again, id), 1);
  EXPECT_EQ(TextStyleName(id), L"shx:LTYPESHP.SHX");
  AcDbTextStyleTable* table = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getTextStyleTable(table, AcDb::kForRead), Acad::eOk);
  AcDbTextStyleTableIterator* it = nullptr;
  table->newIterator(it);
  int shapeFiles = 0;
  for (; !it->done(); it->step()) {
    AcDbTextStyleTableRecord* r = nullptr;
    it->getRecord(r);
    shapeFiles += r->isShapeFile() ? 1 : 0;
    r->close();
  }
  delete it;
  table->close();
  EXPECT_EQ(shapeFiles, 1);
}

TEST_F(LineStyleRestore, MissingTextStyleFallsBackToStandardWithAMessage) {
  CLineStyle s = Plain(L"KW_FONT", 2);
  s.SetShapeStyle(L"RoadFont|");
  s.SetText(L"R\"");
  AcDbObjectId id;
  kwhost::TakeOutput();
  ASSERT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_EQ(kwhost::TakeOutput(), L"\nTextstyle ROADFONT not found.");
  WithLinetype(L"KW_FONT", [](const AcDbLinetypeTableRecord& r) {
    EXPECT_EQ(TextStyleName(r.shapeStyleAt(0)), L"Standard");
  });
}

TEST_F(LineStyleRestore, ShapeFilesThatCannotBeRegisteredAreReported) {
  CLineStyle s = Plain(L"KW_NOSHAPE", 2);
  s.SetShapeStyle(L"|road.shx");
  s.SetShapeNumber(L"0,7");
  AcDbTextStyleTable* busy = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getTextStyleTable(busy, AcDb::kForWrite), Acad::eOk);
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  busy->close();
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n加载形文件失败(原因:不能以写方式打开字形表).\nCan not load shape file: road.shx.");
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"KW_NOSHAPE", [](const AcDbLinetypeTableRecord& r) {
    EXPECT_TRUE(r.shapeStyleAt(1).isNull());
    EXPECT_EQ(r.shapeNumberAt(1), 7);
  });
}

TEST_F(LineStyleRestore, LinetypeTableThatCannotBeWrittenIsReported) {
  AcDbLinetypeTable* busy = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getLinetypeTable(busy, AcDb::kForWrite), Acad::eOk);
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(Plain(L"KW_BUSY", 1), id), 0);
  busy->close();
  EXPECT_EQ(kwhost::TakeOutput(), L"\nCan not open LinetypeTable.");
}

TEST_F(LineStyleRestore, ByNameRestoresTheDefinitionOrElseTheStandardFiles) {
  WriteCollection(
      "<LineType Style=\"kw_dash\" NumDashes=\"2\" DashLen=\"4,-1\" ShapeIsUcsOriented=\"0,0\" "
      "ShapeNumber=\"0,0\" Offset=\"0,0;0,0\" Rotation=\"0,0\" ShapeScale=\"1,1\" "
      "ShapeStyle=\"|\" Text=\"&quot;\"/>");
  AcDbObjectId id;
  EXPECT_EQ(Lines()->RestoreLinetype(L"Kw_Dash", id), 1);
  WithLinetype(L"KW_DASH",
               [](const AcDbLinetypeTableRecord& r) { EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 4); });
  EXPECT_EQ(Lines()->RestoreLinetype(L"hidden", id), 1);
  EXPECT_FALSE(LinetypeId(L"HIDDEN").isNull());
  EXPECT_EQ(Lines()->RestoreLinetype(L"NOWHERE", id), 0);
  EXPECT_EQ(Lines()->RestoreLinetype(L"", id), 0);
}

TEST_F(LineStyleRestore, RestoreAllCreatesEveryDefinition) {
  WriteCollection(
      "<LineType Style=\"KW_A\" NumDashes=\"0\"/><LineType Style=\"KW_B\" NumDashes=\"0\"/>"
      "<LineType Style=\"KW_BAD\" NumDashes=\"1\"/><LineType Style=\"hidden2\" NumDashes=\"0\"/>");
  kwhost::TakeOutput();
  Lines()->RestoreLinetype();
  WithLinetype(L"HIDDEN2", [](const AcDbLinetypeTableRecord& r) {
    EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 3.175);
  });
  EXPECT_FALSE(LinetypeId(L"KW_A").isNull());
  EXPECT_FALSE(LinetypeId(L"KW_B").isNull());
  EXPECT_TRUE(LinetypeId(L"KW_BAD").isNull());
  EXPECT_NE(kwhost::TakeOutput().find(L"KW_BAD 失败"), std::wstring::npos);
}

TEST_F(LineStyleRestore, GetLineTypeIdAnswersContinuousWhileLoadingFromAStandardFile) {
  const AcDbObjectId continuous = LinetypeId(L"Continuous");
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"dashdot2"), continuous);
  const AcDbObjectId loaded = LinetypeId(L"DASHDOT2");
  ASSERT_FALSE(loaded.isNull());
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"dashdot2"), loaded);
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"NOWHERE"), continuous);
  kwhost::CloseAllDocuments();
  EXPECT_TRUE(KWRDPub::GetLineTypeId(L"DASHDOT2").isNull());
}

TEST_F(LineStyleRestore, GetLineTypeIdGivesWhateverIdTheRestoreLeft) {
  WriteCollection(
      "<LineType Style=\"KW_PLAIN\" NumDashes=\"0\"/>"
      "<LineType Style=\"KW_LASTTEXT\" NumDashes=\"2\" DashLen=\"1,-1\" "
      "ShapeIsUcsOriented=\"0,0\" ShapeNumber=\"0,0\" Offset=\"0,0;0,0\" Rotation=\"0,0\" "
      "ShapeScale=\"1,1\" ShapeStyle=\"|Standard\" Text=\"&quot;T\"/>");
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"kw_plain"), LinetypeId(L"Continuous"));
  EXPECT_FALSE(LinetypeId(L"KW_PLAIN").isNull());
  // The restore leaves the text style of the new record's last dash, and that is the answer.
  EXPECT_EQ(TextStyleName(KWRDPub::GetLineTypeId(L"KW_LASTTEXT")), L"Standard");
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"KW_LASTTEXT"), LinetypeId(L"KW_LASTTEXT"));
}

TEST_F(LineStyleRestore, GetAllLineTypeListsTheDrawingThenTheCollection) {
  WriteCollection("<LineType Style=\"KW_X\"/><LineType Style=\"continuous\"/>");
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"DASHED", L"acadiso.lin"), Acad::eOk);
  std::vector<std::wstring> names{L"stale"};
  ASSERT_EQ(KWRDPub::GetAllLineType(names, true, false), Acad::eOk);
  EXPECT_EQ(names, (std::vector<std::wstring>{L"ByBlock", L"ByLayer", L"Continuous", L"DASHED"}));
  ASSERT_EQ(KWRDPub::GetAllLineType(names, false, true), Acad::eOk);
  EXPECT_EQ(names, (std::vector<std::wstring>{L"Continuous", L"DASHED", L"KW_X"}));
  kwhost::CloseAllDocuments();
  EXPECT_EQ(KWRDPub::GetAllLineType(names, true, true), Acad::eNoDatabase);
  EXPECT_TRUE(names.empty());
}

// ------------------------------------------------------------------ the standard-file search

// The linetype files beside acadiso.lin in the host's support folder (ACADPREFIX).
class StandardLinetypeFiles : public LineStyleWorld {};

TEST_F(StandardLinetypeFiles, FolderSearchFindsLinetypesBesideAcadIsoOnce) {
  const fs::path support = m_project / "support";
  WriteBytes(support / "acadiso.lin", "*KW_ISO,iso\nA,1,-1\n");
  WriteBytes(support / "b_extra.LIN", "*KW_EXTRA,extra\nA,2,-2\n*KW.DOT,dot\nA,0,-1\n");
  WriteBytes(support / "c_more.lin", "*KW_EXTRA,later\nA,3,-3\n");
  resbuf prefix{};
  prefix.restype = RTSTR;
  std::wstring folder = kw::WidePath(support.string());
  prefix.resval.rstring = folder.data();
  ASSERT_TRUE(kwhost::DefineSysVar(L"ACADPREFIX", &prefix));

  kw::styles::StandardLinFiles files;
  AcDbObjectId id;
  EXPECT_EQ(files.Restore(L"kw_iso", nullptr, id), 1);
  EXPECT_TRUE(id.isNull());
  EXPECT_EQ(files.Restore(L"kw_extra", nullptr, id), 1);
  EXPECT_EQ(id, LinetypeId(L"KW_EXTRA"));
  WithLinetype(L"KW_EXTRA",
               [](const AcDbLinetypeTableRecord& r) { EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 2); });
  EXPECT_EQ(files.Restore(L"KW?DOT", nullptr, id), 0);
  EXPECT_EQ(files.Restore(L"kw.dot", nullptr, id), 1);
  fs::remove_all(support);
  WriteBytes(m_project / "elsewhere" / "acadiso.lin", "*KW_LATE,late\nA,1,-1\n");
  WriteBytes(m_project / "elsewhere" / "z.lin", "*KW_Z,z\nA,1,-1\n");
  folder = kw::WidePath((m_project / "elsewhere").string());
  prefix.resval.rstring = folder.data();
  ASSERT_TRUE(kwhost::DefineSysVar(L"ACADPREFIX", &prefix));
  EXPECT_EQ(files.Restore(L"KW_Z", nullptr, id), 0);
  kw::styles::StandardLinFiles fresh;
  EXPECT_EQ(fresh.Restore(L"KW_Z", nullptr, id), 1);
}

TEST_F(StandardLinetypeFiles, EachStandardFileIsReadOncePerSearch) {
  const fs::path support = m_project / "support";
  WriteBytes(support / "acadiso.lin", "*KW_ONE,one\nA,1,-1\n");
  resbuf prefix{};
  prefix.restype = RTSTR;
  std::wstring folder = kw::WidePath(support.string());
  prefix.resval.rstring = folder.data();
  ASSERT_TRUE(kwhost::DefineSysVar(L"ACADPREFIX", &prefix));
  kw::styles::StandardLinFiles files;
  AcDbObjectId id;
  EXPECT_EQ(files.Restore(L"KW_ONE", nullptr, id), 1);
  WriteBytes(support / "acadiso.lin", "*KW_ONE,one\nA,1,-1\n*KW_TWO,two\nA,2,-2\n");
  EXPECT_EQ(files.Restore(L"KW_TWO", nullptr, id), 0);
  kw::styles::StandardLinFiles later;
  EXPECT_EQ(later.Restore(L"KW_TWO", nullptr, id), 1);
}
}  // namespace
