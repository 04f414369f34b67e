// The one printf-style formatter of the project. Every format literal of the system is written
// with the host platform's wide-printf rules, which differ from the C library's:
//
//   %s  %ws  %ls   a wide string (const wchar_t*)         %S  %hs   a narrow string (const char*)
//   %c  %lc  %wc   a wide character                         %C  %hc   a narrow character
//   %I64d %I64u %I64x %I64X %I64o   a 64-bit integer      %I32d ...   a 32-bit integer
//   %Id %Iu %Ix    a pointer-sized integer
// Flags, widths, precisions ("*" included) and every other conversion behave as in C. A null
// wide or narrow string argument prints "(null)". Narrow strings are taken as the system ANSI
// text (GBK).
//
// Nothing else in the project calls vswprintf with one of the system's literals.
#ifndef KW_COMMON_FORMAT_H_
#define KW_COMMON_FORMAT_H_

#include <cstdarg>
#include <cstddef>
#include <string>

namespace kw {

// Formats into a new string. Never fails: a format the C library rejects yields the text
// formatted up to the bad conversion, or the empty string.
std::wstring FormatW(const wchar_t* format, ...);
std::wstring VFormatW(const wchar_t* format, va_list args);

// Formats into buf (capacity `cap` wide characters including the terminator), cutting the text
// at cap - 1 characters. Returns the number of characters stored (without the terminator).
// Does not allocate heap memory for formats of up to 1,023 characters whose result fits.
// cap == 0 stores nothing and returns 0.
size_t VFormatInto(wchar_t* buf, size_t cap, const wchar_t* format, va_list args);
size_t FormatInto(wchar_t* buf, size_t cap, const wchar_t* format, ...);

// The format rewritten into the C library's wide conventions (exposed for tests).
std::wstring TranslateFormat(const wchar_t* format);

}  // namespace kw

#endif  // KW_COMMON_FORMAT_H_
