// Blocks: KWInsert (names from paths, definitions made once, every result code),
// KWRDPub::InsertBlockRecord (file titles, other databases, every message) and CloneBlock.
#include <gtest/gtest.h>
#include <kwhost/embedded.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "editor/EntityCreation.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/api/docman.h"

namespace {

// Writes a drawing whose model space holds a line and a circle on layer "Pipes".
void WriteDrawing(const std::wstring& path) {
  AcDbDatabase db(true, true);
  AcDbLayerTable* layers = nullptr;
  ASSERT_EQ(db.getLayerTable(layers, AcDb::kForWrite), Acad::eOk);
  auto* pipes = new AcDbLayerTableRecord();
  pipes->setName(L"Pipes");
  ASSERT_EQ(layers->add(pipes), Acad::eOk);
  pipes->close();
  layers->close();
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(db.getBlockTable(table), Acad::eOk);
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(table->getAt(L"*Model_Space", model, AcDb::kForWrite), Acad::eOk);
  table->close();
  auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(2, 0, 0));
  auto* circle = new AcDbCircle(AcGePoint3d(1, 1, 0), AcGeVector3d::kZAxis, 0.5);
  line->setLayer(L"Pipes");
  for (AcDbEntity* e : {static_cast<AcDbEntity*>(line), static_cast<AcDbEntity*>(circle)}) {
    e->setDatabaseDefaults(&db);
    ASSERT_EQ(model->appendAcDbEntity(e), Acad::eOk);
    e->close();
  }
  model->close();
  ASSERT_EQ(db.dxfOut(path.c_str()), Acad::eOk);
}

// Entities of block `name` in `db` (null: the current drawing) as "TYPE colour" words; "<none>"
// when the drawing has no such block.
std::wstring BlockContents(const wchar_t* name, AcDbDatabase* db = nullptr) {
  if (!db) db = kwhost::CurrentDatabase();
  AcDbBlockTable* table = nullptr;
  EXPECT_EQ(db->getBlockTable(table), Acad::eOk);
  AcDbBlockTableRecord* block = nullptr;
  Acad::ErrorStatus es = table->getAt(name, block, AcDb::kForRead);
  table->close();
  if (es != Acad::eOk) return L"<none>";
  AcDbBlockTableRecordIterator* it = nullptr;
  block->newIterator(it);
  std::wstring text;
  for (; !it->done(); it->step()) {
    AcDbEntity* e = nullptr;
    it->getEntity(e);
    text += std::wstring(text.empty() ? L"" : L" ") + e->isA()->name() + L":" +
            std::to_wstring(e->colorIndex());
    e->close();
  }
  delete it;
  block->close();
  return text;
}

int BlockCount() {
  AcDbBlockTable* table = nullptr;
  EXPECT_EQ(kwhost::CurrentDatabase()->getBlockTable(table), Acad::eOk);
  AcDbBlockTableIterator* it = nullptr;
  table->newIterator(it);
  int count = 0;
  for (; !it->done(); it->step()) ++count;
  delete it;
  table->close();
  return count;
}

class BlocksTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp_ = new kwtest::TempDir("kwblocktest");
    root_ = temp_->wpath();
    kwhost::ResetSession();
    WriteDrawing(root_ + L"/well.dxf");
    WriteDrawing(root_ + L"/pump.v2.dxf");
    WriteDrawing(root_ + L"/plain");
    ASSERT_TRUE(kw::Fs().WriteFileAtomic(root_ + L"/broken.dxf", "0\nSECTION\n2\nNONSENSE\n"));
  }
  static void TearDownTestSuite() { delete temp_; }
  void SetUp() override {
    kwhost::ResetSession();
    kwhost::TakeOutput();
  }
  static std::wstring Path(const wchar_t* name) { return root_ + L"/" + name; }
  static kwtest::TempDir* temp_;
  static std::wstring root_;
};
kwtest::TempDir* BlocksTest::temp_ = nullptr;
std::wstring BlocksTest::root_;

// ---------------------------------------------------------------- KWInsert

TEST_F(BlocksTest, InsertDefinesTheBlockOnceAndReferencesIt) {
  ads_name first = {0, 0}, second = {0, 0};
  ASSERT_EQ(KWInsert(Path(L"well.dxf").c_str(), 5, 6, 7, 2, 3, 4, 0.5, first), 0);
  ASSERT_EQ(KWInsert(Path(L"well.dxf").c_str(), AcGePoint3d(1, 1, 0), 1, 1, 1, 0, second), 0);
  EXPECT_EQ(BlockContents(L"well"), L"AcDbLine:256 AcDbCircle:256");
  const int blocks = BlockCount();
  AcDbObjectId firstId, secondId;
  ASSERT_EQ(acdbGetObjectId(firstId, first), Acad::eOk);
  ASSERT_EQ(acdbGetObjectId(secondId, second), Acad::eOk);
  AcDbObjectPointer<AcDbBlockReference> a(firstId, AcDb::kForRead);
  AcDbObjectPointer<AcDbBlockReference> b(secondId, AcDb::kForRead);
  ASSERT_EQ(a.openStatus(), Acad::eOk);
  ASSERT_EQ(b.openStatus(), Acad::eOk);
  EXPECT_EQ(a->blockTableRecord(), b->blockTableRecord());
  EXPECT_EQ(a->position(), AcGePoint3d(5, 6, 7));
  EXPECT_EQ(a->scaleFactors(), AcGeScale3d(2, 3, 4));
  EXPECT_EQ(a->rotation(), 0.5);
  EXPECT_EQ(a->ownerId(), kwhost::CurrentDatabase()->currentSpaceId());
  EXPECT_EQ(BlockCount(), blocks);
  EXPECT_EQ(kwhost::ListModelSpace().size(), 2u);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(BlocksTest, InsertNamesTheBlockFromPathsWithEitherSeparator) {
  ads_name name;
  std::wstring backslashed = root_ + L"\\pump.v2.dxf";
  ASSERT_EQ(KWInsert(backslashed.c_str(), 0, 0, 0, 1, 1, 1, 0, name), 0);
  EXPECT_EQ(BlockContents(L"pump"), L"AcDbLine:256 AcDbCircle:256") << "up to the first dot";
}

TEST_F(BlocksTest, InsertOfAMissingFileFailsEvenWhenTheBlockExists) {
  ads_name name;
  ASSERT_EQ(KWInsert(Path(L"well.dxf").c_str(), 0, 0, 0, 1, 1, 1, 0, name), 0);
  EXPECT_EQ(KWInsert(Path(L"gone/well.dxf").c_str(), 0, 0, 0, 1, 1, 1, 0, name), -7);
  EXPECT_EQ(KWInsert(L"", 0, 0, 0, 1, 1, 1, 0, name), -7);
  EXPECT_EQ(KWInsert(nullptr, 0, 0, 0, 1, 1, 1, 0, name), -7);
  EXPECT_EQ(kwhost::ListModelSpace().size(), 1u);
}

TEST_F(BlocksTest, InsertReportsEachFailingStepByItsCode) {
  ads_name name;
  EXPECT_EQ(KWInsert(Path(L"broken.dxf").c_str(), 0, 0, 0, 1, 1, 1, 0, name), -3);
  EXPECT_EQ(BlockContents(L"broken"), L"<none>");
  // Without a dot the whole path names the block, which no drawing accepts.
  EXPECT_EQ(KWInsert(Path(L"plain").c_str(), 0, 0, 0, 1, 1, 1, 0, name), -4);

  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(KWInsert(Path(L"well.dxf").c_str(), 0, 0, 0, 1, 1, 1, 0, name), -2);
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(table->getAt(L"*Model_Space", model, AcDb::kForWrite), Acad::eOk);
  table->close();
  EXPECT_EQ(KWInsert(Path(L"well.dxf").c_str(), 0, 0, 0, 1, 1, 1, 0, name), -5);
  EXPECT_EQ(model->entityCount(), 0);
  model->close();
  EXPECT_EQ(BlockContents(L"well"), L"AcDbLine:256 AcDbCircle:256") << "defined before the append";

  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
  EXPECT_EQ(KWInsert(Path(L"well.dxf").c_str(), 0, 0, 0, 1, 1, 1, 0, name), -1);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

// ---------------------------------------------------------------- InsertBlockRecord

TEST_F(BlocksTest, InsertBlockRecordNamesTheBlockAfterTheFileTitle) {
  AcDbObjectId id;
  ASSERT_TRUE(KWRDPub::InsertBlockRecord(Path(L"pump.v2.dxf").c_str(), id, L"", nullptr));
  EXPECT_EQ(BlockContents(L"pump.v2"), L"AcDbLine:256 AcDbCircle:256") << "cut at the last dot";
  AcDbObjectId named;
  ASSERT_TRUE(KWRDPub::InsertBlockRecord(Path(L"well.dxf").c_str(), named, L"Manhole", nullptr));
  EXPECT_EQ(BlockContents(L"Manhole"), L"AcDbLine:256 AcDbCircle:256");
  EXPECT_NE(named, id);
  EXPECT_TRUE(kwhost::TakeMessageBoxes().empty());
  EXPECT_EQ(acDocManager->curDocument()->lockCount(), 0);
}

TEST_F(BlocksTest, InsertBlockRecordKeepsAnExistingBlockAndSaysSo) {
  AcDbObjectId first, again;
  ASSERT_TRUE(KWRDPub::InsertBlockRecord(Path(L"well.dxf").c_str(), first, nullptr, nullptr));
  ASSERT_EQ(CloneBlock(L"well", L"pump", 0), 0);
  ASSERT_TRUE(KWRDPub::InsertBlockRecord(Path(L"pump.v2.dxf").c_str(), again, L"PUMP", nullptr));
  EXPECT_EQ(kwhost::TakeMessageBoxes(), std::vector<std::wstring>{L"[凯维提示] PUMP已经存在"});
  AcDbObjectId pump;
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getBlockTable(table), Acad::eOk);
  table->getAt(L"pump", pump);
  table->close();
  EXPECT_EQ(again, pump);
  EXPECT_EQ(acDocManager->curDocument()->lockCount(), 0);
}

TEST_F(BlocksTest, InsertBlockRecordFillsTheDatabaseItIsGiven) {
  AcDbDatabase side(true, true);
  AcDbObjectId id;
  ASSERT_TRUE(KWRDPub::InsertBlockRecord(Path(L"well.dxf").c_str(), id, nullptr, &side));
  EXPECT_EQ(BlockContents(L"well", &side), L"AcDbLine:256 AcDbCircle:256");
  EXPECT_EQ(BlockContents(L"well"), L"<none>");
  EXPECT_EQ(id.database(), &side);
}

TEST_F(BlocksTest, InsertBlockRecordShowsEachFailure) {
  AcDbObjectId id;
  const std::wstring missing = Path(L"none.dxf");
  EXPECT_FALSE(KWRDPub::InsertBlockRecord(missing.c_str(), id, nullptr, nullptr));
  const std::wstring broken = Path(L"broken.dxf");
  EXPECT_FALSE(KWRDPub::InsertBlockRecord(broken.c_str(), id, nullptr, nullptr));
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            (std::vector<std::wstring>{L"[凯维提示] 文件" + missing + L"不存在!",
                                       L"[凯维提示] 读取文件：" + broken + L"失败，错误代码：" +
                                           std::to_wstring(Acad::eFilerError) + L"。"}));
  kwhost::TakeOutput();
  EXPECT_FALSE(KWRDPub::InsertBlockRecord(Path(L"well.dxf").c_str(), id, L"a<b", nullptr));
  const std::wstring why = std::to_wstring(Acad::eInvalidInput);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n插入块表记录失败，失败原因：" + why +
                                      L"\n[凯维提示] 插入块表记录失败，失败原因：" + why);
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            std::vector<std::wstring>{L"[凯维提示] 插入块表记录失败，失败原因：" + why});
  EXPECT_EQ(acDocManager->curDocument()->lockCount(), 0);
}

// ---------------------------------------------------------------- CloneBlock

class CloneBlockTest : public BlocksTest {
 protected:
  void SetUp() override {
    BlocksTest::SetUp();
    AcDbObjectId id;
    ASSERT_TRUE(KWRDPub::InsertBlockRecord(Path(L"well.dxf").c_str(), id, nullptr, nullptr));
    AddToBlock(L"well", new AcDbPolyline(2), 3);
    AddEmptyBlock(L"empty");
  }
  static void AddToBlock(const wchar_t* name, AcDbPolyline* pline, Adesk::UInt16 color) {
    pline->addVertexAt(0, AcGePoint2d(0, 0));
    pline->addVertexAt(1, AcGePoint2d(4, 0));
    pline->setConstantWidth(0.5);
    pline->setColorIndex(color);
    AcDbObjectPointer<AcDbBlockTableRecord> block;
    AcDbBlockTable* table = nullptr;
    ASSERT_EQ(kwhost::CurrentDatabase()->getBlockTable(table), Acad::eOk);
    AcDbObjectId id;
    table->getAt(name, id);
    table->close();
    ASSERT_EQ(block.open(id, AcDb::kForWrite), Acad::eOk);
    ASSERT_EQ(block->appendAcDbEntity(pline), Acad::eOk);
    pline->close();
  }
  static void AddEmptyBlock(const wchar_t* name) {
    AcDbBlockTable* table = nullptr;
    ASSERT_EQ(kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForWrite), Acad::eOk);
    auto* block = new AcDbBlockTableRecord();
    block->setName(name);
    ASSERT_EQ(table->add(block), Acad::eOk);
    block->close();
    table->close();
  }
  static double WidthOfLastEntity(const wchar_t* name) {
    AcDbObjectPointer<AcDbBlockTableRecord> block;
    AcDbBlockTable* table = nullptr;
    EXPECT_EQ(kwhost::CurrentDatabase()->getBlockTable(table), Acad::eOk);
    AcDbObjectId id;
    table->getAt(name, id);
    table->close();
    EXPECT_EQ(block.open(id, AcDb::kForRead), Acad::eOk);
    AcDbBlockTableRecordIterator* it = nullptr;
    block->newIterator(it);
    AcDbObjectId last;
    for (; !it->done(); it->step()) it->getEntityId(last);
    delete it;
    AcDbObjectPointer<AcDbPolyline> pline(last, AcDb::kForRead);
    double width = -1;
    EXPECT_EQ(pline->getConstantWidth(width), Acad::eOk);
    return width;
  }
};

TEST_F(CloneBlockTest, CopiesEveryEntityInOrderUnderTheTrimmedName) {
  EXPECT_EQ(CloneBlock(L"  well\t", L" copy ", 0), 0);
  EXPECT_EQ(BlockContents(L"copy"), L"AcDbLine:256 AcDbCircle:256 AcDbPolyline:3");
  EXPECT_EQ(BlockContents(L"well"), L"AcDbLine:256 AcDbCircle:256 AcDbPolyline:3");
  EXPECT_EQ(WidthOfLastEntity(L"copy"), 0.5);
  EXPECT_EQ(acDocManager->curDocument()->lockCount(), 0);
}

TEST_F(CloneBlockTest, AnOptionMakesTheCopiesTakeTheReferencesColourAndLinetype) {
  ASSERT_EQ(CloneBlock(L"well", L"byblock", 1), 0);
  EXPECT_EQ(BlockContents(L"byblock"), L"AcDbLine:0 AcDbCircle:0 AcDbPolyline:0");
  EXPECT_EQ(WidthOfLastEntity(L"byblock"), 0.5);
}

TEST_F(CloneBlockTest, EachRefusalHasItsCode) {
  EXPECT_EQ(CloneBlock(nullptr, L"x", 0), -5);
  EXPECT_EQ(CloneBlock(L"well", nullptr, 0), -5);
  EXPECT_EQ(CloneBlock(L" \t", L"x", 0), -5);
  EXPECT_EQ(CloneBlock(L"well", L"  ", 0), -5);
  EXPECT_EQ(CloneBlock(L"nosuch", L"WELL", 0), -3) << "an existing new name is checked first";
  EXPECT_EQ(CloneBlock(L"nosuch", L"x", 0), -2);
  EXPECT_EQ(CloneBlock(L"empty", L"x", 0), -4);
  EXPECT_EQ(CloneBlock(L"well", L"a/b", 0), -4);
  EXPECT_EQ(BlockContents(L"x"), L"<none>");
  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
  EXPECT_EQ(CloneBlock(L"well", L"x", 0), -1);
  EXPECT_EQ(acDocManager->curDocument()->lockCount(), 0);
}

TEST_F(CloneBlockTest, ABlockTableOpenElsewhereGivesMinusOne) {
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(CloneBlock(L"well", L"x", 0), -1);
  table->close();
  EXPECT_EQ(acDocManager->curDocument()->lockCount(), 0);
}

}  // namespace
