#include "services/paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "common/install.h"
#include "common/text.h"

namespace KWRDPub {
namespace {

// Process-wide state of the suite's folders. Invariants:
//   1. g_appDataKeldorn and g_userKeldorn are empty until first asked for and never change
//      afterwards; they hold no trailing separator.
//   2. g_prjPath and g_prjName change only through their setters.
std::wstring g_prjPath;
std::wstring g_prjName;
std::wstring g_appDataKeldorn;
std::wstring g_userKeldorn;

std::wstring Env(const char* name) {
  const char* v = std::getenv(name);
  return (v && *v) ? kw::WidePath(v) : std::wstring();
}

// The home folder from the password database ("" when the user has no entry): without HOME
// there is no shared fallback, since a folder like /tmp is open to every user.
std::wstring PasswordHome() {
  long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
  struct passwd entry;
  struct passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr || found->pw_dir == nullptr) {
    return {};
  }
  return kw::WidePath(found->pw_dir);
}

std::wstring Home() {
  const std::wstring home = Env("HOME");
  return home.empty() ? PasswordHome() : home;
}

// Below the home folder; "" when there is none.
std::wstring InHome(const wchar_t* below) {
  const std::wstring home = Home();
  return home.empty() ? std::wstring() : home + below;
}

std::wstring XdgConfigHome() {
  const std::wstring v = Env("XDG_CONFIG_HOME");
  return v.empty() ? InHome(L"/.config") : v;
}

std::wstring XdgDataHome() {
  const std::wstring v = Env("XDG_DATA_HOME");
  return v.empty() ? InHome(L"/.local/share") : v;
}

// The application context of this build: the four values the suite's folders start from.
std::wstring ContextValue(const char* variable, std::wstring (*fallback)()) {
  const std::wstring v = Env(variable);
  return v.empty() ? fallback() : v;
}

std::wstring DefaultSoftName() {
  return L"KWRD";
}
std::wstring DefaultUserDir() {
  const std::wstring base = XdgConfigHome();
  return base.empty() ? base : base + L"/Kaiwei/" + GetSoftName();
}
std::wstring DefaultWorkDir() {
  const std::wstring base = XdgDataHome();
  return base.empty() ? base : base + L"/Kaiwei/" + GetSoftName() + L"/Work";
}

// Why the per-user folder may not be used ("" when it may). It holds settings that are read
// (by root too): another user must be able neither to plant nor to replace them.
std::wstring UserFolderProblem(const std::wstring& folder) {
  if (folder.empty()) return L"找不到当前用户的主目录，用户目录不可用";
  std::wstring culprit;
  switch (kw::Fs().CheckPrivateFolder(folder, &culprit)) {
    case kw::FolderTrust::kForeignOwner:
      return L"拒绝使用用户目录 " + folder + L": " + culprit + L" 属于其他用户";
    case kw::FolderTrust::kOpenToOthers:
      return L"拒绝使用用户目录 " + folder + L": 其他用户可以写入 " + culprit;
    default:
      return {};  // a folder that could not be made fails the caller's own file operation
  }
}

std::wstring g_userProblem;

}  // namespace

std::wstring GetInstallPath() {
  return kw::InstallFolder();
}

std::wstring GetWorkPath(bool bCreate) {
  const std::wstring path =
      kw::TrimSeparatorsRight(kw::Trim(ContextValue("KWRD_WORK_DIR", DefaultWorkDir), L" "));
  if (bCreate && !path.empty() && !kw::DirectoryExists(path)) kw::CreateDirectories(path);
  return path;
}

std::wstring GetAppDataPath() {
  return kw::TrimSeparatorsRight(ContextValue("KWRD_APPDATA_DIR", XdgDataHome));
}

std::wstring GetCurUserLocalAppDataPath() {
  return kw::TrimSeparatorsRight(XdgConfigHome());
}

std::wstring GetAppDataKeldornPath() {
  if (g_appDataKeldorn.empty()) {
    g_appDataKeldorn = GetAppDataPath();
    kw::CreateDirectories(g_appDataKeldorn + L"/Kaiwei");
    g_appDataKeldorn += L"/Kaiwei/Keldorn";
    kw::CreateDirectories(g_appDataKeldorn);
  }
  return g_appDataKeldorn;
}

std::wstring GetCurUserKeldornPath() {
  if (g_userKeldorn.empty()) {
    std::wstring folder = kw::TrimSeparatorsRight(ContextValue("KWRD_USER_DIR", DefaultUserDir));
    if (!folder.empty()) kw::CreateDirectories(folder);
    g_userProblem = UserFolderProblem(folder);
    if (g_userProblem.empty()) g_userKeldorn = folder;
  }
  return g_userKeldorn;
}

std::wstring GetCurUserKeldornProblem() {
  GetCurUserKeldornPath();
  return g_userProblem;
}

void SetCurPrjPath(const wchar_t* path) {
  g_prjPath = kw::View(path);
}
std::wstring GetCurPrjPath() {
  return g_prjPath;
}
void SetCurPrjName(const wchar_t* name) {
  g_prjName = kw::View(name);
}
std::wstring GetCurPrjName() {
  return g_prjName;
}

std::wstring GetSoftName() {
  return ContextValue("KWRD_SOFT_NAME", DefaultSoftName);
}

}  // namespace KWRDPub
