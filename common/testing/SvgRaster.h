// Renders an SVG file with an independent renderer (rsvg-convert, Debian's librsvg2-bin) and
// reads the pixels back, so that tests of pictures check what a person would see rather than
// the SVG text. Header-only; the test program links zlib (-lz).
//
//   kwtest::Raster image;
//   if (!kwtest::HaveSvgRenderer()) GTEST_SKIP() << "rsvg-convert is not installed";
//   ASSERT_TRUE(kwtest::RenderSvg("/tmp/x/a.svg", &image));
//   EXPECT_EQ(image.at(10, 20), (kwtest::Pixel{255, 0, 0}));
//
// Only 8-bit RGB and RGBA images without interlacing are read (what rsvg-convert writes);
// anything else is a failure.
#ifndef KW_COMMON_TESTING_SVGRASTER_H_
#define KW_COMMON_TESTING_SVGRASTER_H_

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kwtest {

struct Pixel {
  uint8_t r = 0, g = 0, b = 0;
  bool operator==(const Pixel&) const = default;
};

struct Raster {
  int width = 0, height = 0;
  std::vector<Pixel> pixels;  // rows from the top
  Pixel at(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};

inline bool HaveSvgRenderer() {
  return std::system("command -v rsvg-convert >/dev/null 2>&1") == 0;
}

namespace svgraster {

inline uint32_t Be32(const std::string& s, size_t at) {
  return (uint32_t(uint8_t(s[at])) << 24) | (uint32_t(uint8_t(s[at + 1])) << 16) |
         (uint32_t(uint8_t(s[at + 2])) << 8) | uint32_t(uint8_t(s[at + 3]));
}

inline int Paeth(int a, int b, int c) {
  const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
  return pa <= pb && pa <= pc ? a : (pb <= pc ? b : c);
}

// Undoes the per-row filters in place; false for an unknown filter.
inline bool Unfilter(std::vector<uint8_t>& data, int width, int height, int bpp) {
  const size_t stride = size_t(width) * bpp;
  for (int y = 0; y < height; ++y) {
    uint8_t* row = &data[y * (stride + 1)];
    const uint8_t* up = y > 0 ? row - (stride + 1) : nullptr;
    const int filter = row[0];
    for (size_t i = 1; i <= stride; ++i) {
      const int a = i > size_t(bpp) ? row[i - bpp] : 0, b = up ? up[i] : 0;
      const int c = up && i > size_t(bpp) ? up[i - bpp] : 0;
      const int add = filter == 0   ? 0
                      : filter == 1 ? a
                      : filter == 2 ? b
                      : filter == 3 ? (a + b) / 2
                      : filter == 4 ? Paeth(a, b, c)
                                    : -1;
      if (add < 0) return false;
      row[i] = uint8_t(row[i] + add);
    }
  }
  return true;
}

// Reads a PNG file: false when it is not one this reader takes.
inline bool ReadPng(const std::string& path, Raster* out) {
  std::ifstream in(path, std::ios::binary);
  std::string s((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (s.size() < 33 || s.compare(1, 3, "PNG") != 0) return false;
  std::string idat;
  int width = 0, height = 0, type = 0;
  for (size_t at = 8; at + 12 <= s.size();) {
    const uint32_t len = Be32(s, at);
    const std::string kind = s.substr(at + 4, 4);
    if (at + 12 + len > s.size()) return false;
    if (kind == "IHDR") {
      width = int(Be32(s, at + 8));
      height = int(Be32(s, at + 12));
      if (s[at + 16] != 8 || s[at + 20] != 0) return false;
      type = s[at + 17];
    }
    if (kind == "IDAT") idat += s.substr(at + 8, len);
    at += 12 + len;
  }
  const int bpp = type == 6 ? 4 : type == 2 ? 3 : 0;
  if (bpp == 0 || width <= 0 || height <= 0 || width > 20000 || height > 20000) return false;
  std::vector<uint8_t> data(size_t(height) * (size_t(width) * bpp + 1));
  uLongf size = data.size();
  if (uncompress(data.data(), &size, reinterpret_cast<const Bytef*>(idat.data()), idat.size()) !=
          Z_OK ||
      size != data.size() || !Unfilter(data, width, height, bpp)) {
    return false;
  }
  out->width = width;
  out->height = height;
  out->pixels.clear();
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = &data[y * (size_t(width) * bpp + 1) + 1];
    for (int x = 0; x < width; ++x) {
      const uint8_t* p = row + size_t(x) * bpp;
      const int alpha = bpp == 4 ? p[3] : 255;
      auto over = [alpha](int v) { return uint8_t((v * alpha + 255 * (255 - alpha)) / 255); };
      out->pixels.push_back({over(p[0]), over(p[1]), over(p[2])});
    }
  }
  return true;
}

}  // namespace svgraster

// Renders `svgPath` to "<svgPath>.png" beside it and reads it.
inline bool RenderSvg(const std::string& svgPath, Raster* out) {
  const std::string png = svgPath + ".png";
  const std::string command = "rsvg-convert -o '" + png + "' '" + svgPath + "' 2>/dev/null";
  return std::system(command.c_str()) == 0 && svgraster::ReadPng(png, out);
}

}  // namespace kwtest

#endif  // KW_COMMON_TESTING_SVGRASTER_H_
