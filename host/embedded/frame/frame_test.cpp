// The main frame's loop: watchers, posted messages and timers.
#include <gtest/gtest.h>

#include <string>
#include <vector>

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

}  // namespace
