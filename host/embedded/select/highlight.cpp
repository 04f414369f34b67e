// Highlighting of picked entities, through the host's redraw call.
#include "host/api/dbads.h"
#include "host/embedded/select/select.h"

namespace kwhost::select {

void Highlight(AcDbObjectId id, bool on) {
  ads_name name;
  if (acdbGetAdsName(name, id) == Acad::eOk) acedRedraw(name, on ? 3 : 4);
}

}  // namespace kwhost::select
