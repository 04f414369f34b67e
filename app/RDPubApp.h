// KWRDPub's module entry: the application object, the command group "RDPub" and the watcher
// that notices the host's main window closing.
//
// Load (kInitAppMsg): unlock and MDI-aware declaration, the five commands of group "RDPub"
// (ClearLogo, SaveLogo, TraceMsgLogo, MsgWatchers, RDVar), then the main-window watcher.
// Unload (kUnloadAppMsg): two debugging-trace lines, the command group removed, the watcher
// removed, "<RDPubUnloaded />" traced, the host-ending flag set, the user variables saved.
// Process detach (the shared object's unload): ProcessDetach tears down every singleton of the
// library. The application object itself lives in static storage and is never destroyed.
#ifndef KW_APP_RDPUBAPP_H_
#define KW_APP_RDPUBAPP_H_

#include "app/AcRxArxApp.h"
#include "host/api/win.h"

class CRDPubApp : public AcRxArxApp {
 public:
  CRDPubApp();

  // The process's application object.
  static CRDPubApp& GetInstance();

  AcRx::AppRetCode On_kInitAppMsg(void* pkt) override;
  AcRx::AppRetCode On_kUnloadAppMsg(void* pkt) override;

  // The main-window watcher: WM_CLOSE, WM_DESTROY and WM_QUIT addressed to the main frame
  // record the host's end (tick count, trace line, host-ending flag).
  static void WatchMainWindow(const MSG* msg);
  // The library's one shutdown: destroys every singleton of the library, in this order:
  //   1. the line style and text style collections (unsaved changes are dropped, as at exit);
  //   2. the message dispatcher (it releases its auto-deleted watcher objects);
  //   3. the message tracker;
  //   4. the trace log, last: the others may write lines until they are gone, and a running
  //      companion is asked to keep the last lines before the block goes.
  // It never calls the host, which may be gone by then (at process exit); the flashing
  // highlight, which needs the host to restore entities, ends at the unload message.
  // Each is created again by its next GetInstance. Safe to call more than once.
  static void ProcessDetach();

  // The five commands of group "RDPub".
  static void ClearLogo();
  static void SaveLogo();
  static void TraceMsgLogo();
  static void MsgWatchers();
  static void RDVar();
};

// The module's entry point, called by the host with each application message.
extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* pkt);
// The host-API version the module was built for.
extern "C" int acrxGetApiVersion();

#endif  // KW_APP_RDPUBAPP_H_
