// Run-time classes, dictionaries and the system registry's storage.
#include "host/embedded/rx/rx.h"

#include <set>
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/rx.h"

namespace {

// Process-wide dictionaries: they outlive every session (classes are cached by modules).
AcRxDictionary& ClassDict() {
  static AcRxDictionary dict(true);
  return dict;
}

// Keys of the registry entries that stay for the life of the process.
std::set<std::wstring>& PinnedKeys() {
  static std::set<std::wstring> keys;
  return keys;
}

}  // namespace

AcRxClass* acrxFindOrAddClass(const wchar_t* className, const wchar_t* parentName) {
  if (AcRxObject* found = ClassDict().at(className)) return static_cast<AcRxClass*>(found);
  return newAcRxClass(className, parentName);
}

AcRxClass* AcRxObject::desc() {
  return acrxFindOrAddClass(L"AcRxObject", nullptr);
}
AcRxClass* AcRxObject::isA() const {
  return AcRxObject::desc();
}
bool AcRxObject::isKindOf(const AcRxClass* cls) const {
  AcRxClass* mine = isA();
  return cls && mine && mine->isDerivedFrom(cls);
}

ACRX_NO_CONS_DEFINE_MEMBERS(AcRxClass, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcRxDictionary, AcRxObject)

AcRxClass* AcRxClass::myParent() const {
  if (m_parent || m_parentName.empty()) return m_parent;
  m_parent = static_cast<AcRxClass*>(ClassDict().at(m_parentName.c_str()));
  return m_parent;
}

bool AcRxClass::isDerivedFrom(const AcRxClass* other) const {
  // Bounded walk: a parent chain with a loop (two classes naming each other) must not hang.
  const AcRxClass* cls = this;
  for (int depth = 0; cls && depth < 256; ++depth) {
    if (cls == other) return true;
    cls = cls->m_parent ? cls->m_parent : cls->myParent();  // casts call this once per object
  }
  return false;
}

AcRxDictionary::~AcRxDictionary() {
  if (!m_deleteElements) return;
  for (auto& [key, obj] : m_entries) delete obj;
}

AcRxObject* AcRxDictionary::at(const wchar_t* key) const {
  if (!key) return nullptr;
  auto it = m_entries.find(key);
  return it == m_entries.end() ? nullptr : it->second;
}

AcRxObject* AcRxDictionary::atPut(const wchar_t* key, AcRxObject* obj) {
  if (!key || !obj) return nullptr;
  AcRxObject*& slot = m_entries[key];
  AcRxObject* previous = slot;
  slot = obj;
  return previous == obj ? nullptr : previous;
}

AcRxObject* AcRxDictionary::remove(const wchar_t* key) {
  if (!key) return nullptr;
  auto it = m_entries.find(key);
  if (it == m_entries.end()) return nullptr;
  AcRxObject* obj = it->second;
  m_entries.erase(it);
  return obj;
}

AcRxDictionary* acrxClassDictionaryPtr() {
  return &ClassDict();
}

AcRxClass* newAcRxClass(const wchar_t* className, const wchar_t* parentClassName, int proxyFlags,
                        AcRxObject* (*pseudoConstructor)(), const wchar_t* dxfName,
                        const wchar_t* appName) {
  if (!className || !*className) return nullptr;
  if (AcRxObject* found = ClassDict().at(className)) return static_cast<AcRxClass*>(found);
  auto* cls = new AcRxClass();
  cls->m_name = className;
  cls->m_parentName = kw::View(parentClassName);
  cls->m_proxyFlags = proxyFlags;
  cls->m_constructor = pseudoConstructor;
  cls->m_dxfName = kw::View(dxfName);
  cls->m_appName = kw::View(appName);
  ClassDict().atPut(className, cls);
  return cls;
}

void deleteAcRxClass(AcRxClass* cls) {
  if (!cls) return;
  if (ClassDict().at(cls->name()) == cls) ClassDict().remove(cls->name());
  for (auto& [name, entry] : ClassDict().entries()) {
    auto* child = static_cast<AcRxClass*>(entry);
    if (child->m_parent == cls) child->m_parent = nullptr;
  }
  delete cls;
}

void acrxBuildClassHierarchy() {}

namespace kwhost::rx {

AcRxDictionary& Registry() {
  static AcRxDictionary registry(false);
  return registry;
}

void Pin(const wchar_t* key, AcRxObject* obj) {
  Registry().atPut(key, obj);
  PinnedKeys().insert(key);
}

void Reset() {
  std::vector<std::wstring> extras;
  for (const auto& [key, obj] : Registry().entries()) {
    if (!PinnedKeys().contains(key)) extras.push_back(key);
  }
  for (const std::wstring& key : extras) delete Registry().remove(key.c_str());
}

}  // namespace kwhost::rx
