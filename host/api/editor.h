// The host's command line, system variables and command stack.
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
#ifndef KW_HOST_API_EDITOR_H_
#define KW_HOST_API_EDITOR_H_

#include <cstddef>
#include <cstdint>

#include "host/api/adesk.h"
#include "host/api/rx.h"

using ads_real = double;
using ads_point = ads_real[3];
using ads_name = int64_t[2];

// acedInitGet flags.
inline constexpr int RSG_NONULL = 0x0001;  // Enter is refused (the prompt is repeated)
inline constexpr int RSG_NOZERO = 0x0002;  // 0 is refused
inline constexpr int RSG_NONEG = 0x0004;   // negative numbers are refused

// Result buffer sizes of the platform.
inline constexpr size_t kAcedStringBufferLen = 2049;

// printf with the platform's wide rules (common/format.h) onto the command line. RTNORM.
int acutPrintf(const wchar_t* format, ...);

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

// A result buffer. Strings (RTSTR) are allocated with malloc and freed by acutRelRb.
struct resbuf {
  resbuf* rbnext;
  short restype;
  union {
    double rreal;
    double rpoint[3];
    short rint;
    wchar_t* rstring;
    int32_t rlong;
    int64_t mnLong;
    int64_t rlname[2];
    struct {
      short clen;
      char* buf;
    } rbinary;
  } resval;
};

// A zeroed resbuf of that type, or null when out of memory.
resbuf* acutNewRb(int type);
// Frees the whole chain (RTSTR strings included). RTNORM; null is accepted.
int acutRelRb(resbuf* rb);
// A malloc'd copy of s for resbuf::rstring (null gives null).
wchar_t* acutNewString(const wchar_t* s);

// System variables by name, ignoring case. acedGetVar fills *result (type and value; a string
// value is a fresh malloc'd copy that the caller frees with free() or acutRelRb of a chain);
// RTERROR for an unknown name or null arguments. acedSetVar needs a value of the variable's
// type (RTSHORT and RTLONG, RTPOINT and RT3DPOINT stand in for each other); RTERROR for an
// unknown or read-only variable or a value of another type.
int acedGetVar(const wchar_t* sym, resbuf* result);
int acedSetVar(const wchar_t* sym, const resbuf* value);

// Command flags.
inline constexpr int ACRX_CMD_MODAL = 0x00000000;
inline constexpr int ACRX_CMD_TRANSPARENT = 0x00000001;
inline constexpr int ACRX_CMD_USEPICKSET = 0x00000002;
inline constexpr int ACRX_CMD_REDRAW = 0x00000004;
inline constexpr int ACRX_CMD_SESSION = 0x00200000;

typedef void (*AcRxFunctionPtr)();

// One registered command.
class AcEdCommand : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcEdCommand);

  const wchar_t* globalName() const { return m_global; }
  const wchar_t* localName() const { return m_local; }
  const wchar_t* groupName() const { return m_group; }
  int commandFlags() const { return m_flags; }
  AcRxFunctionPtr functionAddr() const { return m_fn; }
  void* resourceHandle() const { return m_resource; }
  int functionCode() const { return m_fcode; }

 protected:
  AcEdCommand() = default;
  const wchar_t* m_global = L"";
  const wchar_t* m_local = L"";
  const wchar_t* m_group = L"";
  int m_flags = 0;
  AcRxFunctionPtr m_fn = nullptr;
  void* m_resource = nullptr;
  int m_fcode = -1;
};

// The commands of the session, in groups. Names are looked up ignoring case; when several
// groups hold the same name, the group added last wins.
class AcEdCommandStack : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcEdCommandStack);

  // eOk; eInvalidInput for a null/empty group or global name or a null function;
  // eDuplicateKey when the group already has a command of that global name. A null or empty
  // local name means the global one. *cmdOut (when given) receives the AcEdCommand*.
  virtual Acad::ErrorStatus addCommand(const wchar_t* group, const wchar_t* globalName,
                                       const wchar_t* localName, int flags, AcRxFunctionPtr fn,
                                       void* uiContext = nullptr, int fcode = -1,
                                       void* hResource = nullptr, void** cmdOut = nullptr) = 0;
  // eOk, or eKeyNotFound when no such group (ignoring case).
  virtual Acad::ErrorStatus removeGroup(const wchar_t* group) = 0;
  virtual Acad::ErrorStatus removeCmd(const wchar_t* group, const wchar_t* globalName) = 0;
  // The command, or null.
  virtual AcEdCommand* lookupGlobalCmd(const wchar_t* globalName) = 0;
  virtual AcEdCommand* lookupLocalCmd(const wchar_t* localName) = 0;
  AcEdCommand* lookupCmd(const wchar_t* name, bool globalFlag) {
    return globalFlag ? lookupGlobalCmd(name) : lookupLocalCmd(name);
  }
};

// The session's command stack (also at "ACAD_REGISTERED_COMMANDS" in the system registry).
AcEdCommandStack* acedRegCmds();

#endif  // KW_HOST_API_EDITOR_H_
