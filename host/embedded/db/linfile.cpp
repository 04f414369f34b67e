// Loading a linetype from a linetype definition file (".lin"), with the text and shape
// elements of complex linetypes, and finding support files. A definition is a header line
// "*NAME,description" and a pattern line "A,dash,dash,[element],dash..." (a line ending with a
// comma continues on the next). An element in brackets belongs to the dash before it:
// ["text",style,S=..,R=..,X=..,Y=..] or [shape,file.shx,...]; R= is relative rotation and A=
// absolute (UCS-oriented), both in degrees unless suffixed "r" (radians) or "g" (grads).
// Shape numbers are looked up by name in the compiled shape file.
#include <cmath>
#include <cstdint>
#include <cwchar>
#include <numbers>
#include <optional>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/install.h"
#include "common/text.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/store.h"

namespace kwhost::db {

namespace {

// Files larger than this are no linetype or shape files.
constexpr uint64_t kMaxSupportFile = 8u << 20;

struct Element {
  bool isText = false;
  std::wstring textOrShape;
  std::wstring styleOrFile;
  double scale = 1.0;
  double rotation = 0;
  bool absolute = false;
  double x = 0, y = 0;
};

struct Dash {
  double length = 0;
  std::optional<Element> element;
};

struct Definition {
  std::wstring name;
  std::wstring comments;
  std::vector<Dash> dashes;
};

std::wstring DecodeText(const std::string& bytes) {
  std::wstring text = kw::FromUtf8(bytes);
  if (text.find(kw::kReplacementChar) == std::wstring::npos) return text;
  return kw::FromGbk(bytes);
}

// Splits at commas outside brackets and double quotes.
std::vector<std::wstring> SplitFields(std::wstring_view text) {
  std::vector<std::wstring> fields(1);
  int depth = 0;
  bool quoted = false;
  for (wchar_t c : text) {
    if (c == L'"') quoted = !quoted;
    if (!quoted && c == L'[') ++depth;
    if (!quoted && c == L']') --depth;
    if (c == L',' && depth == 0 && !quoted) {
      fields.emplace_back();
      continue;
    }
    fields.back() += c;
  }
  for (auto& f : fields) f = kw::Trim(f);
  return fields;
}

double Angle(std::wstring value) {
  double factor = std::numbers::pi / 180;
  if (!value.empty() && (value.back() == L'r' || value.back() == L'R')) factor = 1;
  if (!value.empty() && (value.back() == L'g' || value.back() == L'G'))
    factor = std::numbers::pi / 200;
  return kw::WToF(value) * factor;
}

std::optional<Element> ParseElement(std::wstring_view body) {
  std::vector<std::wstring> fields = SplitFields(body);
  if (fields.size() < 2 || fields[0].empty()) return std::nullopt;
  Element e;
  e.isText = fields[0].front() == L'"';
  e.textOrShape = e.isText ? kw::Trim(fields[0], L"\"") : fields[0];
  e.styleOrFile = fields[1];
  for (size_t i = 2; i < fields.size(); ++i) {
    size_t eq = fields[i].find(L'=');
    if (eq == std::wstring::npos) continue;
    wchar_t key = kw::ToUpperChar(fields[i][0]);
    std::wstring value = kw::Trim(fields[i].substr(eq + 1));
    if (key == L'S') e.scale = kw::WToF(value);
    if (key == L'X') e.x = kw::WToF(value);
    if (key == L'Y') e.y = kw::WToF(value);
    if (key == L'R' || key == L'A') e.rotation = Angle(value);
    if (key == L'A') e.absolute = true;
  }
  return e;
}

std::optional<Definition> ParsePattern(const std::wstring& name, const std::wstring& comments,
                                       const std::wstring& pattern) {
  std::vector<std::wstring> fields = SplitFields(pattern);
  if (fields.empty() || kw::ToUpper(fields[0]) != L"A") return std::nullopt;
  Definition def{name, comments, {}};
  for (size_t i = 1; i < fields.size(); ++i) {
    const std::wstring& f = fields[i];
    if (!f.empty() && f.front() == L'[') {
      if (def.dashes.empty() || f.back() != L']') return std::nullopt;
      def.dashes.back().element = ParseElement(std::wstring_view(f).substr(1, f.size() - 2));
      if (!def.dashes.back().element) return std::nullopt;
    } else {
      def.dashes.push_back(Dash{kw::WToF(f), std::nullopt});
    }
  }
  return def;
}

// The definition of `name` in the file's text, or nothing.
std::optional<Definition> FindDefinition(const std::wstring& text, const std::wstring& name) {
  std::vector<std::wstring> lines = kw::Split(text, L'\n');
  for (size_t i = 0; i < lines.size(); ++i) {
    std::wstring line = kw::Trim(lines[i], L" \t\r");
    if (line.size() < 2 || line[0] != L'*') continue;
    size_t comma = line.find(L',');
    std::wstring found =
        kw::Trim(line.substr(1, comma == std::wstring::npos ? line.npos : comma - 1));
    if (!kw::EqualsNoCase(found, name)) continue;
    std::wstring comments = comma == std::wstring::npos ? L"" : line.substr(comma + 1);
    std::wstring pattern;
    for (size_t j = i + 1; j < lines.size(); ++j) {
      pattern += kw::Trim(lines[j], L" \t\r");
      if (pattern.empty() || pattern.back() != L',') break;
    }
    return ParsePattern(found, comments, pattern);
  }
  return std::nullopt;
}

uint16_t U16(const std::string& b, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(b[at]) |
                               (static_cast<uint8_t>(b[at + 1]) << 8));
}

// The number of the shape named `name` in a compiled shape file's bytes; 0 when absent.
int ShapeNumber(const std::string& bytes, const std::wstring& name) {
  static const std::string kSignature = "AutoCAD-86 shapes 1.";
  size_t at = bytes.find('\x1A');
  if (bytes.compare(0, kSignature.size(), kSignature) != 0 || at == std::string::npos) return 0;
  at += 1;
  if (at + 6 > bytes.size()) return 0;
  size_t count = U16(bytes, at + 4);
  size_t index = at + 6;
  size_t body = index + 4 * count;
  if (body > bytes.size()) return 0;
  std::string wanted = kw::ToUtf8(kw::ToUpper(name));
  for (size_t k = 0; k < count; ++k) {
    uint16_t number = U16(bytes, index + 4 * k);
    size_t length = U16(bytes, index + 4 * k + 2);
    if (body + length > bytes.size()) return 0;
    std::string shape = bytes.substr(body, length).c_str();
    if (number != 0 && kw::ToUtf8(kw::ToUpper(kw::FromUtf8(shape))) == wanted) return number;
    body += length;
  }
  return 0;
}

// A text style of `db` that is the shape file `file` (created when missing), or null id.
AcDbObjectId ShapeStyle(AcDbDatabase& db, const std::wstring& file) {
  AcDbSymbolTable* styles = TableOf(&db, kTextStyles);
  for (AcDbObjectId id : TableRecords(*styles)) {
    auto* style = AcDbTextStyleTableRecord::cast(Peek(id));
    const wchar_t* name = nullptr;
    if (!style || style->isErased() || !style->isShapeFile()) continue;
    style->fileName(name);
    if (kw::EqualsNoCase(kw::FileNameOf(name), kw::FileNameOf(file))) return id;
  }
  auto* style = new AcDbTextStyleTableRecord();
  ObjectAccess::Name(*style) = kw::FileNameOf(file);
  style->setFileName(file.c_str());
  style->setIsShapeFile(true);
  AcDbObjectId id;
  if (FindRecord(*styles, style->name().c_str()).isNull() &&
      AddWithHandle(db, style, AcDbHandle(), styles->objectId(), id) == Acad::eOk) {
    return id;
  }
  delete style;
  return AcDbObjectId();
}

// Resolves each element's style (and shape number): eOk, or the reason it cannot be loaded.
Acad::ErrorStatus Resolve(AcDbDatabase& db, const Definition& def, std::vector<int>& numbers,
                          std::vector<AcDbObjectId>& styles) {
  for (const Dash& d : def.dashes) {
    numbers.push_back(0);
    styles.emplace_back();
    if (!d.element) continue;
    if (d.element->isText) {
      styles.back() = FindRecord(*TableOf(&db, kTextStyles), d.element->styleOrFile.c_str());
      if (styles.back().isNull()) return Acad::eKeyNotFound;
      continue;
    }
    wchar_t found[4096];
    std::string bytes;
    if (acdbHostApplicationServices()->findFile(found, 4096, d.element->styleOrFile.c_str(), &db) !=
            Acad::eOk ||
        !kw::Fs().ReadFile(found, &bytes, kMaxSupportFile)) {
      return Acad::eFileNotFound;
    }
    numbers.back() = ShapeNumber(bytes, d.element->textOrShape);
    if (numbers.back() == 0) return Acad::eKeyNotFound;
  }
  for (size_t i = 0; i < def.dashes.size(); ++i) {
    const auto& e = def.dashes[i].element;
    if (e && !e->isText) styles[i] = ShapeStyle(db, e->styleOrFile);
  }
  return Acad::eOk;
}

AcDbLinetypeTableRecord* MakeRecord(const Definition& def, const std::vector<int>& numbers,
                                    const std::vector<AcDbObjectId>& styles) {
  auto* record = new AcDbLinetypeTableRecord();
  ObjectAccess::Name(*record) = def.name;
  record->setComments(def.comments.c_str());
  record->setNumDashes(static_cast<int>(def.dashes.size()));
  double length = 0;
  for (int i = 0; i < record->numDashes(); ++i) {
    const Dash& d = def.dashes[i];
    length += std::abs(d.length);
    record->setDashLengthAt(i, d.length);
    if (!d.element) continue;
    record->setShapeStyleAt(i, styles[i]);
    record->setShapeNumberAt(i, numbers[i]);
    record->setShapeScaleAt(i, d.element->scale);
    record->setShapeRotationAt(i, d.element->rotation);
    record->setShapeIsUcsOrientedAt(i, d.element->absolute);
    record->setShapeOffsetAt(i, AcGeVector2d(d.element->x, d.element->y));
    if (d.element->isText) record->setTextAt(i, d.element->textOrShape.c_str());
  }
  record->setPatternLength(length);
  return record;
}

std::vector<std::wstring>& SupportFolders() {
  static std::vector<std::wstring> folders;
  return folders;
}

}  // namespace

void SetSupportFolders(std::vector<std::wstring> folders) {
  SupportFolders() = std::move(folders);
}

}  // namespace kwhost::db

Acad::ErrorStatus AcDbHostApplicationServices::findFile(wchar_t* fileFound, int length,
                                                        const wchar_t* fileName, AcDbDatabase* db,
                                                        int /*hint*/) {
  if (!fileFound || length <= 0 || !fileName || !*fileName) return Acad::eInvalidInput;
  fileFound[0] = 0;
  std::vector<std::wstring> candidates{fileName};
  std::wstring name = kw::FileNameOf(fileName);
  if (!db) db = workingDatabase();
  const wchar_t* drawing = nullptr;
  if (db && db->getFilename(drawing) == Acad::eOk && *drawing) {
    candidates.push_back(kw::JoinPath(kw::ParentOf(drawing), name));
  }
  for (const std::wstring& folder : kwhost::db::SupportFolders()) {
    candidates.push_back(kw::JoinPath(folder, name));
  }
  std::wstring install = kw::InstallFolder();
  if (!install.empty()) candidates.push_back(kw::JoinPath(kw::JoinPath(install, L"support"), name));
  for (const std::wstring& c : candidates) {
    if (!kw::FileExists(c)) continue;
    if (c.size() + 1 > static_cast<size_t>(length)) return Acad::eInvalidInput;
    std::wmemcpy(fileFound, c.c_str(), c.size() + 1);
    return Acad::eOk;
  }
  return Acad::eFileNotFound;
}

Acad::ErrorStatus AcDbDatabase::loadLineTypeFile(const wchar_t* linetypeName,
                                                 const wchar_t* fileName) {
  if (!linetypeName || !*linetypeName || !fileName || !*fileName) return Acad::eInvalidInput;
  AcDbSymbolTable* table = kwhost::db::TableOf(this, kwhost::db::kLinetypes);
  if (!kwhost::db::FindRecord(*table, linetypeName).isNull()) return Acad::eDuplicateRecordName;
  wchar_t found[4096];
  std::string bytes;
  if (acdbHostApplicationServices()->findFile(found, 4096, fileName, this) != Acad::eOk ||
      !kw::Fs().ReadFile(found, &bytes, kwhost::db::kMaxSupportFile)) {
    return Acad::eFileNotFound;
  }
  auto def = kwhost::db::FindDefinition(kwhost::db::DecodeText(bytes), linetypeName);
  if (!def) return Acad::eKeyNotFound;
  std::vector<int> numbers;
  std::vector<AcDbObjectId> styles;
  Acad::ErrorStatus es = kwhost::db::Resolve(*this, *def, numbers, styles);
  if (es != Acad::eOk) return es;
  auto* record = kwhost::db::MakeRecord(*def, numbers, styles);
  AcDbObjectId id;
  es = kwhost::db::AddWithHandle(*this, record, AcDbHandle(), table->objectId(), id);
  if (es != Acad::eOk) delete record;
  return es;
}

Acad::ErrorStatus acdbLoadLineTypeFile(const wchar_t* linetypeName, const wchar_t* fileName,
                                       AcDbDatabase* db) {
  if (!db) db = acdbHostApplicationServices()->workingDatabase();
  if (!db) return Acad::eNoDatabase;
  return db->loadLineTypeFile(linetypeName, fileName);
}
