// The DXF writer's driver: header, classes, the tables in their usual order, blocks, entities
// and objects, with what a new drawing lacks added so that other readers accept the file.
#include <cmath>

#include "common/encoding.h"
#include "common/fileio.h"
#include "host/embedded/dxf/internal/writer.h"

namespace kwhost::dxf {
namespace {

constexpr double kDegree = M_PI / 180.0;
constexpr size_t kBytesPerObject = 160;

// The symbol tables in the order drawing files list them, with their record markers.
struct TableKind {
  const char* name;
  const char* marker;  // "" for the tables the host keeps as groups
};
constexpr TableKind kTableOrder[] = {
    {"VPORT", "AcDbViewportTableRecord"},
    {"LTYPE", "AcDbLinetypeTableRecord"},
    {"LAYER", "AcDbLayerTableRecord"},
    {"STYLE", "AcDbTextStyleTableRecord"},
    {"VIEW", "AcDbViewTableRecord"},
    {"UCS", ""},
    {"APPID", ""},
    {"DIMSTYLE", ""},
    {"BLOCK_RECORD", "AcDbBlockTableRecord"},
};

AcDbObjectId TableOf(AcDbDatabase& db, std::string_view name) {
  if (name == "VPORT") return db.viewportTableId();
  if (name == "LTYPE") return db.linetypeTableId();
  if (name == "LAYER") return db.layerTableId();
  if (name == "STYLE") return db.textStyleTableId();
  if (name == "VIEW") return db.viewTableId();
  return db.blockTableId();
}

const db::Tags* HeaderOf(const db::DatabaseExtras& extras, std::string_view name) {
  for (const auto& [table, tags] : extras.tableHeads) {
    if (table == name) return &tags;
  }
  return nullptr;
}

}  // namespace

Writer::Writer(AcDbDatabase& db, std::string version, std::string codepage, bool binary)
    : db_(db),
      extras_(db::Extras(db)),
      version_(std::move(version)),
      codepage_(std::move(codepage)),
      binary_(binary),
      w_(binary, TextCodec(version_, codepage_, !binary)) {}

std::string Writer::Run() {
  db::EnsureHandles(db_);
  by_layer_ = db_.byLayerLinetype();
  next_ = db_.handseed().value();
  // Room for a typical entity's text per object up front: the buffer then seldom moves, and
  // room never written costs no memory.
  w_.bytes().reserve(db::ObjectCount(db_) * kBytesPerObject);
  kw::PreferLargePages(w_.bytes());
  if (extras_.objects.empty()) {
    root_ = next_++, groups_ = next_++, layouts_ = next_++;
    model_layout_ = next_++, paper_layout_ = next_++;
  }
  Classes();
  Tables();
  Blocks();
  Entities();
  Objects();
  KeptSections();
  w_.Keyword(0, "EOF");
  TagWriter head(binary_, TextCodec(version_, codepage_, !binary_));
  if (binary_) head.bytes() = std::string(kBinarySentinel);
  Header(head);
  // The header goes in front of the rest in place: no second buffer as large as the file.
  w_.bytes().insert(0, head.bytes());
  return std::move(w_.bytes());
}

void Writer::Header(TagWriter& w) {
  w.Keyword(0, "SECTION");
  w.Keyword(2, "HEADER");
  w.Keyword(9, "$ACADVER");
  w.String(1, version_);
  w.Keyword(9, "$DWGCODEPAGE");
  w.String(3, codepage_);
  for (const auto& [name, tags] : extras_.header) {
    if (name == "$ACADVER" || name == "$DWGCODEPAGE" || name == "$HANDSEED") continue;
    w.String(9, name);
    for (const db::Tag& t : tags) w.Text(t.code, t.value);
  }
  w.Keyword(9, "$HANDSEED");
  w.Handle(5, next_);
  w.Keyword(0, "ENDSEC");
}

void Writer::Classes() {
  w_.Keyword(0, "SECTION");
  w_.Keyword(2, "CLASSES");
  Tags(extras_.classes);
  w_.Keyword(0, "ENDSEC");
}

// Sections the host does not model follow the modelled ones in the order read, except the
// preview picture, which drawing files hold last.
void Writer::KeptSections() {
  for (bool picture : {false, true}) {
    for (const db::KeptSection& section : extras_.sections) {
      if ((section.name == "THUMBNAILIMAGE") != picture) continue;
      w_.Keyword(0, "SECTION");
      w_.String(2, section.name);
      Tags(section.tags);
      w_.Keyword(0, "ENDSEC");
    }
  }
}

void Writer::Tags(const db::Tags& tags) {
  for (const db::Tag& t : tags) w_.Text(t.code, t.value);
}

uint64_t Writer::HandleOf(AcDbObjectId id) const {
  const AcDbObject* o = db::Peek(id);
  return o ? o->objectHandle().value() : 0;
}

const std::string& Writer::NameOf(AcDbObjectId id) {
  const auto found = names_.find(id.asOldId());
  if (found != names_.end()) return found->second;
  const auto* r = AcDbSymbolTableRecord::cast(db::Peek(id));
  return names_[id.asOldId()] = r ? kw::ToUtf8(r->name()) : std::string();
}

void Writer::Tables() {
  w_.Keyword(0, "SECTION");
  w_.Keyword(2, "TABLES");
  for (const TableKind& kind : kTableOrder) {
    if (*kind.marker == '\0') {
      bool kept = false;
      for (const db::KeptSection& t : extras_.tables) {
        if (t.name == kind.name) KeptTable(t), kept = true;
      }
      if (!kept) NewTable(kind.name);
      continue;
    }
    const auto* table = AcDbSymbolTable::cast(db::Peek(TableOf(db_, kind.name)));
    if (!table) continue;
    int count = 0;
    for (AcDbObjectId id : db::TableRecords(*table)) count += db::Peek(id)->isErased() ? 0 : 1;
    TableHead(kind.name, table, count);
    for (AcDbObjectId id : db::TableRecords(*table)) {
      const auto* r = AcDbSymbolTableRecord::cast(db::Peek(id));
      if (r && !r->isErased()) Record(*r, kind.name, kind.marker, table->objectHandle().value());
    }
    w_.Keyword(0, "ENDTAB");
  }
  // Tables read from a file that no drawing of this host's versions lists come last.
  for (const db::KeptSection& t : extras_.tables) {
    bool known = false;
    for (const TableKind& kind : kTableOrder) known = known || t.name == kind.name;
    if (!known) KeptTable(t);
  }
  w_.Keyword(0, "ENDSEC");
}

void Writer::TableHead(std::string_view name, const AcDbObject* table, int count) {
  w_.Keyword(0, "TABLE");
  const db::Tags* kept = HeaderOf(extras_, name);
  bool handled = false;  // R12 table heads have no handle: those are written anew
  for (const db::Tag& t : kept ? *kept : db::Tags()) handled = handled || t.code == 5;
  if (!handled) {
    w_.String(2, name);
    Handle(5, table->objectHandle().value());
    Handle(330, 0);
    w_.Keyword(100, "AcDbSymbolTable");
    w_.Int(70, count);
    return;
  }
  for (const db::Tag& t : *kept) {
    if (t.code == 5) {
      Handle(5, table->objectHandle().value());
    } else if (t.code == 70) {
      w_.Int(70, count);
    } else {
      w_.Text(t.code, t.value);
    }
  }
}

void Writer::KeptTable(const db::KeptSection& table) {
  w_.Keyword(0, "TABLE");
  Tags(table.tags);
  for (AcDbObjectId id : table.records) {
    if (const auto* p = db::ProxyObject::cast(db::Peek(id)); p && !p->isErased()) {
      w_.String(0, p->dxfName);
      Tags(p->tags);
    }
  }
  w_.Keyword(0, "ENDTAB");
}

// The tables a new drawing lacks: UCS empty, APPID with "ACAD", DIMSTYLE with "Standard".
void Writer::NewTable(std::string_view name) {
  const uint64_t handle = next_++;
  w_.Keyword(0, "TABLE");
  w_.String(2, name);
  Handle(5, handle);
  Handle(330, 0);
  w_.Keyword(100, "AcDbSymbolTable");
  w_.Int(70, name == "UCS" ? 0 : 1);
  if (name == "DIMSTYLE") {
    w_.Keyword(100, "AcDbDimStyleTable");
    w_.Int(71, 0);
  }
  if (name != "UCS") {
    w_.String(0, name);
    Handle(name == "DIMSTYLE" ? 105 : 5, next_++);
    Handle(330, handle);
    w_.Keyword(100, "AcDbSymbolTableRecord");
    w_.String(100, name == "APPID" ? "AcDbRegAppTableRecord" : "AcDbDimStyleTableRecord");
    w_.String(2, name == "APPID" ? "ACAD" : "Standard");
    w_.Int(70, 0);
  }
  w_.Keyword(0, "ENDTAB");
}

void Writer::Record(const AcDbSymbolTableRecord& r, std::string_view type, std::string_view marker,
                    uint64_t owner) {
  w_.Keyword(0, type);
  Handle(5, r.objectHandle().value());
  const db::KeptData* kept = db::Kept(r);
  if (kept) Tags(kept->appGroups);
  Handle(330, owner);
  w_.Keyword(100, "AcDbSymbolTableRecord");
  Subclass(r, "AcDbSymbolTableRecord");
  w_.String(100, marker);
  w_.String(2, kw::ToUtf8(r.name()));
  RecordFields(r);
  Finish(r, {"AcDbSymbolTableRecord", marker});
}

void Writer::RecordFields(const AcDbSymbolTableRecord& r) {
  if (const auto* l = AcDbLayerTableRecord::cast(&r)) return Layer(*l);
  if (const auto* l = AcDbLinetypeTableRecord::cast(&r)) return Linetype(*l);
  if (const auto* s = AcDbTextStyleTableRecord::cast(&r)) return TextStyle(*s);
  if (const auto* v = AcDbViewportTableRecord::cast(&r)) return View(*v, true);
  if (const auto* v = AcDbViewTableRecord::cast(&r)) return View(*v, false);
  const auto* b = AcDbBlockTableRecord::cast(&r);
  if (b && b->name() == L"*Model_Space" && model_layout_) Handle(340, model_layout_);
  if (b && b->name() == L"*Paper_Space" && paper_layout_) Handle(340, paper_layout_);
}

void Writer::Layer(const AcDbLayerTableRecord& l) {
  w_.Int(70, (l.isFrozen() ? 1 : 0) | (l.isLocked() ? 4 : 0));
  const AcCmColor c = l.color();
  const int index = c.isByColor() ? 7 : c.colorIndex();
  w_.Int(62, l.isOff() ? -index : index);
  if (c.isByColor()) w_.Int(420, (c.red() << 16) | (c.green() << 8) | c.blue());
  const std::string& linetype = NameOf(l.linetypeObjectId());
  w_.String(6, linetype.empty() ? "Continuous" : linetype);
  if (version_ > kR12) {
    w_.Int(290, l.isPlottable() ? 1 : 0);
    w_.Int(370, l.lineWeight());
  }
}

void Writer::Linetype(const AcDbLinetypeTableRecord& l) {
  const wchar_t* comments = nullptr;
  l.comments(comments);
  w_.Int(70, 0);
  w_.String(3, kw::ToUtf8(comments ? comments : L""));
  w_.Int(72, 65);
  w_.Int(73, l.numDashes());
  w_.Double(40, l.patternLength());
  for (int i = 0; i < l.numDashes(); ++i) {
    w_.Double(49, l.dashLengthAt(i));
    const wchar_t* text = nullptr;
    l.textAt(i, text);
    const bool has_text = text && *text;
    const bool has_shape = !has_text && (l.shapeNumberAt(i) != 0 || !l.shapeStyleAt(i).isNull());
    const int flags =
        (l.shapeIsUcsOrientedAt(i) ? 1 : 0) | (has_text ? 2 : 0) | (has_shape ? 4 : 0);
    w_.Int(74, flags);
    if (!has_text && !has_shape) continue;
    w_.Int(75, has_text ? 0 : l.shapeNumberAt(i));
    Handle(340, HandleOf(l.shapeStyleAt(i)));
    w_.Double(46, l.shapeScaleAt(i));
    w_.Double(50, l.shapeRotationAt(i) / kDegree);
    w_.Double(44, l.shapeOffsetAt(i).x);
    w_.Double(45, l.shapeOffsetAt(i).y);
    if (has_text) w_.String(9, kw::ToUtf8(text));
  }
}

void Writer::TextStyle(const AcDbTextStyleTableRecord& s) {
  w_.Int(70, (s.isShapeFile() ? 1 : 0) | (s.isVertical() ? 4 : 0));
  w_.Double(40, s.textSize());
  w_.Double(41, s.xScale());
  w_.Double(50, s.obliquingAngle() / kDegree);
  w_.Int(71, s.flagBits());
  w_.Double(42, s.priorSize());
  const wchar_t* file = nullptr;
  const wchar_t* big = nullptr;
  s.fileName(file);
  s.bigFontFileName(big);
  w_.String(3, kw::ToUtf8(file ? file : L""));
  w_.String(4, kw::ToUtf8(big ? big : L""));
}

void Writer::View(const AcDbAbstractViewTableRecord& v, bool viewport) {
  w_.Int(70, !viewport && static_cast<const AcDbViewTableRecord&>(v).isPaperspaceView() ? 1 : 0);
  if (viewport) {
    const auto& vp = static_cast<const AcDbViewportTableRecord&>(v);
    w_.Point(10, vp.lowerLeftCorner().x, vp.lowerLeftCorner().y, 0, false);
    w_.Point(11, vp.upperRightCorner().x, vp.upperRightCorner().y, 0, false);
  }
  const int c = viewport ? 12 : 10, dir = viewport ? 16 : 11, tgt = viewport ? 17 : 12;
  w_.Point(c, v.centerPoint().x, v.centerPoint().y, 0, false);
  w_.Point(dir, v.viewDirection().x, v.viewDirection().y, v.viewDirection().z);
  w_.Point(tgt, v.target().x, v.target().y, v.target().z);
  w_.Double(40, v.height());
  w_.Double(41, viewport ? (v.height() != 0 ? v.width() / v.height() : 1.0) : v.width());
  w_.Double(42, v.lensLength());
  w_.Double(43, v.frontClipDistance());
  w_.Double(44, v.backClipDistance());
  w_.Double(viewport ? 51 : 50, v.viewTwist() / kDegree);
  w_.Int(71, (v.perspectiveEnabled() ? 1 : 0) | (v.frontClipEnabled() ? 2 : 0) |
                 (v.backClipEnabled() ? 4 : 0) | (v.frontClipAtEye() ? 0 : 16));
}

}  // namespace kwhost::dxf
