#include "services/paths.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"

namespace {

namespace fs = std::filesystem;

// The product folders are cached for the life of the process, so this group arranges the
// environment once, before any of them is first asked for.
class PathsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp_.emplace("kwpaths");
    root_ = temp_->path();
    setenv("KWRD_INSTALL_DIR", (root_ + "/install//").c_str(), 1);
    setenv("KWRD_USER_DIR", (root_ + "/user\\").c_str(), 1);
    setenv("KWRD_APPDATA_DIR", (root_ + "/appdata/").c_str(), 1);
    setenv("KWRD_WORK_DIR", ("  " + root_ + "/work/\\  ").c_str(), 1);
  }
  static void TearDownTestSuite() { temp_.reset(); }
  static std::wstring W(const std::string& s) { return kw::WidePath(root_ + s); }

  static std::optional<kwtest::TempDir> temp_;
  static std::string root_;
};
std::optional<kwtest::TempDir> PathsTest::temp_;
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

// The folders are cached for the life of the process, so each of these runs in a fresh process
// of its own (the death-test machinery re-runs this program for just that test) and reports
// through its exit status.
class UserFolderTest : public ::testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Without HOME the folders come from the password database, never from a shared /tmp.
TEST_F(UserFolderTest, WithoutHomeFoldersComeFromThePasswordDatabase) {
  const std::wstring home = kw::WidePath(getpwuid(geteuid())->pw_dir);
  EXPECT_EXIT(
      {
        for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "KWRD_WORK_DIR"}) {
          unsetenv(name);
        }
        const bool ok = KWRDPub::GetCurUserLocalAppDataPath() == home + L"/.config" &&
                        KWRDPub::GetWorkPath(false) == home + L"/.local/share/Kaiwei/KWRD/Work";
        std::fprintf(stderr, "%s", kw::ToUtf8(KWRDPub::GetCurUserLocalAppDataPath()).c_str());
        std::exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

// A per-user folder another user could plant settings in is refused with a reason, and a later
// call checks again.
TEST_F(UserFolderTest, FoldersOpenToOthersOrOwnedByThemAreRefused) {
  // Static, so that the fresh process removes its own folder when it exits.
  static const kwtest::TempDir temp("kwuserdir");
  const std::string root = temp.path();
  fs::create_directories(root + "/open");
  fs::create_directories(root + "/theirs/mine");
  fs::create_directories(root + "/sticky/mine");
  chmod((root + "/open").c_str(), 0777);
  chmod((root + "/sticky").c_str(), 01777);
  const bool asRoot = geteuid() == 0 && chown((root + "/theirs").c_str(), 65534, 65534) == 0;
  const std::wstring w = kw::WidePath(root);
  EXPECT_EXIT(
      {
        bool ok = true;
        setenv("KWRD_USER_DIR", (root + "/open").c_str(), 1);
        ok = ok && KWRDPub::GetCurUserKeldornPath().empty() &&
             KWRDPub::GetCurUserKeldornProblem() ==
                 L"拒绝使用用户目录 " + w + L"/open: 其他用户可以写入 " + w + L"/open";
        setenv("KWRD_USER_DIR", (root + "/theirs/mine").c_str(), 1);
        ok = ok && (!asRoot || (KWRDPub::GetCurUserKeldornPath().empty() &&
                                KWRDPub::GetCurUserKeldornProblem() ==
                                    L"拒绝使用用户目录 " + w + L"/theirs/mine: " + w +
                                        L"/theirs 属于其他用户"));
        setenv("KWRD_USER_DIR", (root + "/sticky/mine").c_str(), 1);
        ok = ok && KWRDPub::GetCurUserKeldornPath() == w + L"/sticky/mine" &&
             KWRDPub::GetCurUserKeldornProblem().empty();
        std::fprintf(stderr, "%s", kw::ToUtf8(KWRDPub::GetCurUserKeldornProblem()).c_str());
        std::exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
