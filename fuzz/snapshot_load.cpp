// CModel::LoadSnapShotSimple of one file whose bytes are the fuzz input.
#include <cstddef>
#include <cstdint>

#include "fuzz/alloc_bound.h"
#include "fuzz/one_file_fs.h"
#include "persist/Model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const AllocBound bound(size);
  OneFileSystem fs(data, size);
  kw::ScopedFileSystem scope(&fs);
  KWModel3DView::DataModel model;
  CModel::LoadSnapShotSimple(L"/fuzz/snap.kwm", &model, 8);
  return 0;
}
