// Text style definitions: FONTINFO, the plain record of one text style, and CFontInfo, which
// wraps it together with the XML element that holds it in the loaded "TextStyles.xml" and the
// style's mapped name. The collection of them is CFontCollection (styles/FontCollection.h).
#ifndef KW_STYLES_FONTINFO_H_
#define KW_STYLES_FONTINFO_H_

#include <string>
#include <string_view>

#include "persist/KWXMLDOM.h"

// Characters of each text field of FONTINFO, terminator included.
inline constexpr int kFontInfoTextLen = 261;

// One text style, copied by value. Text fields always hold a terminated string (a longer text
// is cut); numbers are as the drawing's text style record keeps them (angles in radians).
struct FONTINFO {
  wchar_t szBigFontFileName[kFontInfoTextLen];  // big-font (Asian) file
  wchar_t szFileName[kFontInfoTextLen];         // font or shape file
  wchar_t szTypeFace[kFontInfoTextLen];         // TrueType face name
  int bBold;
  int bItalic;
  int nCharSet;         // 134: the GB2312 set
  int nPitchAndFamily;  // the font's pitch-and-family byte
  int bVertical;
  double dObliquingAngle;
  double dPriorSize;                 // last height used
  double dTextSize;                  // fixed height, 0: variable
  double dXScale;                    // width factor
  wchar_t szName[kFontInfoTextLen];  // text style name
  int nFlagBit;                      // the host's generation flags (2 backwards, 4 upside down)
};

// A text style definition of the collection. Copies share the XML element (a DOM wrapper is a
// value referring to its node); the element is empty for a definition that no loaded document
// holds.
class CFontInfo {
 public:
  // An empty definition: every text empty, every number 0, edit state 2 (not yet written).
  CFontInfo();
  CFontInfo(const CFontInfo& other) = default;
  ~CFontInfo() = default;
  CFontInfo& operator=(const CFontInfo& other) = default;

  // The suite's default text style "KWStandard" (SIMKAI.TTF, "楷体_GB2312", charset 134, pitch
  // and family 49, prior size 149.394309, x scale 1, everything else empty or 0).
  static FONTINFO GetDefFont();
  // Fills `info` from the working database's text style `name` (each text cut to 255
  // characters): 1; 0 when there is no working database, its text style table does not open or
  // it has no style of that name (`info` is then untouched).
  static int GetTextStyleDef(const wchar_t* name, FONTINFO& info);
  // Copies text into a FONTINFO text field, cut to at most `limit` characters (and always to
  // what the field holds).
  static void SetText(wchar_t (&field)[kFontInfoTextLen], std::wstring_view text,
                      size_t limit = kFontInfoTextLen - 1);

  IKWXMLDOMNode m_node;  // the style's element in the loaded document (empty when none)
  int m_nEditState = 2;  // 2: not yet written to the document, 0: read from it
  FONTINFO m_info;
  std::wstring m_strMapStyle;  // the mapped style name, upper case
};

#endif  // KW_STYLES_FONTINFO_H_
