// The styles module loaded into the embedded host, its commands driven as a user types them.
#include <gtest/gtest.h>

#include <string>

#include "common/fileio.h"
#include "host/api/accmd.h"
#include "kwhost/embedded.h"
#include "services/paths.h"
#include "styles/FontCollection.h"
#include "styles/internal/StylesTestWorld.h"

namespace {

class StylesModule : public StylesWorld {
 protected:
  void SetUp() override {
    StylesWorld::SetUp();
    ASSERT_TRUE(kwhost::LoadModule(kw::WidePath(KW_STYLES_MODULE)));
    kwhost::TakeOutput();
  }
  // Runs a command with its answers (one per line); what it printed.
  static std::wstring Run(const wchar_t* command, const std::wstring& answers = L"") {
    kwhost::QueueInput(answers);
    EXPECT_TRUE(kwhost::RunCommand(command)) << command;
    kwhost::ClearInput();
    return kwhost::TakeOutput();
  }
  std::wstring Project() const { return kw::WidePath(dir_); }
};

TEST_F(StylesModule, RegistersItsCommandsInItsOwnGroupAndRemovesThemAtUnload) {
  const std::vector<std::wstring> mine = {L"KWPROJECT", L"LAYERLIST", L"LAYERSET",
                                          L"TSADD",     L"TSEXPORT",  L"TSIMPORT",
                                          L"TSLIST",    L"TSREMOVE",  L"TSRESTORE"};
  for (const std::wstring& name : mine) {
    const AcEdCommand* command = acedRegCmds()->lookupGlobalCmd(name.c_str());
    ASSERT_NE(command, nullptr) << name;
    EXPECT_STREQ(command->groupName(), L"KWSTYLES");
  }
  kwhost::ResetSession();
  for (const std::wstring& name : mine) {
    EXPECT_EQ(acedRegCmds()->lookupGlobalCmd(name.c_str()), nullptr) << name;
  }
}

TEST_F(StylesModule, CarriesTextStylesOfOneDrawingIntoAnother) {
  AddTextStyle(L"Hz", L"txt.shx", L"gbcbig.shx");
  AddTextStyle(L"Road Names", L"", L"", L"黑体");
  const std::wstring file = Project() + L"/Styles/TextStyles.xml";
  EXPECT_EQ(Run(L"TSADD", L"hz, Nowhere ,road names"),
            L"\n要加入样式库的文字样式 (*: 图形中全部): \n图形中没有文字样式 Nowhere.\n已加入 2 "
            L"个文字样式.\n已保存文字样式库 " +
                file + L".");
  EXPECT_EQ(
      Run(L"TSLIST"),
      L"\n文字样式库 " + file +
          L": 2 个文字样式"
          L"\nHz  字体文件:txt.shx  大字体:gbcbig.shx  字体:  宽度因子:1  倾斜角:0  (自动恢复)"
          L"\nRoad Names  字体文件:  大字体:  字体:黑体  宽度因子:1  倾斜角:0  (自动恢复)");
  kwhost::NewDrawing();
  EXPECT_EQ(Run(L"TSRESTORE", L"\n"),
            L"\n要恢复的文字样式 (*: 全部) <自动恢复的>: \n已恢复 2 个文字样式.");
  FONTINFO f{};
  EXPECT_EQ(CFontInfo::GetTextStyleDef(L"road names", f), 1);
  EXPECT_STREQ(f.szTypeFace, L"黑体");
  EXPECT_EQ(Run(L"TSRESTORE", L"nope"),
            L"\n要恢复的文字样式 (*: 全部) <自动恢复的>: \n样式库中没有文字样式 nope.\n已恢复 0 "
            L"个文字样式.");
}

TEST_F(StylesModule, ExportsImportsAndRemovesThroughFiles) {
  AddTextStyle(L"A", L"a.shx");
  AddTextStyle(L"B", L"b.shx");
  Run(L"TSADD", L"*");
  const std::wstring out = Project() + L"/out/AB.xml";
  EXPECT_EQ(Run(L"TSEXPORT", L"a,b\n" + out),
            L"\n要导出的文字样式 (*: 全部): \n导出到文件: \n已导出文字样式到 " + out + L".");
  EXPECT_EQ(Run(L"TSREMOVE", L"A,B,STANDARD"),
            L"\n要从样式库删除的文字样式: \n已删除 3 个文字样式.\n已保存文字样式库 " + Project() +
                L"/Styles/TextStyles.xml.");
  Run(L"TSIMPORT", out + L"\n*");
  std::vector<std::wstring> names;
  CFontCollection::GetInstance()->GetAllTextStyle(names);
  EXPECT_EQ(names, (std::vector<std::wstring>{L"A", L"B"}));
  EXPECT_EQ(Run(L"TSIMPORT", Project() + L"/none.xml"),
            L"\n要导入的文字样式文件: \n无法读取文字样式文件 " + Project() + L"/none.xml.");
}

TEST_F(StylesModule, ProjectFolderChangesReloadTheLibrary) {
  AddTextStyle(L"A", L"a.shx");
  Run(L"TSADD", L"A");
  const std::wstring other = Project() + L"/other";
  EXPECT_EQ(Run(L"KWPROJECT", other + L"/"),
            L"\n项目文件夹 <" + Project() + L">: \n项目文件夹: " + other);
  EXPECT_EQ(KWRDPub::GetCurPrjPath(), other);
  EXPECT_EQ(Run(L"TSLIST"), L"\n文字样式库 " + other + L"/Styles/TextStyles.xml: 0 个文字样式");
  EXPECT_EQ(Run(L"KWPROJECT", L"\n"), L"\n项目文件夹 <" + other + L">: \n项目文件夹: " + other);
  // A project set by anyone else is followed too.
  KWRDPub::SetCurPrjPath(Project().c_str());
  EXPECT_EQ(Run(L"TSLIST"),
            L"\n文字样式库 " + Project() +
                L"/Styles/TextStyles.xml: 1 个文字样式"
                L"\nA  字体文件:a.shx  大字体:  字体:  宽度因子:1  倾斜角:0  (自动恢复)");
}

TEST_F(StylesModule, SetsLayersFromTypedDescriptors) {
  EXPECT_EQ(Run(L"LAYERSET",
                L"Road|Continuous|红色|0.35|L\nHidden||12,34,56|ByLayer|fo\nRoad|||-|-\nRoad||||-\n"
                L"Bad|x|1|0.33\nOdd||||Q\nA<b\n\n"),
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: "
            L"\n图层 Road  颜色:红色  线型:Continuous  线宽:0.35毫米 锁定"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: "
            L"\n图层 Hidden  颜色:12,34,56  线型:Continuous  线宽:ByLayer 冻结 关闭"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: \n无效线宽: -"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: "
            L"\n图层 Road  颜色:红色  线型:Continuous  线宽:0.35毫米"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: \n无效线宽: 0.33"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: "
            L"\n无效状态: Q (可用 F 冻结, L 锁定, O 关闭, - 无)"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: "
            L"\n[凯维提示] 图层名称中:A<b, 包含无效字符, 例如: <>/\\\":;?*|,=`, \n请检查图层名!"
            L"\n图层 (名称|线型|颜色|线宽|状态) <结束>: ");
  EXPECT_EQ(Run(L"LAYERLIST"),
            L"\n共 3 个图层\n0  颜色:白色  线型:Continuous  线宽:默认"
            L"\nRoad  颜色:红色  线型:Continuous  线宽:0.35毫米"
            L"\nHidden  颜色:12,34,56  线型:Continuous  线宽:ByLayer 冻结 关闭");
}

}  // namespace
