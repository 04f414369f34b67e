#include "persist/RoadObject.h"

#include "common/format.h"
#include "common/text.h"

namespace KWCommonUtils {

namespace {

// Marks a copied object's name; everything behind it is dropped when a copy is copied again.
constexpr std::wstring_view kCopyMarker = L"[副本]";

int FindByName(const CRoadObjectArray& items, const wchar_t* name) {
  const std::wstring_view wanted = kw::View(name);
  for (int i = 0; i < items.length(); ++i) {
    const CRoadObject* object = items[i];
    if (object != nullptr && kw::EqualsNoCase(object->Name(), wanted)) return i;
  }
  return -1;
}

}  // namespace

CRoadObject::CRoadObject() : m_id(GUID_NULL) {}

CRoadObject::CRoadObject(const CRoadObject& other)
    : m_id(other.m_id), m_strName(other.m_strName), m_strDesc(other.m_strDesc) {}

CRoadObject::~CRoadObject() = default;

const CRoadObject& CRoadObject::operator=(const CRoadObject& other) {
  m_id = other.m_id;
  m_strName = other.m_strName;
  m_strDesc = other.m_strDesc;
  return *this;
}

bool CRoadObject::operator==(const CRoadObject& other) const {
  return kw::EqualsNoCase(m_strName, other.m_strName);
}

void CRoadObject::CreateGUID() {
  CoCreateGuid(&m_id);
}

void RemoveRoadObject(CRoadObjectArray& items, int index, bool bDelete) {
  if (index < 0 || index >= items.length()) return;
  CRoadObject* object = items[index];
  items.removeAt(index);
  if (bDelete) delete object;
}

bool IsNameExist(const CRoadObjectArray& items, const GUID& id, const wchar_t* name) {
  const int index = FindByName(items, name);
  if (index < 0) return false;
  return items[index]->ID() != id;
}

CRoadObjectManager::CRoadObjectManager() = default;

CRoadObjectManager::CRoadObjectManager(const CRoadObjectManager& other)
    : m_arrItems(other.m_arrItems) {}

CRoadObjectManager& CRoadObjectManager::operator=(const CRoadObjectManager& other) {
  m_arrItems = other.m_arrItems;
  return *this;
}

CRoadObjectManager::~CRoadObjectManager() {
  CRoadObjectManager::Reset();
}

CRoadObject* CRoadObjectManager::Item(const wchar_t* name) const {
  return Item(Find(name));
}

CRoadObject* CRoadObjectManager::Item(const GUID& id) const {
  return Item(Find(id));
}

CRoadObject* CRoadObjectManager::Item(int index) const {
  if (index < 0 || index >= m_arrItems.length()) return nullptr;
  return m_arrItems[index];
}

int CRoadObjectManager::Count() const {
  return m_arrItems.length();
}

void CRoadObjectManager::Reset() {
  for (int i = 0; i < Count(); ++i) delete Item(i);
  m_arrItems.setPhysicalLength(0);
}

void CRoadObjectManager::Remove(int index, bool bDelete) {
  RemoveRoadObject(m_arrItems, index, bDelete);
}

void CRoadObjectManager::Remove(const GUID& id, bool bDelete) {
  Remove(Find(id), bDelete);
}

int CRoadObjectManager::Add(CRoadObject* object) {
  return m_arrItems.append(object);
}

void CRoadObjectManager::SetAt(int index, CRoadObject* object) {
  m_arrItems.setAt(index, object);
}

int CRoadObjectManager::Find(const GUID& id) const {
  for (int i = 0; i < m_arrItems.length(); ++i) {
    const CRoadObject* object = m_arrItems[i];
    if (object != nullptr && object->ID() == id) return i;
  }
  return -1;
}

int CRoadObjectManager::Find(const wchar_t* name) const {
  return FindByName(m_arrItems, name);
}

std::wstring CRoadObjectManager::CreateName(const wchar_t* baseName) const {
  const std::wstring base(kw::View(baseName));
  if (Find(base.c_str()) < 0) return base;
  for (int n = 1;; ++n) {
    std::wstring candidate = kw::FormatW(L"%s%d", base.c_str(), n);
    if (Find(candidate.c_str()) < 0) return candidate;
  }
}

std::wstring CRoadObjectManager::CreateCopyName(const wchar_t* name) const {
  std::wstring copy(kw::View(name));
  const size_t marker = copy.find(kCopyMarker);
  if (marker != std::wstring::npos) copy.erase(marker);
  copy += kCopyMarker;
  return CreateName(copy.c_str());
}

bool CRoadObjectManager::IsNameExist(const GUID& id, const wchar_t* name) const {
  return KWCommonUtils::IsNameExist(m_arrItems, id, name);
}

}  // namespace KWCommonUtils
