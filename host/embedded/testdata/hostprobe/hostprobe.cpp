// A small module that exercises the host the way the suite's modules do: it registers the
// command group "HOSTPROBE", watches the main window and reports what it sees on the command
// line, so the host's tests can check loading, prompts and the order of the closing steps.
#include "host/api/editor.h"
#include "host/api/rx.h"
#include "host/api/win.h"

namespace {

void* g_module = nullptr;

void WatchMainWindow(const MSG* msg) {
  if (msg->hwnd == acedGetAcadFrame() && msg->message == WM_CLOSE) {
    acutPrintf(L"\nprobe: WM_CLOSE");
  }
}

void AskKeyword() {
  wchar_t answer[64] = {};
  acedInitGet(0, L"Y N");
  int rc = acedGetKword(L"记录[记录(Y)/不记录(N)]<Y>:", answer, 64);
  acutPrintf(L"\nprobe: kword %d '%s'", rc, answer);
}

void AskStrings() {
  wchar_t word[kAcedStringBufferLen] = {};
  wchar_t line[kAcedStringBufferLen] = {};
  int rc1 = acedGetString(0, L"\nword: ", word);
  int rc2 = acedGetString(1, L"\nline: ", line);
  acutPrintf(L"\nprobe: %d '%s' %d '%s'", rc1, word, rc2, line);
}

void AskInt() {
  int value = 0;
  int rc = acedGetInt(L"\nint: ", &value);
  acutPrintf(L"\nprobe: int %d %d", rc, value);
}

void AskBox() {
  int rc = MessageBoxW(acedGetAcadFrame(), L"继续?", L"凯维提示", MB_YESNO | MB_ICONQUESTION);
  acutPrintf(L"\nprobe: box %d", rc);
}

void AddCommands() {
  AcEdCommandStack* stack =
      static_cast<AcEdCommandStack*>(acrxSysRegistry()->at(L"ACAD_REGISTERED_COMMANDS"));
  stack->addCommand(L"HOSTPROBE", L"ProbeAsk", L"ProbeAsk", ACRX_CMD_MODAL, AskKeyword);
  stack->addCommand(L"HOSTPROBE", L"ProbeStrings", L"ProbeStrings", ACRX_CMD_MODAL, AskStrings);
  stack->addCommand(L"HOSTPROBE", L"ProbeInt", L"ProbeInt", ACRX_CMD_MODAL, AskInt);
  stack->addCommand(L"HOSTPROBE", L"ProbeBox", L"ProbeBox", ACRX_CMD_MODAL, AskBox);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) AcRx::AppRetCode acrxEntryPoint(
    AcRx::AppMsgCode msg, void* pkt) {
  if (msg == AcRx::kInitAppMsg) {
    g_module = pkt;
    acrxDynamicLinkerPtr()->unlockApplication(pkt);
    acrxDynamicLinkerPtr()->registerAppMDIAware(pkt);
    AddCommands();
    acedRegisterWatchWinMsg(WatchMainWindow);
    acutPrintf(L"\nprobe: loaded");
  } else if (msg == AcRx::kUnloadAppMsg) {
    acedRegCmds()->removeGroup(L"HOSTPROBE");
    acedRemoveWatchWinMsg(WatchMainWindow);
    acutPrintf(L"\nprobe: unloaded %s", pkt == g_module ? L"same" : L"other");
  }
  return AcRx::kRetOK;
}
