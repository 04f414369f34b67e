// Message boxes, the save-as dialog and the debugging trace, all on the command line.
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/win.h"
#include "host/embedded/editor/editor.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::editor::Editor;

// A long console session keeps only the latest boxes and trace lines for inspection.
constexpr size_t kKeptEntries = 10000;

void Keep(std::vector<std::wstring>* list, std::wstring entry) {
  if (list->size() >= kKeptEntries) list->erase(list->begin());
  list->push_back(std::move(entry));
}

struct Button {
  const wchar_t* name;     // as a script answers it ("!YES")
  const wchar_t* keyword;  // as the terminal offers it
  int id;
};

// The buttons of a box style, in display order.
std::vector<Button> ButtonsOf(UINT type) {
  switch (type & 0xF) {
    case MB_OKCANCEL:
      return {{L"OK", L"OK", IDOK}, {L"CANCEL", L"Cancel", IDCANCEL}};
    case MB_ABORTRETRYIGNORE:
      return {{L"ABORT", L"Abort", IDABORT},
              {L"RETRY", L"Retry", IDRETRY},
              {L"IGNORE", L"Ignore", IDIGNORE}};
    case MB_YESNOCANCEL:
      return {{L"YES", L"Yes", IDYES}, {L"NO", L"No", IDNO}, {L"CANCEL", L"Cancel", IDCANCEL}};
    case MB_YESNO:
      return {{L"YES", L"Yes", IDYES}, {L"NO", L"No", IDNO}};
    case MB_RETRYCANCEL:
      return {{L"RETRY", L"Retry", IDRETRY}, {L"CANCEL", L"Cancel", IDCANCEL}};
    default:
      return {{L"OK", L"OK", IDOK}};
  }
}

// The answer line ("!YES"...) waiting for this box, taken from the input; 0 when none.
int ScriptedAnswer(const std::vector<Button>& buttons) {
  std::wstring_view next;
  if (!kwhost::editor::PeekLine(&next) || next.size() < 2 || next[0] != L'!') return 0;
  std::wstring word = kw::Trim(next.substr(1));
  for (const Button& b : buttons) {
    if (kw::EqualsNoCase(word, b.name)) {
      kwhost::editor::DropLine();
      return b.id;
    }
  }
  return 0;
}

// The button Ctrl-C picks: Cancel when the box has one, else the default.
int CancelButton(const std::vector<Button>& buttons, size_t def) {
  for (const Button& b : buttons) {
    if (b.id == IDCANCEL) return b.id;
  }
  return buttons[def].id;
}

// A box with several buttons on a terminal asks there, reading the terminal itself (not the
// rest of a typed command line): its buttons as keywords, Enter for the default, "!" before a
// button name accepted as in scripts. 0 when there is no terminal to ask.
int AskOnTerminal(const std::vector<Button>& buttons, size_t def) {
  kwhost::editor::CommandLine& line = Editor().line;
  if (buttons.size() < 2 || !line.reader || !line.readerInteractive || line.readerDone) return 0;
  std::vector<std::wstring> keywords;
  std::wstring choices;
  for (const Button& b : buttons) {
    keywords.emplace_back(b.keyword);
    choices += (choices.empty() ? L"" : L"/") + keywords.back();
  }
  const std::wstring prompt = L"\n[" + choices + L"] <" + keywords[def] + L">: ";
  for (;;) {
    kwhost::editor::Print(prompt);
    std::wstring text;
    if (!line.reader(&text)) {
      line.readerDone = true;
      return buttons[def].id;
    }
    std::wstring answer = kw::TrimLeft(kw::Trim(text, L" \t\r"), L"!");
    if (answer.empty()) return buttons[def].id;
    if (answer == L"^C") return CancelButton(buttons, def);
    std::wstring chosen = kwhost::editor::MatchKeyword(answer, keywords, {});
    for (size_t i = 0; i < buttons.size(); ++i) {
      if (chosen == keywords[i]) return buttons[i].id;
    }
    kwhost::editor::Print(L"\n无效选项关键字。");
  }
}

bool HasExtension(const std::wstring& path) {
  std::wstring name = kw::FileNameOf(path);
  return name.find(L'.') != std::wstring::npos;
}

}  // namespace

int MessageBoxW(HWND /*owner*/, const wchar_t* text, const wchar_t* caption, UINT type) {
  std::wstring line = L"[";
  line += caption ? caption : L"Error";
  line += L"] ";
  line += kw::View(text);
  Keep(&Editor().dialogs.boxes, line);
  kwhost::editor::Print(L"\n" + line);
  std::vector<Button> buttons = ButtonsOf(type);
  if (int answer = ScriptedAnswer(buttons)) return answer;
  size_t def = (type & MB_DEFBUTTON3) ? 2 : (type & MB_DEFBUTTON2) ? 1 : 0;
  def = std::min(def, buttons.size() - 1);
  if (int answer = AskOnTerminal(buttons, def)) return answer;
  return buttons[def].id;
}

BOOL GetSaveFileNameW(OPENFILENAMEW* ofn) {
  if (!ofn || !ofn->lpstrFile || ofn->nMaxFile == 0) return FALSE;
  std::wstring prompt = L"\n";
  prompt += ofn->lpstrTitle ? ofn->lpstrTitle : L"另存为";
  prompt += L": ";
  std::vector<wchar_t> buf(kAcedStringBufferLen);
  if (acedGetString(1, prompt.c_str(), buf.data(), buf.size()) != RTNORM) return FALSE;
  std::wstring path = kw::Trim(buf.data());
  if (path.empty()) return FALSE;
  std::wstring ext = kw::TrimLeft(kw::View(ofn->lpstrDefExt), L".");
  if (!ext.empty() && !HasExtension(path)) path += L"." + ext;
  if ((ofn->Flags & OFN_OVERWRITEPROMPT) && kw::Fs().IsFile(path)) {
    std::wstring question = path + L" 已存在。\n要替换它吗?";
    if (MessageBoxW(ofn->hwndOwner, question.c_str(), L"确认另存为", MB_YESNO | MB_ICONWARNING) !=
        IDYES) {
      return FALSE;
    }
  }
  if (path.size() + 1 > ofn->nMaxFile) return FALSE;
  std::wmemcpy(ofn->lpstrFile, path.c_str(), path.size() + 1);
  return TRUE;
}

void OutputDebugStringW(const wchar_t* text) {
  if (!text) return;
  Keep(&Editor().dialogs.debugTrace, text);
  if (std::getenv("KW_DEBUG_TRACE")) {
    std::string bytes = kw::ToUtf8(text);
    std::fprintf(stderr, "%s\n", bytes.c_str());
  }
}

namespace kwhost {

std::vector<std::wstring> TakeMessageBoxes() {
  std::vector<std::wstring> boxes;
  boxes.swap(editor::Editor().dialogs.boxes);
  return boxes;
}

std::vector<std::wstring> TakeDebugTrace() {
  std::vector<std::wstring> trace;
  trace.swap(editor::Editor().dialogs.debugTrace);
  return trace;
}

}  // namespace kwhost
