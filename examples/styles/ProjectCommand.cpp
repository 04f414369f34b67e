// KWPROJECT: chooses the project folder whose "Styles" folder holds the style files. The text
// style commands follow the project (they reload their library when its folder changed); the
// line style library is dropped here and loads from the new folder on its next use.
#include <string>

#include "common/fileio.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/accmd.h"
#include "host/api/editor.h"
#include "services/paths.h"
#include "styles/LineStyleCollection.h"

namespace kwstyles {
namespace {

void ProjectCommand() {
  const std::wstring current = KWRDPub::GetCurPrjPath();
  const std::wstring prompt = L"\n项目文件夹 <" + current + L">: ";
  std::wstring folder;
  if (!AskLine(prompt.c_str(), &folder)) return;
  if (!folder.empty()) {
    KWRDPub::SetCurPrjPath(kw::TrimSeparatorsRight(folder).c_str());
    CLineStyleCollection::Destroy();
  }
  acutPrintf(L"\n项目文件夹: %s", KWRDPub::GetCurPrjPath().c_str());
}

}  // namespace

void RegisterProjectCommand(const wchar_t* group) {
  acedRegCmds()->addCommand(group, L"KWPROJECT", L"KWPROJECT", ACRX_CMD_MODAL, &ProjectCommand);
}

}  // namespace kwstyles
