// Progress and result reporting for long operations, independent of any dialog.
//
// CMsgCallback is the sink: every operation is virtual with a do-nothing default, so a
// user-interface module overrides only what it shows (a wait dialog with a stack of status
// lines and a cancel button; a message window listing results grouped by group name).
// The order of the virtual operations is a binary contract with the modules that derive from
// the class: never reorder or insert.
//
// CMsgCallbackManager holds the current sink and never returns null: while nothing is
// installed, its own embedded default sink answers. It does not own installed sinks. Callers
// nest like a stack: keep what Register returns and give it back with Register(previous).
#ifndef KW_MSG_MSGCALLBACK_H_
#define KW_MSG_MSGCALLBACK_H_

#include <string>

#include "host/api/dbid.h"

class CMsgCallback {
 public:
  // The kind of a message-window entry, passed through unchanged to the sink.
  enum EMsgType { eInfo = 0, eWarning = 1, eError = 2 };

  CMsgCallback() = default;
  CMsgCallback(const CMsgCallback&) = default;
  CMsgCallback& operator=(const CMsgCallback&) = default;
  virtual ~CMsgCallback() = default;

  // Wait dialog: create/close, and a stack of status lines.
  virtual void CreateWaitDlg(bool) {}
  virtual void CloseWaitDlg() {}
  virtual void WaitDlgPushMsg(const wchar_t*) {}
  virtual std::wstring WaitDlgPopMsg() { return std::wstring(); }
  virtual std::wstring WaitDlgGetLastMsg() { return std::wstring(); }
  virtual void WaitDlgModiLastMsg(const wchar_t*) {}
  virtual bool IsCanceled() const { return false; }

  // Message window: entries with the fields of a tracker record, grouped by group name.
  virtual bool MsgWndShow(bool) { return false; }
  virtual void MsgWndAddMsg(EMsgType, const wchar_t* /*group*/, const wchar_t* /*text*/,
                            bool /*withDocument*/, const AcDbObjectIdArray* /*ids*/,
                            const AcDbExtents* /*extents*/) {}
  virtual bool RemoveMsg(const wchar_t* /*group*/, bool) { return false; }
  virtual void RemoveAllMsg() {}
  virtual void MsgWndUpdate() {}
  virtual int GetMsgCount(const wchar_t* /*group*/) { return 0; }
};

class CMsgCallbackManager {
 public:
  CMsgCallbackManager() : m_pCurrent(&m_default) {}
  // A copy reports through its own default unless the source had a sink installed.
  CMsgCallbackManager(const CMsgCallbackManager& other);
  CMsgCallbackManager& operator=(const CMsgCallbackManager& other);
  virtual ~CMsgCallbackManager() = default;

  // Installs sink (null: the embedded default) and returns the sink installed before, or null
  // when that was the embedded default.
  CMsgCallback* Register(CMsgCallback* sink);
  // The current sink; never null.
  CMsgCallback* operator->() const { return m_pCurrent; }

 private:
  CMsgCallback m_default;
  CMsgCallback* m_pCurrent;
};

#endif  // KW_MSG_MSGCALLBACK_H_
