// acedRedraw: each entity's hidden and highlighted switches, whole-view refreshes, bad names.
#include <gtest/gtest.h>

#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::EntityRedrawState;
using kwhost::RedrawState;

class Redraw : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    line = AddLine();
    other = AddLine();
    acdbGetAdsName(name, line);
  }

  static AcDbObjectId AddLine() {
    AcDbBlockTable* table = nullptr;
    kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
    AcDbBlockTableRecord* space = nullptr;
    table->getAt(L"*Model_Space", space, AcDb::kForWrite);
    table->close();
    AcDbObjectId id;
    auto* entity = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 0, 0));
    space->appendAcDbEntity(id, entity);
    entity->close();
    space->close();
    return id;
  }

  AcDbObjectId line, other;
  ads_name name = {0, 0};
};

TEST_F(Redraw, HidingAndHighlightingAreIndependentSwitches) {
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{false, false}));
  EXPECT_EQ(acedRedraw(name, 2), RTNORM);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{true, false}));
  EXPECT_EQ(acedRedraw(name, 3), RTNORM);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{true, true}));
  EXPECT_EQ(acedRedraw(name, 1), RTNORM);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{false, true}));
  EXPECT_EQ(acedRedraw(name, 4), RTNORM);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{false, false}));
  EXPECT_EQ(EntityRedrawState(other), (RedrawState{false, false}));
  EXPECT_EQ(kwhost::EntityRedrawCount(), 4);
}

TEST_F(Redraw, WholeViewRefreshCountsAndKeepsEveryEntityAsItWas) {
  acedRedraw(name, 2);
  acedRedraw(name, 3);
  EXPECT_EQ(acedRedraw(nullptr, 0), RTNORM);
  EXPECT_EQ(acedRedraw(nullptr, 7), RTNORM);
  EXPECT_EQ(kwhost::ViewRefreshCount(), 2);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{true, true}));
}

TEST_F(Redraw, ModeZeroOnAnEntityDoesNothing) {
  acedRedraw(name, 3);
  EXPECT_EQ(acedRedraw(name, 0), RTNORM);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{false, true}));
  EXPECT_EQ(kwhost::EntityRedrawCount(), 1);
  EXPECT_EQ(kwhost::ViewRefreshCount(), 0);
}

TEST_F(Redraw, NegativeAndUnknownModesAreRefused) {
  EXPECT_EQ(acedRedraw(name, -2), RTERROR);
  EXPECT_EQ(acedRedraw(name, 5), RTERROR);
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{false, false}));
  EXPECT_EQ(kwhost::EntityRedrawCount(), 0);
}

TEST_F(Redraw, NamesOfNoLiveEntityAreRefused) {
  ads_name bogus = {12345, 0};
  EXPECT_EQ(acedRedraw(bogus, 2), RTERROR);
  ads_name table = {0, 0};
  acdbGetAdsName(table, kwhost::CurrentDatabase()->layerTableId());
  EXPECT_EQ(acedRedraw(table, 2), RTERROR);
  AcDbEntity* entity = nullptr;
  ASSERT_EQ(acdbOpenAcDbEntity(entity, line, AcDb::kForWrite), Acad::eOk);
  entity->erase();
  entity->close();
  EXPECT_EQ(acedRedraw(name, 2), RTERROR);
}

TEST_F(Redraw, ANewSessionForgetsStatesAndCounts) {
  acedRedraw(name, 2);
  acedRedraw(nullptr, 0);
  kwhost::ResetSession();
  EXPECT_EQ(EntityRedrawState(line), (RedrawState{false, false}));
  EXPECT_EQ(kwhost::ViewRefreshCount(), 0);
  EXPECT_EQ(kwhost::EntityRedrawCount(), 0);
}

}  // namespace
