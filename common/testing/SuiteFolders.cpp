#include "common/testing/SuiteFolders.h"

#include <cstdlib>

namespace kwtest {

SuiteFolders::SuiteFolders(std::string_view prefix) : user_(prefix) {
  setenv("KWRD_USER_DIR", user_.path().c_str(), 1);
  setenv("KWRD_INSTALL_DIR", "/nonexistent/kwrdpub-test", 1);
}

}  // namespace kwtest
