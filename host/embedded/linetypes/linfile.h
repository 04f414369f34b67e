// Linetype definition files (".lin"): the text form in which linetypes are shipped and shared.
//
//   ;; a comment line
//   *NAME[,description]
//   A,dash,dash,...              positive: a dash; negative: a gap; 0: a dot
//   A,.5,-.2,["TX",STANDARD,S=.1,R=0,X=-.1,Y=-.05],-.2      a text on the dash before it
//   A,.5,-.2,[CIRC1,ltypeshp.shx,S=.1,A=0,X=-.1],-.2        a shape of a shape file
//
// A pattern line that ends with "," continues on the next line. Element parameters: S= scale,
// R= rotation relative to the line, A= absolute rotation (U= upright is read as R=), X= and Y=
// offsets; an angle is in degrees unless it ends in "r" (radians) or "g" (grads).
//
// The parser never fails as a whole: a definition with a bad pattern (no "A," line, a number
// that does not read, an element before the first dash, more than 12 dashes) is left out, as
// are lines outside definitions. Work and memory are linear in the text.
#ifndef KW_HOST_EMBEDDED_LINETYPES_LINFILE_H_
#define KW_HOST_EMBEDDED_LINETYPES_LINFILE_H_

#include <string>
#include <string_view>
#include <vector>

namespace kwhost::linetypes {

enum class ElementKind { kNone, kText, kShape };

// The text or shape placed on a dash.
struct LinElement {
  ElementKind kind = ElementKind::kNone;
  std::wstring text;   // kText: the text; kShape: the shape's name
  std::wstring style;  // kText: the text style's name; kShape: the shape file's name
  double scale = 1.0;
  double rotation = 0;    // radians
  bool absolute = false;  // rotation measured from the x axis, not from the line
  double x = 0;
  double y = 0;
};

struct LinDash {
  double length = 0;
  LinElement element;
};

struct LinDefinition {
  std::wstring name;
  std::wstring description;
  std::vector<LinDash> dashes;
};

// The most dashes one linetype may have.
inline constexpr size_t kMaxLinDashes = 12;

// Every well-formed definition of the text, in file order (a name may appear twice).
std::vector<LinDefinition> ParseLinText(std::wstring_view text);

// The text of a ".lin" file's bytes: UTF-8 (a byte order mark skipped), or GBK when the bytes
// are not UTF-8.
std::wstring DecodeLinBytes(std::string_view bytes);

}  // namespace kwhost::linetypes

#endif  // KW_HOST_EMBEDDED_LINETYPES_LINFILE_H_
