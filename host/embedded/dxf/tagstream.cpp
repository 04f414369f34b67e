#include "host/embedded/dxf/tagstream.h"

#include <system_error>

namespace kwhost::dxf {

TagStream::TagStream(std::string_view bytes, size_t read_ahead_from) : reader_(bytes) {
  if (reader_.binary() || bytes.size() < read_ahead_from) return;
  try {
    for (std::vector<RawTag>& chunk : chunks_) chunk.reserve(kChunkTags);
    thread_ = std::thread([this] { ReadAhead(); });
  } catch (const std::exception&) {
    // No memory or no thread to spare: the caller's thread reads, as for small files.
  }
}

TagStream::~TagStream() {
  if (!thread_.joinable()) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

bool TagStream::Next(RawTag* tag) {
  if (!reading_ahead()) {
    if (!reader_.Next(tag)) return false;
    last_line_ = tag->line;
    return true;
  }
  if (done_) return false;
  while (!chunk_ || next_tag_ == chunk_->size()) {
    if (!TakeChunk()) {
      done_ = true;
      return false;
    }
  }
  *tag = (*chunk_)[next_tag_++];
  last_line_ = tag->line;
  return true;
}

bool TagStream::FailAt(size_t line, std::string_view why) {
  if (!reading_ahead()) return reader_.FailAt(line, why);
  if (error_.empty()) error_ = FaultText(false, line, why);
  done_ = true;
  return false;
}

// Hands the chunk just read back and waits for the next one; false once the thread has
// handed over everything (its failure, if any, is then the stream's).
bool TagStream::TakeChunk() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (chunk_) {
    chunk_ = nullptr;
    ++consumed_;
    changed_.notify_all();
  }
  changed_.wait(lock, [this] { return produced_ > consumed_ || finished_; });
  if (produced_ == consumed_) {
    error_ = out_of_memory_ ? FaultText(false, last_line_, "out of memory") : thread_error_;
    return false;
  }
  chunk_ = &chunks_[consumed_ % kChunks];
  next_tag_ = 0;
  return true;
}

// The thread: fills free chunks in order until the input ends, fails, or the caller stops.
// Nothing may leave a thread: a failure to allocate a message ends the reading with a fault
// the caller reports.
void TagStream::ReadAhead() {
  try {
    Fill();
  } catch (const std::exception&) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      finished_ = true;
      out_of_memory_ = true;
    }
    changed_.notify_all();
  }
}

void TagStream::Fill() {
  bool more = true;
  while (more) {
    uint64_t slot = 0;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return produced_ < consumed_ + kChunks || stop_; });
      if (stop_) return;
      slot = produced_ % kChunks;
    }
    std::vector<RawTag>& chunk = chunks_[slot];
    chunk.clear();
    RawTag tag;
    while (chunk.size() < kChunkTags && (more = reader_.Next(&tag))) chunk.push_back(tag);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      ++produced_;
      if (!more) {
        finished_ = true;
        thread_error_ = reader_.error();
      }
    }
    changed_.notify_all();
  }
}

}  // namespace kwhost::dxf
