#include "persist/RDUserConfig.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/fileio.h"
#include "common/format.h"
#include "common/testing/AllocMeter.h"
#include "common/testing/TempDir.h"
#include "kwhost/embedded.h"
#include "persist/XMLPrivateProfile.h"
#include "services/paths.h"

namespace {

// The bytes every heap allocation of the process (C and C++, libxml2's included) asked for while
// run ran, frees not subtracted; -1 when this build cannot see C allocations.
template <typename Run>
int64_t BytesAllocatedBy(Run run) {
  if (!kwtest::AllocMeterSeesMalloc()) {
    run();
    return -1;
  }
  kwtest::AllocMeter meter;
  run();
  return meter.TotalBytes();
}

// The per-user folder is fixed for the life of the process: point it at a temporary folder
// (removed when the program ends) before anything asks for it.
const std::string& UserDir() {
  static const std::string dir = [] {
    if (const char* set = getenv("KWRD_USER_DIR"); set != nullptr && *set != '\0') {
      return std::string(set);
    }
    static const kwtest::TempDir made("kwuser");
    setenv("KWRD_USER_DIR", made.path().c_str(), 1);
    return made.path();
  }();
  return dir;
}
const bool kUserDirSet = !UserDir().empty();

class RDUserConfigTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kUserDirSet);
    file_ = kw::NativePath(KWRDPub::GetCurUserKeldornPath()) + "/SoftConfig.xml";
    std::filesystem::remove(file_);
    RDUserConfig::Clear();
    kwhost::ResetSession();
  }
  void TearDown() override {
    RDUserConfig::Clear();
    std::filesystem::remove(file_);
  }

  std::string FileBytes() const {
    std::ifstream in(file_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  void PutFile(const std::string& bytes) const { std::ofstream(file_, std::ios::binary) << bytes; }

  static std::string Road(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n  <Road>\n" + body +
           "  </Road>\n</config>\n";
  }

  std::string file_;
};

TEST_F(RDUserConfigTest, GettersSettersAndSaveFollowTheConversionTable) {
  EXPECT_EQ(RDUserConfig::GetIntVar(L"X", 5), 5);
  RDUserConfig::SetVar(L"x", 7);
  EXPECT_EQ(RDUserConfig::Count(), 1);
  RDUserConfig::Save();
  EXPECT_EQ(FileBytes(), Road("    <X>7</X>\n"));

  RDUserConfig::SetVar(L"r", 2.5);
  EXPECT_EQ(RDUserConfig::GetIntVar(L"r", 0), 2);
  EXPECT_EQ(RDUserConfig::GetStrVar(L"r", nullptr), L"2.5");
  RDUserConfig::SetVar(L"r", -2.5);
  EXPECT_EQ(RDUserConfig::GetIntVar(L"r", 0), -2);
  RDUserConfig::SetVar(L"s", L" 12.75abc");
  EXPECT_EQ(RDUserConfig::GetIntVar(L"s", 0), 12);
  EXPECT_EQ(RDUserConfig::GetDoubleVar(L"s", 0), 12.75);
  EXPECT_EQ(RDUserConfig::GetDoubleVar(L"X", 0), 7.0);
  EXPECT_EQ(RDUserConfig::GetStrVar(L"X", nullptr), L"7");
  EXPECT_EQ(RDUserConfig::VarValueType(L"unknown"), RDUserConfig::kStrVar);
  EXPECT_EQ(RDUserConfig::VarValueType(L"R"), RDUserConfig::kDoubleVar);

  EXPECT_EQ(RDUserConfig::GetStrVar(L"Name", nullptr), L"");
  RDUserConfig::RegisterVar(L"name", RDUserConfig::kIntVar, nullptr);
  EXPECT_TRUE(RDUserConfig::IsRegisterVar(L"NAME"));
  EXPECT_EQ(RDUserConfig::VarValueType(L"Name"), RDUserConfig::kStrVar);
  EXPECT_FALSE(RDUserConfig::IsRegisterVar(L"X"));
}

TEST_F(RDUserConfigTest, TableIsSortedByUpperCaseName) {
  int one = 1;
  for (const wchar_t* name : {L"b", L"A2", L"a", L"C", L"_z"}) {
    RDUserConfig::RegisterVar(name, RDUserConfig::kIntVar, &one);
  }
  std::vector<std::wstring> names;
  for (int i = 0; i < RDUserConfig::Count(); ++i) names.push_back(RDUserConfig::Item(i));
  EXPECT_EQ(names, (std::vector<std::wstring>{L"a", L"A2", L"b", L"C", L"_z"}));
  EXPECT_EQ(RDUserConfig::Find(L"c"), 3);
  EXPECT_EQ(RDUserConfig::Find(L"none"), -1);
  EXPECT_EQ(RDUserConfig::Item(99), L"");
}

TEST_F(RDUserConfigTest, LoadsFromTheFileAndSavesOnlyChanges) {
  PutFile(Road("    <W>42</W>\n    <R>0x000000000000F83F</R>\n    <S>text</S>\n"));
  const std::string before = FileBytes();
  double half = 0.5;
  RDUserConfig::RegisterVar(L"W", RDUserConfig::kIntVar, nullptr);
  RDUserConfig::RegisterVar(L"R", RDUserConfig::kDoubleVar, &half);
  RDUserConfig::RegisterVar(L"S", RDUserConfig::kStrVar, const_cast<wchar_t*>(L"dflt"));
  RDUserConfig::RegisterVar(L"missing", RDUserConfig::kStrVar, const_cast<wchar_t*>(L"dflt"));
  kw::FaultyFileSystem counting(kw::PosixFs());
  kw::ScopedFileSystem scope(&counting);
  // Names match ignoring case in the table; the file's keys are the names as first created.
  EXPECT_EQ(RDUserConfig::GetIntVar(L"w", 0), 42);
  EXPECT_EQ(RDUserConfig::GetDoubleVar(L"R", 0), 1.5);
  EXPECT_EQ(RDUserConfig::GetStrVar(L"S", nullptr), L"text");
  EXPECT_EQ(RDUserConfig::GetStrVar(L"missing", nullptr), L"dflt");
  RDUserConfig::Save();
  EXPECT_EQ(counting.writes(), 0);
  EXPECT_EQ(FileBytes(), before);

  RDUserConfig::SetVar(L"r", 0.125);
  RDUserConfig::Save();
  EXPECT_EQ(FileBytes(), Road("    <W>42</W>\n    <R>0.125</R>\n    <S>text</S>\n"));
}

TEST_F(RDUserConfigTest, CorruptFileLeavesDefaultsAndIsNotOverwritten) {
  const std::string corrupt = "<config><Road><W>42</W></Road";
  PutFile(corrupt);
  int seven = 7;
  RDUserConfig::RegisterVar(L"W", RDUserConfig::kIntVar, &seven);
  EXPECT_EQ(RDUserConfig::GetIntVar(L"W", 0), 7);
  RDUserConfig::SetVar(L"W", 8);
  RDUserConfig::Save();
  EXPECT_EQ(FileBytes(), corrupt);
  EXPECT_FALSE(kwhost::TakeOutput().size());
}

TEST_F(RDUserConfigTest, LoadingReadsTheFileOnceWhateverNamesAreAskedFor) {
  PutFile(Road("    <W>42</W>\n    <S>text</S>\n    <S>second</S>\n    <E></E>\n"));
  kw::FaultyFileSystem counting(kw::PosixFs());
  kw::ScopedFileSystem scope(&counting);
  EXPECT_EQ(RDUserConfig::GetIntVar(L"W", 0), 42);
  EXPECT_EQ(RDUserConfig::GetStrVar(L"S", nullptr), L"text");  // the first of a repeated key
  EXPECT_EQ(RDUserConfig::GetDoubleVar(L"E", 2.5), 2.5);       // an empty text is absent
  for (int i = 0; i < 50; ++i) RDUserConfig::GetIntVar(kw::FormatW(L"New%d", i).c_str(), i);
  EXPECT_EQ(counting.reads(), 1);

  // A save reads the file to merge into it; a later new name sees what was saved without
  // reading again.
  RDUserConfig::SetVar(L"w", 43);
  ASSERT_TRUE(RDUserConfig::Save());
  EXPECT_EQ(counting.reads(), 2);
  EXPECT_EQ(RDUserConfig::GetIntVar(L"Newer", 1), 1);
  EXPECT_EQ(counting.reads(), 2);
  RDUserConfig::Clear();  // a fresh table reads the file again, once
  EXPECT_EQ(RDUserConfig::GetIntVar(L"W", 0), 43);
  EXPECT_EQ(RDUserConfig::GetStrVar(L"S", nullptr), L"text");
  EXPECT_EQ(counting.reads(), 3);
}

TEST_F(RDUserConfigTest, FailedSaveSaysWhyAndKeepsTheChangeForTheNextSave) {
  PutFile(Road("    <W>1</W>\n"));
  const std::string before = FileBytes();
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  RDUserConfig::SetVar(L"W", 2);
  faulty.FailWrites();
  std::wstring error;
  EXPECT_FALSE(RDUserConfig::Save(&error));
  EXPECT_EQ(error, L"无法保存用户变量到 " + KWRDPub::GetCurUserKeldornPath() + L"/SoftConfig.xml");
  EXPECT_EQ(FileBytes(), before);
  EXPECT_EQ(RDUserConfig::GetIntVar(L"W", 0), 2);
  faulty.Reset();
  EXPECT_TRUE(RDUserConfig::Save());
  EXPECT_EQ(FileBytes(), Road("    <W>2</W>\n"));
  EXPECT_EQ(faulty.writes(), 2);
  EXPECT_TRUE(RDUserConfig::Save());  // nothing left to save
  EXPECT_EQ(faulty.writes(), 2);
}

TEST_F(RDUserConfigTest, OversizedFileIsRefusedBeforeItIsRead) {
  int seven = 7;
  RDUserConfig::RegisterVar(L"W", RDUserConfig::kIntVar, &seven);
  std::string body = "    <W>42</W>\n";
  while (body.size() <= CXMLPrivateProfile::kMaxFileBytes) body += "<e/><e/><e/><e/>";
  PutFile(Road(body));
  const std::string before = FileBytes();
  const int64_t bytes = BytesAllocatedBy([] { EXPECT_EQ(RDUserConfig::GetIntVar(L"W", 0), 7); });
  if (bytes >= 0) {
    EXPECT_LT(bytes, 64 << 10);
  }
  RDUserConfig::SetVar(L"W", 8);
  EXPECT_FALSE(RDUserConfig::Save());  // treated as damaged: never overwritten
  EXPECT_TRUE(FileBytes() == before);  // (not EXPECT_EQ: 4 MiB in a failure message)
}

// Empty elements are the content that costs most memory per byte of file (a tree node each).
// Every byte allocated while reading is counted, transient buffers included, and stays below the
// library's bound of 100 bytes per byte of valid input.
TEST_F(RDUserConfigTest, ReadingTheFileCostsMemoryInProportionToItsSize) {
  std::string body = "    <W>42</W>\n";
  while (body.size() < CXMLPrivateProfile::kMaxFileBytes / 4) body += "<e/><e/><e/><e/>";
  PutFile(Road(body));
  const int64_t bytes = BytesAllocatedBy([] { EXPECT_EQ(RDUserConfig::GetIntVar(L"W", 0), 42); });
  if (bytes < 0) GTEST_SKIP() << "this build cannot count allocations";
  EXPECT_LT(bytes, 100 * static_cast<int64_t>(body.size()));
}

}  // namespace
