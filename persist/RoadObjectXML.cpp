#include "persist/RoadObjectXML.h"

#include <memory>

#include "common/fileio.h"
#include "common/format.h"
#include "common/text.h"

namespace KWCommonUtils {
namespace {

bool NameListed(const CRoadObjectXMLManager::NameList& names, const std::wstring& name) {
  for (auto it = names.rbegin(); it != names.rend(); ++it) {
    if (kw::EqualsNoCase(*it, name)) return true;
  }
  return false;
}

}  // namespace

// ---------------------------------------------------------------- CRoadObjectXML

void CRoadObjectXML::DoPropExchange(CXTPPropExchange* px) {
  XTP_XMLUtils::ExchangeGUID(px, L"guid", m_id);
  PX_String(px, L"name", m_strName);
  PX_String(px, L"desc", m_strDesc);
}

std::wstring CRoadObjectXML::SaveXML() {
  CXTPPropExchangeXMLNode node(false, XMLNode().c_str());
  node.SetCompactMode(true);
  DoPropExchange(&node);
  return node.GetXML(true);
}

bool CRoadObjectXML::LoadXML(const wchar_t* xml) {
  CXTPPropExchangeXMLNode node(true, XMLNode().c_str());
  if (!node.LoadFromString(xml)) return false;
  node.SetCompactMode(true);
  DoPropExchange(&node);
  return true;
}

bool CRoadObjectXML::OnAfterLoad() {
  return true;
}

std::wstring CRoadObjectXML::XMLNode() {
  return L"kwrd";
}

// ---------------------------------------------------------------- CRoadObjectXMLManager

CRoadObjectXMLManager::CRoadObjectXMLManager() : m_defaultId(GUID_NULL) {}

CRoadObjectXMLManager::CRoadObjectXMLManager(const CRoadObjectXMLManager& other)
    : CRoadObjectManager(other), m_defaultId(other.m_defaultId) {}

CRoadObjectXMLManager& CRoadObjectXMLManager::operator=(const CRoadObjectXMLManager& other) {
  CRoadObjectManager::operator=(other);
  m_defaultId = other.m_defaultId;
  return *this;
}

CRoadObjectXMLManager::~CRoadObjectXMLManager() {
  CRoadObjectManager::Reset();
}

std::wstring CRoadObjectXMLManager::XMLRoot() {
  return L"kwrd";
}

std::wstring CRoadObjectXMLManager::FileFullPath(const wchar_t* /*ignored*/) {
  std::wstring folder = FolderPath();
  if (!kw::DirectoryExists(folder)) kw::CreateDirectories(folder);
  return kw::JoinPath(folder, FileName());
}

bool CRoadObjectXMLManager::ImportXML() {
  Reset();
  return LoadXMLFile(FileFullPath(FileName().c_str()).c_str(), {}, nullptr, false);
}

bool CRoadObjectXMLManager::ExportXML() {
  return SaveXMLFile(FileFullPath(FileName().c_str()).c_str(), {}, nullptr);
}

bool CRoadObjectXMLManager::LoadXMLFile(const wchar_t* path, const NameList& names,
                                        const wchar_t* tag, bool bReplace) {
  if (path == nullptr || !kw::FileExists(path)) return false;
  CXTPPropExchangeXMLNode node(true, XMLRoot().c_str());
  return node.LoadFromFile(path) && LoadXML(&node, names, tag, bReplace);
}

bool CRoadObjectXMLManager::SaveXMLFile(const wchar_t* path, const NameList& names,
                                        const wchar_t* tag) {
  CXTPPropExchangeXMLNode node(false, XMLRoot().c_str());
  return path != nullptr && SaveXML(&node, names, tag) && node.SaveToFile(path, true);
}

bool CRoadObjectXMLManager::LoadXMLString(const wchar_t* xml, const NameList& names,
                                          const wchar_t* tag, bool bReplace) {
  CXTPPropExchangeXMLNode node(true, XMLRoot().c_str());
  return node.LoadFromString(xml) && LoadXML(&node, names, tag, bReplace);
}

std::wstring CRoadObjectXMLManager::SaveXMLString(const NameList& names, const wchar_t* tag) {
  CXTPPropExchangeXMLNode node(false, XMLRoot().c_str());
  return SaveXML(&node, names, tag) ? node.GetXML(true) : std::wstring();
}

int CRoadObjectXMLManager::GetDefaultItem() const {
  return Find(m_defaultId);
}

CRoadObjectXML* CRoadObjectXMLManager::DefaultItem() const {
  return dynamic_cast<CRoadObjectXML*>(Item(m_defaultId));
}

void CRoadObjectXMLManager::SetDefaultItem(const GUID& id) {
  m_defaultId = id;
}

void CRoadObjectXMLManager::SetDefaultItem(int index) {
  if (CRoadObject* obj = Item(index)) m_defaultId = obj->ID();
}

void CRoadObjectXMLManager::Remove(int index, bool bDelete, bool bRemoveFromFile) {
  CRoadObject* obj = Item(index);
  std::wstring path = obj != nullptr && bRemoveFromFile ? FileFullPath(FileName().c_str()) : L"";
  if (!path.empty() && kw::FileExists(path)) {
    CXTPPropExchangeXMLNode node(true, XMLRoot().c_str());
    if (!node.LoadFromFile(path.c_str())) return;  // the object stays: nothing was removed
    if (auto collection = node.FindSection(CollectionNode().c_str())) {
      std::wstring selector = kw::FormatW(L"%s[@guid=\"%s\"]", ItemNode().c_str(),
                                          KWRDPub::GUIDToStr(obj->ID()).c_str());
      collection->RemoveSection(selector.c_str());
    }
    node.SaveToFile(path.c_str(), true);
  }
  RemoveRoadObject(m_arrItems, index, bDelete);
}

void CRoadObjectXMLManager::Remove(const GUID& id, bool bDelete, bool bRemoveFromFile) {
  Remove(Find(id), bDelete, bRemoveFromFile);
}

bool CRoadObjectXMLManager::OnBeforeExchange(CXTPPropExchange*) {
  return true;
}
bool CRoadObjectXMLManager::OnAfterExchange(CXTPPropExchange*) {
  return true;
}

bool CRoadObjectXMLManager::LoadXML(CXTPPropExchange* px, const NameList& names, const wchar_t* tag,
                                    bool bReplace) {
  if (px == nullptr || !OnBeforeExchange(px)) return false;
  px->SetCompactMode(true);
  std::unique_ptr<CXTPPropExchangeXMLNode> collection = px->GetSection(CollectionNode().c_str());
  if (collection) {
    collection->SetCompactMode(false);
    int defaultIndex = 0;
    PX_Int(collection.get(), L"default", defaultIndex, 0);
    if (!ExchangeXML(collection.get(), names, tag, bReplace)) return false;
    if (defaultIndex >= 0 && defaultIndex < Count()) SetDefaultItem(defaultIndex);
  }
  return OnAfterExchange(px);
}

bool CRoadObjectXMLManager::SaveXML(CXTPPropExchange* px, const NameList& names,
                                    const wchar_t* tag) {
  if (px == nullptr || !OnBeforeExchange(px)) return false;
  px->SetCompactMode(true);
  std::unique_ptr<CXTPPropExchangeXMLNode> collection = px->GetSection(CollectionNode().c_str());
  if (!collection) return false;
  collection->SetCompactMode(false);
  int defaultIndex = GetDefaultItem();
  PX_Int(collection.get(), L"default", defaultIndex, 0);
  if (!ExchangeXML(collection.get(), names, tag, true)) return false;
  return OnAfterExchange(px);
}

bool CRoadObjectXMLManager::ExchangeXML(CXTPPropExchange* collection, const NameList& names,
                                        const wchar_t* tag, bool bReplace) {
  if (collection == nullptr) return false;
  if (collection->IsStoring()) return SaveItems(collection, names);
  return LoadItems(collection, names, tag, bReplace);
}

bool CRoadObjectXMLManager::SaveItems(CXTPPropExchange* collection, const NameList& names) {
  int n = names.empty() ? Count() : static_cast<int>(names.size());
  const std::wstring itemNode = ItemNode();
  std::unique_ptr<CXTPPropExchangeEnumerator> items = collection->GetEnumerator(itemNode.c_str());
  POSITION pos = items->GetPosition(static_cast<uint32_t>(n), true);
  for (int i = 0; i < n; ++i) {
    CRoadObject* found = names.empty() ? Item(i) : Item(names[static_cast<size_t>(i)].c_str());
    auto* obj = dynamic_cast<CRoadObjectXML*>(found);
    if (obj == nullptr) continue;
    // ItemNode()[@guid="{...}"], put together directly: this runs once per object.
    const std::wstring selector = itemNode + L"[@guid=\"" + KWRDPub::GUIDToStr(obj->ID()) + L"\"]";
    std::unique_ptr<CXTPPropExchangeXMLNode> node = collection->FindSection(selector.c_str());
    if (node) {
      node->SetCompactMode(true);
    } else {
      if (pos == nullptr) pos = items->GetPosition(static_cast<uint32_t>(n), true);
      node = items->GetNext(pos);
    }
    if (node) SaveRoadObject(node.get(), obj);
  }
  return true;
}

bool CRoadObjectXMLManager::LoadItems(CXTPPropExchange* collection, const NameList& names,
                                      const wchar_t* tag, bool bReplace) {
  m_loadIndex.clear();
  for (int i = Count() - 1; i >= 0; --i) {
    if (CRoadObject* obj = Item(i)) m_loadIndex[obj->ID()] = i;
  }
  m_loadCount = Count();
  std::unique_ptr<CXTPPropExchangeEnumerator> items = collection->GetEnumerator(ItemNode().c_str());
  for (POSITION pos = items->GetPosition(0, true); pos != nullptr;) {
    std::unique_ptr<CXTPPropExchangeXMLNode> node = items->GetNext(pos);
    if (node) LoadRoadObjectFromXML(node.get(), names, tag, bReplace);
  }
  m_loadIndex.clear();
  m_loadCount = -1;
  return true;
}

int CRoadObjectXMLManager::FindLoaded(const GUID& id) {
  if (m_loadCount != Count()) return Find(id);  // the list changed behind the index
  auto hit = m_loadIndex.find(id);
  if (hit == m_loadIndex.end()) return -1;
  CRoadObject* obj = Item(hit->second);
  return obj != nullptr && obj->ID() == id ? hit->second : Find(id);
}

void CRoadObjectXMLManager::NoteLoaded(const GUID& id, int index) {
  if (m_loadCount < 0) return;
  if (m_loadCount + 1 == Count()) {
    m_loadIndex.emplace(id, index);
    m_loadCount = Count();
  } else {
    m_loadCount = -2;  // no longer trusted: every lookup walks the list
  }
}

CRoadObjectXML* CRoadObjectXMLManager::LoadRoadObjectFromXML(CXTPPropExchange* node,
                                                             const NameList& names,
                                                             const wchar_t* /*tag*/,
                                                             bool bReplace) {
  CRoadObjectXML* obj = LoadRoadObject(node);
  if (obj == nullptr) return nullptr;
  if (!names.empty() && !NameListed(names, obj->Name())) {
    delete obj;
    return nullptr;
  }
  int index = m_loadCount >= 0 ? FindLoaded(obj->ID()) : Find(obj->ID());
  if (index >= 0 && bReplace) {
    delete Item(index);
    SetAt(index, obj);
  } else {
    if (index >= 0) {
      GUID fresh;
      CoCreateGuid(&fresh);
      obj->SetID(fresh);
    }
    NoteLoaded(obj->ID(), Add(obj));
  }
  obj->OnAfterLoad();
  return obj;
}

bool CRoadObjectXMLManager::SaveRoadObject(CXTPPropExchange* node, CRoadObjectXML* obj) {
  if (obj != nullptr) obj->DoPropExchange(node);
  return true;
}

CRoadObjectXML* CRoadObjectXMLManager::LoadRoadObject(CXTPPropExchange*) {
  return nullptr;
}

}  // namespace KWCommonUtils
