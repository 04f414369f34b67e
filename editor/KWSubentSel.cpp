// Sub-entity picks: the host's nested pick gives the entity under the pick box, its placement
// in the world and the graphics marker of the segment picked; the marker names the edge, and
// the nearer end of that edge the vertex.
#include "editor/KWSubentSel.h"

#include <vector>

#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"

namespace {

struct Pick {
  AcDbObjectId entity;
  std::vector<AcDbObjectId> references;
  AcGePoint3d point;
  ads_matrix xform;
  Adesk::GsMarker marker = 0;
};

// RTNORM with the pick; anything else is RTCAN.
int NestedPick(const wchar_t* prompt, Pick* pick) {
  resbuf cvport{};
  const bool paper = acedGetVar(L"CVPORT", &cvport) == RTNORM && cvport.restype == RTSHORT &&
                     cvport.resval.rint == 1;
  ads_name e;
  ads_point p;
  resbuf* stack = nullptr;
  const int rc = acedNEntSelPEx(prompt, e, p, 0, pick->xform, &stack, paper ? 1 : 0, &pick->marker);
  for (resbuf* rb = stack; rb; rb = rb->rbnext) {
    AcDbObjectId ref;
    if (rb->restype == RTENAME && acdbGetObjectId(ref, rb->resval.rlname) == Acad::eOk) {
      pick->references.push_back(ref);
    }
  }
  acutRelRb(stack);
  if (rc != RTNORM || acdbGetObjectId(pick->entity, e) != Acad::eOk) return RTCAN;
  pick->point = AcGePoint3d(p[0], p[1], p[2]);
  return RTNORM;
}

AcGePoint3d Placed(const ads_matrix m, const AcGePoint3d& p) {
  return {m[0][0] * p.x + m[0][1] * p.y + m[0][2] * p.z + m[0][3],
          m[1][0] * p.x + m[1][1] * p.y + m[1][2] * p.z + m[1][3],
          m[2][0] * p.x + m[2][1] * p.y + m[2][2] * p.z + m[2][3]};
}

// The vertices of a curve in its own coordinates, and whether it closes.
std::vector<AcGePoint3d> Vertices(const AcDbEntity& e, bool* closed) {
  std::vector<AcGePoint3d> pts;
  *closed = false;
  if (auto* pl = AcDbPolyline::cast(&e)) {
    for (unsigned i = 0; i < pl->numVerts(); ++i) {
      AcGePoint3d p;
      pl->getPointAt(i, p);
      pts.push_back(p);
    }
    *closed = pl->isClosed();
  } else if (auto* pl2 = AcDb2dPolyline::cast(&e)) {
    AcDbObjectIterator* it = pl2->vertexIterator();
    for (it->start(); !it->done(); it->step()) {
      AcDb2dVertex* v = nullptr;
      if (pl2->openVertex(v, it->objectId(), AcDb::kForRead) != Acad::eOk) continue;
      pts.push_back(v->position());
      v->close();
    }
    delete it;
    *closed = pl2->isClosed();
  } else if (auto* curve = AcDbCurve::cast(&e); curve && !curve->isClosed()) {
    AcGePoint3d s, t;
    curve->getStartPoint(s);
    curve->getEndPoint(t);
    pts = {s, t};
  }
  return pts;
}

// The sub-entity of `type` at the pick, or false.
bool SubentAt(const AcDbEntity& e, int type, const Pick& pick, AcDbSubentId* sub) {
  if (!AcDbCurve::cast(&e) || pick.marker < 1) return false;
  bool closed = false;
  const std::vector<AcGePoint3d> pts = Vertices(e, &closed);
  const auto n = static_cast<Adesk::GsMarker>(pts.size());
  const Adesk::GsMarker edges = pts.empty() ? 1 : (closed ? n : n - 1);
  if (pick.marker > edges) return false;
  if (type == AcDb::kEdgeSubentType) {
    *sub = AcDbSubentId(AcDb::kEdgeSubentType, pick.marker);
    return true;
  }
  if (type != AcDb::kVertexSubentType || pts.empty()) return false;
  const size_t a = static_cast<size_t>(pick.marker - 1), b = (a + 1) % pts.size();
  const bool nearA = Placed(pick.xform, pts[a]).distanceTo(pick.point) <=
                     Placed(pick.xform, pts[b]).distanceTo(pick.point);
  *sub = AcDbSubentId(AcDb::kVertexSubentType, static_cast<Adesk::GsMarker>(nearA ? a : b) + 1);
  return true;
}

// RTNORM with the sub-entity; RTNONE when the pick has none of the types; RTERROR when the
// entity can't be opened.
int FindSubent(const Pick& pick, const AcArray<int>& types, AcDbSubentId* sub) {
  AcDbEntity* e = nullptr;
  if (acdbOpenObject(e, pick.entity, AcDb::kForRead) != Acad::eOk) return RTERROR;
  int rc = RTNONE;
  for (int type : types) {
    if (SubentAt(*e, type, pick, sub)) {
      rc = RTNORM;
      break;
    }
  }
  e->close();
  return rc;
}

AcArray<int> One(int type) {
  AcArray<int> types;
  types.append(type);
  return types;
}

}  // namespace

namespace KWSubentSel {

int singleSel(const wchar_t* prompt, AcDbObjectId& id, AcDbSubentId& subId,
              AcGePoint3d& pickPoint) {
  return singleSel(prompt, AcDb::kEdgeSubentType, id, subId, pickPoint, true);
}

int singleSel(const wchar_t* prompt, const AcArray<int>& subentTypes, AcDbObjectId& id,
              AcDbSubentId& subId, AcGePoint3d& pickPoint, bool retry) {
  for (;;) {
    Pick pick;
    if (NestedPick(prompt, &pick) != RTNORM) return RTCAN;
    const int rc = FindSubent(pick, subentTypes, &subId);
    if (rc == RTNORM) {
      id = pick.entity;
      pickPoint = pick.point;
    }
    if (rc != RTNONE || !retry) return rc;
  }
}

int singleSel(const wchar_t* prompt, int subentType, AcDbObjectId& id, AcDbSubentId& subId,
              AcGePoint3d& pickPoint, bool retry) {
  return singleSel(prompt, One(subentType), id, subId, pickPoint, retry);
}

int singleSelEx(const wchar_t* prompt, const wchar_t* errorMessage, const AcArray<int>& subentTypes,
                const AcDbObjectId& id, AcDbSubentId& subId, AcGePoint3d& pickPoint) {
  for (;;) {
    Pick pick;
    if (NestedPick(prompt, &pick) != RTNORM) return RTCAN;
    bool ours = pick.entity == id;
    for (const AcDbObjectId& ref : pick.references) ours = ours || ref == id;
    const int rc = ours ? FindSubent(pick, subentTypes, &subId) : RTNONE;
    if (rc == RTNORM) pickPoint = pick.point;
    if (rc != RTNONE) return rc;
    if (errorMessage) acutPrintf(L"%s", errorMessage);
  }
}

int singleSelEx(const wchar_t* prompt, const wchar_t* errorMessage, int subentType,
                const AcDbObjectId& id, AcDbSubentId& subId, AcGePoint3d& pickPoint) {
  return singleSelEx(prompt, errorMessage, One(subentType), id, subId, pickPoint);
}

}  // namespace KWSubentSel
