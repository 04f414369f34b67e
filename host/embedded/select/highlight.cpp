// Highlighting of picked entities: the redraw service's highlight switch.
#include "host/embedded/redraw/redraw.h"
#include "host/embedded/select/select.h"

namespace kwhost::select {

void Highlight(AcDbObjectId id, bool on) {
  redraw::Set(id, redraw::kHighlighted, on);
}

}  // namespace kwhost::select
