// acedRedraw: an entity's hidden and highlighted switches, and the whole-view refresh.
#include "host/embedded/redraw/redraw.h"

#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/embedded/db/kept.h"
#include "kwhost/embedded.h"

namespace kwhost::redraw {

namespace {

// The state, reached without the dynamic symbol table: acedRedraw is called once per entity on
// every tick of a flashing highlight.
State& TheState() {
  static State state;
  return state;
}

}  // namespace

State& Redraw() {
  return TheState();
}

uint8_t FlagsOf(AcDbObjectId id) {
  const auto& flags = TheState().flags;
  auto it = flags.find(id);
  return it == flags.end() ? 0 : it->second;
}

bool IsHidden(AcDbObjectId id) {
  return (FlagsOf(id) & kHidden) != 0;
}

bool IsHighlighted(AcDbObjectId id) {
  return (FlagsOf(id) & kHighlighted) != 0;
}

void Set(AcDbObjectId id, Flag flag, bool on) {
  auto& flags = TheState().flags;
  if (on) {
    flags[id] |= flag;
    return;
  }
  auto it = flags.find(id);
  if (it != flags.end()) it->second &= static_cast<uint8_t>(~flag);
}

void Reset() {
  TheState() = State();
}

}  // namespace kwhost::redraw

namespace {

// The live entity an ads_name names, or the null id.
AcDbObjectId LiveEntity(const ads_name ent) {
  AcDbObjectId id;
  if (acdbGetObjectId(id, ent) != Acad::eOk) return AcDbObjectId();
  const AcDbObject* object = kwhost::db::Peek(id);
  if (!AcDbEntity::cast(object) || object->isErased()) return AcDbObjectId();
  return id;
}

}  // namespace

int acedRedraw(const ads_name ent, int mode) {
  using namespace kwhost::redraw;
  State& state = TheState();
  if (!ent) {
    ++state.viewRefreshes;
    return RTNORM;
  }
  if (mode < 0 || mode > 4) return RTERROR;
  AcDbObjectId id = LiveEntity(ent);
  if (id.isNull()) return RTERROR;
  if (mode == 0) return RTNORM;
  ++state.entityRedraws;
  if (mode == 1 || mode == 2) Set(id, kHidden, mode == 2);
  if (mode == 3 || mode == 4) Set(id, kHighlighted, mode == 3);
  return RTNORM;
}

namespace kwhost {

RedrawState EntityRedrawState(AcDbObjectId id) {
  const uint8_t flags = redraw::FlagsOf(id);
  return RedrawState{(flags & redraw::kHidden) != 0, (flags & redraw::kHighlighted) != 0};
}

int64_t ViewRefreshCount() {
  return redraw::Redraw().viewRefreshes;
}

int64_t EntityRedrawCount() {
  return redraw::Redraw().entityRedraws;
}

}  // namespace kwhost
