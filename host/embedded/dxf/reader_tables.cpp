// The DXF reader's tables: the six modelled ones become records, the others are kept.
#include <algorithm>

#include "common/encoding.h"

#include "host/embedded/db/store.h"
#include "host/embedded/dxf/internal/reader.h"

namespace kwhost::dxf {
namespace {

// Names read from a file are taken as they are: drawings hold records such as "*Active" and
// "*U1" that an application could not create. Only an empty name is refused.
bool NameAsRead(AcDbSymbolTableRecord& record, std::wstring name) {
  if (name.empty()) return false;
  db::ObjectAccess::Name(record) = std::move(name);
  return true;
}

}  // namespace

// Splits a record's groups into the object's own data (`field`), its identity (handle, owner),
// application groups, extended data, and the groups kept per subclass marker.
bool Reader::Walk(const Record& r, AcDbObject& object, const std::vector<std::string_view>& markers,
                  const FieldFn& field, Identity* id) {
  db::KeptData kept;
  std::string_view subclass;
  bool ours = true;
  db::Tags* list = nullptr;
  id->line = r.line;
  size_t i = 0;
  for (; i < r.tags.size() && r.tags[i].code < 1000; ++i) {
    const RawTag& t = r.tags[i];
    if (t.code == 102 && !t.text.empty() && t.text.front() == '{') {
      for (; i < r.tags.size(); ++i) {
        kept.appGroups.push_back({r.tags[i].code, std::string(r.tags[i].text)});
        if (r.tags[i].code == 102 && r.tags[i].text == "}") break;
      }
      continue;
    }
    if ((t.code == 5 || (t.code == 105 && r.type == "DIMSTYLE")) && subclass.empty() &&
        id->handle == 0) {
      if (!ParseHandle(t.text, &id->handle)) return Fail("a handle that is not hex");
      continue;
    }
    if (t.code == 330 && subclass.empty() && id->owner == 0) {
      ParseHandle(t.text, &id->owner);
      continue;
    }
    if (t.code == 100) {
      subclass = t.text;
      ours = std::find(markers.begin(), markers.end(), subclass) != markers.end();
      list = nullptr;
      continue;
    }
    if (ours && field(t)) continue;
    if (!list) list = &kept.subclass(std::string(subclass));
    list->push_back({t.code, std::string(t.text)});
  }
  for (; i < r.tags.size(); ++i)
    kept.xdata.push_back({r.tags[i].code, std::string(r.tags[i].text)});
  if (!kept.empty()) db::KeptFor(object) = std::move(kept);
  return true;
}

AcDbObjectId Reader::TableId(std::string_view table) const {
  if (table == "LAYER") return db_.layerTableId();
  if (table == "LTYPE") return db_.linetypeTableId();
  if (table == "STYLE") return db_.textStyleTableId();
  if (table == "VIEW") return db_.viewTableId();
  if (table == "VPORT") return db_.viewportTableId();
  if (table == "BLOCK_RECORD") return db_.blockTableId();
  return AcDbObjectId();
}

bool Reader::Tables() {
  while (NextRecord() && rec_.type != "ENDSEC") {
    if (rec_.type != "TABLE") return Fail("TABLE expected");
    if (rec_.tags.empty() || rec_.tags[0].code != 2) return Fail("a TABLE without a name");
    const std::string name(rec_.tags[0].text);
    if (IsStructureRecord(name)) return Fail("a table name that is not valid");
    if (!Table(name)) return false;
  }
  return !records_.failed() && ResolveShapeStyles();
}

bool Reader::Table(std::string_view name) {
  const AcDbObjectId table = TableId(name);
  db::DatabaseExtras& extras = db::Extras(db_);
  size_t kept_index = extras.tables.size();
  if (table.isNull()) {
    uint64_t handle = 0;
    for (const RawTag& t : rec_.tags) {
      if (t.code == 5 && handle == 0 && !ParseHandle(t.text, &handle)) {
        return Fail("a handle that is not hex");
      }
    }
    if (!TakeSideHandle(handle, rec_.line)) return false;
    extras.tables.push_back({std::string(name), AllTags(rec_), {}});
  } else if (!TableHead(name, table)) {
    return false;
  }
  while (NextRecord() && rec_.type != "ENDTAB") {
    if (rec_.type != name) return Fail("a record of another table");
    const bool ok = table.isNull() ? ProxyRecord(name, kept_index) : TableRecord(name);
    if (!ok) return false;
  }
  return !records_.failed();
}

bool Reader::TableHead(std::string_view name, AcDbObjectId table) {
  uint64_t handle = 0;
  for (const RawTag& t : rec_.tags) {
    if (t.code == 5 && handle == 0 && !ParseHandle(t.text, &handle)) {
      return Fail("a handle that is not hex");
    }
  }
  AcDbObject* object = db::Peek(table);
  if (handle != 0 && object &&
      (side_handles_.Contains(handle) || !Vacate(handle) ||
       db::SetHandle(db_, *object, AcDbHandle(handle)) != Acad::eOk)) {
    return Fail("handle used twice");
  }
  handseed_ = std::max(handseed_, handle + 1);
  db::Extras(db_).tableHeads.emplace_back(std::string(name), AllTags(rec_));
  return true;
}

bool Reader::ProxyRecord(std::string_view table, size_t index) {
  AcDbObjectId added;
  if (!AddProxy(table == "DIMSTYLE", &added)) return false;
  db::Extras(db_).tables[index].records.push_back(added);
  return true;
}

AcDbObjectId Reader::CreateLayer(std::string_view name) {
  auto* layer = new AcDbLayerTableRecord();
  NameAsRead(*layer, Wide(name));
  AcDbObjectId id;
  if (!Add(layer, Identity{0, 0, rec_.line}, db_.layerTableId(), &id)) return AcDbObjectId();
  layers_[FoldName(name)] = id;
  return id;
}

// A block named by a BLOCK or an INSERT: the record of that name, created when missing
// (R12 files have no BLOCK_RECORD table; an INSERT may come before its block).
AcDbObjectId Reader::BlockByName(std::string_view name) {
  std::string key = FoldName(name);
  if (key == "$MODEL_SPACE") key = "*MODEL_SPACE";
  if (key == "$PAPER_SPACE") key = "*PAPER_SPACE";
  const auto found = blocks_.find(key);
  if (found != blocks_.end()) return found->second;
  auto* block = new AcDbBlockTableRecord();
  const std::wstring wide = key == "*MODEL_SPACE"   ? L"*Model_Space"
                            : key == "*PAPER_SPACE" ? L"*Paper_Space"
                                                    : Wide(name);
  if (!NameAsRead(*block, wide)) {
    delete block;
    Fail("a block name that is not valid");
    return AcDbObjectId();
  }
  AcDbObjectId id;
  if (!Add(block, Identity{0, 0, rec_.line}, db_.blockTableId(), &id)) return AcDbObjectId();
  blocks_[key] = id;
  if (key == "*MODEL_SPACE") model_ = id;
  if (key == "*PAPER_SPACE") paper_ = id;
  return id;
}

bool Reader::TableRecord(std::string_view table) {
  std::string_view name;
  for (const RawTag& t : rec_.tags) {
    if (t.code == 2 && name.empty()) name = t.text;
  }
  // Text styles of shape files have no name; every other record needs one.
  const bool shapes = table == "STYLE" && name.empty();
  if (name.empty() && !shapes) return Fail("a table record without a name");
  auto& names = table == "LAYER"          ? layers_
                : table == "LTYPE"        ? linetypes_
                : table == "STYLE"        ? styles_
                : table == "BLOCK_RECORD" ? blocks_
                                          : layers_;
  const bool named = !shapes && (table == "LAYER" || table == "LTYPE" || table == "STYLE" ||
                                 table == "BLOCK_RECORD");
  if (named && names.count(FoldName(name)) != 0) return Fail("a record defined twice");
  Identity id;
  AcDbSymbolTableRecord* record = MapRecord(table, rec_, &id);
  if (!record) return false;
  if (!NameAsRead(*record, Wide(name)) && !shapes) {
    delete record;
    return Fail("a record name that is not valid");
  }
  AcDbObjectId added;
  if (!Add(record, id, TableId(table), &added)) return false;
  if (named) names[FoldName(name)] = added;
  for (const auto& [dash, style] : pending_linetype_styles_) {
    shape_styles_.push_back({added, dash, style, rec_.line});
  }
  pending_linetype_styles_.clear();
  if (table == "BLOCK_RECORD" && FoldName(name) == "*MODEL_SPACE") model_ = added;
  if (table == "BLOCK_RECORD" && FoldName(name) == "*PAPER_SPACE") paper_ = added;
  return true;
}

// Drawings from other writers (R12 ones above all) may lack records every drawing has; they
// are added so that the drawing works like one the host made.
bool Reader::Complete() {
  const auto add = [&](auto* record, const wchar_t* name, AcDbObjectId table, auto& names) {
    NameAsRead(*record, name);
    AcDbObjectId id;
    if (!Add(record, Identity{0, 0, 0}, table, &id)) return AcDbObjectId();
    names[FoldName(kw::ToUtf8(name))] = id;
    return id;
  };
  for (const wchar_t* name : {L"ByBlock", L"ByLayer", L"Continuous"}) {
    if (linetypes_.count(FoldName(kw::ToUtf8(name))) == 0) {
      add(new AcDbLinetypeTableRecord(), name, db_.linetypeTableId(), linetypes_);
    }
  }
  if (layers_.count("0") == 0) {
    auto* zero = new AcDbLayerTableRecord();
    zero->setLinetypeObjectId(linetypes_["CONTINUOUS"]);
    add(zero, L"0", db_.layerTableId(), layers_);
  }
  if (styles_.count("STANDARD") == 0) {
    add(new AcDbTextStyleTableRecord(), L"Standard", db_.textStyleTableId(), styles_);
  }
  return !BlockFor(AcDbObjectId(), false).isNull() && !BlockFor(AcDbObjectId(), true).isNull();
}

}  // namespace kwhost::dxf
