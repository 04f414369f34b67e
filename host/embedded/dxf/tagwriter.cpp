#include "host/embedded/dxf/tagwriter.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "host/embedded/dxf/groupcodes.h"
#include "host/embedded/dxf/tagreader.h"

namespace kwhost::dxf {
namespace {

template <class T>
void StoreLE(std::string& out, T v) {
  char bytes[sizeof(T)];
  std::memcpy(bytes, &v, sizeof(T));  // the machine is little-endian, like the format
  out.append(bytes, sizeof(T));
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '+')) {
    s.remove_prefix(1);
  }
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

}  // namespace

TagWriter::TagWriter(bool binary, const TextCodec& codec, bool wide_codes)
    : binary_(binary), wide_codes_(wide_codes), codec_(codec) {}

void TagWriter::Code(int code) {
  if (binary_) {
    if (wide_codes_) {
      StoreLE<uint16_t>(out_, static_cast<uint16_t>(code));
    } else if (code < 255) {
      out_ += static_cast<char>(code);
    } else {
      out_ += '\xFF';
      StoreLE<uint16_t>(out_, static_cast<uint16_t>(code));
    }
    return;
  }
  char digits[8];
  const auto end = std::to_chars(digits, digits + sizeof(digits), code).ptr;
  const size_t n = end - digits;
  if (n < 3) out_.append(3 - n, ' ');
  out_.append(digits, n);
  out_ += '\n';
}

void TagWriter::Raw(int code, std::string_view bytes) {
  Code(code);
  out_.append(bytes);
  out_ += binary_ ? '\0' : '\n';
}

void TagWriter::String(int code, std::string_view utf8) {
  Raw(code, codec_.Encode(utf8, &buffer_));
}

void TagWriter::Double(int code, double v) {
  if (!std::isfinite(v)) v = 0;
  Code(code);
  if (binary_) return StoreLE<double>(out_, v);
  char text[40];
  out_.append(text, FormatDouble(v, text));
  out_ += '\n';
}

void TagWriter::Int(int code, int64_t v) {
  Code(code);
  if (binary_) {
    switch (TypeOfCode(code)) {
      case ValueType::kInt16:
        return StoreLE<int16_t>(out_, static_cast<int16_t>(v));
      case ValueType::kInt32:
        return StoreLE<int32_t>(out_, static_cast<int32_t>(v));
      case ValueType::kBool:
        out_ += static_cast<char>(v);
        return;
      default:
        return StoreLE<int64_t>(out_, v);
    }
  }
  char text[24];
  out_.append(text, std::to_chars(text, text + sizeof(text), v).ptr);
  out_ += '\n';
}

void TagWriter::Handle(int code, uint64_t handle) {
  char text[24];
  const auto end = std::to_chars(text, text + sizeof(text), handle, 16).ptr;
  for (char* p = text; p != end; ++p) *p = static_cast<char>(std::toupper(*p));
  Raw(code, std::string_view(text, end - text));
}

void TagWriter::Point(int code, double x, double y, double z, bool three) {
  Double(code, x);
  Double(code + 10, y);
  if (three) Double(code + 20, z);
}

void TagWriter::Text(int code, std::string_view text) {
  const ValueType type = TypeOfCode(code);
  const std::string_view t = Trim(text);
  if (type == ValueType::kDouble) {
    double v = 0;
    std::from_chars(t.data(), t.data() + t.size(), v);
    return Double(code, v);
  }
  if (type == ValueType::kInt16 || type == ValueType::kInt32 || type == ValueType::kInt64 ||
      type == ValueType::kBool) {
    int64_t v = 0;
    std::from_chars(t.data(), t.data() + t.size(), v);
    return Int(code, v);
  }
  if (type != ValueType::kBinary) return String(code, text);
  if (!binary_) return Raw(code, t);
  const std::string_view hex = t.substr(0, 2 * kMaxChunkBytes);
  Code(code);
  out_ += static_cast<char>(hex.size() / 2);
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    out_ +=
        static_cast<char>(std::max(0, HexValue(hex[i])) * 16 + std::max(0, HexValue(hex[i + 1])));
  }
}

}  // namespace kwhost::dxf
