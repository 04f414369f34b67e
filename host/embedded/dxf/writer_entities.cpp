// The DXF writer's blocks, entities and objects.
#include <cmath>

#include "common/encoding.h"
#include "host/embedded/dxf/internal/ocs.h"
#include "host/embedded/dxf/internal/writer.h"

namespace kwhost::dxf {
namespace {

bool IsPseudo(std::string_view part) {
  return part == "BLOCK" || part == "ENDBLK" || part == "SEQEND";
}

bool IsZ(const AcGeVector3d& n) {
  return n == AcGeVector3d(0, 0, 1);
}

// A block's list holds entities only (the database adds nothing else to it).
const AcDbEntity* EntityAt(AcDbObjectId id) {
  return static_cast<const AcDbEntity*>(db::Peek(id));
}

}  // namespace

void Writer::Subclass(const AcDbObject& o, std::string_view marker) {
  const db::KeptData* kept = db::Kept(o);
  if (!kept) return;
  if (const db::Tags* tags = kept->findSubclass(std::string(marker))) Tags(*tags);
}

void Writer::Finish(const AcDbObject& o, std::initializer_list<std::string_view> markers) {
  const db::KeptData* kept = db::Kept(o);
  if (!kept) return;
  Subclass(o, *(markers.end() - 1));
  Subclass(o, "");
  for (const auto& [marker, tags] : kept->subclasses) {
    bool known = marker.empty() || IsPseudo(marker);
    for (std::string_view m : markers) known = known || m == marker;
    if (known) continue;
    w_.String(100, marker);
    Tags(tags);
  }
  Tags(kept->xdata);
}

// The handle of a BLOCK, ENDBLK or SEQEND read with its owner; a new one otherwise.
uint64_t Writer::KeptHandle(const AcDbObject& o, std::string_view part) {
  const db::KeptData* kept = db::Kept(o);
  const db::Tags* tags = kept ? kept->findSubclass(std::string(part)) : nullptr;
  if (tags) {
    for (const db::Tag& t : *tags) {
      uint64_t h = 0;
      if (t.code == 5 && ParseHandle(t.value, &h) && h != 0) return h;
    }
  }
  return next_++;
}

void Writer::Blocks() {
  w_.Keyword(0, "SECTION");
  w_.Keyword(2, "BLOCKS");
  const auto* table = AcDbSymbolTable::cast(db::Peek(db_.blockTableId()));
  for (AcDbObjectId id : table ? db::TableRecords(*table) : std::vector<AcDbObjectId>()) {
    const auto* b = AcDbBlockTableRecord::cast(db::Peek(id));
    if (!b || b->isErased()) continue;
    if (b->name() == L"*Model_Space") model_ = id;
    if (b->name() == L"*Paper_Space") paper_ = id;
    BlockBegin(*b);
    if (id != model_ && id != paper_) {
      for (AcDbObjectId e : db::BlockEntities(*b)) {
        const AcDbEntity* entity = EntityAt(e);
        if (entity && !entity->isErased()) Entity(*entity, b->objectHandle().value(), false);
      }
    }
    BlockEnd(*b);
  }
  w_.Keyword(0, "ENDSEC");
}

void Writer::BlockBegin(const AcDbBlockTableRecord& b) {
  const db::KeptData* kept = db::Kept(b);
  const db::Tags* tags = kept ? kept->findSubclass("BLOCK") : nullptr;
  std::string layer = "0", path;
  int flags = b.isAnonymous() ? 1 : 0;
  for (const db::Tag& t : tags ? *tags : db::Tags()) {
    if (t.code == 8) layer = t.value;
    if (t.code == 1) path = t.value;
    if (t.code == 70) flags = std::atoi(t.value.c_str());
  }
  const std::string name = kw::ToUtf8(b.name());
  w_.Keyword(0, "BLOCK");
  Handle(5, KeptHandle(b, "BLOCK"));
  Handle(330, b.objectHandle().value());
  w_.Keyword(100, "AcDbEntity");
  if (b.name() == L"*Paper_Space") w_.Int(67, 1);
  w_.String(8, layer);
  w_.Keyword(100, "AcDbBlockBegin");
  w_.String(2, name);
  w_.Int(70, flags);
  w_.Point(10, b.origin().x, b.origin().y, b.origin().z);
  w_.String(3, name);
  w_.String(1, path);
  const wchar_t* comments = nullptr;
  if (b.comments(comments) == Acad::eOk && comments && *comments) {
    w_.String(4, kw::ToUtf8(comments));
  }
  for (const db::Tag& t : tags ? *tags : db::Tags()) {
    if (t.code != 5 && t.code != 8 && t.code != 1 && t.code != 70) w_.Text(t.code, t.value);
  }
}

void Writer::BlockEnd(const AcDbBlockTableRecord& b) {
  const db::KeptData* kept = db::Kept(b);
  const db::Tags* tags = kept ? kept->findSubclass("ENDBLK") : nullptr;
  std::string layer = "0";
  for (const db::Tag& t : tags ? *tags : db::Tags()) {
    if (t.code == 8) layer = t.value;
  }
  w_.Keyword(0, "ENDBLK");
  Handle(5, KeptHandle(b, "ENDBLK"));
  Handle(330, b.objectHandle().value());
  w_.Keyword(100, "AcDbEntity");
  if (b.name() == L"*Paper_Space") w_.Int(67, 1);
  w_.String(8, layer);
  w_.Keyword(100, "AcDbBlockEnd");
}

void Writer::Entities() {
  w_.Keyword(0, "SECTION");
  w_.Keyword(2, "ENTITIES");
  for (AcDbObjectId space : {model_, paper_}) {
    const auto* b = AcDbBlockTableRecord::cast(db::Peek(space));
    if (!b) continue;
    for (AcDbObjectId e : db::BlockEntities(*b)) {
      const AcDbEntity* entity = EntityAt(e);
      if (entity && !entity->isErased()) {
        Entity(*entity, b->objectHandle().value(), space == paper_);
      }
    }
  }
  w_.Keyword(0, "ENDSEC");
}

void Writer::Proxy(const db::ProxyEntity& p) {
  w_.String(0, p.dxfName);
  Tags(p.tags);
  for (AcDbObjectId id : p.followers) {
    if (const auto* f = db::ProxyEntity::cast(db::Peek(id)); f && !f->isErased()) Proxy(*f);
  }
}

void Writer::Common(const AcDbEntity& e, std::string_view type, uint64_t owner, bool paper) {
  w_.Keyword(0, type);
  Handle(5, e.objectHandle().value());
  const db::KeptData* kept = db::Kept(e);
  if (kept) Tags(kept->appGroups);
  Handle(330, owner);
  w_.Keyword(100, "AcDbEntity");
  if (paper) w_.Int(67, 1);
  const std::string& layer = NameOf(e.layerId());
  w_.String(8, layer.empty() ? "0" : layer);
  if (!e.linetypeId().isNull() && e.linetypeId() != by_layer_) {
    w_.String(6, NameOf(e.linetypeId()));
  }
  const AcCmColor c = e.color();
  if (c.isByColor()) {
    w_.Int(420, (c.red() << 16) | (c.green() << 8) | c.blue());
  } else if (!c.isByLayer()) {
    w_.Int(62, c.colorIndex());
  }
  if (e.lineWeight() != AcDb::kLnWtByLayer) w_.Int(370, e.lineWeight());
  if (e.linetypeScale() != 1.0) w_.Double(48, e.linetypeScale());
  if (e.visibility() == AcDb::kInvisible) w_.Int(60, 1);
  Subclass(e, "AcDbEntity");
}

// Entities are told apart by their exact class: one look at isA() instead of walking the
// class tree once per candidate.
void Writer::Entity(const AcDbEntity& e, uint64_t owner, bool paper) {
  const AcRxClass* cls = e.isA();
  if (const auto* p = As<db::ProxyEntity>(e, cls)) return Proxy(*p);
  if (const auto* p = As<AcDb2dPolyline>(e, cls)) return Polyline(*p, owner, paper);
  if (const auto* l = As<AcDbLine>(e, cls)) {
    Common(e, "LINE", owner, paper);
    w_.Keyword(100, "AcDbLine");
    if (l->thickness() != 0) w_.Double(39, l->thickness());
    w_.Point(10, l->startPoint().x, l->startPoint().y, l->startPoint().z);
    w_.Point(11, l->endPoint().x, l->endPoint().y, l->endPoint().z);
    if (!IsZ(l->normal())) w_.Point(210, l->normal().x, l->normal().y, l->normal().z);
    return Finish(e, {"AcDbEntity", "AcDbLine"});
  }
  Fields(e, cls, owner, paper);
}

}  // namespace kwhost::dxf
