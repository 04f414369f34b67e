#include "tools/kwtracelogo/BlockReader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>

#include "common/encoding.h"
#include "msg/TraceLogoBlockFormat.h"

namespace kwtracelogo {

namespace tl = KWRDPub::tracelogo;

namespace {

// The reason a descriptor is not a block to follow, or null when it is one.
const char* Untrusted(int fd) {
  struct stat st {};
  if (fstat(fd, &st) != 0) return "it cannot be examined";
  if (!S_ISREG(st.st_mode)) return "it is not a shared-memory object";
  if (st.st_uid != geteuid()) return "it belongs to another user";
  if ((st.st_mode & 07777) != 0600) return "its mode is not 0600";
  if (static_cast<size_t>(st.st_size) != tl::kBlockBytes) return "its size is wrong";
  return nullptr;
}

// Every byte of [offset, offset + bytes) that exists, into dst; the count read.
size_t ReadAt(int fd, void* dst, size_t bytes, size_t offset) {
  size_t done = 0;
  while (done < bytes) {
    ssize_t n = pread(fd, static_cast<char*>(dst) + done, bytes - done, offset + done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  return done;
}

}  // namespace

BlockReader::~BlockReader() {
  if (m_fd >= 0) close(m_fd);
}

bool BlockReader::Open(const std::string& name, std::string* why) {
  // Non-blocking: a FIFO planted under a block's name must not hold the open.
  int fd = shm_open(("/" + name).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0);
  if (fd < 0) {
    *why = strerror(errno);
    return false;
  }
  if (Take(fd, why)) return true;
  close(fd);
  return false;
}

bool BlockReader::Adopt(int fd, pid_t host, std::string* why) {
  if (fcntl(fd, F_GETFD) < 0) {
    *why = "no block was handed over";
    return false;
  }
  if (!Take(fd, why)) return false;
  if (static_cast<pid_t>(m_pid) == host) {
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    return true;
  }
  *why = "the block handed over is not its parent's";
  m_fd = -1;
  return false;
}

bool BlockReader::Take(int fd, std::string* why) {
  if (const char* reason = Untrusted(fd)) {
    *why = reason;
    return false;
  }
  m_fd = fd;
  m_first.reset(new (std::nothrow) char16_t[kChunkUnits]);
  m_second.reset(new (std::nothrow) char16_t[kChunkUnits]);
  if (m_first && m_second && ReadHeader(why)) return true;
  if (!m_first || !m_second) *why = "out of memory";
  m_fd = -1;
  return false;
}

bool BlockReader::ReadHeader(std::string* why) {
  constexpr size_t kHeadBytes = tl::kHeaderBytes + 2 * (tl::kMaxFolderUnits + 1);
  unsigned char head[kHeadBytes];
  if (ReadAt(m_fd, head, kHeadBytes, 0) != kHeadBytes) {
    *why = "its header cannot be read";
    return false;
  }
  memcpy(&m_pid, head, sizeof m_pid);
  std::u16string folder;
  for (size_t i = 0; i <= tl::kMaxFolderUnits; ++i) {
    char16_t unit = static_cast<char16_t>(head[8 + 2 * i] | head[9 + 2 * i] << 8);
    if (unit == 0) break;
    folder.push_back(unit);
  }
  if (folder.size() > tl::kMaxFolderUnits) {
    *why = "its log folder has no end";
    return false;
  }
  m_folder = kw::FromUtf16(folder);
  m_lineOffset = tl::LineAreaOffset(folder.size());
  m_lineUnits = tl::LineAreaBytes(folder.size()) / 2;
  return true;
}

bool BlockReader::StillWhole() const {
  struct stat st {};
  return fstat(m_fd, &st) == 0 && static_cast<size_t>(st.st_size) == tl::kBlockBytes;
}

uint32_t BlockReader::State() const {
  uint32_t state = tl::kStateEmpty;
  if (ReadAt(m_fd, &state, sizeof state, 4) != sizeof state) return tl::kStateEmpty;
  return state;
}

size_t BlockReader::ReadUnits(size_t pos, char16_t* dst, size_t count) const {
  if (pos >= m_lineUnits) return 0;
  count = std::min(count, m_lineUnits - pos);
  return ReadAt(m_fd, dst, 2 * count, m_lineOffset + 2 * pos) / 2;
}

// The host stores a line's first unit last (release order). The chunk is read twice: a line
// whose first unit the first pass already saw was complete before the second pass began, so
// the second pass holds all of it. A first unit that differs between the passes means the area
// changed meanwhile (a wipe): reading stops there.
size_t BlockReader::ReadLines(size_t pos, LineVisitor& visitor) {
  const size_t seen = ReadUnits(pos, m_first.get(), kChunkUnits);
  std::atomic_thread_fence(std::memory_order_acquire);
  const size_t got = ReadUnits(pos, m_second.get(), seen);
  size_t p = 0;
  while (p < got && m_first[p] != 0 && m_first[p] == m_second[p]) {
    const char16_t* begin = m_second.get() + p;
    const char16_t* stop = m_second.get() + got;
    const char16_t* end = std::find(begin, stop, u'\0');
    if (end == stop) break;  // not complete within this chunk
    visitor.Line(std::u16string_view(begin, static_cast<size_t>(end - begin)), pos + p);
    p = static_cast<size_t>(end - m_second.get()) + 1;
  }
  return pos + p;
}

bool BlockReader::Holds(size_t pos, std::u16string_view text) {
  const size_t want = text.size() + 1;
  if (want > kChunkUnits || ReadUnits(pos, m_first.get(), want) != want) return false;
  return m_first[text.size()] == 0 && std::equal(text.begin(), text.end(), m_first.get());
}

}  // namespace kwtracelogo
