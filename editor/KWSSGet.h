// Interactive selection helpers: a keyword-driven selection loop with Shift-removal, a
// selection whose empty answer selects everything the filter passes, and picking one entity
// that passes a DXF filter and a class filter.
//
// Every call runs on the host's main thread inside a command and installs, for its duration
// only, a window-message watcher (Enter, Space and the right button end a selection) and, where
// stated, the other-input callback and PICKADD = 0; all are put back on every exit path,
// cancel included, and no entity is left highlighted. Results are host status codes: RTNORM,
// RTNONE, RTERROR, RTCAN. Prompts and counts are printed on the command line.
#ifndef KW_EDITOR_KWSSGET_H_
#define KW_EDITOR_KWSSGET_H_

#include <cstdint>
#include <string>

#include "editor/CFilterByClass.h"
#include "host/api/adsdef.h"
#include "host/api/dbid.h"
#include "host/api/ge.h"

// One mode of KWSSGetWithKeyword, implemented by the caller. The virtual operations keep this
// order (their slots): prompt, keyword, filter, keyword typed, entities picked.
// Action codes of OnKeyword and OnPicked: -2 ends the selection with RTCAN, -1 with RTERROR,
// 0 with RTNORM; OnKeyword only: 1 makes this mode the current one, 2 keeps the current mode;
// any other value goes on selecting.
class CKWSSGetKeyword {
 public:
  // The first prompt of this mode's selection.
  virtual std::wstring GetPrompt() = 0;
  // The keyword that switches to this mode (matched ignoring case, exactly or by prefix).
  virtual std::wstring GetKeyword() = 0;
  // The DXF filter of this mode's selection (null: none). Owned by the mode.
  virtual resbuf* GetFilter() = 0;
  // The user typed this mode's keyword; `ids` is the current list, which the mode may change.
  virtual int OnKeyword(AcDbObjectIdArray& ids) = 0;
  // Entities were picked in this mode, before they are added to (or, with Shift, removed
  // from) the list.
  virtual int OnPicked(AcDbObjectIdArray& ids, AcDbObjectIdArray& picked, bool adding) = 0;
  virtual ~CKWSSGetKeyword() = default;
};

namespace KWRDPub {

// The keyword selection loop. `ids` may hold ids on entry (already selected). Picks add to the
// list (each id once) or, with Shift, remove their first occurrence; each pick prints
// "发现 N 个" with " N 个重复" or ",删除 N 个" and ",共 N 个\n". Typed text selects a mode by
// keyword; an ambiguous or unknown keyword prints "\n不明确的关键字，可能是 %s 或 %s" or
// "\n无效的关键字 %s" and asks again. Enter ends with RTNORM (RTERROR when the list is empty);
// ^C with RTCAN. RTERROR for an empty or null mode list. Unless the result is RTNORM, `ids` is
// emptied.
int KWSSGetWithKeyword(const AcArray<CKWSSGetKeyword*>& modes, AcDbObjectIdArray& ids);

// A selection whose first answer may be Enter (or Space, or the right button): then every
// entity of the drawing that passes `filter` is selected. The prompt is `prompt` without its
// trailing ":", "：" and blanks, followed by "<回车或右键全选>:". Later answers add, or remove
// with Shift, until Enter. RTNORM with the set in `ss` (the caller frees it); RTERROR when the
// set ends empty; RTCAN (no set left).
int KWSSGet_ReturnSelAll(const wchar_t* prompt, const wchar_t* removePrompt, resbuf* filter,
                         int64_t* const ss);
// The same, appending the selected ids to `ids` in set order; other results are returned
// unchanged and leave `ids` alone.
int KWSSGet_ReturnSelAll(const wchar_t* prompt, const wchar_t* removePrompt, resbuf* filter,
                         AcDbObjectIdArray& ids);

// Picks one entity that passes both `filter` (tested with a crossing box 20 drawing units wide
// around the pick point) and `classes`; a pick that does not prints `errorMessage` (when given)
// and asks again. `keywords` (may be null) are offered with acedInitGet. RTNORM with `id` and
// (when not null) *pickPoint; RTKWORD for a keyword; RTNONE for Enter or an empty pick; RTCAN.
int SelectFilterEntity(const wchar_t* prompt, const wchar_t* errorMessage, const resbuf* filter,
                       const CFilterByClass& classes, AcDbObjectId& id, const wchar_t* keywords,
                       AcGePoint3d* pickPoint);

}  // namespace KWRDPub

#endif  // KW_EDITOR_KWSSGET_H_
