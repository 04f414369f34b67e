// CRoadObjectBinManager::Load of one file whose bytes are the fuzz input, through a module-style
// object that reads fields of its own after the base fields.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/testing/MemFileSystem.h"
#include "fuzz/alloc_bound.h"
#include "persist/RoadObjectBin.h"

namespace {

class CFuzzObject : public KWCommonUtils::CRoadObjectBin {
 protected:
  bool LoadFiler(CRDDwgFiler& filer, std::wstring& error) override {
    CRoadObjectBin::LoadFiler(filer, error);
    AcGePoint3d point;
    filer.readPoint3d(&point);
    AcString note;
    filer.readString(note);
    return filer.filerStatus() == Acad::eOk;
  }
};

class CFuzzManager : public KWCommonUtils::CRoadObjectBinManager {
 protected:
  std::wstring FilePath() const override { return L"/fuzz"; }
  std::wstring FileExt() const override { return L".obj"; }
  KWCommonUtils::CRoadObjectBin* LoadRoadObjectData(void* data, int size,
                                                    std::wstring& error) override {
    auto* object = new CFuzzObject;
    if (object->Load(data, size, error)) return object;
    delete object;
    return nullptr;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const AllocBound bound(size);
  kwtest::MemFileSystem fs;
  fs.AddFile(L"/fuzz/input.obj", std::string(reinterpret_cast<const char*>(data), size));
  fs.SetReadOnly(true);
  kw::ScopedFileSystem scope(&fs);
  CFuzzManager manager;
  std::wstring error;
  manager.Load(L"/fuzz/input.obj", error, true);
  manager.Load(L"/fuzz/input.obj", error, false);
  std::vector<std::wstring> errors;
  manager.LoadAll(errors);
  return 0;
}
