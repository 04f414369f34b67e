// The suite's folders for this test program: a fresh per-user folder (the trace log's "logo"
// folder goes there) and an installation folder without a companion program in it.
#include <cstdlib>
#include <string>

namespace {

const bool kFolders = [] {
  char dir[] = "/tmp/kwapptest-XXXXXX";
  if (mkdtemp(dir)) setenv("KWRD_USER_DIR", dir, 1);
  setenv("KWRD_INSTALL_DIR", "/nonexistent/kwrdpub-test", 1);
  return true;
}();

}  // namespace
