#include "common/text.h"

#include <locale.h>
#include <clocale>
#include <cwctype>
#include <limits>

namespace kw {
namespace {

// A UTF-8 C locale gives towupper_l the full Unicode simple case mapping whatever the process
// locale is; without it only ASCII letters are mapped.
locale_t CaseLocale() {
  static const locale_t loc = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
  return loc;
}

bool IsBlank(wchar_t c) {
  return c == L' ' || c == L'\t' || c == L'\n' || c == L'\r' || c == L'\v' || c == L'\f';
}

const wchar_t* SkipBlanks(const wchar_t* s) {
  while (IsBlank(*s)) ++s;
  return s;
}

bool IsDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

// The longest prefix of the form [sign] digits [. digits] [e [sign] digits] that holds at least
// one digit; the platform's _wtof reads no hexadecimal, "inf" or "nan" words, so neither do we.
std::wstring DecimalPrefix(const wchar_t* s) {
  const wchar_t* p = s;
  if (*p == L'+' || *p == L'-') ++p;
  const wchar_t* digits = p;
  while (IsDigit(*p)) ++p;
  bool any = p != digits;
  if (*p == L'.') {
    const wchar_t* frac = ++p;
    while (IsDigit(*p)) ++p;
    any = any || p != frac;
  }
  if (!any) return std::wstring();
  if (*p == L'e' || *p == L'E') {
    const wchar_t* q = p + 1;
    if (*q == L'+' || *q == L'-') ++q;
    if (IsDigit(*q)) {
      while (IsDigit(*q)) ++q;
      p = q;
    }
  }
  return std::wstring(s, p);
}

}  // namespace

wchar_t ToUpperChar(wchar_t c) {
  if (c < 0x80) return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - 32) : c;
  locale_t loc = CaseLocale();
  return loc ? static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), loc)) : c;
}

static wchar_t ToLowerChar(wchar_t c) {
  if (c < 0x80) return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c;
  locale_t loc = CaseLocale();
  return loc ? static_cast<wchar_t>(towlower_l(static_cast<wint_t>(c), loc)) : c;
}

std::wstring ToUpper(std::wstring_view s) {
  std::wstring out(s);
  for (wchar_t& c : out) c = ToUpperChar(c);
  return out;
}

std::wstring ToLower(std::wstring_view s) {
  std::wstring out(s);
  for (wchar_t& c : out) c = ToLowerChar(c);
  return out;
}

int CompareNoCase(std::wstring_view a, std::wstring_view b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const wchar_t x = ToUpperChar(a[i]);
    const wchar_t y = ToUpperChar(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

bool EqualsNoCase(std::wstring_view a, std::wstring_view b) {
  return a.size() == b.size() && (a == b || CompareNoCase(a, b) == 0);  // most names match exactly
}

std::wstring TrimLeft(std::wstring_view s, std::wstring_view chars) {
  const size_t first = s.find_first_not_of(chars);
  return first == std::wstring_view::npos ? std::wstring() : std::wstring(s.substr(first));
}

std::wstring TrimRight(std::wstring_view s, std::wstring_view chars) {
  const size_t last = s.find_last_not_of(chars);
  return last == std::wstring_view::npos ? std::wstring() : std::wstring(s.substr(0, last + 1));
}

std::wstring Trim(std::wstring_view s, std::wstring_view chars) {
  return TrimLeft(TrimRight(s, chars), chars);
}

std::vector<std::wstring> Split(std::wstring_view s, wchar_t sep) {
  std::vector<std::wstring> pieces;
  size_t start = 0;
  for (;;) {
    const size_t at = s.find(sep, start);
    if (at == std::wstring_view::npos) break;
    pieces.emplace_back(s.substr(start, at - start));
    start = at + 1;
  }
  pieces.emplace_back(s.substr(start));
  return pieces;
}

int64_t WToI64(const wchar_t* s) {
  if (!s) return 0;
  s = SkipBlanks(s);
  bool negative = false;
  if (*s == L'+' || *s == L'-') negative = (*s++ == L'-');
  // Accumulate as a negative number so that the most negative value is reachable.
  int64_t value = 0;
  const int64_t min = std::numeric_limits<int64_t>::min();
  for (; *s >= L'0' && *s <= L'9'; ++s) {
    const int digit = *s - L'0';
    if (value < (min + digit) / 10) {
      value = min;
      while (*s >= L'0' && *s <= L'9') ++s;
      break;
    }
    value = value * 10 - digit;
  }
  if (negative) return value;
  return value == min ? std::numeric_limits<int64_t>::max() : -value;
}

int WToI(const wchar_t* s) {
  const int64_t v = WToI64(s);
  if (v > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  if (v < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(v);
}

double WToF(const wchar_t* s) {
  if (!s) return 0.0;
  const std::wstring number = DecimalPrefix(SkipBlanks(s));
  if (number.empty()) return 0.0;
  static const locale_t c_numeric = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(0));
  return c_numeric ? wcstod_l(number.c_str(), nullptr, c_numeric) : wcstod(number.c_str(), nullptr);
}

}  // namespace kw
