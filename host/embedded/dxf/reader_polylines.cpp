// The DXF reader's entity sequence: where each entity goes, old-style polylines with their
// vertices, and entities kept as groups together with their followers.
#include <memory>

#include "host/embedded/dxf/internal/reader.h"

namespace kwhost::dxf {
namespace {

const std::vector<std::string_view> kPolyline = {"AcDbEntity", "AcDb2dPolyline"};
const std::vector<std::string_view> kVertex = {"AcDbEntity", "AcDbVertex", "AcDb2dVertex"};

bool InPaperSpace(const Record& r) {
  for (const RawTag& t : r.tags) {
    if (t.code == 67) return t.integer == 1;
    if (t.code == 100 && t.text != "AcDbEntity") break;
  }
  return false;
}

int Flags(const Record& r, int code) {
  for (const RawTag& t : r.tags) {
    if (t.code == code) return static_cast<int>(t.integer);
  }
  return 0;
}

Identity IdentityOf(const Record& r) {
  Identity id;
  id.line = r.line;
  for (const RawTag& t : r.tags) {
    if (t.code == 5 && id.handle == 0) ParseHandle(t.text, &id.handle);
    if (t.code == 330 && id.owner == 0) ParseHandle(t.text, &id.owner);
    if (t.code == 100) break;
  }
  return id;
}

}  // namespace

AcDbObjectId Reader::BlockFor(AcDbObjectId block, bool paper) {
  if (!block.isNull()) return block;
  if (paper) return paper_.isNull() ? BlockByName("*Paper_Space") : paper_;
  return model_.isNull() ? BlockByName("*Model_Space") : model_;
}

bool Reader::Entities(AcDbObjectId block, std::string_view end) {
  while (NextRecord() && rec_.type != end) {
    if (IsStructureRecord(rec_.type)) return Fail(std::string(end) + " expected");
    if (!Entity(BlockFor(block, InPaperSpace(rec_)))) return false;
  }
  return !records_.failed();
}

bool Reader::Entity(AcDbObjectId block) {
  if (block.isNull()) return false;
  if (rec_.type == "POLYLINE") return Polyline(block);
  if (rec_.type == "INSERT" && FollowersAhead(rec_)) return KeptWithFollowers(block);
  Identity id;
  std::unique_ptr<AcDbEntity> entity(MapEntity(rec_, &id, block));
  if (records_.failed()) return false;
  if (!entity) return KeptWithFollowers(block);
  if (entity->layerId().isNull()) {
    const auto found = layers_.find("0");
    const AcDbObjectId zero = found != layers_.end() ? found->second : CreateLayer("0");
    if (zero.isNull() || entity->setLayer(zero, false) != Acad::eOk) return false;
  }
  return Add(entity.release(), id, block, nullptr);
}

bool Reader::FollowersAhead(const Record& r) const {
  for (const RawTag& t : r.tags) {
    if (t.code == 66) return t.integer != 0;
  }
  return false;
}

// An entity the host does not model, kept as its groups; an INSERT with attributes and a
// polyline that is not 2D bring their following entities up to SEQEND along.
bool Reader::KeptWithFollowers(AcDbObjectId block) {
  const bool followers = FollowersAhead(rec_);
  AcDbObjectId head;
  if (!Add(new db::ProxyEntity(std::string(rec_.type), AllTags(rec_)), IdentityOf(rec_), block,
           &head)) {
    return false;
  }
  if (!followers) return true;
  while (NextRecord()) {
    if (IsStructureRecord(rec_.type)) return Fail("SEQEND expected");
    AcDbObjectId follower;
    if (!Add(new db::ProxyEntity(std::string(rec_.type), AllTags(rec_)), IdentityOf(rec_), head,
             &follower)) {
      return false;
    }
    if (auto* proxy = db::ProxyEntity::cast(db::Peek(head))) proxy->followers.push_back(follower);
    if (rec_.type == "SEQEND") return true;
  }
  return false;
}

bool Reader::Polyline(AcDbObjectId block) {
  if ((Flags(rec_, 70) & (8 | 16 | 64)) != 0) return KeptWithFollowers(block);
  auto pl = std::make_unique<AcDb2dPolyline>();
  AcDb2dPolyline& p = *pl;
  int curve = 0;
  AcGeVector3d n(0, 0, 1);
  const auto field = [&](const RawTag& t) {
    switch (t.code) {
      case 66:
      case 10:
      case 20:
        return true;
      case 30:
        return p.setElevation(t.real) == Acad::eOk;
      case 70:
        if (t.integer & 1) p.makeClosed();
        if (t.integer & 2) curve = 1;
        return (t.integer & ~3) == 0;
      case 75:
        if (t.integer == 5) curve = 2;
        if (t.integer == 6) curve = 3;
        return t.integer == 0 || t.integer == 5 || t.integer == 6;
      case 40:
        return p.setDefaultStartWidth(t.real) == Acad::eOk;
      case 41:
        return p.setDefaultEndWidth(t.real) == Acad::eOk;
      case 39:
        return p.setThickness(t.real) == Acad::eOk;
      case 210:
        return n.x = t.real, true;
      case 220:
        return n.y = t.real, true;
      case 230:
        return n.z = t.real, true;
      default:
        return CommonField(p, t);
    }
  };
  Identity id;
  if (!Walk(rec_, p, kPolyline, field, &id)) return false;
  p.setPolyType(static_cast<AcDb::Poly2dType>(curve));
  p.setNormal(n);
  AcDbObjectId added;
  if (!Add(pl.release(), id, block, &added)) return false;
  while (NextRecord()) {
    if (rec_.type == "SEQEND") return Seqend(added);
    if (rec_.type != "VERTEX") return Fail("VERTEX or SEQEND expected");
    if (!Vertex(added)) return false;
  }
  return false;
}

bool Reader::Vertex(AcDbObjectId polyline) {
  auto vertex = std::make_unique<AcDb2dVertex>();
  AcDb2dVertex& v = *vertex;
  AcGePoint3d p;
  const auto field = [&](const RawTag& t) {
    switch (t.code) {
      case 10:
        return p.x = t.real, true;
      case 20:
        return p.y = t.real, true;
      case 30:
        return p.z = t.real, true;
      case 40:
        return v.setStartWidth(t.real) == Acad::eOk;
      case 41:
        return v.setEndWidth(t.real) == Acad::eOk;
      case 42:
        return v.setBulge(t.real) == Acad::eOk;
      case 70: {
        const auto type = (t.integer & 16)  ? AcDb::k2dSplineCtlVertex
                          : (t.integer & 8) ? AcDb::k2dSplineFitVertex
                          : (t.integer & 1) ? AcDb::k2dCurveFitVertex
                                            : AcDb::k2dVertex;
        v.setVertexType(type);
        return (t.integer & ~(1 | 8 | 16)) == 0;
      }
      default:
        return CommonField(v, t);
    }
  };
  Identity id;
  if (!Walk(rec_, v, kVertex, field, &id)) return false;
  v.setPosition(p);
  if (id.handle != 0 && side_handles_.Contains(id.handle)) return Fail("handle used twice");
  AcDb2dPolyline* pl = nullptr;
  if (acdbOpenObject(pl, polyline, AcDb::kForWrite) != Acad::eOk) return Fail("no polyline");
  AcDb2dVertex* raw = vertex.release();
  AcDbObjectId added;
  const Acad::ErrorStatus es = pl->appendVertex(added, raw);
  pl->close();
  if (es != Acad::eOk) return delete raw, Fail("the vertex cannot be added");
  raw->close();
  if (id.handle == 0) made_.Insert(added.asOldId(), true);
  // The vertex joined with a fresh handle, which may already be the one it claims.
  if (id.handle != 0 && raw->objectHandle().value() != id.handle &&
      (!Vacate(id.handle) || db::SetHandle(db_, *raw, AcDbHandle(id.handle)) != Acad::eOk)) {
    return Fail("handle used twice");
  }
  handseed_ = std::max(handseed_, id.handle + 1);
  if (id.owner != 0) owners_.emplace_back(id.owner, id.line);
  return true;
}

// The SEQEND of a modelled polyline is no object of the database: its groups are kept with
// the polyline.
bool Reader::Seqend(AcDbObjectId polyline) {
  AcDbObject* pl = db::Peek(polyline);
  if (!pl) return false;
  uint64_t handle = 0;
  db::Tags& tags = db::KeptFor(*pl).subclass("SEQEND");
  for (const RawTag& t : rec_.tags) {
    if (t.code == 5 && handle == 0 && !ParseHandle(t.text, &handle)) handle = 0;  // the first
    if (t.code != 100 && t.code != 330) tags.push_back({t.code, std::string(t.text)});
  }
  return TakeSideHandle(handle, rec_.line);
}

}  // namespace kwhost::dxf
