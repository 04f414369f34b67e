// Conversions between the in-memory wide text (UTF-32 wchar_t) and the byte encodings that
// cross the process boundary:
//   UTF-16LE  filer strings, the shared-memory trace log, anything stored "wide" on disk;
//   UTF-8     libxml2's in-memory text and file names;
//   GBK       code page 936, the system's "ANSI" code page and the tracker log;
//   locale    the multibyte encoding of the process's current LC_CTYPE locale.
// UTF-16 and UTF-8 are pure arithmetic; GBK and the locale go through iconv.
//
// Failure rules (never an exception, never a crash):
//   - a code point that the target cannot hold becomes '?';
//   - malformed input (a lone surrogate, a truncated or invalid sequence) becomes U+FFFD in wide
//     results, one replacement per bad unit, and decoding goes on with the next unit.
#ifndef KW_COMMON_ENCODING_H_
#define KW_COMMON_ENCODING_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace kw {

inline constexpr wchar_t kReplacementChar = 0xFFFD;

// UTF-16: code units in host order (the machine is little-endian, so host-order units and the
// LE byte forms that files and shared memory hold are the same bytes).
//
// Every conversion below goes through one encoder and one decoder that never allocate and copy
// the common text (no surrogates, nothing past U+FFFF) unit for unit in a single pass.
std::u16string ToUtf16(std::wstring_view text);
std::wstring FromUtf16(std::u16string_view units);
// Stores at most `cap` units of text into out and returns how many were stored; never splits a
// surrogate pair. Does not allocate.
size_t ToUtf16Into(std::wstring_view text, char16_t* out, size_t cap);
// The same into UTF-16LE bytes at any alignment: at most `cap` units (2 * cap bytes).
size_t ToUtf16LEInto(std::wstring_view text, void* out, size_t cap);
// Decodes `units` UTF-16LE units at `bytes` (any alignment) into out, which has room for `units`
// characters: a surrogate pair becomes one character, a lone surrogate U+FFFD. Returns the
// characters stored. Does not allocate.
size_t FromUtf16LEInto(const void* bytes, size_t units, wchar_t* out);
// Appends the decoded text to *out, growing it at most once.
void AppendUtf16LE(const void* bytes, size_t units, std::wstring* out);

// The plain fast paths of the encoder and the decoder, inline because hot paths try them on every
// short string: "plain" is U+0001..U+D7FF, one unit per character and no zero that would end a
// string early. The checks are accumulated without branches so that the loops vectorise.
//
// Copies the text into out (room for text.size() units, any alignment) and returns true when it
// is plain; otherwise returns false with out holding some of the units.
inline bool CopyPlainUtf16LE(std::wstring_view text, void* out) {
  auto* bytes = static_cast<unsigned char*>(out);
  uint32_t outside = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const uint32_t c = static_cast<uint32_t>(text[i]);
    const auto unit = static_cast<char16_t>(c);  // the host is little-endian
    std::memcpy(bytes + 2 * i, &unit, 2);
    outside |= c - 1u >= 0xD7FFu ? 1u : 0u;
  }
  return outside == 0;
}
// Copies `units` UTF-16LE units into out (room for `units` characters) and returns true when they
// are plain; otherwise returns false with out holding some of the characters.
inline bool CopyPlainFromUtf16LE(const void* bytes, size_t units, wchar_t* out) {
  const auto* in = static_cast<const unsigned char*>(bytes);
  uint32_t outside = 0;
  for (size_t i = 0; i < units; ++i) {
    char16_t unit;
    std::memcpy(&unit, in + 2 * i, 2);
    const uint32_t u = unit;
    out[i] = static_cast<wchar_t>(u);
    outside |= u - 1u >= 0xD7FFu ? 1u : 0u;
  }
  return outside == 0;
}
// True when every character is in U+0001..U+D7FF: then each is exactly one UTF-16 unit of the
// same value and none ends a string early (the common case, which hot paths copy directly).
bool IsPlainUtf16(std::wstring_view text);
// True when the UTF-16 form gives the same text back: every character is a Unicode scalar value
// (no surrogate code point, nothing past U+10FFFF).
bool IsUtf16Exact(std::wstring_view text);
// Number of UTF-16 code units the text needs.
size_t Utf16Length(std::wstring_view text);
// UTF-16LE bytes; an odd trailing byte is ignored.
std::string ToUtf16LEBytes(std::wstring_view text);
std::wstring FromUtf16LEBytes(const void* data, size_t bytes);

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view bytes);

std::string ToGbk(std::wstring_view text);
std::wstring FromGbk(std::string_view bytes);

// Any byte code page iconv knows by name ("CP936", "CP1252", ...) to and from UTF-8. Decoding
// turns each invalid byte into U+FFFD; encoding hands every character the code page cannot
// hold to `unmappable`, which appends its stand-in to the output (malformed UTF-8 becomes '?').
// An unknown code page name gives "".
std::string CodePageToUtf8(std::string_view bytes, const char* codepage);
std::string Utf8ToCodePage(std::string_view utf8, const char* codepage,
                           const std::function<void(char32_t, std::string&)>& unmappable);

// The same conversions for one code page with its iconv descriptors kept open: for callers
// that convert many short texts (drawing files). One converter serves one thread.
class CodePageConverter {
 public:
  explicit CodePageConverter(std::string codepage);
  ~CodePageConverter();
  CodePageConverter(const CodePageConverter&) = delete;
  CodePageConverter& operator=(const CodePageConverter&) = delete;

  std::string ToUtf8(std::string_view bytes);
  std::string FromUtf8(std::string_view utf8,
                       const std::function<void(char32_t, std::string&)>& unmappable);

 private:
  static inline void* const kFailed = reinterpret_cast<void*>(-1);
  static void* Open(const char* to, const char* from);

  std::string codepage_;
  void* to_utf8_ = nullptr;  // iconv_t, opened on first use (kFailed: unknown code page)
  void* from_utf8_ = nullptr;
};

std::string ToLocale(std::wstring_view text);
std::wstring FromLocale(std::string_view bytes);

}  // namespace kw

#endif  // KW_COMMON_ENCODING_H_
