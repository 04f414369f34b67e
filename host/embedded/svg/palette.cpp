// The 255-colour index palette: seven named colours, two greys, 24 hues in five shades each
// full and half saturated, and six greys from dark to white.
#include <cmath>

#include "host/embedded/svg/draw.h"

namespace kwhost::svg {

namespace {

constexpr Rgb kNamed[] = {{0, 0, 0},       {255, 0, 0},    {255, 255, 0}, {0, 255, 0},
                          {0, 255, 255},   {0, 0, 255},    {255, 0, 255}, {0, 0, 0},
                          {128, 128, 128}, {192, 192, 192}};
constexpr uint8_t kGreys[] = {51, 91, 132, 173, 214, 255};
// Brightness of the five shades of each hue.
constexpr double kShades[] = {1.0, 0.8, 0.6, 0.5, 0.3};

uint8_t Channel(double value) {
  return static_cast<uint8_t>(std::floor(value));
}

// Hue in degrees, brightness and saturation as the palette's hue rows use them.
Rgb FromHsv(double hue, double value, double saturation) {
  const double max = 255.0 * value;
  const double min = max * (1.0 - saturation);
  const int sector = static_cast<int>(hue / 60.0) % 6;
  const double f = (hue - 60.0 * static_cast<int>(hue / 60.0)) / 60.0;
  const double rising = min + (max - min) * f;
  const double falling = max - (max - min) * f;
  const double table[6][3] = {{max, rising, min},  {falling, max, min}, {min, max, rising},
                              {min, falling, max}, {rising, min, max},  {max, min, falling}};
  return {Channel(table[sector][0]), Channel(table[sector][1]), Channel(table[sector][2])};
}

}  // namespace

Rgb PaletteColor(int index) {
  if (index >= 1 && index <= 9) return kNamed[index];
  if (index >= 250 && index <= 255) {
    const uint8_t g = kGreys[index - 250];
    return {g, g, g};
  }
  if (index < 10 || index > 249) return {0, 0, 0};
  const int row = (index - 10) / 10;
  const int column = index % 10;
  return FromHsv(row * 15.0, kShades[column / 2], column % 2 == 0 ? 1.0 : 0.5);
}

}  // namespace kwhost::svg
