#include <gtest/gtest.h>

#include "services/FileUtils.h"
#include "services/RoadDataProviders.h"

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

TEST(FileUtilsTest, FileTitleCutsFolderAndLastExtension) {
  EXPECT_EQ(FileUtils::GetFileTitle(L"/prj/blocks/井盖.v2.dxf"), L"井盖.v2");
  EXPECT_EQ(FileUtils::GetFileTitle(L"C:\\prj\\road"), L"road");
  EXPECT_EQ(FileUtils::GetFileTitle(L"/prj.d/road"), L"road");
  EXPECT_EQ(FileUtils::GetFileTitle(nullptr), L"");
}

TEST(FileUtilsTest, FormatStringKeepsAtMostTheGivenDecimals) {
  EXPECT_EQ(KWRDPub::FormatString(1.5, 6, false), L"1.5");
  EXPECT_EQ(KWRDPub::FormatString(2.0, 6, false), L"2");
  EXPECT_EQ(KWRDPub::FormatString(2.9999999, 6, false), L"3");  // within 1e-6 of 3
  EXPECT_EQ(KWRDPub::FormatString(2.999999, 6, false), L"2.999999");
  EXPECT_EQ(KWRDPub::FormatString(0.123456789, -1, false), L"0.123457");
  EXPECT_EQ(KWRDPub::FormatString(-0.0000001, 6, false), L"0");
  EXPECT_EQ(KWRDPub::FormatString(1.25, 3, true), L"1.250");
  EXPECT_EQ(KWRDPub::FormatString(10.0, 0, false), L"10");
}

}  // namespace
