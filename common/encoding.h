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
#include <functional>
#include <string>
#include <string_view>

namespace kw {

inline constexpr wchar_t kReplacementChar = 0xFFFD;

// UTF-16: code units in host order (the machine is little-endian; the LE byte forms below are
// what files and shared memory hold).
std::u16string ToUtf16(std::wstring_view text);
std::wstring FromUtf16(std::u16string_view units);
// Stores at most `cap` units of text into out and returns how many were stored; never splits a
// surrogate pair. Does not allocate.
size_t ToUtf16Into(std::wstring_view text, char16_t* out, size_t cap);
// True when every character is in U+0001..U+D7FF: then each is exactly one UTF-16 unit of the
// same value and none ends a string early (the common case, which hot paths copy directly).
bool IsPlainUtf16(std::wstring_view text);
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
