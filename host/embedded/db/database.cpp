// The database: its tables and default records, adding objects under handles, the header
// variables it models, reading a drawing file through the registered reader, and the working
// database. Invariants of the storage are those of store.h; in addition:
//   1. tables[k] is the id of the table of kind k; a database always has the six tables.
//   2. The working database is null or a live database (a deleted database stops being it).
#include <charconv>
#include <cmath>
#include <limits>

#include "common/encoding.h"
#include "common/text.h"
#include "host/api/dbents.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/store.h"

namespace kwhost::db {

namespace {

AcDbDatabase* g_working = nullptr;

void ForgetWorkingDatabase(AcDbDatabase* db) {
  if (g_working == db) g_working = nullptr;
}

DrawingReader& Reader() {
  static DrawingReader reader;
  return reader;
}

DrawingWriter& Writer() {
  static DrawingWriter writer;
  return writer;
}

AcDbObjectId MakeId(uint32_t serial, size_t slot) {
  return AcDbObjectId().setFromOldId(
      static_cast<Adesk::IntDbId>((static_cast<uint64_t>(serial) << 32) | (slot + 1)));
}

Acad::ErrorStatus TakeHandle(AcDbDatabase::Impl& impl, AcDbHandle& handle) {
  if (handle.isNull()) {
    handle = AcDbHandle(impl.nextHandle++);
    return Acad::eOk;
  }
  if (impl.byHandle.Contains(handle.value())) return Acad::eHandleInUse;
  if (handle.value() >= impl.nextHandle) impl.nextHandle = handle.value() + 1;
  return Acad::eOk;
}

// The "ByLayer" linetype, remembered between calls (a reader asks for it once per entity).
AcDbObjectId ByLayer(AcDbDatabase& db) {
  AcDbObjectId& cached = ObjectAccess::Of(db).byLayer;
  auto* record = AcDbSymbolTableRecord::cast(Peek(cached));
  if (!record || record->isErased() || !kw::EqualsNoCase(record->name(), L"ByLayer")) {
    cached = db.byLayerLinetype();
  }
  return cached;
}

// A new entity takes the current layer and linetype; one read from a file without them takes
// what the file format means by their absence: layer "0" and ByLayer.
void ApplyEntityDefaults(AcDbDatabase& db, AcDbObject& object, bool fromFile) {
  auto* entity = AcDbEntity::cast(&object);
  if (!entity) return;
  if (entity->layerId().isNull()) {
    AcDbSymbolTable* layers = TableOf(&db, kLayers);
    ObjectAccess::SetLayer(*entity, fromFile ? FindRecord(*layers, L"0") : db.clayer());
  }
  if (entity->linetypeId().isNull()) {
    ObjectAccess::SetLinetype(*entity, fromFile ? ByLayer(db) : db.celtype());
  }
  auto* text = AcDbText::cast(entity);
  if (text && text->textStyle().isNull()) text->setTextStyle(db.textstyle());
}

void AddPendingChildren(AcDbDatabase& db, AcDbObject& object) {
  AcDbObjectId id;
  if (auto* block = AcDbBlockTableRecord::cast(&object)) {
    auto pending = std::move(ObjectAccess::PendingEntities(*block));
    ObjectAccess::PendingEntities(*block).clear();
    for (AcDbEntity* e : pending) {
      ApplyEntityDefaults(db, *e, false);
      if (AddObject(db, e, object.objectId(), AcDbHandle(), false, id) == Acad::eOk) {
        ObjectAccess::Entities(*block).push_back(id);
      } else {
        delete e;
      }
    }
  } else if (auto* poly = AcDb2dPolyline::cast(&object)) {
    auto pending = std::move(ObjectAccess::PendingVertices(*poly));
    ObjectAccess::PendingVertices(*poly).clear();
    for (AcDb2dVertex* v : pending) {
      if (AddObject(db, v, object.objectId(), AcDbHandle(), false, id) == Acad::eOk) {
        ObjectAccess::Vertices(*poly).push_back(id);
      } else {
        delete v;
      }
    }
  }
}

}  // namespace

Acad::ErrorStatus AddObject(AcDbDatabase& db, AcDbObject* object, AcDbObjectId owner,
                            AcDbHandle handle, bool leaveOpen, AcDbObjectId& id) {
  if (!object) return Acad::eNullObjectPointer;
  if (!object->objectId().isNull()) return Acad::eAlreadyInDb;
  auto& impl = ObjectAccess::Of(db);
  Acad::ErrorStatus es = TakeHandle(impl, handle);
  if (es != Acad::eOk) return es;
  ApplyEntityDefaults(db, *object, !leaveOpen);  // while the object is still writable
  size_t slot = impl.slots.size();
  impl.slots.push_back(object);
  impl.byHandle.Insert(handle.value(), static_cast<uint32_t>(slot));
  id = MakeId(impl.serial, slot);
  ObjectAccess::Place(*object, id, handle);
  ObjectAccess::SetOwner(*object, owner);
  AddPendingChildren(db, *object);
  ObjectAccess::SetWriter(*object, leaveOpen);
  return Acad::eOk;
}

AcDbSymbolTable* TableOf(AcDbDatabase* db, TableKind kind) {
  if (!db) return nullptr;
  return static_cast<AcDbSymbolTable*>(Peek(ObjectAccess::Of(*db).tables[kind]));
}

std::string RealText(double value) {
  if (!std::isfinite(value)) return "0.0";
  char buf[64];
  auto res = std::to_chars(buf, buf + sizeof buf, value);
  std::string text(buf, res.ptr);
  if (text.find_first_of(".eE") == std::string::npos) text += ".0";
  return text;
}

std::string HeaderText(const AcDbDatabase& db, const char* name, int code) {
  const Tags* tags = Extras(db).findHeader(name);
  if (!tags) return {};
  for (const Tag& t : *tags) {
    if (t.code == code) return t.value;
  }
  return {};
}

void SetHeaderText(AcDbDatabase& db, const char* name, int code, const std::string& value) {
  DatabaseExtras& extras = Extras(db);
  const Tags* found = extras.findHeader(name);
  Tags tags = found ? *found : Tags{};
  bool replaced = false;
  for (Tag& t : tags) {
    if (t.code == code) {
      t.value = value;
      replaced = true;
      break;
    }
  }
  if (!replaced) tags.push_back(Tag{code, value});
  extras.setHeader(name, std::move(tags));
}

AcGePoint3d HeaderPoint(const AcDbDatabase& db, const char* name) {
  auto coord = [&](int code) { return kw::WToF(kw::FromUtf8(HeaderText(db, name, code))); };
  return AcGePoint3d(coord(10), coord(20), coord(30));
}

DatabaseExtras& Extras(AcDbDatabase& db) {
  return ObjectAccess::Of(db).extras;
}

const DatabaseExtras& Extras(const AcDbDatabase& db) {
  return ObjectAccess::Of(db).extras;
}

Acad::ErrorStatus AddWithHandle(AcDbDatabase& db, AcDbObject* object, AcDbHandle handle,
                                AcDbObjectId owner, AcDbObjectId& id) {
  Acad::ErrorStatus es = AddObject(db, object, owner, handle, false, id);
  if (es != Acad::eOk) return es;
  AcDbObject* holder = Peek(owner);
  if (auto* block = AcDbBlockTableRecord::cast(holder); block && AcDbEntity::cast(object)) {
    ObjectAccess::Entities(*block).push_back(id);
  } else if (auto* table = AcDbSymbolTable::cast(holder);
             table && AcDbSymbolTableRecord::cast(object)) {
    ObjectAccess::Records(*table).push_back(id);
    ObjectAccess::DropIndex(*table);
  } else if (auto* poly = AcDb2dPolyline::cast(holder); poly && AcDb2dVertex::cast(object)) {
    ObjectAccess::Vertices(*poly).push_back(id);
  }
  return Acad::eOk;
}

Acad::ErrorStatus SetHandle(AcDbDatabase& db, AcDbObject& object, AcDbHandle handle) {
  auto& impl = ObjectAccess::Of(db);
  if (object.database() != &db || handle.isNull()) return Acad::eInvalidInput;
  if (object.objectHandle() == handle) return Acad::eOk;
  Acad::ErrorStatus es = TakeHandle(impl, handle);
  if (es != Acad::eOk) return es;
  impl.byHandle.Erase(object.objectHandle().value());
  uint32_t slot = static_cast<uint32_t>((object.objectId().asOldId() & 0xFFFFFFFF) - 1);
  impl.byHandle.Insert(handle.value(), slot);
  ObjectAccess::Place(object, object.objectId(), handle);
  return Acad::eOk;
}

void RaiseHandseed(AcDbDatabase& db, uint64_t next) {
  auto& impl = ObjectAccess::Of(db);
  if (next > impl.nextHandle) impl.nextHandle = next;
}

size_t ObjectCount(const AcDbDatabase& db) {
  return ObjectAccess::Of(db).slots.size();
}

void ForEachObject(const AcDbDatabase& db, const std::function<void(AcDbObject&)>& visit) {
  const auto& slots = ObjectAccess::Of(db).slots;
  for (size_t i = 0; i < slots.size(); ++i) visit(*slots[i]);
}

void EnsureHandles(AcDbDatabase& db) {
  auto& impl = ObjectAccess::Of(db);
  for (AcDbObject* o : impl.slots) {
    if (!o->objectHandle().isNull()) continue;
    AcDbHandle h(impl.nextHandle++);
    impl.byHandle.Insert(h.value(),
                         static_cast<uint32_t>((o->objectId().asOldId() & 0xFFFFFFFF) - 1));
    ObjectAccess::Place(*o, o->objectId(), h);
  }
}

const std::vector<AcDbObjectId>& BlockEntities(const AcDbBlockTableRecord& block) {
  return ObjectAccess::Entities(block);
}

const std::vector<AcDbObjectId>& PolylineVertices(const AcDb2dPolyline& polyline) {
  return ObjectAccess::Vertices(polyline);
}

const std::vector<AcDbObjectId>& TableRecords(const AcDbSymbolTable& table) {
  return ObjectAccess::Records(table);
}

void SetDrawingReader(DrawingReader reader) {
  Reader() = std::move(reader);
}

void SetDrawingWriter(DrawingWriter writer) {
  Writer() = std::move(writer);
}

const DrawingReader& GetDrawingReader() {
  return Reader();
}

const DrawingWriter& GetDrawingWriter() {
  return Writer();
}

}  // namespace kwhost::db

using kwhost::db::ObjectAccess;
using kwhost::db::TableKind;

KW_DB_DEFINE_MEMBERS(AcDbDatabase, AcRxObject)
KW_DB_DEFINE_MEMBERS(AcDbHostApplicationServices, AcRxObject)

namespace {

template <class T>
AcDbObjectId AddRecord(AcDbDatabase& db, TableKind kind, const wchar_t* name) {
  auto* record = new T();
  kwhost::db::ObjectAccess::Name(*record) = name;
  AcDbObjectId id;
  AcDbSymbolTable* table = kwhost::db::TableOf(&db, kind);
  kwhost::db::AddWithHandle(db, record, AcDbHandle(), table->objectId(), id);
  return id;
}

void AddTables(AcDbDatabase& db, bool withHandles) {
  auto& impl = ObjectAccess::Of(db);
  AcDbObject* tables[6] = {new AcDbBlockTable(),     new AcDbLayerTable(), new AcDbLinetypeTable(),
                           new AcDbTextStyleTable(), new AcDbViewTable(),  new AcDbViewportTable()};
  for (int k = 0; k < 6; ++k) {
    kwhost::db::AddObject(db, tables[k], AcDbObjectId(), AcDbHandle(), false, impl.tables[k]);
  }
  if (withHandles) return;
  // A reader gives the tables the handles of its file; until then they have none.
  impl.byHandle.Clear();
  impl.nextHandle = 1;
  for (AcDbObject* t : tables) ObjectAccess::Place(*t, t->objectId(), AcDbHandle());
}

void AddDefaultHeader(AcDbDatabase& db) {
  using kwhost::db::Tags;
  auto& header = kwhost::db::Extras(db);
  header.setHeader("$ACADVER", Tags{{1, "AC1015"}});
  header.setHeader("$DWGCODEPAGE", Tags{{3, "ANSI_936"}});
  header.setHeader("$INSBASE", Tags{{10, "0.0"}, {20, "0.0"}, {30, "0.0"}});
  header.setHeader("$EXTMIN", Tags{{10, "1e+20"}, {20, "1e+20"}, {30, "1e+20"}});
  header.setHeader("$EXTMAX", Tags{{10, "-1e+20"}, {20, "-1e+20"}, {30, "-1e+20"}});
  header.setHeader("$LTSCALE", Tags{{40, "1.0"}});
  header.setHeader("$TEXTSTYLE", Tags{{7, "Standard"}});
  header.setHeader("$CLAYER", Tags{{8, "0"}});
  header.setHeader("$CELTYPE", Tags{{6, "ByLayer"}});
  header.setHeader("$HANDSEED", Tags{{5, "0"}});
}

void AddDefaultRecords(AcDbDatabase& db) {
  AddRecord<AcDbLinetypeTableRecord>(db, kwhost::db::kLinetypes, L"ByBlock");
  AddRecord<AcDbLinetypeTableRecord>(db, kwhost::db::kLinetypes, L"ByLayer");
  AcDbObjectId continuous =
      AddRecord<AcDbLinetypeTableRecord>(db, kwhost::db::kLinetypes, L"Continuous");
  static_cast<AcDbLinetypeTableRecord*>(kwhost::db::Peek(continuous))->setComments(L"Solid line");
  AcDbObjectId zero = AddRecord<AcDbLayerTableRecord>(db, kwhost::db::kLayers, L"0");
  static_cast<AcDbLayerTableRecord*>(kwhost::db::Peek(zero))->setLinetypeObjectId(continuous);
  AcDbObjectId standard =
      AddRecord<AcDbTextStyleTableRecord>(db, kwhost::db::kTextStyles, L"Standard");
  static_cast<AcDbTextStyleTableRecord*>(kwhost::db::Peek(standard))->setFileName(L"txt");
  AddRecord<AcDbBlockTableRecord>(db, kwhost::db::kBlocks, L"*Model_Space");
  AddRecord<AcDbBlockTableRecord>(db, kwhost::db::kBlocks, L"*Paper_Space");
  AddRecord<AcDbViewportTableRecord>(db, kwhost::db::kViewports, L"*Active");
}

void DeleteObjects(AcDbDatabase::Impl& impl) {
  for (AcDbObject* o : impl.slots) delete o;
  impl.slots.clear();
  impl.byHandle.Clear();
  impl.nextHandle = 1;
  impl.extras = kwhost::db::DatabaseExtras();
}

// Ids of the old objects must stop resolving when the database is rebuilt: a new serial.
void Rebuild(AcDbDatabase& db, bool withDefaults) {
  auto& impl = ObjectAccess::Of(db);
  DeleteObjects(impl);
  kwhost::db::UnregisterDatabase(impl.serial);
  impl.serial = kwhost::db::RegisterDatabase(&db);
  AddTables(db, withDefaults);
  if (!withDefaults) return;
  AddDefaultHeader(db);
  AddDefaultRecords(db);
}

AcDbObjectId HeaderRecord(const AcDbDatabase& db, TableKind kind, const char* name, int code) {
  std::string text = kwhost::db::HeaderText(db, name, code);
  AcDbSymbolTable* table = kwhost::db::TableOf(const_cast<AcDbDatabase*>(&db), kind);
  if (!table) return AcDbObjectId();
  return kwhost::db::FindRecord(*table, kw::FromUtf8(text).c_str());
}

Acad::ErrorStatus SetHeaderRecord(AcDbDatabase& db, TableKind kind, const char* name, int code,
                                  AcDbObjectId id) {
  AcDbSymbolTable* table = kwhost::db::TableOf(&db, kind);
  auto* record = AcDbSymbolTableRecord::cast(kwhost::db::Peek(id));
  if (!table || !record || record->ownerId() != table->objectId() || record->isErased()) {
    return Acad::eInvalidInput;
  }
  kwhost::db::SetHeaderText(db, name, code, kw::ToUtf8(record->name()));
  return Acad::eOk;
}

}  // namespace

AcDbDatabase::AcDbDatabase(bool buildDefaultDrawing, bool /*noDocument*/) : m_impl(new Impl) {
  Rebuild(*this, buildDefaultDrawing);
}

AcDbDatabase::~AcDbDatabase() {
  kwhost::db::ForgetWorkingDatabase(this);
  kwhost::db::UnregisterDatabase(m_impl->serial);
  DeleteObjects(*m_impl);
  delete m_impl;
}

namespace {

template <class T>
Acad::ErrorStatus OpenTable(const AcDbDatabase& db, TableKind kind, T*& table,
                            AcDb::OpenMode mode) {
  return acdbOpenObject(table, ObjectAccess::Of(db).tables[kind], mode);
}

}  // namespace

Acad::ErrorStatus AcDbDatabase::getBlockTable(AcDbBlockTable*& t, AcDb::OpenMode mode) {
  return OpenTable(*this, kwhost::db::kBlocks, t, mode);
}
Acad::ErrorStatus AcDbDatabase::getLayerTable(AcDbLayerTable*& t, AcDb::OpenMode mode) {
  return OpenTable(*this, kwhost::db::kLayers, t, mode);
}
Acad::ErrorStatus AcDbDatabase::getLinetypeTable(AcDbLinetypeTable*& t, AcDb::OpenMode mode) {
  return OpenTable(*this, kwhost::db::kLinetypes, t, mode);
}
Acad::ErrorStatus AcDbDatabase::getTextStyleTable(AcDbTextStyleTable*& t, AcDb::OpenMode mode) {
  return OpenTable(*this, kwhost::db::kTextStyles, t, mode);
}
Acad::ErrorStatus AcDbDatabase::getViewTable(AcDbViewTable*& t, AcDb::OpenMode mode) {
  return OpenTable(*this, kwhost::db::kViews, t, mode);
}
Acad::ErrorStatus AcDbDatabase::getViewportTable(AcDbViewportTable*& t, AcDb::OpenMode mode) {
  return OpenTable(*this, kwhost::db::kViewports, t, mode);
}

AcDbObjectId AcDbDatabase::blockTableId() const {
  return m_impl->tables[kwhost::db::kBlocks];
}
AcDbObjectId AcDbDatabase::layerTableId() const {
  return m_impl->tables[kwhost::db::kLayers];
}
AcDbObjectId AcDbDatabase::linetypeTableId() const {
  return m_impl->tables[kwhost::db::kLinetypes];
}
AcDbObjectId AcDbDatabase::textStyleTableId() const {
  return m_impl->tables[kwhost::db::kTextStyles];
}
AcDbObjectId AcDbDatabase::viewTableId() const {
  return m_impl->tables[kwhost::db::kViews];
}
AcDbObjectId AcDbDatabase::viewportTableId() const {
  return m_impl->tables[kwhost::db::kViewports];
}

Acad::ErrorStatus AcDbDatabase::addAcDbObject(AcDbObjectId& id, AcDbObject* object) {
  if (object) {
    AcDbObjectId owner = object->ownerId();
    return kwhost::db::AddObject(*this, object, owner, AcDbHandle(), true, id);
  }
  return Acad::eNullObjectPointer;
}

Acad::ErrorStatus AcDbDatabase::getAcDbObjectId(AcDbObjectId& id, bool createIfNotFound,
                                                const AcDbHandle& handle,
                                                Adesk::UInt32 /*xRefId*/) {
  const uint32_t* slot = m_impl->byHandle.Find(handle.value());
  if (!slot) {
    id = AcDbObjectId();
    return createIfNotFound ? Acad::eNotImplementedYet : Acad::eKeyNotFound;
  }
  id = m_impl->slots[*slot]->objectId();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::readDwgFile(const wchar_t* fileName, int /*shareMode*/,
                                            bool /*allowCPConversion*/,
                                            const wchar_t* /*password*/) {
  if (!fileName || !*fileName) return Acad::eInvalidInput;
  const kwhost::db::DrawingReader& reader = kwhost::db::Reader();
  if (!reader) return Acad::eNotImplementedYet;
  Rebuild(*this, false);
  Acad::ErrorStatus es = reader(fileName, *this);
  if (es != Acad::eOk) {
    Rebuild(*this, true);
    return es;
  }
  m_impl->extras.fileName = fileName;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDatabase::dxfOut(const wchar_t* fileName, int /*precision*/,
                                       const char* version) {
  if (!fileName || !*fileName) return Acad::eInvalidInput;
  const kwhost::db::DrawingWriter& writer = kwhost::db::Writer();
  if (!writer) return Acad::eNotImplementedYet;
  Acad::ErrorStatus es = writer(fileName, *this, version ? version : "");
  if (es == Acad::eOk) m_impl->extras.fileName = fileName;
  return es;
}

AcDbObjectId AcDbDatabase::clayer() const {
  return HeaderRecord(*this, kwhost::db::kLayers, "$CLAYER", 8);
}
Acad::ErrorStatus AcDbDatabase::setClayer(AcDbObjectId id) {
  return SetHeaderRecord(*this, kwhost::db::kLayers, "$CLAYER", 8, id);
}
AcDbObjectId AcDbDatabase::celtype() const {
  AcDbObjectId id = HeaderRecord(*this, kwhost::db::kLinetypes, "$CELTYPE", 6);
  return id.isNull() ? byLayerLinetype() : id;
}
Acad::ErrorStatus AcDbDatabase::setCeltype(AcDbObjectId id) {
  return SetHeaderRecord(*this, kwhost::db::kLinetypes, "$CELTYPE", 6, id);
}
AcDbObjectId AcDbDatabase::textstyle() const {
  return HeaderRecord(*this, kwhost::db::kTextStyles, "$TEXTSTYLE", 7);
}
Acad::ErrorStatus AcDbDatabase::setTextstyle(AcDbObjectId id) {
  return SetHeaderRecord(*this, kwhost::db::kTextStyles, "$TEXTSTYLE", 7, id);
}

namespace {

AcDbObjectId Linetype(const AcDbDatabase& db, const wchar_t* name) {
  AcDbSymbolTable* table =
      kwhost::db::TableOf(const_cast<AcDbDatabase*>(&db), kwhost::db::kLinetypes);
  return table ? kwhost::db::FindRecord(*table, name) : AcDbObjectId();
}

}  // namespace

AcDbObjectId AcDbDatabase::byLayerLinetype() const {
  return Linetype(*this, L"ByLayer");
}
AcDbObjectId AcDbDatabase::byBlockLinetype() const {
  return Linetype(*this, L"ByBlock");
}
AcDbObjectId AcDbDatabase::continuousLinetype() const {
  return Linetype(*this, L"Continuous");
}

double AcDbDatabase::ltscale() const {
  std::string text = kwhost::db::HeaderText(*this, "$LTSCALE", 40);
  return text.empty() ? 1.0 : kw::WToF(kw::FromUtf8(text));
}

Acad::ErrorStatus AcDbDatabase::setLtscale(double scale) {
  if (!(scale > 0) || !std::isfinite(scale)) return Acad::eInvalidInput;
  kwhost::db::SetHeaderText(*this, "$LTSCALE", 40, kwhost::db::RealText(scale));
  return Acad::eOk;
}

AcGePoint3d AcDbDatabase::extmin() const {
  return kwhost::db::HeaderPoint(*this, "$EXTMIN");
}
AcGePoint3d AcDbDatabase::extmax() const {
  return kwhost::db::HeaderPoint(*this, "$EXTMAX");
}

AcDbHandle AcDbDatabase::handseed() const {
  return AcDbHandle(m_impl->nextHandle);
}

AcDbObjectId AcDbDatabase::currentSpaceId() const {
  AcDbSymbolTable* blocks =
      kwhost::db::TableOf(const_cast<AcDbDatabase*>(this), kwhost::db::kBlocks);
  return blocks ? kwhost::db::FindRecord(*blocks, L"*Model_Space") : AcDbObjectId();
}

Acad::ErrorStatus AcDbDatabase::getFilename(const wchar_t*& fileName) const {
  fileName = m_impl->extras.fileName.c_str();
  return Acad::eOk;
}

AcDbDatabase* AcDbHostApplicationServices::workingDatabase() const {
  return kwhost::db::g_working;
}

void AcDbHostApplicationServices::setWorkingDatabase(AcDbDatabase* db) {
  kwhost::db::g_working = db;
}

AcDbHostApplicationServices* acdbHostApplicationServices() {
  static AcDbHostApplicationServices services;
  return &services;
}
