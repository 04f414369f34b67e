// The command stack: groups, lookups ignoring case, shadowing, and running commands.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/api/accmd.h"
#include "host/api/aced.h"
#include "kwhost/embedded.h"

namespace {

class CommandStack : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

void Noop() {}
void Other() {}

TEST_F(CommandStack, CommandGroupsAddLookUpAndRemove) {
  AcEdCommandStack* stack = acedRegCmds();
  void* out = nullptr;
  ASSERT_EQ(stack->addCommand(L"G1", L"Hello", nullptr, 0, Noop, nullptr, -1, nullptr, &out),
            Acad::eOk);
  EXPECT_EQ(stack->addCommand(L"g1", L"HELLO", L"x", 0, Noop), Acad::eDuplicateKey);
  EXPECT_EQ(stack->addCommand(L"G1", L"Bad", nullptr, 0, nullptr), Acad::eInvalidInput);
  EXPECT_EQ(stack->addCommand(nullptr, L"Bad", nullptr, 0, Noop), Acad::eInvalidInput);
  AcEdCommand* cmd = stack->lookupGlobalCmd(L"hello");
  ASSERT_NE(cmd, nullptr);
  EXPECT_EQ(static_cast<void*>(cmd), out);
  EXPECT_STREQ(cmd->localName(), L"Hello");
  EXPECT_STREQ(cmd->groupName(), L"G1");
  // A later group shadows an earlier one.
  ASSERT_EQ(stack->addCommand(L"G2", L"hello", L"hi", 0, Other), Acad::eOk);
  EXPECT_EQ(stack->lookupGlobalCmd(L"HELLO")->functionAddr(), Other);
  EXPECT_EQ(stack->lookupLocalCmd(L"HI")->functionAddr(), Other);
  EXPECT_EQ(stack->removeGroup(L"g2"), Acad::eOk);
  EXPECT_EQ(stack->lookupGlobalCmd(L"HELLO")->functionAddr(), Noop);
  EXPECT_EQ(stack->removeGroup(L"G2"), Acad::eKeyNotFound);
  EXPECT_EQ(kwhost::CommandNames(), std::vector<std::wstring>{L"Hello"});
  EXPECT_EQ(stack->removeCmd(L"G1", L"HELLO"), Acad::eOk);
  EXPECT_EQ(stack->lookupGlobalCmd(L"Hello"), nullptr);
}

int g_runs = 0;
void CountRuns() {
  ++g_runs;
  acedInitGet(0, L"Left");  // left behind on purpose
}

TEST_F(CommandStack, RunCommandFindsNamesIgnoringCaseAndClearsKeywords) {
  g_runs = 0;
  acedRegCmds()->addCommand(L"G", L"Count", L"Zahl", 0, CountRuns);
  EXPECT_TRUE(kwhost::RunCommand(L"COUNT"));
  EXPECT_TRUE(kwhost::RunCommand(L"zahl"));
  EXPECT_FALSE(kwhost::RunCommand(L"missing"));
  EXPECT_FALSE(kwhost::RunCommand(nullptr));
  EXPECT_EQ(g_runs, 2);
  kwhost::QueueInput(L"l");
  wchar_t buf[16];
  ASSERT_EQ(acedGetKword(nullptr, buf, 16), RTNORM);
  EXPECT_STREQ(buf, L"l");  // no keywords in force any more: the answer as typed
}

}  // namespace
