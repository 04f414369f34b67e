// Shape definition bytes to strokes: vectors of length and direction, the special codes
// 0-14 (pen, scale, position stack, subshapes, displacements, octant, fractional and bulge
// arcs), pen-down runs collected as strokes. Every read is checked against the bytes left, so
// a malformed shape ends early instead of reading past its bytes.
#include <cmath>
#include <numbers>

#include "host/embedded/svg/draw.h"

namespace kwhost::svg {

namespace {

constexpr int kMaxSubshapeDepth = 4;
constexpr size_t kMaxStack = 4;
constexpr int kSamplesPerOctant = 6;
constexpr double kOctant = std::numbers::pi / 4;

// The 16 vector directions: the points of a square around the origin.
constexpr double kDirections[16][2] = {
    {1, 0},  {1, 0.5},   {1, 1},   {0.5, 1},   {0, 1},  {-0.5, 1}, {-1, 1}, {-1, 0.5},
    {-1, 0}, {-1, -0.5}, {-1, -1}, {-0.5, -1}, {0, -1}, {0.5, -1}, {1, -1}, {1, -0.5}};

class Pen {
 public:
  Pen(const ShapeLookup& lookup, std::vector<std::vector<AcGePoint2d>>& strokes)
      : m_lookup(lookup), m_strokes(strokes) {}

  void run(std::string_view bytes, int depth) {
    m_bytes = bytes;
    m_at = 0;
    while (m_at < m_bytes.size()) {
      const uint8_t code = next();
      if (code == 0) return;
      if (!command(code, depth)) return;
    }
  }

 private:
  bool more(size_t count) const { return m_at + count <= m_bytes.size(); }
  uint8_t next() { return static_cast<uint8_t>(m_bytes[m_at++]); }
  int nextSigned() { return static_cast<int8_t>(next()); }

  // One command; false when its operands run past the bytes.
  bool command(uint8_t code, int depth) {
    const bool skip = m_skipNext;
    m_skipNext = false;
    if (code > 0x0F)
      return move(kDirections[code & 0x0F][0] * (code >> 4),
                  kDirections[code & 0x0F][1] * (code >> 4), skip);
    switch (code) {
      case 1:
        m_down = skip ? m_down : true;
        return true;
      case 2:
        if (!skip) m_down = m_drawing = false;
        return true;
      case 3:
        return scaleBy(false, skip);
      case 4:
        return scaleBy(true, skip);
      case 5:
        if (!skip && m_stack.size() < kMaxStack) m_stack.push_back(m_pos);
        return true;
      case 6:
        return pop(skip);
      case 7:
        return subshape(depth, skip);
      case 8:
        return displacement(skip);
      case 9:
        return displacements(skip);
      case 10:
        return octantArc(skip);
      case 11:
        return fractionalArc(skip);
      case 12:
        return bulgeArc(skip);
      case 13:
        return bulgeArcs(skip);
      case 14:
        m_skipNext = true;
        return true;
      default:
        return true;
    }
  }

  bool scaleBy(bool multiply, bool skip) {
    if (!more(1)) return false;
    const uint8_t factor = next();
    if (skip || factor == 0) return true;
    m_scale = multiply ? m_scale * factor : m_scale / factor;
    return true;
  }

  bool pop(bool skip) {
    if (skip || m_stack.empty()) return true;
    m_pos = m_stack.back();
    m_stack.pop_back();
    m_drawing = false;
    return true;
  }

  bool subshape(int depth, bool skip) {
    if (!more(1)) return false;
    const int number = next();
    if (skip || depth >= kMaxSubshapeDepth || !m_lookup) return true;
    const std::string* bytes = m_lookup(number);
    if (!bytes) return true;
    const std::string_view saved = m_bytes;
    const size_t savedAt = m_at;
    run(*bytes, depth + 1);
    m_bytes = saved;
    m_at = savedAt;
    return true;
  }

  bool displacement(bool skip) {
    if (!more(2)) return false;
    const int dx = nextSigned();
    const int dy = nextSigned();
    return move(dx, dy, skip);
  }

  bool displacements(bool skip) {
    while (more(2)) {
      const int dx = nextSigned();
      const int dy = nextSigned();
      if (dx == 0 && dy == 0) return true;
      move(dx, dy, skip);
    }
    return false;
  }

  bool move(double dx, double dy, bool skip) {
    if (skip) return true;
    AcGePoint2d to(m_pos.x + dx * m_scale, m_pos.y + dy * m_scale);
    lineTo(to);
    return true;
  }

  bool octantArc(bool skip) {
    if (!more(2)) return false;
    const double radius = next() * m_scale;
    const int octantCode = nextSigned();
    if (skip) return true;
    const int magnitude = std::abs(octantCode);
    const int count = (magnitude & 0x0F) == 0 ? 8 : (magnitude & 0x0F);
    const double start = ((magnitude >> 4) & 0x07) * kOctant;
    arc(radius, start, (octantCode < 0 ? -1 : 1) * count * kOctant);
    return true;
  }

  bool fractionalArc(bool skip) {
    if (!more(5)) return false;
    const double startOffset = next() * kOctant / 256.0;
    const double endOffset = next() * kOctant / 256.0;
    const int high = next();
    const double radius = (high * 256 + next()) * m_scale;
    const int octantCode = nextSigned();
    if (skip) return true;
    const int magnitude = std::abs(octantCode);
    const int count = (magnitude & 0x0F) == 0 ? 8 : (magnitude & 0x0F);
    const double sign = octantCode < 0 ? -1 : 1;
    const double start = ((magnitude >> 4) & 0x07) * kOctant + sign * startOffset;
    double sweep = count * kOctant - startOffset;
    if (endOffset > 0) sweep -= kOctant - endOffset;
    arc(radius, start, sign * sweep);
    return true;
  }

  bool bulgeArc(bool skip) {
    if (!more(3)) return false;
    const int dx = nextSigned();
    const int dy = nextSigned();
    const int bulge = nextSigned();
    if (!skip) bulgeTo(dx * m_scale, dy * m_scale, bulge / 127.0);
    return true;
  }

  bool bulgeArcs(bool skip) {
    while (more(2)) {
      const int dx = nextSigned();
      const int dy = nextSigned();
      if (dx == 0 && dy == 0) return true;
      if (!more(1)) return false;
      const int bulge = nextSigned();
      if (!skip) bulgeTo(dx * m_scale, dy * m_scale, bulge / 127.0);
    }
    return false;
  }

  void bulgeTo(double dx, double dy, double bulge) {
    const double chord = std::hypot(dx, dy);
    if (bulge == 0 || chord == 0) {
      lineTo(AcGePoint2d(m_pos.x + dx, m_pos.y + dy));
      return;
    }
    const double sweep = 4 * std::atan(bulge);
    const double radius = chord / (2 * std::sin(std::abs(sweep) / 2));
    // The centre lies off the chord's middle, to the left for a counter-clockwise arc.
    const double toCenter = radius * std::cos(std::abs(sweep) / 2) * (bulge > 0 ? 1 : -1);
    const AcGePoint2d mid(m_pos.x + dx / 2, m_pos.y + dy / 2);
    const AcGePoint2d center(mid.x - dy / chord * toCenter, mid.y + dx / chord * toCenter);
    arcAbout(center, radius, std::atan2(m_pos.y - center.y, m_pos.x - center.x), sweep);
  }

  void arc(double radius, double start, double sweep) {
    const AcGePoint2d center(m_pos.x - radius * std::cos(start),
                             m_pos.y - radius * std::sin(start));
    arcAbout(center, radius, start, sweep);
  }

  void arcAbout(const AcGePoint2d& center, double radius, double start, double sweep) {
    const int steps =
        std::max(1, static_cast<int>(std::ceil(std::abs(sweep) / kOctant)) * kSamplesPerOctant);
    for (int i = 1; i <= steps; ++i) {
      const double angle = start + sweep * i / steps;
      lineTo(AcGePoint2d(center.x + radius * std::cos(angle), center.y + radius * std::sin(angle)));
    }
  }

  void lineTo(const AcGePoint2d& to) {
    if (m_down) {
      if (!m_drawing) {
        m_strokes.push_back({m_pos});
        m_drawing = true;
      }
      m_strokes.back().push_back(to);
    } else {
      m_drawing = false;
    }
    m_pos = to;
  }

  const ShapeLookup& m_lookup;
  std::vector<std::vector<AcGePoint2d>>& m_strokes;
  std::string_view m_bytes;
  size_t m_at = 0;
  AcGePoint2d m_pos;
  double m_scale = 1.0;
  std::vector<AcGePoint2d> m_stack;
  bool m_down = true;
  bool m_drawing = false;
  bool m_skipNext = false;
};

}  // namespace

std::vector<std::vector<AcGePoint2d>> ShapeStrokes(std::string_view bytes,
                                                   const ShapeLookup& subshape) {
  std::vector<std::vector<AcGePoint2d>> strokes;
  Pen pen(subshape, strokes);
  pen.run(bytes, 0);
  return strokes;
}

}  // namespace kwhost::svg
