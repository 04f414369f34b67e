// Reading a trace log block (msg/TraceLogoBlockFormat.h) from outside the host that writes it.
//
// The block is untrusted input and may change, shrink or vanish while it is read. So a block is
// taken only when it is a regular shared-memory object owned by this user with mode 0600 and
// exactly the format's size, and it is never mapped: every read is a pread of what exists, so a
// block truncated meanwhile gives a short read, never a fault.
//
// Invariants:
//   1. While open, m_fd is a read-only descriptor of a block that passed the checks above when
//      it was taken; m_pid and m_folder are what its header held then.
//   2. [m_lineOffset, m_lineOffset + 2 * m_lineUnits) is the line area, inside the block.
//   3. m_first and m_second hold kChunkUnits units each from opening on; reading allocates
//      nothing more.
// States: closed -> open (Open or Adopt succeeded) -> closed (destruction).
#ifndef KW_TOOLS_KWTRACELOGO_BLOCKREADER_H_
#define KW_TOOLS_KWTRACELOGO_BLOCKREADER_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kwtracelogo {

// Receives the lines ReadLines finds.
class LineVisitor {
 public:
  virtual ~LineVisitor() = default;
  // One complete line (without its 0 unit) starting at unit `start` of the line area. The text
  // lives until the next read.
  virtual void Line(std::u16string_view text, size_t start) = 0;
};

class BlockReader {
 public:
  // Lines are read in chunks of this many units; the host never writes a longer line.
  static constexpr size_t kChunkUnits = 32768;

  BlockReader() = default;
  ~BlockReader();
  BlockReader(const BlockReader&) = delete;
  BlockReader& operator=(const BlockReader&) = delete;

  // Opens the block `name` (as the host hands it out, without the leading "/") without waiting
  // on anything that is not a block. False with the reason in *why when there is no such block
  // or it is not one to trust.
  bool Open(const std::string& name, std::string* why);
  // Takes over the inherited descriptor `fd` when it is a trusted block written by `host`;
  // otherwise false (with the reason in *why) and `fd` is left as it was.
  bool Adopt(int fd, pid_t host, std::string* why);

  // The block still has its full size (it was not truncated since it was taken).
  bool StillWhole() const;
  uint32_t Pid() const { return m_pid; }
  // The state word now; kStateEmpty when it cannot be read.
  uint32_t State() const;
  const std::wstring& Folder() const { return m_folder; }
  size_t LineUnits() const { return m_lineUnits; }

  // Reads the complete lines published from unit `pos` on, at most one chunk of them, handing
  // each to `visitor`; returns the unit after the last line read (`pos` when none was).
  size_t ReadLines(size_t pos, LineVisitor& visitor);
  // The line area holds `text` followed by a 0 unit at unit `pos` (a line read before is still
  // in its place). `text` must not be longer than kChunkUnits - 1 units.
  bool Holds(size_t pos, std::u16string_view text);

 private:
  bool Take(int fd, std::string* why);
  bool ReadHeader(std::string* why);
  size_t ReadUnits(size_t pos, char16_t* dst, size_t count) const;

  int m_fd = -1;
  uint32_t m_pid = 0;
  std::wstring m_folder;
  size_t m_lineOffset = 0;
  size_t m_lineUnits = 0;
  std::unique_ptr<char16_t[]> m_first;
  std::unique_ptr<char16_t[]> m_second;
};

}  // namespace kwtracelogo

#endif  // KW_TOOLS_KWTRACELOGO_BLOCKREADER_H_
