// The object coordinate system of planar entities (circles, arcs, text, block references,
// polylines): DXF files store their points in the plane of the entity's normal, with axes
// chosen by the arbitrary-axis rule; the database holds world coordinates.
#ifndef KWHOST_EMBEDDED_DXF_INTERNAL_OCS_H_
#define KWHOST_EMBEDDED_DXF_INTERNAL_OCS_H_

#include <cmath>

#include "host/api/ge.h"

namespace kwhost::dxf {

class Ocs {
 public:
  explicit Ocs(const AcGeVector3d& normal) {
    az_ = normal.normal();
    identity_ = az_ == AcGeVector3d(0, 0, 1) || az_.length() == 0;
    if (identity_) return;
    constexpr double kLimit = 1.0 / 64;
    const AcGeVector3d wy(0, 1, 0), wz(0, 0, 1);
    ax_ = (std::fabs(az_.x) < kLimit && std::fabs(az_.y) < kLimit ? wy.crossProduct(az_)
                                                                  : wz.crossProduct(az_))
              .normal();
    ay_ = az_.crossProduct(ax_).normal();
  }
  AcGePoint3d ToWorld(const AcGePoint3d& p) const {
    if (identity_) return p;
    const AcGeVector3d v = ax_ * p.x + ay_ * p.y + az_ * p.z;
    return {v.x, v.y, v.z};
  }
  AcGePoint3d ToOcs(const AcGePoint3d& p) const {
    if (identity_) return p;
    const AcGeVector3d v(p.x, p.y, p.z);
    return {v.dotProduct(ax_), v.dotProduct(ay_), v.dotProduct(az_)};
  }

 private:
  bool identity_ = true;
  AcGeVector3d ax_{1, 0, 0}, ay_{0, 1, 0}, az_{0, 0, 1};
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_INTERNAL_OCS_H_
