// Run-time classes, the system registry and the dynamic linker.
#include "host/api/rx.h"

#include "common/text.h"
#include "host/api/accmd.h"
#include "host/api/docman.h"
#include "host/embedded/internal/session.h"

namespace {

// Process-wide dictionaries: they outlive every session (classes are cached by modules).
AcRxDictionary& ClassDict() {
  static AcRxDictionary dict(true);
  return dict;
}

AcRxDictionary& Registry() {
  static AcRxDictionary registry(false);
  return registry;
}

kwhost::detail::Module* FindModule(void* appId) {
  for (auto& m : kwhost::detail::S().modules) {
    if (appId && m.handle == appId) return &m;
  }
  return nullptr;
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
ACRX_NO_CONS_DEFINE_MEMBERS(AcRxDynamicLinker, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcEdCommand, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcEdCommandStack, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcApDocument, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcApDocManager, AcRxObject)

AcRxClass* AcRxClass::myParent() const {
  if (m_parentName.empty()) return nullptr;
  return static_cast<AcRxClass*>(ClassDict().at(m_parentName.c_str()));
}

bool AcRxClass::isDerivedFrom(const AcRxClass* other) const {
  // Bounded walk: a parent chain with a loop (two classes naming each other) must not hang.
  const AcRxClass* cls = this;
  for (int depth = 0; cls && depth < 256; ++depth, cls = cls->myParent()) {
    if (cls == other) return true;
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

AcRxDictionary* acrxSysRegistry() {
  AcRxDictionary& reg = Registry();
  if (!reg.has(L"ClassDictionary")) {
    reg.atPut(L"ClassDictionary", &ClassDict());
    reg.atPut(L"DynamicLinker", acrxDynamicLinkerPtr());
    reg.atPut(L"ACAD_REGISTERED_COMMANDS", acedRegCmds());
  }
  return &reg;
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
  delete cls;
}

void acrxBuildClassHierarchy() {}

bool AcRxDynamicLinker::unlockApplication(void* appId) const {
  auto* m = FindModule(appId);
  if (m) m->locked = false;
  return m != nullptr;
}

bool AcRxDynamicLinker::lockApplication(void* appId) const {
  auto* m = FindModule(appId);
  if (m) m->locked = true;
  return m != nullptr;
}

bool AcRxDynamicLinker::isApplicationLocked(const wchar_t* moduleName) const {
  for (auto& m : kwhost::detail::S().modules) {
    if (kw::EqualsNoCase(m.path, kw::View(moduleName))) return m.locked;
  }
  return false;
}

bool AcRxDynamicLinker::registerAppMDIAware(void* appId) const {
  auto* m = FindModule(appId);
  if (m) m->mdiAware = true;
  return m != nullptr;
}

bool AcRxDynamicLinker::registerAppNotMDIAware(void* appId) const {
  auto* m = FindModule(appId);
  if (m) m->mdiAware = false;
  return m != nullptr;
}

AcRxDynamicLinker* acrxDynamicLinkerPtr() {
  static AcRxDynamicLinker linker;
  return &linker;
}
