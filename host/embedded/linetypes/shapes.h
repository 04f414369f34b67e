// Shape files: named shapes that complex linetypes place on their dashes. Two forms:
//   - ".shp" text: "*number,defbytes,NAME" then the shape's definition bytes, separated by
//     commas, up to and including the terminating 0 (parentheses are decoration, ";" starts a
//     comment, a number written with a leading 0 is hexadecimal);
//   - ".shx" compiled: the line "AutoCAD-86 shapes 1.0" ended by CR LF and 0x1A, then
//     little-endian 16-bit words: lowest number, highest number, count; count index entries of
//     (number, length); then each shape's bytes in index order: its name ended by a zero byte,
//     then its definition bytes.
// Readers bound their work and memory by the input: counts and lengths are checked against
// the bytes left before anything is reserved.
#ifndef KW_HOST_EMBEDDED_LINETYPES_SHAPES_H_
#define KW_HOST_EMBEDDED_LINETYPES_SHAPES_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kwhost::linetypes {

struct Shape {
  uint16_t number = 0;
  std::string name;   // as written (ASCII in practice)
  std::string bytes;  // definition bytes, the terminating 0 included
};

struct ShapeFile {
  std::vector<Shape> shapes;  // file order
};

// The most definition bytes one shape may have.
inline constexpr size_t kMaxShapeBytes = 2000;

// Reads ".shp" text. A shape whose header or bytes are malformed (count not matching defbytes,
// no terminating 0, a value outside -128..255) is left out. False when no shape could be read
// or the file is a font form this reader does not take (*UNIFONT, *BIGFONT).
bool ParseShp(std::string_view text, ShapeFile* out);
// Reads ".shx" bytes ("shapes 1.0" and "1.1"). False for another header or a truncated or
// inconsistent index or shape.
bool ParseShx(std::string_view bytes, ShapeFile* out);
// Either form, told apart by the compiled header.
bool ReadShapeFile(std::string_view bytes, ShapeFile* out);
// The compiled form of the shapes, index sorted by number.
std::string WriteShx(const ShapeFile& file);
// The first shape of that name (ignoring case), or null.
const Shape* FindShape(const ShapeFile& file, std::string_view name);

}  // namespace kwhost::linetypes

#endif  // KW_HOST_EMBEDDED_LINETYPES_SHAPES_H_
