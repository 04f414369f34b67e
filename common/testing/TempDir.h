// A fresh, private temporary folder for a test group: made under /tmp when the object is made,
// removed with everything in it when the object goes. Tests arrange their files in it and never
// clean up by hand.
//
// The folder is always under /tmp (not $TMPDIR): the folder checks of the per-user settings
// look at every folder above, and /tmp is the one whose owner and mode every machine agrees on.
//
// Only the process that made the folder removes it: a death test's forked child that ends with
// exit() leaves its parent's folder alone.
#ifndef KW_COMMON_TESTING_TEMPDIR_H_
#define KW_COMMON_TESTING_TEMPDIR_H_

#include <sys/types.h>

#include <string>
#include <string_view>

namespace kwtest {

class TempDir {
 public:
  // Makes /tmp/<prefix>-XXXXXX (mode 0700). A folder that cannot be made ends the program with
  // a message on stderr: no test could arrange its world without it.
  explicit TempDir(std::string_view prefix = "kwtest");
  // Removes the folder and everything in it (in the process that made it).
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // The folder, UTF-8, without a trailing "/".
  const std::string& path() const { return path_; }
  std::wstring wpath() const;
  // A path inside the folder: path() + "/" + name.
  std::string At(std::string_view name) const;
  std::wstring WAt(std::wstring_view name) const;

 private:
  std::string path_;
  pid_t owner_;
};

}  // namespace kwtest

#endif  // KW_COMMON_TESTING_TEMPDIR_H_
