// The whole public API of KWRDPub. A module of the suite includes this one header.
#ifndef KWRDPUB_KWRDPUB_H_
#define KWRDPUB_KWRDPUB_H_

// Host API used in the library's interfaces.
#include "host/api/adesk.h"
#include "host/api/array.h"
#include "host/api/dbid.h"
#include "host/api/ge.h"

// Common services: GUIDs, paths, file titles and number text, data providers.
#include "common/FileUtils.h"
#include "common/RoadDataProviders.h"
#include "common/guid.h"
#include "common/paths.h"

// ---------------------------------------------------------------- module entry (app/)


// ---------------------------------------------------------------- messaging (msg/)
#include "msg/MsgCallback.h"


// ---------------------------------------------------------------- binary persistence (persist/)


// ---------------------------------------------------------------- XML persistence (persist/)


// ---------------------------------------------------------------- styles and editor


#endif  // KWRDPUB_KWRDPUB_H_
