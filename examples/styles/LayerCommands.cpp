// The layer commands:
//   LAYERSET   creates or updates layers from descriptors typed one per line,
//              "NAME|LINETYPE|COLOUR|LINEWEIGHT|STATES"; Enter ends. Fields left out or empty
//              keep the layer's present value (a new layer: Continuous, colour 7, the default
//              lineweight, thawed, unlocked, on). COLOUR is a colour word, ByLayer/ByBlock, an
//              index or "R,G,B"; LINEWEIGHT is in millimetres or ByLayer/ByBlock/默认; STATES
//              holds the letters F (frozen), L (locked) and O (off), "-" for none.
//   LAYERLIST  lists the drawing's layers with their colour, linetype, lineweight and states
#include <string>
#include <utility>
#include <vector>

#include "common/text.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/dbmain.h"
#include "host/api/editor.h"
#include "styles/LayerInfo.h"

namespace kwstyles {
namespace {

std::wstring StatesText(const CLayerInfo& info) {
  std::wstring text;
  if (info.m_bFrozen) text += L" 冻结";
  if (info.m_bLocked) text += L" 锁定";
  if (info.m_bOff) text += L" 关闭";
  return text;
}

void PrintLayer(const wchar_t* lead, const std::wstring& name) {
  const CLayerInfo info(name.c_str(), true);
  acutPrintf(L"\n%s%s  颜色:%s  线型:%s  线宽:%s%s", lead, name.c_str(),
             KWRDPub::GetColorName(info.m_color).c_str(), info.m_strLineType.c_str(),
             KWRDPub::GetLineWeightName(info.m_lineWeight).c_str(), StatesText(info).c_str());
}

// The lineweight a text stands for (a name, or millimetres rounded to hundredths); false when
// it is none.
bool ParseLineWeight(const std::wstring& text, AcDb::LineWeight* weight) {
  static const std::pair<const wchar_t*, AcDb::LineWeight> kNames[] = {
      {L"ByLayer", AcDb::kLnWtByLayer},
      {L"ByBlock", AcDb::kLnWtByBlock},
      {L"Default", AcDb::kLnWtByLwDefault},
      {L"默认", AcDb::kLnWtByLwDefault}};
  for (const auto& [name, value] : kNames) {
    if (kw::EqualsNoCase(text, name)) {
      *weight = value;
      return true;
    }
  }
  if (text.find_first_not_of(L"+-.0123456789") != std::wstring::npos ||
      text.find_first_of(L"0123456789") == std::wstring::npos) {
    return false;
  }
  const double mm = kw::WToF(text);
  const double value = mm > 0 ? mm * 100 + 0.5 : mm;
  if (!(value > -4 && value < 1000)) return false;
  *weight = static_cast<AcDb::LineWeight>(static_cast<int>(value));
  return acdbIsValidLineWeight(*weight);
}

// Sets the states from the letters F, L, O (any case), or none for "-"; false for any other
// letter.
bool ParseStates(const std::wstring& text, CLayerInfo* info) {
  info->m_bFrozen = info->m_bLocked = info->m_bOff = false;
  if (text == L"-") return true;
  for (wchar_t c : kw::ToUpper(text)) {
    switch (c) {
      case L'F':
        info->m_bFrozen = true;
        break;
      case L'L':
        info->m_bLocked = true;
        break;
      case L'O':
        info->m_bOff = true;
        break;
      default:
        return false;
    }
  }
  return true;
}

// Applies the optional fields (linetype, colour, lineweight, states); false after a message
// when one of them is not understood.
bool ApplyFields(const std::vector<std::wstring>& fields, CLayerInfo* info) {
  auto field = [&fields](size_t i) { return i < fields.size() ? kw::Trim(fields[i]) : L""; };
  if (!field(1).empty()) info->m_strLineType = field(1);
  if (!field(2).empty()) info->m_color = KWRDPub::GetColorFromName(field(2).c_str());
  if (!field(3).empty() && !ParseLineWeight(field(3), &info->m_lineWeight)) {
    acutPrintf(L"\n无效线宽: %s", field(3).c_str());
    return false;
  }
  if (!field(4).empty() && !ParseStates(field(4), info)) {
    acutPrintf(L"\n无效状态: %s (可用 F 冻结, L 锁定, O 关闭, - 无)", field(4).c_str());
    return false;
  }
  return true;
}

void SetLayerFrom(const std::wstring& descriptor) {
  const std::vector<std::wstring> fields = kw::Split(descriptor, L'|');
  const std::wstring name = kw::Trim(fields[0]);
  if (!KWRDPub::CheckLayerName(name.c_str(), adsw_acadMainWnd())) return;
  CLayerInfo info(name.c_str(), true);
  if (!ApplyFields(fields, &info)) return;
  // A linetype that the lookup had to load from a standard file is taken by a second call.
  if (info.LayerId().isNull() || info.LayerId().isNull()) {
    acutPrintf(L"\n无法设置图层 %s.", name.c_str());
    return;
  }
  PrintLayer(L"图层 ", name);
}

void LayerSetCommand() {
  std::wstring line;
  while (AskLine(L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: ", &line) && !line.empty()) {
    SetLayerFrom(line);
  }
}

void LayerListCommand() {
  std::vector<std::wstring> names;
  if (KWRDPub::GetAllLayerName(names) != Acad::eOk) return;
  acutPrintf(L"\n共 %d 个图层", static_cast<int>(names.size()));
  for (const std::wstring& name : names) PrintLayer(L"", name);
}

}  // namespace

void RegisterLayerCommands(const wchar_t* group) {
  acedRegCmds()->addCommand(group, L"LAYERSET", L"LAYERSET", ACRX_CMD_MODAL, &LayerSetCommand);
  acedRegCmds()->addCommand(group, L"LAYERLIST", L"LAYERLIST", ACRX_CMD_MODAL, &LayerListCommand);
}

}  // namespace kwstyles
