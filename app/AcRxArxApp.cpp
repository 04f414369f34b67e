#include "app/AcRxArxApp.h"

#include <iterator>

namespace {

AcEdCommandStack* CommandStack() {
  return AcEdCommandStack::cast(acrxSysRegistry()->at(L"ACAD_REGISTERED_COMMANDS"));
}

AcRxDynamicLinker* DynamicLinker() {
  return AcRxDynamicLinker::cast(acrxSysRegistry()->at(L"DynamicLinker"));
}

}  // namespace

AcRx::AppRetCode AcRxDbxApp::Dispatch(AcRx::AppMsgCode msg, void* pkt) {
  using Handler = AcRx::AppRetCode (AcRxDbxApp::*)(void*);
  static constexpr Handler kHandlers[] = {
      &AcRxDbxApp::On_kInitAppMsg,      &AcRxDbxApp::On_kUnloadAppMsg,
      &AcRxDbxApp::On_kLoadDwgMsg,      &AcRxDbxApp::On_kUnloadDwgMsg,
      &AcRxDbxApp::On_kInvkSubrMsg,     &AcRxDbxApp::On_kCfgMsg,
      &AcRxDbxApp::On_kEndMsg,          &AcRxDbxApp::On_kQuitMsg,
      &AcRxDbxApp::On_kSaveMsg,         &AcRxDbxApp::On_kDependencyMsg,
      &AcRxDbxApp::On_kNoDependencyMsg, &AcRxDbxApp::On_kOleUnloadAppMsg,
      &AcRxDbxApp::On_kPreQuitMsg,      &AcRxDbxApp::On_kInitDialogMsg,
      &AcRxDbxApp::On_kEndDialogMsg,    &AcRxDbxApp::On_kSuspendMsg,
  };
  int index = static_cast<int>(msg);
  if (index < 0 || index >= static_cast<int>(std::size(kHandlers))) return AcRx::kRetOK;
  return (this->*kHandlers[index])(pkt);
}

AcRx::AppRetCode AcRxDbxApp::On_kInitAppMsg(void* pkt) {
  m_hdllInstance = pkt;
  if (AcRxDynamicLinker* linker = DynamicLinker()) {
    if (m_bUnlocked) linker->unlockApplication(pkt);
    if (m_bMDIAware) linker->registerAppMDIAware(pkt);
  }
  acrxBuildClassHierarchy();
  return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxDbxApp::On_kUnloadAppMsg(void*) {
  return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxArxApp::On_kInitAppMsg(void* pkt) {
  AcRx::AppRetCode result = AcRxDbxApp::On_kInitAppMsg(pkt);
  for (int i = 0; i < m_count; ++i) {
    const ArxCommandEntry& e = m_commands[i];
    if (!e.globalName) continue;
    AcEdCommandStack* stack = CommandStack();
    if (!stack) continue;
    // This build carries no string resources: a missing local name is the global one.
    const wchar_t* local = e.localName ? e.localName : e.globalName;
    void* resource = (e.flags & kCmdNoResourceHandle) ? nullptr : m_hdllInstance;
    stack->addCommand(e.group, e.globalName, local, e.flags, e.fn, e.uiContext, -1, resource);
  }
  return result;
}

AcRx::AppRetCode AcRxArxApp::On_kUnloadAppMsg(void* pkt) {
  for (int i = 0; i < m_count; ++i) {
    const ArxCommandEntry& e = m_commands[i];
    if (!e.globalName) continue;
    if (AcEdCommandStack* stack = CommandStack()) stack->removeGroup(e.group);
  }
  return AcRxDbxApp::On_kUnloadAppMsg(pkt);
}
