#include "app/RDPubApp.h"

#include <iterator>
#include <new>
#include <string>

#include "app/WatcherList.h"
#include "common/format.h"
#include "common/text.h"
#include "editor/internal/TwinkleState.h"
#include "msg/DebugTrace.h"
#include "msg/KWMsgTracker.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"
#include "persist/RDUserConfig.h"
#include "styles/FontCollection.h"
#include "styles/LineStyleCollection.h"

namespace {

const ArxCommandEntry kCommandTable[] = {
    {L"RDPub", L"ClearLogo", L"ClearLogo", 0, &CRDPubApp::ClearLogo, nullptr, -1},
    {L"RDPub", L"SaveLogo", L"SaveLogo", 0, &CRDPubApp::SaveLogo, nullptr, -1},
    {L"RDPub", L"TraceMsgLogo", L"TraceMsgLogo", 0, &CRDPubApp::TraceMsgLogo, nullptr, -1},
    {L"RDPub", L"MsgWatchers", L"MsgWatchers", 0, &CRDPubApp::MsgWatchers, nullptr, -1},
    {L"RDPub", L"RDVar", L"RDVar", 0, &CRDPubApp::RDVar, nullptr, -1},
};

constexpr int kApiVersion = 18;
constexpr size_t kPathChars = 4096;

}  // namespace

CRDPubApp::CRDPubApp() : AcRxArxApp(kCommandTable, static_cast<int>(std::size(kCommandTable))) {}

CRDPubApp& CRDPubApp::GetInstance() {
  // Never destroyed, since the host may still send messages while the process ends; kept in
  // static storage rather than on the heap, so nothing is left behind when the module unloads.
  alignas(CRDPubApp) static unsigned char storage[sizeof(CRDPubApp)];
  static CRDPubApp* app = new (storage) CRDPubApp;
  return *app;
}

AcRx::AppRetCode CRDPubApp::On_kInitAppMsg(void* pkt) {
  AcRx::AppRetCode result = AcRxArxApp::On_kInitAppMsg(pkt);
  acedRegisterWatchWinMsg(&CRDPubApp::WatchMainWindow);
  return result;
}

AcRx::AppRetCode CRDPubApp::On_kUnloadAppMsg(void* pkt) {
  KWRDPub::DebugTrace(L"%s-%d", L"CRDPubApp::On_kUnloadAppMsg", 65);
  KWRDPub::DebugTrace(L"Unload KWRDPub.arx");
  AcRx::AppRetCode result = AcRxArxApp::On_kUnloadAppMsg(pkt);
  acedRemoveWatchWinMsg(&CRDPubApp::WatchMainWindow);
  // Blinking entities get their looks back and the timer goes while the host is still there.
  KWRDPub::twinkle::Shutdown();
  KWRDPub::TraceLogo(L"<RDPubUnloaded />");
  KWRDPub::GetModuleState().MarkUnloading();
  RDUserConfig::Save();
  return result;
}

void CRDPubApp::WatchMainWindow(const MSG* msg) {
  if (!msg) return;
  if (msg->message != WM_CLOSE && msg->message != WM_DESTROY && msg->message != WM_QUIT) return;
  if (msg->hwnd != acedGetAcadFrame()) return;
  const uint32_t tick = GetTickCount();
  SYSTEMTIME now{};
  GetLocalTime(&now);
  wchar_t line[KWRDPub::ModuleState::kLastLineChars];
  kw::FormatInto(line, std::size(line), L"<AutoCADQuited msg=0x%x  time=%02d:%02d:%02d/>",
                 msg->message, now.wHour, now.wMinute, now.wSecond);
  KWRDPub::TraceLogo(L"%s", line);
  KWRDPub::DebugTrace(L"%s", line);
  KWRDPub::GetModuleState().MarkHostEnding(line, tick);
}

void CRDPubApp::ProcessDetach() {
  CLineStyleCollection::Destroy();
  CFontCollection::Destroy();
  CRDMsgManager::Destroy();
  KWRDPub::CKWMsgTracker::Destroy();
  KWRDPub::CTraceLogo::Destroy();
}

void CRDPubApp::ClearLogo() {
  if (KWRDPub::CTraceLogo* log = KWRDPub::CTraceLogo::GetInstance(false)) log->Clear();
}

void CRDPubApp::SaveLogo() {
  KWRDPub::CTraceLogo* log = KWRDPub::CTraceLogo::GetInstance(false);
  if (!log) return;
  wchar_t file[kPathChars] = {};
  OPENFILENAMEW ofn{acedGetAcadFrame(),
                    L"日志文件(*.log)|*.log||",
                    file,
                    kPathChars,
                    nullptr,
                    OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT,
                    L".log"};
  if (!GetSaveFileNameW(&ofn)) return;
  if (log->Save(file)) return;
  std::wstring text = kw::FormatW(L"无法写入文件 %s。", file);
  MessageBoxW(acedGetAcadFrame(), text.c_str(), L"KWRDPub", MB_OK | MB_ICONERROR);
}

void CRDPubApp::TraceMsgLogo() {
  KWRDPub::ModuleState& st = KWRDPub::GetModuleState();
  std::wstring prompt =
      std::wstring(L"记录消息发送日志[记录(Y)/不记录(N)]") + (st.SendLog() ? L"<Y>:" : L"<N>:");
  wchar_t answer[133] = {};
  acedInitGet(0, L"Y N");
  if (acedGetKword(prompt.c_str(), answer, std::size(answer)) == RTCAN) return;
  if (kw::EqualsNoCase(answer, L"Y")) {
    st.SetSendLog(1);
  } else if (kw::EqualsNoCase(answer, L"N")) {
    st.SetSendLog(0);
  }
}

void CRDPubApp::MsgWatchers() {
  KWRDPub::PrintWatcherList(*CRDMsgManager::GetInstance());
}

extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* pkt) {
  return CRDPubApp::GetInstance().Dispatch(msg, pkt);
}

extern "C" int acrxGetApiVersion() {
  return kApiVersion;
}
