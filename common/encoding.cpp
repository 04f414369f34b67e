#include "common/encoding.h"

#include <errno.h>
#include <iconv.h>
#include <langinfo.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

namespace kw {
namespace {

static_assert(std::endian::native == std::endian::little,
              "host-order UTF-16 units are taken as the little-endian form");

constexpr char32_t kMaxCodePoint = 0x10FFFF;

bool IsSurrogate(char32_t c) {
  return c >= 0xD800 && c <= 0xDFFF;
}
bool IsValidScalar(char32_t c) {
  return c <= kMaxCodePoint && !IsSurrogate(c);
}

// Stores one unit in host (little-endian) order at any alignment.
void PutUnit(unsigned char* out, size_t i, char16_t u) {
  std::memcpy(out + 2 * i, &u, 2);
}
char16_t GetUnit(const unsigned char* in, size_t i) {
  char16_t u;
  std::memcpy(&u, in + 2 * i, 2);
  return u;
}

// Encodes character by character: invalid code points become U+FFFD; stops before a character
// whose units would pass `cap`.
size_t EncodeUtf16(std::wstring_view text, unsigned char* out, size_t cap) {
  size_t n = 0;
  for (wchar_t wc : text) {
    char32_t c = static_cast<char32_t>(wc);
    if (!IsValidScalar(c)) c = kReplacementChar;
    if (c < 0x10000) {
      if (n + 1 > cap) break;
      PutUnit(out, n++, static_cast<char16_t>(c));
    } else {
      if (n + 2 > cap) break;
      c -= 0x10000;
      PutUnit(out, n++, static_cast<char16_t>(0xD800 + (c >> 10)));
      PutUnit(out, n++, static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    }
  }
  return n;
}

// Decodes unit by unit: pairs become one character, lone surrogates U+FFFD.
size_t DecodeUtf16(const unsigned char* in, size_t count, wchar_t* out) {
  size_t n = 0;
  for (size_t i = 0; i < count; ++i) {
    const char16_t u = GetUnit(in, i);
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < count) {
      const char16_t v = GetUnit(in, i + 1);
      if (v >= 0xDC00 && v <= 0xDFFF) {
        out[n++] = static_cast<wchar_t>(0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00));
        ++i;
        continue;
      }
    }
    out[n++] = IsSurrogate(u) ? kReplacementChar : static_cast<wchar_t>(u);
  }
  return n;
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Decodes one UTF-8 sequence at s[i]; returns its length, or 0 when it is malformed
// (overlong forms, surrogates and values past U+10FFFF included).
size_t DecodeUtf8At(std::string_view s, size_t i, char32_t* out) {
  const auto b0 = static_cast<unsigned char>(s[i]);
  size_t len;
  char32_t c;
  if (b0 < 0x80) return *out = b0, 1;
  if (b0 >= 0xC2 && b0 <= 0xDF)
    len = 2, c = b0 & 0x1F;
  else if (b0 >= 0xE0 && b0 <= 0xEF)
    len = 3, c = b0 & 0x0F;
  else if (b0 >= 0xF0 && b0 <= 0xF4)
    len = 4, c = b0 & 0x07;
  else
    return 0;
  if (i + len > s.size()) return 0;
  for (size_t k = 1; k < len; ++k) {
    const auto b = static_cast<unsigned char>(s[i + k]);
    if ((b & 0xC0) != 0x80) return 0;
    c = (c << 6) | (b & 0x3F);
  }
  static constexpr char32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
  if (c < kMin[len] || !IsValidScalar(c)) return 0;
  *out = c;
  return len;
}

// One iconv conversion from `from` to `to`. Input iconv cannot convert is handed to
// `on_bad(src, src_left, out)`, which appends a replacement and returns how many input bytes
// to skip (at least one), and conversion goes on.
// iconv descriptors are not thread-safe, so each conversion opens its own.
// Converts with an open descriptor (its shift state reset first). Input iconv cannot convert
// is handed to `on_bad(src, src_left, out)`, which appends a replacement and returns how many
// input bytes to skip (at least one), and conversion goes on.
template <class OnBad>
std::string IconvRun(iconv_t cd, const char* in, size_t in_bytes, OnBad&& on_bad) {
  std::string out;
  iconv(cd, nullptr, nullptr, nullptr, nullptr);
  out.resize(in_bytes * 2 + 16);
  char* src = const_cast<char*>(in);
  size_t src_left = in_bytes;
  size_t used = 0;
  while (src_left > 0) {
    char* dst = out.data() + used;
    size_t dst_left = out.size() - used;
    const size_t r = iconv(cd, &src, &src_left, &dst, &dst_left);
    used = out.size() - dst_left;
    if (r != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    out.resize(used);  // EILSEQ or EINVAL: replace the offending unit and go on
    const size_t skip = std::max<size_t>(1, std::min(on_bad(src, src_left, out), src_left));
    src += skip;
    src_left -= skip;
    used = out.size();
    out.resize(used + src_left * 2 + 16);
  }
  out.resize(used);
  return out;
}

// One conversion from `from` to `to` with a descriptor of its own (iconv descriptors are not
// thread-safe, so each conversion opens its own).
template <class OnBad>
std::string IconvConvertWith(const char* to, const char* from, const char* in, size_t in_bytes,
                             OnBad&& on_bad) {
  iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return std::string();
  std::string out = IconvRun(cd, in, in_bytes, on_bad);
  iconv_close(cd);
  return out;
}

// Unconvertible input is replaced (by '?' towards a byte encoding, by U+FFFD towards wide
// text) one unit at a time.
std::string IconvConvert(const char* to, const char* from, const char* in, size_t in_bytes,
                         const char* replacement, size_t replacement_bytes, size_t unit) {
  return IconvConvertWith(to, from, in, in_bytes, [&](const char*, size_t, std::string& out) {
    out.append(replacement, replacement_bytes);
    return unit;
  });
}

std::string WideToBytes(std::wstring_view text, const char* encoding) {
  return IconvConvert(encoding, "WCHAR_T", reinterpret_cast<const char*>(text.data()),
                      text.size() * sizeof(wchar_t), "?", 1, sizeof(wchar_t));
}

std::wstring BytesToWide(std::string_view bytes, const char* encoding) {
  const wchar_t replacement = kReplacementChar;
  const std::string raw =
      IconvConvert("WCHAR_T", encoding, bytes.data(), bytes.size(),
                   reinterpret_cast<const char*>(&replacement), sizeof(wchar_t), 1);
  std::wstring out(raw.size() / sizeof(wchar_t), L'\0');
  std::memcpy(out.data(), raw.data(), out.size() * sizeof(wchar_t));
  return out;
}

const char* LocaleCodeset() {
  const char* codeset = nl_langinfo(CODESET);
  return (codeset && *codeset) ? codeset : "ANSI_X3.4-1968";
}

}  // namespace

bool IsPlainUtf16(std::wstring_view text) {
  uint32_t outside = 0;  // accumulated without branches so that the loop vectorises
  for (wchar_t wc : text) outside |= static_cast<uint32_t>(wc) - 1u >= 0xD7FFu ? 1u : 0u;
  return outside == 0;
}

bool IsUtf16Exact(std::wstring_view text) {
  if (IsPlainUtf16(text)) return true;
  return std::all_of(text.begin(), text.end(),
                     [](wchar_t wc) { return IsValidScalar(static_cast<char32_t>(wc)); });
}

size_t Utf16Length(std::wstring_view text) {
  if (IsPlainUtf16(text)) return text.size();
  size_t n = text.size();
  for (wchar_t wc : text) {
    const char32_t c = static_cast<char32_t>(wc);
    n += (c >= 0x10000 && c <= kMaxCodePoint) ? 1 : 0;
  }
  return n;
}

size_t ToUtf16LEInto(std::wstring_view text, void* out, size_t cap) {
  if (text.size() <= cap && CopyPlainUtf16LE(text, out)) return text.size();
  return EncodeUtf16(text, static_cast<unsigned char*>(out), cap);
}

size_t ToUtf16Into(std::wstring_view text, char16_t* out, size_t cap) {
  return ToUtf16LEInto(text, out, cap);
}

std::u16string ToUtf16(std::wstring_view text) {
  std::u16string out(Utf16Length(text), u'\0');
  ToUtf16LEInto(text, out.data(), out.size());
  return out;
}

std::string ToUtf16LEBytes(std::wstring_view text) {
  std::string out(2 * Utf16Length(text), '\0');
  ToUtf16LEInto(text, out.data(), out.size() / 2);
  return out;
}

size_t FromUtf16LEInto(const void* bytes, size_t units, wchar_t* out) {
  if (CopyPlainFromUtf16LE(bytes, units, out)) return units;
  return DecodeUtf16(static_cast<const unsigned char*>(bytes), units, out);
}

void AppendUtf16LE(const void* bytes, size_t units, std::wstring* out) {
  const size_t start = out->size();
  out->resize(start + units);
  out->resize(start + FromUtf16LEInto(bytes, units, out->data() + start));
}

std::wstring FromUtf16(std::u16string_view units) {
  std::wstring out;
  AppendUtf16LE(units.data(), units.size(), &out);
  return out;
}

std::wstring FromUtf16LEBytes(const void* data, size_t bytes) {
  std::wstring out;
  AppendUtf16LE(data, bytes / 2, &out);
  return out;
}

// Paths and names are nearly always ASCII, which converts one unit per character; these runs
// are copied without the general encoder (same bytes, a fraction of the work).
namespace {
size_t AsciiPrefix(std::wstring_view text) {
  size_t n = 0;
  while (n < text.size() && static_cast<uint32_t>(text[n]) < 0x80u) ++n;
  return n;
}
}  // namespace

std::string ToUtf8(std::wstring_view text) {
  const size_t ascii = AsciiPrefix(text);
  std::string out(ascii, '\0');
  for (size_t i = 0; i < ascii; ++i) out[i] = static_cast<char>(text[i]);
  if (ascii == text.size()) return out;
  out.reserve(text.size() + 8);
  for (wchar_t wc : text.substr(ascii)) {
    const char32_t c = static_cast<char32_t>(wc);
    AppendUtf8(out, IsValidScalar(c) ? c : kReplacementChar);
  }
  return out;
}

std::wstring FromUtf8(std::string_view bytes) {
  size_t ascii = 0;
  while (ascii < bytes.size() && static_cast<unsigned char>(bytes[ascii]) < 0x80u) ++ascii;
  std::wstring out(ascii, L'\0');
  for (size_t i = 0; i < ascii; ++i) out[i] = static_cast<wchar_t>(bytes[i]);
  if (ascii == bytes.size()) return out;
  out.reserve(bytes.size());
  for (size_t i = ascii; i < bytes.size();) {
    char32_t c = 0;
    const size_t len = DecodeUtf8At(bytes, i, &c);
    out += len ? static_cast<wchar_t>(c) : kReplacementChar;
    i += len ? len : 1;
  }
  return out;
}

std::string ToGbk(std::wstring_view text) {
  return WideToBytes(text, "GBK");
}
std::wstring FromGbk(std::string_view bytes) {
  return BytesToWide(bytes, "GBK");
}

std::string ToLocale(std::wstring_view text) {
  return WideToBytes(text, LocaleCodeset());
}
std::wstring FromLocale(std::string_view bytes) {
  return BytesToWide(bytes, LocaleCodeset());
}

namespace {

// Replaces each invalid byte by U+FFFD.
size_t ReplaceByte(const char*, size_t, std::string& out) {
  out += "\xEF\xBF\xBD";
  return 1;
}

// Hands each character the code page cannot hold to `unmappable`; malformed UTF-8 becomes '?'.
struct Unmappable {
  const std::function<void(char32_t, std::string&)>& escape;
  size_t operator()(const char* src, size_t left, std::string& out) const {
    char32_t c = 0;
    const size_t len = DecodeUtf8At(std::string_view(src, left), 0, &c);
    if (len == 0) {
      out += '?';
      return 1;
    }
    escape(c, out);
    return len;
  }
};

}  // namespace

std::string CodePageToUtf8(std::string_view bytes, const char* codepage) {
  return IconvConvertWith("UTF-8", codepage, bytes.data(), bytes.size(), ReplaceByte);
}

std::string Utf8ToCodePage(std::string_view utf8, const char* codepage,
                           const std::function<void(char32_t, std::string&)>& unmappable) {
  return IconvConvertWith(codepage, "UTF-8", utf8.data(), utf8.size(), Unmappable{unmappable});
}

CodePageConverter::CodePageConverter(std::string codepage) : codepage_(std::move(codepage)) {}

CodePageConverter::~CodePageConverter() {
  for (void* cd : {to_utf8_, from_utf8_}) {
    if (cd) iconv_close(static_cast<iconv_t>(cd));
  }
}

// Descriptors open on first use; a code page iconv does not know gives "" as the free
// functions do.
std::string CodePageConverter::ToUtf8(std::string_view bytes) {
  if (!to_utf8_) to_utf8_ = Open("UTF-8", codepage_.c_str());
  if (to_utf8_ == kFailed) return std::string();
  return IconvRun(static_cast<iconv_t>(to_utf8_), bytes.data(), bytes.size(), ReplaceByte);
}

std::string CodePageConverter::FromUtf8(
    std::string_view utf8, const std::function<void(char32_t, std::string&)>& unmappable) {
  if (!from_utf8_) from_utf8_ = Open(codepage_.c_str(), "UTF-8");
  if (from_utf8_ == kFailed) return std::string();
  return IconvRun(static_cast<iconv_t>(from_utf8_), utf8.data(), utf8.size(),
                  Unmappable{unmappable});
}

void* CodePageConverter::Open(const char* to, const char* from) {
  iconv_t cd = iconv_open(to, from);
  return cd == reinterpret_cast<iconv_t>(-1) ? kFailed : static_cast<void*>(cd);
}

}  // namespace kw
