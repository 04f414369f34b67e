// Colours of drawing objects: AcCmColor (a method and a value in one 32-bit word, as the
// platform packs it) and the colour methods.
//
// Raw layout (color()/setColor()): bits 24-31 the method, bits 0-23 the value: the colour index
// for kByACI, red (16-23), green (8-15) and blue (0-7) for kByColor, nothing for kByLayer and
// kByBlock. A default colour is ByLayer. Colours are plain values, copied freely.
#ifndef KW_HOST_API_DBCOLOR_H_
#define KW_HOST_API_DBCOLOR_H_

#include <cstdint>

#include "host/api/adesk.h"

class AcCmEntityColor {
 public:
  enum ColorMethod : Adesk::UInt8 {
    kByLayer = 0xC0,
    kByBlock = 0xC1,
    kByColor = 0xC2,
    kByACI = 0xC3,
    kByPen = 0xC4,
    kForeground = 0xC5,
    kLayerOff = 0xC6,
    kLayerFrozen = 0xC7,
    kNone = 0xC8,
  };
  // Colour indexes with a meaning of their own.
  enum ACIcolorMethod : Adesk::UInt16 {
    kACIbyBlock = 0,
    kACIRed = 1,
    kACIYellow = 2,
    kACIGreen = 3,
    kACICyan = 4,
    kACIBlue = 5,
    kACIMagenta = 6,
    kACIforeground = 7,
    kACIbyLayer = 256,
  };
};

class AcCmColor {
 public:
  AcCmColor() = default;

  AcCmEntityColor::ColorMethod colorMethod() const {
    return static_cast<AcCmEntityColor::ColorMethod>(m_rgbm >> 24);
  }
  // eOk; eInvalidInput for a value that is not one of the methods (the colour is unchanged).
  Acad::ErrorStatus setColorMethod(AcCmEntityColor::ColorMethod method);

  bool isByLayer() const;
  bool isByBlock() const;
  bool isByColor() const { return colorMethod() == AcCmEntityColor::kByColor; }
  bool isByACI() const { return colorMethod() == AcCmEntityColor::kByACI; }
  void setByLayer() { m_rgbm = Pack(AcCmEntityColor::kByLayer, 0); }
  void setByBlock() { m_rgbm = Pack(AcCmEntityColor::kByBlock, 0); }

  // The colour as an index: 256 for ByLayer, 0 for ByBlock, the index for kByACI, 7 for a true
  // colour (the index nearest to it is not looked up) and for the other methods.
  Adesk::UInt16 colorIndex() const;
  // 0 makes the colour ByBlock, 256 ByLayer, 1-255 that index: eOk. Any other value:
  // eInvalidInput and the colour is unchanged.
  Acad::ErrorStatus setColorIndex(Adesk::UInt16 index);

  // A true colour (kByColor). eOk.
  Acad::ErrorStatus setRGB(Adesk::UInt8 red, Adesk::UInt8 green, Adesk::UInt8 blue);
  // The components of a true colour; 0 for the other methods.
  Adesk::UInt8 red() const;
  Adesk::UInt8 green() const;
  Adesk::UInt8 blue() const;

  // The raw word, exactly as stored.
  Adesk::UInt32 color() const { return m_rgbm; }
  // Stores the raw word as given (whatever method its top byte names). eOk.
  Acad::ErrorStatus setColor(Adesk::UInt32 rgbm) {
    m_rgbm = rgbm;
    return Acad::eOk;
  }

  bool operator==(const AcCmColor& other) const = default;

 private:
  static Adesk::UInt32 Pack(AcCmEntityColor::ColorMethod method, Adesk::UInt32 value) {
    return (static_cast<Adesk::UInt32>(method) << 24) | (value & 0xFFFFFF);
  }
  Adesk::UInt32 m_rgbm = Adesk::UInt32{AcCmEntityColor::kByLayer} << 24;
};

#endif  // KW_HOST_API_DBCOLOR_H_
