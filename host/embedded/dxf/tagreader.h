// Reads the tags (group code, value) of a DXF file held in memory, one at a time, without
// copying it: ASCII files (LF or CRLF line ends, codes padded with blanks) and binary files
// (the 22-byte sentinel, then 1-byte codes before R13 or 2-byte codes from R13 on, with
// typed values).
//
// States: reading -> ended (Next() returned false, no error) or failed (error() says where and
// why). Once ended or failed, Next() keeps returning false.
// Invariants:
//   1. Every view a tag holds points into the input or into the reader's own value buffer,
//      which is at most a few hundred bytes (a binary chunk's hex text); nothing the reader
//      allocates grows with a count or length read from the input.
//   2. A numeric tag's value has been parsed and range-checked; its text is what the file
//      holds (ASCII) or the value formatted as an ASCII file writes it (binary).
//   3. line() of a tag is the 1-based line of its group code (ASCII) or the byte offset of
//      the tag (binary); error messages name it.
#ifndef KWHOST_EMBEDDED_DXF_TAGREADER_H_
#define KWHOST_EMBEDDED_DXF_TAGREADER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/embedded/dxf/groupcodes.h"

namespace kwhost::dxf {

// One tag as read. Views stay valid until the next call of Next() (binary) or as long as
// the input (ASCII).
struct RawTag {
  int code = 0;
  ValueType type = ValueType::kString;
  // String values: the stored bytes, not yet decoded. `plain` when they hold nothing any text
  // codec changes (only printable ASCII, no '^' or '\\'): decoding can be skipped.
  std::string_view text;
  bool plain = false;
  double real = 0;      // kDouble
  int64_t integer = 0;  // kInt16, kInt32, kInt64, kBool
  size_t line = 0;      // see invariant 3
};

// The sentinel a binary DXF file starts with.
inline constexpr std::string_view kBinarySentinel{"AutoCAD Binary DXF\r\n\x1a\0", 22};

class TagReader {
 public:
  // `bytes` must outlive the reader. Binary when it starts with the sentinel.
  explicit TagReader(std::string_view bytes);

  bool binary() const { return binary_; }
  // The next tag; false at the end of the input or on bad input (then failed()).
  bool Next(RawTag* tag);
  bool failed() const { return !error_.empty(); }
  // "line 12: ..." or "byte 40: ..."; empty unless failed().
  const std::string& error() const { return error_; }
  // Records a failure found by the caller at the position of the tag just read, so that
  // all messages about the file name a place the same way. Always returns false.
  bool Fail(std::string_view why) { return FailAt(last_line_, why); }
  // The same, at a line (or byte offset) read earlier.
  bool FailAt(size_t line, std::string_view why);

 private:
  bool NextAscii(RawTag* tag);
  bool NextBinary(RawTag* tag);
  bool ReadLine(std::string_view* line);
  bool ParseAsciiValue(RawTag* tag);
  bool ReadBinaryCode(int* code);
  bool ReadBinaryValue(RawTag* tag);
  bool Take(size_t n, const char** p);

  std::string_view in_;
  size_t pos_ = 0;
  size_t line_ = 0;
  bool binary_ = false;
  bool wide_codes_ = true;  // binary: 2-byte group codes (R13 on)
  bool done_ = false;
  size_t last_line_ = 0;  // of the tag just read
  std::string buffer_;    // binary values formatted as text
  std::string error_;
};

// "line 12: why" (ASCII) or "byte 40: why" (binary): how every message about a file names
// the place of a fault.
std::string FaultText(bool binary, size_t line, std::string_view why);

// Formats a double the way the writers do: the shortest text that reads back to the same
// value, with ".0" added to whole numbers. Returns the length written into out (>= 32 bytes).
size_t FormatDouble(double v, char* out);

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_TAGREADER_H_
