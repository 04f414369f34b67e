#include "tools/kwtracelogo/LogFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace kwtracelogo {

namespace {

constexpr int kMaxNameTries = 100;

bool WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    ssize_t n = write(fd, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

std::string Stamp() {
  time_t now = time(nullptr);
  struct tm local {};
  localtime_r(&now, &local);
  char stamp[32];
  strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  return stamp;
}

void SyncFolder(const std::string& folder) {
  int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

}  // namespace

LogFile::LogFile(std::string folder, uint32_t hostPid)
    : m_folder(std::move(folder)), m_pid(hostPid) {}

LogFile::~LogFile() {
  if (m_fd < 0) return;
  close(m_fd);
  unlink(m_temp.c_str());
}

void LogFile::Add(std::string_view line) {
  if (m_failed) return;
  m_pending.append(line);
  m_pending.append("\r\n");
  if (m_pending.size() >= kFlushBytes) Flush();
}

void LogFile::Flush() {
  if (m_failed || m_pending.empty()) return;
  if (m_fd < 0 && !OpenTemp()) return Fail();
  if (!WriteAll(m_fd, m_pending)) return Fail();
  m_pending.clear();
}

bool LogFile::OpenTemp() {
  // mkostemp creates the file with O_EXCL and mode 0600: the trace is as private as its block.
  std::string name = m_folder + "/.TraceLogo-" + std::to_string(m_pid) + "-XXXXXX";
  int fd = mkostemp(name.data(), O_CLOEXEC);
  if (fd < 0) return false;
  m_fd = fd;
  m_temp = name;
  return true;
}

void LogFile::Fail() {
  m_failed = true;
  m_pending.clear();
  m_pending.shrink_to_fit();
}

bool LogFile::Finish(std::string* saved) {
  Flush();
  if (!m_failed && m_fd < 0) return true;
  if (!m_failed && fsync(m_fd) == 0 && Publish(saved)) return true;
  fprintf(stderr, "kwtracelogo: cannot save the trace in \"%s\"\n", m_folder.c_str());
  return false;
}

// The final name is taken with link(), which never replaces a file: two companions of one host
// (its trace log was made again) may end in the same second.
bool LogFile::Publish(std::string* saved) {
  const std::string base = m_folder + "/TraceLogo-" + Stamp() + "-" + std::to_string(m_pid);
  for (int n = 1; n <= kMaxNameTries; ++n) {
    // Appended piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) on "-" + to_string(n).
    std::string path = base;
    if (n > 1) path.append("-").append(std::to_string(n));
    path.append(".log");
    if (link(m_temp.c_str(), path.c_str()) == 0) {
      close(m_fd);
      m_fd = -1;
      unlink(m_temp.c_str());
      SyncFolder(m_folder);
      *saved = path;
      return true;
    }
    if (errno != EEXIST) return false;
  }
  return false;
}

}  // namespace kwtracelogo
