// Run-time classes and the system registry, across session resets.
#include <gtest/gtest.h>

#include "host/api/accmd.h"
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
  EXPECT_FALSE(child->isDerivedFrom(AcRxObject::desc()));  // an answer the parent must change
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

TEST_F(Registry, ChildForgetsADeletedParentAndFindsItsSuccessor) {
  AcRxClass* parent = newAcRxClass(L"GoneParent", L"AcRxObject");
  AcRxClass* child = newAcRxClass(L"StayingChild", L"GoneParent");
  ASSERT_EQ(child->myParent(), parent);
  deleteAcRxClass(parent);
  EXPECT_EQ(child->myParent(), nullptr);
  EXPECT_FALSE(child->isDerivedFrom(AcRxObject::desc()));
  AcRxClass* successor = newAcRxClass(L"GoneParent", L"AcRxObject");
  EXPECT_EQ(child->myParent(), successor);
  deleteAcRxClass(child);
  deleteAcRxClass(successor);
}

// Two classes naming each other as parent: class checks end (no hang) and see each other.
TEST_F(Registry, ClassesThatNameEachOtherAsParentDoNotHangAClassCheck) {
  AcRxClass* a = newAcRxClass(L"LoopA", L"LoopB");
  AcRxClass* b = newAcRxClass(L"LoopB", L"LoopA");
  EXPECT_TRUE(a->isDerivedFrom(b));
  EXPECT_TRUE(b->isDerivedFrom(a));
  EXPECT_FALSE(a->isDerivedFrom(AcRxObject::desc()));
  EXPECT_FALSE(a->isDerivedFrom(nullptr));
  deleteAcRxClass(a);
  deleteAcRxClass(b);
}

TEST_F(Registry, ClassesSurviveResetButRegistryExtrasDoNot) {
  AcRxClass* cls = newAcRxClass(L"Survivor", L"AcRxObject");
  acrxSysRegistry()->atPut(L"EXTRA", new AcRxDictionary());
  kwhost::ResetSession();
  EXPECT_EQ(acrxClassDictionary->at(L"Survivor"), cls);
  EXPECT_EQ(acrxSysRegistry()->at(L"EXTRA"), nullptr);
  deleteAcRxClass(cls);
}

}  // namespace
