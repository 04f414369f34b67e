// MsgDemo: the smallest complete suite module that uses KWRDPub's message bus.
//
// What a module does, in order:
//   1. At load (kInitAppMsg) it unlocks itself, registers its commands and its watchers.
//      Here: a watcher object named "MsgDemo" for every message of type 5, and the command
//      MSGDEMO, which asks for a type and a code and sends that message to the whole suite.
//   2. Watchers answer with a number: 0 = not handled, the last non-zero answer is the result
//      of the send, an answer with bit 31 set stops delivery to later watchers.
//   3. It registers the user variables it keeps per user, with their defaults, so that the
//      RDVar command can list and edit them: "DemoCount" (integer), "DemoScale" (real) and
//      "DemoLabel" (text). Their values persist in the per-user "SoftConfig.xml".
//   4. At unload (kUnloadAppMsg) it removes its watchers and its command group: the library
//      outlives the module, and must not call into unloaded code.
#include "host/api/editor.h"
#include "host/api/rx.h"
#include "msg/RDMsgManager.h"
#include "persist/RDUserConfig.h"

namespace {

// Receives every message of type 5 and answers with its code plus 100.
class CDemoWatch : public CMsgWatch {
 public:
  uint32_t GetType() override { return 5; }
  uint32_t GetMsg() override { return 0; }
  unsigned long OnMessage(KWMSGHDR* msg) override {
    acutPrintf(L"\nMsgDemo: type=%u msg=%u", msg->type, msg->msg);
    return msg->msg + 100;
  }
};

CDemoWatch g_watch;

// MSGDEMO: asks for a message type and code, sends the message and prints the result.
void MsgDemoCommand() {
  int type = 0;
  int code = 0;
  if (acedGetInt(L"\n消息类型: ", &type) != RTNORM) return;
  if (acedGetInt(L"\n消息代码: ", &code) != RTNORM) return;
  KWMSGHDR msg{static_cast<uint32_t>(type), static_cast<uint32_t>(code), 0};
  unsigned long result = CRDMsgManager::GetInstance()->SendMessageW(&msg);
  acutPrintf(L"\n结果: %lu", result);
}

void RegisterVariables() {
  int count = 3;
  double scale = 1.5;
  RDUserConfig::RegisterVar(L"DemoCount", RDUserConfig::kIntVar, &count);
  RDUserConfig::RegisterVar(L"DemoScale", RDUserConfig::kDoubleVar, &scale);
  RDUserConfig::RegisterVar(L"DemoLabel", RDUserConfig::kStrVar, const_cast<wchar_t*>(L"道路"));
}

AcRx::AppRetCode Load(void* appId) {
  acrxDynamicLinker->unlockApplication(appId);
  acrxDynamicLinker->registerAppMDIAware(appId);
  acedRegCmds()->addCommand(L"MSGDEMO", L"MSGDEMO", L"MSGDEMO", 0, &MsgDemoCommand);
  CRDMsgManager::GetInstance()->Register(L"MsgDemo", &g_watch, false);
  RegisterVariables();
  return AcRx::kRetOK;
}

AcRx::AppRetCode Unload() {
  CRDMsgManager::GetInstance()->RemoveRegister(&g_watch);
  acedRegCmds()->removeGroup(L"MSGDEMO");
  return AcRx::kRetOK;
}

}  // namespace

extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* pkt) {
  switch (msg) {
    case AcRx::kInitAppMsg:
      return Load(pkt);
    case AcRx::kUnloadAppMsg:
      return Unload();
    default:
      return AcRx::kRetOK;
  }
}
