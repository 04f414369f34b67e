// Plane and space geometry values of the host API: points, vectors and scales. Plain values
// with public x, y (, z); equality is exact unless a tolerance is given.
#ifndef KW_HOST_API_GE_H_
#define KW_HOST_API_GE_H_

#include <cmath>

#include "host/api/array.h"

struct AcGeTol {
  double equalPoint = 1e-10;
  double equalVector = 1e-12;
};

class AcGeVector2d {
 public:
  AcGeVector2d() = default;
  AcGeVector2d(double xx, double yy) : x(xx), y(yy) {}
  double length() const { return std::hypot(x, y); }
  AcGeVector2d operator+(const AcGeVector2d& v) const { return {x + v.x, y + v.y}; }
  AcGeVector2d operator-(const AcGeVector2d& v) const { return {x - v.x, y - v.y}; }
  AcGeVector2d operator*(double s) const { return {x * s, y * s}; }
  bool operator==(const AcGeVector2d&) const = default;
  double x = 0, y = 0;
};

class AcGePoint2d {
 public:
  AcGePoint2d() = default;
  AcGePoint2d(double xx, double yy) : x(xx), y(yy) {}
  AcGePoint2d operator+(const AcGeVector2d& v) const { return {x + v.x, y + v.y}; }
  AcGeVector2d operator-(const AcGePoint2d& p) const { return {x - p.x, y - p.y}; }
  double distanceTo(const AcGePoint2d& p) const { return std::hypot(x - p.x, y - p.y); }
  bool isEqualTo(const AcGePoint2d& p, const AcGeTol& tol = AcGeTol()) const {
    return distanceTo(p) <= tol.equalPoint;
  }
  bool operator==(const AcGePoint2d&) const = default;
  double x = 0, y = 0;
};

class AcGeVector3d {
 public:
  AcGeVector3d() = default;
  AcGeVector3d(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}
  double length() const { return std::sqrt(x * x + y * y + z * z); }
  double dotProduct(const AcGeVector3d& v) const { return x * v.x + y * v.y + z * v.z; }
  AcGeVector3d crossProduct(const AcGeVector3d& v) const {
    return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
  }
  AcGeVector3d normal() const {
    double len = length();
    return len > 0 ? AcGeVector3d(x / len, y / len, z / len) : *this;
  }
  AcGeVector3d operator+(const AcGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
  AcGeVector3d operator-(const AcGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
  AcGeVector3d operator*(double s) const { return {x * s, y * s, z * s}; }
  bool operator==(const AcGeVector3d&) const = default;
  double x = 0, y = 0, z = 0;

  static const AcGeVector3d kXAxis, kYAxis, kZAxis;
};
inline const AcGeVector3d AcGeVector3d::kXAxis{1, 0, 0};
inline const AcGeVector3d AcGeVector3d::kYAxis{0, 1, 0};
inline const AcGeVector3d AcGeVector3d::kZAxis{0, 0, 1};

class AcGePoint3d {
 public:
  AcGePoint3d() = default;
  AcGePoint3d(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}
  AcGePoint3d operator+(const AcGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
  AcGePoint3d operator-(const AcGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
  AcGeVector3d operator-(const AcGePoint3d& p) const { return {x - p.x, y - p.y, z - p.z}; }
  double distanceTo(const AcGePoint3d& p) const { return (*this - p).length(); }
  bool isEqualTo(const AcGePoint3d& p, const AcGeTol& tol = AcGeTol()) const {
    return distanceTo(p) <= tol.equalPoint;
  }
  bool operator==(const AcGePoint3d&) const = default;
  double x = 0, y = 0, z = 0;

  static const AcGePoint3d kOrigin;
};
inline const AcGePoint3d AcGePoint3d::kOrigin{0, 0, 0};

class AcGeScale3d {
 public:
  AcGeScale3d() = default;
  explicit AcGeScale3d(double s) : sx(s), sy(s), sz(s) {}
  AcGeScale3d(double x, double y, double z) : sx(x), sy(y), sz(z) {}
  bool operator==(const AcGeScale3d&) const = default;
  double sx = 1, sy = 1, sz = 1;
};

using AcGePoint2dArray = AcArray<AcGePoint2d>;
using AcGePoint3dArray = AcArray<AcGePoint3d>;
using AcGeVector2dArray = AcArray<AcGeVector2d>;
using AcGeVector3dArray = AcArray<AcGeVector3d>;

#endif  // KW_HOST_API_GE_H_
