// The geometry of picks, windows and crossings: every entity is seen in the XY plane as a list
// of parts (segments, arcs, boxes), block references as the parts of their block's entities
// placed by the reference (nested to a depth of 64, as their extents are).
#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/api/aced.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/select/select.h"
#include "host/embedded/view/view.h"

namespace {

using kwhost::select::Hit;
using kwhost::select::Window;

constexpr int kMaxDepth = 64;
// Parts and references looked at for one entity: blocks that reference each other twice per
// level would otherwise make a pick cost 2^64 steps.
constexpr size_t kMaxSteps = 1 << 16;
constexpr double kTwoPi = 2 * std::numbers::pi;

// An affine map of the world: p' = L p + t, rows of [L | t].
struct Xform {
  double m[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
  AcGePoint3d apply(const AcGePoint3d& p) const {
    return {m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3],
            m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3],
            m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3]};
  }
  // This map after `inner` (inner applied first).
  Xform after(const Xform& inner) const {
    Xform r;
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 4; ++j) {
        r.m[i][j] = (j == 3 ? m[i][3] : 0);
        for (int k = 0; k < 3; ++k) r.m[i][j] += m[i][k] * inner.m[k][j];
      }
    }
    return r;
  }
};

// The placement of a block reference: its block's origin to the reference's position, scaled
// and turned about Z.
Xform PlacementOf(const AcDbBlockReference& ref, const AcGePoint3d& origin) {
  const AcGeScale3d s = ref.scaleFactors();
  const double c = std::cos(ref.rotation()), n = std::sin(ref.rotation());
  const AcGePoint3d at = ref.position();
  Xform x;
  const double rows[3][3] = {{c * s.sx, -n * s.sy, 0}, {n * s.sx, c * s.sy, 0}, {0, 0, s.sz}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) x.m[i][j] = rows[i][j];
  }
  const AcGePoint3d moved = x.apply(origin);
  x.m[0][3] = at.x - moved.x;
  x.m[1][3] = at.y - moved.y;
  x.m[2][3] = at.z - moved.z;
  return x;
}

struct Part {
  enum Kind { kSegment, kArc, kBox } kind = kSegment;
  AcGePoint3d a, b;  // segment ends, or box corners
  AcGePoint3d c;     // arc centre
  double r = 0, start = 0, sweep = 0;
  int marker = 1;
  size_t path = 0;  // index into Shape::paths
  AcDbObjectId inner;
};

struct Path {
  std::vector<AcDbObjectId> references;
  Xform xform;
};

struct Shape {
  std::vector<Part> parts;
  std::vector<Path> paths;
  size_t steps = 0;
  // Counts one step; false once the budget is spent.
  bool step() { return ++steps <= kMaxSteps; }
};

AcGePoint3d OnArc(const Part& p, double angle) {
  return {p.c.x + p.r * std::cos(angle), p.c.y + p.r * std::sin(angle), p.c.z};
}

// Adds a part placed by the path's map; an arc under a map that is no similarity becomes
// segments.
void AddPlaced(Shape& shape, Part part) {
  if (!shape.step()) return;
  const Xform& x = shape.paths[part.path].xform;
  if (part.kind != Part::kArc) {
    part.a = x.apply(part.a);
    part.b = x.apply(part.b);
    shape.parts.push_back(part);
    return;
  }
  const double c0x = x.m[0][0], c0y = x.m[1][0], c1x = x.m[0][1], c1y = x.m[1][1];
  const double l0 = std::hypot(c0x, c0y), l1 = std::hypot(c1x, c1y);
  const double det = c0x * c1y - c1x * c0y;
  if (l0 > 0 && std::abs(l0 - l1) <= 1e-9 * l0 && std::abs(c0x * c1x + c0y * c1y) <= 1e-9 * l0) {
    const double turn = std::atan2(c0y, c0x);
    part.start = det > 0 ? part.start + turn : turn - (part.start + part.sweep);
    part.c = x.apply(part.c);
    part.r *= l0;
    shape.parts.push_back(part);
    return;
  }
  const int pieces = std::max(8, static_cast<int>(std::ceil(part.sweep / (std::numbers::pi / 32))));
  Part seg = part;
  seg.kind = Part::kSegment;
  for (int i = 0; i < pieces; ++i) {
    seg.a = x.apply(OnArc(part, part.start + part.sweep * i / pieces));
    seg.b = x.apply(OnArc(part, part.start + part.sweep * (i + 1) / pieces));
    shape.parts.push_back(seg);
  }
}

// The part between two polyline vertices with a bulge.
Part Between(const AcGePoint3d& p0, const AcGePoint3d& p1, double bulge) {
  Part part;
  part.a = p0;
  part.b = p1;
  if (bulge == 0 || !std::isfinite(bulge) || p0.isEqualTo(p1)) return part;
  const double d = std::hypot(p1.x - p0.x, p1.y - p0.y);
  const double h = d * (1 - bulge * bulge) / (4 * bulge);
  const double ux = (p1.x - p0.x) / d, uy = (p1.y - p0.y) / d;
  part.kind = Part::kArc;
  part.c = AcGePoint3d((p0.x + p1.x) / 2 - uy * h, (p0.y + p1.y) / 2 + ux * h, p0.z);
  part.r = d * (1 + bulge * bulge) / (4 * std::abs(bulge));
  const AcGePoint3d& from = bulge > 0 ? p0 : p1;
  part.start = std::atan2(from.y - part.c.y, from.x - part.c.x);
  part.sweep = 4 * std::atan(std::abs(bulge));
  return part;
}

void AddVertices(Shape& shape, Part base, const std::vector<AcGePoint3d>& pts,
                 const std::vector<double>& bulges, bool closed) {
  const size_t n = pts.size();
  if (n == 1) {
    base.a = base.b = pts[0];
    AddPlaced(shape, base);
  }
  const size_t segments = n < 2 ? 0 : (closed ? n : n - 1);
  for (size_t i = 0; i < segments; ++i) {
    Part part = Between(pts[i], pts[(i + 1) % n], bulges[i]);
    part.marker = static_cast<int>(i + 1);
    part.path = base.path;
    part.inner = base.inner;
    AddPlaced(shape, part);
  }
}

void AddLwPolyline(Shape& shape, const Part& base, const AcDbPolyline& pl) {
  std::vector<AcGePoint3d> pts;
  std::vector<double> bulges;
  for (unsigned i = 0; i < pl.numVerts(); ++i) {
    AcGePoint3d p;
    double b = 0;
    pl.getPointAt(i, p);
    pl.getBulgeAt(i, b);
    pts.push_back(p);
    bulges.push_back(b);
  }
  AddVertices(shape, base, pts, bulges, pl.isClosed());
}

void AddPolyline2d(Shape& shape, const Part& base, const AcDb2dPolyline& pl) {
  std::vector<AcGePoint3d> pts;
  std::vector<double> bulges;
  for (AcDbObjectId vid : kwhost::db::PolylineVertices(pl)) {
    auto* v = AcDb2dVertex::cast(kwhost::db::Peek(vid));
    if (!v || v->isErased()) continue;
    const AcGePoint3d p = v->position();
    pts.emplace_back(p.x, p.y, pl.elevation());
    bulges.push_back(v->bulge());
  }
  AddVertices(shape, base, pts, bulges, pl.isClosed());
}

void AddEntity(Shape& shape, const AcDbEntity& e, size_t path, int depth);

void AddReference(Shape& shape, const AcDbBlockReference& ref, size_t path, int depth) {
  auto* block = AcDbBlockTableRecord::cast(kwhost::db::Peek(ref.blockTableRecord()));
  if (!block || depth >= kMaxDepth || !shape.step()) return;
  Path inner = shape.paths[path];
  inner.references.push_back(ref.objectId());
  inner.xform = inner.xform.after(PlacementOf(ref, block->origin()));
  shape.paths.push_back(inner);
  const size_t innerPath = shape.paths.size() - 1;
  for (AcDbObjectId id : kwhost::db::BlockEntities(*block)) {
    auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
    if (e && !e->isErased()) AddEntity(shape, *e, innerPath, depth + 1);
  }
}

// Adds the parts of a curve-like entity; false for the other kinds.
bool AddCurve(Shape& shape, const AcDbEntity& e, Part& part) {
  if (auto* line = AcDbLine::cast(&e)) {
    part.a = line->startPoint();
    part.b = line->endPoint();
  } else if (auto* point = AcDbPoint::cast(&e)) {
    part.a = part.b = point->position();
  } else if (auto* arc = AcDbArc::cast(&e)) {
    part.kind = Part::kArc;
    part.c = arc->center();
    part.r = arc->radius();
    part.start = arc->startAngle();
    part.sweep = kwhost::db::SweepOf(arc->startAngle(), arc->endAngle());
  } else if (auto* circle = AcDbCircle::cast(&e)) {
    part.kind = Part::kArc;
    part.c = circle->center();
    part.r = circle->radius();
    part.sweep = kTwoPi;
  } else {
    return false;
  }
  AddPlaced(shape, part);
  return true;
}

void AddEntity(Shape& shape, const AcDbEntity& e, size_t path, int depth) {
  Part part;
  part.path = path;
  part.inner = e.objectId();
  if (AddCurve(shape, e, part)) return;
  if (auto* pl = AcDbPolyline::cast(&e)) return AddLwPolyline(shape, part, *pl);
  if (auto* pl2 = AcDb2dPolyline::cast(&e)) return AddPolyline2d(shape, part, *pl2);
  if (auto* ref = AcDbBlockReference::cast(&e)) return AddReference(shape, *ref, path, depth);
  AcDbExtents ext;
  if (e.getGeomExtents(ext) != Acad::eOk) return;
  part.kind = Part::kBox;
  part.a = ext.minPoint();
  part.b = ext.maxPoint();
  AddPlaced(shape, part);
}

Shape ShapeOf(AcDbObjectId id) {
  Shape shape;
  shape.paths.emplace_back();
  auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
  if (e && !e->isErased()) AddEntity(shape, *e, 0, 0);
  return shape;
}

// The point of the part nearest p (in the XY plane).
AcGePoint3d Nearest(const Part& part, const AcGePoint3d& p) {
  if (part.kind == Part::kBox) {
    return {std::clamp(p.x, std::min(part.a.x, part.b.x), std::max(part.a.x, part.b.x)),
            std::clamp(p.y, std::min(part.a.y, part.b.y), std::max(part.a.y, part.b.y)), p.z};
  }
  if (part.kind == Part::kArc) {
    const double angle = std::atan2(p.y - part.c.y, p.x - part.c.x);
    if (part.sweep >= kTwoPi || kwhost::db::SweepOf(part.start, angle) <= part.sweep) {
      return OnArc(part, angle);
    }
    const AcGePoint3d s = OnArc(part, part.start), e = OnArc(part, part.start + part.sweep);
    return std::hypot(p.x - s.x, p.y - s.y) <= std::hypot(p.x - e.x, p.y - e.y) ? s : e;
  }
  const double dx = part.b.x - part.a.x, dy = part.b.y - part.a.y;
  const double len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? ((p.x - part.a.x) * dx + (p.y - part.a.y) * dy) / len2 : 0;
  t = std::clamp(t, 0.0, 1.0);
  return {part.a.x + t * dx, part.a.y + t * dy, part.a.z + t * (part.b.z - part.a.z)};
}

double Distance2d(const AcGePoint3d& a, const AcGePoint3d& b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

bool Inside(const Window& w, double x, double y) {
  return x >= w.x0 && x <= w.x1 && y >= w.y0 && y <= w.y1;
}

// Do segments (a, b) and (c, d) meet?
bool SegmentsMeet(double ax, double ay, double bx, double by, double cx, double cy, double dx,
                  double dy) {
  auto side = [](double px, double py, double qx, double qy, double rx, double ry) {
    const double v = (qx - px) * (ry - py) - (qy - py) * (rx - px);
    return (v > 0) - (v < 0);
  };
  const int s1 = side(ax, ay, bx, by, cx, cy), s2 = side(ax, ay, bx, by, dx, dy);
  const int s3 = side(cx, cy, dx, dy, ax, ay), s4 = side(cx, cy, dx, dy, bx, by);
  if (s1 * s2 > 0 || s3 * s4 > 0) return false;
  if (s1 == 0 && s2 == 0) {  // on one line: do the extents overlap?
    return std::max(std::min(ax, bx), std::min(cx, dx)) <=
               std::min(std::max(ax, bx), std::max(cx, dx)) &&
           std::max(std::min(ay, by), std::min(cy, dy)) <=
               std::min(std::max(ay, by), std::max(cy, dy));
  }
  return true;
}

// Does the arc meet the segment (x0, y0)-(x1, y1)?
bool ArcMeetsSegment(const Part& arc, double x0, double y0, double x1, double y1) {
  const double dx = x1 - x0, dy = y1 - y0, fx = x0 - arc.c.x, fy = y0 - arc.c.y;
  const double a = dx * dx + dy * dy, b = 2 * (fx * dx + fy * dy);
  const double disc = b * b - 4 * a * (fx * fx + fy * fy - arc.r * arc.r);
  if (a == 0 || disc < 0) return false;
  for (double sign : {-1.0, 1.0}) {
    const double t = (-b + sign * std::sqrt(disc)) / (2 * a);
    if (t < 0 || t > 1) continue;
    const double angle = std::atan2(y0 + t * dy - arc.c.y, x0 + t * dx - arc.c.x);
    if (arc.sweep >= kTwoPi || kwhost::db::SweepOf(arc.start, angle) <= arc.sweep) return true;
  }
  return false;
}

bool PartCrosses(const Part& part, const Window& w) {
  if (part.kind == Part::kBox) {
    return std::max(std::min(part.a.x, part.b.x), w.x0) <=
               std::min(std::max(part.a.x, part.b.x), w.x1) &&
           std::max(std::min(part.a.y, part.b.y), w.y0) <=
               std::min(std::max(part.a.y, part.b.y), w.y1);
  }
  const AcGePoint3d s = part.kind == Part::kArc ? OnArc(part, part.start) : part.a;
  if (Inside(w, s.x, s.y)) return true;
  const double edges[4][4] = {{w.x0, w.y0, w.x1, w.y0},
                              {w.x1, w.y0, w.x1, w.y1},
                              {w.x1, w.y1, w.x0, w.y1},
                              {w.x0, w.y1, w.x0, w.y0}};
  for (const auto& e : edges) {
    if (part.kind == Part::kArc
            ? ArcMeetsSegment(part, e[0], e[1], e[2], e[3])
            : SegmentsMeet(part.a.x, part.a.y, part.b.x, part.b.y, e[0], e[1], e[2], e[3])) {
      return true;
    }
  }
  return false;
}

bool PartInside(const Part& part, const Window& w) {
  if (part.kind != Part::kArc)
    return Inside(w, part.a.x, part.a.y) && Inside(w, part.b.x, part.b.y);
  const AcGePoint3d s = OnArc(part, part.start), e = OnArc(part, part.start + part.sweep);
  if (!Inside(w, s.x, s.y) || !Inside(w, e.x, e.y)) return false;
  for (int quarter = 0; quarter < 4; ++quarter) {
    const double angle = quarter * std::numbers::pi / 2;
    if (part.sweep < kTwoPi && kwhost::db::SweepOf(part.start, angle) > part.sweep) continue;
    const AcGePoint3d p = OnArc(part, angle);
    if (!Inside(w, p.x, p.y)) return false;
  }
  return true;
}

// The part of `shape` nearest p: its index, or -1 when the shape has none.
int NearestPart(const Shape& shape, const AcGePoint3d& p, double* distance) {
  int best = -1;
  for (size_t i = 0; i < shape.parts.size(); ++i) {
    const double d = Distance2d(Nearest(shape.parts[i], p), p);
    if (best < 0 || d < *distance) {
      best = static_cast<int>(i);
      *distance = d;
    }
  }
  return best;
}

void FillHit(AcDbObjectId top, const Shape& shape, int index, const AcGePoint3d& p, Hit* hit) {
  const Part& part = shape.parts[static_cast<size_t>(index)];
  const Path& path = shape.paths[part.path];
  hit->top = top;
  hit->inner = part.inner;
  hit->references = path.references;
  hit->marker = part.marker;
  hit->onEntity = Nearest(part, p);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 4; ++j) hit->xform[i][j] = path.xform.m[i][j];
  }
}

}  // namespace

namespace kwhost::select {

Window Window::Of(const AcGePoint3d& a, const AcGePoint3d& b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

std::vector<AcDbObjectId> SpaceEntities(bool allLayouts) {
  std::vector<AcDbObjectId> ids;
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  if (!db) return ids;
  std::vector<AcDbObjectId> spaces{db->currentSpaceId()};
  auto* table = AcDbBlockTable::cast(kwhost::db::Peek(db->blockTableId()));
  if (allLayouts && table) {
    for (AcDbObjectId rid : kwhost::db::TableRecords(*table)) {
      auto* block = AcDbBlockTableRecord::cast(kwhost::db::Peek(rid));
      if (block && !block->isErased() && block->isLayout() && rid != spaces[0]) {
        spaces.push_back(rid);
      }
    }
  }
  for (AcDbObjectId space : spaces) {
    auto* block = AcDbBlockTableRecord::cast(kwhost::db::Peek(space));
    if (!block) continue;
    for (AcDbObjectId id : kwhost::db::BlockEntities(*block)) {
      auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
      if (e && !e->isErased()) ids.push_back(id);
    }
  }
  return ids;
}

bool InsideWindow(AcDbObjectId id, const Window& w) {
  const Shape shape = ShapeOf(id);
  return !shape.parts.empty() && std::all_of(shape.parts.begin(), shape.parts.end(),
                                             [&](const Part& part) { return PartInside(part, w); });
}

bool CrossesWindow(AcDbObjectId id, const Window& w) {
  const Shape shape = ShapeOf(id);
  return std::any_of(shape.parts.begin(), shape.parts.end(),
                     [&](const Part& part) { return PartCrosses(part, w); });
}

bool NearestOn(AcDbObjectId id, const AcGePoint3d& p, Hit* hit) {
  const Shape shape = ShapeOf(id);
  double distance = 0;
  const int index = NearestPart(shape, p, &distance);
  if (index < 0) return false;
  FillHit(id, shape, index, p, hit);
  return true;
}

bool PickAt(const AcGePoint3d& p, double radius, Hit* hit) {
  bool found = false;
  double best = radius;
  for (AcDbObjectId id : SpaceEntities(false)) {
    const Shape shape = ShapeOf(id);
    double distance = 0;
    const int index = NearestPart(shape, p, &distance);
    if (index < 0 || distance > best) continue;
    best = distance;
    found = true;
    FillHit(id, shape, index, p, hit);
  }
  return found;
}

AcGePoint3d ToWorld(const AcGePoint3d& ucs) {
  return view::UcsToWorld(ucs);
}

double PickRadius() {
  return view::PixelsToWorld(view::Views().pickBox);
}

}  // namespace kwhost::select
