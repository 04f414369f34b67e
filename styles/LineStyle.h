// CLineStyle: one linetype definition outside any drawing.
//
// A definition holds the linetype's name, description and comments, its pattern (scale-to-fit
// flag, pattern length, declared dash count) and, per dash, its length and the optional shape or
// text placed on it. The line style collection (styles/LineStyleCollection.h) keeps these
// values, writes them to its XML file and restores them into drawings as linetype records.
//
// Every per-dash list also exists as one text, the form the collection's file stores:
//   dash lengths, rotations, shape scales   decimals joined by ","
//   UCS-oriented flags, shape numbers       integers joined by ","
//   offsets                                 "x,y" pairs joined by ";"
//   shape styles                            joined by "|"
//   texts                                   joined by the double-quote character
// The separators are fixed: a text may hold commas, semicolons and bars, never a double quote.
// Decimals are written with at most 6 decimals (KWRDPub::FormatString(value, 6, false)).
//
// Parsing never fails: numbers that do not parse are 0 (the platform's _wtof/_wtoi), an offset
// piece that is not exactly two numbers is dropped. An empty text is an empty list, except that
// the shape style and text lists of a definition that declares exactly one dash read an empty
// text as that dash's one empty entry (the only list text that cannot show its own length).
// A definition whose lists disagree with its dash count is caught by IsOK, not by the setters.
//
// A value type: copies are independent; nothing is shared with a drawing.
#ifndef KW_STYLES_LINESTYLE_H_
#define KW_STYLES_LINESTYLE_H_

#include <string>
#include <vector>

#include "host/api/ge.h"

class AcDbLinetypeTableRecord;

class CLineStyle {
 public:
  CLineStyle() = default;
  CLineStyle(const CLineStyle&) = default;
  CLineStyle& operator=(const CLineStyle&) = default;
  ~CLineStyle() = default;

  // The name, stored upper case; a null name changes nothing.
  void SetStyle(const wchar_t* style);
  // Description and comments as given; null changes nothing.
  void SetDes(const wchar_t* des);
  void SetComments(const wchar_t* comments);
  void SetIsScaleToFit(int isScaleToFit) { m_nIsScaleToFit = isScaleToFit; }
  void SetNumDashes(int numDashes) { m_nNumDashes = numDashes; }
  void SetPatternLen(double patternLen) { m_dPatternLen = patternLen; }

  const std::wstring& GetStyle() const { return m_strStyle; }
  const std::wstring& GetDes() const { return m_strDes; }
  const std::wstring& GetComments() const { return m_strComments; }
  int GetIsScaleToFit() const { return m_nIsScaleToFit; }
  int GetNumDashes() const { return m_nNumDashes; }
  double GetPatternLen() const { return m_dPatternLen; }

  // Each list setter replaces its list with the one parsed from the text (null: emptied).
  void SetDashLen(const wchar_t* text);
  void SetShapeIsUcsOriented(const wchar_t* text);
  void SetShapeNumber(const wchar_t* text);
  void SetRotation(const wchar_t* text);
  void SetShapeScale(const wchar_t* text);
  void SetOffset(const wchar_t* text);
  void SetShapeStyle(const wchar_t* text);
  void SetText(const wchar_t* text);

  std::wstring GetDashLen() const;
  std::wstring GetShapeIsUcsOriented() const;
  std::wstring GetShapeNumber() const;
  std::wstring GetRotation() const;
  std::wstring GetShapeScale() const;
  std::wstring GetOffset() const;
  std::wstring GetShapeStyle() const;
  std::wstring GetText() const;

  // The per-dash lists themselves, for code that builds a linetype record from them.
  const std::vector<double>& DashLengths() const { return m_arrDashLen; }
  const std::vector<int>& ShapeIsUcsOrientedFlags() const { return m_arrShapeIsUcsOriented; }
  const std::vector<int>& ShapeNumbers() const { return m_arrShapeNumber; }
  const std::vector<AcGeVector2d>& Offsets() const { return m_arrOffset; }
  const std::vector<double>& Rotations() const { return m_arrRotation; }
  const std::vector<double>& ShapeScales() const { return m_arrShapeScale; }
  const std::vector<std::wstring>& ShapeStyles() const { return m_arrShapeStyle; }
  const std::vector<std::wstring>& Texts() const { return m_arrText; }

  // 1 when the name is not empty and every per-dash list has exactly the declared number of
  // dashes. Otherwise 0: silently for an empty name, else after printing on the command line
  // which list disagrees ("\nDashlen size (%d) less than %d." and its siblings; the wording says
  // "less than" for a longer list too).
  int IsOK() const;

  // Fills `style` from the working drawing's linetype `name`: 1 on success. "ByLayer",
  // "ByBlock" and "Continuous" (any case) give just the name as passed. 0, with `style` reset
  // to empty, when there is no drawing, its linetype table cannot be read or it has no such
  // linetype. The record's comments fill both the description and the comments.
  static int GetLineStyleDef(const wchar_t* name, CLineStyle& style);

 private:
  static std::wstring GetDoubleStr(const std::vector<double>& values);
  static std::wstring GetIntStr(const std::vector<int>& values);
  int GetDoubleList(const wchar_t* text, std::vector<double>& values) const;
  int GetIntList(const wchar_t* text, std::vector<int>& values) const;
  void SetStringList(const wchar_t* text, wchar_t separator, std::vector<std::wstring>& values);
  // Appends dash i of the record to every per-dash list.
  void AppendDash(const AcDbLinetypeTableRecord& record, int i);

  std::wstring m_strStyle;
  std::wstring m_strDes;
  std::wstring m_strComments;
  std::vector<double> m_arrDashLen;
  int m_nIsScaleToFit = 0;
  int m_nNumDashes = 0;
  double m_dPatternLen = 0.0;
  std::vector<int> m_arrShapeIsUcsOriented;
  std::vector<int> m_arrShapeNumber;
  std::vector<AcGeVector2d> m_arrOffset;
  std::vector<double> m_arrRotation;
  std::vector<double> m_arrShapeScale;
  std::vector<std::wstring> m_arrShapeStyle;
  std::vector<std::wstring> m_arrText;
};

#endif  // KW_STYLES_LINESTYLE_H_
