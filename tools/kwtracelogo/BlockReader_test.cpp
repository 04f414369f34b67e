#include "tools/kwtracelogo/BlockReader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/kwtracelogo/TestBlock.h"

namespace kwtracelogo {
namespace {

namespace tl = KWRDPub::tracelogo;

class Collect : public LineVisitor {
 public:
  void Line(std::u16string_view text, size_t start) override {
    lines.emplace_back(text);
    starts.push_back(start);
  }
  std::vector<std::u16string> lines;
  std::vector<size_t> starts;
};

std::vector<std::u16string> ReadAll(BlockReader& reader) {
  Collect c;
  size_t pos = 0;
  for (size_t next = 0; (next = reader.ReadLines(pos, c)) != pos;) pos = next;
  return c.lines;
}

TEST(BlockReader, ReadsHeaderAndCompleteLines) {
  TestBlock block(4242, u"/home/u/logo");
  block.Append(u"first");
  block.Append(u"宽\U0001F600");
  BlockReader reader;
  std::string why;
  ASSERT_TRUE(reader.Open(block.name(), &why)) << why;
  EXPECT_EQ(reader.Pid(), 4242u);
  EXPECT_EQ(reader.Folder(), L"/home/u/logo");
  EXPECT_EQ(reader.State(), tl::kStateLines);
  EXPECT_EQ(reader.LineUnits(), tl::kLineAreaBytes / 2);
  EXPECT_EQ(ReadAll(reader), (std::vector<std::u16string>{u"first", u"宽\U0001F600"}));
  EXPECT_TRUE(reader.Holds(6, u"宽\U0001F600"));
  EXPECT_FALSE(reader.Holds(6, u"宽"));
}

TEST(BlockReader, AdoptsOnlyItsParentsBlockAndLeavesOtherDescriptorsAlone) {
  TestBlock block(static_cast<uint32_t>(getppid()), u"/f");
  int fd = dup(block.fd());
  BlockReader other;
  std::string why;
  EXPECT_FALSE(other.Adopt(fd, getpid(), &why));
  EXPECT_EQ(why, "the block handed over is not its parent's");
  EXPECT_GE(fcntl(fd, F_GETFD), 0);
  BlockReader reader;
  EXPECT_TRUE(reader.Adopt(fd, getppid(), &why)) << why;
  EXPECT_FALSE(BlockReader().Adopt(999, getppid(), &why));
  EXPECT_EQ(why, "no block was handed over");
}

// Blocks that are not the caller's own private ones, or not blocks at all.
TEST(BlockReaderRefuses, FifosForeignOwnersOtherModesAndOtherSizes) {
  std::string why;
  const std::string fifo = "kwtracelogo-test-fifo-" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(("/dev/shm/" + fifo).c_str(), 0600), 0);
  EXPECT_FALSE(BlockReader().Open(fifo, &why));  // returns at once: no writer is awaited
  EXPECT_EQ(why, "it is not a shared-memory object");
  unlink(("/dev/shm/" + fifo).c_str());

  TestBlock shared(1, u"/f", 0644);
  EXPECT_FALSE(BlockReader().Open(shared.name(), &why));
  EXPECT_EQ(why, "its mode is not 0600");

  TestBlock small(1, u"/f");
  ASSERT_EQ(ftruncate(small.fd(), 4096), 0);
  EXPECT_FALSE(BlockReader().Open(small.name(), &why));
  EXPECT_EQ(why, "its size is wrong");

  EXPECT_FALSE(BlockReader().Open("kwtracelogo-test-none", &why));
  EXPECT_EQ(why, "No such file or directory");

  TestBlock foreign(1, u"/f");
  if (fchown(foreign.fd(), 65534, 65534) != 0) GTEST_SKIP() << "cannot give a block away";
  EXPECT_FALSE(BlockReader().Open(foreign.name(), &why));
  EXPECT_EQ(why, "it belongs to another user");
}

TEST(BlockReaderRefuses, AFolderWithoutEnd) {
  TestBlock block(1, std::u16string(tl::kMaxFolderUnits + 1, u'd'));
  std::string why;
  EXPECT_FALSE(BlockReader().Open(block.name(), &why));
  EXPECT_EQ(why, "its log folder has no end");
}

// A block cut short while it is followed: reads come back short instead of faulting.
TEST(BlockReader, ATruncatedBlockReadsAsEndedWithoutFaulting) {
  TestBlock block(1, u"/f");
  block.Append(u"kept");
  BlockReader reader;
  std::string why;
  ASSERT_TRUE(reader.Open(block.name(), &why)) << why;
  ASSERT_TRUE(reader.StillWhole());
  block.Append(u"late");
  ASSERT_EQ(ftruncate(block.fd(), 12), 0);  // ends before the line area
  EXPECT_FALSE(reader.StillWhole());
  EXPECT_EQ(ReadAll(reader), std::vector<std::u16string>{});
  EXPECT_FALSE(reader.Holds(0, u"kept"));
  ASSERT_EQ(ftruncate(block.fd(), 0), 0);
  EXPECT_EQ(reader.State(), tl::kStateEmpty);
}

TEST(BlockReader, ALineNotEndedWithinAChunkIsNotRead) {
  TestBlock block(1, u"/f");
  block.Append(std::u16string(BlockReader::kChunkUnits, u'x'));
  BlockReader reader;
  std::string why;
  ASSERT_TRUE(reader.Open(block.name(), &why)) << why;
  EXPECT_EQ(ReadAll(reader), std::vector<std::u16string>{});
}

}  // namespace
}  // namespace kwtracelogo
