#include "persist/Model.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/AllocMeter.h"
#include "common/testing/TempDir.h"
#include "persist/RDDwgFiler.h"

using namespace KWModel3DView;

namespace {

std::string Bytes(const CRDDwgFiler& filer) {
  return std::string(reinterpret_cast<const char*>(filer.GetData().asArrayPtr()),
                     static_cast<size_t>(filer.GetData().length()));
}

std::string Str(const std::wstring& text) {
  const uint32_t count = static_cast<uint32_t>(text.size() * 2);
  std::string out(reinterpret_cast<const char*>(&count), 4);
  if (count > 0) out += '\x01' + kw::ToUtf16LEBytes(text);
  return out;
}

std::string Int32(int32_t v) {
  return std::string(reinterpret_cast<const char*>(&v), 4);
}

DataModel Sample() {
  DataModel model;
  model.name = L"桥";
  model.flag = true;
  model.value = 0xA1B2C3D4;
  model.records.push_back(DataRecord{{1, 2, 3, 4, 5, 6, 7, 8, 9}});
  model.batches.push_back(DataBatch{7, {AcGePoint3d(1, 2, 3), AcGePoint3d(4, 5, 6)}, {{0, 1, 1}}});
  DataBatchHuge huge;
  huge.value = 9;
  huge.first = 10;
  huge.second = 11;
  huge.vertexChunks = {{AcGePoint3d(7, 8, 9)}, {}};
  huge.triangleChunks = {{{0, 0, 0}, {1, 1, 1}}};
  model.hugeBatches.push_back(huge);
  model.extension.id = GUID{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  model.extension.typeName = L"t";
  model.extension.blocks = {{1, 2, 3}, {}};
  model.extension.children.resize(1);
  model.extension.children[0].subTypeName = L"s";
  DataModel child;
  child.name = L"child";
  model.children.push_back(child);
  return model;
}

TEST(ModelDataTest, EmptyModelBytes) {
  CRDDwgFiler filer;
  DataModel model;
  model.name = L"m";
  ASSERT_TRUE(CModel::WriteModelData(&model, &filer));
  const std::string expected = Str(L"KWMDNEW") + std::string("\x02\x00", 2) + Str(L"m") +
                               std::string("\x00\x00\x00\x00\x00", 5) + Int32(0) + Int32(0) +
                               Int32(0) + std::string("\x01", 1) + Int32(0);
  EXPECT_EQ(Bytes(filer), expected);
}

TEST(ModelDataTest, ZeroVertexCountWritesTheCountAlone) {
  CRDDwgFiler filer;
  DataModel model;
  model.batches.resize(1);
  model.batches[0].value = 0x01020304;
  CModel::WriteModelData(&model, &filer);
  const std::string batch = std::string("\x04\x03\x02\x01", 4) + Int32(0) + Int32(0);
  const std::string expected = Str(L"KWMDNEW") + std::string("\x02\x00", 2) + Str(L"") +
                               std::string("\x00\x00\x00\x00\x00", 5) + Int32(0) + Int32(1) +
                               batch + Int32(0) + std::string("\x01", 1) + Int32(0);
  EXPECT_EQ(Bytes(filer), expected);
}

TEST(ModelDataTest, FullModelRoundTrips) {
  const DataModel model = Sample();
  CRDDwgFiler filer;
  ASSERT_TRUE(CModel::WriteModelData(&model, &filer));
  filer.seek(0, 0);
  DataModel read;
  ASSERT_TRUE(CModel::ReadModelData(&read, &filer));
  EXPECT_EQ(read, model);
  EXPECT_EQ(filer.tell(), filer.GetData().length());
}

TEST(ModelDataTest, UntaggedStreamReadsAsVersionOne) {
  // Name, flag, value, no records, no batches, then straight to the children: no huge batches
  // and no extension in this version.
  const std::string bytes = Str(L"old") + std::string("\x01\x05\x00\x00\x00", 5) + Int32(0) +
                            Int32(0) + Int32(1) + Str(L"kid") +
                            std::string("\x00\x00\x00\x00\x00", 5) + Int32(0) + Int32(0) + Int32(0);
  CRDDwgFiler filer;
  filer.SetData(bytes.data(), static_cast<int64_t>(bytes.size()));
  DataModel read;
  ASSERT_TRUE(CModel::ReadModelData(&read, &filer));
  EXPECT_EQ(read.name, L"old");
  EXPECT_TRUE(read.flag);
  EXPECT_EQ(read.value, 5u);
  ASSERT_EQ(read.children.size(), 1u);
  EXPECT_EQ(read.children[0].name, L"kid");
  EXPECT_TRUE(read.extension.IsEmpty());
}

// Random models from a fixed random start value: every list may be empty, texts mix plain,
// wide and paired characters, and models and extensions nest a few levels.
class RandomModels {
 public:
  explicit RandomModels(uint32_t start) : m_random(start) {}

  DataModel Model(int depth) {
    DataModel model;
    model.name = Text();
    model.flag = Below(2) == 1;
    model.value = static_cast<uint32_t>(m_random());
    model.records.resize(Below(3));
    for (DataRecord& record : model.records) {
      for (double& v : record.values) v = Number();
    }
    model.batches.resize(Below(3));
    for (DataBatch& batch : model.batches) batch = Batch();
    model.hugeBatches.resize(Below(3));
    for (DataBatchHuge& batch : model.hugeBatches) batch = HugeBatch();
    model.extension = Extension(depth);
    model.children.resize(depth < 3 ? Below(3) : 0);
    for (DataModel& child : model.children) child = Model(depth + 1);
    return model;
  }

 private:
  size_t Below(size_t n) { return m_random() % n; }
  double Number() { return std::uniform_real_distribution<double>(-1e6, 1e6)(m_random); }
  std::wstring Text() {
    static constexpr wchar_t kChars[] = {L'a', L'Z', L' ', 0x6865, 0xE9, 0x1F600, 0xFFFD, 0xD7FF};
    std::wstring text(Below(5), L'a');
    for (wchar_t& c : text) c = kChars[Below(std::size(kChars))];
    return text;
  }
  AcGePoint3d Point() { return AcGePoint3d(Number(), Number(), Number()); }
  DataVertexList Vertices() {
    DataVertexList vertices(Below(4));
    for (AcGePoint3d& p : vertices) p = Point();
    return vertices;
  }
  DataTriangleList Triangles() {
    DataTriangleList triangles(Below(4));
    for (DataTriangle& t : triangles) t = {int32_t(m_random()), int32_t(m_random()), -1};
    return triangles;
  }
  DataBatch Batch() {
    return DataBatch{static_cast<uint32_t>(m_random()), Vertices(), Triangles()};
  }
  DataBatchHuge HugeBatch() {
    DataBatchHuge batch;
    batch.value = static_cast<uint32_t>(m_random());
    batch.first = static_cast<uint32_t>(m_random());
    batch.second = static_cast<uint32_t>(m_random());
    batch.vertexChunks.resize(Below(3));
    for (DataVertexList& chunk : batch.vertexChunks) chunk = Vertices();
    batch.triangleChunks.resize(Below(3));
    for (DataTriangleList& chunk : batch.triangleChunks) chunk = Triangles();
    return batch;
  }
  DataBinExtention Extension(int depth) {
    DataBinExtention ext;
    if (Below(3) == 0) return ext;
    if (Below(2) == 1) ext.id = GUID{static_cast<uint32_t>(m_random()), 1, 2, {3}};
    ext.typeName = Text();
    ext.subTypeName = Text();
    ext.value = Below(2) == 1 ? static_cast<uint32_t>(m_random()) : 0;
    ext.blocks.resize(Below(3));
    for (auto& block : ext.blocks) block.assign(Below(6), static_cast<unsigned char>(m_random()));
    ext.children.resize(depth < 4 ? Below(3) : 0);
    for (DataBinExtention& child : ext.children) child = Extension(depth + 1);
    return ext;
  }

  std::mt19937 m_random;
};

TEST(ModelDataTest, EveryWrittenModelReadsBackEqual) {
  RandomModels models(20240611);
  for (int i = 0; i < 300; ++i) {
    const DataModel model = models.Model(0);
    CRDDwgFiler filer;
    ASSERT_TRUE(CModel::WriteModelData(&model, &filer)) << i;
    filer.seek(0, 0);
    DataModel read;
    ASSERT_TRUE(CModel::ReadModelData(&read, &filer)) << i;
    ASSERT_EQ(read, model) << i;
    EXPECT_EQ(filer.tell(), filer.GetData().length()) << i;
  }
}

TEST(ModelDataTest, TwoEmptyHugeBatchesReadBack) {
  DataModel model;
  model.hugeBatches.resize(2);
  CRDDwgFiler filer;
  ASSERT_TRUE(CModel::WriteModelData(&model, &filer));
  filer.seek(0, 0);
  DataModel read;
  ASSERT_TRUE(CModel::ReadModelData(&read, &filer));
  EXPECT_EQ(read, model);
}

// An extension that holds only an id or a value is not empty: the short form would lose them.
TEST(ModelDataTest, ExtensionWithOnlyAnIdOrValueKeepsIt) {
  DataModel model;
  model.extension.children.resize(2);
  model.extension.children[0].id = GUID{1, 2, 3, {4}};
  model.extension.children[1].value = 7;
  CRDDwgFiler filer;
  ASSERT_TRUE(CModel::WriteModelData(&model, &filer));
  filer.seek(0, 0);
  DataModel read;
  ASSERT_TRUE(CModel::ReadModelData(&read, &filer));
  EXPECT_EQ(read, model);
}

// What the reader could not give back equal is refused before anything is written.
TEST(ModelDataTest, WriterRefusesWhatCannotReadBack) {
  std::vector<DataModel> refused(5);
  refused[0].name = std::wstring(L"a\0b", 3);
  refused[1].children.resize(1);
  refused[1].children[0].extension.typeName = std::wstring(1, static_cast<wchar_t>(0xD800));
  refused[2].extension.subTypeName = std::wstring(1, static_cast<wchar_t>(0x110000));
  DataBinExtention* ext = &refused[3].extension;
  for (int i = 0; i < 257; ++i) {
    ext->value = 1;
    ext = &ext->children.emplace_back();
  }
  ext->value = 1;
  // Empty extensions cost one byte each in the stream but over a hundred in memory.
  refused[4].extension.children.resize(1 << 20);
  for (const DataModel& model : refused) {
    CRDDwgFiler filer;
    EXPECT_FALSE(CModel::WriteModelData(&model, &filer));
    EXPECT_EQ(filer.filerStatus(), Acad::eInvalidInput);
    EXPECT_EQ(filer.GetData().length(), 0);
  }
  DataModel accepted;
  accepted.extension.children.resize(4000);
  CRDDwgFiler filer;
  ASSERT_TRUE(CModel::WriteModelData(&accepted, &filer));
  filer.seek(0, 0);
  DataModel read;
  ASSERT_TRUE(CModel::ReadModelData(&read, &filer));
  EXPECT_EQ(read, accepted);
}

TEST(ModelDataTest, NestingDeeperThan256Fails) {
  auto chain = [](int depth) {
    CRDDwgFiler filer;
    DataModel model;
    for (int i = 0; i < depth; ++i) {
      DataModel parent;
      parent.children.push_back(std::move(model));
      model = std::move(parent);
    }
    CModel::WriteModelData(&model, &filer);
    filer.seek(0, 0);
    DataModel read;
    return CModel::ReadModelData(&read, &filer);
  };
  EXPECT_TRUE(chain(256));
  EXPECT_FALSE(chain(257));
}

class SnapshotTest : public ::testing::Test {
 protected:
  void SetUp() override { m_path = kw::WidePath(m_dir) + L"/snap.kwm"; }
  std::string ReadFile() const {
    std::string bytes;
    kw::Fs().ReadFile(m_path, &bytes);
    return bytes;
  }

  kwtest::TempDir m_temp{"kw_model"};
  std::string m_dir = m_temp.path();
  std::wstring m_path;
};

TEST_F(SnapshotTest, HeaderStartsWithItsOwnLength) {
  DataModel model = Sample();
  ASSERT_TRUE(CModel::SaveSnapShotSimple(m_path.c_str(), &model, 3));
  const std::string bytes = ReadFile();
  const std::string header_tail = Int32(3) + std::string("\x02\0\0\0", 4) + Str(L"桥");
  const int32_t headerLength = static_cast<int32_t>(4 + header_tail.size() + 4);
  ASSERT_GE(bytes.size(), static_cast<size_t>(headerLength));
  EXPECT_EQ(bytes.substr(0, 4 + header_tail.size()), Int32(headerLength) + header_tail);
  int32_t bodyLength = 0;
  std::memcpy(&bodyLength, bytes.data() + headerLength - 4, 4);
  EXPECT_EQ(static_cast<size_t>(headerLength + bodyLength), bytes.size());
  EXPECT_EQ(bytes.substr(static_cast<size_t>(headerLength), 4), Int32(3));

  DataModel read;
  ASSERT_TRUE(CModel::LoadSnapShotSimple(m_path.c_str(), &read, 3));
  EXPECT_EQ(read, model);
}

TEST_F(SnapshotTest, TagAboveTheLimitOrWrongVersionLeavesTheModel) {
  DataModel model = Sample();
  ASSERT_TRUE(CModel::SaveSnapShotSimple(m_path.c_str(), &model, 5));
  DataModel untouched;
  untouched.name = L"keep";
  EXPECT_FALSE(CModel::LoadSnapShotSimple(m_path.c_str(), &untouched, 4));
  EXPECT_EQ(untouched.name, L"keep");

  std::string bytes = ReadFile();
  bytes[8] = 3;  // the version after the tag
  ASSERT_TRUE(kw::Fs().WriteFileAtomic(m_path, bytes));
  EXPECT_FALSE(CModel::LoadSnapShotSimple(m_path.c_str(), &untouched, 5));
  EXPECT_EQ(untouched.name, L"keep");
  EXPECT_FALSE(CModel::LoadSnapShotSimple((m_path + L"x").c_str(), &untouched, 5));
}

TEST_F(SnapshotTest, UntaggedHeaderHasNoVersionOrName) {
  // Snapshots with tag 0 or 1 were written with only the tag and the body length.
  DataModel model;
  model.name = L"n";
  CRDDwgFiler body;
  body.writeUInt32(1);
  CModel::WriteModelData(&model, &body);
  const std::string bodyBytes = Bytes(body);
  const std::string bytes =
      Int32(12) + Int32(1) + Int32(static_cast<int32_t>(bodyBytes.size())) + bodyBytes;
  ASSERT_TRUE(kw::Fs().WriteFileAtomic(m_path, bytes));
  DataModel read;
  ASSERT_TRUE(CModel::LoadSnapShotSimple(m_path.c_str(), &read, 1));
  EXPECT_EQ(read.name, L"n");
}

TEST_F(SnapshotTest, EveryTagReadsBack) {
  RandomModels models(77);
  for (int tag = 0; tag <= 4; ++tag) {
    const DataModel model = models.Model(0);
    ASSERT_TRUE(CModel::SaveSnapShotSimple(m_path.c_str(), &model, tag)) << tag;
    DataModel read;
    ASSERT_TRUE(CModel::LoadSnapShotSimple(m_path.c_str(), &read, tag)) << tag;
    EXPECT_EQ(read, model) << tag;
  }
}

TEST_F(SnapshotTest, LengthsTheFileCannotHoldFailWithoutAllocatingThem) {
  DataModel read;
  for (const std::string& bytes : {std::string("\x01", 1), Int32(1000) + Int32(0),
                                   Int32(3) + Int32(0), Int32(12) + Int32(0) + Int32(0x7FFFFFF0)}) {
    ASSERT_TRUE(kw::Fs().WriteFileAtomic(m_path, bytes));
    kwtest::AllocMeter meter;
    EXPECT_FALSE(CModel::LoadSnapShotSimple(m_path.c_str(), &read, 9));
    EXPECT_LE(meter.PeakBytes(), 1024);  // the file's bytes and its path, nothing the lengths ask
  }
}

TEST(AxisModelToolTest, PointsTravelInOneExtensionBlock) {
  AcGePoint3dArray points;
  points.append(AcGePoint3d(1, 2, 3));
  points.append(AcGePoint3d(4, 5, 6));
  DataModel model;
  ASSERT_TRUE(CAxisModelTool::Create(points, 2.5, &model));
  EXPECT_EQ(model.name, L"定向模型");
  EXPECT_EQ(model.extension.typeName, L"纹理伸展轴线");
  EXPECT_EQ(model.extension.subTypeName, L"纹理伸展轴线");
  EXPECT_EQ(model.extension.value, 1u);
  EXPECT_NE(model.extension.id, GUID_NULL);
  ASSERT_EQ(model.extension.blocks.size(), 1u);
  const std::vector<unsigned char>& block = model.extension.blocks[0];
  ASSERT_EQ(block.size(), 8u + 4u + 48u);
  double width = 0;
  int32_t count = 0;
  AcGePoint3d second;
  std::memcpy(&width, block.data(), 8);
  std::memcpy(&count, block.data() + 8, 4);
  std::memcpy(&second, block.data() + 12 + 24, 24);
  EXPECT_EQ(width, 2.5);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(second, AcGePoint3d(4, 5, 6));
  EXPECT_TRUE(CModel().IsEmpty());
}

}  // namespace
