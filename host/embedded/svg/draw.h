// The picture service's inner steps: a drawing's model space turned into drawing items in world
// coordinates (flatten.cpp), linetype patterns applied to them (linetype.cpp, shapes through
// shape.cpp), the colours (palette.cpp), and the items written as SVG in the view's pixels
// (writer.cpp). Internal to svg/.
#ifndef KW_HOST_EMBEDDED_SVG_DRAW_H_
#define KW_HOST_EMBEDDED_SVG_DRAW_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/api/dbid.h"
#include "host/api/ge.h"

class AcDbDatabase;
class AcCmColor;

namespace kwhost::svg {

struct Rgb {
  uint8_t r = 0, g = 0, b = 0;
  bool operator==(const Rgb&) const = default;
};

// The colour of an index of the 255-colour palette (1-255; 7 is drawn black on the white
// picture). Other values give black.
Rgb PaletteColor(int index);

// How an item is drawn.
struct Style {
  Rgb color;
  bool highlighted = false;
  AcDbObjectId linetype;  // a pattern to apply to paths; null: solid
  double linetypeScale = 1.0;
};

// One thing to draw, in world coordinates.
struct Item {
  enum Kind { kPath, kArea, kText } kind = kPath;
  std::vector<AcGePoint3d> points;  // path vertices, or an area's outline
  bool closed = false;
  // Text: at points[0], height in drawing units, rotation in radians, anchor 0 start,
  // 1 middle, 2 end.
  std::wstring text;
  double height = 0;
  double rotation = 0;
  int anchor = 0;
  Style style;
};

// A 2D affine map of the xy plane (z kept): x' = a x + c y + tx, y' = b x + d y + ty.
struct Affine {
  double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;
  AcGePoint3d apply(const AcGePoint3d& p) const {
    return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty, p.z};
  }
  // This map after `inner` (inner first).
  Affine after(const Affine& inner) const;
  // The mean length factor and the turn of the x axis.
  double scale() const;
  double rotation() const;
};

// The limits on one picture, so that a drawing from outside cannot make it unbounded.
inline constexpr int kMaxBlockDepth = 64;
inline constexpr size_t kMaxArcSegments = 720;
inline constexpr size_t kMaxDashesPerPath = 20000;
inline constexpr size_t kMaxItems = 100000;
inline constexpr size_t kMaxPoints = 10000000;
inline constexpr size_t kMaxEntityVisits = 250000;  // block references expand the drawing

// Turns the live, visible entities of model space into items, block references expanded.
// `unitsPerPixel` sets how finely arcs are cut into segments. Entities hidden by acedRedraw
// are left out; highlighted ones are marked.
std::vector<Item> Flatten(AcDbDatabase& db, double unitsPerPixel);
// Replaces each patterned path by its dashes, dots (one pixel long), texts and shapes.
std::vector<Item> ApplyLinetypes(std::vector<Item> items, AcDbDatabase& db, double unitsPerPixel);
// Sample points of an arc from `start` turning by `sweep` radians about `center` (the
// start point included, the end point included).
std::vector<AcGePoint3d> ArcPoints(const AcGePoint3d& center, double radius, double startAngle,
                                   double sweep, double unitsPerPixel);

// A shape's strokes in shape units (pen-down runs), from its definition bytes.
// `subshape` resolves the numbers of code 7 (null: none).
using ShapeLookup = std::function<const std::string*(int number)>;
std::vector<std::vector<AcGePoint2d>> ShapeStrokes(std::string_view bytes,
                                                   const ShapeLookup& subshape);

// What the picture shows: a window of the display plane and the picture's size in pixels;
// `toDisplay` maps world points to display coordinates (x right, y up).
struct Frame {
  AcGePoint2d center;
  double width = 100, height = 100;  // drawing units
  int pixelsWide = 1280, pixelsHigh = 720;
  std::function<AcGePoint3d(const AcGePoint3d&)> toDisplay;
  double unitsPerPixel() const { return height / pixelsHigh; }
};
// The current view (centre, size, direction and twist) on the host's screen.
Frame CurrentFrame();

// The SVG document of the items as the frame shows them.
std::string WriteSvg(const std::vector<Item>& items, const Frame& frame);

}  // namespace kwhost::svg

#endif  // KW_HOST_EMBEDDED_SVG_DRAW_H_
