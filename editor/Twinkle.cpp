// The flashing highlight's public functions: starting blinks of entities, selection sets and
// outlines, stopping them, and the frequency.
#include "editor/Twinkle.h"

#include "editor/internal/TwinkleState.h"
#include "host/api/aced.h"

using KWRDPub::twinkle::CanWrite;
using KWRDPub::twinkle::DocumentLock;
using KWRDPub::twinkle::kDraw;
using KWRDPub::twinkle::kUndraw;
using KWRDPub::twinkle::Twinkle;
using KWRDPub::twinkle::UENTINFO;

namespace {

constexpr double kMinFrequency = 0.1;
constexpr double kMaxFrequency = 10.0;

// Stops every member; only a null hwnd dissolves the group.
int StopGroup(int groupId, HWND hwnd) {
  auto& groups = Twinkle().groups;
  std::vector<unsigned> members = groups[groupId];
  std::vector<unsigned> kept;
  int result = 1;
  for (size_t i = members.size(); i-- > 0;) {
    KWStopTwinkle(static_cast<int>(members[i]), nullptr);
    if (hwnd) {
      kept.insert(kept.begin(), members[i]);
      result = 0;
    }
  }
  if (result == 0) {
    groups[groupId] = std::move(kept);
    return 0;
  }
  groups.erase(groupId);
  return 1;
}

int StopOne(int id) {
  UENTINFO* r = Twinkle().records.find(id);
  if (!r) return 1;
  DocumentLock lock;
  if (r->state == kUndraw) {
    if (!CanWrite(*r)) return 0;
    acedRedraw(r->ent, kDraw);
  }
  KWRDPub::twinkle::EndRecord(id, *r);
  acedRedraw(nullptr, 0);
  return 1;
}

void RestoreAll() {
  auto& s = Twinkle();
  DocumentLock lock;
  for (const UENTINFO& r : s.records.all()) {
    KWRDPub::twinkle::Restore(r);
    if (r.state == kUndraw && CanWrite(r)) acedRedraw(r.ent, kDraw);
  }
  s.records.clear();
  for (const auto& [id, objectId] : s.temporaries) KWRDPub::twinkle::EraseTemporary(objectId);
}

}  // namespace

int KWTwinkle(int64_t* const name, int isSelectionSet, int colorIndex, const wchar_t* linetype,
              double width, unsigned long duration) {
  if (isSelectionSet) return -1;
  if (!name) return 0;
  try {
    return KWRDPub::twinkle::StartOne(name, colorIndex, linetype, width, duration);
  } catch (...) {
    return 0;
  }
}

int KWTwinkle(int64_t* const name, int isSelectionSet, unsigned long duration) {
  return KWTwinkle(name, isSelectionSet, -1, nullptr, 0.0, duration);
}

int KWStopTwinkle(int id, HWND hwnd) {
  try {
    if (Twinkle().groups.count(id)) return StopGroup(id, hwnd);
    return StopOne(id);
  } catch (...) {
    KWRDPub::twinkle::ReportError(L"\nKWStopTwinkle error.");
    return 1;
  }
}

void KWStopAllTwinkle(HWND) {
  auto& s = Twinkle();
  try {
    s.groups.clear();
    RestoreAll();
  } catch (...) {
    KWRDPub::twinkle::ReportError(L"\nStop all twinkle error.\n");
  }
  s.records.clear();
  s.refCounts = {};
  s.temporaries.clear();
}

int KWHasTwinkle(int id) {
  const auto& s = Twinkle();
  return s.groups.count(id) || s.records.find(id) ? 1 : 0;
}

int KWSetTwinkleFreQuency(double f) {
  if (!(f >= kMinFrequency && f <= kMaxFrequency)) return 0;
  Twinkle().frequency = f;
  return 1;
}

double KWGetTwinkleFreQuency() {
  return Twinkle().frequency;
}
