// Finding support files: the drawing's folder, the working folder, the support path and the
// host's own support folder, in that order.
#include <unistd.h>

#include <cwchar>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/install.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/embedded/editor/editor.h"

namespace kwhost::editor {

namespace {

std::wstring WorkFolder() {
  std::string buf(4096, '\0');
  if (!::getcwd(buf.data(), buf.size())) return {};
  return kw::WidePath(buf.c_str());
}

std::wstring VarText(const wchar_t* name) {
  auto it = Editor().sysVars.find(name);
  return it == Editor().sysVars.end() ? std::wstring() : it->second.text;
}

bool HasFolder(std::wstring_view name) {
  return name.find_first_of(L"/\\") != std::wstring_view::npos;
}

}  // namespace

std::wstring HostSupportFolder() {
  std::wstring exe = kw::ExecutableFolder();
  if (exe.empty()) return {};
  return kw::JoinPath(kw::ParentOf(exe), kw::FromUtf8(KW_SUPPORT_SUBDIR));
}

std::wstring FindFile(std::wstring_view name, std::wstring_view drawingFolder) {
  if (name.empty()) return {};
  std::wstring path(name);
  if (HasFolder(name)) {
    if (path[0] != L'/' && path[0] != L'\\') path = kw::JoinPath(WorkFolder(), name);
    return kw::Fs().IsFile(path) ? path : std::wstring();
  }
  std::vector<std::wstring> folders{std::wstring(drawingFolder), WorkFolder()};
  for (std::wstring& folder : kw::Split(VarText(L"ACADPREFIX"), L':')) {
    folders.push_back(std::move(folder));
  }
  folders.push_back(HostSupportFolder());
  for (const std::wstring& folder : folders) {
    if (kw::Trim(folder).empty()) continue;
    std::wstring candidate = kw::JoinPath(folder, name);
    if (kw::Fs().IsFile(candidate)) return candidate;
  }
  return {};
}

}  // namespace kwhost::editor

int acedFindFile(const wchar_t* fname, wchar_t* result, size_t bufLen) {
  if (!result || bufLen == 0) return RTERROR;
  result[0] = L'\0';
  if (!fname) return RTERROR;
  std::wstring path = kwhost::editor::FindFile(fname, [] {
    auto it = kwhost::editor::Editor().sysVars.find(L"DWGPREFIX");
    return it == kwhost::editor::Editor().sysVars.end() ? std::wstring() : it->second.text;
  }());
  if (path.empty() || path.size() >= bufLen) return RTERROR;
  std::wmemcpy(result, path.c_str(), path.size() + 1);
  return RTNORM;
}
