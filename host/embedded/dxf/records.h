// Splits a DXF file into records: a record is group 0 (its type, e.g. "LINE", "SECTION",
// "ENDSEC") and every group up to the next group 0. A section's head record holds the
// section's name (group 2), and for HEADER all of its variables too.
//
// States: reading -> ended (the EOF record, or the end of the input) or failed (error()).
// Invariants:
//   1. A record's views stay valid until the next call of Next(): they point into the input
//      or into the reader's arena, which holds one record's converted texts and is reused.
//   2. With decoding on, string values are UTF-8 (see TextCodec); otherwise they are the
//      stored bytes and Decode() converts them later (the header names its own code page).
//   3. Memory is bounded by one record's size in the input: a few dozen bytes per group.
#ifndef KWHOST_EMBEDDED_DXF_RECORDS_H_
#define KWHOST_EMBEDDED_DXF_RECORDS_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/embedded/dxf/tagstream.h"
#include "host/embedded/dxf/textcodec.h"

namespace kwhost::dxf {

struct Record {
  std::string_view type;
  size_t line = 0;  // of the group 0 (see TagReader::line)
  std::vector<RawTag> tags;
};

class RecordReader {
 public:
  // `bytes` must outlive the reader. ASCII input at least `read_ahead_from` bytes long is
  // split into tags on a second thread (see TagStream).
  explicit RecordReader(std::string_view bytes, size_t read_ahead_from = kNoReadAhead)
      : reader_(bytes, read_ahead_from), input_(bytes) {}

  // The next record; false after the EOF record, at the end of the input, or on bad input
  // (then failed()). `decode` false leaves string values as stored.
  bool Next(Record* record, bool decode = true);
  // Converts the string values of a record read with decode false.
  void Decode(Record* record);
  void SetCodec(const TextCodec& codec) { codec_ = codec; }
  const TextCodec& codec() const { return codec_; }
  bool binary() const { return reader_.binary(); }
  bool failed() const { return reader_.failed(); }
  const std::string& error() const { return reader_.error(); }
  // Fails the read at the record just read (see TagReader::Fail). Returns false.
  bool Fail(std::string_view why) { return reader_.Fail(why); }
  // Fails the read at the given record's line, whatever was read since.
  bool FailAt(const Record& record, std::string_view why);

 private:
  bool InInput(std::string_view text) const {
    return text.data() >= input_.data() &&
           text.data() + text.size() <= input_.data() + input_.size();
  }
  void Keep(std::string_view text, size_t index);
  void Finish(Record* record);

  TagStream reader_;
  std::string_view input_;
  TextCodec codec_;
  std::string arena_;
  std::string buffer_;
  struct Span {
    size_t index;  // 0: the type; i + 1: tag i
    size_t offset;
    size_t size;
  };
  std::vector<Span> spans_;  // the texts placed in the arena
  RawTag next_;              // the group 0 that ended the last record: the next one's head
  bool has_next_ = false;
  bool ended_ = false;
};

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_RECORDS_H_
