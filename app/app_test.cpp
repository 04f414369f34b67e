#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/RDPubApp.h"
#include "common/encoding.h"
#include "common/fileio.h"
#include "kwhost/embedded.h"
#include "msg/TraceLogo.h"
#include "msg/internal/ModuleState.h"
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
  EXPECT_EQ(KWRDPub::GetModuleState().hostEnding, 1u);
}

TEST_F(AppTest, TraceMsgLogoTakesYOrNInAnyCaseAndKeepsTheSwitchOtherwise) {
  Load();
  uint32_t& trace = KWRDPub::GetModuleState().traceMsgLogo;
  kwhost::TakeOutput();
  kwhost::QueueInput(L"n");
  ASSERT_TRUE(kwhost::RunCommand(L"TraceMsgLogo"));
  EXPECT_EQ(trace, 0u);
  EXPECT_NE(kwhost::TakeOutput().find(L"记录消息发送日志[记录(Y)/不记录(N)]<Y>:"),
            std::wstring::npos);
  kwhost::QueueInput(L"");
  kwhost::RunCommand(L"TraceMsgLogo");
  EXPECT_EQ(trace, 0u);
  EXPECT_NE(kwhost::TakeOutput().find(L"记录消息发送日志[记录(Y)/不记录(N)]<N>:"),
            std::wstring::npos);
  kwhost::QueueInput(L"^C");
  kwhost::RunCommand(L"TraceMsgLogo");
  EXPECT_EQ(trace, 0u);
  kwhost::QueueInput(L"y");
  kwhost::RunCommand(L"TraceMsgLogo");
  EXPECT_EQ(trace, 1u);
}

TEST_F(AppTest, ClosingTheMainFrameLogsTheHostEndThenTheUnload) {
  Load();
  kwhost::PostWindowMessage(kwhost::NewWindow(), WM_CLOSE);
  kwhost::PumpMessages();
  EXPECT_EQ(KWRDPub::GetModuleState().hostEnding, 0u);
  EXPECT_TRUE(TraceLines().empty());
  kwhost::CloseMainFrame();
  std::vector<std::wstring> lines = TraceLines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], L"<AutoCADQuited msg=0x10  time=12:03:04/>");
  EXPECT_EQ(lines.back(), L"<RDPubUnloaded />");
  EXPECT_EQ(KWRDPub::GetModuleState().hostEndTick, 5000u);
  EXPECT_STREQ(KWRDPub::GetModuleState().lastHostEnded,
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
  kwhost::QueueInput(KWRDPub::GetCurUserKeldornPath() + L"/third.log");
  kwhost::RunCommand(L"SaveLogo");
  std::vector<std::wstring> boxes = kwhost::TakeMessageBoxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].rfind(L"[KWRDPub] 无法写入文件 ", 0), 0u);
}

TEST_F(AppTest, MsgWatchersListsTheWatchers) {
  Load();
  kwhost::TakeOutput();
  kwhost::RunCommand(L"MsgWatchers");
  std::wstring out = kwhost::TakeOutput();
  EXPECT_NE(out.find(L"\n共1个消息监听器"), std::wstring::npos) << kw::ToUtf8(out);
  EXPECT_NE(out.find(L" ShowMsg [1(9)]"), std::wstring::npos) << kw::ToUtf8(out);
}

}  // namespace
