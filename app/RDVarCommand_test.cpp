#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "app/RDPubApp.h"
#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "kwhost/embedded.h"
#include "persist/RDUserConfig.h"
#include "services/paths.h"

namespace {

class RDVarCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    file_ = KWRDPub::GetCurUserKeldornPath() + L"/SoftConfig.xml";
    std::filesystem::remove(kw::NativePath(file_));
    RDUserConfig::Clear();
    kwhost::ResetSession();
    int width = 5;
    double ratio = 0.5;
    RDUserConfig::RegisterVar(L"Width", RDUserConfig::kIntVar, &width);
    RDUserConfig::RegisterVar(L"Ratio", RDUserConfig::kDoubleVar, &ratio);
    RDUserConfig::RegisterVar(L"Mode", RDUserConfig::kStrVar, const_cast<wchar_t*>(L"abc"));
    RDUserConfig::GetIntVar(L"Hidden", 1);
  }
  void TearDown() override {
    RDUserConfig::Clear();
    std::filesystem::remove(kw::NativePath(file_));
  }

  std::string FileBytes() const {
    std::ifstream in(kw::NativePath(file_), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  static std::string Road(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n  <Road>\n" + body +
           "  </Road>\n</config>\n";
  }

  std::wstring file_;
};

TEST_F(RDVarCommandTest, ListsAndEditsOnlyRegisteredVariables) {
  kwhost::QueueInput(L"?\nhidden\nnope\nwidth\n12");
  CRDPubApp::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入变量名或[?]:"
            L"\nMode\t\tabc\nRatio\t\t0.5\nWidth\t\t5"
            L"\n输入变量名或[?]:\n不存在变量 hidden"
            L"\n输入变量名或[?]:\n不存在变量 nope"
            L"\n输入变量名或[?]:\n输入变量 width 的新值 <5>:");
  EXPECT_EQ(RDUserConfig::GetIntVar(L"Width", 0), 12);
  EXPECT_EQ(FileBytes(), Road("    <Width>12</Width>\n"));

  kwhost::QueueInput(L"ratio\n");  // Enter on a number changes nothing
  CRDPubApp::RDVar();
  kwhost::QueueInput(L"mode\n");  // Enter on a string stores the empty text
  CRDPubApp::RDVar();
  kwhost::QueueInput(L"ratio\n^C");
  CRDPubApp::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入变量名或[?]:\n输入变量 ratio 的新值 <0.5>:"
            L"\n输入变量名或[?]:\n输入变量 mode 的新值 <abc>:"
            L"\n输入变量名或[?]:\n输入变量 ratio 的新值 <0.5>:");
  EXPECT_EQ(RDUserConfig::GetStrVar(L"Mode", nullptr), L"");
  EXPECT_EQ(FileBytes(), Road("    <Width>12</Width>\n    <Mode/>\n"));

  kwhost::QueueInput(L"");
  CRDPubApp::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(), L"\n输入变量名或[?]:");
}

// A full disk or a read-only folder: the edit is reported as not saved, stays in the table, and
// the next edit saves both.
TEST_F(RDVarCommandTest, FailedSaveIsReportedAndTheNextSaveRetriesIt) {
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  kwhost::QueueInput(L"width\n12");
  CRDPubApp::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入变量名或[?]:\n输入变量 width 的新值 <5>:"
            L"\n无法保存用户变量到 " +
                file_);
  EXPECT_FALSE(kw::FileExists(file_));
  EXPECT_EQ(RDUserConfig::GetIntVar(L"Width", 0), 12);

  faulty.Reset();
  kwhost::QueueInput(L"mode\nxyz");
  CRDPubApp::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(), L"\n输入变量名或[?]:\n输入变量 mode 的新值 <abc>:");
  EXPECT_EQ(FileBytes(), Road("    <Mode>xyz</Mode>\n    <Width>12</Width>\n"));
}

// The per-user folder is fixed once asked for, so this runs in a fresh process of its own (the
// death-test machinery re-runs this program for just this test), which first points it at a
// folder every user may write to.
TEST(RDVarCommandFolderTest, FolderOpenToOthersIsRefusedWithTheReason) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // Static, so that the fresh process removes its own folder when it exits.
  static const kwtest::TempDir temp("kwrdvar");
  const std::string open = temp.path();
  ASSERT_EQ(chmod(open.c_str(), 0777), 0);
  const std::wstring w = kw::WidePath(open);
  EXPECT_EXIT(
      {
        setenv("KWRD_USER_DIR", open.c_str(), 1);
        int width = 5;
        RDUserConfig::RegisterVar(L"Width", RDUserConfig::kIntVar, &width);
        kwhost::QueueInput(L"width\n12");
        CRDPubApp::RDVar();
        const std::wstring out = kwhost::TakeOutput();
        const bool ok = out ==
                            L"\n输入变量名或[?]:\n输入变量 width 的新值 <5>:"
                            L"\n无法保存用户变量: 拒绝使用用户目录 " +
                                w + L": 其他用户可以写入 " + w &&
                        !kw::FileExists(w + L"/SoftConfig.xml");
        std::fprintf(stderr, "%s", kw::ToUtf8(out).c_str());
        std::exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
