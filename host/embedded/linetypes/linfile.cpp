// Reading ".lin" text: definitions are a header line and a pattern line (possibly continued);
// everything else is skipped.
#include "host/embedded/linetypes/linfile.h"

#include <cmath>
#include <cwchar>
#include <cwctype>
#include <numbers>
#include <optional>

#include "common/encoding.h"
#include "common/text.h"

namespace kwhost::linetypes {

namespace {

std::vector<std::wstring_view> Lines(std::wstring_view text) {
  std::vector<std::wstring_view> lines;
  while (!text.empty()) {
    size_t end = text.find(L'\n');
    std::wstring_view line = text.substr(0, end);
    if (!line.empty() && line.back() == L'\r') line.remove_suffix(1);
    lines.push_back(line);
    if (end == std::wstring_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::wstring_view TrimView(std::wstring_view s) {
  while (!s.empty() && (s.front() == L' ' || s.front() == L'\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == L' ' || s.back() == L'\t')) s.remove_suffix(1);
  return s;
}

std::optional<double> Number(std::wstring_view text) {
  std::wstring s(TrimView(text));
  if (s.empty()) return std::nullopt;
  wchar_t* end = nullptr;
  double v = std::wcstod(s.c_str(), &end);
  if (*end != L'\0' || !std::isfinite(v)) return std::nullopt;
  return v;
}

// An angle in degrees, or with a unit letter: "r" radians, "g" grads, "d" degrees.
std::optional<double> Angle(std::wstring_view text) {
  text = TrimView(text);
  double toRadians = std::numbers::pi / 180.0;
  if (!text.empty()) {
    wchar_t unit = static_cast<wchar_t>(std::towlower(text.back()));
    if (unit == L'r' || unit == L'g' || unit == L'd') {
      toRadians = unit == L'r' ? 1.0 : unit == L'g' ? std::numbers::pi / 200.0 : toRadians;
      text.remove_suffix(1);
    }
  }
  std::optional<double> v = Number(text);
  if (v) *v *= toRadians;
  return v;
}

// Splits at commas that are outside double quotes and brackets.
std::vector<std::wstring_view> Fields(std::wstring_view text) {
  std::vector<std::wstring_view> fields;
  bool quoted = false;
  int depth = 0;
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    wchar_t c = text[i];
    if (c == L'"') quoted = !quoted;
    if (quoted) continue;
    if (c == L'[') ++depth;
    if (c == L']' && depth > 0) --depth;
    if (c == L',' && depth == 0) {
      fields.push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  fields.push_back(text.substr(start));
  return fields;
}

bool ReadParameter(std::wstring_view field, LinElement* e) {
  size_t eq = field.find(L'=');
  if (eq == std::wstring_view::npos) return false;
  std::wstring key = kw::ToUpper(TrimView(field.substr(0, eq)));
  std::wstring_view value = field.substr(eq + 1);
  std::optional<double> v =
      (key == L"R" || key == L"A" || key == L"U") ? Angle(value) : Number(value);
  if (!v || key.size() != 1) return false;
  switch (key[0]) {
    case L'S':
      e->scale = *v;
      return true;
    case L'X':
      e->x = *v;
      return true;
    case L'Y':
      e->y = *v;
      return true;
    case L'A':
      e->absolute = true;
      [[fallthrough]];
    case L'R':
    case L'U':
      e->rotation = *v;
      return true;
    default:
      return false;
  }
}

// "[...]" without its brackets: a quoted text or a shape name, then the style or shape file,
// then parameters.
bool ReadElement(std::wstring_view inner, LinElement* e) {
  std::vector<std::wstring_view> fields = Fields(inner);
  if (fields.size() < 2) return false;
  std::wstring_view first = TrimView(fields[0]);
  if (first.size() >= 2 && first.front() == L'"' && first.back() == L'"') {
    e->kind = ElementKind::kText;
    e->text = first.substr(1, first.size() - 2);
  } else if (!first.empty() && first.find(L'"') == std::wstring_view::npos) {
    e->kind = ElementKind::kShape;
    e->text = first;
  } else {
    return false;
  }
  e->style = TrimView(fields[1]);
  if (e->style.empty()) return false;
  for (size_t i = 2; i < fields.size(); ++i) {
    if (!ReadParameter(fields[i], e)) return false;
  }
  return true;
}

// The items after "A,": dashes and the elements that follow them.
bool ReadPattern(std::wstring_view items, LinDefinition* def) {
  for (std::wstring_view raw : Fields(items)) {
    std::wstring_view item = TrimView(raw);
    if (!item.empty() && item.front() == L'[') {
      if (item.back() != L']' || def->dashes.empty()) return false;
      LinElement& e = def->dashes.back().element;
      if (e.kind != ElementKind::kNone) return false;
      if (!ReadElement(item.substr(1, item.size() - 2), &e)) return false;
      continue;
    }
    std::optional<double> length = Number(item);
    if (!length || def->dashes.size() == kMaxLinDashes) return false;
    def->dashes.push_back(LinDash{*length, {}});
  }
  return !def->dashes.empty();
}

bool IsComment(std::wstring_view line) {
  line = TrimView(line);
  return line.empty() || line.front() == L';';
}

bool IsPatternLine(std::wstring_view line) {
  line = TrimView(line);
  return line.size() >= 2 && (line[0] == L'A' || line[0] == L'a') && line[1] == L',';
}

// The pattern starting at lines[*i] (continued while a line ends with ","); *i ends on its
// last line, whether the pattern reads or not, so no line is read twice.
bool ReadPatternLines(const std::vector<std::wstring_view>& lines, size_t* i, LinDefinition* d) {
  std::wstring items(TrimView(lines[*i]).substr(2));
  while (!items.empty() && items.back() == L',' && *i + 1 < lines.size()) {
    items += TrimView(lines[++*i]);
  }
  while (!items.empty() && items.back() == L',') items.pop_back();
  return ReadPattern(items, d);
}

}  // namespace

std::vector<LinDefinition> ParseLinText(std::wstring_view text) {
  std::vector<LinDefinition> definitions;
  std::vector<std::wstring_view> lines = Lines(text);
  for (size_t i = 0; i < lines.size(); ++i) {
    std::wstring_view header = TrimView(lines[i]);
    if (header.empty() || header.front() != L'*') continue;
    LinDefinition def;
    size_t comma = header.find(L',');
    def.name = TrimView(header.substr(1, comma == std::wstring_view::npos ? comma : comma - 1));
    if (comma != std::wstring_view::npos) def.description = TrimView(header.substr(comma + 1));
    size_t next = i + 1;
    while (next < lines.size() && IsComment(lines[next])) ++next;
    if (next == lines.size() || !IsPatternLine(lines[next])) {
      i = next - 1;  // the line after the comments may start the next definition
      continue;
    }
    if (ReadPatternLines(lines, &next, &def) && !def.name.empty()) {
      definitions.push_back(std::move(def));
    }
    i = next;
  }
  return definitions;
}

std::wstring DecodeLinBytes(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  std::wstring text = kw::FromUtf8(bytes);
  const bool replaced = text.find(L'\xFFFD') != std::wstring::npos;
  if (replaced && bytes.find("\xEF\xBF\xBD") == std::string_view::npos) return kw::FromGbk(bytes);
  return text;
}

}  // namespace kwhost::linetypes
