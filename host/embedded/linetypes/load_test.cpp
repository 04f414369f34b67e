// Loading linetypes into drawings: the shipped files, elements, statuses and the LINETYPE
// command.
#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "host/api/aced.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

struct Element {
  std::wstring style;  // text style name, or shape file name for shapes
  int shape = 0;
  std::wstring text;
  double scale = 0, rotation = 0, x = 0, y = 0;
  bool absolute = false;
};

// A fresh session and a folder with test ".lin" and shape files for each test.
class LoadLinetypes : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    db_ = acdbHostApplicationServices()->workingDatabase();
  }
  std::wstring Write(const wchar_t* name, const std::string& bytes) {
    std::wstring path = dir_ + L"/" + name;
    EXPECT_TRUE(kw::Fs().WriteFileAtomic(path, bytes));
    return path;
  }
  std::vector<std::wstring> Names() {
    std::vector<std::wstring> names;
    AcDbLinetypeTable* table = nullptr;
    EXPECT_EQ(db_->getLinetypeTable(table), Acad::eOk);
    AcDbLinetypeTableIterator* it = nullptr;
    table->newIterator(it);
    for (; !it->done(); it->step()) {
      AcDbLinetypeTableRecord* r = nullptr;
      it->getRecord(r);
      names.push_back(r->name());
      r->close();
    }
    delete it;
    table->close();
    return names;
  }
  // The dash lengths of a linetype, "" when it is not loaded.
  std::wstring Pattern(const wchar_t* name, double* length = nullptr) {
    AcDbLinetypeTable* table = nullptr;
    db_->getLinetypeTable(table);
    AcDbLinetypeTableRecord* r = nullptr;
    table->getAt(name, r, AcDb::kForRead);
    table->close();
    if (!r) return L"";
    std::wstring text;
    for (int i = 0; i < r->numDashes(); ++i) {
      text += (i ? L"," : L"") + kw::FromUtf8(std::to_string(r->dashLengthAt(i)));
    }
    if (length) *length = r->patternLength();
    r->close();
    return text;
  }
  Element ElementAt(const wchar_t* name, int dash) {
    Element e;
    AcDbObjectPointer<AcDbLinetypeTableRecord> r;
    AcDbLinetypeTable* table = nullptr;
    db_->getLinetypeTable(table);
    AcDbObjectId id;
    table->getAt(name, id);
    table->close();
    if (r.open(id, AcDb::kForRead) != Acad::eOk) return e;
    AcDbObjectPointer<AcDbTextStyleTableRecord> style(r->shapeStyleAt(dash), AcDb::kForRead);
    if (style.object()) {
      const wchar_t* file = nullptr;
      style->fileName(file);
      e.style = style->isShapeFile() ? std::wstring(file) : style->name();
    }
    e.shape = r->shapeNumberAt(dash);
    const wchar_t* text = nullptr;
    r->textAt(dash, text);
    e.text = text ? text : L"";
    e.scale = r->shapeScaleAt(dash);
    e.rotation = r->shapeRotationAt(dash);
    e.x = r->shapeOffsetAt(dash).x;
    e.y = r->shapeOffsetAt(dash).y;
    e.absolute = r->shapeIsUcsOrientedAt(dash);
    return e;
  }
  kwtest::TempDir temp_{"kw_lin"};
  std::wstring dir_ = temp_.wpath();
  AcDbDatabase* db_ = nullptr;
};

TEST_F(LoadLinetypes, ShippedFilesLoadEveryLinetypeTheyDefine) {
  ASSERT_EQ(acdbLoadLineTypeFile(L"*", L"acadiso.lin", db_), Acad::eOk);
  std::vector<std::wstring> names = Names();
  ASSERT_EQ(names.size(), 3u + 45u);  // ByBlock, ByLayer, Continuous and the file's
  EXPECT_EQ(names[3], L"BORDER");
  EXPECT_EQ(names.back(), L"ARROW_LINE");
  double length = 0;
  EXPECT_EQ(Pattern(L"DASHED", &length), L"12.700000,-6.350000");
  EXPECT_DOUBLE_EQ(length, 19.05);
  EXPECT_EQ(Pattern(L"dot2"), L"0.000000,-3.175000");
  EXPECT_EQ(Pattern(L"ACAD_ISO04W100"), L"24.000000,-3.000000,0.500000,-3.000000");
  EXPECT_EQ(Pattern(L"ACAD_ISO15W100"),
            L"12.000000,-3.000000,12.000000,-3.000000,0.500000,-3.000000,0.500000,-3.000000,"
            L"0.500000,-3.000000");
  for (const wchar_t* family :
       {L"BORDER", L"CENTER", L"DASHDOT", L"DASHED", L"DIVIDE", L"DOT", L"HIDDEN", L"PHANTOM"}) {
    for (const wchar_t* suffix : {L"", L"2", L"X2"}) {
      EXPECT_NE(Pattern((std::wstring(family) + suffix).c_str()), L"") << family << suffix;
    }
  }
  kwhost::ResetSession();
  db_ = acdbHostApplicationServices()->workingDatabase();
  ASSERT_EQ(acdbLoadLineTypeFile(L"*", L"acad.lin", nullptr), Acad::eOk);
  EXPECT_EQ(Names().size(), 48u);
  EXPECT_EQ(Pattern(L"DASHED"), L"0.500000,-0.250000");
  EXPECT_EQ(Pattern(L"ACAD_ISO02W100"), L"0.472400,-0.118100");
}

TEST_F(LoadLinetypes, TextAndShapeElementsAreResolvedWithTheirFields) {
  ASSERT_EQ(acdbLoadLineTypeFile(L"GAS_LINE,FENCELINE?,ARROW_LINE", L"acadiso.lin", db_),
            Acad::eOk);
  Element gas = ElementAt(L"GAS_LINE", 1);
  EXPECT_EQ(gas.style, L"Standard");
  EXPECT_EQ(gas.shape, 0);
  EXPECT_EQ(gas.text, L"GAS");
  EXPECT_DOUBLE_EQ(gas.scale, 2.54);
  EXPECT_DOUBLE_EQ(gas.x, -2.54);
  EXPECT_DOUBLE_EQ(gas.y, -1.27);
  Element circle = ElementAt(L"FENCELINE1", 1);
  EXPECT_EQ(circle.style, L"ltypeshp.shx");
  EXPECT_EQ(circle.shape, 130);
  EXPECT_EQ(circle.text, L"");
  EXPECT_EQ(ElementAt(L"FENCELINE2", 1).shape, 131);
  EXPECT_EQ(ElementAt(L"FENCELINE2", 1).style, L"ltypeshp.shx");  // one style for the file
  Element arrow = ElementAt(L"ARROW_LINE", 0);
  EXPECT_EQ(arrow.shape, 134);
  EXPECT_TRUE(arrow.absolute);
  EXPECT_DOUBLE_EQ(arrow.x, 1.27);
  AcDbTextStyleTable* styles = nullptr;
  db_->getTextStyleTable(styles);
  AcDbTextStyleTableIterator* it = nullptr;
  styles->newIterator(it);
  int count = 0;
  for (; !it->done(); it->step()) ++count;
  delete it;
  styles->close();
  EXPECT_EQ(count, 2);  // Standard and the shape file's nameless style
}

TEST_F(LoadLinetypes, ShapeFilesAreFoundBesideTheLinFileInEitherForm) {
  Write(L"own.shp", "*7,2,DOT\n1,0\n*8,2,TICK\n2,0\n");
  Write(L"t.lin",
        "*OWN\nA,1,[TICK,own.shx,S=2,R=90],-1\n*MISSINGFILE\nA,1,[TICK,none.shx],-1\n"
        "*MISSINGSHAPE\nA,1,[NOPE,own.shp],-1,2\n*NEWSTYLE\nA,1,[\"K\",ROMANS,S=3],-1\n");
  ASSERT_EQ(acdbLoadLineTypeFile(L"*", (dir_ + L"/t.lin").c_str(), db_), Acad::eOk);
  Element tick = ElementAt(L"OWN", 0);
  EXPECT_EQ(tick.shape, 8);
  EXPECT_EQ(tick.style, L"own.shx");
  EXPECT_DOUBLE_EQ(tick.rotation, std::numbers::pi / 2);
  EXPECT_EQ(Pattern(L"MISSINGFILE"), L"1.000000,-1.000000");
  EXPECT_EQ(ElementAt(L"MISSINGFILE", 0).shape, 0);
  EXPECT_EQ(ElementAt(L"MISSINGFILE", 0).style, L"");
  EXPECT_EQ(Pattern(L"MISSINGSHAPE"), L"1.000000,-1.000000,2.000000");
  EXPECT_EQ(ElementAt(L"MISSINGSHAPE", 0).style, L"");
  Element k = ElementAt(L"NEWSTYLE", 0);
  EXPECT_EQ(k.style, L"ROMANS");
  EXPECT_EQ(k.text, L"K");
  AcDbTextStyleTable* styles = nullptr;
  db_->getTextStyleTable(styles);
  AcDbTextStyleTableRecord* romans = nullptr;
  ASSERT_EQ(styles->getAt(L"ROMANS", romans, AcDb::kForRead), Acad::eOk);
  styles->close();
  const wchar_t* font = nullptr;
  romans->fileName(font);
  EXPECT_STREQ(font, L"txt");  // made like Standard
  romans->close();
}

TEST_F(LoadLinetypes, StatusesForBadArgumentsFilesNamesAndDuplicates) {
  std::wstring lin = Write(L"s.lin", "*ONE\nA,1,-1\n*TWO\nA,2,-2\n");
  EXPECT_EQ(acdbLoadLineTypeFile(nullptr, lin.c_str(), db_), Acad::eInvalidInput);
  EXPECT_EQ(acdbLoadLineTypeFile(L"ONE", L"", db_), Acad::eInvalidInput);
  EXPECT_EQ(acdbLoadLineTypeFile(L"ONE", L"nowhere.lin", db_), Acad::eFilerError);
  EXPECT_EQ(acdbLoadLineTypeFile(L"THREE", lin.c_str(), db_), Acad::eUndefinedLineType);
  EXPECT_EQ(acdbLoadLineTypeFile(L"X*", lin.c_str(), db_), Acad::eUndefinedLineType);
  EXPECT_EQ(acdbLoadLineTypeFile(L"one", lin.c_str(), db_), Acad::eOk);
  EXPECT_EQ(Pattern(L"ONE"), L"1.000000,-1.000000");
  EXPECT_EQ(acdbLoadLineTypeFile(L"ONE", lin.c_str(), db_), Acad::eDuplicateRecordName);
  EXPECT_EQ(acdbLoadLineTypeFile(L"*", lin.c_str(), db_), Acad::eOk);  // skips ONE
  EXPECT_EQ(Names().size(), 5u);
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailReads();
  EXPECT_EQ(acdbLoadLineTypeFile(L"*", lin.c_str(), db_), Acad::eFilerError);
  kwhost::CloseAllDocuments();
  EXPECT_EQ(acdbLoadLineTypeFile(L"ONE", lin.c_str(), nullptr), Acad::eNoDatabase);
}

TEST_F(LoadLinetypes, LinetypeCommandLoadsThroughAcedCommand) {
  EXPECT_EQ(
      acedCommandS(RTSTR, L"_.LINETYPE", RTSTR, L"L", RTSTR, L"HIDDEN", RTSTR, L"", RTSTR, L"", 0),
      RTNORM);
  EXPECT_EQ(Pattern(L"HIDDEN"), L"6.350000,-3.175000");
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入选项 [加载(L)/设置(S)]: \n输入要加载的线型: \n输入线型文件名 <acadiso.lin>: "
            L"\n已加载线型 \"HIDDEN\"。\n输入选项 [加载(L)/设置(S)]: ");
  std::wstring lin = Write(L"c.lin", "*MINE,my own\nA,3,-1\n");
  EXPECT_EQ(acedCommand(RTSTR, L"-linetype", RTSTR, L"L", RTSTR, L"MINE", RTSTR, lin.c_str(), RTSTR,
                        L"", RTSTR, L"", RTNONE),
            RTNORM);
  EXPECT_EQ(Pattern(L"MINE"), L"3.000000,-1.000000");
  EXPECT_EQ(acedCommandS(RTSTR, L"LINETYPE", RTSTR, L"S", RTSTR, L"MINE", RTSTR, L"", 0), RTNORM);
  AcDbObjectPointer<AcDbLinetypeTableRecord> current(db_->celtype(), AcDb::kForRead);
  EXPECT_EQ(current->name(), L"MINE");
  kwhost::TakeOutput();
  EXPECT_EQ(acedCommandS(RTSTR, L"LINETYPE", RTSTR, L"L", RTSTR, L"NOSUCH", RTSTR, L"", 0),
            RTCAN);  // the options prompt asked for one more answer
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入选项 [加载(L)/设置(S)]: \n输入要加载的线型: \n输入线型文件名 <acadiso.lin>: "
            L"\n文件 acadiso.lin 中没有线型 \"NOSUCH\"。\n输入选项 [加载(L)/设置(S)]: ");
  EXPECT_EQ(acedCommandS(RTSTR, L"NOSUCHCOMMAND", 0), RTERROR);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n未知命令\"NOSUCHCOMMAND\"。");
  EXPECT_EQ(acedCommandS(RTSTR, L"LINETYPE", 12345, L"x", 0), RTERROR);
  EXPECT_EQ(kwhost::TakeOutput(), L"");  // nothing ran
}

TEST_F(LoadLinetypes, LinetypeCommandAsksBeforeReloadingAndTypedAnswersWork) {
  std::wstring lin = Write(L"r.lin", "*R\nA,5,-5\n");
  ASSERT_EQ(acdbLoadLineTypeFile(L"R", lin.c_str(), db_), Acad::eOk);
  Write(L"r.lin", "*R\nA,7,-7\n");
  kwhost::QueueInput(L"L R " + lin + L"\nN\nL R " + lin + L"\n\n");
  ASSERT_TRUE(kwhost::RunCommand(L"linetype"));
  EXPECT_EQ(Pattern(L"R"), L"7.000000,-7.000000");
  EXPECT_EQ(kwhost::PendingInput(), 0u);
}

}  // namespace
