// The selection service: selection sets, the other-input callback, the Shift key of the
// command line, picks and the DXF filters of acedSSGet.
//
// States: no selection runs, or one acedSSGet / acedEntSel asks the user (the host is
// single-threaded, so selections never nest).
//
// Invariants:
//   1. A set's name is {serial, kSetTag}; serials are never reused within a session, so a freed
//      set's name stays unknown. At most kMaxSets sets live at once.
//   2. A set holds each entity once: its index maps every member to its place in the list;
//      a removed member leaves a null hole there until the list is next read, so removing many
//      members one by one costs time in proportion to the set, not to its square.
//   3. `shift` is what the last selection answer said about the Shift key; it changes only when
//      a selection answer is taken or the session resets.
//   4. While an interactive selection runs, the entities it has gathered are highlighted; none
//      of them is left highlighted by the selection when it returns.
#ifndef KW_HOST_EMBEDDED_SELECT_SELECT_H_
#define KW_HOST_EMBEDDED_SELECT_SELECT_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/api/aced.h"
#include "host/api/dbid.h"
#include "host/api/ge.h"

namespace kwhost::select {

inline constexpr int64_t kSetTag = -0x5353;
inline constexpr size_t kMaxSets = 128;

// One selection set: entities in the order they were selected, each once.
class SelectionSet {
 public:
  // True when the id was not in the set yet.
  bool add(AcDbObjectId id);
  // True when the id was in the set.
  bool remove(AcDbObjectId id);
  bool contains(AcDbObjectId id) const { return m_index.count(id) != 0; }
  // The members in order (closes the holes removals left).
  const std::vector<AcDbObjectId>& ids() const;

 private:
  mutable std::vector<AcDbObjectId> m_ids;
  mutable std::unordered_map<AcDbObjectId, size_t> m_index;
  mutable size_t m_holes = 0;
};

struct State {
  std::map<int64_t, SelectionSet> sets;
  int64_t nextSerial = 1;
  AcedSSOtherCallback other = nullptr;
  bool shift = false;
};

State& Select();
// A new session's service: no sets, no callback, Shift up.
void Reset();

// The set of that name, or null.
SelectionSet* FindSet(const ads_name name);
// A new set holding `ids` (duplicates dropped); false when kMaxSets sets exist already.
bool NewSet(const std::vector<AcDbObjectId>& ids, ads_name name);

// Shows an entity as picked (or not) while a selection runs.
void Highlight(AcDbObjectId id, bool on);

// ---------------------------------------------------------------- geometry (shapes.cpp)

// A box in the XY plane (world coordinates), corners in any order.
struct Window {
  double x0, y0, x1, y1;
  static Window Of(const AcGePoint3d& a, const AcGePoint3d& b);
};

// The live entities of the current space in drawing order (all layouts when `allLayouts`).
std::vector<AcDbObjectId> SpaceEntities(bool allLayouts);
// Entity `id` lies wholly inside the window / inside it or crosses its border.
bool InsideWindow(AcDbObjectId id, const Window& w);
bool CrossesWindow(AcDbObjectId id, const Window& w);

// What a pick found: the top-level entity, the innermost entity under the pick box, the block
// references between them (outermost first), the transformation from the innermost entity's
// coordinates to the world (rows of a 3x4 matrix) and the graphics marker of the part picked.
struct Hit {
  AcDbObjectId top;
  AcDbObjectId inner;
  std::vector<AcDbObjectId> references;
  double xform[3][4] = {};
  int marker = 0;
  AcGePoint3d onEntity;  // the point of the entity nearest the pick
};
// The entity nearest `p` within `radius` (later entities win ties); false when none is.
bool PickAt(const AcGePoint3d& p, double radius, Hit* hit);
// The nearest part of entity `id` to `p`, whatever the distance; false for an entity with
// no geometry.
bool NearestOn(AcDbObjectId id, const AcGePoint3d& p, Hit* hit);
// Half the pick box in drawing units: PICKBOX pixels at the current view's scale.
double PickRadius();
// A point typed or handed to a selection (UCS) in world coordinates.
AcGePoint3d ToWorld(const AcGePoint3d& ucs);

// ---------------------------------------------------------------- filters (filter.cpp)

// A parsed DXF filter. Parse() keeps pointers into the list, which must outlive the filter.
class Filter {
 public:
  Filter();
  ~Filter();
  // False for a malformed list (unbalanced or unknown -4 groups).
  bool parse(const resbuf* list);
  // True for an empty filter and for an entity whose DXF list passes it.
  bool matches(AcDbObjectId id) const;

  struct Node;

 private:
  std::unique_ptr<Node> m_root;
};

// ---------------------------------------------------------------- answers (answer.cpp)

// One line typed at a selection prompt, parsed by the grammar of host/embedded/README.md.
struct Answer {
  enum Kind { kEnter, kCancel, kAll, kWindow, kCrossing, kPick, kHandles, kAdd, kRemove, kText };
  Kind kind = kText;
  bool shift = false;
  bool space = false;             // kEnter given as blanks: the Space key
  AcGePoint3d a, b;               // window corners, or the pick point in `a`
  std::vector<AcDbObjectId> ids;  // kHandles
  std::wstring text;              // the line without its Shift mark
};
// Takes the next line (printing `prompt`); kCancel at the end of input. Sets Select().shift.
Answer TakeAnswer(const wchar_t* prompt);
// Parses "x,y" or "x,y,z"; false for anything else.
bool ParsePoint(const std::wstring& text, AcGePoint3d* p);
// Shows the key that ended a selection to the window-message watchers: WM_KEYDOWN with
// VK_RETURN, or VK_SPACE for an answer of blanks.
void ShowEnter(const Answer& answer);

}  // namespace kwhost::select

#endif  // KW_HOST_EMBEDDED_SELECT_SELECT_H_
