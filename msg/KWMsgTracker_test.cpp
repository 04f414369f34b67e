#include <gtest/gtest.h>

#include <string>

#include "common/fileio.h"
#include "host/api/docman.h"
#include "kwhost/embedded.h"
#include "msg/KWMsgTracker.h"
#include "services/paths.h"

namespace {

using KWRDPub::CKWMsgTracker;

class TrackerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    kwhost::SetManualClock(0, 12, 3, 4);
    CKWMsgTracker::Destroy();
    t = CKWMsgTracker::GetInstance();
    path = KWRDPub::GetCurUserKeldornPath() + L"/tracker.log";
  }
  void TearDown() override { CKWMsgTracker::Destroy(); }

  CKWMsgTracker* t = nullptr;
  std::wstring path;
};

TEST_F(TrackerTest, GroupsStackIndependentlyOfCollections) {
  EXPECT_EQ(t->BeginMsgGroup(L"A"), 0);
  EXPECT_EQ(t->BeginMsgGroup(L"B"), 1);
  EXPECT_EQ(t->CurMsgGroup(), L"B");
  t->EndMsgGroup();
  t->EndMsgGroup();
  t->EndMsgGroup();  // nothing left: nothing happens
  EXPECT_EQ(t->CurMsgGroup(), L"");
  t->BeginMsgGroup(L"Kept");
  t->AddMsg(KWRDPub::kMsgInfo, L"g", L"x", false, nullptr, nullptr);
  t->Reset();
  EXPECT_EQ(t->MSGCLCTCount(), 0);
  EXPECT_EQ(t->CurMsgGroup(), L"Kept");
}

TEST_F(TrackerTest, AddMsgOpensACollectionAndCopiesEverything) {
  AcDbObjectIdArray ids;
  ids.append(AcDbObjectId().setFromOldId(42));
  AcDbExtents ext(AcGePoint3d(1, 2, 3), AcGePoint3d(4, 5, 6));
  t->AddMsg(KWRDPub::kMsgError, nullptr, L"bad", true, &ids, &ext);
  EXPECT_EQ(t->MSGCLCTCount(), 1);
  t->AddMsg(KWRDPub::kMsgInfo, L"g", L"plain", false, nullptr, nullptr);
  std::vector<KWRDPub::MSGDATA> c = t->PopMSGCLCT();
  ASSERT_EQ(c.size(), 2u);
  EXPECT_EQ(c[0].code, 0);
  EXPECT_EQ(c[0].group, L"");
  EXPECT_EQ(c[0].time, L"12:03:04");
  EXPECT_EQ(c[0].ids, ids);
  EXPECT_TRUE(c[0].hasExtents);
  EXPECT_EQ(c[0].extents, ext);
  EXPECT_EQ(c[0].document, acDocManager->curDocument());
  EXPECT_EQ(c[1].document, nullptr);
  EXPECT_FALSE(c[1].hasExtents);
  EXPECT_EQ(c[1].ids.length(), 0);
  EXPECT_EQ(t->MSGCLCTCount(), 0);
  EXPECT_TRUE(t->PopMSGCLCT().empty());  // nothing open: empty, no crash
}

TEST_F(TrackerTest, AddMsgExFormatsUnderTheInnermostGroupAndSkipsEmptyText) {
  t->AddMsgEx(KWRDPub::kMsgWarning, L"");
  EXPECT_EQ(t->MSGCLCTCount(), 0);
  t->BeginMsgGroup(L"Grp");
  t->AddMsgEx(KWRDPub::kMsgWarning, L"%s %d", L"text", 5);
  std::vector<KWRDPub::MSGDATA> c = t->PopMSGCLCT();
  ASSERT_EQ(c.size(), 1u);
  EXPECT_EQ(c[0].group, L"Grp");
  EXPECT_EQ(c[0].text, L"text 5");
}

TEST_F(TrackerTest, SaveWritesGbkLinesEndingInCrCrLf) {
  EXPECT_FALSE(t->Save(path.c_str()));
  t->BeginMsgGroup(L"Grp");
  t->AddMsgEx(KWRDPub::kMsgWarning, L"text");
  t->AddMsg(KWRDPub::kMsgError, L"道路", L"中线,缺失", false, nullptr, nullptr);
  t->PushMSGCLCT();
  t->AddMsg(KWRDPub::kMsgInfo, L"", L"top only", false, nullptr, nullptr);
  ASSERT_TRUE(t->Save(path.c_str()));
  std::string bytes;
  kw::Fs().ReadFile(path, &bytes);
  EXPECT_EQ(bytes, "12:03:04,0,Info,,top only\r\r\n");
  t->PopMSGCLCT();
  ASSERT_TRUE(t->Save(path.c_str()));
  kw::Fs().ReadFile(path, &bytes);
  // 道路, 中线 and 缺失 in GBK.
  EXPECT_EQ(bytes,
            "12:03:04,0,Warning,Grp,text\r\r\n"
            "12:03:04,0,Error,\xb5\xc0\xc2\xb7,\xd6\xd0\xcf\xdf,\xc8\xb1\xca\xa7\r\r\n");

  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  t->AddMsgEx(KWRDPub::kMsgInfo, L"more");
  EXPECT_FALSE(t->Save(path.c_str()));
  std::string after;
  kw::PosixFs().ReadFile(path, &after);
  EXPECT_EQ(after, bytes);
}

}  // namespace
