// The flashing highlight driven by the host's timer: the test steps the manual clock and
// pumps the message loop, and reads what acedRedraw did to each entity.
#include "editor/Twinkle.h"
#include "editor/internal/TwinkleState.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::EntityRedrawState;
using kwhost::RedrawState;

constexpr RedrawState kShown{false, false};
constexpr RedrawState kHidden{true, false};

class Twinkling : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    kwhost::SetManualClock(1000, 12, 0, 0);
  }
  // Every blink stopped and the timer gone, so that the next test starts a timer of its own.
  void TearDown() override {
    KWStopAllTwinkle(nullptr);
    Tick(1000);
    KWSetTwinkleFreQuency(3.0);
  }

  // One pass of the message loop after `ms` milliseconds: the number of timer ticks handled.
  static int Tick(uint32_t ms = 166) {
    kwhost::AdvanceClock(ms);
    return kwhost::PumpMessages();
  }

  static int TickAt(uint32_t tick) {
    kwhost::AdvanceClock(tick - GetTickCount());
    return kwhost::PumpMessages();
  }

  // The phase lives as long as the library, so a test first ticks until its entity is hidden:
  // the number of ticks that took (1 or 2).
  static int TickUntilHidden(AcDbObjectId id) {
    Tick();
    if (EntityRedrawState(id) == kHidden) return 1;
    Tick();
    return 2;
  }

  static AcDbObjectId Append(AcDbEntity* entity) {
    AcDbBlockTable* table = nullptr;
    kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
    AcDbBlockTableRecord* space = nullptr;
    table->getAt(L"*Model_Space", space, AcDb::kForWrite);
    table->close();
    AcDbObjectId id;
    space->appendAcDbEntity(id, entity);
    entity->close();
    space->close();
    return id;
  }

  static AcDbObjectId AddLine(int colorIndex = 1) {
    auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 0, 0));
    line->setColorIndex(static_cast<Adesk::UInt16>(colorIndex));
    return Append(line);
  }

  static AcDbObjectId AddPolyline(double width) {
    auto* polyline = new AcDbPolyline();
    polyline->addVertexAt(0, AcGePoint2d(0, 0));
    polyline->addVertexAt(1, AcGePoint2d(10, 10));
    polyline->setConstantWidth(width);
    return Append(polyline);
  }

  struct Name {
    explicit Name(AcDbObjectId id) { acdbGetAdsName(value, id); }
    ads_name value = {0, 0};
    int64_t* get() { return value; }
  };

  static int ColorOf(AcDbObjectId id) {
    AcDbEntityPointer entity(id, AcDb::kForRead);
    return entity.object() ? entity->colorIndex() : -1;
  }
  static std::wstring LinetypeOf(AcDbObjectId id) {
    AcDbEntityPointer entity(id, AcDb::kForRead);
    wchar_t* name = entity->linetype();
    std::wstring text = name ? name : L"";
    std::free(name);
    return text;
  }
  static double WidthOf(AcDbObjectId id) {
    AcDbObjectPointer<AcDbPolyline> polyline(id, AcDb::kForRead);
    double width = -1;
    polyline->getConstantWidth(width);
    return width;
  }
};

// ---------------------------------------------------------------- the timer and the phase

TEST_F(Twinkling, TicksComeAtHalfThePeriodAndHideAndShowInTurn) {
  AcDbObjectId line = AddLine();
  Name name(line);
  ASSERT_GT(KWTwinkle(name.get(), 0, kTwinkleInfinite), 0);
  EXPECT_EQ(Tick(165), 0);
  EXPECT_EQ(Tick(1), 1);
  const bool hidden = EntityRedrawState(line) == kHidden;
  EXPECT_EQ(kwhost::ViewRefreshCount(), 1);
  EXPECT_EQ(Tick(166), 1);
  EXPECT_EQ(EntityRedrawState(line) == kHidden, !hidden);
  EXPECT_EQ(Tick(166), 1);
  EXPECT_EQ(EntityRedrawState(line) == kHidden, hidden);
  EXPECT_EQ(kwhost::ViewRefreshCount(), 3);
}

TEST_F(Twinkling, EachTickTakesTheHighlightOff) {
  AcDbObjectId line = AddLine();
  Name name(line);
  acedRedraw(name.get(), 3);
  KWTwinkle(name.get(), 0, kTwinkleInfinite);
  TickUntilHidden(line);
  EXPECT_EQ(EntityRedrawState(line), kHidden);
}

TEST_F(Twinkling, TheTimerEndsOnTheFirstTickWithoutBlinksAndTheNextBlinkStartsIt) {
  Name name(AddLine());
  int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  Tick();
  EXPECT_EQ(KWStopTwinkle(id, nullptr), 1);
  EXPECT_EQ(Tick(), 1);  // finds nothing and kills itself
  EXPECT_EQ(Tick(1000), 0);
  KWTwinkle(name.get(), 0, kTwinkleInfinite);
  EXPECT_EQ(Tick(), 1);
}

TEST_F(Twinkling, ShutdownRestoresEntitiesAndANewSessionStartsItsOwnTimer) {
  const AcDbObjectId line = AddLine();
  Name name(line);
  const int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  TickUntilHidden(line);
  KWRDPub::twinkle::Shutdown();
  EXPECT_EQ(KWHasTwinkle(id), 0);
  EXPECT_EQ(EntityRedrawState(line), kShown);
  kwhost::ResetSession();  // the host's timers go; a running flag left behind would stall
  kwhost::SetManualClock(1000, 12, 0, 0);
  Name again(AddLine());
  EXPECT_GT(KWTwinkle(again.get(), 0, kTwinkleInfinite), 0);
  EXPECT_EQ(Tick(), 1);
}

TEST_F(Twinkling, ANewTimerGoesOnFromThePhaseTheLastOneLeft) {
  AcDbObjectId line = AddLine();
  Name name(line);
  int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  TickUntilHidden(line);
  Tick();  // phase: draw
  KWStopTwinkle(id, nullptr);
  Tick();  // phase: undraw, and the timer ends
  KWTwinkle(name.get(), 0, kTwinkleInfinite);
  Tick();  // phase: draw, which the new record already shows
  EXPECT_EQ(EntityRedrawState(line), kShown);
  Tick();
  EXPECT_EQ(EntityRedrawState(line), kHidden);
}

TEST_F(Twinkling, AFrequencyTakesEffectWhenTheTimerStartsAgain) {
  AcDbObjectId line = AddLine();
  Name name(line);
  ASSERT_EQ(KWSetTwinkleFreQuency(10.0), 1);
  int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  EXPECT_EQ(Tick(50), 1);
  ASSERT_EQ(KWSetTwinkleFreQuency(1.0), 1);
  EXPECT_EQ(Tick(50), 1);  // still the old period
  KWStopTwinkle(id, nullptr);
  Tick(50);
  KWTwinkle(name.get(), 0, kTwinkleInfinite);
  EXPECT_EQ(Tick(499), 0);
  EXPECT_EQ(Tick(1), 1);
}

TEST_F(Twinkling, FrequencyBoundsAreInclusive) {
  EXPECT_EQ(KWGetTwinkleFreQuency(), 3.0);
  EXPECT_EQ(KWSetTwinkleFreQuency(0.1), 1);
  EXPECT_EQ(KWGetTwinkleFreQuency(), 0.1);
  EXPECT_EQ(KWSetTwinkleFreQuency(10.0), 1);
  EXPECT_EQ(KWSetTwinkleFreQuency(0.09), 0);
  EXPECT_EQ(KWSetTwinkleFreQuency(10.01), 0);
  EXPECT_EQ(KWSetTwinkleFreQuency(std::nan("")), 0);
  EXPECT_EQ(KWGetTwinkleFreQuency(), 10.0);
}

// ---------------------------------------------------------------- durations and expiry

TEST_F(Twinkling, DurationZeroBlinksForThreeSecondsAndEndsShown) {
  AcDbObjectId a = AddLine();
  AcDbObjectId b = AddLine();
  Name na(a), nb(b);
  int first = KWTwinkle(na.get(), 0, 0);  // at 1000
  kwhost::AdvanceClock(1);
  int second = KWTwinkle(nb.get(), 0, 0);  // at 1001
  for (uint32_t at = 1166; at <= 3822; at += 166) TickAt(at);
  EXPECT_EQ(KWHasTwinkle(first), 1);
  TickAt(4000);
  EXPECT_EQ(KWHasTwinkle(first), 0);
  EXPECT_EQ(KWHasTwinkle(second), 1);
  EXPECT_EQ(EntityRedrawState(a), kShown);
  TickAt(4166);
  EXPECT_EQ(KWHasTwinkle(second), 0);
  EXPECT_EQ(EntityRedrawState(b), kShown);
}

TEST_F(Twinkling, AnInfiniteBlinkLastsUntilStopped) {
  Name name(AddLine());
  int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  for (int i = 0; i < 100; ++i) Tick(1000);
  EXPECT_EQ(KWHasTwinkle(id), 1);
}

TEST_F(Twinkling, ExpiryMeasuresAcrossTheTickCountWrap) {
  kwhost::SetManualClock(0xFFFFFF00u, 12, 0, 0);
  Name name(AddLine());
  int id = KWTwinkle(name.get(), 0, 1000);
  for (int i = 0; i < 6; ++i) Tick();  // 996 ms, past the wrap
  EXPECT_EQ(KWHasTwinkle(id), 1);
  Tick();
  EXPECT_EQ(KWHasTwinkle(id), 0);
}

TEST_F(Twinkling, AnEntityThatCannotBeOpenedForWriteDoesNotBlinkUntilItCan) {
  AcDbObjectId line = AddLine();
  Name name(line);
  KWTwinkle(name.get(), 0, kTwinkleInfinite);
  {
    AcDbEntityPointer reader(line, AcDb::kForRead);
    Tick();
    Tick();
    EXPECT_EQ(EntityRedrawState(line), kShown);
  }
  EXPECT_EQ(TickUntilHidden(line), 1);  // the first tick that can open it blinks it
}

TEST_F(Twinkling, BlinkingGoesOnWhenTheDocumentCannotBeLocked) {
  AcDbObjectId line = AddLine();
  Name name(line);
  kwhost::SetDocumentLocksFail(true);
  KWTwinkle(name.get(), 0, 3, nullptr, 0.0, kTwinkleInfinite);
  TickUntilHidden(line);
  EXPECT_EQ(EntityRedrawState(line), kHidden);
  EXPECT_EQ(ColorOf(line), 3);
  kwhost::SetDocumentLocksFail(false);
}

// ---------------------------------------------------------------- ids

TEST_F(Twinkling, EveryBlinkTakesTheNextIdEvenForANameOfNoEntity) {
  Name name(AddLine());
  int first = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  ads_name nothing = {0x7FFFFFFF, 0};
  int second = KWTwinkle(nothing, 0, kTwinkleInfinite);
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(KWHasTwinkle(second), 1);
  EXPECT_EQ(KWTwinkle(name.get(), 0, kTwinkleInfinite), first + 2);
  EXPECT_EQ(KWStopTwinkle(second, nullptr), 1);
  EXPECT_EQ(KWHasTwinkle(second), 0);
  EXPECT_EQ(KWStopTwinkle(second, nullptr), 1);  // unknown now
}

// ---------------------------------------------------------------- restyling and restoring

TEST_F(Twinkling, TwoBlinksOnOneEntityRestoreTheColourFromBeforeTheFirst) {
  AcDbObjectId line = AddLine(1);
  Name name(line);
  int first = KWTwinkle(name.get(), 0, 3, nullptr, 0.0, kTwinkleInfinite);
  EXPECT_EQ(ColorOf(line), 3);
  int second = KWTwinkle(name.get(), 0, 5, nullptr, 0.0, kTwinkleInfinite);
  EXPECT_EQ(ColorOf(line), 5);
  KWStopTwinkle(first, nullptr);
  EXPECT_EQ(ColorOf(line), 5);
  KWStopTwinkle(second, nullptr);
  EXPECT_EQ(ColorOf(line), 1);
}

TEST_F(Twinkling, TheSecondBlinkStoppedFirstKeepsTheFirstBlinksColourOn) {
  AcDbObjectId line = AddLine(1);
  Name name(line);
  int first = KWTwinkle(name.get(), 0, 3, nullptr, 0.0, kTwinkleInfinite);
  int second = KWTwinkle(name.get(), 0, 5, nullptr, 0.0, kTwinkleInfinite);
  KWStopTwinkle(second, nullptr);
  EXPECT_EQ(ColorOf(line), 5);  // nothing restored while the first still runs
  KWStopTwinkle(first, nullptr);
  EXPECT_EQ(ColorOf(line), 1);
}

TEST_F(Twinkling, ExpiryRestoresColourOnlyWhenTheLastBlinkOfTheEntityEnds) {
  AcDbObjectId line = AddLine(2);
  Name name(line);
  KWTwinkle(name.get(), 0, 6, nullptr, 0.0, 300);
  int longer = KWTwinkle(name.get(), 0, 4, nullptr, 0.0, kTwinkleInfinite);
  Tick();
  Tick();  // the first expires
  EXPECT_EQ(ColorOf(line), 4);
  KWStopTwinkle(longer, nullptr);
  EXPECT_EQ(ColorOf(line), 2);
}

TEST_F(Twinkling, LinetypeAndWidthAreShownWhileBlinkingAndPutBackAfter) {
  ASSERT_EQ(acdbLoadLineTypeFile(L"DASHED", L"acadiso.lin"), Acad::eOk);
  AcDbObjectId polyline = AddPolyline(0.5);
  Name name(polyline);
  std::wstring before = LinetypeOf(polyline);
  int id = KWTwinkle(name.get(), 0, -1, L"DASHED", 2.0, kTwinkleInfinite);
  EXPECT_EQ(LinetypeOf(polyline), L"DASHED");
  EXPECT_EQ(WidthOf(polyline), 2.0);
  KWStopTwinkle(id, nullptr);
  EXPECT_EQ(LinetypeOf(polyline), before);
  EXPECT_EQ(WidthOf(polyline), 0.5);
}

TEST_F(Twinkling, AWidthIsNotAppliedToAnythingButAPolyline) {
  AcDbObjectId line = AddLine(1);
  Name name(line);
  int id = KWTwinkle(name.get(), 0, -1, nullptr, 2.0, kTwinkleInfinite);
  EXPECT_EQ(ColorOf(line), 1);
  EXPECT_EQ(KWStopTwinkle(id, nullptr), 1);
}

// ---------------------------------------------------------------- stopping

TEST_F(Twinkling, StoppingAHiddenEntityShowsIt) {
  AcDbObjectId line = AddLine();
  Name name(line);
  int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  TickUntilHidden(line);
  ASSERT_EQ(EntityRedrawState(line), kHidden);
  const int64_t refreshes = kwhost::ViewRefreshCount();
  EXPECT_EQ(KWStopTwinkle(id, nullptr), 1);
  EXPECT_EQ(EntityRedrawState(line), kShown);
  EXPECT_EQ(kwhost::ViewRefreshCount(), refreshes + 1);
}

TEST_F(Twinkling, AHiddenEntityThatCannotBeOpenedKeepsItsBlink) {
  AcDbObjectId line = AddLine();
  Name name(line);
  int id = KWTwinkle(name.get(), 0, kTwinkleInfinite);
  TickUntilHidden(line);
  {
    AcDbEntityPointer reader(line, AcDb::kForRead);
    EXPECT_EQ(KWStopTwinkle(id, nullptr), 0);
  }
  EXPECT_EQ(KWHasTwinkle(id), 1);
  EXPECT_EQ(EntityRedrawState(line), kHidden);
  EXPECT_EQ(KWStopTwinkle(id, nullptr), 1);
  EXPECT_EQ(EntityRedrawState(line), kShown);
}

TEST_F(Twinkling, StopAllShowsAndRestoresEveryEntity) {
  AcDbObjectId a = AddLine(1);
  AcDbObjectId b = AddLine(2);
  Name na(a), nb(b);
  int ida = KWTwinkle(na.get(), 0, 5, nullptr, 0.0, kTwinkleInfinite);
  int idb = KWTwinkle(nb.get(), 0, 6, nullptr, 0.0, kTwinkleInfinite);
  KWTwinkle(na.get(), 0, 3, nullptr, 0.0, kTwinkleInfinite);
  TickUntilHidden(a);
  KWStopAllTwinkle(nullptr);
  EXPECT_EQ(EntityRedrawState(a), kShown);
  EXPECT_EQ(EntityRedrawState(b), kShown);
  EXPECT_EQ(ColorOf(a), 1);
  EXPECT_EQ(ColorOf(b), 2);
  EXPECT_EQ(KWHasTwinkle(ida) + KWHasTwinkle(idb), 0);
  EXPECT_EQ(Tick(), 1);  // the timer's last tick
  EXPECT_EQ(Tick(), 0);
  int again = KWTwinkle(na.get(), 0, 4, nullptr, 0.0, kTwinkleInfinite);
  KWStopTwinkle(again, nullptr);
  EXPECT_EQ(ColorOf(a), 1);  // no reference count left over from before
}

}  // namespace
