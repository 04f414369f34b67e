// The text style commands: the project's text style library (CFontCollection) shown, filled
// from the drawing, copied to and from other files, and restored into the drawing.
//   TSLIST     lists the library's styles
//   TSADD      takes text styles of the drawing into the library ("*": all of them)
//   TSREMOVE   drops styles from the library
//   TSIMPORT   copies styles of another text style file into the library ("*": all)
//   TSEXPORT   writes styles of the library to another file ("*": all)
//   TSRESTORE  creates or updates styles of the library in the drawing ("*": all, Enter: those
//              marked for automatic restore)
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "common/format.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/api/editor.h"
#include "styles/FontCollection.h"

namespace kwstyles {
namespace {

// The library of the current project: reloaded when the project changed since it was read.
CFontCollection& Library() {
  if (CFontCollection::GetInstance()->GetFilePath() != CFontCollection::GetDefaultFile()) {
    CFontCollection::Destroy();
  }
  return *CFontCollection::GetInstance();
}

bool IsAll(const std::vector<std::wstring>& names) {
  return names.size() == 1 && names[0] == L"*";
}

// The names of the drawing's text styles (shape files without a name left out).
std::vector<std::wstring> DrawingTextStyles() {
  std::vector<std::wstring> names;
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbTextStyleTable* table = nullptr;
  if (!db || db->getTextStyleTable(table, AcDb::kForRead) != Acad::eOk) return names;
  AcDbTextStyleTableIterator* it = nullptr;
  if (table->newIterator(it) == Acad::eOk) {
    for (; !it->done(); it->step()) {
      AcDbTextStyleTableRecord* record = nullptr;
      if (it->getRecord(record) != Acad::eOk) continue;
      if (!record->name().empty()) names.push_back(record->name());
      record->close();
    }
    delete it;
  }
  table->close();
  return names;
}

void ReportSave(int saved) {
  const std::wstring& file = Library().GetFilePath();
  if (saved) {
    acutPrintf(L"\n已保存文字样式库 %s.", file.c_str());
  } else {
    acutPrintf(L"\n无法保存文字样式库 %s.", file.c_str());
  }
}

void ListCommand() {
  std::vector<std::wstring> names;
  Library().GetAllTextStyle(names);
  acutPrintf(L"\n文字样式库 %s: %d 个文字样式", Library().GetFilePath().c_str(),
             static_cast<int>(names.size()));
  for (const std::wstring& name : names) {
    FONTINFO f{};
    Library().GetFontInfo(name.c_str(), f);
    acutPrintf(L"\n%s  字体文件:%s  大字体:%s  字体:%s  宽度因子:%g  倾斜角:%g%s", f.szName,
               f.szFileName, f.szBigFontFileName, f.szTypeFace, f.dXScale, f.dObliquingAngle,
               Library().IsAutoRestore(name.c_str()) ? L"  (自动恢复)" : L"");
  }
}

void AddCommand() {
  std::vector<std::wstring> names;
  if (!AskNames(L"\n要加入样式库的文字样式 (*: 图形中全部): ", &names) || names.empty()) return;
  if (IsAll(names)) names = DrawingTextStyles();
  int added = 0;
  for (const std::wstring& name : names) {
    if (Library().AppendFont(name.c_str(), false)) {
      ++added;
    } else {
      acutPrintf(L"\n图形中没有文字样式 %s.", name.c_str());
    }
  }
  acutPrintf(L"\n已加入 %d 个文字样式.", added);
  if (added) ReportSave(Library().Save());
}

void RemoveCommand() {
  std::vector<std::wstring> names;
  if (!AskNames(L"\n要从样式库删除的文字样式: ", &names) || names.empty()) return;
  int removed = 0;
  for (const std::wstring& name : names) {
    FONTINFO f{};
    if (!Library().GetFontInfo(name.c_str(), f)) {
      acutPrintf(L"\n样式库中没有文字样式 %s.", name.c_str());
      continue;
    }
    Library().RemoveFont(name.c_str(), false);
    ++removed;
  }
  acutPrintf(L"\n已删除 %d 个文字样式.", removed);
  if (removed) ReportSave(Library().Save());
}

void ImportCommand() {
  std::wstring file;
  std::vector<std::wstring> names;
  std::vector<std::wstring> inFile;
  if (!AskLine(L"\n要导入的文字样式文件: ", &file) || file.empty()) return;
  if (CFontCollection::GetFileTextStyles(file.c_str(), inFile) < 0) {
    acutPrintf(L"\n无法读取文字样式文件 %s.", file.c_str());
    return;
  }
  if (!AskNames(L"\n要导入的文字样式 (*: 全部): ", &names) || names.empty()) return;
  if (IsAll(names)) names = inFile;
  const int saved = Library().ImportFont(names, file.c_str());
  acutPrintf(L"\n已从 %s 导入文字样式.", file.c_str());
  ReportSave(saved);
}

void ExportCommand() {
  std::vector<std::wstring> names;
  std::wstring file;
  if (!AskNames(L"\n要导出的文字样式 (*: 全部): ", &names) || names.empty()) return;
  if (!AskLine(L"\n导出到文件: ", &file) || file.empty()) return;
  if (IsAll(names)) {
    names.clear();
    Library().GetAllTextStyle(names);
  }
  if (Library().ExportFont(names, file.c_str())) {
    acutPrintf(L"\n已导出文字样式到 %s.", file.c_str());
  } else {
    acutPrintf(L"\n无法写入文字样式文件 %s.", file.c_str());
  }
}

void RestoreCommand() {
  std::vector<std::wstring> names;
  if (!AskNames(L"\n要恢复的文字样式 (*: 全部) <自动恢复的>: ", &names)) return;
  if (names.empty()) {
    acutPrintf(L"\n已恢复 %d 个文字样式.", Library().RestoreFont());
    return;
  }
  if (IsAll(names)) {
    names.clear();
    Library().GetAllTextStyle(names);
  }
  int restored = 0;
  for (const std::wstring& name : names) {
    FONTINFO f{};
    AcDbObjectId id;
    if (!Library().GetFontInfo(name.c_str(), f)) {
      acutPrintf(L"\n样式库中没有文字样式 %s.", name.c_str());
    } else if (Library().RestoreFont(name.c_str(), id)) {
      ++restored;
    }
  }
  acutPrintf(L"\n已恢复 %d 个文字样式.", restored);
}

}  // namespace

void RegisterTextStyleCommands(const wchar_t* group) {
  const std::pair<const wchar_t*, AcRxFunctionPtr> commands[] = {
      {L"TSLIST", &ListCommand},     {L"TSADD", &AddCommand},
      {L"TSREMOVE", &RemoveCommand}, {L"TSIMPORT", &ImportCommand},
      {L"TSEXPORT", &ExportCommand}, {L"TSRESTORE", &RestoreCommand}};
  for (const auto& [name, fn] : commands) {
    acedRegCmds()->addCommand(group, name, name, ACRX_CMD_MODAL, fn);
  }
}

}  // namespace kwstyles
