#include "host/embedded/dxf/groupcodes.h"

#include <charconv>

namespace kwhost::dxf {
namespace {

struct Range {
  int first;
  int last;
  ValueType type;
};

constexpr Range kRanges[] = {
    {0, 9, ValueType::kString},       {10, 59, ValueType::kDouble},
    {60, 79, ValueType::kInt16},      {90, 99, ValueType::kInt32},
    {100, 102, ValueType::kString},   {105, 105, ValueType::kString},
    {110, 149, ValueType::kDouble},   {160, 169, ValueType::kInt64},
    {170, 179, ValueType::kInt16},    {210, 239, ValueType::kDouble},
    {270, 289, ValueType::kInt16},    {290, 299, ValueType::kBool},
    {300, 309, ValueType::kString},   {310, 319, ValueType::kBinary},
    {320, 369, ValueType::kString},   {370, 389, ValueType::kInt16},
    {390, 399, ValueType::kString},   {400, 409, ValueType::kInt16},
    {410, 419, ValueType::kString},   {420, 429, ValueType::kInt32},
    {430, 439, ValueType::kString},   {440, 449, ValueType::kInt32},
    {450, 459, ValueType::kInt32},    {460, 469, ValueType::kDouble},
    {470, 481, ValueType::kString},   {999, 1003, ValueType::kString},
    {1004, 1004, ValueType::kBinary}, {1005, 1009, ValueType::kString},
    {1010, 1059, ValueType::kDouble}, {1060, 1070, ValueType::kInt16},
    {1071, 1071, ValueType::kInt32},
};

// One table lookup per tag: the readers ask for every tag of a file.
struct Table {
  ValueType types[kMaxGroupCode + 1];
  constexpr Table() : types() {
    for (ValueType& t : types) t = ValueType::kString;
    for (const Range& r : kRanges) {
      for (int c = r.first; c <= r.last; ++c) types[c] = r.type;
    }
  }
};

constexpr Table kTable;

}  // namespace

ValueType TypeOfCode(int code) {
  if (code < 0 || code > kMaxGroupCode) return ValueType::kInvalid;
  return kTable.types[code];
}

bool ParseHandle(std::string_view text, uint64_t* handle) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  uint64_t value = 0;
  if (text.empty() || text.size() > 16) return false;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (ec != std::errc() || end != text.data() + text.size()) return false;
  *handle = value;
  return true;
}

bool IsHandleCode(int code) {
  return code == 5 || code == 105 || (code >= 320 && code <= 369) || (code >= 390 && code <= 399) ||
         code == 480 || code == 481 || code == 1005;
}

}  // namespace kwhost::dxf
