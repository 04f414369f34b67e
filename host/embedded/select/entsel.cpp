// Single picks: acedEntSel, acedNEntSelPEx (into block references, with graphics markers) and
// acedGetPoint.
#include <string>

#include "common/text.h"
#include "host/api/dbads.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/select/select.h"

namespace {

using kwhost::editor::Editor;
using kwhost::select::Answer;
using kwhost::select::Hit;

constexpr const wchar_t* kPickPrompt = L"\n选择对象: ";
constexpr const wchar_t* kPointOrKeyword = L"\n需要点或选项关键字。";

// acedInitGet's settings apply to one prompt: taken on entry, cleared on every exit.
class KeywordScope {
 public:
  KeywordScope() : m_keywords(Editor().prompt.keywords), m_globals(Editor().prompt.globals) {}
  ~KeywordScope() { Editor().prompt.ClearInitGet(); }
  // True (and acedGetInput then gives it) when the answer names a keyword.
  bool match(const std::wstring& answer) const {
    std::wstring keyword = kwhost::editor::MatchKeyword(answer, m_keywords, m_globals);
    if (keyword.empty()) return false;
    Editor().prompt.lastKeyword = keyword;
    return true;
  }

 private:
  std::vector<std::wstring> m_keywords;
  std::vector<std::wstring> m_globals;
};

// A point on the entity: the one nearest the middle of its extents.
bool PointOnEntity(AcDbObjectId id, Hit* hit) {
  AcDbExtents ext;
  AcDbEntity* e = nullptr;
  AcGePoint3d middle;
  if (acdbOpenObject(e, id, AcDb::kForRead) == Acad::eOk) {
    if (e->getGeomExtents(ext) == Acad::eOk) {
      const AcGePoint3d& a = ext.minPoint();
      const AcGePoint3d& b = ext.maxPoint();
      middle = AcGePoint3d((a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2);
    }
    e->close();
  }
  return kwhost::select::NearestOn(id, middle, hit);
}

// One pick: RTNORM with the hit and the pick point, RTERROR, RTCAN or RTKWORD.
int Pick(const wchar_t* prompt, Hit* hit, AcGePoint3d* at) {
  const KeywordScope keywords;
  for (;;) {
    const Answer a = kwhost::select::TakeAnswer(prompt ? prompt : kPickPrompt);
    if (a.kind == Answer::kCancel) return RTCAN;
    if (a.kind == Answer::kEnter) return RTERROR;
    if (a.kind != Answer::kPick && keywords.match(kw::Trim(a.text))) return RTKWORD;
    if (a.kind == Answer::kPick) {
      *at = a.a;
      const AcGePoint3d world = kwhost::select::ToWorld(a.a);
      return kwhost::select::PickAt(world, kwhost::select::PickRadius(), hit) ? RTNORM : RTERROR;
    }
    if (a.kind == Answer::kHandles && a.ids.size() == 1) {
      if (!PointOnEntity(a.ids[0], hit)) return RTERROR;
      *at = hit->onEntity;
      return RTNORM;
    }
    kwhost::editor::Print(kPointOrKeyword);
  }
}

// The entity name of an id into a caller's ads_name.
void NameOf(AcDbObjectId id, int64_t* out) {
  ads_name name;
  acdbGetAdsName(name, id);
  out[0] = name[0];
  out[1] = name[1];
}

void CopyPoint(const AcGePoint3d& p, ads_point out) {
  out[0] = p.x;
  out[1] = p.y;
  out[2] = p.z;
}

// The containing block references, innermost first, as RTENAME groups.
resbuf* ReferenceStack(const std::vector<AcDbObjectId>& references) {
  resbuf* head = nullptr;
  for (AcDbObjectId id : references) {  // outermost first: each goes in front
    resbuf* rb = acutNewRb(RTENAME);
    if (!rb) break;
    acdbGetAdsName(rb->resval.rlname, id);
    rb->rbnext = head;
    head = rb;
  }
  return head;
}

}  // namespace

int acedEntSel(const wchar_t* str, ads_name entres, ads_point ptres) {
  if (!entres || !ptres) return RTERROR;
  Hit hit;
  AcGePoint3d at;
  const int rc = Pick(str, &hit, &at);
  if (rc != RTNORM) return rc;
  NameOf(hit.top, entres);
  CopyPoint(at, ptres);
  return RTNORM;
}

int acedNEntSelPEx(const wchar_t* str, ads_name entres, ads_point ptres, int /*pickflag*/,
                   ads_matrix xformres, resbuf** refstkres, unsigned int /*uTransSpaceFlag*/,
                   Adesk::GsMarker* gsmarker) {
  if (!entres || !ptres) return RTERROR;
  if (refstkres) *refstkres = nullptr;
  Hit hit;
  AcGePoint3d at;
  const int rc = Pick(str, &hit, &at);
  if (rc != RTNORM) return rc;
  NameOf(hit.inner, entres);
  CopyPoint(at, ptres);
  if (xformres) {
    for (int i = 0; i < 4; ++i) {
      for (int j = 0; j < 4; ++j) xformres[i][j] = i < 3 ? hit.xform[i][j] : (j == 3 ? 1 : 0);
    }
  }
  if (refstkres) *refstkres = ReferenceStack(hit.references);
  if (gsmarker) *gsmarker = hit.marker;
  return RTNORM;
}

int acedGetPoint(const ads_point /*pt*/, const wchar_t* prompt, ads_point result) {
  if (!result) return RTERROR;
  const KeywordScope keywords;
  for (;;) {
    std::wstring line;
    if (!kwhost::editor::TakeLine(prompt, &line) || line == L"^C") return RTCAN;
    const std::wstring text = kw::Trim(line);
    if (text.empty()) return RTNONE;
    AcGePoint3d p;
    if (kwhost::select::ParsePoint(text, &p)) {
      CopyPoint(p, result);
      return RTNORM;
    }
    if (keywords.match(text)) return RTKWORD;
    kwhost::editor::Print(kPointOrKeyword);
  }
}
