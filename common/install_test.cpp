// The install-folder lookup: the environment first, else the running program's own folder.
#include "common/install.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "common/fileio.h"

namespace {

class InstallFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = getenv("KWRD_INSTALL_DIR");
    had_ = old != nullptr;
    if (had_) old_ = old;
  }
  void TearDown() override {
    if (had_) {
      setenv("KWRD_INSTALL_DIR", old_.c_str(), 1);
    } else {
      unsetenv("KWRD_INSTALL_DIR");
    }
  }

  // The folder of this test program, found independently of the code under test.
  static std::wstring OwnFolder() {
    char buf[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    std::string path(buf, n > 0 ? static_cast<size_t>(n) : 0);
    return kw::WidePath(path.substr(0, path.rfind('/')));
  }

  bool had_ = false;
  std::string old_;
};

TEST_F(InstallFolder, IsTheEnvironmentsWithoutTrailingSeparators) {
  setenv("KWRD_INSTALL_DIR", "/opt/kw rd//", 1);
  EXPECT_EQ(kw::InstallFolder(), L"/opt/kw rd");
}

TEST_F(InstallFolder, IsTheProgramsFolderWhenTheEnvironmentIsUnsetOrEmpty) {
  ASSERT_EQ(kw::ExecutableFolder(), OwnFolder());
  ASSERT_FALSE(OwnFolder().empty());
  unsetenv("KWRD_INSTALL_DIR");
  EXPECT_EQ(kw::InstallFolder(), OwnFolder());
  setenv("KWRD_INSTALL_DIR", "", 1);
  EXPECT_EQ(kw::InstallFolder(), OwnFolder());
}

}  // namespace
