#include "common/format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cwchar>
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
// The buffer form writes the common conversions itself; whatever it stores must be what the C
// library stores for the same (translated) format, cut or not.
std::wstring Into(size_t cap, const wchar_t* format, ...) {
  wchar_t buf[64];
  va_list args;
  va_start(args, format);
  const size_t n = VFormatInto(buf, cap, format, args);
  va_end(args);
  return std::wstring(buf, n) + L"|" + std::to_wstring(n);
}
std::wstring Library(size_t cap, const wchar_t* translated, ...) {
  wchar_t buf[64] = {};
  va_list args;
  va_start(args, translated);
  const int n = vswprintf(buf, cap, translated, args);
  va_end(args);
  const size_t stored = n >= 0 ? static_cast<size_t>(n) : wcsnlen(buf, cap - 1);
  return std::wstring(buf, stored) + L"|" + std::to_wstring(stored);
}

TEST(FormatTest, BufferFormMatchesTheCLibraryForCommonConversions) {
  EXPECT_EQ(Into(64, L"<a%u b='%d' c='%i' d='%s'>", 12u, -5, INT_MIN, L",1,2,"),
            Library(64, L"<a%u b='%d' c='%i' d='%ls'>", 12u, -5, INT_MIN, L",1,2,"));
  EXPECT_EQ(Into(64, L"%x %X %lx %I64X %Iu 100%%", 0xBEEFu, 0xBEEFu, ULONG_MAX, uint64_t{1} << 63,
                 size_t{0}),
            Library(64, L"%x %X %lx %llX %zu 100%%", 0xBEEFu, 0xBEEFu, ULONG_MAX, uint64_t{1} << 63,
                    size_t{0}));
  EXPECT_EQ(Into(64, L"%I64d %ld %d", LLONG_MIN, LONG_MAX, 0),
            Library(64, L"%lld %ld %d", LLONG_MIN, LONG_MAX, 0));
  EXPECT_EQ(Into(64, L"[%s]", static_cast<const wchar_t*>(nullptr)), L"[(null)]|8");
  EXPECT_EQ(Into(64, L"甲%s乙", L""), L"甲乙|2");
  // Results that reach the capacity are cut as the library cuts them.
  EXPECT_EQ(Into(6, L"ab%dcd", 123), L"ab123|5");
  EXPECT_EQ(Into(6, L"ab%dcd", 1234), Library(6, L"ab%dcd", 1234));
  EXPECT_EQ(Into(6, L"%s%s", L"abc", L"def"), Library(6, L"%ls%ls", L"abc", L"def"));
}

}  // namespace kw
