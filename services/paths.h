// The suite's folders, the same for every module.
//
// Where the values come from (the application context of this build): environment variables,
// with defaults when a variable is unset or empty:
//   KWRD_INSTALL_DIR  installation folder       default: the folder of the running executable
//   KWRD_USER_DIR     per-user product folder   default: $XDG_CONFIG_HOME/Kaiwei/<soft name>
//                                               ($XDG_CONFIG_HOME defaults to ~/.config)
//   KWRD_WORK_DIR     working folder            default: $XDG_DATA_HOME/Kaiwei/<soft name>/Work
//                                               ($XDG_DATA_HOME defaults to ~/.local/share)
//   KWRD_APPDATA_DIR  machine-wide app data     default: $XDG_DATA_HOME
//   KWRD_SOFT_NAME    software name             default: "KWRD"
// The per-user application-data folder (GetCurUserLocalAppDataPath) is $XDG_CONFIG_HOME.
//
// Every path handed out has no trailing "/" or "\\". The product folders (GetAppDataKeldornPath,
// GetCurUserKeldornPath) are computed and created on first use and then cached for the life of
// the process: later calls never touch the disk, even when the folder was removed meanwhile.
// A folder that cannot be created is still returned; the caller's own file operation fails.
#ifndef KW_SERVICES_PATHS_H_
#define KW_SERVICES_PATHS_H_

#include <string>

namespace KWRDPub {

std::wstring GetInstallPath();
// Blanks trimmed at both ends, then separators at the right. With bCreate, a non-empty path
// whose folder is missing is created with its parents.
std::wstring GetWorkPath(bool bCreate);
std::wstring GetAppDataPath();
std::wstring GetCurUserLocalAppDataPath();
// GetAppDataPath() + "/Kaiwei/Keldorn", created on first use.
std::wstring GetAppDataKeldornPath();
// The per-user product folder, created on first use.
std::wstring GetCurUserKeldornPath();

// The current project: empty until set; stored and returned unchanged.
void SetCurPrjPath(const wchar_t* path);
std::wstring GetCurPrjPath();
void SetCurPrjName(const wchar_t* name);
std::wstring GetCurPrjName();

std::wstring GetSoftName();

}  // namespace KWRDPub

#endif  // KW_SERVICES_PATHS_H_
