#include "host/embedded/dxf/tagstream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kwhost::dxf {
namespace {

struct Taken {
  std::vector<RawTag> tags;
  std::string error;
};

Taken TakeAll(std::string_view bytes, size_t read_ahead_from, size_t fail_at_tag = SIZE_MAX) {
  TagStream stream(bytes, read_ahead_from);
  EXPECT_EQ(stream.reading_ahead(), read_ahead_from == 0);
  Taken t;
  RawTag tag;
  while (stream.Next(&tag)) {
    t.tags.push_back(tag);
    if (t.tags.size() == fail_at_tag) stream.Fail("the caller stops here");
  }
  t.error = stream.error();
  return t;
}

void ExpectSame(const Taken& ahead, const Taken& inline_read) {
  EXPECT_EQ(ahead.error, inline_read.error);
  ASSERT_EQ(ahead.tags.size(), inline_read.tags.size());
  for (size_t i = 0; i < ahead.tags.size(); ++i) {
    const RawTag &a = ahead.tags[i], &b = inline_read.tags[i];
    ASSERT_EQ(a.code, b.code) << i;
    ASSERT_EQ(a.text, b.text) << i;
    ASSERT_EQ(a.type, b.type) << i;
    // Only the value of the tag's own type is set.
    ASSERT_EQ(a.type == ValueType::kDouble ? a.real : 0, b.type == ValueType::kDouble ? b.real : 0);
    ASSERT_EQ(a.type == ValueType::kInt16 ? a.integer : 0,
              b.type == ValueType::kInt16 ? b.integer : 0);
    ASSERT_EQ(a.line, b.line) << i;
  }
}

// Many chunks' worth of tags, so that the thread fills every chunk and waits for the caller.
std::string ManyTags(int records) {
  std::string bytes;
  for (int i = 0; i < records; ++i) {
    bytes += "  0\nLINE\n  5\n" + std::to_string(i + 16) + "\n 10\n" + std::to_string(i) +
             ".5\r\n 70\n" + std::to_string(i % 7) + "\n";
  }
  return bytes;
}

TEST(TagStreamTest, ReadingAheadGivesEveryTagAsTheReaderDoes) {
  const std::string bytes = ManyTags(20000) + "  0\nEOF\n";
  const Taken ahead = TakeAll(bytes, 0);
  ExpectSame(ahead, TakeAll(bytes, kNoReadAhead));
  EXPECT_EQ(ahead.tags.size(), 80001u);
  EXPECT_EQ(ahead.error, "");
}

TEST(TagStreamTest, AFaultFarIntoTheFileSurfacesAfterEveryTagBeforeIt) {
  const std::string bytes = ManyTags(9000) + " 10\n1.5x\n" + ManyTags(10);
  const Taken ahead = TakeAll(bytes, 0);
  ExpectSame(ahead, TakeAll(bytes, kNoReadAhead));
  EXPECT_EQ(ahead.tags.size(), 36000u);
  EXPECT_EQ(ahead.error, "line 72001: group 10 value '1.5x' is not a number");
}

// The caller's own fault comes before the thread's in the file, so it is the one reported,
// and the thread, stopped with chunks still to fill, is joined without a hang.
TEST(TagStreamTest, TheCallersEarlierFaultWinsOverTheThreads) {
  const std::string bytes = ManyTags(9000) + "x\n";
  const Taken ahead = TakeAll(bytes, 0, 5);
  ExpectSame(ahead, TakeAll(bytes, kNoReadAhead, 5));
  EXPECT_EQ(ahead.error, "line 9: the caller stops here");
  EXPECT_EQ(TakeAll(bytes, 0).error, "line 72001: group code 'x' is not a number");
}

TEST(TagStreamTest, BinaryAndSmallInputAreReadInTheCallersThread) {
  EXPECT_FALSE(
      TagStream(std::string(kBinarySentinel) + std::string("\0\0EOF\0", 6), 0).reading_ahead());
  EXPECT_FALSE(TagStream("  0\nEOF\n", 100).reading_ahead());
}

}  // namespace
}  // namespace kwhost::dxf
