#include "styles/FontInfo.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"

namespace {

// The drawing keeps texts of any length; a definition keeps at most this many characters.
constexpr size_t kDrawingTextLimit = 255;

// Takes a malloc'd copy handed out by the host.
std::wstring TakeHostText(wchar_t* text) {
  std::wstring result = text ? text : L"";
  free(text);
  return result;
}

void CopyRecord(const AcDbTextStyleTableRecord& record, FONTINFO& info) {
  info = FONTINFO{};
  CFontInfo::SetText(info.szName, record.name(), kDrawingTextLimit);
  const wchar_t* text = nullptr;
  record.bigFontFileName(text);
  CFontInfo::SetText(info.szBigFontFileName, text ? text : L"", kDrawingTextLimit);
  record.fileName(text);
  CFontInfo::SetText(info.szFileName, text ? text : L"", kDrawingTextLimit);
  wchar_t* typeface = nullptr;
  bool bold = false;
  bool italic = false;
  record.font(typeface, bold, italic, info.nCharSet, info.nPitchAndFamily);
  CFontInfo::SetText(info.szTypeFace, TakeHostText(typeface), kDrawingTextLimit);
  info.bBold = bold ? 1 : 0;
  info.bItalic = italic ? 1 : 0;
  info.nFlagBit = record.flagBits();
  info.bVertical = record.isVertical() ? 1 : 0;
  info.dObliquingAngle = record.obliquingAngle();
  info.dPriorSize = record.priorSize();
  info.dTextSize = record.textSize();
  info.dXScale = record.xScale();
}

}  // namespace

CFontInfo::CFontInfo() : m_info{} {}

void CFontInfo::SetText(wchar_t (&field)[kFontInfoTextLen], std::wstring_view text, size_t limit) {
  const size_t n = std::min({text.size(), limit, size_t{kFontInfoTextLen - 1}});
  std::copy_n(text.data(), n, field);
  field[n] = L'\0';
}

FONTINFO CFontInfo::GetDefFont() {
  FONTINFO info{};
  SetText(info.szName, L"KWStandard");
  SetText(info.szFileName, L"SIMKAI.TTF");
  SetText(info.szTypeFace, L"楷体_GB2312");
  info.nCharSet = 134;
  info.nPitchAndFamily = 49;
  info.dPriorSize = 149.394309;
  info.dXScale = 1.0;
  return info;
}

int CFontInfo::GetTextStyleDef(const wchar_t* name, FONTINFO& info) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  if (!db || !name) return 0;
  AcDbTextStyleTable* table = nullptr;
  if (db->getTextStyleTable(table, AcDb::kForRead) != Acad::eOk) return 0;
  AcDbTextStyleTableRecord* record = nullptr;
  const Acad::ErrorStatus es = table->getAt(name, record, AcDb::kForRead);
  table->close();
  if (es != Acad::eOk) return 0;
  CopyRecord(*record, info);
  record->close();
  return 1;
}
