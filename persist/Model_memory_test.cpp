// What the model readers allocate for crafted input: every count the bytes can hold at the
// smallest size of its element, and the memory a model may take is bounded by its input, so
// peak allocation stays within a small multiple of the input for any flood of cheap elements.
// Failed allocations give false, never an exception.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/AllocMeter.h"
#include "common/testing/MemFileSystem.h"
#include "persist/Model.h"
#include "persist/RDDwgFiler.h"

using namespace KWModel3DView;

namespace {

constexpr size_t kFloodBytes = 2 << 20;
// Input copies, the memory allowance of 16 bytes per input byte plus 1 MiB, and the slack of
// growing lists: well below what an element of 100 bytes per input byte would take.
constexpr int64_t kPeakPerByte = 32;
constexpr int64_t kPeakSlack = 4 << 20;

std::string Int32(int32_t v) {
  return std::string(reinterpret_cast<const char*>(&v), 4);
}

std::string Str(const std::wstring& text) {
  const uint32_t count = static_cast<uint32_t>(text.size() * 2);
  std::string out(reinterpret_cast<const char*>(&count), 4);
  if (count > 0) out += '\x01' + kw::ToUtf16LEBytes(text);
  return out;
}

// A version-2 model up to its extension: tag, version, empty name, flag, value, no records,
// no batches, then `huge` as the huge batch list.
std::string HeadThen(const std::string& huge) {
  return Str(L"KWMDNEW") + std::string("\x02\x00", 2) + Str(L"") + std::string(5, '\0') + Int32(0) +
         Int32(0) + huge;
}

// A non-empty extension with no names whose blocks and children follow.
std::string ExtensionThen(const std::string& rest) {
  return std::string("\x00", 1) + std::string(16, '\x07') + Str(L"") + Str(L"") + Int32(0) + rest;
}

std::string Repeat(const std::string& piece, size_t bytes) {
  std::string out;
  while (out.size() < bytes) out += piece;
  return out;
}

// Every flood claims as many elements as the input could hold at the smallest element size.
std::string EmptyExtensionChildren() {
  const int32_t n = kFloodBytes;
  return HeadThen(Int32(0) + ExtensionThen(Int32(0) + Int32(n) + std::string(n, '\x01')));
}
std::string EmptyBlocks() {
  const int32_t n = kFloodBytes / 4;
  return HeadThen(Int32(0) + ExtensionThen(Int32(n) + Repeat(Int32(0), kFloodBytes)));
}
std::string EmptyVertexChunks() {
  const int32_t n = kFloodBytes / 4;
  return HeadThen(Int32(1) + std::string(12, '\0') + Int32(n) + Repeat(Int32(0), kFloodBytes));
}
std::string EmptyHugeBatches() {
  const int32_t n = kFloodBytes / 20;
  return HeadThen(Int32(n) + Repeat(std::string(20, '\0'), kFloodBytes));
}
std::string EmptyBatches() {
  const int32_t n = kFloodBytes / 12;
  return Str(L"KWMDNEW") + std::string("\x02\x00", 2) + Str(L"") + std::string(5, '\0') + Int32(0) +
         Int32(n) + Repeat(std::string(12, '\0'), kFloodBytes);
}
// Untagged children: empty name, flag, value and three zero counts (21 bytes each).
std::string ChildModels() {
  const int32_t n = kFloodBytes / 21;
  const std::string child = Str(L"") + std::string(5, '\0') + Int32(0) + Int32(0) + Int32(0);
  return HeadThen(Int32(0) + std::string("\x01", 1) + Int32(n) + Repeat(child, kFloodBytes));
}

struct Flood {
  const char* name;
  std::string (*make)();
};
const Flood kFloods[] = {
    {"empty extension children", &EmptyExtensionChildren},
    {"empty blocks", &EmptyBlocks},
    {"empty vertex chunks", &EmptyVertexChunks},
    {"empty huge batches", &EmptyHugeBatches},
    {"empty batches", &EmptyBatches},
    {"child models", &ChildModels},
};

int64_t Bound(size_t inputBytes) {
  return kPeakPerByte * static_cast<int64_t>(inputBytes) + kPeakSlack;
}

TEST(ModelMemoryTest, TheMeterSeesTheLibrarysAllocations) {
  ASSERT_TRUE(kwtest::AllocMeterWorks());
  kwtest::AllocMeter meter;
  CRDDwgFiler filer;
  filer.writeString(std::wstring(5000, L'x').c_str());
  filer.seek(0, 0);
  AcString text;
  filer.readString(text);
  EXPECT_GE(meter.PeakBytes(), 5000 * 4);
}

// The total counts every block, freed ones too; the peak only what was live at once.
TEST(ModelMemoryTest, TheMeterTotalsFreedBlocksThatThePeakLeavesOut) {
  kwtest::AllocMeter meter;
  for (int i = 0; i < 4; ++i) {
    CRDDwgFiler filer;
    filer.writeString(std::wstring(5000, L'x').c_str());
  }
  // Four equal rounds, each freed before the next.
  EXPECT_GE(meter.PeakBytes(), 5000 * 4);
  EXPECT_GE(meter.TotalBytes(), 3 * meter.PeakBytes());
}

TEST(ModelMemoryTest, FloodsOfCheapElementsStayWithinTheInputsBound) {
  for (const Flood& flood : kFloods) {
    const std::string bytes = flood.make();
    CRDDwgFiler filer;
    filer.SetData(bytes.data(), static_cast<int64_t>(bytes.size()));
    kwtest::AllocMeter meter;
    {
      DataModel model;
      CModel::ReadModelData(&model, &filer);
    }
    EXPECT_LE(meter.PeakBytes(), Bound(bytes.size())) << flood.name;
  }
}

TEST(ModelMemoryTest, CountsBeyondTheDataFailWithoutAllocating) {
  for (const std::string& tail :
       {Int32(0x7FFFFFFF), Int32(-1),
        Int32(0) + Int32(1) + std::string("\0\0\0\0", 4) + Int32(0x10000000)}) {
    const std::string bytes = Str(L"KWMDNEW") + std::string("\x02\x00", 2) + Str(L"") +
                              std::string("\x00\x00\x00\x00\x00", 5) + tail;
    CRDDwgFiler filer;
    filer.SetData(bytes.data(), static_cast<int64_t>(bytes.size()));
    DataModel read;
    kwtest::AllocMeter meter;
    EXPECT_FALSE(CModel::ReadModelData(&read, &filer));
    EXPECT_LE(meter.PeakBytes(), 1024);
  }
}

// A snapshot file of the worst flood: header, then the body.
TEST(ModelMemoryTest, SnapshotOfAFloodStaysWithinTheInputsBound) {
  const std::string model = EmptyExtensionChildren();
  const std::string body = Int32(3) + model;
  const std::string header =
      Int32(3) + std::string("\x02\0\0\0", 4) + Str(L"") + Int32(static_cast<int32_t>(body.size()));
  const std::string file = Int32(static_cast<int32_t>(4 + header.size())) + header + body;
  kwtest::MemFileSystem disk;
  disk.AddFile(L"/flood.kwm", file);
  kw::ScopedFileSystem scope(&disk);
  kwtest::AllocMeter meter;
  DataModel read;
  EXPECT_FALSE(CModel::LoadSnapShotSimple(L"/flood.kwm", &read, 3));
  EXPECT_LE(meter.PeakBytes(), Bound(file.size()));
}

// A filer that runs out of memory at its n-th Int32 read.
class StarvingFiler : public CRDDwgFiler {
 public:
  explicit StarvingFiler(int n) : m_left(n) {}
  Acad::ErrorStatus readInt32(int32_t* value) override {
    if (--m_left == 0) throw std::bad_alloc();
    return CRDDwgFiler::readInt32(value);
  }
  Acad::ErrorStatus writeInt32(int32_t value) override {
    if (--m_left == 0) throw std::bad_alloc();
    return CRDDwgFiler::writeInt32(value);
  }

 private:
  int m_left;
};

// A file system whose reads run out of memory.
class StarvingFs : public kw::FaultyFileSystem {
 public:
  StarvingFs() : kw::FaultyFileSystem(kw::PosixFs()) {}
  bool ReadFile(const std::wstring&, std::string*, uint64_t) override { throw std::bad_alloc(); }
};

TEST(ModelMemoryTest, FailedAllocationsAreFalseResults) {
  DataModel model;
  model.batches.resize(2);
  model.children.resize(1);
  CRDDwgFiler plain;
  ASSERT_TRUE(CModel::WriteModelData(&model, &plain));
  for (int n = 1; n <= 6; ++n) {
    StarvingFiler reader(n);
    reader.SetData(plain.GetData());
    DataModel read;
    EXPECT_FALSE(CModel::ReadModelData(&read, &reader)) << n;
    StarvingFiler writer(n);
    EXPECT_FALSE(CModel::WriteModelData(&model, &writer)) << n;
  }
  StarvingFs fs;
  kw::ScopedFileSystem scope(&fs);
  EXPECT_FALSE(CModel::LoadSnapShotSimple(L"/any/snap.kwm", &model, 9));
}

}  // namespace
