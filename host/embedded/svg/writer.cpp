// Drawing items to an SVG document: world points through the frame into pixels (y down), one
// element per item; highlighted items get a translucent blue halo underneath.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string_view>

#include "common/encoding.h"
#include "host/embedded/svg/draw.h"

namespace kwhost::svg {

namespace {

constexpr const char* kHalo = "#3399ff";
constexpr double kMaxPixel = 1e6;

// Appends each part in turn (no temporary strings joined with "+").
template <class... Parts>
void Append(std::string& out, const Parts&... parts) {
  (out.append(std::string_view(parts)), ...);
}

std::string Hex(const Rgb& c) {
  char text[8];
  std::snprintf(text, sizeof text, "#%02x%02x%02x", c.r, c.g, c.b);
  return text;
}

std::string Number(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", std::clamp(v, -kMaxPixel, kMaxPixel));
  return text;
}

std::string Escaped(const std::wstring& text) {
  std::string out;
  for (char c : kw::ToUtf8(text)) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '&':
        out += "&amp;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

class Writer {
 public:
  explicit Writer(const Frame& frame) : m_frame(frame) {
    m_left = frame.center.x - frame.width / 2;
    m_top = frame.center.y + frame.height / 2;
    m_upp = frame.unitsPerPixel();
  }

  std::string document(const std::vector<Item>& items) {
    const std::string w = std::to_string(m_frame.pixelsWide);
    const std::string h = std::to_string(m_frame.pixelsHigh);
    Append(m_out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n",
           "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"", w, "\" height=\"", h,
           "\" viewBox=\"0 0 ", w, " ", h, "\">\n<rect width=\"", w, "\" height=\"", h,
           "\" fill=\"#ffffff\"/>\n");
    for (const Item& item : items) write(item);
    m_out += "</svg>\n";
    return std::move(m_out);
  }

 private:
  // The item's points in pixels; false when one is not finite.
  bool pixels(const Item& item, std::vector<AcGePoint2d>& out) const {
    for (const AcGePoint3d& p : item.points) {
      const AcGePoint3d d = m_frame.toDisplay(p);
      const double x = (d.x - m_left) / m_upp, y = (m_top - d.y) / m_upp;
      if (!std::isfinite(x) || !std::isfinite(y)) return false;
      out.emplace_back(x, y);
    }
    return !out.empty();
  }

  static std::string PathData(const std::vector<AcGePoint2d>& points, bool closed) {
    std::string d;
    for (size_t i = 0; i < points.size(); ++i) {
      Append(d, i == 0 ? "M" : " L", Number(points[i].x), " ", Number(points[i].y));
    }
    if (closed) d += " Z";
    return d;
  }

  void write(const Item& item) {
    std::vector<AcGePoint2d> points;
    if (!pixels(item, points)) return;
    if (item.kind == Item::kText) return text(item, points[0]);
    const std::string d = PathData(points, item.closed);
    if (item.style.highlighted) {
      Append(m_out, "<path d=\"", d, "\" fill=\"none\" stroke=\"", kHalo,
             "\" stroke-opacity=\"0.6\" stroke-width=\"7\" stroke-linecap=\"round\" "
             "stroke-linejoin=\"round\"/>\n");
    }
    const std::string color = Hex(item.style.color);
    if (item.kind == Item::kArea) {
      Append(m_out, "<path d=\"", d, "\" fill=\"", color, "\" stroke=\"", color,
             "\" stroke-width=\"0.5\"/>\n");
      return;
    }
    Append(m_out, "<path d=\"", d, "\" fill=\"none\" stroke=\"", color,
           "\" stroke-width=\"1.5\" stroke-linecap=\"round\" stroke-linejoin=\"round\"/>\n");
  }

  void text(const Item& item, const AcGePoint2d& at) {
    const double size = item.height / m_upp;
    if (!std::isfinite(size) || size <= 0 || item.text.empty()) return;
    const char* anchors[] = {"start", "middle", "end"};
    const std::string x = Number(at.x), y = Number(at.y);
    std::string common;
    Append(common, "<text x=\"", x, "\" y=\"", y, "\" font-family=\"sans-serif\" font-size=\"",
           Number(size * 1.4), "\" text-anchor=\"", anchors[item.anchor], "\" transform=\"rotate(",
           Number(-item.rotation * 180 / std::numbers::pi), " ", x, " ", y, ")\"");
    std::string body;
    Append(body, ">", Escaped(item.text), "</text>\n");
    if (item.style.highlighted) {
      Append(m_out, common, " fill=\"", kHalo, "\" stroke=\"", kHalo,
             "\" stroke-opacity=\"0.6\" stroke-width=\"5\"", body);
    }
    Append(m_out, common, " fill=\"", Hex(item.style.color), "\"", body);
  }

  const Frame& m_frame;
  double m_left = 0, m_top = 0, m_upp = 1;
  std::string m_out;
};

}  // namespace

std::string WriteSvg(const std::vector<Item>& items, const Frame& frame) {
  Writer writer(frame);
  return writer.document(items);
}

}  // namespace kwhost::svg
