// Restoring a line style into the working drawing: the linetype record, its shape files and
// the text styles of its dashes.
//
// Messages on the command line:
//   "\n创建或恢复线形 %s 失败(无效的线形定义)."    the definition disagrees with itself, holds a
//                                                  number that is not finite, or the drawing
//                                                  refuses its name or dash count
//   "\nCan not open LinetypeTable."                   the linetype table cannot be written
//   "\nCan not load shape file: %s."                  a shape dash's file is not a text style
//   "\nTextstyle %s not found."                       a text dash's style is missing ("STANDARD"
//                                                     is used when the drawing has it)
//   "\n加载形文件失败(原因:不能以写方式打开字形表)."   shape files cannot be registered
//   "\n加载形文件%s失败[%s]\n"                         one shape file cannot be registered
// and in a message box "恢复线型进出现异常错误" when building the record runs out of memory.
#include <cmath>
#include <new>
#include <unordered_map>
#include <vector>

#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/api/win.h"
#include "styles/LineStyleCollection.h"
#include "styles/internal/StandardLinFiles.h"

namespace {

// Text styles by key: a shape file's style under its upper-case file name, any other style
// under its upper-case name followed by "|".
using StyleTable = std::unordered_map<std::wstring, AcDbObjectId>;

constexpr wchar_t kStandardKey[] = L"STANDARD|";

void PrintInvalid(const CLineStyle& style) {
  acutPrintf(L"\n创建或恢复线形 %s 失败(无效的线形定义).", style.GetStyle().c_str());
}

bool IsBuiltIn(const std::wstring& name) {
  return kw::EqualsNoCase(name, L"Continuous") || kw::EqualsNoCase(name, L"ByLayer") ||
         kw::EqualsNoCase(name, L"ByBlock");
}

bool AllFinite(const std::vector<double>& values) {
  for (double v : values) {
    if (!std::isfinite(v)) return false;
  }
  return true;
}

// A drawing cannot hold an infinite or NaN length, angle or scale.
bool NumbersAreFinite(const CLineStyle& style) {
  for (const AcGeVector2d& offset : style.Offsets()) {
    if (!std::isfinite(offset.x) || !std::isfinite(offset.y)) return false;
  }
  return std::isfinite(style.GetPatternLen()) && AllFinite(style.DashLengths()) &&
         AllFinite(style.Rotations()) && AllFinite(style.ShapeScales());
}

AcDbDatabase* WorkingDatabase() {
  return acdbHostApplicationServices()->workingDatabase();
}

// Enters every text style of the drawing into `styles`; the shape files' names go to
// `shapeFiles`.
void ReadTextStyles(StyleTable& styles, std::vector<std::wstring>& shapeFiles) {
  AcDbDatabase* db = WorkingDatabase();
  AcDbTextStyleTable* table = nullptr;
  if (!db || db->getTextStyleTable(table, AcDb::kForRead) != Acad::eOk) return;
  AcDbTextStyleTableIterator* it = nullptr;
  if (table->newIterator(it) == Acad::eOk) {
    for (; !it->done(); it->step()) {
      AcDbTextStyleTableRecord* record = nullptr;
      if (it->getRecord(record, AcDb::kForRead) != Acad::eOk) continue;
      const wchar_t* file = nullptr;
      if (record->isShapeFile() && record->fileName(file) == Acad::eOk && file) {
        styles[kw::ToUpper(file)] = record->objectId();
        shapeFiles.emplace_back(file);
      } else if (!record->isShapeFile()) {
        styles[kw::ToUpper(record->name()) + L"|"] = record->objectId();
      }
      record->close();
    }
    delete it;
  }
  table->close();
}

bool IsNoted(const std::vector<std::wstring>& files, const std::wstring& file) {
  for (const std::wstring& f : files) {
    if (kw::EqualsNoCase(f, file)) return true;
  }
  return false;
}

// The shape files that shape dashes need and the drawing lacks, from the last dash to the
// first, each once.
std::vector<std::wstring> MissingShapeFiles(const CLineStyle& style,
                                            const std::vector<std::wstring>& shapeFiles) {
  std::vector<std::wstring> missing;
  for (size_t i = style.ShapeStyles().size(); i-- > 0;) {
    const std::wstring& file = style.ShapeStyles()[i];
    if (style.ShapeNumbers()[i] != 0 && !file.empty() && !IsNoted(shapeFiles, file) &&
        !IsNoted(missing, file)) {
      missing.push_back(file);
    }
  }
  return missing;
}

// Registers one shape file as a text style; false (after saying why) when the drawing refuses.
bool AddShapeFile(AcDbTextStyleTable* table, const std::wstring& file, StyleTable& styles) {
  const std::wstring upper = kw::ToUpper(file);
  auto* record = new AcDbTextStyleTableRecord();
  record->setIsShapeFile(true);
  Acad::ErrorStatus es = record->setFileName(upper.c_str());
  AcDbObjectId id;
  if (es == Acad::eOk) es = table->add(id, record);
  if (es != Acad::eOk) {
    delete record;
    acutPrintf(L"\n加载形文件%s失败[%s]\n", file.c_str(), acadErrorStatusText(es));
    return false;
  }
  record->close();
  styles[upper] = id;
  return true;
}

void LoadShapeFiles(const std::vector<std::wstring>& files, StyleTable& styles) {
  AcDbDatabase* db = WorkingDatabase();
  AcDbTextStyleTable* table = nullptr;
  if (!db || db->getTextStyleTable(table, AcDb::kForWrite) != Acad::eOk) {
    acutPrintf(L"\n加载形文件失败(原因:不能以写方式打开字形表).");
    return;
  }
  for (const std::wstring& file : files) {
    if (!AddShapeFile(table, file, styles)) break;
  }
  table->close();
}

StyleTable ResolveShapeStyles(const CLineStyle& style) {
  StyleTable styles;
  bool any = false;
  for (const std::wstring& s : style.ShapeStyles()) any = any || !s.empty();
  if (!any) return styles;
  std::vector<std::wstring> shapeFiles;
  ReadTextStyles(styles, shapeFiles);
  const std::vector<std::wstring> missing = MissingShapeFiles(style, shapeFiles);
  if (!missing.empty()) LoadShapeFiles(missing, styles);
  return styles;
}

// The text style of a dash with a shape style; a dash with both a text and a shape number is
// a text dash on "STANDARD" (its shape number becomes 0).
AcDbObjectId DashStyle(const std::wstring& shapeStyle, const std::wstring& text, int& number,
                       const StyleTable& styles) {
  std::wstring key = kw::ToUpper(shapeStyle);
  if (number == 0) key += L'|';
  if (!text.empty() && number != 0) {
    key = kStandardKey;
    number = 0;
  }
  if (auto it = styles.find(key); it != styles.end()) return it->second;
  if (number != 0) {
    acutPrintf(L"\nCan not load shape file: %s.", shapeStyle.c_str());
    return AcDbObjectId();
  }
  key.pop_back();
  acutPrintf(L"\nTextstyle %s not found.", key.c_str());
  auto standard = styles.find(kStandardKey);
  return standard == styles.end() ? AcDbObjectId() : standard->second;
}

// Dash i of `style` into the record; `id` ends as the dash's text style.
void FillDash(const CLineStyle& style, int i, const StyleTable& styles,
              AcDbLinetypeTableRecord& record, AcDbObjectId& id) {
  id = AcDbObjectId();
  record.setDashLengthAt(i, style.DashLengths()[i]);
  int number = style.ShapeNumbers()[i];
  const std::wstring& text = style.Texts()[i];
  if (!style.ShapeStyles()[i].empty()) id = DashStyle(style.ShapeStyles()[i], text, number, styles);
  record.setShapeStyleAt(i, id);
  record.setShapeNumberAt(i, number);
  record.setShapeIsUcsOrientedAt(i, style.ShapeIsUcsOrientedFlags()[i] != 0);
  record.setShapeRotationAt(i, style.Rotations()[i]);
  record.setShapeOffsetAt(i, style.Offsets()[i]);
  record.setShapeScaleAt(i, style.ShapeScales()[i]);
  if (!text.empty()) record.setTextAt(i, text.c_str());
}

// False when the record refuses the name or the dash count.
bool FillRecord(const CLineStyle& style, const StyleTable& styles, AcDbLinetypeTableRecord& record,
                AcDbObjectId& id) {
  if (record.setName(style.GetStyle().c_str()) != Acad::eOk) return false;
  record.setComments(style.GetDes().c_str());
  record.setComments(style.GetComments().c_str());
  record.setPatternLength(style.GetPatternLen());
  record.setIsScaledToFit(style.GetIsScaleToFit() != 0);
  record.setNumDashes(style.GetNumDashes());
  if (record.numDashes() != style.GetNumDashes()) return false;
  for (int i = 0; i < style.GetNumDashes(); ++i) FillDash(style, i, styles, record, id);
  return true;
}

// Makes and adds the record (the table open for write): 1, or 0 when the drawing refuses it.
// When the drawing has a record of that name already, that record is kept and its id given.
int AddRecord(const CLineStyle& style, const StyleTable& styles, AcDbLinetypeTable* table,
              AcDbObjectId& id) {
  AcDbLinetypeTableRecord* record = nullptr;
  try {
    record = new AcDbLinetypeTableRecord();
    AcDbObjectId scratch;
    const bool filled = FillRecord(style, styles, *record, scratch);
    const Acad::ErrorStatus es = filled ? table->add(record) : Acad::eInvalidInput;
    if (es == Acad::eDuplicateRecordName) {
      delete record;
      return table->getAt(style.GetStyle().c_str(), id) == Acad::eOk ? 1 : 0;
    }
    if (es != Acad::eOk) {
      delete record;
      PrintInvalid(style);
      return 0;
    }
    id = scratch;
  } catch (const std::bad_alloc&) {
    MessageBoxW(acedGetAcadFrame(), L"恢复线型进出现异常错误", L"KWRDPub",
                MB_OK | MB_ICONEXCLAMATION);
    delete record;
    return 1;
  }
  record->close();
  return 1;
}

int CreateLinetype(const CLineStyle& style, const StyleTable& styles, AcDbObjectId& id) {
  AcDbDatabase* db = WorkingDatabase();
  AcDbLinetypeTable* table = nullptr;
  if (!db || db->getLinetypeTable(table, AcDb::kForWrite) != Acad::eOk) {
    acutPrintf(L"\nCan not open LinetypeTable.");
    return 0;
  }
  const int result = AddRecord(style, styles, table, id);
  table->close();
  return result;
}

}  // namespace

int CLineStyleCollection::RestoreLinetype(const CLineStyle& style, AcDbObjectId& id) {
  if (IsBuiltIn(style.GetStyle())) return 1;
  if (!style.IsOK() || !NumbersAreFinite(style)) {
    PrintInvalid(style);
    return 0;
  }
  if (kw::styles::ProcessLinFiles().Restore(style.GetStyle(), nullptr, id)) return 1;
  const StyleTable styles = ResolveShapeStyles(style);
  return CreateLinetype(style, styles, id);
}
