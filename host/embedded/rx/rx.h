// The run-time class service: the class dictionary and the storage of the system registry.
// Both live for the whole process: modules cache class pointers, so a session reset keeps
// every class and takes out only the registry entries that others stored.
//
// Invariants:
//   1. A pinned entry (a service's shared object) stays in the registry for the life of the
//      process; Reset() removes and deletes every entry that is not pinned.
#ifndef KW_HOST_EMBEDDED_RX_RX_H_
#define KW_HOST_EMBEDDED_RX_RX_H_

#include "host/api/rx.h"

namespace kwhost::rx {

// The system registry's dictionary (acrxSysRegistry adds the pinned entries on first use).
AcRxDictionary& Registry();
// Stores obj under key for the life of the process. The registry does not own it.
void Pin(const wchar_t* key, AcRxObject* obj);
// Removes and deletes every registry entry that is not pinned.
void Reset();

}  // namespace kwhost::rx

#endif  // KW_HOST_EMBEDDED_RX_RX_H_
