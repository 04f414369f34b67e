#include "tools/kwtracelogo/TerminalText.h"

namespace kwtracelogo {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

void AppendEscape(const char* prefix, unsigned char code, std::string* out) {
  out->append(prefix);
  out->push_back(kHex[code >> 4]);
  out->push_back(kHex[code & 0xF]);
}

}  // namespace

// In UTF-8 the C0 controls and DEL are single bytes below 0x80, and the C1 controls are the
// two-byte sequences 0xC2 0x80 to 0xC2 0x9F; no other sequence contains those bytes.
void AppendTerminalText(std::string_view utf8, std::string* out) {
  for (size_t i = 0; i < utf8.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(utf8[i]);
    const unsigned char next = i + 1 < utf8.size() ? static_cast<unsigned char>(utf8[i + 1]) : 0;
    if ((c < 0x20 && c != '\t') || c == 0x7F) {
      AppendEscape("\\x", c, out);
    } else if (c == 0xC2 && next >= 0x80 && next <= 0x9F) {
      AppendEscape("\\u00", next, out);
      ++i;
    } else {
      out->push_back(static_cast<char>(c));
    }
  }
}

}  // namespace kwtracelogo
