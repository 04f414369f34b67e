#include "common/namemap.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Keys = std::vector<std::wstring>;

// "D" falls in bucket 0, "A" and "R" in 14, "B" in 15 (hash = code % 17 for one character).
TEST(NameMapOrder, ListsBucketsInOrderAndTheNewestKeyFirstWithinABucket) {
  kw::NameMap<int> map;
  map.Set(L"A", 1);
  map.Set(L"B", 2);
  map.Set(L"R", 3);
  map.Set(L"D", 4);
  EXPECT_EQ(map.Keys(), (Keys{L"D", L"R", L"A", L"B"}));
  map.Set(L"A", 10);
  EXPECT_EQ(map.Keys(), (Keys{L"D", L"R", L"A", L"B"}));
  EXPECT_EQ(*map.Find(L"A"), 10);
  EXPECT_TRUE(map.Remove(L"R"));
  EXPECT_FALSE(map.Remove(L"R"));
  map.Set(L"R", 5);
  EXPECT_EQ(map.Keys(), (Keys{L"D", L"R", L"A", L"B"}));
  EXPECT_EQ(map.Size(), 4u);
}

TEST(NameMapOrder, HashesLongKeysWithWrapAroundAndCharactersBeyondTheBasicPlaneAsUtf16) {
  EXPECT_EQ(kw::PlatformStringHash(L"KWSTANDARD"), 1042289043u);
  EXPECT_EQ(kw::PlatformStringHash(L"宋体"), 793662u);
  EXPECT_EQ(kw::PlatformStringHash(L"\U0001F600"), 0xD83Du * 33u + 0xDE00u);
  kw::NameMap<int> map;
  map.Set(L"STANDARD", 1);    // bucket 15
  map.Set(L"KWSTANDARD", 2);  // bucket 3
  map.Set(L"宋体", 3);        // bucket 0
  EXPECT_EQ(map.Keys(), (Keys{L"宋体", L"KWSTANDARD", L"STANDARD"}));
  map.Clear();
  EXPECT_EQ(map.Size(), 0u);
  EXPECT_FALSE(map.Contains(L"宋体"));
}

}  // namespace
