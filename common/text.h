// Wide-text helpers shared by every layer: case rules, trimming and the number parsers that the
// system's formats rely on. All text in memory is wchar_t (UTF-32 on Linux).
//
// Case rules: names given by users compare without regard to case using the full Unicode
// simple case mapping (not the process locale), so results never depend on the environment.
#ifndef KW_COMMON_TEXT_H_
#define KW_COMMON_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kw {

// The characters trimmed by default: blank, tab, carriage return, line feed.
inline constexpr std::wstring_view kBlanks = L" \t\r\n";
// The two path separators that users may hand in.
inline constexpr std::wstring_view kSeparators = L"\\/";

wchar_t ToUpperChar(wchar_t c);
std::wstring ToUpper(std::wstring_view s);
std::wstring ToLower(std::wstring_view s);

// Three-way comparison ignoring case: < 0, 0 or > 0, like the platform's _wcsicmp.
int CompareNoCase(std::wstring_view a, std::wstring_view b);
bool EqualsNoCase(std::wstring_view a, std::wstring_view b);

std::wstring TrimLeft(std::wstring_view s, std::wstring_view chars = kBlanks);
std::wstring TrimRight(std::wstring_view s, std::wstring_view chars = kBlanks);
std::wstring Trim(std::wstring_view s, std::wstring_view chars = kBlanks);

// Splits at every occurrence of `sep`; empty pieces are kept ("a,,b" gives 3 pieces, "" gives
// one empty piece).
std::vector<std::wstring> Split(std::wstring_view s, wchar_t sep);

// The platform's _wtoi / _wtoi64 / _wtof: leading blanks skipped, an optional sign, then digits
// up to the first character that does not belong to a number; 0 when there is none. A null
// pointer gives 0. Values out of range saturate instead of being undefined.
int WToI(const wchar_t* s);
int64_t WToI64(const wchar_t* s);
double WToF(const wchar_t* s);
inline int WToI(const std::wstring& s) {
  return WToI(s.c_str());
}
inline double WToF(const std::wstring& s) {
  return WToF(s.c_str());
}

// Length of a possibly null wide C string.
inline size_t SafeLength(const wchar_t* s) {
  return s ? std::wstring_view(s).size() : 0;
}
// A possibly null wide C string as a string_view (null gives the empty view).
inline std::wstring_view View(const wchar_t* s) {
  return s ? std::wstring_view(s) : std::wstring_view();
}

}  // namespace kw

#endif  // KW_COMMON_TEXT_H_
