// The window-system part of the host API: the main frame, its message loop and watchers,
// thread timers, the host clock, message boxes, the save-as dialog and the debugging trace.
//
// Message loop: posted messages and due timers are handled by the host's loop (in tests:
// kwhost::PumpMessages). Every message of the loop is shown first to each registered watcher,
// in registration order, then handled by the host. Timer messages carry the timer procedure;
// after the watchers have seen WM_TIMER the host calls the procedure (or, for a timer without
// one, the message only passes the watchers).
//
// Clock: GetTickCount and GetLocalTime read the host clock (the real clocks by default; tests
// set a manual clock with kwhost::SetManualClock).
#ifndef KW_HOST_API_WIN_H_
#define KW_HOST_API_WIN_H_

#include <cstdint>

using HWND = struct HWND__*;
using HINSTANCE = void*;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using UINT = unsigned;
using DWORD = uint32_t;
using UINT_PTR = uintptr_t;
using BOOL = int;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;

struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
};

inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT WM_USER = 0x0400;

// The host's main frame window (never null while the host runs).
HWND adsw_acadMainWnd();
HWND acedGetAcadFrame();

// Watchers of the main message loop. Registering a registered function again or removing an
// unknown one returns false.
typedef void (*AcedWatchWinMsgFn)(const MSG*);
bool acedRegisterWatchWinMsg(AcedWatchWinMsgFn fn);
bool acedRemoveWatchWinMsg(AcedWatchWinMsgFn fn);

// Timers. With a null window these are thread timers: the id handed in is ignored unless it
// names an existing thread timer (which is then replaced), and the id in use is returned. An
// elapse below 10 ms counts as 10 ms. A timer fires at most once per pass of the message loop,
// when at least its elapse has passed since it was set or last fired. 0 on failure.
typedef void (*TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);
UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapseMs, TIMERPROC proc);
// FALSE when no such timer.
BOOL KillTimer(HWND hwnd, UINT_PTR id);

struct SYSTEMTIME {
  uint16_t wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};
// Milliseconds since the host clock's start; wraps at 2^32.
DWORD GetTickCount();
void GetLocalTime(SYSTEMTIME* st);

// Message boxes: printed on the command line as "\n[caption] text" (a null caption reads
// "Error"). An answer line waiting in the input answers it (see kwhost::QueueInput); else, on
// a terminal, a box with several buttons asks "\n[Yes/No/Cancel] <Yes>: " there (a button by
// its keyword, Enter for the default, ^C for Cancel when the box has one); else the default
// button answers (the first one, or the one MB_DEFBUTTON2/3 names).
inline constexpr UINT MB_OK = 0x0;
inline constexpr UINT MB_OKCANCEL = 0x1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 0x2;
inline constexpr UINT MB_YESNOCANCEL = 0x3;
inline constexpr UINT MB_YESNO = 0x4;
inline constexpr UINT MB_RETRYCANCEL = 0x5;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONSTOP = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONWARNING = 0x30;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONINFORMATION = 0x40;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_DEFBUTTON1 = 0x000;
inline constexpr UINT MB_DEFBUTTON2 = 0x100;
inline constexpr UINT MB_DEFBUTTON3 = 0x200;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;
int MessageBoxW(HWND owner, const wchar_t* text, const wchar_t* caption, UINT type);

// The save-as dialog: a prompt for a file name on the command line ("\n" + lpstrTitle + ": ",
// or "\n另存为: " without a title), answered with a whole line. The default extension (with
// or without its leading ".") is appended when the file name has no extension. With
// OFN_OVERWRITEPROMPT an existing file is confirmed by a yes/no message box ("确认另存为",
// default yes). Cancel ("^C", no input or an empty answer), a "no" or a name that does not fit
// in nMaxFile characters with its terminator returns 0; otherwise the path is in lpstrFile and
// the result is 1. lpstrFilter is "|"-separated (MFC style) or NUL-separated; it is not shown.
inline constexpr DWORD OFN_OVERWRITEPROMPT = 0x2;
inline constexpr DWORD OFN_HIDEREADONLY = 0x4;
struct OPENFILENAMEW {
  HWND hwndOwner;
  const wchar_t* lpstrFilter;
  wchar_t* lpstrFile;
  DWORD nMaxFile;
  const wchar_t* lpstrTitle;
  DWORD Flags;
  const wchar_t* lpstrDefExt;
};
BOOL GetSaveFileNameW(OPENFILENAMEW* ofn);

// The debugging trace: kept for tests (kwhost::TakeDebugTrace) and written to stderr when the
// environment variable KW_DEBUG_TRACE is set. Null is ignored.
void OutputDebugStringW(const wchar_t* text);

DWORD GetCurrentProcessId();

// ---------------------------------------------------------------- keys and input messages
inline constexpr UINT WM_KEYDOWN = 0x0100;
inline constexpr UINT WM_RBUTTONDOWN = 0x0204;
inline constexpr int VK_RETURN = 0x0D;
inline constexpr int VK_SHIFT = 0x10;
inline constexpr int VK_SPACE = 0x20;
// Negative while the key is down. On the host's command line only Shift is ever down: from a
// selection answer written with a leading "-" until the next selection answer.
short GetKeyState(int nVirtKey);

#endif  // KW_HOST_API_WIN_H_
