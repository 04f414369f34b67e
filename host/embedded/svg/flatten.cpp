// Model space to drawing items: each visible entity's geometry in world coordinates (arcs cut
// into segments fine enough for the picture, block references expanded with their placement),
// with its resolved colour, linetype and highlight.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/redraw/redraw.h"
#include "host/embedded/svg/draw.h"

namespace kwhost::svg {

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;

// What an entity inside a block reference takes from the reference.
struct Context {
  Affine map;
  Rgb blockColor;                                   // for ByBlock colours
  AcDbObjectId blockLinetype;                       // for ByBlock linetypes
  const AcDbLayerTableRecord* layerZero = nullptr;  // stands in for layer "0"
  bool highlighted = false;
  int depth = 0;
};

struct Vertex {
  AcGePoint3d point;
  double bulge = 0;
  double startWidth = 0;
  double endWidth = 0;
};

Rgb ColorOf(const AcCmColor& color) {
  if (color.isByColor()) return {color.red(), color.green(), color.blue()};
  return PaletteColor(color.colorIndex());
}

// Points along a polyline segment from `a` to `b` with that bulge.
std::vector<AcGePoint3d> SegmentPoints(const Vertex& a, const AcGePoint3d& b, double upp) {
  const double dx = b.x - a.point.x, dy = b.y - a.point.y;
  const double chord = std::hypot(dx, dy);
  if (a.bulge == 0 || chord == 0 || !std::isfinite(a.bulge)) return {a.point, b};
  const double sweep = 4 * std::atan(a.bulge);
  const double radius = chord / (2 * std::sin(std::abs(sweep) / 2));
  const double toCenter = radius * std::cos(std::abs(sweep) / 2) * (a.bulge > 0 ? 1 : -1);
  const AcGePoint3d center(a.point.x + dx / 2 - dy / chord * toCenter,
                           a.point.y + dy / 2 + dx / chord * toCenter, a.point.z);
  const double start = std::atan2(a.point.y - center.y, a.point.x - center.x);
  return ArcPoints(center, radius, start, sweep, upp);
}

// The outline of a segment drawn with widths growing from w0 to w1 along it.
std::vector<AcGePoint3d> Widened(const std::vector<AcGePoint3d>& line, double w0, double w1) {
  const size_t n = line.size();
  std::vector<AcGePoint3d> left, right;
  for (size_t k = 0; k < n; ++k) {
    const AcGePoint3d& from = line[k == 0 ? 0 : k - 1];
    const AcGePoint3d& to = line[k + 1 == n ? k : k + 1];
    const double tx = to.x - from.x, ty = to.y - from.y;
    const double len = std::hypot(tx, ty);
    const double half = (w0 + (w1 - w0) * (n > 1 ? double(k) / double(n - 1) : 0)) / 2;
    const double nx = len > 0 ? -ty / len * half : 0, ny = len > 0 ? tx / len * half : 0;
    left.emplace_back(line[k].x + nx, line[k].y + ny, line[k].z);
    right.emplace_back(line[k].x - nx, line[k].y - ny, line[k].z);
  }
  left.insert(left.end(), right.rbegin(), right.rend());
  return left;
}

class Flattener {
 public:
  Flattener(AcDbDatabase& db, double upp)
      : m_db(db),
        m_upp(upp),
        m_byLayer(db.byLayerLinetype()),
        m_byBlock(db.byBlockLinetype()),
        m_continuous(db.continuousLinetype()),
        m_ltscale(db.ltscale()) {}

  void modelSpace() {
    auto* space = block(L"*Model_Space");
    if (!space) return;
    for (AcDbObjectId id : db::BlockEntities(*space)) {
      if (redraw::IsHidden(id)) continue;
      Context top;
      top.highlighted = redraw::IsHighlighted(id);
      entity(id, top);
    }
  }

  std::vector<Item> take() { return std::move(m_items); }

 private:
  AcDbBlockTableRecord* block(const wchar_t* name) {
    AcDbBlockTable* table = nullptr;
    if (m_db.getBlockTable(table, AcDb::kForRead) != Acad::eOk) return nullptr;
    AcDbObjectId id;
    table->getAt(name, id);
    table->close();
    return AcDbBlockTableRecord::cast(db::Peek(id));
  }

  const AcDbLayerTableRecord* layerOf(const AcDbEntity& e, const Context& ctx) const {
    auto* layer = AcDbLayerTableRecord::cast(db::Peek(e.layerId()));
    const wchar_t* name = nullptr;
    if (ctx.layerZero && layer && layer->getName(name) == Acad::eOk && name &&
        std::wstring_view(name) == L"0") {
      return ctx.layerZero;
    }
    return layer;
  }

  Rgb colorOf(const AcDbEntity& e, const AcDbLayerTableRecord* layer, const Context& ctx) const {
    const AcCmColor color = e.color();
    if (color.isByLayer()) return layer ? ColorOf(layer->color()) : PaletteColor(7);
    if (color.isByBlock()) return ctx.depth > 0 ? ctx.blockColor : PaletteColor(7);
    return ColorOf(color);
  }

  AcDbObjectId linetypeOf(const AcDbEntity& e, const AcDbLayerTableRecord* layer,
                          const Context& ctx) const {
    AcDbObjectId id = e.linetypeId();
    if (id == m_byLayer) id = layer ? layer->linetypeObjectId() : AcDbObjectId();
    if (id == m_byBlock) id = ctx.depth > 0 ? ctx.blockLinetype : AcDbObjectId();
    if (id == m_continuous) id = AcDbObjectId();
    return id;
  }

  void entity(AcDbObjectId id, const Context& ctx) {
    if (++m_visits > kMaxEntityVisits) return;
    auto* e = AcDbEntity::cast(db::Peek(id));
    if (!e || e->isErased() || e->visibility() == AcDb::kInvisible) return;
    const AcDbLayerTableRecord* layer = layerOf(*e, ctx);
    if (layer && (layer->isOff() || layer->isFrozen())) return;
    Style style{colorOf(*e, layer, ctx), ctx.highlighted, linetypeOf(*e, layer, ctx),
                e->linetypeScale() * m_ltscale * ctx.map.scale()};
    if (auto* line = AcDbLine::cast(e))
      return path({line->startPoint(), line->endPoint()}, false, style, ctx);
    if (auto* circle = AcDbCircle::cast(e))
      return arc(circle->center(), circle->radius(), 0, kTwoPi, circle->normal(), style, ctx);
    if (auto* a = AcDbArc::cast(e)) return arcEntity(*a, style, ctx);
    if (auto* pl = AcDbPolyline::cast(e)) return lightweight(*pl, style, ctx);
    if (auto* pl = AcDb2dPolyline::cast(e)) return oldStyle(*pl, style, ctx);
    if (auto* text = AcDbText::cast(e)) return textEntity(*text, style, ctx);
    if (auto* ref = AcDbBlockReference::cast(e)) return reference(*ref, *e, layer, style, ctx);
    if (auto* point = AcDbPoint::cast(e)) return dot(point->position(), style, ctx);
  }

  // Items beyond the picture's limits are dropped: a drawing from outside cannot make it
  // unbounded.
  void add(Item item) {
    if (m_items.size() >= kMaxItems || m_points + item.points.size() > kMaxPoints) return;
    m_points += item.points.size();
    m_items.push_back(std::move(item));
  }

  void path(std::vector<AcGePoint3d> points, bool closed, const Style& style, const Context& ctx) {
    for (AcGePoint3d& p : points) p = ctx.map.apply(p);
    Item item;
    item.points = std::move(points);
    item.closed = closed;
    item.style = style;
    add(std::move(item));
  }

  void area(std::vector<AcGePoint3d> outline, const Style& style, const Context& ctx) {
    for (AcGePoint3d& p : outline) p = ctx.map.apply(p);
    Item item;
    item.kind = Item::kArea;
    item.points = std::move(outline);
    item.closed = true;
    item.style = style;
    item.style.linetype = AcDbObjectId();
    add(std::move(item));
  }

  // A point: a dot two pixels across.
  void dot(const AcGePoint3d& at, const Style& style, const Context& ctx) {
    const double radius = m_upp / std::max(ctx.map.scale(), 1e-300);
    area(ArcPoints(at, radius, 0, kTwoPi, radius), style, ctx);
  }

  // An arc in the plane of `normal` (the xy plane, seen from below when it points down).
  void arc(const AcGePoint3d& center, double radius, double start, double sweep,
           const AcGeVector3d& normal, const Style& style, const Context& ctx) {
    if (!(radius > 0) || !std::isfinite(radius)) return;
    if (normal.z < 0) {
      start = std::numbers::pi - start;
      sweep = -sweep;
    }
    const double upp = m_upp / std::max(ctx.map.scale(), 1e-300);
    path(ArcPoints(center, radius, start, sweep, upp), std::abs(sweep) >= kTwoPi, style, ctx);
  }

  void arcEntity(const AcDbArc& a, const Style& style, const Context& ctx) {
    double sweep = std::fmod(a.endAngle() - a.startAngle(), kTwoPi);
    if (sweep <= 0) sweep += kTwoPi;
    arc(a.center(), a.radius(), a.startAngle(), sweep, a.normal(), style, ctx);
  }

  void lightweight(const AcDbPolyline& pl, const Style& style, const Context& ctx) {
    std::vector<Vertex> vertices(pl.numVerts());
    for (unsigned i = 0; i < pl.numVerts(); ++i) {
      pl.getPointAt(i, vertices[i].point);
      pl.getBulgeAt(i, vertices[i].bulge);
      pl.getWidthsAt(i, vertices[i].startWidth, vertices[i].endWidth);
    }
    polyline(vertices, pl.isClosed(), style, ctx);
  }

  void oldStyle(const AcDb2dPolyline& pl, const Style& style, const Context& ctx) {
    std::vector<Vertex> vertices;
    for (AcDbObjectId id : db::PolylineVertices(pl)) {
      auto* v = AcDb2dVertex::cast(db::Peek(id));
      if (!v || v->isErased()) continue;
      const AcGePoint3d p = v->position();
      vertices.push_back(
          {AcGePoint3d(p.x, p.y, pl.elevation()), v->bulge(), v->startWidth(), v->endWidth()});
    }
    polyline(vertices, pl.isClosed(), style, ctx);
  }

  // Thin segments join into one path; wide ones are drawn as filled outlines.
  void polyline(const std::vector<Vertex>& vertices, bool closed, const Style& style,
                const Context& ctx) {
    const size_t n = vertices.size();
    const double upp = m_upp / std::max(ctx.map.scale(), 1e-300);
    std::vector<AcGePoint3d> thin;
    for (size_t i = 0; i + 1 < n || (closed && n > 1 && i < n); ++i) {
      const Vertex& a = vertices[i];
      std::vector<AcGePoint3d> seg = SegmentPoints(a, vertices[(i + 1) % n].point, upp);
      if (a.startWidth > 0 || a.endWidth > 0) {
        flush(thin, style, ctx);
        area(Widened(seg, a.startWidth, a.endWidth), style, ctx);
        continue;
      }
      thin.insert(thin.end(), seg.begin() + (thin.empty() ? 0 : 1), seg.end());
    }
    flush(thin, style, ctx);
  }

  void flush(std::vector<AcGePoint3d>& points, const Style& style, const Context& ctx) {
    if (points.size() >= 2) path(points, false, style, ctx);
    points.clear();
  }

  void textEntity(const AcDbText& t, const Style& style, const Context& ctx) {
    const bool aligned =
        t.horizontalMode() != AcDb::kTextLeft || t.verticalMode() != AcDb::kTextBase;
    Item item;
    item.kind = Item::kText;
    item.points = {ctx.map.apply(aligned ? t.alignmentPoint() : t.position())};
    item.text = t.textStringConst();
    item.height = t.height() * ctx.map.scale();
    item.rotation = t.rotation() + ctx.map.rotation();
    const AcDb::TextHorzMode h = t.horizontalMode();
    item.anchor = h == AcDb::kTextRight ? 2 : (h == AcDb::kTextLeft ? 0 : 1);
    item.style = style;
    item.style.linetype = AcDbObjectId();
    add(std::move(item));
  }

  void reference(const AcDbBlockReference& ref, const AcDbEntity& e,
                 const AcDbLayerTableRecord* layer, const Style& style, const Context& ctx) {
    auto* def = AcDbBlockTableRecord::cast(db::Peek(ref.blockTableRecord()));
    if (!def || ctx.depth >= kMaxBlockDepth) return;
    const AcGeScale3d s = ref.scaleFactors();
    const double c = std::cos(ref.rotation()), sn = std::sin(ref.rotation());
    const double mirror = ref.normal().z < 0 ? -1 : 1;
    Affine place{c * s.sx * mirror, sn * s.sx, -sn * s.sy * mirror, c * s.sy, 0, 0};
    const AcGePoint3d origin = place.apply(def->origin());
    place.tx = ref.position().x - origin.x;
    place.ty = ref.position().y - origin.y;
    Context inner;
    inner.map = ctx.map.after(place);
    inner.blockColor = style.color;
    inner.blockLinetype = linetypeOf(e, layer, ctx);
    inner.layerZero = layer;
    inner.highlighted = ctx.highlighted;
    inner.depth = ctx.depth + 1;
    for (AcDbObjectId id : db::BlockEntities(*def)) entity(id, inner);
  }

  AcDbDatabase& m_db;
  double m_upp;
  // Looked up once: each lookup searches a table or reads the header.
  AcDbObjectId m_byLayer, m_byBlock, m_continuous;
  double m_ltscale;
  std::vector<Item> m_items;
  size_t m_points = 0;
  size_t m_visits = 0;
};

}  // namespace

Affine Affine::after(const Affine& inner) const {
  return {a * inner.a + c * inner.b,        b * inner.a + d * inner.b,
          a * inner.c + c * inner.d,        b * inner.c + d * inner.d,
          a * inner.tx + c * inner.ty + tx, b * inner.tx + d * inner.ty + ty};
}

double Affine::scale() const {
  return std::sqrt(std::abs(a * d - b * c));
}

double Affine::rotation() const {
  return std::atan2(b, a);
}

std::vector<AcGePoint3d> ArcPoints(const AcGePoint3d& center, double radius, double startAngle,
                                   double sweep, double unitsPerPixel) {
  if (!std::isfinite(radius) || !std::isfinite(sweep) || !std::isfinite(startAngle)) return {};
  const double tolerance = std::max(unitsPerPixel * 0.25, 1e-12);
  double step = tolerance < radius ? 2 * std::acos(1 - tolerance / radius) : std::abs(sweep);
  if (!(step > 0)) step = std::abs(sweep);
  size_t count = static_cast<size_t>(std::ceil(std::abs(sweep) / step));
  count = std::clamp<size_t>(count, 1, kMaxArcSegments);
  std::vector<AcGePoint3d> points;
  points.reserve(count + 1);
  for (size_t i = 0; i <= count; ++i) {
    const double angle = startAngle + sweep * double(i) / double(count);
    points.emplace_back(center.x + radius * std::cos(angle), center.y + radius * std::sin(angle),
                        center.z);
  }
  return points;
}

std::vector<Item> Flatten(AcDbDatabase& db, double unitsPerPixel) {
  Flattener flattener(db, unitsPerPixel);
  flattener.modelSpace();
  return flattener.take();
}

}  // namespace kwhost::svg
