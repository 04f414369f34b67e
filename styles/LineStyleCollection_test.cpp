#include "styles/LineStyleCollection.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "host/api/adsdef.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"
#include "services/paths.h"
#include "styles/internal/StandardLinFiles.h"

namespace {

namespace fs = std::filesystem;

std::string ReadBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

AcDbObjectId LinetypeId(const wchar_t* name) {
  AcDbLinetypeTable* table = nullptr;
  AcDbObjectId id;
  if (kwhost::CurrentDatabase()->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return id;
  table->getAt(name, id);
  table->close();
  return id;
}

// Runs `read` on the linetype record `name` of the current drawing (opened for read).
template <class Read>
void WithLinetype(const wchar_t* name, Read read) {
  AcDbLinetypeTableRecord* record = nullptr;
  ASSERT_EQ(acdbOpenObject(record, LinetypeId(name), AcDb::kForRead), Acad::eOk) << name;
  read(*record);
  record->close();
}

std::wstring TextStyleName(AcDbObjectId id) {
  AcDbTextStyleTableRecord* record = nullptr;
  if (acdbOpenObject(record, id, AcDb::kForRead) != Acad::eOk) return L"<none>";
  std::wstring name = record->name();
  const wchar_t* file = nullptr;
  if (record->isShapeFile() && record->fileName(file) == Acad::eOk)
    name = L"shx:" + std::wstring(file);
  record->close();
  return name;
}

// A definition of n dashes with every list consistent.
CLineStyle Plain(const wchar_t* name, int n) {
  CLineStyle s;
  s.SetStyle(name);
  s.SetNumDashes(n);
  std::wstring nums, zeros, offsets, bars, quotes;
  for (int i = 0; i < n; ++i) {
    nums += i ? L",1" : L"1";
    zeros += i ? L",0" : L"0";
    offsets += i ? L";0,0" : L"0,0";
    if (i) bars += L'|', quotes += L'"';
  }
  s.SetDashLen(nums.c_str());
  s.SetShapeIsUcsOriented(zeros.c_str());
  s.SetShapeNumber(zeros.c_str());
  s.SetOffset(offsets.c_str());
  s.SetRotation(nums.c_str());
  s.SetShapeScale(nums.c_str());
  s.SetShapeStyle(bars.c_str());
  s.SetText(quotes.c_str());
  return s;
}

// Every test runs in a fresh host session with the project in its own temporary folder; the
// collection is created afresh by each test.
class LineStyles : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_temp = new kwtest::TempDir("kwlstyle");
    s_root = s_temp->path();
  }
  static void TearDownTestSuite() { delete s_temp; }

  void SetUp() override {
    kwhost::ResetSession();
    m_project = s_root / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(m_project);
    KWRDPub::SetCurPrjPath(kw::WidePath(m_project.string()).c_str());
    CLineStyleCollection::Destroy();
  }
  void TearDown() override { CLineStyleCollection::Destroy(); }

  fs::path File() const { return m_project / "Styles" / "LineTypes.xml"; }
  void WriteCollection(const std::string& items, const fs::path& path) {
    WriteBytes(path, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LineTypeInfo><LineTypes>" +
                         items + "</LineTypes></LineTypeInfo>\n");
  }
  void WriteCollection(const std::string& items) { WriteCollection(items, File()); }
  static CLineStyleCollection* Lines() { return CLineStyleCollection::GetInstance(); }
  static std::vector<std::wstring> Names() {
    std::vector<std::wstring> names;
    Lines()->GetAllLineType(names);
    return names;
  }

  static inline kwtest::TempDir* s_temp = nullptr;
  static inline fs::path s_root;
  fs::path m_project;
};

TEST_F(LineStyles, MissingFileGivesAnEmptyCollectionUnderTheProject) {
  EXPECT_TRUE(Names().empty());
  EXPECT_EQ(Lines()->GetFilePath(), kw::WidePath(File().string()));
}

TEST_F(LineStyles, AppendTakesTheDrawingsLinetypeUnderItsUpperCaseName) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"DASHDOT", L"acadiso.lin"), Acad::eOk);
  EXPECT_EQ(Lines()->AppendLineType(L"dashdot", true), 1);
  EXPECT_EQ(Names(), std::vector<std::wstring>{L"DASHDOT"});
  EXPECT_EQ(ReadBytes(File()),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<LineTypeInfo>\n"
            "  <LineTypes>\n"
            "    <LineType Style=\"DASHDOT\" Des=\"Dash dot __ . __ . __ .\" "
            "Comments=\"Dash dot __ . __ . __ .\" IsScaleToFit=\"0\" PatternLen=\"25.4\" "
            "DashLen=\"12.7,-6.35,0,-6.35\" NumDashes=\"4\" ShapeIsUcsOriented=\"0,0,0,0\" "
            "ShapeNumber=\"0,0,0,0\" Offset=\"0,0;0,0;0,0;0,0\" Rotation=\"0,0,0,0\" "
            "ShapeScale=\"1,1,1,1\" ShapeStyle=\"|||\" Text=\"&quot;&quot;&quot;\"/>\n"
            "  </LineTypes>\n"
            "</LineTypeInfo>\n");
}

TEST_F(LineStyles, AppendOfAnUnknownNameFailsAndWritesNothing) {
  EXPECT_EQ(Lines()->AppendLineType(L"NOSUCH", true), 0);
  EXPECT_FALSE(fs::exists(File()));
  EXPECT_TRUE(Names().empty());
}

TEST_F(LineStyles, RemoveOfAnUnknownNameSucceedsWithoutSaving) {
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  EXPECT_EQ(Lines()->RemoveLineType(L"NOSUCH", true), 1);
  EXPECT_EQ(faulty.writes(), 0);
}

TEST_F(LineStyles, RemoveSavesAndReportsAFailedSave) {
  WriteCollection("<LineType Style=\"a\"/><LineType Style=\"b\"/>");
  const std::string before = ReadBytes(File());
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  EXPECT_EQ(Lines()->RemoveLineType(L"A", true), 0);
  EXPECT_EQ(ReadBytes(File()), before);
  faulty.Reset();
  EXPECT_EQ(Lines()->RemoveLineType(L"b", true), 1);
  EXPECT_EQ(ReadBytes(File()).find("Style=\"B\""), std::string::npos);
}

TEST_F(LineStyles, ReadsEveryValueAsTextAndALaterEntryWins) {
  WriteCollection(
      "<LineType Style=\"road\" IsScaleToFit=\"1.9\" PatternLen=\" 2.5mm\" NumDashes=\"2x\" "
      "DashLen=\"2,-0.5\"/>"
      "<LineType Style=\"Flag\" IsScaleToFit=\"2\"/>"
      "<LineType Style=\"ROAD\" Des=\"second\" IsScaleToFit=\"1\" NumDashes=\"1\"/>");
  const CLineStyle* road = Lines()->GetLineStyle(L"Road");
  ASSERT_NE(road, nullptr);
  EXPECT_EQ(road->GetDes(), L"second");
  EXPECT_EQ(road->GetIsScaleToFit(), 1);
  EXPECT_EQ(road->GetNumDashes(), 1);
  EXPECT_EQ(road->ShapeStyles().size(), 1u);
  EXPECT_EQ(Lines()->GetLineStyle(L"flag")->GetIsScaleToFit(), 0);
  CLineStyleCollection::Destroy();
  WriteCollection("<LineType Style=\"road\" IsScaleToFit=\"1.9\" PatternLen=\" 2.5mm\"/>");
  EXPECT_EQ(Lines()->GetLineStyle(L"ROAD")->GetIsScaleToFit(), 1);
  EXPECT_DOUBLE_EQ(Lines()->GetLineStyle(L"ROAD")->GetPatternLen(), 2.5);
}

TEST_F(LineStyles, ListsAndSavesInThePlatformsBucketOrder) {
  // "A" and "R" share bucket 14 (65 % 17, 82 % 17): the one added later comes first; "B" is
  // in bucket 15 and "AB" (65 * 33 + 66 = 2211) in bucket 1.
  WriteCollection(
      "<LineType Style=\"A\"/><LineType Style=\"B\"/><LineType Style=\"R\"/>"
      "<LineType Style=\"AB\"/>");
  EXPECT_EQ(Names(), (std::vector<std::wstring>{L"AB", L"R", L"A", L"B"}));
  ASSERT_TRUE(Lines()->Save());
  const std::string saved = ReadBytes(File());
  EXPECT_LT(saved.find("\"AB\""), saved.find("\"R\""));
  EXPECT_LT(saved.find("\"R\""), saved.find("\"A\""));
  EXPECT_LT(saved.find("\"A\""), saved.find("\"B\""));
}

TEST_F(LineStyles, SaveKeepsTheRestOfTheDocumentAndRewritesTheSection) {
  WriteBytes(File(),
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LineTypeInfo Version=\"3\"><Owner>"
             "me</Owner><LineTypes><LineType Style=\"OLD\"/><Note/></LineTypes></LineTypeInfo>");
  ASSERT_EQ(Names(), std::vector<std::wstring>{L"OLD"});
  ASSERT_EQ(Lines()->RemoveLineType(L"old", true), 1);
  EXPECT_EQ(ReadBytes(File()),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<LineTypeInfo Version=\"3\">\n"
            "  <Owner>me</Owner>\n"
            "  <LineTypes/>\n"
            "</LineTypeInfo>\n");
}

TEST_F(LineStyles, SaveRefusesToReplaceAFileThatDoesNotLoad) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"DASHED", L"acadiso.lin"), Acad::eOk);
  WriteBytes(File(), "<Other/>");
  EXPECT_EQ(Lines()->AppendLineType(L"DASHED", true), 0);
  EXPECT_EQ(ReadBytes(File()), "<Other/>");
  EXPECT_EQ(Names(), std::vector<std::wstring>{L"DASHED"});
}

TEST_F(LineStyles, ImportTakesDistinctNamesAndSavesOnce) {
  const fs::path other = m_project / "other.xml";
  WriteCollection(
      "<LineType Style=\"A\" Des=\"from a\"/><LineType Style=\"B\"/><LineType Style=\"C\"/>",
      other);
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  EXPECT_TRUE(
      Lines()->ImportLineType({L"a", L"A", L"b", L"zz"}, kw::WidePath(other.string()).c_str()));
  EXPECT_EQ(faulty.writes(), 1);
  EXPECT_EQ(Names(), (std::vector<std::wstring>{L"A", L"B"}));
  EXPECT_EQ(Lines()->GetLineStyle(L"a")->GetDes(), L"from a");
  EXPECT_TRUE(Lines()->ImportLineType({}, L"/nonexistent.xml"));
  EXPECT_EQ(faulty.writes(), 1);
}

TEST_F(LineStyles, ExportWritesOnlyKnownNamesIntoTheOtherFile) {
  WriteCollection("<LineType Style=\"A\" Des=\"x\"/><LineType Style=\"B\"/>");
  const fs::path out = m_project / "out" / "export.xml";
  ASSERT_TRUE(Lines()->ExportLineType({L"b", L"nosuch", L"B"}, kw::WidePath(out.string()).c_str()));
  const std::string bytes = ReadBytes(out);
  EXPECT_NE(bytes.find("<LineType Style=\"B\""), std::string::npos);
  EXPECT_EQ(bytes.find("Style=\"A\""), std::string::npos);
  EXPECT_EQ(Names(), (std::vector<std::wstring>{L"A", L"B"}));
  EXPECT_TRUE(Lines()->ExportLineType({}, L"/nonexistent/x.xml"));
  const fs::path cwd = fs::current_path();
  fs::current_path(m_project);
  EXPECT_TRUE(Lines()->ExportLineType({L"A"}, L"here.xml"));
  fs::current_path(cwd);
  EXPECT_TRUE(fs::exists(m_project / "here.xml"));
}

TEST_F(LineStyles, AppendedDefinitionsSurviveSaveAndLoad) {
  AcDbDatabase* db = kwhost::CurrentDatabase();
  ASSERT_EQ(db->loadLineTypeFile(L"GAS_LINE", L"acadiso.lin"), Acad::eOk);
  ASSERT_EQ(db->loadLineTypeFile(L"ARROW_LINE", L"acadiso.lin"), Acad::eOk);
  ASSERT_EQ(Lines()->AppendLineType(L"GAS_LINE", false), 1);
  ASSERT_EQ(Lines()->AppendLineType(L"ARROW_LINE", true), 1);
  const CLineStyle gas = *Lines()->GetLineStyle(L"GAS_LINE");
  CLineStyleCollection::Destroy();
  const CLineStyle* loaded = Lines()->GetLineStyle(L"GAS_LINE");
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->GetText(), gas.GetText());
  EXPECT_EQ(loaded->GetOffset(), gas.GetOffset());
  EXPECT_EQ(loaded->GetShapeStyle(), gas.GetShapeStyle());
  EXPECT_EQ(loaded->IsOK(), 1);
  EXPECT_EQ(Lines()->GetLineStyle(L"arrow_line")->GetShapeNumber(), L"134,0");
}

// ------------------------------------------------------------------------------- restoring

TEST_F(LineStyles, InconsistentDefinitionIsRefusedWithBothMessages) {
  CLineStyle s = Plain(L"ROADX", 3);
  s.SetShapeNumber(L"0,0");
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 0);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\nShapeNumber size (2) less than 3.\n创建或恢复线形 ROADX 失败(无效的线形定义).");
  EXPECT_TRUE(LinetypeId(L"ROADX").isNull());
}

TEST_F(LineStyles, NumbersThatAreNotFiniteAreRefused) {
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

TEST_F(LineStyles, AbsurdDashCountsFromTheFileAreRefusedClearly) {
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

TEST_F(LineStyles, DashCountTheDrawingCannotHoldIsRefused) {
  const CLineStyle s = Plain(L"MANY", 20000);
  ASSERT_EQ(s.IsOK(), 1);
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n创建或恢复线形 MANY 失败(无效的线形定义).");
  EXPECT_TRUE(LinetypeId(L"MANY").isNull());
}

TEST_F(LineStyles, BuiltInNamesAreLeftAlone) {
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

TEST_F(LineStyles, StandardFileWinsAndLeavesTheIdAlone) {
  CLineStyle s = Plain(L"dashed", 2);
  AcDbObjectId id;
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"DASHED",
               [](const AcDbLinetypeTableRecord& r) { EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 12.7); });
}

TEST_F(LineStyles, NewRecordTakesEveryValueAndTheCommentsWin) {
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

TEST_F(LineStyles, ExistingRecordIsKeptAndTheIdLeftAlone) {
  CLineStyle s = Plain(L"KW_TWICE", 2);
  AcDbObjectId id;
  ASSERT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  s.SetDashLen(L"9,-9");
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(s, id), 1);
  EXPECT_TRUE(id.isNull());
  WithLinetype(L"KW_TWICE",
               [](const AcDbLinetypeTableRecord& r) { EXPECT_DOUBLE_EQ(r.dashLengthAt(0), 1); });
}

TEST_F(LineStyles, TextDashWithAShapeNumberBecomesATextDashOnStandard) {
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

TEST_F(LineStyles, ShapeDashLoadsItsShapeFileOnce) {
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

TEST_F(LineStyles, MissingTextStyleFallsBackToStandardWithAMessage) {
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

TEST_F(LineStyles, ShapeFilesThatCannotBeRegisteredAreReported) {
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

TEST_F(LineStyles, LinetypeTableThatCannotBeWrittenIsReported) {
  AcDbLinetypeTable* busy = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getLinetypeTable(busy, AcDb::kForWrite), Acad::eOk);
  AcDbObjectId id;
  kwhost::TakeOutput();
  EXPECT_EQ(CLineStyleCollection::RestoreLinetype(Plain(L"KW_BUSY", 1), id), 0);
  busy->close();
  EXPECT_EQ(kwhost::TakeOutput(), L"\nCan not open LinetypeTable.");
}

TEST_F(LineStyles, ByNameRestoresTheDefinitionOrElseTheStandardFiles) {
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

TEST_F(LineStyles, RestoreAllCreatesEveryDefinition) {
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

TEST_F(LineStyles, GetLineTypeIdAnswersContinuousWhileLoadingFromAStandardFile) {
  const AcDbObjectId continuous = LinetypeId(L"Continuous");
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"dashdot2"), continuous);
  const AcDbObjectId loaded = LinetypeId(L"DASHDOT2");
  ASSERT_FALSE(loaded.isNull());
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"dashdot2"), loaded);
  EXPECT_EQ(KWRDPub::GetLineTypeId(L"NOWHERE"), continuous);
  kwhost::CloseAllDocuments();
  EXPECT_TRUE(KWRDPub::GetLineTypeId(L"DASHDOT2").isNull());
}

TEST_F(LineStyles, GetLineTypeIdGivesWhateverIdTheRestoreLeft) {
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

TEST_F(LineStyles, GetAllLineTypeListsTheDrawingThenTheCollection) {
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

TEST_F(LineStyles, FolderSearchFindsLinetypesBesideAcadIsoOnce) {
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

TEST_F(LineStyles, EachStandardFileIsReadOncePerSearch) {
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
