// The whole public API of KWRDPub. A module of the suite includes this one header.
#ifndef KWRDPUB_KWRDPUB_H_
#define KWRDPUB_KWRDPUB_H_

// Host API used in the library's interfaces.
#include "host/api/adesk.h"
#include "host/api/array.h"
#include "host/api/dbid.h"
#include "host/api/ge.h"

// Common services: GUIDs, paths, file titles and number text, data providers.
#include "common/guid.h"
#include "services/FileUtils.h"
#include "services/RoadDataProviders.h"
#include "services/paths.h"

// ---------------------------------------------------------------- module entry (app/)
#include "app/AcRxArxApp.h"

// ---------------------------------------------------------------- messaging (msg/)
#include "msg/KWMsgTracker.h"
#include "msg/ModuleState.h"
#include "msg/MsgCallback.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"

// ---------------------------------------------------------------- binary persistence (persist/)
#include "host/api/dbfiler.h"
#include "persist/Model.h"
#include "persist/RDDwgFiler.h"
#include "persist/RoadObject.h"
#include "persist/RoadObjectBin.h"

// ---------------------------------------------------------------- XML persistence (persist/)
#include "persist/KWXMLDOM.h"
#include "persist/RDUserConfig.h"
#include "persist/RoadObjectXML.h"
#include "persist/XMLPrivateProfile.h"
#include "persist/XTPPropExchange.h"

// ---------------------------------------------------------------- views (editor/)
#include "editor/CadView.h"
// ---------------------------------------------------------------- flashing highlight (editor/)
#include "editor/Twinkle.h"
// ---------------------------------------------------------------- selection (editor/)
#include "editor/CFilterByClass.h"
#include "editor/KWSSGet.h"
#include "editor/KWSubentSel.h"
// ---------------------------------------------------------------- entity creation (editor/)
#include "editor/EntityCreation.h"
#include "msg/MessageReport.h"
// ---------------------------------------------------------------- line styles (styles/)
#include "styles/LineStyle.h"
#include "styles/LineStyleCollection.h"
// ---------------------------------------------------------------- text styles and layers (styles/)
#include "styles/FontCollection.h"
#include "styles/FontInfo.h"
#include "styles/LayerInfo.h"

#endif  // KWRDPUB_KWRDPUB_H_
