#include "common/testing/TempDir.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "common/fileio.h"

namespace kwtest {

TempDir::TempDir(std::string_view prefix) : owner_(::getpid()) {
  std::string pattern = "/tmp/" + std::string(prefix) + "-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    std::fprintf(stderr, "TempDir: cannot make %s\n", pattern.c_str());
    std::abort();
  }
  path_ = pattern;
}

TempDir::~TempDir() {
  if (::getpid() != owner_) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::wstring TempDir::wpath() const {
  return kw::WidePath(path_);
}

std::string TempDir::At(std::string_view name) const {
  return path_ + "/" + std::string(name);
}

std::wstring TempDir::WAt(std::wstring_view name) const {
  return kw::JoinPath(wpath(), name);
}

}  // namespace kwtest
