// Linetype patterns on paths: each patterned path becomes its dashes (dots as very short
// dashes), with the pattern's text and shape elements placed where their dash ends. A pattern
// too fine to show (more than kMaxDashesPerPath dashes on one path) is drawn solid.
#include <cmath>
#include <map>
#include <optional>

#include "common/fileio.h"
#include "common/text.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/linetypes/shapes.h"
#include "host/embedded/svg/draw.h"

namespace kwhost::svg {

namespace {

constexpr uint64_t kMaxShapeFileBytes = 4u << 20;

// The shape file's name in its other form (".shx" and ".shp" stand for each other).
std::wstring OtherForm(const std::wstring& name) {
  const std::wstring lower = kw::ToLower(name);
  const std::wstring stem = name.substr(0, name.size() >= 4 ? name.size() - 4 : 0);
  if (lower.ends_with(L".shx")) return stem + L".shp";
  if (lower.ends_with(L".shp")) return stem + L".shx";
  return name + L".shx";
}

// Distances along a path: the point and direction at any distance, and the piece between two.
class Walker {
 public:
  explicit Walker(const Item& item) : m_points(item.points) {
    if (item.closed && !m_points.empty()) m_points.push_back(m_points.front());
    m_at.push_back(0);
    for (size_t i = 1; i < m_points.size(); ++i) {
      m_at.push_back(m_at.back() + std::hypot(m_points[i].x - m_points[i - 1].x,
                                              m_points[i].y - m_points[i - 1].y));
    }
  }
  double length() const { return m_at.back(); }

  AcGePoint3d pointAt(double s, double* angle) const {
    const size_t i = segmentAt(s);
    const AcGePoint3d& a = m_points[i];
    const AcGePoint3d& b = m_points[i + 1];
    const double len = m_at[i + 1] - m_at[i];
    const double f = len > 0 ? (s - m_at[i]) / len : 0;
    if (angle) *angle = std::atan2(b.y - a.y, b.x - a.x);
    return {a.x + (b.x - a.x) * f, a.y + (b.y - a.y) * f, a.z + (b.z - a.z) * f};
  }

  std::vector<AcGePoint3d> piece(double from, double to) const {
    std::vector<AcGePoint3d> out{pointAt(from, nullptr)};
    for (size_t i = segmentAt(from) + 1; i < m_points.size() && m_at[i] < to; ++i) {
      out.push_back(m_points[i]);
    }
    out.push_back(pointAt(to, nullptr));
    return out;
  }

 private:
  // The segment holding distance s (the last one for s at or past the end).
  size_t segmentAt(double s) const {
    size_t lo = 0, hi = m_at.size() - 2;
    while (lo < hi) {
      const size_t mid = (lo + hi + 1) / 2;
      if (m_at[mid] <= s)
        lo = mid;
      else
        hi = mid - 1;
    }
    return lo;
  }
  std::vector<AcGePoint3d> m_points;
  std::vector<double> m_at;
};

class Patterner {
 public:
  Patterner(AcDbDatabase& db, double unitsPerPixel) : m_db(db), m_dot(unitsPerPixel) {}

  void apply(const Item& item, std::vector<Item>& out) {
    auto* lt = AcDbLinetypeTableRecord::cast(db::Peek(item.style.linetype));
    const double scale = item.style.linetypeScale;
    double cycle = 0;
    for (int i = 0; lt && i < lt->numDashes(); ++i) cycle += std::abs(lt->dashLengthAt(i));
    if (item.points.size() < 2 || !lt || !(cycle * scale > 0) || !std::isfinite(cycle * scale)) {
      return solid(item, out);
    }
    Walker walker(item);
    const double total = walker.length();
    if (total / (cycle * scale) * lt->numDashes() > double(kMaxDashesPerPath)) {
      return solid(item, out);
    }
    double s = 0;
    for (int i = 0; s < total; i = (i + 1) % lt->numDashes()) {
      const double len = lt->dashLengthAt(i) * scale;
      // A dot is drawn one pixel long, so that it shows.
      if (len >= 0) dash(walker, s, std::min(s + std::max(len, m_dot), total), item, out);
      s += std::abs(len);
      if (s <= total) element(*lt, i, walker, s, item, out);
    }
  }

 private:
  static void solid(const Item& item, std::vector<Item>& out) {
    out.push_back(item);
    out.back().style.linetype = AcDbObjectId();
  }

  static void dash(const Walker& walker, double from, double to, const Item& item,
                   std::vector<Item>& out) {
    Item piece;
    piece.points = walker.piece(from, to);
    piece.style = item.style;
    piece.style.linetype = AcDbObjectId();
    out.push_back(std::move(piece));
  }

  // The text or shape of dash i, placed at distance s.
  void element(const AcDbLinetypeTableRecord& lt, int i, const Walker& walker, double s,
               const Item& item, std::vector<Item>& out) {
    const wchar_t* text = nullptr;
    lt.textAt(i, text);
    const int shape = lt.shapeNumberAt(i);
    if ((!text || !*text) && shape == 0) return;
    double direction = 0;
    const AcGePoint3d at = walker.pointAt(s, &direction);
    const double scale = item.style.linetypeScale;
    const double size = lt.shapeScaleAt(i) * scale;
    const AcGeVector2d off = lt.shapeOffsetAt(i);
    const double c = std::cos(direction), sn = std::sin(direction);
    const AcGePoint3d origin(at.x + (off.x * c - off.y * sn) * scale,
                             at.y + (off.x * sn + off.y * c) * scale, at.z);
    const double rotation = lt.shapeRotationAt(i) + (lt.shapeIsUcsOrientedAt(i) ? 0 : direction);
    if (text && *text) {
      Item label;
      label.kind = Item::kText;
      label.points = {origin};
      label.text = text;
      label.height = size;
      label.rotation = rotation;
      label.style = item.style;
      label.style.linetype = AcDbObjectId();
      out.push_back(std::move(label));
      return;
    }
    shapeItems(lt.shapeStyleAt(i), shape, origin, size, rotation, item.style, out);
  }

  void shapeItems(AcDbObjectId styleId, int number, const AcGePoint3d& origin, double size,
                  double rotation, const Style& style, std::vector<Item>& out) {
    const linetypes::ShapeFile* file = shapeFile(styleId);
    if (!file) return;
    auto bytesOf = [file](int n) -> const std::string* {
      for (const linetypes::Shape& s : file->shapes) {
        if (s.number == n) return &s.bytes;
      }
      return nullptr;
    };
    const std::string* bytes = bytesOf(number);
    if (!bytes) return;
    const double c = std::cos(rotation) * size, sn = std::sin(rotation) * size;
    for (const auto& stroke : ShapeStrokes(*bytes, bytesOf)) {
      Item piece;
      for (const AcGePoint2d& p : stroke) {
        piece.points.emplace_back(origin.x + p.x * c - p.y * sn, origin.y + p.x * sn + p.y * c,
                                  origin.z);
      }
      piece.style = style;
      piece.style.linetype = AcDbObjectId();
      out.push_back(std::move(piece));
    }
  }

  // The shape file a shape style names, read once per picture; null when it can't be read.
  const linetypes::ShapeFile* shapeFile(AcDbObjectId styleId) {
    auto* style = AcDbTextStyleTableRecord::cast(db::Peek(styleId));
    const wchar_t* name = nullptr;
    if (!style || style->fileName(name) != Acad::eOk || !name || !*name) return nullptr;
    auto [it, added] = m_files.try_emplace(name);
    if (!added) return it->second ? &*it->second : nullptr;
    const wchar_t* drawing = nullptr;
    std::wstring folder;
    if (m_db.getFilename(drawing) == Acad::eOk && drawing) folder = kw::ParentOf(drawing);
    std::wstring path = editor::FindFile(name, folder);
    if (path.empty()) path = editor::FindFile(OtherForm(name), folder);
    std::string bytes;
    linetypes::ShapeFile file;
    if (!path.empty() && kw::Fs().ReadFile(path, &bytes, kMaxShapeFileBytes) &&
        linetypes::ReadShapeFile(bytes, &file)) {
      it->second = std::move(file);
    }
    return it->second ? &*it->second : nullptr;
  }

  AcDbDatabase& m_db;
  double m_dot;
  std::map<std::wstring, std::optional<linetypes::ShapeFile>> m_files;
};

}  // namespace

std::vector<Item> ApplyLinetypes(std::vector<Item> items, AcDbDatabase& db, double unitsPerPixel) {
  Patterner patterner(db, unitsPerPixel);
  std::vector<Item> out;
  out.reserve(items.size());
  size_t points = 0;
  for (Item& item : items) {
    const size_t before = out.size();
    if (item.kind != Item::kPath || item.style.linetype.isNull()) {
      out.push_back(std::move(item));
    } else {
      patterner.apply(item, out);
    }
    for (size_t i = before; i < out.size(); ++i) points += out[i].points.size();
    if (out.size() >= kMaxItems || points >= kMaxPoints) break;
  }
  return out;
}

}  // namespace kwhost::svg
