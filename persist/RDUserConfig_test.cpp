#include "persist/RDUserConfig.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/fileio.h"
#include "kwhost/embedded.h"
#include "services/paths.h"

namespace {

// The per-user folder is fixed for the life of the process: point it at a temporary folder
// before anything asks for it.
const std::string& UserDir() {
  static const std::string dir = [] {
    if (const char* set = getenv("KWRD_USER_DIR"); set != nullptr && *set != '\0') {
      return std::string(set);
    }
    char tmpl[] = "/tmp/kwuser_XXXXXX";
    std::string made = mkdtemp(tmpl);
    setenv("KWRD_USER_DIR", made.c_str(), 1);
    return made;
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

TEST_F(RDUserConfigTest, RDVarListsAndEditsOnlyRegisteredVariables) {
  int width = 5;
  double ratio = 0.5;
  RDUserConfig::RegisterVar(L"Width", RDUserConfig::kIntVar, &width);
  RDUserConfig::RegisterVar(L"Ratio", RDUserConfig::kDoubleVar, &ratio);
  RDUserConfig::RegisterVar(L"Mode", RDUserConfig::kStrVar, const_cast<wchar_t*>(L"abc"));
  RDUserConfig::GetIntVar(L"Hidden", 1);

  kwhost::QueueInput(L"?\nhidden\nnope\nwidth\n12");
  RDUserConfig::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入变量名或[?]:"
            L"\nMode\t\tabc\nRatio\t\t0.5\nWidth\t\t5"
            L"\n输入变量名或[?]:\n不存在变量 hidden"
            L"\n输入变量名或[?]:\n不存在变量 nope"
            L"\n输入变量名或[?]:\n输入变量 width 的新值 <5>:");
  EXPECT_EQ(RDUserConfig::GetIntVar(L"Width", 0), 12);
  EXPECT_EQ(FileBytes(), Road("    <Width>12</Width>\n"));

  kwhost::QueueInput(L"ratio\n");  // Enter on a number changes nothing
  RDUserConfig::RDVar();
  kwhost::QueueInput(L"mode\n");  // Enter on a string stores the empty text
  RDUserConfig::RDVar();
  kwhost::QueueInput(L"ratio\n^C");
  RDUserConfig::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n输入变量名或[?]:\n输入变量 ratio 的新值 <0.5>:"
            L"\n输入变量名或[?]:\n输入变量 mode 的新值 <abc>:"
            L"\n输入变量名或[?]:\n输入变量 ratio 的新值 <0.5>:");
  EXPECT_EQ(RDUserConfig::GetStrVar(L"Mode", nullptr), L"");
  EXPECT_EQ(FileBytes(), Road("    <Width>12</Width>\n    <Mode/>\n"));

  kwhost::QueueInput(L"");
  RDUserConfig::RDVar();
  EXPECT_EQ(kwhost::TakeOutput(), L"\n输入变量名或[?]:");
}

}  // namespace
