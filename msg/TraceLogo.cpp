#include "msg/TraceLogo.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <random>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/format.h"
#include "services/paths.h"
#include "host/api/editor.h"
#include "msg/TraceLogoBlockFormat.h"
#include "msg/internal/TraceLogoCompanion.h"

namespace KWRDPub {

namespace tl = tracelogo;

CTraceLogo* CTraceLogo::m_sInstance = nullptr;
bool CTraceLogo::m_sFailed = false;

namespace {

const char* g_prefixOverride = nullptr;
constexpr int kNameAttempts = 32;

std::string ShmName(const std::string& name) {
  return "/" + name;
}

// A fresh random number for the block name; falls back on time and process id when the system
// has no random source.
unsigned RandomNumber(int attempt) {
  try {
    std::random_device rd;
    return rd() & 0x7FFFFFFFu;
  } catch (...) {
    return static_cast<unsigned>(time(nullptr) ^ (getpid() << 8) ^ (attempt * 7919)) & 0x7FFFFFFFu;
  }
}

// The common line in one pass: every character one UTF-16 unit, no 0 inside. Copies all but the
// first character to dst and returns true; otherwise leaves dst clear (only the bytes in use may
// be non-zero) and returns false.
bool CopyPlainTail(std::wstring_view line, char16_t* dst) {
  const bool plainHead = static_cast<uint32_t>(line[0]) - 1u < 0xD7FFu;
  if (kw::CopyPlainUtf16LE(line.substr(1), dst + 1) && plainHead) return true;
  memset(dst + 1, 0, 2 * (line.size() - 1));
  return false;
}

}  // namespace

void SetTraceLogoNamePrefixForTest(const char* prefix) {
  g_prefixOverride = prefix;
}

void TraceLogo(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  VTraceLogo(format, args);
  va_end(args);
}

void VTraceLogo(const wchar_t* format, va_list args) {
  CTraceLogo* log = CTraceLogo::GetInstance(true);
  if (log) log->VAppend(format, args);
}

CTraceLogo* CTraceLogo::GetInstance(bool create) {
  if (m_sInstance || !create || m_sFailed) return m_sInstance;
  CTraceLogo* log = new (std::nothrow) CTraceLogo;
  bool ok = false;
  try {
    ok = log && log->Create();
  } catch (...) {
    ok = false;
  }
  if (ok) {
    m_sInstance = log;
  } else {
    delete log;
    m_sFailed = true;
  }
  return m_sInstance;
}

void CTraceLogo::Destroy() {
  m_sFailed = false;
  if (!m_sInstance) return;
  // Lines written just before a normal end would be wiped before the companion's next poll, so
  // a running companion is asked to finish (it reads what is left, saves and exits) first.
  m_sInstance->m_companion->Finish();
  m_sInstance->Clear();
  delete m_sInstance;
  m_sInstance = nullptr;
}

CTraceLogo::~CTraceLogo() {
  if (m_fd >= 0) close(m_fd);
  if (m_view) {
    munmap(m_view, tl::kBlockBytes);
    shm_unlink(ShmName(m_name).c_str());
  }
  delete[] m_format;
}

pid_t CTraceLogo::CompanionPid() const {
  return m_companion ? m_companion->Pid() : 0;
}

bool CTraceLogo::Create() {
  m_companion.reset(new (std::nothrow) TraceLogoCompanion);
  if (!m_companion) return false;
  // Without a trusted per-user folder there is nowhere safe for the companion's log.
  const std::wstring user = KWRDPub::GetCurUserKeldornPath();
  if (user.empty()) return false;
  std::wstring folder = user + L"/logo";
  kw::Fs().CreateDirectories(folder);
  if (!CreateBlock(folder)) return false;
  m_format = new (std::nothrow) wchar_t[kFormatChars];
  if (!m_format) return false;
  m_format[0] = 0;
  StartCompanion();
  close(m_fd);
  m_fd = -1;
  return true;
}

bool CTraceLogo::CreateBlock(const std::wstring& folder) {
  std::u16string units = kw::ToUtf16(folder);
  if (units.size() > tl::kMaxFolderUnits) return false;
  int fd = OpenFreshBlock();
  if (fd < 0) return false;
  void* view = ReserveAndMap(fd);
  if (view == MAP_FAILED) {
    close(fd);
    shm_unlink(ShmName(m_name).c_str());
    return false;
  }
  m_fd = fd;
  // A fresh block reads as zeros: the state word is empty and the line area is clear.
  m_view = static_cast<unsigned char*>(view);
  uint32_t pid = static_cast<uint32_t>(getpid());
  memcpy(m_view, &pid, sizeof pid);
  memcpy(m_view + tl::kHeaderBytes, units.c_str(), 2 * (units.size() + 1));
  m_lines = reinterpret_cast<char16_t*>(m_view + tl::LineAreaOffset(units.size()));
  m_lineBytes = tl::LineAreaBytes(units.size());
  m_full = tl::FullBytes(units.size());
  m_used = 0;
  return true;
}

// Creates a block under a fresh random name (m_name); -1 when none can be created.
int CTraceLogo::OpenFreshBlock() {
  const char* prefix = g_prefixOverride ? g_prefixOverride : tl::kNamePrefix;
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    m_name = std::string(prefix) + "-" + std::to_string(RandomNumber(attempt));
    int fd = shm_open(ShmName(m_name).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// Any local user can fill /dev/shm. A block that is only given a size gets its pages on the
// first write, and a write the file system cannot back raises SIGBUS in the host: so every
// page is reserved before the block is mapped, and without them the host runs untraced.
void* CTraceLogo::ReserveAndMap(int fd) {
  if (posix_fallocate(fd, 0, tl::kBlockBytes) != 0) {
    acutPrintf(L"\n共享内存空间不足, 跟踪日志已关闭");
    return MAP_FAILED;
  }
  return mmap(nullptr, tl::kBlockBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
}

void CTraceLogo::StartCompanion() {
  std::string path = kw::NativePath(KWRDPub::GetInstallPath()) + "/" + tl::kCompanionFile;
  m_companion->Start(path, m_fd, m_name);
}

void CTraceLogo::SetState(uint32_t state) {
  std::atomic_ref<uint32_t>(*reinterpret_cast<uint32_t*>(m_view + 4))
      .store(state, std::memory_order_release);
}

void CTraceLogo::Wipe() {
  if (m_companion) m_companion->NoteWipe(m_used);
  // Invariant 2: only the bytes in use can be non-zero.
  memset(m_lines, 0, m_used);
  m_used = 0;
  SetState(tl::kStateEmpty);
}

void CTraceLogo::Clear() {
  Wipe();
}

void CTraceLogo::VAppend(const wchar_t* format, va_list args) {
  size_t n = kw::VFormatInto(m_format, kFormatChars, format ? format : L"", args);
  Append(std::wstring_view(m_format, n));
}

void CTraceLogo::Append(std::wstring_view line) {
  line = line.substr(0, kFormatChars - 1);
  const size_t plainBytes = 2 * (line.size() + 1);
  if (!line.empty() && m_used + plainBytes < m_full && CopyPlainTail(line, m_lines + m_used / 2)) {
    Publish(line[0], plainBytes);
    return;
  }
  const bool plain = kw::IsPlainUtf16(line);
  // A 0 inside the line would end it early in the block.
  if (!plain) line = line.substr(0, line.find(L'\0'));
  // An empty line would read as the end of the list and hide every later line.
  if (line.empty()) return;
  size_t units = plain ? line.size() : kw::Utf16Length(line);
  size_t bytes = 2 * (units + 1);
  if (m_used + bytes >= m_full) Wipe();
  if (bytes >= m_full) return;
  // The companion reads while we write: the line becomes visible only when its first unit
  // replaces the 0 that ends the list, so that unit is stored last.
  char16_t* dst = m_lines + m_used / 2;
  char16_t first[2] = {0, 0};
  if (plain) {
    first[0] = static_cast<char16_t>(line[0]);
    for (size_t i = 1; i < units; ++i) dst[i] = static_cast<char16_t>(line[i]);
  } else {
    size_t firstUnits = kw::ToUtf16Into(line.substr(0, 1), first, 2);
    if (firstUnits == 2) dst[1] = first[1];
    kw::ToUtf16Into(line.substr(1), dst + firstUnits, units - firstUnits);
  }
  Publish(first[0], bytes);
}

void CTraceLogo::Publish(char16_t first, size_t bytes) {
  std::atomic_ref<char16_t>(m_lines[m_used / 2]).store(first, std::memory_order_release);
  m_used += bytes;
  SetState(tl::kStateLines);
}

std::vector<std::wstring> CTraceLogo::Lines() const {
  std::vector<std::wstring> lines;
  size_t pos = 0;
  const size_t total = m_used / 2;
  while (pos < total && m_lines[pos] != 0) {
    size_t end = pos;
    while (end < total && m_lines[end] != 0) ++end;
    lines.push_back(kw::FromUtf16(std::u16string_view(m_lines + pos, end - pos)));
    pos = end + 1;
  }
  return lines;
}

bool CTraceLogo::Save(const wchar_t* path) const {
  if (!path || !*path) return false;
  try {
    std::string bytes;
    for (const std::wstring& line : Lines()) {
      bytes += kw::ToLocale(line);
      bytes += "\r\n";
    }
    return kw::Fs().WriteFileAtomic(path, bytes);
  } catch (...) {
    return false;
  }
}

}  // namespace KWRDPub
