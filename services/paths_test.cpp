#include "services/paths.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>

#include "common/fileio.h"

namespace {

namespace fs = std::filesystem;

// The product folders are cached for the life of the process, so this group arranges the
// environment once, before any of them is first asked for.
class PathsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    char tmpl[] = "/tmp/kwpaths-XXXXXX";
    root_ = mkdtemp(tmpl);
    setenv("KWRD_INSTALL_DIR", (root_ + "/install//").c_str(), 1);
    setenv("KWRD_USER_DIR", (root_ + "/user\\").c_str(), 1);
    setenv("KWRD_APPDATA_DIR", (root_ + "/appdata/").c_str(), 1);
    setenv("KWRD_WORK_DIR", ("  " + root_ + "/work/\\  ").c_str(), 1);
  }
  static void TearDownTestSuite() { fs::remove_all(root_); }
  static std::wstring W(const std::string& s) { return kw::WidePath(root_ + s); }

  static std::string root_;
};
std::string PathsTest::root_;

TEST_F(PathsTest, PathsAreHandedOutWithoutTrailingSeparators) {
  EXPECT_EQ(KWRDPub::GetInstallPath(), W("/install"));
  EXPECT_EQ(KWRDPub::GetAppDataPath(), W("/appdata"));
  EXPECT_EQ(KWRDPub::GetSoftName(), L"KWRD");
}

TEST_F(PathsTest, WorkPathIsTrimmedAndCreatedOnlyWhenAsked) {
  EXPECT_EQ(KWRDPub::GetWorkPath(false), W("/work"));
  EXPECT_FALSE(fs::exists(root_ + "/work"));
  EXPECT_EQ(KWRDPub::GetWorkPath(true), W("/work"));
  EXPECT_TRUE(fs::is_directory(root_ + "/work"));
  // Blanks are trimmed before separators, so a blank inside the trailing run stays.
  setenv("KWRD_WORK_DIR", (root_ + "/work/ /").c_str(), 1);
  EXPECT_EQ(KWRDPub::GetWorkPath(false), W("/work/ "));
}

TEST_F(PathsTest, ProductFoldersAreCreatedOnceAndThenCached) {
  EXPECT_EQ(KWRDPub::GetAppDataKeldornPath(), W("/appdata/Kaiwei/Keldorn"));
  EXPECT_TRUE(fs::is_directory(root_ + "/appdata/Kaiwei/Keldorn"));
  EXPECT_EQ(KWRDPub::GetCurUserKeldornPath(), W("/user"));
  EXPECT_TRUE(fs::is_directory(root_ + "/user"));

  fs::remove_all(root_ + "/appdata");
  fs::remove_all(root_ + "/user");
  setenv("KWRD_USER_DIR", (root_ + "/elsewhere").c_str(), 1);
  EXPECT_EQ(KWRDPub::GetAppDataKeldornPath(), W("/appdata/Kaiwei/Keldorn"));
  EXPECT_EQ(KWRDPub::GetCurUserKeldornPath(), W("/user"));
  EXPECT_FALSE(fs::exists(root_ + "/appdata"));
  EXPECT_FALSE(fs::exists(root_ + "/user"));
}

TEST_F(PathsTest, ProjectPathAndNameAreStoredUnchanged) {
  EXPECT_EQ(KWRDPub::GetCurPrjPath(), L"");
  KWRDPub::SetCurPrjPath(L"/prj/道路\\");
  KWRDPub::SetCurPrjName(L" 一期 ");
  EXPECT_EQ(KWRDPub::GetCurPrjPath(), L"/prj/道路\\");
  EXPECT_EQ(KWRDPub::GetCurPrjName(), L" 一期 ");
  KWRDPub::SetCurPrjPath(nullptr);
  EXPECT_EQ(KWRDPub::GetCurPrjPath(), L"");
}

}  // namespace
