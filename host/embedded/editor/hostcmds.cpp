// The host's own commands and acedCommand, which runs them (and registered commands) with
// answers given by the caller.
#include <cstdarg>
#include <map>
#include <string>
#include <vector>

#include "common/format.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace kwhost::editor {

namespace {

std::map<std::wstring, HostCommand, NoCaseLess>& HostCommands() {
  static std::map<std::wstring, HostCommand, NoCaseLess> commands;
  return commands;
}

}  // namespace

void AddHostCommand(const wchar_t* name, HostCommand command) {
  if (name && *name && command) HostCommands()[name] = command;
}

HostCommand FindHostCommand(std::wstring_view name) {
  auto it = HostCommands().find(std::wstring(name));
  return it == HostCommands().end() ? nullptr : it->second;
}

}  // namespace kwhost::editor

namespace kwhost {

std::vector<std::wstring> HostCommandNames() {
  std::vector<std::wstring> names;
  for (const auto& entry : editor::HostCommands()) names.push_back(entry.first);
  return names;
}

}  // namespace kwhost

namespace {

using kwhost::editor::CommandLine;
using kwhost::editor::Editor;

std::wstring RealText(double v) {
  return kw::FormatW(L"%.17g", v);
}

// The answers of an argument list; false for a type it cannot carry or a null value.
bool CollectArguments(int rtype, va_list args, std::vector<std::wstring>* out) {
  for (int type = rtype; type != 0 && type != RTNONE; type = va_arg(args, int)) {
    if (type == RTSTR) {
      const wchar_t* text = va_arg(args, const wchar_t*);
      if (!text) return false;
      out->emplace_back(text);
    } else if (type == RTSHORT || type == RTLONG) {
      out->push_back(std::to_wstring(va_arg(args, int)));
    } else if (type == RTREAL || type == RTANG) {
      out->push_back(RealText(va_arg(args, double)));
    } else if (type == RTPOINT || type == RT3DPOINT) {
      const double* p = va_arg(args, const double*);
      if (!p) return false;
      std::wstring text = RealText(p[0]) + L"," + RealText(p[1]);
      if (type == RT3DPOINT) text += L"," + RealText(p[2]);
      out->push_back(text);
    } else {
      return false;
    }
  }
  return true;
}

std::wstring BareName(const std::wstring& name) {
  return kw::TrimLeft(name, L"_.-");
}

bool CommandExists(const std::wstring& name) {
  return kwhost::editor::FindHostCommand(name) || acedRegCmds()->lookupGlobalCmd(name.c_str()) ||
         acedRegCmds()->lookupLocalCmd(name.c_str());
}

// Runs the commands the answers name, each taking the answers after its name.
int RunScripted(std::vector<std::wstring> answers) {
  CommandLine& line = Editor().line;
  for (std::wstring& a : answers) line.args.push_back(std::move(a));
  while (!line.args.empty()) {
    std::wstring name = BareName(line.args.front());
    line.args.pop_front();
    if (name.empty()) continue;
    if (!CommandExists(name)) {
      kwhost::editor::Print(L"\n未知命令\"" + kw::ToUpper(name) + L"\"。");
      return RTERROR;
    }
    kwhost::RunCommand(name.c_str());
    if (line.argsRanOut) return RTCAN;
  }
  return RTNORM;
}

// acedCommand's state is saved around the run, so a command may itself call acedCommand.
int CommandV(int rtype, va_list args) {
  std::vector<std::wstring> answers;
  if (!CollectArguments(rtype, args, &answers) || answers.empty()) return RTERROR;
  CommandLine& line = Editor().line;
  std::deque<std::wstring> outerArgs;
  outerArgs.swap(line.args);
  const bool outerScripted = line.scripted;
  const bool outerRanOut = line.argsRanOut;
  line.scripted = true;
  line.argsRanOut = false;
  int rc = RunScripted(std::move(answers));
  line.args.swap(outerArgs);
  line.scripted = outerScripted;
  line.argsRanOut = outerRanOut;
  return rc;
}

}  // namespace

int acedCommand(int rtype, ...) {
  va_list args;
  va_start(args, rtype);
  int rc = CommandV(rtype, args);
  va_end(args);
  return rc;
}

int acedCommandS(int rtype, ...) {
  va_list args;
  va_start(args, rtype);
  int rc = CommandV(rtype, args);
  va_end(args);
  return rc;
}
