// The suite's folders for one test program, set when the program starts: a fresh per-user folder
// in KWRD_USER_DIR (removed when the program ends) and, in KWRD_INSTALL_DIR, an installation
// folder that does not exist, so that no test finds a companion program or settings of the
// machine's own installation.
//
// Define one at namespace scope in a file of the program:
//   const kwtest::SuiteFolders kFolders("kwapptest");
// It sets the variables during static initialisation; code that reads them in another file's
// static initialiser may run before it.
#ifndef KW_COMMON_TESTING_SUITEFOLDERS_H_
#define KW_COMMON_TESTING_SUITEFOLDERS_H_

#include <string_view>

#include "common/testing/TempDir.h"

namespace kwtest {

class SuiteFolders {
 public:
  // Makes /tmp/<prefix>-XXXXXX and points KWRD_USER_DIR at it.
  explicit SuiteFolders(std::string_view prefix);

  // The per-user folder.
  const TempDir& user() const { return user_; }

 private:
  TempDir user_;
};

}  // namespace kwtest

#endif  // KW_COMMON_TESTING_SUITEFOLDERS_H_
