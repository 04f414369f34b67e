// The DXF reader's entities: lines, points, circles, arcs, lightweight and old-style 2D
// polylines, text and block references are modelled; every other entity is kept as its
// groups (with the entities that follow it, up to its SEQEND).
#include <cmath>
#include <memory>

#include "host/embedded/dxf/internal/ocs.h"
#include "host/embedded/dxf/internal/reader.h"

namespace kwhost::dxf {
namespace {

constexpr double kDegree = M_PI / 180.0;

using Markers = std::vector<std::string_view>;
const Markers kLine = {"AcDbEntity", "AcDbLine"};
const Markers kPoint = {"AcDbEntity", "AcDbPoint"};
const Markers kCircle = {"AcDbEntity", "AcDbCircle"};
const Markers kArc = {"AcDbEntity", "AcDbCircle", "AcDbArc"};
const Markers kLwPolyline = {"AcDbEntity", "AcDbPolyline"};
const Markers kText = {"AcDbEntity", "AcDbText"};
const Markers kInsert = {"AcDbEntity", "AcDbBlockReference"};

// x, y, z of a point whose groups are base, base + 10, base + 20.
bool PointField(AcGePoint3d& p, const RawTag& t, int base) {
  if (t.code == base) return p.x = t.real, true;
  if (t.code == base + 10) return p.y = t.real, true;
  if (t.code == base + 20) return p.z = t.real, true;
  return false;
}

bool VectorField(AcGeVector3d& v, const RawTag& t, int base) {
  if (t.code == base) return v.x = t.real, true;
  if (t.code == base + 10) return v.y = t.real, true;
  if (t.code == base + 20) return v.z = t.real, true;
  return false;
}

}  // namespace

bool Reader::CommonField(AcDbEntity& e, const RawTag& t) {
  switch (t.code) {
    case 8: {
      const std::string_view name = t.text.empty() ? "0" : t.text;  // no layer: layer 0
      const auto found = layers_.find(FoldName(name));
      const AcDbObjectId layer = found != layers_.end() ? found->second : CreateLayer(name);
      return !layer.isNull() && e.setLayer(layer, false) == Acad::eOk;
    }
    case 6: {
      const auto found = linetypes_.find(FoldName(t.text));
      return found != linetypes_.end() && e.setLinetype(found->second, false) == Acad::eOk;
    }
    case 62:
      return e.setColorIndex(static_cast<Adesk::UInt16>(t.integer), false) == Acad::eOk;
    case 420: {
      AcCmColor c;
      c.setRGB((t.integer >> 16) & 0xFF, (t.integer >> 8) & 0xFF, t.integer & 0xFF);
      return e.setColor(c, false) == Acad::eOk;
    }
    case 48:
      return e.setLinetypeScale(t.real, false) == Acad::eOk;
    case 370:
      return e.setLineWeight(static_cast<AcDb::LineWeight>(t.integer), false) == Acad::eOk;
    case 60:
      return e.setVisibility(t.integer ? AcDb::kInvisible : AcDb::kVisible, false) == Acad::eOk;
    case 67:  // paper space: placed by the section reader
      return true;
    default:
      return false;
  }
}

AcDbEntity* Reader::Line(const Record& r, Identity* id) {
  auto line = std::make_unique<AcDbLine>();
  AcGePoint3d a, b;
  AcGeVector3d n(0, 0, 1);
  const auto field = [&](const RawTag& t) {
    if (PointField(a, t, 10) || PointField(b, t, 11) || VectorField(n, t, 210)) return true;
    if (t.code == 39) return line->setThickness(t.real) == Acad::eOk;
    return CommonField(*line, t);
  };
  if (!Walk(r, *line, kLine, field, id)) return nullptr;
  line->setStartPoint(a);
  line->setEndPoint(b);
  line->setNormal(n);
  return line.release();
}

AcDbEntity* Reader::Point(const Record& r, Identity* id) {
  auto point = std::make_unique<AcDbPoint>();
  AcGePoint3d p;
  AcGeVector3d n(0, 0, 1);
  const auto field = [&](const RawTag& t) {
    if (PointField(p, t, 10) || VectorField(n, t, 210)) return true;
    if (t.code == 39) return point->setThickness(t.real) == Acad::eOk;
    if (t.code == 50) return point->setEcsRotation(t.real * kDegree) == Acad::eOk;
    return CommonField(*point, t);
  };
  if (!Walk(r, *point, kPoint, field, id)) return nullptr;
  point->setPosition(p);
  point->setNormal(n);
  return point.release();
}

AcDbEntity* Reader::Circle(const Record& r, Identity* id, bool arc) {
  std::unique_ptr<AcDbCurve> curve;
  if (arc) {
    curve = std::make_unique<AcDbArc>();
  } else {
    curve = std::make_unique<AcDbCircle>();
  }
  AcGePoint3d c;
  AcGeVector3d n(0, 0, 1);
  double radius = 0, start = 0, end = 0, thickness = 0;
  const auto field = [&](const RawTag& t) {
    if (PointField(c, t, 10) || VectorField(n, t, 210)) return true;
    if (t.code == 40) return radius = t.real, true;
    if (t.code == 39) return thickness = t.real, true;
    if (arc && t.code == 50) return start = t.real * kDegree, true;
    if (arc && t.code == 51) return end = t.real * kDegree, true;
    return CommonField(*curve, t);
  };
  if (!Walk(r, *curve, arc ? kArc : kCircle, field, id)) return nullptr;
  const AcGePoint3d world = Ocs(n).ToWorld(c);
  if (auto* a = AcDbArc::cast(curve.get())) {
    a->setCenter(world), a->setRadius(radius), a->setNormal(n), a->setThickness(thickness);
    a->setStartAngle(start), a->setEndAngle(end);
  } else if (auto* ci = AcDbCircle::cast(curve.get())) {
    ci->setCenter(world), ci->setNormal(n), ci->setThickness(thickness);
    if (ci->setRadius(radius) != Acad::eOk) return Fail("a circle without a radius"), nullptr;
  }
  return curve.release();
}

AcDbEntity* Reader::LwPolyline(const Record& r, Identity* id) {
  // Room for the vertices the record holds (never for the count group 90 claims).
  unsigned int vertices = 0;
  for (const RawTag& t : r.tags) vertices += t.code == 10;
  auto pl = std::make_unique<AcDbPolyline>(vertices);
  AcGeVector3d n(0, 0, 1);
  AcGePoint2d p;
  double constant = 0;
  bool widths = false;
  const auto last = [&] { return pl->numVerts() - 1; };
  const auto field = [&](const RawTag& t) {
    if (VectorField(n, t, 210)) return true;
    switch (t.code) {
      case 90:
        return true;  // the vertex count: the vertices themselves are what counts
      case 70:
        pl->setClosed((t.integer & 1) != 0);
        return (t.integer & ~1) == 0;
      case 43:
        return constant = t.real, true;
      case 38:
        return pl->setElevation(t.real), true;
      case 39:
        return pl->setThickness(t.real) == Acad::eOk;
      case 10:
        p.x = t.real;
        return pl->addVertexAt(pl->numVerts(), {t.real, 0}, 0, 0, 0) == Acad::eOk;
      case 20:
        return pl->numVerts() > 0 && pl->setPointAt(last(), {p.x, t.real}) == Acad::eOk;
      case 40:
      case 41: {
        double s = 0, e = 0;
        if (pl->numVerts() == 0 || pl->getWidthsAt(last(), s, e) != Acad::eOk) return false;
        widths = true;
        return pl->setWidthsAt(last(), t.code == 40 ? t.real : s, t.code == 41 ? t.real : e) ==
               Acad::eOk;
      }
      case 42:
        return pl->numVerts() > 0 && pl->setBulgeAt(last(), t.real) == Acad::eOk;
      default:
        return CommonField(*pl, t);
    }
  };
  if (!Walk(r, *pl, kLwPolyline, field, id)) return nullptr;
  if (constant != 0 && !widths) pl->setConstantWidth(constant);
  pl->setNormal(n);
  return pl.release();
}

AcDbEntity* Reader::Text(const Record& r, Identity* id) {
  auto text = std::make_unique<AcDbText>();
  AcDbText& x = *text;
  AcGePoint3d p, a;
  AcGeVector3d n(0, 0, 1);
  const auto field = [&](const RawTag& t) {
    if (PointField(p, t, 10) || PointField(a, t, 11) || VectorField(n, t, 210)) return true;
    switch (t.code) {
      case 1:
        return x.setTextString(Wide(t.text).c_str()) == Acad::eOk;
      case 40:
        // A new text's height is 0 ("use the style's"), which the setter refuses to set.
        return t.real == 0 ? x.height() == 0 : x.setHeight(t.real) == Acad::eOk;
      case 50:
        return x.setRotation(t.real * kDegree) == Acad::eOk;
      case 41:
        return x.setWidthFactor(t.real) == Acad::eOk;
      case 51:
        return x.setOblique(t.real * kDegree) == Acad::eOk;
      case 39:
        return x.setThickness(t.real) == Acad::eOk;
      case 71:
        x.mirrorInX((t.integer & 2) != 0);
        x.mirrorInY((t.integer & 4) != 0);
        return (t.integer & ~6) == 0;
      case 72:
        return t.integer >= 0 && t.integer <= 5 &&
               x.setHorizontalMode(static_cast<AcDb::TextHorzMode>(t.integer)) == Acad::eOk;
      case 73:
        return t.integer >= 0 && t.integer <= 3 &&
               x.setVerticalMode(static_cast<AcDb::TextVertMode>(t.integer)) == Acad::eOk;
      case 7: {
        const auto found = styles_.find(FoldName(t.text));
        return found != styles_.end() && x.setTextStyle(found->second) == Acad::eOk;
      }
      default:
        return CommonField(x, t);
    }
  };
  if (!Walk(r, x, kText, field, id)) return nullptr;
  const Ocs ocs(n);
  x.setPosition(ocs.ToWorld(p));
  x.setAlignmentPoint(ocs.ToWorld(a));
  x.setNormal(n);
  return text.release();
}

AcDbEntity* Reader::Insert(const Record& r, Identity* id, AcDbObjectId in_block) {
  auto ref = std::make_unique<AcDbBlockReference>();
  AcGePoint3d p;
  AcGeVector3d n(0, 0, 1);
  AcGeScale3d scale;
  const auto field = [&](const RawTag& t) {
    if (PointField(p, t, 10) || VectorField(n, t, 210)) return true;
    switch (t.code) {
      case 2: {
        const AcDbObjectId block = BlockByName(t.text);
        if (block.isNull()) return false;
        references_.push_back({block, in_block, r.line});
        return ref->setBlockTableRecord(block) == Acad::eOk;
      }
      case 41:
        return scale.sx = t.real, true;
      case 42:
        return scale.sy = t.real, true;
      case 43:
        return scale.sz = t.real, true;
      case 50:
        return ref->setRotation(t.real * kDegree) == Acad::eOk;
      default:
        return CommonField(*ref, t);
    }
  };
  if (!Walk(r, *ref, kInsert, field, id)) return nullptr;
  if (ref->blockTableRecord().isNull()) return Fail("an INSERT without a block name"), nullptr;
  ref->setPosition(Ocs(n).ToWorld(p));
  ref->setNormal(n);
  if (ref->setScaleFactors(scale) != Acad::eOk) return Fail("an INSERT scaled by 0"), nullptr;
  return ref.release();
}

AcDbEntity* Reader::MapEntity(const Record& r, Identity* id, AcDbObjectId in_block) {
  if (r.type == "LINE") return Line(r, id);
  if (r.type == "POINT") return Point(r, id);
  if (r.type == "CIRCLE") return Circle(r, id, false);
  if (r.type == "ARC") return Circle(r, id, true);
  if (r.type == "LWPOLYLINE") return LwPolyline(r, id);
  if (r.type == "TEXT") return Text(r, id);
  if (r.type == "INSERT") return Insert(r, id, in_block);
  return nullptr;
}

}  // namespace kwhost::dxf
