// The trace log: a process-wide, append-only journal of short text lines kept in a named POSIX
// shared-memory block, so that the companion program (kwtracelogo) can show and keep the lines
// while the host runs, even when the host dies. The block layout lives in
// msg/TraceLogoBlockFormat.h and is described byte by byte in doc/tracelogo.md.
//
// Invariants of CTraceLogo:
//   1. m_view maps the whole block (read-write); m_lines points at its line area, m_lineBytes is
//      the line area's size and m_full the wipe threshold.
//   2. m_used is the number of line-area bytes holding lines (each line with its 0 unit); the
//      bytes from m_used on are all zero.
//   3. The state word is kStateEmpty while m_used == 0 and kStateLines once a line was written.
//   4. No operation but creation and Save allocates heap memory.
//   5. A running companion hears of every wipe of a non-empty line area before the bytes are
//      zeroed (msg/internal/TraceLogoCompanion.h), so it can tell lines it never read.
// States: none (no instance), live (block mapped). A failed creation leaves "none" and tracing
// off: every TraceLogo call is then skipped and the host goes on working. Creation reserves
// every page of the block first, so a full /dev/shm turns tracing off (one message on the
// command line) instead of faulting at the first write.
#ifndef KW_MSG_TRACELOGO_H_
#define KW_MSG_TRACELOGO_H_

#include <sys/types.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace KWRDPub {

class TraceLogoCompanion;

// Formats a line with the platform's wide-printf rules and appends it to the trace log, which
// is created on first use. A line longer than 10,239 characters is cut. Does nothing when the
// trace log cannot be created. Does not allocate once the trace log exists.
void TraceLogo(const wchar_t* format, ...);
void VTraceLogo(const wchar_t* format, va_list args);

class CTraceLogo {
 public:
  static constexpr size_t kFormatChars = 10240;

  // The trace log, created first when `create` is true and there is none. Null when there is
  // none (or creation failed: the failure is remembered and not retried).
  static CTraceLogo* GetInstance(bool create);
  // Destroys the trace log: first asks a running companion to finish once it is ready (it reads
  // the last lines, saves them and exits; waited for at most 3 s + 1 s), then wipes the line area,
  // unmaps the block and removes its name. Nothing when there is none. A later GetInstance(true)
  // creates a new block (and starts a new companion).
  static void Destroy();

  // Appends one formatted line (see TraceLogo).
  void VAppend(const wchar_t* format, va_list args);
  // Appends one line of text, cut at kFormatChars - 1 characters.
  void Append(std::wstring_view line);
  // Removes every line: zeroes the line area and sets the state word to empty.
  void Clear();
  // Writes every line followed by "\r\n" in the encoding of the process's current locale to
  // `path` (an atomic save). False when the file cannot be written; the old file is kept then.
  bool Save(const wchar_t* path) const;

  // The stored lines, oldest first (tests, diagnostics).
  std::vector<std::wstring> Lines() const;
  // The block's name as handed to the companion (without the leading "/").
  const std::string& BlockName() const { return m_name; }
  // Line-area bytes in use and the wipe threshold.
  size_t UsedBytes() const { return m_used; }
  size_t FullBytes() const { return m_full; }
  // The companion's process id, or 0 when it could not be started or has finished. It runs in a
  // process group of its own; only Destroy waits for it, briefly.
  pid_t CompanionPid() const;

  CTraceLogo(const CTraceLogo&) = delete;
  CTraceLogo& operator=(const CTraceLogo&) = delete;

 private:
  CTraceLogo() = default;
  ~CTraceLogo();

  bool Create();
  bool CreateBlock(const std::wstring& folder);
  int OpenFreshBlock();
  void* ReserveAndMap(int fd);
  void StartCompanion();
  void Wipe();
  void SetState(uint32_t state);
  // Makes the line whose units after the first are already at the end of the list visible:
  // stores its first unit last, then counts its bytes (terminator included) as used.
  void Publish(char16_t first, size_t bytes);

  wchar_t* m_format = nullptr;  // kFormatChars wide characters
  int m_fd = -1;                // the block's descriptor, open only while it is being created
  unsigned char* m_view = nullptr;
  char16_t* m_lines = nullptr;
  size_t m_lineBytes = 0;
  size_t m_full = 0;
  size_t m_used = 0;
  std::string m_name;
  std::unique_ptr<TraceLogoCompanion> m_companion;  // present from creation on

  static CTraceLogo* m_sInstance;
  static bool m_sFailed;
};

// For tests: a block-name prefix to use instead of the suite's own (null restores it). A prefix
// that shm_open refuses makes creation fail.
void SetTraceLogoNamePrefixForTest(const char* prefix);

}  // namespace KWRDPub

#endif  // KW_MSG_TRACELOGO_H_
