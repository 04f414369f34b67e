// System variables: types, read-only ones, string copies and the defaults of a new session.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "kwhost/embedded.h"

namespace {

class SystemVariables : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(SystemVariables, SystemVariablesFollowAReferenceModel) {
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

TEST_F(SystemVariables, StringVariablesAreFreshCopies) {
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

}  // namespace
