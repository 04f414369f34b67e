// Following a live trace log block: every poll hands the lines written since the last one to a
// sink, follows the host's wipes, and reports a gap where a wipe overtook the reading (lines
// were written and wiped before they could be read).
//
// Wipes are learnt from the host's channel (msg/TraceLogoBlockFormat.h): each wipe record holds
// the bytes the area held, so a reader that had read fewer knows it missed lines. Without a
// channel (a companion started by hand) a wipe is noticed when the last line read is no longer
// in its place, and no gap can be told; with one, such an unannounced wipe (its record could
// not be sent) is reported as a gap, since lines may be missing.
//
// Invariants:
//   1. The lines read since the last wipe occupy units [0, m_cursor) of the line area; the last
//      of them starts at m_lastStart and reads m_lastLine.
//   2. m_gap: lines were lost since the last line handed on; the sink hears of it (once) before
//      the next line, or at Finish.
//   3. m_record holds the first m_recordBytes bytes of a wipe record not yet complete.
//   4. Memory stays bounded: nothing but the last line is kept.
#ifndef KW_TOOLS_KWTRACELOGO_FOLLOWER_H_
#define KW_TOOLS_KWTRACELOGO_FOLLOWER_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/kwtracelogo/BlockReader.h"

namespace kwtracelogo {

// Where followed lines go.
class LineSink {
 public:
  virtual ~LineSink() = default;
  virtual void Line(std::u16string_view text) = 0;
  // Lines were lost here.
  virtual void Gap() = 0;
};

class Follower : private LineVisitor {
 public:
  // Follows `block` (kept by the caller) into `sink`; `channel` is the host's channel, or -1.
  Follower(BlockReader& block, LineSink& sink, int channel);

  // Reads what is new. False once the block is no longer whole: it cannot be followed further.
  bool Poll();
  // Reports a gap still pending (lines lost at the very end).
  void Finish();
  // The host closed its end of the channel: its trace log has ended.
  bool ChannelClosed() const { return m_channelClosed; }
  // Lines handed on so far.
  size_t LinesRead() const { return m_linesRead; }

 private:
  void Line(std::u16string_view text, size_t start) override;
  // Applies the wipe records waiting on the channel; true when there was one.
  bool TakeWipeRecords();
  void Restart(bool lost);
  void ReportGap();
  bool MovedAway();

  BlockReader& m_block;
  LineSink& m_sink;
  int m_channel;
  bool m_channelClosed = false;
  size_t m_cursor = 0;
  size_t m_lastStart = 0;
  std::u16string m_lastLine;
  bool m_gap = false;
  size_t m_linesRead = 0;
  unsigned char m_record[4] = {};
  size_t m_recordBytes = 0;
};

}  // namespace kwtracelogo

#endif  // KW_TOOLS_KWTRACELOGO_FOLLOWER_H_
