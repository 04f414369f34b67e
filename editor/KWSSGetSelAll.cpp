// The selection whose empty first answer selects everything the filter passes, and the pick of
// one entity through a DXF filter and a class filter.
#include "common/text.h"
#include "editor/KWSSGet.h"
#include "editor/internal/SelectionSession.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/win.h"

namespace {

using KWRDPub::selection::EndFlag;
using KWRDPub::selection::Highlight;
using KWRDPub::selection::SetIds;

// See KWSSGetWithKeyword: host failures without an answer end the loop after this many.
constexpr int kMaxSilentFailures = 16;

std::wstring SelectAllPrompt(const wchar_t* prompt) {
  std::wstring text(kw::View(prompt));
  while (!text.empty() && (text.back() == L':' || text.back() == L'：' || text.back() == L' ')) {
    text.pop_back();
  }
  return text + L"<回车或右键全选>:";
}

int64_t Length(const ads_name ss) {
  Adesk::Int32 n = 0;
  acedSSLength(ss, &n);
  return n;
}

void HighlightSet(const ads_name ss, bool on) {
  for (const AcDbObjectId& id : SetIds(ss)) Highlight(id, on);
}

// Adds (or, with Shift, removes) the picked set to the caller's and prints the counts.
void MergeSet(const ads_name picked, int64_t* const ss) {
  const bool adding = GetKeyState(VK_SHIFT) >= 0;
  const int64_t old = Length(ss);
  const AcDbObjectIdArray ids = SetIds(picked);
  for (const AcDbObjectId& id : ids) {
    ads_name e;
    acdbGetAdsName(e, id);
    if (adding) {
      acedSSAdd(e, ss, ss);
    } else {
      acedSSDel(e, ss);
    }
  }
  const int64_t now = Length(ss);
  const int count = ids.length();
  acutPrintf(L"发现 %d 个", count);
  for (const AcDbObjectId& id : ids) Highlight(id, adding);
  if (!adding) acutPrintf(L",删除 %d 个", static_cast<int>(old - now));
  if (adding && count + old != now) acutPrintf(L" %d 个重复", static_cast<int>(count + old - now));
  acutPrintf(L",共 %d 个\n", static_cast<int>(now));
}

// Later answers until Enter (RTNORM) or cancel (RTCAN).
int AddMore(const wchar_t* const prompts[2], resbuf* filter, int64_t* const ss) {
  int silent = 0;
  for (;;) {
    ads_name picked;
    const int rc = acedSSGet(L":$:S", prompts, nullptr, filter, picked);
    if (rc == RTCAN) return RTCAN;
    if (rc != RTNORM && EndFlag()) return RTNORM;
    if (rc != RTNORM) {
      if (++silent >= kMaxSilentFailures) return RTNORM;
      continue;
    }
    silent = 0;
    MergeSet(picked, ss);
    acedSSFree(picked);
    EndFlag() = false;
  }
}

}  // namespace

namespace KWRDPub {

int KWSSGet_ReturnSelAll(const wchar_t* prompt, const wchar_t* removePrompt, resbuf* filter,
                         int64_t* const ss) {
  if (!ss) return RTERROR;
  const std::wstring first = SelectAllPrompt(prompt);
  const wchar_t* prompts[2] = {first.c_str(), removePrompt ? removePrompt : L""};
  selection::SelectionScope scope(false);
  EndFlag() = false;
  const int rc = acedSSGet(L":$:S", prompts, nullptr, filter, ss);
  if (rc == RTCAN) return RTCAN;
  if (rc == RTERROR && EndFlag()) {
    scope.endWatch();
    return acedSSGet(L"X", nullptr, nullptr, filter, ss);
  }
  if (rc == RTNORM) {
    HighlightSet(ss, true);
  } else if (acedSSAdd(nullptr, nullptr, ss) != RTNORM) {
    return RTERROR;
  }
  scope.forcePickAdd();
  const int result = AddMore(prompts, filter, ss);
  scope.endWatch();
  const bool empty = Length(ss) == 0;
  if (empty || result == RTCAN) {
    HighlightSet(ss, false);
    acedSSFree(ss);
    return result == RTCAN ? RTCAN : RTERROR;
  }
  HighlightSet(ss, false);
  return RTNORM;
}

int KWSSGet_ReturnSelAll(const wchar_t* prompt, const wchar_t* removePrompt, resbuf* filter,
                         AcDbObjectIdArray& ids) {
  ads_name ss;
  const int rc = KWSSGet_ReturnSelAll(prompt, removePrompt, filter, ss);
  if (rc != RTNORM) return rc;
  ids.append(SetIds(ss));
  acedSSFree(ss);
  return RTNORM;
}

int SelectFilterEntity(const wchar_t* prompt, const wchar_t* errorMessage, const resbuf* filter,
                       const CFilterByClass& classes, AcDbObjectId& id, const wchar_t* keywords,
                       AcGePoint3d* pickPoint) {
  for (;;) {
    if (keywords) acedInitGet(0, keywords);
    ads_name e;
    ads_point p;
    const int rc = acedEntSel(prompt, e, p);
    if (rc != RTNORM) return rc == RTERROR ? RTNONE : rc;
    AcDbObjectId picked;
    acdbGetObjectId(picked, e);
    const double lo[3] = {p[0] - 10, p[1] - 10, 0}, hi[3] = {p[0] + 10, p[1] + 10, 0};
    ads_name ss;
    if (acedSSGet(L"c", lo, hi, filter, ss) == RTNORM) {
      const AcDbObjectIdArray inBox = SetIds(ss);
      acedSSFree(ss);
      if (inBox.contains(picked) && classes.IsAllow(picked)) {
        id = picked;
        if (pickPoint) *pickPoint = AcGePoint3d(p[0], p[1], p[2]);
        return RTNORM;
      }
    }
    if (errorMessage) acutPrintf(L"%s", errorMessage);
  }
}

}  // namespace KWRDPub
