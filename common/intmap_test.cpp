#include "common/intmap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

TEST(IntMap, KeyZeroIsNeverStored) {
  kw::IntMap<int> map;
  EXPECT_FALSE(map.Insert(0, 1));
  EXPECT_EQ(map.Find(0), nullptr);
  EXPECT_FALSE(map.Erase(0));
  EXPECT_TRUE(map.empty());
}

TEST(IntMap, InsertRefusesAKeyAlreadyPresentAndKeepsItsValue) {
  kw::IntMap<int> map;
  EXPECT_TRUE(map.Insert(7, 1));
  EXPECT_FALSE(map.Insert(7, 2));
  ASSERT_NE(map.Find(7), nullptr);
  EXPECT_EQ(*map.Find(7), 1);
  EXPECT_EQ(map.size(), 1u);
}

// Random inserts, erases and lookups agree with std::map at every step, through several
// growths; over a small key range runs collide, wrap around the end and get erased from
// their middle.
TEST(IntMap, AgreesWithAStdMapOverRandomOperations) {
  std::mt19937_64 random(12345);
  for (uint64_t range : {40ull, 3000ull, 1ull << 40}) {
    kw::IntMap<uint64_t> map;
    std::map<uint64_t, uint64_t> model;
    for (int step = 0; step < 60000; ++step) {
      const uint64_t key = random() % range;
      const uint64_t value = random();
      switch (random() % 3) {
        case 0:
          ASSERT_EQ(map.Insert(key, value), key != 0 && model.emplace(key, value).second);
          break;
        case 1:
          ASSERT_EQ(map.Erase(key), model.erase(key) == 1);
          break;
        default: {
          const auto found = model.find(key);
          const uint64_t* got = map.Find(key);
          ASSERT_EQ(got != nullptr, found != model.end()) << key;
          if (got) {
            ASSERT_EQ(*got, found->second);
          }
        }
      }
      ASSERT_EQ(map.size(), model.size());
    }
    for (const auto& [key, value] : model) ASSERT_EQ(*map.Find(key), value);
  }
}

TEST(IntMap, ClearEmptiesAndTheMapIsUsableAgain) {
  kw::IntMap<int> map;
  map.Reserve(1000);
  for (int i = 1; i <= 1000; ++i) map.Insert(i, i);
  map.Clear();
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.Find(5), nullptr);
  EXPECT_TRUE(map.Insert(5, 50));
  EXPECT_EQ(*map.Find(5), 50);
}

}  // namespace
