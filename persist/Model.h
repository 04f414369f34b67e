// The suite's 3-D display model: a tree of DataModel records made of triangle batches and
// opaque extension blocks, written and read through any drawing filer, and stored as small
// snapshot files (doc/model-data.md gives the layout byte by byte).
//
// The library carries the model; it does not draw it. The meaning of the 72-byte records, the
// 4-byte values, the two numbers of a huge batch and the model flag belongs to the viewer; they
// travel unchanged.
#ifndef KW_PERSIST_MODEL_H_
#define KW_PERSIST_MODEL_H_

#include <cstdint>
#include <string>
#include <vector>

#include "common/guid.h"
#include "host/api/dbfiler.h"
#include "host/api/ge.h"

namespace KWModel3DView {

// Nine doubles carried as one 72-byte record.
struct DataRecord {
  double values[9];
  bool operator==(const DataRecord&) const = default;
};
static_assert(sizeof(DataRecord) == 72);

// Three vertex indices of one triangle (12 bytes).
struct DataTriangle {
  int32_t v0, v1, v2;
  bool operator==(const DataTriangle&) const = default;
};
static_assert(sizeof(DataTriangle) == 12);
static_assert(sizeof(AcGePoint3d) == 24);

using DataVertexList = std::vector<AcGePoint3d>;
using DataTriangleList = std::vector<DataTriangle>;

struct DataBatch {
  uint32_t value = 0;
  DataVertexList vertices;
  DataTriangleList triangles;
  bool operator==(const DataBatch&) const = default;
};

// A batch split into chunks, for models too large for one list.
struct DataBatchHuge {
  uint32_t value = 0;
  uint32_t first = 0;
  uint32_t second = 0;
  std::vector<DataVertexList> vertexChunks;
  std::vector<DataTriangleList> triangleChunks;
  bool operator==(const DataBatchHuge&) const = default;
};

// An opaque extension: an identifier, two type names, a value, byte blocks and children.
struct DataBinExtention {
  GUID id = GUID_NULL;
  std::wstring typeName;
  std::wstring subTypeName;
  uint32_t value = 0;
  std::vector<std::vector<unsigned char>> blocks;
  std::vector<DataBinExtention> children;
  bool operator==(const DataBinExtention&) const = default;
  // Holds nothing (null id, no names, value 0, no lists): written as a single Bool true, which
  // reads back as this same empty extension.
  bool IsEmpty() const {
    return id == GUID_NULL && typeName.empty() && subTypeName.empty() && value == 0 &&
           blocks.empty() && children.empty();
  }
};

struct DataModel {
  std::wstring name;
  bool flag = false;
  uint32_t value = 0;
  std::vector<DataRecord> records;
  std::vector<DataBatch> batches;
  std::vector<DataBatchHuge> hugeBatches;
  DataBinExtention extension;
  std::vector<DataModel> children;
  bool operator==(const DataModel&) const = default;
};

}  // namespace KWModel3DView

// Reading and writing models. All operations are static; a CModel value holds nothing of its
// own (IsEmpty is always true) and exists for callers that keep one by value.
//
// Readers treat the bytes as untrusted: a count that the remaining bytes cannot hold (at the
// smallest encoded size of one element), a negative count or a tree deeper than 256 levels fails
// the read before anything is allocated for it, and a read whose model would take more than
// 16 bytes of memory per byte of input plus 1 MiB fails as soon as it gets there. A failed read
// returns false and may leave the model partly filled. No exception leaves these functions: a
// failed allocation is a false result.
//
// The writer accepts exactly what the reader gives back equal: it refuses (false, filer status
// eInvalidInput, nothing written) a model whose texts hold a zero or a character that is not a
// Unicode scalar value, whose model or extension tree is deeper than 256 levels, whose counts
// do not fit the format, or that would take more memory than the reader allows for its bytes.
class CModel {
 public:
  CModel() = default;
  CModel(const CModel&) = default;
  CModel& operator=(const CModel&) = default;
  bool IsEmpty() const { return true; }

  // Writes the model with the "KWMDNEW" tag and format version 2. The result is whether the
  // filer's status is eOk afterwards (a refused model sets eInvalidInput).
  static bool WriteModelData(const KWModel3DView::DataModel* model, AcDbDwgFiler* filer);
  // Reads a version-2 model, or a version-1 model (no tag, no huge batches, no extension).
  // Children are first named "model_<tick><random>" in hexadecimal, which the name stored in the
  // file replaces.
  static bool ReadModelData(KWModel3DView::DataModel* model, AcDbDwgFiler* filer);

  // Saves header and body (the tag, then the model) atomically; false when the model is refused
  // or the file can't be written.
  static bool SaveSnapShotSimple(const wchar_t* path, const KWModel3DView::DataModel* model,
                                 int tag);
  // Loads a snapshot whose tag is at most maxTag. False (model untouched) for an unreadable
  // file, a tag above maxTag, a tagged header whose version isn't 2, or lengths the file can't
  // hold; false too when the body does not read as a model. The body length is the header's
  // last field, so headers of tag 0 or 1 read with or without the version and name.
  static bool LoadSnapShotSimple(const wchar_t* path, KWModel3DView::DataModel* model, int maxTag);

 private:
  static void WriteDataBatch(const KWModel3DView::DataBatch& batch, AcDbDwgFiler* filer);
  static void WriteDataBatchHuge(const KWModel3DView::DataBatchHuge& batch, AcDbDwgFiler* filer);
  static void WriteDataBinExtenion(const KWModel3DView::DataBinExtention& ext, AcDbDwgFiler* filer);
  // The filer being read and the memory the rest of the read may still take.
  struct ReadState;
  static bool WriteModel(const KWModel3DView::DataModel* model, AcDbDwgFiler* filer);
  static bool ReadModel(KWModel3DView::DataModel* model, ReadState& in, int depth);
  static bool ReadDataBatch(KWModel3DView::DataBatch* batch, ReadState& in);
  static bool ReadDataBatchHuge(KWModel3DView::DataBatchHuge* batch, ReadState& in);
  static bool ReadDataBinExtenion(KWModel3DView::DataBinExtention* ext, ReadState& in, int depth);
  static bool ReadSnapshot(const std::string& bytes, int maxTag, KWModel3DView::DataModel* model);
};

// Builds the texture-direction axis of a road as a model whose extension carries the points.
class CAxisModelTool {
 public:
  // Names the model "定向模型" and fills its extension: a fresh id, both type names
  // "纹理伸展轴线", value 1, and one byte block of the width (8-byte double), the point count
  // (Int32) and the points (three doubles each). Returns true.
  static bool Create(const AcGePoint3dArray& points, double width, KWModel3DView::DataModel* model);
  static std::wstring GetTexDirectionNodeTypeName();            // "定向模型"
  static std::wstring GetTexDirectionNode_DirectionTypeName();  // "纹理伸展轴线"

 private:
  static void Fill(const AcGePoint3dArray& points, double width, KWModel3DView::DataModel* model);
};

#endif  // KW_PERSIST_MODEL_H_
