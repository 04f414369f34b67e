// The grammar of a selection prompt's answer line (host/embedded/README.md has it for users):
//   [-] ( "" | blanks | "^C" | "ALL" | "W x1,y1 x2,y2" | "C x1,y1 x2,y2" | "x,y[,z]" | handle... |
//   "A" |
//         "R" | other text )
// A leading "-" means the Shift key is held; blanks after it are skipped. Letters ignore case.
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <cwctype>

#include "common/text.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/select/select.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::select::Answer;

bool ParseNumber(const std::wstring& text, double* out) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  errno = 0;
  const double v = std::wcstod(text.c_str(), &end);
  if (*end != L'\0' || errno == ERANGE || !std::isfinite(v)) return false;
  *out = v;
  return true;
}

// The live entity of a layout with that hexadecimal handle, or a null id.
AcDbObjectId EntityOfHandle(const std::wstring& text) {
  if (text.empty() || text.size() > 16) return {};
  uint64_t value = 0;
  for (wchar_t c : text) {
    if (!std::iswxdigit(c)) return {};
    value =
        value * 16 + static_cast<uint64_t>(std::iswdigit(c) ? c - L'0' : (c | 0x20) - L'a' + 10);
  }
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbObjectId id;
  if (!db || value == 0 || db->getAcDbObjectId(id, false, AcDbHandle(value)) != Acad::eOk) {
    return {};
  }
  auto* e = AcDbEntity::cast(kwhost::db::Peek(id));
  if (!e || e->isErased()) return {};
  auto* owner = AcDbBlockTableRecord::cast(kwhost::db::Peek(e->ownerId()));
  return owner && owner->isLayout() ? id : AcDbObjectId();
}

// Handles separated by blanks, every one naming a selectable entity.
bool ParseHandles(const std::wstring& text, std::vector<AcDbObjectId>* ids) {
  for (const std::wstring& word : kw::Split(text, L' ')) {
    if (word.empty()) continue;
    const AcDbObjectId id = EntityOfHandle(word);
    if (id.isNull()) return false;
    ids->push_back(id);
  }
  return !ids->empty();
}

// "W p1 p2" / "C p1 p2".
bool ParseBox(const std::wstring& text, Answer* answer) {
  std::vector<std::wstring> words;
  for (std::wstring& w : kw::Split(text, L' ')) {
    if (!w.empty()) words.push_back(std::move(w));
  }
  if (words.size() != 3 || words[0].size() != 1) return false;
  const wchar_t letter = kw::ToUpperChar(words[0][0]);
  if (letter != L'W' && letter != L'C') return false;
  if (!kwhost::select::ParsePoint(words[1], &answer->a) ||
      !kwhost::select::ParsePoint(words[2], &answer->b)) {
    return false;
  }
  answer->kind = letter == L'W' ? Answer::kWindow : Answer::kCrossing;
  return true;
}

Answer Parse(const std::wstring& line) {
  Answer answer;
  std::wstring text = line;
  if (!text.empty() && text[0] == L'-') {
    answer.shift = true;
    text = kw::TrimLeft(std::wstring_view(text).substr(1));
  }
  answer.text = text;
  const std::wstring upper = kw::ToUpper(kw::Trim(text));
  if (kw::Trim(text).empty()) {
    answer.kind = Answer::kEnter;
    answer.space = !text.empty();
  } else if (upper == L"^C") {
    answer.kind = Answer::kCancel;
  } else if (upper == L"ALL") {
    answer.kind = Answer::kAll;
  } else if (ParseBox(text, &answer)) {
  } else if (kwhost::select::ParsePoint(kw::Trim(text), &answer.a)) {
    answer.kind = Answer::kPick;
  } else if (ParseHandles(text, &answer.ids)) {
    answer.kind = Answer::kHandles;
  } else if (upper == L"A" || upper == L"R") {
    answer.kind = upper == L"A" ? Answer::kAdd : Answer::kRemove;
  }
  return answer;
}

}  // namespace

namespace kwhost::select {

bool ParsePoint(const std::wstring& text, AcGePoint3d* p) {
  std::vector<std::wstring> parts = kw::Split(text, L',');
  if (parts.size() < 2 || parts.size() > 3) return false;
  double v[3] = {0, 0, 0};
  for (size_t i = 0; i < parts.size(); ++i) {
    if (!ParseNumber(parts[i], &v[i])) return false;
  }
  *p = AcGePoint3d(v[0], v[1], v[2]);
  return true;
}

Answer TakeAnswer(const wchar_t* prompt) {
  std::wstring line;
  if (!editor::TakeLine(prompt, &line)) {
    Select().shift = false;
    Answer cancel;
    cancel.kind = Answer::kCancel;
    return cancel;
  }
  Answer answer = Parse(line);
  Select().shift = answer.shift;
  return answer;
}

void ShowEnter(const Answer& answer) {
  PostMainFrameMessage(WM_KEYDOWN, answer.space ? VK_SPACE : VK_RETURN, 0);
  PumpMessages();
}

}  // namespace kwhost::select
