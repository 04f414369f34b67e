// Hands out the tags of a DXF file exactly as TagReader does, but for a large ASCII file reads
// them ahead on a second thread: splitting lines and parsing numbers then overlaps with
// building the drawing from the tags, which is most of a read's time.
//
// States: reading -> ended (Next() returned false, no error) or failed (error() says where and
// why), as TagReader's. A failure the reading thread meets surfaces only once the caller has
// taken every tag before it, so a failure the caller finds at an earlier tag wins, as it does
// when everything runs on one thread: the outcome never depends on the timing.
// Invariants:
//   1. At most kChunks chunks of kChunkTags tags are filled and not yet taken: memory stays
//      bounded whatever the input holds.
//   2. The thread writes only the chunk at produced_ % kChunks while produced_ < consumed_ +
//      kChunks; the caller reads only the chunk at consumed_ % kChunks while consumed_ <
//      produced_. Both counters change under the lock, so the two never share a chunk.
//   3. A tag's text points into the input (ASCII text never needs the reader's buffer), so a
//      tag stays valid after its chunk is handed back.
//   4. The destructor stops the thread and joins it: no thread outlives the stream.
#ifndef KWHOST_EMBEDDED_DXF_TAGSTREAM_H_
#define KWHOST_EMBEDDED_DXF_TAGSTREAM_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "host/embedded/dxf/tagreader.h"

namespace kwhost::dxf {

// ASCII input at least this long is read ahead on a second thread by default.
inline constexpr size_t kReadAheadFrom = size_t{1} << 20;
// Never read ahead.
inline constexpr size_t kNoReadAhead = SIZE_MAX;

class TagStream {
 public:
  // `bytes` must outlive the stream. Reads ahead when the input is ASCII, at least
  // `read_ahead_from` bytes long, and a thread can be started; otherwise reads in the
  // caller's thread.
  TagStream(std::string_view bytes, size_t read_ahead_from);
  ~TagStream();
  TagStream(const TagStream&) = delete;
  TagStream& operator=(const TagStream&) = delete;

  bool binary() const { return reader_.binary(); }
  bool reading_ahead() const { return thread_.joinable(); }
  // The next tag, as TagReader::Next.
  bool Next(RawTag* tag);
  bool failed() const { return reading_ahead() ? !error_.empty() : reader_.failed(); }
  const std::string& error() const { return reading_ahead() ? error_ : reader_.error(); }
  // Fails at the tag just taken (see TagReader::Fail). Always returns false.
  bool Fail(std::string_view why) { return FailAt(last_line_, why); }
  bool FailAt(size_t line, std::string_view why);

 private:
  static constexpr size_t kChunks = 4;
  static constexpr size_t kChunkTags = 4096;

  void ReadAhead();
  void Fill();
  bool TakeChunk();

  // Each side's fields sit on cache lines of their own: the thread writes its reader's
  // position for every tag, the caller its own.
  alignas(64) TagReader reader_;  // used by the thread when reading ahead

  // The caller's side.
  alignas(64) size_t last_line_ = 0;
  std::string error_;
  bool done_ = false;
  const std::vector<RawTag>* chunk_ = nullptr;  // the chunk being taken from, or null
  size_t next_tag_ = 0;

  // Shared, under mutex_.
  alignas(64) std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<RawTag> chunks_[kChunks];
  uint64_t produced_ = 0;
  uint64_t consumed_ = 0;
  bool finished_ = false;  // the thread has handed over its last chunk
  bool stop_ = false;      // the caller wants no more
  std::string thread_error_;
  bool out_of_memory_ = false;  // the thread stopped for want of memory

  std::thread thread_;
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_TAGSTREAM_H_
