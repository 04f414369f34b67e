// Controls of the embedded CAD host, for tests and tools (the console host rdpub uses them
// too). Module developers write their tests with these:
//
//   kwhost::ResetSession();                       // a fresh world for each test
//   kwhost::QueueInput(L"Y");                     // the answer to the next prompt
//   ASSERT_TRUE(kwhost::RunCommand(L"TraceMsgLogo"));
//   EXPECT_EQ(kwhost::TakeOutput(), L"记录消息发送日志[记录(Y)/不记录(N)]<Y>:");
//
// The host is single-threaded: call everything from one thread. There is one session per
// process. Invariants of a session:
//   1. Output printed by the host API (acutPrintf, prompts, message boxes) reaches the output
//      sink in order: captured for TakeOutput by default, or the sink set by SetOutputSink.
//   2. A prompt takes its answer from the queued input first, then from the input reader (if
//      one is set); when both are empty the prompt is cancelled (RTCAN). Nothing ever blocks
//      except an input reader.
//   3. The main frame window exists from ResetSession to CloseMainFrame.
//   4. Modules are unloaded in the reverse order of loading.
#ifndef KWHOST_EMBEDDED_H_
#define KWHOST_EMBEDDED_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/api/dbid.h"
#include "host/api/ge.h"
#include "host/api/win.h"

struct resbuf;
class AcDbDatabase;

namespace kwhost {

// ---------------------------------------------------------------- session

// Ends the current session and starts a fresh one: loaded modules are sent kUnloadAppMsg and
// unloaded, then commands, system variables (back to their defaults), queued input, captured
// output, message boxes and debug trace, window watchers, posted messages, timers, documents
// (one new "Drawing1.dwg"), the clock (real) and the redraw states and counts are reset, the
// output sink and input reader removed. Registered run-time classes are kept (modules cache their
// class pointers).
void ResetSession();

// ---------------------------------------------------------------- command line

// Queues answers for coming prompts, after those already queued. Each "\n" in `lines` starts
// another line (a trailing "\r" is dropped from each). Special lines: "^C" cancels the prompt
// that takes it; a line starting with "!" followed by a button name (OK, CANCEL, YES, NO,
// ABORT, RETRY, IGNORE, any case) answers the next message box when it is the next line at
// that moment; at any other time it is an ordinary answer.
void QueueInput(const std::wstring& lines);
// Number of queued lines not yet taken (a partly taken line counts as one).
size_t PendingInput();
// Drops every queued line.
void ClearInput();

// Text printed since the last call (captured output only).
std::wstring TakeOutput();
// One "[caption] text" per message box since the last call.
std::vector<std::wstring> TakeMessageBoxes();
// One entry per OutputDebugStringW call since the last call.
std::vector<std::wstring> TakeDebugTrace();

// Where output goes instead of the capture buffer (rdpub: stdout). An empty function restores
// capturing.
void SetOutputSink(std::function<void(std::wstring_view)> sink);
// Reads the next line of input when the queue is empty: returns false at the end of input
// (the reader is not called again after that). The console host sets one that reads the
// terminal or the script. An interactive reader is never asked ahead of a prompt, so message
// boxes then take their default button.
void SetInputReader(std::function<bool(std::wstring* line)> reader, bool interactive = false);
// The next input word for the caller itself (the console's command prompt), taken as
// acedGetString(0, ...) takes it: up to the first blank, the rest of the line staying queued.
// False at the end of input.
bool NextInputWord(std::wstring* word);

// ---------------------------------------------------------------- commands

// Runs the host's own command (LINETYPE) or else the registered command of that global (or
// else local) name, ignoring case. False (and nothing run) when there is none. Keyword
// settings of acedInitGet do not outlive a command.
bool RunCommand(const wchar_t* globalName);
// Names of the host's own commands (LINETYPE), sorted ignoring case.
std::vector<std::wstring> HostCommandNames();
// Global names of the registered commands, sorted ignoring case (each name once).
std::vector<std::wstring> CommandNames();

// ---------------------------------------------------------------- system variables

// Creates or overwrites a system variable with a copy of *value (one resbuf, not a chain),
// read-only ones included; this is how tests set "VIEWCTR" and the like. False for a null
// name or value. A variable another service keeps (the view variables, below) keeps its type
// and takes the value through that service: false for another type or a refused value.
bool DefineSysVar(const wchar_t* name, const resbuf* value, bool readOnly = false);

// ---------------------------------------------------------------- main frame and clock

// Posts a message to the main frame (or any window: NewWindow() gives handles other than the
// main frame's). Posted messages are handled by PumpMessages.
void PostMainFrameMessage(unsigned msg, WPARAM wParam = 0, LPARAM lParam = 0);
void PostWindowMessage(HWND hwnd, unsigned msg, WPARAM wParam = 0, LPARAM lParam = 0);
HWND NewWindow();
// One pass of the message loop: every message posted before the call, then every due timer.
// Returns the number of messages handled (timer messages included).
int PumpMessages();
// Closes the main frame: WM_CLOSE passes the window-message watchers, then every module gets
// kUnloadAppMsg and is unloaded. Later calls do nothing.
void CloseMainFrame();
bool MainFrameClosed();

// A manual clock: GetTickCount gives tickMs, GetLocalTime gives 2024-01-01 (a Monday) at the
// given hour:minute:second.000. AdvanceClock moves both (local time rolls over into the next
// days; the tick count wraps at 2^32; with the real clock it does nothing). Timers are not
// run by AdvanceClock: call PumpMessages.
void SetManualClock(uint32_t tickMs, int hour, int minute, int second);
void AdvanceClock(uint32_t ms);
void UseRealClock();

// ---------------------------------------------------------------- documents

// Makes lockDocument refuse (eNotApplicable) while `fail` is true.
void SetDocumentLocksFail(bool fail);
// Closes every document (curDocument() becomes null) / opens a new current one by name.
void CloseAllDocuments();
void OpenDocument(const std::wstring& fileName);

// ---------------------------------------------------------------- drawings

// Opens a drawing file as the new current document. A missing file starts a new drawing of
// that name (true); a file that cannot be read starts a new drawing too, and gives false with
// *why saying where and what is wrong ("line 12: group code 'x' is not a number").
bool OpenDrawing(const std::wstring& path, std::wstring* why = nullptr);
// A new drawing "DrawingN.dwg" (N one above the documents opened so far) as current document.
void NewDrawing();
// Saves the current drawing as DXF to `path` ("": where it was read from or last saved, else
// its document name with ".dxf") in `version` ("": its own; "R12", "2000" ... "2018"), binary
// or ASCII. The previous file is kept as NAME.bak. False with *why when there is no current
// drawing, the version is not written by this host, or the file cannot be written.
bool SaveDrawing(const std::wstring& path = L"", const std::wstring& version = L"",
                 bool binary = false, std::wstring* why = nullptr);
// The current document's drawing database (null when there is no current document).
AcDbDatabase* CurrentDatabase();
// One line per live entity of model space, in order: handle, DXF type, layer and the key
// geometry ("2A LINE Road (0,0,0) (10,5,0)").
std::vector<std::wstring> ListModelSpace();

// ---------------------------------------------------------------- modules

// Loads a module with dlopen and sends it kInitAppMsg. False when the file cannot be loaded,
// has no acrxEntryPoint or answers kRetError (*error, when given, then says why in one line).
// Loading a module already loaded does nothing and succeeds.
bool LoadModule(const std::wstring& path, std::wstring* error = nullptr);
// Sends kUnloadAppMsg to one module and unloads it. False when it is not loaded or is still
// locked (it never called unlockApplication).
bool UnloadModule(const std::wstring& path);
// Sends kUnloadAppMsg to every module, last loaded first, and unloads them, locked or not.
void UnloadModules();
// Paths of the loaded modules in load order.
std::vector<std::wstring> LoadedModules();

// ---------------------------------------------------------------- views (view service)
//
// One view per space (model space, the paper layouts) shown on one screen; the view variables
// (VIEWCTR, VIEWSIZE, VSMIN, VSMAX, VIEWDIR, TARGET, VIEWMODE, VIEWTWIST, FRONTZ, BACKZ,
// LENSLENGTH, SCREENSIZE, PICKBOX, PICKADD, CVPORT, CTAB, TILEMODE, WORLDUCS, UCSORG, UCSXDIR,
// UCSYDIR) are computed from it when read, and DefineSysVar on one of them changes the view
// (false when the value is refused; VSMIN, VSMAX and WORLDUCS follow from the rest and refuse
// every value). A new session: model space, a view 100 units high centred on the world origin
// seen from above, a 1280 x 720 pixel screen, the world UCS, PICKBOX 3, PICKADD 1.

// The screen in pixels (SCREENSIZE): the view keeps its centre and height (VIEWSIZE), its
// width follows the screen's shape. False, nothing changed, below 1 or above 65535 pixels.
bool SetScreenSize(int widthPixels, int heightPixels);
// Makes a UCS current: origin and axes in world coordinates; y is turned in the plane of the
// two axes to be perpendicular to x. False, nothing changed, for a zero or non-finite axis,
// parallel axes or a non-finite origin.
bool SetUcs(const AcGePoint3d& origin, const AcGeVector3d& xAxis, const AcGeVector3d& yAxis);
// Makes the world coordinate system the UCS again.
void SetWorldUcs();

// ---------------------------------------------------------------- redraw (the redraw service)

// How acedRedraw left an entity: hidden by mode 2 until mode 1 shows it again, highlighted by
// mode 3 until mode 4. An entity never redrawn (or not an entity) is neither.
struct RedrawState {
  bool hidden = false;
  bool highlighted = false;
  bool operator==(const RedrawState&) const = default;
};
RedrawState EntityRedrawState(AcDbObjectId id);
// Whole-view refreshes (acedRedraw with a null entity) since the session started.
int64_t ViewRefreshCount();
// Successful acedRedraw calls on single entities with modes 1-4 since the session started.
int64_t EntityRedrawCount();

// ---------------------------------------------------------------- pictures (the svg service)

// Writes the current view of the current drawing's model space as an SVG picture (white
// ground): lines, arcs, circles, polylines with bulges and widths, linetype patterns with their
// text and shape elements, block references, text, colours by index or RGB. Entities hidden by
// acedRedraw are left out; highlighted ones get a translucent blue halo. False with *why when
// there is no current drawing or the file cannot be written (the previous file is kept).
bool ExportSvg(const std::wstring& path, std::wstring* why = nullptr);

}  // namespace kwhost

#endif  // KWHOST_EMBEDDED_H_
