// The body of the RDVar command of group "RDPub": lists ("?") and edits the registered user
// variables on the command line. The table itself (persist/RDUserConfig) only hands out and takes
// data; the prompts, the answers and the reports are here.
//
// CRDPubApp declares the command with the others; only its body lives in this file.
//
// An edit is saved at once. A save that fails is reported on the command line; the new value
// stays in the table as changed, so the next save (another edit, or the module's unload) tries
// again.
#include <string>
#include <string_view>

#include "app/RDPubApp.h"
#include "common/format.h"
#include "host/api/adesk.h"
#include "host/api/editor.h"
#include "persist/RDUserConfig.h"

namespace {

constexpr size_t kAnswerChars = 2049;

void ListRegistered() {
  for (const RDUserConfig::VarText& var : RDUserConfig::RegisteredVars()) {
    acutPrintf(L"\n%s\t\t%s", var.name.c_str(), var.value.c_str());
  }
}

void SaveAndReport() {
  std::wstring error;
  if (!RDUserConfig::Save(&error)) acutPrintf(L"\n%s", error.c_str());
}

// Asks for the new value of a registered variable by its type and stores it on normal input.
void EditVariable(const wchar_t* answer) {
  std::wstring prompt = kw::FormatW(L"\n输入变量 %s 的新值 <%s>:", answer,
                                    RDUserConfig::GetStrVar(answer, nullptr).c_str());
  RDUserConfig::EValueType type = RDUserConfig::VarValueType(answer);
  if (type == RDUserConfig::kIntVar) {
    int value = 0;
    if (acedGetInt(prompt.c_str(), &value) != RTNORM) return;
    RDUserConfig::SetVar(answer, value);
  } else if (type == RDUserConfig::kDoubleVar) {
    double value = 0.0;
    if (acedGetReal(prompt.c_str(), &value) != RTNORM) return;
    RDUserConfig::SetVar(answer, value);
  } else {
    wchar_t value[kAnswerChars] = {};
    if (acedGetString(0, prompt.c_str(), value, kAnswerChars) != RTNORM) return;
    RDUserConfig::SetVar(answer, static_cast<const wchar_t*>(value));
  }
  SaveAndReport();
}

}  // namespace

void CRDPubApp::RDVar() {
  wchar_t answer[kAnswerChars];
  for (;;) {
    answer[0] = L'\0';
    if (acedGetString(0, L"\n输入变量名或[?]:", answer, kAnswerChars) != RTNORM) return;
    if (answer[0] == L'\0') return;
    if (std::wstring_view(answer) == L"?") {
      ListRegistered();
    } else if (RDUserConfig::IsRegisterVar(answer)) {
      EditVariable(answer);
      return;
    } else {
      acutPrintf(L"\n不存在变量 %s", answer);
    }
  }
}
