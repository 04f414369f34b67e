#include "msg/internal/TraceLogoCompanion.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>

#include "host/api/editor.h"
#include "msg/TraceLogoBlockFormat.h"

extern char** environ;

namespace KWRDPub {

namespace tl = tracelogo;

namespace {

// Descriptors handed to the child are first moved above the ones it receives, so that placing
// one never overwrites another.
constexpr int kFirstFreeFd = 10;

// The file the companion's standard output and error go to: $KWRD_TRACELOGO_OUTPUT (a terminal
// or file chosen by the user) or nowhere, so that it never holds the host's own pipes open.
const char* CompanionOutput() {
  const char* out = getenv("KWRD_TRACELOGO_OUTPUT");
  return out && *out ? out : "/dev/null";
}

bool OwnedByUs(const struct stat& st) {
  return st.st_uid == 0 || st.st_uid == geteuid();
}

bool WritableByOthers(const struct stat& st) {
  return (st.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

std::string ParentFolder(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

// The folders above the program's own one: another user may write there only when the folder
// is sticky, so that they cannot rename or remove what is ours.
bool AncestorsTrusted(std::string folder) {
  while (folder != "/") {
    folder = ParentFolder(folder);
    struct stat st {};
    if (stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode) || !OwnedByUs(st)) return false;
    if (WritableByOthers(st) && (st.st_mode & S_ISVTX) == 0) return false;
  }
  return true;
}

// A read-only descriptor of the same block (checked by device and inode), above kFirstFreeFd.
int ReadOnlyCopy(int blockFd, const std::string& name) {
  int fd = shm_open(("/" + name).c_str(), O_RDONLY | O_CLOEXEC, 0);
  if (fd < 0) return -1;
  struct stat a {
  }, b{};
  int moved = -1;
  if (fstat(blockFd, &a) == 0 && fstat(fd, &b) == 0 && a.st_dev == b.st_dev &&
      a.st_ino == b.st_ino) {
    moved = fcntl(fd, F_DUPFD_CLOEXEC, kFirstFreeFd);
  }
  close(fd);
  return moved;
}

}  // namespace

ProgramTrust CheckProgram(const std::string& path, std::string* resolved) {
  char* real = realpath(path.c_str(), nullptr);
  if (!real) return ProgramTrust::kMissing;
  *resolved = real;
  free(real);
  struct stat st {};
  if (stat(resolved->c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return ProgramTrust::kMissing;
  if (!OwnedByUs(st) || WritableByOthers(st)) return ProgramTrust::kUntrusted;
  const std::string folder = ParentFolder(*resolved);
  struct stat dir {};
  if (stat(folder.c_str(), &dir) != 0 || !OwnedByUs(dir) || WritableByOthers(dir)) {
    return ProgramTrust::kUntrusted;
  }
  return AncestorsTrusted(folder) ? ProgramTrust::kTrusted : ProgramTrust::kUntrusted;
}

TraceLogoCompanion::~TraceLogoCompanion() {
  CloseChannel();
  if (m_pid > 0) waitpid(m_pid, nullptr, WNOHANG);
}

bool TraceLogoCompanion::Start(const std::string& program, int blockFd, const std::string& name) {
  std::string resolved;
  ProgramTrust trust = CheckProgram(program, &resolved);
  if (trust == ProgramTrust::kUntrusted) {
    acutPrintf(L"\n未启动跟踪日志程序 %S: 它或它所在的文件夹可被其他用户修改", program.c_str());
  }
  if (trust != ProgramTrust::kTrusted) return false;
  int readOnly = ReadOnlyCopy(blockFd, name);
  int pair[2] = {-1, -1};
  if (readOnly < 0 || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
    if (readOnly >= 0) close(readOnly);
    return false;
  }
  int theirs = fcntl(pair[1], F_DUPFD_CLOEXEC, kFirstFreeFd);
  close(pair[1]);
  bool started = theirs >= 0 && Spawn(resolved, readOnly, theirs, name);
  close(readOnly);
  if (theirs >= 0) close(theirs);
  if (!started) {
    close(pair[0]);
    return false;
  }
  m_channel = pair[0];
  fcntl(m_channel, F_SETFL, O_NONBLOCK);
  return true;
}

bool TraceLogoCompanion::Spawn(const std::string& program, int readOnlyFd, int channelFd,
                               const std::string& name) {
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return false;
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, CompanionOutput(), O_WRONLY | O_APPEND | O_CREAT,
                                   0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  // The block itself goes along, so the companion never misses it even when this process ends
  // (and removes the name) before the companion has started.
  posix_spawn_file_actions_adddup2(&actions, readOnlyFd, tl::kCompanionBlockFd);
  posix_spawn_file_actions_adddup2(&actions, channelFd, tl::kCompanionChannelFd);
  // A process group of its own: a Ctrl-C at the host's terminal goes to the foreground group,
  // and the companion must outlive it to keep following (and at the end saving) the block.
  posix_spawnattr_t attr;
  bool started = false;
  if (posix_spawnattr_init(&attr) == 0) {
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attr, 0);
    std::string arg0 = tl::kCompanionArg0;
    std::string arg1 = name;
    char* argv[] = {arg0.data(), arg1.data(), nullptr};
    started = posix_spawn(&m_pid, program.c_str(), &actions, &attr, argv, environ) == 0;
    posix_spawnattr_destroy(&attr);
  }
  posix_spawn_file_actions_destroy(&actions);
  if (!started) m_pid = 0;
  return started;
}

void TraceLogoCompanion::NoteWipe(size_t usedBytes) {
  if (m_channel < 0 || usedBytes == 0) return;
  const uint32_t used = static_cast<uint32_t>(usedBytes);
  const unsigned char record[tl::kWipeRecordBytes] = {
      static_cast<unsigned char>(used), static_cast<unsigned char>(used >> 8),
      static_cast<unsigned char>(used >> 16), static_cast<unsigned char>(used >> 24)};
  // A full channel (a stalled companion) or a gone one loses the record, never the host's time.
  (void)!send(m_channel, record, sizeof record, MSG_DONTWAIT | MSG_NOSIGNAL);
}

void TraceLogoCompanion::Finish() {
  if (m_pid <= 0) return;
  if (waitpid(m_pid, nullptr, WNOHANG) == 0) {
    // A signal that arrives before the companion has installed its handlers would end it
    // without saving, so the request waits for its ready byte (or its end).
    WaitReady();
    if (kill(m_pid, SIGTERM) == 0 && !WaitExit(tl::kCompanionFinishMs)) {
      CloseChannel();
      return;
    }
  }
  m_pid = 0;
  CloseChannel();
}

void TraceLogoCompanion::WaitReady() {
  struct pollfd p = {m_channel, POLLIN, 0};
  const int rounds = tl::kCompanionStartMs / 10;
  for (int i = 0; i < rounds && m_channel >= 0; ++i) {
    int n = poll(&p, 1, 10);
    if (n > 0) return;
    if (n < 0 && errno != EINTR) return;
    if (waitpid(m_pid, nullptr, WNOHANG) != 0) return;
  }
}

bool TraceLogoCompanion::WaitExit(unsigned ms) {
  for (unsigned waited = 0; waited < ms; waited += 5) {
    if (waitpid(m_pid, nullptr, WNOHANG) != 0) return true;
    usleep(5000);
  }
  return false;
}

void TraceLogoCompanion::CloseChannel() {
  if (m_channel >= 0) close(m_channel);
  m_channel = -1;
}

}  // namespace KWRDPub
