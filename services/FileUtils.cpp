#include "services/FileUtils.h"

#include <charconv>
#include <cmath>

#include "common/fileio.h"
#include "common/text.h"

namespace FileUtils {

std::wstring GetFileTitle(const wchar_t* path) {
  std::wstring name = kw::FileNameOf(kw::View(path));
  const size_t dot = name.rfind(L'.');
  if (dot != std::wstring::npos) name.resize(dot);
  return name;
}

}  // namespace FileUtils

namespace KWRDPub {

std::wstring FormatString(double value, int decimals, bool bKeepZeros) {
  if (!std::isfinite(value)) return L"0";
  const int count = decimals < 0 ? 6 : std::min(decimals, 20);
  const double whole = std::round(value);
  if (count >= 5 && std::fabs(value - whole) < std::pow(10.0, -count)) {
    value = whole;
  }
  // The text of "%.*f" in the C locale, without going through printf (line style files write
  // thousands of these).
  char digits[400];
  const std::to_chars_result end =
      std::to_chars(digits, digits + sizeof(digits), value, std::chars_format::fixed, count);
  std::wstring text(digits, end.ptr);
  if (!bKeepZeros && text.find(L'.') != std::wstring::npos) {
    text = kw::TrimRight(text, L"0");
    if (text.back() == L'.') text.pop_back();
  }
  if (kw::TrimRight(text, L"0.") == L"-") text.erase(0, 1);  // "-0", "-0.00"
  return text;
}

}  // namespace KWRDPub
