// The keyword selection loop: one single-pick selection per pass in the current mode; typed
// text switches modes by keyword; picks merge into the list (Shift removes).
#include <unordered_set>

#include "common/text.h"
#include "editor/KWSSGet.h"
#include "editor/internal/SelectionSession.h"
#include "host/api/acutads.h"
#include "host/api/win.h"

namespace {

using KWRDPub::selection::Highlight;
using KWRDPub::selection::TypedText;

constexpr const wchar_t* kRemovePrompt = L"移除选中图形";
// Selections that fail without any answer of the user (a host failure, such as a filter it
// refuses) end the loop after this many in a row instead of asking forever.
constexpr int kMaxSilentFailures = 16;

// The index of the mode the typed text names, or -1 after printing why there is none.
int MatchMode(const AcArray<CKWSSGetKeyword*>& modes, const std::wstring& typed) {
  std::vector<std::wstring> keywords;
  for (CKWSSGetKeyword* mode : modes) keywords.push_back(mode->GetKeyword());
  for (size_t i = 0; i < keywords.size(); ++i) {
    if (kw::EqualsNoCase(keywords[i], typed)) return static_cast<int>(i);
  }
  const std::wstring lowerTyped = kw::ToLower(typed);
  int first = -1;
  for (size_t i = 0; i < keywords.size(); ++i) {
    if (!kw::ToLower(keywords[i]).starts_with(lowerTyped)) continue;
    if (first >= 0) {
      acutPrintf(L"\n不明确的关键字，可能是 %s 或 %s", keywords[static_cast<size_t>(first)].c_str(),
                 keywords[i].c_str());
      return -1;
    }
    first = static_cast<int>(i);
  }
  if (first < 0) acutPrintf(L"\n无效的关键字 %s", typed.c_str());
  return first;
}

// Highlights what a mode's keyword action added to the list and unhighlights what it took out.
void ShowChanges(const AcDbObjectIdArray& before, const AcDbObjectIdArray& after) {
  const std::unordered_set<AcDbObjectId> was(before.begin(), before.end());
  const std::unordered_set<AcDbObjectId> is(after.begin(), after.end());
  for (const AcDbObjectId& id : before) {
    if (!is.count(id)) Highlight(id, false);
  }
  for (const AcDbObjectId& id : after) {
    if (!was.count(id)) Highlight(id, true);
  }
}

// The end result of an action code, or 0 when the loop goes on.
int Ending(int code) {
  switch (code) {
    case -2:
      return RTCAN;
    case -1:
      return RTERROR;
    case 0:
      return RTNORM;
    default:
      return 0;
  }
}

// A pick in `mode`: calls its OnPicked, merges, prints the counts; the action code.
int MergePick(CKWSSGetKeyword& mode, AcDbObjectIdArray& ids, const ads_name ss) {
  const bool adding = GetKeyState(VK_SHIFT) >= 0;
  AcDbObjectIdArray picked = KWRDPub::selection::SetIds(ss);
  const int code = mode.OnPicked(ids, picked, adding);
  const int old = ids.length();
  for (const AcDbObjectId& id : picked) Highlight(id, adding);
  KWRDPub::selection::MergeIds(ids, picked, adding);
  const int now = ids.length();
  acutPrintf(L"发现 %d 个", picked.length());
  if (adding && picked.length() + old != now) {
    acutPrintf(L" %d 个重复", picked.length() + old - now);
  }
  if (!adding) acutPrintf(L",删除 %d 个", old - now);
  acutPrintf(L",共 %d 个\n", now);
  return code;
}

// One pass after a selection that returned `rc` with text typed: the loop's result, or 0.
int OnTyped(const AcArray<CKWSSGetKeyword*>& modes, AcDbObjectIdArray& ids, int* current) {
  const int matched = MatchMode(modes, TypedText());
  if (matched < 0 || matched == *current) return 0;
  const AcDbObjectIdArray before = ids;
  const int code = modes[matched]->OnKeyword(ids);
  ShowChanges(before, ids);
  if (code == 1) *current = matched;
  return Ending(code);
}

int Loop(const AcArray<CKWSSGetKeyword*>& modes, AcDbObjectIdArray& ids) {
  int current = 0;
  int silent = 0;
  for (;;) {
    TypedText().clear();
    KWRDPub::selection::EndFlag() = false;
    CKWSSGetKeyword& mode = *modes[current];
    const std::wstring prompt = mode.GetPrompt();
    const wchar_t* prompts[2] = {prompt.c_str(), kRemovePrompt};
    ads_name ss;
    const int rc = acedSSGet(L":$:S:?", prompts, nullptr, mode.GetFilter(), ss);
    const bool typed = !TypedText().empty();
    if (rc != RTNORM && typed) {
      silent = 0;
      if (const int end = OnTyped(modes, ids, &current)) return end;
      continue;
    }
    if (rc != RTNORM && KWRDPub::selection::EndFlag()) {
      if (ids.isEmpty()) return RTERROR;
      return rc == RTCAN ? RTCAN : RTNORM;
    }
    if (rc == RTCAN) return RTCAN;
    if (rc != RTNORM) {
      if (++silent >= kMaxSilentFailures) return RTERROR;
      continue;
    }
    silent = 0;
    const int code = MergePick(mode, ids, ss);
    acedSSFree(ss);
    if (const int end = Ending(code)) return end;
  }
}

}  // namespace

namespace KWRDPub {

int KWSSGetWithKeyword(const AcArray<CKWSSGetKeyword*>& modes, AcDbObjectIdArray& ids) {
  if (modes.isEmpty()) return RTERROR;
  for (CKWSSGetKeyword* mode : modes) {
    if (!mode) return RTERROR;
  }
  int rc = RTERROR;
  {
    selection::SelectionScope scope(true);
    scope.forcePickAdd();
    rc = Loop(modes, ids);
  }
  for (const AcDbObjectId& id : ids) selection::Highlight(id, false);
  if (rc != RTNORM) ids.setLogicalLength(0);
  return rc;
}

}  // namespace KWRDPub
