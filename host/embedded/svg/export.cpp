// Pictures of the current drawing: the frame the current view shows and kwhost::ExportSvg.
#include <algorithm>
#include <cmath>

#include "common/fileio.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/docs/docs.h"
#include "host/embedded/svg/draw.h"
#include "kwhost/embedded.h"

namespace kwhost::svg {

namespace {

constexpr int kScreenWide = 1280;
constexpr int kScreenHigh = 720;
constexpr double kMargin = 1.1;

// The extents of model space's live entities; false when none has any.
bool ModelExtents(AcDbDatabase& db, AcDbExtents* out) {
  AcDbBlockTable* table = nullptr;
  if (db.getBlockTable(table, AcDb::kForRead) != Acad::eOk) return false;
  AcDbObjectId spaceId;
  table->getAt(L"*Model_Space", spaceId);
  table->close();
  auto* space = AcDbBlockTableRecord::cast(db::Peek(spaceId));
  bool any = false;
  for (AcDbObjectId id : space ? db::BlockEntities(*space) : std::vector<AcDbObjectId>{}) {
    auto* e = AcDbEntity::cast(db::Peek(id));
    AcDbExtents ext;
    if (!e || e->isErased() || e->getGeomExtents(ext) != Acad::eOk) continue;
    AcGePoint3d lo = ext.minPoint(), hi = ext.maxPoint();
    if (any) {
      lo = AcGePoint3d(std::min(lo.x, out->minPoint().x), std::min(lo.y, out->minPoint().y), 0);
      hi = AcGePoint3d(std::max(hi.x, out->maxPoint().x), std::max(hi.y, out->maxPoint().y), 0);
    }
    out->set(lo, hi);
    any = true;
  }
  return any;
}

}  // namespace

Frame CurrentFrame(AcDbDatabase& db) {
  Frame frame;
  frame.pixelsWide = kScreenWide;
  frame.pixelsHigh = kScreenHigh;
  frame.toDisplay = [](const AcGePoint3d& p) { return p; };
  AcDbExtents ext;
  double width = 100.0 * kScreenWide / kScreenHigh, height = 100.0;
  if (ModelExtents(db, &ext)) {
    const AcGePoint3d& lo = ext.minPoint();
    const AcGePoint3d& hi = ext.maxPoint();
    frame.center = AcGePoint2d((lo.x + hi.x) / 2, (lo.y + hi.y) / 2);
    height = std::max({hi.y - lo.y, (hi.x - lo.x) * kScreenHigh / kScreenWide, 1e-6}) * kMargin;
    width = height * kScreenWide / kScreenHigh;
  }
  frame.width = width;
  frame.height = height;
  return frame;
}

}  // namespace kwhost::svg

namespace kwhost {

bool ExportSvg(const std::wstring& path, std::wstring* why) {
  AcApDocument* doc = docs::Docs().current;
  AcDbDatabase* db = doc ? doc->database() : nullptr;
  if (!db) {
    if (why) *why = L"no current drawing";
    return false;
  }
  const svg::Frame frame = svg::CurrentFrame(*db);
  std::vector<svg::Item> items = svg::Flatten(*db, frame.unitsPerPixel());
  items = svg::ApplyLinetypes(std::move(items), *db);
  if (!kw::Fs().WriteFileAtomic(path, svg::WriteSvg(items, frame))) {
    if (why) *why = L"cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace kwhost
