#include "host/embedded/dxf/records.h"

namespace kwhost::dxf {
namespace {

constexpr size_t kNotInArena = static_cast<size_t>(-1);  // Decode's mark of input texts

}  // namespace

// Texts that do not point into the input move to the arena; their views are set once the
// record is complete, because the arena may move while it grows. `index` 0 is the type,
// i + 1 the text of tag i.
void RecordReader::Keep(std::string_view text, size_t index) {
  spans_.push_back({index, arena_.size(), text.size()});
  arena_.append(text);
}

void RecordReader::Finish(Record* record) {
  for (const Span& span : spans_) {
    const std::string_view text(arena_.data() + span.offset, span.size);
    if (span.index == 0) {
      record->type = text;
    } else {
      record->tags[span.index - 1].text = text;
    }
  }
}

// A record ends where the next group 0 starts; that tag is held back as the next record's
// head. Tags are read straight into the record's list, which keeps its room between records.
bool RecordReader::Next(Record* record, bool decode) {
  RawTag head;
  if (ended_) return false;
  if (has_next_) {
    head = next_;
    has_next_ = false;
  } else if (!reader_.Next(&head)) {
    return false;
  }
  if (head.code != 0) return Fail("group 0 expected, found group " + std::to_string(head.code));
  arena_.clear();
  spans_.clear();
  std::vector<RawTag>& tags = record->tags;
  tags.clear();
  record->line = head.line;
  record->type = head.text;
  if (!InInput(head.text)) Keep(head.text, 0);
  for (;;) {
    RawTag& tag = tags.emplace_back();
    const bool read = reader_.Next(&tag);
    if (!read || tag.code == 0) {
      if (read) next_ = tag, has_next_ = true;
      tags.pop_back();
      break;
    }
    if (decode && tag.type == ValueType::kString && !tag.plain) {
      tag.text = codec_.Decode(tag.text, &buffer_);
    }
    if (!InInput(tag.text)) Keep(tag.text, tags.size());
  }
  if (reader_.failed()) return false;
  Finish(record);
  ended_ = record->type == "EOF";
  return !ended_;
}

void RecordReader::Decode(Record* record) {
  std::string fresh;
  std::vector<std::pair<size_t, size_t>> spans;
  const auto keep = [&](std::string_view text) {
    const bool in_input =
        text.data() >= input_.data() && text.data() + text.size() <= input_.data() + input_.size();
    spans.emplace_back(in_input ? kNotInArena : fresh.size(), text.size());
    if (!in_input) fresh.append(text);
  };
  keep(record->type);
  for (const RawTag& tag : record->tags) {
    keep(tag.type == ValueType::kString ? codec_.Decode(tag.text, &buffer_) : tag.text);
  }
  arena_.swap(fresh);
  for (size_t i = 0; i < spans.size(); ++i) {
    std::string_view& text = i == 0 ? record->type : record->tags[i - 1].text;
    if (spans[i].first != kNotInArena) {
      text = std::string_view(arena_.data() + spans[i].first, spans[i].second);
    }
  }
}

bool RecordReader::FailAt(const Record& record, std::string_view why) {
  return reader_.FailAt(record.line, why);
}

}  // namespace kwhost::dxf
