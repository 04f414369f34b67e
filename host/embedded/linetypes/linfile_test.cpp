// Reading ".lin" text and shape files.
#include <gtest/gtest.h>

#include <numbers>
#include <string>

#include "host/embedded/linetypes/linfile.h"
#include "host/embedded/linetypes/shapes.h"

namespace {

using kwhost::linetypes::DecodeLinBytes;
using kwhost::linetypes::ElementKind;
using kwhost::linetypes::LinDefinition;
using kwhost::linetypes::ParseLinText;

TEST(LinFile, ReadsSimpleAndComplexDefinitionsWithTheirFields) {
  std::vector<LinDefinition> defs = ParseLinText(
      L";; comment\r\n*DASHED , Dashed __ __\r\nA,.5,-.25\r\n"
      L"*GAS,Gas\n;; between\nA,.5,-.2,[\"G,1\",STANDARD,S=.1,R=90,X=-.1,Y=-.05],-.2\n"
      L"*FENCE\nA,1,[circ1,ltypeshp.shx,s=2,a=1.5r,x=3],\n  -0.5,[BOX,b.shx,U=100g]\n");
  ASSERT_EQ(defs.size(), 3u);
  EXPECT_EQ(defs[0].name, L"DASHED");
  EXPECT_EQ(defs[0].description, L"Dashed __ __");
  ASSERT_EQ(defs[0].dashes.size(), 2u);
  EXPECT_EQ(defs[0].dashes[1].length, -0.25);
  const auto& text = defs[1].dashes[1].element;
  EXPECT_EQ(text.kind, ElementKind::kText);
  EXPECT_EQ(text.text, L"G,1");
  EXPECT_EQ(text.style, L"STANDARD");
  EXPECT_DOUBLE_EQ(text.rotation, std::numbers::pi / 2);
  EXPECT_EQ(text.scale, 0.1);
  EXPECT_EQ(text.x, -0.1);
  EXPECT_EQ(text.y, -0.05);
  EXPECT_FALSE(text.absolute);
  EXPECT_EQ(defs[1].dashes[2].element.kind, ElementKind::kNone);
  EXPECT_EQ(defs[2].description, L"");
  ASSERT_EQ(defs[2].dashes.size(), 2u);  // continued on the next line
  const auto& shape = defs[2].dashes[0].element;
  EXPECT_EQ(shape.kind, ElementKind::kShape);
  EXPECT_EQ(shape.text, L"circ1");
  EXPECT_EQ(shape.style, L"ltypeshp.shx");
  EXPECT_EQ(shape.rotation, 1.5);
  EXPECT_TRUE(shape.absolute);
  EXPECT_EQ(shape.x, 3);
  EXPECT_DOUBLE_EQ(defs[2].dashes[1].element.rotation, std::numbers::pi / 2);
}

TEST(LinFile, LeavesOutMalformedDefinitionsOnly) {
  std::vector<LinDefinition> defs = ParseLinText(
      L"*NOPATTERN,x\n*BADNUMBER\nA,1,-x\n*ELEMENTFIRST\nA,[\"T\",S],1\n"
      L"*TWOELEMENTS\nA,1,[\"T\",S],[\"U\",S]\n*BADPARAM\nA,1,[\"T\",S,Q=1]\n"
      L"*NOSTYLE\nA,1,[\"T\"]\n*THIRTEEN\nA,1,1,1,1,1,1,1,1,1,1,1,1,1\n"
      L"*\nA,1\nA,2\n*TWELVE\nB,1\n*GOOD\nA,1,-1\n*GOOD\nA,2\n");
  ASSERT_EQ(defs.size(), 2u);
  EXPECT_EQ(defs[0].name, L"GOOD");
  EXPECT_EQ(defs[0].dashes.size(), 2u);
  EXPECT_EQ(defs[1].dashes[0].length, 2);  // a repeated name is kept; loading takes the first
}

TEST(LinFile, DecodesUtf8WithOrWithoutMarkAndFallsBackToGbk) {
  EXPECT_EQ(DecodeLinBytes("\xEF\xBB\xBF*\xE7\xA4\xBA"), L"*示");
  EXPECT_EQ(DecodeLinBytes("*\xCA\xBE\xC0\xFD"), L"*示例");
}

using kwhost::linetypes::FindShape;
using kwhost::linetypes::ParseShp;
using kwhost::linetypes::ParseShx;
using kwhost::linetypes::ReadShapeFile;
using kwhost::linetypes::ShapeFile;
using kwhost::linetypes::WriteShx;

TEST(ShapeFiles, TextFormReadsHexDecimalSignsAndSpansLines) {
  ShapeFile f;
  ASSERT_TRUE(ParseShp(
      "; c\n*130,5,CIRC ; tail\n2,8,(-1,0A),\n  0\n*0A1,2,ONE\n014,0\n*5,2,BAD\n1,2,0\n*6,2,LAST\n"
      "1,1\n*7,1,HIGH\n256\n*8,1,ok\n0\n",
      &f));
  ASSERT_EQ(f.shapes.size(), 3u);
  EXPECT_EQ(f.shapes[0].number, 130);
  EXPECT_EQ(f.shapes[0].name, "CIRC");
  EXPECT_EQ(f.shapes[0].bytes, std::string("\x02\x08\xFF\x0A\x00", 5));
  EXPECT_EQ(f.shapes[1].number, 0xA1);
  EXPECT_EQ(f.shapes[1].bytes, std::string("\x14\x00", 2));
  EXPECT_EQ(f.shapes[2].name, "ok");
  EXPECT_EQ(FindShape(f, "circ"), &f.shapes[0]);
  EXPECT_EQ(FindShape(f, "CIR"), nullptr);
  EXPECT_FALSE(ParseShp("*UNIFONT,6,x\n1,2,3,4,5,0\n", &f));
  EXPECT_FALSE(ParseShp("no shapes\n", &f));
}

TEST(ShapeFiles, CompiledFormRoundTripsAndRefusesTruncatedOrOversizedCounts) {
  ShapeFile f;
  ASSERT_TRUE(ParseShp("*9,2,B\n1,0\n*3,3,A\n2,1,0\n", &f));
  std::string shx = WriteShx(f);
  EXPECT_EQ(shx, std::string("AutoCAD-86 shapes 1.0\r\n\x1A"
                             "\x03\x00\x09\x00\x02\x00"
                             "\x03\x00\x05\x00\x09\x00\x04\x00"
                             "A\x00\x02\x01\x00"
                             "B\x00\x01\x00",
                             24 + 6 + 8 + 5 + 4));
  ShapeFile back;
  ASSERT_TRUE(ReadShapeFile(shx, &back));
  ASSERT_EQ(back.shapes.size(), 2u);
  EXPECT_EQ(back.shapes[0].name, "A");
  EXPECT_EQ(back.shapes[1].bytes, std::string("\x01\x00", 2));
  for (size_t cut = 0; cut < shx.size(); ++cut) {
    EXPECT_FALSE(ParseShx(shx.substr(0, cut), &back)) << cut;
  }
  std::string huge = shx.substr(0, 28) + std::string("\xFF\xFF", 2);
  EXPECT_FALSE(ParseShx(huge, &back));
  EXPECT_FALSE(ParseShx("AutoCAD-86 unifont 1.0\r\n\x1A", &back));
}

}  // namespace
