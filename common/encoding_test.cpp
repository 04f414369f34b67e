#include "common/encoding.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace kw {
namespace {

std::string Bytes(std::initializer_list<int> list) {
  std::string s;
  for (int b : list) s += static_cast<char>(b);
  return s;
}

TEST(EncodingTest, Utf16LittleEndianBytesOfAThreeCharacterString) {
  EXPECT_EQ(ToUtf16LEBytes(L"abc"), Bytes({'a', 0, 'b', 0, 'c', 0}));
  EXPECT_EQ(FromUtf16LEBytes("a\0b\0c\0", 6), L"abc");
  EXPECT_EQ(ToUtf16LEBytes(L"道"), Bytes({0x53, 0x90}));
  EXPECT_EQ(Utf16Length(L"abc"), 3u);
}

TEST(EncodingTest, SurrogatePairsRoundTrip) {
  const std::wstring text = L"x\U0001F600y";  // outside the basic plane
  EXPECT_EQ(ToUtf16LEBytes(text), Bytes({'x', 0, 0x3D, 0xD8, 0x00, 0xDE, 'y', 0}));
  EXPECT_EQ(Utf16Length(text), 4u);
  EXPECT_EQ(FromUtf16(ToUtf16(text)), text);
  EXPECT_EQ(FromUtf16LEBytes(ToUtf16LEBytes(text).data(), 8), text);
}

TEST(EncodingTest, MalformedUtf16BecomesReplacementCharacters) {
  EXPECT_EQ(FromUtf16(u"a\xD800"
                      u"b"),
            L"a\xFFFD"
            L"b");                               // lone high surrogate
  EXPECT_EQ(FromUtf16(u"\xDC00"), L"\xFFFD");    // lone low surrogate
  EXPECT_EQ(FromUtf16LEBytes("a\0b", 3), L"a");  // odd trailing byte ignored
}

TEST(EncodingTest, ToUtf16IntoNeverSplitsAPair) {
  char16_t out[3];
  EXPECT_EQ(ToUtf16Into(L"ab\U0001F600", out, 3), 2u);
  EXPECT_EQ(ToUtf16Into(L"a\U0001F600", out, 3), 3u);
  EXPECT_EQ(out[1], 0xD83D);
  EXPECT_EQ(out[2], 0xDE00);
}

// The one encoder and decoder behind every UTF-16 conversion work at any alignment, write only
// the units they report, and give the general path's results when the plain copy gives up.
TEST(EncodingTest, UnalignedUtf16LEIntoCallersBuffers) {
  unsigned char buffer[1 + 2 * 4] = {0xEE};
  EXPECT_EQ(ToUtf16LEInto(L"x\U0001F600y", buffer + 1, 4), 4u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 9),
            Bytes({0xEE, 'x', 0, 0x3D, 0xD8, 0x00, 0xDE, 'y', 0}));
  EXPECT_EQ(ToUtf16LEInto(std::wstring(1, wchar_t(0xD800)), buffer + 1, 1), 1u);
  EXPECT_EQ(buffer[1] | buffer[2] << 8, 0xFFFD);

  wchar_t out[5] = {L'#', L'#', L'#', L'#', L'#'};
  EXPECT_EQ(FromUtf16LEInto(buffer + 1, 0, out), 0u);
  const std::string units = Bytes({0xEE, 'a', 0, 0x3D, 0xD8, 0x00, 0xDE, 0x00, 0xDC, 0, 0});
  EXPECT_EQ(FromUtf16LEInto(units.data() + 1, 5, out), 4u);
  EXPECT_EQ(std::wstring(out, 4), std::wstring(L"a\U0001F600") + wchar_t(0xFFFD) + L'\0');

  std::wstring text = L"k";
  AppendUtf16LE(units.data() + 1, 1, &text);
  AppendUtf16LE(units.data() + 3, 2, &text);
  EXPECT_EQ(text, L"ka\U0001F600");
}

TEST(EncodingTest, PlainCopyGivesUpOnZerosSurrogatesAndWideCharacters) {
  char16_t out[3];
  EXPECT_TRUE(CopyPlainUtf16LE(L"a\uD7FF", out));
  EXPECT_EQ(std::u16string(out, 2), u"a\uD7FF");
  EXPECT_TRUE(CopyPlainUtf16LE(L"", out));
  for (const std::wstring& text : {std::wstring(L"a\0b", 3), std::wstring(1, wchar_t(0xDC00)),
                                   std::wstring(L"\uE000"), std::wstring(L"\U0001F600")}) {
    EXPECT_FALSE(CopyPlainUtf16LE(text, out));
  }
  EXPECT_TRUE(IsUtf16Exact(L"\uE000\U0001F600"));
  EXPECT_FALSE(IsUtf16Exact(std::wstring(1, wchar_t(0xDFFF))));
  EXPECT_FALSE(IsUtf16Exact(std::wstring(1, wchar_t(0x110000))));
}

TEST(EncodingTest, GbkRoundTripsChineseText) {
  const std::wstring text = L"凯维提示: 道路设计 ABC 123";
  const std::string gbk = ToGbk(text);
  EXPECT_EQ(gbk.substr(0, 4), Bytes({0xBF, 0xAD, 0xCE, 0xAC}));  // 凯维
  EXPECT_EQ(FromGbk(gbk), text);
  EXPECT_EQ(FromGbk(ToGbk(L"文件\"%s\"读取失败!")), L"文件\"%s\"读取失败!");
}

TEST(EncodingTest, GbkFailuresAreReplacedNotFatal) {
  EXPECT_EQ(ToGbk(L"a\U0001F600b"), "a?b");            // not representable
  EXPECT_EQ(FromGbk(Bytes({'a', 0xBF})), L"a\xFFFD");  // truncated double byte
}

TEST(EncodingTest, Utf8RejectsOverlongAndSurrogateForms) {
  EXPECT_EQ(ToUtf8(L"道\U0001F600"), "\xE9\x81\x93\xF0\x9F\x98\x80");
  EXPECT_EQ(FromUtf8("\xE9\x81\x93\xF0\x9F\x98\x80"), L"道\U0001F600");
  EXPECT_EQ(ToUtf8(L"roads/道.rob"), "roads/\xE9\x81\x93.rob");  // ASCII run, then the rest
  EXPECT_EQ(FromUtf8("roads/\xE9\x81\x93.rob"), L"roads/道.rob");
  EXPECT_EQ(FromUtf8("\xC0\xAF"), L"\xFFFD\xFFFD");            // overlong "/"
  EXPECT_EQ(FromUtf8("\xED\xA0\x80"), L"\xFFFD\xFFFD\xFFFD");  // encoded surrogate
  EXPECT_EQ(FromUtf8("ab\xE9\x81"), L"ab\xFFFD\xFFFD");        // truncated at the end
}

TEST(EncodingTest, LocaleEncodingFollowsTheProcessLocale) {
  const std::string old = std::setlocale(LC_CTYPE, nullptr);
  ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  EXPECT_EQ(ToLocale(L"道"), "\xE9\x81\x93");
  EXPECT_EQ(FromLocale("\xE9\x81\x93"), L"道");
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(ToLocale(L"a道"), "a?");
  std::setlocale(LC_CTYPE, old.c_str());
}

TEST(EncodingTest, CodePagesConvertToAndFromUtf8) {
  EXPECT_EQ(CodePageToUtf8(Bytes({0xD6, 0xD0, 'a'}), "CP936"), "中a");
  EXPECT_EQ(CodePageToUtf8(Bytes({0xE9}), "CP1252"), "é");
  EXPECT_EQ(CodePageToUtf8(Bytes({'a', 0xD6}), "CP936"), "a\xEF\xBF\xBD");  // cut double byte
  EXPECT_EQ(CodePageToUtf8("a", "NO-SUCH-PAGE"), "");
  const auto escape = [](char32_t c, std::string& out) { out += "<" + std::to_string(c) + ">"; };
  EXPECT_EQ(Utf8ToCodePage("中é", "CP936", escape), Bytes({0xD6, 0xD0, 0xA8, 0xA6}));
  EXPECT_EQ(Utf8ToCodePage("a中b", "CP1252", escape), "a<20013>b");
  EXPECT_EQ(Utf8ToCodePage("a\xFF"
                           "b",
                           "CP1252", escape),
            "a?b");
}

TEST(EncodingTest, ACodePageConverterGivesTheSameResultsCallAfterCall) {
  const auto escape = [](char32_t c, std::string& out) { out += "<" + std::to_string(c) + ">"; };
  CodePageConverter gbk("CP936");
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(gbk.ToUtf8(Bytes({'a', 0xD6})), "a\xEF\xBF\xBD");  // a cut character ...
    EXPECT_EQ(gbk.ToUtf8(Bytes({0xD6, 0xD0})), "中");            // ... leaves no state behind
    EXPECT_EQ(gbk.FromUtf8("中\U0001F600", escape), Bytes({0xD6, 0xD0}) + "<128512>");
  }
  CodePageConverter unknown("NO-SUCH-PAGE");
  EXPECT_EQ(unknown.ToUtf8("a"), "");
  EXPECT_EQ(unknown.FromUtf8("a", escape), "");
}

}  // namespace
}  // namespace kw
