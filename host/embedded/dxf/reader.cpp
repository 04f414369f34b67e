// The DXF reader's driver: sections, header, classes, blocks, objects and the final checks.
#include <algorithm>
#include <charconv>

#include "common/encoding.h"
#include "host/embedded/dxf/internal/reader.h"

namespace kwhost::dxf {
namespace {

// The sections the reader maps; any other is kept as its tags.
bool IsModelledSection(std::string_view name) {
  return name == "HEADER" || name == "CLASSES" || name == "TABLES" || name == "BLOCKS" ||
         name == "ENTITIES" || name == "OBJECTS";
}

}  // namespace

std::string FoldName(std::string_view name) {
  std::string out(name);
  for (char& c : out) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return out;
}

std::wstring Wide(std::string_view utf8) {
  return kw::FromUtf8(utf8);
}

bool IsStructureRecord(std::string_view type) {
  return type == "SECTION" || type == "ENDSEC" || type == "TABLE" || type == "ENDTAB" ||
         type == "BLOCK" || type == "ENDBLK" || type == "EOF";
}

bool Reader::NextRecord() {
  if (records_.Next(&rec_)) return true;
  if (!records_.failed()) records_.Fail("the file ends before its EOF record");
  return false;
}

Acad::ErrorStatus Reader::Run() {
  // Until a header says otherwise, a drawing is an R12 one in the Western code page.
  records_.SetCodec(TextCodec(kR12, "ANSI_1252", !records_.binary()));
  while (records_.Next(&rec_, false)) {
    if (rec_.type != "SECTION") return Fail("SECTION expected"), Acad::eFilerError;
    if (!Section()) break;
  }
  if (records_.failed()) return Acad::eFilerError;
  if (!Check() || !Complete()) return Acad::eFilerError;
  db::RaiseHandseed(db_, handseed_);
  return Acad::eOk;
}

bool Reader::Section() {
  if (rec_.tags.empty() || rec_.tags[0].code != 2) return Fail("a SECTION without a name");
  const std::string name(rec_.tags[0].text);
  if (name == "HEADER") return Header();
  if (name == "CLASSES") return Classes();
  if (name == "TABLES") return Tables();
  if (name == "BLOCKS") return Blocks();
  if (name == "ENTITIES") return Entities(AcDbObjectId(), "ENDSEC");
  if (name == "OBJECTS") return Objects();
  return KeepSection();
}

// The header record holds every variable; its text is decoded once $ACADVER and $DWGCODEPAGE
// say how.
bool Reader::Header() {
  db::DatabaseExtras& extras = db::Extras(db_);
  std::string_view version = "AC1009", codepage;
  for (size_t i = 1; i + 1 < rec_.tags.size(); ++i) {
    if (rec_.tags[i].code != 9) continue;
    if (rec_.tags[i].text == "$ACADVER") version = rec_.tags[i + 1].text;
    if (rec_.tags[i].text == "$DWGCODEPAGE") codepage = rec_.tags[i + 1].text;
  }
  r12_ = version < "AC1012";
  records_.SetCodec(TextCodec(version, codepage, !records_.binary()));
  records_.Decode(&rec_);
  for (size_t i = 1; i < rec_.tags.size(); ++i) {
    const RawTag& t = rec_.tags[i];
    if (t.code == 9) {
      extras.header.emplace_back(std::string(t.text), db::Tags());
    } else if (extras.header.empty()) {
      return Fail("a header value before the first variable name");
    } else {
      extras.header.back().second.push_back({t.code, std::string(t.text)});
      if (extras.header.back().first == "$HANDSEED" && t.code == 5) {
        ParseHandle(t.text, &handseed_);
      }
    }
  }
  // Objects the reader adds (a layer only named by an entity) take handles above the file's.
  db::RaiseHandseed(db_, handseed_);
  return NextRecord() && (rec_.type == "ENDSEC" || Fail("ENDSEC expected after the header"));
}

bool Reader::Classes() {
  db::Tags& classes = db::Extras(db_).classes;
  while (NextRecord() && rec_.type != "ENDSEC") {
    if (IsStructureRecord(rec_.type)) return Fail("ENDSEC expected");
    classes.push_back({0, std::string(rec_.type)});
    for (const RawTag& t : rec_.tags) classes.push_back({t.code, std::string(t.text)});
  }
  return !records_.failed();
}

// A section the host does not model is kept whole, whatever records it holds, except that
// no section opens inside another. Its head was read undecoded (only the header says how).
bool Reader::KeepSection() {
  records_.Decode(&rec_);
  db::KeptSection section;
  section.name = std::string(rec_.tags[0].text);
  if (IsModelledSection(section.name)) return Fail("a section name that is not valid");
  section.tags = AllTags(rec_);
  section.tags.erase(section.tags.begin());  // the name, written from section.name
  while (NextRecord() && rec_.type != "ENDSEC") {
    if (rec_.type == "SECTION") return Fail("ENDSEC expected");
    section.tags.push_back({0, std::string(rec_.type)});
    db::Tags more = AllTags(rec_);
    section.tags.insert(section.tags.end(), more.begin(), more.end());
  }
  if (records_.failed()) return false;
  db::Extras(db_).sections.push_back(std::move(section));
  return true;
}

db::Tags Reader::AllTags(const Record& r) const {
  db::Tags tags;
  tags.reserve(r.tags.size());
  for (const RawTag& t : r.tags) tags.push_back({t.code, std::string(t.text)});
  return tags;
}

// A handle of the file may already have gone to an object the reader made itself (a layer an
// entity named, a block record of an R12 file) when the file's header gave no $HANDSEED
// above it: that object moves to a free handle. False when a file object holds the handle.
bool Reader::Vacate(uint64_t handle) {
  AcDbObjectId id;
  if (db_.getAcDbObjectId(id, false, AcDbHandle(handle)) != Acad::eOk) return true;
  AcDbObject* object = db::Peek(id);
  if (!object || !made_.Contains(id.asOldId())) return false;
  uint64_t free = std::max({db_.handseed().value(), handseed_, handle + 1});
  while (side_handles_.Contains(free)) ++free;
  return db::SetHandle(db_, *object, AcDbHandle(free)) == Acad::eOk;
}

bool Reader::TakeSideHandle(uint64_t handle, size_t line) {
  if (handle == 0) return true;
  if (!side_handles_.Insert(handle, true) || !Vacate(handle)) {
    return records_.FailAt(Record{"", line, {}}, "handle used twice");
  }
  handseed_ = std::max(handseed_, handle + 1);
  db::RaiseHandseed(db_, handseed_);  // objects made from now on take handles above it
  return true;
}

bool Reader::Add(AcDbObject* object, const Identity& id, AcDbObjectId owner, AcDbObjectId* added) {
  if (id.handle != 0 && side_handles_.Contains(id.handle)) {
    delete object;
    return Fail("handle used twice");
  }
  AcDbObjectId got;
  Acad::ErrorStatus es = db::AddWithHandle(db_, object, AcDbHandle(id.handle), owner, got);
  if (es == Acad::eHandleInUse && Vacate(id.handle)) {
    es = db::AddWithHandle(db_, object, AcDbHandle(id.handle), owner, got);
  }
  if (es != Acad::eOk) {
    delete object;
    return Fail(es == Acad::eHandleInUse ? "handle used twice" : "the object cannot be added");
  }
  if (id.handle == 0) made_.Insert(got.asOldId(), true);
  handseed_ = std::max(handseed_, id.handle + 1);
  if (id.owner != 0) owners_.emplace_back(id.owner, id.line);
  if (added) *added = got;
  return true;
}

bool Reader::AddProxy(bool handle105, AcDbObjectId* added) {
  Identity id;
  id.line = rec_.line;
  for (const RawTag& t : rec_.tags) {
    if ((t.code == 5 || (handle105 && t.code == 105)) && id.handle == 0 &&
        !ParseHandle(t.text, &id.handle)) {
      return Fail("a handle that is not hex");
    }
    if (t.code == 330 && id.owner == 0) ParseHandle(t.text, &id.owner);
    if (t.code == 100) break;
  }
  return Add(new db::ProxyObject(std::string(rec_.type), AllTags(rec_)), id, AcDbObjectId(), added);
}

bool Reader::Objects() {
  db::DatabaseExtras& extras = db::Extras(db_);
  while (NextRecord() && rec_.type != "ENDSEC") {
    if (IsStructureRecord(rec_.type)) return Fail("ENDSEC expected");
    AcDbObjectId added;
    if (!AddProxy(false, &added)) return false;
    extras.objects.push_back(added);
  }
  return !records_.failed();
}

bool Reader::Blocks() {
  while (NextRecord() && rec_.type != "ENDSEC") {
    if (rec_.type != "BLOCK") return Fail("BLOCK expected");
    std::string_view name;
    for (const RawTag& t : rec_.tags) {
      if (t.code == 2 && name.empty()) name = t.text;
    }
    if (name.empty()) return Fail("a BLOCK without a name");
    const AcDbObjectId block = BlockByName(name);
    if (block.isNull()) return false;
    AcDbBlockTableRecord* record = nullptr;
    if (acdbOpenObject(record, block, AcDb::kForWrite) != Acad::eOk) {
      return Fail("the block cannot be opened");
    }
    db::KeptData& kept = db::KeptFor(*record);
    if (kept.findSubclass("BLOCK")) {
      record->close();
      return Fail("the block is defined twice");
    }
    db::Tags& begin = kept.subclass("BLOCK");
    uint64_t handle = 0;  // the first group 5 counts, as it does for every object
    for (const RawTag& t : rec_.tags) {
      if (t.code == 5 && handle == 0 && !ParseHandle(t.text, &handle)) {
        record->close();
        return Fail("a handle that is not hex");
      }
      if (t.code == 10) record->setOrigin({t.real, record->origin().y, record->origin().z});
      if (t.code == 20) record->setOrigin({record->origin().x, t.real, record->origin().z});
      if (t.code == 30) record->setOrigin({record->origin().x, record->origin().y, t.real});
      if (t.code == 4) record->setComments(Wide(t.text).c_str());
      if (t.code == 10 || t.code == 20 || t.code == 30 || t.code == 4 || t.code == 100 ||
          t.code == 330 || t.code == 2 || t.code == 3 || t.code == 67) {
        continue;
      }
      begin.push_back({t.code, std::string(t.text)});
    }
    record->close();
    if (!TakeSideHandle(handle, rec_.line) || !Entities(block, "ENDBLK")) return false;
    if (acdbOpenObject(record, block, AcDb::kForWrite) != Acad::eOk) return false;
    db::Tags& end = db::KeptFor(*record).subclass("ENDBLK");
    uint64_t end_handle = 0;
    for (const RawTag& t : rec_.tags) {
      if (t.code == 5 && end_handle == 0 && !ParseHandle(t.text, &end_handle)) end_handle = 0;
      if (t.code != 100 && t.code != 330) end.push_back({t.code, std::string(t.text)});
    }
    record->close();
    if (!TakeSideHandle(end_handle, rec_.line)) return false;
  }
  return !records_.failed();
}

// Each INSERT names the block it places; a block that places itself, directly or through
// other blocks, would make every drawing of it endless.
bool Reader::Check() {
  std::unordered_map<int64_t, std::vector<std::pair<int64_t, size_t>>> edges;
  for (const Reference& r : references_) {
    edges[r.inBlock.asOldId()].emplace_back(r.insert.asOldId(), r.line);
  }
  std::unordered_map<int64_t, int> state;   // 1 on the path, 2 done
  for (const Reference& r : references_) {  // in file order, so that messages are stable
    const int64_t start = r.inBlock.asOldId();
    if (state[start] != 0) continue;
    std::vector<std::pair<int64_t, size_t>> stack{{start, 0}};
    state[start] = 1;
    while (!stack.empty()) {
      auto& [node, next] = stack.back();
      const auto& out = edges[node];
      if (next == out.size()) {
        state[node] = 2;
        stack.pop_back();
        continue;
      }
      const auto [to, line] = out[next++];
      if (state[to] == 1) {
        return records_.FailAt(Record{"", line, {}}, "a block inserts itself");
      }
      if (state[to] == 0) {
        state[to] = 1;
        stack.emplace_back(to, 0);
      }
    }
  }
  for (const auto& [owner, line] : owners_) {
    if (!FileHandle(owner)) {
      return records_.FailAt(Record{"", line, {}}, "the owner does not exist");
    }
  }
  return true;
}

// An object the reader made took a fresh handle, not one from the file: a reference to
// that handle names nothing the file holds, and would name something else once written back.
bool Reader::FileHandle(uint64_t handle) const {
  if (side_handles_.Contains(handle)) return true;
  AcDbObjectId id;
  return db_.getAcDbObjectId(id, false, AcDbHandle(handle)) == Acad::eOk &&
         !made_.Contains(id.asOldId());
}

}  // namespace kwhost::dxf
