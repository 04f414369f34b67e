#include "msg/MsgCallback.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A wait-dialog sink that records what it was told.
class RecordingSink : public CMsgCallback {
 public:
  void WaitDlgPushMsg(const wchar_t* msg) override { lines.push_back(msg); }
  std::wstring WaitDlgPopMsg() override {
    std::wstring top = lines.back();
    lines.pop_back();
    return top;
  }
  bool IsCanceled() const override { return true; }
  std::vector<std::wstring> lines;
};

TEST(MsgCallbackTest, FreshManagerReportsThroughSilentDefaults) {
  CMsgCallbackManager manager;
  EXPECT_FALSE(manager->IsCanceled());
  EXPECT_EQ(manager->GetMsgCount(L"any"), 0);
  EXPECT_EQ(manager->WaitDlgPopMsg(), L"");
  EXPECT_EQ(manager->WaitDlgGetLastMsg(), L"");
  EXPECT_FALSE(manager->MsgWndShow(true));
  EXPECT_FALSE(manager->RemoveMsg(L"g", true));
  manager->MsgWndAddMsg(CMsgCallback::eError, L"g", L"t", false, nullptr, nullptr);
}

TEST(MsgCallbackTest, RegisterNestsLikeAStack) {
  CMsgCallbackManager manager;
  RecordingSink a, b;
  EXPECT_EQ(manager.Register(&a), nullptr);
  EXPECT_EQ(manager.Register(&b), &a);
  manager->WaitDlgPushMsg(L"正在计算");
  EXPECT_TRUE(manager->IsCanceled());
  EXPECT_EQ(b.lines, std::vector<std::wstring>{L"正在计算"});
  EXPECT_EQ(manager.Register(nullptr), &b);
  EXPECT_FALSE(manager->IsCanceled());
  EXPECT_EQ(manager.Register(nullptr), nullptr);
}

TEST(MsgCallbackTest, CopiesKeepTheirOwnDefault) {
  CMsgCallbackManager original;
  CMsgCallbackManager copy(original);
  RecordingSink a;
  original.Register(&a);
  EXPECT_FALSE(copy->IsCanceled());
  CMsgCallbackManager second(original);
  EXPECT_TRUE(second->IsCanceled());
  EXPECT_EQ(second.Register(nullptr), &a);
}

}  // namespace
