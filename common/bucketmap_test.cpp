#include "common/bucketmap.h"

#include <gtest/gtest.h>

namespace {

std::vector<std::wstring> Keys(const kw::BucketMap<int>& map) {
  std::vector<std::wstring> keys;
  map.ForEach([&](const std::wstring& key, int) { keys.push_back(key); });
  return keys;
}

TEST(BucketMap, HashesUtf16CodeUnitsTimesThirtyThree) {
  EXPECT_EQ(kw::PlatformStringHash(L""), 0u);
  EXPECT_EQ(kw::PlatformStringHash(L"AB"), 65u * 33 + 66);
  // U+1F600 counts as its surrogates D83D DE00.
  EXPECT_EQ(kw::PlatformStringHash(L"\U0001F600"), 0xD83Du * 33 + 0xDE00);
  // Wraps at 32 bits like the platform's unsigned arithmetic.
  uint32_t expected = 0;
  for (int i = 0; i < 40; ++i) expected = expected * 33 + L'Z';
  EXPECT_EQ(kw::PlatformStringHash(std::wstring(40, L'Z')), expected);
}

TEST(BucketMap, WalksBucketsInOrderNewestFirstWithinABucket) {
  kw::BucketMap<int> map(17);
  map.Set(L"A", 1);   // bucket 14
  map.Set(L"B", 2);   // bucket 15
  map.Set(L"R", 3);   // bucket 14 again
  map.Set(L"AB", 4);  // bucket 1
  map.Set(L"Q", 5);   // bucket 13
  EXPECT_EQ(Keys(map), (std::vector<std::wstring>{L"AB", L"Q", L"R", L"A", L"B"}));
}

TEST(BucketMap, ReplacingKeepsThePlaceAndRemovingKeepsTheRest) {
  kw::BucketMap<int> map(17);
  map.Set(L"A", 1);
  map.Set(L"R", 3);
  map.Set(L"A", 10);
  EXPECT_EQ(Keys(map), (std::vector<std::wstring>{L"R", L"A"}));
  EXPECT_EQ(*map.Find(L"A"), 10);
  EXPECT_TRUE(map.Remove(L"R"));
  EXPECT_FALSE(map.Remove(L"R"));
  EXPECT_EQ(map.Find(L"R"), nullptr);
  map.Set(L"R", 4);
  EXPECT_EQ(Keys(map), (std::vector<std::wstring>{L"R", L"A"}));
  EXPECT_EQ(map.Size(), 2u);
}

TEST(BucketMap, CopiesKeepTheOrderAndAreIndependent) {
  kw::BucketMap<int> map(17);
  for (const wchar_t* key : {L"A", L"R", L"B", L"AB"}) map.Set(key, 0);
  kw::BucketMap<int> copy = map;
  EXPECT_EQ(Keys(copy), Keys(map));
  copy.Set(L"Q", 1);
  copy.Remove(L"A");
  EXPECT_EQ(map.Size(), 4u);
  map = copy;
  EXPECT_EQ(Keys(map), (std::vector<std::wstring>{L"AB", L"Q", L"R", L"B"}));
  map.Clear();
  EXPECT_TRUE(map.Empty());
  EXPECT_EQ(copy.Size(), 4u);
}

}  // namespace
