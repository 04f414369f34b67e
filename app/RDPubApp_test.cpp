#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <string>
#include <vector>

#include "app/RDPubApp.h"
#include "common/encoding.h"
#include "common/fileio.h"
#include "kwhost/embedded.h"
#include "msg/KWMsgTracker.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"
#include "services/paths.h"

namespace {

using KWRDPub::CTraceLogo;

std::wstring LibraryPath() {
  Dl_info info{};
  dladdr(reinterpret_cast<void*>(&acrxEntryPoint), &info);
  return kw::WidePath(info.dli_fname);
}

bool HasCommand(const wchar_t* name) {
  std::vector<std::wstring> names = kwhost::CommandNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

// The address as the watcher list prints it: "0x" and lower-case hex digits.
std::wstring Hex(uintptr_t address) {
  wchar_t text[32];
  swprintf(text, 32, L"0x%llx", static_cast<unsigned long long>(address));
  return text;
}

// The built-in watcher's line (always the first): its callback lives inside the library.
std::wstring ShowMsgLine() {
  return L"\n1: (" + Hex(CRDMsgManager::GetInstance()->Watchers().at(0).address) +
         L") ShowMsg [1(9)]";
}

std::vector<std::wstring> TraceLines() {
  CTraceLogo* log = CTraceLogo::GetInstance(false);
  return log ? log->Lines() : std::vector<std::wstring>{};
}

class AppTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    CRDPubApp::ProcessDetach();
    KWRDPub::GetModuleState() = KWRDPub::ModuleState{};
    kwhost::SetManualClock(5000, 12, 3, 4);
  }
  void TearDown() override { kwhost::ResetSession(); }

  void Load() {
    std::wstring error;
    ASSERT_TRUE(kwhost::LoadModule(LibraryPath(), &error)) << kw::ToUtf8(error);
  }
};

TEST_F(AppTest, MessagesAbove15AnswerOkAndDoNothing) {
  EXPECT_EQ(acrxEntryPoint(static_cast<AcRx::AppMsgCode>(16), nullptr), AcRx::kRetOK);
  EXPECT_EQ(acrxEntryPoint(static_cast<AcRx::AppMsgCode>(255), nullptr), AcRx::kRetOK);
  EXPECT_FALSE(HasCommand(L"ClearLogo"));
}

TEST_F(AppTest, LoadRegistersTheGroupAndUnloadRemovesIt) {
  Load();
  for (const wchar_t* name :
       {L"ClearLogo", L"SaveLogo", L"TraceMsgLogo", L"MsgWatchers", L"RDVar"}) {
    EXPECT_TRUE(HasCommand(name)) << kw::ToUtf8(name);
  }
  kwhost::TakeDebugTrace();
  kwhost::UnloadModules();
  EXPECT_FALSE(HasCommand(L"ClearLogo"));
  std::vector<std::wstring> debug = kwhost::TakeDebugTrace();
  ASSERT_GE(debug.size(), 2u);
  EXPECT_EQ(debug[0], L"CRDPubApp::On_kUnloadAppMsg-65");
  EXPECT_EQ(debug[1], L"Unload KWRDPub.arx");
  EXPECT_EQ(TraceLines().back(), L"<RDPubUnloaded />");
  EXPECT_EQ(KWRDPub::GetModuleState().HostEnding(), 1u);
}

TEST_F(AppTest, TraceMsgLogoTakesYOrNInAnyCaseAndKeepsTheSwitchOtherwise) {
  Load();
  const KWRDPub::ModuleState& st = KWRDPub::GetModuleState();
  kwhost::TakeOutput();
  kwhost::QueueInput(L"n");
  ASSERT_TRUE(kwhost::RunCommand(L"TraceMsgLogo"));
  EXPECT_EQ(st.SendLog(), 0u);
  EXPECT_EQ(kwhost::TakeOutput(), L"记录消息发送日志[记录(Y)/不记录(N)]<Y>:");
  kwhost::QueueInput(L"");
  kwhost::RunCommand(L"TraceMsgLogo");
  EXPECT_EQ(st.SendLog(), 0u);
  EXPECT_EQ(kwhost::TakeOutput(), L"记录消息发送日志[记录(Y)/不记录(N)]<N>:");
  kwhost::QueueInput(L"^C");
  kwhost::RunCommand(L"TraceMsgLogo");
  EXPECT_EQ(st.SendLog(), 0u);
  kwhost::QueueInput(L"y");
  kwhost::RunCommand(L"TraceMsgLogo");
  EXPECT_EQ(st.SendLog(), 1u);
}

TEST_F(AppTest, ClosingTheMainFrameLogsTheHostEndThenTheUnload) {
  Load();
  kwhost::PostWindowMessage(kwhost::NewWindow(), WM_CLOSE);
  kwhost::PumpMessages();
  EXPECT_EQ(KWRDPub::GetModuleState().HostEnding(), 0u);
  EXPECT_TRUE(TraceLines().empty());
  kwhost::CloseMainFrame();
  std::vector<std::wstring> lines = TraceLines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], L"<AutoCADQuited msg=0x10  time=12:03:04/>");
  EXPECT_EQ(lines.back(), L"<RDPubUnloaded />");
  EXPECT_EQ(KWRDPub::GetModuleState().HostEndTick(), 5000u);
  EXPECT_STREQ(KWRDPub::GetModuleState().LastHostEnded(),
               L"<AutoCADQuited msg=0x10  time=12:03:04/>");
}

TEST_F(AppTest, SaveLogoAndClearLogoWorkOnTheTraceLog) {
  Load();
  std::wstring first = KWRDPub::GetCurUserKeldornPath() + L"/first";
  kwhost::QueueInput(first);
  kwhost::RunCommand(L"SaveLogo");  // no trace log yet: nothing asked, nothing written
  EXPECT_FALSE(kw::FileExists(first + L".log"));
  kwhost::ClearInput();
  KWRDPub::TraceLogo(L"<a/>");
  kwhost::QueueInput(first);
  kwhost::RunCommand(L"SaveLogo");
  std::string bytes;
  ASSERT_TRUE(kw::Fs().ReadFile(first + L".log", &bytes));
  EXPECT_EQ(bytes, "<a/>\r\n");
  kwhost::RunCommand(L"ClearLogo");
  std::wstring second = KWRDPub::GetCurUserKeldornPath() + L"/second.log";
  kwhost::QueueInput(second);
  kwhost::RunCommand(L"SaveLogo");
  ASSERT_TRUE(kw::Fs().ReadFile(second, &bytes));
  EXPECT_EQ(bytes, "");

  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  const std::wstring third = KWRDPub::GetCurUserKeldornPath() + L"/third.log";
  kwhost::QueueInput(third);
  kwhost::RunCommand(L"SaveLogo");
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            std::vector<std::wstring>{L"[KWRDPub] 无法写入文件 " + third + L"。"});
}

TEST_F(AppTest, MsgWatchersListsTheWatchers) {
  Load();
  kwhost::TakeOutput();
  kwhost::RunCommand(L"MsgWatchers");
  EXPECT_EQ(kwhost::TakeOutput(), L"\n共1个消息监听器" + ShowMsgLine());
}

class Owned final : public CMsgWatch {
 public:
  uint32_t GetType() override { return 5; }
  uint32_t GetMsg() override { return 0; }
  unsigned long OnMessage(KWMSGHDR*) override { return 1; }
};

TEST_F(AppTest, ProcessDetachTearsDownEverySingletonAndMayRunTwice) {
  CRDMsgManager::GetInstance()->Register(L"Owned", new Owned, true);  // LeakSanitizer checks it
  KWRDPub::CKWMsgTracker::GetInstance()->PushMSGCLCT();
  KWRDPub::CKWMsgTracker::GetInstance()->PushMSGCLCT();
  KWRDPub::TraceLogo(L"<a/>");
  CRDPubApp::ProcessDetach();
  EXPECT_EQ(CTraceLogo::GetInstance(false), nullptr);
  EXPECT_EQ(KWRDPub::CKWMsgTracker::GetInstance()->MSGCLCTCount(), 0);
  EXPECT_EQ(CRDMsgManager::GetInstance()->WatcherCount(), 1);  // "ShowMsg" only
  CRDPubApp::ProcessDetach();
  CRDPubApp::ProcessDetach();
  EXPECT_EQ(CTraceLogo::GetInstance(false), nullptr);
}

unsigned long Listed(KWMSGHDR*, void*) {
  return 0;
}

TEST_F(AppTest, MsgWatchersListsNamesAddressesAndFilters) {
  Load();
  CRDMsgManager* mgr = CRDMsgManager::GetInstance();
  Owned w;
  unsigned types[] = {20, 1, 20}, codes[] = {1, 9, 2};
  mgr->RegisterEx(L"0123456789012345678901234567890123456789", types, codes, 3, &Listed, nullptr);
  mgr->Register(L"Obj", &w, false);
  kwhost::TakeOutput();
  kwhost::RunCommand(L"MsgWatchers");
  EXPECT_EQ(kwhost::TakeOutput(), L"\n共3个消息监听器" + ShowMsgLine() + L"\n2: (" +
                                      Hex(reinterpret_cast<uintptr_t>(&Listed)) +
                                      L") 01234567890123456789012345678901 [1(9);20(1,2)]\n3: (" +
                                      Hex(reinterpret_cast<uintptr_t>(&w)) + L") Obj [5(0)]");
  mgr->RemoveRegister(&w);
  mgr->RemoveRegister(&Listed);
}

}  // namespace
