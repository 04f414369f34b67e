#include "tools/kwtracelogo/Follower.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "msg/TraceLogoBlockFormat.h"

namespace kwtracelogo {

namespace tl = KWRDPub::tracelogo;

Follower::Follower(BlockReader& block, LineSink& sink, int channel)
    : m_block(block), m_sink(sink), m_channel(channel) {
  m_lastLine.reserve(BlockReader::kChunkUnits);
}

bool Follower::Poll() {
  if (!m_block.StillWhole()) return false;
  TakeWipeRecords();
  // A wipe shows in the block only after its record was sent: when the block shows one, its
  // record (if the host could send it) is waiting now.
  if (MovedAway() && !TakeWipeRecords()) Restart(m_channel >= 0);
  // Each pass reads at most one chunk; Line() moves the cursor on.
  size_t before = 0;
  do {
    before = m_cursor;
    m_block.ReadLines(m_cursor, *this);
  } while (m_cursor != before);
  return true;
}

void Follower::Finish() {
  ReportGap();
}

void Follower::ReportGap() {
  if (!m_gap) return;
  m_gap = false;
  m_sink.Gap();
}

void Follower::Line(std::u16string_view text, size_t start) {
  ReportGap();
  m_sink.Line(text);
  ++m_linesRead;
  m_lastStart = start;
  m_lastLine.assign(text);
  m_cursor = start + text.size() + 1;
}

bool Follower::TakeWipeRecords() {
  if (m_channel < 0 || m_channelClosed) return false;
  bool any = false;
  for (;;) {
    ssize_t n =
        recv(m_channel, m_record + m_recordBytes, sizeof m_record - m_recordBytes, MSG_DONTWAIT);
    if (n < 0 && errno == EINTR) continue;
    if (n == 0) m_channelClosed = true;
    if (n <= 0) return any;
    m_recordBytes += static_cast<size_t>(n);
    if (m_recordBytes < sizeof m_record) continue;
    m_recordBytes = 0;
    const size_t used = static_cast<size_t>(m_record[0]) | static_cast<size_t>(m_record[1]) << 8 |
                        static_cast<size_t>(m_record[2]) << 16 |
                        static_cast<size_t>(m_record[3]) << 24;
    Restart(used > 2 * m_cursor);
    any = true;
  }
}

void Follower::Restart(bool lost) {
  m_gap = m_gap || lost;
  m_cursor = 0;
  m_lastStart = 0;
  m_lastLine.clear();
}

// The last line read is gone from its place: the host wiped the area since.
bool Follower::MovedAway() {
  if (m_cursor == 0) return false;
  if (m_block.State() == tl::kStateEmpty && m_block.Holds(0, u"")) return true;
  return !m_block.Holds(m_lastStart, m_lastLine);
}

}  // namespace kwtracelogo
