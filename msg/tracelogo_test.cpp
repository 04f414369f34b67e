#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "msg/TraceLogo.h"
#include "msg/internal/TraceLogoBlock.h"
#include "services/paths.h"

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

}  // namespace
