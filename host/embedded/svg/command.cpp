// The host's EXPORTSVG command: asks for a file name (the whole line; ".svg" added when the
// name has no extension) and writes the picture of the current view there.
#include <string>

#include "common/fileio.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace {

void ExportSvgCommand() {
  wchar_t answer[kAcedStringBufferLen] = {};
  if (acedGetString(1, L"\n图片文件: ", answer) != RTNORM) return;
  std::wstring path = kw::Trim(answer);
  if (path.empty()) return;
  if (kw::FileNameOf(path).find(L'.') == std::wstring::npos) path += L".svg";
  std::wstring why;
  if (kwhost::ExportSvg(path, &why)) {
    acutPrintf(L"\n已输出图片 %s。", path.c_str());
  } else {
    acutPrintf(L"\n无法输出图片: %s", why.c_str());
  }
}

[[maybe_unused]] const bool kRegistered =
    (kwhost::editor::AddHostCommand(L"EXPORTSVG", ExportSvgCommand), true);

}  // namespace
