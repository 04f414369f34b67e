#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "services/paths.h"
#include "kwhost/embedded.h"
#include "msg/TraceLogo.h"
#include "msg/TraceLogoBlockFormat.h"

namespace {

using KWRDPub::CTraceLogo;
namespace tl = KWRDPub::tracelogo;

std::wstring TempPath(const wchar_t* name) {
  return KWRDPub::GetCurUserKeldornPath() + L"/" + name;
}

std::string ReadAll(const std::wstring& path) {
  std::string bytes;
  kw::Fs().ReadFile(path, &bytes);
  return bytes;
}

class TraceLogoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CTraceLogo::Destroy();
    log = CTraceLogo::GetInstance(true);
    ASSERT_NE(log, nullptr);
  }
  void TearDown() override { CTraceLogo::Destroy(); }

  // The block as another process sees it.
  std::string MapCopy() {
    int fd = shm_open(("/" + log->BlockName()).c_str(), O_RDONLY, 0);
    EXPECT_GE(fd, 0);
    struct stat st {};
    fstat(fd, &st);
    mode = st.st_mode & 0777;
    EXPECT_EQ(static_cast<size_t>(st.st_size), tl::kBlockBytes);
    void* view = mmap(nullptr, tl::kBlockBytes, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    std::string copy(static_cast<const char*>(view), tl::kBlockBytes);
    munmap(view, tl::kBlockBytes);
    return copy;
  }

  CTraceLogo* log = nullptr;
  mode_t mode = 0;
};

TEST_F(TraceLogoTest, BlockHoldsPidStateFolderAndUtf16Lines) {
  std::string block = MapCopy();
  uint32_t pid = 0, state = 9;
  memcpy(&pid, block.data(), 4);
  memcpy(&state, block.data() + 4, 4);
  EXPECT_EQ(pid, static_cast<uint32_t>(getpid()));
  EXPECT_EQ(state, tl::kStateEmpty);
  EXPECT_EQ(mode, 0600u);
  EXPECT_EQ(log->BlockName().rfind(std::string(tl::kNamePrefix) + "-", 0), 0u);

  std::wstring folder = KWRDPub::GetCurUserKeldornPath() + L"/logo";
  std::string folderBytes = kw::ToUtf16LEBytes(folder) + std::string(2, '\0');
  EXPECT_EQ(block.substr(8, folderBytes.size()), folderBytes);
  EXPECT_TRUE(kw::DirectoryExists(folder));

  KWRDPub::TraceLogo(L"<a n='%d'/>", 7);
  KWRDPub::TraceLogo(L"%s", L"宽\U0001F600");
  block = MapCopy();
  memcpy(&state, block.data() + 4, 4);
  EXPECT_EQ(state, tl::kStateLines);
  std::string lines = kw::ToUtf16LEBytes(L"<a n='7'/>") + std::string(2, '\0') +
                      kw::ToUtf16LEBytes(L"宽\U0001F600") + std::string(4, '\0');
  EXPECT_EQ(block.substr(8 + folderBytes.size(), lines.size()), lines);
  EXPECT_EQ(log->UsedBytes(), lines.size() - 2);
}

TEST_F(TraceLogoTest, LinesUpToTheBoundaryAreKeptAndTheNextOneWipes) {
  ASSERT_EQ(log->FullBytes(), tl::kFullBytes);
  const std::wstring l499(499, L'x');  // 1,000 bytes with its 0
  for (int i = 0; i < 999; ++i) log->Append(l499);
  log->Append(std::wstring(497, L'y'));  // 996 bytes: 999,996 in all
  EXPECT_EQ(log->UsedBytes(), 999996u);
  log->Append(L"z");  // 4 bytes: exactly 1,000,000 wipes
  EXPECT_EQ(log->Lines(), std::vector<std::wstring>{L"z"});

  log->Clear();
  for (int i = 0; i < 999; ++i) log->Append(l499);
  log->Append(std::wstring(498, L'y'));  // 999,998: just under, all kept
  EXPECT_EQ(log->Lines().size(), 1000u);
  log->Append(L"z");
  EXPECT_EQ(log->Lines(), std::vector<std::wstring>{L"z"});
  std::string block = MapCopy();
  // Nothing of the old lines is left behind the new one.
  size_t folderUnits = kw::Utf16Length(KWRDPub::GetCurUserKeldornPath() + L"/logo");
  EXPECT_EQ(block.find_first_not_of('\0', tl::LineAreaOffset(folderUnits) + 4), std::string::npos);
}

TEST_F(TraceLogoTest, LongLinesAreCutAndEmptyLinesAreSkipped) {
  log->Append(std::wstring(20000, L'q'));
  log->Append(L"");
  KWRDPub::TraceLogo(L"%s", L"");
  log->Append(L"after");
  std::vector<std::wstring> lines = log->Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].size(), CTraceLogo::kFormatChars - 1);
  EXPECT_EQ(lines[1], L"after");
}

TEST_F(TraceLogoTest, SaveWritesLinesWithCrLfAndAClearedLogSavesEmpty) {
  KWRDPub::TraceLogo(L"<RDMsg_SendMessage%u type='%u'>", 1u, 5u);
  KWRDPub::TraceLogo(L"</RDMsg_SendMessage1>");
  std::wstring first = TempPath(L"first.log");
  ASSERT_TRUE(log->Save(first.c_str()));
  EXPECT_EQ(ReadAll(first), "<RDMsg_SendMessage1 type='5'>\r\n</RDMsg_SendMessage1>\r\n");
  log->Clear();
  std::wstring second = TempPath(L"second.log");
  ASSERT_TRUE(log->Save(second.c_str()));
  EXPECT_EQ(ReadAll(second), "");

  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  KWRDPub::TraceLogo(L"new");
  EXPECT_FALSE(log->Save(first.c_str()));
  faulty.Reset();
  EXPECT_EQ(ReadAll(first), "<RDMsg_SendMessage1 type='5'>\r\n</RDMsg_SendMessage1>\r\n");
}

TEST_F(TraceLogoTest, DestroyRemovesTheBlockAndANewOneGetsAnotherName) {
  std::string name = log->BlockName();
  CTraceLogo::Destroy();
  EXPECT_EQ(CTraceLogo::GetInstance(false), nullptr);
  EXPECT_LT(shm_open(("/" + name).c_str(), O_RDONLY, 0), 0);
  log = CTraceLogo::GetInstance(true);
  ASSERT_NE(log, nullptr);
  EXPECT_NE(log->BlockName(), name);
}

TEST(TraceLogoFailure, ABlockThatCannotBeCreatedLeavesTracingOff) {
  CTraceLogo::Destroy();
  KWRDPub::SetTraceLogoNamePrefixForTest("no/such/dir");
  KWRDPub::TraceLogo(L"lost");
  EXPECT_EQ(CTraceLogo::GetInstance(true), nullptr);
  KWRDPub::SetTraceLogoNamePrefixForTest(nullptr);
  EXPECT_EQ(CTraceLogo::GetInstance(true), nullptr);  // not retried
  CTraceLogo::Destroy();                              // forgets the failure
  ASSERT_NE(CTraceLogo::GetInstance(true), nullptr);
  EXPECT_TRUE(CTraceLogo::GetInstance(false)->Lines().empty());
  CTraceLogo::Destroy();
}

// The companion as the trace log starts it: the test's own programs stand in for kwtracelogo, in
// an installation folder of the test's making. Each writes what it found into the per-user
// folder; the test reads it there.
class TraceLogoCompanionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CTraceLogo::Destroy();
    kwhost::TakeOutput();
    install = KWRDPub::GetCurUserKeldornPath() + L"/install";
    kw::Fs().CreateDirectories(install);
    chmod(kw::NativePath(install).c_str(), 0755);
    setenv("KWRD_INSTALL_DIR", kw::NativePath(install).c_str(), 1);
  }
  void TearDown() override {
    CTraceLogo::Destroy();
    setenv("KWRD_INSTALL_DIR", "/nonexistent/kwrdpub-test", 1);
    for (const wchar_t* name : {L"kwtracelogo", L"found", L"finished"}) {
      kw::Fs().RemoveFile(install + L"/" + name);
      kw::Fs().RemoveFile(KWRDPub::GetCurUserKeldornPath() + L"/" + name);
    }
  }

  // Installs a shell script as the companion; it runs with $OUT set to the per-user folder.
  void InstallCompanion(const std::string& body) {
    std::string script =
        "#!/bin/sh\nOUT='" + kw::NativePath(KWRDPub::GetCurUserKeldornPath()) + "'\n" + body + "\n";
    ASSERT_TRUE(kw::Fs().WriteFileAtomic(install + L"/kwtracelogo", script));
    chmod(kw::NativePath(install + L"/kwtracelogo").c_str(), 0755);
  }

  // The file the companion wrote into the per-user folder (it renames it into place when done),
  // waited for at most 10 s; empty when it never came.
  static std::string Await(const wchar_t* name) {
    const std::wstring path = KWRDPub::GetCurUserKeldornPath() + L"/" + name;
    for (int i = 0; i < 1000 && !kw::FileExists(path); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return ReadAll(path);
  }

  std::wstring install;
};

TEST_F(TraceLogoCompanionTest, GetsTheBlockReadOnlyAndAChannelSocket) {
  InstallCompanion(
      "{ grep ^flags: /proc/self/fdinfo/3; readlink /proc/self/fd/4 | cut -c1-7; } >\"$OUT/f\"\n"
      "mv \"$OUT/f\" \"$OUT/found\"");
  CTraceLogo* log = CTraceLogo::GetInstance(true);
  ASSERT_NE(log, nullptr);
  EXPECT_GT(log->CompanionPid(), 0);
  std::string found = Await(L"found");
  ASSERT_EQ(found.rfind("flags:\t", 0), 0u) << found;
  const long flags = strtol(found.c_str() + 7, nullptr, 8);
  EXPECT_EQ(flags & O_ACCMODE, O_RDONLY) << found;
  EXPECT_EQ(found.substr(found.find('\n') + 1), "socket:\n");
}

TEST_F(TraceLogoCompanionTest, ACompanionOthersCanChangeIsNotStarted) {
  InstallCompanion("touch \"$OUT/found\"");
  const std::string program = kw::NativePath(install + L"/kwtracelogo");
  const std::wstring message =
      L"\n未启动跟踪日志程序 " + kw::WidePath(program) + L": 它或它所在的文件夹可被其他用户修改";
  for (const auto& [path, mode] :
       {std::pair{kw::NativePath(install), 0777}, std::pair{kw::NativePath(install), 0775},
        std::pair{program, 0757}}) {
    chmod(path.c_str(), mode);
    CTraceLogo* log = CTraceLogo::GetInstance(true);
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(log->CompanionPid(), 0) << path << " " << mode;
    EXPECT_EQ(kwhost::TakeOutput(), message);
    CTraceLogo::Destroy();
    chmod(path.c_str(), 0755);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(kw::FileExists(KWRDPub::GetCurUserKeldornPath() + L"/found"));
}

// A companion that is slow to install its handler: asked to finish before it is ready, it would
// die of the request without saving.
TEST_F(TraceLogoCompanionTest, DestroyWaitsUntilTheCompanionIsReadyBeforeAskingItToFinish) {
  InstallCompanion(
      "sleep 0.3\n"
      "trap 'echo finished >\"$OUT/f\"; mv \"$OUT/f\" \"$OUT/finished\"; exit 0' TERM\n"
      "printf R >&4\n"
      "while :; do sleep 0.02; done");
  CTraceLogo* log = CTraceLogo::GetInstance(true);
  ASSERT_NE(log, nullptr);
  ASSERT_GT(log->CompanionPid(), 0);
  CTraceLogo::Destroy();
  EXPECT_EQ(ReadAll(KWRDPub::GetCurUserKeldornPath() + L"/finished"), "finished\n");
}

TEST_F(TraceLogoCompanionTest, EachWipeOfANonEmptyAreaSendsTheBytesInUse) {
  InstallCompanion(
      "printf R >&4\n"
      "head -c 8 <&4 | od -An -tu4 | tr -s ' ' >\"$OUT/f\"\n"
      "mv \"$OUT/f\" \"$OUT/found\"");
  CTraceLogo* log = CTraceLogo::GetInstance(true);
  ASSERT_NE(log, nullptr);
  log->Clear();  // nothing in use: no record
  log->Append(L"abc");
  log->Append(L"de");
  log->Clear();  // 8 + 6 bytes
  const std::wstring l499(499, L'x');
  for (int i = 0; i < 1000; ++i) log->Append(l499);  // the last one wipes 999,000 bytes
  EXPECT_EQ(Await(L"found"), " 14 999000\n");
}

// A full /dev/shm: in a child process with a mount namespace of its own, /dev/shm becomes a
// tmpfs of 64 KiB filled to the last byte. The child's exit status says what it found: 0 all
// good, 77 namespaces are not allowed here, 10+ the step that went wrong (a crash shows as a
// signal).
int TraceWithFullSharedMemory() {
  if (unshare(CLONE_NEWNS) != 0) return 77;
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
  if (mount("tmpfs", "/dev/shm", "tmpfs", 0, "size=64k") != 0) return 77;
  int fill = open("/dev/shm/filler", O_WRONLY | O_CREAT, 0600);
  static const char kPage[4096] = {};
  while (write(fill, kPage, sizeof kPage) > 0) {
  }
  close(fill);
  kwhost::TakeOutput();
  CTraceLogo::Destroy();
  KWRDPub::TraceLogo(L"first line");
  KWRDPub::TraceLogo(L"second line");
  if (CTraceLogo::GetInstance(true) != nullptr) return 10;
  if (kwhost::TakeOutput() != L"\n共享内存空间不足, 跟踪日志已关闭") return 11;
  // The block that could not be reserved leaves no name behind.
  std::vector<std::wstring> names;
  if (!kw::Fs().ListFiles(L"/dev/shm", &names) || names != std::vector<std::wstring>{L"filler"}) {
    return 12;
  }
  return 0;
}

TEST(TraceLogoFailure, AFullSharedMemoryFolderLeavesTracingOffWithOneMessage) {
  CTraceLogo::Destroy();
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(TraceWithFullSharedMemory());
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << "the child died of signal " << WTERMSIG(status);
  if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "no private mount namespace here";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
