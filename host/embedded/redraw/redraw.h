// The redraw service: what acedRedraw did to each entity of the view, and how often the whole
// view was refreshed.
//
// States of an entity (two independent switches, as the platform pairs its modes):
//   drawn      -> hidden       by mode 2; back by mode 1
//   plain      -> highlighted  by mode 3; back by mode 4
// Invariants:
//   1. An entity missing from `flags`, or held there with 0, is drawn and not highlighted (an
//      entry stays once made, so that blinking entities cost no allocation per redraw).
//   2. A whole-view refresh changes no entity's state (hidden and highlighted entities stay
//      so, as the platform's REDRAW leaves them); it only counts.
//   3. Reset() forgets every entity and sets both counters to 0.
#ifndef KW_HOST_EMBEDDED_REDRAW_REDRAW_H_
#define KW_HOST_EMBEDDED_REDRAW_REDRAW_H_

#include <cstdint>
#include <unordered_map>

#include "host/api/dbid.h"

namespace kwhost::redraw {

enum Flag : uint8_t { kHidden = 1, kHighlighted = 2 };

struct State {
  std::unordered_map<AcDbObjectId, uint8_t> flags;
  int64_t viewRefreshes = 0;
  int64_t entityRedraws = 0;
};

State& Redraw();
// The switches of one entity (0 when it is drawn plainly).
uint8_t FlagsOf(AcDbObjectId id);
bool IsHidden(AcDbObjectId id);
bool IsHighlighted(AcDbObjectId id);
// Turns one switch of an entity on or off (the service's own acedRedraw and the host's
// selection use it; no checks on the id).
void Set(AcDbObjectId id, Flag flag, bool on);
// A new session's state: every entity drawn plainly, no refreshes counted.
void Reset();

}  // namespace kwhost::redraw

#endif  // KW_HOST_EMBEDDED_REDRAW_REDRAW_H_
