// The KWRDPub layer helpers: name checks, lineweights, layer lists and display names.
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "common/encoding.h"
#include "common/format.h"
#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbsymtb.h"
#include "styles/LayerInfo.h"

namespace {

// The characters no layer or object name may hold, in the order the messages list them.
constexpr std::wstring_view kInvalidChars = L"<>/\\\":;?*|,=`";
constexpr size_t kMaxLayerNameLength = 50;

constexpr const wchar_t* kColorWords[] = {L"红色", L"黄色", L"绿色", L"青色",
                                          L"蓝色", L"洋红", L"白色"};

bool Refuse(HWND owner, const std::wstring& text) {
  MessageBoxW(owner, text.c_str(), L"凯维提示", MB_OK | MB_ICONINFORMATION);
  return false;
}

bool HasInvalidChar(const std::wstring& name) {
  return name.find_first_of(kInvalidChars) != std::wstring::npos;
}

AcCmColor ColorFromRgbText(const std::wstring& text) {
  const std::vector<std::wstring> parts = kw::Split(text, L',');
  auto component = [&parts](size_t i) {
    return static_cast<Adesk::UInt8>(i < parts.size() ? kw::WToI(parts[i]) : 255);
  };
  AcCmColor color;
  color.setRGB(component(0), component(1), component(2));
  return color;
}

}  // namespace

namespace KWRDPub {

bool CheckLayerName(const wchar_t* name, HWND owner) {
  const std::wstring trimmed = kw::Trim(kw::View(name));
  if (trimmed.empty()) return Refuse(owner, L"请填写图层名称!");
  if (kw::Utf16Length(trimmed) > kMaxLayerNameLength) {
    return Refuse(owner, kw::FormatW(L"图层名称:%s, \n长度超过50个字节, 请简化!", trimmed.c_str()));
  }
  if (HasInvalidChar(trimmed)) {
    return Refuse(owner, kw::FormatW(L"图层名称中:%s, 包含无效字符, 例如: %s, \n请检查图层名!",
                                     trimmed.c_str(), std::wstring(kInvalidChars).c_str()));
  }
  return true;
}

bool CheckObjName(const wchar_t* name, HWND owner) {
  const std::wstring trimmed = kw::Trim(kw::View(name));
  if (trimmed.empty()) return Refuse(owner, L"名称不能为空!");
  if (HasInvalidChar(trimmed)) {
    return Refuse(owner, kw::FormatW(L"名称中:%s, 包含无效字符, 例如: %s", trimmed.c_str(),
                                     std::wstring(kInvalidChars).c_str()));
  }
  return true;
}

bool SetLayerLineWeight(const wchar_t* layer, double mm) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  const double value = mm > 0 ? mm * 100 : mm;
  if (!db || !layer || !std::isfinite(value) || std::fabs(value) > 1e6) return false;
  AcDbObjectPointer<AcDbLayerTable> table(db->layerTableId(), AcDb::kForRead);
  AcDbObjectId id;
  if (table.openStatus() != Acad::eOk || table->getAt(layer, id) != Acad::eOk) return false;
  AcDbObjectPointer<AcDbLayerTableRecord> record(id, AcDb::kForWrite);
  if (record.openStatus() != Acad::eOk) return false;
  return record->setLineWeight(static_cast<AcDb::LineWeight>(static_cast<int>(value))) == Acad::eOk;
}

Acad::ErrorStatus GetAllLayerName(std::vector<std::wstring>& names, AcDbDatabase* db) {
  names.clear();
  if (!db) db = acdbHostApplicationServices()->workingDatabase();
  if (!db) return Acad::eNoDatabase;
  AcDbLayerTable* table = nullptr;
  const Acad::ErrorStatus es = db->getLayerTable(table, AcDb::kForRead);
  if (es != Acad::eOk) {
    acutPrintf(L"读取数据库出错,出错代码=%d", static_cast<int>(es));
    return es;
  }
  AcDbLayerTableIterator* it = nullptr;
  if (table->newIterator(it) == Acad::eOk) {
    for (; !it->done(); it->step()) {
      AcDbObjectId id;
      AcDbObjectPointer<AcDbLayerTableRecord> record;
      if (it->getRecordId(id) == Acad::eOk && record.open(id, AcDb::kForRead) == Acad::eOk &&
          !record->name().empty()) {
        names.push_back(record->name());
      }
    }
    delete it;
  }
  table->close();
  return Acad::eOk;
}

std::wstring GetLineWeightName(AcDb::LineWeight weight) {
  switch (weight) {
    case AcDb::kLnWtByLwDefault:
      return L"默认";
    case AcDb::kLnWtByBlock:
      return L"ByBlock";
    case AcDb::kLnWtByLayer:
      return L"ByLayer";
    default:
      return kw::FormatW(L"%.2f毫米", static_cast<int>(weight) / 100.0);
  }
}

std::wstring GetColorName(const AcCmColor& color) {
  if (color.isByLayer()) return L"ByLayer";
  if (color.isByBlock()) return L"ByBlock";
  if (color.isByACI()) {
    const int index = color.colorIndex();
    if (index == 256) return L"ByLayer";
    if (index == 0) return L"ByBlock";
    if (index >= 1 && index <= 7) return kColorWords[index - 1];
    return kw::FormatW(L"%d", index);
  }
  return kw::FormatW(L"%d,%d,%d", color.red(), color.green(), color.blue());
}

AcCmColor GetColorFromName(const wchar_t* name) {
  const std::wstring text(kw::View(name));
  AcCmColor color;
  if (kw::EqualsNoCase(text, L"ByLayer")) {
    color.setColorMethod(AcCmEntityColor::kByLayer);
    return color;
  }
  if (kw::EqualsNoCase(text, L"ByBlock")) {
    color.setColorMethod(AcCmEntityColor::kByBlock);
    return color;
  }
  for (int i = 0; i < 7; ++i) {
    if (kw::EqualsNoCase(text, kColorWords[i])) {
      color.setColorIndex(static_cast<Adesk::UInt16>(i + 1));
      return color;
    }
  }
  if (text.find(L',') != std::wstring::npos) return ColorFromRgbText(text);
  const unsigned value = static_cast<unsigned>(kw::WToI(text));
  if (value > 256) {
    color.setColor(value);
  } else {
    color.setColorIndex(static_cast<Adesk::UInt16>(value));
  }
  return color;
}

std::wstring GetLineTypeName(const AcDbObjectId& id) {
  AcDbObjectPointer<AcDbLinetypeTableRecord> record(id, AcDb::kForRead);
  if (record.openStatus() != Acad::eOk) return L"Continuous";
  return record->name();
}

}  // namespace KWRDPub
