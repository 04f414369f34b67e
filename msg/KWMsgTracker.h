// The message tracker: collects user-facing messages (information, warnings, errors produced by
// checks and commands) into a stack of collections, labelled by a stack of group names, and
// writes the top collection to a comma-separated log file.
//
// Invariants of CKWMsgTracker:
//   1. m_collections and m_groups are independent stacks (the back is the top).
//   2. Every MSGDATA owns its strings and id array (values are copied whole).
// States: none (no instance) and live (after GetInstance, until Destroy).
// Main thread only; nothing is locked. No exception leaves the class.
#ifndef KW_MSG_KWMSGTRACKER_H_
#define KW_MSG_KWMSGTRACKER_H_

#include <deque>
#include <string>
#include <vector>

#include "host/api/dbid.h"

class AcApDocument;

namespace KWRDPub {

// Kind of a collected message; written "Info", "Warning" and "Error".
enum EMsgType { kMsgInfo = 0, kMsgWarning = 1, kMsgError = 2 };

// One collected message.
struct MSGDATA {
  int32_t code = 0;
  EMsgType type = kMsgInfo;
  std::wstring group;
  std::wstring text;
  std::wstring time;  // local time when added, "HH:MM:SS"
  AcDbObjectIdArray ids{0, 8};
  AcDbExtents extents;
  bool hasExtents = false;
  AcApDocument* document = nullptr;
};

class CKWMsgTracker {
 public:
  // The instance, created on first call.
  static CKWMsgTracker* GetInstance();
  // Deletes the instance; nothing when there is none.
  static void Destroy();

  // Pushes a group name; returns its index (depth - 1).
  int BeginMsgGroup(const wchar_t* name);
  // Pops the innermost group; nothing when there is none.
  void EndMsgGroup();
  // The innermost group name, empty when none is open.
  std::wstring CurMsgGroup();

  // Opens an empty collection on top; returns its index (count - 1).
  int PushMSGCLCT();
  // Returns the top collection and removes it; empty (and nothing removed) when none is open.
  std::vector<MSGDATA> PopMSGCLCT();
  int MSGCLCTCount() const;

  // Appends a message to the top collection, opening one when none is open. `document` is the
  // host's current document when withDocument is true.
  void AddMsg(EMsgType type, const wchar_t* group, const wchar_t* text, bool withDocument,
              const AcDbObjectIdArray* ids, const AcDbExtents* extents);
  // Formats with the platform's wide-printf rules (at most 1,023 characters) and adds the text
  // under the innermost group; an empty text adds nothing.
  void AddMsgEx(EMsgType type, const wchar_t* format, ...);
  // Writes the top collection to `path` as lines "time,code,kind,group,text" in GBK, each
  // ending in CR CR LF (an atomic save). False when no collection is open or the file cannot be
  // written (the old file is kept then).
  bool Save(const wchar_t* path);
  // Removes every collection; the group stack is kept.
  void Reset();

  CKWMsgTracker(const CKWMsgTracker&) = default;
  CKWMsgTracker& operator=(const CKWMsgTracker&) = default;

 protected:
  CKWMsgTracker() = default;
  virtual ~CKWMsgTracker() = default;

 private:
  std::deque<std::vector<MSGDATA>> m_collections;
  std::deque<std::wstring> m_groups;

  static CKWMsgTracker* m_sp;
};

}  // namespace KWRDPub

#endif  // KW_MSG_KWMSGTRACKER_H_
