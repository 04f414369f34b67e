// Finding support files and matching wildcards.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace {

// Four folders holding a file of the same name: the drawing's, the working one, two of the
// support path; the working folder is restored afterwards.
class FindFile : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp_.emplace("kw_findfile");
    root_ = temp_->wpath();
    for (const wchar_t* dir : {L"/dwg", L"/work", L"/sup1", L"/sup2"}) {
      kw::CreateDirectories(root_ + dir);
      kw::Fs().WriteFileAtomic(root_ + dir + L"/x.lin", "x");
    }
    kw::Fs().WriteFileAtomic(root_ + L"/sup2/only2.lin", "x");
  }
  static void TearDownTestSuite() { temp_.reset(); }
  void SetUp() override {
    char buf[4096];
    ASSERT_NE(getcwd(buf, sizeof buf), nullptr);
    saved_ = buf;
    setenv("KWRD_SUPPORT_PATH", kw::ToUtf8(root_ + L"/sup1:" + root_ + L"/sup2").c_str(), 1);
    kwhost::ResetSession();
    unsetenv("KWRD_SUPPORT_PATH");
  }
  void TearDown() override { ASSERT_EQ(chdir(saved_.c_str()), 0); }
  static std::wstring Find(const wchar_t* name) {
    wchar_t out[512];
    return acedFindFile(name, out) == RTNORM ? std::wstring(out) : L"<" + std::wstring(out) + L">";
  }
  static std::optional<kwtest::TempDir> temp_;
  static std::wstring root_;
  std::string saved_;
};
std::optional<kwtest::TempDir> FindFile::temp_;
std::wstring FindFile::root_;

TEST_F(FindFile, SearchesDrawingWorkSupportPathThenHostFolderInOrder) {
  ASSERT_EQ(chdir(kw::ToUtf8(root_ + L"/work").c_str()), 0);
  kwhost::OpenDocument(root_ + L"/dwg/road.dwg");
  EXPECT_EQ(Find(L"x.lin"), root_ + L"/dwg/x.lin");
  kwhost::OpenDocument(L"new.dwg");  // no folder: the working folder comes first
  EXPECT_EQ(Find(L"x.lin"), root_ + L"/work/x.lin");
  ASSERT_EQ(chdir(kw::ToUtf8(root_).c_str()), 0);
  EXPECT_EQ(Find(L"x.lin"), root_ + L"/sup1/x.lin");
  EXPECT_EQ(Find(L"only2.lin"), root_ + L"/sup2/only2.lin");
  EXPECT_EQ(Find(L"acadiso.lin"), kwhost::editor::HostSupportFolder() + L"/acadiso.lin");
  EXPECT_EQ(Find(L"missing.lin"), L"<>");
}

TEST_F(FindFile, ANameWithAFolderIsCheckedAsGivenAndResultsMustFit) {
  ASSERT_EQ(chdir(kw::ToUtf8(root_).c_str()), 0);
  EXPECT_EQ(Find(L"sup2/only2.lin"), root_ + L"/sup2/only2.lin");
  EXPECT_EQ(Find((root_ + L"/dwg/x.lin").c_str()), root_ + L"/dwg/x.lin");
  EXPECT_EQ(Find(L"dwg/only2.lin"), L"<>");
  EXPECT_EQ(Find(L""), L"<>");
  wchar_t tiny[4] = L"abc";
  EXPECT_EQ(acedFindFile(L"x.lin", tiny), RTERROR);
  EXPECT_STREQ(tiny, L"");
  EXPECT_EQ(acedFindFile(nullptr, tiny, 4), RTERROR);
}

TEST_F(FindFile, SupportPathIsReadOnlyAndTheHostFolderHoldsTheShippedFiles) {
  resbuf rb{};
  rb.restype = RTSTR;
  rb.resval.rstring = const_cast<wchar_t*>(L"/elsewhere");
  EXPECT_EQ(acedSetVar(L"ACADPREFIX", &rb), RTERROR);
  for (const wchar_t* name : {L"acad.lin", L"acadiso.lin", L"ltypeshp.shp", L"ltypeshp.shx"}) {
    EXPECT_TRUE(kw::FileExists(kwhost::editor::HostSupportFolder() + L"/" + name)) << name;
  }
}

TEST(WcMatch, FollowsThePlatformsWildcards) {
  struct Case {
    const wchar_t* text;
    const wchar_t* pattern;
    bool match;
  } cases[] = {
      {L"ACAD_ISO02W100", L"ACAD_ISO*", true},
      {L"ACAD_ISO02W100", L"ACAD_ISO1#W100", false},
      {L"ACAD_ISO12W100", L"ACAD_ISO1#W100", true},
      {L"DASHED", L"*", true},
      {L"DASHED", L"dashed", false},
      {L"DASHED2", L"DASHED?", true},
      {L"DASHED", L"DASHED?", false},
      {L"A1", L"@#", true},
      {L"A-", L"@.", true},
      {L"CENTER", L"[BC]ENTER", true},
      {L"AENTER", L"[~BC]ENTER", true},
      {L"CENTER", L"[A-D]*", true},
      {L"HIDDEN", L"DASHED,HID*", true},
      {L"HIDDEN", L"~HID*", false},
      {L"BORDER", L"~HID*", true},
      {L"A*B", L"A`*B", true},
      {L"AxB", L"A`*B", false},
      {L"A,B", L"A`,B", true},
      {L"", L"*", true},
      {L"aaaaaaaaaaaaaaaaaaaaab", L"*a*a*a*a*c", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(acutWcMatch(c.text, c.pattern) == RTNORM, c.match) << c.text << " " << c.pattern;
  }
  EXPECT_EQ(acutWcMatch(nullptr, L"*"), RTERROR);
}

}  // namespace
