// The shared object's process detach: runs after the host's last message (at dlclose or at
// process exit). Attach has nothing to set up in this build: every singleton is created on
// first use.
#include "app/RDPubApp.h"

namespace {

__attribute__((destructor)) void DetachProcess() {
  CRDPubApp::ProcessDetach();
}

}  // namespace
