// Run-time classes, the system registry, the command stack, system variables and documents.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "host/api/docman.h"
#include "host/api/editor.h"
#include "host/api/rx.h"
#include "kwhost/embedded.h"

namespace {

class Registry : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

class ProbeBase : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(ProbeBase);
};
class ProbeDerived : public ProbeBase {
 public:
  ACRX_DECLARE_MEMBERS(ProbeDerived);
};
ACRX_NO_CONS_DEFINE_MEMBERS(ProbeBase, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(ProbeDerived, ProbeBase)

TEST_F(Registry, ClassesKnowTheirAncestryAndCast) {
  ProbeDerived d;
  ProbeBase b;
  EXPECT_STREQ(d.isA()->name(), L"ProbeDerived");
  EXPECT_EQ(d.isA()->myParent(), ProbeBase::desc());
  EXPECT_TRUE(d.isKindOf(ProbeBase::desc()));
  EXPECT_TRUE(d.isKindOf(AcRxObject::desc()));
  EXPECT_FALSE(b.isKindOf(ProbeDerived::desc()));
  EXPECT_EQ(ProbeBase::cast(&d), &d);
  EXPECT_EQ(ProbeDerived::cast(&b), nullptr);
  EXPECT_EQ(ProbeDerived::cast(nullptr), nullptr);
  EXPECT_FALSE(d.isKindOf(nullptr));
}

TEST_F(Registry, SystemRegistryHoldsTheWellKnownEntries) {
  AcRxDictionary* reg = acrxSysRegistry();
  auto* classes = AcRxDictionary::cast(reg->at(L"ClassDictionary"));
  ASSERT_NE(classes, nullptr);
  EXPECT_EQ(classes, acrxClassDictionary);
  EXPECT_EQ(reg->at(L"DynamicLinker"), acrxDynamicLinkerPtr());
  EXPECT_EQ(reg->at(L"ACAD_REGISTERED_COMMANDS"), acedRegCmds());
  EXPECT_EQ(classes->at(L"AcRxObject"), AcRxObject::desc());
}

TEST_F(Registry, NewClassWithLateParentAndDelete) {
  AcRxClass* child = newAcRxClass(L"LateChild", L"LateParent");
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->myParent(), nullptr);
  AcRxClass* parent = newAcRxClass(L"LateParent", L"AcRxObject");
  acrxBuildClassHierarchy();
  EXPECT_EQ(child->myParent(), parent);
  EXPECT_TRUE(child->isDerivedFrom(AcRxObject::desc()));
  EXPECT_EQ(newAcRxClass(L"LateChild", L"Other"), child);  // already registered
  EXPECT_EQ(newAcRxClass(L"", nullptr), nullptr);
  deleteAcRxClass(child);
  deleteAcRxClass(parent);
  EXPECT_EQ(acrxClassDictionary->at(L"LateChild"), nullptr);
}

TEST_F(Registry, ClassesSurviveResetButRegistryExtrasDoNot) {
  AcRxClass* cls = newAcRxClass(L"Survivor", L"AcRxObject");
  acrxSysRegistry()->atPut(L"EXTRA", new AcRxDictionary());
  kwhost::ResetSession();
  EXPECT_EQ(acrxClassDictionary->at(L"Survivor"), cls);
  EXPECT_EQ(acrxSysRegistry()->at(L"EXTRA"), nullptr);
  deleteAcRxClass(cls);
}

void Noop() {}
void Other() {}

TEST_F(Registry, CommandGroupsAddLookUpAndRemove) {
  AcEdCommandStack* stack = acedRegCmds();
  void* out = nullptr;
  ASSERT_EQ(stack->addCommand(L"G1", L"Hello", nullptr, 0, Noop, nullptr, -1, nullptr, &out),
            Acad::eOk);
  EXPECT_EQ(stack->addCommand(L"g1", L"HELLO", L"x", 0, Noop), Acad::eDuplicateKey);
  EXPECT_EQ(stack->addCommand(L"G1", L"Bad", nullptr, 0, nullptr), Acad::eInvalidInput);
  EXPECT_EQ(stack->addCommand(nullptr, L"Bad", nullptr, 0, Noop), Acad::eInvalidInput);
  AcEdCommand* cmd = stack->lookupGlobalCmd(L"hello");
  ASSERT_NE(cmd, nullptr);
  EXPECT_EQ(static_cast<void*>(cmd), out);
  EXPECT_STREQ(cmd->localName(), L"Hello");
  EXPECT_STREQ(cmd->groupName(), L"G1");
  // A later group shadows an earlier one.
  ASSERT_EQ(stack->addCommand(L"G2", L"hello", L"hi", 0, Other), Acad::eOk);
  EXPECT_EQ(stack->lookupGlobalCmd(L"HELLO")->functionAddr(), Other);
  EXPECT_EQ(stack->lookupLocalCmd(L"HI")->functionAddr(), Other);
  EXPECT_EQ(stack->removeGroup(L"g2"), Acad::eOk);
  EXPECT_EQ(stack->lookupGlobalCmd(L"HELLO")->functionAddr(), Noop);
  EXPECT_EQ(stack->removeGroup(L"G2"), Acad::eKeyNotFound);
  EXPECT_EQ(kwhost::CommandNames(), std::vector<std::wstring>{L"Hello"});
  EXPECT_EQ(stack->removeCmd(L"G1", L"HELLO"), Acad::eOk);
  EXPECT_EQ(stack->lookupGlobalCmd(L"Hello"), nullptr);
}

int g_runs = 0;
void CountRuns() {
  ++g_runs;
  acedInitGet(0, L"Left");  // left behind on purpose
}

TEST_F(Registry, RunCommandFindsNamesIgnoringCaseAndClearsKeywords) {
  g_runs = 0;
  acedRegCmds()->addCommand(L"G", L"Count", L"Zahl", 0, CountRuns);
  EXPECT_TRUE(kwhost::RunCommand(L"COUNT"));
  EXPECT_TRUE(kwhost::RunCommand(L"zahl"));
  EXPECT_FALSE(kwhost::RunCommand(L"missing"));
  EXPECT_FALSE(kwhost::RunCommand(nullptr));
  EXPECT_EQ(g_runs, 2);
  kwhost::QueueInput(L"l");
  wchar_t buf[16];
  ASSERT_EQ(acedGetKword(nullptr, buf, 16), RTNORM);
  EXPECT_STREQ(buf, L"l");  // no keywords in force any more: the answer as typed
}

TEST_F(Registry, SystemVariablesFollowAReferenceModel) {
  std::map<std::wstring, int> model = {{L"CMDECHO", 1}, {L"CVPORT", 2}, {L"USERI1", 0}};
  resbuf rb{};
  rb.restype = RTSHORT;
  rb.resval.rint = 0;
  ASSERT_EQ(acedSetVar(L"cmdecho", &rb), RTNORM);
  model[L"CMDECHO"] = 0;
  rb.restype = RTLONG;
  rb.resval.rlong = 77;
  ASSERT_EQ(acedSetVar(L"UserI1", &rb), RTNORM);
  model[L"USERI1"] = 77;
  for (auto& [name, value] : model) {
    resbuf got{};
    ASSERT_EQ(acedGetVar(name.c_str(), &got), RTNORM) << name;
    EXPECT_EQ(got.restype, RTSHORT);
    EXPECT_EQ(got.resval.rint, value) << name;
  }
  rb.restype = RTREAL;
  EXPECT_EQ(acedSetVar(L"CMDECHO", &rb), RTERROR);    // wrong type
  EXPECT_EQ(acedSetVar(L"NOSUCHVAR", &rb), RTERROR);  // unknown
  EXPECT_EQ(acedGetVar(L"NOSUCHVAR", &rb), RTERROR);
  rb.resval.rreal = 5;
  EXPECT_EQ(acedSetVar(L"VIEWSIZE", &rb), RTERROR);  // read-only
  ASSERT_TRUE(kwhost::DefineSysVar(L"VIEWSIZE", &rb, true));
  resbuf got{};
  ASSERT_EQ(acedGetVar(L"viewsize", &got), RTNORM);
  EXPECT_DOUBLE_EQ(got.resval.rreal, 5);
}

TEST_F(Registry, StringVariablesAreFreshCopies) {
  resbuf* rb = acutNewRb(RTSTR);
  rb->resval.rstring = acutNewString(L"层1");
  ASSERT_EQ(acedSetVar(L"CLAYER", rb), RTNORM);
  acutRelRb(rb);
  resbuf got{};
  ASSERT_EQ(acedGetVar(L"CLAYER", &got), RTNORM);
  ASSERT_EQ(got.restype, RTSTR);
  EXPECT_STREQ(got.resval.rstring, L"层1");
  std::free(got.resval.rstring);
  kwhost::ResetSession();
  ASSERT_EQ(acedGetVar(L"CLAYER", &got), RTNORM);
  EXPECT_STREQ(got.resval.rstring, L"0");
  std::free(got.resval.rstring);
}

TEST_F(Registry, DocumentLocksNestAndCanBeMadeToFail) {
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

}  // namespace
