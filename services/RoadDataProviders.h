// The registry through which the suite's modules find each other's road data without linking
// to each other. A module that owns a kind of data installs an object implementing that kind's
// provider interface; any other module asks for the current provider of the kind.
//
// Ownership: the registry never deletes a provider. The module that installed one removes it
// (by installing null, or its predecessor) before the provider dies.
//
// Invariants:
//   1. Each of the six slots always holds a provider: Get*Provider() never returns null.
//   2. A slot holds its kind's built-in default until a module installs another provider.
//      The defaults answer every operation with nothing: RTNONE (5000) for a status, 0 or false
//      for a number or flag, no effect otherwise.
//
// The operation lists below are binary contracts with the modules that implement them: keep
// their order (virtual slot order). Operations return host status codes where they return int.
#ifndef KW_SERVICES_ROADDATAPROVIDERS_H_
#define KW_SERVICES_ROADDATAPROVIDERS_H_

#include <cstdint>
#include <string>

#include "common/guid.h"
#include "host/api/adesk.h"
#include "host/api/ge.h"

// Triangulated terrain models. Slots: destructor, then ten operations.
class CTinProvider {
 public:
  virtual ~CTinProvider() = default;
  virtual int GetCurTin(GUID* id) = 0;
  virtual int GetTinCount() = 0;
  virtual int GetTinInfo(int index, GUID* id, std::wstring* name) = 0;
  virtual int GetElevation(const GUID& tin, double x, double y, double* z) = 0;
  virtual int GetElevations(const GUID& tin, const AcGePoint2dArray& points,
                            AcGeDoubleArray* z) = 0;
  virtual int GetSection(const GUID& tin, const AcGePoint3d& from, const AcGePoint3d& to,
                         AcGePoint3dArray* section) = 0;
  virtual int GetBoundary(const GUID& tin, AcGePoint3dArray* boundary) = 0;
  virtual bool IsTinLoaded(const GUID& tin) = 0;
  virtual void RefreshTin(const GUID& tin) = 0;
  // The 32-bit value recorded for the item with this id, or 0.
  virtual uint32_t LookupItem(const GUID& id) = 0;
};

// Road axes. Slots: destructor, one status operation.
class CAxisProvider {
 public:
  virtual ~CAxisProvider() = default;
  virtual int GetCurAxis(GUID* id) = 0;
};

// Longitudinal profiles. Slots: destructor, three status operations.
class CProfileProvider {
 public:
  virtual ~CProfileProvider() = default;
  virtual int GetCurProfile(GUID* id) = 0;
  virtual int GetElevation(const GUID& profile, double station, double* z) = 0;
  virtual int GetStationRange(const GUID& profile, double* start, double* end) = 0;
};

// Roads. Slots: destructor, two status operations, one without result, one flag.
class CRoadProvider {
 public:
  virtual ~CRoadProvider() = default;
  virtual int GetCurRoad(GUID* id) = 0;
  virtual int GetRoadAxis(const GUID& road, GUID* axis) = 0;
  virtual void RefreshRoad(const GUID& road) = 0;
  virtual bool IsRoadLocked(const GUID& road) = 0;
};

// Bridges. Slots: a status operation, a number operation, a lookup; no destructor slot, so
// providers are never deleted through this interface.
class CBridgeProvider {
 public:
  virtual int GetBridgeAt(double station, GUID* id) = 0;
  virtual int GetBridgeCount() = 0;
  virtual uint32_t LookupItem(const GUID& id) = 0;

 protected:
  ~CBridgeProvider() = default;
};

// Intersections. One status operation; no destructor slot.
class CInterProvider {
 public:
  virtual int GetCurInter(GUID* id) = 0;

 protected:
  ~CInterProvider() = default;
};

namespace RoadDataProviders {

// Get: the current provider, never null. Set: installs p, or the default when p is null;
// returns the provider installed before, or null when that was the default.
CTinProvider* GetTinProvider();
CTinProvider* SetTinProvider(CTinProvider* p);
CAxisProvider* GetAxisProvider();
CAxisProvider* SetAxisProvider(CAxisProvider* p);
CProfileProvider* GetProfileProvider();
CProfileProvider* SetProfileProvider(CProfileProvider* p);
CRoadProvider* GetRoadProvider();
CRoadProvider* SetRoadProvider(CRoadProvider* p);
CBridgeProvider* GetBridgeProvider();
CBridgeProvider* SetBridgeProvider(CBridgeProvider* p);
CInterProvider* GetInterProvider();
CInterProvider* SetInterProvider(CInterProvider* p);

}  // namespace RoadDataProviders

#endif  // KW_SERVICES_ROADDATAPROVIDERS_H_
