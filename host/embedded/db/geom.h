// Geometry helpers of the entities' extents: a growing box and the entity coordinate system of
// a normal (the drawing format's arbitrary-axis rule). Used by db/ and by view/ (the display axes).
#ifndef KW_HOST_EMBEDDED_DB_GEOM_H_
#define KW_HOST_EMBEDDED_DB_GEOM_H_

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "host/api/dbid.h"
#include "host/api/ge.h"

namespace kwhost::db {

// An axis-aligned box that starts empty and grows by points.
class Box {
 public:
  void add(const AcGePoint3d& p) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return;
    if (m_empty) {
      m_min = m_max = p;
      m_empty = false;
      return;
    }
    m_min = AcGePoint3d(std::min(m_min.x, p.x), std::min(m_min.y, p.y), std::min(m_min.z, p.z));
    m_max = AcGePoint3d(std::max(m_max.x, p.x), std::max(m_max.y, p.y), std::max(m_max.z, p.z));
  }
  // Adds the eight corners of `ext`, each mapped by `place`.
  template <class F>
  void addCorners(const AcDbExtents& ext, F place) {
    const AcGePoint3d& a = ext.minPoint();
    const AcGePoint3d& b = ext.maxPoint();
    for (int i = 0; i < 8; ++i) {
      add(place(AcGePoint3d(i & 1 ? b.x : a.x, i & 2 ? b.y : a.y, i & 4 ? b.z : a.z)));
    }
  }
  bool empty() const { return m_empty; }
  // eOk with the box in `ext`, or eInvalidExtents when nothing was added.
  Acad::ErrorStatus out(AcDbExtents& ext) const {
    if (m_empty) return Acad::eInvalidExtents;
    ext.set(m_min, m_max);
    return Acad::eOk;
  }

 private:
  AcGePoint3d m_min, m_max;
  bool m_empty = true;
};

// The counter-clockwise sweep from `start` to `end`, in (0, 2 pi].
inline double SweepOf(double start, double end) {
  constexpr double kTwoPi = 2 * std::numbers::pi;
  double sweep = std::fmod(end - start, kTwoPi);
  if (sweep <= 0) sweep += kTwoPi;
  return sweep;
}

// The entity coordinate system of a normal.
class Ecs {
 public:
  explicit Ecs(const AcGeVector3d& normal) {
    AcGeVector3d n = normal.normal();
    constexpr double kLimit = 1.0 / 64;
    AcGeVector3d axis = std::abs(n.x) < kLimit && std::abs(n.y) < kLimit
                            ? AcGeVector3d::kYAxis.crossProduct(n)
                            : AcGeVector3d::kZAxis.crossProduct(n);
    m_x = axis.normal();
    m_y = n.crossProduct(m_x).normal();
    m_z = n;
  }
  AcGeVector3d toWorld(double x, double y, double z) const { return m_x * x + m_y * y + m_z * z; }
  AcGePoint3d onCircle(const AcGePoint3d& center, double r, double angle) const {
    return center + toWorld(r * std::cos(angle), r * std::sin(angle), 0);
  }
  // Adds an arc of the circle (centre in world coordinates) from `start` over `sweep`: its ends
  // and the points where it reaches furthest along each world axis.
  void addArc(Box& box, const AcGePoint3d& center, double r, double start, double sweep) const {
    box.add(onCircle(center, r, start));
    box.add(onCircle(center, r, start + sweep));
    const double ax[3] = {m_x.x, m_x.y, m_x.z};
    const double ay[3] = {m_y.x, m_y.y, m_y.z};
    for (int i = 0; i < 3; ++i) {
      double a = std::atan2(ay[i], ax[i]);
      for (double extreme : {a, a + std::numbers::pi}) {
        if (SweepOf(start, extreme) <= sweep) box.add(onCircle(center, r, extreme));
      }
    }
  }

 private:
  AcGeVector3d m_x, m_y, m_z;
};

}  // namespace kwhost::db

#endif  // KW_HOST_EMBEDDED_DB_GEOM_H_
