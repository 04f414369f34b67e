// System variables: a store by name (ignoring case) with the usual defaults of a new drawing,
// the variables other services keep (hooks), and the result buffers that carry their values.
#include <cstdlib>
#include <cwchar>
#include <map>
#include <new>

#include "common/encoding.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::editor::SysVar;

SysVar Short(int v, bool ro = false) {
  SysVar s;
  s.type = RTSHORT;
  s.integer = v;
  s.readOnly = ro;
  return s;
}

SysVar Real(double v, bool ro = false) {
  SysVar s;
  s.type = RTREAL;
  s.point[0] = v;
  s.readOnly = ro;
  return s;
}

SysVar Text(const wchar_t* v, bool ro = false) {
  SysVar s;
  s.type = RTSTR;
  s.text = v;
  s.readOnly = ro;
  return s;
}

bool SameKind(short stored, short given) {
  auto kind = [](short t) {
    if (t == RTLONG) return static_cast<short>(RTSHORT);
    if (t == RTPOINT) return static_cast<short>(RT3DPOINT);
    return t;
  };
  return kind(stored) == kind(given);
}

void Store(SysVar* var, const resbuf* value) {
  switch (value->restype) {
    case RTSHORT:
      var->integer = value->resval.rint;
      break;
    case RTLONG:
      var->integer = value->resval.rlong;
      break;
    case RTREAL:
      var->point[0] = value->resval.rreal;
      break;
    case RTPOINT:
    case RT3DPOINT:
      for (int i = 0; i < 3; ++i) var->point[i] = value->resval.rpoint[i];
      if (value->restype == RTPOINT) var->point[2] = 0;
      break;
    case RTSTR:
      var->text = kw::View(value->resval.rstring);
      break;
    default:
      break;
  }
}

std::map<std::wstring, kwhost::editor::SysVarHook, kwhost::editor::NoCaseLess>& Hooks() {
  static std::map<std::wstring, kwhost::editor::SysVarHook, kwhost::editor::NoCaseLess> hooks;
  return hooks;
}

// The variable of that name: a hooked one's current value is put in *hooked and that is
// returned; null when there is none.
const SysVar* Find(const wchar_t* name, SysVar* hooked) {
  if (auto hook = Hooks().find(name); hook != Hooks().end()) {
    hook->second.get(hooked);
    return hooked;
  }
  auto& vars = kwhost::editor::Editor().sysVars;
  auto it = vars.find(name);
  return it == vars.end() ? nullptr : &it->second;
}

// Gives the variable `current` (as Find found it) a value of its kind: stored here, or handed
// to its hook. False for another kind, a null string or a value the hook refuses.
bool Change(const wchar_t* name, const SysVar* current, const resbuf* value) {
  if (!SameKind(current->type, value->restype)) return false;
  if (value->restype == RTSTR && !value->resval.rstring) return false;
  SysVar changed = *current;
  Store(&changed, value);
  if (auto hook = Hooks().find(name); hook != Hooks().end()) return hook->second.set(changed);
  kwhost::editor::Editor().sysVars[name] = changed;
  return true;
}

}  // namespace

namespace kwhost::editor {

SysVarMap DefaultSysVars() {
  const char* supportPath = std::getenv("KWRD_SUPPORT_PATH");
  const std::wstring support = supportPath ? kw::FromUtf8(supportPath) : std::wstring();
  return {
      {L"ACADPREFIX", Text(support.c_str(), true)},
      {L"ACADVER", Text(L"18.0s", true)},
      {L"CLAYER", Text(L"0")},
      {L"CMDECHO", Short(1)},
      {L"DWGNAME", Text(L"Drawing1.dwg", true)},
      {L"DWGPREFIX", Text(L"", true)},
      {L"FILEDIA", Short(1)},
      {L"LTSCALE", Real(1.0)},
      {L"LUNITS", Short(2)},
      {L"LUPREC", Short(4)},
      {L"AUNITS", Short(0)},
      {L"AUPREC", Short(0)},
      {L"MEASUREMENT", Short(1)},
      {L"OSMODE", Short(4133)},
      {L"PICKFIRST", Short(1)},
      {L"TEXTSIZE", Real(2.5)},
      {L"TEXTSTYLE", Text(L"Standard")},
      {L"USERI1", Short(0)},
      {L"USERI2", Short(0)},
      {L"USERI3", Short(0)},
      {L"USERI4", Short(0)},
      {L"USERI5", Short(0)},
      {L"USERR1", Real(0)},
      {L"USERR2", Real(0)},
      {L"USERR3", Real(0)},
      {L"USERR4", Real(0)},
      {L"USERR5", Real(0)},
      {L"USERS1", Text(L"")},
      {L"USERS2", Text(L"")},
      {L"USERS3", Text(L"")},
      {L"USERS4", Text(L"")},
      {L"USERS5", Text(L"")},
  };
}

void SetVarText(const wchar_t* name, const std::wstring& text) {
  SysVarMap& vars = Editor().sysVars;
  auto it = vars.find(name);
  if (it != vars.end()) it->second.text = text;
}

void AddSysVarHook(const wchar_t* name, SysVarHook hook) {
  if (name && *name && hook.get && hook.set) Hooks()[name] = hook;
}

}  // namespace kwhost::editor

int acedGetVar(const wchar_t* sym, resbuf* result) {
  if (!sym || !result) return RTERROR;
  SysVar hooked;
  const SysVar* v = Find(sym, &hooked);
  if (!v) return RTERROR;
  result->restype = v->type;
  switch (v->type) {
    case RTSHORT:
      result->resval.rint = static_cast<short>(v->integer);
      break;
    case RTLONG:
      result->resval.rlong = static_cast<int32_t>(v->integer);
      break;
    case RTREAL:
      result->resval.rreal = v->point[0];
      break;
    case RTSTR:
      result->resval.rstring = acutNewString(v->text.c_str());
      break;
    default:
      for (int i = 0; i < 3; ++i) result->resval.rpoint[i] = v->point[i];
      break;
  }
  return RTNORM;
}

int acedSetVar(const wchar_t* sym, const resbuf* value) {
  if (!sym || !value) return RTERROR;
  SysVar hooked;
  const SysVar* v = Find(sym, &hooked);
  if (!v || v->readOnly) return RTERROR;
  return Change(sym, v, value) ? RTNORM : RTERROR;
}

namespace kwhost {

bool DefineSysVar(const wchar_t* name, const resbuf* value, bool readOnly) {
  if (!name || !*name || !value) return false;
  short t = value->restype;
  if (t != RTSHORT && t != RTLONG && t != RTREAL && t != RTPOINT && t != RT3DPOINT && t != RTSTR) {
    return false;
  }
  SysVar hooked;
  if (const SysVar* v = Find(name, &hooked); v == &hooked) return Change(name, v, value);
  SysVar var;
  var.type = t == RTPOINT ? static_cast<short>(RT3DPOINT) : t;
  var.readOnly = readOnly;
  Store(&var, value);
  editor::Editor().sysVars[name] = var;
  return true;
}

}  // namespace kwhost
