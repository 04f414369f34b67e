#include "services/RoadDataProviders.h"

#include <utility>
#include <vector>

namespace {

// Items of the defaults' lookup: an id and its value, walked from the last added to the first.
// The defaults of this library register none, so their lookups answer 0.
using Items = std::vector<std::pair<GUID, uint32_t>>;

uint32_t LookupFromLast(const Items& items, const GUID& id) {
  for (auto it = items.rbegin(); it != items.rend(); ++it) {
    if (it->first == id) return it->second;
  }
  return 0;
}

class DefaultTin final : public CTinProvider {
 public:
  int GetCurTin(GUID*) override { return RTNONE; }
  int GetTinCount() override { return 0; }
  int GetTinInfo(int, GUID*, std::wstring*) override { return RTNONE; }
  int GetElevation(const GUID&, double, double, double*) override { return RTNONE; }
  int GetElevations(const GUID&, const AcGePoint2dArray&, AcGeDoubleArray*) override {
    return RTNONE;
  }
  int GetSection(const GUID&, const AcGePoint3d&, const AcGePoint3d&, AcGePoint3dArray*) override {
    return RTNONE;
  }
  int GetBoundary(const GUID&, AcGePoint3dArray*) override { return RTNONE; }
  bool IsTinLoaded(const GUID&) override { return false; }
  void RefreshTin(const GUID&) override {}
  uint32_t LookupItem(const GUID& id) override { return LookupFromLast(m_items, id); }

 private:
  Items m_items;
};

class DefaultAxis final : public CAxisProvider {
 public:
  int GetCurAxis(GUID*) override { return RTNONE; }
};

class DefaultProfile final : public CProfileProvider {
 public:
  int GetCurProfile(GUID*) override { return RTNONE; }
  int GetElevation(const GUID&, double, double*) override { return RTNONE; }
  int GetStationRange(const GUID&, double*, double*) override { return RTNONE; }
};

class DefaultRoad final : public CRoadProvider {
 public:
  int GetCurRoad(GUID*) override { return RTNONE; }
  int GetRoadAxis(const GUID&, GUID*) override { return RTNONE; }
  void RefreshRoad(const GUID&) override {}
  bool IsRoadLocked(const GUID&) override { return false; }
};

class DefaultBridge final : public CBridgeProvider {
 public:
  int GetBridgeAt(double, GUID*) override { return RTNONE; }
  int GetBridgeCount() override { return 0; }
  uint32_t LookupItem(const GUID& id) override { return LookupFromLast(m_items, id); }

 private:
  Items m_items;
};

class DefaultInter final : public CInterProvider {
 public:
  int GetCurInter(GUID*) override { return RTNONE; }
};

// One slot of the registry with its default, static for the life of the process.
template <class Interface, class Default>
struct Slot {
  static Default& Fallback() {
    static Default instance;
    return instance;
  }
  static Interface*& Current() {
    static Interface* current = &Fallback();
    return current;
  }
  static Interface* Get() { return Current(); }
  static Interface* Set(Interface* p) {
    Interface* old = std::exchange(Current(), p ? p : &Fallback());
    return old == &Fallback() ? nullptr : old;
  }
};

using TinSlot = Slot<CTinProvider, DefaultTin>;
using AxisSlot = Slot<CAxisProvider, DefaultAxis>;
using ProfileSlot = Slot<CProfileProvider, DefaultProfile>;
using RoadSlot = Slot<CRoadProvider, DefaultRoad>;
using BridgeSlot = Slot<CBridgeProvider, DefaultBridge>;
using InterSlot = Slot<CInterProvider, DefaultInter>;

}  // namespace

namespace RoadDataProviders {

CTinProvider* GetTinProvider() {
  return TinSlot::Get();
}
CTinProvider* SetTinProvider(CTinProvider* p) {
  return TinSlot::Set(p);
}
CAxisProvider* GetAxisProvider() {
  return AxisSlot::Get();
}
CAxisProvider* SetAxisProvider(CAxisProvider* p) {
  return AxisSlot::Set(p);
}
CProfileProvider* GetProfileProvider() {
  return ProfileSlot::Get();
}
CProfileProvider* SetProfileProvider(CProfileProvider* p) {
  return ProfileSlot::Set(p);
}
CRoadProvider* GetRoadProvider() {
  return RoadSlot::Get();
}
CRoadProvider* SetRoadProvider(CRoadProvider* p) {
  return RoadSlot::Set(p);
}
CBridgeProvider* GetBridgeProvider() {
  return BridgeSlot::Get();
}
CBridgeProvider* SetBridgeProvider(CBridgeProvider* p) {
  return BridgeSlot::Set(p);
}
CInterProvider* GetInterProvider() {
  return InterSlot::Get();
}
CInterProvider* SetInterProvider(CInterProvider* p) {
  return InterSlot::Set(p);
}

}  // namespace RoadDataProviders
