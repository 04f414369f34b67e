// kwtracelogo: the companion of the trace log.
//
//   TraceLogo NAME          (as the host starts it; any first word works) follow the block NAME:
//                           print each new line on standard output as it arrives and write it
//                           to a private file in the block's log folder; when the host process
//                           has ended (normally or not) give that file its dated name, remove
//                           the block's name and exit. Stopped by SIGINT or SIGTERM first, it
//                           saves what it saw but leaves the name to the host.
//   kwtracelogo --dump NAME print the block's current lines once and exit.
//
// Only a block owned by this user with mode 0600 is read, and never through a mapping (see
// BlockReader.h). Output text is UTF-8: "\n" and control characters escaped on standard output,
// the lines as they are with "\r\n" in the saved file, and kLinesLostMark where lines were lost.
// Exit status: 0 done, 1 the block cannot be opened or was truncated, 2 bad usage.
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "common/encoding.h"
#include "common/fileio.h"
#include "msg/TraceLogoBlockFormat.h"
#include "tools/kwtracelogo/BlockReader.h"
#include "tools/kwtracelogo/Follower.h"
#include "tools/kwtracelogo/LogFile.h"
#include "tools/kwtracelogo/TerminalText.h"

namespace tl = KWRDPub::tracelogo;

namespace {

using kwtracelogo::BlockReader;

constexpr useconds_t kPollMicros = tl::kCompanionPollMs * 1000;
// While lines keep coming the next poll follows sooner: a flood fills the area in well under a
// second, and every line not read before the next wipe is lost.
constexpr useconds_t kBusyPollMicros = 1000;
volatile sig_atomic_t g_stop = 0;

void OnSignal(int) {
  g_stop = 1;
}

// Prints one line for a terminal (see TerminalText.h), through a buffer kept for reuse.
void Print(std::string_view utf8) {
  static std::string shown;
  shown.clear();
  kwtracelogo::AppendTerminalText(utf8, &shown);
  shown.push_back('\n');
  fwrite(shown.data(), 1, shown.size(), stdout);
}

// Prints the lines it is given (--dump).
class Printer : public kwtracelogo::LineVisitor {
 public:
  void Line(std::u16string_view text, size_t) override { Print(kw::ToUtf8(kw::FromUtf16(text))); }
};

// The companion's sink: the terminal (escaped) and the saved file (as they are).
class Output : public kwtracelogo::LineSink {
 public:
  explicit Output(kwtracelogo::LogFile& log) : m_log(log) {}
  void Line(std::u16string_view text) override {
    const std::string utf8 = kw::ToUtf8(kw::FromUtf16(text));
    Print(utf8);
    m_log.Add(utf8);
  }
  void Gap() override {
    Print(tl::kLinesLostMark);
    m_log.Add(tl::kLinesLostMark);
  }

 private:
  kwtracelogo::LogFile& m_log;
};

int CannotOpen(const std::string& name, const std::string& why) {
  fprintf(stderr, "kwtracelogo: cannot open the trace log \"%s\": %s\n", name.c_str(), why.c_str());
  return 1;
}

int Dump(const std::string& name) {
  BlockReader block;
  std::string why;
  if (!block.Open(name, &why)) return CannotOpen(name, why);
  Printer printer;
  size_t pos = 0;
  for (size_t next = 0; (next = block.ReadLines(pos, printer)) != pos;) pos = next;
  fflush(stdout);
  return 0;
}

bool HostEnded(pid_t host, pid_t parentAtStart) {
  // Started by the host itself: it has ended once this process was handed to another parent
  // (a killed host may linger as a zombie, which kill() would still find).
  if (host == parentAtStart) return getppid() != host;
  return kill(host, 0) != 0 && errno == ESRCH;
}

// The host's channel, when this process was started by the host with one.
int Channel() {
  struct stat st {};
  if (fstat(tl::kCompanionChannelFd, &st) != 0 || !S_ISSOCK(st.st_mode)) return -1;
  return tl::kCompanionChannelFd;
}

void InstallHandlers() {
  struct sigaction stop {};
  stop.sa_handler = OnSignal;
  sigemptyset(&stop.sa_mask);
  sigaction(SIGINT, &stop, nullptr);
  sigaction(SIGTERM, &stop, nullptr);
  signal(SIGHUP, SIG_IGN);
  // A closed output or channel is an error result, not the end of the companion.
  signal(SIGPIPE, SIG_IGN);
}

// Follows until the host or its trace log ends or a signal asks to stop. False when the block
// was truncated meanwhile.
bool FollowUntilEnd(BlockReader& block, kwtracelogo::Follower& follower, pid_t parentAtStart) {
  const pid_t host = static_cast<pid_t>(block.Pid());
  while (!g_stop && !follower.ChannelClosed() && !HostEnded(host, parentAtStart)) {
    const size_t before = follower.LinesRead();
    if (!follower.Poll()) return false;
    fflush(stdout);
    usleep(follower.LinesRead() != before ? kBusyPollMicros : kPollMicros);
  }
  // Whatever the host wrote before it ended is in the block still.
  return follower.Poll();
}

int Follow(const std::string& name) {
  const pid_t parentAtStart = getppid();
  BlockReader block;
  std::string why;
  const bool adopted = block.Adopt(tl::kCompanionBlockFd, parentAtStart, &why);
  if (!adopted && !block.Open(name, &why)) return CannotOpen(name, why);
  const int channel = adopted ? Channel() : -1;
  InstallHandlers();
  if (channel >= 0) {
    (void)!send(channel, &tl::kCompanionReady, 1, MSG_NOSIGNAL);
  }
  kwtracelogo::LogFile log(kw::NativePath(block.Folder()), block.Pid());
  Output output(log);
  kwtracelogo::Follower follower(block, output, channel);
  const bool whole = FollowUntilEnd(block, follower, parentAtStart);
  follower.Finish();
  fflush(stdout);
  std::string saved;
  log.Finish(&saved);
  if (!whole) {
    fprintf(stderr, "kwtracelogo: the trace log \"%s\" was truncated\n", name.c_str());
    return 1;
  }
  // The name goes only with its host: stopped by a signal, this follower leaves a live host's
  // block to the host (and to --dump).
  if (HostEnded(static_cast<pid_t>(block.Pid()), parentAtStart)) {
    shm_unlink(("/" + name).c_str());
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && strcmp(argv[1], "--dump") == 0) return Dump(argv[2]);
  if (argc == 2 && argv[1][0] != '-') return Follow(argv[1]);
  fprintf(stderr, "usage: kwtracelogo NAME | kwtracelogo --dump NAME\n");
  return 2;
}
