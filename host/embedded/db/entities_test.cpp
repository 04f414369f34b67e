// Entities: common properties and colours, polylines, extents, DXF lists, and copying blocks
// within and between drawings.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"

namespace {

constexpr double kPi = std::numbers::pi;

class Entities : public ::testing::Test {
 protected:
  void SetUp() override {
    previous = acdbHostApplicationServices()->workingDatabase();
    db = std::make_unique<AcDbDatabase>();
    acdbHostApplicationServices()->setWorkingDatabase(db.get());
  }
  void TearDown() override { acdbHostApplicationServices()->setWorkingDatabase(previous); }

  // Appends to the named block of `d` (model space by default); the id, or null on failure.
  static AcDbObjectId Append(AcDbDatabase& d, AcDbEntity* e,
                             const wchar_t* block = L"*Model_Space") {
    AcDbBlockTable* blocks = nullptr;
    d.getBlockTable(blocks);
    AcDbBlockTableRecord* record = nullptr;
    Acad::ErrorStatus es = blocks->getAt(block, record, AcDb::kForWrite);
    blocks->close();
    AcDbObjectId id;
    if (es == Acad::eOk && record->appendAcDbEntity(id, e) == Acad::eOk) e->close();
    if (record) record->close();
    return id;
  }

  static AcDbObjectId NewBlock(AcDbDatabase& d, const wchar_t* name) {
    AcDbBlockTable* blocks = nullptr;
    d.getBlockTable(blocks, AcDb::kForWrite);
    auto* block = new AcDbBlockTableRecord();
    block->setName(name);
    AcDbObjectId id;
    EXPECT_EQ(blocks->add(id, block), Acad::eOk);
    block->close();
    blocks->close();
    return id;
  }

  // The DXF list as "code=value;" text (strings, ints, reals with %g, points x,y,z).
  static std::wstring ListText(resbuf* list) {
    std::wstring out;
    for (resbuf* rb = list; rb; rb = rb->rbnext) {
      if (rb->restype == -1 || rb->restype == 330 || rb->restype == 5) continue;
      out += std::to_wstring(rb->restype) + L"=";
      wchar_t buf[96];
      switch (acdbDxfValueKind(rb->restype)) {
        case AcDbDxfValueKind::kString:
          out += rb->resval.rstring;
          break;
        case AcDbDxfValueKind::kShort:
          out += std::to_wstring(rb->resval.rint);
          break;
        case AcDbDxfValueKind::kLong:
          out += std::to_wstring(rb->resval.rlong);
          break;
        case AcDbDxfValueKind::kReal:
          std::swprintf(buf, 96, L"%g", rb->resval.rreal);
          out += buf;
          break;
        case AcDbDxfValueKind::kPoint:
          std::swprintf(buf, 96, L"%g,%g,%g", rb->resval.rpoint[0], rb->resval.rpoint[1],
                        rb->resval.rpoint[2]);
          out += buf;
          break;
        default:
          out += L"?";
      }
      out += L";";
    }
    acutRelRb(list);
    return out;
  }

  static std::wstring EntGet(AcDbObjectId id) {
    ads_name name;
    acdbGetAdsName(name, id);
    return ListText(acdbEntGet(name));
  }

  AcDbDatabase* previous = nullptr;
  std::unique_ptr<AcDbDatabase> db;
};

TEST_F(Entities, ColoursKeepTheirMethod) {
  AcCmColor c;
  EXPECT_TRUE(c.isByLayer());
  EXPECT_EQ(c.colorIndex(), 256);
  EXPECT_EQ(c.setColorIndex(0), Acad::eOk);
  EXPECT_TRUE(c.isByBlock());
  EXPECT_EQ(c.setColorIndex(9), Acad::eOk);
  EXPECT_TRUE(c.isByACI());
  EXPECT_EQ(c.colorIndex(), 9);
  EXPECT_EQ(c.setColorIndex(257), Acad::eInvalidInput);
  EXPECT_EQ(c.colorIndex(), 9);
  c.setRGB(12, 34, 255);
  EXPECT_TRUE(c.isByColor());
  EXPECT_EQ(c.red(), 12);
  EXPECT_EQ(c.green(), 34);
  EXPECT_EQ(c.blue(), 255);
  EXPECT_EQ(c.color(), 0xC20C22FFu);
  c.setColor(300);
  EXPECT_EQ(c.color(), 300u);
  EXPECT_FALSE(c.isByLayer());
  AcCmColor d;
  d.setColor(300);
  EXPECT_EQ(c, d);
}

TEST_F(Entities, NewEntitiesTakeTheDrawingDefaults) {
  AcDbObjectId id = Append(*db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 1, 0)));
  AcDbObjectPointer<AcDbLine> line(id, AcDb::kForRead);
  ASSERT_EQ(line.openStatus(), Acad::eOk);
  wchar_t* layer = line->layer();
  wchar_t* linetype = line->linetype();
  EXPECT_STREQ(layer, L"0");
  EXPECT_STREQ(linetype, L"ByLayer");
  std::free(layer);
  std::free(linetype);
  EXPECT_TRUE(line->color().isByLayer());
  EXPECT_EQ(line->lineWeight(), AcDb::kLnWtByLayer);
  EXPECT_EQ(line->blockId(), db->currentSpaceId());
}

TEST_F(Entities, FileEntitiesWithoutLayerOrLinetypeTakeZeroAndByLayer) {
  AcDbLayerTable* layers = nullptr;
  db->getLayerTable(layers, AcDb::kForWrite);
  auto* road = new AcDbLayerTableRecord();
  road->setName(L"Road");
  AcDbObjectId roadId;
  layers->add(roadId, road);
  road->close();
  layers->close();
  ASSERT_EQ(db->setClayer(roadId), Acad::eOk);
  ASSERT_EQ(db->setCeltype(db->continuousLinetype()), Acad::eOk);
  AcDbObjectId api = Append(*db, new AcDbPoint());
  AcDbObjectId read;
  ASSERT_EQ(
      kwhost::db::AddWithHandle(*db, new AcDbPoint(), AcDbHandle(), db->currentSpaceId(), read),
      Acad::eOk);
  EXPECT_EQ(AcDbEntity::cast(kwhost::db::Peek(api))->layerId(), roadId);
  EXPECT_EQ(AcDbEntity::cast(kwhost::db::Peek(api))->linetypeId(), db->continuousLinetype());
  wchar_t* layer = AcDbEntity::cast(kwhost::db::Peek(read))->layer();
  EXPECT_STREQ(layer, L"0");
  std::free(layer);
  EXPECT_EQ(AcDbEntity::cast(kwhost::db::Peek(read))->linetypeId(), db->byLayerLinetype());
}

TEST_F(Entities, PropertiesByNameNeedTheRecord) {
  auto line = std::make_unique<AcDbLine>();
  EXPECT_EQ(line->setLinetype(L"DASHDOT"), Acad::eKeyNotFound);
  EXPECT_EQ(line->setLinetype(L"continuous"), Acad::eOk);
  EXPECT_EQ(line->linetypeId(), db->continuousLinetype());
  EXPECT_EQ(line->setLayer(L"nope"), Acad::eKeyNotFound);
  EXPECT_EQ(line->setLineWeight(static_cast<AcDb::LineWeight>(7)), Acad::eInvalidInput);
  EXPECT_EQ(line->setLineWeight(AcDb::kLnWt050), Acad::eOk);
  EXPECT_EQ(line->setLinetypeScale(0), Acad::eInvalidInput);
  EXPECT_EQ(line->setColorIndex(3), Acad::eOk);
  EXPECT_EQ(line->colorIndex(), 3);
}

TEST_F(Entities, LightweightPolylineKeepsVerticesBulgesAndWidths) {
  AcDbPolyline pl;
  ASSERT_EQ(pl.addVertexAt(0, AcGePoint2d(0, 0)), Acad::eOk);
  ASSERT_EQ(pl.addVertexAt(1, AcGePoint2d(10, 0), 1.0), Acad::eOk);
  ASSERT_EQ(pl.addVertexAt(1, AcGePoint2d(5, 5), 0, 0.5, 1.5), Acad::eOk);
  EXPECT_EQ(pl.addVertexAt(9, AcGePoint2d(1, 1)), Acad::eInvalidIndex);
  EXPECT_EQ(pl.numVerts(), 3u);
  AcGePoint2d p;
  double bulge = -1, s = -1, e = -1;
  pl.getPointAt(1, p);
  EXPECT_EQ(p, AcGePoint2d(5, 5));
  pl.getBulgeAt(2, bulge);
  EXPECT_EQ(bulge, 1.0);
  pl.getWidthsAt(1, s, e);
  EXPECT_EQ(s, 0.5);
  EXPECT_EQ(e, 1.5);
  double width = 0;
  EXPECT_EQ(pl.getConstantWidth(width), Acad::eNotApplicable);
  EXPECT_EQ(pl.setConstantWidth(2.0), Acad::eOk);
  EXPECT_EQ(pl.getConstantWidth(width), Acad::eOk);
  EXPECT_EQ(width, 2.0);
  pl.getWidthsAt(0, s, e);
  EXPECT_EQ(s, 2.0);
  EXPECT_EQ(pl.removeVertexAt(1), Acad::eOk);
  EXPECT_TRUE(pl.hasBulges());
  ASSERT_EQ(pl.setBulgeAt(0, 1.0), Acad::eOk);
  // (0,0) -> (10,0) with bulge 1: a half circle below the chord, down to y = -5.
  AcDbExtents ext;
  ASSERT_EQ(pl.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.minPoint().y, -5.0, 1e-9);
  EXPECT_NEAR(ext.maxPoint().x, 10.0, 1e-9);
  EXPECT_NEAR(ext.maxPoint().y, 0.0, 1e-9);
}

TEST_F(Entities, OldStylePolylineOwnsItsVertices) {
  AcGePoint3dArray points;
  points.append(AcGePoint3d(0, 0, 0));
  points.append(AcGePoint3d(4, 0, 0));
  points.append(AcGePoint3d(4, 3, 0));
  auto* poly = new AcDb2dPolyline(AcDb::k2dSimplePoly, points, 0, true);
  ASSERT_EQ(poly->appendVertex(new AcDb2dVertex(AcGePoint3d(0, 3, 0))), Acad::eOk);
  AcDbObjectId id = Append(*db, poly);
  AcDbObjectPointer<AcDb2dPolyline> read(id, AcDb::kForWrite);
  ASSERT_EQ(read.openStatus(), Acad::eOk);
  EXPECT_EQ(read->numVerts(), 4);
  std::unique_ptr<AcDbObjectIterator> it(read->vertexIterator());
  std::vector<AcGePoint3d> seen;
  for (it->start(); !it->done(); it->step()) {
    AcDb2dVertex* v = nullptr;
    ASSERT_EQ(read->openVertex(v, it->objectId(), AcDb::kForRead), Acad::eOk);
    seen.push_back(v->position());
    EXPECT_EQ(v->ownerId(), id);
    v->close();
  }
  EXPECT_EQ(seen.back(), AcGePoint3d(0, 3, 0));
  EXPECT_EQ(read->setColorIndex(5), Acad::eOk);  // passes on to the vertices
  it->start();
  AcDbEntity* first = nullptr;
  ASSERT_EQ(acdbOpenAcDbEntity(first, it->objectId(), AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(first->colorIndex(), 5);
  first->close();
  AcDb2dVertex* notMine = nullptr;
  EXPECT_EQ(read->openVertex(notMine, id, AcDb::kForRead), Acad::eInvalidInput);
}

TEST_F(Entities, ExtentsOfCurvesTextAndReferences) {
  AcDbExtents ext;
  AcDbArc arc(AcGePoint3d(0, 0, 0), 2, 0, kPi / 2);
  ASSERT_EQ(arc.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.minPoint().x, 0, 1e-12);
  EXPECT_NEAR(ext.maxPoint().x, 2, 1e-12);
  EXPECT_NEAR(ext.maxPoint().y, 2, 1e-12);
  AcDbCircle circle(AcGePoint3d(1, 1, 0), AcGeVector3d(0, 0, 1), 1);
  ASSERT_EQ(circle.getGeomExtents(ext), Acad::eOk);
  EXPECT_EQ(ext.minPoint(), AcGePoint3d(0, 0, 0));
  EXPECT_EQ(ext.maxPoint(), AcGePoint3d(2, 2, 0));
  AcDbText text(AcGePoint3d(0, 0, 0), L"AB道", AcDbObjectId(), 10);
  ASSERT_EQ(text.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.maxPoint().x, 26, 1e-9);  // 0.8 + 0.8 + 1.0 character heights
  EXPECT_EQ(AcDbPolyline().getGeomExtents(ext), Acad::eInvalidExtents);

  AcDbObjectId block = NewBlock(*db, L"Well");
  Append(*db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0)), L"Well");
  auto* ref = new AcDbBlockReference(AcGePoint3d(10, 10, 0), block);
  ref->setScaleFactors(AcGeScale3d(2, 2, 1));
  ref->setRotation(kPi / 2);
  AcDbObjectId refId = Append(*db, ref);
  AcDbObjectPointer<AcDbBlockReference> placed(refId, AcDb::kForRead);
  ASSERT_EQ(placed->getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.minPoint().x, 10, 1e-9);
  EXPECT_NEAR(ext.maxPoint().y, 12, 1e-9);
  placed.close();
  ASSERT_EQ(db->updateExt(), Acad::eOk);
  EXPECT_NEAR(db->extmax().y, 12, 1e-9);
}

TEST_F(Entities, ExtentsFollowTheEntityPlane) {
  // A full circle in the plane x = const: no extent along x, the radius along y and z.
  AcDbCircle upright(AcGePoint3d(3, 0, 0), AcGeVector3d(1, 0, 0), 2);
  AcDbExtents ext;
  ASSERT_EQ(upright.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.minPoint().x, 3, 1e-12);
  EXPECT_NEAR(ext.maxPoint().x, 3, 1e-12);
  EXPECT_NEAR(ext.minPoint().z, -2, 1e-12);
  EXPECT_NEAR(ext.maxPoint().y, 2, 1e-12);
  // The arc's start point on a plane seen from below (normal -z) mirrors x.
  AcDbArc below(AcGePoint3d(0, 0, 0), 1, 0, kPi / 2);
  ASSERT_EQ(below.setNormal(AcGeVector3d(0, 0, -1)), Acad::eOk);
  AcGePoint3d start;
  below.getStartPoint(start);
  EXPECT_NEAR(start.x, -1, 1e-12);
  EXPECT_EQ(below.setNormal(AcGeVector3d(0, 0, 0)), Acad::eInvalidInput);
  AcDbPolyline raised;
  raised.addVertexAt(0, AcGePoint2d(1, 1));
  raised.addVertexAt(1, AcGePoint2d(2, 3));
  raised.setElevation(5);
  ASSERT_EQ(raised.getGeomExtents(ext), Acad::eOk);
  EXPECT_EQ(ext.minPoint(), AcGePoint3d(1, 1, 5));
  EXPECT_EQ(ext.maxPoint(), AcGePoint3d(2, 3, 5));
}

TEST_F(Entities, PolylineIndexesOutOfRangeChangeNothing) {
  AcDbPolyline pl;
  double bulge = 7, s = 7, e = 7;
  AcGePoint2d p;
  EXPECT_EQ(pl.getPointAt(0, p), Acad::eInvalidIndex);
  EXPECT_EQ(pl.setBulgeAt(0, 1), Acad::eInvalidIndex);
  EXPECT_EQ(pl.getBulgeAt(0, bulge), Acad::eInvalidIndex);
  EXPECT_EQ(pl.setWidthsAt(0, 1, 1), Acad::eInvalidIndex);
  EXPECT_EQ(pl.getWidthsAt(0, s, e), Acad::eInvalidIndex);
  EXPECT_EQ(pl.removeVertexAt(0), Acad::eInvalidIndex);
  AcGePoint3d start;
  EXPECT_EQ(pl.getStartPoint(start), Acad::eInvalidInput);
  for (unsigned i = 0; i < 5; ++i) pl.addVertexAt(i, AcGePoint2d(i, 0));
  EXPECT_EQ(pl.setWidthsAt(2, -1, 1), Acad::eInvalidInput);
  EXPECT_EQ(pl.reset(true, 2), Acad::eOk);
  EXPECT_EQ(pl.numVerts(), 2u);
  pl.setClosed(true);
  AcGePoint3d end;
  pl.getEndPoint(end);
  EXPECT_EQ(end, AcGePoint3d(0, 0, 0));
  EXPECT_EQ(pl.reset(false, 0), Acad::eOk);
  EXPECT_EQ(pl.numVerts(), 0u);
}

TEST_F(Entities, TextWithoutStyleTakesTheCurrentOne) {
  AcDbObjectId id = Append(*db, new AcDbText(AcGePoint3d(), L"x"));
  AcDbObjectPointer<AcDbText> text(id, AcDb::kForRead);
  EXPECT_EQ(text->textStyle(), db->textstyle());
  EXPECT_EQ(text->setHeight(0), Acad::eInvalidInput);
  EXPECT_EQ(text->setTextString(nullptr), Acad::eNullObjectPointer);
}

TEST_F(Entities, ListsFreeTheirStringsByGroupCode) {
  // A list mixing command-line and DXF string groups: ASan proves every string is freed.
  resbuf* list = acutBuildList(RTSTR, L"a", 1, L"b", 300, L"c", 1000, L"d", 102, L"{ACAD", 0);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(acutRelRb(list), RTNORM);
  EXPECT_EQ(acdbDxfValueKind(330), AcDbDxfValueKind::kName);
  EXPECT_EQ(acdbDxfValueKind(310), AcDbDxfValueKind::kBinary);
  EXPECT_EQ(acdbDxfValueKind(1071), AcDbDxfValueKind::kLong);
  EXPECT_EQ(acdbDxfValueKind(-3), AcDbDxfValueKind::kNone);
  EXPECT_EQ(acdbDxfValueKind(-4), AcDbDxfValueKind::kString);
  EXPECT_EQ(acdbDxfValueKind(20), AcDbDxfValueKind::kInvalid);  // y of a point: not a group
  AcDbIdMapping map;
  AcDbObjectId a = db->layerTableId(), b = db->blockTableId(), got;
  map.assign(a, b);
  map.assign(a, a);
  EXPECT_EQ(map.size(), 1);
  ASSERT_TRUE(map.lookup(a, got));
  EXPECT_EQ(got, a);
  EXPECT_FALSE(map.lookup(b, got));
}

TEST_F(Entities, AReferenceToItselfEndsTheExtentsWalk) {
  AcDbObjectId block = NewBlock(*db, L"Loop");
  Append(*db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0)), L"Loop");
  Append(*db, new AcDbBlockReference(AcGePoint3d(1, 0, 0), block), L"Loop");
  AcDbBlockReference ref(AcGePoint3d(0, 0, 0), block);
  AcDbExtents ext;
  ASSERT_EQ(ref.getGeomExtents(ext), Acad::eOk);
  EXPECT_NEAR(ext.maxPoint().x, 64, 1e-9);  // 64 levels deep, each one unit further
}

TEST_F(Entities, EntGetListsTypeLayerAndGeometry) {
  auto* line = new AcDbLine(AcGePoint3d(1, 2, 0), AcGePoint3d(3, 4, 0));
  line->setColorIndex(1);
  AcDbObjectId lineId = Append(*db, line);
  EXPECT_EQ(EntGet(lineId),
            L"0=LINE;100=AcDbEntity;8=0;62=1;100=AcDbLine;10=1,2,0;11=3,4,0;39=0;210=0,0,1;");
  auto* pl = new AcDbPolyline();
  pl->addVertexAt(0, AcGePoint2d(0, 0));
  pl->addVertexAt(1, AcGePoint2d(5, 0), 0.5);
  pl->setLinetype(L"Continuous");
  AcDbObjectId plId = Append(*db, pl);
  EXPECT_EQ(EntGet(plId),
            L"0=LWPOLYLINE;100=AcDbEntity;8=0;6=Continuous;100=AcDbPolyline;90=2;70=0;43=0;38=0;"
            L"39=0;10=0,0,0;40=0;41=0;42=0;10=5,0,0;40=0;41=0;42=0.5;210=0,0,1;");
  AcDbObjectId block = NewBlock(*db, L"B1");
  AcDbObjectId refId = Append(*db, new AcDbBlockReference(AcGePoint3d(1, 1, 0), block));
  EXPECT_EQ(EntGet(refId),
            L"0=INSERT;100=AcDbEntity;8=0;100=AcDbBlockReference;2=B1;10=1,1,0;41=1;42=1;43=1;"
            L"50=0;210=0,0,1;");
  auto* text = new AcDbText(AcGePoint3d(0, 0, 0), L"桩号", db->textstyle(), 2.5, kPi / 2);
  EXPECT_EQ(EntGet(Append(*db, text)),
            L"0=TEXT;100=AcDbEntity;8=0;100=AcDbText;10=0,0,0;40=2.5;1=桩号;50=90;41=1;51=0;"
            L"7=Standard;71=0;72=0;11=0,0,0;210=0,0,1;100=AcDbText;73=0;");
  AcDbObjectId proxyId = Append(*db, new kwhost::db::ProxyEntity("HATCH", {{8, "0"}}));
  EXPECT_EQ(EntGet(proxyId).substr(0, 7), L"0=HATCH");
  ads_name name;
  acdbGetAdsName(name, db->layerTableId());
  EXPECT_EQ(acdbEntGet(name), nullptr);
  AcDbObjectPointer<AcDbLine> erased(lineId, AcDb::kForWrite);
  ASSERT_EQ(erased->erase(), Acad::eOk);
  erased.close();
  acdbGetAdsName(name, lineId);
  EXPECT_EQ(acdbEntGet(name), nullptr);
}

TEST_F(Entities, BuildListMakesTypedBuffers) {
  ads_point pt = {1, 2, 3};
  resbuf* list = acutBuildList(RTDXF0, L"LINE", 8, L"路", 10, pt, 62, 3, 40, 2.5, 90, 7, 0);
  EXPECT_EQ(ListText(list), L"0=LINE;8=路;10=1,2,3;62=3;40=2.5;90=7;");
  EXPECT_EQ(acutBuildList(RTSTR, L"x", 4999, 0), nullptr);
  EXPECT_EQ(acutBuildList(0), nullptr);
}

TEST_F(Entities, BlockCopyHoldsCopiesOfEveryEntity) {
  AcDbObjectId source = NewBlock(*db, L"Src");
  Append(*db, new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(1, 0, 0)), L"Src");
  Append(*db, new AcDbCircle(AcGePoint3d(0, 0, 0), AcGeVector3d(0, 0, 1), 3), L"Src");
  AcDbBlockTableRecord* src = nullptr;
  ASSERT_EQ(acdbOpenObject(src, source, AcDb::kForRead), Acad::eOk);
  std::unique_ptr<AcDbObject> copy(src->clone());
  src->close();
  auto* block = AcDbBlockTableRecord::cast(copy.get());
  ASSERT_NE(block, nullptr);
  ASSERT_EQ(block->setName(L"Copy"), Acad::eOk);
  AcDbBlockTable* blocks = nullptr;
  db->getBlockTable(blocks, AcDb::kForWrite);
  ASSERT_EQ(blocks->add(block), Acad::eOk);
  copy.release();
  EXPECT_EQ(block->entityCount(), 2);
  AcDbBlockTableRecordIterator* it = nullptr;
  block->newIterator(it);
  AcDbEntity* e = nullptr;
  ASSERT_EQ(it->getEntity(e), Acad::eOk);
  EXPECT_STREQ(e->isA()->name(), L"AcDbLine");
  EXPECT_EQ(e->ownerId(), block->objectId());
  e->close();
  delete it;
  block->close();
  blocks->close();

  AcDbIdMapping map;
  AcDbObjectIdArray ids;
  ids.append(Append(*db, new AcDbPoint(AcGePoint3d(7, 7, 7))));
  ASSERT_EQ(db->deepCloneObjects(ids, source, map), Acad::eOk);
  AcDbObjectId cloned;
  ASSERT_TRUE(map.lookup(ids[0], cloned));
  AcDbObjectPointer<AcDbPoint> point(cloned, AcDb::kForRead);
  EXPECT_EQ(point->position(), AcGePoint3d(7, 7, 7));
  EXPECT_EQ(point->ownerId(), source);
}

TEST_F(Entities, InsertingADrawingDefinesABlockWithItsRecords) {
  AcDbDatabase side;
  AcDbLayerTable* layers = nullptr;
  side.getLayerTable(layers, AcDb::kForWrite);
  auto* pipe = new AcDbLayerTableRecord();
  pipe->setName(L"Pipe");
  layers->add(pipe);
  pipe->close();
  layers->close();
  auto* line = new AcDbLine(AcGePoint3d(0, 0, 0), AcGePoint3d(2, 0, 0));
  EXPECT_EQ(line->setLayer(L"Pipe"), Acad::eKeyNotFound);  // looked up in the working drawing
  AcDbObjectId sideLine = Append(side, line);
  AcDbLine* open = nullptr;
  acdbOpenObject(open, sideLine, AcDb::kForWrite);
  EXPECT_EQ(open->setLayer(L"Pipe"), Acad::eOk);
  kwhost::db::KeptFor(*open).xdata = {{1001, "KW"}, {1000, "kept"}};
  open->close();

  AcDbDatabase* copy = nullptr;
  ASSERT_EQ(side.wblock(copy), Acad::eOk);
  std::unique_ptr<AcDbDatabase> owned(copy);
  AcDbObjectId blockId;
  EXPECT_EQ(db->insert(blockId, L"well", db.get()), Acad::eSelfReference);
  EXPECT_EQ(db->insert(blockId, L"", copy), Acad::eInvalidInput);
  ASSERT_EQ(db->insert(blockId, L"well", copy), Acad::eOk);
  AcDbObjectId again;
  EXPECT_EQ(db->insert(again, L"WELL", copy), Acad::eDuplicateRecordName);
  EXPECT_TRUE(again.isNull());
  owned.reset();

  AcDbBlockTableRecord* block = nullptr;
  ASSERT_EQ(acdbOpenObject(block, blockId, AcDb::kForRead), Acad::eOk);
  EXPECT_EQ(block->name(), L"well");
  AcDbBlockTableRecordIterator* it = nullptr;
  block->newIterator(it);
  AcDbEntity* e = nullptr;
  ASSERT_EQ(it->getEntity(e), Acad::eOk);
  wchar_t* layer = e->layer();
  EXPECT_STREQ(layer, L"Pipe");
  std::free(layer);
  EXPECT_EQ(e->database(), db.get());
  ASSERT_NE(kwhost::db::Kept(*e), nullptr);
  EXPECT_EQ(kwhost::db::Kept(*e)->xdata.at(1).value, "kept");
  e->close();
  delete it;
  block->close();
  AcDbLayerTable* mine = nullptr;
  db->getLayerTable(mine);
  EXPECT_TRUE(mine->has(L"PIPE"));
  mine->close();
}

}  // namespace
