// Where the suite is installed: the one lookup of the running executable's folder and of the
// installation folder, for the library and the programs alike.
#ifndef KW_COMMON_INSTALL_H_
#define KW_COMMON_INSTALL_H_

#include <string>

namespace kw {

// The folder holding the running executable (from /proc/self/exe), without a trailing "/";
// "" when it cannot be read. Never the working folder: a caller that finds "" must not look
// for files relative to where it was started.
std::wstring ExecutableFolder();

// The installation folder: $KWRD_INSTALL_DIR when set and not empty, else ExecutableFolder();
// without trailing separators. "" only when neither is known.
std::wstring InstallFolder();

}  // namespace kw

#endif  // KW_COMMON_INSTALL_H_
