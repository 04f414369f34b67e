// EditDemo's view command.
//   EDITZOOM  makes two points visible, widening the current view by a margin only when one of
//             them is outside it (CadView::acs_zm2pt); then prints the view window's corners.
#include "editor/CadView.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/acutads.h"

namespace editdemo {

void ZoomCommand() {
  AcGePoint3d first, second;
  if (GetPoint(L"\n第一点: ", &first) != RTNORM) return;
  if (GetPoint(L"\n第二点: ", &second) != RTNORM) return;
  const bool changed = CadView::acs_zm2pt(first, second) != 0;
  double low[3] = {0, 0, 0};
  double high[3] = {0, 0, 0};
  CadView::screenpt(low, high);
  acutPrintf(changed ? L"\n视图已调整: (%g,%g) - (%g,%g)" : L"\n两点都在视图中: (%g,%g) - (%g,%g)",
             low[0], low[1], high[0], high[1]);
}

}  // namespace editdemo
