// What the database keeps of a drawing without modelling it, and the door through which the
// drawing-file reader and writer reach the database's internals. Internal to the host: the DXF
// service (dxf/) includes it; the host API never shows it.
//
// Invariants:
//   1. An object's KeptData is null until something is kept; an object with nothing kept costs
//      one null pointer.
//   2. Subclass tags are keyed by the subclass marker's text (group 100, e.g. "AcDbEntity") and
//      kept in first-seen order; each list holds the groups of that subclass in file order.
//   3. A proxy (ProxyEntity, ProxyObject) holds every group of an object of a class the host
//      does not model, from the first group after group 0 to the end, in file order.
//   4. DatabaseExtras::header holds every header variable in file order; the typed accessors of
//      AcDbDatabase ($CLAYER, $CELTYPE, $TEXTSTYLE, $LTSCALE, $EXTMIN, $EXTMAX) read and write
//      the same entries, so nothing is stored twice. $HANDSEED is the exception: its value is
//      the database's handle counter (AcDbDatabase::handseed()), which a writer writes in the
//      entry's place; the entry itself only keeps its position.
//   5. Handles are unique within a database: AddWithHandle refuses a handle in use
//      (eHandleInUse) and keeps the handle counter above every handle in use.
#ifndef KW_HOST_EMBEDDED_DB_KEPT_H_
#define KW_HOST_EMBEDDED_DB_KEPT_H_

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/api/dbents.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/tags.h"

namespace kwhost::db {

// The groups of one object that the host does not model.
struct KeptData {
  // Per subclass marker (group 100 text), the groups the reader did not map, in order.
  std::vector<std::pair<std::string, Tags>> subclasses;
  // Application groups: "{ACAD_REACTORS" ... "}", "{ACAD_XDICTIONARY" ... "}" and others,
  // each group 102 included.
  Tags appGroups;
  // Extended data: group 1001 and everything after it.
  Tags xdata;
  // Owner handle as read (group 330), kept even when no object of the drawing has it.
  uint64_t ownerHandle = 0;

  bool empty() const { return subclasses.empty() && appGroups.empty() && xdata.empty(); }
  // The list of that subclass, created (at the end) when missing.
  Tags& subclass(const std::string& marker);
  // The list of that subclass, or null.
  const Tags* findSubclass(const std::string& marker) const;
};

// The object's kept groups, or null when none were kept.
const KeptData* Kept(const AcDbObject& object);
// The object's kept groups, created empty when missing. Needs no open state: the reader and
// writer work on objects they own or hold open.
KeptData& KeptFor(AcDbObject& object);

// An entity of a class the host does not model: its DXF type name and all its groups. It may
// own followers (the VERTEX and SEQEND entities after a 3D POLYLINE, the ATTRIBs after an
// INSERT) that the reader adds as proxies too.
class ProxyEntity : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(ProxyEntity);
  ProxyEntity() = default;
  ProxyEntity(std::string dxfName, Tags tags)
      : dxfName(std::move(dxfName)), tags(std::move(tags)) {}
  AcDbObject* clone() const override { return new ProxyEntity(*this); }

  std::string dxfName;
  Tags tags;
  std::vector<AcDbObjectId> followers;

 private:
  ProxyEntity(const ProxyEntity&) = default;
};

// A non-graphical object of a class the host does not model (dictionaries, layouts, ...), or a
// record of a symbol table the host does not model (UCS, APPID, DIMSTYLE, ...).
class ProxyObject : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(ProxyObject);
  ProxyObject() = default;
  ProxyObject(std::string dxfName, Tags tags)
      : dxfName(std::move(dxfName)), tags(std::move(tags)) {}
  AcDbObject* clone() const override { return new ProxyObject(*this); }

  std::string dxfName;
  Tags tags;

 private:
  ProxyObject(const ProxyObject&) = default;
};

// A section or table the host keeps as tags.
struct KeptSection {
  std::string name;  // "THUMBNAILIMAGE", "ACDSDATA", ... or the table's name ("UCS")
  Tags tags;         // for a table: the table head's groups (handle, owner, flags ...)
  std::vector<AcDbObjectId> records;  // for a table: its records (ProxyObject), in order
};

// What a drawing keeps besides its objects.
struct DatabaseExtras {
  // Header variables in file order: name ("$ACADVER") and its groups.
  std::vector<std::pair<std::string, Tags>> header;
  // CLASSES section, as read.
  Tags classes;
  // Symbol tables the host does not model, in file order.
  std::vector<KeptSection> tables;
  // Sections the host does not model (not HEADER, CLASSES, TABLES, BLOCKS, ENTITIES, OBJECTS).
  std::vector<KeptSection> sections;
  // The OBJECTS section's objects in file order (the root dictionary first).
  std::vector<AcDbObjectId> objects;
  // Head groups of the six modelled tables (handle, owner, app groups), by table name.
  std::vector<std::pair<std::string, Tags>> tableHeads;
  // The path the drawing was read from or saved to.
  std::wstring fileName;

  // The groups of a header variable, or null.
  const Tags* findHeader(const std::string& name) const;
  // Sets a header variable's groups (appended when new).
  void setHeader(const std::string& name, Tags tags);
};

DatabaseExtras& Extras(AcDbDatabase& db);
const DatabaseExtras& Extras(const AcDbDatabase& db);

// Adds a reader's object under the handle it had in the file, owned by `owner` (entities are
// appended to their block record's list when `owner` is one, records to their table): eOk with
// `id`; eHandleInUse; eNullObjectPointer; eAlreadyInDb. A null handle takes a fresh one.
Acad::ErrorStatus AddWithHandle(AcDbDatabase& db, AcDbObject* object, AcDbHandle handle,
                                AcDbObjectId owner, AcDbObjectId& id);
// Gives an object another handle: eOk; eHandleInUse; eInvalidInput for a null handle or an
// object of another database. The six tables of a database built without defaults have no
// handle until a reader gives them theirs.
Acad::ErrorStatus SetHandle(AcDbDatabase& db, AcDbObject& object, AcDbHandle handle);
// Gives a fresh handle to every object that has none (before writing a drawing).
void EnsureHandles(AcDbDatabase& db);
// Raises the handle counter to at least `next` ($HANDSEED as read).
void RaiseHandseed(AcDbDatabase& db, uint64_t next);

// The database's objects in the order they were added (for writers that need
// every object once): calls `visit` with each resident object, erased ones included.
void ForEachObject(const AcDbDatabase& db, const std::function<void(AcDbObject&)>& visit);
// How many objects the database holds, erased ones included.
size_t ObjectCount(const AcDbDatabase& db);
// The object behind an id without opening it (null for ids of other or deleted databases).
// Writers use it to read objects that may be open elsewhere.
AcDbObject* Peek(AcDbObjectId id);

// The entity ids of a block in order, erased ones included.
const std::vector<AcDbObjectId>& BlockEntities(const AcDbBlockTableRecord& block);
// The vertex ids of an old-style polyline in order, erased ones included.
const std::vector<AcDbObjectId>& PolylineVertices(const AcDb2dPolyline& polyline);
// A table's record ids in order, erased ones included.
const std::vector<AcDbObjectId>& TableRecords(const AcDbSymbolTable& table);

// Reads a drawing file into an empty database (built without defaults). Registered by the
// drawing-file service; AcDbDatabase::readDwgFile calls it.
using DrawingReader = std::function<Acad::ErrorStatus(const std::wstring& path, AcDbDatabase& db)>;
// Writes a database to a file in a format version ("" keeps the drawing's own), atomically and
// keeping the previous file as its ".bak". AcDbDatabase::dxfOut and saveAs call it.
using DrawingWriter = std::function<Acad::ErrorStatus(const std::wstring& path, AcDbDatabase& db,
                                                      const std::string& version)>;
void SetDrawingReader(DrawingReader reader);
void SetDrawingWriter(DrawingWriter writer);
// The hooks registered now (empty when none is), e.g. for a test to put them back afterwards.
const DrawingReader& GetDrawingReader();
const DrawingWriter& GetDrawingWriter();

}  // namespace kwhost::db

#endif  // KW_HOST_EMBEDDED_DB_KEPT_H_
