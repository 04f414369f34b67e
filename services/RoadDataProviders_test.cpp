// The road-data provider registry: built-in defaults and installing providers.
#include "services/RoadDataProviders.h"

#include <gtest/gtest.h>

namespace {

class MyAxis : public CAxisProvider {
 public:
  int GetCurAxis(GUID*) override { return RTNORM; }
};

TEST(RoadDataProvidersTest, DefaultsAnswerNothing) {
  GUID id = GUID_NULL;
  double z = 0;
  EXPECT_EQ(RoadDataProviders::GetAxisProvider()->GetCurAxis(&id), RTNONE);
  EXPECT_EQ(RoadDataProviders::GetTinProvider()->GetTinCount(), 0);
  EXPECT_EQ(RoadDataProviders::GetTinProvider()->GetElevation(id, 1, 2, &z), RTNONE);
  EXPECT_EQ(RoadDataProviders::GetTinProvider()->LookupItem(id), 0u);
  EXPECT_FALSE(RoadDataProviders::GetRoadProvider()->IsRoadLocked(id));
  EXPECT_EQ(RoadDataProviders::GetBridgeProvider()->GetBridgeCount(), 0);
  EXPECT_EQ(RoadDataProviders::GetProfileProvider()->GetElevation(id, 0, &z), RTNONE);
  EXPECT_EQ(RoadDataProviders::GetInterProvider()->GetCurInter(&id), RTNONE);
}

TEST(RoadDataProvidersTest, SetReturnsThePreviousProviderOrNullForTheDefault) {
  MyAxis a, b;
  CAxisProvider* fallback = RoadDataProviders::GetAxisProvider();
  EXPECT_EQ(RoadDataProviders::SetAxisProvider(&a), nullptr);
  EXPECT_EQ(RoadDataProviders::GetAxisProvider(), &a);
  EXPECT_EQ(RoadDataProviders::SetAxisProvider(&b), &a);
  EXPECT_EQ(RoadDataProviders::SetAxisProvider(nullptr), &b);
  EXPECT_EQ(RoadDataProviders::GetAxisProvider(), fallback);
  EXPECT_EQ(RoadDataProviders::SetAxisProvider(nullptr), nullptr);
}

}  // namespace
