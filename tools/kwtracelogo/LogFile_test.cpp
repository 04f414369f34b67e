#include "tools/kwtracelogo/LogFile.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/testing/TempDir.h"
#include "tools/kwtracelogo/TerminalText.h"

namespace kwtracelogo {
namespace {

std::vector<std::string> Names(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      if (e->d_name[0] != '.' || e->d_name[1] > '.') names.push_back(e->d_name);
    }
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string Contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// True when path is prefix + 8 digits + "-" + 6 digits + suffix (a dated log name).
bool IsDatedLogName(const std::string& path, const std::string& prefix, const std::string& suffix) {
  const std::string shape = "dddddddd-dddddd";
  if (path.size() != prefix.size() + shape.size() + suffix.size()) return false;
  if (path.compare(0, prefix.size(), prefix) != 0) return false;
  if (path.compare(path.size() - suffix.size(), suffix.size(), suffix) != 0) return false;
  for (size_t i = 0; i < shape.size(); ++i) {
    const char c = path[prefix.size() + i];
    if (shape[i] == 'd' ? !std::isdigit(static_cast<unsigned char>(c)) : c != shape[i])
      return false;
  }
  return true;
}

// One temporary log folder for the group, emptied after each test.
class LogFileTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp.emplace("kwtracelogo-test");
    folder = temp->path();
  }
  static void TearDownTestSuite() { temp.reset(); }
  void TearDown() override {
    for (const std::string& name : Names(folder)) unlink((folder + "/" + name).c_str());
  }
  static std::optional<kwtest::TempDir> temp;
  static std::string folder;
};
std::optional<kwtest::TempDir> LogFileTest::temp;
std::string LogFileTest::folder;

TEST_F(LogFileTest, LinesGoToAPrivateDatedFileAndASecondOneTakesTheNextName) {
  const mode_t old = umask(0);
  std::string first, second;
  {
    LogFile log(folder, 77);
    log.Add("one");
    log.Add("两");
    EXPECT_TRUE(log.Finish(&first));
    LogFile again(folder, 77);
    again.Add("three");
    EXPECT_TRUE(again.Finish(&second));
  }
  umask(old);
  EXPECT_TRUE(IsDatedLogName(first, folder + "/TraceLogo-", "-77.log")) << first;
  if (first.substr(0, first.size() - 4) == second.substr(0, second.size() - 6)) {
    EXPECT_EQ(second.substr(second.size() - 6), "-2.log");
  }
  EXPECT_EQ(Contents(first), "one\r\n两\r\n");
  EXPECT_EQ(Contents(second), "three\r\n");
  struct stat st {};
  ASSERT_EQ(stat(first.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_EQ(Names(folder).size(), 2u);  // no temporary file left
}

TEST_F(LogFileTest, LinesReachTheDiskAsTheyComeInAPrivateFile) {
  LogFile log(folder, 78);
  const std::string line(1000, 'x');
  for (int i = 0; i < 1000; ++i) log.Add(line);
  std::vector<std::string> names = Names(folder);
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0].rfind(".TraceLogo-78-", 0), 0u);
  struct stat st {};
  ASSERT_EQ(stat((folder + "/" + names[0]).c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_GE(static_cast<size_t>(st.st_size), 1002000u - LogFile::kFlushBytes);
}

TEST_F(LogFileTest, NothingAddedSavesNothingAndAnUnfinishedFileIsRemoved) {
  std::string saved = "unchanged";
  EXPECT_TRUE(LogFile(folder, 79).Finish(&saved));
  EXPECT_EQ(saved, "unchanged");
  {
    LogFile log(folder, 79);
    log.Add(std::string(LogFile::kFlushBytes, 'y'));
  }
  EXPECT_EQ(Names(folder), std::vector<std::string>{});
}

TEST_F(LogFileTest, AMissingFolderIsNotCreated) {
  LogFile log(folder + "/missing/logo", 80);
  log.Add("line");
  std::string saved;
  EXPECT_FALSE(log.Finish(&saved));
  EXPECT_EQ(Names(folder), std::vector<std::string>{});
}

std::string Shown(std::u16string_view line) {
  std::string out = "kept|";
  AppendTerminalText(kw::ToUtf8(kw::FromUtf16(line)), &out);
  return out;
}

TEST(TerminalText, ControlCharactersAreWrittenOut) {
  EXPECT_EQ(Shown(u"\x1B[2J\x1B]0;title\a"), "kept|\\x1B[2J\\x1B]0;title\\x07");
  EXPECT_EQ(Shown(u"a\rb\nc\x7F\x9B"
                  u"31m\x80\x9F\xA0"),
            "kept|a\\x0Db\\x0Ac\\x7F\\u009B31m\\u0080\\u009F\u00A0");
  EXPECT_EQ(Shown(u"tab\tkept 宽 \\x1B \U0001F600"), "kept|tab\tkept 宽 \\x1B \U0001F600");
  EXPECT_EQ(Shown(std::u16string(1, u'\0')), "kept|\\x00");
}

}  // namespace
}  // namespace kwtracelogo
