#include "services/paths.h"

#include <cstdlib>
#include <string>

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

std::wstring Home() {
  const std::wstring home = Env("HOME");
  return home.empty() ? std::wstring(L"/tmp") : home;
}

std::wstring XdgConfigHome() {
  const std::wstring v = Env("XDG_CONFIG_HOME");
  return v.empty() ? Home() + L"/.config" : v;
}

std::wstring XdgDataHome() {
  const std::wstring v = Env("XDG_DATA_HOME");
  return v.empty() ? Home() + L"/.local/share" : v;
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
  return XdgConfigHome() + L"/Kaiwei/" + GetSoftName();
}
std::wstring DefaultWorkDir() {
  return XdgDataHome() + L"/Kaiwei/" + GetSoftName() + L"/Work";
}

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
    g_userKeldorn = kw::TrimSeparatorsRight(ContextValue("KWRD_USER_DIR", DefaultUserDir));
    kw::CreateDirectories(g_userKeldorn);
  }
  return g_userKeldorn;
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
