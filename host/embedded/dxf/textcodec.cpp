#include "host/embedded/dxf/textcodec.h"

#include <algorithm>
#include <cstring>

#include "common/encoding.h"
#include "host/embedded/dxf/groupcodes.h"

namespace kwhost::dxf {
namespace {

// Code pages a drawing may name, as iconv calls them.
struct CodePage {
  const char* dxf;
  const char* iconv;
};
constexpr CodePage kCodePages[] = {
    {"ANSI_874", "CP874"},   {"ANSI_932", "CP932"},   {"ANSI_936", "CP936"},
    {"ANSI_949", "CP949"},   {"ANSI_950", "CP950"},   {"ANSI_1250", "CP1250"},
    {"ANSI_1251", "CP1251"}, {"ANSI_1252", "CP1252"}, {"ANSI_1253", "CP1253"},
    {"ANSI_1254", "CP1254"}, {"ANSI_1255", "CP1255"}, {"ANSI_1256", "CP1256"},
    {"ANSI_1257", "CP1257"}, {"ANSI_1258", "CP1258"}, {"GB2312", "CP936"},
};

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) !=
        std::toupper(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

// Which bytes need converting, for each combination of caret and "\\U+" escapes: every
// string value of a file is checked, so the test is one table lookup per byte.
struct SpecialBytes {
  bool table[4][256];
  constexpr SpecialBytes() : table() {
    for (int kind = 0; kind < 4; ++kind) {
      const bool carets = (kind & 2) != 0, escapes = (kind & 1) != 0;
      for (int u = 0; u < 256; ++u) {
        table[kind][u] = u >= 0x80 || (carets && (u < 0x20 || u == '^')) || (escapes && u == '\\');
      }
    }
  }
};
constexpr SpecialBytes kSpecialBytes;

bool NeedsWork(std::string_view s, bool carets, bool escapes) {
  const bool* special = kSpecialBytes.table[(carets ? 2 : 0) + (escapes ? 1 : 0)];
  for (char c : s) {
    if (special[static_cast<unsigned char>(c)]) return true;
  }
  return false;
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

void AppendUtf8(char32_t c, std::string& out) {
  out += kw::ToUtf8(std::wstring(1, static_cast<wchar_t>(c)));
}

// "^J" -> line feed, "^ " -> '^'; any other '^' is kept.
std::string UndoCarets(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '^' && i + 1 < s.size() &&
        (s[i + 1] == ' ' || (s[i + 1] >= '@' && s[i + 1] <= '_'))) {
      out += s[i + 1] == ' ' ? '^' : static_cast<char>(s[i + 1] - 64);
      ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

std::string DoCarets(std::string_view s) {
  std::string out;
  out.reserve(s.size() + 2);
  for (char c : s) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x20) {
      out += '^';
      out += static_cast<char>(u + 64);
    } else {
      out += c;
      if (c == '^') out += ' ';
    }
  }
  return out;
}

// "\U+4E2D" -> the character, in text already converted to UTF-8.
std::string UndoUnicodeEscapes(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    if (s.compare(i, 3, "\\U+") == 0 && i + 7 <= s.size()) {
      char32_t c = 0;
      bool hex = true;
      for (size_t k = 3; k < 7; ++k) {
        const int h = HexValue(s[i + k]);
        hex = hex && h >= 0;
        c = c * 16 + (h < 0 ? 0 : h);
      }
      if (hex && c != 0 && (c < 0xD800 || c > 0xDFFF)) {
        AppendUtf8(c, out);
        i += 6;
        continue;
      }
    }
    out += s[i];
  }
  return out;
}

void EscapeUnicode(char32_t c, std::string& out) {
  if (c > 0xFFFF) {
    out += '?';
    return;
  }
  out += "\\U+";
  for (int shift = 12; shift >= 0; shift -= 4) out += kHexDigits[(c >> shift) & 0xF];
}

}  // namespace

bool IsPlainText(std::string_view s) {
  return !NeedsWork(s, true, true);
}

bool IsUtf8Version(std::string_view acadver) {
  return acadver.size() == 6 && acadver.substr(0, 2) == "AC" && acadver >= kR2007;
}

TextCodec::TextCodec(std::string_view acadver, std::string_view dwgcodepage, bool ascii_file)
    : utf8_(IsUtf8Version(acadver)), carets_(ascii_file) {
  if (utf8_) return;
  const char* iconv_name = "CP1252";
  for (const CodePage& page : kCodePages) {
    if (EqualsNoCase(dwgcodepage, page.dxf)) iconv_name = page.iconv;
  }
  converter_ = std::make_shared<kw::CodePageConverter>(iconv_name);
}

// Escapes are undone and made on UTF-8 text: a double-byte character's second byte may
// be '^' or '\\' and is never an escape.
std::string_view TextCodec::Decode(std::string_view raw, std::string* buffer) const {
  if (!NeedsWork(raw, carets_, !utf8_)) return raw;
  std::string text = utf8_ ? std::string(raw) : converter_->ToUtf8(raw);
  // Most texts needing work only have characters outside ASCII: the escape passes run only
  // on texts that hold an escape.
  if (!utf8_ && text.find("\\U+") != std::string::npos) text = UndoUnicodeEscapes(text);
  *buffer = carets_ && text.find('^') != std::string::npos ? UndoCarets(text) : std::move(text);
  return *buffer;
}

std::string_view TextCodec::Encode(std::string_view utf8, std::string* buffer) const {
  if (!NeedsWork(utf8, carets_, false)) return utf8;
  const bool caret_work = carets_ && std::any_of(utf8.begin(), utf8.end(), [](char c) {
                            return static_cast<unsigned char>(c) < 0x20 || c == '^';
                          });
  std::string text = caret_work ? DoCarets(utf8) : std::string(utf8);
  *buffer = utf8_ ? std::move(text) : converter_->FromUtf8(text, EscapeUnicode);
  return *buffer;
}

}  // namespace kwhost::dxf
