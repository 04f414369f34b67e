// Blinks of selection sets (groups) and of outlines (temporary polylines): ids, the group's
// asymmetric stop, and temporary entities that never outlive their blink.
#include <gtest/gtest.h>

#include "editor/Twinkle.h"
#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::EntityRedrawState;
using kwhost::RedrawState;

class Groups : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    kwhost::SetManualClock(1000, 12, 0, 0);
    for (AcDbObjectId& id : lines) id = AddLine();
  }
  void TearDown() override {
    KWStopAllTwinkle(nullptr);
    Tick(1000);
  }

  static int Tick(uint32_t ms = 166) {
    kwhost::AdvanceClock(ms);
    return kwhost::PumpMessages();
  }

  static AcDbObjectId AddLine() {
    AcDbBlockTable* table = nullptr;
    kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
    AcDbBlockTableRecord* space = nullptr;
    table->getAt(L"*Model_Space", space, AcDb::kForWrite);
    table->close();
    AcDbObjectId id;
    auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 0, 0));
    space->appendAcDbEntity(id, line);
    line->close();
    space->close();
    return id;
  }

  // A selection set of every line.
  void MakeSet() {
    ASSERT_EQ(acedSSAdd(nullptr, nullptr, set), RTNORM);
    for (AcDbObjectId id : lines) {
      ads_name name;
      acdbGetAdsName(name, id);
      ASSERT_EQ(acedSSAdd(name, set, nullptr), RTNORM);
    }
  }

  int SingleBlink() {
    ads_name name;
    acdbGetAdsName(name, lines[0]);
    return KWTwinkle(name, 0, kTwinkleInfinite);
  }

  bool AllShown() const {
    for (AcDbObjectId id : lines) {
      if (EntityRedrawState(id) != RedrawState{}) return false;
    }
    return true;
  }

  static AcGePoint3dArray Outline() {
    AcGePoint3dArray points;
    points.append(AcGePoint3d(0, 0, 0));
    points.append(AcGePoint3d(10, 0, 0));
    points.append(AcGePoint3d(10, 10, 0));
    return points;
  }

  static size_t ModelSpaceCount() { return kwhost::ListModelSpace().size(); }

  AcDbObjectId lines[3];
  ads_name set = {0, 0};
};

// ---------------------------------------------------------------- selection sets

TEST_F(Groups, ASetBlinksEveryMemberUnderAGroupIdTakenFirst) {
  MakeSet();
  const int before = SingleBlink();
  const int group = KWTwinkle(set, 1, kTwinkleInfinite);
  EXPECT_EQ(group, before + 1);
  EXPECT_EQ(KWHasTwinkle(group), 1);
  for (int member = group + 1; member <= group + 3; ++member) EXPECT_EQ(KWHasTwinkle(member), 1);
  EXPECT_EQ(SingleBlink(), group + 4);
  Tick();
  Tick();
  int hidden = 0;
  for (AcDbObjectId id : lines) hidden += EntityRedrawState(id).hidden ? 1 : 0;
  EXPECT_TRUE(hidden == 0 || hidden == 3);  // in unison
}

TEST_F(Groups, AnEmptySetGivesZeroAndStillUsesOneId) {
  ASSERT_EQ(acedSSAdd(nullptr, nullptr, set), RTNORM);
  const int before = SingleBlink();
  EXPECT_EQ(KWTwinkle(set, 1, 5, nullptr, 0.0, 0), 0);
  EXPECT_EQ(KWHasTwinkle(before + 1), 0);
  EXPECT_EQ(SingleBlink(), before + 2);
}

TEST_F(Groups, AnUnreadableSetGivesMinusOneAndUsesNoId) {
  const int before = SingleBlink();
  ads_name nothing = {0x7FFF, 0x7FFF};
  EXPECT_EQ(KWTwinkle(nothing, 1, kTwinkleInfinite), -1);
  EXPECT_EQ(SingleBlink(), before + 1);
}

TEST_F(Groups, StoppedWithAWindowTheGroupStaysKnownUntilStoppedWithout) {
  MakeSet();
  const int group = KWTwinkle(set, 1, kTwinkleInfinite);
  Tick();
  EXPECT_EQ(KWStopTwinkle(group, kwhost::NewWindow()), 0);
  EXPECT_TRUE(AllShown());
  for (int member = group + 1; member <= group + 3; ++member) EXPECT_EQ(KWHasTwinkle(member), 0);
  EXPECT_EQ(KWHasTwinkle(group), 1);
  EXPECT_EQ(KWStopTwinkle(group, nullptr), 1);
  EXPECT_EQ(KWHasTwinkle(group), 0);
}

TEST_F(Groups, StoppedWithoutAWindowTheGroupIsDissolved) {
  MakeSet();
  const int group = KWTwinkle(set, 1, kTwinkleInfinite);
  Tick();
  EXPECT_EQ(KWStopTwinkle(group, nullptr), 1);
  EXPECT_EQ(KWHasTwinkle(group), 0);
  EXPECT_EQ(KWHasTwinkle(group + 1), 0);
  EXPECT_TRUE(AllShown());
}

TEST_F(Groups, AGroupOutlivesItsExpiredMembersAndStopAllForgetsIt) {
  MakeSet();
  const int group = KWTwinkle(set, 1, 300);
  Tick();
  Tick();
  EXPECT_EQ(KWHasTwinkle(group + 1), 0);
  EXPECT_EQ(KWHasTwinkle(group), 1);
  KWStopAllTwinkle(nullptr);
  EXPECT_EQ(KWHasTwinkle(group), 0);
}

// ---------------------------------------------------------------- outlines

TEST_F(Groups, AnOutlineIsATemporaryPolylineGoneWhenItExpires) {
  AcGePoint3dArray points = Outline();
  const int id = KWTwinkle(points, 500);
  ASSERT_GT(id, 0);
  ASSERT_EQ(ModelSpaceCount(), 4u);
  EXPECT_NE(kwhost::ListModelSpace().back().find(L"LWPOLYLINE"), std::wstring::npos);
  for (int i = 0; i < 4; ++i) Tick();
  EXPECT_EQ(KWHasTwinkle(id), 0);
  EXPECT_EQ(ModelSpaceCount(), 3u);
}

TEST_F(Groups, AnOutlineStoppedOrStoppedWithAllLeavesNothing) {
  AcGePoint3dArray points = Outline();
  const int id = KWTwinkle(points, kTwinkleInfinite);
  Tick();
  EXPECT_EQ(KWStopTwinkle(id, nullptr), 1);
  EXPECT_EQ(ModelSpaceCount(), 3u);
  KWTwinkle(points, kTwinkleInfinite);
  KWTwinkle(points, 3, L"", 1.0, kTwinkleInfinite);
  EXPECT_EQ(ModelSpaceCount(), 5u);
  KWStopAllTwinkle(nullptr);
  EXPECT_EQ(ModelSpaceCount(), 3u);
}

TEST_F(Groups, AnOutlineIsClosedAndColouredModulo257) {
  AcGePoint3dArray points = Outline();
  KWTwinkle(points, 300, nullptr, -2.0, kTwinkleInfinite);  // a negative width counts as 0
  const std::wstring listed = kwhost::ListModelSpace().back();
  AcDbObjectId id;
  AcDbBlockTable* table = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
  AcDbBlockTableRecord* space = nullptr;
  table->getAt(L"*Model_Space", space, AcDb::kForRead);
  table->close();
  AcDbBlockTableRecordIterator* it = nullptr;
  space->newIterator(it);
  for (; !it->done(); it->step()) it->getEntityId(id);
  delete it;
  space->close();
  AcDbEntityPointer outline(id, AcDb::kForRead);
  ASSERT_EQ(outline.openStatus(), Acad::eOk);
  EXPECT_EQ(outline->colorIndex(), 300 % 257);
  AcDbPolyline* polyline = AcDbPolyline::cast(outline.object());
  ASSERT_NE(polyline, nullptr);
  EXPECT_EQ(polyline->numVerts(), 4u);  // back to the first point
}

TEST_F(Groups, AnOutlineThatCannotBeMadeGivesZero) {
  AcGePoint3dArray none;
  EXPECT_EQ(KWTwinkle(none, kTwinkleInfinite), 0);
  EXPECT_EQ(ModelSpaceCount(), 3u);
}

}  // namespace
