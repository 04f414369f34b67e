// CreatePline: a lightweight polyline through points, appended to model space.
#include <memory>

#include "editor/EntityCreation.h"
#include "editor/internal/ModelSpace.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbpl.h"

namespace {

// Closing repeats the first point only when the ends are farther apart than this: a polyline
// whose last point already meets the first would otherwise get a zero-length last segment.
constexpr double kCloseGap = 0.01;

bool EndsApart(const AcGePoint3dArray& points) {
  const AcGePoint3d& first = points.first();
  const AcGePoint3d& last = points.last();
  const ads_point a = {first.x, first.y, first.z};
  const ads_point b = {last.x, last.y, last.z};
  return acutDistance(a, b) > kCloseGap;
}

void AddVertices(AcDbPolyline& pline, const AcGePoint3dArray& points, int close, double width) {
  for (int i = 0; i < points.length(); ++i) {
    pline.addVertexAt(pline.numVerts(), AcGePoint2d(points[i].x, points[i].y), 0.0, width, width);
  }
  if (close != 0 && EndsApart(points)) {
    pline.addVertexAt(pline.numVerts(), AcGePoint2d(points[0].x, points[0].y), 0.0, width, width);
  }
}

// A linetype the drawing has not loaded yet (status 22) is loaded the way a user would, with
// the host's "Linetype" command from its default linetype file, and then set again.
void ApplyLinetype(AcDbPolyline& pline, const wchar_t* linetype) {
  if (!linetype || !*linetype) return;
  if (pline.setLinetype(linetype) != Acad::eKeyNotFound) return;
  acedCommand(RTSTR, L"Linetype", RTSTR, L"L", RTSTR, linetype, RTSTR, L"", RTSTR, L"", RTNONE);
  pline.setLinetype(linetype);
}

int CreatePlineUnguarded(const AcGePoint3dArray& points, AcDbObjectId& id, int close,
                         const wchar_t* linetype, double linetypeScale, double width,
                         short colorIndex) {
  if (points.isEmpty()) {
    acutPrintf(L"\n创建Polyline错误！");
    return 0;
  }
  auto pline = std::make_unique<AcDbPolyline>(static_cast<unsigned>(points.length()) + 1);
  AddVertices(*pline, points, close, width);
  ApplyLinetype(*pline, linetype);
  pline->setLinetypeScale(linetypeScale);
  pline->setColorIndex(static_cast<Adesk::UInt16>(colorIndex));
  switch (kweditor::AppendToModelSpace(pline.get(), id)) {
    case kweditor::AppendResult::kAppended:
      (void)pline.release();  // the database owns it now
      return 1;
    case kweditor::AppendResult::kNoBlockTable:
      acutPrintf(L"\n取块表记录错误！");
      return 0;
    case kweditor::AppendResult::kNoModelSpace:
      acutPrintf(L"\n取模型空间记录错误！");
      return 0;
    case kweditor::AppendResult::kNotAppended:
      break;
  }
  acutPrintf(L"\n添加实体错误！");
  return 0;
}

}  // namespace

int CreatePline(AcGePoint3dArray points, AcDbObjectId& id, int close, const wchar_t* linetype,
                double linetypeScale, double width, short colorIndex) {
  try {
    return CreatePlineUnguarded(points, id, close, linetype, linetypeScale, width, colorIndex);
  } catch (...) {
    acutPrintf(L"\nCreatePline error.");
    return 0;
  }
}
