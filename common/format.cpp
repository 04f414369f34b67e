#include "common/format.h"

#include <cwchar>
#include <vector>

namespace kw {
namespace {

constexpr size_t kStackFormat = 1024;
// Results longer than this are cut; it bounds the memory a runaway width can ask for.
constexpr size_t kMaxResult = size_t{1} << 24;

bool IsFlag(wchar_t c) {
  return c == L'-' || c == L'+' || c == L' ' || c == L'#' || c == L'0' || c == L'\'';
}
bool IsDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

// The platform's size prefix of one conversion, as read from the format.
enum class Size { kNone, kShort, kLong, kWide, kInt32, kInt64, kPtr, kOther };

// Reads the platform's size prefix at p; `other` keeps prefixes the C library shares (ll, L, z, j,
// t, hh) so they are copied unchanged.
Size ReadSize(const wchar_t*& p, std::wstring_view& other) {
  const wchar_t* start = p;
  if (p[0] == L'I' && p[1] == L'6' && p[2] == L'4') return p += 3, Size::kInt64;
  if (p[0] == L'I' && p[1] == L'3' && p[2] == L'2') return p += 3, Size::kInt32;
  if (p[0] == L'I' && !IsDigit(p[1])) return p += 1, Size::kPtr;
  if (p[0] == L'w') return p += 1, Size::kWide;
  if (p[0] == L'h' && p[1] != L'h') return p += 1, Size::kShort;
  if (p[0] == L'l' && p[1] != L'l') return p += 1, Size::kLong;
  while (*p == L'h' || *p == L'l' || *p == L'L' || *p == L'z' || *p == L'j' || *p == L't' ||
         *p == L'q')
    ++p;
  other = std::wstring_view(start, p - start);
  return p == start ? Size::kNone : Size::kOther;
}

// Appends the C library's spelling of one conversion character with its size prefix.
void AppendConversion(std::wstring& out, Size size, std::wstring_view other, wchar_t conv) {
  switch (conv) {
    case L's':
    case L'S':
    case L'c':
    case L'C': {
      const bool upper = conv == L'S' || conv == L'C';
      const bool narrow =
          size == Size::kShort || (upper && size != Size::kLong && size != Size::kWide);
      out += narrow ? L"" : L"l";
      out += static_cast<wchar_t>(upper ? conv + 32 : conv);
      return;
    }
    case L'd':
    case L'i':
    case L'u':
    case L'x':
    case L'X':
    case L'o':
      if (size == Size::kInt64)
        out += L"ll";
      else if (size == Size::kPtr)
        out += L"z";
      else if (size == Size::kShort)
        out += L"h";
      else if (size == Size::kLong)
        out += L"l";
      else if (size == Size::kOther)
        out += other;
      out += conv;
      return;
    default:
      if (size == Size::kShort)
        out += L"h";
      else if (size == Size::kLong)
        out += L"l";
      else if (size == Size::kOther)
        out += other;
      out += conv;
      return;
  }
}

// Copies one conversion starting after its '%' and returns the position after it.
const wchar_t* TranslateOne(const wchar_t* p, std::wstring& out) {
  out += L'%';
  while (IsFlag(*p)) out += *p++;
  if (*p == L'*') out += *p++;
  while (IsDigit(*p)) out += *p++;
  if (*p == L'.') {
    out += *p++;
    if (*p == L'*') out += *p++;
    while (IsDigit(*p)) out += *p++;
  }
  std::wstring_view other;
  const Size size = ReadSize(p, other);
  if (*p == 0) return p;  // a cut-off conversion: leave it for the C library to reject
  AppendConversion(out, size, other, *p);
  return p + 1;
}

// Rewrites the whole format into `storage` (whose capacity is reused) and returns its text.
const wchar_t* Translate(const wchar_t* format, std::wstring& storage) {
  storage.clear();
  for (const wchar_t* p = format; *p;) {
    if (*p != L'%') {
      storage += *p++;
    } else if (p[1] == L'%') {
      storage += L"%%";
      p += 2;
    } else {
      p = TranslateOne(p + 1, storage);
    }
  }
  return storage.c_str();
}

// vswprintf that always terminates and reports what it stored, even when the text was cut.
size_t StoreCut(wchar_t* buf, size_t cap, const wchar_t* format, va_list args, bool* cut) {
  buf[0] = 0;
  buf[cap - 1] = 0;
  const int n = vswprintf(buf, cap, format, args);
  if (n >= 0) {
    *cut = false;
    return static_cast<size_t>(n);
  }
  buf[cap - 1] = 0;
  const size_t stored = wcsnlen(buf, cap);
  *cut = stored + 1 >= cap;
  return stored;
}

}  // namespace

std::wstring TranslateFormat(const wchar_t* format) {
  std::wstring storage;
  if (format) Translate(format, storage);
  return storage;
}

size_t VFormatInto(wchar_t* buf, size_t cap, const wchar_t* format, va_list args) {
  if (cap == 0 || buf == nullptr) return 0;
  if (format == nullptr) {
    buf[0] = 0;
    return 0;
  }
  // A thread-local buffer keeps hot callers (the trace log) free of heap allocations.
  thread_local std::wstring storage = [] {
    std::wstring s;
    s.reserve(kStackFormat);
    return s;
  }();
  const wchar_t* translated = Translate(format, storage);
  bool cut = false;
  return StoreCut(buf, cap, translated, args, &cut);
}

size_t FormatInto(wchar_t* buf, size_t cap, const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  const size_t n = VFormatInto(buf, cap, format, args);
  va_end(args);
  return n;
}

std::wstring VFormatW(const wchar_t* format, va_list args) {
  if (format == nullptr) return std::wstring();
  std::wstring storage;
  const wchar_t* translated = Translate(format, storage);
  std::vector<wchar_t> buf(512);
  for (;;) {
    va_list copy;
    va_copy(copy, args);
    bool cut = false;
    const size_t n = StoreCut(buf.data(), buf.size(), translated, copy, &cut);
    va_end(copy);
    if (!cut || buf.size() >= kMaxResult) return std::wstring(buf.data(), n);
    buf.resize(buf.size() * 4);
  }
}

std::wstring FormatW(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  std::wstring s = VFormatW(format, args);
  va_end(args);
  return s;
}

}  // namespace kw
