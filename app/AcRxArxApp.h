// The application-object pattern of the host's modules: a module has one application object
// that receives the host's entry-point messages, each through a virtual handler of its own.
//
//   AcRxDbxApp  unlocks the module and declares it MDI-aware through the host's dynamic linker
//               when the matching flags are set (both are set by the constructor);
//   AcRxArxApp  adds the module's command table: registered at load, removed at unload.
//
// Handlers answer kRetOK unless a derived class says otherwise. Main thread only.
#ifndef KW_APP_ACRXARXAPP_H_
#define KW_APP_ACRXARXAPP_H_

#include <cstdint>

#include "host/api/editor.h"
#include "host/api/rx.h"

// One row of a command table. A row without a global name is an empty slot and is skipped.
struct ArxCommandEntry {
  const wchar_t* group;
  const wchar_t* globalName;
  const wchar_t* localName;  // null: the name comes from the string resource localNameId
  int32_t flags;
  AcRxFunctionPtr fn;
  void* uiContext;
  int localNameId;  // -1: none
};

// Commands with this flag are added without the module's resource handle.
inline constexpr int32_t kCmdNoResourceHandle = 0x00200000;

class AcRxDbxApp {
 public:
  AcRxDbxApp() = default;
  virtual ~AcRxDbxApp() = default;

  // Calls the handler of msg (0 to 15); any other number answers kRetOK and calls nothing.
  AcRx::AppRetCode Dispatch(AcRx::AppMsgCode msg, void* pkt);

  virtual AcRx::AppRetCode On_kInitAppMsg(void* pkt);
  virtual AcRx::AppRetCode On_kUnloadAppMsg(void* pkt);
  virtual AcRx::AppRetCode On_kLoadDwgMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kUnloadDwgMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kInvkSubrMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kCfgMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kEndMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kQuitMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kSaveMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kDependencyMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kNoDependencyMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kOleUnloadAppMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kPreQuitMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kInitDialogMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kEndDialogMsg(void*) { return AcRx::kRetOK; }
  virtual AcRx::AppRetCode On_kSuspendMsg(void*) { return AcRx::kRetOK; }

  void* ModuleHandle() const { return m_hdllInstance; }

 protected:
  void* m_hdllInstance = nullptr;
  bool m_bUnlocked = true;
  bool m_bMDIAware = true;
};

class AcRxArxApp : public AcRxDbxApp {
 public:
  // `commands` points at `count` rows that live as long as the application object.
  AcRxArxApp(const ArxCommandEntry* commands, int count) : m_commands(commands), m_count(count) {}

  AcRx::AppRetCode On_kInitAppMsg(void* pkt) override;
  AcRx::AppRetCode On_kUnloadAppMsg(void* pkt) override;

 private:
  const ArxCommandEntry* m_commands;
  int m_count;
};

#endif  // KW_APP_ACRXARXAPP_H_
