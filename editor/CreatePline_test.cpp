// CreatePline: vertices, closing by a repeated vertex, linetypes loaded on demand, properties
// and every failure message.
#include <gtest/gtest.h>
#include <kwhost/embedded.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "common/text.h"
#include "editor/EntityCreation.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"

namespace {

// The default linetype file the host's LINETYPE command reads, in a support folder of the test.
constexpr char kLinFile[] =
    "*KWDASH,Dashes for the tests __ __ __\n"
    "A,5,-2.5\n";

class CreatePlineTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp_ = new kwtest::TempDir("kwplinetest");
    root_ = temp_->path();
    ASSERT_TRUE(kw::Fs().WriteFileAtomic(kw::WidePath(root_ + "/acadiso.lin"), kLinFile));
  }
  static void TearDownTestSuite() { delete temp_; }
  void SetUp() override {
    setenv("KWRD_SUPPORT_PATH", root_.c_str(), 1);
    kwhost::ResetSession();
    unsetenv("KWRD_SUPPORT_PATH");
  }

  // The polyline of `id`, opened for read (closed by the pointer).
  static std::unique_ptr<AcDbObjectPointer<AcDbPolyline>> Open(AcDbObjectId id) {
    auto pline = std::make_unique<AcDbObjectPointer<AcDbPolyline>>(id, AcDb::kForRead);
    EXPECT_EQ(pline->openStatus(), Acad::eOk);
    return pline;
  }
  static std::wstring Vertices(AcDbObjectId id) {
    auto pline = Open(id);
    std::wstring text;
    for (unsigned i = 0; i < (*pline)->numVerts(); ++i) {
      AcGePoint2d p;
      (*pline)->getPointAt(i, p);
      text += L"(" + std::to_wstring(p.x) + L"," + std::to_wstring(p.y) + L")";
    }
    return text;
  }
  static AcGePoint3dArray Square(double lastX) {
    AcGePoint3dArray points;
    points.append(AcGePoint3d(0, 0, 0));
    points.append(AcGePoint3d(10, 0, 0));
    points.append(AcGePoint3d(10, 10, 0));
    points.append(AcGePoint3d(lastX, 0, 0));
    return points;
  }
  static kwtest::TempDir* temp_;
  static std::string root_;
};
kwtest::TempDir* CreatePlineTest::temp_ = nullptr;
std::string CreatePlineTest::root_;

TEST_F(CreatePlineTest, ClosingWithinTheGapOfTheFirstPointAddsNoVertex) {
  AcDbObjectId exact, near;
  ASSERT_EQ(CreatePline(Square(0.0), exact, 1, nullptr, 1.0, 0.0, 7), 1);
  ASSERT_EQ(CreatePline(Square(0.01), near, 1, nullptr, 1.0, 0.0, 7), 1);
  EXPECT_EQ(Open(exact)->object()->numVerts(), 4u);
  EXPECT_EQ(Vertices(near),
            L"(0.000000,0.000000)(10.000000,0.000000)(10.000000,10.000000)"
            L"(0.010000,0.000000)");
  EXPECT_FALSE(Open(near)->object()->isClosed());
}

TEST_F(CreatePlineTest, ClosingBeyondTheGapRepeatsTheFirstPointWithoutTheClosedFlag) {
  AcDbObjectId id;
  ASSERT_EQ(CreatePline(Square(0.02), id, 1, nullptr, 1.0, 0.0, 7), 1);
  EXPECT_EQ(Vertices(id),
            L"(0.000000,0.000000)(10.000000,0.000000)(10.000000,10.000000)"
            L"(0.020000,0.000000)(0.000000,0.000000)");
  EXPECT_FALSE(Open(id)->object()->isClosed());
}

TEST_F(CreatePlineTest, AnOpenPolylineKeepsItsPointsAsGiven) {
  AcDbObjectId id;
  ASSERT_EQ(CreatePline(Square(0.02), id, 0, nullptr, 1.0, 0.0, 7), 1);
  EXPECT_EQ(Open(id)->object()->numVerts(), 4u);
}

TEST_F(CreatePlineTest, VerticesIgnoreZAndCarryWidthColourAndScale) {
  AcGePoint3dArray points;
  points.append(AcGePoint3d(1, 2, 30));
  points.append(AcGePoint3d(4, 6, -5));
  AcDbObjectId id;
  ASSERT_EQ(CreatePline(points, id, 0, L"", 2.5, 0.75, 3), 1);
  auto pline = Open(id);
  AcGePoint3d second;
  ASSERT_EQ((*pline)->getPointAt(1, second), Acad::eOk);
  EXPECT_EQ(second, AcGePoint3d(4, 6, 0));
  double start = 0, end = 0, bulge = 1;
  ASSERT_EQ((*pline)->getWidthsAt(0, start, end), Acad::eOk);
  ASSERT_EQ((*pline)->getBulgeAt(0, bulge), Acad::eOk);
  EXPECT_EQ(start, 0.75);
  EXPECT_EQ(end, 0.75);
  EXPECT_EQ(bulge, 0.0);
  EXPECT_EQ((*pline)->colorIndex(), 3);
  EXPECT_EQ((*pline)->linetypeScale(), 2.5);
  EXPECT_EQ((*pline)->ownerId(), kwhost::CurrentDatabase()->currentSpaceId());
  EXPECT_EQ(kwhost::TakeOutput(), L"");
}

TEST_F(CreatePlineTest, AMissingLinetypeIsLoadedWithTheLinetypeCommandAndUsed) {
  AcDbObjectId id;
  ASSERT_EQ(CreatePline(Square(0), id, 0, L"KWDASH", 1.0, 0.0, 1), 1);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入选项 [加载(L)/设置(S)]: \n输入要加载的线型: "
            L"\n输入线型文件名 <acadiso.lin>: \n已加载线型 \"KWDASH\"。"
            L"\n输入选项 [加载(L)/设置(S)]: ");
  wchar_t* name = Open(id)->object()->linetype();
  EXPECT_STREQ(name, L"KWDASH");
  free(name);
  AcDbObjectId again;
  ASSERT_EQ(CreatePline(Square(0), again, 0, L"kwdash", 1.0, 0.0, 1), 1);
  EXPECT_EQ(kwhost::TakeOutput(), L"") << "a loaded linetype runs no command";
}

TEST_F(CreatePlineTest, ALinetypeNoFileDefinesLeavesThePolylineWithTheDrawingsLinetype) {
  AcDbObjectId id;
  ASSERT_EQ(CreatePline(Square(0), id, 0, L"NOSUCH", 1.0, 0.0, 1), 1);
  EXPECT_NE(kwhost::TakeOutput().find(L"中没有线型 \"NOSUCH\""), std::wstring::npos);
  EXPECT_EQ(Open(id)->object()->linetypeId(), kwhost::CurrentDatabase()->celtype());
}

TEST_F(CreatePlineTest, EveryFailureIsPrintedAndAddsNothing) {
  AcDbObjectId id;
  EXPECT_EQ(CreatePline(AcGePoint3dArray(), id, 1, nullptr, 1.0, 0.0, 1), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n创建Polyline错误！");

  AcDbDatabase* db = kwhost::CurrentDatabase();
  AcDbBlockTable* table = nullptr;
  ASSERT_EQ(db->getBlockTable(table, AcDb::kForWrite), Acad::eOk);
  EXPECT_EQ(CreatePline(Square(0), id, 1, nullptr, 1.0, 0.0, 1), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n取块表记录错误！");
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(table->getAt(L"*Model_Space", model, AcDb::kForWrite), Acad::eOk);
  table->close();
  EXPECT_EQ(CreatePline(Square(0), id, 1, nullptr, 1.0, 0.0, 1), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n取模型空间记录错误！");
  EXPECT_EQ(model->entityCount(), 0);
  model->close();

  acdbHostApplicationServices()->setWorkingDatabase(nullptr);
  EXPECT_EQ(CreatePline(Square(0), id, 1, nullptr, 1.0, 0.0, 1), 0);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n取块表记录错误！");
}

}  // namespace
