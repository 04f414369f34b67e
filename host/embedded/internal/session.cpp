// The session: one embedded host per process, and its reset.
#include "host/embedded/internal/session.h"

#include <string>
#include <vector>

#include "host/api/rx.h"
#include "kwhost/embedded.h"

namespace kwhost::detail {

namespace {

// Fills a fresh session with what a new host has: default system variables and one drawing.
void Start(Session& s) {
  LoadDefaultSysVars(s);
  s.documents.push_back(std::make_unique<AcApDocument>(L"Drawing1.dwg"));
  s.current = s.documents.back().get();
}

// Takes out (and frees) what others stored in the system registry.
void ClearRegistryExtras() {
  AcRxDictionary* reg = acrxSysRegistry();
  std::vector<std::wstring> extras;
  for (const auto& [key, obj] : reg->entries()) {
    if (key != L"ClassDictionary" && key != L"DynamicLinker" &&
        key != L"ACAD_REGISTERED_COMMANDS") {
      extras.push_back(key);
    }
  }
  for (const std::wstring& key : extras) delete reg->remove(key.c_str());
}

}  // namespace

Session& S() {
  static Session session;
  static bool started = (Start(session), true);
  (void)started;
  return session;
}

}  // namespace kwhost::detail

namespace kwhost {

void ResetSession() {
  detail::UnloadAllModules();
  detail::ClearCommands();
  detail::ClearRegistryExtras();
  detail::Session& s = detail::S();
  s = detail::Session();
  detail::Start(s);
}

}  // namespace kwhost
