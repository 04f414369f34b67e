// The DXF writer's entity data: points, circles, arcs, polylines, text and block references,
// and the OBJECTS section.
#include <cmath>

#include "common/encoding.h"
#include "host/embedded/dxf/internal/ocs.h"
#include "host/embedded/dxf/internal/writer.h"

namespace kwhost::dxf {
namespace {

constexpr double kDegree = M_PI / 180.0;

bool IsZ(const AcGeVector3d& n) {
  return n == AcGeVector3d(0, 0, 1);
}

}  // namespace

void Writer::Fields(const AcDbEntity& e, const AcRxClass* cls, uint64_t owner, bool paper) {
  if (const auto* x = As<AcDbPoint>(e, cls)) return PointFields(*x, owner, paper);
  if (const auto* x = As<AcDbArc>(e, cls)) return ArcFields(*x, owner, paper);
  if (const auto* x = As<AcDbCircle>(e, cls)) return CircleFields(*x, owner, paper);
  if (const auto* x = As<AcDbPolyline>(e, cls)) return LwPolylineFields(*x, owner, paper);
  if (const auto* x = As<AcDbText>(e, cls)) return TextFields(*x, owner, paper);
  if (const auto* x = As<AcDbBlockReference>(e, cls)) return InsertFields(*x, owner, paper);
}

void Writer::Normal(const AcGeVector3d& n) {
  if (!IsZ(n)) w_.Point(210, n.x, n.y, n.z);
}

void Writer::PointFields(const AcDbPoint& entity, uint64_t owner, bool paper) {
  const AcDbEntity& e = entity;
  const auto* p = &entity;
  Common(e, "POINT", owner, paper);
  w_.Keyword(100, "AcDbPoint");
  w_.Point(10, p->position().x, p->position().y, p->position().z);
  if (p->thickness() != 0) w_.Double(39, p->thickness());
  Normal(p->normal());
  if (p->ecsRotation() != 0) w_.Double(50, p->ecsRotation() / kDegree);
  Finish(e, {"AcDbEntity", "AcDbPoint"});
}

void Writer::ArcFields(const AcDbArc& entity, uint64_t owner, bool paper) {
  const AcDbEntity& e = entity;
  const auto* a = &entity;
  Common(e, "ARC", owner, paper);
  w_.Keyword(100, "AcDbCircle");
  if (a->thickness() != 0) w_.Double(39, a->thickness());
  const AcGePoint3d c = Ocs(a->normal()).ToOcs(a->center());
  w_.Point(10, c.x, c.y, c.z);
  w_.Double(40, a->radius());
  Normal(a->normal());
  Subclass(e, "AcDbCircle");
  w_.Keyword(100, "AcDbArc");
  w_.Double(50, a->startAngle() / kDegree);
  w_.Double(51, a->endAngle() / kDegree);
  Finish(e, {"AcDbEntity", "AcDbCircle", "AcDbArc"});
}

void Writer::CircleFields(const AcDbCircle& entity, uint64_t owner, bool paper) {
  const AcDbEntity& e = entity;
  const auto* c = &entity;
  Common(e, "CIRCLE", owner, paper);
  w_.Keyword(100, "AcDbCircle");
  if (c->thickness() != 0) w_.Double(39, c->thickness());
  const AcGePoint3d o = Ocs(c->normal()).ToOcs(c->center());
  w_.Point(10, o.x, o.y, o.z);
  w_.Double(40, c->radius());
  Normal(c->normal());
  Finish(e, {"AcDbEntity", "AcDbCircle"});
}

void Writer::LwPolylineFields(const AcDbPolyline& entity, uint64_t owner, bool paper) {
  const AcDbEntity& e = entity;
  const auto* p = &entity;
  Common(e, "LWPOLYLINE", owner, paper);
  w_.Keyword(100, "AcDbPolyline");
  w_.Int(90, p->numVerts());
  w_.Int(70, p->isClosed() ? 1 : 0);
  double constant = 0;
  const bool uniform = p->getConstantWidth(constant) == Acad::eOk;
  if (uniform) w_.Double(43, constant);
  if (p->elevation() != 0) w_.Double(38, p->elevation());
  if (p->thickness() != 0) w_.Double(39, p->thickness());
  const bool bulges = p->hasBulges();
  for (unsigned i = 0; i < p->numVerts(); ++i) {
    AcGePoint2d v;
    p->getPointAt(i, v);
    w_.Point(10, v.x, v.y, 0, false);
    if (!uniform) {
      double s = 0, en = 0;
      p->getWidthsAt(i, s, en);
      w_.Double(40, s);
      w_.Double(41, en);
    }
    double b = 0;
    if (bulges && p->getBulgeAt(i, b) == Acad::eOk && b != 0) w_.Double(42, b);
  }
  Normal(p->normal());
  Finish(e, {"AcDbEntity", "AcDbPolyline"});
}

void Writer::TextFields(const AcDbText& entity, uint64_t owner, bool paper) {
  const AcDbEntity& e = entity;
  const auto* t = &entity;
  const Ocs ocs(t->normal());
  Common(e, "TEXT", owner, paper);
  w_.Keyword(100, "AcDbText");
  if (t->thickness() != 0) w_.Double(39, t->thickness());
  const AcGePoint3d p = ocs.ToOcs(t->position());
  w_.Point(10, p.x, p.y, p.z);
  w_.Double(40, t->height());
  w_.String(1, kw::ToUtf8(t->textStringConst()));
  if (t->rotation() != 0) w_.Double(50, t->rotation() / kDegree);
  if (t->widthFactor() != 1.0) w_.Double(41, t->widthFactor());
  if (t->oblique() != 0) w_.Double(51, t->oblique() / kDegree);
  const std::string& style = NameOf(t->textStyle());
  if (!style.empty()) w_.String(7, style);
  const int mirror = (t->isMirroredInX() ? 2 : 0) | (t->isMirroredInY() ? 4 : 0);
  if (mirror) w_.Int(71, mirror);
  if (t->horizontalMode() != AcDb::kTextLeft) w_.Int(72, t->horizontalMode());
  if (t->horizontalMode() != AcDb::kTextLeft || t->verticalMode() != AcDb::kTextBase) {
    const AcGePoint3d a = ocs.ToOcs(t->alignmentPoint());
    w_.Point(11, a.x, a.y, a.z);
  }
  Normal(t->normal());
  Subclass(e, "AcDbText");
  w_.Keyword(100, "AcDbText");
  if (t->verticalMode() != AcDb::kTextBase) w_.Int(73, t->verticalMode());
  Finish(e, {"AcDbEntity", "AcDbText"});
}

void Writer::InsertFields(const AcDbBlockReference& entity, uint64_t owner, bool paper) {
  const AcDbEntity& e = entity;
  const auto* r = &entity;
  Common(e, "INSERT", owner, paper);
  w_.Keyword(100, "AcDbBlockReference");
  w_.String(2, NameOf(r->blockTableRecord()));
  const AcGePoint3d p = Ocs(r->normal()).ToOcs(r->position());
  w_.Point(10, p.x, p.y, p.z);
  const AcGeScale3d s = r->scaleFactors();
  if (s.sx != 1.0) w_.Double(41, s.sx);
  if (s.sy != 1.0) w_.Double(42, s.sy);
  if (s.sz != 1.0) w_.Double(43, s.sz);
  if (r->rotation() != 0) w_.Double(50, r->rotation() / kDegree);
  Normal(r->normal());
  Finish(e, {"AcDbEntity", "AcDbBlockReference"});
}

void Writer::Polyline(const AcDb2dPolyline& p, uint64_t owner, bool paper) {
  Common(p, "POLYLINE", owner, paper);
  w_.Keyword(100, "AcDb2dPolyline");
  w_.Int(66, 1);
  w_.Point(10, 0, 0, p.elevation());
  if (p.thickness() != 0) w_.Double(39, p.thickness());
  const int curve = p.polyType() == AcDb::k2dFitCurvePoly ? 2 : p.polyType() != 0 ? 4 : 0;
  w_.Int(70, (p.isClosed() ? 1 : 0) | curve);
  if (p.defaultStartWidth() != 0) w_.Double(40, p.defaultStartWidth());
  if (p.defaultEndWidth() != 0) w_.Double(41, p.defaultEndWidth());
  if (p.polyType() == AcDb::k2dQuadSplinePoly) w_.Int(75, 5);
  if (p.polyType() == AcDb::k2dCubicSplinePoly) w_.Int(75, 6);
  if (!IsZ(p.normal())) w_.Point(210, p.normal().x, p.normal().y, p.normal().z);
  Finish(p, {"AcDbEntity", "AcDb2dPolyline"});
  const std::string& layer = NameOf(p.layerId());
  for (AcDbObjectId id : db::PolylineVertices(p)) {
    const auto* v = AcDb2dVertex::cast(db::Peek(id));
    if (!v || v->isErased()) continue;
    Common(*v, "VERTEX", p.objectHandle().value(), paper);
    w_.Keyword(100, "AcDbVertex");
    w_.Keyword(100, "AcDb2dVertex");
    w_.Point(10, v->position().x, v->position().y, v->position().z);
    if (v->startWidth() != 0) w_.Double(40, v->startWidth());
    if (v->endWidth() != 0) w_.Double(41, v->endWidth());
    if (v->bulge() != 0) w_.Double(42, v->bulge());
    static constexpr int kVertexFlags[] = {0, 16, 8, 1};
    w_.Int(70, kVertexFlags[v->vertexType()]);
    Finish(*v, {"AcDbEntity", "AcDbVertex", "AcDb2dVertex"});
  }
  w_.Keyword(0, "SEQEND");
  Handle(5, KeptHandle(p, "SEQEND"));
  Handle(330, p.objectHandle().value());
  w_.Keyword(100, "AcDbEntity");
  if (paper) w_.Int(67, 1);
  w_.String(8, layer.empty() ? "0" : layer);
}

// The objects read with the drawing; a new drawing gets the root dictionary, the group
// dictionary and the layouts of model space and paper space.
void Writer::Objects() {
  w_.Keyword(0, "SECTION");
  w_.Keyword(2, "OBJECTS");
  for (AcDbObjectId id : extras_.objects) {
    const auto* p = db::ProxyObject::cast(db::Peek(id));
    if (!p || p->isErased()) continue;
    w_.String(0, p->dxfName);
    Tags(p->tags);
  }
  if (root_ == 0) return w_.Keyword(0, "ENDSEC");
  const auto dictionary = [&](uint64_t handle, uint64_t owner) {
    w_.Keyword(0, "DICTIONARY");
    Handle(5, handle);
    Handle(330, owner);
    w_.Keyword(100, "AcDbDictionary");
    w_.Int(281, 1);
  };
  dictionary(root_, 0);
  w_.Keyword(3, "ACAD_GROUP");
  Handle(350, groups_);
  w_.Keyword(3, "ACAD_LAYOUT");
  Handle(350, layouts_);
  dictionary(groups_, root_);
  dictionary(layouts_, root_);
  w_.Keyword(3, "Layout1");
  Handle(350, paper_layout_);
  w_.Keyword(3, "Model");
  Handle(350, model_layout_);
  const auto layout = [&](uint64_t handle, const char* name, int order, AcDbObjectId block) {
    w_.Keyword(0, "LAYOUT");
    Handle(5, handle);
    Handle(330, layouts_);
    w_.Keyword(100, "AcDbPlotSettings");
    w_.String(1, "");
    w_.Int(70, 0);
    w_.Keyword(100, "AcDbLayout");
    w_.String(1, name);
    w_.Int(70, 1);
    w_.Int(71, order);
    w_.Point(10, 0, 0, 0, false);
    w_.Point(11, 420, 297, 0, false);
    w_.Point(12, 0, 0, 0);
    w_.Point(14, 0, 0, 0);
    w_.Point(15, 0, 0, 0);
    w_.Double(146, 0);
    w_.Point(13, 0, 0, 0);
    w_.Point(16, 1, 0, 0);
    w_.Point(17, 0, 1, 0);
    w_.Int(76, 0);
    Handle(330, HandleOf(block));
  };
  layout(model_layout_, "Model", 0, model_);
  layout(paper_layout_, "Layout1", 1, paper_);
  w_.Keyword(0, "ENDSEC");
}

}  // namespace kwhost::dxf
