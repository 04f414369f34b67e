// Arbitrary bytes as a ".lin" linetype file. Reading never fails as a whole and must not
// crash, hang or allocate beyond the input; every definition it keeps is well formed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/embedded/linetypes/linfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace kwhost::linetypes;
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  for (const LinDefinition& def : ParseLinText(DecodeLinBytes(bytes))) {
    if (def.name.empty() || def.dashes.empty() || def.dashes.size() > kMaxLinDashes) std::abort();
    for (const LinDash& dash : def.dashes) {
      if (dash.element.kind != ElementKind::kNone && dash.element.style.empty()) std::abort();
    }
  }
  return 0;
}
