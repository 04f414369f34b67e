// CModel::LoadSnapShotSimple of one file whose bytes are the fuzz input.
#include <cstddef>
#include <cstdint>
#include <string>

#include "common/testing/MemFileSystem.h"
#include "fuzz/alloc_bound.h"
#include "persist/Model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const AllocBound bound(size);
  kwtest::MemFileSystem fs;
  fs.AddFile(L"/fuzz/snap.kwm", std::string(reinterpret_cast<const char*>(data), size));
  fs.SetReadOnly(true);
  kw::ScopedFileSystem scope(&fs);
  KWModel3DView::DataModel model;
  CModel::LoadSnapShotSimple(L"/fuzz/snap.kwm", &model, 8);
  return 0;
}
