// Copying between databases: a drawing inserted as a block, a whole drawing copied (wblock),
// entities copied into a block, and the drawing's extents. A copy refers only to objects of its
// own database: each layer, linetype, text style and block an entity names is mapped to the
// destination's record of the same name, which is copied over first when missing (records of the
// destination win). Kept groups are copied with their objects; the followers of a proxy entity
// are not (they belong to the source's handles).
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/db/store.h"

namespace kwhost::db {

namespace {

class Copier {
 public:
  Copier(AcDbDatabase& source, AcDbDatabase& target, AcDbIdMapping& map)
      : m_src(source), m_dst(target), m_map(map) {}

  // The destination's counterpart of a source record (null id when it cannot be made).
  AcDbObjectId record(AcDbObjectId sourceId, TableKind kind);
  // Copies the live entities of a source block into a destination block.
  void entities(const AcDbBlockTableRecord& from, AcDbBlockTableRecord& to);
  // A non-resident copy of an entity whose references point into the destination.
  AcDbEntity* entity(const AcDbEntity& source);

 private:
  AcDbObjectId copyRecord(const AcDbSymbolTableRecord& source, TableKind kind);
  void remap(AcDbEntity& copy);

  AcDbDatabase& m_src;
  AcDbDatabase& m_dst;
  AcDbIdMapping& m_map;
};

AcDbObjectId Copier::record(AcDbObjectId sourceId, TableKind kind) {
  if (sourceId.isNull() || &m_src == &m_dst) return sourceId;
  AcDbObjectId mapped;
  if (m_map.lookup(sourceId, mapped)) return mapped;
  auto* source = AcDbSymbolTableRecord::cast(Peek(sourceId));
  AcDbSymbolTable* table = TableOf(&m_dst, kind);
  if (!source || !table) return AcDbObjectId();
  mapped = FindRecord(*table, source->name().c_str());
  if (!mapped.isNull()) {
    m_map.assign(sourceId, mapped);
    return mapped;
  }
  return copyRecord(*source, kind);
}

AcDbObjectId Copier::copyRecord(const AcDbSymbolTableRecord& source, TableKind kind) {
  AcDbSymbolTable* table = TableOf(&m_dst, kind);
  AcDbObject* copy = nullptr;
  if (auto* block = AcDbBlockTableRecord::cast(&source)) {
    auto* empty = new AcDbBlockTableRecord();
    empty->setOrigin(block->origin());
    copy = empty;
  } else {
    copy = source.clone();
  }
  auto* record = AcDbSymbolTableRecord::cast(copy);
  if (!record) {
    delete copy;
    return AcDbObjectId();
  }
  ObjectAccess::Name(*record) = source.name();
  AcDbObjectId id;
  AddWithHandle(m_dst, record, AcDbHandle(), table->objectId(), id);
  m_map.assign(source.objectId(), id);
  if (auto* layer = AcDbLayerTableRecord::cast(record)) {
    ObjectAccess::SetWriter(*layer, true);
    layer->setLinetypeObjectId(this->record(layer->linetypeObjectId(), kLinetypes));
    ObjectAccess::SetWriter(*layer, false);
  } else if (auto* linetype = AcDbLinetypeTableRecord::cast(record)) {
    ObjectAccess::SetWriter(*linetype, true);
    for (int i = 0; i < linetype->numDashes(); ++i) {
      linetype->setShapeStyleAt(i, this->record(linetype->shapeStyleAt(i), kTextStyles));
    }
    ObjectAccess::SetWriter(*linetype, false);
  } else if (auto* block = AcDbBlockTableRecord::cast(record)) {
    entities(*AcDbBlockTableRecord::cast(&source), *block);
  }
  return id;
}

void Copier::entities(const AcDbBlockTableRecord& from, AcDbBlockTableRecord& to) {
  std::vector<AcDbObjectId> ids = BlockEntities(from);  // `from` may grow when it is `to`
  for (AcDbObjectId id : ids) {
    auto* e = AcDbEntity::cast(Peek(id));
    if (!e || e->isErased()) continue;
    AcDbEntity* copy = entity(*e);
    if (!copy) continue;
    AcDbObjectId copyId;
    if (AddWithHandle(m_dst, copy, AcDbHandle(), to.objectId(), copyId) != Acad::eOk) {
      delete copy;
      continue;
    }
    m_map.assign(id, copyId);
  }
}

AcDbEntity* Copier::entity(const AcDbEntity& source) {
  auto* copy = AcDbEntity::cast(source.clone());
  if (!copy) return nullptr;
  if (auto* proxy = ProxyEntity::cast(copy)) proxy->followers.clear();
  remap(*copy);
  return copy;
}

void Copier::remap(AcDbEntity& copy) {
  ObjectAccess::SetLayer(copy, record(copy.layerId(), kLayers));
  ObjectAccess::SetLinetype(copy, record(copy.linetypeId(), kLinetypes));
  if (auto* text = AcDbText::cast(&copy)) {
    text->setTextStyle(record(text->textStyle(), kTextStyles));
  } else if (auto* ref = AcDbBlockReference::cast(&copy)) {
    ref->setBlockTableRecord(record(ref->blockTableRecord(), kBlocks));
  } else if (auto* poly = AcDb2dPolyline::cast(&copy)) {
    for (AcDb2dVertex* v : ObjectAccess::PendingVertices(*poly)) remap(*v);
  }
}

AcDbBlockTableRecord* Block(AcDbDatabase& db, const wchar_t* name) {
  AcDbSymbolTable* blocks = TableOf(&db, kBlocks);
  return blocks ? AcDbBlockTableRecord::cast(Peek(FindRecord(*blocks, name))) : nullptr;
}

}  // namespace

}  // namespace kwhost::db

using kwhost::db::Block;
using kwhost::db::Copier;

Acad::ErrorStatus AcDbDatabase::insert(AcDbObjectId& blockId, const wchar_t* blockName,
                                       AcDbDatabase* source, bool /*preserveSourceDatabase*/) {
  blockId = AcDbObjectId();
  if (!source) return Acad::eNullObjectPointer;
  if (!blockName || !*blockName) return Acad::eInvalidInput;
  if (source == this) return Acad::eSelfReference;
  AcDbSymbolTable* blocks = kwhost::db::TableOf(this, kwhost::db::kBlocks);
  if (kwhost::db::FindRecord(*blocks, blockName) != AcDbObjectId()) {
    return Acad::eDuplicateRecordName;
  }
  auto* block = new AcDbBlockTableRecord();
  if (block->setName(blockName) != Acad::eOk) {
    delete block;
    return Acad::eInvalidInput;
  }
  block->setOrigin(kwhost::db::HeaderPoint(*source, "$INSBASE"));
  kwhost::db::AddWithHandle(*this, block, AcDbHandle(), blocks->objectId(), blockId);
  AcDbIdMapping map;
  Copier copier(*source, *this, map);
  if (AcDbBlockTableRecord* model = Block(*source, L"*Model_Space")) {
    map.assign(model->objectId(), blockId);
    copier.entities(*model, *block);
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::wblock(AcDbDatabase*& output) {
  output = new AcDbDatabase(true);
  AcDbIdMapping map;
  Copier copier(*this, *output, map);
  using kwhost::db::TableKind;
  for (int kind = kwhost::db::kLayers; kind <= kwhost::db::kViewports; ++kind) {
    for (AcDbObjectId id : kwhost::db::TableRecords(*kwhost::db::TableOf(this, TableKind(kind)))) {
      if (!kwhost::db::Peek(id)->isErased()) copier.record(id, TableKind(kind));
    }
  }
  for (AcDbObjectId id :
       kwhost::db::TableRecords(*kwhost::db::TableOf(this, kwhost::db::kBlocks))) {
    auto* block = AcDbBlockTableRecord::cast(kwhost::db::Peek(id));
    if (!block || block->isErased()) continue;
    AcDbBlockTableRecord* same =
        block->isLayout() ? Block(*output, block->name().c_str()) : nullptr;
    if (!same) {
      copier.record(id, kwhost::db::kBlocks);
      continue;
    }
    map.assign(id, same->objectId());
    copier.entities(*block, *same);
  }
  kwhost::db::Extras(*output).header = kwhost::db::Extras(*this).header;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::deepCloneObjects(const AcDbObjectIdArray& objectIds,
                                                 AcDbObjectId owner, AcDbIdMapping& mapping,
                                                 bool /*deferXlation*/) {
  auto* block = AcDbBlockTableRecord::cast(kwhost::db::Peek(owner));
  if (objectIds.isEmpty() || !block || block->database() != this) return Acad::eInvalidInput;
  Copier copier(*this, *this, mapping);
  for (const AcDbObjectId& id : objectIds) {
    auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
    if (!e || e->database() != this) return Acad::eInvalidInput;
    if (e->isErased()) return Acad::eWasErased;
  }
  for (const AcDbObjectId& id : objectIds) {
    AcDbEntity* copy = copier.entity(*AcDbEntity::cast(kwhost::db::Peek(id)));
    AcDbObjectId copyId;
    if (!copy || kwhost::db::AddWithHandle(*this, copy, AcDbHandle(), owner, copyId) != Acad::eOk) {
      delete copy;
      return Acad::eNotApplicable;
    }
    mapping.assign(id, copyId);
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::updateExt(bool /*doBestFit*/) {
  AcDbBlockTableRecord* model = Block(*this, L"*Model_Space");
  kwhost::db::Box box;
  for (AcDbObjectId id : kwhost::db::BlockEntities(*model)) {
    auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
    AcDbExtents ext;
    if (!e || e->isErased() || e->getGeomExtents(ext) != Acad::eOk) continue;
    box.add(ext.minPoint());
    box.add(ext.maxPoint());
  }
  AcDbExtents ext;
  if (box.out(ext) != Acad::eOk) return Acad::eOk;
  auto put = [this](const char* name, const AcGePoint3d& p) {
    kwhost::db::SetHeaderText(*this, name, 10, kwhost::db::RealText(p.x));
    kwhost::db::SetHeaderText(*this, name, 20, kwhost::db::RealText(p.y));
    kwhost::db::SetHeaderText(*this, name, 30, kwhost::db::RealText(p.z));
  };
  put("$EXTMIN", ext.minPoint());
  put("$EXTMAX", ext.maxPoint());
  return Acad::eOk;
}
