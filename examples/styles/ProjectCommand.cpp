// KWPRJ: chooses the project folder whose "Styles" folder holds the style files. The text style
// commands follow the project: they reload the library when its folder changed.
#include <string>

#include "common/fileio.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/accmd.h"
#include "host/api/editor.h"
#include "services/paths.h"

namespace kwstyles {
namespace {

void ProjectCommand() {
  const std::wstring current = KWRDPub::GetCurPrjPath();
  const std::wstring prompt = L"\n项目文件夹 <" + current + L">: ";
  std::wstring folder;
  if (!AskLine(prompt.c_str(), &folder)) return;
  if (!folder.empty()) {
    KWRDPub::SetCurPrjPath(kw::TrimSeparatorsRight(folder).c_str());
  }
  acutPrintf(L"\n项目文件夹: %s", KWRDPub::GetCurPrjPath().c_str());
}

}  // namespace

void RegisterProjectCommand(const wchar_t* group) {
  acedRegCmds()->addCommand(group, L"KWPRJ", L"KWPRJ", ACRX_CMD_MODAL, &ProjectCommand);
}

}  // namespace kwstyles
