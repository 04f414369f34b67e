// The state of one DXF read: the records still to come, the database being filled, and the
// name and handle maps that turn a file's references into object ids.
//
// States: HEADER -> CLASSES -> TABLES -> BLOCKS -> ENTITIES -> OBJECTS -> checked (each
// section optional, unknown sections kept anywhere), or failed with a message naming the line.
// Invariants:
//   1. Every object added to the database has a handle no other object of the file has:
//      handles of the groups the database does not hold as objects (BLOCK, ENDBLK, SEQEND)
//      are tracked in side_handles_ and count as taken; an object the reader made (made_)
//      gives its handle up to a file object that claims it later.
//   2. A name map holds each live record of its table under the upper-cased name.
//   3. Nothing read is trusted: counts are never used to size memory, references are
//      checked once everything is read (owners are objects the file gave that handle,
//      blocks do not contain themselves).
#ifndef KWHOST_EMBEDDED_DXF_INTERNAL_READER_H_
#define KWHOST_EMBEDDED_DXF_INTERNAL_READER_H_

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "common/intmap.h"
#include "host/api/dbents.h"
#include "host/api/dbmain.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/dxf/records.h"

namespace kwhost::dxf {

std::string FoldName(std::string_view name);
std::wstring Wide(std::string_view utf8);
// True for the records that give a file its structure (SECTION, ENDSEC, TABLE, ENDTAB, BLOCK,
// ENDBLK, EOF): where one turns up among entities, objects or records, the structure is
// broken, and keeping it as an object would write a file that no longer reads.
bool IsStructureRecord(std::string_view type);

// What a record's structural groups say: its handle, owner and the line it starts on.
struct Identity {
  uint64_t handle = 0;
  uint64_t owner = 0;
  size_t line = 0;
};

// Decides for one group whether the object's own data takes it (true) or it is kept (false).
// A non-owning reference to the caller's lambda: one is made per object read, so it must not
// allocate.
class FieldFn {
 public:
  template <class F>
  FieldFn(const F& f)  // NOLINT: converts from any lambda, like std::function
      : object_(&f),
        call_([](const void* o, const RawTag& t) { return (*static_cast<const F*>(o))(t); }) {}
  bool operator()(const RawTag& t) const { return call_(object_, t); }

 private:
  const void* object_;
  bool (*call_)(const void*, const RawTag&);
};

class Reader {
 public:
  Reader(std::string_view bytes, AcDbDatabase& db, size_t read_ahead_from)
      : records_(bytes, read_ahead_from), db_(db) {}
  // Reads the whole file: eOk, or a failure status with message() set.
  Acad::ErrorStatus Run();
  const std::string& message() const { return records_.error(); }

 private:
  // sections
  bool Section();
  bool Header();
  bool Classes();
  bool Tables();
  bool Table(std::string_view name);
  bool Blocks();
  bool Entities(AcDbObjectId block, std::string_view end);
  bool Objects();
  bool KeepSection();
  bool Check();
  // True when an object of the file (not one the reader made) holds `handle`.
  bool FileHandle(uint64_t handle) const;
  bool Complete();

  // records of the tables
  bool TableHead(std::string_view name, AcDbObjectId table);
  bool TableRecord(std::string_view table);
  AcDbSymbolTableRecord* MapRecord(std::string_view table, const Record& r, Identity* id);
  AcDbSymbolTableRecord* Layer(const Record& r, Identity* id);
  AcDbSymbolTableRecord* Linetype(const Record& r, Identity* id);
  AcDbSymbolTableRecord* TextStyle(const Record& r, Identity* id);
  AcDbSymbolTableRecord* View(const Record& r, Identity* id, bool viewport);
  bool ResolveShapeStyles();
  bool ProxyRecord(std::string_view table, size_t index);
  AcDbObjectId TableId(std::string_view table) const;
  AcDbObjectId CreateLayer(std::string_view name);
  AcDbObjectId BlockByName(std::string_view name);

  // entities
  bool Entity(AcDbObjectId block);
  AcDbEntity* MapEntity(const Record& r, Identity* id, AcDbObjectId in_block);
  AcDbEntity* Line(const Record& r, Identity* id);
  AcDbEntity* Point(const Record& r, Identity* id);
  AcDbEntity* Circle(const Record& r, Identity* id, bool arc);
  AcDbEntity* LwPolyline(const Record& r, Identity* id);
  AcDbEntity* Text(const Record& r, Identity* id);
  AcDbEntity* Insert(const Record& r, Identity* id, AcDbObjectId in_block);
  bool Polyline(AcDbObjectId block);
  bool Vertex(AcDbObjectId polyline);
  bool Seqend(AcDbObjectId polyline);
  bool FollowersAhead(const Record& r) const;
  bool KeptWithFollowers(AcDbObjectId block);
  bool CommonField(AcDbEntity& e, const RawTag& t);
  AcDbObjectId BlockFor(AcDbObjectId block, bool paper);

  // groups
  bool Walk(const Record& r, AcDbObject& object, const std::vector<std::string_view>& markers,
            const FieldFn& field, Identity* id);
  db::Tags AllTags(const Record& r) const;
  bool Add(AcDbObject* object, const Identity& id, AcDbObjectId owner, AcDbObjectId* added);
  // Keeps the current record as an unmodelled object (its handle from group 5, or 105 when
  // `handle105` — a DIMSTYLE —, its owner from the first 330 before any subclass marker).
  bool AddProxy(bool handle105, AcDbObjectId* added);
  bool TakeSideHandle(uint64_t handle, size_t line);
  bool Vacate(uint64_t handle);
  bool NextRecord();
  bool Fail(std::string_view why) { return records_.FailAt(rec_, why); }

  RecordReader records_;
  AcDbDatabase& db_;
  Record rec_;
  bool r12_ = true;
  uint64_t handseed_ = 0;
  std::unordered_map<std::string, AcDbObjectId> layers_, linetypes_, styles_, blocks_;
  kw::IntMap<bool> side_handles_;
  kw::IntMap<bool> made_;  // ids of the objects the reader made (fresh handles)
  std::vector<std::pair<uint64_t, size_t>> owners_;  // owner handles to check, with lines
  struct Reference {
    AcDbObjectId insert;   // the block placed
    AcDbObjectId inBlock;  // the block holding the INSERT
    size_t line;
  };
  std::vector<Reference> references_;
  // Linetype dashes whose shape or text style is named by handle (STYLE comes after LTYPE).
  struct ShapeStyle {
    AcDbObjectId linetype;
    int dash;
    uint64_t style;
    size_t line;
  };
  std::vector<ShapeStyle> shape_styles_;
  std::vector<std::pair<int, uint64_t>> pending_linetype_styles_;  // of the record being read
  AcDbObjectId model_, paper_;
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_INTERNAL_READER_H_
