// Loading linetypes from definition files: simple, text and shape elements, continuation
// lines, and the reasons a load fails.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <string>

#include "common/fileio.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"

namespace {

const char kLin[] =
    ";; linetypes for the tests\n"
    "*DASHDOT,Dash dot __ . __\n"
    "A,.5,-.25,0,-.25\n"
    "*GAS_LINE,Gas line ----GAS----\r\n"
    "A,.5,-.2,[\"GAS\",STANDARD,S=.1,R=0.0,X=-0.1,Y=-.05],-.25\r\n"
    "*TRACK,Track -|-|-\n"
    "A,.25,-.1,[TRACK1,kwshapes.shx,S=.25,A=1.5r,X=0.5,Y=0],-.1,\n"
    "1\n"
    "*NOSTYLE,x\n"
    "A,.5,-.2,[\"X\",NOPE],-.2\n"
    "*NOSHAPE,x\n"
    "A,.5,-.2,[MISSING,kwshapes.shx],-.2\n"
    "*BROKEN,x\n"
    "B,.5\n";

std::string ShapeFile() {
  std::string b = "AutoCAD-86 shapes 1.0\r\n\x1A";
  auto u16 = [&b](int v) {
    b += static_cast<char>(v & 0xFF);
    b += static_cast<char>(v >> 8);
  };
  u16(1);
  u16(2);
  u16(2);
  u16(1);
  u16(9);  // "TRACK0\0" + 2 bytes
  u16(2);
  u16(8);  // "TRACK1\0" + 1 byte
  b += std::string("TRACK0\0\x01\x00", 9);
  b += std::string("TRACK1\0\x00", 8);
  return b;
}

class LinetypeFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/kwlinXXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir = templ;
    std::ofstream(dir + "/kw.lin", std::ios::binary) << kLin;
    std::ofstream(dir + "/kwshapes.shx", std::ios::binary) << ShapeFile();
    kwhost::db::SetSupportFolders({kw::WidePath(dir)});
    db = std::make_unique<AcDbDatabase>();
  }
  void TearDown() override {
    kwhost::db::SetSupportFolders({});
    std::filesystem::remove_all(dir);
  }

  AcDbObjectPointer<AcDbLinetypeTableRecord>* Open(const wchar_t* name) {
    AcDbLinetypeTable* table = nullptr;
    db->getLinetypeTable(table);
    AcDbObjectId id;
    table->getAt(name, id);
    table->close();
    pointer = std::make_unique<AcDbObjectPointer<AcDbLinetypeTableRecord>>(id, AcDb::kForRead);
    return pointer.get();
  }

  std::string dir;
  std::unique_ptr<AcDbDatabase> db;
  std::unique_ptr<AcDbObjectPointer<AcDbLinetypeTableRecord>> pointer;
};

TEST_F(LinetypeFiles, SimpleLinetypeGetsItsDashesAndLength) {
  ASSERT_EQ(db->loadLineTypeFile(L"dashdot", L"kw.lin"), Acad::eOk);
  auto& lt = *Open(L"DASHDOT");
  ASSERT_EQ(lt.openStatus(), Acad::eOk);
  EXPECT_EQ(lt->name(), L"DASHDOT");
  const wchar_t* comments = nullptr;
  lt->comments(comments);
  EXPECT_STREQ(comments, L"Dash dot __ . __");
  EXPECT_EQ(lt->numDashes(), 4);
  EXPECT_DOUBLE_EQ(lt->patternLength(), 1.0);
  EXPECT_DOUBLE_EQ(lt->dashLengthAt(1), -0.25);
  EXPECT_EQ(db->loadLineTypeFile(L"DASHDOT", L"kw.lin"), Acad::eDuplicateRecordName);
}

TEST_F(LinetypeFiles, TextElementBelongsToThePrecedingDash) {
  ASSERT_EQ(acdbLoadLineTypeFile(L"GAS_LINE", (kw::WidePath(dir) + L"/kw.lin").c_str(), db.get()),
            Acad::eOk);
  auto& lt = *Open(L"gas_line");
  ASSERT_EQ(lt.openStatus(), Acad::eOk);
  const wchar_t* text = nullptr;
  ASSERT_EQ(lt->textAt(1, text), Acad::eOk);
  EXPECT_STREQ(text, L"GAS");
  EXPECT_EQ(lt->shapeStyleAt(1), db->textstyle());
  EXPECT_DOUBLE_EQ(lt->shapeScaleAt(1), 0.1);
  EXPECT_EQ(lt->shapeOffsetAt(1), AcGeVector2d(-0.1, -0.05));
  EXPECT_FALSE(lt->shapeIsUcsOrientedAt(1));
  EXPECT_EQ(lt->shapeNumberAt(1), 0);
  EXPECT_DOUBLE_EQ(lt->patternLength(), 0.95);
}

TEST_F(LinetypeFiles, ShapeElementFindsItsNumberAndStyle) {
  ASSERT_EQ(db->loadLineTypeFile(L"TRACK", L"kw.lin"), Acad::eOk);
  auto& lt = *Open(L"TRACK");
  ASSERT_EQ(lt.openStatus(), Acad::eOk);
  EXPECT_EQ(lt->numDashes(), 4);  // the continuation line adds the last dash
  EXPECT_EQ(lt->shapeNumberAt(1), 2);
  EXPECT_TRUE(lt->shapeIsUcsOrientedAt(1));
  EXPECT_DOUBLE_EQ(lt->shapeRotationAt(1), 1.5);
  AcDbTextStyleTableRecord* style = nullptr;
  ASSERT_EQ(acdbOpenObject(style, lt->shapeStyleAt(1), AcDb::kForRead), Acad::eOk);
  EXPECT_TRUE(style->isShapeFile());
  const wchar_t* file = nullptr;
  style->fileName(file);
  EXPECT_STREQ(file, L"kwshapes.shx");
  style->close();
}

TEST_F(LinetypeFiles, FailuresNameTheirReason) {
  EXPECT_EQ(db->loadLineTypeFile(L"NONE", L"kw.lin"), Acad::eKeyNotFound);
  EXPECT_EQ(db->loadLineTypeFile(L"NOSTYLE", L"kw.lin"), Acad::eKeyNotFound);
  EXPECT_EQ(db->loadLineTypeFile(L"NOSHAPE", L"kw.lin"), Acad::eKeyNotFound);
  EXPECT_EQ(db->loadLineTypeFile(L"BROKEN", L"kw.lin"), Acad::eKeyNotFound);
  EXPECT_EQ(db->loadLineTypeFile(L"DASHDOT", L"missing.lin"), Acad::eFileNotFound);
  EXPECT_EQ(db->loadLineTypeFile(nullptr, L"kw.lin"), Acad::eInvalidInput);
  AcDbLinetypeTable* table = nullptr;
  db->getLinetypeTable(table);
  EXPECT_FALSE(table->has(L"NOSHAPE"));
  table->close();
  wchar_t small[4];
  EXPECT_EQ(acdbHostApplicationServices()->findFile(small, 4, L"kw.lin"), Acad::eInvalidInput);
}

}  // namespace
