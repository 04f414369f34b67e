// The command stack: groups of commands (the editor's state), looked up by name ignoring case.
// A lookup searches the groups from the last added to the first, so a later group shadows an
// earlier one.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/accmd.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace {

class Command : public AcEdCommand {
 public:
  Command(const std::wstring& group, const std::wstring& global, const std::wstring& local,
          int flags, AcRxFunctionPtr fn, void* resource, int fcode)
      : m_groupText(group), m_globalText(global), m_localText(local) {
    m_group = m_groupText.c_str();
    m_global = m_globalText.c_str();
    m_local = m_localText.c_str();
    m_flags = flags;
    m_fn = fn;
    m_resource = resource;
    m_fcode = fcode;
  }

 private:
  std::wstring m_groupText, m_globalText, m_localText;
};

using kwhost::editor::CommandGroup;
using kwhost::editor::Editor;

std::vector<CommandGroup>& Groups() {
  return Editor().commands;
}

class CommandStack : public AcEdCommandStack {
 public:
  Acad::ErrorStatus addCommand(const wchar_t* group, const wchar_t* globalName,
                               const wchar_t* localName, int flags, AcRxFunctionPtr fn,
                               void* /*uiContext*/, int fcode, void* hResource,
                               void** cmdOut) override {
    if (kw::SafeLength(group) == 0 || kw::SafeLength(globalName) == 0 || !fn) {
      return Acad::eInvalidInput;
    }
    CommandGroup* g = FindGroup(group);
    if (!g) g = &Groups().emplace_back(CommandGroup{group, {}});
    for (auto& c : g->commands) {
      if (kw::EqualsNoCase(c->globalName(), globalName)) return Acad::eDuplicateKey;
    }
    std::wstring local = kw::SafeLength(localName) ? localName : globalName;
    g->commands.push_back(
        std::make_unique<Command>(g->name, globalName, local, flags, fn, hResource, fcode));
    if (cmdOut) *cmdOut = g->commands.back().get();
    return Acad::eOk;
  }

  Acad::ErrorStatus removeGroup(const wchar_t* group) override {
    std::vector<CommandGroup>& groups = Groups();
    auto it = std::find_if(groups.begin(), groups.end(), [&](const CommandGroup& g) {
      return kw::EqualsNoCase(g.name, kw::View(group));
    });
    if (!group || it == groups.end()) return Acad::eKeyNotFound;
    groups.erase(it);
    return Acad::eOk;
  }

  Acad::ErrorStatus removeCmd(const wchar_t* group, const wchar_t* globalName) override {
    CommandGroup* g = FindGroup(group);
    if (!g || !globalName) return Acad::eKeyNotFound;
    auto& cmds = g->commands;
    auto it = std::find_if(cmds.begin(), cmds.end(), [&](const std::unique_ptr<AcEdCommand>& c) {
      return kw::EqualsNoCase(c->globalName(), globalName);
    });
    if (it == cmds.end()) return Acad::eKeyNotFound;
    cmds.erase(it);
    return Acad::eOk;
  }

  AcEdCommand* lookupGlobalCmd(const wchar_t* name) override { return Lookup(name, true); }
  AcEdCommand* lookupLocalCmd(const wchar_t* name) override { return Lookup(name, false); }

  static std::vector<std::wstring> GlobalNames() {
    std::vector<std::wstring> names;
    for (auto& g : Groups()) {
      for (auto& c : g.commands) names.emplace_back(c->globalName());
    }
    std::sort(names.begin(), names.end(), [](const std::wstring& a, const std::wstring& b) {
      return kw::CompareNoCase(a, b) < 0;
    });
    names.erase(std::unique(names.begin(), names.end(),
                            [](const std::wstring& a, const std::wstring& b) {
                              return kw::EqualsNoCase(a, b);
                            }),
                names.end());
    return names;
  }

 private:
  static CommandGroup* FindGroup(const wchar_t* name) {
    for (auto& g : Groups()) {
      if (kw::EqualsNoCase(g.name, kw::View(name))) return &g;
    }
    return nullptr;
  }

  static AcEdCommand* Lookup(const wchar_t* name, bool global) {
    if (!name) return nullptr;
    std::vector<CommandGroup>& groups = Groups();
    for (auto g = groups.rbegin(); g != groups.rend(); ++g) {
      for (auto& c : g->commands) {
        if (kw::EqualsNoCase(global ? c->globalName() : c->localName(), name)) return c.get();
      }
    }
    return nullptr;
  }
};

CommandStack& Stack() {
  static CommandStack stack;
  return stack;
}

}  // namespace

AcEdCommandStack* acedRegCmds() {
  return &Stack();
}

ACRX_NO_CONS_DEFINE_MEMBERS(AcEdCommand, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcEdCommandStack, AcRxObject)

namespace kwhost {

bool RunCommand(const wchar_t* globalName) {
  if (editor::HostCommand host = globalName ? editor::FindHostCommand(globalName) : nullptr) {
    host();
    editor::Editor().prompt.ClearInitGet();
    return true;
  }
  AcEdCommand* cmd = Stack().lookupGlobalCmd(globalName);
  if (!cmd) cmd = Stack().lookupLocalCmd(globalName);
  if (!cmd) return false;
  AcRxFunctionPtr fn = cmd->functionAddr();
  fn();
  editor::Editor().prompt.ClearInitGet();
  return true;
}

std::vector<std::wstring> CommandNames() {
  return CommandStack::GlobalNames();
}

}  // namespace kwhost
