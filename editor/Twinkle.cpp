// The flashing highlight's public functions: starting blinks of entities, selection sets and
// outlines, stopping them, and the frequency.
#include "editor/Twinkle.h"

#include <algorithm>

#include "editor/EntityCreation.h"
#include "editor/internal/DocLock.h"
#include "editor/internal/TwinkleState.h"
#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "msg/MessageReport.h"

using KWRDPub::twinkle::CanWrite;
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
  kweditor::DocLock lock;
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
  kweditor::DocLock lock;
  for (const UENTINFO& r : s.records.all()) {
    KWRDPub::twinkle::Restore(r);
    if (r.state == kUndraw && CanWrite(r)) acedRedraw(r.ent, kDraw);
  }
  s.records.clear();
  for (const auto& [id, objectId] : s.temporaries) KWRDPub::twinkle::EraseTemporary(objectId);
}

// Every member of the set blinks, from the last to the first, under a group id taken first;
// an empty group is dropped (its id stays used).
int StartSet(const ads_name set, int colorIndex, const wchar_t* linetype, double width,
             unsigned long duration) {
  Adesk::Int32 length = 0;
  if (acedSSLength(set, &length) != RTNORM) return -1;
  auto& s = Twinkle();
  const int groupId = s.nextId++;
  std::vector<unsigned> members;
  for (Adesk::Int32 i = length - 1; i >= 0; --i) {
    ads_name ent = {0, 0};
    if (acedSSName(set, i, ent) != RTNORM) continue;
    const int id = KWRDPub::twinkle::StartOne(ent, colorIndex, linetype, width, duration);
    if (id > 0) members.push_back(static_cast<unsigned>(id));
  }
  if (members.empty()) return 0;
  s.groups[groupId] = std::move(members);
  return groupId;
}

}  // namespace

int KWTwinkle(int64_t* const name, int isSelectionSet, int colorIndex, const wchar_t* linetype,
              double width, unsigned long duration) {
  if (isSelectionSet) {
    try {
      return StartSet(name, colorIndex, linetype, width, duration);
    } catch (...) {
      return -1;
    }
  }
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

int KWTwinkle(AcGePoint3dArray& points, int colorIndex, const wchar_t* linetype, double width,
              unsigned long duration) {
  int id = 0;
  try {
    kweditor::DocLock lock;
    AcDbObjectId outline;
    const short color = static_cast<short>(std::max(colorIndex, 0) % 257);
    if (!CreatePline(points, outline, 1, linetype, 1.0, std::max(width, 0.0), color)) return 0;
    ads_name ent = {0, 0};
    acdbGetAdsName(ent, outline);
    id = KWRDPub::twinkle::StartOne(ent, -1, nullptr, 0.0, duration);
    Twinkle().temporaries[id] = outline.asOldId();
    return id;
  } catch (...) {
    KWRDPub::ReportMessage(L"\nKWTwinkle@2 error.");
    return id > 0 ? id : -1;
  }
}

int KWTwinkle(AcGePoint3dArray& points, unsigned long duration) {
  return KWTwinkle(points, -1, nullptr, 0.0, duration);
}

int KWStopTwinkle(int id, HWND hwnd) {
  try {
    if (Twinkle().groups.count(id)) return StopGroup(id, hwnd);
    return StopOne(id);
  } catch (...) {
    KWRDPub::ReportMessage(L"\nKWStopTwinkle error.");
    return 1;
  }
}

void KWStopAllTwinkle(HWND) {
  auto& s = Twinkle();
  try {
    s.groups.clear();
    RestoreAll();
  } catch (...) {
    KWRDPub::ReportMessage(L"\nStop all twinkle error.\n");
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
