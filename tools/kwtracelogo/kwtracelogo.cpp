// kwtracelogo: the companion of the trace log.
//
//   TraceLogo NAME          (as the host starts it; any first word works) follow the block NAME:
//                           print each new line on standard output as it arrives, keep every
//                           line seen across wipes, and when the host process has ended
//                           (normally or not) write them all to a dated file in the block's log
//                           folder, remove the block's name and exit. Stopped by SIGINT or
//                           SIGTERM first, it saves what it saw but leaves the name to the host.
//   kwtracelogo --dump NAME print the block's current lines once and exit.
//
// The block is untrusted input: it is mapped read-only, its size must be exact, and every scan
// is bounded by the end of the line area. Output text is UTF-8 with "\n" on the terminal and
// "\r\n" in the saved file. Exit status: 0 done, 1 the block cannot be opened, 2 bad usage.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "msg/TraceLogoBlockFormat.h"

namespace tl = KWRDPub::tracelogo;

namespace {

constexpr useconds_t kPollMicros = tl::kCompanionPollMs * 1000;
volatile sig_atomic_t g_stop = 0;

void OnSignal(int) {
  g_stop = 1;
}

// A read-only view of the block. Invariant: when Open succeeded, the whole block is mapped,
// the folder ends within the block and [lines, lines + lineUnits) lies inside it.
class Block {
 public:
  bool Open(const std::string& name) {
    int fd = shm_open(("/" + name).c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) return false;
    bool ok = Map(fd);
    close(fd);
    return ok;
  }

  // The block inherited from the host on kCompanionBlockFd, when that descriptor is one: the
  // size must match and the pid in it must be this process's parent.
  bool OpenInherited() {
    if (!Map(tl::kCompanionBlockFd)) return false;
    close(tl::kCompanionBlockFd);
    if (static_cast<pid_t>(Pid()) == getppid()) return true;
    munmap(const_cast<unsigned char*>(m_view), tl::kBlockBytes);
    m_view = nullptr;
    return false;
  }

  uint32_t Pid() const { return Load32(0); }
  uint32_t State() const { return Load32(4); }
  const std::wstring& Folder() const { return m_folder; }
  size_t LineUnits() const { return m_lineUnits; }
  char16_t Unit(size_t i, std::memory_order order = std::memory_order_relaxed) const {
    return std::atomic_ref<char16_t>(const_cast<char16_t&>(m_lines[i])).load(order);
  }

  // The line starting at unit `pos` when it is complete (see the publication rule), with the
  // unit after its terminator in *next. False at the end of the list or of the area.
  bool ReadLine(size_t pos, std::u16string* line, size_t* next) const {
    if (pos >= m_lineUnits) return false;
    char16_t first = Unit(pos, std::memory_order_acquire);
    if (first == 0) return false;
    line->assign(1, first);
    size_t end = pos + 1;
    for (; end < m_lineUnits; ++end) {
      char16_t u = Unit(end);
      if (u == 0) break;
      line->push_back(u);
    }
    if (end >= m_lineUnits) return false;
    // A wipe running meanwhile zeroes the line's first unit as well: then the text is not trusted.
    if (Unit(pos, std::memory_order_acquire) != first) return false;
    *next = end + 1;
    return true;
  }

 private:
  bool Map(int fd) {
    struct stat st {};
    if (fstat(fd, &st) != 0 || static_cast<size_t>(st.st_size) != tl::kBlockBytes) return false;
    void* view = mmap(nullptr, tl::kBlockBytes, PROT_READ, MAP_SHARED, fd, 0);
    if (view == MAP_FAILED) return false;
    m_view = static_cast<const unsigned char*>(view);
    if (LocateLines()) return true;
    munmap(view, tl::kBlockBytes);
    m_view = nullptr;
    return false;
  }

  uint32_t Load32(size_t off) const {
    return std::atomic_ref<uint32_t>(
               *reinterpret_cast<uint32_t*>(const_cast<unsigned char*>(m_view + off)))
        .load(std::memory_order_acquire);
  }

  bool LocateLines() {
    const char16_t* folder = reinterpret_cast<const char16_t*>(m_view + tl::kHeaderBytes);
    size_t n = 0;
    while (n <= tl::kMaxFolderUnits && folder[n] != 0) ++n;
    if (n > tl::kMaxFolderUnits) return false;
    m_folder = kw::FromUtf16(std::u16string_view(folder, n));
    m_lines = reinterpret_cast<const char16_t*>(m_view + tl::LineAreaOffset(n));
    m_lineUnits = tl::LineAreaBytes(n) / 2;
    return true;
  }

  const unsigned char* m_view = nullptr;
  const char16_t* m_lines = nullptr;
  size_t m_lineUnits = 0;
  std::wstring m_folder;
};

void Print(const std::u16string& line) {
  std::string text = kw::ToUtf8(kw::FromUtf16(line)) + "\n";
  fwrite(text.data(), 1, text.size(), stdout);
}

int Dump(const std::string& name) {
  Block block;
  if (!block.Open(name)) {
    fprintf(stderr, "kwtracelogo: cannot open the trace log \"%s\"\n", name.c_str());
    return 1;
  }
  std::u16string line;
  for (size_t pos = 0, next = 0; block.ReadLine(pos, &line, &next); pos = next) Print(line);
  fflush(stdout);
  return 0;
}

// Follows the host's lines. Invariants: `seen` holds every line printed, oldest first; the
// lines since the last wipe occupy units [0, m_cursor) of the area, the last of them starting
// at m_lastStart with the text m_lastLine.
class Follower {
 public:
  explicit Follower(const Block& block) : m_block(block) {}

  void Poll() {
    if (Wiped()) {
      m_cursor = 0;
      m_lastLine.clear();
    }
    std::u16string line;
    size_t next = 0;
    while (m_block.ReadLine(m_cursor, &line, &next)) {
      Print(line);
      m_seen.push_back(line);
      m_lastStart = m_cursor;
      m_lastLine = line;
      m_cursor = next;
    }
    fflush(stdout);
  }

  const std::vector<std::u16string>& Seen() const { return m_seen; }

 private:
  // The last line read is gone from its place: the host wiped the area since.
  bool Wiped() const {
    if (m_cursor == 0) return false;
    if (m_block.State() == tl::kStateEmpty && m_block.Unit(0) == 0) return true;
    for (size_t i = 0; i < m_lastLine.size(); ++i) {
      if (m_block.Unit(m_lastStart + i) != m_lastLine[i]) return true;
    }
    return m_block.Unit(m_lastStart + m_lastLine.size()) != 0;
  }

  const Block& m_block;
  std::vector<std::u16string> m_seen;
  size_t m_cursor = 0;
  size_t m_lastStart = 0;
  std::u16string m_lastLine;
};

bool HostEnded(pid_t host, pid_t parentAtStart) {
  // Started by the host itself: it has ended once this process was handed to another parent
  // (a killed host may linger as a zombie, which kill() would still find).
  if (host == parentAtStart) return getppid() != host;
  return kill(host, 0) != 0 && errno == ESRCH;
}

void SaveSeen(const Block& block, const std::vector<std::u16string>& seen) {
  if (seen.empty()) return;
  time_t now = time(nullptr);
  struct tm local {};
  localtime_r(&now, &local);
  char stamp[32];
  strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  const std::string base = std::string("TraceLogo-") + stamp + "-" + std::to_string(block.Pid());
  std::string bytes;
  for (const std::u16string& line : seen) bytes += kw::ToUtf8(kw::FromUtf16(line)) + "\r\n";
  kw::Fs().CreateDirectories(block.Folder());
  // Two companions of one host (its trace log was made again) may end in the same second:
  // the later one takes the next free name instead of replacing the other's file.
  std::wstring path = kw::JoinPath(block.Folder(), kw::WidePath(base + ".log"));
  for (int n = 2; kw::Fs().IsFile(path) && n < 100; ++n) {
    path = kw::JoinPath(block.Folder(), kw::WidePath(base + "-" + std::to_string(n) + ".log"));
  }
  if (!kw::Fs().WriteFileAtomic(path, bytes)) {
    fprintf(stderr, "kwtracelogo: cannot save the trace in \"%s\"\n",
            kw::NativePath(block.Folder()).c_str());
  }
}

int Follow(const std::string& name) {
  pid_t parentAtStart = getppid();
  Block block;
  if (!block.OpenInherited() && !block.Open(name)) {
    fprintf(stderr, "kwtracelogo: cannot open the trace log \"%s\"\n", name.c_str());
    return 1;
  }
  signal(SIGINT, OnSignal);
  signal(SIGTERM, OnSignal);
  signal(SIGHUP, SIG_IGN);
  Follower follower(block);
  pid_t host = static_cast<pid_t>(block.Pid());
  while (!g_stop && !HostEnded(host, parentAtStart)) {
    follower.Poll();
    usleep(kPollMicros);
  }
  // Whatever the host wrote before it ended is in the block still.
  follower.Poll();
  SaveSeen(block, follower.Seen());
  // The name goes only with its host: stopped by a signal, this follower leaves a live host's
  // block to the host (and to --dump).
  if (HostEnded(host, parentAtStart)) shm_unlink(("/" + name).c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && strcmp(argv[1], "--dump") == 0) return Dump(argv[2]);
  if (argc == 2 && argv[1][0] != '-') return Follow(argv[1]);
  fprintf(stderr, "usage: kwtracelogo NAME | kwtracelogo --dump NAME\n");
  return 2;
}
