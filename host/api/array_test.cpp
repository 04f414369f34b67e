#include "host/api/array.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<int> PhysicalSteps(AcArray<unsigned char>& a, int appends) {
  std::vector<int> steps;
  for (int i = 0; i < appends; ++i) {
    const int before = a.physicalLength();
    a.append(static_cast<unsigned char>(i));
    if (a.physicalLength() != before) steps.push_back(a.physicalLength());
  }
  return steps;
}

TEST(AcArrayTest, GrowthDoublesUpToTheThresholdThenStepsByIt) {
  AcArray<unsigned char> bytes;
  EXPECT_EQ(PhysicalSteps(bytes, 70000),
            (std::vector<int>{8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192, 16384, 32768,
                              65536, 131072}));
  AcArray<unsigned char> filer(0, 102400);
  EXPECT_EQ(PhysicalSteps(filer, 300000), (std::vector<int>{102400, 204800, 307200}));
}

TEST(AcArrayTest, EditingKeepsOrderAndIgnoresBadIndexes) {
  AcArray<std::wstring> a;
  a.append(L"b");
  a.insertAt(0, L"a");
  a.append(L"c");
  a.insertAt(9, L"never");
  a.removeAt(-1).removeAt(3);
  ASSERT_EQ(a.length(), 3);
  EXPECT_EQ(a[0] + a[1] + a[2], L"abc");
  int at = -1;
  EXPECT_TRUE(a.find(L"c", at));
  EXPECT_EQ(at, 2);
  EXPECT_EQ(a.find(L"z"), -1);
  a.removeAt(1);
  EXPECT_EQ(a.last(), L"c");
  a.append(a[0]);  // an element of the array itself, appended while it grows
  EXPECT_EQ(a.last(), L"a");
}

TEST(AcArrayTest, CopiesAreDeepAndLengthsCanBeSet) {
  AcArray<int> a;
  a.setLogicalLength(5);
  EXPECT_EQ(a.length(), 5);
  EXPECT_EQ(a[4], 0);
  a[0] = 7;
  AcArray<int> b(a);
  b[0] = 9;
  EXPECT_EQ(a[0], 7);
  EXPECT_FALSE(a == b);
  b.setPhysicalLength(2);
  EXPECT_EQ(b.length(), 2);
  b.removeAll();
  EXPECT_TRUE(b.isEmpty());
}

TEST(AcArrayTest, RegrowingAfterShrinkingShowsDefaultValuesNotOldOnes) {
  AcArray<int> a;
  for (int i = 1; i <= 5; ++i) a.append(i);
  a.setLogicalLength(2).setLogicalLength(5);
  EXPECT_EQ(a[1], 2);
  EXPECT_EQ(a[2], 0);
  EXPECT_EQ(a[4], 0);
  // Raw room for writers that fill it at once, only within the capacity.
  a.setPhysicalLength(8);
  int* room = a.extendUninitialized(3);
  ASSERT_NE(room, nullptr);
  EXPECT_EQ(room, a.asArrayPtr() + 5);
  EXPECT_EQ(a.length(), 8);
  EXPECT_EQ(a.extendUninitialized(1), nullptr);
  EXPECT_EQ(a.length(), 8);
}

}  // namespace
