// Documents: the current one, nested locks, and opening a drawing by name.
#include <gtest/gtest.h>

#include <cstdlib>

#include "host/api/aced.h"
#include "host/api/dbmain.h"
#include "host/api/docman.h"
#include "kwhost/embedded.h"

namespace {

class Documents : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(Documents, DocumentLocksNestAndCanBeMadeToFail) {
  AcApDocument* doc = acDocManager->curDocument();
  ASSERT_NE(doc, nullptr);
  EXPECT_STREQ(doc->docTitle(), L"Drawing1.dwg");
  EXPECT_EQ(doc->lockMode(), AcAp::kNotLocked);
  EXPECT_EQ(acDocManager->lockDocument(doc), Acad::eOk);
  EXPECT_EQ(acDocManager->lockDocument(doc, AcAp::kRead), Acad::eOk);
  EXPECT_EQ(doc->lockMode(), AcAp::kRead);
  EXPECT_EQ(acDocManager->unlockDocument(doc), Acad::eOk);
  EXPECT_EQ(doc->lockMode(), AcAp::kWrite);
  EXPECT_EQ(acDocManager->unlockDocument(doc), Acad::eOk);
  EXPECT_EQ(acDocManager->unlockDocument(doc), Acad::eNotApplicable);
  EXPECT_EQ(acDocManager->lockDocument(nullptr), Acad::eNullObjectPointer);
  kwhost::SetDocumentLocksFail(true);
  EXPECT_EQ(acDocManager->lockDocument(doc), Acad::eNotApplicable);
  EXPECT_EQ(doc->lockCount(), 0);
  kwhost::CloseAllDocuments();
  EXPECT_EQ(acDocManager->curDocument(), nullptr);
  kwhost::OpenDocument(L"/tmp/roads/a.dxf");
  resbuf got{};
  ASSERT_EQ(acedGetVar(L"DWGPREFIX", &got), RTNORM);
  EXPECT_STREQ(got.resval.rstring, L"/tmp/roads/");
  std::free(got.resval.rstring);
}

TEST_F(Documents, EachDocumentHasItsDrawingAndTheCurrentOneIsWorking) {
  AcApDocument* first = acDocManager->curDocument();
  ASSERT_NE(first->database(), nullptr);
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), first->database());
  kwhost::OpenDocument(L"/tmp/roads/b.dxf");
  AcApDocument* second = acDocManager->curDocument();
  EXPECT_NE(second->database(), first->database());
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), second->database());
  kwhost::CloseAllDocuments();
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), nullptr);
  kwhost::ResetSession();
  EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(),
            acDocManager->curDocument()->database());
}

}  // namespace
