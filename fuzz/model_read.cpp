// CModel::ReadModelData over untrusted bytes in a memory filer.
#include <cstddef>
#include <cstdint>

#include "fuzz/alloc_bound.h"
#include "persist/Model.h"
#include "persist/RDDwgFiler.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const AllocBound bound(size);
  CRDDwgFiler filer;
  filer.SetData(data, static_cast<int64_t>(size));
  KWModel3DView::DataModel model;
  CModel::ReadModelData(&model, &filer);
  return 0;
}
