// The class filter: reject wins over allow, both by kind-of.
#include "editor/CFilterByClass.h"

#include <algorithm>

const CFilterByClass CFilterByClass::kNull;

CFilterByClass::CFilterByClass() = default;
CFilterByClass::~CFilterByClass() = default;

void CFilterByClass::AddAllowClass(AcRxClass* cls) {
  if (!cls) return;
  m_reject.remove(cls);
  if (std::find(m_allow.begin(), m_allow.end(), cls) == m_allow.end()) m_allow.push_back(cls);
}

void CFilterByClass::AddRejectClass(AcRxClass* cls) {
  if (!cls) return;
  m_allow.remove(cls);
  if (std::find(m_reject.begin(), m_reject.end(), cls) == m_reject.end()) m_reject.push_back(cls);
}

bool CFilterByClass::IsAllow(const AcDbObject* object) const {
  if (!object) return false;
  const AcRxClass* cls = object->isA();
  auto derives = [cls](const AcRxClass* base) { return cls && cls->isDerivedFrom(base); };
  if (std::any_of(m_reject.begin(), m_reject.end(), derives)) return false;
  return m_allow.empty() || std::any_of(m_allow.begin(), m_allow.end(), derives);
}

bool CFilterByClass::IsAllow(AcDbObjectId id) const {
  AcDbObject* object = nullptr;
  if (acdbOpenObject(object, id, AcDb::kForRead) != Acad::eOk) return false;
  const bool allowed = IsAllow(object);
  object->close();
  return allowed;
}

void CFilterByClass::FilterObjs(AcDbObjectIdArray& ids) const {
  int kept = 0;
  for (int i = 0; i < ids.length(); ++i) {
    if (IsAllow(ids[i])) ids[kept++] = ids[i];
  }
  ids.setLogicalLength(kept);
}
