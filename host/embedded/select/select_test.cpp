// Scripted selections: windows, crossings, handles, ALL, picks, Shift-removal, Enter, ^C, the
// other-input callback, DXF filters, the set calls and single picks into block references.
#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <vector>

#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/api/win.h"
#include "kwhost/embedded.h"

namespace {

AcDbObjectId AppendTo(const wchar_t* blockName, AcDbEntity* e) {
  AcDbBlockTable* blocks = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(blocks);
  AcDbBlockTableRecord* record = nullptr;
  blocks->getAt(blockName, record, AcDb::kForWrite);
  blocks->close();
  AcDbObjectId id;
  EXPECT_EQ(record->appendAcDbEntity(id, e), Acad::eOk);
  e->close();
  record->close();
  return id;
}

AcDbObjectId Append(AcDbEntity* e) {
  return AppendTo(L"*Model_Space", e);
}

AcDbPolyline* Polyline(std::initializer_list<AcGePoint2d> points) {
  auto* pl = new AcDbPolyline();
  unsigned i = 0;
  for (const AcGePoint2d& p : points) pl->addVertexAt(i++, p);
  return pl;
}

std::wstring HandleOf(AcDbObjectId id) {
  wchar_t buf[24];
  std::swprintf(buf, 24, L"%llX", static_cast<unsigned long long>(id.handle().value()));
  return buf;
}

AcDbObjectId IdOf(const ads_name name) {
  AcDbObjectId id;
  acdbGetObjectId(id, name);
  return id;
}

// The ids of a set, in order.
std::vector<AcDbObjectId> Members(const ads_name ss) {
  Adesk::Int32 n = 0;
  acedSSLength(ss, &n);
  std::vector<AcDbObjectId> ids;
  for (Adesk::Int32 i = 0; i < n; ++i) {
    ads_name e;
    acedSSName(ss, i, e);
    ids.push_back(IdOf(e));
  }
  return ids;
}

std::vector<UINT> g_seen;
void Watch(const MSG* msg) {
  if (msg->message == WM_KEYDOWN) g_seen.push_back(static_cast<UINT>(msg->wParam));
}

std::vector<std::wstring> g_typed;
resbuf* g_answer = nullptr;
AcDbObjectId g_watched;
bool g_watchedHighlighted = false;
resbuf* Other(const wchar_t* text) {
  g_typed.push_back(text);
  g_watchedHighlighted = kwhost::EntityRedrawState(g_watched).highlighted;
  resbuf* rb = g_answer;
  g_answer = nullptr;
  return rb;
}

// Model space: two lines, a circle, an L-shaped polyline and a block reference (the block
// holds a line and a polyline; the reference stands at (100, 0), scaled 2, turned 90 degrees).
class Selection : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    g_seen.clear();
    g_typed.clear();
    acedRegisterWatchWinMsg(Watch);
    AcDbLayerTable* layers = nullptr;
    kwhost::CurrentDatabase()->getLayerTable(layers, AcDb::kForWrite);
    auto* road = new AcDbLayerTableRecord();
    road->setName(L"Road");
    layers->add(road);
    road->close();
    layers->close();
    line1 = Append(new AcDbLine({0, 0, 0}, {10, 0, 0}));
    auto* line2 = new AcDbLine({0, 5, 0}, {10, 5, 0});
    line2->setLayer(L"Road");
    line2->setColorIndex(1);
    line2Id = Append(line2);
    circle = Append(new AcDbCircle({30, 0, 0}, AcGeVector3d::kZAxis, 5));
    poly = Append(Polyline({{50, 0}, {60, 0}, {60, 10}}));
    MakeBlock();
  }
  void TearDown() override { acedRemoveWatchWinMsg(Watch); }

  void MakeBlock() {
    AcDbBlockTable* blocks = nullptr;
    kwhost::CurrentDatabase()->getBlockTable(blocks, AcDb::kForWrite);
    auto* block = new AcDbBlockTableRecord();
    block->setName(L"B");
    AcDbObjectId blockId;
    blocks->add(blockId, block);
    block->close();
    blocks->close();
    nestedLine = AppendTo(L"B", new AcDbLine({0, 0, 0}, {2, 0, 0}));
    nestedPoly = AppendTo(L"B", Polyline({{0, 1}, {4, 1}, {4, 3}}));
    auto* ref = new AcDbBlockReference({100, 0, 0}, blockId);
    ref->setScaleFactors(AcGeScale3d(2));
    ref->setRotation(1.5707963267948966);
    insert = Append(ref);
  }

  // Runs acedSSGet with these answers (one per line; "A\n" is A, then Enter); the members
  // (empty unless RTNORM) and the result.
  std::vector<AcDbObjectId> Get(const std::wstring& answers, int* rc, const wchar_t* mode = nullptr,
                                const resbuf* filter = nullptr, const void* pt1 = nullptr) {
    kwhost::ClearInput();
    kwhost::QueueInput(answers);
    ads_name ss;
    *rc = acedSSGet(mode, pt1, nullptr, filter, ss);
    if (*rc != RTNORM) return {};
    std::vector<AcDbObjectId> ids = Members(ss);
    acedSSFree(ss);
    return ids;
  }

  std::vector<AcDbObjectId> All() const { return {line1, line2Id, circle, poly, insert}; }

  AcDbObjectId line1, line2Id, circle, poly, insert, nestedLine, nestedPoly;
};

using Ids = std::vector<AcDbObjectId>;

TEST_F(Selection, WindowTakesWhatLiesWhollyInsideAndCrossingWhatTouches) {
  int rc = 0;
  EXPECT_EQ(Get(L"W -1,-1 11,1\n", &rc), Ids{line1});
  EXPECT_EQ(rc, RTNORM);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n选择对象: \n找到 1 个，总计 1 个\n选择对象: ");
  EXPECT_EQ(Get(L"C 5,-1 6,6\n", &rc), (Ids{line1, line2Id}));
  // A box inside the circle touches no part of it; one over its rim does.
  EXPECT_EQ(Get(L"C 28,-1 32,1\n", &rc), Ids{});
  EXPECT_EQ(rc, RTERROR);
  EXPECT_EQ(Get(L"c 34,-1 36,1\n", &rc), Ids{circle});
  // Window and crossing without the user.
  const double a[3] = {45, -1, 0}, b[3] = {61, 11, 0};
  ads_name ss;
  ASSERT_EQ(acedSSGet(L"W", a, b, nullptr, ss), RTNORM);
  EXPECT_EQ(Members(ss), Ids{poly});
  acedSSFree(ss);
  const double c[3] = {55, 5, 0}, d[3] = {58, 8, 0};
  EXPECT_EQ(acedSSGet(L"C", c, d, nullptr, ss), RTERROR);
  EXPECT_EQ(acedSSGet(L"C", c, nullptr, nullptr, ss), RTERROR);
  // A point without a mode picks there.
  const double near[3] = {5, 0.2, 0};
  ASSERT_EQ(acedSSGet(nullptr, near, nullptr, nullptr, ss), RTNORM);
  EXPECT_EQ(Members(ss), Ids{line1});
  acedSSFree(ss);
  resbuf* circles = acutBuildList(RTDXF0, L"CIRCLE", 0);
  EXPECT_EQ(acedSSGet(L"", near, nullptr, circles, ss), RTERROR);
  acutRelRb(circles);
}

TEST_F(Selection, HandlesAllAndPicksGatherEachEntityOnce) {
  int rc = 0;
  EXPECT_EQ(Get(HandleOf(circle) + L" " + HandleOf(line1) + L"\nALL\n", &rc),
            (Ids{circle, line1, line2Id, poly, insert}));
  kwhost::TakeOutput();
  // The pick box is 3 pixels of a 100-unit view 720 pixels high: 0.4167 units.
  EXPECT_EQ(Get(L"5,0.41\n5,0.43\n", &rc), Ids{line1});
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n选择对象: \n找到 1 个，总计 1 个\n选择对象: \n找到 0 个，总计 1 个\n选择对象: ");
  // Nested parts pick their block reference: the block's polyline lies at x 94..98.
  EXPECT_EQ(Get(L"96,8\n", &rc), Ids{insert});
  kwhost::TakeOutput();
  EXPECT_EQ(Get(L"FFFF\n^C\n", &rc), Ids{});
  EXPECT_EQ(kwhost::TakeOutput(), L"\n选择对象: \n*无效选择*\n选择对象: ");
}

TEST_F(Selection, ShiftRemovesAndIsReportedUntilTheNextAnswer) {
  int rc = 0;
  EXPECT_EQ(Get(L"ALL\n-" + HandleOf(line1) + L"\n- W 49,-1 61,11\n", &rc),
            (Ids{line2Id, circle, insert}));
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n选择对象: \n找到 5 个，总计 5 个\n选择对象: \n找到 1 个，删除 1 个，总计 4 个"
            L"\n选择对象: \n找到 1 个，删除 1 个，总计 3 个\n选择对象: ");
  EXPECT_EQ(GetKeyState(VK_SHIFT), 0);
  // In single mode the Shift pick is returned; Shift stays down for the caller to read.
  EXPECT_EQ(Get(L"-5,0\n", &rc, L":S"), Ids{line1});
  EXPECT_LT(GetKeyState(VK_SHIFT), 0);
  EXPECT_EQ(GetKeyState(VK_RETURN), 0);
  EXPECT_EQ(Get(L"5,0\n", &rc, L":S"), Ids{line1});
  EXPECT_EQ(GetKeyState(VK_SHIFT), 0);
  // "R" switches to the remove prompt, "A" back.
  kwhost::TakeOutput();
  const wchar_t* prompts[2] = {L"\nAdd: ", L"\nDrop: "};
  EXPECT_EQ(Get(L"ALL\nR\n5,0\nA\n", &rc, L":$", nullptr, prompts),
            (Ids{line2Id, circle, poly, insert}));
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\nAdd: \n找到 5 个，总计 5 个\nAdd: \nDrop: \n找到 1 个，删除 1 个，总计 4 个\nDrop: "
            L"\nAdd: ");
}

TEST_F(Selection, EnterEndsAndWatchersSeeReturnWhileCancelEndsQuietly) {
  int rc = 0;
  EXPECT_EQ(Get(L"\n", &rc, L":S"), Ids{});
  EXPECT_EQ(rc, RTERROR);
  EXPECT_EQ(g_seen, std::vector<UINT>{VK_RETURN});
  EXPECT_EQ(Get(L"5,0\n  \n", &rc), Ids{line1});  // blanks: the Space key
  EXPECT_EQ(g_seen, (std::vector<UINT>{VK_RETURN, VK_SPACE}));
  g_seen.clear();
  EXPECT_EQ(Get(L"5,0\n^C\n", &rc), Ids{});
  EXPECT_EQ(rc, RTCAN);
  EXPECT_FALSE(kwhost::EntityRedrawState(line1).highlighted);
  EXPECT_EQ(Get(L"5,0", &rc), Ids{});  // input runs out: a cancel
  EXPECT_EQ(rc, RTCAN);
  EXPECT_TRUE(g_seen.empty());
}

TEST_F(Selection, TypedTextReachesTheOtherInputCallback) {
  ASSERT_EQ(acedSSSetOtherCallbackPtr(Other), RTNORM);
  AcedSSOtherCallback got = nullptr;
  ASSERT_EQ(acedSSGetOtherCallbackPtr(&got), RTNORM);
  EXPECT_EQ(got, Other);
  const wchar_t* prompts[2] = {L"\n选择直线或[线(L)]: ", L"\n移除选中图形"};
  int rc = 0;
  g_answer = acutBuildList(RTSHORT, -1, 0);
  EXPECT_EQ(Get(L"Line it\n", &rc, L":$:S:?", nullptr, prompts), Ids{});
  EXPECT_EQ(rc, RTKWORD);
  EXPECT_EQ(g_typed, std::vector<std::wstring>{L"Line it"});
  EXPECT_EQ(kwhost::TakeOutput(), L"\n选择直线或[线(L)]: ");
  // A string answer is printed and the prompt repeats; an entity answer is a pick.
  g_answer = acutBuildList(RTSTR, L"\n再选", 0);
  EXPECT_EQ(Get(L"x\n5,0\n", &rc, L":S:?"), Ids{line1});
  EXPECT_EQ(kwhost::TakeOutput(), L"\n选择对象: \n再选\n选择对象: ");
  // Without ":?" the callback is never asked.
  EXPECT_EQ(Get(L"Line\n", &rc, L":S"), Ids{});
  EXPECT_EQ(g_typed.size(), 2u);
  // The gathered entities are highlighted while the callback runs, and not after.
  ads_name e;
  acdbGetAdsName(e, circle);
  g_answer = acutBuildList(RTENAME, e, 0);
  g_watched = line1;
  EXPECT_EQ(Get(L"5,0\nmore\n", &rc, L":?"), (Ids{line1, circle}));
  EXPECT_TRUE(g_watchedHighlighted);
  EXPECT_FALSE(kwhost::EntityRedrawState(line1).highlighted);
  EXPECT_FALSE(kwhost::EntityRedrawState(circle).highlighted);
}

TEST_F(Selection, FiltersMatchTypesLayersColoursAndLogicalGroups) {
  const resbuf* none = nullptr;
  auto run = [&](resbuf* filter) {
    ads_name ss;
    std::vector<AcDbObjectId> ids;
    if (acedSSGet(L"X", none, none, filter, ss) == RTNORM) {
      ids = Members(ss);
      acedSSFree(ss);
    }
    acutRelRb(filter);
    return ids;
  };
  EXPECT_EQ(run(acutBuildList(RTDXF0, L"line", 0)), (Ids{line1, line2Id}));
  EXPECT_EQ(run(acutBuildList(RTDXF0, L"*POLYLINE,CIRCLE", 0)), (Ids{circle, poly}));
  EXPECT_EQ(run(acutBuildList(8, L"road", 0)), Ids{line2Id});
  EXPECT_EQ(run(acutBuildList(62, 256, 0)), (Ids{line1, circle, poly, insert}));
  EXPECT_EQ(run(acutBuildList(-4, L"<OR", RTDXF0, L"CIRCLE", 62, 1, -4, L"OR>", 0)),
            (Ids{line2Id, circle}));
  EXPECT_EQ(run(acutBuildList(-4, L"<NOT", RTDXF0, L"LINE", -4, L"NOT>", 0)),
            (Ids{circle, poly, insert}));
  EXPECT_EQ(run(acutBuildList(-4, L"<AND", RTDXF0, L"LINE", -4, L"<NOT", 8, L"0", -4, L"NOT>", -4,
                              L"AND>", 0)),
            Ids{line2Id});
  EXPECT_EQ(run(acutBuildList(-4, L"<XOR", 8, L"Road", RTDXF0, L"LINE", -4, L"XOR>", 0)),
            Ids{line1});
  EXPECT_EQ(run(acutBuildList(-4, L"!=", 62, 256, 0)), Ids{line2Id});
  EXPECT_EQ(run(acutBuildList(RTDXF0, L"~LINE", 0)), (Ids{circle, poly, insert}));
  EXPECT_EQ(run(acutBuildList(-4, L">", 40, 4.0, 0)), Ids{circle});
  // Any group of the code may pass: the polyline's vertex widths are 40 groups too.
  EXPECT_EQ(run(acutBuildList(-4, L"<", 40, 4.0, 0)), Ids{poly});
  const double five[3] = {5, 0, 0};
  EXPECT_EQ(run(acutBuildList(-4, L">,*,*", 10, five, 0)), (Ids{circle, poly, insert}));
  // Malformed filters: unbalanced, a NOT of two groups, an unknown test.
  ads_name ss;
  for (resbuf* bad : {acutBuildList(-4, L"<OR", 8, L"0", 0),
                      acutBuildList(-4, L"<NOT", 8, L"0", 8, L"1", -4, L"NOT>", 0),
                      acutBuildList(-4, L"OR>", 0), acutBuildList(-4, L"~", 8, L"0", 0)}) {
    EXPECT_EQ(acedSSGet(L"X", none, none, bad, ss), RTERROR);
    acutRelRb(bad);
  }
  EXPECT_EQ(acedSSGet(L":Q", none, none, nullptr, ss), RTERROR);
  // Interactive selections apply the filter to every answer.
  resbuf* lines = acutBuildList(RTDXF0, L"LINE", 0);
  int rc = 0;
  EXPECT_EQ(Get(L"ALL\n", &rc, nullptr, lines), (Ids{line1, line2Id}));
  acutRelRb(lines);
}

TEST_F(Selection, SetsAddDeleteAndRefuseUnknownNames) {
  ads_name e1, e2, ss, same;
  acdbGetAdsName(e1, line1);
  acdbGetAdsName(e2, circle);
  ASSERT_EQ(acedSSAdd(nullptr, nullptr, ss), RTNORM);
  EXPECT_EQ(Members(ss), Ids{});
  EXPECT_EQ(acedSSAdd(e2, ss, same), RTNORM);
  EXPECT_EQ(acedSSAdd(e1, ss, nullptr), RTNORM);
  EXPECT_EQ(acedSSAdd(e2, ss, nullptr), RTNORM);
  EXPECT_EQ(same[0], ss[0]);
  EXPECT_EQ(Members(ss), (Ids{circle, line1}));
  EXPECT_EQ(acedSSDel(e2, ss), RTNORM);
  EXPECT_EQ(acedSSDel(e2, ss), RTERROR);
  EXPECT_EQ(Members(ss), Ids{line1});
  ads_name e3;
  acdbGetAdsName(e3, poly);
  EXPECT_EQ(acedSSAdd(e3, ss, nullptr), RTNORM);
  EXPECT_EQ(acedSSAdd(e2, ss, nullptr), RTNORM);
  EXPECT_EQ(acedSSDel(e3, ss), RTNORM);
  EXPECT_EQ(Members(ss), (Ids{line1, circle}));
  EXPECT_EQ(acedSSDel(e2, ss), RTNORM);
  ads_name out;
  EXPECT_EQ(acedSSName(ss, 1, out), RTERROR);
  EXPECT_EQ(acedSSName(ss, -1, out), RTERROR);
  EXPECT_EQ(acedSSAdd(ss, ss, nullptr), RTERROR);  // a set is no entity
  EXPECT_EQ(acedSSAdd(e1, e1, nullptr), RTERROR);  // an entity is no set
  ASSERT_EQ(acedSSFree(ss), RTNORM);
  Adesk::Int32 n = 0;
  EXPECT_EQ(acedSSLength(ss, &n), RTERROR);
  EXPECT_EQ(acedSSFree(ss), RTERROR);
  // At most 128 sets at once.
  for (int i = 0; i < 128; ++i) {
    ASSERT_EQ(acedSSAdd(e1, nullptr, ss), RTNORM);
  }
  EXPECT_EQ(acedSSAdd(e1, nullptr, ss), RTERROR);
  EXPECT_EQ(acedSSGet(L"X", nullptr, nullptr, nullptr, ss), RTERROR);
}

TEST_F(Selection, EntSelPicksTopLevelEntitiesOrKeywords) {
  ads_name e;
  ads_point p;
  kwhost::QueueInput(L"5,0.2\n" + HandleOf(circle) + L"\n\n40,40\nlines\n^C");
  ASSERT_EQ(acedEntSel(L"\n选一个: ", e, p), RTNORM);
  EXPECT_EQ(IdOf(e), line1);
  EXPECT_EQ(p[1], 0.2);
  ASSERT_EQ(acedEntSel(nullptr, e, p), RTNORM);
  EXPECT_EQ(IdOf(e), circle);
  EXPECT_EQ(p[0], 35);  // a handle picks the point of the entity nearest its middle
  EXPECT_EQ(acedEntSel(nullptr, e, p), RTERROR);  // Enter
  EXPECT_EQ(acedEntSel(nullptr, e, p), RTERROR);  // nothing there
  acedInitGet(0, L"Line Lines");
  EXPECT_EQ(acedEntSel(nullptr, e, p), RTKWORD);
  wchar_t kw[32];
  acedGetInput(kw);
  EXPECT_STREQ(kw, L"Lines");
  EXPECT_EQ(acedEntSel(nullptr, e, p), RTCAN);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n选一个: \n选择对象: \n选择对象: \n选择对象: \n选择对象: "
            L"\n选择对象: ");
}

TEST_F(Selection, NestedPicksReachIntoBlockReferencesWithMarkers) {
  ads_name e;
  ads_point p;
  ads_matrix xf;
  resbuf* stack = nullptr;
  Adesk::GsMarker marker = 0;
  // The block's polyline (0,1)-(4,1)-(4,3) scaled 2 and turned 90 degrees about (100, 0):
  // its second segment runs from (98, 8) to (94, 8).
  kwhost::QueueInput(L"96,8.1\n10,0\n");
  ASSERT_EQ(acedNEntSelPEx(nullptr, e, p, 0, xf, &stack, 0, &marker), RTNORM);
  EXPECT_EQ(IdOf(e), nestedPoly);
  EXPECT_EQ(marker, 2);
  ASSERT_NE(stack, nullptr);
  EXPECT_EQ(stack->restype, RTENAME);
  EXPECT_EQ(IdOf(stack->resval.rlname), insert);
  EXPECT_EQ(stack->rbnext, nullptr);
  acutRelRb(stack);
  EXPECT_NEAR(xf[0][0], 0, 1e-12);
  EXPECT_NEAR(xf[1][0], 2, 1e-12);
  EXPECT_NEAR(xf[0][1], -2, 1e-12);
  EXPECT_NEAR(xf[0][3], 100, 1e-12);
  EXPECT_EQ(xf[3][3], 1);
  ASSERT_EQ(acedNEntSelPEx(nullptr, e, p, 0, xf, &stack, 0, &marker), RTNORM);
  EXPECT_EQ(IdOf(e), line1);
  EXPECT_EQ(stack, nullptr);
  EXPECT_EQ(marker, 1);
  EXPECT_EQ(xf[0][3], 0);
}

TEST_F(Selection, OldStylePolylinesPickBySegmentAndBulgesAreArcs) {
  AcGePoint3dArray pts;
  for (const AcGePoint3d& p :
       {AcGePoint3d(0, 40, 0), AcGePoint3d(10, 40, 0), AcGePoint3d(10, 50, 0)}) {
    pts.append(p);
  }
  AcArray<double> bulges;
  for (double b : {1.0, 0.0, 0.0}) bulges.append(b);
  const AcDbObjectId old =
      Append(new AcDb2dPolyline(AcDb::k2dSimplePoly, pts, 0, false, 0, 0, &bulges));
  ads_name e;
  ads_point p;
  Adesk::GsMarker marker = 0;
  // The first segment is a half circle below its chord, through (5, 35).
  kwhost::QueueInput(L"5,35.1\n5,40\n10,45\n");
  ASSERT_EQ(acedNEntSelPEx(nullptr, e, p, 0, nullptr, nullptr, 0, &marker), RTNORM);
  EXPECT_EQ(IdOf(e), old);
  EXPECT_EQ(marker, 1);
  EXPECT_EQ(acedNEntSelPEx(nullptr, e, p, 0, nullptr, nullptr, 0, &marker), RTERROR);
  ASSERT_EQ(acedNEntSelPEx(nullptr, e, p, 0, nullptr, nullptr, 0, &marker), RTNORM);
  EXPECT_EQ(marker, 2);
}

TEST_F(Selection, BlocksThatDoubleAtEveryLevelStayCheapToPick) {
  // B0 holds two references to B1, B1 two to B2, ... B29 a line: 2^29 lines in all.
  AcDbBlockTable* blocks = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(blocks, AcDb::kForWrite);
  std::vector<AcDbObjectId> ids;
  for (int i = 0; i < 30; ++i) {
    auto* block = new AcDbBlockTableRecord();
    block->setName((L"D" + std::to_wstring(i)).c_str());
    AcDbObjectId id;
    blocks->add(id, block);
    block->close();
    ids.push_back(id);
  }
  blocks->close();
  for (int i = 0; i < 29; ++i) {
    const std::wstring name = L"D" + std::to_wstring(i);
    AppendTo(name.c_str(), new AcDbBlockReference({0, -200, 0}, ids[i + 1]));
    AppendTo(name.c_str(), new AcDbBlockReference({0.001, -200, 0}, ids[i + 1]));
  }
  AppendTo(L"D29", new AcDbLine({0, 0, 0}, {1, 0, 0}));
  const AcDbObjectId top = Append(new AcDbBlockReference({1000, 5800, 0}, ids[0]));
  int rc = 0;
  EXPECT_EQ(Get(L"1000.5,0\nC 999,-1 1002,1\nW 999,-1 1002,1\n", &rc), Ids{top});
}

TEST_F(Selection, MalformedAnswersAreTypedTextAndNeverSelect) {
  int rc = 0;
  const std::wstring odd[] = {L"W",   L"C 1,2", L"1,2,3,4",   L",",       L"FFFFFFFFFFFFFFFFF",
                              L"0",   L"ALLX",  L"W a,b c,d", L"1e999,0", L"nan,0",
                              L"x,1", L"^c^c",  L"2A,",       L"@"};
  std::wstring answers;
  for (const std::wstring& line : odd) answers += line + L"\n";
  // A pick at a negative x needs a blank first; "-" alone is Shift with Enter.
  EXPECT_EQ(Get(answers + L" -5,0.1\n-", &rc), Ids{});
  EXPECT_EQ(rc, RTERROR);
  const std::wstring out = kwhost::TakeOutput();
  size_t invalid = 0;
  for (size_t at = out.find(L"*无效选择*"); at != std::wstring::npos;
       at = out.find(L"*无效选择*", at + 1)) {
    ++invalid;
  }
  EXPECT_EQ(invalid, std::size(odd));
  EXPECT_NE(out.find(L"\n找到 0 个，总计 0 个"), std::wstring::npos);
}

TEST_F(Selection, TypedPointsAreInTheUcs) {
  // x along world y, y along world -x, origin at world (10, 0).
  ASSERT_TRUE(kwhost::SetUcs({10, 0, 0}, AcGeVector3d::kYAxis, AcGeVector3d(-1, 0, 0)));
  int rc = 0;
  EXPECT_EQ(Get(L"0,5\n", &rc), Ids{line1});
  EXPECT_EQ(Get(L"W -1,-1 1,11\n", &rc), Ids{line1});
  ads_name e;
  ads_point p;
  kwhost::QueueInput(L"0,5");
  ASSERT_EQ(acedEntSel(nullptr, e, p), RTNORM);
  EXPECT_EQ(IdOf(e), line1);
  EXPECT_EQ(p[1], 5);  // the pick point as typed
}

TEST_F(Selection, GetPointReadsPointsKeywordsAndEnter) {
  ads_point p;
  kwhost::QueueInput(L"1.5,2\nfoo\n3,4,5\n\nx\n^C");
  EXPECT_EQ(acedGetPoint(nullptr, L"\n点: ", p), RTNORM);
  EXPECT_EQ(p[0], 1.5);
  EXPECT_EQ(p[2], 0);
  EXPECT_EQ(acedGetPoint(nullptr, L"\n点: ", p), RTNORM);
  EXPECT_EQ(p[2], 5);
  EXPECT_EQ(acedGetPoint(nullptr, L"\n点: ", p), RTNONE);
  acedInitGet(0, L"eXit");
  EXPECT_EQ(acedGetPoint(nullptr, L"\n点: ", p), RTKWORD);
  EXPECT_EQ(acedGetPoint(nullptr, L"\n点: ", p), RTCAN);
  EXPECT_EQ(kwhost::TakeOutput(), L"\n点: \n点: \n需要点或选项关键字。\n点: \n点: \n点: \n点: ");
}

}  // namespace
