#include "common/testing/MemFileSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "common/encoding.h"
#include "common/testing/TempDir.h"

namespace kwtest {
namespace {

using kw::FolderTrust;
using Names = std::vector<std::wstring>;

class MemFileSystemTest : public ::testing::Test {
 protected:
  std::string Read(const std::wstring& path, uint64_t max_bytes = kw::kNoSizeLimit) {
    std::string bytes = "untouched";
    return fs_.ReadFile(path, &bytes, max_bytes) ? bytes : "<failed>";
  }
  Names List(const std::wstring& dir) {
    Names names{L"stale"};
    return fs_.ListFiles(dir, &names) ? names : Names{L"<failed>"};
  }

  MemFileSystem fs_;
};

TEST_F(MemFileSystemTest, ReadsGiveTheBytesWrittenAndRefuseFilesOverTheLimit) {
  const std::string bytes("a\0b\xff", 4);
  ASSERT_TRUE(fs_.WriteFileAtomic(L"/f.bin", bytes));
  EXPECT_EQ(Read(L"/f.bin"), bytes);
  EXPECT_EQ(Read(L"/f.bin", 4), bytes);
  EXPECT_EQ(Read(L"/f.bin", 3), "<failed>");
  EXPECT_EQ(Read(L"/missing"), "<failed>");
  EXPECT_EQ(Read(L"/"), "<failed>");
  ASSERT_TRUE(fs_.WriteFileAtomic(L"/f.bin", ""));
  EXPECT_EQ(Read(L"/f.bin"), "");
}

TEST_F(MemFileSystemTest, SeparatorsDotsAndRelativePathsNameTheSameFile) {
  EXPECT_EQ(MemFileSystem::Normalize(L"a\\\\b/./c/"), L"/a/b/c");
  EXPECT_EQ(MemFileSystem::Normalize(L"/../a/b/../c"), L"/a/c");
  EXPECT_EQ(MemFileSystem::Normalize(L""), L"/");
  ASSERT_TRUE(fs_.CreateDirectories(L"\\dir\\sub\\"));
  ASSERT_TRUE(fs_.WriteFileAtomic(L"dir/sub/x.txt", "x"));
  EXPECT_EQ(Read(L"/dir//./sub/../sub/x.txt"), "x");
  EXPECT_EQ(List(L"\\dir\\sub"), Names{L"x.txt"});
}

TEST_F(MemFileSystemTest, WritesNeedAnExistingFolderAndNeverReplaceAFolder) {
  EXPECT_FALSE(fs_.WriteFileAtomic(L"/no/such/file", "x"));
  EXPECT_FALSE(fs_.IsDirectory(L"/no"));
  ASSERT_TRUE(fs_.CreateDirectories(L"/d"));
  EXPECT_FALSE(fs_.WriteFileAtomic(L"/d", "x"));
  EXPECT_FALSE(fs_.WriteFileAtomic(L"/", "x"));
  EXPECT_TRUE(fs_.IsDirectory(L"/d"));
  EXPECT_FALSE(fs_.IsFile(L"/d"));
}

TEST_F(MemFileSystemTest, CreateDirectoriesMakesParentsAndStopsAtAFile) {
  ASSERT_TRUE(fs_.WriteFileAtomic(L"/file", "x"));
  EXPECT_FALSE(fs_.CreateDirectories(L"/file/sub"));
  EXPECT_FALSE(fs_.CreateDirectories(L"/file"));
  EXPECT_TRUE(fs_.IsFile(L"/file"));
  EXPECT_TRUE(fs_.CreateDirectories(L"/a/b/c"));
  EXPECT_TRUE(fs_.CreateDirectories(L"/a/b/c"));
  EXPECT_TRUE(fs_.IsDirectory(L"/a"));
  EXPECT_TRUE(fs_.IsDirectory(L"/a/b"));
}

TEST_F(MemFileSystemTest, ListingNamesOnlyTheFilesDirectlyInTheFolderSortedByName) {
  fs_.AddFile(L"/d/b.txt", "");
  fs_.AddFile(L"/d/A.txt", "");
  fs_.AddFile(L"/d/中.txt", "");
  fs_.AddFile(L"/d/sub/deep.txt", "");
  fs_.AddFile(L"/d2/other.txt", "");
  EXPECT_EQ(List(L"/d"), (Names{L"A.txt", L"b.txt", L"中.txt"}));
  EXPECT_EQ(List(L"/"), Names{});
  EXPECT_EQ(List(L"/d/b.txt"), Names{L"<failed>"});
  EXPECT_EQ(List(L"/none"), Names{L"<failed>"});
  EXPECT_TRUE(fs_.RemoveFile(L"/d/b.txt"));
  EXPECT_FALSE(fs_.RemoveFile(L"/d/b.txt"));
  EXPECT_FALSE(fs_.RemoveFile(L"/d/sub"));
  EXPECT_EQ(List(L"/d"), (Names{L"A.txt", L"中.txt"}));
}

TEST_F(MemFileSystemTest, ReadOnlyRefusesEveryChangeAndStillReads) {
  fs_.AddFile(L"/in/input", "bytes");
  fs_.SetReadOnly(true);
  EXPECT_FALSE(fs_.WriteFileAtomic(L"/in/input", "changed"));
  EXPECT_FALSE(fs_.WriteFileAtomic(L"/in/new", "x"));
  EXPECT_FALSE(fs_.RemoveFile(L"/in/input"));
  EXPECT_FALSE(fs_.CreateDirectories(L"/out"));
  EXPECT_TRUE(fs_.CreateDirectories(L"/in"));  // it exists afterwards
  EXPECT_EQ(Read(L"/in/input"), "bytes");
  EXPECT_EQ(List(L"/in"), Names{L"input"});
}

TEST_F(MemFileSystemTest, PrivateFolderCheckNamesTheFolderAtFault) {
  fs_.CreateDirectories(L"/tmp/me/cfg");
  fs_.CreateDirectories(L"/home/other/me");
  fs_.AddFile(L"/tmp/file", "");
  std::wstring culprit = L"none";
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/tmp/me/cfg", &culprit), FolderTrust::kPrivate);
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/missing", &culprit), FolderTrust::kMissing);
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/tmp/file", &culprit), FolderTrust::kMissing);
  EXPECT_EQ(culprit, L"none");

  fs_.MarkOpenToOthers(L"/tmp", /*sticky=*/true);
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/tmp/me/cfg", &culprit), FolderTrust::kPrivate);
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/tmp", &culprit), FolderTrust::kOpenToOthers);
  EXPECT_EQ(culprit, L"/tmp");
  fs_.MarkOpenToOthers(L"/tmp/me");
  EXPECT_EQ(fs_.CheckPrivateFolder(L"tmp\\me\\cfg\\", &culprit), FolderTrust::kOpenToOthers);
  EXPECT_EQ(culprit, L"/tmp/me");
  fs_.MarkForeignOwner(L"/home/other");
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/home/other/me", &culprit), FolderTrust::kForeignOwner);
  EXPECT_EQ(culprit, L"/home/other");
  EXPECT_EQ(fs_.CheckPrivateFolder(L"/home/other/me", nullptr), FolderTrust::kForeignOwner);
}

// Random operations on a few names in a few folders, run on the memory file system and on the
// disk (inside a temporary folder), each result compared with a map of path to bytes and a set
// of folders. Folders are sometimes made on the way, so that files and folders contend for the
// same names; each round starts in a fresh folder so that the names do not all end up folders.
class MemFileSystemModelTest : public ::testing::Test {
 protected:
  enum Op { kWrite, kRead, kRemove, kKind, kMakeFolders, kList };

  // Makes base/a/b on both file systems and in the model.
  void StartRound(const std::wstring& base) {
    ASSERT_EQ(Apply(&mem_, kMakeFolders, base + L"/a/b", ""), "made");
    ASSERT_EQ(Apply(&kw::PosixFs(), kMakeFolders, base + L"/a/b", ""), "made");
    ASSERT_EQ(Expect(kMakeFolders, base + L"/a/b", ""), "made");
  }
  std::wstring Root(kw::FileSystem* fs) const { return fs == &mem_ ? L"" : disk_.wpath(); }

  // One operation on one file system; the outcome as text.
  std::string Apply(kw::FileSystem* fs, Op op, const std::wstring& path, const std::string& b) {
    const std::wstring at = Root(fs) + path;
    std::string bytes;
    Names names;
    switch (op) {
      case kWrite:
        return fs->WriteFileAtomic(at, b) ? "written" : "refused";
      case kRead:
        return fs->ReadFile(at, &bytes) ? bytes : "<failed>";
      case kRemove:
        return fs->RemoveFile(at) ? "removed" : "absent";
      case kKind:
        return fs->IsFile(at) ? "file" : (fs->IsDirectory(at) ? "dir" : "none");
      case kMakeFolders:
        return fs->CreateDirectories(at) ? "made" : "refused";
      case kList:
        if (!fs->ListFiles(kw::ParentOf(at), &names)) return "<failed>";
        return kw::ToUtf8(Join(names));
    }
    return "<no such operation>";
  }
  // The same operation on the model.
  std::string Expect(Op op, const std::wstring& path, const std::string& b) {
    const auto found = files_.find(path);
    const bool in_folder = dirs_.count(kw::ParentOf(path)) != 0;
    switch (op) {
      case kWrite:
        if (!in_folder || dirs_.count(path) != 0) return "refused";
        files_[path] = b;
        return "written";
      case kRead:
        return found != files_.end() ? found->second : "<failed>";
      case kRemove:
        if (found == files_.end()) return "absent";
        files_.erase(found);
        return "removed";
      case kKind:
        return found != files_.end() ? "file" : dirs_.count(path) ? "dir" : "none";
      case kMakeFolders:
        return MakeFolders(path);
      case kList:
        return in_folder ? kw::ToUtf8(Join(ListOf(kw::ParentOf(path)))) : "<failed>";
    }
    return "<no such operation>";
  }
  // Makes the folder and every missing one above it, or nothing when a file stands in the way.
  std::string MakeFolders(const std::wstring& path) {
    std::vector<std::wstring> missing;
    for (std::wstring dir = path; !dir.empty(); dir = kw::ParentOf(dir)) {
      if (files_.count(dir) != 0) return "refused";
      if (dirs_.count(dir) == 0) missing.push_back(dir);
    }
    dirs_.insert(missing.begin(), missing.end());
    return "made";
  }
  Names ListOf(const std::wstring& dir) const {
    Names names;
    for (const auto& [path, bytes] : files_) {
      if (kw::ParentOf(path) == dir) names.push_back(kw::FileNameOf(path));
    }
    return names;
  }
  static std::wstring Join(const Names& names) {
    std::wstring out;
    for (const std::wstring& name : names) out += name + L"|";
    return out;
  }

  TempDir disk_{"kwmemfs"};
  MemFileSystem mem_;
  // The model: the folders ("" is the root) and the files with their bytes.
  std::set<std::wstring> dirs_{L""};
  std::map<std::wstring, std::string> files_;
};

TEST_F(MemFileSystemModelTest, RandomOperationsAgreeWithAMapOfFilesAndWithTheDisk) {
  const std::vector<std::wstring> names = {L"/x",   L"/a/x", L"/a/y", L"/a/b/x",
                                           L"/a/b", L"/m/x", L"/a",   L"/x/y"};
  // Writes and reads most often, folders seldom.
  const std::vector<Op> ops = {kWrite,  kWrite,  kWrite, kWrite, kRead, kRead, kRead,
                               kRemove, kRemove, kKind,  kKind,  kList, kList, kMakeFolders};
  std::mt19937 random(20261123);
  for (int round = 0; round < 10; ++round) {
    const std::wstring base = L"/r" + std::to_wstring(round);
    StartRound(base);
    for (int step = 0; step < 100; ++step) {
      const Op op = ops[random() % ops.size()];
      const std::wstring path = base + names[random() % names.size()];
      const std::string bytes(random() % 4, static_cast<char>('a' + step % 26));
      const std::string expected = Expect(op, path, bytes);
      SCOPED_TRACE("step " + std::to_string(step) + " op " + std::to_string(op) + " " +
                   kw::ToUtf8(path));
      ASSERT_EQ(Apply(&mem_, op, path, bytes), expected);
      ASSERT_EQ(Apply(&kw::PosixFs(), op, path, bytes), expected);
    }
  }
}

TEST(TempDirTest, FolderIsPrivateAndGoesWithEverythingInIt) {
  std::string path;
  {
    TempDir dir("kwtempdir");
    path = dir.path();
    struct stat st;
    ASSERT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
    EXPECT_EQ(path.rfind("/tmp/kwtempdir-", 0), 0u);
    EXPECT_EQ(dir.At("a"), path + "/a");
    EXPECT_EQ(dir.WAt(L"b"), kw::WidePath(path) + L"/b");
    ASSERT_TRUE(kw::PosixFs().CreateDirectories(dir.WAt(L"sub/deeper")));
    ASSERT_TRUE(kw::PosixFs().WriteFileAtomic(dir.WAt(L"sub/deeper/f"), "x"));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

// A forked child (a death test's) that ends with the folder's owner still alive must not take
// the folder away from it.
TEST(TempDirTest, AForkedChildLeavesItsParentsFolderAlone) {
  std::optional<TempDir> dir;
  dir.emplace("kwtempdir");
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    dir.reset();
    _exit(0);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(std::filesystem::is_directory(dir->path()));
}

}  // namespace
}  // namespace kwtest
