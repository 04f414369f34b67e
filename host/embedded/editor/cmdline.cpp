// The command line: printing, the input queue and the acedGet* prompts.
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "common/format.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace kwhost::editor {

void Print(std::wstring_view text) {
  CommandLine& line = Editor().line;
  if (line.sink) {
    line.sink(text);
  } else {
    line.captured.append(text);
  }
}

namespace {

// Queues the reader's next line when the queue is empty. False when no line is queued after.
bool FillQueue() {
  CommandLine& s = Editor().line;
  if (!s.input.empty()) return true;
  if (!s.reader || s.readerDone) return false;
  std::wstring line;
  if (!s.reader(&line)) {
    s.readerDone = true;
    return false;
  }
  if (!line.empty() && line.back() == L'\r') line.pop_back();
  s.input.push_back(std::move(line));
  s.taken = 0;
  return true;
}

}  // namespace

bool PeekLine(std::wstring_view* rest) {
  CommandLine& s = Editor().line;
  if (s.input.empty() && (s.readerInteractive || !FillQueue())) return false;
  *rest = std::wstring_view(s.input.front()).substr(s.taken);
  return true;
}

std::wstring MatchKeyword(const std::wstring& answer, const std::vector<std::wstring>& keywords,
                          const std::vector<std::wstring>& globals) {
  if (answer.empty()) return {};
  for (size_t i = 0; i < keywords.size(); ++i) {
    const std::wstring& kw = keywords[i];
    std::wstring abbrev;
    for (wchar_t c : kw) {
      if (c != kw::ToLower(std::wstring(1, c))[0]) abbrev += c;
    }
    if (abbrev.empty()) abbrev = kw;
    bool prefix =
        answer.size() <= kw.size() && kw::EqualsNoCase(kw.substr(0, answer.size()), answer);
    if (kw::EqualsNoCase(answer, abbrev) || (prefix && answer.size() >= abbrev.size())) {
      return i < globals.size() ? globals[i] : kw;
    }
  }
  return {};
}

void DropLine() {
  CommandLine& s = Editor().line;
  if (s.input.empty()) return;
  s.input.pop_front();
  s.taken = 0;
}

}  // namespace kwhost::editor

namespace {

using kwhost::editor::Editor;

enum class Take { kWord, kLine };

// While acedCommand runs: true when the answer comes from its arguments (false from
// TakeAnswer then means they ran out); false when the ordinary input answers.
bool TakeArgument(std::wstring* answer) {
  kwhost::editor::CommandLine& s = Editor().line;
  if (!s.scripted) return false;
  if (s.args.empty()) {
    s.argsRanOut = true;
    return true;
  }
  std::wstring next = std::move(s.args.front());
  s.args.pop_front();
  if (next == L"\\") return false;
  *answer = std::move(next);
  return true;
}

// The next answer: a word (up to the first blank; the rest stays queued) or the rest of the
// line. False at the end of input. Only the answer is copied, so taking every word of a line
// costs time and memory in proportion to the line.
bool TakeAnswer(Take mode, std::wstring* answer) {
  if (TakeArgument(answer)) return !Editor().line.argsRanOut;
  if (!kwhost::editor::FillQueue()) return false;
  kwhost::editor::CommandLine& s = Editor().line;
  std::wstring_view rest = std::wstring_view(s.input.front()).substr(s.taken);
  const size_t blank = mode == Take::kWord ? rest.find(L' ') : std::wstring_view::npos;
  if (blank == std::wstring_view::npos) {
    if (s.taken == 0) {
      *answer = std::move(s.input.front());
    } else {
      answer->assign(rest);
    }
    kwhost::editor::DropLine();
    return true;
  }
  answer->assign(rest.substr(0, blank));
  if (blank + 1 < rest.size()) {
    s.taken += blank + 1;
  } else {
    kwhost::editor::DropLine();
  }
  return true;
}

void PrintPrompt(const wchar_t* prompt) {
  if (prompt) kwhost::editor::Print(prompt);
}

// Copies the answer into the caller's buffer; RTERROR (buffer emptied) when it does not fit.
int Deliver(const std::wstring& text, wchar_t* result, size_t bufLen) {
  if (!result || bufLen == 0) return RTERROR;
  if (text.size() >= bufLen) {
    result[0] = L'\0';
    return RTERROR;
  }
  std::wmemcpy(result, text.c_str(), text.size() + 1);
  return RTNORM;
}

std::wstring MatchKeyword(const std::wstring& answer) {
  const kwhost::editor::PromptSettings& s = Editor().prompt;
  return kwhost::editor::MatchKeyword(answer, s.keywords, s.globals);
}

// Clears the acedInitGet settings, which apply to one prompt only.
struct InitGetScope {
  ~InitGetScope() { Editor().prompt.ClearInitGet(); }
};

bool ParseInt(const std::wstring& text, int* out) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  errno = 0;
  long v = std::wcstol(text.c_str(), &end, 10);
  if (*end != L'\0' || errno == ERANGE || v < INT32_MIN || v > INT32_MAX) return false;
  *out = static_cast<int>(v);
  return true;
}

bool ParseReal(const std::wstring& text, double* out) {
  if (text.empty()) return false;
  wchar_t* end = nullptr;
  double v = std::wcstod(text.c_str(), &end);
  if (*end != L'\0' || !std::isfinite(v)) return false;
  *out = v;
  return true;
}

// The shared loop of acedGetInt/acedGetReal: parse(answer) returns true on a good number.
template <class Parse>
int GetNumber(const wchar_t* prompt, const wchar_t* badText, Parse parse, double* value) {
  InitGetScope scope;
  const int flags = Editor().prompt.initFlags;
  for (;;) {
    PrintPrompt(prompt);
    std::wstring answer;
    if (!TakeAnswer(Take::kWord, &answer) || answer == L"^C") return RTCAN;
    if (answer.empty()) {
      if (!(flags & RSG_NONULL)) return RTNONE;
      kwhost::editor::Print(L"\n需要输入值。");
      continue;
    }
    if (parse(answer, value)) {
      if ((flags & RSG_NOZERO) && *value == 0) {
        kwhost::editor::Print(L"\n值必须不为零。");
      } else if ((flags & RSG_NONEG) && *value < 0) {
        kwhost::editor::Print(L"\n值必须为正。");
      } else {
        return RTNORM;
      }
      continue;
    }
    std::wstring keyword = MatchKeyword(answer);
    if (!keyword.empty()) {
      Editor().prompt.lastKeyword = keyword;
      return RTKWORD;
    }
    kwhost::editor::Print(badText);
  }
}

}  // namespace

bool kwhost::editor::TakeLine(const wchar_t* prompt, std::wstring* line) {
  PrintPrompt(prompt);
  return TakeAnswer(Take::kLine, line);
}

int acutPrintf(const wchar_t* format, ...) {
  if (!format) return RTERROR;
  va_list args;
  va_start(args, format);
  std::wstring text = kw::VFormatW(format, args);
  va_end(args);
  kwhost::editor::Print(text);
  return RTNORM;
}

int acedGetString(int cronly, const wchar_t* prompt, wchar_t* result) {
  return acedGetString(cronly, prompt, result, kAcedStringBufferLen);
}

int acedGetString(int cronly, const wchar_t* prompt, wchar_t* result, size_t bufLen) {
  InitGetScope scope;
  if (!result || bufLen == 0) return RTERROR;
  PrintPrompt(prompt);
  std::wstring answer;
  if (!TakeAnswer(cronly ? Take::kLine : Take::kWord, &answer) || answer == L"^C") {
    result[0] = L'\0';
    return RTCAN;
  }
  return Deliver(answer, result, bufLen);
}

int acedGetInt(const wchar_t* prompt, int* result) {
  if (!result) return RTERROR;
  double value = 0;
  auto parse = [](const std::wstring& text, double* v) {
    int n = 0;
    if (!ParseInt(text, &n)) return false;
    *v = n;
    return true;
  };
  int rc = GetNumber(prompt, L"\n需要整数值。", parse, &value);
  if (rc == RTNORM) *result = static_cast<int>(value);
  return rc;
}

int acedGetReal(const wchar_t* prompt, double* result) {
  if (!result) return RTERROR;
  int rc = GetNumber(prompt, L"\n需要数值。", ParseReal, result);
  return rc;
}

int acedGetKword(const wchar_t* prompt, wchar_t* result) {
  return acedGetKword(prompt, result, kAcedStringBufferLen);
}

int acedGetKword(const wchar_t* prompt, wchar_t* result, size_t bufLen) {
  InitGetScope scope;
  if (!result || bufLen == 0) return RTERROR;
  result[0] = L'\0';
  const bool anyText = Editor().prompt.keywords.empty();
  const bool noNull = Editor().prompt.initFlags & RSG_NONULL;
  for (;;) {
    PrintPrompt(prompt);
    std::wstring answer;
    if (!TakeAnswer(Take::kWord, &answer) || answer == L"^C") return RTCAN;
    if (answer.empty() && !noNull) return RTNONE;
    std::wstring keyword = anyText ? answer : MatchKeyword(answer);
    if (!keyword.empty()) return Deliver(keyword, result, bufLen);
    kwhost::editor::Print(answer.empty() ? L"\n需要输入值。" : L"\n无效选项关键字。");
  }
}

int acedGetInput(wchar_t* result) {
  return acedGetInput(result, kAcedStringBufferLen);
}

int acedGetInput(wchar_t* result, size_t bufLen) {
  return Deliver(Editor().prompt.lastKeyword, result, bufLen);
}

int acedInitGet(int val, const wchar_t* keywordList) {
  kwhost::editor::PromptSettings& s = Editor().prompt;
  s.ClearInitGet();
  s.initFlags = val;
  bool global = false;
  for (const std::wstring& piece : kw::Split(kw::View(keywordList), L' ')) {
    if (piece.empty()) continue;
    if (piece == L"_") {
      global = true;
    } else {
      (global ? s.globals : s.keywords).push_back(piece);
    }
  }
  return RTNORM;
}

namespace kwhost {

void QueueInput(const std::wstring& lines) {
  for (std::wstring& line : kw::Split(lines, L'\n')) {
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    editor::Editor().line.input.push_back(std::move(line));
  }
}

size_t PendingInput() {
  return editor::Editor().line.input.size();
}
void ClearInput() {
  editor::Editor().line.input.clear();
  editor::Editor().line.taken = 0;
}

std::wstring TakeOutput() {
  std::wstring out;
  out.swap(editor::Editor().line.captured);
  return out;
}

void SetOutputSink(std::function<void(std::wstring_view)> sink) {
  editor::Editor().line.sink = std::move(sink);
}

void SetInputReader(std::function<bool(std::wstring*)> reader, bool interactive) {
  editor::CommandLine& s = editor::Editor().line;
  s.reader = std::move(reader);
  s.readerInteractive = interactive;
  s.readerDone = false;
}

bool NextInputWord(std::wstring* word) {
  return word && TakeAnswer(Take::kWord, word);
}

}  // namespace kwhost
