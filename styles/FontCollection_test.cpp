#include "styles/FontCollection.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "kwhost/embedded.h"
#include "services/paths.h"
#include "styles/internal/StylesTestWorld.h"

namespace {

using Names = std::vector<std::wstring>;

// One "TextStyle" element: the thirteen values (overridable), `skip` left out.
std::string StyleXml(const std::string& attrs, std::map<std::string, std::string> values = {},
                     const std::string& skip = "") {
  const std::vector<std::pair<std::string, std::string>> defaults = {
      {"BigFontFileName", "gbcbig.shx"},
      {"FileName", "txt.shx"},
      {"TypeFace", ""},
      {"ObliquingAngle", "0.000000"},
      {"PriorSize", "2.500000"},
      {"TextSize", "0.000000"},
      {"XScale", "0.700000"},
      {"CharSet", "134"},
      {"FlagBit", "0"},
      {"IsBold", "0"},
      {"IsItalic", "0"},
      {"IsVerTical", "0"},
      {"PitchAndFamily", "49"}};
  std::string xml = "<TextStyle " + attrs + ">";
  for (const auto& [name, value] : defaults) {
    if (name == skip) continue;
    const std::string text = values.count(name) ? values[name] : value;
    xml += "<" + name + ">" + text + "</" + name + ">";
  }
  return xml + "</TextStyle>\n";
}

std::string StylesDoc(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<TextStyles>\n" + body + "</TextStyles>\n";
}

Names AllStyles() {
  Names names;
  CFontCollection::GetInstance()->GetAllTextStyle(names);
  return names;
}

class TextStyleFileLoad : public StylesWorld {};

TEST_F(TextStyleFileLoad, KeepsCompleteDefinitionsUnderUpperCaseNamesAndSkipsOneWithoutXScale) {
  WriteBytes(StylesFile(),
             StylesDoc(StyleXml("Name=\"Hz\" MapStyle=\"kws\" AutoRestore=\"1\"",
                                {{"TypeFace", "宋体"}, {"ObliquingAngle", "0.2618"}}) +
                       StyleXml("Name=\"NoScale\" AutoRestore=\"1\"", {}, "XScale") +
                       StyleXml("Name=\"fs\" AutoRestore=\"0\"", {{"IsBold", "1"}})));
  CFontCollection* fonts = CFontCollection::GetInstance();
  // "HZ" hashes to bucket 1, "FS" to bucket 13.
  EXPECT_EQ(AllStyles(), (Names{L"HZ", L"FS"}));
  FONTINFO info{};
  ASSERT_EQ(fonts->GetFontInfo(L"hz", info), 1);
  EXPECT_STREQ(info.szName, L"Hz");
  EXPECT_STREQ(info.szTypeFace, L"宋体");
  EXPECT_STREQ(info.szBigFontFileName, L"gbcbig.shx");
  EXPECT_DOUBLE_EQ(info.dObliquingAngle, 0.2618);
  EXPECT_DOUBLE_EQ(info.dXScale, 0.7);
  EXPECT_EQ(info.nCharSet, 134);
  EXPECT_EQ(info.nPitchAndFamily, 49);
  EXPECT_TRUE(fonts->IsAutoRestore(L"Hz"));
  EXPECT_FALSE(fonts->IsAutoRestore(L"FS"));
  EXPECT_EQ(fonts->GetFontInfo(L"NoScale", info), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(TextStyleFileLoad, RefusesAbsurdNumbersStyleByStyleWithOneClearLine) {
  WriteBytes(StylesFile(),
             StylesDoc(StyleXml("Name=\"Zero\"", {{"XScale", "0"}}) +
                       StyleXml("Name=\"Huge\"", {{"TextSize", "1e999"}}) +
                       StyleXml("Name=\"Wide\"", {{"CharSet", "2147483648"}}) +
                       StyleXml("Name=\"Bold\"", {{"IsBold", "2"}}) + StyleXml("Name=\"Good\"")));
  EXPECT_EQ(AllStyles(), (Names{L"GOOD"}));
  const std::wstring file = kw::WidePath(StylesFile());
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n文字样式文件 " + file + L" 中字型 Zero 的 XScale 值 \"0\" 无效, 已跳过该字型." +
                L"\n文字样式文件 " + file +
                L" 中字型 Huge 的 TextSize 值 \"1e999\" 无效, 已跳过该字型." + L"\n文字样式文件 " +
                file + L" 中字型 Wide 的 CharSet 值 \"2147483648\" 无效, 已跳过该字型." +
                L"\n文字样式文件 " + file + L" 中字型 Bold 的 IsBold 值 \"2\" 无效, 已跳过该字型.");
}

TEST_F(TextStyleFileLoad, StartsEmptyWhenTheFileIsMissingBrokenOrHasAnotherRoot) {
  EXPECT_EQ(AllStyles(), Names{});
  CFontCollection::Destroy();
  WriteBytes(StylesFile(), "<LineTypes>" + StyleXml("Name=\"A\"") + "</LineTypes>");
  EXPECT_EQ(AllStyles(), Names{});
  CFontCollection::Destroy();
  WriteBytes(StylesFile(), "<TextStyles>" + StyleXml("Name=\"A\""));
  EXPECT_EQ(AllStyles(), Names{});
  Names inFile;
  EXPECT_EQ(CFontCollection::GetFileTextStyles(kw::WidePath(StylesFile()).c_str(), inFile), -1);
}

TEST_F(TextStyleFileLoad, ReadsTheProjectsFileEvenWhenNoProjectIsSet) {
  EXPECT_EQ(CFontCollection::GetInstance()->GetFilePath(),
            kw::WidePath(dir_) + L"/Styles/TextStyles.xml");
  CFontCollection::Destroy();
  KWRDPub::SetCurPrjPath(L"");
  EXPECT_EQ(CFontCollection::GetInstance()->GetFilePath(), L"/Styles/TextStyles.xml");
  EXPECT_EQ(CFontCollection::GetDefaultFile(), L"/Styles/TextStyles.xml");
}

TEST_F(TextStyleFileLoad, CutsOverlongTextsToTheRecordSize) {
  const std::string longName(600, 'x');
  WriteBytes(StylesFile(), StylesDoc(StyleXml("Name=\"Long\"", {{"FileName", longName}})));
  FONTINFO info{};
  ASSERT_EQ(CFontCollection::GetInstance()->GetFontInfo(L"LONG", info), 1);
  EXPECT_EQ(std::wstring(info.szFileName), std::wstring(260, L'x'));
}

class TextStyleFileSave : public StylesWorld {};

TEST_F(TextStyleFileSave, WritesTheWholeSetInGb2312FromTheTemplate) {
  AddTextStyle(L"Hz", L"txt.shx", L"gbcbig.shx");
  AddTextStyle(L"Song", L"", L"", L"宋体");
  CFontCollection* fonts = CFontCollection::GetInstance();
  ASSERT_EQ(fonts->AppendFont(L"hz", false), 1);
  ASSERT_EQ(fonts->AppendFont(L"song", true), 1);
  // "HZ" hashes to bucket 1, "SONG" to bucket 6.
  auto element = [](const std::string& head, const std::string& texts, const std::string& numbers) {
    return "  <TextStyle " + head + ">\n" + texts +
           "    <ObliquingAngle>0.000000</ObliquingAngle>\n"
           "    <PriorSize>2.500000</PriorSize>\n"
           "    <TextSize>0.000000</TextSize>\n"
           "    <XScale>1.000000</XScale>\n" +
           numbers + "  </TextStyle>\n";
  };
  const std::string expected =
      "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<TextStyles>\n" +
      element("Name=\"Hz\" MapStyle=\"\" AutoRestore=\"1\"",
              "    <BigFontFileName>gbcbig.shx</BigFontFileName>\n"
              "    <FileName>txt.shx</FileName>\n"
              "    <TypeFace></TypeFace>\n",
              "    <CharSet>0</CharSet>\n    <FlagBit>0</FlagBit>\n    <IsBold>0</IsBold>\n"
              "    <IsItalic>0</IsItalic>\n    <IsVerTical>0</IsVerTical>\n"
              "    <PitchAndFamily>0</PitchAndFamily>\n") +
      element("Name=\"Song\" MapStyle=\"\" AutoRestore=\"1\"",
              "    <BigFontFileName></BigFontFileName>\n"
              "    <FileName></FileName>\n"
              "    <TypeFace>\xCB\xCE\xCC\xE5</TypeFace>\n",
              "    <CharSet>134</CharSet>\n    <FlagBit>0</FlagBit>\n    <IsBold>1</IsBold>\n"
              "    <IsItalic>0</IsItalic>\n    <IsVerTical>0</IsVerTical>\n"
              "    <PitchAndFamily>2</PitchAndFamily>\n") +
      "</TextStyles>\n";
  EXPECT_EQ(kw::ToGbk(L"宋体"), "\xCB\xCE\xCC\xE5");
  EXPECT_EQ(ReadBytes(StylesFile()), expected);
  CFontCollection::Destroy();
  EXPECT_EQ(AllStyles(), (Names{L"HZ", L"SONG"}));
  FONTINFO song{};
  ASSERT_EQ(CFontCollection::GetInstance()->GetFontInfo(L"Song", song), 1);
  EXPECT_STREQ(song.szTypeFace, L"宋体");
  EXPECT_EQ(song.bBold, 1);
}

TEST_F(TextStyleFileSave, AFailedWriteKeepsThePreviousFile) {
  WriteBytes(StylesFile(), StylesDoc(StyleXml("Name=\"Old\"")));
  AddTextStyle(L"New", L"txt.shx");
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  CFontCollection* fonts = CFontCollection::GetInstance();
  faulty.FailWrites();
  EXPECT_EQ(fonts->AppendFont(L"New", true), 0);
  EXPECT_EQ(ReadBytes(StylesFile()), StylesDoc(StyleXml("Name=\"Old\"")));
  EXPECT_EQ(AllStyles(), (Names{L"OLD", L"NEW"}));
}

TEST_F(TextStyleFileSave, AppendOfAStyleTheDrawingLacksFailsAndChangesNothing) {
  EXPECT_EQ(CFontCollection::GetInstance()->AppendFont(L"Nowhere", true), 0);
  EXPECT_FALSE(std::filesystem::exists(StylesFile()));
  EXPECT_EQ(AllStyles(), Names{});
}

TEST_F(TextStyleFileSave, RemoveOfAnUnknownNameSucceedsWithoutWriting) {
  WriteBytes(StylesFile(), StylesDoc(StyleXml("Name=\"A\" AutoRestore=\"1\"")));
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  CFontCollection* fonts = CFontCollection::GetInstance();
  EXPECT_EQ(fonts->RemoveFont(L"B", true), 1);
  EXPECT_EQ(faulty.writes(), 0);
  EXPECT_EQ(fonts->RemoveFont(L"a", true), 1);
  EXPECT_EQ(faulty.writes(), 1);
  EXPECT_FALSE(fonts->IsAutoRestore(L"A"));
  EXPECT_EQ(ReadBytes(StylesFile()),
            "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<TextStyles/>\n");
}

class TextStyleFileExchange : public StylesWorld {};

TEST_F(TextStyleFileExchange, ImportTakesEachNamedStyleOnceWithItsMarkAndSavesOnce) {
  const std::string other = dir_ + "/other.xml";
  WriteBytes(other, StylesDoc(StyleXml("Name=\"a\" AutoRestore=\"0\"") +
                              StyleXml("Name=\"B\" AutoRestore=\"1\"") + StyleXml("Name=\"C\"")));
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  CFontCollection* fonts = CFontCollection::GetInstance();
  EXPECT_EQ(fonts->ImportFont({L"a", L"A", L"b", L"missing"}, kw::WidePath(other).c_str()), 1);
  EXPECT_EQ(faulty.writes(), 1);
  EXPECT_EQ(AllStyles(), (Names{L"A", L"B"}));
  EXPECT_FALSE(fonts->IsAutoRestore(L"A"));
  EXPECT_TRUE(fonts->IsAutoRestore(L"B"));
  EXPECT_EQ(fonts->ImportFont({}, kw::WidePath(other).c_str()), 1);
  EXPECT_EQ(faulty.writes(), 1);
}

TEST_F(TextStyleFileExchange, ExportWritesOnlyTheNamedStylesTheSetHolds) {
  WriteBytes(StylesFile(), StylesDoc(StyleXml("Name=\"A\"") + StyleXml("Name=\"B\"")));
  const std::string out = dir_ + "/out/styles.xml";
  CFontCollection* fonts = CFontCollection::GetInstance();
  ASSERT_EQ(fonts->ExportFont({L"b", L"zz"}, kw::WidePath(out).c_str()), 1);
  Names inFile;
  EXPECT_EQ(CFontCollection::GetFileTextStyles(kw::WidePath(out).c_str(), inFile), 1);
  EXPECT_EQ(inFile, (Names{L"B"}));
  EXPECT_EQ(AllStyles(), (Names{L"A", L"B"}));
}

class TextStyleDefinitions : public StylesWorld {};

TEST_F(TextStyleDefinitions, TheDefaultStyleIsKaiTiWithItsOddPriorSize) {
  const FONTINFO f = CFontInfo::GetDefFont();
  EXPECT_STREQ(f.szName, L"KWStandard");
  EXPECT_STREQ(f.szFileName, L"SIMKAI.TTF");
  EXPECT_STREQ(f.szTypeFace, L"楷体_GB2312");
  EXPECT_STREQ(f.szBigFontFileName, L"");
  EXPECT_EQ(f.nCharSet, 134);
  EXPECT_EQ(f.nPitchAndFamily, 49);
  EXPECT_EQ(f.dPriorSize, 149.394309);
  EXPECT_EQ(f.dXScale, 1.0);
  EXPECT_EQ(f.bBold + f.bItalic + f.bVertical + f.nFlagBit, 0);
  EXPECT_EQ(f.dTextSize + f.dObliquingAngle, 0.0);
}

TEST_F(TextStyleDefinitions, ReadsTheDrawingsStyleCuttingTextsAt255) {
  const std::wstring longFile(300, L'f');
  AddTextStyle(L"Hz", longFile.c_str(), L"gbcbig.shx", L"宋体");
  FONTINFO f{};
  ASSERT_EQ(CFontInfo::GetTextStyleDef(L"HZ", f), 1);
  EXPECT_STREQ(f.szName, L"Hz");
  EXPECT_EQ(std::wstring(f.szFileName), std::wstring(255, L'f'));
  EXPECT_STREQ(f.szBigFontFileName, L"gbcbig.shx");
  EXPECT_STREQ(f.szTypeFace, L"宋体");
  EXPECT_EQ(f.bBold, 1);
  EXPECT_EQ(f.nCharSet, 134);
  EXPECT_EQ(f.nPitchAndFamily, 2);
  EXPECT_EQ(f.dXScale, 1.0);
  FONTINFO untouched = CFontInfo::GetDefFont();
  EXPECT_EQ(CFontInfo::GetTextStyleDef(L"nope", untouched), 0);
  EXPECT_STREQ(untouched.szName, L"KWStandard");
}

}  // namespace
