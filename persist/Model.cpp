#include "persist/Model.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string_view>

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

// Bytes left to read, when the filer can tell; otherwise as good as unlimited.
int64_t Remaining(AcDbDwgFiler* filer) {
  if (const auto* memory = dynamic_cast<const CRDDwgFiler*>(filer)) {
    return memory->GetData().length() - memory->tell();
  }
  return INT64_MAX;
}

// True when `count` items of at least `itemBytes` each can still be in the filer.
bool Fits(AcDbDwgFiler* filer, int64_t count, int64_t itemBytes) {
  return count >= 0 && count <= Remaining(filer) / itemBytes;
}

template <class T>
void WriteArray(AcDbDwgFiler* filer, const std::vector<T>& items) {
  filer->writeInt32(static_cast<int32_t>(items.size()));
  if (!items.empty()) filer->writeBytes(items.data(), items.size() * sizeof(T));
}

template <class T>
bool ReadItems(AcDbDwgFiler* filer, int64_t count, std::vector<T>* out) {
  out->clear();
  if (!Fits(filer, count, sizeof(T))) return false;
  const bool sized = dynamic_cast<const CRDDwgFiler*>(filer) != nullptr;
  const int64_t piece = sized ? count : std::max<int64_t>(1, kPieceBytes / sizeof(T));
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

// Reads `count` records one after another, appending each: a lying count from a filer that
// cannot tell its size fails at the first missing record instead of allocating for all.
template <class T, class ReadOne>
bool ReadEach(int64_t count, std::vector<T>* out, ReadOne readOne) {
  out->clear();
  for (int64_t i = 0; i < count; ++i) {
    if (!readOne(&out->emplace_back())) return false;
  }
  return true;
}

// An Int32 count followed by that many items.
template <class T>
bool ReadArray(AcDbDwgFiler* filer, std::vector<T>* out) {
  int32_t count = 0;
  if (filer->readInt32(&count) != Acad::eOk) return false;
  return ReadItems(filer, count, out);
}

bool ReadText(AcDbDwgFiler* filer, std::wstring* text) {
  AcString value;
  const bool ok = filer->readString(value) == Acad::eOk;
  *text = value.str();
  return ok;
}

std::wstring DefaultChildName() {
  static std::minstd_rand random(std::random_device{}());
  return kw::FormatW(L"model_%x%x", static_cast<unsigned>(GetTickCount()),
                     static_cast<unsigned>(random()));
}

}  // namespace

bool CModel::WriteModelData(const DataModel* model, AcDbDwgFiler* filer) {
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
  for (const DataModel& child : model->children) WriteModelData(&child, filer);
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
  return ReadModel(model, filer, 0);
}

bool CModel::ReadModel(DataModel* model, AcDbDwgFiler* filer, int depth) {
  if (depth > kMaxDepth) return false;
  std::wstring first;
  if (!ReadText(filer, &first)) return false;
  int16_t version = 1;
  if (first == kFormatTag) {
    if (filer->readInt16(&version) != Acad::eOk || !ReadText(filer, &model->name)) return false;
  } else {
    model->name = first;  // written before the tag existed
  }
  filer->readBool(&model->flag);
  filer->readBytes(&model->value, 4);
  if (!ReadArray(filer, &model->records)) return false;
  int32_t count = 0;
  if (filer->readInt32(&count) != Acad::eOk || !Fits(filer, count, 12)) return false;
  if (!ReadEach(count, &model->batches, [&](DataBatch* b) { return ReadDataBatch(b, filer); })) {
    return false;
  }
  if (version >= 2) {
    if (filer->readInt32(&count) != Acad::eOk || !Fits(filer, count, 24)) return false;
    if (!ReadEach(count, &model->hugeBatches,
                  [&](DataBatchHuge* b) { return ReadDataBatchHuge(b, filer); })) {
      return false;
    }
    if (!ReadDataBinExtenion(&model->extension, filer, depth)) return false;
  }
  if (filer->readInt32(&count) != Acad::eOk || !Fits(filer, count, 4)) return false;
  model->children.clear();
  for (int32_t i = 0; i < count; ++i) {
    DataModel& child = model->children.emplace_back();
    child.name = DefaultChildName();
    if (!ReadModel(&child, filer, depth + 1)) return false;
  }
  return filer->filerStatus() == Acad::eOk;
}

bool CModel::ReadDataBatch(DataBatch* batch, AcDbDwgFiler* filer) {
  return filer->readBytes(&batch->value, 4) == Acad::eOk && ReadArray(filer, &batch->vertices) &&
         ReadArray(filer, &batch->triangles);
}

bool CModel::ReadDataBatchHuge(DataBatchHuge* batch, AcDbDwgFiler* filer) {
  if (filer->readBytes(&batch->value, 4) != Acad::eOk ||
      filer->readUInt32(&batch->first) != Acad::eOk ||
      filer->readUInt32(&batch->second) != Acad::eOk) {
    return false;
  }
  int32_t count = 0;
  if (filer->readInt32(&count) != Acad::eOk || !Fits(filer, count, 4)) return false;
  const auto readChunk = [&](auto* chunk) { return ReadArray(filer, chunk); };
  if (!ReadEach(count, &batch->vertexChunks, readChunk)) return false;
  if (filer->readInt32(&count) != Acad::eOk || !Fits(filer, count, 4)) return false;
  return ReadEach(count, &batch->triangleChunks, readChunk);
}

bool CModel::ReadDataBinExtenion(DataBinExtention* ext, AcDbDwgFiler* filer, int depth) {
  if (depth > kMaxDepth) return false;
  bool empty = false;
  if (filer->readBool(&empty) != Acad::eOk) return false;
  *ext = DataBinExtention();
  if (empty) return true;
  if (filer->readBytes(&ext->id, sizeof(ext->id)) != Acad::eOk ||
      !ReadText(filer, &ext->typeName) || !ReadText(filer, &ext->subTypeName) ||
      filer->readUInt32(&ext->value) != Acad::eOk) {
    return false;
  }
  uint32_t blocks = 0;
  if (filer->readUInt32(&blocks) != Acad::eOk || !Fits(filer, blocks, 4)) return false;
  const auto readBlock = [&](std::vector<unsigned char>* block) {
    uint32_t length = 0;
    return filer->readUInt32(&length) == Acad::eOk && ReadItems(filer, length, block);
  };
  if (!ReadEach(blocks, &ext->blocks, readBlock)) return false;
  int32_t children = 0;
  if (filer->readInt32(&children) != Acad::eOk || !Fits(filer, children, 1)) return false;
  for (int32_t i = 0; i < children; ++i) {
    if (!ReadDataBinExtenion(&ext->children.emplace_back(), filer, depth + 1)) return false;
  }
  return true;
}

bool CModel::SaveSnapShotSimple(const wchar_t* path, const DataModel* model, int tag) {
  CRDDwgFiler body;
  body.writeUInt32(static_cast<uint32_t>(tag));
  WriteModelData(model, &body);
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
  return kw::Fs().WriteFileAtomic(std::wstring(kw::View(path)), bytes);
}

bool CModel::LoadSnapShotSimple(const wchar_t* path, DataModel* model, int maxTag) {
  std::string bytes;
  if (path == nullptr || !kw::Fs().ReadFile(path, &bytes, kMaxSnapshotBytes)) return false;
  int32_t headerLength = 0;
  if (bytes.size() < 4) return false;
  std::memcpy(&headerLength, bytes.data(), 4);
  if (headerLength < 4 || static_cast<uint64_t>(headerLength) > bytes.size()) return false;
  CRDDwgFiler header;
  header.SetData(bytes.data() + 4, headerLength - 4);
  int32_t tag = 0;
  if (header.readInt32(&tag) != Acad::eOk || tag > maxTag) return false;
  if (tag > 1) {
    uint32_t version = 0;
    AcString name;
    if (header.readUInt32(&version) != Acad::eOk || version != kSnapshotVersion) return false;
    if (header.readString(name) != Acad::eOk) return false;
  }
  int32_t bodyLength = 0;
  if (header.readInt32(&bodyLength) != Acad::eOk || bodyLength < 0 ||
      static_cast<uint64_t>(bodyLength) > bytes.size() - headerLength) {
    return false;
  }
  CRDDwgFiler body;
  body.SetData(bytes.data() + headerLength, bodyLength);
  uint32_t bodyTag = 0;
  DataModel loaded;
  if (body.readUInt32(&bodyTag) != Acad::eOk || !ReadModelData(&loaded, &body)) return false;
  *model = std::move(loaded);
  return true;
}

bool CAxisModelTool::Create(const AcGePoint3dArray& points, double width, DataModel* model) {
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
  return true;
}

std::wstring CAxisModelTool::GetTexDirectionNodeTypeName() {
  return L"定向模型";
}

std::wstring CAxisModelTool::GetTexDirectionNode_DirectionTypeName() {
  return L"纹理伸展轴线";
}
