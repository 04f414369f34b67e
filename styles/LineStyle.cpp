#include "styles/LineStyle.h"

#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "services/FileUtils.h"

namespace {

constexpr wchar_t kListSeparator = L',';
constexpr wchar_t kOffsetSeparator = L';';
constexpr wchar_t kShapeStyleSeparator = L'|';
constexpr wchar_t kTextSeparator = L'"';

std::wstring DecimalText(double value) {
  return KWRDPub::FormatString(value, 6, false);
}

// The pieces of a list text: none for an empty text, else one per separator plus one.
std::vector<std::wstring> Pieces(const wchar_t* text, wchar_t separator) {
  if (kw::SafeLength(text) == 0) return {};
  return kw::Split(text, separator);
}

template <class T>
bool SizeAgrees(const std::vector<T>& values, int count, const wchar_t* message) {
  if (static_cast<long long>(values.size()) == count) return true;
  acutPrintf(message, static_cast<int>(values.size()), count);
  return false;
}

bool IsPlainName(const wchar_t* name) {
  return kw::EqualsNoCase(kw::View(name), L"ByLayer") ||
         kw::EqualsNoCase(kw::View(name), L"ByBlock") ||
         kw::EqualsNoCase(kw::View(name), L"Continuous");
}

// The shape file's name of a shape dash, or the text style's name of any other dash; "" when
// the dash has no style or it cannot be read.
std::wstring ShapeStyleName(AcDbObjectId styleId, int shapeNumber) {
  if (styleId.isNull()) return {};
  AcDbTextStyleTableRecord* record = nullptr;
  if (acdbOpenObject(record, styleId, AcDb::kForRead) != Acad::eOk) return {};
  const wchar_t* name = nullptr;
  Acad::ErrorStatus es = shapeNumber != 0 ? record->fileName(name) : record->getName(name);
  std::wstring result = (es == Acad::eOk && name) ? name : L"";
  record->close();
  return result;
}

}  // namespace

void CLineStyle::SetStyle(const wchar_t* style) {
  if (style) m_strStyle = kw::ToUpper(style);
}

void CLineStyle::SetDes(const wchar_t* des) {
  if (des) m_strDes = des;
}

void CLineStyle::SetComments(const wchar_t* comments) {
  if (comments) m_strComments = comments;
}

void CLineStyle::SetDashLen(const wchar_t* text) {
  m_arrDashLen.clear();
  GetDoubleList(text, m_arrDashLen);
}

void CLineStyle::SetShapeIsUcsOriented(const wchar_t* text) {
  m_arrShapeIsUcsOriented.clear();
  GetIntList(text, m_arrShapeIsUcsOriented);
}

void CLineStyle::SetShapeNumber(const wchar_t* text) {
  m_arrShapeNumber.clear();
  GetIntList(text, m_arrShapeNumber);
}

void CLineStyle::SetRotation(const wchar_t* text) {
  m_arrRotation.clear();
  GetDoubleList(text, m_arrRotation);
}

void CLineStyle::SetShapeScale(const wchar_t* text) {
  m_arrShapeScale.clear();
  GetDoubleList(text, m_arrShapeScale);
}

void CLineStyle::SetOffset(const wchar_t* text) {
  m_arrOffset.clear();
  for (const std::wstring& piece : Pieces(text, kOffsetSeparator)) {
    std::vector<double> xy;
    if (GetDoubleList(piece.c_str(), xy) == 2) m_arrOffset.emplace_back(xy[0], xy[1]);
  }
}

void CLineStyle::SetShapeStyle(const wchar_t* text) {
  SetStringList(text, kShapeStyleSeparator, m_arrShapeStyle);
}

void CLineStyle::SetText(const wchar_t* text) {
  SetStringList(text, kTextSeparator, m_arrText);
}

void CLineStyle::SetStringList(const wchar_t* text, wchar_t separator,
                               std::vector<std::wstring>& values) {
  values = Pieces(text, separator);
  if (values.empty() && text && m_nNumDashes == 1) values.emplace_back();
}

std::wstring CLineStyle::GetDashLen() const {
  return GetDoubleStr(m_arrDashLen);
}

std::wstring CLineStyle::GetShapeIsUcsOriented() const {
  return GetIntStr(m_arrShapeIsUcsOriented);
}

std::wstring CLineStyle::GetShapeNumber() const {
  return GetIntStr(m_arrShapeNumber);
}

std::wstring CLineStyle::GetRotation() const {
  return GetDoubleStr(m_arrRotation);
}

std::wstring CLineStyle::GetShapeScale() const {
  return GetDoubleStr(m_arrShapeScale);
}

std::wstring CLineStyle::GetOffset() const {
  std::wstring text;
  for (size_t i = 0; i < m_arrOffset.size(); ++i) {
    if (i > 0) text += kOffsetSeparator;
    text += DecimalText(m_arrOffset[i].x) + kListSeparator + DecimalText(m_arrOffset[i].y);
  }
  return text;
}

std::wstring CLineStyle::GetShapeStyle() const {
  std::wstring text;
  for (size_t i = 0; i < m_arrShapeStyle.size(); ++i) {
    if (i > 0) text += kShapeStyleSeparator;
    text += m_arrShapeStyle[i];
  }
  return text;
}

std::wstring CLineStyle::GetText() const {
  std::wstring text;
  for (size_t i = 0; i < m_arrText.size(); ++i) {
    if (i > 0) text += kTextSeparator;
    text += m_arrText[i];
  }
  return text;
}

std::wstring CLineStyle::GetDoubleStr(const std::vector<double>& values) {
  std::wstring text;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i > 0) text += kListSeparator;
    text += DecimalText(values[i]);
  }
  return text;
}

std::wstring CLineStyle::GetIntStr(const std::vector<int>& values) {
  std::wstring text;
  for (size_t i = 0; i < values.size(); ++i) {
    if (i > 0) text += kListSeparator;
    text += std::to_wstring(values[i]);
  }
  return text;
}

int CLineStyle::GetDoubleList(const wchar_t* text, std::vector<double>& values) const {
  const std::vector<std::wstring> pieces = Pieces(text, kListSeparator);
  for (const std::wstring& piece : pieces) values.push_back(kw::WToF(piece));
  return static_cast<int>(pieces.size());
}

int CLineStyle::GetIntList(const wchar_t* text, std::vector<int>& values) const {
  const std::vector<std::wstring> pieces = Pieces(text, kListSeparator);
  for (const std::wstring& piece : pieces) values.push_back(kw::WToI(piece));
  return static_cast<int>(pieces.size());
}

int CLineStyle::IsOK() const {
  if (m_strStyle.empty()) return 0;
  const int n = m_nNumDashes;
  const bool ok =
      SizeAgrees(m_arrDashLen, n, L"\nDashlen size (%d) less than %d.") &&
      SizeAgrees(m_arrShapeIsUcsOriented, n, L"\nShapeUcsInfo size (%d) less than %d.") &&
      SizeAgrees(m_arrShapeNumber, n, L"\nShapeNumber size (%d) less than %d.") &&
      SizeAgrees(m_arrOffset, n, L"\nOffset size (%d) less than %d.") &&
      SizeAgrees(m_arrRotation, n, L"\nRotation size (%d) less than %d.") &&
      SizeAgrees(m_arrShapeScale, n, L"\nShapeScale size (%d) less than %d.") &&
      SizeAgrees(m_arrShapeStyle, n, L"\nShapeStyle size (%d) less than %d.") &&
      SizeAgrees(m_arrText, n, L"\nText size (%d) less than %d.");
  return ok ? 1 : 0;
}

int CLineStyle::GetLineStyleDef(const wchar_t* name, CLineStyle& style) {
  style = CLineStyle();
  if (IsPlainName(name)) {
    style.m_strStyle = name;
    return 1;
  }
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbLinetypeTable* table = nullptr;
  if (!db || !name || db->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return 0;
  AcDbLinetypeTableRecord* record = nullptr;
  const Acad::ErrorStatus es = table->getAt(name, record, AcDb::kForRead);
  table->close();
  if (es != Acad::eOk) return 0;
  style.m_strStyle = name;
  const wchar_t* comments = nullptr;
  if (record->comments(comments) == Acad::eOk && comments) {
    style.m_strDes = style.m_strComments = comments;
  }
  style.m_nIsScaleToFit = record->isScaledToFit() ? 1 : 0;
  style.m_dPatternLen = record->patternLength();
  style.m_nNumDashes = record->numDashes();
  for (int i = 0; i < style.m_nNumDashes; ++i) style.AppendDash(*record, i);
  record->close();
  return 1;
}

void CLineStyle::AppendDash(const AcDbLinetypeTableRecord& record, int i) {
  m_arrDashLen.push_back(record.dashLengthAt(i));
  m_arrShapeNumber.push_back(record.shapeNumberAt(i));
  m_arrOffset.push_back(record.shapeOffsetAt(i));
  m_arrRotation.push_back(record.shapeRotationAt(i));
  m_arrShapeScale.push_back(record.shapeScaleAt(i));
  m_arrShapeIsUcsOriented.push_back(record.shapeIsUcsOrientedAt(i) ? 1 : 0);
  m_arrShapeStyle.push_back(ShapeStyleName(record.shapeStyleAt(i), record.shapeNumberAt(i)));
  const wchar_t* text = nullptr;
  m_arrText.push_back(record.textAt(i, text) == Acad::eOk && text ? text : L"");
}
