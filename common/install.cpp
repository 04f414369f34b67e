#include "common/install.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "common/fileio.h"

namespace kw {

std::wstring ExecutableFolder() {
  char buf[PATH_MAX];
  const ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return std::wstring();
  return ParentOf(WidePath(std::string(buf, static_cast<size_t>(n))));
}

std::wstring InstallFolder() {
  const char* dir = std::getenv("KWRD_INSTALL_DIR");
  return TrimSeparatorsRight((dir && *dir) ? WidePath(dir) : ExecutableFolder());
}

}  // namespace kw
