// The host's editor calls: command-line prompts and system variables.
//
// Command line: prompts and printed text go to the host's output exactly as given (a leading
// "\n" included). Answers come from the host's input, one line at a time:
//   - acedGetString(0, ...) takes the text up to the first blank; the rest of the line stays
//     for the next prompt (as on a CAD command line, where a blank acts as Enter).
//     acedGetString(1, ...) takes the whole line, blanks included;
//   - the line "^C" cancels any prompt (RTCAN); so does running out of input, so a prompt in a
//     script or a test never waits;
//   - an empty answer is Enter: RTNONE for numbers and keywords, RTNORM with "" for strings;
//   - a bad number prints "\n需要整数值。" (acedGetInt) or "\n需要数值。" (acedGetReal) and asks
//     again; an answer that matches no keyword of acedGetKword prints "\n无效选项关键字。" and
//     asks again;
//   - acedInitGet(flags, keywords) applies to the next acedGet* call only. Keywords are
//     separated by blanks; an answer matches a keyword ignoring case when it is the whole
//     keyword, the keyword's capital letters (its abbreviation: "eXit" -> "X"), or a prefix
//     at least as long as that abbreviation. The result is the keyword as written in the
//     list (after a "_" in the list, the global names that follow stand in for the local ones
//     before it, position by position). With keywords, acedGetInt/acedGetReal accept a keyword
//     answer and return RTKWORD; acedGetInput then gives the keyword.
// Results: RTNORM, RTNONE, RTCAN, RTKWORD, or RTERROR for a null result buffer or an answer
// longer than the buffer (the buffer then holds "").
#ifndef KW_HOST_API_ACED_H_
#define KW_HOST_API_ACED_H_

#include <cstddef>

#include "host/api/adesk.h"
#include "host/api/adsdef.h"

class AcDbViewTableRecord;
class AcDbViewport;

// acedInitGet flags.
inline constexpr int RSG_NONULL = 0x0001;  // Enter is refused (the prompt is repeated)
inline constexpr int RSG_NOZERO = 0x0002;  // 0 is refused
inline constexpr int RSG_NONEG = 0x0004;   // negative numbers are refused

// Result buffer sizes of the platform.
inline constexpr size_t kAcedStringBufferLen = 2049;

int acedGetString(int cronly, const wchar_t* prompt, wchar_t* result);
int acedGetString(int cronly, const wchar_t* prompt, wchar_t* result, size_t bufLen);
int acedGetInt(const wchar_t* prompt, int* result);
int acedGetReal(const wchar_t* prompt, double* result);
int acedGetKword(const wchar_t* prompt, wchar_t* result);
int acedGetKword(const wchar_t* prompt, wchar_t* result, size_t bufLen);
// The keyword matched by the last acedGetInt/acedGetReal that returned RTKWORD.
int acedGetInput(wchar_t* result);
int acedGetInput(wchar_t* result, size_t bufLen);
// RTNORM; a null keyword list means none.
int acedInitGet(int val, const wchar_t* keywordList);

// System variables by name, ignoring case. acedGetVar fills *result (type and value; a string
// value is a fresh malloc'd copy that the caller frees with free() or acutRelRb of a chain);
// RTERROR for an unknown name or null arguments. acedSetVar needs a value of the variable's
// type (RTSHORT and RTLONG, RTPOINT and RT3DPOINT stand in for each other); RTERROR for an
// unknown or read-only variable or a value of another type.
int acedGetVar(const wchar_t* sym, resbuf* result);
int acedSetVar(const wchar_t* sym, const resbuf* value);

// Finds a file: a name with a folder is checked as given; a bare name is looked for in the
// current drawing's folder (DWGPREFIX), the working folder, each folder of the support path
// (ACADPREFIX, ":"-separated; from $KWRD_SUPPORT_PATH) and the host's own support folder, in
// that order. RTNORM with the full path in `result`; RTERROR when it is not found, for null or
// empty arguments, or when the path does not fit in bufLen characters (result then "").
int acedFindFile(const wchar_t* fname, wchar_t* result, size_t bufLen);
template <size_t N>
int acedFindFile(const wchar_t* fname, wchar_t (&result)[N]) {
  return acedFindFile(fname, result, N);
}

// Runs host commands as if typed: the first argument names the command (a leading "_", "."
// or "-" is ignored), the following ones answer its prompts in order, each whole (blanks
// included). Arguments are (type, value) pairs ended by 0 or RTNONE: RTSTR with a
// const wchar_t* ("" is Enter, "\\" leaves that answer to the user), RTSHORT and RTLONG with
// an int, RTREAL and RTANG with a double, RTPOINT and RT3DPOINT with a const double*. Answers
// left when a command ends start the next command; empty ones there are skipped. RTNORM when
// every command ran to its end; RTCAN when a command asked for more answers than it was given
// (that prompt is cancelled, and the command ends as a cancel ends it); RTERROR for an argument
// type it cannot carry or a null value (nothing runs), or an unknown command (those before it
// have run). acedCommandS behaves the same.
int acedCommand(int rtype, ...);
int acedCommandS(int rtype, ...);

// Views and coordinate systems (the host has one viewport per space: model space, and the
// paper space of the active layout).
//
// acedSetCurrentView shows the view in the active space: its centre (display coordinates),
// height and width, target, view direction, twist, lens length, clipping distances and flags.
// The view fills the screen: a window wider than the screen's shape shows a taller view, so
// VIEWSIZE becomes max(height, width * screen height / screen width). eOk; eInvalidInput for a
// null view, a viewport (only the current one, null, is shown), a height or width that is not
// positive, a zero view direction, a value that is not finite, or a paper-space flag that does
// not match the active layout (CTAB).
Acad::ErrorStatus acedSetCurrentView(AcDbViewTableRecord* view, AcDbViewport* viewport);
// Transforms a point (disp 0) or a displacement (disp non-zero) between coordinate systems.
// `from` and `to` are RTSHORT 0 (WCS), 1 (UCS) or 2 (DCS: origin at the target, z towards the
// viewer, x to the right of the screen), RT3DPOINT (the ECS of that extrusion direction, by
// the arbitrary-axis rule) or RTENAME (the ECS of that entity: its normal for circles, arcs,
// text, points, block references and polylines, the WCS for other entities). RTNORM; RTERROR
// for null arguments, another code (3, paper-space DCS, included), a zero extrusion or an
// entity name that names no live entity.
int acedTrans(const ads_point pt, const resbuf* from, const resbuf* to, int disp, ads_point result);
// Redraws the whole view (ent null: the REDRAW command, whatever the mode) or changes how one
// entity is shown: mode 1 shows it, 2 hides it (blanks it out), 3 highlights it, 4 takes the
// highlight off; showing and highlighting are independent, and a whole-view redraw leaves
// hidden and highlighted entities as they are. Mode 0 with an entity does nothing. RTNORM;
// RTERROR for a name that is no live entity or a mode outside 0-4 (the platform no longer
// takes negative modes).
int acedRedraw(const ads_name ent, int mode);

#endif  // KW_HOST_API_ACED_H_
