// A blink as a person sees it: the picture of the view taken in each phase of the flashing,
// rendered by rsvg-convert. The entity shows in its blinking colour in the drawn phase, is
// missing in the hidden one, and is back in its own colour once the blink ends.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "common/encoding.h"
#include "common/testing/SvgRaster.h"
#include "common/testing/TempDir.h"
#include "editor/Twinkle.h"
#include "host/api/adsdef.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

using kwtest::Pixel;

constexpr Pixel kWhite{255, 255, 255}, kBlue{0, 0, 255}, kRed{255, 0, 0};

class BlinkPicture : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!kwtest::HaveSvgRenderer()) GTEST_SKIP() << "rsvg-convert is not installed";
    kwhost::ResetSession();
    kwhost::SetManualClock(1000, 12, 0, 0);
    // The window from (0,-4.5) to (160,94.5), 99 units high on the 1280 x 720 screen.
    resbuf center{};
    center.restype = RT3DPOINT;
    center.resval.rpoint[0] = 80;
    center.resval.rpoint[1] = 45;
    kwhost::DefineSysVar(L"VIEWCTR", &center);
    resbuf size{};
    size.restype = RTREAL;
    size.resval.rreal = 99;
    kwhost::DefineSysVar(L"VIEWSIZE", &size);
    line = Line(20, 45, 140, 45, 1);
  }
  void TearDown() override {
    KWStopAllTwinkle(nullptr);
    kwhost::AdvanceClock(1000);
    kwhost::PumpMessages();
  }

  static AcDbObjectId Line(double x0, double y0, double x1, double y1, int color) {
    AcDbBlockTable* table = nullptr;
    kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
    AcDbBlockTableRecord* space = nullptr;
    table->getAt(L"*Model_Space", space, AcDb::kForWrite);
    table->close();
    auto* entity = new AcDbLine(AcGePoint3d(x0, y0, 0), AcGePoint3d(x1, y1, 0));
    entity->setColorIndex(static_cast<Adesk::UInt16>(color));
    AcDbObjectId id;
    space->appendAcDbEntity(id, entity);
    entity->close();
    space->close();
    return id;
  }

  // The colour where the blinking line crosses x = 80 in a picture taken now: whichever of
  // white, blue and red is nearest (black when no picture could be taken).
  Pixel Snapshot() {
    const std::string path = folder.At("shot" + std::to_string(++shots) + ".svg");
    kwtest::Raster image;
    if (!kwhost::ExportSvg(kw::FromUtf8(path)) || !kwtest::RenderSvg(path, &image)) return {};
    const double upp = 99.0 / 720.0;
    const Pixel p = image.at(static_cast<int>((80 - (80 - 88)) / upp),
                             static_cast<int>((45 + 49.5 - 45) / upp));
    Pixel best;
    int bestDistance = 1 << 30;
    for (const Pixel& want : {kWhite, kBlue, kRed}) {
      const int d = std::abs(p.r - want.r) + std::abs(p.g - want.g) + std::abs(p.b - want.b);
      if (d < bestDistance) best = want, bestDistance = d;
    }
    return best;
  }

  const kwtest::TempDir folder{"kw_blink"};
  AcDbObjectId line;
  int shots = 0;
};

TEST_F(BlinkPicture, ThePictureFollowsThePhasesAndTheEnd) {
  ads_name name;
  acdbGetAdsName(name, line);
  const int id = KWTwinkle(name, 0, 5, nullptr, 0.0, 1000);  // blue while blinking
  EXPECT_EQ(Snapshot(), kBlue);
  kwhost::AdvanceClock(166);
  kwhost::PumpMessages();
  const Pixel first = Snapshot();
  kwhost::AdvanceClock(166);
  kwhost::PumpMessages();
  const Pixel second = Snapshot();
  // One tick hid the line and the other showed it, in whichever order the phase runs.
  EXPECT_TRUE((first == kWhite && second == kBlue) || (first == kBlue && second == kWhite));
  for (int i = 0; i < 5; ++i) {
    kwhost::AdvanceClock(166);
    kwhost::PumpMessages();
  }
  EXPECT_EQ(KWHasTwinkle(id), 0);
  EXPECT_EQ(Snapshot(), kRed);
}

}  // namespace
