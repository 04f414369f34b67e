// The shared state of the selection loops and the scope that installs and restores it.
#include "editor/internal/SelectionSession.h"

#include <unordered_set>

#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/win.h"

namespace KWRDPub::selection {

namespace {

resbuf* StoreTypedText(const wchar_t* text) {
  TypedText() = text ? text : L"";
  return acutBuildList(RTSHORT, -1, 0);
}

void WatchEnd(const MSG* msg) {
  const bool key = msg->message == WM_KEYDOWN && (msg->wParam == static_cast<WPARAM>(VK_RETURN) ||
                                                  msg->wParam == static_cast<WPARAM>(VK_SPACE));
  if (key || msg->message == WM_RBUTTONDOWN) EndFlag() = true;
}

}  // namespace

std::wstring& TypedText() {
  static std::wstring text;
  return text;
}

bool& EndFlag() {
  static bool ended = false;
  return ended;
}

SelectionScope::SelectionScope(bool otherInput) {
  if (otherInput && acedSSGetOtherCallbackPtr(&m_previous) == RTNORM) {
    m_other = acedSSSetOtherCallbackPtr(StoreTypedText) == RTNORM;
  }
  m_watching = acedRegisterWatchWinMsg(WatchEnd);
}

SelectionScope::~SelectionScope() {
  if (m_other) acedSSSetOtherCallbackPtr(m_previous);
  endWatch();
  if (m_pickAddChanged) {
    resbuf rb{};
    rb.restype = RTSHORT;
    rb.resval.rint = static_cast<short>(m_pickAdd);
    acedSetVar(L"PICKADD", &rb);
  }
}

void SelectionScope::forcePickAdd() {
  resbuf rb{};
  if (m_pickAddChanged || acedGetVar(L"PICKADD", &rb) != RTNORM) return;
  if (rb.restype != RTSHORT || rb.resval.rint == 0) return;
  m_pickAdd = rb.resval.rint;
  rb.resval.rint = 0;
  m_pickAddChanged = acedSetVar(L"PICKADD", &rb) == RTNORM;
}

void SelectionScope::endWatch() {
  if (m_watching) acedRemoveWatchWinMsg(WatchEnd);
  m_watching = false;
}

void Highlight(AcDbObjectId id, bool on) {
  ads_name name;
  if (acdbGetAdsName(name, id) == Acad::eOk) acedRedraw(name, on ? 3 : 4);
}

AcDbObjectIdArray SetIds(const ads_name ss) {
  AcDbObjectIdArray ids;
  Adesk::Int32 n = 0;
  if (acedSSLength(ss, &n) != RTNORM) return ids;
  for (Adesk::Int32 i = 0; i < n; ++i) {
    ads_name e;
    AcDbObjectId id;
    if (acedSSName(ss, i, e) == RTNORM && acdbGetObjectId(id, e) == Acad::eOk) ids.append(id);
  }
  return ids;
}

void MergeIds(AcDbObjectIdArray& list, const AcDbObjectIdArray& picked, bool adding) {
  if (adding) {
    std::unordered_set<AcDbObjectId> present(list.begin(), list.end());
    for (const AcDbObjectId& id : picked) {
      if (present.insert(id).second) list.append(id);
    }
    return;
  }
  std::unordered_set<AcDbObjectId> doomed(picked.begin(), picked.end());
  int kept = 0;
  for (int i = 0; i < list.length(); ++i) {
    if (doomed.erase(list[i]) == 0) list[kept++] = list[i];
  }
  list.setLogicalLength(kept);
}

}  // namespace KWRDPub::selection
