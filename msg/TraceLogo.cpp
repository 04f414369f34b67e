#include "msg/TraceLogo.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
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
#include "msg/internal/TraceLogoBlock.h"
#include "services/paths.h"

extern char** environ;

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

// The file the companion's standard output and error go to: $KWRD_TRACELOGO_OUTPUT (a terminal
// or file chosen by the user) or nowhere, so that it never holds the host's own pipes open.
const char* CompanionOutput() {
  const char* out = getenv("KWRD_TRACELOGO_OUTPUT");
  return out && *out ? out : "/dev/null";
}

// The common line in one pass: every character one UTF-16 unit, no 0 inside. Copies all but the
// first character to dst and returns true; otherwise leaves dst clear (only the bytes in use may
// be non-zero) and returns false.
bool CopyPlainTail(std::wstring_view line, char16_t* dst) {
  uint32_t outside = static_cast<uint32_t>(line[0]) - 1u >= 0xD7FFu ? 1u : 0u;
  for (size_t i = 1; i < line.size(); ++i) {
    const uint32_t c = static_cast<uint32_t>(line[i]);
    dst[i] = static_cast<char16_t>(c);
    outside |= c - 1u >= 0xD7FFu ? 1u : 0u;
  }
  if (outside == 0) return true;
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
  m_sInstance->LetCompanionCatchUp();
  m_sInstance->Clear();
  delete m_sInstance;
  m_sInstance = nullptr;
}

// Lines written just before a normal end would be wiped before the companion's next poll, so a
// running companion is asked to finish (it reads what is left, saves and exits) and given a
// bounded time to do so before the block goes.
void CTraceLogo::LetCompanionCatchUp() {
  if (m_companion <= 0) return;
  if (waitpid(m_companion, nullptr, WNOHANG) != 0 || kill(m_companion, SIGTERM) != 0) return;
  for (unsigned waited = 0; waited < tl::kCompanionFinishMs; waited += 5) {
    if (waitpid(m_companion, nullptr, WNOHANG) != 0) {
      m_companion = 0;
      return;
    }
    usleep(5000);
  }
}

CTraceLogo::~CTraceLogo() {
  if (m_fd >= 0) close(m_fd);
  if (m_view) {
    munmap(m_view, tl::kBlockBytes);
    shm_unlink(ShmName(m_name).c_str());
  }
  delete[] m_format;
  // Reap the companion only when it has already ended; its end is never awaited.
  if (m_companion > 0) waitpid(m_companion, nullptr, WNOHANG);
}

bool CTraceLogo::Create() {
  std::wstring folder = KWRDPub::GetCurUserKeldornPath() + L"/logo";
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
  const char* prefix = g_prefixOverride ? g_prefixOverride : tl::kNamePrefix;
  int fd = -1;
  for (int attempt = 0; attempt < kNameAttempts && fd < 0; ++attempt) {
    m_name = std::string(prefix) + "-" + std::to_string(RandomNumber(attempt));
    fd = shm_open(ShmName(m_name).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0 && errno != EEXIST) return false;
  }
  if (fd < 0) return false;
  void* view = MAP_FAILED;
  if (ftruncate(fd, tl::kBlockBytes) == 0) {
    view = mmap(nullptr, tl::kBlockBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  }
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

void CTraceLogo::StartCompanion() {
  std::string path = kw::NativePath(KWRDPub::GetInstallPath()) + "/" + tl::kCompanionFile;
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return;
  const char* out = CompanionOutput();
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out, O_WRONLY | O_APPEND | O_CREAT, 0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  // The block itself goes along as descriptor 3, so the companion never misses it even when
  // this process ends (and removes the name) before the companion has started.
  posix_spawn_file_actions_adddup2(&actions, m_fd, tl::kCompanionBlockFd);
  // A process group of its own: a Ctrl-C at the host's terminal goes to the foreground group,
  // and the companion must outlive it to keep following (and at the end saving) the block.
  posix_spawnattr_t attr;
  if (posix_spawnattr_init(&attr) != 0) {
    posix_spawn_file_actions_destroy(&actions);
    return;
  }
  posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attr, 0);
  std::string arg0 = tl::kCompanionArg0;
  char* argv[] = {arg0.data(), m_name.data(), nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, path.c_str(), &actions, &attr, argv, environ) == 0) m_companion = pid;
  posix_spawnattr_destroy(&attr);
  posix_spawn_file_actions_destroy(&actions);
}

void CTraceLogo::SetState(uint32_t state) {
  std::atomic_ref<uint32_t>(*reinterpret_cast<uint32_t*>(m_view + 4))
      .store(state, std::memory_order_release);
}

void CTraceLogo::Wipe() {
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
