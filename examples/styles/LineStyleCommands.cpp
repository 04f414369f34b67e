#include "examples/styles/LineStyleCommands.h"

#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/accmd.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "services/paths.h"
#include "styles/LineStyleCollection.h"

namespace {

// The whole answer line; false when the prompt was cancelled.
bool AskLine(const wchar_t* prompt, std::wstring* answer) {
  std::vector<wchar_t> buffer(kAcedStringBufferLen, L'\0');
  if (acedGetString(1, prompt, buffer.data(), buffer.size()) != RTNORM) return false;
  *answer = kw::Trim(buffer.data());
  return true;
}

// The names of a "a,b,c" answer, blanks trimmed, empty ones left out.
std::vector<std::wstring> SplitNames(const std::wstring& answer) {
  std::vector<std::wstring> names;
  for (const std::wstring& piece : kw::Split(answer, L',')) {
    std::wstring name = kw::Trim(piece);
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

std::vector<std::wstring> CollectionNames() {
  std::vector<std::wstring> names;
  CLineStyleCollection::GetInstance()->GetAllLineType(names);
  return names;
}

// The names asked for; "*" stands for `all`. False when cancelled or nothing was named.
bool AskNames(const wchar_t* prompt, const std::vector<std::wstring>& all,
              std::vector<std::wstring>* names) {
  std::wstring answer;
  if (!AskLine(prompt, &answer)) return false;
  *names = answer == L"*" ? all : SplitNames(answer);
  return !names->empty();
}

void ListCommand() {
  CLineStyleCollection* lines = CLineStyleCollection::GetInstance();
  const std::vector<std::wstring> names = CollectionNames();
  acutPrintf(L"\n线型库 %s: %d 个线型", lines->GetFilePath().c_str(),
             static_cast<int>(names.size()));
  for (const std::wstring& name : names) {
    const CLineStyle* style = lines->GetLineStyle(name.c_str());
    acutPrintf(L"\n  %s (%d) %s", name.c_str(), style->GetNumDashes(), style->GetDes().c_str());
  }
}

void AppendCommand() {
  std::vector<std::wstring> drawing;
  KWRDPub::GetAllLineType(drawing, false, false);
  std::erase_if(drawing, [](const std::wstring& n) { return kw::EqualsNoCase(n, L"Continuous"); });
  std::vector<std::wstring> names;
  if (!AskNames(L"\n加入线型库的线型名(用\",\"分隔, *为全部): ", drawing, &names)) return;
  CLineStyleCollection* lines = CLineStyleCollection::GetInstance();
  for (const std::wstring& name : names) {
    if (lines->AppendLineType(name.c_str(), false)) {
      acutPrintf(L"\n已加入线型 %s.", kw::ToUpper(name).c_str());
    } else {
      acutPrintf(L"\n图中没有线型 %s.", name.c_str());
    }
  }
  acutPrintf(lines->Save() ? L"\n线型库已保存." : L"\n线型库保存失败.");
}

void ImportCommand() {
  std::wstring file;
  if (!AskLine(L"\n导入线型的文件: ", &file) || file.empty()) return;
  std::vector<std::wstring> names;
  if (!AskNames(L"\n导入的线型名(用\",\"分隔): ", {}, &names)) return;
  const bool ok = CLineStyleCollection::GetInstance()->ImportLineType(names, file.c_str());
  acutPrintf(ok ? L"\n已从 %s 导入线型." : L"\n从 %s 导入线型失败.", file.c_str());
}

void ExportCommand() {
  std::wstring file;
  if (!AskLine(L"\n导出线型的文件: ", &file) || file.empty()) return;
  std::vector<std::wstring> names;
  if (!AskNames(L"\n导出的线型名(用\",\"分隔, *为全部): ", CollectionNames(), &names)) return;
  const bool ok = CLineStyleCollection::GetInstance()->ExportLineType(names, file.c_str());
  acutPrintf(ok ? L"\n已导出线型到 %s." : L"\n导出线型到 %s 失败.", file.c_str());
}

void RestoreCommand() {
  std::vector<std::wstring> names;
  if (!AskNames(L"\n恢复到图中的线型名(用\",\"分隔, *为全部): ", CollectionNames(), &names)) {
    return;
  }
  CLineStyleCollection* lines = CLineStyleCollection::GetInstance();
  for (const std::wstring& name : names) {
    AcDbObjectId scratch;
    const bool ok = lines->RestoreLinetype(name.c_str(), scratch) != 0;
    acutPrintf(ok ? L"\n已恢复线型 %s." : L"\n未能恢复线型 %s.", name.c_str());
  }
}

}  // namespace

void RegisterLineStyleCommands(const wchar_t* group) {
  struct Command {
    const wchar_t* name;
    AcRxFunctionPtr function;
  };
  static constexpr Command kCommands[] = {{L"LTLIST", &ListCommand},
                                          {L"LTAPPEND", &AppendCommand},
                                          {L"LTIMPORT", &ImportCommand},
                                          {L"LTEXPORT", &ExportCommand},
                                          {L"LTRESTORE", &RestoreCommand}};
  for (const Command& command : kCommands) {
    acedRegCmds()->addCommand(group, command.name, command.name, 0, command.function);
  }
}
