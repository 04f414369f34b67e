// Wildcard matching as the platform's acutWcMatch does it (rules in acutads.h).
#include <cwctype>
#include <string_view>
#include <vector>

#include "host/api/acutads.h"

namespace {

// One alternative of a pattern, split at the top-level commas.
std::vector<std::wstring_view> Alternatives(std::wstring_view pattern) {
  std::vector<std::wstring_view> parts;
  size_t start = 0;
  bool inSet = false;
  for (size_t i = 0; i < pattern.size(); ++i) {
    wchar_t c = pattern[i];
    if (c == L'`') {
      ++i;
    } else if (c == L'[') {
      inSet = true;
    } else if (c == L']') {
      inSet = false;
    } else if (c == L',' && !inSet) {
      parts.push_back(pattern.substr(start, i - start));
      start = i + 1;
    }
  }
  parts.push_back(pattern.substr(start));
  return parts;
}

// Does the single-character item at pattern[*p] accept c? Advances *p past the item.
bool ItemAccepts(std::wstring_view pattern, size_t* p, wchar_t c) {
  wchar_t item = pattern[(*p)++];
  switch (item) {
    case L'?':
      return true;
    case L'#':
      return std::iswdigit(c);
    case L'@':
      return std::iswalpha(c);
    case L'.':
      return !std::iswalnum(c);
    case L'`':
      return *p < pattern.size() ? pattern[(*p)++] == c : c == L'`';
    case L'[':
      break;
    default:
      return item == c;
  }
  bool negate = *p < pattern.size() && pattern[*p] == L'~';
  if (negate) ++*p;
  bool found = false;
  size_t first = *p;
  while (*p < pattern.size() && (pattern[*p] != L']' || *p == first)) {
    wchar_t lo = pattern[(*p)++];
    wchar_t hi = lo;
    if (*p + 1 < pattern.size() && pattern[*p] == L'-' && pattern[*p + 1] != L']') {
      hi = pattern[*p + 1];
      *p += 2;
    }
    if (c >= lo && c <= hi) found = true;
  }
  if (*p < pattern.size()) ++*p;  // the closing bracket
  return found != negate;
}

// Linear matching with one back-tracking point for the last "*".
bool Match(std::wstring_view text, std::wstring_view pattern) {
  size_t t = 0, p = 0, starP = std::wstring_view::npos, starT = 0;
  while (t < text.size()) {
    size_t next = p;
    if (p < pattern.size() && pattern[p] == L'*') {
      starP = ++p;
      starT = t;
    } else if (p < pattern.size() && ItemAccepts(pattern, &next, text[t])) {
      p = next;
      ++t;
    } else if (starP != std::wstring_view::npos) {
      p = starP;
      t = ++starT;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == L'*') ++p;
  return p == pattern.size();
}

}  // namespace

int acutWcMatch(const wchar_t* string, const wchar_t* pattern) {
  if (!string || !pattern) return RTERROR;
  for (std::wstring_view alternative : Alternatives(pattern)) {
    bool negate = !alternative.empty() && alternative[0] == L'~';
    if (negate) alternative.remove_prefix(1);
    if (Match(string, alternative) != negate) return RTNORM;
  }
  return RTERROR;
}
