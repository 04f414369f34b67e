// Symbol tables: a new drawing's records, adding and naming, iteration order, erasing, the
// records' settings, table searches, and table contents against a plain map under random edits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/dbads.h"
#include "host/api/dbsymtb.h"

namespace {

class Tables : public ::testing::Test {
 protected:
  void SetUp() override {
    previous = acdbHostApplicationServices()->workingDatabase();
    db = std::make_unique<AcDbDatabase>();
    acdbHostApplicationServices()->setWorkingDatabase(db.get());
  }
  void TearDown() override { acdbHostApplicationServices()->setWorkingDatabase(previous); }

  // Names of the live records in table order.
  template <class Table>
  std::vector<std::wstring> Names(Table* table) {
    std::vector<std::wstring> names;
    AcDbSymbolTableIterator* it = nullptr;
    table->newIterator(it);
    for (; !it->done(); it->step()) {
      AcDbSymbolTableRecord* record = nullptr;
      EXPECT_EQ(it->getRecord(record, AcDb::kForRead), Acad::eOk);
      names.push_back(record->name());
      record->close();
    }
    delete it;
    return names;
  }

  Acad::ErrorStatus AddLayer(const wchar_t* name, AcDbObjectId* id = nullptr) {
    AcDbLayerTable* layers = nullptr;
    db->getLayerTable(layers, AcDb::kForWrite);
    auto* layer = new AcDbLayerTableRecord();
    Acad::ErrorStatus es = layer->setName(name);
    AcDbObjectId added;
    if (es == Acad::eOk) es = layers->add(added, layer);
    if (es == Acad::eOk) {
      layer->close();
      if (id) *id = added;
    } else {
      delete layer;
    }
    layers->close();
    return es;
  }

  AcDbDatabase* previous = nullptr;
  std::unique_ptr<AcDbDatabase> db;
};

TEST_F(Tables, NewDrawingHoldsTheUsualRecords) {
  AcDbLayerTable* layers = nullptr;
  ASSERT_EQ(db->getLayerTable(layers), Acad::eOk);
  EXPECT_EQ(Names(layers), std::vector<std::wstring>{L"0"});
  layers->close();
  AcDbLinetypeTable* linetypes = nullptr;
  ASSERT_EQ(db->getSymbolTable(linetypes), Acad::eOk);
  EXPECT_EQ(Names(linetypes), (std::vector<std::wstring>{L"ByBlock", L"ByLayer", L"Continuous"}));
  linetypes->close();
  AcDbTextStyleTable* styles = nullptr;
  ASSERT_EQ(db->getTextStyleTable(styles), Acad::eOk);
  EXPECT_EQ(Names(styles), std::vector<std::wstring>{L"Standard"});
  styles->close();
  AcDbBlockTable* blocks = nullptr;
  ASSERT_EQ(db->getBlockTable(blocks), Acad::eOk);
  EXPECT_EQ(Names(blocks), (std::vector<std::wstring>{L"*Model_Space", L"*Paper_Space"}));
  blocks->close();
  EXPECT_FALSE(db->clayer().isNull());
  EXPECT_EQ(db->celtype(), db->byLayerLinetype());
}

TEST_F(Tables, RecordsComeBackInTheOrderAdded) {
  for (const wchar_t* name : {L"Zeta", L"alpha", L"道路", L"Mid"})
    ASSERT_EQ(AddLayer(name), Acad::eOk);
  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers);
  EXPECT_EQ(Names(layers), (std::vector<std::wstring>{L"0", L"Zeta", L"alpha", L"道路", L"Mid"}));
  AcDbLayerTableIterator* it = nullptr;
  layers->newIterator(it, false);
  AcDbLayerTableRecord* last = nullptr;
  ASSERT_EQ(it->getRecord(last), Acad::eOk);
  EXPECT_EQ(last->name(), L"Mid");
  last->close();
  it->step(false);
  AcDbObjectId id;
  it->getRecordId(id);
  AcDbLayerTableRecord* before = nullptr;
  ASSERT_EQ(acdbOpenObject(before, id, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(before->name(), L"道路");
  before->close();
  delete it;
  layers->close();
}

TEST_F(Tables, NamesAreUniqueIgnoringCase) {
  EXPECT_EQ(AddLayer(L"Road"), Acad::eOk);
  EXPECT_EQ(AddLayer(L"ROAD"), Acad::eDuplicateRecordName);
  EXPECT_EQ(AddLayer(L"a|b"), Acad::eInvalidSymbolTableName);
  EXPECT_EQ(AddLayer(L""), Acad::eInvalidSymbolTableName);
  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers);
  EXPECT_TRUE(layers->has(L"road"));
  AcDbObjectId id;
  EXPECT_EQ(layers->getAt(L"rOaD", id), Acad::eOk);
  EXPECT_EQ(layers->getAt(L"missing", id), Acad::eKeyNotFound);
  auto record = std::make_unique<AcDbLayerTableRecord>();
  record->setName(L"Other");
  EXPECT_EQ(layers->add(record.get()), Acad::eNotOpenForWrite);
  layers->close();
}

TEST_F(Tables, AddRefusesUnnamedForeignAndWrongRecords) {
  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers, AcDb::kForWrite);
  auto unnamed = std::make_unique<AcDbLayerTableRecord>();
  EXPECT_EQ(layers->add(unnamed.get()), Acad::eInvalidInput);
  auto style = std::make_unique<AcDbTextStyleTableRecord>();
  style->setName(L"S");
  EXPECT_EQ(layers->add(style.get()), Acad::eInvalidInput);
  EXPECT_EQ(layers->add(nullptr), Acad::eNullObjectPointer);
  layers->close();
}

TEST_F(Tables, RenamingChecksTheTable) {
  AcDbObjectId a, b;
  ASSERT_EQ(AddLayer(L"A", &a), Acad::eOk);
  ASSERT_EQ(AddLayer(L"B", &b), Acad::eOk);
  AcDbLayerTableRecord* rec = nullptr;
  ASSERT_EQ(acdbOpenObject(rec, b, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(rec->setName(L"a"), Acad::eDuplicateRecordName);
  EXPECT_EQ(rec->setName(L"b"), Acad::eOk);  // its own name in another case
  EXPECT_EQ(rec->setName(L"C"), Acad::eOk);
  rec->close();
  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers);
  EXPECT_FALSE(layers->has(L"B"));
  EXPECT_TRUE(layers->has(L"c"));
  layers->close();
}

TEST_F(Tables, ErasedNamesCanBeTakenAgainAndPermanentRecordsStay) {
  AcDbObjectId first;
  ASSERT_EQ(AddLayer(L"Temp", &first), Acad::eOk);
  AcDbLayerTableRecord* rec = nullptr;
  ASSERT_EQ(acdbOpenObject(rec, first, AcDb::kForWrite), Acad::eOk);
  ASSERT_EQ(rec->erase(), Acad::eOk);
  rec->close();
  AcDbObjectId second;
  ASSERT_EQ(AddLayer(L"TEMP", &second), Acad::eOk);
  ASSERT_EQ(acdbOpenObject(rec, first, AcDb::kForWrite, true), Acad::eOk);
  EXPECT_EQ(rec->erase(false), Acad::eDuplicateRecordName);
  rec->close();

  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers);
  ASSERT_EQ(layers->getAt(L"0", rec, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(rec->erase(), Acad::eCannotBeErasedByCaller);
  rec->close();
  AcDbObjectId erased;
  EXPECT_EQ(layers->getAt(L"temp", erased, true), Acad::eOk);
  EXPECT_EQ(erased, second);
  layers->close();
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(acdbOpenObject(model, db->currentSpaceId(), AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(model->erase(), Acad::eCannotBeErasedByCaller);
  model->close();
}

TEST_F(Tables, LayerSettingsRoundTrip) {
  AcDbObjectId id;
  ASSERT_EQ(AddLayer(L"Kerb", &id), Acad::eOk);
  AcDbLayerTableRecord* layer = nullptr;
  ASSERT_EQ(acdbOpenObject(layer, id, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(layer->color().colorIndex(), 7);
  EXPECT_EQ(layer->lineWeight(), AcDb::kLnWtByLwDefault);
  AcCmColor red;
  red.setColorIndex(1);
  layer->setColor(red);
  layer->setIsOff(true);
  layer->setIsLocked(true);
  EXPECT_EQ(layer->setIsFrozen(true), Acad::eOk);
  EXPECT_EQ(layer->setLineWeight(AcDb::kLnWt025), Acad::eOk);
  EXPECT_EQ(layer->setLineWeight(static_cast<AcDb::LineWeight>(26)), Acad::eInvalidInput);
  EXPECT_EQ(layer->setLinetypeObjectId(db->continuousLinetype()), Acad::eOk);
  layer->close();
  resbuf* list = acdbTblSearch(L"layer", L"KERB", 0);
  ASSERT_NE(list, nullptr);
  std::wstring seen;
  for (resbuf* rb = list; rb; rb = rb->rbnext) {
    seen += std::to_wstring(rb->restype) + L"=";
    if (rb->restype == 0 || rb->restype == 2 || rb->restype == 6) seen += rb->resval.rstring;
    if (rb->restype == 70 || rb->restype == 62) seen += std::to_wstring(rb->resval.rint);
    seen += L";";
  }
  EXPECT_EQ(seen, L"0=LAYER;2=Kerb;70=5;62=-1;6=Continuous;");
  acutRelRb(list);
  EXPECT_EQ(acdbTblSearch(L"LAYER", L"nope", 0), nullptr);
  EXPECT_EQ(acdbTblSearch(L"UCS", L"x", 0), nullptr);
}

TEST_F(Tables, TableNextWalksFromASearchedRecord) {
  ASSERT_EQ(AddLayer(L"L1"), Acad::eOk);
  ASSERT_EQ(AddLayer(L"L2"), Acad::eOk);
  acutRelRb(acdbTblSearch(L"LAYER", L"L1", 1));
  resbuf* next = acdbTblNext(L"LAYER", 0);
  ASSERT_NE(next, nullptr);
  EXPECT_STREQ(next->rbnext->resval.rstring, L"L2");
  acutRelRb(next);
  EXPECT_EQ(acdbTblNext(L"LAYER", 0), nullptr);
  next = acdbTblNext(L"LAYER", 1);
  EXPECT_STREQ(next->rbnext->resval.rstring, L"0");
  acutRelRb(next);
}

TEST_F(Tables, IteratorsShowErasedRecordsOnlyWhenAskedAndSeek) {
  AcDbObjectId a, b;
  ASSERT_EQ(AddLayer(L"A", &a), Acad::eOk);
  ASSERT_EQ(AddLayer(L"B", &b), Acad::eOk);
  AcDbLayerTableRecord* rec = nullptr;
  ASSERT_EQ(acdbOpenObject(rec, a, AcDb::kForWrite), Acad::eOk);
  rec->erase();
  rec->close();
  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers);
  EXPECT_EQ(Names(layers), (std::vector<std::wstring>{L"0", L"B"}));
  AcDbLayerTableIterator* it = nullptr;
  layers->newIterator(it, true, false);
  int all = 0;
  for (; !it->done(); it->step(true, false)) ++all;
  EXPECT_EQ(all, 3);
  EXPECT_EQ(it->getRecord(rec), Acad::eInvalidIndex);
  EXPECT_EQ(rec, nullptr);
  ASSERT_EQ(it->seek(a), Acad::eOk);
  EXPECT_EQ(it->getRecord(rec), Acad::eWasErased);
  ASSERT_EQ(it->getRecord(rec, AcDb::kForRead, true), Acad::eOk);
  EXPECT_TRUE(rec->isErased());
  rec->close();
  EXPECT_EQ(it->seek(db->blockTableId()), Acad::eKeyNotFound);
  delete it;
  layers->close();
}

TEST_F(Tables, ViewsCopyAsValues) {
  AcDbViewTableRecord view;
  view.setCenterPoint(AcGePoint2d(5, 6));
  view.setHeight(40);
  view.setWidth(80);
  view.setIsPaperspaceView(true);
  AcDbViewTableRecord copy(view);
  EXPECT_EQ(copy.centerPoint(), AcGePoint2d(5, 6));
  EXPECT_EQ(copy.width(), 80);
  EXPECT_TRUE(copy.isPaperspaceView());
  AcDbViewTableRecord assigned;
  assigned = view;
  EXPECT_EQ(assigned.height(), 40);
  EXPECT_TRUE(assigned.objectId().isNull());

  AcDbViewTable* views = nullptr;
  db->getViewTable(views, AcDb::kForWrite);
  auto* named = static_cast<AcDbViewTableRecord*>(view.clone());
  named->setName(L"Plan");
  AcDbObjectId id;
  ASSERT_EQ(views->add(id, named), Acad::eOk);
  named->setHeight(10);
  named->close();
  views->close();
  EXPECT_EQ(view.height(), 40);  // the clone is a copy
  AcDbViewportTable* ports = nullptr;
  ASSERT_EQ(db->getViewportTable(ports), Acad::eOk);
  EXPECT_EQ(Names(ports), std::vector<std::wstring>{L"*Active"});
  ports->close();
}

TEST_F(Tables, LinetypeDashesKeepShapesAndTexts) {
  AcDbLinetypeTable* table = nullptr;
  db->getLinetypeTable(table, AcDb::kForWrite);
  AcDbTextStyleTable* styles = nullptr;
  db->getTextStyleTable(styles);
  AcDbObjectId standard;
  styles->getAt(L"Standard", standard);
  styles->close();
  auto* lt = new AcDbLinetypeTableRecord();
  lt->setName(L"GAS");
  lt->setComments(L"Gas line ----GAS----");
  lt->setPatternLength(1.5);
  lt->setNumDashes(3);
  lt->setDashLengthAt(0, 0.5);
  lt->setDashLengthAt(1, -0.2);
  lt->setShapeStyleAt(1, standard);
  lt->setTextAt(1, L"GAS");
  lt->setShapeScaleAt(1, 0.1);
  lt->setShapeRotationAt(1, 0.25);
  lt->setShapeOffsetAt(1, AcGeVector2d(-0.1, -0.05));
  lt->setShapeIsUcsOrientedAt(1, true);
  lt->setDashLengthAt(2, -0.8);
  EXPECT_EQ(lt->setDashLengthAt(3, 1.0), Acad::eInvalidIndex);
  ASSERT_EQ(table->add(lt), Acad::eOk);
  lt->close();
  table->close();

  AcDbObjectPointer<AcDbLinetypeTableRecord> read;
  AcDbObjectId id;
  db->getLinetypeTable(table);
  table->getAt(L"gas", id);
  table->close();
  ASSERT_EQ(read.open(id, AcDb::kForRead), Acad::eOk);
  const wchar_t* text = nullptr;
  EXPECT_EQ(read->numDashes(), 3);
  EXPECT_EQ(read->textAt(1, text), Acad::eOk);
  EXPECT_STREQ(text, L"GAS");
  EXPECT_EQ(read->textAt(0, text), Acad::eOk);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(read->textAt(3, text), Acad::eInvalidIndex);
  EXPECT_EQ(read->shapeStyleAt(1), standard);
  EXPECT_EQ(read->shapeOffsetAt(1), AcGeVector2d(-0.1, -0.05));
  EXPECT_TRUE(read->shapeIsUcsOrientedAt(1));
  EXPECT_DOUBLE_EQ(read->shapeRotationAt(1), 0.25);
  EXPECT_DOUBLE_EQ(read->dashLengthAt(2), -0.8);
  EXPECT_DOUBLE_EQ(read->dashLengthAt(7), 0.0);
}

TEST_F(Tables, TextStyleFontAndSettings) {
  AcDbTextStyleTable* table = nullptr;
  db->getTextStyleTable(table, AcDb::kForWrite);
  auto* style = new AcDbTextStyleTableRecord();
  style->setName(L"KWStandard");
  EXPECT_EQ(style->setFileName(L"SIMKAI.TTF"), Acad::eOk);
  EXPECT_EQ(style->setBigFontFileName(L"gbcbig.shx"), Acad::eOk);
  EXPECT_EQ(style->setFont(L"楷体_GB2312", false, true, 134, 49), Acad::eOk);
  EXPECT_EQ(style->setXScale(0), Acad::eInvalidInput);
  EXPECT_EQ(style->setPriorSize(149.394309), Acad::eOk);
  style->setFlagBits(4);
  style->setIsVertical(true);
  ASSERT_EQ(table->add(style), Acad::eOk);
  wchar_t* face = nullptr;
  bool bold = true, italic = false;
  int charset = 0, pitch = 0;
  ASSERT_EQ(style->font(face, bold, italic, charset, pitch), Acad::eOk);
  EXPECT_STREQ(face, L"楷体_GB2312");
  EXPECT_FALSE(bold);
  EXPECT_TRUE(italic);
  EXPECT_EQ(charset, 134);
  EXPECT_EQ(pitch, 49);
  std::free(face);
  EXPECT_EQ(style->flagBits(), 4);
  style->close();
  table->close();
}

// Table contents follow a plain map (folded name -> name) through random adds, erases and
// renames.
TEST_F(Tables, ContentsFollowAReferenceModel) {
  std::mt19937 random(20240611);
  std::map<std::wstring, std::wstring> model{{L"0", L"0"}};
  std::vector<std::wstring> order{L"0"};
  const wchar_t* pool[] = {L"a", L"B", L"c", L"A", L"道", L"Road", L"ROAD", L"x1", L"X1", L"y"};
  for (int step = 0; step < 400; ++step) {
    std::wstring name = pool[random() % 10];
    std::wstring key = kw::ToUpper(name);
    AcDbLayerTable* layers = nullptr;
    ASSERT_EQ(db->getLayerTable(layers), Acad::eOk);
    AcDbObjectId id;
    bool present = layers->getAt(name.c_str(), id) == Acad::eOk;
    layers->close();
    ASSERT_EQ(present, model.count(key) == 1) << step;
    if (!present) {
      ASSERT_EQ(AddLayer(name.c_str()), Acad::eOk);
      model[key] = name;
      order.push_back(name);
    } else if (key != L"0") {
      AcDbLayerTableRecord* rec = nullptr;
      ASSERT_EQ(acdbOpenObject(rec, id, AcDb::kForWrite), Acad::eOk);
      ASSERT_EQ(rec->erase(), Acad::eOk);
      rec->close();
      order.erase(std::find(order.begin(), order.end(), model[key]));
      model.erase(key);
    }
    db->getLayerTable(layers);
    ASSERT_EQ(Names(layers), order) << step;
    layers->close();
  }
}

}  // namespace
