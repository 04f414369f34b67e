// Pictures of the current drawing: the frame the current view shows and kwhost::ExportSvg.
#include "common/fileio.h"
#include "host/embedded/docs/docs.h"
#include "host/embedded/svg/draw.h"
#include "host/embedded/view/view.h"
#include "kwhost/embedded.h"

namespace kwhost::svg {

Frame CurrentFrame() {
  const view::View& shown = view::Current();
  Frame frame;
  frame.center = shown.center;
  frame.height = shown.height;
  frame.width = view::Width();
  frame.pixelsWide = view::Views().screenWidth;
  frame.pixelsHigh = view::Views().screenHeight;
  frame.toDisplay = [](const AcGePoint3d& p) { return view::WorldToDisplay(p); };
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
  const svg::Frame frame = svg::CurrentFrame();
  std::vector<svg::Item> items = svg::Flatten(*db, frame.unitsPerPixel());
  items = svg::ApplyLinetypes(std::move(items), *db, frame.unitsPerPixel());
  if (!kw::Fs().WriteFileAtomic(path, svg::WriteSvg(items, frame))) {
    if (why) *why = L"cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace kwhost
