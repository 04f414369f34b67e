// The line style collection's file: loading, saving, importing and exporting, appending the
// drawing's linetypes and removing definitions.
#include "styles/LineStyleCollection.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "host/api/dbmain.h"
#include "kwhost/embedded.h"
#include "styles/internal/LineStyleTestWorld.h"

namespace {

namespace fs = std::filesystem;

class LineStyleFiles : public LineStyleWorld {};

TEST_F(LineStyleFiles, MissingFileGivesAnEmptyCollectionUnderTheProject) {
  EXPECT_TRUE(Names().empty());
  EXPECT_EQ(Lines()->GetFilePath(), kw::WidePath(File().string()));
}

TEST_F(LineStyleFiles, AppendTakesTheDrawingsLinetypeUnderItsUpperCaseName) {
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

TEST_F(LineStyleFiles, AppendOfAnUnknownNameFailsAndWritesNothing) {
  EXPECT_EQ(Lines()->AppendLineType(L"NOSUCH", true), 0);
  EXPECT_FALSE(fs::exists(File()));
  EXPECT_TRUE(Names().empty());
}

TEST_F(LineStyleFiles, RemoveOfAnUnknownNameSucceedsWithoutSaving) {
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  EXPECT_EQ(Lines()->RemoveLineType(L"NOSUCH", true), 1);
  EXPECT_EQ(faulty.writes(), 0);
}

TEST_F(LineStyleFiles, RemoveSavesAndReportsAFailedSave) {
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

TEST_F(LineStyleFiles, ReadsEveryValueAsTextAndALaterEntryWins) {
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

TEST_F(LineStyleFiles, ListsAndSavesInThePlatformsBucketOrder) {
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

TEST_F(LineStyleFiles, SaveKeepsTheRestOfTheDocumentAndRewritesTheSection) {
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

TEST_F(LineStyleFiles, SaveRefusesToReplaceAFileThatDoesNotLoad) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"DASHED", L"acadiso.lin"), Acad::eOk);
  WriteBytes(File(), "<Other/>");
  EXPECT_EQ(Lines()->AppendLineType(L"DASHED", true), 0);
  EXPECT_EQ(ReadBytes(File()), "<Other/>");
  EXPECT_EQ(Names(), std::vector<std::wstring>{L"DASHED"});
}

TEST_F(LineStyleFiles, ImportTakesDistinctNamesAndSavesOnce) {
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

TEST_F(LineStyleFiles, ExportWritesOnlyKnownNamesIntoTheOtherFile) {
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

TEST_F(LineStyleFiles, AppendedDefinitionsSurviveSaveAndLoad) {
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

}  // namespace
