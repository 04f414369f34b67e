// Shape files in their text and compiled forms (layout in shapes.h).
#include "host/embedded/linetypes/shapes.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace kwhost::linetypes {

namespace {

constexpr std::string_view kShxMagic = "AutoCAD-86 shapes 1.";
constexpr std::string_view kShxEnd = "\r\n\x1A";
constexpr size_t kMaxHeaderLength = 40;
constexpr size_t kMaxShapeName = 255;
constexpr size_t kMaxShxShapes = 0xFFFF;

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\r')) {
    s.remove_prefix(1);
  }
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) {
    s.remove_suffix(1);
  }
  return s;
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// A shape-file number: decimal, or hexadecimal after a leading 0; an optional sign;
// parentheses and blanks around it ignored.
std::optional<long> Value(std::string_view item) {
  std::string digits;
  for (char c : item) {
    if (c != '(' && c != ')' && c != ' ' && c != '\t' && c != '\r') digits += c;
  }
  bool negative = !digits.empty() && (digits[0] == '-' || digits[0] == '+');
  if (negative && digits[0] == '+') negative = false;
  std::string_view body = digits;
  if (!body.empty() && (body[0] == '-' || body[0] == '+')) body.remove_prefix(1);
  if (body.empty() || body.size() > 8) return std::nullopt;
  const int base = body.size() > 1 && body[0] == '0' ? 16 : 10;
  long v = 0;
  for (char c : body) {
    int d = c >= '0' && c <= '9'                               ? c - '0'
            : base == 16 && Lower(c) >= 'a' && Lower(c) <= 'f' ? Lower(c) - 'a' + 10
                                                               : -1;
    if (d < 0 || d >= base) return std::nullopt;
    v = v * base + d;
  }
  return negative ? -v : v;
}

std::vector<std::string_view> Split(std::string_view s, char sep) {
  std::vector<std::string_view> parts;
  size_t start = 0;
  for (size_t i = 0; i <= s.size(); ++i) {
    if (i == s.size() || s[i] == sep) {
      parts.push_back(s.substr(start, i - start));
      start = i + 1;
    }
  }
  return parts;
}

// Lines without their comments.
std::vector<std::string_view> ShpLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::string_view line : Split(text, '\n')) {
    line = line.substr(0, line.find(';'));
    line = Trim(line);
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

// Reads the shape whose header is lines[*i]; *i ends on its last line. False (the shape left
// out) when it is malformed.
bool ReadShpShape(const std::vector<std::string_view>& lines, size_t* i, Shape* shape) {
  std::vector<std::string_view> head = Split(lines[*i].substr(1), ',');
  if (head.size() < 3) return false;
  std::optional<long> number = Value(head[0]);
  std::optional<long> count = Value(head[1]);
  if (!number || !count || *number < 0 || *number > 0xFFFF || *count < 1 ||
      static_cast<size_t>(*count) > kMaxShapeBytes) {
    return false;
  }
  shape->number = static_cast<uint16_t>(*number);
  shape->name = Trim(head[2]);
  if (shape->name.size() > kMaxShapeName) return false;
  while (shape->bytes.size() < static_cast<size_t>(*count) && *i + 1 < lines.size() &&
         lines[*i + 1][0] != '*') {
    for (std::string_view item : Split(lines[++*i], ',')) {
      if (Trim(item).empty()) continue;
      std::optional<long> v = Value(item);
      if (!v || *v < -128 || *v > 255 || shape->bytes.size() == static_cast<size_t>(*count)) {
        return false;
      }
      shape->bytes.push_back(static_cast<char>(*v));
    }
  }
  return shape->bytes.size() == static_cast<size_t>(*count) && shape->bytes.back() == '\0';
}

uint16_t Word(std::string_view bytes, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(bytes[at]) |
                               (static_cast<uint8_t>(bytes[at + 1]) << 8));
}

void PutWord(std::string* out, uint16_t v) {
  out->push_back(static_cast<char>(v & 0xFF));
  out->push_back(static_cast<char>(v >> 8));
}

// The offset just past the compiled header, or 0 when the bytes do not start with one.
size_t ShxHeaderEnd(std::string_view bytes) {
  if (!bytes.starts_with(kShxMagic)) return 0;
  size_t end = bytes.substr(0, kMaxHeaderLength).find(kShxEnd);
  return end == std::string_view::npos ? 0 : end + kShxEnd.size();
}

}  // namespace

bool ParseShp(std::string_view text, ShapeFile* out) {
  out->shapes.clear();
  std::vector<std::string_view> lines = ShpLines(text);
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i][0] != '*') continue;
    std::string_view head = lines[i];
    if (head.size() > 1 && !Value(Split(head.substr(1), ',')[0])) return false;  // *UNIFONT
    Shape shape;
    if (ReadShpShape(lines, &i, &shape)) out->shapes.push_back(std::move(shape));
  }
  return !out->shapes.empty();
}

bool ParseShx(std::string_view bytes, ShapeFile* out) {
  out->shapes.clear();
  size_t at = ShxHeaderEnd(bytes);
  if (at == 0 || bytes.size() - at < 6) return false;
  const size_t count = Word(bytes, at + 4);
  at += 6;
  if (count * 4 > bytes.size() - at) return false;
  std::vector<std::pair<uint16_t, uint16_t>> index;
  index.reserve(count);
  for (size_t i = 0; i < count; ++i, at += 4)
    index.emplace_back(Word(bytes, at), Word(bytes, at + 2));
  for (const auto& [number, length] : index) {
    if (length > bytes.size() - at) return false;
    std::string_view entry = bytes.substr(at, length);
    at += length;
    size_t nul = entry.find('\0');
    if (nul == std::string_view::npos) return false;
    out->shapes.push_back(
        Shape{number, std::string(entry.substr(0, nul)), std::string(entry.substr(nul + 1))});
  }
  return true;
}

bool ReadShapeFile(std::string_view bytes, ShapeFile* out) {
  return ShxHeaderEnd(bytes) ? ParseShx(bytes, out) : ParseShp(bytes, out);
}

std::string WriteShx(const ShapeFile& file) {
  std::vector<const Shape*> sorted;
  for (const Shape& s : file.shapes) {
    if (sorted.size() < kMaxShxShapes && s.name.size() <= kMaxShapeName &&
        s.bytes.size() <= kMaxShapeBytes) {
      sorted.push_back(&s);
    }
  }
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Shape* a, const Shape* b) { return a->number < b->number; });
  std::string out(kShxMagic);
  out += "0";
  out += kShxEnd;
  PutWord(&out, sorted.empty() ? 0 : sorted.front()->number);
  PutWord(&out, sorted.empty() ? 0 : sorted.back()->number);
  PutWord(&out, static_cast<uint16_t>(sorted.size()));
  for (const Shape* s : sorted) {
    PutWord(&out, s->number);
    PutWord(&out, static_cast<uint16_t>(s->name.size() + 1 + s->bytes.size()));
  }
  for (const Shape* s : sorted) {
    out += s->name;
    out.push_back('\0');
    out += s->bytes;
  }
  return out;
}

const Shape* FindShape(const ShapeFile& file, std::string_view name) {
  for (const Shape& s : file.shapes) {
    if (s.name.size() == name.size() &&
        std::equal(s.name.begin(), s.name.end(), name.begin(),
                   [](char a, char b) { return Lower(a) == Lower(b); })) {
      return &s;
    }
  }
  return nullptr;
}

}  // namespace kwhost::linetypes
