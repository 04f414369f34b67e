// The database: reading through the registered reader, empty databases and handles, the header
// variables it models.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"

namespace {

// Every test starts without drawing-file hooks and puts back the ones the host installed at
// load, which the drawing-file tests in the same program rely on.
class Database : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::db::SetDrawingReader(nullptr);
    kwhost::db::SetDrawingWriter(nullptr);
  }
  void TearDown() override {
    kwhost::db::SetDrawingReader(reader_);
    kwhost::db::SetDrawingWriter(writer_);
  }

 private:
  const kwhost::db::DrawingReader reader_ = kwhost::db::GetDrawingReader();
  const kwhost::db::DrawingWriter writer_ = kwhost::db::GetDrawingWriter();
};

TEST_F(Database, ReadingGoesThroughTheRegisteredReader) {
  AcDbDatabase side(false, true);
  EXPECT_EQ(side.readDwgFile(L"/x/a.dxf"), Acad::eNotImplementedYet);
  std::wstring asked;
  kwhost::db::SetDrawingReader([&](const std::wstring& path, AcDbDatabase& db) {
    asked = path;
    AcDbObjectId layers = db.layerTableId();
    EXPECT_TRUE(kwhost::db::Peek(layers)->objectHandle().isNull());
    EXPECT_EQ(kwhost::db::SetHandle(db, *kwhost::db::Peek(layers), AcDbHandle(2)), Acad::eOk);
    auto* layer = new AcDbLayerTableRecord();
    layer->setName(L"0");
    AcDbObjectId id;
    EXPECT_EQ(kwhost::db::AddWithHandle(db, layer, AcDbHandle(0x10), layers, id), Acad::eOk);
    kwhost::db::Extras(db).setHeader("$CLAYER", {{8, "0"}});
    kwhost::db::RaiseHandseed(db, 0x40);
    return Acad::eOk;
  });
  ASSERT_EQ(side.readDwgFile(L"/x/a.dxf"), Acad::eOk);
  EXPECT_EQ(asked, L"/x/a.dxf");
  const wchar_t* name = nullptr;
  side.getFilename(name);
  EXPECT_STREQ(name, L"/x/a.dxf");
  EXPECT_FALSE(side.clayer().isNull());
  EXPECT_EQ(side.handseed().value(), 0x40u);
  AcDbObjectId found;
  ASSERT_EQ(side.getAcDbObjectId(found, false, AcDbHandle(2)), Acad::eOk);
  EXPECT_EQ(found, side.layerTableId());
  kwhost::db::EnsureHandles(side);
  EXPECT_EQ(kwhost::db::Peek(side.blockTableId())->objectHandle().value(), 0x40u);
}

TEST_F(Database, WritingGoesThroughTheRegisteredWriter) {
  AcDbDatabase db;
  EXPECT_EQ(db.saveAs(L"/x/out.dxf"), Acad::eNotImplementedYet);
  std::string asked;
  kwhost::db::SetDrawingWriter(
      [&](const std::wstring& path, AcDbDatabase&, const std::string& version) {
        asked = version;
        return path == L"/x/bad.dxf" ? Acad::eFileAccessErr : Acad::eOk;
      });
  EXPECT_EQ(db.dxfOut(L"/x/bad.dxf", 16, "AC1032"), Acad::eFileAccessErr);
  EXPECT_EQ(asked, "AC1032");
  const wchar_t* name = nullptr;
  db.getFilename(name);
  EXPECT_STREQ(name, L"");
  ASSERT_EQ(db.saveAs(L"/x/out.dxf"), Acad::eOk);
  EXPECT_EQ(asked, "");
  db.getFilename(name);
  EXPECT_STREQ(name, L"/x/out.dxf");
  EXPECT_EQ(db.dxfOut(nullptr), Acad::eInvalidInput);
}

TEST_F(Database, AFailedReadLeavesANewDrawing) {
  AcDbDatabase side;
  AcDbObjectId oldLayers = side.layerTableId();
  kwhost::db::SetDrawingReader([](const std::wstring&, AcDbDatabase& db) {
    auto* layer = new AcDbLayerTableRecord();
    layer->setName(L"half");
    AcDbObjectId id;
    kwhost::db::AddWithHandle(db, layer, AcDbHandle(), db.layerTableId(), id);
    return Acad::eFilerError;
  });
  EXPECT_EQ(side.readDwgFile(L"bad.dxf"), Acad::eFilerError);
  EXPECT_EQ(kwhost::db::Peek(oldLayers), nullptr);  // ids of the old contents are gone
  AcDbLayerTable* layers = nullptr;
  ASSERT_EQ(side.getLayerTable(layers), Acad::eOk);
  EXPECT_TRUE(layers->has(L"0"));
  EXPECT_FALSE(layers->has(L"half"));
  layers->close();
  EXPECT_EQ(side.readDwgFile(nullptr), Acad::eInvalidInput);
}

TEST_F(Database, HeaderVariablesKeepTheirOrderAndTypedValues) {
  AcDbDatabase db;
  const auto& header = kwhost::db::Extras(db).header;
  ASSERT_FALSE(header.empty());
  EXPECT_EQ(header.front().first, "$ACADVER");
  EXPECT_EQ(header.front().second.at(0).value, "AC1015");
  EXPECT_EQ(kwhost::db::Extras(db).findHeader("$DWGCODEPAGE")->at(0).value, "ANSI_936");
  EXPECT_EQ(db.setLtscale(-1), Acad::eInvalidInput);
  ASSERT_EQ(db.setLtscale(2.5), Acad::eOk);
  EXPECT_EQ(kwhost::db::Extras(db).findHeader("$LTSCALE")->at(0).value, "2.5");
  EXPECT_EQ(db.ltscale(), 2.5);
  EXPECT_EQ(db.setClayer(db.continuousLinetype()), Acad::eInvalidInput);
  AcDbObjectId standard = db.textstyle();
  EXPECT_FALSE(standard.isNull());
  EXPECT_EQ(db.setTextstyle(standard), Acad::eOk);
  EXPECT_EQ(db.extmin().x, 1e20);  // an empty drawing's extents
}

TEST_F(Database, HandleChangesRefuseHandlesInUse) {
  AcDbDatabase db;
  AcDbObject* layers = kwhost::db::Peek(db.layerTableId());
  AcDbHandle blocks = kwhost::db::Peek(db.blockTableId())->objectHandle();
  EXPECT_EQ(kwhost::db::SetHandle(db, *layers, blocks), Acad::eHandleInUse);
  EXPECT_EQ(kwhost::db::SetHandle(db, *layers, AcDbHandle()), Acad::eInvalidInput);
  ASSERT_EQ(kwhost::db::SetHandle(db, *layers, AcDbHandle(0x900)), Acad::eOk);
  AcDbObjectId id;
  EXPECT_EQ(db.getAcDbObjectId(id, false, AcDbHandle(0x900)), Acad::eOk);
  EXPECT_EQ(id, db.layerTableId());
  EXPECT_EQ(db.handseed().value(), 0x901u);
  AcDbDatabase other;
  EXPECT_EQ(kwhost::db::SetHandle(other, *layers, AcDbHandle(0x901)), Acad::eInvalidInput);
}

TEST_F(Database, WholeDrawingCopyKeepsRecordsEntitiesAndHeader) {
  AcDbDatabase db;
  AcDbBlockTable* blocks = nullptr;
  db.getBlockTable(blocks);
  AcDbBlockTableRecord* model = nullptr;
  blocks->getAt(L"*Model_Space", model, AcDb::kForWrite);
  blocks->close();
  auto* text = new AcDbText(AcGePoint3d(1, 2, 0), L"K0+100", db.textstyle(), 3);
  ASSERT_EQ(model->appendAcDbEntity(text), Acad::eOk);
  text->close();
  model->close();
  db.setLtscale(4);
  AcDbDatabase* copy = nullptr;
  ASSERT_EQ(db.wblock(copy), Acad::eOk);
  std::unique_ptr<AcDbDatabase> owned(copy);
  EXPECT_EQ(copy->ltscale(), 4.0);
  AcDbBlockTableRecord* copiedModel = nullptr;
  ASSERT_EQ(acdbOpenObject(copiedModel, copy->currentSpaceId(), AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(copiedModel->entityCount(), 1);
  AcDbBlockTableRecordIterator* it = nullptr;
  copiedModel->newIterator(it);
  AcDbEntity* e = nullptr;
  ASSERT_EQ(it->getEntity(e), Acad::eOk);
  auto* copiedText = AcDbText::cast(e);
  ASSERT_NE(copiedText, nullptr);
  EXPECT_STREQ(copiedText->textStringConst(), L"K0+100");
  EXPECT_EQ(copiedText->textStyle(), copy->textstyle());
  e->close();
  delete it;
  copiedModel->close();
}

}  // namespace
