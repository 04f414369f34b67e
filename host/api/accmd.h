// The host's command stack: the commands modules register, in groups.
#ifndef KW_HOST_API_ACCMD_H_
#define KW_HOST_API_ACCMD_H_

#include "host/api/adesk.h"
#include "host/api/rx.h"

// Command flags.
inline constexpr int ACRX_CMD_MODAL = 0x00000000;
inline constexpr int ACRX_CMD_TRANSPARENT = 0x00000001;
inline constexpr int ACRX_CMD_USEPICKSET = 0x00000002;
inline constexpr int ACRX_CMD_REDRAW = 0x00000004;
inline constexpr int ACRX_CMD_SESSION = 0x00200000;

typedef void (*AcRxFunctionPtr)();

// One registered command.
class AcEdCommand : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcEdCommand);

  const wchar_t* globalName() const { return m_global; }
  const wchar_t* localName() const { return m_local; }
  const wchar_t* groupName() const { return m_group; }
  int commandFlags() const { return m_flags; }
  AcRxFunctionPtr functionAddr() const { return m_fn; }
  void* resourceHandle() const { return m_resource; }
  int functionCode() const { return m_fcode; }

 protected:
  AcEdCommand() = default;
  const wchar_t* m_global = L"";
  const wchar_t* m_local = L"";
  const wchar_t* m_group = L"";
  int m_flags = 0;
  AcRxFunctionPtr m_fn = nullptr;
  void* m_resource = nullptr;
  int m_fcode = -1;
};

// The commands of the session, in groups. Names are looked up ignoring case; when several
// groups hold the same name, the group added last wins.
class AcEdCommandStack : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcEdCommandStack);

  // eOk; eInvalidInput for a null/empty group or global name or a null function;
  // eDuplicateKey when the group already has a command of that global name. A null or empty
  // local name means the global one. *cmdOut (when given) receives the AcEdCommand*.
  virtual Acad::ErrorStatus addCommand(const wchar_t* group, const wchar_t* globalName,
                                       const wchar_t* localName, int flags, AcRxFunctionPtr fn,
                                       void* uiContext = nullptr, int fcode = -1,
                                       void* hResource = nullptr, void** cmdOut = nullptr) = 0;
  // eOk, or eKeyNotFound when no such group (ignoring case).
  virtual Acad::ErrorStatus removeGroup(const wchar_t* group) = 0;
  virtual Acad::ErrorStatus removeCmd(const wchar_t* group, const wchar_t* globalName) = 0;
  // The command, or null.
  virtual AcEdCommand* lookupGlobalCmd(const wchar_t* globalName) = 0;
  virtual AcEdCommand* lookupLocalCmd(const wchar_t* localName) = 0;
  AcEdCommand* lookupCmd(const wchar_t* name, bool globalFlag) {
    return globalFlag ? lookupGlobalCmd(name) : lookupLocalCmd(name);
  }
};

// The session's command stack (also at "ACAD_REGISTERED_COMMANDS" in the system registry).
AcEdCommandStack* acedRegCmds();

#endif  // KW_HOST_API_ACCMD_H_
