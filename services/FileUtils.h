// File-name and number text helpers shared by the suite's modules.
#ifndef KW_SERVICES_FILEUTILS_H_
#define KW_SERVICES_FILEUTILS_H_

#include <string>

namespace FileUtils {

// The file name without its folder ("/" or "\\"), cut before its last "."; the whole name when
// it has no ".". A null path gives "".
std::wstring GetFileTitle(const wchar_t* path);

}  // namespace FileUtils

namespace KWRDPub {

inline std::wstring GetFileTitle(const wchar_t* path) {
  return FileUtils::GetFileTitle(path);
}

// The text of a real number with at most `decimals` decimals (a negative count means 6).
// With 5 or more decimals, a value within 10^-decimals of a whole number is written as that
// whole number ("3", not "3.000000"). Without bKeepZeros, trailing zeros and then a trailing "."
// are removed; with it, exactly `decimals` decimals are written. "-0" is written "0". A value that
// is not finite is written "0".
std::wstring FormatString(double value, int decimals, bool bKeepZeros);

}  // namespace KWRDPub

#endif  // KW_SERVICES_FILEUTILS_H_
