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

// ASCII: the code right-aligned in three columns and its line end ("  0\n", " 10\n",
// "1001\n"), from a table made once: every tag of a file starts with one.
size_t TagWriter::AsciiCode(int code, char* out) {
  struct CodeLines {
    char text[kMaxGroupCode + 1][6];
    constexpr CodeLines() : text() {
      for (int c = 0; c <= kMaxGroupCode; ++c) {
        char* t = text[c];
        const int width = c >= 1000 ? 4 : 3;
        for (int i = width - 1, v = c; i >= 0; --i, v /= 10) {
          t[i] = v == 0 && i < width - 1 ? ' ' : static_cast<char>('0' + v % 10);
        }
        t[width] = '\n';
      }
    }
  };
  static constexpr CodeLines kLines;
  if (code < 0 || code > kMaxGroupCode) {  // no file holds one; written as given all the same
    const size_t n = std::to_chars(out, out + 14, code).ptr - out;
    out[n] = '\n';
    return n + 1;
  }
  const size_t n = code >= 1000 ? 5 : 4;
  std::memcpy(out, kLines.text[code], n);
  return n;
}

void TagWriter::Code(int code) {
  if (!binary_) {
    char line[16];
    out_.append(line, AsciiCode(code, line));
  } else if (wide_codes_) {
    StoreLE<uint16_t>(out_, static_cast<uint16_t>(code));
  } else if (code < 255) {
    out_ += static_cast<char>(code);
  } else {
    out_ += '\xFF';
    StoreLE<uint16_t>(out_, static_cast<uint16_t>(code));
  }
}

// A whole ASCII tag goes into the buffer in one append: files have millions of tags.
void TagWriter::Raw(int code, std::string_view bytes) {
  if (binary_ || bytes.size() > kShortValue) {
    Code(code);
    out_.append(bytes);
    out_ += binary_ ? '\0' : '\n';
    return;
  }
  char tag[16 + kShortValue + 1];
  size_t n = AsciiCode(code, tag);
  std::memcpy(tag + n, bytes.data(), bytes.size());
  n += bytes.size();
  tag[n++] = '\n';
  out_.append(tag, n);
}

void TagWriter::String(int code, std::string_view utf8) {
  Raw(code, codec_.Encode(utf8, &buffer_));
}

void TagWriter::Double(int code, double v) {
  if (!std::isfinite(v)) v = 0;
  if (binary_) {
    Code(code);
    return StoreLE<double>(out_, v);
  }
  char text[40];
  Raw(code, std::string_view(text, FormatDouble(v, text)));
}

void TagWriter::Int(int code, int64_t v) {
  if (!binary_) {
    char text[24];
    return Raw(code,
               std::string_view(text, std::to_chars(text, text + sizeof(text), v).ptr - text));
  }
  Code(code);
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

void TagWriter::Handle(int code, uint64_t handle) {
  char text[16];
  size_t n = sizeof(text);
  do {
    text[--n] = kHexDigits[handle & 0xF];
    handle >>= 4;
  } while (handle != 0);
  Raw(code, std::string_view(text + n, sizeof(text) - n));
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
