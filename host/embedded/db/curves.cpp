// Lines, circles, arcs, points, text and block references: their setters and extents.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/api/acutads.h"
#include "host/api/dbents.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/db/store.h"

using kwhost::db::Box;
using kwhost::db::Ecs;

KW_DB_DEFINE_MEMBERS(AcDbCurve, AcDbEntity)
KW_DB_DEFINE_MEMBERS(AcDbLine, AcDbCurve)
KW_DB_DEFINE_MEMBERS(AcDbCircle, AcDbCurve)
KW_DB_DEFINE_MEMBERS(AcDbArc, AcDbCurve)
KW_DB_DEFINE_MEMBERS(AcDbPoint, AcDbEntity)
KW_DB_DEFINE_MEMBERS(AcDbText, AcDbEntity)
KW_DB_DEFINE_MEMBERS(AcDbBlockReference, AcDbEntity)

// Setter of a plain field, checked for write access (and `VALID` on the value).
#define KW_SETTER(CLASS, SETTER, TYPE, FIELD, VALID) \
  Acad::ErrorStatus CLASS::SETTER(TYPE value) {      \
    if (!(VALID)) return Acad::eInvalidInput;        \
    if (!writable()) return Acad::eNotOpenForWrite;  \
    FIELD = value;                                   \
    return Acad::eOk;                                \
  }

namespace {

bool Finite(double v) {
  return std::isfinite(v);
}
bool Finite(const AcGePoint3d& p) {
  return Finite(p.x) && Finite(p.y) && Finite(p.z);
}
bool UnitLike(const AcGeVector3d& v) {
  return Finite(v.x) && Finite(v.y) && Finite(v.z) && v.length() > 1e-12;
}

}  // namespace

// ---------------------------------------------------------------- line

KW_SETTER(AcDbLine, setStartPoint, const AcGePoint3d&, m_start, Finite(value))
KW_SETTER(AcDbLine, setEndPoint, const AcGePoint3d&, m_end, Finite(value))
KW_SETTER(AcDbLine, setThickness, double, m_thickness, Finite(value))
KW_SETTER(AcDbLine, setNormal, const AcGeVector3d&, m_normal, UnitLike(value))

Acad::ErrorStatus AcDbLine::getStartPoint(AcGePoint3d& p) const {
  p = m_start;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLine::getEndPoint(AcGePoint3d& p) const {
  p = m_end;
  return Acad::eOk;
}
Acad::ErrorStatus AcDbLine::getGeomExtents(AcDbExtents& extents) const {
  Box box;
  box.add(m_start);
  box.add(m_end);
  return box.out(extents);
}

// ---------------------------------------------------------------- circle and arc

KW_SETTER(AcDbCircle, setCenter, const AcGePoint3d&, m_center, Finite(value))
KW_SETTER(AcDbCircle, setRadius, double, m_radius, Finite(value) && value > 0)
KW_SETTER(AcDbCircle, setThickness, double, m_thickness, Finite(value))
KW_SETTER(AcDbCircle, setNormal, const AcGeVector3d&, m_normal, UnitLike(value))

Acad::ErrorStatus AcDbCircle::getStartPoint(AcGePoint3d& p) const {
  p = Ecs(m_normal).onCircle(m_center, m_radius, 0);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbCircle::getEndPoint(AcGePoint3d& p) const {
  return getStartPoint(p);
}
Acad::ErrorStatus AcDbCircle::getGeomExtents(AcDbExtents& extents) const {
  Box box;
  Ecs(m_normal).addArc(box, m_center, m_radius, 0, 2 * std::numbers::pi);
  return box.out(extents);
}

KW_SETTER(AcDbArc, setCenter, const AcGePoint3d&, m_center, Finite(value))
KW_SETTER(AcDbArc, setRadius, double, m_radius, Finite(value) && value > 0)
KW_SETTER(AcDbArc, setStartAngle, double, m_startAngle, Finite(value))
KW_SETTER(AcDbArc, setEndAngle, double, m_endAngle, Finite(value))
KW_SETTER(AcDbArc, setThickness, double, m_thickness, Finite(value))
KW_SETTER(AcDbArc, setNormal, const AcGeVector3d&, m_normal, UnitLike(value))

Acad::ErrorStatus AcDbArc::getStartPoint(AcGePoint3d& p) const {
  p = Ecs(m_normal).onCircle(m_center, m_radius, m_startAngle);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbArc::getEndPoint(AcGePoint3d& p) const {
  p = Ecs(m_normal).onCircle(m_center, m_radius, m_endAngle);
  return Acad::eOk;
}
Acad::ErrorStatus AcDbArc::getGeomExtents(AcDbExtents& extents) const {
  Box box;
  double sweep = kwhost::db::SweepOf(m_startAngle, m_endAngle);
  Ecs(m_normal).addArc(box, m_center, m_radius, m_startAngle, sweep);
  return box.out(extents);
}

// ---------------------------------------------------------------- point

KW_SETTER(AcDbPoint, setPosition, const AcGePoint3d&, m_position, Finite(value))
KW_SETTER(AcDbPoint, setThickness, double, m_thickness, Finite(value))
KW_SETTER(AcDbPoint, setNormal, const AcGeVector3d&, m_normal, UnitLike(value))
KW_SETTER(AcDbPoint, setEcsRotation, double, m_ecsRotation, Finite(value))

Acad::ErrorStatus AcDbPoint::getGeomExtents(AcDbExtents& extents) const {
  Box box;
  box.add(m_position);
  return box.out(extents);
}

// ---------------------------------------------------------------- text

AcDbText::AcDbText(const AcGePoint3d& position, const wchar_t* text, AcDbObjectId style,
                   double height, double rotation)
    : m_text(text ? text : L""),
      m_position(position),
      m_style(style),
      m_height(height),
      m_rotation(rotation) {}

wchar_t* AcDbText::textString() const {
  return acutNewString(m_text.c_str());
}

Acad::ErrorStatus AcDbText::setTextString(const wchar_t* text) {
  if (!text) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_text = text;
  return Acad::eOk;
}

KW_SETTER(AcDbText, setPosition, const AcGePoint3d&, m_position, Finite(value))
KW_SETTER(AcDbText, setAlignmentPoint, const AcGePoint3d&, m_alignment, Finite(value))
KW_SETTER(AcDbText, setTextStyle, AcDbObjectId, m_style, true)
KW_SETTER(AcDbText, setHeight, double, m_height, Finite(value) && value > 0)
KW_SETTER(AcDbText, setRotation, double, m_rotation, Finite(value))
KW_SETTER(AcDbText, setWidthFactor, double, m_widthFactor, Finite(value) && value > 0)
KW_SETTER(AcDbText, setOblique, double, m_oblique, Finite(value))
KW_SETTER(AcDbText, setHorizontalMode, AcDb::TextHorzMode, m_horizontal,
          value >= AcDb::kTextLeft && value <= AcDb::kTextFit)
KW_SETTER(AcDbText, setVerticalMode, AcDb::TextVertMode, m_vertical,
          value >= AcDb::kTextBase && value <= AcDb::kTextTop)
KW_SETTER(AcDbText, setThickness, double, m_thickness, Finite(value))
KW_SETTER(AcDbText, setNormal, const AcGeVector3d&, m_normal, UnitLike(value))

Acad::ErrorStatus AcDbText::mirrorInX(bool mirror) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_generation = static_cast<Adesk::UInt8>(mirror ? (m_generation | 2) : (m_generation & ~2));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::mirrorInY(bool mirror) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_generation = static_cast<Adesk::UInt8>(mirror ? (m_generation | 4) : (m_generation & ~4));
  return Acad::eOk;
}

Acad::ErrorStatus AcDbText::getGeomExtents(AcDbExtents& extents) const {
  double ems = 0;
  for (wchar_t c : m_text) ems += c >= 0x2E80 ? 1.0 : 0.8;
  double width = ems * m_height * m_widthFactor;
  double c = std::cos(m_rotation), s = std::sin(m_rotation);
  Box box;
  const double corners[4][2] = {{0, 0}, {width, 0}, {width, m_height}, {0, m_height}};
  for (const auto& k : corners) {
    box.add(AcGePoint3d(m_position.x + k[0] * c - k[1] * s, m_position.y + k[0] * s + k[1] * c,
                        m_position.z));
  }
  return box.out(extents);
}

// ---------------------------------------------------------------- block reference

KW_SETTER(AcDbBlockReference, setBlockTableRecord, AcDbObjectId, m_block, true)
KW_SETTER(AcDbBlockReference, setPosition, const AcGePoint3d&, m_position, Finite(value))
KW_SETTER(AcDbBlockReference, setRotation, double, m_rotation, Finite(value))
KW_SETTER(AcDbBlockReference, setNormal, const AcGeVector3d&, m_normal, UnitLike(value))
KW_SETTER(AcDbBlockReference, setScaleFactors, const AcGeScale3d&, m_scale,
          value.sx != 0 && value.sy != 0 && value.sz != 0 && Finite(value.sx) && Finite(value.sy) &&
              Finite(value.sz))

Acad::ErrorStatus AcDbBlockReference::getGeomExtents(AcDbExtents& extents) const {
  // A block that (indirectly) references itself ends the walk at this depth. Blocks that insert
  // the next one twice at every level make the walk exponential: one outermost call visits at
  // most kMaxVisits entities and then has no extents.
  constexpr int kMaxDepth = 64;
  constexpr int64_t kMaxVisits = 4'000'000;
  static int depth = 0;
  static int64_t visits = 0;
  auto* block = AcDbBlockTableRecord::cast(kwhost::db::Peek(m_block));
  if (depth == 0) visits = 0;
  if (!block || depth >= kMaxDepth || visits > kMaxVisits) return Acad::eInvalidExtents;
  ++depth;
  Box box;
  Ecs ecs(m_normal);
  double c = std::cos(m_rotation), s = std::sin(m_rotation);
  AcGePoint3d origin = block->origin();
  auto place = [&](const AcGePoint3d& p) {
    double x = (p.x - origin.x) * m_scale.sx, y = (p.y - origin.y) * m_scale.sy;
    double z = (p.z - origin.z) * m_scale.sz;
    return m_position + ecs.toWorld(x * c - y * s, x * s + y * c, z);
  };
  for (AcDbObjectId id : kwhost::db::BlockEntities(*block)) {
    if (++visits > kMaxVisits) break;
    auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
    AcDbExtents inner;
    if (!e || e->isErased() || e->getGeomExtents(inner) != Acad::eOk) continue;
    box.addCorners(inner, place);
  }
  --depth;
  if (visits > kMaxVisits) return Acad::eInvalidExtents;
  return box.out(extents);
}
