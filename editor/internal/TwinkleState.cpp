// The flashing highlight's state and the steps its functions share: starting one blink,
// restoring an entity, reference counts.
#include "editor/internal/TwinkleState.h"

#include <cstdlib>
#include <cwctype>

#include "editor/Twinkle.h"
#include "editor/internal/DocLock.h"
#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbpl.h"

namespace KWRDPub::twinkle {

namespace {

constexpr DWORD kDefaultDuration = 3000;
constexpr UINT_PTR kTimerId = 1;
constexpr int kFallbackPeriod = 600;

// The entity's kind by the type in its DXF list (kOther when the list can't be read).
int32_t KindOf(const ads_name ent) {
  resbuf* list = acdbEntGet(ent);
  int32_t kind = kOther;
  for (resbuf* rb = list; rb; rb = rb->rbnext) {
    if (rb->restype != 0 || !rb->resval.rstring) continue;
    std::wstring type = rb->resval.rstring;
    for (wchar_t& c : type) c = static_cast<wchar_t>(std::towupper(c));
    if (type == L"INSERT") kind = kBlockReference;
    if (type == L"LWPOLYLINE" || type == L"POLYLINE") kind = kPolyline;
    break;
  }
  acutRelRb(list);
  return kind;
}

UENTINFO NewRecord(const ads_name ent, int colorIndex, const wchar_t* linetype, double width,
                   unsigned long duration) {
  UENTINFO r;
  r.name0 = static_cast<int32_t>(ent[0]);
  r.name1 = static_cast<int32_t>(ent[1]);
  r.ent[0] = ent[0];
  r.ent[1] = ent[1];
  r.duration = duration == 0 ? kDefaultDuration : static_cast<DWORD>(duration);
  r.startTick = GetTickCount();
  r.color = colorIndex;
  if (linetype) r.linetype = linetype;
  r.width = width;
  r.kind = KindOf(ent);
  return r;
}

// Shows the record's colour and linetype on the entity, keeping what it had.
void Restyle(AcDbObjectId id, UENTINFO& r) {
  AcDbEntity* entity = nullptr;
  if (acdbOpenAcDbEntity(entity, id, AcDb::kForWrite) == Acad::eOk) {
    if (r.color >= 0) {
      r.origColor = entity->colorIndex();
      entity->setColorIndex(static_cast<Adesk::UInt16>(r.color & 0xFFFF), true);
    }
    if (!r.linetype.empty()) {
      wchar_t* current = entity->linetype();
      r.origLinetype = current ? current : L"";
      std::free(current);
      entity->setLinetype(r.linetype.c_str(), true);
    }
    entity->close();
  }
  if (r.kind != kPolyline || r.width <= 0) return;
  AcDbPolyline* polyline = nullptr;
  if (acdbOpenObject(polyline, id, AcDb::kForWrite) != Acad::eOk) return;
  double current = 0;
  if (polyline->getConstantWidth(current) == Acad::eOk) r.origWidth = current;
  polyline->setConstantWidth(r.width);
  polyline->close();
}

// A second blink of an entity restores what the entity had before the first one.
void InheritSaved(UENTINFO& r) {
  r.origColor = -1;
  r.origLinetype.clear();
  r.origWidth = -1.0;
  for (const UENTINFO& other : Twinkle().records.all()) {
    if (other.name0 != r.name0 || other.name1 != r.name1) continue;
    r.origWidth = other.origWidth;
    r.origColor = other.origColor;
    r.origLinetype = other.origLinetype;
    return;
  }
}

void StartTimer() {
  State& s = Twinkle();
  if (s.timerRunning) return;
  int period = s.frequency > 0 ? static_cast<int>(1000.0 / s.frequency) : kFallbackPeriod;
  if (period <= 50) period = kFallbackPeriod;
  SetTimer(nullptr, kTimerId, static_cast<UINT>(period / 2), TimerProc);
  s.timerRunning = 1;
}

}  // namespace

UENTINFO* RecordTable::find(int id) {
  auto it = m_index.find(id);
  return it == m_index.end() ? nullptr : &m_records[it->second];
}

const UENTINFO* RecordTable::find(int id) const {
  auto it = m_index.find(id);
  return it == m_index.end() ? nullptr : &m_records[it->second];
}

void RecordTable::put(UENTINFO record) {
  if (UENTINFO* existing = find(record.id)) {
    *existing = std::move(record);
    return;
  }
  m_index.emplace(record.id, m_records.size());
  m_records.push_back(std::move(record));
}

void RecordTable::erase(int id) {
  auto it = m_index.find(id);
  if (it == m_index.end()) return;
  const size_t at = it->second;
  m_index.erase(it);
  if (at + 1 != m_records.size()) {
    m_records[at] = std::move(m_records.back());
    m_index[m_records[at].id] = at;
  }
  m_records.pop_back();
}

void RecordTable::clear() {
  m_records.clear();
  m_index.clear();
}

State& Twinkle() {
  // Never destroyed: the library's shutdown runs after the exit handlers that destroy statics.
  static State* const state = new State;
  return *state;
}

int StartOne(const ads_name ent, int colorIndex, const wchar_t* linetype, double width,
             unsigned long duration) {
  State& s = Twinkle();
  UENTINFO r = NewRecord(ent, colorIndex, linetype, width, duration);
  kweditor::DocLock lock;
  AcDbObjectId id;
  int count = 0;
  if (acdbGetObjectId(id, ent) == Acad::eOk) {
    count = ++s.refCounts[id.asOldId()];
    r.objectId = id;
    Restyle(id, r);
  }
  StartTimer();
  r.id = s.nextId++;
  if (count >= 2) InheritSaved(r);
  const int twinkleId = r.id;
  s.records.put(std::move(r));
  return twinkleId;
}

bool CanWrite(const UENTINFO& record) {
  AcDbObjectId id = record.objectId;
  if (id.isNull() && acdbGetObjectId(id, record.ent) != Acad::eOk) return false;
  AcDbEntity* entity = nullptr;
  if (acdbOpenAcDbEntity(entity, id, AcDb::kForWrite) != Acad::eOk) return false;
  entity->close();
  return true;
}

void Restore(const UENTINFO& r) {
  AcDbObjectId id;
  if (acdbGetObjectId(id, r.ent) != Acad::eOk) return;
  AcDbEntity* entity = nullptr;
  if (acdbOpenAcDbEntity(entity, id, AcDb::kForWrite) == Acad::eOk) {
    if (r.origColor >= 0) entity->setColorIndex(static_cast<Adesk::UInt16>(r.origColor), true);
    if (!r.origLinetype.empty()) entity->setLinetype(r.origLinetype.c_str(), true);
    entity->close();
  }
  if (r.kind != kPolyline || r.origWidth < 0) return;
  AcDbPolyline* polyline = nullptr;
  if (acdbOpenObject(polyline, id, AcDb::kForWrite) != Acad::eOk) return;
  polyline->setConstantWidth(r.origWidth);
  polyline->close();
}

int Release(const ads_name ent) {
  AcDbObjectId id;
  if (acdbGetObjectId(id, ent) != Acad::eOk) return 0;
  auto& counts = Twinkle().refCounts;
  auto it = counts.find(id.asOldId());
  if (it == counts.end()) return 0;
  const int left = --it->second;
  if (left <= 0) counts.erase(it);
  if (counts.empty()) counts = {};
  return left > 0 ? left : 0;
}

void EndRecord(int id, const UENTINFO& r) {
  State& s = Twinkle();
  auto temporary = s.temporaries.find(id);
  if (temporary == s.temporaries.end()) {
    if (Release(r.ent) == 0) Restore(r);
    s.records.erase(id);
    return;
  }
  if (!EraseTemporary(temporary->second)) return;
  Release(r.ent);
  s.temporaries.erase(temporary);
  s.records.erase(id);
}

bool EraseTemporary(int64_t objectId) {
  AcDbPolyline* polyline = nullptr;
  AcDbObjectId id = AcDbObjectId().setFromOldId(objectId);
  if (acdbOpenObject(polyline, id, AcDb::kForWrite) != Acad::eOk) return false;
  const bool erased = polyline->erase() == Acad::eOk;
  polyline->close();
  return erased;
}

void Shutdown() {
  State& s = Twinkle();
  KWStopAllTwinkle(nullptr);
  if (s.timerRunning) KillTimer(nullptr, kTimerId);
  s = State{};
}

}  // namespace KWRDPub::twinkle
