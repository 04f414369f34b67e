// Loading and unloading modules, and the order of the closing steps.
#include <gtest/gtest.h>

#include <string>

#include "host/api/accmd.h"
#include "host/api/rx.h"
#include "kwhost/embedded.h"

namespace {

const std::wstring kProbe = L"" KW_HOSTPROBE;
const std::wstring kNoEntry = L"" KW_HOSTPROBE_NOENTRY;

class Modules : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
  void TearDown() override { kwhost::ResetSession(); }
};

TEST_F(Modules, LoadSendsInitAndRegistersCommands) {
  ASSERT_TRUE(kwhost::LoadModule(kProbe));
  EXPECT_TRUE(kwhost::LoadModule(kProbe));  // already loaded: nothing happens
  EXPECT_EQ(kwhost::TakeOutput(), L"\nprobe: loaded");
  EXPECT_EQ(kwhost::LoadedModules(), std::vector<std::wstring>{kProbe});
  EXPECT_FALSE(acrxDynamicLinker->isApplicationLocked(kProbe.c_str()));
  kwhost::QueueInput(L"Y");
  ASSERT_TRUE(kwhost::RunCommand(L"probeask"));
  EXPECT_EQ(kwhost::TakeOutput(), L"记录[记录(Y)/不记录(N)]<Y>:\nprobe: kword 5100 'Y'");
}

TEST_F(Modules, CloseMainFrameShowsWmCloseThenUnloads) {
  ASSERT_TRUE(kwhost::LoadModule(kProbe));
  kwhost::TakeOutput();
  kwhost::CloseMainFrame();
  EXPECT_TRUE(kwhost::MainFrameClosed());
  EXPECT_EQ(kwhost::TakeOutput(), L"\nprobe: WM_CLOSE\nprobe: unloaded same");
  EXPECT_TRUE(kwhost::LoadedModules().empty());
  EXPECT_EQ(acedRegCmds()->lookupGlobalCmd(L"ProbeAsk"), nullptr);
  kwhost::CloseMainFrame();  // once only
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(Modules, UnloadOneModuleAndReloadIt) {
  ASSERT_TRUE(kwhost::LoadModule(kProbe));
  EXPECT_TRUE(kwhost::UnloadModule(kProbe));
  EXPECT_FALSE(kwhost::UnloadModule(kProbe));
  ASSERT_TRUE(kwhost::LoadModule(kProbe));
  EXPECT_EQ(kwhost::TakeOutput(), L"\nprobe: loaded\nprobe: unloaded same\nprobe: loaded");
}

TEST_F(Modules, LoadFailuresSayWhy) {
  std::wstring error;
  EXPECT_FALSE(kwhost::LoadModule(kNoEntry, &error));
  EXPECT_EQ(error, kNoEntry + L": 找不到入口函数 acrxEntryPoint");
  EXPECT_FALSE(kwhost::LoadModule(L"/nonexistent/libnone.so", &error));
  EXPECT_EQ(error,
            L"/nonexistent/libnone.so: cannot open shared object file: No such file or directory");
  EXPECT_TRUE(kwhost::LoadedModules().empty());
}

}  // namespace
