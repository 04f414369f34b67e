// Pictures: a drawing with every kind of entity is exported, rendered by an independent SVG
// renderer (rsvg-convert) and checked pixel by pixel where each entity must or must not show.
// The palette and the shape reader are checked on their own.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <optional>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/SvgRaster.h"
#include "common/testing/TempDir.h"
#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/svg/draw.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::svg::PaletteColor;
using kwhost::svg::Rgb;
using kwtest::Pixel;

// ---------------------------------------------------------------- building the drawing

AcDbObjectId AppendTo(const wchar_t* blockName, AcDbEntity* entity, int colorIndex = -1) {
  if (colorIndex >= 0) entity->setColorIndex(static_cast<Adesk::UInt16>(colorIndex));
  AcDbBlockTable* table = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
  AcDbBlockTableRecord* block = nullptr;
  table->getAt(blockName, block, AcDb::kForWrite);
  table->close();
  AcDbObjectId id;
  block->appendAcDbEntity(id, entity);
  entity->close();
  block->close();
  return id;
}

AcDbObjectId Add(AcDbEntity* entity, int colorIndex = -1) {
  return AppendTo(L"*Model_Space", entity, colorIndex);
}

AcDbObjectId Line(double x0, double y0, double x1, double y1, int colorIndex) {
  return Add(new AcDbLine(AcGePoint3d(x0, y0, 0), AcGePoint3d(x1, y1, 0)), colorIndex);
}

void DefineBlock(const wchar_t* name) {
  AcDbBlockTable* table = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForWrite);
  auto* block = new AcDbBlockTableRecord();
  block->setName(name);
  table->add(block);
  block->close();
  table->close();
  AppendTo(name, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 0, 0)), 0);  // ByBlock
}

void Redraw(AcDbObjectId id, int mode) {
  ads_name name;
  acdbGetAdsName(name, id);
  acedRedraw(name, mode);
}

// Shows the window from (0,-4.5) to (160,94.5): 99 units high on the 1280 x 720 screen.
void ShowDrawingWindow() {
  resbuf center{};
  center.restype = RT3DPOINT;
  center.resval.rpoint[0] = 80;
  center.resval.rpoint[1] = 45;
  ASSERT_TRUE(kwhost::DefineSysVar(L"VIEWCTR", &center));
  resbuf size{};
  size.restype = RTREAL;
  size.resval.rreal = 99;
  ASSERT_TRUE(kwhost::DefineSysVar(L"VIEWSIZE", &size));
}

// The drawing: a grey border from (0,0) to (160,90), and each entity in its own place.
void BuildDrawing() {
  ShowDrawingWindow();
  Line(0, 0, 160, 0, 8);
  Line(160, 0, 160, 90, 8);
  Line(0, 90, 160, 90, 8);
  Line(0, 0, 0, 90, 8);
  Line(10, 10, 50, 10, 1);                                                   // red line
  Add(new AcDbCircle(AcGePoint3d(30, 40, 0), AcGeVector3d(0, 0, 1), 8), 3);  // green
  Add(new AcDbArc(AcGePoint3d(30, 65, 0), 8, 0, std::numbers::pi), 5);       // blue
  auto* wide = new AcDbPolyline();
  wide->addVertexAt(0, AcGePoint2d(60, 10));
  wide->addVertexAt(1, AcGePoint2d(90, 10));
  wide->setConstantWidth(4);
  AcCmColor orange;
  orange.setRGB(200, 100, 0);
  wide->setColor(orange);
  Add(wide);
  auto* bulged = new AcDbPolyline();
  bulged->addVertexAt(0, AcGePoint2d(60, 40), 1.0);
  bulged->addVertexAt(1, AcGePoint2d(80, 40));
  Add(bulged, 6);  // magenta
  AcGePoint3dArray corners;
  corners.append(AcGePoint3d(100, 10, 0));
  corners.append(AcGePoint3d(120, 10, 0));
  corners.append(AcGePoint3d(120, 30, 0));
  Add(new AcDb2dPolyline(AcDb::k2dSimplePoly, corners), 4);  // cyan
  Redraw(Line(100, 50, 120, 50, 1), 2);                      // hidden
  Redraw(Line(100, 60, 120, 60, 7), 3);                      // highlighted
  Add(new AcDbText(AcGePoint3d(130, 10, 0), L"KW", AcDbObjectId(), 6), 1);
  Add(new AcDbPoint(AcGePoint3d(150, 30, 0)), 3);
  DefineBlock(L"MARK");
  AcDbObjectId block;
  AcDbBlockTable* table = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
  table->getAt(L"MARK", block);
  table->close();
  auto* ref = new AcDbBlockReference(AcGePoint3d(140, 40, 0), block);
  ref->setRotation(std::numbers::pi / 2);
  ref->setScaleFactors(AcGeScale3d(2, 2, 2));
  Add(ref, 1);  // red, upright
  ASSERT_EQ(acdbLoadLineTypeFile(L"DASHED", L"acadiso.lin"), Acad::eOk);
  ASSERT_EQ(acdbLoadLineTypeFile(L"FENCELINE1", L"acadiso.lin"), Acad::eOk);
  auto* dashed = new AcDbLine(AcGePoint3d(10, 80, 0), AcGePoint3d(150, 80, 0));
  dashed->setLinetype(L"DASHED");
  Add(dashed, 5);
  auto* fence = new AcDbLine(AcGePoint3d(60, 70, 0), AcGePoint3d(150, 70, 0));
  fence->setLinetype(L"FENCELINE1");
  Add(fence, 1);
  ASSERT_EQ(acdbLoadLineTypeFile(L"DOT", L"acadiso.lin"), Acad::eOk);
  auto* dots = new AcDbLine(AcGePoint3d(10, 86, 0), AcGePoint3d(60, 86, 0));
  dots->setLinetype(L"DOT");
  Add(dots, 3);
  ASSERT_EQ(acdbLoadLineTypeFile(L"GAS_LINE", L"acadiso.lin"), Acad::eOk);
  auto* gas = new AcDbLine(AcGePoint3d(40, 55, 0), AcGePoint3d(95, 55, 0));
  gas->setLinetype(L"GAS_LINE");
  Add(gas, 6);
}

// ---------------------------------------------------------------- the picture

class Picture : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!kwtest::HaveSvgRenderer()) return;
    kwhost::ResetSession();
    BuildDrawing();
    const kwtest::TempDir folder("kw_svg");  // the picture is read back before it goes
    const std::string path = folder.At("picture.svg");
    std::wstring why;
    exported = kwhost::ExportSvg(kw::FromUtf8(path), &why);
    rendered = exported && kwtest::RenderSvg(path, &image);
  }
  static void TearDownTestSuite() { kwhost::ResetSession(); }
  void SetUp() override {
    if (!kwtest::HaveSvgRenderer()) GTEST_SKIP() << "rsvg-convert is not installed";
    ASSERT_TRUE(exported);
    ASSERT_TRUE(rendered);
  }

  // The pixel of a world point in the window ShowDrawingWindow shows.
  static Pixel At(double x, double y) {
    const double upp = 99.0 / 720.0;
    const int px = static_cast<int>(std::floor((x - (80 - 88)) / upp));
    const int py = static_cast<int>(std::floor((45 + 49.5 - y) / upp));
    return image.at(px, py);
  }
  static bool Near(const Pixel& p, const Pixel& want) {
    return std::abs(p.r - want.r) < 60 && std::abs(p.g - want.g) < 60 &&
           std::abs(p.b - want.b) < 60;
  }
  // Some pixel within one pixel of the point has the colour.
  static bool Shows(double x, double y, const Pixel& want) {
    const double upp = 99.0 / 720.0;
    for (int dx = -1; dx <= 1; ++dx) {
      for (int dy = -1; dy <= 1; ++dy) {
        if (Near(At(x + dx * upp, y + dy * upp), want)) return true;
      }
    }
    return false;
  }
  static bool Blank(double x, double y) {
    const double upp = 99.0 / 720.0;
    for (int dx = -1; dx <= 1; ++dx) {
      for (int dy = -1; dy <= 1; ++dy) {
        if (At(x + dx * upp, y + dy * upp) != Pixel{255, 255, 255}) return false;
      }
    }
    return true;
  }

  static inline bool exported = false, rendered = false;
  static inline kwtest::Raster image;
};

constexpr Pixel kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255}, kCyan{0, 255, 255};
constexpr Pixel kMagenta{255, 0, 255}, kOrange{200, 100, 0}, kBlack{0, 0, 0};

TEST_F(Picture, IsTheScreenSizeOnWhite) {
  EXPECT_EQ(image.width, 1280);
  EXPECT_EQ(image.height, 720);
  EXPECT_EQ(image.at(2, 2), (Pixel{255, 255, 255}));
  EXPECT_TRUE(Shows(80, 0, {128, 128, 128}));
}

TEST_F(Picture, LinesCirclesAndArcsShowInTheirColours) {
  EXPECT_TRUE(Shows(30, 10, kRed));
  EXPECT_TRUE(Shows(38, 40, kGreen));
  EXPECT_TRUE(Blank(30, 40));  // inside the circle
  EXPECT_TRUE(Shows(30, 73, kBlue));
  EXPECT_TRUE(Blank(30, 57));  // the arc's missing half
}

TEST_F(Picture, PolylinesKeepTheirWidthsAndBulges) {
  EXPECT_TRUE(Shows(75, 11.6, kOrange));
  EXPECT_TRUE(Blank(75, 12.6));
  EXPECT_TRUE(Shows(70, 30, kMagenta));  // the bulge turns the segment below the chord
  EXPECT_TRUE(Blank(70, 50));
  EXPECT_TRUE(Shows(120, 20, kCyan));
}

TEST_F(Picture, AHiddenEntityIsLeftOutAndAHighlightedOneHasAHalo) {
  EXPECT_TRUE(Blank(110, 50));
  EXPECT_TRUE(Shows(110, 60, kBlack));
  const Pixel halo = At(110, 60 + 3 * 99.0 / 720.0);
  EXPECT_GT(halo.b, 200);
  EXPECT_LT(halo.r, 200);
}

TEST_F(Picture, TextBlockReferencesAndPointsAreDrawn) {
  int red = 0;
  for (double x = 130; x < 140; x += 0.25) {
    for (double y = 10; y < 16; y += 0.25) red += Near(At(x, y), kRed) ? 1 : 0;
  }
  EXPECT_GT(red, 20);
  EXPECT_TRUE(Shows(140, 50, kRed));    // the block's line turned upright and doubled
  EXPECT_TRUE(Shows(150, 30, kGreen));  // a point is a dot
  EXPECT_TRUE(Blank(145, 40));
}

TEST_F(Picture, LinetypesShowTheirDashesAndShapes) {
  EXPECT_TRUE(Shows(16, 80, kBlue));          // in the first 12.7-unit dash
  EXPECT_TRUE(Blank(10 + 12.7 + 3, 80));      // in the gap after it
  EXPECT_TRUE(Shows(10 + 6.35, 86, kGreen));  // DOT: a dot every 6.35 units
  EXPECT_TRUE(Blank(10 + 3.2, 86));
  // FENCELINE1: a circle of radius 2.54 centred 13.335 units along, in the gap.
  EXPECT_TRUE(Shows(60 + 13.335, 70 + 2.54, kRed));
  EXPECT_TRUE(Blank(60 + 13.335, 70));
  // GAS_LINE: "GAS" 2.54 high from 2.54 before the end of the first gap (19.05 along), 1.27
  // below the line, in the gap that follows; a dash before it.
  EXPECT_TRUE(Shows(45, 55, kMagenta));
  int magenta = 0;
  for (double x = 56.5; x < 63; x += 0.125) {
    for (double y = 53.7; y < 56.3; y += 0.125) magenta += Near(At(x, y), kMagenta) ? 1 : 0;
  }
  EXPECT_GT(magenta, 30);
  EXPECT_TRUE(Blank(64.5, 58));
}

// ---------------------------------------------------------------- the command

class ExportCommand : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { folder.emplace("kw_svgcmd"); }
  static void TearDownTestSuite() { folder.reset(); }
  void SetUp() override { kwhost::ResetSession(); }
  static inline std::optional<kwtest::TempDir> folder;
};

TEST_F(ExportCommand, WritesThePictureAndAddsTheExtension) {
  Line(0, 0, 10, 10, 1);
  const std::wstring stem = folder->WAt(L"my pic");
  kwhost::QueueInput(stem);
  ASSERT_TRUE(kwhost::RunCommand(L"exportsvg"));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n图片文件: \n已输出图片 " + stem + L".svg。");
  std::string bytes;
  ASSERT_TRUE(kw::Fs().ReadFile(stem + L".svg", &bytes));
  EXPECT_TRUE(bytes.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg "));
  EXPECT_NE(bytes.find("stroke=\"#ff0000\""), std::string::npos);
}

TEST_F(ExportCommand, SaysWhyWhenTheFileCannotBeWritten) {
  const std::wstring path = folder->WAt(L"missing/a.svg");
  kwhost::QueueInput(path);
  ASSERT_TRUE(kwhost::RunCommand(L"EXPORTSVG"));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n图片文件: \n无法输出图片: cannot write " + path);
  kwhost::CloseAllDocuments();
  std::wstring why;
  EXPECT_FALSE(kwhost::ExportSvg(path, &why));
  EXPECT_EQ(why, L"no current drawing");
}

TEST_F(ExportCommand, ThePictureIsTheScreenAndFollowsTheViewDirection) {
  if (!kwtest::HaveSvgRenderer()) GTEST_SKIP() << "rsvg-convert is not installed";
  Line(10, 0, 40, 0, 1);
  ASSERT_TRUE(kwhost::SetScreenSize(400, 200));
  resbuf size{};
  size.restype = RTREAL;
  size.resval.rreal = 100;  // 200 units wide: x from -100 to 100
  ASSERT_TRUE(kwhost::DefineSysVar(L"VIEWSIZE", &size));
  const std::string top = folder->At("top.svg");
  ASSERT_TRUE(kwhost::ExportSvg(kw::FromUtf8(top)));
  resbuf below{};
  below.restype = RT3DPOINT;
  below.resval.rpoint[2] = -1;  // seen from below, x runs to the left of the screen
  ASSERT_TRUE(kwhost::DefineSysVar(L"VIEWDIR", &below));
  const std::string under = folder->At("under.svg");
  ASSERT_TRUE(kwhost::ExportSvg(kw::FromUtf8(under)));
  kwtest::Raster image;
  ASSERT_TRUE(kwtest::RenderSvg(top, &image));
  EXPECT_EQ(image.width, 400);
  EXPECT_EQ(image.height, 200);
  EXPECT_GT(image.at(250, 100).r, 200);  // x = 25
  EXPECT_LT(image.at(250, 100).g, 100);
  EXPECT_EQ(image.at(150, 100), (Pixel{255, 255, 255}));
  ASSERT_TRUE(kwtest::RenderSvg(under, &image));
  EXPECT_GT(image.at(150, 100).r, 200);
  EXPECT_LT(image.at(150, 100).g, 100);
  EXPECT_EQ(image.at(250, 100), (Pixel{255, 255, 255}));
}

TEST_F(ExportCommand, NestedBlocksThatMultiplyStayWithinThePicturesLimits) {
  // Each block holds two references to the one below: 2^40 lines if nothing stopped it.
  DefineBlock(L"B0");
  AcDbBlockTable* table = nullptr;
  for (int level = 1; level <= 40; ++level) {
    const std::wstring name = L"B" + std::to_wstring(level);
    kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForWrite);
    auto* block = new AcDbBlockTableRecord();
    block->setName(name.c_str());
    table->add(block);
    block->close();
    AcDbObjectId below;
    table->getAt((L"B" + std::to_wstring(level - 1)).c_str(), below);
    table->close();
    AppendTo(name.c_str(), new AcDbBlockReference(AcGePoint3d(0, 0, 0), below));
    AppendTo(name.c_str(), new AcDbBlockReference(AcGePoint3d(0, 1, 0), below));
  }
  kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
  AcDbObjectId top;
  table->getAt(L"B40", top);
  table->close();
  Add(new AcDbBlockReference(AcGePoint3d(0, 0, 0), top));
  const std::wstring path = folder->WAt(L"nested.svg");
  ASSERT_TRUE(kwhost::ExportSvg(path));
  std::string bytes;
  ASSERT_TRUE(kw::Fs().ReadFile(path, &bytes));
  EXPECT_LT(bytes.size(), 100u << 20);
  EXPECT_TRUE(bytes.ends_with("</svg>\n"));
}

// ---------------------------------------------------------------- palette and shapes

TEST(Palette, NamedColoursHueRowsAndGreys) {
  EXPECT_EQ(PaletteColor(1), (Rgb{255, 0, 0}));
  EXPECT_EQ(PaletteColor(7), (Rgb{0, 0, 0}));
  EXPECT_EQ(PaletteColor(9), (Rgb{192, 192, 192}));
  EXPECT_EQ(PaletteColor(10), (Rgb{255, 0, 0}));
  EXPECT_EQ(PaletteColor(19), (Rgb{76, 38, 38}));
  EXPECT_EQ(PaletteColor(21), (Rgb{255, 159, 127}));
  EXPECT_EQ(PaletteColor(40), (Rgb{255, 191, 0}));
  EXPECT_EQ(PaletteColor(150), (Rgb{0, 127, 255}));
  EXPECT_EQ(PaletteColor(250), (Rgb{51, 51, 51}));
  EXPECT_EQ(PaletteColor(255), (Rgb{255, 255, 255}));
  EXPECT_EQ(PaletteColor(0), (Rgb{0, 0, 0}));
  EXPECT_EQ(PaletteColor(256), (Rgb{0, 0, 0}));
}

std::string Bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(static_cast<char>(v));
  return out;
}

TEST(Shapes, VectorsPenMovesAndOctantArcs) {
  // Pen up to (-1,0), a full clockwise circle of radius 1 from octant 4, pen up back.
  auto strokes =
      kwhost::svg::ShapeStrokes(Bytes({2, 8, -1, 0, 1, 10, 1, -0x40, 2, 8, 1, 0, 0}), nullptr);
  ASSERT_EQ(strokes.size(), 1u);
  for (const AcGePoint2d& p : strokes[0]) EXPECT_NEAR(std::hypot(p.x, p.y), 1.0, 1e-9);
  // A square of side 2 by vectors of length 2 in directions 0, 4, 8, C.
  strokes = kwhost::svg::ShapeStrokes(Bytes({0x20, 0x24, 0x28, 0x2C, 0}), nullptr);
  ASSERT_EQ(strokes.size(), 1u);
  EXPECT_EQ(strokes[0].size(), 5u);
  EXPECT_EQ(strokes[0][2], AcGePoint2d(2, 2));
}

TEST(Shapes, TruncatedAndRecursiveShapesEndQuietly) {
  EXPECT_TRUE(kwhost::svg::ShapeStrokes(Bytes({8, 1}), nullptr).empty());
  EXPECT_TRUE(kwhost::svg::ShapeStrokes(Bytes({10}), nullptr).empty());
  const std::string self = Bytes({0x10, 7, 1, 0});
  auto lookup = [&self](int) { return &self; };
  auto strokes = kwhost::svg::ShapeStrokes(self, lookup);
  ASSERT_EQ(strokes.size(), 1u);
  EXPECT_EQ(strokes[0].back(), AcGePoint2d(5, 0));  // itself, four levels deep
}

}  // namespace
