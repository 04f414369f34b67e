#include "msg/internal/WatcherIndex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

namespace {

struct Rec {
  int id;
};

struct Entry {
  Rec* rec;
};

using Index = KWRDPub::WatcherIndex<Entry>;

std::vector<int> Ids(Index& index, uint64_t key) {
  std::vector<int> ids;
  if (const Index::List* list = index.Find(key)) {
    for (const Entry& e : *list) ids.push_back(e.rec->id);
  }
  return ids;
}

TEST(WatcherIndex, ListsKeepTheOrderOfAdditionAndAKeyGoesWithItsLastEntry) {
  Rec a{1}, b{2}, c{3};
  Index index;
  EXPECT_EQ(index.Find(7), nullptr);
  index.Add(7, {&a});
  index.Add(9, {&b});
  index.Add(7, {&c});
  EXPECT_EQ(Ids(index, 7), (std::vector<int>{1, 3}));
  EXPECT_EQ(Ids(index, 9), (std::vector<int>{2}));
  index.Remove(7, &a);
  EXPECT_EQ(Ids(index, 7), (std::vector<int>{3}));
  index.Remove(7, &a);  // not there: nothing
  index.Remove(7, &c);
  EXPECT_EQ(index.Find(7), nullptr);
  EXPECT_EQ(index.KeyCount(), 1u);
  index.Remove(12345, &a);  // an unknown key: nothing
  EXPECT_EQ(Ids(index, 9), (std::vector<int>{2}));
}

// Random additions and removals over keys that crowd a few home slots (multiples of a large
// power of two share their low bits, and the hash takes the product's top bits) against a plain
// map: growth and the backward shift after a removal must keep every key reachable.
TEST(WatcherIndex, RandomAdditionsAndRemovalsMatchAPlainMap) {
  constexpr uint64_t kRandomStart = 1123;  // fixed, so that a failure repeats
  std::mt19937_64 random(kRandomStart);
  std::vector<Rec> recs(3);  // few, so that lists empty often and keys go
  for (int i = 0; i < 3; ++i) recs[i].id = i;
  std::vector<uint64_t> keys;
  for (uint64_t k = 0; k < 96; ++k) keys.push_back(k % 3 == 0 ? k << 40 : k * 0x10001);
  Index index;
  std::map<uint64_t, std::vector<int>> model;
  for (int step = 0; step < 20000; ++step) {
    const uint64_t key = keys[random() % keys.size()];
    Rec* rec = &recs[random() % recs.size()];
    std::vector<int>& ids = model[key];
    const auto at = std::find(ids.begin(), ids.end(), rec->id);
    if (at == ids.end()) {
      index.Add(key, {rec});
      ids.push_back(rec->id);
    } else {
      index.Remove(key, rec);
      ids.erase(at);
    }
    if (step % 97 != 0) continue;
    size_t used = 0;
    for (uint64_t k : keys) {
      ASSERT_EQ(Ids(index, k), model[k]) << "step " << step << " key " << k;
      used += !model[k].empty();
    }
    ASSERT_EQ(index.KeyCount(), used);
  }
}

}  // namespace
