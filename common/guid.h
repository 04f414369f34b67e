// GUID: the 16-byte identifier of road objects, with its 38-character registry text form
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" (braces, upper-case hexadecimal, groups 8-4-4-4-12).
// Data1..Data3 are printed as numbers; Data4 byte by byte. In memory (and in files) the struct
// is the platform's: Data1, Data2, Data3 little-endian, then the 8 bytes of Data4.
#ifndef KW_COMMON_GUID_H_
#define KW_COMMON_GUID_H_

#include <compare>
#include <cstdint>
#include <string>

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];

  friend bool operator==(const GUID&, const GUID&) = default;
  friend auto operator<=>(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16, "GUID must keep the platform's 16-byte layout");

inline constexpr GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};

// A fresh random version-4 GUID (RFC 4122 variant) from the system's random source.
// Returns 0 (S_OK); a null pointer gives -1 and writes nothing.
int CoCreateGuid(GUID* out);

namespace KWRDPub {

// The 38-character braced upper-case form.
std::wstring GUIDToStr(const GUID& id);

// Parses the braced form (hexadecimal digits in either case; surrounding blanks ignored). Text
// of any other shape (missing braces or dashes, a wrong length, a non-hex digit, null) is a
// failure: the result is GUID_NULL and *ok, when given, is set to false.
GUID StrToGUID(const wchar_t* text, bool* ok = nullptr);

}  // namespace KWRDPub

#endif  // KW_COMMON_GUID_H_
