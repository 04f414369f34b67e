// Objects: open modes and their statuses, closing, erasing, ids and entity names, handles,
// smart pointers, status texts.
#include <gtest/gtest.h>

#include <memory>

#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"

namespace {

class Objects : public ::testing::Test {
 protected:
  void SetUp() override {
    previous = acdbHostApplicationServices()->workingDatabase();
    db = std::make_unique<AcDbDatabase>();
    acdbHostApplicationServices()->setWorkingDatabase(db.get());
    lineId = AddLine(AcGePoint3d(0, 0, 0), AcGePoint3d(10, 0, 0));
  }
  void TearDown() override { acdbHostApplicationServices()->setWorkingDatabase(previous); }

  AcDbObjectId AddLine(const AcGePoint3d& a, const AcGePoint3d& b) {
    AcDbBlockTable* blocks = nullptr;
    EXPECT_EQ(db->getBlockTable(blocks, AcDb::kForRead), Acad::eOk);
    AcDbBlockTableRecord* model = nullptr;
    EXPECT_EQ(blocks->getAt(L"*Model_Space", model, AcDb::kForWrite), Acad::eOk);
    blocks->close();
    AcDbObjectId id;
    auto* line = new AcDbLine(a, b);
    EXPECT_EQ(model->appendAcDbEntity(id, line), Acad::eOk);
    EXPECT_TRUE(line->isWriteEnabled());
    line->close();
    model->close();
    return id;
  }

  AcDbDatabase* previous = nullptr;
  std::unique_ptr<AcDbDatabase> db;
  AcDbObjectId lineId;
};

TEST_F(Objects, SecondOpenGetsTheStatusOfTheFirst) {
  using M = AcDb::OpenMode;
  struct Case {
    M first;
    M second;
    Acad::ErrorStatus expected;
  };
  const Case cases[] = {
      {AcDb::kForRead, AcDb::kForRead, Acad::eOk},
      {AcDb::kForRead, AcDb::kForWrite, Acad::eWasOpenForRead},
      {AcDb::kForRead, AcDb::kForNotify, Acad::eOk},
      {AcDb::kForWrite, AcDb::kForRead, Acad::eWasOpenForWrite},
      {AcDb::kForWrite, AcDb::kForWrite, Acad::eWasOpenForWrite},
      {AcDb::kForWrite, AcDb::kForNotify, Acad::eOk},
      {AcDb::kForNotify, AcDb::kForRead, Acad::eWasOpenForNotify},
      {AcDb::kForNotify, AcDb::kForWrite, Acad::eWasOpenForNotify},
      {AcDb::kForNotify, AcDb::kForNotify, Acad::eWasOpenForNotify},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.first << " then " << c.second);
    AcDbObject* a = nullptr;
    AcDbObject* b = nullptr;
    ASSERT_EQ(acdbOpenAcDbObject(a, lineId, c.first), Acad::eOk);
    EXPECT_EQ(acdbOpenAcDbObject(b, lineId, c.second), c.expected);
    EXPECT_EQ(b != nullptr, c.expected == Acad::eOk);
    if (b) {
      EXPECT_EQ(b->close(), Acad::eOk);
    }
    EXPECT_EQ(a->close(), Acad::eOk);
    EXPECT_EQ(a->close(), Acad::eInvalidOpenState);
  }
}

TEST_F(Objects, UpgradeAndDowngradeFollowTheReaders) {
  AcDbObject* a = nullptr;
  AcDbObject* b = nullptr;
  ASSERT_EQ(acdbOpenAcDbObject(a, lineId, AcDb::kForRead), Acad::eOk);
  ASSERT_EQ(acdbOpenAcDbObject(b, lineId, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(a->upgradeOpen(), Acad::eHadMultipleReaders);
  b->close();
  EXPECT_EQ(a->upgradeOpen(), Acad::eOk);
  EXPECT_TRUE(a->isWriteEnabled());
  EXPECT_EQ(a->upgradeOpen(), Acad::eWasOpenForWrite);
  EXPECT_EQ(a->downgradeOpen(), Acad::eOk);
  EXPECT_EQ(a->downgradeOpen(), Acad::eNotOpenForWrite);
  EXPECT_EQ(acdbOpenAcDbObject(b, lineId, AcDb::kForRead), Acad::eOk);
  b->close();
  a->close();
}

TEST_F(Objects, ReadersStopAt256) {
  AcDbObject* o = nullptr;
  for (int i = 0; i < 256; ++i) ASSERT_EQ(acdbOpenAcDbObject(o, lineId, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(acdbOpenAcDbObject(o, lineId, AcDb::kForRead), Acad::eAtMaxReaders);
  EXPECT_EQ(o, nullptr);
  AcDbObject* line = kwhost::db::Peek(lineId);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(line->close(), Acad::eOk);
}

TEST_F(Objects, SettersOfAClosedObjectChangeNothing) {
  auto* line = AcDbLine::cast(kwhost::db::Peek(lineId));
  EXPECT_EQ(line->setStartPoint(AcGePoint3d(5, 5, 5)), Acad::eNotOpenForWrite);
  EXPECT_EQ(line->startPoint(), AcGePoint3d(0, 0, 0));
  AcDbLine* open = nullptr;
  ASSERT_EQ(acdbOpenObject(open, lineId, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(open->setStartPoint(AcGePoint3d(5, 5, 5)), Acad::eNotOpenForWrite);
  open->close();
}

TEST_F(Objects, ErasedObjectsOpenOnlyWhenAskedAndComeBack) {
  AcDbEntity* e = nullptr;
  ASSERT_EQ(acdbOpenAcDbEntity(e, lineId, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(e->erase(), Acad::eNotOpenForWrite);
  e->close();
  ASSERT_EQ(acdbOpenAcDbEntity(e, lineId, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(e->erase(false), Acad::eWasNotErased);
  EXPECT_EQ(e->erase(), Acad::eOk);
  EXPECT_EQ(e->erase(), Acad::eWasErased);
  e->close();
  EXPECT_EQ(acdbOpenAcDbEntity(e, lineId, AcDb::kForRead), Acad::eWasErased);
  EXPECT_EQ(e, nullptr);
  ASSERT_EQ(acdbOpenAcDbEntity(e, lineId, AcDb::kForWrite, true), Acad::eOk);
  EXPECT_EQ(e->erase(false), Acad::eOk);
  e->close();
  EXPECT_EQ(acdbOpenAcDbEntity(e, lineId, AcDb::kForRead), Acad::eOk);
  e->close();
}

TEST_F(Objects, OpenRefusesNullForeignAndWrongKinds) {
  AcDbObject* o = nullptr;
  EXPECT_EQ(acdbOpenAcDbObject(o, AcDbObjectId(), AcDb::kForRead), Acad::eNullObjectId);
  EXPECT_EQ(acdbOpenAcDbObject(o, AcDbObjectId().setFromOldId(0x7FFF00000001), AcDb::kForRead),
            Acad::eNotInDatabase);
  AcDbCircle* circle = nullptr;
  EXPECT_EQ(acdbOpenObject(circle, lineId, AcDb::kForWrite), Acad::eNotThatKindOfClass);
  AcDbEntity* e = nullptr;
  EXPECT_EQ(acdbOpenAcDbEntity(e, db->layerTableId(), AcDb::kForRead), Acad::eNotAnEntity);
  // Nothing stayed open: a write open works.
  EXPECT_EQ(acdbOpenAcDbObject(o, lineId, AcDb::kForWrite), Acad::eOk);
  o->close();
  EXPECT_EQ(acdbOpenAcDbObject(o, db->layerTableId(), AcDb::kForWrite), Acad::eOk);
  o->close();
}

TEST_F(Objects, IdsOfADeletedDatabaseStopResolving) {
  auto other = std::make_unique<AcDbDatabase>();
  AcDbObjectId layers = other->layerTableId();
  other.reset();
  AcDbObject* o = nullptr;
  EXPECT_EQ(acdbOpenAcDbObject(o, layers, AcDb::kForRead), Acad::eNotInDatabase);
  EXPECT_EQ(kwhost::db::Peek(layers), nullptr);
}

TEST_F(Objects, IdsAnswerForTheirObjects) {
  EXPECT_TRUE(lineId.isValid());
  EXPECT_EQ(lineId.database(), db.get());
  EXPECT_EQ(lineId.objectClass(), AcDbLine::desc());
  EXPECT_EQ(lineId.handle(), kwhost::db::Peek(lineId)->objectHandle());
  EXPECT_FALSE(lineId.isErased());
  EXPECT_FALSE(AcDbObjectId().isValid());
  EXPECT_EQ(AcDbObjectId().database(), nullptr);
  EXPECT_TRUE(AcDbObjectId().handle().isNull());
}

TEST_F(Objects, EntityNamesAndIdsConvertBothWays) {
  ads_name name;
  ASSERT_EQ(acdbGetAdsName(name, lineId), Acad::eOk);
  AcDbObjectId back;
  ASSERT_EQ(acdbGetObjectId(back, name), Acad::eOk);
  EXPECT_EQ(back, lineId);
  EXPECT_EQ(acdbGetAdsName(name, AcDbObjectId()), Acad::eNullObjectId);
  ads_name bogus = {12345, 99};
  EXPECT_EQ(acdbGetObjectId(back, bogus), Acad::eInvalidAdsName);
  EXPECT_TRUE(back.isNull());
}

TEST_F(Objects, HandlesAreUniqueAndFindTheirObjects) {
  AcDbObjectId second = AddLine(AcGePoint3d(1, 1, 0), AcGePoint3d(2, 2, 0));
  AcDbHandle h1 = kwhost::db::Peek(lineId)->objectHandle();
  AcDbHandle h2 = kwhost::db::Peek(second)->objectHandle();
  EXPECT_NE(h1, h2);
  EXPECT_EQ(h2.value() + 1, db->handseed().value());
  AcDbObjectId found;
  ASSERT_EQ(db->getAcDbObjectId(found, false, h2), Acad::eOk);
  EXPECT_EQ(found, second);
  EXPECT_EQ(db->getAcDbObjectId(found, false, AcDbHandle(0xFFFFFF)), Acad::eKeyNotFound);

  AcDbObjectId model = db->currentSpaceId();
  AcDbObjectId id;
  auto* clash = new AcDbLine();
  EXPECT_EQ(kwhost::db::AddWithHandle(*db, clash, h1, model, id), Acad::eHandleInUse);
  delete clash;
  auto* high = new AcDbLine();
  ASSERT_EQ(kwhost::db::AddWithHandle(*db, high, AcDbHandle(0x5000), model, id), Acad::eOk);
  EXPECT_EQ(db->handseed().value(), 0x5001u);
}

TEST_F(Objects, SmartPointerClosesAndDeletesWhatItHolds) {
  {
    AcDbObjectPointer<AcDbLine> line(lineId, AcDb::kForWrite);
    ASSERT_EQ(line.openStatus(), Acad::eOk);
    EXPECT_EQ(line->setEndPoint(AcGePoint3d(3, 4, 0)), Acad::eOk);
    AcDbObjectPointer<AcDbLine> again(lineId, AcDb::kForRead);
    EXPECT_EQ(again.openStatus(), Acad::eWasOpenForWrite);
    EXPECT_EQ(again.object(), nullptr);
  }
  AcDbObjectPointer<AcDbCircle> wrong(lineId, AcDb::kForRead);
  EXPECT_EQ(wrong.openStatus(), Acad::eNotThatKindOfClass);
  AcDbObjectPointer<AcDbLine> fresh;
  ASSERT_EQ(fresh.create(), Acad::eOk);
  EXPECT_TRUE(fresh->objectId().isNull());  // deleted by the pointer: ASan proves no leak
  AcDbEntityPointer entity(lineId, AcDb::kForWrite);
  EXPECT_EQ(entity.openStatus(), Acad::eOk);
}

TEST_F(Objects, ClassesAnswerKindOfAndCast) {
  AcDbLine line;
  EXPECT_TRUE(line.isKindOf(AcDbCurve::desc()));
  EXPECT_TRUE(line.isKindOf(AcDbEntity::desc()));
  EXPECT_FALSE(line.isKindOf(AcDbBlockReference::desc()));
  EXPECT_STREQ(line.isA()->name(), L"AcDbLine");
  EXPECT_STREQ(AcDbCurve::desc()->myParent()->name(), L"AcDbEntity");
  EXPECT_EQ(AcDbCurve::cast(&line), &line);
  kwhost::db::ProxyEntity proxy("HATCH", {});
  EXPECT_STREQ(proxy.isA()->name(), L"AcDbProxyEntity");
  EXPECT_TRUE(proxy.isKindOf(AcDbEntity::desc()));
}

TEST_F(Objects, StatusTextsAreThePlatformNames) {
  EXPECT_STREQ(acadErrorStatusText(Acad::eOk), L"eOk");
  EXPECT_STREQ(acadErrorStatusText(Acad::eKeyNotFound), L"eKeyNotFound");
  EXPECT_STREQ(acadErrorStatusText(Acad::eDuplicateRecordName), L"eDuplicateRecordName");
  EXPECT_STREQ(acadErrorStatusText(static_cast<Acad::ErrorStatus>(9999)), L"Unknown");
}

TEST_F(Objects, KeptGroupsTravelWithCopies) {
  AcDbLine line;
  kwhost::db::KeptFor(line).subclass("AcDbEntity").push_back({420, "255"});
  kwhost::db::KeptFor(line).xdata = {{1001, "APP"}, {1000, "x"}};
  std::unique_ptr<AcDbObject> copy(line.clone());
  const kwhost::db::KeptData* kept = kwhost::db::Kept(*copy);
  ASSERT_NE(kept, nullptr);
  ASSERT_NE(kept->findSubclass("AcDbEntity"), nullptr);
  EXPECT_EQ(kept->findSubclass("AcDbEntity")->at(0).value, "255");
  EXPECT_EQ(kept->xdata.size(), 2u);
  EXPECT_EQ(kwhost::db::Kept(AcDbLine()), nullptr);
}

}  // namespace
