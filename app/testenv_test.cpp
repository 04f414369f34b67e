// The suite's folders for this test program: a fresh per-user folder (the trace log's "logo"
// folder goes there) and an installation folder without a companion program in it.
#include "common/testing/SuiteFolders.h"

namespace {

const kwtest::SuiteFolders kFolders("kwapptest");

}  // namespace
