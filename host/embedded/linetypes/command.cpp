// The host's LINETYPE command on the command line: Load linetypes from a file, or Set the
// current one. Enter at the options prompt ends it.
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/linetypes/load.h"

namespace {

std::wstring DefaultLinFile() {
  resbuf rb{};
  bool inch = acedGetVar(L"MEASUREMENT", &rb) == RTNORM && rb.resval.rint == 0;
  return inch ? L"acad.lin" : L"acadiso.lin";
}

// True to go on (the linetype is not loaded yet, or the user wants it reloaded).
bool AskReload(AcDbDatabase* db, const std::wstring& name, bool* replace) {
  *replace = false;
  AcDbLinetypeTable* table = nullptr;
  if (db->getLinetypeTable(table) != Acad::eOk) return true;
  const bool loaded = table->has(name.c_str());
  table->close();
  if (!loaded) return true;
  acedInitGet(0, L"Yes No");
  wchar_t answer[kAcedStringBufferLen] = {};
  std::wstring prompt = L"\n线型 \"" + name + L"\" 已加载。是否重载? [是(Y)/否(N)] <Y>: ";
  int rc = acedGetKword(prompt.c_str(), answer);
  if (rc == RTCAN || (rc == RTNORM && std::wstring(answer) == L"No")) return false;
  *replace = true;
  return true;
}

void Report(Acad::ErrorStatus es, const std::wstring& names, const std::wstring& file,
            const std::vector<std::wstring>& loaded) {
  if (es == Acad::eOk) {
    for (const std::wstring& name : loaded) acutPrintf(L"\n已加载线型 \"%s\"。", name.c_str());
  } else if (es == Acad::eUndefinedLineType) {
    acutPrintf(L"\n文件 %s 中没有线型 \"%s\"。", file.c_str(), names.c_str());
  } else if (es == Acad::eFilerError) {
    acutPrintf(L"\n无法读取线型文件 \"%s\"。", file.c_str());
  } else {
    acutPrintf(L"\n加载线型失败: %s", acadErrorStatusText(es));
  }
}

void LoadOption() {
  wchar_t names[kAcedStringBufferLen] = {};
  if (acedGetString(0, L"\n输入要加载的线型: ", names) != RTNORM || !*names) return;
  const std::wstring def = DefaultLinFile();
  wchar_t file[kAcedStringBufferLen] = {};
  std::wstring prompt = L"\n输入线型文件名 <" + def + L">: ";
  if (acedGetString(0, prompt.c_str(), file) != RTNORM) return;
  const std::wstring path = *file ? file : def;
  AcDbDatabase* db = kwhost::linetypes::TargetDatabase(nullptr);
  if (!db) return;
  bool replace = false;
  if (!AskReload(db, names, &replace)) return;
  std::vector<std::wstring> loaded;
  Acad::ErrorStatus es = kwhost::linetypes::Load(names, path.c_str(), db, replace, &loaded);
  Report(es, names, path, loaded);
}

void SetOption() {
  wchar_t name[kAcedStringBufferLen] = {};
  if (acedGetString(0, L"\n指定线型名: ", name) != RTNORM || !*name) return;
  AcDbDatabase* db = kwhost::linetypes::TargetDatabase(nullptr);
  AcDbLinetypeTable* table = nullptr;
  if (!db || db->getLinetypeTable(table) != Acad::eOk) return;
  AcDbObjectId id;
  table->getAt(name, id);
  table->close();
  if (id.isNull() || db->setCeltype(id) != Acad::eOk) {
    acutPrintf(L"\n找不到线型 \"%s\"。请用\"加载\"选项加载它。", name);
  }
}

void LinetypeCommand() {
  for (;;) {
    acedInitGet(0, L"Load Set");
    wchar_t choice[kAcedStringBufferLen] = {};
    if (acedGetKword(L"\n输入选项 [加载(L)/设置(S)]: ", choice) != RTNORM) return;
    if (std::wstring(choice) == L"Load") {
      LoadOption();
    } else {
      SetOption();
    }
  }
}

[[maybe_unused]] const bool kRegistered =
    (kwhost::editor::AddHostCommand(L"LINETYPE", LinetypeCommand), true);

}  // namespace
