// Arbitrary bytes as a DXF drawing file, ASCII or binary. Reading may fail but must not crash,
// hang or allocate beyond the input's size. Every record that was read writes back (ASCII and
// binary) to tags that read again to the same codes and values, a drawing that was read
// writes back to files that read again, and reading ahead on a second thread changes nothing.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/api/dbmain.h"
#include "host/embedded/dxf/drawingfile.h"
#include "host/embedded/dxf/records.h"
#include "host/embedded/dxf/tagwriter.h"

namespace {

using kwhost::dxf::RawTag;
using kwhost::dxf::Record;
using kwhost::dxf::RecordReader;
using kwhost::dxf::TagWriter;
using kwhost::dxf::TextCodec;
using kwhost::dxf::ValueType;

void WriteRecord(TagWriter& w, const Record& record) {
  w.String(0, record.type);
  for (const RawTag& tag : record.tags) w.Text(tag.code, tag.text);
}

bool SameValue(const RawTag& a, const RawTag& b) {
  if (a.code != b.code) return false;
  switch (a.type) {
    case ValueType::kDouble:
      return a.real == b.real;
    case ValueType::kString:
    case ValueType::kBinary:
      return true;           // text may change form (escapes, code page) but not tag structure
    case ValueType::kInt16:  // ASCII files may hold unsigned values that binary ones wrap
      return static_cast<uint16_t>(a.integer) == static_cast<uint16_t>(b.integer);
    case ValueType::kInt32:
      return static_cast<uint32_t>(a.integer) == static_cast<uint32_t>(b.integer);
    default:
      return a.integer == b.integer;
  }
}

// Writes the records back in `binary` form and reads them again: same codes, same numbers.
void CheckRoundTrip(const std::vector<Record>& records, bool binary) {
  TagWriter w(binary, TextCodec("AC1032", "", !binary));
  if (binary) w.bytes() = std::string(kwhost::dxf::kBinarySentinel);
  for (const Record& r : records) WriteRecord(w, r);
  RecordReader again(w.bytes());
  Record back;
  size_t i = 0;
  while (again.Next(&back)) {
    if (i >= records.size() || back.tags.size() != records[i].tags.size()) __builtin_trap();
    for (size_t k = 0; k < back.tags.size(); ++k) {
      if (!SameValue(records[i].tags[k], back.tags[k])) __builtin_trap();
    }
    ++i;
  }
  if (again.failed() || i != records.size()) __builtin_trap();
}

// The drawing read from the input, written in both forms, must read again. Reading ahead on
// a second thread must end the same way, with the same message, as reading on one.
void CheckDrawing(std::string_view bytes) {
  AcDbDatabase db(false, true), ahead(false, true);
  std::string message, ahead_message;
  const Acad::ErrorStatus es =
      kwhost::dxf::ReadDrawingBytes(bytes, db, &message, kwhost::dxf::kNoReadAhead);
  if (kwhost::dxf::ReadDrawingBytes(bytes, ahead, &ahead_message, 0) != es ||
      ahead_message != message) {
    __builtin_trap();
  }
  if (es != Acad::eOk) return;
  for (bool binary : {false, true}) {
    std::string out;
    if (kwhost::dxf::WriteDrawingBytes(db, "", binary, &out) != Acad::eOk) __builtin_trap();
    AcDbDatabase again(false, true);
    if (kwhost::dxf::ReadDrawingBytes(out, again, nullptr) != Acad::eOk) __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  RecordReader reader(bytes);
  Record record;
  std::vector<Record> records;  // kept only for small inputs: the check copies them
  std::vector<std::string> texts;
  while (reader.Next(&record) && records.size() < 64) {
    records.push_back(record);
    texts.emplace_back(record.type);
    for (RawTag& tag : record.tags) texts.emplace_back(tag.text);
  }
  // The record's views last until the next record: point the copies at their own texts.
  size_t t = 0;
  for (Record& r : records) {
    r.type = texts[t++];
    for (RawTag& tag : r.tags) tag.text = texts[t++];
  }
  if (!reader.failed()) {
    CheckRoundTrip(records, false);
    CheckRoundTrip(records, true);
  }
  CheckDrawing(bytes);
  return 0;
}
