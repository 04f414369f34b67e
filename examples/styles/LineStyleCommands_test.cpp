#include "examples/styles/LineStyleCommands.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"
#include "services/paths.h"
#include "styles/LineStyleCollection.h"

namespace {

namespace fs = std::filesystem;

bool DrawingHas(const wchar_t* name) {
  AcDbLinetypeTable* table = nullptr;
  if (kwhost::CurrentDatabase()->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) {
    return false;
  }
  const bool has = table->has(name);
  table->close();
  return has;
}

// Each test: a fresh host session with the commands registered, the project in a temporary
// folder of its own, the collection created afresh.
class LineStyleCommands : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_temp = new kwtest::TempDir("kwltcmd");
    s_root = s_temp->path();
  }
  static void TearDownTestSuite() { delete s_temp; }

  void SetUp() override {
    kwhost::ResetSession();
    RegisterLineStyleCommands(L"KWSTYLES");
    kwstyles::RegisterProjectCommand(L"KWSTYLES");
    m_project = s_root / ::testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::create_directories(m_project);
    KWRDPub::SetCurPrjPath(kw::WidePath(m_project.string()).c_str());
    CLineStyleCollection::Destroy();
  }
  void TearDown() override { CLineStyleCollection::Destroy(); }

  std::wstring Run(const wchar_t* command, const std::wstring& answers) {
    kwhost::TakeOutput();
    kwhost::QueueInput(answers);
    EXPECT_TRUE(kwhost::RunCommand(command));
    return kwhost::TakeOutput();
  }
  std::wstring Path(const char* name) const { return kw::WidePath((m_project / name).string()); }

  static inline kwtest::TempDir* s_temp = nullptr;
  static inline fs::path s_root;
  fs::path m_project;
};

TEST_F(LineStyleCommands, AppendTakesNamedLinetypesAndSaves) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"*", L"acadiso.lin"), Acad::eOk);
  const std::wstring out = Run(L"LTAPPEND", L"dashed, gas_line ,nosuch");
  EXPECT_NE(
      out.find(L"\n已加入线型 DASHED.\n已加入线型 GAS_LINE.\n图中没有线型 nosuch.\n线型库已保存."),
      std::wstring::npos)
      << out;
  EXPECT_TRUE(fs::exists(m_project / "Styles" / "LineTypes.xml"));
  EXPECT_EQ(Run(L"LTLIST", L""),
            L"\n线型库 " + Path("Styles/LineTypes.xml") +
                L": 2 个线型\n  GAS_LINE (3) Gas line ----GAS----GAS----\n  DASHED (2) Dashed __ "
                L"__ __ __ __");
}

TEST_F(LineStyleCommands, AppendStarTakesEveryLinetypeButTheBuiltIns) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"DOT*", L"acadiso.lin"), Acad::eOk);
  Run(L"LTAPPEND", L"*");
  std::vector<std::wstring> names;
  CLineStyleCollection::GetInstance()->GetAllLineType(names);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::wstring>{L"DOT", L"DOT2", L"DOTX2"}));
}

TEST_F(LineStyleCommands, ExportThenImportCarriesDefinitionsBetweenProjects) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"FENCELINE1", L"acadiso.lin"), Acad::eOk);
  Run(L"LTAPPEND", L"FENCELINE1");
  const std::wstring shared = Path("shared.xml");
  EXPECT_EQ(
      Run(L"LTEXPORT", shared + L"\n*"),
      L"\n导出线型的文件: \n导出的线型名(用\",\"分隔, *为全部): \n已导出线型到 " + shared + L".");
  fs::create_directories(m_project / "other");
  KWRDPub::SetCurPrjPath(Path("other").c_str());
  CLineStyleCollection::Destroy();
  EXPECT_NE(Run(L"LTIMPORT", shared + L"\nfenceline1").find(L"\n已从 " + shared + L" 导入线型."),
            std::wstring::npos);
  ASSERT_NE(CLineStyleCollection::GetInstance()->GetLineStyle(L"FENCELINE1"), nullptr);
  EXPECT_TRUE(fs::exists(m_project / "other" / "Styles" / "LineTypes.xml"));
}

TEST_F(LineStyleCommands, RestorePutsTheCollectionIntoANewDrawing) {
  ASSERT_EQ(kwhost::CurrentDatabase()->loadLineTypeFile(L"GAS_LINE", L"acadiso.lin"), Acad::eOk);
  Run(L"LTAPPEND", L"GAS_LINE");
  kwhost::NewDrawing();
  ASSERT_FALSE(DrawingHas(L"GAS_LINE"));
  EXPECT_NE(Run(L"LTRESTORE", L"*").find(L"\n已恢复线型 GAS_LINE."), std::wstring::npos);
  EXPECT_TRUE(DrawingHas(L"GAS_LINE"));
  EXPECT_NE(
      Run(L"LTRESTORE", L"dashed, nowhere").find(L"\n已恢复线型 dashed.\n未能恢复线型 nowhere."),
      std::wstring::npos);
  EXPECT_TRUE(DrawingHas(L"DASHED"));
}

TEST_F(LineStyleCommands, ProjectCommandSwitchesTheCollection) {
  fs::create_directories(m_project / "p2" / "Styles");
  std::ofstream(m_project / "p2" / "Styles" / "LineTypes.xml")
      << "<LineTypeInfo><LineTypes><LineType Style=\"kw_p2\"/></LineTypes></LineTypeInfo>";
  EXPECT_EQ(Run(L"KWPROJECT", Path("p2")), L"\n项目文件夹 <" + kw::WidePath(m_project.string()) +
                                               L">: \n项目文件夹: " + Path("p2"));
  EXPECT_NE(CLineStyleCollection::GetInstance()->GetLineStyle(L"KW_P2"), nullptr);
  Run(L"KWPROJECT", L"");
  EXPECT_EQ(KWRDPub::GetCurPrjPath(), Path("p2"));
}

TEST_F(LineStyleCommands, CancelledOrEmptyAnswersChangeNothing) {
  EXPECT_EQ(Run(L"LTEXPORT", L"^C"), L"\n导出线型的文件: ");
  Run(L"LTIMPORT", Path("x.xml") + L"\n");
  Run(L"LTAPPEND", L"");
  EXPECT_FALSE(fs::exists(m_project / "Styles"));
  EXPECT_FALSE(fs::exists(m_project / "x.xml"));
}

}  // namespace
