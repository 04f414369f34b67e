// Arbitrary bytes as a shape file, text (".shp") or compiled (".shx"). Reading may fail but
// must not crash, hang or allocate beyond the input; shapes that were read compile and read
// back to the same numbers, names and bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/embedded/linetypes/shapes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kwhost::linetypes;
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  ShapeFile file;
  if (!ReadShapeFile(bytes, &file)) return 0;
  for (const Shape& s : file.shapes) FindShape(file, s.name);
  ShapeFile kept;
  for (const Shape& s : file.shapes) {
    if (s.bytes.size() <= kMaxShapeBytes && s.name.size() <= 255 &&
        s.name.find('\0') == std::string::npos && kept.shapes.size() < 0xFFFF) {
      kept.shapes.push_back(s);
    }
  }
  ShapeFile back;
  if (!ParseShx(WriteShx(kept), &back) || back.shapes.size() != kept.shapes.size()) std::abort();
  for (const Shape& s : back.shapes) {
    const Shape* original = nullptr;
    for (const Shape& k : kept.shapes) {
      if (k.number == s.number && k.name == s.name && k.bytes == s.bytes) original = &k;
    }
    if (!original) std::abort();
  }
  return 0;
}
