#include "tools/kwtracelogo/Follower.h"

#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "common/testing/AllocMeter.h"
#include "tools/kwtracelogo/TestBlock.h"

namespace kwtracelogo {
namespace {

// What the follower handed on, "--" standing for a gap.
class Record : public LineSink {
 public:
  void Line(std::u16string_view text) override { seen.emplace_back(text); }
  void Gap() override { seen.emplace_back(u"--"); }
  std::vector<std::u16string> Take() { return std::exchange(seen, {}); }
  std::vector<std::u16string> seen;
};

using Lines = std::vector<std::u16string>;

// A block, its reader and the two ends of a host channel.
class FollowerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    std::string why;
    ASSERT_TRUE(reader.Open(block.name(), &why)) << why;
  }
  void TearDown() override {
    close(pair[0]);
    if (pair[1] >= 0) close(pair[1]);
  }
  // The host's wipe: the record first, then the zeroes.
  void HostWipe(bool announce = true) {
    const uint32_t used = static_cast<uint32_t>(block.used());
    if (announce) {
      ASSERT_EQ(send(pair[0], &used, 4, 0), 4);
    }
    block.Wipe();
  }

  TestBlock block{1, u"/f"};
  BlockReader reader;
  Record sink;
  int pair[2] = {-1, -1};
};

TEST_F(FollowerTest, AWipeAfterEverythingWasReadLosesNothing) {
  Follower follower(reader, sink, pair[1]);
  block.Append(u"a");
  block.Append(u"bb");
  ASSERT_TRUE(follower.Poll());
  EXPECT_EQ(sink.Take(), (Lines{u"a", u"bb"}));
  HostWipe();
  block.Append(u"c");
  ASSERT_TRUE(follower.Poll());
  ASSERT_TRUE(follower.Poll());
  follower.Finish();
  EXPECT_EQ(sink.Take(), (Lines{u"c"}));
}

TEST_F(FollowerTest, AWipeThatOvertookTheReadingIsMarkedOnce) {
  Follower follower(reader, sink, pair[1]);
  block.Append(u"a");
  ASSERT_TRUE(follower.Poll());
  block.Append(u"never read");
  HostWipe();
  block.Append(u"also never read");
  HostWipe();
  block.Append(u"x");
  ASSERT_TRUE(follower.Poll());
  EXPECT_EQ(sink.Take(), (Lines{u"a", u"--", u"x"}));
}

TEST_F(FollowerTest, LinesLostAtTheEndAreMarkedAtFinish) {
  Follower follower(reader, sink, pair[1]);
  block.Append(u"unread");
  HostWipe();
  ASSERT_TRUE(follower.Poll());
  EXPECT_EQ(sink.Take(), Lines{});
  follower.Finish();
  EXPECT_EQ(sink.Take(), Lines{u"--"});
}

TEST_F(FollowerTest, AnUnannouncedWipeIsAGapWithAChannelAndFollowedWithoutOne) {
  Follower announced(reader, sink, pair[1]);
  BlockReader second;
  std::string why;
  ASSERT_TRUE(second.Open(block.name(), &why));
  Record plain;
  Follower byHand(second, plain, -1);
  block.Append(u"a");
  ASSERT_TRUE(announced.Poll());
  ASSERT_TRUE(byHand.Poll());
  HostWipe(false);
  block.Append(u"b");
  ASSERT_TRUE(announced.Poll());
  ASSERT_TRUE(byHand.Poll());
  EXPECT_EQ(sink.Take(), (Lines{u"a", u"--", u"b"}));
  EXPECT_EQ(plain.Take(), (Lines{u"a", u"b"}));
}

TEST_F(FollowerTest, TheHostClosingItsEndEndsTheTraceAndTruncationEndsFollowing) {
  Follower follower(reader, sink, pair[1]);
  ASSERT_TRUE(follower.Poll());
  EXPECT_FALSE(follower.ChannelClosed());
  close(pair[0]);
  pair[0] = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_TRUE(follower.Poll());
  EXPECT_TRUE(follower.ChannelClosed());
  ASSERT_EQ(ftruncate(block.fd(), 100), 0);
  EXPECT_FALSE(follower.Poll());
}

// A flood of lines through many wipes: the follower keeps nothing but its last line, so the
// heap it holds does not grow with what it has read (20 MB of lines here).
TEST_F(FollowerTest, MemoryDoesNotGrowWithTheLinesFollowed) {
  class Count : public LineSink {
   public:
    void Line(std::u16string_view) override { ++lines; }
    void Gap() override {}
    long lines = 0;
  } count;
  Follower follower(reader, count, pair[1]);
  const std::u16string line(99, u'x');  // 200 bytes with its 0
  block.Append(line);
  ASSERT_TRUE(follower.Poll());
  ASSERT_TRUE(kwtest::AllocMeterWorks());  // a bound nobody measures proves nothing
  kwtest::AllocMeter meter;
  for (int i = 0; i < 100000; ++i) {
    if (block.used() + 200 >= KWRDPub::tracelogo::kFullBytes) {
      ASSERT_TRUE(follower.Poll());  // keeping up: nothing is lost
      HostWipe();
    }
    block.Append(line);
    if (i % 1000 == 0) {
      ASSERT_TRUE(follower.Poll());
    }
  }
  ASSERT_TRUE(follower.Poll());
  EXPECT_EQ(count.lines, 100001);
  EXPECT_LT(meter.PeakBytes(), 4096);
}

}  // namespace
}  // namespace kwtracelogo
