// Selection sets and the calls that name them (acedSSFree, acedSSLength, acedSSName, acedSSAdd,
// acedSSDel), the other-input callback's slot and the Shift key.
#include "host/api/dbads.h"
#include "host/api/win.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/select/select.h"

namespace kwhost::select {

bool SelectionSet::add(AcDbObjectId id) {
  if (!m_index.emplace(id, m_ids.size()).second) return false;
  m_ids.push_back(id);
  return true;
}

bool SelectionSet::remove(AcDbObjectId id) {
  const auto it = m_index.find(id);
  if (it == m_index.end()) return false;
  m_ids[it->second] = AcDbObjectId();
  m_index.erase(it);
  ++m_holes;
  return true;
}

const std::vector<AcDbObjectId>& SelectionSet::ids() const {
  if (m_holes == 0) return m_ids;
  size_t kept = 0;
  for (const AcDbObjectId& id : m_ids) {
    if (id.isNull()) continue;
    m_index[id] = kept;
    m_ids[kept++] = id;
  }
  m_ids.resize(kept);
  m_holes = 0;
  return m_ids;
}

State& Select() {
  static State state;
  return state;
}

void Reset() {
  Select() = State();
}

SelectionSet* FindSet(const ads_name name) {
  if (!name || name[1] != kSetTag) return nullptr;
  auto it = Select().sets.find(name[0]);
  return it == Select().sets.end() ? nullptr : &it->second;
}

bool NewSet(const std::vector<AcDbObjectId>& ids, ads_name name) {
  State& s = Select();
  if (s.sets.size() >= kMaxSets) return false;
  const int64_t serial = s.nextSerial++;
  SelectionSet& set = s.sets[serial];
  for (AcDbObjectId id : ids) set.add(id);
  name[0] = serial;
  name[1] = kSetTag;
  return true;
}

}  // namespace kwhost::select

namespace {

bool LiveEntity(const ads_name name, AcDbObjectId* id) {
  if (acdbGetObjectId(*id, name) != Acad::eOk) return false;
  auto* e = AcDbEntity::cast(kwhost::db::Peek(*id));
  return e && !e->isErased();
}

}  // namespace

using kwhost::select::FindSet;
using kwhost::select::Select;
using kwhost::select::SelectionSet;

int acedSSFree(const ads_name sname) {
  if (!FindSet(sname)) return RTERROR;
  Select().sets.erase(sname[0]);
  return RTNORM;
}

int acedSSLength(const ads_name sname, Adesk::Int32* len) {
  const SelectionSet* set = FindSet(sname);
  if (!set || !len) return RTERROR;
  *len = static_cast<Adesk::Int32>(set->ids().size());
  return RTNORM;
}

int acedSSName(const ads_name ss, Adesk::Int32 i, ads_name entres) {
  const SelectionSet* set = FindSet(ss);
  if (!set || !entres || i < 0 || static_cast<size_t>(i) >= set->ids().size()) return RTERROR;
  ads_name name;
  if (acdbGetAdsName(name, set->ids()[static_cast<size_t>(i)]) != Acad::eOk) return RTERROR;
  entres[0] = name[0];
  entres[1] = name[1];
  return RTNORM;
}

int acedSSAdd(const ads_name ename, const ads_name sname, ads_name result) {
  AcDbObjectId id;
  if (ename && !LiveEntity(ename, &id)) return RTERROR;
  if (!sname) {
    ads_name made;
    std::vector<AcDbObjectId> ids;
    if (ename) ids.push_back(id);
    if (!result || !kwhost::select::NewSet(ids, made)) return RTERROR;
    result[0] = made[0];
    result[1] = made[1];
    return RTNORM;
  }
  SelectionSet* set = FindSet(sname);
  if (!set) return RTERROR;
  if (ename) set->add(id);
  if (result) {
    result[0] = sname[0];
    result[1] = sname[1];
  }
  return RTNORM;
}

int acedSSDel(const ads_name ename, const ads_name ss) {
  SelectionSet* set = FindSet(ss);
  AcDbObjectId id;
  if (!set || !ename || acdbGetObjectId(id, ename) != Acad::eOk) return RTERROR;
  return set->remove(id) ? RTNORM : RTERROR;
}

int acedSSSetOtherCallbackPtr(AcedSSOtherCallback fn) {
  Select().other = fn;
  return RTNORM;
}

int acedSSGetOtherCallbackPtr(AcedSSOtherCallback* fn) {
  if (!fn) return RTERROR;
  *fn = Select().other;
  return RTNORM;
}

short GetKeyState(int nVirtKey) {
  return nVirtKey == VK_SHIFT && Select().shift ? static_cast<short>(-128) : 0;
}
