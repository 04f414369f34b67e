#include "common/format.h"

#include <cstdint>
#include <cwchar>
#include <vector>

namespace kw {
namespace {

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

// The C library's spelling of a size prefix: 64-bit and pointer-sized integers become "ll" and
// "z"; prefixes the two conventions share are kept.
std::wstring_view SizePrefix(Size size, std::wstring_view other) {
  switch (size) {
    case Size::kInt64:
      return L"ll";
    case Size::kPtr:
      return L"z";
    case Size::kShort:
      return L"h";
    case Size::kLong:
      return L"l";
    case Size::kOther:
      return other;
    default:
      return L"";
  }
}

// Appends the C library's spelling of one conversion character with its size prefix. Strings
// and characters are wide unless marked narrow ("h", or upper case without "l"/"w").
void AppendConversion(std::wstring& out, Size size, std::wstring_view other, wchar_t conv) {
  const bool upper = conv == L'S' || conv == L'C';
  if (conv == L's' || conv == L'c' || upper) {
    const bool narrow =
        size == Size::kShort || (upper && size != Size::kLong && size != Size::kWide);
    out += narrow ? L"" : L"l";
    out += static_cast<wchar_t>(upper ? conv + 32 : conv);
    return;
  }
  out += SizePrefix(size, other);
  out += conv;
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
// Literal text between conversions is copied in whole runs.
const wchar_t* Translate(const wchar_t* format, std::wstring& storage) {
  storage.clear();
  const wchar_t* p = format;
  for (;;) {
    const wchar_t* pct = wcschr(p, L'%');
    if (pct == nullptr) {
      storage.append(p);
      return storage.c_str();
    }
    storage.append(p, static_cast<size_t>(pct - p));
    if (pct[1] == L'%') {
      storage += L"%%";
      p = pct + 2;
    } else {
      p = TranslateOne(pct + 1, storage);
    }
  }
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

// The most recently used formats and their translations, per thread. The system's literals
// repeat (the dispatcher's trace lines cycle through a handful), so a hit skips the rewrite; the
// key is the format's address, confirmed by its text. The least recently used entry makes room,
// so a working set of up to kEntries formats never misses once warm; entries keep their
// capacity, so a warm cache allocates nothing.
struct CachedFormat {
  const wchar_t* key = nullptr;
  uint64_t used = 0;
  std::wstring original;
  std::wstring translated;
  bool plain = false;  // translated holds only conversions that PlainFormat writes itself
};

// The integer sizes of the C library's spelling that PlainFormat reads: none, "l", "ll", "z".
int IntSize(const wchar_t*& p) {
  if (p[0] == L'l' && p[1] == L'l') return p += 2, 3;
  if (p[0] == L'l') return p += 1, 2;
  if (p[0] == L'z') return p += 1, 2;
  return 1;
}

// Whether every conversion of a translated format is one PlainFormat writes exactly as the C
// library would: %d %i %u %x %X (no size, l, ll, z), %ls and %%, without flags, width or
// precision.
bool IsPlainFormat(const wchar_t* p) {
  for (p = wcschr(p, L'%'); p != nullptr; p = wcschr(p, L'%')) {
    ++p;
    if (*p == L'%') {
      ++p;
      continue;
    }
    if (p[0] == L'l' && p[1] == L's') {
      p += 2;
      continue;
    }
    IntSize(p);
    if (*p != L'd' && *p != L'i' && *p != L'u' && *p != L'x' && *p != L'X') return false;
    ++p;
  }
  return true;
}

// Writes value's digits (base 10 or 16) ending at end; returns where they start.
wchar_t* PutDigits(wchar_t* end, unsigned long long value, unsigned base, bool upper) {
  const wchar_t* digits = upper ? L"0123456789ABCDEF" : L"0123456789abcdef";
  do {
    *--end = digits[value % base];
    value /= base;
  } while (value != 0);
  return end;
}

// The next integer argument of that conversion, as its magnitude and sign.
unsigned long long IntArg(va_list args, int size, wchar_t conv, bool* negative) {
  *negative = false;
  if (conv == L'd' || conv == L'i') {
    long long v = size == 3   ? va_arg(args, long long)
                  : size == 2 ? va_arg(args, long)
                              : va_arg(args, int);
    *negative = v < 0;
    return v < 0 ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
  }
  return size == 3   ? va_arg(args, unsigned long long)
         : size == 2 ? va_arg(args, unsigned long)
                     : va_arg(args, unsigned int);
}

// Appends text to buf at *n; false when it does not fit before the terminator.
bool Put(wchar_t* buf, size_t cap, size_t* n, const wchar_t* text, size_t length) {
  if (length >= cap - *n) return false;
  wmemcpy(buf + *n, text, length);
  *n += length;
  return true;
}

// Formats a plain format (IsPlainFormat) into buf; false, having consumed arguments, when the
// result does not fit or a string argument is null: the C library then does the whole work.
bool PlainFormat(wchar_t* buf, size_t cap, const wchar_t* p, va_list args, size_t* n) {
  *n = 0;
  for (;;) {
    const wchar_t* pct = wcschr(p, L'%');
    const size_t literal = pct ? static_cast<size_t>(pct - p) : wcslen(p);
    if (!Put(buf, cap, n, p, literal)) return false;
    if (pct == nullptr) break;
    p = pct + 1;
    if (*p == L'%') {
      if (!Put(buf, cap, n, p++, 1)) return false;
      continue;
    }
    if (p[0] == L'l' && p[1] == L's') {
      p += 2;
      const wchar_t* text = va_arg(args, const wchar_t*);
      if (text == nullptr || !Put(buf, cap, n, text, wcslen(text))) return false;
      continue;
    }
    const int size = IntSize(p);
    const wchar_t conv = *p++;
    bool negative = false;
    const unsigned long long value = IntArg(args, size, conv, &negative);
    wchar_t digits[24];
    wchar_t* end = digits + 24;
    wchar_t* start = PutDigits(end, value, conv == L'x' || conv == L'X' ? 16 : 10, conv == L'X');
    if (negative) *--start = L'-';
    if (!Put(buf, cap, n, start, static_cast<size_t>(end - start))) return false;
  }
  buf[*n] = 0;
  return true;
}

const CachedFormat& CachedTranslation(const wchar_t* format) {
  static constexpr size_t kEntries = 8;
  thread_local CachedFormat entries[kEntries];
  thread_local uint64_t clock = 0;
  CachedFormat* oldest = &entries[0];
  for (CachedFormat& e : entries) {
    if (e.key == format && e.original == format) {
      e.used = ++clock;
      return e;
    }
    if (e.used < oldest->used) oldest = &e;
  }
  oldest->key = format;
  oldest->used = ++clock;
  oldest->original.assign(format);
  oldest->plain = IsPlainFormat(Translate(format, oldest->translated));
  return *oldest;
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
  const CachedFormat& cached = CachedTranslation(format);
  if (cached.plain) {
    // The common trace line; anything unusual goes to the C library with the arguments intact.
    va_list copy;
    va_copy(copy, args);
    size_t n = 0;
    const bool done = PlainFormat(buf, cap, cached.translated.c_str(), copy, &n);
    va_end(copy);
    if (done) return n;
  }
  bool cut = false;
  return StoreCut(buf, cap, cached.translated.c_str(), args, &cut);
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
