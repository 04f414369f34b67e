// RDUserConfig: the process-wide table of user variables (named options that persist per user).
//
// Modules register the variables they use with a type and a default, read them with typed
// getters and change them with setters; the RDVar command (app/) lists and edits the registered
// ones through the functions below. Values persist in "SoftConfig.xml" in the current user's
// product folder (XML profile, root "config"), one key per variable in the section "Road".
//
// The table is kept in ascending order of the upper-cased names (a new name goes before the
// first greater one); names compare ignoring case, so a name is in the table at most once.
// A record's state:
//   0  not yet loaded    -> the first getter call loads every state-0 record
//   1  loaded, the file does not hold it
//   2  loaded from or saved to the file
//   3  changed by a setter and not yet saved -> a successful Save() makes it 2
// Loading reads the file once: the values of section "Road" are kept, indexed by key, until the
// table is emptied, and later records load from that index (with what this process saved since
// merged in), so a new name costs no file access. Loading never writes; Save() touches the file
// only when a record is in state 3.
//
// Failure: an unknown name in a getter is not an error (it becomes a new unregistered record
// with the default); a missing, unreadable, damaged or oversized file, or a per-user folder that
// is refused, leaves every variable at its default (and a damaged file is never rewritten).
// A failed Save() says why and keeps the changed records in state 3, so a later one retries.
// Single-threaded: the host's main thread only.
#ifndef KW_PERSIST_RDUSERCONFIG_H_
#define KW_PERSIST_RDUSERCONFIG_H_

#include <string>
#include <vector>

namespace RDUserConfig {

enum EValueType { kIntVar = 0, kDoubleVar = 1, kStrVar = 2 };

// Inserts a registered record (state 0) with the default read through defaultValue (double*
// for kDoubleVar, const wchar_t* for kStrVar, int* otherwise; null: 0 or ""), or, when the name
// exists, only marks it registered (its type and value stay).
void RegisterVar(const wchar_t* name, EValueType type, void* defaultValue);
bool IsRegisterVar(const wchar_t* name);

// The value converted to the getter's type: int <- real truncated toward zero, int <- text by
// _wtoi; real <- int, real <- text by _wtof; text <- int "%d", text <- real "%.10f" without
// trailing zeros and point. An unknown name first gets an unregistered record of the getter's
// type holding the default (null string default: "").
int GetIntVar(const wchar_t* name, int defaultValue);
double GetDoubleVar(const wchar_t* name, double defaultValue);
std::wstring GetStrVar(const wchar_t* name, const wchar_t* defaultValue);

// Sets the type (by overload) and value; state 3. A new name gets an unregistered record.
void SetVar(const wchar_t* name, const wchar_t* value);
void SetVar(const wchar_t* name, int value);
void SetVar(const wchar_t* name, double value);

// The record's type; kStrVar for an unknown name.
EValueType VarValueType(const wchar_t* name);
int Count();
// The name at index ("" out of range).
std::wstring Item(int index);
// The index of the name, or -1.
int Find(const wchar_t* name);

// Writes every changed variable to the file (atomically) and marks it saved. True when nothing
// needed saving or everything reached the file. False when the file could not be written (full
// disk, read-only folder, damaged file, a name that is not an XML name, refused folder): the
// changed variables stay changed, and error (when not null) gets one line saying why.
bool Save(std::wstring* error = nullptr);

// A registered variable and its value as GetStrVar gives it.
struct VarText {
  std::wstring name;
  std::wstring value;
};
// Every registered variable in table order (loading the table first when needed).
std::vector<VarText> RegisteredVars();

// Empties the table without saving (tests; the next getter reloads from the file).
void Clear();

}  // namespace RDUserConfig

#endif  // KW_PERSIST_RDUSERCONFIG_H_
