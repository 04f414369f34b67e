// The state of one DXF write: the tag writer, the database being written, the handles given
// to the file's groups that are no database objects (BLOCK, ENDBLK, SEQEND, and the tables and
// objects a new drawing lacks), and the names of records by id.
//
// Invariants:
//   1. Every handle written is unique in the file: database objects keep theirs (all below the
//      database's next free handle), the groups the writer adds take theirs from next_, which
//      starts there; the $HANDSEED written is above both.
//   2. The writer never changes the database except to give handles to objects without one.
#ifndef KWHOST_EMBEDDED_DXF_INTERNAL_WRITER_H_
#define KWHOST_EMBEDDED_DXF_INTERNAL_WRITER_H_

#include <string>
#include <string_view>
#include <unordered_map>

#include "host/api/dbents.h"
#include "host/api/dbmain.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/dxf/tagreader.h"
#include "host/embedded/dxf/tagwriter.h"

namespace kwhost::dxf {

// The entity as a T when its class is exactly T, else null.
template <class T>
const T* As(const AcDbEntity& e, const AcRxClass* cls) {
  return cls == T::desc() ? static_cast<const T*>(&e) : nullptr;
}

class Writer {
 public:
  Writer(AcDbDatabase& db, std::string version, std::string codepage, bool binary);
  // The whole file.
  std::string Run();

 private:
  // sections
  void Header(TagWriter& w);
  void Classes();
  void Tables();
  void Blocks();
  void Entities();
  void Objects();
  void KeptSections();

  // tables
  void TableHead(std::string_view name, const AcDbObject* table, int count);
  void KeptTable(const db::KeptSection& table);
  void NewTable(std::string_view name);
  void Record(const AcDbSymbolTableRecord& r, std::string_view type, std::string_view marker,
              uint64_t owner);
  void RecordFields(const AcDbSymbolTableRecord& r);
  void Layer(const AcDbLayerTableRecord& l);
  void Linetype(const AcDbLinetypeTableRecord& l);
  void TextStyle(const AcDbTextStyleTableRecord& s);
  void View(const AcDbAbstractViewTableRecord& v, bool viewport);
  void BlockBegin(const AcDbBlockTableRecord& b);
  void BlockEnd(const AcDbBlockTableRecord& b);

  // entities
  void Entity(const AcDbEntity& e, uint64_t owner, bool paper);
  void Common(const AcDbEntity& e, std::string_view type, uint64_t owner, bool paper);
  void Subclass(const AcDbObject& o, std::string_view marker);
  void Finish(const AcDbObject& o, std::initializer_list<std::string_view> markers);
  void Fields(const AcDbEntity& e, const AcRxClass* cls, uint64_t owner, bool paper);
  void Normal(const AcGeVector3d& n);
  void PointFields(const AcDbPoint& entity, uint64_t owner, bool paper);
  void ArcFields(const AcDbArc& entity, uint64_t owner, bool paper);
  void CircleFields(const AcDbCircle& entity, uint64_t owner, bool paper);
  void LwPolylineFields(const AcDbPolyline& entity, uint64_t owner, bool paper);
  void TextFields(const AcDbText& entity, uint64_t owner, bool paper);
  void InsertFields(const AcDbBlockReference& entity, uint64_t owner, bool paper);
  void Polyline(const AcDb2dPolyline& p, uint64_t owner, bool paper);
  void Proxy(const db::ProxyEntity& p);
  void Tags(const db::Tags& tags);

  // names and handles
  const std::string& NameOf(AcDbObjectId id);
  uint64_t HandleOf(AcDbObjectId id) const;
  uint64_t KeptHandle(const AcDbObject& o, std::string_view part);
  void Handle(int code, uint64_t handle) { w_.Handle(code, handle); }

  AcDbDatabase& db_;
  db::DatabaseExtras& extras_;
  std::string version_;
  std::string codepage_;
  bool binary_;
  TagWriter w_;
  uint64_t next_ = 1;
  std::unordered_map<int64_t, std::string> names_;
  // Handles of what a new drawing lacks and the writer adds.
  uint64_t root_ = 0, groups_ = 0, layouts_ = 0, model_layout_ = 0, paper_layout_ = 0;
  AcDbObjectId model_, paper_;
  AcDbObjectId by_layer_;  // the "ByLayer" linetype, which entities leave unwritten
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_INTERNAL_WRITER_H_
