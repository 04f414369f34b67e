// The memory filer's string and chunk records read from untrusted bytes: the first byte picks
// the order of reads, the rest is the filer's data.
#include <cstddef>
#include <cstdint>

#include "fuzz/alloc_bound.h"
#include "persist/RDDwgFiler.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const AllocBound bound(size);
  CRDDwgFiler filer;
  filer.SetData(data + 1, static_cast<int64_t>(size - 1));
  const uint8_t plan = data[0];
  for (int step = 0; step < 16; ++step) {
    switch ((plan >> (step % 4) * 2) & 3) {
      case 0: {
        wchar_t* text = nullptr;
        filer.readString(&text);
        acutDelBuffer(text);
        break;
      }
      case 1: {
        AcString text;
        filer.readString(text);
        break;
      }
      case 2: {
        ads_binary chunk{};
        filer.readBChunk(&chunk);
        acdbFree(chunk.buf);
        break;
      }
      default:
        filer.resetFilerStatus();  // keep reading past a failure
        break;
    }
  }
  return 0;
}
