#include "common/format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace kw {
namespace {

TEST(FormatTest, SystemLiteralsFormatWithThePlatformRules) {
  EXPECT_EQ(FormatW(L"<AutoCADQuited msg=0x%x  time=%02d:%02d:%02d/>", 16u, 12, 3, 4),
            L"<AutoCADQuited msg=0x10  time=12:03:04/>");
  EXPECT_EQ(FormatW(L"<RDMsg_SendMessage%u type='%u' msg='%u' from='%s'>", 2u, 5u, 4u, L",1,"),
            L"<RDMsg_SendMessage2 type='5' msg='4' from=',1,'>");
  EXPECT_EQ(FormatW(L"\n%d: (0x%I64x) %s %s", 1, uint64_t{0x7f00deadbeef}, L"ShowMsg", L"[1(9)]"),
            L"\n1: (0x7f00deadbeef) ShowMsg [1(9)]");
  EXPECT_EQ(FormatW(L"RDMsg_time %.3fs", 0.1234), L"RDMsg_time 0.123s");
  EXPECT_EQ(FormatW(L"%s,%d,%s,%s,%s\r\n", L"12:03:04", 0, L"Warning", L"Grp", L"text"),
            L"12:03:04,0,Warning,Grp,text\r\n");
  EXPECT_EQ(FormatW(L"文件\"%s\"读取失败!", L"甲.bin"), L"文件\"甲.bin\"读取失败!");
  EXPECT_EQ(FormatW(L"\n输入变量 %s 的新值 <%s>:", L"Width", L"2.5"),
            L"\n输入变量 Width 的新值 <2.5>:");
}

TEST(FormatTest, WideAndNarrowStringAndCharConversions) {
  EXPECT_EQ(FormatW(L"[%s|%ls|%ws|%S|%hs]", L"w1", L"w2", L"w3", "n1", "n2"), L"[w1|w2|w3|n1|n2]");
  EXPECT_EQ(FormatW(L"[%c%lc%C%hc]", L'甲', L'b', 'c', 'd'), L"[甲bcd]");
  EXPECT_EQ(FormatW(L"[%5s|%-5s|%.2s]", L"ab", L"ab", L"abcdef"), L"[   ab|ab   |ab]");
  EXPECT_EQ(FormatW(L"[%*d|%.*f]", 4, 7, 2, 3.14159), L"[   7|3.14]");
}

TEST(FormatTest, SixtyFourBitAndPointerSizedIntegers) {
  EXPECT_EQ(FormatW(L"%I64d %I64u %I64X", int64_t{-9000000000}, uint64_t{18000000000000000000u},
                    uint64_t{0xABCDEF0123}),
            L"-9000000000 18000000000000000000 ABCDEF0123");
  EXPECT_EQ(FormatW(L"%I32d %Id %lld %%", -5, size_t{42}, 7LL), L"-5 42 7 %");
}

TEST(FormatTest, FixedBufferCutsLongResultsAndTerminates) {
  wchar_t buf[8];
  EXPECT_EQ(FormatInto(buf, 8, L"%s", L"abcdefghijk"), 7u);
  EXPECT_EQ(std::wstring(buf), L"abcdefg");
  EXPECT_EQ(FormatInto(buf, 8, L"%d", 12), 2u);
  EXPECT_EQ(std::wstring(buf), L"12");
  EXPECT_EQ(FormatInto(buf, 0, L"%d", 12), 0u);
  EXPECT_EQ(FormatInto(buf, 8, nullptr), 0u);
  EXPECT_EQ(std::wstring(buf), L"");
}

TEST(FormatTest, LongResultsGrowAndEdgeFormatsStaySafe) {
  const std::wstring big(5000, L'x');
  EXPECT_EQ(FormatW(L"<%s>", big.c_str()), L"<" + big + L">");
  EXPECT_EQ(FormatW(nullptr), L"");
  EXPECT_EQ(FormatW(L"%s", static_cast<const wchar_t*>(nullptr)), L"(null)");
  EXPECT_EQ(TranslateFormat(L"50%% %I64d %S %s %C"), L"50%% %lld %s %ls %c");
  EXPECT_EQ(TranslateFormat(L"cut off %I6"), L"cut off %I6");
}

}  // namespace
}  // namespace kw
