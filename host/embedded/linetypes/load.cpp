// Linetype records from ".lin" definitions, with the text styles and shape files their
// elements need.
#include "host/embedded/linetypes/load.h"

#include <cmath>
#include <cwchar>
#include <map>
#include <optional>
#include <set>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/docs/docs.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/linetypes/linfile.h"
#include "host/embedded/linetypes/shapes.h"

namespace kwhost::linetypes {

namespace {

// Larger files are refused rather than read: no linetype or shape file comes near.
constexpr uint64_t kMaxFileBytes = 16u << 20;

struct LoadContext {
  AcDbDatabase* db = nullptr;
  std::wstring drawingFolder;
  std::wstring linFolder;
  std::map<std::wstring, std::optional<ShapeFile>> shapeFiles;  // by upper-case file name
};

bool IsPattern(std::wstring_view name) {
  return name.find_first_of(L"*?#@[~`,") != std::wstring_view::npos;
}

}  // namespace

std::wstring DrawingFolder(AcDbDatabase* db) {
  const wchar_t* file = nullptr;
  if (db->getFilename(file) == Acad::eOk && file && *file) return kw::ParentOf(file);
  if (db != acdbHostApplicationServices()->workingDatabase()) return {};
  auto& vars = kwhost::editor::Editor().sysVars;
  auto it = vars.find(L"DWGPREFIX");
  return it == vars.end() ? std::wstring() : it->second.text;
}

namespace {

// The definitions the pattern selects, the first of each name only.
std::vector<const LinDefinition*> Select(const std::vector<LinDefinition>& all,
                                         const std::wstring& pattern) {
  std::vector<const LinDefinition*> chosen;
  std::set<std::wstring> seen;
  const std::wstring upper = kw::ToUpper(pattern);
  for (const LinDefinition& def : all) {
    std::wstring name = kw::ToUpper(def.name);
    bool match =
        IsPattern(pattern) ? acutWcMatch(name.c_str(), upper.c_str()) == RTNORM : name == upper;
    if (match && seen.insert(name).second) chosen.push_back(&def);
  }
  return chosen;
}

std::wstring OtherForm(const std::wstring& name) {
  std::wstring lower = kw::ToLower(name);
  if (lower.ends_with(L".shx")) return name.substr(0, name.size() - 4) + L".shp";
  if (lower.ends_with(L".shp")) return name.substr(0, name.size() - 4) + L".shx";
  return name + L".shx";
}

// The shape file beside the ".lin" file or on the search path, in either form; null when
// none is found or readable.
const ShapeFile* ShapeFileOf(LoadContext& ctx, const std::wstring& name) {
  auto [it, added] = ctx.shapeFiles.try_emplace(kw::ToUpper(name));
  if (!added) return it->second ? &*it->second : nullptr;
  for (const std::wstring& candidate : {name, OtherForm(name)}) {
    std::wstring path = kw::JoinPath(ctx.linFolder, candidate);
    if (!kw::Fs().IsFile(path)) path = kwhost::editor::FindFile(candidate, ctx.drawingFolder);
    std::string bytes;
    ShapeFile file;
    if (!path.empty() && kw::Fs().ReadFile(path, &bytes, kMaxFileBytes) &&
        ReadShapeFile(bytes, &file)) {
      it->second = std::move(file);
      return &*it->second;
    }
  }
  return nullptr;
}

AcDbObjectId AddStyle(AcDbDatabase* db, AcDbTextStyleTableRecord* style) {
  AcDbTextStyleTable* table = nullptr;
  AcDbObjectId id;
  if (db->getTextStyleTable(table, AcDb::kForWrite) != Acad::eOk) {
    delete style;
    return id;
  }
  if (table->add(id, style) == Acad::eOk) {
    style->close();
  } else {
    delete style;
  }
  table->close();
  return id;
}

// The text style of that name; made like "Standard" when the drawing has none.
AcDbObjectId TextStyle(AcDbDatabase* db, const std::wstring& name) {
  AcDbTextStyleTable* table = nullptr;
  if (db->getTextStyleTable(table, AcDb::kForRead) != Acad::eOk) return {};
  AcDbObjectId id, standard;
  table->getAt(name.c_str(), id);
  table->getAt(L"Standard", standard);
  table->close();
  if (!id.isNull()) return id;
  auto* style = new AcDbTextStyleTableRecord();
  std::wstring font = L"txt";
  if (AcDbObjectPointer<AcDbTextStyleTableRecord> s(standard, AcDb::kForRead); s.object()) {
    const wchar_t* file = nullptr;
    if (s->fileName(file) == Acad::eOk && file && *file) font = file;
  }
  if (style->setName(name.c_str()) != Acad::eOk) {
    delete style;
    return {};
  }
  style->setFileName(font.c_str());
  return AddStyle(db, style);
}

// The text style that stands for a shape file, added when the drawing has none.
AcDbObjectId ShapeStyle(AcDbDatabase* db, const std::wstring& fileName) {
  AcDbTextStyleTable* table = nullptr;
  if (db->getTextStyleTable(table, AcDb::kForRead) != Acad::eOk) return {};
  AcDbTextStyleTableIterator* it = nullptr;
  table->newIterator(it);
  AcDbObjectId found;
  for (; !it->done() && found.isNull(); it->step()) {
    AcDbTextStyleTableRecord* style = nullptr;
    if (it->getRecord(style) != Acad::eOk) continue;
    const wchar_t* file = nullptr;
    if (style->isShapeFile() && style->fileName(file) == Acad::eOk && file &&
        kw::EqualsNoCase(file, fileName)) {
      found = style->objectId();
    }
    style->close();
  }
  delete it;
  table->close();
  if (!found.isNull()) return found;
  auto* style = new AcDbTextStyleTableRecord();
  style->setIsShapeFile(true);
  style->setFileName(fileName.c_str());
  return AddStyle(db, style);
}

// Puts the dash's text or shape on the record; a style, file or shape that cannot be had
// leaves the dash plain.
void ApplyElement(LoadContext& ctx, const LinElement& e, AcDbLinetypeTableRecord* r, int i) {
  AcDbObjectId style;
  int number = 0;
  if (e.kind == ElementKind::kText) {
    style = TextStyle(ctx.db, e.style);
  } else if (e.kind == ElementKind::kShape) {
    const ShapeFile* file = ShapeFileOf(ctx, e.style);
    const Shape* shape = file ? FindShape(*file, kw::ToUtf8(e.text)) : nullptr;
    if (shape) {
      number = shape->number;
      style = ShapeStyle(ctx.db, e.style);
    }
  }
  if (style.isNull()) return;
  r->setShapeStyleAt(i, style);
  r->setShapeNumberAt(i, number);
  r->setShapeOffsetAt(i, AcGeVector2d(e.x, e.y));
  r->setShapeScaleAt(i, e.scale);
  r->setShapeRotationAt(i, e.rotation);
  r->setShapeIsUcsOrientedAt(i, e.absolute);
  if (e.kind == ElementKind::kText) r->setTextAt(i, e.text.c_str());
}

void Fill(LoadContext& ctx, const LinDefinition& def, AcDbLinetypeTableRecord* r) {
  r->setComments(def.description.c_str());
  double length = 0;
  for (const LinDash& d : def.dashes) length += std::fabs(d.length);
  r->setPatternLength(length);
  r->setIsScaledToFit(false);
  r->setNumDashes(0);
  r->setNumDashes(static_cast<int>(def.dashes.size()));
  for (size_t i = 0; i < def.dashes.size(); ++i) {
    r->setDashLengthAt(static_cast<int>(i), def.dashes[i].length);
    ApplyElement(ctx, def.dashes[i].element, r, static_cast<int>(i));
  }
}

// Adds or rebuilds one linetype in the table (open for write).
Acad::ErrorStatus Store(LoadContext& ctx, AcDbLinetypeTable* table, const LinDefinition& def,
                        bool replace) {
  AcDbLinetypeTableRecord* record = nullptr;
  if (table->has(def.name.c_str())) {
    if (!replace) return Acad::eDuplicateRecordName;
    Acad::ErrorStatus es = table->getAt(def.name.c_str(), record, AcDb::kForWrite);
    if (es != Acad::eOk) return es;
    Fill(ctx, def, record);
    return record->close();
  }
  record = new AcDbLinetypeTableRecord();
  Acad::ErrorStatus es = record->setName(def.name.c_str());
  if (es == Acad::eOk) {
    Fill(ctx, def, record);
    es = table->add(record);
  }
  if (es != Acad::eOk) {
    delete record;
    return es;
  }
  return record->close();
}

// The definitions of the file: eFilerError when it is not found or unreadable.
Acad::ErrorStatus ReadDefinitions(LoadContext& ctx, const wchar_t* file,
                                  std::vector<LinDefinition>* defs) {
  std::wstring path = kwhost::editor::FindFile(file, ctx.drawingFolder);
  std::string bytes;
  if (path.empty() || !kw::Fs().ReadFile(path, &bytes, kMaxFileBytes)) return Acad::eFilerError;
  ctx.linFolder = kw::ParentOf(path);
  *defs = ParseLinText(DecodeLinBytes(bytes));
  return Acad::eOk;
}

}  // namespace

AcDbDatabase* TargetDatabase(AcDbDatabase* db) {
  if (db) return db;
  kwhost::docs::Docs();
  return acdbHostApplicationServices()->workingDatabase();
}

Acad::ErrorStatus Load(const wchar_t* pattern, const wchar_t* file, AcDbDatabase* db, bool replace,
                       std::vector<std::wstring>* loaded) {
  if (kw::SafeLength(pattern) == 0 || kw::SafeLength(file) == 0) return Acad::eInvalidInput;
  db = TargetDatabase(db);
  if (!db) return Acad::eNoDatabase;
  LoadContext ctx;
  ctx.db = db;
  ctx.drawingFolder = DrawingFolder(db);
  std::vector<LinDefinition> defs;
  if (Acad::ErrorStatus es = ReadDefinitions(ctx, file, &defs); es != Acad::eOk) return es;
  std::vector<const LinDefinition*> chosen = Select(defs, pattern);
  if (chosen.empty()) return Acad::eUndefinedLineType;
  AcDbLinetypeTable* table = nullptr;
  if (Acad::ErrorStatus es = db->getLinetypeTable(table, AcDb::kForWrite); es != Acad::eOk) {
    return es;
  }
  Acad::ErrorStatus result = Acad::eOk;
  for (const LinDefinition* def : chosen) {
    Acad::ErrorStatus es = Store(ctx, table, *def, replace);
    if (es == Acad::eOk && loaded) loaded->push_back(def->name);
    if (es != Acad::eOk && !IsPattern(pattern)) result = es;
  }
  table->close();
  return result;
}

}  // namespace kwhost::linetypes

Acad::ErrorStatus acdbLoadLineTypeFile(const wchar_t* ltname, const wchar_t* fname,
                                       AcDbDatabase* db) {
  return kwhost::linetypes::Load(ltname, fname, db, false);
}

Acad::ErrorStatus AcDbDatabase::loadLineTypeFile(const wchar_t* linetypeName,
                                                 const wchar_t* fileName) {
  return kwhost::linetypes::Load(linetypeName, fileName, this, false);
}

// The same search as acedFindFile, with `db`'s folder in the drawing's place.
Acad::ErrorStatus AcDbHostApplicationServices::findFile(wchar_t* fileFound, int length,
                                                        const wchar_t* fileName, AcDbDatabase* db,
                                                        int /*hint*/) {
  if (!fileFound || length <= 0 || !fileName || !*fileName) return Acad::eInvalidInput;
  fileFound[0] = 0;
  db = kwhost::linetypes::TargetDatabase(db);
  const std::wstring folder = db ? kwhost::linetypes::DrawingFolder(db) : std::wstring();
  const std::wstring found = kwhost::editor::FindFile(fileName, folder);
  if (found.empty()) return Acad::eFileNotFound;
  if (found.size() + 1 > static_cast<size_t>(length)) return Acad::eInvalidInput;
  std::wmemcpy(fileFound, found.c_str(), found.size() + 1);
  return Acad::eOk;
}
