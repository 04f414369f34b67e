// The drawing database: objects, entities, the database itself, opening and closing objects,
// and the smart pointers that close what they opened.
//
// Ownership and life of an object:
//   - `new` makes a non-database-resident object; its creator owns it and deletes it with
//     `delete` until it is added to a database (AcDbSymbolTable::add,
//     AcDbBlockTableRecord::appendAcDbEntity, AcDbDatabase::addAcDbObject). A failed add leaves
//     the object with its creator.
//   - Once added, the database owns the object for the rest of its life (erased objects
//     included) and deletes it with itself. The object is open for write after the add; the
//     caller closes it. A database-resident object is never deleted by callers.
//   - acdbOpenObject hands out the resident object itself; every successful open is matched by
//     one close(). Open states: any number of readers (up to 256), or one writer; one notifier
//     may join either. Statuses: eWasOpenForWrite, eWasOpenForRead, eWasOpenForNotify,
//     eWasErased (erased and not asked for), eAtMaxReaders.
//   - Setters of a resident object need it open for write: they return eNotOpenForWrite (void
//     setters change nothing) otherwise. Non-resident objects are always writable.
//
// Object ids: one id per resident object, never reused within a process; an id whose database
// was deleted is no longer valid (isValid() false, opens give eNotInDatabase). Handles are
// 64-bit, unique within their database, taken from its handle counter for new objects.
//
// Failure is always a status or null; nothing here throws.
#ifndef KW_HOST_API_DBMAIN_H_
#define KW_HOST_API_DBMAIN_H_

#include <cstdint>

#include "host/api/adesk.h"
#include "host/api/dbcolor.h"
#include "host/api/dbid.h"
#include "host/api/ge.h"
#include "host/api/rx.h"

class AcDbDatabase;
class AcDbSymbolTable;
class AcDbBlockTable;
class AcDbLayerTable;
class AcDbLinetypeTable;
class AcDbTextStyleTable;
class AcDbViewTable;
class AcDbViewportTable;
class AcDbBlockTableRecord;
namespace kwhost::db {
struct KeptData;
struct ObjectAccess;
}  // namespace kwhost::db

namespace AcDb {
enum OpenMode { kNotOpen = -1, kForRead = 0, kForWrite = 1, kForNotify = 2 };

// Lineweights in hundredths of a millimetre, and the three special values.
enum LineWeight : int {
  kLnWt000 = 0,
  kLnWt005 = 5,
  kLnWt009 = 9,
  kLnWt013 = 13,
  kLnWt015 = 15,
  kLnWt018 = 18,
  kLnWt020 = 20,
  kLnWt025 = 25,
  kLnWt030 = 30,
  kLnWt035 = 35,
  kLnWt040 = 40,
  kLnWt050 = 50,
  kLnWt053 = 53,
  kLnWt060 = 60,
  kLnWt070 = 70,
  kLnWt080 = 80,
  kLnWt090 = 90,
  kLnWt100 = 100,
  kLnWt106 = 106,
  kLnWt120 = 120,
  kLnWt140 = 140,
  kLnWt158 = 158,
  kLnWt200 = 200,
  kLnWt211 = 211,
  kLnWtByLayer = -1,
  kLnWtByBlock = -2,
  kLnWtByLwDefault = -3,
};

enum Visibility { kVisible = 0, kInvisible = 1 };
}  // namespace AcDb

// True for the three special lineweights and the 24 standard ones.
bool acdbIsValidLineWeight(int weight);

// Base of every drawing-database object. See the header comment for ownership and open states.
class AcDbObject : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbObject);
  ~AcDbObject() override;

  // The object's id; null while it is not in a database.
  AcDbObjectId objectId() const { return m_id; }
  AcDbObjectId ownerId() const { return m_ownerId; }
  // Sets the owner; eNotOpenForWrite for a resident object not open for write.
  Acad::ErrorStatus setOwnerId(AcDbObjectId owner);
  // The database holding the object, or null.
  AcDbDatabase* database() const;
  AcDbHandle objectHandle() const { return m_handle; }
  void getAcDbHandle(AcDbHandle& handle) const { handle = m_handle; }

  bool isErased() const { return m_erased; }
  bool isReadEnabled() const;
  bool isWriteEnabled() const;
  bool isNotifyEnabled() const { return m_notifier; }
  bool isNewObject() const { return m_id.isNull(); }

  // Erases (true) or brings back (false) the object; it must be open for write (or not
  // resident). eWasErased when already erased, eWasNotErased when unerasing a live object,
  // eCannotBeErasedByCaller for the objects a drawing cannot lose (tables, layer "0",
  // "Continuous", "ByLayer", "ByBlock", "*Model_Space", "*Paper_Space").
  virtual Acad::ErrorStatus erase(bool erasing = true);
  // Read -> write when this is the only reader: eOk; eWasOpenForWrite, eNotOpenForRead,
  // eHadMultipleReaders, eWasOpenForNotify otherwise.
  Acad::ErrorStatus upgradeOpen();
  // Write -> read: eOk, or eNotOpenForWrite.
  Acad::ErrorStatus downgradeOpen();
  // Ends one open (notify first, then write, then read). eOk; eInvalidOpenState when the
  // object is not open. A non-resident object is left alone (its creator deletes it): eOk.
  Acad::ErrorStatus close();

  // A non-resident copy of this object's data (owner, id and handle not copied), owned by the
  // caller; null when the class cannot be copied.
  virtual AcDbObject* clone() const;

 protected:
  AcDbObject() = default;
  // Copies the data of `other` (kept DXF groups included); the copy is not resident.
  AcDbObject(const AcDbObject& other);
  AcDbObject& operator=(const AcDbObject& other);
  // True when setters may change the object (not resident, or open for write).
  bool writable() const { return m_id.isNull() || m_writer; }

 private:
  friend struct kwhost::db::ObjectAccess;

  AcDbObjectId m_id;
  AcDbObjectId m_ownerId;
  AcDbHandle m_handle;
  kwhost::db::KeptData* m_kept = nullptr;
  Adesk::UInt16 m_readers = 0;
  bool m_writer = false;
  bool m_notifier = false;
  bool m_erased = false;
};

// Base of everything drawn: colour, layer, linetype, linetype scale, lineweight, visibility.
// Layer and linetype are ids; a new entity has none until it is given one or is added to a
// database (which then applies the database's defaults, see setDatabaseDefaults). Names given to
// setLayer/setLinetype are looked up in the entity's database, or in the working database while
// the entity is not resident.
class AcDbEntity : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbEntity);

  AcDbObjectId blockId() const { return ownerId(); }

  AcCmColor color() const { return m_color; }
  // The `doSubents` flag also colours the entity's sub-entities (an old-style polyline's
  // vertices). eOk or eNotOpenForWrite.
  Acad::ErrorStatus setColor(const AcCmColor& color, bool doSubents = true);
  Adesk::UInt16 colorIndex() const { return m_color.colorIndex(); }
  // eInvalidInput for an index above 256.
  Acad::ErrorStatus setColorIndex(Adesk::UInt16 index, bool doSubents = true);

  AcDbObjectId layerId() const { return m_layer; }
  // The layer's name as a malloc'd copy (free() by the caller); null when the entity has no
  // layer or the layer cannot be read.
  wchar_t* layer() const;
  // eKeyNotFound when the layer does not exist; eNotOpenForWrite.
  Acad::ErrorStatus setLayer(const wchar_t* layerName, bool doSubents = true);
  Acad::ErrorStatus setLayer(AcDbObjectId layerId, bool doSubents = true);

  AcDbObjectId linetypeId() const { return m_linetype; }
  // As layer(), for the linetype.
  wchar_t* linetype() const;
  // eKeyNotFound (22) when the linetype is not loaded; eNotOpenForWrite.
  Acad::ErrorStatus setLinetype(const wchar_t* linetypeName, bool doSubents = true);
  Acad::ErrorStatus setLinetype(AcDbObjectId linetypeId, bool doSubents = true);

  double linetypeScale() const { return m_linetypeScale; }
  // eInvalidInput for a scale that is not positive.
  Acad::ErrorStatus setLinetypeScale(double scale, bool doSubents = true);

  AcDb::LineWeight lineWeight() const { return static_cast<AcDb::LineWeight>(m_lineWeight); }
  // eInvalidInput for a value that is not a lineweight.
  Acad::ErrorStatus setLineWeight(AcDb::LineWeight weight, bool doSubents = true);

  AcDb::Visibility visibility() const { return m_invisible ? AcDb::kInvisible : AcDb::kVisible; }
  Acad::ErrorStatus setVisibility(AcDb::Visibility visibility, bool doSubents = true);

  // Layer (CLAYER), linetype (CELTYPE) of `db` (null: the working database), colour ByLayer,
  // linetype scale 1, lineweight ByLayer.
  void setDatabaseDefaults(AcDbDatabase* db = nullptr);

  // The entity's extents in world coordinates: eOk, or eInvalidExtents when it has none (an
  // empty polyline, a reference to an empty block).
  virtual Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const;

 protected:
  AcDbEntity() = default;
  AcDbEntity(const AcDbEntity&) = default;
  AcDbEntity& operator=(const AcDbEntity&) = default;
  // Applies the common properties to sub-entities; the base has none.
  virtual void forEachSubentity(void (*apply)(AcDbEntity*, const void*), const void* arg);

 private:
  friend struct kwhost::db::ObjectAccess;

  AcDbObjectId m_layer;
  AcDbObjectId m_linetype;
  double m_linetypeScale = 1.0;
  AcCmColor m_color;
  Adesk::Int16 m_lineWeight = AcDb::kLnWtByLayer;
  bool m_invisible = false;
};

// Ids of an old database mapped to the ids of their copies (filled by the copy calls).
class AcDbIdMapping {
 public:
  // The copy of `source`, or false.
  bool lookup(AcDbObjectId source, AcDbObjectId& copy) const;
  void assign(AcDbObjectId source, AcDbObjectId copy);
  int size() const { return m_pairs.length(); }

 private:
  struct Pair {
    AcDbObjectId key;
    AcDbObjectId value;
  };
  AcArray<Pair> m_pairs;
};

// readDwgFile sharing modes.
inline constexpr int kAcDbShareDenyWrite = 0x20;
inline constexpr int kAcDbShareDenyNone = 0x40;
#ifndef _SH_DENYWR
#define _SH_DENYWR 0x20
#endif
#ifndef _SH_DENYNO
#define _SH_DENYNO 0x40
#endif

// One drawing: its symbol tables, blocks and objects. A new database built with defaults holds
// the layer "0", the linetypes "ByBlock", "ByLayer" and "Continuous", the text style
// "Standard", the blocks "*Model_Space" and "*Paper_Space", and the viewport "*Active".
// The database owns every object added to it (see the header comment).
class AcDbDatabase : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbDatabase);

  // buildDefaultDrawing false gives an empty database with only the symbol tables, to be filled
  // by a reader.
  explicit AcDbDatabase(bool buildDefaultDrawing = true, bool noDocument = false);
  ~AcDbDatabase() override;
  AcDbDatabase(const AcDbDatabase&) = delete;
  AcDbDatabase& operator=(const AcDbDatabase&) = delete;

  Acad::ErrorStatus getBlockTable(AcDbBlockTable*& table, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getLayerTable(AcDbLayerTable*& table, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getLinetypeTable(AcDbLinetypeTable*& table,
                                     AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getTextStyleTable(AcDbTextStyleTable*& table,
                                      AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getViewTable(AcDbViewTable*& table, AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getViewportTable(AcDbViewportTable*& table,
                                     AcDb::OpenMode mode = AcDb::kForRead);
  Acad::ErrorStatus getSymbolTable(AcDbBlockTable*& t, AcDb::OpenMode m = AcDb::kForRead) {
    return getBlockTable(t, m);
  }
  Acad::ErrorStatus getSymbolTable(AcDbLayerTable*& t, AcDb::OpenMode m = AcDb::kForRead) {
    return getLayerTable(t, m);
  }
  Acad::ErrorStatus getSymbolTable(AcDbLinetypeTable*& t, AcDb::OpenMode m = AcDb::kForRead) {
    return getLinetypeTable(t, m);
  }
  Acad::ErrorStatus getSymbolTable(AcDbTextStyleTable*& t, AcDb::OpenMode m = AcDb::kForRead) {
    return getTextStyleTable(t, m);
  }
  Acad::ErrorStatus getSymbolTable(AcDbViewTable*& t, AcDb::OpenMode m = AcDb::kForRead) {
    return getViewTable(t, m);
  }
  Acad::ErrorStatus getSymbolTable(AcDbViewportTable*& t, AcDb::OpenMode m = AcDb::kForRead) {
    return getViewportTable(t, m);
  }

  AcDbObjectId blockTableId() const;
  AcDbObjectId layerTableId() const;
  AcDbObjectId linetypeTableId() const;
  AcDbObjectId textStyleTableId() const;
  AcDbObjectId viewTableId() const;
  AcDbObjectId viewportTableId() const;

  // Adds an object that is not a symbol table record or an entity (its owner is set by the
  // caller). eOk with `id` set; eNullObjectPointer; eAlreadyInDb.
  Acad::ErrorStatus addAcDbObject(AcDbObjectId& id, AcDbObject* object);
  Acad::ErrorStatus addAcDbObject(AcDbObject* object) {
    AcDbObjectId id;
    return addAcDbObject(id, object);
  }
  // The id of the object with that handle: eOk, or eKeyNotFound (createIfNotFound is not
  // supported and gives eNotImplementedYet when no object has the handle).
  Acad::ErrorStatus getAcDbObjectId(AcDbObjectId& id, bool createIfNotFound,
                                    const AcDbHandle& handle, Adesk::UInt32 xRefId = 0);

  // Reads a drawing file into this database, which must be empty (built without defaults):
  // eOk; eFileNotFound; eNotImplementedYet when the host has no drawing reader; the reader's
  // status for a file it cannot read. The sharing mode is accepted and not enforced.
  Acad::ErrorStatus readDwgFile(const wchar_t* fileName, int shareMode = _SH_DENYWR,
                                bool allowCPConversion = false, const wchar_t* password = nullptr);
  // Writes the drawing as a DXF file through the host's drawing writer (atomically, the previous
  // file kept as its ".bak"). `version` is a drawing version name ("AC1015", ...; null keeps the
  // drawing's own). eOk, and the file becomes the drawing's file name; eInvalidInput;
  // eNotImplementedYet when the host has no writer; the writer's status on failure.
  Acad::ErrorStatus dxfOut(const wchar_t* fileName, int precision = 16,
                           const char* version = nullptr);
  Acad::ErrorStatus saveAs(const wchar_t* fileName) { return dxfOut(fileName); }
  // A new database (owned by the caller) holding a copy of this drawing's tables and blocks.
  Acad::ErrorStatus wblock(AcDbDatabase*& output);
  // Defines the block `blockName` in this database from the model space of `source` (its
  // layers, linetypes, text styles and nested blocks come along unless records of the same
  // names exist here, which win). eOk with `blockId`; eNullObjectPointer; eInvalidInput for a
  // null or empty name; eDuplicateRecordName when the block exists; eSelfReference when
  // `source` is this database. The source database is left unchanged.
  Acad::ErrorStatus insert(AcDbObjectId& blockId, const wchar_t* blockName, AcDbDatabase* source,
                           bool preserveSourceDatabase = true);
  // Copies the objects (entities of one block) into the block `owner` of this database,
  // recording the copies in `mapping`. eOk; eInvalidInput for an empty list or ids of another
  // database; the open statuses of the objects.
  Acad::ErrorStatus deepCloneObjects(const AcDbObjectIdArray& objectIds, AcDbObjectId owner,
                                     AcDbIdMapping& mapping, bool deferXlation = false);

  // acdbLoadLineTypeFile(linetypeName, fileName, this).
  Acad::ErrorStatus loadLineTypeFile(const wchar_t* linetypeName, const wchar_t* fileName);

  // Current layer, linetype and text style.
  AcDbObjectId clayer() const;
  Acad::ErrorStatus setClayer(AcDbObjectId layer);
  AcDbObjectId celtype() const;
  Acad::ErrorStatus setCeltype(AcDbObjectId linetype);
  AcDbObjectId textstyle() const;
  Acad::ErrorStatus setTextstyle(AcDbObjectId style);
  AcDbObjectId byLayerLinetype() const;
  AcDbObjectId byBlockLinetype() const;
  AcDbObjectId continuousLinetype() const;
  double ltscale() const;
  Acad::ErrorStatus setLtscale(double scale);
  // Drawing extents as stored in the header ($EXTMIN/$EXTMAX).
  AcGePoint3d extmin() const;
  AcGePoint3d extmax() const;
  // Recomputes $EXTMIN/$EXTMAX from model space; eOk even for an empty drawing (then the
  // stored values are left as they are).
  Acad::ErrorStatus updateExt(bool doBestFit = false);
  // The next handle that a new object will get.
  AcDbHandle handseed() const;
  // The block record of the current space (model space in this host).
  AcDbObjectId currentSpaceId() const;
  // The file this database was read from or last saved to ("" for a new drawing).
  Acad::ErrorStatus getFilename(const wchar_t*& fileName) const;

  // The host's storage, opaque outside it.
  struct Impl;

 private:
  friend struct kwhost::db::ObjectAccess;
  Impl* m_impl;
};

// The host's application services: the working database (that of the current document).
class AcDbHostApplicationServices : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbHostApplicationServices);
  // The working database, or null when none is set.
  AcDbDatabase* workingDatabase() const;
  // Makes `db` the working database (null: none). The caller keeps ownership.
  void setWorkingDatabase(AcDbDatabase* db);
  // Finds a support file as acedFindFile does, with the folder of `db`'s drawing (null: the
  // working database) in the drawing's place.
  // eOk with the path in fileFound; eFileNotFound; eInvalidInput for bad arguments or a buffer
  // of fewer than `length` characters too small for the path.
  Acad::ErrorStatus findFile(wchar_t* fileFound, int length, const wchar_t* fileName,
                             AcDbDatabase* db = nullptr, int hint = 0);
};
AcDbHostApplicationServices* acdbHostApplicationServices();
// Opens the object for `mode`: eOk with `object` set; eNullObjectId; eNotInDatabase (the
// database is gone or the id was never handed out); eWasErased (unless openErased); the open
// statuses of the header comment. `object` is null on failure.
Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*& object, AcDbObjectId id, AcDb::OpenMode mode,
                                     bool openErased = false);
// As acdbOpenAcDbObject; eNotAnEntity (nothing stays open) when the object is no entity.
Acad::ErrorStatus acdbOpenAcDbEntity(AcDbEntity*& entity, AcDbObjectId id, AcDb::OpenMode mode,
                                     bool openErased = false);
// Opens and casts: eNotThatKindOfClass (nothing stays open) when the object is not a T.
template <class T>
Acad::ErrorStatus acdbOpenObject(T*& object, AcDbObjectId id, AcDb::OpenMode mode,
                                 bool openErased = false) {
  object = nullptr;
  AcDbObject* raw = nullptr;
  Acad::ErrorStatus es = acdbOpenAcDbObject(raw, id, mode, openErased);
  if (es != Acad::eOk) return es;
  object = T::cast(raw);
  if (object) return Acad::eOk;
  raw->close();
  return Acad::eNotThatKindOfClass;
}

// Loads linetypes from a linetype definition file (".lin") into `db` (null: the working
// database). `ltname` is one name or a wildcard pattern as acutWcMatch takes it ("*": every
// linetype of the file), compared ignoring case; the file is searched as acedFindFile searches,
// the drawing's folder being `db`'s. Text elements use the text style they name (created like
// "Standard" when the drawing lacks it); shape elements are resolved by shape name through
// their shape file (".shx" or ".shp"), and an element whose file or shape is missing is left
// out. eOk; eInvalidInput for a null or empty argument; eNoDatabase; eFilerError when the file
// is not found or cannot be read; eUndefinedLineType when the file defines no such linetype;
// eDuplicateRecordName when a single name is loaded already (a pattern skips those); the
// open statuses of the linetype table.
Acad::ErrorStatus acdbLoadLineTypeFile(const wchar_t* ltname, const wchar_t* fname,
                                       AcDbDatabase* db = nullptr);

// The platform's name of a status ("eOk", "eKeyNotFound", ...); "Unknown" for other values.
const wchar_t* acadErrorStatusText(Acad::ErrorStatus status);

// Opens an object for the life of the pointer and closes it at the end (or on close()/open()).
// openStatus() tells whether the open worked; object() is null when it did not. A pointer made
// by create() or acquire() owns a non-resident object and deletes it unless release()d.
template <class T>
class AcDbObjectPointer {
 public:
  AcDbObjectPointer() = default;
  AcDbObjectPointer(AcDbObjectId id, AcDb::OpenMode mode, bool openErased = false) {
    open(id, mode, openErased);
  }
  ~AcDbObjectPointer() { reset(); }
  AcDbObjectPointer(const AcDbObjectPointer&) = delete;
  AcDbObjectPointer& operator=(const AcDbObjectPointer&) = delete;

  Acad::ErrorStatus open(AcDbObjectId id, AcDb::OpenMode mode, bool openErased = false) {
    reset();
    m_status = acdbOpenObject(m_object, id, mode, openErased);
    return m_status;
  }
  Acad::ErrorStatus openStatus() const { return m_status; }
  T* object() const { return m_object; }
  T* operator->() const { return m_object; }
  operator T*() const { return m_object; }
  // Closes the object now: its close() status, or eNullObjectPointer.
  Acad::ErrorStatus close() {
    if (!m_object) return Acad::eNullObjectPointer;
    Acad::ErrorStatus es = finish();
    m_object = nullptr;
    m_status = Acad::eNullObjectPointer;
    return es;
  }
  // A new non-resident object owned by the pointer.
  Acad::ErrorStatus create() {
    reset();
    m_object = new T();
    m_status = Acad::eOk;
    return m_status;
  }
  // Takes a non-resident object (eAlreadyInDb for a resident one).
  Acad::ErrorStatus acquire(T*& object) {
    if (!object) return Acad::eNullObjectPointer;
    if (!object->objectId().isNull()) return Acad::eAlreadyInDb;
    reset();
    m_object = object;
    object = nullptr;
    m_status = Acad::eOk;
    return m_status;
  }
  // Hands the object back without closing or deleting it.
  Acad::ErrorStatus release(T*& object) {
    if (!m_object) return Acad::eNullObjectPointer;
    object = m_object;
    m_object = nullptr;
    m_status = Acad::eNullObjectPointer;
    return Acad::eOk;
  }

 private:
  Acad::ErrorStatus finish() {
    if (m_object->objectId().isNull()) {
      delete m_object;
      return Acad::eOk;
    }
    return m_object->close();
  }
  void reset() {
    if (m_object) finish();
    m_object = nullptr;
    m_status = Acad::eNullObjectPointer;
  }
  T* m_object = nullptr;
  Acad::ErrorStatus m_status = Acad::eNullObjectPointer;
};
using AcDbEntityPointer = AcDbObjectPointer<AcDbEntity>;

#endif  // KW_HOST_API_DBMAIN_H_
