#include "common/text.h"

#include <gtest/gtest.h>

#include <climits>

namespace kw {
namespace {

TEST(TextTest, CaseRulesCoverNonAsciiLetters) {
  EXPECT_EQ(ToUpper(L"line-style é ä ω"), L"LINE-STYLE É Ä Ω");
  EXPECT_TRUE(EqualsNoCase(L"Continuous", L"CONTINUOUS"));
  EXPECT_FALSE(EqualsNoCase(L"abc", L"abcd"));
  EXPECT_LT(CompareNoCase(L"abc", L"ABD"), 0);
  EXPECT_GT(CompareNoCase(L"b", L"A"), 0);
  EXPECT_LT(CompareNoCase(L"ab", L"AB_"), 0);
  EXPECT_EQ(CompareNoCase(L"道路", L"道路"), 0);
}

TEST(TextTest, TrimmingAndSplitting) {
  EXPECT_EQ(Trim(L" \t work \r\n"), L"work");
  EXPECT_EQ(TrimRight(L"/a/b\\/", kSeparators), L"/a/b");
  EXPECT_EQ(TrimLeft(L"   "), L"");
  EXPECT_EQ(Split(L"a,,b", L','), (std::vector<std::wstring>{L"a", L"", L"b"}));
  EXPECT_EQ(Split(L"", L','), (std::vector<std::wstring>{L""}));
}

TEST(TextTest, NumberParsersBehaveLikeThePlatform) {
  EXPECT_EQ(WToI(L"  42abc"), 42);
  EXPECT_EQ(WToI(L"-17"), -17);
  EXPECT_EQ(WToI(L"+8"), 8);
  EXPECT_EQ(WToI(L"abc"), 0);
  EXPECT_EQ(WToI(static_cast<const wchar_t*>(nullptr)), 0);
  EXPECT_EQ(WToI(L"99999999999"), INT_MAX);
  EXPECT_EQ(WToI(L"-99999999999"), INT_MIN);
  EXPECT_EQ(WToI64(L"-9223372036854775808"), INT64_MIN);
  EXPECT_EQ(WToI64(L"99999999999999999999"), INT64_MAX);
  EXPECT_DOUBLE_EQ(WToF(L" 2.5xyz"), 2.5);
  EXPECT_DOUBLE_EQ(WToF(L"-1e3"), -1000.0);
  EXPECT_DOUBLE_EQ(WToF(L".5"), 0.5);
  EXPECT_DOUBLE_EQ(WToF(L"1e"), 1.0);
  EXPECT_DOUBLE_EQ(WToF(L"0x10"), 0.0);  // no hexadecimal
  EXPECT_DOUBLE_EQ(WToF(L"inf"), 0.0);
  EXPECT_DOUBLE_EQ(WToF(L""), 0.0);
}

}  // namespace
}  // namespace kw
