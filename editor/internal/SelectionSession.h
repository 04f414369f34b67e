// What the selection loops share: the text typed at a selection prompt, the end flag set by
// the window-message watcher, the scope that installs and restores the watcher, the
// other-input callback and PICKADD, highlighting, and the linear merge of picks into a list.
//
// States of a selection session: inactive, or active between a SelectionScope's construction
// and destruction (one at a time: the host runs one selection at a time).
//
// Invariants:
//   1. While a scope is active its watcher is registered (unless the host already had it),
//      and, when asked for, the other-input callback is ours and PICKADD is 0.
//   2. The destruction of a scope restores exactly what its construction and forcePickAdd()
//      changed, whatever way the loop ended.
#ifndef KW_EDITOR_INTERNAL_SELECTIONSESSION_H_
#define KW_EDITOR_INTERNAL_SELECTIONSESSION_H_

#include <string>

#include "host/api/aced.h"
#include "host/api/dbid.h"

namespace KWRDPub::selection {

// The text typed at the last selection prompt ("" when none) and the end flag.
std::wstring& TypedText();
bool& EndFlag();

class SelectionScope {
 public:
  // Registers the end watcher; with `otherInput`, installs the callback that stores typed
  // text (answering RTSHORT -1), keeping the previous one.
  explicit SelectionScope(bool otherInput);
  ~SelectionScope();
  SelectionScope(const SelectionScope&) = delete;
  SelectionScope& operator=(const SelectionScope&) = delete;
  // Sets PICKADD to 0 when it is not, to be restored by the destructor.
  void forcePickAdd();
  // Removes the watcher now (the destructor then leaves it).
  void endWatch();

 private:
  bool m_watching = false;
  bool m_other = false;
  AcedSSOtherCallback m_previous = nullptr;
  bool m_pickAddChanged = false;
  int m_pickAdd = 0;
};

// Highlights (true) or unhighlights an entity through the host's redraw.
void Highlight(AcDbObjectId id, bool on);

// The ids of a selection set in set order.
AcDbObjectIdArray SetIds(const ads_name ss);

// Merges picked ids into a list: adding appends each id not yet in the list; removing deletes
// each id's first occurrence. Costs time in proportion to both lengths.
void MergeIds(AcDbObjectIdArray& list, const AcDbObjectIdArray& picked, bool adding);

}  // namespace KWRDPub::selection

#endif  // KW_EDITOR_INTERNAL_SELECTIONSESSION_H_
