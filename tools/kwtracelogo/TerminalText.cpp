#include "tools/kwtracelogo/TerminalText.h"

#include "common/encoding.h"

namespace kwtracelogo {

namespace {

// "\x" and two hex digits for C0 and DEL, "\u" and four for C1.
void AppendEscape(wchar_t c, std::wstring* out) {
  static constexpr wchar_t kHex[] = L"0123456789ABCDEF";
  const bool wide = c >= 0x80;
  out->append(wide ? L"\\u00" : L"\\x");
  out->push_back(kHex[(c >> 4) & 0xF]);
  out->push_back(kHex[c & 0xF]);
}

}  // namespace

std::string TerminalText(std::u16string_view line) {
  const std::wstring text = kw::FromUtf16(line);
  std::wstring shown;
  shown.reserve(text.size());
  for (wchar_t c : text) {
    const bool c0 = (c < 0x20 && c != L'\t') || c == 0x7F;
    const bool c1 = c >= 0x80 && c <= 0x9F;
    if (!c0 && !c1) {
      shown.push_back(c);
      continue;
    }
    AppendEscape(c, &shown);
  }
  return kw::ToUtf8(shown);
}

}  // namespace kwtracelogo
