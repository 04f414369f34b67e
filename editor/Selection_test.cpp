// Selection helpers driven by scripted answers: the class filter, the keyword loop with its
// messages and action codes, select-all on Enter, SelectFilterEntity and sub-entity picks.
#include <gtest/gtest.h>

#include <cwchar>
#include <string>
#include <vector>

#include "editor/CFilterByClass.h"
#include "editor/KWSSGet.h"
#include "editor/KWSubentSel.h"
#include "editor/internal/SelectionSession.h"
#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/api/win.h"
#include "kwhost/embedded.h"

namespace {

using Ids = std::vector<AcDbObjectId>;

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

std::wstring HandleOf(AcDbObjectId id) {
  wchar_t buf[24];
  std::swprintf(buf, 24, L"%llX", static_cast<unsigned long long>(id.handle().value()));
  return buf;
}

Ids AsVector(const AcDbObjectIdArray& ids) {
  return Ids(ids.begin(), ids.end());
}

int PickAdd() {
  resbuf rb{};
  acedGetVar(L"PICKADD", &rb);
  return rb.resval.rint;
}

void DefinePickAdd(int value) {
  resbuf rb{};
  rb.restype = RTSHORT;
  rb.resval.rint = static_cast<short>(value);
  ASSERT_TRUE(kwhost::DefineSysVar(L"PICKADD", &rb));
}

resbuf* Untouched(const wchar_t*) {
  return nullptr;
}

// Model space: two lines, a circle, a polyline (0,20)-(10,20)-(10,30) and a reference at
// (50, 0) to block "B", which holds a polyline (0,0)-(4,0)-(4,4).
class EditorSelection : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    DefinePickAdd(2);
    line1 = AppendTo(L"*Model_Space", new AcDbLine({0, 0, 0}, {10, 0, 0}));
    line2 = AppendTo(L"*Model_Space", new AcDbLine({0, 5, 0}, {10, 5, 0}));
    circle = AppendTo(L"*Model_Space", new AcDbCircle({30, 0, 0}, AcGeVector3d::kZAxis, 5));
    auto* pl = new AcDbPolyline();
    pl->addVertexAt(0, {0, 20});
    pl->addVertexAt(1, {10, 20});
    pl->addVertexAt(2, {10, 30});
    poly = AppendTo(L"*Model_Space", pl);
    AcDbBlockTable* blocks = nullptr;
    kwhost::CurrentDatabase()->getBlockTable(blocks, AcDb::kForWrite);
    auto* block = new AcDbBlockTableRecord();
    block->setName(L"B");
    AcDbObjectId blockId;
    blocks->add(blockId, block);
    block->close();
    blocks->close();
    auto* inner = new AcDbPolyline();
    inner->addVertexAt(0, {0, 0});
    inner->addVertexAt(1, {4, 0});
    inner->addVertexAt(2, {4, 4});
    nested = AppendTo(L"B", inner);
    insert = AppendTo(L"*Model_Space", new AcDbBlockReference({50, 0, 0}, blockId));
    kwhost::TakeOutput();
  }

  AcDbObjectId line1, line2, circle, poly, nested, insert;
};

// ---------------------------------------------------------------- class filter

TEST_F(EditorSelection, ClassFilterRejectWinsAndTestsKindOf) {
  EXPECT_TRUE(CFilterByClass::kNull.IsAllow(insert));
  EXPECT_TRUE(CFilterByClass::kNull.IsAllow(line1));
  CFilterByClass curves;
  curves.AddAllowClass(AcDbCurve::desc());
  curves.AddAllowClass(AcDbCurve::desc());
  EXPECT_TRUE(curves.IsAllow(line1));
  EXPECT_TRUE(curves.IsAllow(poly));
  EXPECT_FALSE(curves.IsAllow(insert));
  curves.AddRejectClass(AcDbPolyline::desc());
  EXPECT_FALSE(curves.IsAllow(poly));
  EXPECT_TRUE(curves.IsAllow(circle));
  // Allowed, then rejected: only the reject stays.
  CFilterByClass flip;
  flip.AddAllowClass(AcDbLine::desc());
  flip.AddRejectClass(AcDbLine::desc());
  EXPECT_FALSE(flip.IsAllow(line1));
  EXPECT_TRUE(flip.IsAllow(circle));  // the allow list is empty again
  flip.AddAllowClass(AcDbLine::desc());
  EXPECT_TRUE(flip.IsAllow(line1));
  EXPECT_FALSE(flip.IsAllow(circle));
  // Ids that can't be opened are refused; FilterObjs keeps the order of the rest.
  EXPECT_FALSE(CFilterByClass::kNull.IsAllow(AcDbObjectId()));
  EXPECT_FALSE(CFilterByClass::kNull.IsAllow(static_cast<const AcDbObject*>(nullptr)));
  AcDbObjectIdArray ids;
  for (AcDbObjectId id : {insert, line2, AcDbObjectId(), poly, line1}) ids.append(id);
  curves.FilterObjs(ids);
  EXPECT_EQ(AsVector(ids), (Ids{line2, line1}));
}

// ---------------------------------------------------------------- keyword loop

// A mode that records its calls and answers with the codes it is given.
class Mode : public CKWSSGetKeyword {
 public:
  Mode(std::wstring keyword, std::wstring prompt) : m_keyword(keyword), m_prompt(prompt) {}
  std::wstring GetPrompt() override { return m_prompt; }
  std::wstring GetKeyword() override { return m_keyword; }
  resbuf* GetFilter() override { return filter; }
  int OnKeyword(AcDbObjectIdArray& ids) override {
    calls.push_back(L"keyword " + m_keyword);
    for (AcDbObjectId id : toAdd) ids.append(id);
    return keywordCode;
  }
  int OnPicked(AcDbObjectIdArray& ids, AcDbObjectIdArray& picked, bool adding) override {
    calls.push_back(std::wstring(adding ? L"add " : L"remove ") + std::to_wstring(picked.length()) +
                    L" to " + std::to_wstring(ids.length()));
    pickAddSeen = PickAdd();
    int lit = 0;
    for (const AcDbObjectId& id : ids) lit += kwhost::EntityRedrawState(id).highlighted ? 1 : 0;
    highlightedSeen.push_back(lit);
    return pickedCode;
  }

  std::vector<std::wstring> calls;
  Ids toAdd;
  resbuf* filter = nullptr;
  int keywordCode = 1;
  int pickedCode = 5;
  int pickAddSeen = -1;
  std::vector<int> highlightedSeen;  // at each OnPicked: how many listed ids were highlighted

 private:
  std::wstring m_keyword, m_prompt;
};

class KeywordLoop : public EditorSelection {
 protected:
  int Run(const std::wstring& answers) {
    kwhost::ClearInput();
    kwhost::QueueInput(answers);
    AcArray<CKWSSGetKeyword*> list;
    for (Mode* m : {&pick, &line, &lines}) list.append(m);
    return KWRDPub::KWSSGetWithKeyword(list, ids);
  }
  Mode pick{L"Pick", L"\n选择对象[线(Line)/多线(Lines)]: "};
  Mode line{L"Line", L"\n选择直线: "};
  Mode lines{L"Lines", L"\n选择多条线: "};
  AcDbObjectIdArray ids;
};

TEST_F(KeywordLoop, ExactMatchWinsThenPrefixesMustBeUnique) {
  EXPECT_EQ(Run(L"line\nli\nzz\nLINE\n"), RTERROR);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n选择对象[线(Line)/多线(Lines)]: \n选择直线: "
            L"\n不明确的关键字，可能是 Line 或 Lines\n选择直线: \n无效的关键字 zz\n选择直线: "
            L"\n选择直线: ");
  EXPECT_EQ(line.calls, std::vector<std::wstring>{L"keyword Line"});  // its own keyword: nothing
  EXPECT_TRUE(lines.calls.empty());
  EXPECT_EQ(Run(L"LINES\npi\n"), RTERROR);
  EXPECT_EQ(lines.calls.size(), 1u);
  EXPECT_EQ(pick.calls, std::vector<std::wstring>{L"keyword Pick"});
}

TEST_F(KeywordLoop, PicksMergeCountDuplicatesAndShiftRemoves) {
  ids.append(line1);
  const std::wstring h1 = HandleOf(line1), h2 = HandleOf(line2);
  EXPECT_EQ(Run(h1 + L"\n" + h2 + L"\n-" + h1 + L"\n-" + h1 + L"\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), Ids{line2});
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n选择对象[线(Line)/多线(Lines)]: 发现 1 个 1 个重复,共 1 个\n"
            L"\n选择对象[线(Line)/多线(Lines)]: 发现 1 个,共 2 个\n"
            L"\n选择对象[线(Line)/多线(Lines)]: 发现 1 个,删除 1 个,共 1 个\n"
            L"\n选择对象[线(Line)/多线(Lines)]: 发现 1 个,删除 0 个,共 1 个\n"
            L"\n选择对象[线(Line)/多线(Lines)]: ");
  EXPECT_EQ(pick.calls, (std::vector<std::wstring>{L"add 1 to 1", L"add 1 to 1", L"remove 1 to 2",
                                                   L"remove 1 to 1"}));
  EXPECT_EQ(pick.pickAddSeen, 0);
  EXPECT_EQ(PickAdd(), 2);
  // Ids on entry are not highlighted until picked; nothing stays highlighted afterwards.
  EXPECT_EQ(pick.highlightedSeen, (std::vector<int>{0, 1, 2, 1}));
  EXPECT_FALSE(kwhost::EntityRedrawState(line1).highlighted);
  EXPECT_FALSE(kwhost::EntityRedrawState(line2).highlighted);
  // A window of many entities merges them once each, in set order.
  ids.setLogicalLength(0);
  EXPECT_EQ(Run(L"C -1,-1 31,6\n" + h1 + L"\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), (Ids{line1, line2, circle}));
}

TEST_F(KeywordLoop, EnterCancelAndActionCodesEndTheLoopAndRestoreTheHost) {
  acedSSSetOtherCallbackPtr(Untouched);
  EXPECT_EQ(Run(L"\n"), RTERROR);  // Enter with nothing selected
  EXPECT_EQ(Run(HandleOf(circle) + L"\n^C\n"), RTCAN);
  EXPECT_TRUE(ids.isEmpty());
  AcedSSOtherCallback now = nullptr;
  acedSSGetOtherCallbackPtr(&now);
  EXPECT_EQ(now, Untouched);
  EXPECT_EQ(PickAdd(), 2);
  KWRDPub::selection::EndFlag() = false;
  kwhost::PostMainFrameMessage(WM_KEYDOWN, VK_RETURN);
  kwhost::PumpMessages();
  EXPECT_FALSE(KWRDPub::selection::EndFlag());  // the watcher is gone
  pick.pickedCode = 0;
  EXPECT_EQ(Run(HandleOf(circle) + L"\n" + HandleOf(line1) + L"\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), Ids{circle});
  pick.pickedCode = -1;
  EXPECT_EQ(Run(HandleOf(line1) + L"\n"), RTERROR);
  EXPECT_TRUE(ids.isEmpty());
  pick.pickedCode = -2;
  EXPECT_EQ(Run(HandleOf(line1) + L"\n"), RTCAN);
  // A keyword action may change the list; code 0 ends with it.
  lines.toAdd = {poly};
  lines.keywordCode = 0;
  EXPECT_EQ(Run(L"lines\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), Ids{poly});
  lines.keywordCode = -2;
  EXPECT_EQ(Run(L"lines\n"), RTCAN);
  EXPECT_TRUE(ids.isEmpty());
  // Each mode's filter applies to its picks.
  line.filter = acutBuildList(RTDXF0, L"LINE", 0);
  pick.pickedCode = 5;
  EXPECT_EQ(Run(L"line\n" + HandleOf(circle) + L"\n" + HandleOf(line2) + L"\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), Ids{line2});
  acutRelRb(line.filter);
  AcArray<CKWSSGetKeyword*> none;
  EXPECT_EQ(KWRDPub::KWSSGetWithKeyword(none, ids), RTERROR);
  none.append(nullptr);
  EXPECT_EQ(KWRDPub::KWSSGetWithKeyword(none, ids), RTERROR);
}

TEST_F(KeywordLoop, KeywordActionsKeepTheHighlightInStep) {
  const std::wstring h1 = HandleOf(line1);
  lines.toAdd = {poly};
  EXPECT_EQ(Run(h1 + L"\nlines\n" + h1 + L"\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), (Ids{line1, poly}));
  // Picked line1 and added poly are highlighted when Lines sees its pick.
  EXPECT_EQ(lines.highlightedSeen, std::vector<int>{2});
  EXPECT_FALSE(kwhost::EntityRedrawState(poly).highlighted);
  EXPECT_FALSE(kwhost::EntityRedrawState(line1).highlighted);
}

TEST_F(KeywordLoop, AFilterTheHostRefusesEndsTheLoopWithoutAsking) {
  pick.filter = acutBuildList(-4, L"<OR", 8, L"0", 0);
  EXPECT_EQ(Run(HandleOf(line1) + L"\n"), RTERROR);
  EXPECT_EQ(kwhost::PendingInput(), 2u);
  EXPECT_EQ(kwhost::TakeOutput(), L"");
  kwhost::ClearInput();
  kwhost::QueueInput(HandleOf(line1) + L"\n");
  EXPECT_EQ(KWRDPub::KWSSGet_ReturnSelAll(L"", L"", pick.filter, ids), RTERROR);
  EXPECT_EQ(kwhost::PendingInput(), 2u);
  acutRelRb(pick.filter);
}

TEST_F(KeywordLoop, EnterSpaceAndTheRightButtonEndASelection) {
  for (auto [message, key] : {std::pair<UINT, WPARAM>{WM_KEYDOWN, VK_RETURN},
                              {WM_KEYDOWN, VK_SPACE},
                              {WM_RBUTTONDOWN, 0}}) {
    KWRDPub::selection::SelectionScope scope(false);
    KWRDPub::selection::EndFlag() = false;
    kwhost::PostMainFrameMessage(message, key);
    kwhost::PumpMessages();
    EXPECT_TRUE(KWRDPub::selection::EndFlag()) << message << " " << key;
  }
  KWRDPub::selection::SelectionScope scope(false);
  KWRDPub::selection::EndFlag() = false;
  kwhost::PostMainFrameMessage(WM_KEYDOWN, 'A');
  kwhost::PumpMessages();
  EXPECT_FALSE(KWRDPub::selection::EndFlag());
}

// ---------------------------------------------------------------- select all on Enter

class SelectAll : public EditorSelection {
 protected:
  int Run(const std::wstring& answers, resbuf* filter = nullptr) {
    kwhost::ClearInput();
    kwhost::QueueInput(answers);
    return KWRDPub::KWSSGet_ReturnSelAll(L"\n选择道路： ", L"\n移除: ", filter, ids);
  }
  AcDbObjectIdArray ids;
};

TEST_F(SelectAll, EnterAtTheFirstPromptSelectsEverythingTheFilterPasses) {
  resbuf* lines = acutBuildList(RTDXF0, L"LINE", 0);
  EXPECT_EQ(Run(L"\n", lines), RTNORM);
  EXPECT_EQ(AsVector(ids), (Ids{line1, line2}));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n选择道路<回车或右键全选>:");
  EXPECT_EQ(PickAdd(), 2);
  ids.setLogicalLength(0);
  EXPECT_EQ(Run(L" \n", nullptr), RTNORM);  // Space does it too
  EXPECT_EQ(ids.length(), 5);
  acutRelRb(lines);
}

TEST_F(SelectAll, LaterAnswersAddOrRemoveUntilEnter) {
  const std::wstring h1 = HandleOf(line1), h2 = HandleOf(line2);
  ids.append(poly);
  EXPECT_EQ(Run(h1 + L"\n" + h2 + L"\n" + h2 + L"\n-" + h1 + L"\n"), RTNORM);
  EXPECT_EQ(AsVector(ids), (Ids{poly, line2}));
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n选择道路<回车或右键全选>:\n选择道路<回车或右键全选>:发现 1 个,共 2 个\n"
            L"\n选择道路<回车或右键全选>:发现 1 个 1 个重复,共 2 个\n"
            L"\n选择道路<回车或右键全选>:发现 1 个,删除 1 个,共 1 个\n"
            L"\n选择道路<回车或右键全选>:");
  EXPECT_EQ(Run(h1 + L"\n-" + h1 + L"\n"), RTERROR);  // ends empty
  EXPECT_EQ(Run(h1 + L"\n^C"), RTCAN);
  EXPECT_EQ(Run(L"^C"), RTCAN);
  EXPECT_EQ(AsVector(ids), (Ids{poly, line2}));
  EXPECT_EQ(PickAdd(), 2);
  EXPECT_FALSE(kwhost::EntityRedrawState(line1).highlighted);
  EXPECT_FALSE(kwhost::EntityRedrawState(line2).highlighted);
  ads_name ss;
  kwhost::QueueInput(h1 + L"\n");
  ASSERT_EQ(KWRDPub::KWSSGet_ReturnSelAll(nullptr, nullptr, nullptr, ss), RTNORM);
  Adesk::Int32 n = 0;
  EXPECT_EQ(acedSSLength(ss, &n), RTNORM);
  EXPECT_EQ(n, 1);
  acedSSFree(ss);
}

// ---------------------------------------------------------------- one entity through filters

TEST_F(EditorSelection, SelectFilterEntityAsksUntilBothFiltersPass) {
  resbuf* curves = acutBuildList(RTDXF0, L"LINE,LWPOLYLINE,INSERT", 0);
  CFilterByClass noPolylines;
  noPolylines.AddRejectClass(AcDbPolyline::desc());
  AcDbObjectId id;
  AcGePoint3d at;
  kwhost::QueueInput(L"35,0\n5,20\n5,5.1\n");
  ASSERT_EQ(
      KWRDPub::SelectFilterEntity(L"\n选线: ", L"\n选错了", curves, noPolylines, id, nullptr, &at),
      RTNORM);
  EXPECT_EQ(id, line2);
  EXPECT_EQ(at, AcGePoint3d(5, 5.1, 0));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n选线: \n选错了\n选线: \n选错了\n选线: ");
  kwhost::ClearInput();
  kwhost::QueueInput(L"\n90,90\nLines\n^C");
  EXPECT_EQ(KWRDPub::SelectFilterEntity(L"", nullptr, curves, CFilterByClass::kNull, id,
                                        L"Line Lines", nullptr),
            RTNONE);
  EXPECT_EQ(KWRDPub::SelectFilterEntity(L"", nullptr, curves, CFilterByClass::kNull, id,
                                        L"Line Lines", nullptr),
            RTNONE);
  EXPECT_EQ(KWRDPub::SelectFilterEntity(L"", nullptr, curves, CFilterByClass::kNull, id,
                                        L"Line Lines", nullptr),
            RTKWORD);
  EXPECT_EQ(KWRDPub::SelectFilterEntity(L"", nullptr, curves, CFilterByClass::kNull, id, nullptr,
                                        nullptr),
            RTCAN);
  acutRelRb(curves);
}

// ---------------------------------------------------------------- sub-entities

TEST_F(EditorSelection, SubentitiesAreEdgesAndVerticesAtThePick) {
  AcDbObjectId id;
  AcDbSubentId sub;
  AcGePoint3d at;
  // The polyline's second segment runs from (10,20) to (10,30).
  kwhost::QueueInput(L"10,27\n10,27\n52,0\n30,5\n^C");
  ASSERT_EQ(KWSubentSel::singleSel(L"\n边: ", id, sub, at), RTNORM);
  EXPECT_EQ(id, poly);
  EXPECT_EQ(sub, AcDbSubentId(AcDb::kEdgeSubentType, 2));
  EXPECT_EQ(at, AcGePoint3d(10, 27, 0));
  ASSERT_EQ(KWSubentSel::singleSel(L"", AcDb::kVertexSubentType, id, sub, at, false), RTNORM);
  EXPECT_EQ(sub, AcDbSubentId(AcDb::kVertexSubentType, 3));
  // Inside the block reference: the nested polyline's first segment.
  ASSERT_EQ(KWSubentSel::singleSel(L"", AcDb::kEdgeSubentType, id, sub, at, false), RTNORM);
  EXPECT_EQ(id, nested);
  EXPECT_EQ(sub, AcDbSubentId(AcDb::kEdgeSubentType, 1));
  // A circle has no vertex: without retry that ends the pick.
  EXPECT_EQ(KWSubentSel::singleSel(L"", AcDb::kVertexSubentType, id, sub, at, false), RTNONE);
  EXPECT_EQ(KWSubentSel::singleSel(L"", AcDb::kEdgeSubentType, id, sub, at, true), RTCAN);
  // Restricted to one entity: the reference stands for what lies inside it.
  kwhost::TakeOutput();
  kwhost::QueueInput(L"5,0\n51,0\n");
  ASSERT_EQ(
      KWSubentSel::singleSelEx(L"\n块: ", L"\n不是它", AcDb::kEdgeSubentType, insert, sub, at),
      RTNORM);
  EXPECT_EQ(sub, AcDbSubentId(AcDb::kEdgeSubentType, 1));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n块: \n不是它\n块: ");
  EXPECT_EQ(KWSubentSel::singleSelEx(L"", nullptr, AcDb::kEdgeSubentType, insert, sub, at), RTCAN);
}

}  // namespace
