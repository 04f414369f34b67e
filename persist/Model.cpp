#include "persist/Model.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <exception>
#include <random>
#include <string>
#include <string_view>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/format.h"
#include "common/text.h"
#include "host/api/win.h"
#include "persist/RDDwgFiler.h"

using namespace KWModel3DView;

namespace {

constexpr wchar_t kFormatTag[] = L"KWMDNEW";
constexpr int16_t kFormatVersion = 2;
constexpr uint32_t kSnapshotVersion = 2;
constexpr int kMaxDepth = 256;
// Snapshots are small; anything bigger than this is not one.
constexpr uint64_t kMaxSnapshotBytes = 1u << 30;
// Filers of unknown size are read in pieces of this many bytes, so a lying count costs at most
// one piece before the read fails.
constexpr int64_t kPieceBytes = 1 << 20;
// A model may take this many bytes of memory per byte of its stream, plus kMemorySlack. Every
// element the writer produces but the empty extension (1 byte in the stream, over 100 in
// memory) stays below the rate even with its list's room to grow, so only a flood of those
// runs into it.
constexpr int64_t kMemoryPerByte = 16;
constexpr int64_t kMemorySlack = 1 << 20;

// The smallest encoded size of one element of each list.
constexpr int64_t kMinBatchBytes = 12;      // value, vertex count, triangle count
constexpr int64_t kMinHugeBatchBytes = 20;  // value, two numbers, two chunk counts
constexpr int64_t kMinChunkBytes = 4;       // its count
constexpr int64_t kMinBlockBytes = 4;       // its length
constexpr int64_t kMinExtensionBytes = 1;   // the empty extension's Bool
constexpr int64_t kMinModelBytes = 21;      // untagged: empty name, flag, value, three counts

// Lists of records grow by doubling from one element, so a list of n records holds room for
// ListCapacity(n).
size_t GrownCapacity(size_t capacity) {
  return capacity == 0 ? 1 : 2 * capacity;
}
int64_t ListCapacity(size_t count) {
  return count == 0 ? 0 : static_cast<int64_t>(std::bit_ceil(count));
}

// The memory a text takes once read, as both the reader and the writer's check count it.
int64_t TextMemory(const std::wstring& text) {
  return static_cast<int64_t>(text.size() * sizeof(wchar_t));
}

int64_t TextStreamBytes(const std::wstring& text) {
  return text.empty() ? 4 : 5 + 2 * static_cast<int64_t>(kw::Utf16Length(text));
}

// What a model takes in the stream and, once read, in memory (counted as the reader counts it),
// and whether the reader gives it back equal. The writer refuses what this does not accept.
class Footprint {
 public:
  void Add(const DataModel& model, int depth) {
    m_exact = m_exact && depth <= kMaxDepth;
    Text(kFormatTag);
    m_stream += 2 + 1 + 4;  // version, flag, value
    Text(model.name);
    Items(model.records);
    List(model.batches, [&](const DataBatch& b) { Add(b); });
    List(model.hugeBatches, [&](const DataBatchHuge& b) { Add(b); });
    Add(model.extension, 0);
    List(model.children, [&](const DataModel& child) { Add(child, depth + 1); });
  }
  bool Accepted() const {
    return m_exact && m_stream <= INT32_MAX && m_memory <= m_stream * kMemoryPerByte + kMemorySlack;
  }

 private:
  void Text(const std::wstring& text) {
    m_exact = m_exact && text.find(L'\0') == std::wstring::npos && kw::IsUtf16Exact(text);
    m_stream += TextStreamBytes(text);
    m_memory += TextMemory(text);
  }
  void Count(size_t count, uint64_t max = INT32_MAX) {
    m_exact = m_exact && count <= max;
    m_stream += 4;
  }
  template <class T>
  void Items(const std::vector<T>& items) {
    Count(items.size());
    m_stream += static_cast<int64_t>(items.size() * sizeof(T));
    m_memory += static_cast<int64_t>(items.size() * sizeof(T));
  }
  template <class T, class AddOne>
  void List(const std::vector<T>& items, AddOne addOne, uint64_t max = INT32_MAX) {
    Count(items.size(), max);
    m_memory += ListCapacity(items.size()) * static_cast<int64_t>(sizeof(T));
    for (const T& item : items) addOne(item);
  }
  void Add(const DataBatch& batch) {
    m_stream += 4;
    Items(batch.vertices);
    Items(batch.triangles);
  }
  void Add(const DataBatchHuge& batch) {
    m_stream += 12;
    List(batch.vertexChunks, [&](const DataVertexList& chunk) { Items(chunk); });
    List(batch.triangleChunks, [&](const DataTriangleList& chunk) { Items(chunk); });
  }
  void Add(const DataBinExtention& ext, int depth) {
    m_exact = m_exact && depth <= kMaxDepth;
    m_stream += 1;
    if (ext.IsEmpty()) return;
    m_stream += 16 + 4;  // id, value
    Text(ext.typeName);
    Text(ext.subTypeName);
    List(
        ext.blocks, [&](const std::vector<unsigned char>& block) { Items(block); }, UINT32_MAX);
    List(ext.children, [&](const DataBinExtention& child) { Add(child, depth + 1); });
  }

  int64_t m_stream = 0;
  int64_t m_memory = 0;
  bool m_exact = true;
};

template <class T>
void WriteArray(AcDbDwgFiler* filer, const std::vector<T>& items) {
  filer->writeInt32(static_cast<int32_t>(items.size()));
  if (!items.empty()) filer->writeBytes(items.data(), items.size() * sizeof(T));
}

std::wstring DefaultChildName() {
  static std::minstd_rand random(std::random_device{}());
  return kw::FormatW(L"model_%x%x", static_cast<unsigned>(GetTickCount()),
                     static_cast<unsigned>(random()));
}

}  // namespace

// Invariant: memoryLeft never goes below zero; every element appended to the model was charged
// first, so the model never holds more than the allowance the input's size gave.
struct CModel::ReadState {
  explicit ReadState(AcDbDwgFiler* f) : filer(f), memory(dynamic_cast<const CRDDwgFiler*>(f)) {
    const int64_t left = Remaining();
    memoryLeft = left > (INT64_MAX - kMemorySlack) / kMemoryPerByte
                     ? INT64_MAX
                     : left * kMemoryPerByte + kMemorySlack;
  }
  // Bytes left to read, when the filer can tell; otherwise as good as unlimited.
  int64_t Remaining() const {
    return memory != nullptr ? memory->GetData().length() - memory->tell() : INT64_MAX;
  }
  // True when `count` elements of at least `minBytes` each can still be in the stream.
  bool Fits(int64_t count, int64_t minBytes) const {
    return count >= 0 && count <= Remaining() / minBytes;
  }
  // Takes `count` items of `itemBytes` from the memory allowance; false when it runs out.
  bool Charge(int64_t count, int64_t itemBytes) {
    if (count < 0 || count > memoryLeft / itemBytes) return false;
    memoryLeft -= count * itemBytes;
    return true;
  }
  bool ReadCount(int64_t* count) {
    int32_t value = 0;
    if (filer->readInt32(&value) != Acad::eOk) return false;
    *count = value;
    return true;
  }
  bool ReadText(std::wstring* text) {
    AcString value;
    if (filer->readString(value) != Acad::eOk || !Charge(TextMemory(value.str()), 1)) return false;
    text->swap(value.str());  // the text it held (a child's first name) goes with `value`
    return true;
  }
  // `count` plain items straight from the stream.
  template <class T>
  bool ReadItems(int64_t count, std::vector<T>* out) {
    out->clear();
    if (!Fits(count, sizeof(T)) || !Charge(count, sizeof(T))) return false;
    const int64_t piece = memory != nullptr ? count : std::max<int64_t>(1, kPieceBytes / sizeof(T));
    for (int64_t done = 0; done < count;) {
      const int64_t n = std::min(piece, count - done);
      out->resize(static_cast<size_t>(done + n));
      if (filer->readBytes(out->data() + done, static_cast<uint64_t>(n) * sizeof(T)) != Acad::eOk) {
        return false;
      }
      done += n;
    }
    return true;
  }
  // An Int32 count followed by that many plain items.
  template <class T>
  bool ReadArray(std::vector<T>* out) {
    int64_t count = 0;
    return ReadCount(&count) && ReadItems(count, out);
  }
  // `count` records one after another; nothing is reserved ahead of the data, so a lying count
  // fails at the first record that is not there. The list grows by doubling, and each growth is
  // charged before it happens, so the allowance covers what the list really holds.
  template <class T, class ReadOne>
  bool ReadEach(int64_t count, int64_t minBytes, std::vector<T>* out, ReadOne readOne) {
    out->clear();
    if (!Fits(count, minBytes)) return false;
    for (int64_t i = 0; i < count; ++i) {
      if (out->size() == out->capacity()) {
        const size_t grown = GrownCapacity(out->capacity());
        if (!Charge(static_cast<int64_t>(grown - out->capacity()), sizeof(T))) return false;
        out->reserve(grown);
      }
      if (!readOne(&out->emplace_back())) return false;
    }
    return true;
  }
  // An Int32 count followed by that many records.
  template <class T, class ReadOne>
  bool ReadList(int64_t minBytes, std::vector<T>* out, ReadOne readOne) {
    int64_t count = 0;
    return ReadCount(&count) && ReadEach(count, minBytes, out, readOne);
  }

  AcDbDwgFiler* filer;
  const CRDDwgFiler* memory;
  int64_t memoryLeft;
};

bool CModel::WriteModelData(const DataModel* model, AcDbDwgFiler* filer) {
  if (model == nullptr || filer == nullptr) return false;
  try {
    Footprint footprint;
    footprint.Add(*model, 0);
    if (!footprint.Accepted()) {
      filer->setFilerStatus(Acad::eInvalidInput);
      return false;
    }
    return WriteModel(model, filer);
  } catch (const std::exception&) {
    return false;
  }
}

bool CModel::WriteModel(const DataModel* model, AcDbDwgFiler* filer) {
  filer->writeString(kFormatTag);
  filer->writeInt16(kFormatVersion);
  filer->writeString(model->name.c_str());
  filer->writeBool(model->flag);
  filer->writeBytes(&model->value, 4);
  WriteArray(filer, model->records);
  filer->writeInt32(static_cast<int32_t>(model->batches.size()));
  for (const DataBatch& batch : model->batches) WriteDataBatch(batch, filer);
  filer->writeInt32(static_cast<int32_t>(model->hugeBatches.size()));
  for (const DataBatchHuge& batch : model->hugeBatches) WriteDataBatchHuge(batch, filer);
  WriteDataBinExtenion(model->extension, filer);
  filer->writeInt32(static_cast<int32_t>(model->children.size()));
  for (const DataModel& child : model->children) WriteModel(&child, filer);
  return filer->filerStatus() == Acad::eOk;
}

void CModel::WriteDataBatch(const DataBatch& batch, AcDbDwgFiler* filer) {
  filer->writeBytes(&batch.value, 4);
  WriteArray(filer, batch.vertices);
  WriteArray(filer, batch.triangles);
}

void CModel::WriteDataBatchHuge(const DataBatchHuge& batch, AcDbDwgFiler* filer) {
  filer->writeBytes(&batch.value, 4);
  filer->writeUInt32(batch.first);
  filer->writeUInt32(batch.second);
  filer->writeInt32(static_cast<int32_t>(batch.vertexChunks.size()));
  for (const DataVertexList& chunk : batch.vertexChunks) WriteArray(filer, chunk);
  filer->writeInt32(static_cast<int32_t>(batch.triangleChunks.size()));
  for (const DataTriangleList& chunk : batch.triangleChunks) WriteArray(filer, chunk);
}

void CModel::WriteDataBinExtenion(const DataBinExtention& ext, AcDbDwgFiler* filer) {
  filer->writeBool(ext.IsEmpty());
  if (ext.IsEmpty()) return;
  filer->writeBytes(&ext.id, sizeof(ext.id));
  filer->writeString(ext.typeName.c_str());
  filer->writeString(ext.subTypeName.c_str());
  filer->writeUInt32(ext.value);
  filer->writeUInt32(static_cast<uint32_t>(ext.blocks.size()));
  for (const std::vector<unsigned char>& block : ext.blocks) {
    filer->writeUInt32(static_cast<uint32_t>(block.size()));
    if (!block.empty()) filer->writeBytes(block.data(), block.size());
  }
  filer->writeInt32(static_cast<int32_t>(ext.children.size()));
  for (const DataBinExtention& child : ext.children) WriteDataBinExtenion(child, filer);
}

bool CModel::ReadModelData(DataModel* model, AcDbDwgFiler* filer) {
  if (model == nullptr || filer == nullptr) return false;
  try {
    ReadState in(filer);
    return ReadModel(model, in, 0);
  } catch (const std::exception&) {
    return false;
  }
}

bool CModel::ReadModel(DataModel* model, ReadState& in, int depth) {
  if (depth > kMaxDepth) return false;
  std::wstring first;
  if (!in.ReadText(&first)) return false;
  int16_t version = 1;
  if (first == kFormatTag) {
    if (in.filer->readInt16(&version) != Acad::eOk || !in.ReadText(&model->name)) return false;
  } else {
    model->name.swap(first);  // written before the tag existed
  }
  in.filer->readBool(&model->flag);
  in.filer->readBytes(&model->value, 4);
  if (!in.ReadArray(&model->records) ||
      !in.ReadList(kMinBatchBytes, &model->batches,
                   [&](DataBatch* batch) { return ReadDataBatch(batch, in); })) {
    return false;
  }
  if (version >= 2) {
    if (!in.ReadList(kMinHugeBatchBytes, &model->hugeBatches,
                     [&](DataBatchHuge* batch) { return ReadDataBatchHuge(batch, in); }) ||
        !ReadDataBinExtenion(&model->extension, in, 0)) {
      return false;
    }
  }
  const auto readChild = [&](DataModel* child) {
    child->name = DefaultChildName();
    return ReadModel(child, in, depth + 1);
  };
  return in.ReadList(kMinModelBytes, &model->children, readChild) &&
         in.filer->filerStatus() == Acad::eOk;
}

bool CModel::ReadDataBatch(DataBatch* batch, ReadState& in) {
  return in.filer->readBytes(&batch->value, 4) == Acad::eOk && in.ReadArray(&batch->vertices) &&
         in.ReadArray(&batch->triangles);
}

bool CModel::ReadDataBatchHuge(DataBatchHuge* batch, ReadState& in) {
  if (in.filer->readBytes(&batch->value, 4) != Acad::eOk ||
      in.filer->readUInt32(&batch->first) != Acad::eOk ||
      in.filer->readUInt32(&batch->second) != Acad::eOk) {
    return false;
  }
  const auto readChunk = [&](auto* chunk) { return in.ReadArray(chunk); };
  return in.ReadList(kMinChunkBytes, &batch->vertexChunks, readChunk) &&
         in.ReadList(kMinChunkBytes, &batch->triangleChunks, readChunk);
}

bool CModel::ReadDataBinExtenion(DataBinExtention* ext, ReadState& in, int depth) {
  if (depth > kMaxDepth) return false;
  bool empty = false;
  if (in.filer->readBool(&empty) != Acad::eOk) return false;
  *ext = DataBinExtention();
  if (empty) return true;
  if (in.filer->readBytes(&ext->id, sizeof(ext->id)) != Acad::eOk || !in.ReadText(&ext->typeName) ||
      !in.ReadText(&ext->subTypeName) || in.filer->readUInt32(&ext->value) != Acad::eOk) {
    return false;
  }
  uint32_t blocks = 0;
  const auto readBlock = [&](std::vector<unsigned char>* block) {
    uint32_t length = 0;
    return in.filer->readUInt32(&length) == Acad::eOk && in.ReadItems(length, block);
  };
  if (in.filer->readUInt32(&blocks) != Acad::eOk ||
      !in.ReadEach(blocks, kMinBlockBytes, &ext->blocks, readBlock)) {
    return false;
  }
  return in.ReadList(kMinExtensionBytes, &ext->children, [&](DataBinExtention* child) {
    return ReadDataBinExtenion(child, in, depth + 1);
  });
}

bool CModel::SaveSnapShotSimple(const wchar_t* path, const DataModel* model, int tag) {
  if (path == nullptr || model == nullptr) return false;
  try {
    CRDDwgFiler body;
    body.writeUInt32(static_cast<uint32_t>(tag));
    if (!WriteModelData(model, &body)) return false;
    CRDDwgFiler header;
    header.writeInt32(0);  // the header length, known at the end
    header.writeInt32(tag);
    header.writeUInt32(kSnapshotVersion);
    header.writeString(model->name.c_str());
    header.writeInt32(body.GetData().length());
    const int64_t headerLength = header.tell();
    header.seek(0, 0);
    header.writeInt32(static_cast<int32_t>(headerLength));
    std::string bytes(reinterpret_cast<const char*>(header.GetData().asArrayPtr()),
                      static_cast<size_t>(header.GetData().length()));
    bytes.append(reinterpret_cast<const char*>(body.GetData().asArrayPtr()),
                 static_cast<size_t>(body.GetData().length()));
    return kw::Fs().WriteFileAtomic(std::wstring(path), bytes);
  } catch (const std::exception&) {
    return false;
  }
}

bool CModel::LoadSnapShotSimple(const wchar_t* path, DataModel* model, int maxTag) {
  if (path == nullptr || model == nullptr) return false;
  try {
    std::string bytes;
    if (!kw::Fs().ReadFile(path, &bytes, kMaxSnapshotBytes)) return false;
    DataModel loaded;
    if (!ReadSnapshot(bytes, maxTag, &loaded)) return false;
    *model = std::move(loaded);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// The header is its length, the tag, (for tags above 1) the version and name, and the body
// length as its last field; the body is the tag again and the model.
bool CModel::ReadSnapshot(const std::string& bytes, int maxTag, DataModel* model) {
  int32_t headerLength = 0;
  if (bytes.size() < 4) return false;
  std::memcpy(&headerLength, bytes.data(), 4);
  if (headerLength < 12 || static_cast<uint64_t>(headerLength) > bytes.size()) return false;
  CRDDwgFiler header;
  if (!header.SetData(bytes.data() + 4, headerLength - 8)) return false;
  int32_t tag = 0;
  if (header.readInt32(&tag) != Acad::eOk || tag > maxTag) return false;
  if (tag > 1) {
    uint32_t version = 0;
    AcString name;
    if (header.readUInt32(&version) != Acad::eOk || version != kSnapshotVersion) return false;
    if (header.readString(name) != Acad::eOk) return false;
  }
  int32_t bodyLength = 0;
  std::memcpy(&bodyLength, bytes.data() + headerLength - 4, 4);
  if (bodyLength < 0 || static_cast<uint64_t>(bodyLength) > bytes.size() - headerLength) {
    return false;
  }
  CRDDwgFiler body;
  uint32_t bodyTag = 0;
  return body.SetData(bytes.data() + headerLength, bodyLength) &&
         body.readUInt32(&bodyTag) == Acad::eOk && ReadModelData(model, &body);
}

bool CAxisModelTool::Create(const AcGePoint3dArray& points, double width, DataModel* model) {
  if (model == nullptr) return false;
  try {
    Fill(points, width, model);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void CAxisModelTool::Fill(const AcGePoint3dArray& points, double width, DataModel* model) {
  model->name = GetTexDirectionNodeTypeName();
  DataBinExtention& ext = model->extension;
  CoCreateGuid(&ext.id);
  ext.typeName = GetTexDirectionNode_DirectionTypeName();
  ext.subTypeName = GetTexDirectionNode_DirectionTypeName();
  ext.value = 1;
  const int32_t count = points.length();
  std::vector<unsigned char> block(8 + 4 + 24 * static_cast<size_t>(count));
  std::memcpy(block.data(), &width, 8);
  std::memcpy(block.data() + 8, &count, 4);
  if (count > 0)
    std::memcpy(block.data() + 12, points.asArrayPtr(), 24 * static_cast<size_t>(count));
  ext.blocks.push_back(std::move(block));
}

std::wstring CAxisModelTool::GetTexDirectionNodeTypeName() {
  return L"定向模型";
}

std::wstring CAxisModelTool::GetTexDirectionNode_DirectionTypeName() {
  return L"纹理伸展轴线";
}
