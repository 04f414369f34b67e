// The companion's saved trace: lines go into a private temporary file in the log folder as they
// come, so the companion's memory does not grow with the trace; when it ends, the file gets its
// dated name "TraceLogo-YYYYMMDD-HHMMSS-<pid>.log" ("-2", "-3", ... before ".log" when taken).
// The log folder is never created here: it is the host's, and it names a place on disk that
// only the block's owner chose.
//
// Invariants:
//   1. m_fd >= 0 from the first line on while no write has failed; the file is m_temp, mode 0600,
//      created with O_EXCL in the log folder.
//   2. m_pending holds the bytes not yet written, never much more than kFlushBytes.
//   3. Once m_failed, nothing more is written and Finish removes the temporary file.
// States: empty (no line yet) -> writing -> finished (Finish) | failed.
#ifndef KW_TOOLS_KWTRACELOGO_LOGFILE_H_
#define KW_TOOLS_KWTRACELOGO_LOGFILE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kwtracelogo {

class LogFile {
 public:
  static constexpr size_t kFlushBytes = 64 * 1024;

  LogFile(std::string folder, uint32_t hostPid);
  // An unfinished file is removed.
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  // Adds one line (UTF-8, without its end) followed by CR LF.
  void Add(std::string_view line);
  // Writes what is pending.
  void Flush();
  // Writes the rest and gives the file its final name. True when there was nothing to save or
  // the file was saved (its path in *saved); false when it could not be, with a message on
  // standard error.
  bool Finish(std::string* saved);

 private:
  bool OpenTemp();
  bool Publish(std::string* saved);
  void Fail();

  std::string m_folder;
  uint32_t m_pid;
  std::string m_temp;
  std::string m_pending;
  int m_fd = -1;
  bool m_failed = false;
};

}  // namespace kwtracelogo

#endif  // KW_TOOLS_KWTRACELOGO_LOGFILE_H_
