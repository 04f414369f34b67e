// Lightweight polylines and old-style 2D polylines with their vertices. Invariants:
//   1. AcDbPolyline: m_bulges and m_widths are empty or have exactly one entry per point.
//   2. AcDb2dPolyline: each vertex is in exactly one of m_vertices (resident) or m_pending (not
//      yet resident, owned by the polyline); a resident polyline has no pending vertices.
#include <cmath>
#include <numbers>

#include "host/api/dbpl.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/db/store.h"

using kwhost::db::Box;
using kwhost::db::ObjectAccess;

KW_DB_DEFINE_MEMBERS(AcDbPolyline, AcDbCurve)
KW_DB_DEFINE_MEMBERS(AcDb2dVertex, AcDbEntity)
KW_DB_DEFINE_MEMBERS(AcDb2dPolyline, AcDbCurve)

namespace {

bool Finite(double v) {
  return std::isfinite(v);
}

// Adds the segment p -> q with `bulge` (in the polyline's plane) to a 2D box held as z = 0.
void AddSegment(Box& box, const AcGePoint2d& p, const AcGePoint2d& q, double bulge) {
  box.add(AcGePoint3d(p.x, p.y, 0));
  box.add(AcGePoint3d(q.x, q.y, 0));
  double chord = p.distanceTo(q);
  if (bulge == 0 || chord == 0 || !Finite(bulge)) return;
  double angle = 4 * std::atan(bulge);  // included angle, signed
  double radius = chord / (2 * std::sin(std::abs(angle) / 2));
  double ux = (q.x - p.x) / chord, uy = (q.y - p.y) / chord;
  // The centre lies on the chord's left normal (-uy, ux), at this signed distance from its
  // middle (0 for a half circle).
  double d = chord / 2 * (1 - bulge * bulge) / (2 * bulge);
  double cx = (p.x + q.x) / 2 - uy * d, cy = (p.y + q.y) / 2 + ux * d;
  double start = std::atan2(p.y - cy, p.x - cx);
  double end = std::atan2(q.y - cy, q.x - cx);
  if (angle < 0) std::swap(start, end);
  double sweep = kwhost::db::SweepOf(start, end);
  for (int k = 0; k < 4; ++k) {
    double a = k * std::numbers::pi / 2;
    if (kwhost::db::SweepOf(start, a) <= sweep) {
      box.add(AcGePoint3d(cx + radius * std::cos(a), cy + radius * std::sin(a), 0));
    }
  }
}

}  // namespace

// ---------------------------------------------------------------- lightweight polyline

AcDbPolyline::AcDbPolyline(unsigned int numVerts) {
  m_points.reserve(std::min(numVerts, 1u << 16));
}

void AcDbPolyline::materialiseBulges() {
  if (m_bulges.empty()) m_bulges.assign(m_points.size(), 0.0);
}

void AcDbPolyline::materialiseWidths() {
  if (m_widths.empty()) m_widths.assign(m_points.size(), Widths{m_constantWidth, m_constantWidth});
}

Acad::ErrorStatus AcDbPolyline::addVertexAt(unsigned int index, const AcGePoint2d& point,
                                            double bulge, double startWidth, double endWidth) {
  if (index > m_points.size()) return Acad::eInvalidIndex;
  if (!Finite(point.x) || !Finite(point.y) || !Finite(bulge)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_points.insert(m_points.begin() + index, point);
  if (bulge != 0) materialiseBulges();
  if (!m_bulges.empty()) m_bulges.insert(m_bulges.begin() + index, bulge);
  double s = startWidth < 0 ? m_constantWidth : startWidth;
  double e = endWidth < 0 ? m_constantWidth : endWidth;
  if (!m_widths.empty()) {
    m_widths.insert(m_widths.begin() + index, Widths{s, e});
  } else if (s != m_constantWidth || e != m_constantWidth) {
    m_points.erase(m_points.begin() + index);
    materialiseWidths();
    m_points.insert(m_points.begin() + index, point);
    m_widths.insert(m_widths.begin() + index, Widths{s, e});
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::removeVertexAt(unsigned int index) {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_points.erase(m_points.begin() + index);
  if (!m_bulges.empty()) m_bulges.erase(m_bulges.begin() + index);
  if (!m_widths.empty()) m_widths.erase(m_widths.begin() + index);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::reset(bool reuse, unsigned int numVerts) {
  if (!writable()) return Acad::eNotOpenForWrite;
  size_t keep = reuse ? std::min<size_t>(numVerts, m_points.size()) : 0;
  m_points.resize(keep);
  if (!m_bulges.empty()) m_bulges.resize(keep);
  if (!m_widths.empty()) m_widths.resize(keep);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getPointAt(unsigned int index, AcGePoint2d& point) const {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  point = m_points[index];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getPointAt(unsigned int index, AcGePoint3d& point) const {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  const AcGePoint2d& p = m_points[index];
  point = AcGePoint3d::kOrigin + kwhost::db::Ecs(m_normal).toWorld(p.x, p.y, m_elevation);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setPointAt(unsigned int index, const AcGePoint2d& point) {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  if (!Finite(point.x) || !Finite(point.y)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_points[index] = point;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getBulgeAt(unsigned int index, double& bulge) const {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  bulge = m_bulges.empty() ? 0.0 : m_bulges[index];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setBulgeAt(unsigned int index, double bulge) {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  if (!Finite(bulge)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  if (bulge == 0 && m_bulges.empty()) return Acad::eOk;
  materialiseBulges();
  m_bulges[index] = bulge;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getWidthsAt(unsigned int index, double& startWidth,
                                            double& endWidth) const {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  startWidth = m_widths.empty() ? m_constantWidth : m_widths[index].start;
  endWidth = m_widths.empty() ? m_constantWidth : m_widths[index].end;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setWidthsAt(unsigned int index, double startWidth,
                                            double endWidth) {
  if (index >= m_points.size()) return Acad::eInvalidIndex;
  if (!(startWidth >= 0) || !(endWidth >= 0) || !Finite(startWidth) || !Finite(endWidth)) {
    return Acad::eInvalidInput;
  }
  if (!writable()) return Acad::eNotOpenForWrite;
  materialiseWidths();
  m_widths[index] = Widths{startWidth, endWidth};
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::getConstantWidth(double& width) const {
  width = m_constantWidth;
  if (m_widths.empty()) return Acad::eOk;
  width = m_widths[0].start;
  for (const Widths& w : m_widths) {
    if (w.start != width || w.end != width) return Acad::eNotApplicable;
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setConstantWidth(double width) {
  if (!(width >= 0) || !Finite(width)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_constantWidth = width;
  m_widths.clear();
  return Acad::eOk;
}

void AcDbPolyline::setClosed(bool closed) {
  if (writable()) m_closed = closed;
}

void AcDbPolyline::setElevation(double elevation) {
  if (writable() && Finite(elevation)) m_elevation = elevation;
}

Acad::ErrorStatus AcDbPolyline::setThickness(double thickness) {
  if (!Finite(thickness)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_thickness = thickness;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbPolyline::setNormal(const AcGeVector3d& normal) {
  if (!(normal.length() > 1e-12) || !Finite(normal.length())) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_normal = normal.normal();
  return Acad::eOk;
}

bool AcDbPolyline::hasBulges() const {
  for (double b : m_bulges) {
    if (b != 0) return true;
  }
  return false;
}

bool AcDbPolyline::hasWidth() const {
  if (m_widths.empty()) return m_constantWidth != 0;
  for (const Widths& w : m_widths) {
    if (w.start != 0 || w.end != 0) return true;
  }
  return false;
}

Acad::ErrorStatus AcDbPolyline::getStartPoint(AcGePoint3d& p) const {
  return m_points.empty() ? Acad::eInvalidInput : getPointAt(0, p);
}

Acad::ErrorStatus AcDbPolyline::getEndPoint(AcGePoint3d& p) const {
  if (m_points.empty()) return Acad::eInvalidInput;
  return getPointAt(m_closed ? 0 : numVerts() - 1, p);
}

Acad::ErrorStatus AcDbPolyline::getGeomExtents(AcDbExtents& extents) const {
  Box plane;
  size_t n = m_points.size();
  size_t segments = m_closed ? n : (n ? n - 1 : 0);
  if (n == 1) plane.add(AcGePoint3d(m_points[0].x, m_points[0].y, 0));
  for (size_t i = 0; i < segments; ++i) {
    AddSegment(plane, m_points[i], m_points[(i + 1) % n], m_bulges.empty() ? 0 : m_bulges[i]);
  }
  AcDbExtents flat;
  if (plane.out(flat) != Acad::eOk) return Acad::eInvalidExtents;
  kwhost::db::Ecs ecs(m_normal);
  Box box;
  box.addCorners(flat, [&](const AcGePoint3d& p) {
    return AcGePoint3d::kOrigin + ecs.toWorld(p.x, p.y, m_elevation);
  });
  return box.out(extents);
}

// ---------------------------------------------------------------- 2D vertex

#define KW_VERTEX_SETTER(SETTER, TYPE, FIELD, VALID)   \
  Acad::ErrorStatus AcDb2dVertex::SETTER(TYPE value) { \
    if (!(VALID)) return Acad::eInvalidInput;          \
    if (!writable()) return Acad::eNotOpenForWrite;    \
    FIELD = value;                                     \
    return Acad::eOk;                                  \
  }

KW_VERTEX_SETTER(setVertexType, AcDb::Vertex2dType, m_type,
                 value >= AcDb::k2dVertex && value <= AcDb::k2dCurveFitVertex)
KW_VERTEX_SETTER(setPosition, const AcGePoint3d&, m_position,
                 Finite(value.x) && Finite(value.y) && Finite(value.z))
KW_VERTEX_SETTER(setBulge, double, m_bulge, Finite(value))
KW_VERTEX_SETTER(setStartWidth, double, m_startWidth, Finite(value) && value >= 0)
KW_VERTEX_SETTER(setEndWidth, double, m_endWidth, Finite(value) && value >= 0)

// ---------------------------------------------------------------- 2D polyline

AcDb2dPolyline::AcDb2dPolyline(AcDb::Poly2dType type, const AcGePoint3dArray& vertices,
                               double elevation, bool closed, double defaultStartWidth,
                               double defaultEndWidth, const AcArray<double>* bulges)
    : m_elevation(elevation),
      m_defaultStartWidth(defaultStartWidth),
      m_defaultEndWidth(defaultEndWidth),
      m_type(type),
      m_closed(closed) {
  for (int i = 0; i < vertices.length(); ++i) {
    double bulge = bulges && i < bulges->length() ? (*bulges)[i] : 0.0;
    m_pending.push_back(new AcDb2dVertex(vertices[i], bulge, defaultStartWidth, defaultEndWidth));
  }
}

AcDb2dPolyline::~AcDb2dPolyline() {
  for (AcDb2dVertex* v : m_pending) delete v;
}

AcDbObject* AcDb2dPolyline::clone() const {
  auto* copy = new AcDb2dPolyline(*this);
  copy->m_vertices.clear();
  copy->m_pending.clear();
  eachVertex([copy](const AcDb2dVertex& v) {
    copy->m_pending.push_back(static_cast<AcDb2dVertex*>(v.clone()));
  });
  return copy;
}

template <class F>
void AcDb2dPolyline::eachVertex(F visit) const {
  for (AcDbObjectId id : m_vertices) {
    auto* v = AcDb2dVertex::cast(kwhost::db::Peek(id));
    if (v && !v->isErased()) visit(*v);
  }
  for (const AcDb2dVertex* v : m_pending) visit(*v);
}

#define KW_POLY2D_SETTER(SETTER, TYPE, FIELD, VALID)     \
  Acad::ErrorStatus AcDb2dPolyline::SETTER(TYPE value) { \
    if (!(VALID)) return Acad::eInvalidInput;            \
    if (!writable()) return Acad::eNotOpenForWrite;      \
    FIELD = value;                                       \
    return Acad::eOk;                                    \
  }

KW_POLY2D_SETTER(setPolyType, AcDb::Poly2dType, m_type,
                 value >= AcDb::k2dSimplePoly && value <= AcDb::k2dCubicSplinePoly)
KW_POLY2D_SETTER(setElevation, double, m_elevation, Finite(value))
KW_POLY2D_SETTER(setDefaultStartWidth, double, m_defaultStartWidth, Finite(value) && value >= 0)
KW_POLY2D_SETTER(setDefaultEndWidth, double, m_defaultEndWidth, Finite(value) && value >= 0)
KW_POLY2D_SETTER(setThickness, double, m_thickness, Finite(value))
KW_POLY2D_SETTER(setNormal, const AcGeVector3d&, m_normal,
                 value.length() > 1e-12 && Finite(value.length()))

Acad::ErrorStatus AcDb2dPolyline::makeClosed() {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_closed = true;
  return Acad::eOk;
}

Acad::ErrorStatus AcDb2dPolyline::makeOpen() {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_closed = false;
  return Acad::eOk;
}

namespace {

void ApplyWidth(AcDbEntity* e, const void* arg) {
  auto* v = AcDb2dVertex::cast(e);
  double w = *static_cast<const double*>(arg);
  v->setStartWidth(w);
  v->setEndWidth(w);
}

}  // namespace

Acad::ErrorStatus AcDb2dPolyline::setConstantWidth(double width) {
  if (!Finite(width) || width < 0) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_defaultStartWidth = m_defaultEndWidth = width;
  forEachSubentity(ApplyWidth, &width);
  return Acad::eOk;
}

void AcDb2dPolyline::forEachSubentity(void (*apply)(AcDbEntity*, const void*), const void* arg) {
  for (AcDbObjectId id : m_vertices) {
    AcDbEntity* v = nullptr;
    if (acdbOpenAcDbEntity(v, id, AcDb::kForWrite) != Acad::eOk) continue;
    apply(v, arg);
    v->close();
  }
  for (AcDb2dVertex* v : m_pending) apply(v, arg);
}

Acad::ErrorStatus AcDb2dPolyline::appendVertex(AcDb2dVertex* vertex) {
  AcDbObjectId id;
  return appendVertex(id, vertex);
}

Acad::ErrorStatus AcDb2dPolyline::appendVertex(AcDbObjectId& id, AcDb2dVertex* vertex) {
  id = AcDbObjectId();
  if (!vertex) return Acad::eNullObjectPointer;
  if (!vertex->objectId().isNull()) return Acad::eAlreadyInDb;
  if (!writable()) return Acad::eNotOpenForWrite;
  if (objectId().isNull()) {
    for (AcDb2dVertex* v : m_pending) {
      if (v == vertex) return Acad::eAlreadyInDb;
    }
    m_pending.push_back(vertex);
    return Acad::eOk;
  }
  Acad::ErrorStatus es =
      kwhost::db::AddObject(*database(), vertex, objectId(), AcDbHandle(), true, id);
  if (es == Acad::eOk) m_vertices.push_back(id);
  return es;
}

AcDbObjectIterator* AcDb2dPolyline::vertexIterator() const {
  return new AcDbObjectIterator(m_vertices);
}

Acad::ErrorStatus AcDb2dPolyline::openVertex(AcDb2dVertex*& vertex, AcDbObjectId id,
                                             AcDb::OpenMode mode, bool openErased) const {
  vertex = nullptr;
  if (std::find(m_vertices.begin(), m_vertices.end(), id) == m_vertices.end()) {
    return Acad::eInvalidInput;
  }
  return acdbOpenObject(vertex, id, mode, openErased);
}

int AcDb2dPolyline::numVerts() const {
  int n = 0;
  eachVertex([&n](const AcDb2dVertex&) { ++n; });
  return n;
}

Acad::ErrorStatus AcDb2dPolyline::getStartPoint(AcGePoint3d& p) const {
  bool found = false;
  eachVertex([&](const AcDb2dVertex& v) {
    if (!found) p = v.position();
    found = true;
  });
  return found ? Acad::eOk : Acad::eInvalidInput;
}

Acad::ErrorStatus AcDb2dPolyline::getEndPoint(AcGePoint3d& p) const {
  if (m_closed) return getStartPoint(p);
  bool found = false;
  eachVertex([&](const AcDb2dVertex& v) {
    p = v.position();
    found = true;
  });
  return found ? Acad::eOk : Acad::eInvalidInput;
}

Acad::ErrorStatus AcDb2dPolyline::getGeomExtents(AcDbExtents& extents) const {
  std::vector<AcGePoint2d> points;
  std::vector<double> bulges;
  eachVertex([&](const AcDb2dVertex& v) {
    points.emplace_back(v.position().x, v.position().y);
    bulges.push_back(v.bulge());
  });
  size_t n = points.size();
  Box plane;
  if (n == 1) plane.add(AcGePoint3d(points[0].x, points[0].y, 0));
  size_t segments = m_closed ? n : (n ? n - 1 : 0);
  for (size_t i = 0; i < segments; ++i)
    AddSegment(plane, points[i], points[(i + 1) % n], bulges[i]);
  AcDbExtents flat;
  if (plane.out(flat) != Acad::eOk) return Acad::eInvalidExtents;
  kwhost::db::Ecs ecs(m_normal);
  Box box;
  box.addCorners(flat, [&](const AcGePoint3d& p) {
    return AcGePoint3d::kOrigin + ecs.toWorld(p.x, p.y, m_elevation);
  });
  return box.out(extents);
}

// ---------------------------------------------------------------- vertex iterator

void AcDbObjectIterator::start(bool atEnd) {
  m_index = atEnd ? static_cast<int>(m_ids.size()) - 1 : 0;
}

bool AcDbObjectIterator::done() const {
  return m_index < 0 || m_index >= static_cast<int>(m_ids.size());
}

void AcDbObjectIterator::step(bool backwards, bool skipErasedObjects) {
  do {
    m_index += backwards ? -1 : 1;
  } while (!done() && skipErasedObjects && kwhost::db::Peek(m_ids[m_index]) &&
           kwhost::db::Peek(m_ids[m_index])->isErased());
}

AcDbObjectId AcDbObjectIterator::objectId() const {
  return done() ? AcDbObjectId() : m_ids[m_index];
}

bool AcDbObjectIterator::seek(AcDbObjectId id) {
  for (size_t i = 0; i < m_ids.size(); ++i) {
    if (m_ids[i] == id) {
      m_index = static_cast<int>(i);
      return true;
    }
  }
  return false;
}
