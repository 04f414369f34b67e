#include "persist/XMLPrivateProfile.h"

#include <algorithm>
#include <cstring>

#include "common/fileio.h"
#include "common/format.h"
#include "common/text.h"
#include "persist/XTPPropExchange.h"

namespace {

constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

std::wstring HexText(const void* data, size_t size) {
  std::wstring text = L"0x";
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (size_t i = 0; i < size; ++i) {
    text += kHexDigits[bytes[i] >> 4];
    text += kHexDigits[bytes[i] & 0xF];
  }
  return text;
}

bool HasHexPrefix(const std::wstring& text) {
  return text.size() >= 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X');
}

int HexValue(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  return -1;
}

// Decodes the digit pairs after "0x" into at most size bytes; stops at the first bad digit.
void DecodeHex(const std::wstring& text, void* data, size_t size) {
  auto* bytes = static_cast<unsigned char*>(data);
  for (size_t i = 0; i < size && 2 * i + 3 < text.size(); ++i) {
    int high = HexValue(text[2 * i + 2]);
    int low = HexValue(text[2 * i + 3]);
    if (high < 0 || low < 0) return;
    bytes[i] = static_cast<unsigned char>(high << 4 | low);
  }
}

std::wstring JoinDoubles(std::initializer_list<double> values, bool bExact) {
  std::wstring text;
  for (double v : values) {
    if (!text.empty()) text += L',';
    text += CXMLPrivateProfile::FormatDouble(v, bExact);
  }
  return text;
}

// Fills the coordinates from a "x,y[,z]" text; coordinates the text lacks stay as they are.
void SplitDoubles(const std::wstring& text, std::initializer_list<double*> values) {
  std::vector<std::wstring> parts = kw::Split(text, L',');
  size_t i = 0;
  for (double* v : values) {
    if (i < parts.size()) *v = CXMLPrivateProfile::ParseDouble(parts[i]);
    ++i;
  }
}

std::wstring SectionPath(const wchar_t* section) {
  std::wstring path(kw::View(section));
  std::replace(path.begin(), path.end(), L'\\', L'/');
  return path;
}

}  // namespace

// Invariants:
//   1. cachedSection, when set, is a section of document and cachedSectionPath its path.
//   2. document is null or was created for exactly one mode; no other document is open.
//   3. lost is true when a change made since the last public Close() did not reach the file
//      (dropped, or its save failed); only the public Close() reports and clears it.
struct CXMLPrivateProfile::Impl {
  std::unique_ptr<CXTPPropExchangeXMLNode> document;
  std::wstring pathName;
  std::wstring rootName;
  std::wstring cachedSectionPath;
  std::unique_ptr<CXTPPropExchangeXMLNode> cachedSection;
  bool lost = false;

  void Release() {
    cachedSection.reset();
    cachedSectionPath.clear();
  }

  void Flush() {
    Release();
    if (document && document->IsStoring() && !document->SaveToFile(pathName.c_str(), true)) {
      lost = true;
    }
    document.reset();
  }

  CXTPPropExchangeXMLNode* Open(bool storing) {
    if (document && document->IsStoring() == storing) return document.get();
    Flush();
    auto node = std::make_unique<CXTPPropExchangeXMLNode>(!storing, rootName.c_str());
    if (kw::FileExists(pathName)) {
      if (!node->LoadFromFile(pathName.c_str(), kMaxFileBytes)) return nullptr;
    } else if (!storing || !node->IsValid()) {
      return nullptr;
    }
    document = std::move(node);
    return document.get();
  }

  CXTPPropExchangeXMLNode* Section(const wchar_t* section, bool storing) {
    CXTPPropExchangeXMLNode* doc = Open(storing);
    if (doc == nullptr) return nullptr;
    std::wstring path = SectionPath(section);
    if (cachedSection && path == cachedSectionPath) return cachedSection.get();
    std::unique_ptr<CXTPPropExchangeXMLNode> found =
        storing ? doc->GetSection(path.c_str()) : doc->FindSection(path.c_str());
    if (!found) return nullptr;
    cachedSection = std::move(found);
    cachedSectionPath = path;
    return cachedSection.get();
  }

  // Points the section at the key: attribute mode for "@name". Returns the bare name.
  static const wchar_t* KeyName(CXTPPropExchangeXMLNode* section, const wchar_t* key) {
    bool attribute = key != nullptr && key[0] == L'@';
    section->SetCompactMode(attribute);
    return attribute ? key + 1 : key;
  }

  void Write(const wchar_t* section, const wchar_t* key, std::wstring text) {
    CXTPPropExchangeXMLNode* node = Section(section, true);
    if (node == nullptr || !PX_String(node, KeyName(node, key), text)) lost = true;
  }

  // The key's text; empty when the file, section or key is missing.
  std::wstring Read(const wchar_t* section, const wchar_t* key) {
    std::wstring text;
    if (CXTPPropExchangeXMLNode* node = Section(section, false)) {
      PX_String(node, KeyName(node, key), text);
    }
    return text;
  }
};

CXMLPrivateProfile::CXMLPrivateProfile() : m_pImpl(std::make_shared<Impl>()) {}

CXMLPrivateProfile::CXMLPrivateProfile(const wchar_t* pathName, const wchar_t* rootName)
    : CXMLPrivateProfile() {
  SetPathName(pathName, rootName);
}

CXMLPrivateProfile::~CXMLPrivateProfile() {
  m_pImpl->Flush();
}

void CXMLPrivateProfile::SetPathName(const wchar_t* pathName, const wchar_t* rootName) {
  m_pImpl->Flush();
  m_pImpl->pathName = kw::View(pathName);
  m_pImpl->rootName = kw::View(rootName);
}

bool CXMLPrivateProfile::Close() {
  m_pImpl->Flush();
  const bool stored = !m_pImpl->lost;
  m_pImpl->lost = false;
  return stored;
}

std::wstring CXMLPrivateProfile::FormatDouble(double value, bool bExact) {
  if (bExact) return HexText(&value, sizeof(value));
  std::wstring text = kw::FormatW(L"%.10f", value);
  if (text.find(L'.') == std::wstring::npos) return text;
  text.erase(text.find_last_not_of(L'0') + 1);
  if (!text.empty() && text.back() == L'.') text.pop_back();
  return text;
}

double CXMLPrivateProfile::ParseDouble(const std::wstring& text) {
  if (!HasHexPrefix(text)) return kw::WToF(text);
  double value = 0.0;
  DecodeHex(text, &value, sizeof(value));
  return value;
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key,
                                    const wchar_t* value) {
  m_pImpl->Write(section, key, std::wstring(kw::View(value)));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key, int value) {
  m_pImpl->Write(section, key, std::to_wstring(value));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key,
                                    unsigned long value) {
  m_pImpl->Write(section, key, std::to_wstring(value));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key, bool value) {
  m_pImpl->Write(section, key, value ? L"1" : L"0");
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key, double value,
                                    int bExact) {
  m_pImpl->Write(section, key, FormatDouble(value, bExact != 0));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key,
                                    const AcGePoint3d& value, int bExact) {
  m_pImpl->Write(section, key, JoinDoubles({value.x, value.y, value.z}, bExact != 0));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key,
                                    const AcGePoint2d& value, int bExact) {
  m_pImpl->Write(section, key, JoinDoubles({value.x, value.y}, bExact != 0));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key,
                                    const AcGeVector3d& value, int bExact) {
  m_pImpl->Write(section, key, JoinDoubles({value.x, value.y, value.z}, bExact != 0));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key,
                                    const AcGeVector2d& value, int bExact) {
  m_pImpl->Write(section, key, JoinDoubles({value.x, value.y}, bExact != 0));
}

void CXMLPrivateProfile::WriteValue(const wchar_t* section, const wchar_t* key, const void* data,
                                    int size) {
  if (data == nullptr || size < 0) return;
  m_pImpl->Write(section, key, HexText(data, static_cast<size_t>(size)));
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key, std::wstring& value,
                                  const wchar_t* defaultValue) const {
  value = m_pImpl->Read(section, key);
  if (!value.empty()) return 1;
  if (defaultValue != nullptr) value = defaultValue;
  return 0;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key, int& value,
                                  int defaultValue) const {
  std::wstring text = m_pImpl->Read(section, key);
  value = text.empty() ? defaultValue : kw::WToI(text);
  return text.empty() ? 0 : 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key, unsigned long& value,
                                  unsigned long defaultValue) const {
  std::wstring text = m_pImpl->Read(section, key);
  value = text.empty() ? defaultValue : static_cast<unsigned long>(kw::WToI64(text.c_str()));
  return text.empty() ? 0 : 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key, bool& value,
                                  bool defaultValue) const {
  std::wstring text = m_pImpl->Read(section, key);
  value = text.empty() ? defaultValue : kw::WToI(text) != 0;
  return text.empty() ? 0 : 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key, double& value,
                                  double defaultValue) const {
  std::wstring text = m_pImpl->Read(section, key);
  value = text.empty() ? defaultValue : ParseDouble(text);
  return text.empty() ? 0 : 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key,
                                  AcGePoint3d& value) const {
  std::wstring text = m_pImpl->Read(section, key);
  if (text.empty()) return 0;
  SplitDoubles(text, {&value.x, &value.y, &value.z});
  return 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key,
                                  AcGePoint2d& value) const {
  std::wstring text = m_pImpl->Read(section, key);
  if (text.empty()) return 0;
  SplitDoubles(text, {&value.x, &value.y});
  return 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key,
                                  AcGeVector3d& value) const {
  std::wstring text = m_pImpl->Read(section, key);
  if (text.empty()) return 0;
  SplitDoubles(text, {&value.x, &value.y, &value.z});
  return 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key,
                                  AcGeVector2d& value) const {
  std::wstring text = m_pImpl->Read(section, key);
  if (text.empty()) return 0;
  SplitDoubles(text, {&value.x, &value.y});
  return 1;
}

int CXMLPrivateProfile::ReadValue(const wchar_t* section, const wchar_t* key, void* data,
                                  int size) const {
  std::wstring text = m_pImpl->Read(section, key);
  if (!HasHexPrefix(text) || data == nullptr || size < 0) return 0;
  DecodeHex(text, data, static_cast<size_t>(size));
  return 1;
}

void CXMLPrivateProfile::GetAllKey(const wchar_t* section, std::vector<std::wstring>& keys) const {
  keys.clear();
  if (CXTPPropExchangeXMLNode* node = m_pImpl->Section(section, false)) node->GetKeyNames(keys);
}

void CXMLPrivateProfile::VisitValues(
    const wchar_t* section,
    const std::function<void(const std::wstring& key, const std::wstring& text)>& visit) const {
  CXTPPropExchangeXMLNode* node = m_pImpl->Section(section, false);
  if (node == nullptr) return;
  node->VisitValues([&](const std::wstring& key, const std::wstring& text) {
    if (!text.empty()) visit(key, text);
  });
}

void CXMLPrivateProfile::RemoveKey(const wchar_t* section, const wchar_t* key) {
  CXTPPropExchangeXMLNode* doc = m_pImpl->Open(true);
  m_pImpl->Release();
  if (doc == nullptr) {
    m_pImpl->lost = true;
    return;
  }
  if (auto node = doc->FindSection(SectionPath(section).c_str())) {
    node->RemoveProperty(Impl::KeyName(node.get(), key));
  }
}

void CXMLPrivateProfile::RemoveSection(const wchar_t* section) {
  CXTPPropExchangeXMLNode* doc = m_pImpl->Open(true);
  m_pImpl->Release();
  if (doc == nullptr) {
    m_pImpl->lost = true;
    return;
  }
  doc->RemoveSection(SectionPath(section).c_str());
}
