// The flashing highlight's process-wide state and the steps its public functions and its timer
// procedure share. Internal to editor/.
//
// Invariants:
//   1. nextId only grows; ids below it were handed out once (a blink or a group).
//   2. `records` holds one record per running blink and `index` maps each record's id to its
//      position; no two records share an id.
//   3. refCounts[entity] is the number of running blinks that hold a reference on the entity
//      (blinks whose entity id could be found when they started); no entry is 0.
//   4. Every id in `temporaries` is the id of a running blink whose entity is a polyline the
//      library made and erases when that blink ends.
//   5. timerRunning is 1 from the SetTimer of a first blink until a tick finds no record left
//      and kills the timer.
// States of the phase: 0 (no tick yet), then 2 and 1 alternately, one change per tick.
#ifndef KW_EDITOR_INTERNAL_TWINKLESTATE_H_
#define KW_EDITOR_INTERNAL_TWINKLESTATE_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/api/adsdef.h"
#include "host/api/dbid.h"
#include "host/api/win.h"

namespace KWRDPub::twinkle {

// Redraw modes of acedRedraw that the blinking uses.
inline constexpr int kDraw = 1;
inline constexpr int kUndraw = 2;
inline constexpr int kUnhighlight = 4;

// Kinds of blinking entities: what a restore may change.
enum Kind : int32_t { kBlockReference = 0, kPolyline = 1, kOther = 2 };

// One blinking entity. name0/name1 are the two words of the ads_name cut to 32 bits, by which
// records of one entity are matched; `ent` is the whole name, handed back to the host.
struct UENTINFO {
  int32_t name0 = 0;
  int32_t name1 = 0;
  int32_t id = 0;
  int32_t state = kDraw;
  DWORD duration = 0;
  DWORD startTick = 0;
  int32_t color = -1;
  int32_t origColor = -1;
  std::wstring linetype;
  std::wstring origLinetype;
  double width = 0;
  double origWidth = -1.0;
  int32_t kind = kOther;
  ads_name ent = {0, 0};
  // The entity's object id as found when the blink started (null: not found then, so it is
  // looked up again each time); a tick then needs no lookup per entity.
  AcDbObjectId objectId;
};

// The running blinks by id, kept in one array so that a tick walks them in memory order.
class RecordTable {
 public:
  UENTINFO* find(int id);
  const UENTINFO* find(int id) const;
  void put(UENTINFO record);
  void erase(int id);
  void clear();
  bool empty() const { return m_records.empty(); }
  std::vector<UENTINFO>& all() { return m_records; }

 private:
  std::vector<UENTINFO> m_records;
  std::unordered_map<int, size_t> m_index;
};

struct State {
  int nextId = 1;
  int phase = 0;
  int timerRunning = 0;
  double frequency = 3.0;
  RecordTable records;
  std::unordered_map<int, std::vector<unsigned>> groups;
  std::unordered_map<int, int64_t> temporaries;
  std::unordered_map<int64_t, int> refCounts;
};

State& Twinkle();

// Starts one blink of the entity `ent` (the steps every form shares): its id.
int StartOne(const ads_name ent, int colorIndex, const wchar_t* linetype, double width,
             unsigned long duration);
// Opens the record's entity for write and closes it again: false when its id can't be found
// or it can't be opened (a blink then leaves it as it is).
bool CanWrite(const UENTINFO& record);
// Puts the record's saved colour, linetype and width back; failures to open are ignored.
void Restore(const UENTINFO& record);
// Lowers the entity's reference count by one (when it has one): the count left, 0 when none.
int Release(const ads_name ent);
// Ends one blink: a temporary outline is erased (the record stays when it can't be), any other
// entity released and restored when no other blink holds it; the record is dropped. `r` is the
// record of `id` and is gone afterwards.
void EndRecord(int id, const UENTINFO& r);
// Erases the temporary polyline of that object id: true when it is erased.
bool EraseTemporary(int64_t objectId);
// The host's timer procedure of the flashing highlight.
void TimerProc(HWND hwnd, UINT message, UINT_PTR timerId, DWORD now);
// The end of the flashing when the library unloads (the host still running): every blink stopped
// (entities restored, outlines erased), the timer killed and the state as at load, so that a
// library loaded again (or a host session started afresh) starts its timer with its first blink.
void Shutdown();

}  // namespace KWRDPub::twinkle

#endif  // KW_EDITOR_INTERNAL_TWINKLESTATE_H_
