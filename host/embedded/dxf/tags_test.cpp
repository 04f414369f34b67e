#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/embedded/dxf/tagreader.h"
#include "host/embedded/dxf/tagwriter.h"
#include "host/embedded/dxf/textcodec.h"

namespace kwhost::dxf {
namespace {

// Binary tags' texts live in the reader until the next tag: the copies keep them.
struct Read {
  std::vector<RawTag> tags;
  std::vector<std::string> texts;
  std::string error;
};

Read ReadAll(std::string_view bytes) {
  Read r;
  TagReader reader(bytes);
  RawTag tag;
  while (reader.Next(&tag)) r.texts.emplace_back(tag.text);
  r.error = reader.error();
  TagReader again(bytes);
  for (size_t i = 0; i < r.texts.size() && again.Next(&tag); ++i) {
    tag.text = r.texts[i];
    r.tags.push_back(tag);
  }
  return r;
}

TEST(AsciiTagReaderTest, ReadsPaddedCodesWithLfAndCrlfLineEnds) {
  const Read r =
      ReadAll("  0\r\nSECTION\n  2\r\nHEADER\n 10\n1.5\n 70\n  -3\n290\n1\n  1\n a b \n");
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.tags.size(), 6u);
  EXPECT_EQ(r.tags[0].text, "SECTION");
  EXPECT_EQ(r.tags[1].code, 2);
  EXPECT_EQ(r.tags[1].line, 3u);
  EXPECT_EQ(r.tags[2].real, 1.5);
  EXPECT_EQ(r.tags[3].integer, -3);
  EXPECT_EQ(r.tags[4].type, ValueType::kBool);
  EXPECT_EQ(r.tags[5].text, " a b ");  // blanks of a text value are kept
}

TEST(AsciiTagReaderTest, BadInputNamesTheLine) {
  EXPECT_EQ(ReadAll("0\nSECTION\nx\nHEADER\n").error, "line 3: group code 'x' is not a number");
  EXPECT_EQ(ReadAll("0\nA\n1072\nB\n").error, "line 3: group code 1072 is out of range");
  EXPECT_EQ(ReadAll("0\nA\n-1\nB\n").error, "line 3: group code -1 is out of range");
  EXPECT_EQ(ReadAll("0\nA\n10\n").error, "line 3: the file ends before the value of group 10");
  EXPECT_EQ(ReadAll("10\n1.5x\n").error, "line 1: group 10 value '1.5x' is not a number");
  EXPECT_EQ(ReadAll("10\nnan\n").error, "line 1: group 10 value 'nan' is not a number");
  EXPECT_EQ(ReadAll("10\n1e400\n").error, "line 1: group 10 value '1e400' is not a number");
  EXPECT_EQ(ReadAll("70\n65536\n").error, "line 1: group 70 value '65536' is out of range");
  EXPECT_EQ(ReadAll("70\n1.0\n").error, "line 1: group 70 value '1.0' is not an integer");
  EXPECT_EQ(ReadAll("310\nABC\n").error, "line 1: group 310 value 'ABC' is not hex data");
}

TEST(AsciiTagReaderTest, TrailingBlankLinesEndTheFileQuietly) {
  const Read r = ReadAll("0\nEOF\n\n\n");
  EXPECT_EQ(r.error, "");
  EXPECT_EQ(r.tags.size(), 1u);
}

TEST(TagWriterTest, AsciiTagsAreRightAlignedCodesAndShortestNumbers) {
  TagWriter w(false, TextCodec());
  w.String(0, "SECTION");
  w.Double(10, 1);
  w.Double(20, 0.1);
  w.Double(30, -0.0);
  w.Int(1071, 7);
  w.Handle(5, 0x2AF);
  w.Text(40, " 2.50 ");
  EXPECT_EQ(w.bytes(), "  0\nSECTION\n 10\n1.0\n 20\n0.1\n 30\n0.0\n1071\n7\n  5\n2AF\n 40\n2.5\n");
}

TEST(TagWriterTest, BinaryTagsReadBackWithTheirTypes) {
  TagWriter w(true, TextCodec());
  w.bytes() = std::string(kBinarySentinel);
  w.String(0, "SECTION");
  w.Double(10, 0.1);
  w.Int(70, -2);
  w.Int(90, 100000);
  w.Int(160, 1ll << 40);
  w.Int(290, 1);
  w.Text(310, "00FF10");
  const Read r = ReadAll(w.bytes());
  ASSERT_EQ(r.error, "");
  ASSERT_EQ(r.tags.size(), 7u);
  EXPECT_EQ(r.tags[0].text, "SECTION");
  EXPECT_EQ(r.tags[1].real, 0.1);
  EXPECT_EQ(r.tags[1].text, "0.1");
  EXPECT_EQ(r.tags[2].text, "-2");
  EXPECT_EQ(r.tags[3].integer, 100000);
  EXPECT_EQ(r.tags[4].integer, 1ll << 40);
  EXPECT_EQ(r.tags[5].integer, 1);
  EXPECT_EQ(r.tags[6].text, "00FF10");
  EXPECT_EQ(w.bytes().size(), 22u + 10 + 10 + 4 + 6 + 10 + 3 + 6);
}

TEST(TagWriterTest, OldBinaryFilesHaveOneByteCodesAndEscapeExtendedData) {
  TagWriter w(true, TextCodec(), false);
  w.bytes() = std::string(kBinarySentinel);
  w.String(0, "SECTION");
  w.Int(1071, 999999);
  EXPECT_EQ(w.bytes().substr(22), std::string("\0SECTION\0\xFF\x2F\x04\x3F\x42\x0F\0", 16));
  const Read r = ReadAll(w.bytes());
  ASSERT_EQ(r.tags.size(), 2u);
  EXPECT_EQ(r.tags[1].code, 1071);
  EXPECT_EQ(r.tags[1].integer, 999999);
}

TEST(BinaryTagReaderTest, TruncatedAndMisTaggedInputNamesTheByte) {
  const std::string head(kBinarySentinel);
  EXPECT_EQ(ReadAll(head + std::string("\0\0SECT", 6)).error,
            "byte 22: the file ends inside a text value");
  EXPECT_EQ(ReadAll(head + std::string("\0\0A\0\x0A\0\x01\x02", 8)).error,
            "byte 26: the file ends inside a tag");
  EXPECT_EQ(ReadAll(head + std::string("\0\0A\0\x30\x04", 6)).error,
            "byte 26: group code 1072 is out of range");
  EXPECT_EQ(ReadAll(head + std::string("\0\0A\0\x36\x01\x05\x01\x02", 9)).error,
            "byte 26: the file ends inside a tag");  // chunk longer than the data
}

// The writers' number text must be exactly what the general shortest algorithm gives (with
// ".0" on whole numbers), whatever shortcut FormatDouble takes for short decimals.
std::string Reference(double v) {
  if (v == 0) v = 0;
  char text[40];
  std::string out(text, std::to_chars(text, text + sizeof(text), v).ptr);
  if (out.find_first_of(".e") == std::string::npos) out += ".0";
  return out;
}

std::string Formatted(double v) {
  char text[40];
  return std::string(text, FormatDouble(v, text));
}

TEST(NumberTextTest, FormatDoubleIsTheShortestTextOfEveryValue) {
  for (double v : {0.0,
                   -0.0,
                   1.0,
                   -1.0,
                   0.1,
                   0.25,
                   12.5,
                   1000.0,
                   1e6,
                   1.2e6,
                   1e-3,
                   1e-4,
                   1.5e-4,
                   0.00123,
                   123456789012345.0,
                   1125899906842623.0,
                   1e15,
                   1e16,
                   1e20,
                   3.0 * 0.1,
                   0.1 + 0.2,
                   2.675,
                   1.0 / 3,
                   99999999.999,
                   0.30000000000000004}) {
    EXPECT_EQ(Formatted(v), Reference(v)) << v;
    EXPECT_EQ(Formatted(-v), Reference(-v)) << -v;
  }
  std::mt19937_64 random(7);
  for (int i = 0; i < 300000; ++i) {
    // Short decimals (what drawings hold) and arbitrary bit patterns.
    const double decimal =
        static_cast<double>(static_cast<int64_t>(random() % 2000000001) - 1000000000) /
        std::pow(10.0, static_cast<int>(random() % 12));
    uint64_t bits = random();
    double any = 0;
    std::memcpy(&any, &bits, sizeof(any));
    ASSERT_EQ(Formatted(decimal), Reference(decimal)) << decimal;
    if (std::isfinite(any)) {
      ASSERT_EQ(Formatted(any), Reference(any));
    }
  }
}

// Numbers and codes in their usual shape take a shortcut; they must read exactly as the
// general parser reads them.
TEST(NumberTextTest, UsualNumbersReadAsTheGeneralParserReadsThem) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 200000; ++i) {
    const double v =
        static_cast<double>(static_cast<int64_t>(random() % 20000000001) - 10000000000) /
        std::pow(10.0, static_cast<int>(random() % 16));
    const std::string text = Formatted(v);
    const Read r = ReadAll(" 10\n" + text + "\n 90\n" + std::to_string(int32_t(random())) + "\n");
    ASSERT_EQ(r.error, "") << text;
    double expected = 0;
    std::from_chars(text.data(), text.data() + text.size(), expected);
    ASSERT_EQ(r.tags[0].real, expected) << text;
    ASSERT_TRUE(std::signbit(r.tags[0].real) == std::signbit(expected)) << text;
  }
  const Read r = ReadAll("10\n.5\n20\n-7.\n30\n1234567890.12345678\n 70\n-0\n");
  ASSERT_EQ(r.error, "");
  EXPECT_EQ(r.tags[0].real, 0.5);
  EXPECT_EQ(r.tags[1].real, -7.0);
  EXPECT_EQ(r.tags[2].real, 1234567890.12345678);
  EXPECT_EQ(r.tags[3].integer, 0);
}

TEST(TextCodecTest, CodePageTextBeforeR2007AndUtf8After) {
  std::string buffer;
  const TextCodec gbk("AC1015", "ANSI_936", true);
  EXPECT_EQ(gbk.Encode("道路", &buffer), "\xB5\xC0\xC2\xB7");
  EXPECT_EQ(gbk.Decode("\xB5\xC0\xC2\xB7", &buffer), "道路");
  const TextCodec latin("AC1015", "ANSI_1252", true);
  EXPECT_EQ(latin.Encode("é道", &buffer), "\xE9\\U+9053");
  EXPECT_EQ(latin.Decode("\xE9\\U+9053\\U+ZZZZ", &buffer), "é道\\U+ZZZZ");
  const TextCodec unicode("AC1032", "ANSI_936", true);
  EXPECT_EQ(unicode.Encode("道", &buffer), "道");
  EXPECT_EQ(unicode.Decode("\\U+9053", &buffer), "\\U+9053");
}

TEST(TextCodecTest, AsciiFilesEscapeControlCharactersWithCarets) {
  std::string buffer;
  const TextCodec ascii("AC1032", "", true);
  EXPECT_EQ(ascii.Encode("a\nb^c", &buffer), "a^Jb^ c");
  EXPECT_EQ(ascii.Decode("a^Jb^ c^2", &buffer), "a\nb^c^2");
  const TextCodec binary("AC1032", "", false);
  EXPECT_EQ(binary.Encode("a\nb^c", &buffer), "a\nb^c");
}

TEST(TextCodecTest, DoubleByteCharactersEndingInCaretOrBackslashAreNotEscapes) {
  std::string buffer;
  const TextCodec gbk("AC1015", "ANSI_936", true);
  // In GBK 坁 is 0x88 0x5E and 乗 is 0x81 0x5C.
  const std::string bytes(gbk.Encode("坁乗U+0041", &buffer));
  EXPECT_EQ(bytes, "\x88^\x81\\U+0041");
  EXPECT_EQ(gbk.Decode(bytes, &buffer), "坁乗U+0041");
}

}  // namespace
}  // namespace kwhost::dxf
