// Stand-in for the redraw service until it lands: acedRedraw keeps each entity's last mode.
#include <unordered_map>

#include "host/api/dbads.h"
#include "host/embedded/select/select.h"

namespace kwhost::select {

std::unordered_map<AcDbObjectId, int>& RedrawModes() {
  static std::unordered_map<AcDbObjectId, int> modes;
  return modes;
}

}  // namespace kwhost::select

int acedRedraw(const ads_name ent, int mode) {
  AcDbObjectId id;
  if (!ent) return RTNORM;
  if (acdbGetObjectId(id, ent) != Acad::eOk || mode < 1 || mode > 4) return RTERROR;
  kwhost::select::RedrawModes()[id] = mode;
  return RTNORM;
}
