// The command line as modules see it: prompts, answers from queued input, cancel and keywords.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "common/testing/AllocMeter.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "kwhost/embedded.h"

namespace {

class CommandLine : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
  wchar_t buf[kAcedStringBufferLen] = {};
};

TEST_F(CommandLine, PrintsPromptsAndFormattedTextExactly) {
  acutPrintf(L"\n%s=%d %S %I64d", L"名称", 7, "gbk", int64_t{1} << 40);
  kwhost::QueueInput(L"x");
  acedGetString(0, L"\n输入: ", buf);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n名称=7 gbk 1099511627776\n输入: ");
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(CommandLine, StringWithoutSpacesStopsAtBlankAndKeepsTheRest) {
  kwhost::QueueInput(L"alpha beta gamma delta");
  ASSERT_EQ(acedGetString(0, nullptr, buf), RTNORM);
  EXPECT_STREQ(buf, L"alpha");
  ASSERT_EQ(acedGetString(0, nullptr, buf), RTNORM);
  EXPECT_STREQ(buf, L"beta");
  ASSERT_EQ(acedGetString(1, nullptr, buf), RTNORM);
  EXPECT_STREQ(buf, L"gamma delta");
  EXPECT_EQ(kwhost::PendingInput(), 0u);
  EXPECT_EQ(acedGetString(1, nullptr, buf), RTCAN);  // input exhausted: never waits
}

TEST_F(CommandLine, EmptyLineIsEnterAndCaretCCancels) {
  kwhost::QueueInput(L"\n^C\n\n^C");
  EXPECT_EQ(acedGetString(1, nullptr, buf), RTNORM);
  EXPECT_STREQ(buf, L"");
  EXPECT_EQ(acedGetString(1, nullptr, buf), RTCAN);
  int i = 5;
  EXPECT_EQ(acedGetInt(nullptr, &i), RTNONE);
  EXPECT_EQ(acedGetInt(nullptr, &i), RTCAN);
  EXPECT_EQ(i, 5);
}

TEST_F(CommandLine, StringTooLongForBufferIsAnError) {
  kwhost::QueueInput(L"abcdef");
  wchar_t small[4] = L"zz";
  EXPECT_EQ(acedGetString(1, nullptr, small, 4), RTERROR);
  EXPECT_STREQ(small, L"");
  EXPECT_EQ(acedGetString(1, nullptr, nullptr), RTERROR);
}

TEST_F(CommandLine, BadNumbersAskAgain) {
  kwhost::QueueInput(L"abc\n12x\n3000000000\n-42");
  int i = 0;
  ASSERT_EQ(acedGetInt(L"\nN: ", &i), RTNORM);
  EXPECT_EQ(i, -42);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\nN: \n需要整数值。\nN: \n需要整数值。\nN: \n需要整数值。\nN: ");
  kwhost::QueueInput(L"1e\n2.5e1");
  double r = 0;
  ASSERT_EQ(acedGetReal(L"R:", &r), RTNORM);
  EXPECT_DOUBLE_EQ(r, 25.0);
  EXPECT_EQ(kwhost::TakeOutput(), L"R:\n需要数值。R:");
}

TEST_F(CommandLine, InitGetFlagsRefuseNullZeroAndNegative) {
  kwhost::QueueInput(L"\n0\n-1\n4");
  acedInitGet(RSG_NONULL | RSG_NOZERO | RSG_NONEG, nullptr);
  int i = 0;
  ASSERT_EQ(acedGetInt(nullptr, &i), RTNORM);
  EXPECT_EQ(i, 4);
  // The flags applied to that prompt only.
  kwhost::QueueInput(L"");
  EXPECT_EQ(acedGetInt(nullptr, &i), RTNONE);
}

TEST_F(CommandLine, KeywordsMatchIgnoringCaseAndByAbbreviation) {
  struct Case {
    const wchar_t* list;
    const wchar_t* answer;
    const wchar_t* expected;
  } cases[] = {
      {L"Y N", L"y", L"Y"},
      {L"Y N", L"N", L"N"},
      {L"Yes No", L"ye", L"Yes"},
      {L"eXit Undo", L"x", L"eXit"},
      {L"eXit Undo", L"EXIT", L"eXit"},
      {L"是 否 _ Yes No", L"否", L"No"},
  };
  for (const Case& c : cases) {
    kwhost::QueueInput(c.answer);
    acedInitGet(0, c.list);
    ASSERT_EQ(acedGetKword(nullptr, buf), RTNORM) << c.list << " / " << c.answer;
    EXPECT_STREQ(buf, c.expected) << c.list << " / " << c.answer;
  }
}

TEST_F(CommandLine, KeywordPromptRepeatsOnUnknownAnswerAndEnterGivesNone) {
  kwhost::QueueInput(L"maybe\nn");
  acedInitGet(0, L"Y N");
  ASSERT_EQ(acedGetKword(L"[Y/N]<Y>:", buf), RTNORM);
  EXPECT_STREQ(buf, L"N");
  EXPECT_EQ(kwhost::TakeOutput(), L"[Y/N]<Y>:\n无效选项关键字。[Y/N]<Y>:");
  kwhost::QueueInput(L"");
  acedInitGet(0, L"Y N");
  EXPECT_EQ(acedGetKword(nullptr, buf), RTNONE);
  EXPECT_STREQ(buf, L"");
}

TEST_F(CommandLine, NumberPromptAcceptsKeyword) {
  kwhost::QueueInput(L"u");
  acedInitGet(0, L"Undo");
  int i = 0;
  ASSERT_EQ(acedGetInt(nullptr, &i), RTKWORD);
  ASSERT_EQ(acedGetInput(buf), RTNORM);
  EXPECT_STREQ(buf, L"Undo");
}

TEST_F(CommandLine, ReaderFeedsPromptsAfterTheQueueUntilItEnds) {
  int calls = 0;
  kwhost::SetInputReader([&](std::wstring* line) {
    if (++calls > 1) return false;
    *line = L"from-reader\r";
    return true;
  });
  kwhost::QueueInput(L"queued");
  ASSERT_EQ(acedGetString(1, nullptr, buf), RTNORM);
  EXPECT_STREQ(buf, L"queued");
  ASSERT_EQ(acedGetString(1, nullptr, buf), RTNORM);
  EXPECT_STREQ(buf, L"from-reader");
  EXPECT_EQ(acedGetString(1, nullptr, buf), RTCAN);
  EXPECT_EQ(acedGetString(1, nullptr, buf), RTCAN);
  EXPECT_EQ(calls, 2);  // not asked again after the end
}

TEST_F(CommandLine, OutputSinkReceivesTextInOrder) {
  std::wstring seen;
  kwhost::SetOutputSink([&](std::wstring_view t) { seen += t; });
  acutPrintf(L"a");
  acutPrintf(L"%s", L"b");
  EXPECT_EQ(seen, L"ab");
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(CommandLine, TakingWordsCopiesEachWordOnceNotTheRestOfTheLine) {
  constexpr size_t kWords = 4000;
  std::wstring line;
  for (size_t i = 0; i < kWords; ++i) line += L"w ";
  kwhost::QueueInput(line);
  std::wstring word;
  int64_t bytes = 0;
  {
    kwtest::AllocMeter meter;
    for (size_t i = 0; i < kWords; ++i) {
      ASSERT_TRUE(kwhost::NextInputWord(&word));
      ASSERT_EQ(word, L"w");
    }
    bytes = meter.TotalBytes();
  }
  EXPECT_EQ(kwhost::PendingInput(), 0u);
  // Not even one copy of the line.
  EXPECT_LT(bytes, static_cast<int64_t>(line.size() * sizeof(wchar_t)));
}

TEST_F(CommandLine, TheMeterSeesAllocations) {
  kwtest::AllocMeter meter;
  std::wstring* volatile text = new std::wstring(100, L'x');
  const int64_t bytes = meter.TotalBytes();
  delete text;
  EXPECT_GE(bytes, static_cast<int64_t>(100 * sizeof(wchar_t)));
}

}  // namespace
