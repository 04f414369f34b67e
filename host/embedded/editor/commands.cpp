// The command stack: groups of commands, looked up by name ignoring case.
//
// Invariants:
//   1. Groups are kept in the order they were first added; a lookup searches the groups from
//      the last added to the first, so a later group shadows an earlier one.
//   2. Within a group, global names are unique ignoring case.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/accmd.h"
#include "host/embedded/internal/session.h"
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

struct Group {
  std::wstring name;
  std::vector<std::unique_ptr<Command>> commands;
};

class CommandStack : public AcEdCommandStack {
 public:
  Acad::ErrorStatus addCommand(const wchar_t* group, const wchar_t* globalName,
                               const wchar_t* localName, int flags, AcRxFunctionPtr fn,
                               void* /*uiContext*/, int fcode, void* hResource,
                               void** cmdOut) override {
    if (kw::SafeLength(group) == 0 || kw::SafeLength(globalName) == 0 || !fn) {
      return Acad::eInvalidInput;
    }
    Group* g = FindGroup(group);
    if (!g) g = &m_groups.emplace_back(Group{group, {}});
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
    auto it = std::find_if(m_groups.begin(), m_groups.end(), [&](const Group& g) {
      return kw::EqualsNoCase(g.name, kw::View(group));
    });
    if (!group || it == m_groups.end()) return Acad::eKeyNotFound;
    m_groups.erase(it);
    return Acad::eOk;
  }

  Acad::ErrorStatus removeCmd(const wchar_t* group, const wchar_t* globalName) override {
    Group* g = FindGroup(group);
    if (!g || !globalName) return Acad::eKeyNotFound;
    auto& cmds = g->commands;
    auto it = std::find_if(cmds.begin(), cmds.end(), [&](const std::unique_ptr<Command>& c) {
      return kw::EqualsNoCase(c->globalName(), globalName);
    });
    if (it == cmds.end()) return Acad::eKeyNotFound;
    cmds.erase(it);
    return Acad::eOk;
  }

  AcEdCommand* lookupGlobalCmd(const wchar_t* name) override { return Lookup(name, true); }
  AcEdCommand* lookupLocalCmd(const wchar_t* name) override { return Lookup(name, false); }

  std::vector<std::wstring> GlobalNames() const {
    std::vector<std::wstring> names;
    for (auto& g : m_groups) {
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

  void Clear() { m_groups.clear(); }

 private:
  Group* FindGroup(const wchar_t* name) {
    for (auto& g : m_groups) {
      if (kw::EqualsNoCase(g.name, kw::View(name))) return &g;
    }
    return nullptr;
  }

  AcEdCommand* Lookup(const wchar_t* name, bool global) {
    if (!name) return nullptr;
    for (auto g = m_groups.rbegin(); g != m_groups.rend(); ++g) {
      for (auto& c : g->commands) {
        if (kw::EqualsNoCase(global ? c->globalName() : c->localName(), name)) return c.get();
      }
    }
    return nullptr;
  }

  std::vector<Group> m_groups;
};

CommandStack& Stack() {
  static CommandStack stack;
  return stack;
}

}  // namespace

AcEdCommandStack* acedRegCmds() {
  return &Stack();
}

namespace kwhost {

namespace detail {
void ClearCommands() {
  Stack().Clear();
}
}  // namespace detail

bool RunCommand(const wchar_t* globalName) {
  AcEdCommand* cmd = Stack().lookupGlobalCmd(globalName);
  if (!cmd) cmd = Stack().lookupLocalCmd(globalName);
  if (!cmd) return false;
  AcRxFunctionPtr fn = cmd->functionAddr();
  fn();
  auto& s = detail::S();
  s.initFlags = 0;
  s.keywords.clear();
  s.globals.clear();
  return true;
}

std::vector<std::wstring> CommandNames() {
  return Stack().GlobalNames();
}

}  // namespace kwhost
