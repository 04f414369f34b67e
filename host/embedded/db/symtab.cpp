// Symbol tables: records in order, lookup by name ignoring case, adding, erasing, renaming and
// iterating. Invariants (beyond store.h):
//   1. A table's record list holds each of its records once, in the order they were added;
//      erased records stay in it (iterators skip them on request).
//   2. No two live records of a table have names equal ignoring case.
//   3. The name index, when built, holds exactly the live records (store.h, 5).
#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/store.h"

using kwhost::db::ObjectAccess;

namespace kwhost::db {

namespace {

std::wstring Fold(std::wstring_view name) {
  return kw::ToUpper(name);
}

const AcDbSymbolTable::NameIndex& IndexOf(const AcDbSymbolTable& table) {
  auto& index = ObjectAccess::Index(table);
  if (index) return *index;
  index = std::make_unique<AcDbSymbolTable::NameIndex>();
  for (AcDbObjectId id : ObjectAccess::Records(table)) {
    auto* record = AcDbSymbolTableRecord::cast(Peek(id));
    if (record && !record->isErased() && !record->name().empty()) {
      index->live.emplace(Fold(record->name()), id);
    }
  }
  return *index;
}

AcDbSymbolTable* OwningTable(const AcDbSymbolTableRecord& record) {
  if (record.objectId().isNull()) return nullptr;
  return AcDbSymbolTable::cast(Peek(record.ownerId()));
}

}  // namespace

AcDbObjectId FindRecord(const AcDbSymbolTable& table, const wchar_t* name) {
  if (!name) return AcDbObjectId();
  const auto& live = IndexOf(table).live;
  auto it = live.find(Fold(name));
  return it == live.end() ? AcDbObjectId() : it->second;
}

const std::wstring& RecordName(AcDbObjectId id) {
  static const std::wstring kNone;
  auto* record = AcDbSymbolTableRecord::cast(Peek(id));
  return record ? record->name() : kNone;
}

}  // namespace kwhost::db

KW_DB_DEFINE_MEMBERS(AcDbSymbolTable, AcDbObject)
KW_DB_DEFINE_MEMBERS(AcDbSymbolTableRecord, AcDbObject)

AcDbSymbolTable::~AcDbSymbolTable() = default;

Acad::ErrorStatus AcDbSymbolTable::getAt(const wchar_t* name, AcDbSymbolTableRecord*& record,
                                         AcDb::OpenMode mode, bool openErased) const {
  record = nullptr;
  AcDbObjectId id;
  Acad::ErrorStatus es = getAt(name, id, openErased);
  return es == Acad::eOk ? acdbOpenObject(record, id, mode, openErased) : es;
}

Acad::ErrorStatus AcDbSymbolTable::getAt(const wchar_t* name, AcDbObjectId& id,
                                         bool getErased) const {
  id = AcDbObjectId();
  if (!name) return Acad::eInvalidInput;
  id = kwhost::db::FindRecord(*this, name);
  if (!id.isNull()) return Acad::eOk;
  if (!getErased) return Acad::eKeyNotFound;
  for (AcDbObjectId candidate : m_records) {
    if (kw::EqualsNoCase(kwhost::db::RecordName(candidate), name)) {
      id = candidate;
      return Acad::eOk;
    }
  }
  return Acad::eKeyNotFound;
}

bool AcDbSymbolTable::has(const wchar_t* name) const {
  return !kwhost::db::FindRecord(*this, name).isNull();
}

bool AcDbSymbolTable::has(AcDbObjectId id) const {
  AcDbObject* record = kwhost::db::Peek(id);
  return record && !record->isErased() && record->ownerId() == objectId();
}

Acad::ErrorStatus AcDbSymbolTable::add(AcDbSymbolTableRecord* record) {
  AcDbObjectId id;
  return add(id, record);
}

Acad::ErrorStatus AcDbSymbolTable::add(AcDbObjectId& id, AcDbSymbolTableRecord* record) {
  if (!record) return Acad::eNullObjectPointer;
  if (!record->objectId().isNull()) return Acad::eAlreadyInDb;
  if (objectId().isNull()) return Acad::eNotInDatabase;
  if (!isWriteEnabled()) return Acad::eNotOpenForWrite;
  if (!acceptsRecord(record)) return Acad::eInvalidInput;
  if (record->name().empty()) {
    // Only a shape file's text style goes without a name, as drawings store them.
    auto* style = AcDbTextStyleTableRecord::cast(record);
    if (!style || !style->isShapeFile()) return Acad::eInvalidInput;
  } else if (has(record->name().c_str())) {
    return Acad::eDuplicateRecordName;
  }
  Acad::ErrorStatus es =
      kwhost::db::AddObject(*database(), record, objectId(), AcDbHandle(), true, id);
  if (es != Acad::eOk) return es;
  m_records.push_back(id);
  if (m_index && !record->name().empty()) m_index->live.emplace(kw::ToUpper(record->name()), id);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTable::newIterator(AcDbSymbolTableIterator*& iterator, bool atBeginning,
                                               bool skipDeleted) const {
  iterator = new AcDbSymbolTableIterator(this);
  iterator->start(atBeginning, skipDeleted);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTableRecord::getName(const wchar_t*& name) const {
  name = m_name.c_str();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTableRecord::getName(wchar_t*& name) const {
  name = acutNewString(m_name.c_str());
  return name ? Acad::eOk : Acad::eOutOfMemory;
}

namespace {

bool IsValidSymbolName(std::wstring_view name) {
  if (name.empty() || name.size() > 255) return false;
  return name.find_first_of(L"<>/\\\":;?*|,=`") == std::wstring_view::npos;
}

}  // namespace

Acad::ErrorStatus AcDbSymbolTableRecord::setName(const wchar_t* name) {
  if (!name) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  if (!IsValidSymbolName(name)) return Acad::eInvalidSymbolTableName;
  if (AcDbSymbolTable* table = kwhost::db::OwningTable(*this)) {
    AcDbObjectId other = kwhost::db::FindRecord(*table, name);
    if (!other.isNull() && other != objectId()) return Acad::eDuplicateRecordName;
    ObjectAccess::DropIndex(*table);
  }
  m_name = name;
  return Acad::eOk;
}

namespace {

bool IsPermanent(const AcDbSymbolTableRecord& record) {
  static const wchar_t* const kLayers[] = {L"0"};
  static const wchar_t* const kLinetypes[] = {L"ByLayer", L"ByBlock", L"Continuous"};
  static const wchar_t* const kBlocks[] = {L"*Model_Space", L"*Paper_Space"};
  auto any = [&](const auto& names) {
    for (const wchar_t* n : names) {
      if (kw::EqualsNoCase(record.name(), n)) return true;
    }
    return false;
  };
  if (AcDbLayerTableRecord::cast(&record)) return any(kLayers);
  if (AcDbLinetypeTableRecord::cast(&record)) return any(kLinetypes);
  if (AcDbBlockTableRecord::cast(&record)) return any(kBlocks);
  return false;
}

}  // namespace

Acad::ErrorStatus AcDbSymbolTableRecord::erase(bool erasing) {
  AcDbSymbolTable* table = kwhost::db::OwningTable(*this);
  if (table && erasing && IsPermanent(*this)) return Acad::eCannotBeErasedByCaller;
  if (table && !erasing && writable() && isErased() && table->has(m_name.c_str())) {
    return Acad::eDuplicateRecordName;
  }
  Acad::ErrorStatus es = AcDbObject::erase(erasing);
  if (es == Acad::eOk && table) ObjectAccess::DropIndex(*table);
  return es;
}

void AcDbSymbolTableIterator::start(bool atBeginning, bool skipDeleted) {
  const auto& records = ObjectAccess::Records(*m_table);
  m_index = atBeginning ? 0 : static_cast<int>(records.size()) - 1;
  if (skip(skipDeleted)) step(atBeginning, skipDeleted);
}

bool AcDbSymbolTableIterator::done() const {
  return m_index < 0 || m_index >= static_cast<int>(ObjectAccess::Records(*m_table).size());
}

bool AcDbSymbolTableIterator::skip(bool skipDeleted) const {
  if (done() || !skipDeleted) return false;
  AcDbObject* o = kwhost::db::Peek(ObjectAccess::Records(*m_table)[m_index]);
  return !o || o->isErased();
}

void AcDbSymbolTableIterator::step(bool forward, bool skipDeleted) {
  do {
    m_index += forward ? 1 : -1;
  } while (skip(skipDeleted));
}

Acad::ErrorStatus AcDbSymbolTableIterator::getRecordId(AcDbObjectId& id) const {
  if (done()) {
    id = AcDbObjectId();
    return Acad::eInvalidIndex;
  }
  id = ObjectAccess::Records(*m_table)[m_index];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbSymbolTableIterator::getRecord(AcDbSymbolTableRecord*& record,
                                                     AcDb::OpenMode mode, bool openErased) const {
  return getTyped(record, mode, openErased);
}

Acad::ErrorStatus AcDbSymbolTableIterator::seek(AcDbObjectId id) {
  const auto& records = ObjectAccess::Records(*m_table);
  for (size_t i = 0; i < records.size(); ++i) {
    if (records[i] == id) {
      m_index = static_cast<int>(i);
      return Acad::eOk;
    }
  }
  return Acad::eKeyNotFound;
}

#define KW_DEFINE_SYMBOL_TABLE(TABLE, RECORD, ITERATOR)                                         \
  KW_DB_DEFINE_MEMBERS(TABLE, AcDbSymbolTable)                                                  \
  Acad::ErrorStatus TABLE::getAt(const wchar_t* name, RECORD*& record, AcDb::OpenMode mode,     \
                                 bool openErased) const {                                       \
    record = nullptr;                                                                           \
    AcDbObjectId id;                                                                            \
    Acad::ErrorStatus es = getAt(name, id, openErased);                                         \
    return es == Acad::eOk ? acdbOpenObject(record, id, mode, openErased) : es;                 \
  }                                                                                             \
  Acad::ErrorStatus TABLE::newIterator(ITERATOR*& iterator, bool atBeginning, bool skipDeleted) \
      const {                                                                                   \
    iterator = new ITERATOR(this);                                                              \
    iterator->start(atBeginning, skipDeleted);                                                  \
    return Acad::eOk;                                                                           \
  }                                                                                             \
  bool TABLE::acceptsRecord(const AcDbSymbolTableRecord* record) const {                        \
    return RECORD::cast(record) != nullptr;                                                     \
  }

KW_DEFINE_SYMBOL_TABLE(AcDbBlockTable, AcDbBlockTableRecord, AcDbBlockTableIterator)
KW_DEFINE_SYMBOL_TABLE(AcDbLayerTable, AcDbLayerTableRecord, AcDbLayerTableIterator)
KW_DEFINE_SYMBOL_TABLE(AcDbLinetypeTable, AcDbLinetypeTableRecord, AcDbLinetypeTableIterator)
KW_DEFINE_SYMBOL_TABLE(AcDbTextStyleTable, AcDbTextStyleTableRecord, AcDbTextStyleTableIterator)
KW_DEFINE_SYMBOL_TABLE(AcDbViewTable, AcDbViewTableRecord, AcDbViewTableIterator)
KW_DEFINE_SYMBOL_TABLE(AcDbViewportTable, AcDbViewportTableRecord, AcDbViewportTableIterator)
