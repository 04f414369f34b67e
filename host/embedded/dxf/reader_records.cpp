// The DXF reader's symbol table records: layers, linetypes (with their shapes and texts), text
// styles, views, viewports and block records.
#include <cmath>
#include <memory>

#include "host/embedded/dxf/internal/reader.h"

namespace kwhost::dxf {
namespace {

constexpr double kDegree = M_PI / 180.0;

const std::vector<std::string_view> kLayerMarkers = {"AcDbSymbolTableRecord",
                                                     "AcDbLayerTableRecord"};
const std::vector<std::string_view> kLinetypeMarkers = {"AcDbSymbolTableRecord",
                                                        "AcDbLinetypeTableRecord"};
const std::vector<std::string_view> kStyleMarkers = {"AcDbSymbolTableRecord",
                                                     "AcDbTextStyleTableRecord"};
const std::vector<std::string_view> kViewMarkers = {"AcDbSymbolTableRecord", "AcDbViewTableRecord"};
const std::vector<std::string_view> kViewportMarkers = {"AcDbSymbolTableRecord",
                                                        "AcDbViewportTableRecord"};
const std::vector<std::string_view> kBlockMarkers = {"AcDbSymbolTableRecord",
                                                     "AcDbBlockTableRecord"};

// The TrueType description a text style keeps in its "ACAD" extended data: typeface (1000)
// and flags (1071: italic 0x01000000, bold 0x02000000, charset in bits 8-15, pitch and
// family in bits 0-7). Taken out of the kept groups when it is exactly that.
void TakeFont(AcDbTextStyleTableRecord& style) {
  const db::KeptData* kept = db::Kept(style);
  if (!kept || kept->xdata.size() < 3) return;
  const db::Tags& x = kept->xdata;
  if (x[0].code != 1001 || x[0].value != "ACAD" || x[1].code != 1000 || x[2].code != 1071) return;
  if (x.size() > 3 && x[3].code != 1001) return;
  const auto flags = static_cast<uint32_t>(std::strtoll(x[2].value.c_str(), nullptr, 10));
  style.setFont(Wide(x[1].value).c_str(), (flags & 0x02000000) != 0, (flags & 0x01000000) != 0,
                static_cast<int>((flags >> 8) & 0xFF), static_cast<int>(flags & 0xFF), true);
  db::KeptData& mine = db::KeptFor(style);
  mine.xdata.erase(mine.xdata.begin(), mine.xdata.begin() + 3);
}

// The groups of a linetype's dash after its length (49): its shape or text. Styles are named
// by handle and resolved once every table is read.
bool DashField(AcDbLinetypeTableRecord& lt, int dash, const RawTag& t,
               std::vector<std::pair<int, uint64_t>>* styles) {
  switch (t.code) {
    case 74:
      return lt.setShapeIsUcsOrientedAt(dash, (t.integer & 1) != 0) == Acad::eOk;
    case 75:
      return lt.setShapeNumberAt(dash, static_cast<int>(t.integer)) == Acad::eOk;
    case 340: {
      uint64_t h = 0;
      if (!ParseHandle(t.text, &h)) return false;
      if (h != 0) styles->emplace_back(dash, h);  // 0: the dash names no style
      return true;
    }
    case 46:
      return lt.setShapeScaleAt(dash, t.real) == Acad::eOk;
    case 50:
      return lt.setShapeRotationAt(dash, t.real * kDegree) == Acad::eOk;
    case 44:
      return lt.setShapeOffsetAt(dash, {t.real, lt.shapeOffsetAt(dash).y}) == Acad::eOk;
    case 45:
      return lt.setShapeOffsetAt(dash, {lt.shapeOffsetAt(dash).x, t.real}) == Acad::eOk;
    case 9:
      return lt.setTextAt(dash, Wide(t.text).c_str()) == Acad::eOk;
    default:
      return false;
  }
}

// The view settings views and viewports share under the same groups.
bool ViewField(AcDbAbstractViewTableRecord& v, const RawTag& t) {
  switch (t.code) {
    case 40:
      return v.setHeight(t.real), true;
    case 42:
      return v.setLensLength(t.real), true;
    case 43:
      return v.setFrontClipDistance(t.real), true;
    case 44:
      return v.setBackClipDistance(t.real), true;
    case 71:
      v.setPerspectiveEnabled((t.integer & 1) != 0);
      v.setFrontClipEnabled((t.integer & 2) != 0);
      v.setBackClipEnabled((t.integer & 4) != 0);
      v.setFrontClipAtEye((t.integer & 16) == 0);
      return true;
    default:
      return false;
  }
}

void SetPoint2(AcGePoint2d& p, const RawTag& t, int base) {
  if (t.code == base) p.x = t.real;
  if (t.code == base + 10) p.y = t.real;
}

}  // namespace

AcDbSymbolTableRecord* Reader::MapRecord(std::string_view table, const Record& r, Identity* id) {
  if (table == "LAYER") return Layer(r, id);
  if (table == "LTYPE") return Linetype(r, id);
  if (table == "STYLE") return TextStyle(r, id);
  if (table == "VIEW") return View(r, id, false);
  if (table == "VPORT") return View(r, id, true);
  auto block = std::make_unique<AcDbBlockTableRecord>();
  if (!Walk(
          r, *block, kBlockMarkers, [](const RawTag& t) { return t.code == 2; }, id)) {
    return nullptr;
  }
  return block.release();
}

AcDbSymbolTableRecord* Reader::Layer(const Record& r, Identity* id) {
  auto layer = std::make_unique<AcDbLayerTableRecord>();
  AcDbLayerTableRecord& l = *layer;
  const auto field = [&](const RawTag& t) {
    switch (t.code) {
      case 2:
        return true;
      case 70:
        l.setIsFrozen((t.integer & 1) != 0);
        l.setIsLocked((t.integer & 4) != 0);
        return true;
      case 62: {
        AcCmColor c = l.color();
        if (c.setColorIndex(static_cast<Adesk::UInt16>(std::abs(t.integer))) != Acad::eOk) {
          return false;
        }
        l.setColor(c);
        l.setIsOff(t.integer < 0);
        return true;
      }
      case 420: {
        AcCmColor c;
        c.setRGB((t.integer >> 16) & 0xFF, (t.integer >> 8) & 0xFF, t.integer & 0xFF);
        l.setColor(c);
        return true;
      }
      case 6: {
        const auto found = linetypes_.find(FoldName(t.text));
        return found != linetypes_.end() && l.setLinetypeObjectId(found->second) == Acad::eOk;
      }
      case 290:
        l.setIsPlottable(t.integer != 0);
        return true;
      case 370:
        return l.setLineWeight(static_cast<AcDb::LineWeight>(t.integer)) == Acad::eOk;
      default:
        return false;
    }
  };
  return Walk(r, l, kLayerMarkers, field, id) ? layer.release() : nullptr;
}

AcDbSymbolTableRecord* Reader::Linetype(const Record& r, Identity* id) {
  auto linetype = std::make_unique<AcDbLinetypeTableRecord>();
  AcDbLinetypeTableRecord& lt = *linetype;
  int dash = -1;
  std::vector<std::pair<int, uint64_t>> styles;
  const auto field = [&](const RawTag& t) {
    switch (t.code) {
      case 2:
      case 70:
      case 72:
      case 73:
        return true;
      case 3:
        lt.setComments(Wide(t.text).c_str());
        return true;
      case 40:
        lt.setPatternLength(t.real);
        return true;
      case 49:
        if (lt.numDashes() >= 12000) return false;
        lt.setNumDashes(++dash + 1);
        lt.setDashLengthAt(dash, t.real);
        return true;
      default:
        break;
    }
    return dash >= 0 && DashField(lt, dash, t, &styles);
  };
  if (!Walk(r, lt, kLinetypeMarkers, field, id)) return nullptr;
  // The record has no id until the caller adds it; the styles are resolved after TABLES.
  pending_linetype_styles_ = std::move(styles);
  return linetype.release();
}

AcDbSymbolTableRecord* Reader::TextStyle(const Record& r, Identity* id) {
  auto style = std::make_unique<AcDbTextStyleTableRecord>();
  AcDbTextStyleTableRecord& s = *style;
  const auto field = [&](const RawTag& t) {
    switch (t.code) {
      case 2:
        return true;
      case 70:
        s.setIsShapeFile((t.integer & 1) != 0);
        s.setIsVertical((t.integer & 4) != 0);
        return true;
      case 40:
        return s.setTextSize(t.real) == Acad::eOk;
      case 41:
        return s.setXScale(t.real) == Acad::eOk;
      case 50:
        return s.setObliquingAngle(t.real * kDegree) == Acad::eOk;
      case 71:
        s.setFlagBits(static_cast<Adesk::UInt8>(t.integer));
        return true;
      case 42:
        return s.setPriorSize(t.real) == Acad::eOk;
      case 3:
        return s.setFileName(Wide(t.text).c_str()) == Acad::eOk;
      case 4:
        return s.setBigFontFileName(Wide(t.text).c_str()) == Acad::eOk;
      default:
        return false;
    }
  };
  if (!Walk(r, s, kStyleMarkers, field, id)) return nullptr;
  TakeFont(s);
  return style.release();
}

AcDbSymbolTableRecord* Reader::View(const Record& r, Identity* id, bool viewport) {
  std::unique_ptr<AcDbAbstractViewTableRecord> record;
  if (viewport) {
    record = std::make_unique<AcDbViewportTableRecord>();
  } else {
    record = std::make_unique<AcDbViewTableRecord>();
  }
  AcDbAbstractViewTableRecord& v = *record;
  AcGePoint2d center, lower{0, 0}, upper{1, 1};
  AcGePoint3d target;
  AcGeVector3d direction{0, 0, 1};
  double aspect = 1.0;
  // Viewports and views number their groups differently.
  const int c = viewport ? 12 : 10, dir = viewport ? 16 : 11, tgt = viewport ? 17 : 12;
  const int twist = viewport ? 51 : 50;
  const auto field = [&](const RawTag& t) {
    if (t.code == c || t.code == c + 10) return SetPoint2(center, t, c), true;
    if (viewport && (t.code == 10 || t.code == 20)) return SetPoint2(lower, t, 10), true;
    if (viewport && (t.code == 11 || t.code == 21)) return SetPoint2(upper, t, 11), true;
    if (t.code == dir) return direction.x = t.real, true;
    if (t.code == dir + 10) return direction.y = t.real, true;
    if (t.code == dir + 20) return direction.z = t.real, true;
    if (t.code == tgt) return target.x = t.real, true;
    if (t.code == tgt + 10) return target.y = t.real, true;
    if (t.code == tgt + 20) return target.z = t.real, true;
    if (t.code == twist) return v.setViewTwist(t.real * kDegree), true;
    if (t.code == 41) return aspect = t.real, true;
    if (t.code == 70 && !viewport) {
      static_cast<AcDbViewTableRecord&>(v).setIsPaperspaceView((t.integer & 1) != 0);
    }
    return t.code == 2 || t.code == 70 || ViewField(v, t);
  };
  if (!Walk(r, v, viewport ? kViewportMarkers : kViewMarkers, field, id)) return nullptr;
  v.setCenterPoint(center);
  v.setTarget(target);
  v.setViewDirection(direction);
  // A view stores its width (41); a viewport its aspect ratio (41 = width / height).
  v.setWidth(viewport ? v.height() * aspect : aspect);
  if (auto* vp = AcDbViewportTableRecord::cast(&v)) {
    vp->setLowerLeftCorner(lower);
    vp->setUpperRightCorner(upper);
  }
  return record.release();
}

bool Reader::ResolveShapeStyles() {
  for (const ShapeStyle& s : shape_styles_) {
    AcDbObjectId style;
    if (db_.getAcDbObjectId(style, false, AcDbHandle(s.style)) != Acad::eOk ||
        !AcDbTextStyleTableRecord::cast(db::Peek(style))) {
      return records_.FailAt(Record{"", s.line, {}},
                             "a linetype names a text style that does not exist");
    }
    auto* linetype = AcDbLinetypeTableRecord::cast(db::Peek(s.linetype));
    if (!linetype) continue;
    if (acdbOpenObject(linetype, s.linetype, AcDb::kForWrite) != Acad::eOk) continue;
    linetype->setShapeStyleAt(s.dash, style);
    linetype->close();
  }
  shape_styles_.clear();
  return true;
}

}  // namespace kwhost::dxf
