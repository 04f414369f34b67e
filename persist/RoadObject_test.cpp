#include "persist/RoadObject.h"

#include <gtest/gtest.h>

#include <memory>

namespace KWCommonUtils {
namespace {

// Counts destructions so that ownership rules can be checked.
struct Counted : CRoadObject {
  explicit Counted(int* deaths) : m_deaths(deaths) {}
  ~Counted() override { ++*m_deaths; }
  int* m_deaths;
};

GUID Id(uint32_t n) {
  return GUID{n, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
}

class RoadObjectManagerTest : public ::testing::Test {
 protected:
  CRoadObject* AddNamed(const wchar_t* name, uint32_t id) {
    auto* object = new Counted(&m_deaths);
    object->SetName(name);
    object->SetID(Id(id));
    m_manager.Add(object);
    return object;
  }

  int m_deaths = 0;
  CRoadObjectManager m_manager;
};

TEST(RoadObjectTest, StartsEmptyAndComparesNamesOnlyIgnoringCase) {
  CRoadObject a;
  EXPECT_EQ(a.ID(), GUID_NULL);
  EXPECT_EQ(a.Name(), L"");
  a.SetName(L"Road");
  a.SetID(Id(1));
  a.SetDesc(L"one");
  CRoadObject b;
  b.SetName(L"ROAD");
  b.SetID(Id(2));
  EXPECT_TRUE(a == b);
  b = a;
  EXPECT_EQ(b.GetObjectId(), Id(1));
  EXPECT_EQ(b.GetDesc(), L"one");
  a.CreateGUID();
  EXPECT_NE(a.ID(), GUID_NULL);
  EXPECT_NE(a.ID(), b.ID());
}

TEST_F(RoadObjectManagerTest, FindsFirstMatchByNameAndId) {
  CRoadObject* first = AddNamed(L"Road", 1);
  AddNamed(L"ROAD", 2);
  EXPECT_EQ(m_manager.Find(L"road"), 0);
  EXPECT_EQ(m_manager.Item(L"rOAD"), first);
  EXPECT_EQ(m_manager.Find(Id(2)), 1);
  EXPECT_EQ(m_manager.Find(Id(3)), -1);
  EXPECT_EQ(m_manager.Item(5), nullptr);
  EXPECT_EQ(m_manager.Item(-1), nullptr);
  EXPECT_EQ(CRoadObjectManager().Find(Id(1)), -1);
}

TEST_F(RoadObjectManagerTest, CreatesNumberedNamesIgnoringCase) {
  EXPECT_EQ(m_manager.CreateName(L"A"), L"A");
  AddNamed(L"A", 1);
  AddNamed(L"A1", 2);
  EXPECT_EQ(m_manager.CreateName(L"A"), L"A2");
  CRoadObjectManager other;
  auto* lower = new CRoadObject;
  lower->SetName(L"a");
  other.Add(lower);
  EXPECT_EQ(other.CreateName(L"A"), L"A1");
}

TEST_F(RoadObjectManagerTest, CopyNamesCutAtTheMarkerAndRenumber) {
  AddNamed(L"Road", 1);
  EXPECT_EQ(m_manager.CreateCopyName(L"Road"), L"Road[副本]");
  AddNamed(L"Road[副本]", 2);
  EXPECT_EQ(m_manager.CreateCopyName(L"Road"), L"Road[副本]1");
  AddNamed(L"Road[副本]1", 3);
  EXPECT_EQ(m_manager.CreateCopyName(L"Road[副本]1"), L"Road[副本]2");
  EXPECT_EQ(m_manager.CreateCopyName(L"x[副本]y"), L"x[副本]");

  CRoadObjectManager other;
  auto* copy = new CRoadObject;
  copy->SetName(L"A[副本]");
  other.Add(copy);
  EXPECT_EQ(other.CreateCopyName(L"A[副本]3"), L"A[副本]1");
}

TEST_F(RoadObjectManagerTest, NameExistsOnlyForAnotherObject) {
  AddNamed(L"A", 1);
  EXPECT_FALSE(m_manager.IsNameExist(Id(1), L"a"));
  EXPECT_TRUE(m_manager.IsNameExist(Id(2), L"a"));
  EXPECT_FALSE(m_manager.IsNameExist(Id(2), L"B"));
}

TEST_F(RoadObjectManagerTest, RemoveDeletesOnlyWhenAskedAndIgnoresBadIndexes) {
  AddNamed(L"A", 1);
  CRoadObject* b = AddNamed(L"B", 2);
  AddNamed(L"C", 3);
  m_manager.Remove(5, true);
  m_manager.Remove(-1, true);
  EXPECT_EQ(m_manager.Count(), 3);
  m_manager.Remove(1, false);
  EXPECT_EQ(m_manager.Count(), 2);
  EXPECT_EQ(m_deaths, 0);
  EXPECT_EQ(m_manager.Item(1)->Name(), L"C");
  delete b;
  m_manager.Remove(Id(1), true);
  EXPECT_EQ(m_deaths, 2);
  EXPECT_EQ(m_manager.Count(), 1);
  m_manager.Reset();
  EXPECT_EQ(m_deaths, 3);
  EXPECT_EQ(m_manager.Count(), 0);
}

TEST_F(RoadObjectManagerTest, SetAtReplacesWithoutDeletingAndCopiesShareObjects) {
  CRoadObject* a = AddNamed(L"A", 1);
  auto replacement = std::make_unique<Counted>(&m_deaths);
  m_manager.SetAt(0, replacement.get());
  m_manager.SetAt(1, a);
  EXPECT_EQ(m_deaths, 0);
  EXPECT_EQ(m_manager.Item(0), replacement.get());
  m_manager.SetAt(0, a);

  CRoadObjectManager copy(m_manager);
  EXPECT_EQ(copy.Item(0), a);
  copy.Remove(0, false);  // the copy gives up its pointer; m_manager still deletes it
  EXPECT_EQ(copy.Count(), 0);
  EXPECT_EQ(m_manager.Count(), 1);
}

TEST(RoadObjectFreeFunctionsTest, WorkOnAnyList) {
  CRoadObjectArray items;
  auto* a = new CRoadObject;
  a->SetName(L"A");
  a->SetID(Id(1));
  items.append(a);
  EXPECT_TRUE(IsNameExist(items, Id(9), L"A"));
  EXPECT_FALSE(IsNameExist(items, Id(1), L"A"));
  RemoveRoadObject(items, 3, true);
  EXPECT_EQ(items.length(), 1);
  RemoveRoadObject(items, 0, true);
  EXPECT_EQ(items.length(), 0);
}

}  // namespace
}  // namespace KWCommonUtils
