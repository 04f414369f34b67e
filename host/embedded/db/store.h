// The drawing database's storage: the databases of the process, each database's objects by
// slot and by handle, and the private access the db/ files share. Internal to db/.
//
// Invariants:
//   1. A database's serial is its index in the process-wide list; serials are never reused, so
//      an id of a deleted database resolves to nothing (its entry is null).
//   2. An object id is (serial << 32) | (slot + 1); slots are never reused within a database,
//      so an id names one object for the life of its database.
//   3. slots[i] is owned by the database and is never null; byHandle maps every resident
//      object's handle to its slot, and nextHandle is above every handle in byHandle.
//   4. A resident object's id, handle and database never change; its owner may.
//   5. A table's name index, when present, maps the folded name of each live record to its id;
//      anything that changes a record's name or erased state drops it.
#ifndef KW_HOST_EMBEDDED_DB_STORE_H_
#define KW_HOST_EMBEDDED_DB_STORE_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/intmap.h"
#include "host/api/dbents.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"

struct AcDbDatabase::Impl {
  uint32_t serial = 0;
  std::vector<AcDbObject*> slots;
  kw::IntMap<uint32_t> byHandle;
  uint64_t nextHandle = 1;
  // Block, layer, linetype, text style, view, viewport tables.
  AcDbObjectId tables[6];
  kwhost::db::DatabaseExtras extras;
  AcDbObjectId byLayer;  // a hint, checked before use
};

struct AcDbSymbolTable::NameIndex {
  std::unordered_map<std::wstring, AcDbObjectId> live;
};

namespace kwhost::db {

enum TableKind { kBlocks = 0, kLayers, kLinetypes, kTextStyles, kViews, kViewports };

// Private members, for the db/ files only.
struct ObjectAccess {
  static AcDbDatabase::Impl& Of(const AcDbDatabase& db) { return *db.m_impl; }
  static void Place(AcDbObject& o, AcDbObjectId id, AcDbHandle h) {
    o.m_id = id;
    o.m_handle = h;
  }
  static void SetOwner(AcDbObject& o, AcDbObjectId owner) { o.m_ownerId = owner; }
  static void SetWriter(AcDbObject& o, bool writer) { o.m_writer = writer; }
  static void SetErased(AcDbObject& o, bool erased) { o.m_erased = erased; }
  static KeptData*& KeptSlot(AcDbObject& o) { return o.m_kept; }
  static KeptData* KeptSlot(const AcDbObject& o) { return o.m_kept; }
  static Adesk::UInt16& Readers(AcDbObject& o) { return o.m_readers; }
  static bool& Writer(AcDbObject& o) { return o.m_writer; }
  static bool& Notifier(AcDbObject& o) { return o.m_notifier; }

  static std::vector<AcDbObjectId>& Records(AcDbSymbolTable& t) { return t.m_records; }
  static const std::vector<AcDbObjectId>& Records(const AcDbSymbolTable& t) { return t.m_records; }
  static void DropIndex(const AcDbSymbolTable& t) { t.m_index.reset(); }
  static std::unique_ptr<AcDbSymbolTable::NameIndex>& Index(const AcDbSymbolTable& t) {
    return t.m_index;
  }
  static std::wstring& Name(AcDbSymbolTableRecord& r) { return r.m_name; }

  static std::vector<AcDbObjectId>& Entities(AcDbBlockTableRecord& b) { return b.m_entities; }
  static const std::vector<AcDbObjectId>& Entities(const AcDbBlockTableRecord& b) {
    return b.m_entities;
  }
  static std::vector<AcDbEntity*>& PendingEntities(AcDbBlockTableRecord& b) { return b.m_pending; }
  static std::vector<AcDbObjectId>& Vertices(AcDb2dPolyline& p) { return p.m_vertices; }
  static const std::vector<AcDbObjectId>& Vertices(const AcDb2dPolyline& p) { return p.m_vertices; }
  static std::vector<AcDb2dVertex*>& PendingVertices(AcDb2dPolyline& p) { return p.m_pending; }

  static void SetLayer(AcDbEntity& e, AcDbObjectId id) { e.m_layer = id; }
  static void SetLinetype(AcDbEntity& e, AcDbObjectId id) { e.m_linetype = id; }
};

// Enters a new database in the process-wide list: its serial.
uint32_t RegisterDatabase(AcDbDatabase* db);
// Marks the serial's database as gone (its ids stop resolving).
void UnregisterDatabase(uint32_t serial);
// The database of that serial, or null.
AcDbDatabase* DatabaseOfSerial(uint32_t serial);
// The database an id belongs to, or null (null id, deleted database).
AcDbDatabase* DatabaseOf(AcDbObjectId id);

// Adds an object: takes `handle` (null: a fresh one) and sets the owner. The object is left
// open for write when `leaveOpen`. Objects it holds before joining (a block's entities, a
// polyline's vertices) join with it, closed. eOk; eNullObjectPointer; eAlreadyInDb;
// eHandleInUse.
Acad::ErrorStatus AddObject(AcDbDatabase& db, AcDbObject* object, AcDbObjectId owner,
                            AcDbHandle handle, bool leaveOpen, AcDbObjectId& id);

// The table of that kind in the object's database (or the working one when the object is not
// resident), or null.
AcDbSymbolTable* TableOf(AcDbDatabase* db, TableKind kind);
// The live record of that name in a table, or null id.
AcDbObjectId FindRecord(const AcDbSymbolTable& table, const wchar_t* name);
// Name of a record id ("" when it cannot be resolved).
const std::wstring& RecordName(AcDbObjectId id);
// The object's database, or the working database for a non-resident object.
AcDbDatabase* DatabaseFor(const AcDbObject& object);

// Header variables of the database: the first group with `code` of `name`, or "".
std::string HeaderText(const AcDbDatabase& db, const char* name, int code);
void SetHeaderText(AcDbDatabase& db, const char* name, int code, const std::string& value);
// A point header variable (groups 10, 20, 30); missing coordinates read 0.
AcGePoint3d HeaderPoint(const AcDbDatabase& db, const char* name);
// A real written as an ASCII drawing file writes it (shortest text that reads back the same).
std::string RealText(double value);

}  // namespace kwhost::db

// Defines the run-time class members of a database class under the name `NAME`, caching the
// class (classes outlive every session, see rx.h).
#define KW_DB_DEFINE_NAMED_MEMBERS(CLASS_NAME, NAME, PARENT_CLASS)                      \
  AcRxClass* CLASS_NAME::desc() {                                                       \
    static AcRxClass* const cls =                                                       \
        (PARENT_CLASS::desc(), acrxFindOrAddClass(NAME, PARENT_CLASS::desc()->name())); \
    return cls;                                                                         \
  }                                                                                     \
  AcRxClass* CLASS_NAME::isA() const {                                                  \
    return CLASS_NAME::desc();                                                          \
  }
#define KW_DB_DEFINE_MEMBERS(CLASS_NAME, PARENT_CLASS) \
  KW_DB_DEFINE_NAMED_MEMBERS(CLASS_NAME, L## #CLASS_NAME, PARENT_CLASS)

#endif  // KW_HOST_EMBEDDED_DB_STORE_H_
