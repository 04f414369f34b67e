// The host's ZOOM and PAN commands on the command line. Points are typed "x,y" or "x,y,z" in
// the current UCS; every change of the view is remembered for ZOOM Previous.
#include <cmath>
#include <cwchar>
#include <optional>
#include <string>
#include <vector>

#include "common/format.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/docs/docs.h"
#include "host/embedded/editor/editor.h"
#include "host/embedded/view/view.h"

namespace {

namespace view = kwhost::view;

// The answer to a prompt: nullopt when the prompt was cancelled.
std::optional<std::wstring> Ask(const wchar_t* prompt) {
  wchar_t answer[kAcedStringBufferLen] = {};
  if (acedGetString(0, prompt, answer) != RTNORM) return std::nullopt;
  return kw::Trim(answer);
}

bool ParseNumber(const std::wstring& text, double* out) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  const double v = std::wcstod(text.c_str(), &end);
  if (*end != L'\0' || !std::isfinite(v)) return false;
  *out = v;
  return true;
}

// "x,y" or "x,y,z" in the UCS, as a display point.
std::optional<AcGePoint3d> ParsePoint(const std::wstring& text) {
  const std::vector<std::wstring> parts = kw::Split(text, L',');
  double v[3] = {0, 0, 0};
  if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
  for (size_t i = 0; i < parts.size(); ++i) {
    if (!ParseNumber(kw::Trim(parts[i]), &v[i])) return std::nullopt;
  }
  return view::WorldToDisplay(view::UcsToWorld(AcGePoint3d(v[0], v[1], v[2])));
}

// "2", "2x" or "2X": a positive factor.
std::optional<double> ParseScale(std::wstring text) {
  if (!text.empty() && (text.back() == L'x' || text.back() == L'X')) text.pop_back();
  double factor = 0;
  if (!ParseNumber(text, &factor) || !(factor > 0)) return std::nullopt;
  return factor;
}

// Asks for a point until one is typed; nullopt on Enter or a cancel.
std::optional<AcGePoint3d> AskPoint(const wchar_t* prompt) {
  for (;;) {
    std::optional<std::wstring> answer = Ask(prompt);
    if (!answer || answer->empty()) return std::nullopt;
    if (std::optional<AcGePoint3d> p = ParsePoint(*answer)) return p;
    acutPrintf(L"\n需要点。");
  }
}

// Shows a view of that height around a display point.
void ShowAround(const AcGePoint3d& center, double height) {
  view::ShowWindow({center.x, center.y - height / 2}, {center.x, center.y + height / 2});
}

void ShowScaled(double factor) {
  const view::View& v = view::Current();
  ShowAround(AcGePoint3d(v.center.x, v.center.y, 0), v.height / factor);
}

void ZoomWindow(const AcGePoint3d& first) {
  std::optional<AcGePoint3d> second = AskPoint(L"\n指定对角点: ");
  if (!second) return;
  if (!view::ShowWindow({first.x, first.y}, {second->x, second->y})) {
    acutPrintf(L"\n窗口无效。");
  }
}

void ZoomCenter() {
  std::optional<AcGePoint3d> center = AskPoint(L"\n指定中心点: ");
  if (!center) return;
  const double height = view::Current().height;
  const std::wstring prompt = kw::FormatW(L"\n输入比例或高度 <%g>: ", height);
  for (;;) {
    std::optional<std::wstring> answer = Ask(prompt.c_str());
    if (!answer) return;
    double value = 0;
    if (answer->empty()) {
      ShowAround(*center, height);
    } else if (ParseNumber(*answer, &value) && value > 0) {
      ShowAround(*center, value);
    } else if (std::optional<double> factor = ParseScale(*answer)) {
      ShowAround(*center, height / *factor);
    } else {
      acutPrintf(L"\n需要正数值或比例 (nX)。");
      continue;
    }
    return;
  }
}

void ZoomScale() {
  for (;;) {
    std::optional<std::wstring> answer = Ask(L"\n输入比例因子 (nX): ");
    if (!answer || answer->empty()) return;
    if (std::optional<double> factor = ParseScale(*answer)) return ShowScaled(*factor);
    acutPrintf(L"\n需要正数值或比例 (nX)。");
  }
}

// The box of the current space's entities in display coordinates; empty when it has none.
kwhost::db::Box DisplayExtents() {
  kwhost::db::Box box;
  AcApDocument* doc = kwhost::docs::Docs().current;
  AcDbDatabase* db = doc ? doc->database() : nullptr;
  AcDbBlockTableRecord* space = nullptr;
  if (!db || acdbOpenObject(space, db->currentSpaceId(), AcDb::kForRead) != Acad::eOk) return box;
  AcDbBlockTableRecordIterator* it = nullptr;
  if (space->newIterator(it) == Acad::eOk) {
    for (; !it->done(); it->step()) {
      AcDbEntity* entity = nullptr;
      if (it->getEntity(entity, AcDb::kForRead) != Acad::eOk) continue;
      AcDbExtents ext;
      if (entity->getGeomExtents(ext) == Acad::eOk) {
        box.addCorners(ext, [](const AcGePoint3d& p) { return view::WorldToDisplay(p); });
      }
      entity->close();
    }
    delete it;
  }
  space->close();
  return box;
}

void ZoomExtents() {
  AcDbExtents ext;
  if (DisplayExtents().out(ext) != Acad::eOk) {
    acutPrintf(L"\n没有对象。");
    return;
  }
  const AcGePoint3d& a = ext.minPoint();
  const AcGePoint3d& b = ext.maxPoint();
  if (!view::ShowWindow({a.x, a.y}, {b.x, b.y})) ShowAround(a, view::Current().height);
}

// Carries out a keyword of the options prompt.
void ZoomOption(const std::wstring& keyword) {
  if (keyword == L"Center") {
    ZoomCenter();
  } else if (keyword == L"Extents") {
    ZoomExtents();
  } else if (keyword == L"Previous") {
    if (!view::ShowPrevious()) acutPrintf(L"\n没有保存上一个视图。");
  } else if (keyword == L"Scale") {
    ZoomScale();
  } else if (std::optional<AcGePoint3d> first = AskPoint(L"\n指定第一个角点: ")) {
    ZoomWindow(*first);
  }
}

void ZoomCommand() {
  static const std::vector<std::wstring> kKeywords = {L"Center", L"Extents", L"Previous", L"Scale",
                                                      L"Window"};
  for (;;) {
    std::optional<std::wstring> answer =
        Ask(L"\n指定窗口的角点，输入比例因子 (nX)，或者\n"
            L"[中心(C)/范围(E)/上一个(P)/比例(S)/窗口(W)] <实时>: ");
    if (!answer || answer->empty()) return;  // no real-time zoom on a console
    if (std::optional<AcGePoint3d> corner = ParsePoint(*answer)) return ZoomWindow(*corner);
    if (std::optional<double> factor = ParseScale(*answer)) return ShowScaled(*factor);
    const std::wstring keyword = kwhost::editor::MatchKeyword(*answer, kKeywords, {});
    if (!keyword.empty()) return ZoomOption(keyword);
    acutPrintf(L"\n需要点或选项关键字。");
  }
}

// PAN: a displacement, or a base point and a second point; the drawing moves by it.
void PanCommand() {
  std::optional<AcGePoint3d> base = AskPoint(L"\n指定基点或位移: ");
  if (!base) return;
  wchar_t answer[kAcedStringBufferLen] = {};
  AcGePoint3d to = *base;
  AcGePoint3d from = view::WorldToDisplay(view::UcsToWorld(AcGePoint3d::kOrigin));
  for (;;) {
    if (acedGetString(0, L"\n指定第二点: ", answer) != RTNORM) return;
    const std::wstring text = kw::Trim(answer);
    if (text.empty()) break;
    if (std::optional<AcGePoint3d> second = ParsePoint(text)) {
      from = *base;
      to = *second;
      break;
    }
    acutPrintf(L"\n需要点。");
  }
  const view::View& v = view::Current();
  ShowAround(AcGePoint3d(v.center.x - (to.x - from.x), v.center.y - (to.y - from.y), 0), v.height);
}

[[maybe_unused]] const bool kRegistered =
    (kwhost::editor::AddHostCommand(L"ZOOM", ZoomCommand),
     kwhost::editor::AddHostCommand(L"PAN", PanCommand), true);

}  // namespace
