// The host's run-time class system, system registry, dynamic linker and module entry messages.
//
// Run-time classes: every AcRxObject reports its class through isA(); classes are AcRxClass
// objects kept by name in the class dictionary (acrxClassDictionary, key "ClassDictionary" of
// the system registry). A class knows its parent by name; the parent may be registered after the
// child, in which case myParent() finds it as soon as it exists (acrxBuildClassHierarchy is
// kept for callers that expect it and has nothing left to do).
//
// Ownership: the system registry owns the objects stored in it (remove() hands ownership back).
// A plain AcRxDictionary owns nothing unless constructed with deleteElements = true. Classes
// live until deleteAcRxClass; the embedded host keeps them across its session resets so that
// pointers cached by modules (a class's static desc pointer) stay valid.
//
// Failure: lookups give null; no call throws.
#ifndef KW_HOST_API_RX_H_
#define KW_HOST_API_RX_H_

#include <map>
#include <string>

#include "host/api/adesk.h"

namespace AcRx {
// The messages a module's entry point receives, with the platform's numbers.
enum AppMsgCode {
  kNullMsg = -1,
  kInitAppMsg = 0,
  kUnloadAppMsg = 1,
  kLoadDwgMsg = 2,
  kUnloadDwgMsg = 3,
  kInvkSubrMsg = 4,
  kCfgMsg = 5,
  kEndMsg = 6,
  kQuitMsg = 7,
  kSaveMsg = 8,
  kDependencyMsg = 9,
  kNoDependencyMsg = 10,
  kOleUnloadAppMsg = 11,
  kPreQuitMsg = 12,
  kInitDialogMsg = 13,
  kEndDialogMsg = 14,
  kSuspendMsg = 15,
};
enum AppRetCode { kRetOK = 0, kRetError = 3 };
}  // namespace AcRx

// What a module exports (extern "C"): the host calls it with kInitAppMsg after loading (pkt is
// the module's handle, an opaque value to hand back to the dynamic linker) and with
// kUnloadAppMsg before unloading (pkt is the same handle). kRetError from kInitAppMsg makes
// the host unload the module again without sending kUnloadAppMsg.
using AcRxEntryPointFn = AcRx::AppRetCode (*)(AcRx::AppMsgCode msg, void* pkt);

class AcRxClass;

// Declares the run-time class members of a class derived from AcRxObject.
#define ACRX_DECLARE_MEMBERS(CLASS_NAME)                                  \
  static AcRxClass* desc();                                               \
  static CLASS_NAME* cast(const AcRxObject* inPtr) {                      \
    return (inPtr && inPtr->isKindOf(CLASS_NAME::desc()))                 \
               ? static_cast<CLASS_NAME*>(const_cast<AcRxObject*>(inPtr)) \
               : nullptr;                                                 \
  }                                                                       \
  AcRxClass* isA() const override

// Defines them: desc() finds the class by name in the class dictionary, registering it (with
// the given parent) on first use.
#define ACRX_NO_CONS_DEFINE_MEMBERS(CLASS_NAME, PARENT_CLASS)      \
  AcRxClass* CLASS_NAME::desc() {                                  \
    PARENT_CLASS::desc();                                          \
    return acrxFindOrAddClass(L## #CLASS_NAME, L## #PARENT_CLASS); \
  }                                                                \
  AcRxClass* CLASS_NAME::isA() const {                             \
    return CLASS_NAME::desc();                                     \
  }

class AcRxObject {
 public:
  virtual ~AcRxObject() = default;
  static AcRxClass* desc();
  static AcRxObject* cast(const AcRxObject* p) { return const_cast<AcRxObject*>(p); }
  virtual AcRxClass* isA() const;
  // True when this object's class is `cls` or derives from it; false for null.
  bool isKindOf(const AcRxClass* cls) const;
};

class AcRxClass : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcRxClass);

  const wchar_t* name() const { return m_name.c_str(); }
  const wchar_t* appName() const { return m_appName.c_str(); }
  const wchar_t* dxfName() const { return m_dxfName.c_str(); }
  int proxyFlags() const { return m_proxyFlags; }
  // The parent class, or null for a root class or a parent not (yet) registered.
  AcRxClass* myParent() const;
  // True when this class is `other` or one of its descendants.
  bool isDerivedFrom(const AcRxClass* other) const;
  // A new object made by the pseudo-constructor, or null when the class has none.
  AcRxObject* create() const { return m_constructor ? m_constructor() : nullptr; }

 private:
  friend AcRxClass* newAcRxClass(const wchar_t*, const wchar_t*, int, AcRxObject* (*)(),
                                 const wchar_t*, const wchar_t*);
  AcRxClass() = default;

  std::wstring m_name;
  friend void deleteAcRxClass(AcRxClass*);
  std::wstring m_parentName;
  // The parent once found: class checks walk pointers, not the dictionary.
  mutable AcRxClass* m_parent = nullptr;
  std::wstring m_dxfName;
  std::wstring m_appName;
  int m_proxyFlags = 0;
  AcRxObject* (*m_constructor)() = nullptr;
};

// A dictionary of objects by text key (exact, case-sensitive keys).
class AcRxDictionary : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcRxDictionary);

  explicit AcRxDictionary(bool deleteElements = false) : m_deleteElements(deleteElements) {}
  ~AcRxDictionary() override;
  AcRxDictionary(const AcRxDictionary&) = delete;
  AcRxDictionary& operator=(const AcRxDictionary&) = delete;

  // The object stored under key, or null (null key included).
  AcRxObject* at(const wchar_t* key) const;
  // Stores obj under key and returns the object it replaces (or null). A null key or object
  // stores nothing and returns null.
  AcRxObject* atPut(const wchar_t* key, AcRxObject* obj);
  // Takes the entry out and returns its object (or null when absent).
  AcRxObject* remove(const wchar_t* key);
  bool has(const wchar_t* key) const { return at(key) != nullptr; }
  int numEntries() const { return static_cast<int>(m_entries.size()); }
  // Keys in sorted order (for listings).
  const std::map<std::wstring, AcRxObject*>& entries() const { return m_entries; }

 private:
  std::map<std::wstring, AcRxObject*> m_entries;
  bool m_deleteElements;
};

// The system registry: "ClassDictionary", "DynamicLinker", "ACAD_REGISTERED_COMMANDS".
AcRxDictionary* acrxSysRegistry();
AcRxDictionary* acrxClassDictionaryPtr();
#define acrxClassDictionary acrxClassDictionaryPtr()

// Registers a class under className in the class dictionary. When a class of that name exists
// already, that class is returned unchanged. Null or empty className gives null.
AcRxClass* newAcRxClass(const wchar_t* className, const wchar_t* parentClassName,
                        int proxyFlags = 0, AcRxObject* (*pseudoConstructor)() = nullptr,
                        const wchar_t* dxfName = nullptr, const wchar_t* appName = nullptr);
// Takes the class out of the class dictionary and frees it. Null is ignored.
void deleteAcRxClass(AcRxClass* cls);
void acrxBuildClassHierarchy();
// The class of that name, registered with parentName when absent (used by
// ACRX_NO_CONS_DEFINE_MEMBERS).
AcRxClass* acrxFindOrAddClass(const wchar_t* className, const wchar_t* parentName);

// The host's module loader. Module handles (appId) are the values the host passed as pkt with
// kInitAppMsg. A module is locked (may not be unloaded while the host runs) until it unlocks
// itself; MDI awareness is only recorded.
class AcRxDynamicLinker : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcRxDynamicLinker);

  // False when appId is not a loaded module.
  bool unlockApplication(void* appId) const;
  bool lockApplication(void* appId) const;
  bool isApplicationLocked(const wchar_t* moduleName) const;
  bool registerAppMDIAware(void* appId) const;
  bool registerAppNotMDIAware(void* appId) const;
};
AcRxDynamicLinker* acrxDynamicLinkerPtr();
#define acrxDynamicLinker acrxDynamicLinkerPtr()

#endif  // KW_HOST_API_RX_H_
