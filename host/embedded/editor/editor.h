// The editor service: the command line (queued input, the reader behind it, where output
// goes), the settings of acedInitGet, the command stack, system variables, and what dialogs
// left for inspection.
//
// States of the command line: lines come from `input` first, then from `reader` until it
// reports the end of input; after that only queued lines are taken.
//
// Invariants:
//   1. `line.input` holds whole lines; the first `line.taken` characters of the front one were
//      already taken as words (0 <= taken < its length, or 0 for an empty line), so taking a
//      word never copies the rest of its line.
//   2. `line.readerDone` is set once the reader reported the end of input; it is never asked
//      again.
//   3. `prompt` holds acedInitGet's settings for the next prompt only: every acedGet* call and
//      every command run clears them.
//   4. Command groups are kept in the order first added; within a group, global names are
//      unique ignoring case.
//   5. `dialogs` keeps at most the latest 10,000 boxes and trace lines.
//   6. While `line.scripted` is set (acedCommand), prompts take their answers from
//      `line.args` only, whole; when those run out, `line.argsRanOut` is set and the prompt is
//      cancelled. The answer "\\" hands that one prompt back to the ordinary input.
#ifndef KW_HOST_EMBEDDED_EDITOR_EDITOR_H_
#define KW_HOST_EMBEDDED_EDITOR_EDITOR_H_

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/text.h"
#include "host/api/accmd.h"
#include "host/api/adsdef.h"

namespace kwhost::editor {

struct CommandLine {
  std::deque<std::wstring> input;
  size_t taken = 0;
  std::function<bool(std::wstring*)> reader;
  bool readerInteractive = false;
  bool readerDone = false;
  std::wstring captured;
  std::function<void(std::wstring_view)> sink;
  std::deque<std::wstring> args;
  bool scripted = false;
  bool argsRanOut = false;
};

struct PromptSettings {
  int initFlags = 0;
  std::vector<std::wstring> keywords;  // local names as listed
  std::vector<std::wstring> globals;   // global names, same positions
  std::wstring lastKeyword;
  // Forgets the acedInitGet settings (the last keyword stays).
  void ClearInitGet();
};

struct CommandGroup {
  std::wstring name;
  std::vector<std::unique_ptr<AcEdCommand>> commands;
};

struct DialogLog {
  std::vector<std::wstring> boxes;
  std::vector<std::wstring> debugTrace;
};

// A system variable's value (one resbuf's worth, strings owned here).
struct SysVar {
  short type = RTSHORT;
  double point[3] = {0, 0, 0};  // RTREAL uses point[0]
  int64_t integer = 0;          // RTSHORT, RTLONG
  std::wstring text;            // RTSTR
  bool readOnly = false;
};

struct NoCaseLess {
  bool operator()(const std::wstring& a, const std::wstring& b) const {
    return kw::CompareNoCase(a, b) < 0;
  }
};
using SysVarMap = std::map<std::wstring, SysVar, NoCaseLess>;

// The system variables of a new drawing.
SysVarMap DefaultSysVars();

// A variable whose value another service keeps (the view service's VIEWCTR, PICKBOX, ...), so
// that it always agrees with that service's state. `get` fills the current value, its type and
// whether acedSetVar may change it; `set` takes a new value of that type and answers false when
// it refuses it (out of range, not finite). The table lives for the process: services above
// the editor fill it when the library loads, and a hooked name is never in `sysVars`.
struct SysVarHook {
  void (*get)(SysVar* value) = nullptr;
  bool (*set)(const SysVar& value) = nullptr;
};
void AddSysVarHook(const wchar_t* name, SysVarHook hook);

struct State {
  CommandLine line;
  PromptSettings prompt;
  std::vector<CommandGroup> commands;
  SysVarMap sysVars = DefaultSysVars();
  DialogLog dialogs;
};

State& Editor();
// A new session's editor: no commands, input, output, sink or reader; default variables.
void Reset();

// Writes text to the output sink (or the capture buffer).
void Print(std::wstring_view text);
// A look at the rest of the next line for message boxes: queued, or read ahead from a
// non-interactive reader (and queued). False when there is none. Valid until input changes.
bool PeekLine(std::wstring_view* rest);
// Drops the rest of the next queued line (the one PeekLine showed).
void DropLine();
// The keyword of `keywords` that `answer` names (whole, by its capital letters, or by a
// prefix at least that long; ignoring case), or its global name when `globals` has one at
// that position; "" when none.
std::wstring MatchKeyword(const std::wstring& answer, const std::vector<std::wstring>& keywords,
                          const std::vector<std::wstring>& globals);

// The host's own support folder: share/kwrdpub/support beside the executable's folder (the
// build tree and an install have the same shape); "" when the executable's folder is unknown.
std::wstring HostSupportFolder();
// acedFindFile's search with `drawingFolder` in the drawing's place ("" skips it): the full
// path of the file, or "" when it is not found.
std::wstring FindFile(std::wstring_view name, std::wstring_view drawingFolder);

// A command of the host itself (LINETYPE, ...): run by name like registered commands, before
// them. The table lives for the process; services above the editor fill it when the library
// loads.
using HostCommand = void (*)();
void AddHostCommand(const wchar_t* name, HostCommand command);
// The host command of that name (ignoring case), or null.
HostCommand FindHostCommand(std::wstring_view name);

// Sets the text of a variable, read-only or not (the drawing's name when a document opens);
// nothing when there is no such variable.
void SetVarText(const wchar_t* name, const std::wstring& text);

}  // namespace kwhost::editor

#endif  // KW_HOST_EMBEDDED_EDITOR_EDITOR_H_
