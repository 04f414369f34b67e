// The value type of every DXF group code, from the published code ranges. The ASCII reader
// uses it to check a value's text, the binary reader and writer to know how many bytes a
// value takes, and the writers to format numbers.
#ifndef KWHOST_EMBEDDED_DXF_GROUPCODES_H_
#define KWHOST_EMBEDDED_DXF_GROUPCODES_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kwhost::dxf {

enum class ValueType {
  kString,  // text (names, handles in hex, comments)
  kDouble,  // 64-bit IEEE double
  kInt16,   // 16-bit integer (colours, flags)
  kInt32,   // 32-bit integer (counts, true colours)
  kInt64,   // 64-bit integer
  kBool,    // one byte in binary files, 0 or 1 in ASCII files
  kBinary,  // a binary chunk: hex digits in ASCII files, length byte and bytes in binary
  kInvalid  // not a group code any file may hold
};

inline constexpr int kMaxGroupCode = 1071;
// The digits of every hex value a file holds (handles, binary chunks, "\\U+" escapes), upper
// case as writers spell them.
inline constexpr char kHexDigits[] = "0123456789ABCDEF";
// A binary chunk holds at most this many bytes (one length byte in binary files).
inline constexpr size_t kMaxChunkBytes = 255;

// The type of group code `code`; kInvalid for codes outside 0..1071. Codes in the gaps no
// range covers (e.g. 80..89) are read and written as text, so a newer writer's groups survive.
ValueType TypeOfCode(int code);

// True for codes whose value is a handle written in hex (5, 105, 320..369, 390..399,
// 480..481, 1005).
bool IsHandleCode(int code);

// Hex handle text (1..16 hex digits, blanks around allowed) to its value; false otherwise.
// The reader and the writer both read kept handles with it, so they agree on every text.
bool ParseHandle(std::string_view text, uint64_t* handle);

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_GROUPCODES_H_
