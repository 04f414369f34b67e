// The session: the one embedded host of the process, made of its services. Each service owns
// its state and knows how to reset it; this file only groups them, fixes the order in which a
// session ends and a new one starts, and carries out the controls that span services.
//
// Reset order (ResetSession), and why:
//   1. modules  every module gets kUnloadAppMsg while the rest of the session still stands, so
//               its unload handler can remove its commands, watchers and timers;
//   2. editor   commands, prompt settings, input and output, system variables, dialog logs;
//   3. rx       registry entries others stored (the services' own entries stay pinned);
//   4. frame    watchers, posted messages, timers, the clock; the main frame is open again;
//   5. docs     one new "Drawing1.dwg";
//   6. view     model space, the default view, the world UCS, the default screen.
//   7. redraw   every entity drawn plainly again, no refreshes counted.
// Run-time classes survive every reset: modules cache their class pointers.
#include <string>

#include "common/fileio.h"
#include "host/api/accmd.h"
#include "host/api/rx.h"
#include "host/embedded/docs/docs.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/frame/frame.h"
#include "host/embedded/modules/modules.h"
#include "host/embedded/redraw/redraw.h"
#include "host/embedded/rx/rx.h"
#include "host/embedded/view/view.h"
#include "kwhost/embedded.h"

AcRxDictionary* acrxSysRegistry() {
  AcRxDictionary& registry = kwhost::rx::Registry();
  if (!registry.has(L"ClassDictionary")) {
    kwhost::rx::Pin(L"ClassDictionary", acrxClassDictionaryPtr());
    kwhost::rx::Pin(L"DynamicLinker", acrxDynamicLinkerPtr());
    kwhost::rx::Pin(L"ACAD_REGISTERED_COMMANDS", acedRegCmds());
  }
  return &registry;
}

namespace kwhost {

void ResetSession() {
  modules::Reset();
  editor::Reset();
  rx::Reset();
  frame::Reset();
  docs::Reset();
  view::Reset();
  redraw::Reset();
}

void OpenDocument(const std::wstring& fileName) {
  AcApDocument* doc = docs::Open(fileName);
  editor::SetVarText(L"DWGNAME", doc->docTitle());
  std::wstring folder = kw::ParentOf(fileName);
  editor::SetVarText(L"DWGPREFIX", folder.empty() ? folder : folder + L"/");
}

void CloseMainFrame() {
  if (frame::Close()) modules::UnloadAll();
}

}  // namespace kwhost
