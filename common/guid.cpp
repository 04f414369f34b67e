#include "common/guid.h"

#include <sys/random.h>

#include <random>

#include "common/text.h"

namespace {

constexpr size_t kGuidTextLength = 38;

void FillRandom(uint8_t* bytes, size_t n) {
  size_t got = 0;
  while (got < n) {
    const ssize_t r = getrandom(bytes + got, n - got, 0);
    if (r <= 0) break;
    got += static_cast<size_t>(r);
  }
  if (got == n) return;
  // getrandom is missing or interrupted for good: fall back to the C++ random device.
  std::random_device device;
  for (; got < n; ++got) bytes[got] = static_cast<uint8_t>(device());
}

int HexValue(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

// Reads `digits` hexadecimal digits at text[pos]; false on a non-hex character.
bool ReadHex(std::wstring_view text, size_t pos, int digits, uint64_t* out) {
  uint64_t v = 0;
  for (int i = 0; i < digits; ++i) {
    const int h = HexValue(text[pos + i]);
    if (h < 0) return false;
    v = (v << 4) | static_cast<uint64_t>(h);
  }
  *out = v;
  return true;
}

bool HasShape(std::wstring_view t) {
  return t.size() == kGuidTextLength && t.front() == L'{' && t.back() == L'}' && t[9] == L'-' &&
         t[14] == L'-' && t[19] == L'-' && t[24] == L'-';
}

bool Parse(std::wstring_view t, GUID* id) {
  if (!HasShape(t)) return false;
  uint64_t v = 0;
  if (!ReadHex(t, 1, 8, &v)) return false;
  id->Data1 = static_cast<uint32_t>(v);
  if (!ReadHex(t, 10, 4, &v)) return false;
  id->Data2 = static_cast<uint16_t>(v);
  if (!ReadHex(t, 15, 4, &v)) return false;
  id->Data3 = static_cast<uint16_t>(v);
  static constexpr size_t kBytePos[8] = {20, 22, 25, 27, 29, 31, 33, 35};
  for (int i = 0; i < 8; ++i) {
    if (!ReadHex(t, kBytePos[i], 2, &v)) return false;
    id->Data4[i] = static_cast<uint8_t>(v);
  }
  return true;
}

// Writes `digits` upper-case hexadecimal digits of value and returns the position after them.
wchar_t* PutHex(wchar_t* out, uint64_t value, int digits) {
  static constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
  for (int i = digits - 1; i >= 0; --i, value >>= 4) out[i] = kDigits[value & 0xF];
  return out + digits;
}

}  // namespace

int CoCreateGuid(GUID* out) {
  if (!out) return -1;
  uint8_t b[16];
  FillRandom(b, sizeof b);
  b[6] = static_cast<uint8_t>((b[6] & 0x0F) | 0x40);  // version 4
  b[8] = static_cast<uint8_t>((b[8] & 0x3F) | 0x80);  // RFC 4122 variant
  out->Data1 = (uint32_t{b[0]} << 24) | (uint32_t{b[1]} << 16) | (uint32_t{b[2]} << 8) | b[3];
  out->Data2 = static_cast<uint16_t>((b[4] << 8) | b[5]);
  out->Data3 = static_cast<uint16_t>((b[6] << 8) | b[7]);
  for (int i = 0; i < 8; ++i) out->Data4[i] = b[8 + i];
  return 0;
}

namespace KWRDPub {

// Written digit by digit rather than through printf: stores write one per object, often twice
// (the object's attribute and its item selector).
std::wstring GUIDToStr(const GUID& id) {
  std::wstring text(kGuidTextLength, L'-');
  wchar_t* out = text.data();
  *out++ = L'{';
  out = PutHex(out, id.Data1, 8) + 1;
  out = PutHex(out, id.Data2, 4) + 1;
  out = PutHex(out, id.Data3, 4) + 1;
  for (int i = 0; i < 8; ++i) out = PutHex(out, id.Data4[i], 2) + (i == 1 ? 1 : 0);
  *out = L'}';
  return text;
}

GUID StrToGUID(const wchar_t* text, bool* ok) {
  GUID id = GUID_NULL;
  const bool parsed = text && Parse(kw::Trim(text), &id);
  if (ok) *ok = parsed;
  return parsed ? id : GUID_NULL;
}

}  // namespace KWRDPub
