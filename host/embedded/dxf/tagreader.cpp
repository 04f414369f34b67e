#include "host/embedded/dxf/tagreader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "host/embedded/dxf/textcodec.h"

namespace kwhost::dxf {
namespace {

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

bool ParseDouble(std::string_view s, double* out) {
  s = Trim(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), *out);
  return !s.empty() && ec == std::errc() && end == s.data() + s.size() && std::isfinite(*out);
}

bool ParseInt(std::string_view s, int64_t* out) {
  s = Trim(s);
  if (!s.empty() && s.front() == '+') s.remove_prefix(1);
  const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), *out);
  return !s.empty() && ec == std::errc() && end == s.data() + s.size();
}

// The shape almost every number in a file has: an optional '-', then digits with at most one
// '.', no blanks and no exponent. With at most 15 digits the digits make an exact integer m
// (below 2^53) and 10^k is exact, so m / 10^k, rounded once by the division, is the double
// nearest the text: the same value the general parser gives, at a fraction of its cost.
bool FastDouble(std::string_view s, double* out) {
  static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const char* p = s.data();
  const char* end = p + s.size();
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  uint64_t m = 0;
  int digits = 0, fraction = 0;
  bool dot = false;
  for (; p != end; ++p) {
    const unsigned d = static_cast<unsigned char>(*p) - '0';
    if (d <= 9) {
      if (++digits > 15) return false;
      m = m * 10 + d;
      fraction += dot;
    } else if (*p == '.' && !dot) {
      dot = true;
    } else {
      return false;
    }
  }
  if (digits == 0) return false;
  const double v = static_cast<double>(m) / kPowersOfTen[fraction];
  *out = negative ? -v : v;
  return true;
}

// An optional '-' and 1 to 18 digits: exact in 64 bits.
bool FastInt(std::string_view s, int64_t* out) {
  const char* p = s.data();
  const char* end = p + s.size();
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  if (p == end || end - p > 18) return false;
  int64_t v = 0;
  for (; p != end; ++p) {
    const unsigned d = static_cast<unsigned char>(*p) - '0';
    if (d > 9) return false;
    v = v * 10 + d;
  }
  *out = negative ? -v : v;
  return true;
}

// Group codes as writers write them: right-aligned with blanks, at most four digits.
bool FastCode(std::string_view s, int64_t* code) {
  size_t i = 0;
  while (i < s.size() && s[i] == ' ') ++i;
  return s.size() - i <= 4 && FastInt(s.substr(i), code);
}

// Accepted ranges: files write unsigned flags into 16- and 32-bit groups too.
bool InRange(ValueType type, int64_t v) {
  switch (type) {
    case ValueType::kInt16:
      return v >= -32768 && v <= 65535;
    case ValueType::kInt32:
      return v >= std::numeric_limits<int32_t>::min() && v <= 0xFFFFFFFFll;
    case ValueType::kBool:
      return v >= 0 && v <= 255;
    default:
      return true;
  }
}

bool IsHex(std::string_view s) {
  for (char c : s) {
    if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

template <class T>
T LoadLE(const char* p) {
  T v;
  std::memcpy(&v, p, sizeof(T));  // the machine is little-endian, like the format
  return v;
}

// Writes `count` digits, given least significant first, with a '.' before the last `fraction`
// of them ("0.05" for "5", 1 digit, fraction 2; "5" for fraction 0). Returns the length.
size_t PlaceDigits(const char* reversed, int count, int fraction, char* out) {
  size_t length = 0;
  for (int i = std::max(count, fraction + 1) - 1; i >= 0; --i) {
    out[length++] = i < count ? reversed[i] : '0';  // "0.0x": zeros before the digits
    if (i == fraction && i != 0) out[length++] = '.';
  }
  return length;
}

// Most coordinates of a drawing are short decimals (12.5, 0.25, 1000.0). For those the
// shortest text that reads back is found without the general algorithm: the smallest number k
// of decimals such that round(|v| * 10^k) / 10^k == |v| gives it (the division is exact to one
// rounding, and below 2^50 only one integer can be that close). The result is only taken when
// std::to_chars would pick the fixed form too (it takes the shorter of fixed and scientific,
// fixed on a tie), so the output is the same byte for byte; otherwise 0.
size_t FormatShortDecimal(double v, char* out) {
  static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
  const double a = std::fabs(v);
  const size_t sign = std::signbit(v) ? 1 : 0;
  for (int k = 0; k < 9; ++k) {
    const double scaled = a * kPowersOfTen[k];
    if (!(scaled < 0x1p50)) return 0;
    // Rounded by adding a half and truncating: one instruction each, where nearbyint() is a
    // library call on the baseline instruction set. A tie cannot round-trip anyway.
    const auto digits = static_cast<uint64_t>(scaled + 0.5);
    if (static_cast<double>(digits) / kPowersOfTen[k] != a) continue;
    if (digits == 0) return std::memcpy(out, "0.0", 3), 3;
    char reversed[24];
    int count = 0, zeros = 0;
    for (uint64_t d = digits; d != 0; d /= 10) reversed[count++] = static_cast<char>('0' + d % 10);
    while (k == 0 && reversed[zeros] == '0') ++zeros;
    const int significant = count - zeros, exponent = count - 1 - k;
    const size_t fixed = k == 0 ? count : std::max(count, k + 1) + 1;
    const size_t scientific =
        significant + (significant > 1 ? 1 : 0) + 2 + (exponent >= 100 || exponent <= -100 ? 3 : 2);
    if (fixed > scientific) return 0;
    if (sign) out[0] = '-';
    size_t n = sign + PlaceDigits(reversed, count, k, out + sign);
    if (k == 0) out[n++] = '.', out[n++] = '0';
    return n;
  }
  return 0;
}

}  // namespace

std::string FaultText(bool binary, size_t line, std::string_view why) {
  std::string text = (binary ? "byte " : "line ") + std::to_string(line) + ": ";
  text += why;
  return text;
}

size_t FormatDouble(double v, char* out) {
  if (v == 0) v = 0;  // -0.0 is written as 0.0
  if (const size_t n = FormatShortDecimal(v, out)) return n;
  const auto [end, ec] = std::to_chars(out, out + 32, v);
  size_t n = ec == std::errc() ? static_cast<size_t>(end - out) : 0;
  if (std::memchr(out, '.', n) == nullptr && std::memchr(out, 'e', n) == nullptr) {
    out[n++] = '.';
    out[n++] = '0';
  }
  return n;
}

TagReader::TagReader(std::string_view bytes) : in_(bytes) {
  binary_ = bytes.substr(0, kBinarySentinel.size()) == kBinarySentinel;
  if (binary_) {
    pos_ = kBinarySentinel.size();
    // The first tag is (0, "SECTION"): a second zero byte means 2-byte group codes.
    wide_codes_ = pos_ + 1 < in_.size() && in_[pos_] == 0 && in_[pos_ + 1] == 0;
  }
}

bool TagReader::FailAt(size_t line, std::string_view why) {
  if (error_.empty()) error_ = FaultText(binary_, line, why);
  done_ = true;
  return false;
}

bool TagReader::Next(RawTag* tag) {
  if (done_) return false;
  const bool ok = binary_ ? NextBinary(tag) : NextAscii(tag);
  if (!ok) {
    done_ = true;
    return false;
  }
  return true;
}

bool TagReader::ReadLine(std::string_view* line) {
  if (pos_ >= in_.size()) return false;
  const char* start = in_.data() + pos_;
  const void* nl = std::memchr(start, '\n', in_.size() - pos_);
  size_t len = nl ? static_cast<const char*>(nl) - start : in_.size() - pos_;
  pos_ += len + (nl ? 1 : 0);
  if (len > 0 && start[len - 1] == '\r') --len;
  *line = std::string_view(start, len);
  ++line_;
  return true;
}

bool TagReader::NextAscii(RawTag* tag) {
  std::string_view code_text;
  if (!ReadLine(&code_text)) return false;
  last_line_ = tag->line = line_;
  int64_t code = 0;
  if (!FastCode(code_text, &code) && !ParseInt(code_text, &code)) {
    // Blank lines after the last tag are not an error.
    if (Trim(code_text).empty() &&
        Trim(in_.substr(pos_)).find_first_not_of("\r\n") == std::string_view::npos) {
      return false;
    }
    return Fail("group code '" + std::string(code_text.substr(0, 40)) + "' is not a number");
  }
  tag->code = static_cast<int>(code);
  tag->type = TypeOfCode(code < 0 || code > kMaxGroupCode ? -1 : tag->code);
  if (tag->type == ValueType::kInvalid)
    return Fail("group code " + std::to_string(code) + " is out of range");
  if (!ReadLine(&tag->text))
    return Fail("the file ends before the value of group " + std::to_string(code));
  return ParseAsciiValue(tag);
}

bool TagReader::ParseAsciiValue(RawTag* tag) {
  const auto fail = [&](const char* why) {
    return Fail("group " + std::to_string(tag->code) + " value '" +
                std::string(tag->text.substr(0, 40)) + "' " + why);
  };
  switch (tag->type) {
    case ValueType::kDouble:
      return FastDouble(tag->text, &tag->real) || ParseDouble(tag->text, &tag->real) ||
             fail("is not a number");
    case ValueType::kInt16:
    case ValueType::kInt32:
    case ValueType::kInt64:
    case ValueType::kBool:
      if (!FastInt(tag->text, &tag->integer) && !ParseInt(tag->text, &tag->integer)) {
        return fail("is not an integer");
      }
      return InRange(tag->type, tag->integer) || fail("is out of range");
    case ValueType::kBinary:
      tag->text = Trim(tag->text);
      if (!IsHex(tag->text) || tag->text.size() % 2 != 0) return fail("is not hex data");
      return tag->text.size() <= 2 * kMaxChunkBytes || fail("is longer than a binary chunk");
    default:  // a zero byte could not be written back to a binary file
      tag->plain = IsPlainText(tag->text);
      return tag->plain || std::memchr(tag->text.data(), 0, tag->text.size()) == nullptr ||
             fail("holds a zero byte");
  }
}

bool TagReader::Take(size_t n, const char** p) {
  if (in_.size() - pos_ < n) return Fail("the file ends inside a tag");
  *p = in_.data() + pos_;
  pos_ += n;
  return true;
}

bool TagReader::ReadBinaryCode(int* code) {
  const char* p = nullptr;
  if (wide_codes_) {
    if (!Take(2, &p)) return false;
    *code = LoadLE<uint16_t>(p);
    return true;
  }
  if (!Take(1, &p)) return false;
  *code = static_cast<unsigned char>(*p);
  if (*code != 255) return true;  // before R13, 255 escapes a 2-byte extended data code
  if (!Take(2, &p)) return false;
  *code = LoadLE<uint16_t>(p);
  return true;
}

bool TagReader::NextBinary(RawTag* tag) {
  if (pos_ >= in_.size()) return false;
  last_line_ = tag->line = pos_;
  if (!ReadBinaryCode(&tag->code)) return false;
  tag->type = TypeOfCode(tag->code);
  if (tag->type == ValueType::kInvalid) {
    return Fail("group code " + std::to_string(tag->code) + " is out of range");
  }
  return ReadBinaryValue(tag);
}

bool TagReader::ReadBinaryValue(RawTag* tag) {
  const char* p = nullptr;
  char number[40];
  switch (tag->type) {
    case ValueType::kDouble:
      if (!Take(8, &p)) return false;
      tag->real = LoadLE<double>(p);
      if (!std::isfinite(tag->real)) return Fail("a real value is not a finite number");
      buffer_.assign(number, FormatDouble(tag->real, number));
      break;
    case ValueType::kInt16:
      if (!Take(2, &p)) return false;
      tag->integer = LoadLE<int16_t>(p);
      break;
    case ValueType::kInt32:
      if (!Take(4, &p)) return false;
      tag->integer = LoadLE<int32_t>(p);
      break;
    case ValueType::kInt64:
      if (!Take(8, &p)) return false;
      tag->integer = LoadLE<int64_t>(p);
      break;
    case ValueType::kBool:
      if (!Take(1, &p)) return false;
      tag->integer = static_cast<unsigned char>(*p);
      break;
    case ValueType::kBinary: {
      if (!Take(1, &p)) return false;
      const size_t n = static_cast<unsigned char>(*p);
      if (!Take(n, &p)) return false;
      buffer_.clear();
      for (size_t i = 0; i < n; ++i) {
        buffer_ += kHexDigits[static_cast<unsigned char>(p[i]) >> 4];
        buffer_ += kHexDigits[p[i] & 0xF];
      }
      break;
    }
    default: {
      const void* nul = std::memchr(in_.data() + pos_, '\0', in_.size() - pos_);
      if (!nul) return Fail("the file ends inside a text value");
      const size_t n = static_cast<const char*>(nul) - (in_.data() + pos_);
      tag->text = in_.substr(pos_, n);
      pos_ += n + 1;
      return true;
    }
  }
  if (tag->type != ValueType::kDouble && tag->type != ValueType::kBinary) {
    const auto end = std::to_chars(number, number + sizeof(number), tag->integer).ptr;
    buffer_.assign(number, end);
  }
  tag->text = buffer_;
  return true;
}

}  // namespace kwhost::dxf
