#include "common/fileio.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/testing/TempDir.h"

namespace kw {
namespace {

class FileIoTest : public ::testing::Test {
 protected:
  std::wstring At(const wchar_t* name) const { return JoinPath(dir_, name); }
  std::vector<std::wstring> Listing() const {
    std::vector<std::wstring> names;
    Fs().ListFiles(dir_, &names);
    return names;
  }

  kwtest::TempDir temp_{"kwfileio"};
  std::wstring dir_ = temp_.wpath();
};

TEST_F(FileIoTest, AtomicSaveWritesExactBytesAndLeavesNoTemporaryFile) {
  const std::string bytes("a\0b\xFF", 4);
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"道路.bin"), bytes));
  std::string back;
  ASSERT_TRUE(Fs().ReadFile(At(L"道路.bin"), &back));
  EXPECT_EQ(back, bytes);
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"道路.bin"), "new"));
  ASSERT_TRUE(Fs().ReadFile(At(L"道路.bin"), &back));
  EXPECT_EQ(back, "new");
  EXPECT_EQ(Listing(), std::vector<std::wstring>{L"道路.bin"});
}

TEST_F(FileIoTest, FailedSavesKeepThePreviousFile) {
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"a.xml"), "old"));
  FaultyFileSystem faulty(PosixFs());
  {
    ScopedFileSystem scope(&faulty);
    faulty.FailWrites(1);
    EXPECT_FALSE(Fs().WriteFileAtomic(At(L"a.xml"), "new"));
    EXPECT_TRUE(Fs().WriteFileAtomic(At(L"a.xml"), "newer"));  // only one failure was asked
  }
  EXPECT_EQ(faulty.writes(), 2);
  std::string back;
  ASSERT_TRUE(Fs().ReadFile(At(L"a.xml"), &back));
  EXPECT_EQ(back, "newer");

  // Real failures: a missing folder, and a final name that is a folder.
  EXPECT_FALSE(Fs().WriteFileAtomic(At(L"missing/a.xml"), "x"));
  ASSERT_TRUE(Fs().CreateDirectories(At(L"sub")));
  EXPECT_FALSE(Fs().WriteFileAtomic(At(L"sub"), "x"));
  EXPECT_TRUE(Fs().IsDirectory(At(L"sub")));
  EXPECT_EQ(Listing(), std::vector<std::wstring>{L"a.xml"});
}

// A copy holds the source's bytes exactly (a few megabytes, so the kernel copies in more than
// one piece where it splits), replaces an older copy atomically and leaves the source alone; a
// copy from a missing file or into a missing folder fails and leaves no temporary file.
TEST_F(FileIoTest, CopiesReplaceTheTargetAtomicallyWithTheSourcesBytes) {
  std::string big(3 << 20, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7 + i / 4099);
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"a.dxf"), big));
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"a.bak"), "older copy"));
  ASSERT_TRUE(Fs().CopyFileAtomic(At(L"a.dxf"), At(L"a.bak")));
  std::string copy, source;
  ASSERT_TRUE(Fs().ReadFile(At(L"a.bak"), &copy));
  ASSERT_TRUE(Fs().ReadFile(At(L"a.dxf"), &source));
  EXPECT_TRUE(copy == big);
  EXPECT_TRUE(source == big);
  EXPECT_FALSE(Fs().CopyFileAtomic(At(L"none.dxf"), At(L"b.bak")));
  EXPECT_FALSE(Fs().CopyFileAtomic(At(L"a.dxf"), At(L"missing/a.bak")));
  FaultyFileSystem faulty(PosixFs());
  {
    ScopedFileSystem scope(&faulty);
    faulty.FailWrites(1);
    EXPECT_FALSE(Fs().CopyFileAtomic(At(L"a.dxf"), At(L"c.bak")));
  }
  EXPECT_EQ(faulty.writes(), 1);
  EXPECT_EQ(Listing(), (std::vector<std::wstring>{L"a.bak", L"a.dxf"}));
}

// The probe records the temporary file's permission bits at each step of a save.
struct ModeLog {
  static std::vector<unsigned> modes;
  static bool failBeforeRename;
  static bool Record(SaveStep step, const std::string& temp_path) {
    struct stat st;
    modes.push_back(::stat(temp_path.c_str(), &st) == 0 ? st.st_mode & 07777 : 01000);
    return !(step == SaveStep::kBeforeRename && failBeforeRename);
  }
};
std::vector<unsigned> ModeLog::modes;
bool ModeLog::failBeforeRename = false;

TEST_F(FileIoTest, TemporaryFilesArePrivateUntilTheyHaveTheirFinalMode) {
  const mode_t oldMask = ::umask(027);
  SetSaveProbe(&ModeLog::Record);
  const std::string file = NativePath(At(L"p.xml"));
  struct stat st;
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"p.xml"), "one"));
  EXPECT_EQ(ModeLog::modes, (std::vector<unsigned>{0600, 0640}));  // 0644 less the umask
  ASSERT_EQ(::stat(file.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);

  ASSERT_EQ(::chmod(file.c_str(), 0604), 0);  // a replaced file keeps its own mode
  ModeLog::modes.clear();
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"p.xml"), "two"));
  EXPECT_EQ(ModeLog::modes, (std::vector<unsigned>{0600, 0604}));

  ModeLog::failBeforeRename = true;  // a failure at the last step leaves nothing behind
  EXPECT_FALSE(Fs().WriteFileAtomic(At(L"p.xml"), "three"));
  SetSaveProbe(nullptr);
  ::umask(oldMask);
  std::string back;
  ASSERT_TRUE(Fs().ReadFile(At(L"p.xml"), &back));
  EXPECT_EQ(back, "two");
  EXPECT_EQ(Listing(), std::vector<std::wstring>{L"p.xml"});
}

TEST_F(FileIoTest, ReadsRefuseFilesOverTheLimitAndMissingFiles) {
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"ten"), "0123456789"));
  std::string back;
  EXPECT_FALSE(Fs().ReadFile(At(L"ten"), &back, 9));
  EXPECT_TRUE(Fs().ReadFile(At(L"ten"), &back, 10));
  EXPECT_FALSE(Fs().ReadFile(At(L"none"), &back));
  EXPECT_FALSE(Fs().ReadFile(dir_, &back));  // a folder is not a file
}

TEST_F(FileIoTest, ReadsWholeFilesWhateverSizeTheyReport) {
  const std::string big(200000, 'k');  // several read calls
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"big"), big));
  std::string back = "stale";
  ASSERT_TRUE(Fs().ReadFile(At(L"big"), &back));
  EXPECT_EQ(back, big);
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"empty"), ""));
  ASSERT_TRUE(Fs().ReadFile(At(L"empty"), &back));
  EXPECT_EQ(back, "");
  // Kernel files report a size of 0 and still have content.
  ASSERT_TRUE(Fs().ReadFile(L"/proc/self/status", &back));
  EXPECT_EQ(back.substr(0, 6), "Name:\t");
  EXPECT_FALSE(Fs().ReadFile(L"/proc/self/status", &back, 4));
}

TEST_F(FileIoTest, ListingHoldsRegularFilesAndLinksToThemSortedByName) {
  for (const wchar_t* name : {L"b.rob", L"道.rob", L"a.rob", L"B.rob"}) {
    ASSERT_TRUE(Fs().WriteFileAtomic(At(name), "x"));
  }
  ASSERT_TRUE(Fs().CreateDirectories(At(L"folder.rob")));
  ASSERT_EQ(::symlink("a.rob", NativePath(At(L"link.rob")).c_str()), 0);
  ASSERT_EQ(::symlink("folder.rob", NativePath(At(L"dirlink")).c_str()), 0);
  ASSERT_EQ(::symlink("missing", NativePath(At(L"dangling")).c_str()), 0);
  EXPECT_EQ(Listing(),
            (std::vector<std::wstring>{L"B.rob", L"a.rob", L"b.rob", L"link.rob", L"道.rob"}));
}

TEST_F(FileIoTest, FoldersAreCreatedWithParentsAndBackslashesAreSeparators) {
  EXPECT_TRUE(Fs().CreateDirectories(dir_ + L"\\x\\y/z"));
  EXPECT_TRUE(Fs().IsDirectory(At(L"x/y/z")));
  EXPECT_TRUE(Fs().CreateDirectories(At(L"x/y/z")));  // already there
  ASSERT_TRUE(Fs().WriteFileAtomic(At(L"file"), ""));
  EXPECT_FALSE(Fs().CreateDirectories(At(L"file/below")));
  EXPECT_TRUE(Fs().RemoveFile(At(L"file")));
  EXPECT_FALSE(Fs().RemoveFile(At(L"file")));
}

TEST_F(FileIoTest, PrivateFoldersAreOwnedByTheCallerAndClosedToOthers) {
  const std::string root = NativePath(dir_);
  for (const char* sub : {"/mine", "/open", "/sticky/mine", "/loose/mine", "/theirs/mine"}) {
    ASSERT_TRUE(Fs().CreateDirectories(WidePath(root + sub)));
  }
  ASSERT_EQ(::chmod((root + "/open").c_str(), 0777), 0);
  ASSERT_EQ(::chmod((root + "/sticky").c_str(), 01777), 0);
  ASSERT_EQ(::chmod((root + "/loose").c_str(), 0777), 0);
  std::wstring culprit;
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"mine"), &culprit), FolderTrust::kPrivate);
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"sticky/mine/"), &culprit), FolderTrust::kPrivate);
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"missing"), &culprit), FolderTrust::kMissing);
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"open"), &culprit), FolderTrust::kOpenToOthers);
  EXPECT_EQ(culprit, At(L"open"));
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"loose/mine"), &culprit), FolderTrust::kOpenToOthers);
  EXPECT_EQ(culprit, At(L"loose"));
  ASSERT_EQ(::symlink("open", (root + "/link").c_str()), 0);  // links are followed
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"link"), &culprit), FolderTrust::kOpenToOthers);
  EXPECT_EQ(culprit, At(L"open"));

  if (::geteuid() != 0) GTEST_SKIP() << "giving a folder to another user needs root";
  ASSERT_EQ(::chown((root + "/theirs").c_str(), 65534, 65534), 0);
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"theirs/mine"), &culprit), FolderTrust::kForeignOwner);
  EXPECT_EQ(culprit, At(L"theirs"));
  EXPECT_EQ(Fs().CheckPrivateFolder(At(L"theirs"), &culprit), FolderTrust::kForeignOwner);
}

TEST(PathTextTest, SplittingAcceptsBothSeparators) {
  EXPECT_EQ(JoinPath(L"/a/b/", L"c.xml"), L"/a/b/c.xml");
  EXPECT_EQ(JoinPath(L"", L"c.xml"), L"c.xml");
  EXPECT_EQ(FileNameOf(L"C:\\prj\\road.dwg"), L"road.dwg");
  EXPECT_EQ(FileNameOf(L"/prj/sub\\road.dwg"), L"road.dwg");
  EXPECT_EQ(ParentOf(L"/prj/road.dwg"), L"/prj");
  EXPECT_EQ(ParentOf(L"road.dwg"), L"");
  EXPECT_EQ(TrimSeparatorsRight(L"/prj/\\/"), L"/prj");
  EXPECT_EQ(NativePath(L"a\\b/道"), "a/b/\xE9\x81\x93");
}

}  // namespace
}  // namespace kw
