// The host clock: manual ticks and local time for tests, the real clock otherwise.
#include <gtest/gtest.h>

#include "host/api/win.h"
#include "kwhost/embedded.h"

namespace {

class Clock : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    kwhost::SetManualClock(1000, 12, 3, 4);
  }
};

TEST_F(Clock, ManualClockGivesTicksAndLocalTime) {
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

}  // namespace
