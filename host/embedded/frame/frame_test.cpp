// The main frame's loop: watchers, posted messages, thread timers, the clock and dialogs.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "host/api/win.h"
#include "kwhost/embedded.h"

namespace {

std::vector<std::wstring> g_seen;

void Watcher(const MSG* m) {
  g_seen.push_back(L"w " + std::to_wstring(m->message) +
                   (m->hwnd == acedGetAcadFrame() ? L" main" : L" other"));
}
void SelfRemovingWatcher(const MSG*) {
  g_seen.push_back(L"once");
  acedRemoveWatchWinMsg(SelfRemovingWatcher);
}
void TimerProc(HWND, UINT msg, UINT_PTR id, DWORD tick) {
  g_seen.push_back(L"t " + std::to_wstring(msg) + L" " + std::to_wstring(id) + L" " +
                   std::to_wstring(tick));
}
UINT_PTR g_killId = 0;
void KillingTimerProc(HWND, UINT, UINT_PTR, DWORD) {
  g_seen.push_back(L"kill");
  KillTimer(nullptr, g_killId);
}

class Frame : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    g_seen.clear();
    kwhost::SetManualClock(1000, 12, 3, 4);
  }
};

TEST_F(Frame, WatchersSeePostedMessagesInOrderWithTheirWindow) {
  EXPECT_TRUE(acedRegisterWatchWinMsg(Watcher));
  EXPECT_FALSE(acedRegisterWatchWinMsg(Watcher));
  EXPECT_TRUE(acedRegisterWatchWinMsg(SelfRemovingWatcher));
  kwhost::PostMainFrameMessage(WM_CLOSE);
  kwhost::PostWindowMessage(kwhost::NewWindow(), WM_DESTROY);
  EXPECT_EQ(kwhost::PumpMessages(), 2);
  EXPECT_EQ(g_seen, (std::vector<std::wstring>{L"w 16 main", L"once", L"w 2 other"}));
  EXPECT_EQ(kwhost::PumpMessages(), 0);
  EXPECT_TRUE(acedRemoveWatchWinMsg(Watcher));
  EXPECT_FALSE(acedRemoveWatchWinMsg(Watcher));
  EXPECT_EQ(adsw_acadMainWnd(), acedGetAcadFrame());
}

TEST_F(Frame, ThreadTimersFireWhenDueOncePerPass) {
  UINT_PTR id = SetTimer(nullptr, 0, 500, TimerProc);
  ASSERT_NE(id, 0u);
  kwhost::AdvanceClock(499);
  EXPECT_EQ(kwhost::PumpMessages(), 0);
  kwhost::AdvanceClock(1);
  EXPECT_EQ(kwhost::PumpMessages(), 1);
  kwhost::AdvanceClock(5000);  // long overdue: still one call
  EXPECT_EQ(kwhost::PumpMessages(), 1);
  EXPECT_EQ(g_seen, (std::vector<std::wstring>{L"t 275 " + std::to_wstring(id) + L" 1500",
                                               L"t 275 " + std::to_wstring(id) + L" 6500"}));
  EXPECT_EQ(KillTimer(nullptr, id), TRUE);
  EXPECT_EQ(KillTimer(nullptr, id), FALSE);
  kwhost::AdvanceClock(1000);
  EXPECT_EQ(kwhost::PumpMessages(), 0);
}

TEST_F(Frame, ThreadTimerIdsAreHostChosenUnlessReplacing) {
  UINT_PTR a = SetTimer(nullptr, 77, 100, TimerProc);
  UINT_PTR b = SetTimer(nullptr, 77, 100, TimerProc);
  EXPECT_NE(a, b);
  EXPECT_EQ(SetTimer(nullptr, a, 1000, TimerProc), a);  // replaced, restarted
  kwhost::AdvanceClock(100);
  EXPECT_EQ(kwhost::PumpMessages(), 1);  // only b
}

TEST_F(Frame, TimerKilledByAnEarlierProcedureDoesNotFire) {
  SetTimer(nullptr, 0, 10, KillingTimerProc);
  g_killId = SetTimer(nullptr, 0, 10, TimerProc);
  kwhost::AdvanceClock(10);
  kwhost::PumpMessages();
  EXPECT_EQ(g_seen, std::vector<std::wstring>{L"kill"});
}

TEST_F(Frame, ManualClockGivesTicksAndLocalTime) {
  SYSTEMTIME st{};
  GetLocalTime(&st);
  EXPECT_EQ(GetTickCount(), 1000u);
  EXPECT_EQ(st.wHour * 10000 + st.wMinute * 100 + st.wSecond, 120304);
  EXPECT_EQ(st.wYear, 2024);
  EXPECT_EQ(st.wDayOfWeek, 1);
  kwhost::SetManualClock(0xFFFFFFF0u, 23, 59, 59);
  kwhost::AdvanceClock(60001);
  GetLocalTime(&st);
  EXPECT_EQ(GetTickCount(), 60001u - 16u);
  EXPECT_EQ(st.wDay, 2);
  EXPECT_EQ(st.wHour * 10000 + st.wMinute * 100 + st.wSecond, 59);  // 00:00:59.001
  EXPECT_EQ(st.wMilliseconds, 1);
  kwhost::UseRealClock();
  DWORD t1 = GetTickCount();
  EXPECT_GE(GetTickCount() - t1, 0u);
}

TEST_F(Frame, MessageBoxesPrintOneLineAndTakeDefaultOrScriptedAnswer) {
  EXPECT_EQ(MessageBoxW(nullptr, L"文本", L"凯维提示", MB_OK | MB_ICONINFORMATION), IDOK);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO | MB_DEFBUTTON2), IDNO);
  kwhost::QueueInput(L"!cancel\nnext");
  EXPECT_EQ(MessageBoxW(nullptr, L"q", nullptr, MB_YESNOCANCEL), IDCANCEL);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_OK), IDOK);  // "next" is not a box answer
  EXPECT_EQ(kwhost::PendingInput(), 1u);
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            (std::vector<std::wstring>{L"[凯维提示] 文本", L"[c] q", L"[Error] q", L"[c] q"}));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n[凯维提示] 文本\n[c] q\n[Error] q\n[c] q");
}

class SaveAs : public Frame {
 protected:
  wchar_t file[64] = {};
  OPENFILENAMEW ofn{nullptr, L"日志文件(*.log)|*.log||",
                    file,    64,
                    nullptr, OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT,
                    L".log"};
};

TEST_F(SaveAs, AppendsDefaultExtensionAndCancels) {
  kwhost::QueueInput(L"out dir/trace\n/tmp/x.txt\n\n^C");
  ASSERT_EQ(GetSaveFileNameW(&ofn), TRUE);
  EXPECT_STREQ(file, L"out dir/trace.log");
  ASSERT_EQ(GetSaveFileNameW(&ofn), TRUE);
  EXPECT_STREQ(file, L"/tmp/x.txt");
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);  // no input left
  EXPECT_EQ(kwhost::TakeOutput(), L"\n另存为: \n另存为: \n另存为: \n另存为: \n另存为: ");
  ofn.nMaxFile = 4;
  kwhost::QueueInput(L"long.log");
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
}

TEST_F(SaveAs, ExistingFileIsConfirmed) {
  char dir[] = "/tmp/kwhostXXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  std::wstring path = kw::WidePath(dir) + L"/old.log";
  ASSERT_TRUE(kw::Fs().WriteFileAtomic(path, "x"));
  kwhost::QueueInput(path + L"\n!no\n" + path);
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
  EXPECT_EQ(GetSaveFileNameW(&ofn), TRUE);  // default answer: yes
  EXPECT_EQ(kwhost::TakeMessageBoxes().size(), 2u);
  kw::Fs().RemoveFile(path);
  rmdir(dir);
}

TEST_F(Frame, DebugTraceIsKept) {
  OutputDebugStringW(L"Unload KWRDPub.arx");
  OutputDebugStringW(nullptr);
  EXPECT_EQ(kwhost::TakeDebugTrace(), std::vector<std::wstring>{L"Unload KWRDPub.arx"});
  EXPECT_TRUE(kwhost::TakeDebugTrace().empty());
}

}  // namespace
