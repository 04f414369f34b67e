// How a drawing file stores text. Before R2007 (AC1021) string values are bytes of the
// drawing's code page ($DWGCODEPAGE, e.g. ANSI_936 = GBK), and characters outside it are
// written as "\U+XXXX"; from R2007 on they are UTF-8. In ASCII files a control character
// is written as '^' followed by the character + 64 ("^J" for a line feed) and '^' itself as
// "^ ", so that no value can break a line.
//
// In memory every string value is UTF-8. A codec is a small value: copy it freely; copies
// share one converter, so a codec and its copies serve one thread.
#ifndef KWHOST_EMBEDDED_DXF_TEXTCODEC_H_
#define KWHOST_EMBEDDED_DXF_TEXTCODEC_H_

#include <memory>
#include <string>
#include <string_view>

#include "common/encoding.h"

namespace kwhost::dxf {

// The version strings of $ACADVER this host reads and writes.
inline constexpr std::string_view kR12 = "AC1009";
inline constexpr std::string_view kR2000 = "AC1015";
inline constexpr std::string_view kR2007 = "AC1021";

// True when `acadver` (e.g. "AC1027") stores text as UTF-8.
bool IsUtf8Version(std::string_view acadver);

// True when no codec changes `s`: printable ASCII without '^' or '\\'. A reader marks such
// values so that they skip decoding.
bool IsPlainText(std::string_view s);

class TextCodec {
 public:
  // UTF-8 text, no caret escapes (binary files from R2007 on).
  TextCodec() = default;
  // The codec of a drawing: version, $DWGCODEPAGE (an unknown or empty code page is read as
  // ANSI_1252) and whether the file is ASCII (caret escapes) or binary.
  TextCodec(std::string_view acadver, std::string_view dwgcodepage, bool ascii_file);

  bool utf8() const { return utf8_; }

  // File bytes of a string value to UTF-8. Returns `raw` itself when it needs no change
  // (plain ASCII without escapes), otherwise the decoded text placed in *buffer.
  std::string_view Decode(std::string_view raw, std::string* buffer) const;
  // UTF-8 to file bytes, the reverse of Decode.
  std::string_view Encode(std::string_view utf8, std::string* buffer) const;

 private:
  bool utf8_ = true;
  bool carets_ = false;
  // The code page's converter, shared by the copies of a codec (null for UTF-8).
  std::shared_ptr<kw::CodePageConverter> converter_;
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_TEXTCODEC_H_
