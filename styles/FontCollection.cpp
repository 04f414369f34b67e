#include "styles/FontCollection.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "common/format.h"
#include "common/text.h"
#include "host/api/acutads.h"
#include "services/paths.h"

namespace {

// The child elements of a "TextStyle" element, in the order they are written.
enum class Kind { kText, kBool, kByte, kDouble, kPositive, kNotNegative };
struct Field {
  const wchar_t* name;
  Kind kind;
};
constexpr Field kFields[] = {
    {L"BigFontFileName", Kind::kText},  {L"FileName", Kind::kText},
    {L"TypeFace", Kind::kText},         {L"ObliquingAngle", Kind::kDouble},
    {L"PriorSize", Kind::kNotNegative}, {L"TextSize", Kind::kNotNegative},
    {L"XScale", Kind::kPositive},       {L"CharSet", Kind::kByte},
    {L"FlagBit", Kind::kByte},          {L"IsBold", Kind::kBool},
    {L"IsItalic", Kind::kBool},         {L"IsVerTical", Kind::kBool},
    {L"PitchAndFamily", Kind::kByte},
};
constexpr size_t kFieldCount = std::size(kFields);

// Whether a value read from a file is one the drawing can take. Numbers are converted as the
// platform converts them (_wtoi / _wtof); an out-of-range integer saturates and is refused here.
bool Acceptable(Kind kind, const std::wstring& text) {
  const int i = kw::WToI(text);
  const double d = kw::WToF(text);
  switch (kind) {
    case Kind::kText:
      return true;
    case Kind::kBool:
      return i == 0 || i == 1;
    case Kind::kByte:
      return i >= 0 && i <= 255;
    case Kind::kDouble:
      return std::isfinite(d);
    case Kind::kPositive:
      return std::isfinite(d) && d > 0;
    case Kind::kNotNegative:
      return std::isfinite(d) && d >= 0;
  }
  return false;
}

// The values of one definition, by field, as text.
std::vector<std::wstring> FieldTexts(const FONTINFO& f) {
  auto real = [](double v) { return kw::FormatW(L"%f", v); };
  auto whole = [](int v) { return kw::FormatW(L"%d", v); };
  return {f.szBigFontFileName,     f.szFileName,      f.szTypeFace,     real(f.dObliquingAngle),
          real(f.dPriorSize),      real(f.dTextSize), real(f.dXScale),  whole(f.nCharSet),
          whole(f.nFlagBit),       whole(f.bBold),    whole(f.bItalic), whole(f.bVertical),
          whole(f.nPitchAndFamily)};
}

void SetFields(FONTINFO& f, const std::vector<std::wstring>& v) {
  CFontInfo::SetText(f.szBigFontFileName, v[0]);
  CFontInfo::SetText(f.szFileName, v[1]);
  CFontInfo::SetText(f.szTypeFace, v[2]);
  f.dObliquingAngle = kw::WToF(v[3]);
  f.dPriorSize = kw::WToF(v[4]);
  f.dTextSize = kw::WToF(v[5]);
  f.dXScale = kw::WToF(v[6]);
  f.nCharSet = kw::WToI(v[7]);
  f.nFlagBit = kw::WToI(v[8]);
  f.bBold = kw::WToI(v[9]);
  f.bItalic = kw::WToI(v[10]);
  f.bVertical = kw::WToI(v[11]);
  f.nPitchAndFamily = kw::WToI(v[12]);
}

// The distinct upper-case names, first occurrence kept.
std::vector<std::wstring> DistinctKeys(const std::vector<std::wstring>& names) {
  std::vector<std::wstring> keys;
  for (const std::wstring& name : names) {
    std::wstring key = kw::ToUpper(name);
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
  }
  return keys;
}

}  // namespace

CFontCollection* CFontCollection::m_sp = nullptr;

std::wstring CFontCollection::GetDefaultFile() {
  return KWRDPub::GetCurPrjPath() + L"/Styles/TextStyles.xml";
}

const wchar_t* const CFontCollection::c_szTemplate =
    L"<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<TextStyles>\n</TextStyles>\n";

CFontCollection* CFontCollection::GetInstance() {
  if (!m_sp) {
    m_sp = new CFontCollection();
    m_sp->Load(L"");
  }
  return m_sp;
}

void CFontCollection::Destroy() {
  delete m_sp;
  m_sp = nullptr;
}

int CFontCollection::GetValue(const IKWXMLDOMNode& node, const wchar_t* path, std::wstring& value) {
  IKWXMLDOMNode found = node.selectSingleNode(path);
  if (found.IsEmpty()) return 0;
  value = found.GetText();
  return 1;
}

int CFontCollection::Load(const wchar_t* path) {
  m_mapFont.Clear();
  m_mapAutoRestore.Clear();
  m_strFile = kw::SafeLength(path) ? std::wstring(path) : GetDefaultFile();
  m_doc = IKWXMLDOMDocument();
  m_root = IKWXMLDOMElement();
  if (!kw::FileExists(m_strFile)) return -1;
  IKWXMLDOMDocument doc;
  if (!doc.CreateDispatch() || !doc.load(m_strFile.c_str())) return -1;
  IKWXMLDOMElement root = doc.GetDocumentElement();
  if (root.GetTagName() != L"TextStyles") return -1;
  m_doc = doc;
  m_root = root;
  for (const IKWXMLDOMNode& child : root.GetChildNodes()) {
    IKWXMLDOMElement element(child);
    if (!element.IsEmpty() && element.GetTagName() == L"TextStyle") LoadElement(element);
  }
  return static_cast<int>(m_mapFont.Size());
}

bool CFontCollection::LoadElement(const IKWXMLDOMElement& element) {
  const std::wstring name = element.getAttribute(L"Name").value_or(L"");
  std::vector<std::wstring> values(kFieldCount);
  for (size_t i = 0; i < kFieldCount; ++i) {
    if (!GetValue(element, kFields[i].name, values[i])) return false;
  }
  for (size_t i = 0; i < kFieldCount; ++i) {
    if (!Acceptable(kFields[i].kind, values[i])) {
      acutPrintf(L"\n文字样式文件 %s 中字型 %s 的 %s 值 \"%s\" 无效, 已跳过该字型.",
                 m_strFile.c_str(), name.c_str(), kFields[i].name, values[i].c_str());
      return false;
    }
  }
  const std::wstring key = kw::ToUpper(name);
  if (key.empty()) return false;
  CFontInfo info;
  info.m_node = element;
  info.m_nEditState = 0;
  info.m_strMapStyle = kw::ToUpper(element.getAttribute(L"MapStyle").value_or(L""));
  CFontInfo::SetText(info.m_info.szName, name);
  SetFields(info.m_info, values);
  m_mapFont.Set(key, info);
  if (kw::WToI(element.getAttribute(L"AutoRestore").value_or(L"")) == 1) {
    m_mapAutoRestore.Set(key, 1);
  }
  return true;
}

void CFontCollection::AppendChildNode(IKWXMLDOMNode& parent, const wchar_t* name,
                                      const wchar_t* text) {
  IKWXMLDOMElement child = parent.GetOwnerDocument().createElement(name);
  child.SetText(text);
  parent.appendChild(child);
}

void CFontCollection::AddFont(CFontInfo& info, int autoRestore) {
  IKWXMLDOMElement element = m_doc.createElement(L"TextStyle");
  m_root.appendChild(element);
  element.setAttribute(L"Name", info.m_info.szName);
  element.setAttribute(L"MapStyle", info.m_strMapStyle.c_str());
  element.setAttribute(L"AutoRestore", autoRestore ? L"1" : L"0");
  const std::vector<std::wstring> texts = FieldTexts(info.m_info);
  for (size_t i = 0; i < kFieldCount; ++i)
    AppendChildNode(element, kFields[i].name, texts[i].c_str());
  info.m_node = element;
}

int CFontCollection::Save() {
  IKWXMLDOMDocument doc;
  if (!doc.CreateDispatch() || !doc.loadXML(c_szTemplate)) return 0;
  m_doc = doc;
  m_root = doc.GetDocumentElement();
  for (const std::wstring& key : Keys()) {
    CFontInfo info = *m_mapFont.Find(key);
    AddFont(info, m_mapAutoRestore.Find(key) ? 1 : 0);
    m_mapFont.Set(key, info);
  }
  const std::wstring folder = kw::ParentOf(m_strFile);
  if (!folder.empty() && !kw::Fs().IsDirectory(folder)) kw::CreateDirectories(folder);
  return m_doc.save(m_strFile.c_str()) ? 1 : 0;
}

int CFontCollection::AppendFont(const CFontInfo& info, int autoRestore) {
  const std::wstring key = kw::ToUpper(info.m_info.szName);
  if (key.empty()) return 0;
  CFontInfo stored = info;
  if (const CFontInfo* present = m_mapFont.Find(key)) stored.m_node = present->m_node;
  m_mapFont.Set(key, stored);
  if (autoRestore) {
    m_mapAutoRestore.Set(key, 1);
  } else {
    m_mapAutoRestore.Remove(key);
  }
  return 1;
}

int CFontCollection::AppendFont(const wchar_t* name, bool bSave) {
  CFontInfo info;
  const std::wstring key = kw::ToUpper(kw::View(name));
  if (!CFontInfo::GetTextStyleDef(key.c_str(), info.m_info)) return 0;
  if (!AppendFont(info, 1)) return 0;
  return bSave ? Save() : 1;
}

int CFontCollection::RemoveFont(const wchar_t* name, bool bSave) {
  const std::wstring key = kw::ToUpper(kw::View(name));
  if (!m_mapFont.Remove(key)) return 1;
  m_mapAutoRestore.Remove(key);
  return bSave ? Save() : 1;
}

void CFontCollection::CopyNamed(const CFontCollection& from,
                                const std::vector<std::wstring>& keys) {
  for (const std::wstring& key : keys) {
    const CFontInfo* info = from.m_mapFont.Find(key);
    if (!info) continue;
    CFontInfo copy = *info;
    copy.m_node = IKWXMLDOMNode();
    copy.m_nEditState = 2;
    AppendFont(copy, from.m_mapAutoRestore.Find(key) ? 1 : 0);
  }
}

int CFontCollection::ImportFont(const std::vector<std::wstring>& names, const wchar_t* file) {
  const std::vector<std::wstring> keys = DistinctKeys(names);
  if (keys.empty()) return 1;
  CFontCollection from;
  from.Load(file);
  CopyNamed(from, keys);
  return Save();
}

int CFontCollection::ExportFont(const std::vector<std::wstring>& names, const wchar_t* file) {
  const std::vector<std::wstring> keys = DistinctKeys(names);
  if (keys.empty()) return 1;
  if (!kw::SafeLength(file)) return 0;
  CFontCollection to;
  to.m_strFile = file;
  to.CopyNamed(*this, keys);
  return to.Save();
}

std::vector<std::wstring> CFontCollection::Keys() const {
  std::vector<std::wstring> keys;
  m_mapFont.ForEach([&keys](const std::wstring& key, const CFontInfo&) { keys.push_back(key); });
  return keys;
}

void CFontCollection::GetAllTextStyle(std::vector<std::wstring>& names) const {
  for (std::wstring& key : Keys()) names.push_back(std::move(key));
}

int CFontCollection::GetFontInfo(const wchar_t* name, FONTINFO& info) const {
  const CFontInfo* found = m_mapFont.Find(kw::ToUpper(kw::View(name)));
  if (!found) return 0;
  info = found->m_info;
  return 1;
}

bool CFontCollection::IsAutoRestore(const wchar_t* name) const {
  return m_mapAutoRestore.Find(kw::ToUpper(kw::View(name))) != nullptr;
}

int CFontCollection::GetFileTextStyles(const wchar_t* file, std::vector<std::wstring>& names) {
  if (!kw::SafeLength(file)) return -1;
  CFontCollection from;
  if (from.Load(file) < 0) return -1;
  from.GetAllTextStyle(names);
  return static_cast<int>(from.m_mapFont.Size());
}
