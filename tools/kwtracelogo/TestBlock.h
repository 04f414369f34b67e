// For the companion's tests: a trace log block written the way the host writes it, under a
// name of the test's own, removed again when the object goes.
#ifndef KW_TOOLS_KWTRACELOGO_TESTBLOCK_H_
#define KW_TOOLS_KWTRACELOGO_TESTBLOCK_H_

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>

#include "msg/TraceLogoBlockFormat.h"

namespace kwtracelogo {

class TestBlock {
 public:
  // A block of `pid` with the log folder `folder`, created with `mode`.
  TestBlock(uint32_t pid, const std::u16string& folder, mode_t mode = 0600) {
    static std::atomic<int> counter{0};
    name_ = "kwtracelogo-test-" + std::to_string(getpid()) + "-" + std::to_string(++counter);
    fd_ = shm_open(("/" + name_).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    fchmod(fd_, mode);
    if (ftruncate(fd_, KWRDPub::tracelogo::kBlockBytes) != 0) return;
    Put(0, &pid, 4);
    Put(8, folder.data(), 2 * folder.size());
    lines_ = KWRDPub::tracelogo::LineAreaOffset(folder.size());
  }
  ~TestBlock() {
    close(fd_);
    shm_unlink(("/" + name_).c_str());
  }
  TestBlock(const TestBlock&) = delete;
  TestBlock& operator=(const TestBlock&) = delete;

  const std::string& name() const { return name_; }
  int fd() const { return fd_; }
  size_t used() const { return used_; }

  // Appends a line as the host does: its units after the first, then the first, then the state.
  void Append(const std::u16string& line) {
    Put(lines_ + used_ + 2, line.data() + 1, 2 * (line.size() - 1));
    Put(lines_ + used_, line.data(), 2);
    used_ += 2 * (line.size() + 1);
    SetState(KWRDPub::tracelogo::kStateLines);
  }
  // Zeroes the bytes in use and sets the state word to empty.
  void Wipe() {
    static const char kZeros[4096] = {};
    for (size_t done = 0; done < used_; done += sizeof kZeros) {
      Put(lines_ + done, kZeros, std::min(sizeof kZeros, used_ - done));
    }
    used_ = 0;
    SetState(KWRDPub::tracelogo::kStateEmpty);
  }

 private:
  void Put(size_t offset, const void* data, size_t bytes) {
    (void)!pwrite(fd_, data, bytes, static_cast<off_t>(offset));
  }
  void SetState(uint32_t state) { Put(4, &state, 4); }

  std::string name_;
  int fd_ = -1;
  size_t lines_ = 0;
  size_t used_ = 0;
};

}  // namespace kwtracelogo

#endif  // KW_TOOLS_KWTRACELOGO_TESTBLOCK_H_
