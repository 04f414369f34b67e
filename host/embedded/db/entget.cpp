// DXF lists of entities (acdbEntGet) and of symbol table records (acdbTblSearch, acdbTblNext).
// Angles are degrees and points of planar entities are in their entity coordinate system, as
// the drawing format writes them. Invariant: the position kept for acdbTblNext belongs to the
// database it was taken in; another working database starts every table from its first record.
#include <cmath>
#include <cstdio>
#include <map>
#include <numbers>

#include "common/encoding.h"
#include "common/text.h"
#include "host/api/dbads.h"
#include "host/api/dbpl.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/db/store.h"

namespace {

using kwhost::db::TableKind;

double Degrees(double radians) {
  return radians * 180.0 / std::numbers::pi;
}

// Appends result buffers to a list.
class ListBuilder {
 public:
  ~ListBuilder() { acutRelRb(m_head); }
  resbuf* take() {
    resbuf* head = m_ok ? m_head : nullptr;
    if (!m_ok) acutRelRb(m_head);
    m_head = nullptr;
    return head;
  }
  void text(int code, const std::wstring& value) {
    if (resbuf* rb = add(code)) {
      rb->resval.rstring = acutNewString(value.c_str());
      if (!rb->resval.rstring) m_ok = false;
    }
  }
  void real(int code, double value) {
    if (resbuf* rb = add(code)) rb->resval.rreal = value;
  }
  void integer(int code, int value) {
    if (resbuf* rb = add(code)) rb->resval.rint = static_cast<short>(value);
  }
  void longInt(int code, int32_t value) {
    if (resbuf* rb = add(code)) rb->resval.rlong = value;
  }
  void point(int code, const AcGePoint3d& p) {
    if (resbuf* rb = add(code)) {
      rb->resval.rpoint[0] = p.x;
      rb->resval.rpoint[1] = p.y;
      rb->resval.rpoint[2] = p.z;
    }
  }
  void vector(int code, const AcGeVector3d& v) { point(code, AcGePoint3d(v.x, v.y, v.z)); }
  void name(int code, AcDbObjectId id) {
    if (resbuf* rb = add(code)) acdbGetAdsName(rb->resval.rlname, id);
  }

 private:
  resbuf* add(int code) {
    resbuf* rb = acutNewRb(code);
    if (!rb) {
      m_ok = false;
      return nullptr;
    }
    *m_tail = rb;
    m_tail = &rb->rbnext;
    return rb;
  }
  resbuf* m_head = nullptr;
  resbuf** m_tail = &m_head;
  bool m_ok = true;
};

std::wstring HandleText(AcDbHandle h) {
  wchar_t buf[24];
  std::swprintf(buf, 24, L"%llX", static_cast<unsigned long long>(h.value()));
  return buf;
}

AcGePoint3d ToEcs(const AcGeVector3d& normal, const AcGePoint3d& p) {
  AcGeVector3d x = kwhost::db::Ecs(normal).toWorld(1, 0, 0);
  AcGeVector3d y = kwhost::db::Ecs(normal).toWorld(0, 1, 0);
  AcGeVector3d v(p.x, p.y, p.z);
  return AcGePoint3d(v.dotProduct(x), v.dotProduct(y), v.dotProduct(normal.normal()));
}

void Common(ListBuilder& list, const AcDbEntity& e) {
  list.text(100, L"AcDbEntity");
  list.text(8, kwhost::db::RecordName(e.layerId()));
  AcDbDatabase* db = e.database();
  if (db && e.linetypeId() != db->byLayerLinetype()) {
    list.text(6, kwhost::db::RecordName(e.linetypeId()));
  }
  if (!e.color().isByLayer()) list.integer(62, e.colorIndex());
  if (e.color().isByColor()) list.longInt(420, static_cast<int32_t>(e.color().color() & 0xFFFFFF));
  if (e.lineWeight() != AcDb::kLnWtByLayer) list.integer(370, e.lineWeight());
  if (e.linetypeScale() != 1.0) list.real(48, e.linetypeScale());
  if (e.visibility() == AcDb::kInvisible) list.integer(60, 1);
}

void Curve(ListBuilder& list, const AcDbEntity& e) {
  if (auto* line = AcDbLine::cast(&e)) {
    list.text(100, L"AcDbLine");
    list.point(10, line->startPoint());
    list.point(11, line->endPoint());
    list.real(39, line->thickness());
    list.vector(210, line->normal());
  } else if (auto* circle = AcDbCircle::cast(&e)) {
    list.text(100, L"AcDbCircle");
    list.point(10, ToEcs(circle->normal(), circle->center()));
    list.real(40, circle->radius());
    list.real(39, circle->thickness());
    list.vector(210, circle->normal());
  } else if (auto* arc = AcDbArc::cast(&e)) {
    list.text(100, L"AcDbCircle");
    list.point(10, ToEcs(arc->normal(), arc->center()));
    list.real(40, arc->radius());
    list.real(39, arc->thickness());
    list.vector(210, arc->normal());
    list.text(100, L"AcDbArc");
    list.real(50, Degrees(arc->startAngle()));
    list.real(51, Degrees(arc->endAngle()));
  }
}

void Polyline(ListBuilder& list, const AcDbPolyline& pl) {
  list.text(100, L"AcDbPolyline");
  list.longInt(90, static_cast<int32_t>(pl.numVerts()));
  list.integer(70, pl.isClosed() ? 1 : 0);
  double width = 0;
  if (pl.getConstantWidth(width) == Acad::eOk) list.real(43, width);
  list.real(38, pl.elevation());
  list.real(39, pl.thickness());
  for (unsigned int i = 0; i < pl.numVerts(); ++i) {
    AcGePoint2d p;
    double bulge = 0, start = 0, end = 0;
    pl.getPointAt(i, p);
    pl.getBulgeAt(i, bulge);
    pl.getWidthsAt(i, start, end);
    list.point(10, AcGePoint3d(p.x, p.y, 0));
    list.real(40, start);
    list.real(41, end);
    list.real(42, bulge);
  }
  list.vector(210, pl.normal());
}

void Other(ListBuilder& list, const AcDbEntity& e) {
  if (auto* pt = AcDbPoint::cast(&e)) {
    list.text(100, L"AcDbPoint");
    list.point(10, pt->position());
    list.real(39, pt->thickness());
    list.vector(210, pt->normal());
    list.real(50, Degrees(pt->ecsRotation()));
  } else if (auto* text = AcDbText::cast(&e)) {
    list.text(100, L"AcDbText");
    list.point(10, ToEcs(text->normal(), text->position()));
    list.real(40, text->height());
    list.text(1, text->textStringConst());
    list.real(50, Degrees(text->rotation()));
    list.real(41, text->widthFactor());
    list.real(51, Degrees(text->oblique()));
    list.text(7, kwhost::db::RecordName(text->textStyle()));
    list.integer(71, (text->isMirroredInX() ? 2 : 0) | (text->isMirroredInY() ? 4 : 0));
    list.integer(72, text->horizontalMode());
    list.point(11, ToEcs(text->normal(), text->alignmentPoint()));
    list.vector(210, text->normal());
    list.text(100, L"AcDbText");
    list.integer(73, text->verticalMode());
  } else if (auto* ref = AcDbBlockReference::cast(&e)) {
    list.text(100, L"AcDbBlockReference");
    list.text(2, kwhost::db::RecordName(ref->blockTableRecord()));
    list.point(10, ToEcs(ref->normal(), ref->position()));
    list.real(41, ref->scaleFactors().sx);
    list.real(42, ref->scaleFactors().sy);
    list.real(43, ref->scaleFactors().sz);
    list.real(50, Degrees(ref->rotation()));
    list.vector(210, ref->normal());
  } else if (auto* pl = AcDbPolyline::cast(&e)) {
    Polyline(list, *pl);
  } else if (auto* poly = AcDb2dPolyline::cast(&e)) {
    list.text(100, L"AcDb2dPolyline");
    list.integer(66, 1);
    list.point(10, AcGePoint3d(0, 0, poly->elevation()));
    list.integer(70, poly->isClosed() ? 1 : 0);
    list.real(40, poly->defaultStartWidth());
    list.real(41, poly->defaultEndWidth());
    list.vector(210, poly->normal());
  } else if (auto* v = AcDb2dVertex::cast(&e)) {
    list.text(100, L"AcDbVertex");
    list.text(100, L"AcDb2dVertex");
    list.point(10, v->position());
    list.real(40, v->startWidth());
    list.real(41, v->endWidth());
    list.real(42, v->bulge());
  }
}

const wchar_t* TypeName(const AcDbEntity& e, std::wstring& scratch) {
  if (auto* proxy = kwhost::db::ProxyEntity::cast(&e)) {
    scratch = kw::FromUtf8(proxy->dxfName);
    return scratch.c_str();
  }
  struct Name {
    AcRxClass* (*desc)();
    const wchar_t* name;
  };
  static const Name kNames[] = {{AcDbLine::desc, L"LINE"},
                                {AcDbCircle::desc, L"CIRCLE"},
                                {AcDbArc::desc, L"ARC"},
                                {AcDbPoint::desc, L"POINT"},
                                {AcDbText::desc, L"TEXT"},
                                {AcDbBlockReference::desc, L"INSERT"},
                                {AcDbPolyline::desc, L"LWPOLYLINE"},
                                {AcDb2dPolyline::desc, L"POLYLINE"},
                                {AcDb2dVertex::desc, L"VERTEX"}};
  for (const Name& n : kNames) {
    if (e.isA() == n.desc()) return n.name;
  }
  return L"ACAD_PROXY_ENTITY";
}

}  // namespace

resbuf* acdbEntGet(const ads_name name) {
  AcDbObjectId id;
  if (acdbGetObjectId(id, name) != Acad::eOk) return nullptr;
  auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
  if (!e || e->isErased()) return nullptr;
  ListBuilder list;
  std::wstring scratch;
  list.name(-1, id);
  list.text(0, TypeName(*e, scratch));
  list.name(330, e->ownerId());
  list.text(5, HandleText(e->objectHandle()));
  Common(list, *e);
  Curve(list, *e);
  Other(list, *e);
  return list.take();
}

// ---------------------------------------------------------------- symbol tables

namespace {

struct TableName {
  const wchar_t* name;
  TableKind kind;
};
constexpr TableName kTables[] = {
    {L"BLOCK", kwhost::db::kBlocks},    {L"LAYER", kwhost::db::kLayers},
    {L"LTYPE", kwhost::db::kLinetypes}, {L"STYLE", kwhost::db::kTextStyles},
    {L"VIEW", kwhost::db::kViews},      {L"VPORT", kwhost::db::kViewports}};

const TableName* FindTable(const wchar_t* name) {
  for (const TableName& t : kTables) {
    if (name && kw::EqualsNoCase(name, t.name)) return &t;
  }
  return nullptr;
}

void LayerList(ListBuilder& list, const AcDbLayerTableRecord& layer) {
  list.integer(70, (layer.isFrozen() ? 1 : 0) | (layer.isLocked() ? 4 : 0));
  int color = layer.color().colorIndex();
  list.integer(62, layer.isOff() ? -color : color);
  list.text(6, kwhost::db::RecordName(layer.linetypeObjectId()));
}

void LinetypeList(ListBuilder& list, const AcDbLinetypeTableRecord& lt) {
  const wchar_t* comments = nullptr;
  lt.comments(comments);
  list.integer(70, 0);
  list.text(3, comments);
  list.integer(72, 'A');
  list.integer(73, lt.numDashes());
  list.real(40, lt.patternLength());
  for (int i = 0; i < lt.numDashes(); ++i) list.real(49, lt.dashLengthAt(i));
}

void StyleList(ListBuilder& list, const AcDbTextStyleTableRecord& st) {
  const wchar_t* file = nullptr;
  const wchar_t* bigFont = nullptr;
  st.fileName(file);
  st.bigFontFileName(bigFont);
  list.integer(70, (st.isShapeFile() ? 1 : 0) | (st.isVertical() ? 4 : 0));
  list.real(40, st.textSize());
  list.real(41, st.xScale());
  list.real(50, Degrees(st.obliquingAngle()));
  list.integer(71, st.flagBits());
  list.real(42, st.priorSize());
  list.text(3, file);
  list.text(4, bigFont);
}

void ViewList(ListBuilder& list, const AcDbAbstractViewTableRecord& view) {
  list.integer(70, 0);
  list.real(40, view.height());
  list.real(41, view.width());
  list.point(10, AcGePoint3d(view.centerPoint().x, view.centerPoint().y, 0));
  list.vector(11, view.viewDirection());
  list.point(12, view.target());
}

resbuf* RecordList(const wchar_t* tableName, const AcDbSymbolTableRecord& record) {
  ListBuilder list;
  list.text(0, tableName);
  list.text(2, record.name());
  if (auto* layer = AcDbLayerTableRecord::cast(&record)) LayerList(list, *layer);
  if (auto* lt = AcDbLinetypeTableRecord::cast(&record)) LinetypeList(list, *lt);
  if (auto* st = AcDbTextStyleTableRecord::cast(&record)) StyleList(list, *st);
  if (auto* view = AcDbAbstractViewTableRecord::cast(&record)) ViewList(list, *view);
  if (auto* block = AcDbBlockTableRecord::cast(&record)) {
    list.integer(70, 0);
    list.point(10, block->origin());
    for (AcDbObjectId id : kwhost::db::BlockEntities(*block)) {
      if (!kwhost::db::Peek(id)->isErased()) {
        list.name(-2, id);
        break;
      }
    }
  }
  return list.take();
}

struct NextState {
  AcDbDatabase* db = nullptr;
  std::map<TableKind, size_t> next;
};

NextState& Next() {
  static NextState state;
  return state;
}

// The live record at or after `from` in the table, and its position; null at the end.
AcDbSymbolTableRecord* LiveFrom(const AcDbSymbolTable& table, size_t from, size_t& at) {
  const auto& records = kwhost::db::TableRecords(table);
  for (at = from; at < records.size(); ++at) {
    auto* record = AcDbSymbolTableRecord::cast(kwhost::db::Peek(records[at]));
    if (record && !record->isErased()) return record;
  }
  return nullptr;
}

}  // namespace

resbuf* acdbTblSearch(const wchar_t* table, const wchar_t* symbol, int setNext) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  const TableName* t = FindTable(table);
  if (!db || !t || !symbol) return nullptr;
  AcDbSymbolTable* tbl = kwhost::db::TableOf(db, t->kind);
  AcDbObjectId id = kwhost::db::FindRecord(*tbl, symbol);
  if (id.isNull()) return nullptr;
  if (setNext) {
    const auto& records = kwhost::db::TableRecords(*tbl);
    for (size_t i = 0; i < records.size(); ++i) {
      if (records[i] == id) {
        Next() = NextState{db, {}};
        Next().next[t->kind] = i + 1;
      }
    }
  }
  return RecordList(t->name, *AcDbSymbolTableRecord::cast(kwhost::db::Peek(id)));
}

resbuf* acdbTblNext(const wchar_t* table, int rewind) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  const TableName* t = FindTable(table);
  if (!db || !t) return nullptr;
  NextState& state = Next();
  if (state.db != db) state = NextState{db, {}};
  size_t& from = state.next[t->kind];
  if (rewind) from = 0;
  size_t at = 0;
  AcDbSymbolTableRecord* record = LiveFrom(*kwhost::db::TableOf(db, t->kind), from, at);
  if (!record) return nullptr;
  from = at + 1;
  return RecordList(t->name, *record);
}
