// The suite's folders for this test program: a fresh per-user folder (the trace log's "logo"
// folder goes there, removed when the program ends) and an installation folder without a
// companion program in it.
#include <cstdlib>
#include <string>

#include "common/testing/TempDir.h"

namespace {

const kwtest::TempDir kUserDir("kwmsgtest");

const bool kFolders = [] {
  setenv("KWRD_USER_DIR", kUserDir.path().c_str(), 1);
  setenv("KWRD_INSTALL_DIR", "/nonexistent/kwrdpub-test", 1);
  return true;
}();

}  // namespace
