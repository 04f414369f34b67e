#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"
#include "styles/FontCollection.h"
#include "styles/internal/StylesTestWorld.h"

namespace {

// The drawing's text style `name`, read back as a definition.
FONTINFO InDrawing(const wchar_t* name) {
  FONTINFO f{};
  EXPECT_EQ(CFontInfo::GetTextStyleDef(name, f), 1) << name;
  return f;
}

FONTINFO Style(const wchar_t* name, const wchar_t* file, const wchar_t* bigFont,
               const wchar_t* typeface) {
  FONTINFO f = CFontInfo::GetDefFont();
  CFontInfo::SetText(f.szName, name);
  CFontInfo::SetText(f.szFileName, file);
  CFontInfo::SetText(f.szBigFontFileName, bigFont);
  CFontInfo::SetText(f.szTypeFace, typeface);
  return f;
}

bool DrawingHas(const wchar_t* name) {
  FONTINFO f{};
  return CFontInfo::GetTextStyleDef(name, f) == 1;
}

class TextStyleRestore : public StylesWorld {};

TEST_F(TextStyleRestore, CreatesANewStyleWithEveryValue) {
  FONTINFO f = Style(L"Hz", L"txt.shx", L"gbcbig.shx", L"宋体");
  f.bItalic = 1;
  f.bVertical = 1;
  f.dObliquingAngle = 0.25;
  f.dTextSize = 3.5;
  f.dXScale = 0.7;
  f.nFlagBit = 4;
  AcDbObjectId id;
  ASSERT_EQ(CFontCollection::RestoreFont(f, id), 1);
  EXPECT_FALSE(id.isNull());
  const FONTINFO back = InDrawing(L"Hz");
  EXPECT_STREQ(back.szFileName, L"txt.shx");
  EXPECT_STREQ(back.szBigFontFileName, L"gbcbig.shx");
  EXPECT_STREQ(back.szTypeFace, L"宋体");
  EXPECT_EQ(back.bItalic, 1);
  EXPECT_EQ(back.bVertical, 1);
  EXPECT_EQ(back.nCharSet, 134);
  EXPECT_EQ(back.nPitchAndFamily, 49);
  EXPECT_EQ(back.nFlagBit, 4);
  EXPECT_EQ(back.dObliquingAngle, 0.25);
  EXPECT_EQ(back.dTextSize, 3.5);
  EXPECT_EQ(back.dXScale, 0.7);
  EXPECT_EQ(back.dPriorSize, 149.394309);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(TextStyleRestore, UpdatesAnExistingStyleInPlaceKeepingItsTypefaceWhenNoneIsGiven) {
  const AcDbObjectId existing = AddTextStyle(L"Road", L"old.shx", L"", L"黑体");
  AcDbObjectId id;
  ASSERT_EQ(CFontCollection::RestoreFont(Style(L"ROAD", L"new.shx", L"", L""), id), 1);
  EXPECT_EQ(id, existing);
  const FONTINFO back = InDrawing(L"Road");
  EXPECT_STREQ(back.szName, L"Road");
  EXPECT_STREQ(back.szFileName, L"new.shx");
  EXPECT_STREQ(back.szTypeFace, L"黑体");
}

TEST_F(TextStyleRestore, ANameTheDrawingRefusesIsReportedAndLeavesNoRecord) {
  AcDbObjectId id = Db()->textStyleTableId();
  EXPECT_EQ(CFontCollection::RestoreFont(Style(L"A<B", L"txt.shx", L"", L""), id), 0);
  EXPECT_TRUE(id.isNull());
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n恢复字型 A<B 失败!原因:设置字体名时出现 eInvalidSymbolTableName 错误.");
  EXPECT_FALSE(DrawingHas(L"A<B"));
}

TEST_F(TextStyleRestore, WithoutAWritableDrawingItSaysTheTableDoesNotOpen) {
  kwhost::SetDocumentLocksFail(true);
  AcDbObjectId id;
  EXPECT_EQ(CFontCollection::RestoreFont(Style(L"Hz", L"txt.shx", L"", L""), id), 0);
  kwhost::SetDocumentLocksFail(false);
  kwhost::CloseAllDocuments();
  EXPECT_EQ(CFontCollection::RestoreFont(Style(L"Hz", L"txt.shx", L"", L""), id), 0);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n恢复字型时打不开图形TextStyle表!\n恢复字型时打不开图形TextStyle表!");
}

TEST_F(TextStyleRestore, RestoresByNameOnlyWhatTheSetHolds) {
  AddTextStyle(L"Hz", L"txt.shx", L"gbcbig.shx");
  CFontCollection* fonts = CFontCollection::GetInstance();
  ASSERT_EQ(fonts->AppendFont(L"Hz", false), 1);
  kwhost::NewDrawing();
  AcDbObjectId id;
  EXPECT_EQ(fonts->RestoreFont(L"nothing", id), 0);
  ASSERT_EQ(fonts->RestoreFont(L"hz", id), 1);
  EXPECT_STREQ(InDrawing(L"HZ").szBigFontFileName, L"gbcbig.shx");
}

TEST_F(TextStyleRestore, TheAutomaticRestoreTouchesOnlyMarkedStyles) {
  WriteBytes(StylesFile(),
             "<TextStyles><TextStyle Name=\"Kept\" AutoRestore=\"0\"><BigFontFileName/>"
             "<FileName>a.shx</FileName><TypeFace/><ObliquingAngle>0</ObliquingAngle>"
             "<PriorSize>1</PriorSize><TextSize>0</TextSize><XScale>1</XScale><CharSet>0"
             "</CharSet><FlagBit>0</FlagBit><IsBold>0</IsBold><IsItalic>0</IsItalic><IsVerTical>"
             "0</IsVerTical><PitchAndFamily>0</PitchAndFamily></TextStyle></TextStyles>");
  CFontCollection* fonts = CFontCollection::GetInstance();
  EXPECT_EQ(fonts->RestoreFont(), 0);
  EXPECT_FALSE(DrawingHas(L"Kept"));
  AddTextStyle(L"Auto", L"b.shx");
  ASSERT_EQ(fonts->AppendFont(L"Auto", false), 1);
  kwhost::NewDrawing();
  EXPECT_EQ(fonts->RestoreFont(), 1);
  EXPECT_TRUE(DrawingHas(L"Auto"));
  EXPECT_FALSE(DrawingHas(L"Kept"));
}

}  // namespace
