// The view calls of the host API: acedSetCurrentView, acedTrans and the point geometry of the
// command line (acutPolar, acutDistance, acutAngle).
#include <cmath>
#include <numbers>
#include <optional>

#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/geom.h"
#include "host/embedded/view/view.h"

namespace {

namespace view = kwhost::view;

// One of acedTrans's coordinate systems, as a map to and from world coordinates.
struct System {
  enum Kind { kWorld, kUcs, kDisplay, kEntity } kind = kWorld;
  AcGeVector3d normal{0, 0, 1};  // kEntity
};

// The normal of an entity whose coordinates are in its ECS; the world's z for the others.
std::optional<AcGeVector3d> EntityNormal(const ads_name name) {
  AcDbObjectId id;
  AcDbEntity* entity = nullptr;
  if (acdbGetObjectId(id, name) != Acad::eOk ||
      acdbOpenAcDbEntity(entity, id, AcDb::kForRead) != Acad::eOk) {
    return std::nullopt;
  }
  AcGeVector3d normal = AcGeVector3d::kZAxis;
  if (auto* c = AcDbCircle::cast(entity)) normal = c->normal();
  if (auto* a = AcDbArc::cast(entity)) normal = a->normal();
  if (auto* t = AcDbText::cast(entity)) normal = t->normal();
  if (auto* p = AcDbPoint::cast(entity)) normal = p->normal();
  if (auto* b = AcDbBlockReference::cast(entity)) normal = b->normal();
  if (auto* l = AcDbPolyline::cast(entity)) normal = l->normal();
  if (auto* l = AcDb2dPolyline::cast(entity)) normal = l->normal();
  entity->close();
  return normal;
}

std::optional<System> SystemOf(const resbuf* rb) {
  System s;
  if (rb->restype == RTSHORT && rb->resval.rint >= 0 && rb->resval.rint <= 2) {
    s.kind = static_cast<System::Kind>(rb->resval.rint);
    return s;
  }
  s.kind = System::kEntity;
  if (rb->restype == RT3DPOINT) {
    s.normal = AcGeVector3d(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]);
  } else if (rb->restype == RTENAME) {
    std::optional<AcGeVector3d> normal = EntityNormal(rb->resval.rlname);
    if (!normal) return std::nullopt;
    s.normal = *normal;
  } else {
    return std::nullopt;
  }
  const double len = s.normal.length();
  if (!(len > 0) || !std::isfinite(len)) return std::nullopt;
  return s;
}

AcGePoint3d ToWorld(const System& s, const AcGePoint3d& p, bool disp) {
  switch (s.kind) {
    case System::kUcs:
      return view::UcsToWorld(p, disp);
    case System::kDisplay:
      return view::DisplayToWorld(p, disp);
    case System::kEntity:
      return AcGePoint3d::kOrigin + kwhost::db::Ecs(s.normal).toWorld(p.x, p.y, p.z);
    default:
      return p;
  }
}

AcGePoint3d FromWorld(const System& s, const AcGePoint3d& p, bool disp) {
  switch (s.kind) {
    case System::kUcs:
      return view::WorldToUcs(p, disp);
    case System::kDisplay:
      return view::WorldToDisplay(p, disp);
    case System::kEntity: {
      const kwhost::db::Ecs ecs(s.normal);
      const AcGeVector3d v = p - AcGePoint3d::kOrigin;
      return {v.dotProduct(ecs.toWorld(1, 0, 0)), v.dotProduct(ecs.toWorld(0, 1, 0)),
              v.dotProduct(ecs.toWorld(0, 0, 1))};
    }
    default:
      return p;
  }
}

}  // namespace

Acad::ErrorStatus acedSetCurrentView(AcDbViewTableRecord* view, AcDbViewport* viewport) {
  if (!view || viewport) return Acad::eInvalidInput;
  return view::SetView(*view, view->isPaperspaceView());
}

int acedTrans(const ads_point pt, const resbuf* from, const resbuf* to, int disp,
              ads_point result) {
  if (!pt || !from || !to || !result) return RTERROR;
  const std::optional<System> source = SystemOf(from);
  const std::optional<System> target = SystemOf(to);
  if (!source || !target) return RTERROR;
  const AcGePoint3d world = ToWorld(*source, AcGePoint3d(pt[0], pt[1], pt[2]), disp != 0);
  const AcGePoint3d out = FromWorld(*target, world, disp != 0);
  result[0] = out.x;
  result[1] = out.y;
  result[2] = out.z;
  return RTNORM;
}

void acutPolar(const ads_point pt, ads_real angle, ads_real dist, ads_point result) {
  if (!pt || !result) return;
  const double z = pt[2];
  result[0] = pt[0] + dist * std::cos(angle);
  result[1] = pt[1] + dist * std::sin(angle);
  result[2] = z;
}

ads_real acutDistance(const ads_point pt1, const ads_point pt2) {
  if (!pt1 || !pt2) return 0;
  return std::hypot(pt2[0] - pt1[0], pt2[1] - pt1[1], pt2[2] - pt1[2]);
}

ads_real acutAngle(const ads_point pt1, const ads_point pt2) {
  if (!pt1 || !pt2) return 0;
  const double dx = pt2[0] - pt1[0];
  const double dy = pt2[1] - pt1[1];
  if (dx == 0 && dy == 0) return 0;
  double angle = std::atan2(dy, dx);
  if (angle < 0) angle += 2 * std::numbers::pi;
  return angle < 2 * std::numbers::pi ? angle : 0;  // a tiny negative angle rounds up to 2 pi
}
