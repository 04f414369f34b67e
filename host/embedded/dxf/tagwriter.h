// Writes DXF tags into a byte buffer, ASCII or binary. Values arrive typed (numbers) or as
// UTF-8 text; the writer formats them for the file: the group code right-aligned in three
// columns and the value on the next line (ASCII, LF line ends), or the code in 2 bytes
// (1 byte before R13) followed by the value in its binary form.
//
// Invariant: the buffer always holds whole tags; a value whose text does not fit its group
// code's type is written as 0 so that the file stays readable.
#ifndef KWHOST_EMBEDDED_DXF_TAGWRITER_H_
#define KWHOST_EMBEDDED_DXF_TAGWRITER_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "host/embedded/dxf/textcodec.h"

namespace kwhost::dxf {

class TagWriter {
 public:
  // `codec` converts text values; `wide_codes` false writes R12's 1-byte binary codes.
  TagWriter(bool binary, const TextCodec& codec, bool wide_codes = true);

  void String(int code, std::string_view utf8);
  // A text the writer spells itself (record types, subclass markers): printable ASCII without
  // '^' or '\\', which every code page and escape leaves as it is, so it is not encoded.
  void Keyword(int code, std::string_view ascii) { Raw(code, ascii); }
  void Double(int code, double v);
  void Int(int code, int64_t v);
  // A handle as upper-case hex digits.
  void Handle(int code, uint64_t handle);
  // A point: x, y (and z when `three`) under code, code + 10, code + 20.
  void Point(int code, double x, double y, double z, bool three = true);
  // A tag kept as text (as an ASCII file holds it), written according to its code's type.
  void Text(int code, std::string_view text);
  // Replaces the codec (a header's $DWGCODEPAGE is known only once written).
  void SetCodec(const TextCodec& codec) { codec_ = codec; }

  std::string& bytes() { return out_; }

 private:
  // Values up to this many bytes are written with their code in one step.
  static constexpr size_t kShortValue = 120;
  // Writes the code's line into `out` (room for 16 bytes); returns its length.
  static size_t AsciiCode(int code, char* out);
  void Code(int code);
  void Raw(int code, std::string_view bytes);  // ASCII: the value line as is

  bool binary_;
  bool wide_codes_;
  TextCodec codec_;
  std::string out_;
  std::string buffer_;
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_TAGWRITER_H_
