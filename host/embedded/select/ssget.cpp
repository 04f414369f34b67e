// acedSSGet: the modes without a user ("X", "W", "C", a point) and the interactive selection
// with its prompts, single-answer mode and other-input callback.
#include <string>
#include <vector>

#include "common/format.h"
#include "common/text.h"
#include "host/api/dbads.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/select/select.h"

namespace {

using kwhost::select::Answer;
using kwhost::select::Filter;
using kwhost::select::Select;
using kwhost::select::SelectionSet;

constexpr const wchar_t* kAddPrompt = L"\n选择对象: ";
constexpr const wchar_t* kRemovePrompt = L"\n删除对象: ";

struct Mode {
  bool prompts = false;
  bool single = false;
  bool other = false;
  wchar_t kind = 0;  // 0: a point or the user; 'X', 'W', 'C'
};

bool ParseMode(const wchar_t* str, Mode* m) {
  const std::wstring s = kw::ToUpper(kw::View(str));
  size_t i = !s.empty() && s[0] == L'_' ? 1 : 0;
  while (i < s.size()) {
    const wchar_t c = s[i];
    if (c == L':' && i + 1 < s.size()) {
      const wchar_t flag = s[i + 1];
      if (flag != L'$' && flag != L'S' && flag != L'?') return false;
      (flag == L'$' ? m->prompts : flag == L'S' ? m->single : m->other) = true;
      i += 2;
    } else if ((c == L'X' || c == L'W' || c == L'C') && m->kind == 0) {
      m->kind = c;
      ++i;
    } else {
      return false;
    }
  }
  return m->kind == 0 || !(m->prompts || m->single || m->other);
}

AcGePoint3d PointOf(const void* p) {
  const double* d = static_cast<const double*>(p);
  return AcGePoint3d(d[0], d[1], d[2]);
}

std::vector<AcDbObjectId> Passing(const std::vector<AcDbObjectId>& ids, const Filter& filter) {
  std::vector<AcDbObjectId> out;
  for (AcDbObjectId id : ids) {
    if (filter.matches(id)) out.push_back(id);
  }
  return out;
}

// The window between two corners given in the UCS.
std::vector<AcDbObjectId> InWindow(const AcGePoint3d& a, const AcGePoint3d& b, bool crossing) {
  const auto w = kwhost::select::Window::Of(kwhost::select::ToWorld(a), kwhost::select::ToWorld(b));
  std::vector<AcDbObjectId> out;
  for (AcDbObjectId id : kwhost::select::SpaceEntities(false)) {
    if (crossing ? kwhost::select::CrossesWindow(id, w) : kwhost::select::InsideWindow(id, w)) {
      out.push_back(id);
    }
  }
  return out;
}

// The entity under the pick box at a point given in the UCS.
std::vector<AcDbObjectId> PickedAt(const AcGePoint3d& p) {
  kwhost::select::Hit hit;
  const AcGePoint3d world = kwhost::select::ToWorld(p);
  if (!kwhost::select::PickAt(world, kwhost::select::PickRadius(), &hit)) return {};
  return {hit.top};
}

// The entities an answer names, before the filter.
std::vector<AcDbObjectId> Named(const Answer& a) {
  switch (a.kind) {
    case Answer::kAll:
      return kwhost::select::SpaceEntities(false);
    case Answer::kWindow:
    case Answer::kCrossing:
      return InWindow(a.a, a.b, a.kind == Answer::kCrossing);
    case Answer::kPick:
      return PickedAt(a.a);
    case Answer::kHandles:
      return a.ids;
    default:
      return {};
  }
}

// What the other-input callback made of typed text.
enum class Other { kAgain, kPicked, kEnd };

Other AskOther(const std::wstring& text, std::vector<AcDbObjectId>* picked) {
  resbuf* rb = Select().other(text.c_str());
  Other result = Other::kEnd;
  AcDbObjectId id;
  if (!rb) {
    result = Other::kAgain;
  } else if (rb->restype == RTSTR) {
    if (rb->resval.rstring) kwhost::editor::Print(rb->resval.rstring);
    result = Other::kAgain;
  } else if (rb->restype == RTENAME) {
    if (acdbGetObjectId(id, rb->resval.rlname) == Acad::eOk) picked->push_back(id);
    result = Other::kPicked;
  } else if (const SelectionSet* set =
                 rb->restype == RTPICKS ? kwhost::select::FindSet(rb->resval.rlname) : nullptr) {
    *picked = set->ids();
    result = Other::kPicked;
  }
  acutRelRb(rb);
  return result;
}

// The entities an interactive selection has gathered, shown highlighted until it ends.
class Gathering {
 public:
  ~Gathering() {
    for (AcDbObjectId id : m_set.ids()) kwhost::select::Highlight(id, false);
  }
  void apply(const std::vector<AcDbObjectId>& ids, bool removing) {
    for (AcDbObjectId id : ids) {
      if (removing ? m_set.remove(id) : m_set.add(id)) kwhost::select::Highlight(id, !removing);
    }
  }
  const std::vector<AcDbObjectId>& ids() const { return m_set.ids(); }

 private:
  SelectionSet m_set;
};

void PrintCounts(size_t found, size_t before, size_t after, bool removing) {
  std::wstring text = kw::FormatW(L"\n找到 %d 个", static_cast<int>(found));
  if (removing) text += kw::FormatW(L"，删除 %d 个", static_cast<int>(before - after));
  text += kw::FormatW(L"，总计 %d 个", static_cast<int>(after));
  kwhost::editor::Print(text);
}

// Asks until the selection ends: RTNORM with `ids`, RTERROR (nothing), RTCAN or RTKWORD.
int Interactive(const Mode& m, const void* pt1, const Filter& filter,
                std::vector<AcDbObjectId>* ids) {
  const wchar_t* prompts[2] = {kAddPrompt, kRemovePrompt};
  if (m.prompts && pt1) {
    const auto* given = static_cast<const wchar_t* const*>(pt1);
    for (int i = 0; i < 2; ++i) prompts[i] = given[i] ? given[i] : prompts[i];
  }
  Gathering gathered;
  bool removing = false;
  for (;;) {
    const Answer a = kwhost::select::TakeAnswer(prompts[removing ? 1 : 0]);
    if (a.kind == Answer::kCancel) return RTCAN;
    if (a.kind == Answer::kEnter) {
      kwhost::select::ShowEnter(a);
      *ids = gathered.ids();
      return ids->empty() ? RTERROR : RTNORM;
    }
    if (!m.single && (a.kind == Answer::kAdd || a.kind == Answer::kRemove)) {
      removing = a.kind == Answer::kRemove;
      continue;
    }
    std::vector<AcDbObjectId> picked;
    if (a.kind == Answer::kText || a.kind == Answer::kAdd || a.kind == Answer::kRemove) {
      if (!m.other || !Select().other) {
        kwhost::editor::Print(L"\n*无效选择*");
        continue;
      }
      const Other other = AskOther(a.text, &picked);
      if (other == Other::kEnd) return RTKWORD;
      if (other == Other::kAgain) continue;
    } else {
      picked = Passing(Named(a), filter);
    }
    if (m.single) {
      if (picked.empty()) continue;
      *ids = picked;
      return RTNORM;
    }
    const size_t before = gathered.ids().size();
    gathered.apply(picked, removing || a.shift);
    PrintCounts(picked.size(), before, gathered.ids().size(), removing || a.shift);
  }
}

int Finish(const std::vector<AcDbObjectId>& ids, ads_name ss) {
  if (ids.empty()) return RTERROR;
  return kwhost::select::NewSet(ids, ss) ? RTNORM : RTERROR;
}

}  // namespace

int acedSSGet(const wchar_t* str, const void* pt1, const void* pt2, const resbuf* filter,
              ads_name ss) {
  Mode m;
  Filter f;
  if (!ss || !ParseMode(str, &m) || !f.parse(filter)) return RTERROR;
  switch (m.kind) {
    case L'X':
      return Finish(Passing(kwhost::select::SpaceEntities(true), f), ss);
    case L'W':
    case L'C':
      if (!pt1 || !pt2) return RTERROR;
      return Finish(Passing(InWindow(PointOf(pt1), PointOf(pt2), m.kind == L'C'), f), ss);
    default:
      break;
  }
  if (pt1 && !m.prompts) return Finish(Passing(PickedAt(PointOf(pt1)), f), ss);
  std::vector<AcDbObjectId> ids;
  const int rc = Interactive(m, pt1, f, &ids);
  return rc == RTNORM ? Finish(ids, ss) : rc;
}
