// rdpub: a CAD command line in a terminal. Loads the suite's library (or the modules named with
// --module), then reads command lines from the terminal, a script or standard input until
// QUIT or the end of input, and closes the main frame (watchers, then module unload). On a
// terminal, Ctrl-C cancels the prompt rather than ending the process.
//
//   rdpub [--script FILE] [--module PATH]... [DRAWING]
//
// DRAWING is a DXF file opened as the current drawing (a missing one starts a new drawing of
// that name). Built-in commands besides the modules' own: NEW, OPEN file, SAVE,
// SAVEAS file [R12|2000|2004|2007|2010|2013|2018] [BINARY], LIST, APPLOAD, HELP, QUIT.
//
// Exit status: 0 after a normal close; 1 for bad arguments or an unreadable script; 2 when a
// module given at start cannot be loaded.
#include <editline/readline.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/install.h"
#include "common/text.h"
#include "host/api/editor.h"
#include "kwhost/embedded.h"
#include "tools/rdpub/selection_help.h"
#include "tools/rdpub/wait.h"

namespace {

constexpr size_t kMaxLineBytes = 64 << 10;
constexpr const wchar_t* kLibraryName = L"libkwrdpub.so";

struct Options {
  std::wstring script;
  std::vector<std::wstring> modules;
  std::wstring drawing;
};

void Usage() {
  std::fprintf(stderr, "usage: rdpub [--script FILE] [--module PATH]... [DRAWING]\n");
}

bool ParseArgs(int argc, char** argv, Options* opt) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    bool hasValue = i + 1 < argc;
    if (arg == "--script" && hasValue) {
      opt->script = kw::FromUtf8(argv[++i]);
    } else if (arg == "--module" && hasValue) {
      opt->modules.push_back(kw::FromUtf8(argv[++i]));
    } else if (arg.starts_with("-") || !opt->drawing.empty()) {
      return false;
    } else {
      opt->drawing = kw::FromUtf8(arg);
    }
  }
  return true;
}

// The library: in the install folder ($KWRD_INSTALL_DIR, else the executable's), else beside
// the executable, else in ../lib of it. Never relative to the working folder.
std::wstring FindLibrary(std::vector<std::wstring>* tried) {
  std::vector<std::wstring> folders;
  if (std::wstring install = kw::InstallFolder(); !install.empty()) folders.push_back(install);
  if (std::wstring exe = kw::ExecutableFolder(); !exe.empty()) {
    if (folders.empty() || folders.back() != exe) folders.push_back(exe);
    folders.push_back(exe + L"/../" + kw::FromUtf8(KW_INSTALL_LIBDIR));
    if (folders.back() != exe + L"/../lib") folders.push_back(exe + L"/../lib");
  }
  for (const std::wstring& folder : folders) {
    std::wstring path = kw::JoinPath(folder, kLibraryName);
    tried->push_back(path);
    if (kw::Fs().IsFile(path)) return path;
  }
  return {};
}

void WriteStdout(std::wstring_view text) {
  std::string bytes = kw::ToUtf8(text);
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  std::fflush(stdout);
}

// One line of `in` without its "\n", of which at most kMaxLineBytes bytes are kept: the rest of
// a longer line is read and dropped, so endless input without a line end cannot exhaust memory.
// False at the end of input.
bool ReadCappedLine(FILE* in, std::string* bytes) {
  bytes->clear();
  int c;
  while ((c = getc_unlocked(in)) != EOF && c != '\n') {
    if (bytes->size() < kMaxLineBytes) bytes->push_back(static_cast<char>(c));
  }
  return c != EOF || !bytes->empty();
}

// Standard input that is not a terminal: UTF-8 lines.
bool ReadStdinLine(std::wstring* line) {
  std::string bytes;
  if (!ReadCappedLine(stdin, &bytes)) return false;
  *line = kw::FromUtf8(bytes);
  return true;
}

using ScriptFile = std::unique_ptr<FILE, int (*)(FILE*)>;

// The script, opened as a stream: a file, a FIFO (opening waits for its writer, and lines are
// read as they are written) or a device such as /dev/null (an empty script). Null when it
// cannot be opened for reading or is a folder.
ScriptFile OpenScript(const std::wstring& path) {
  ScriptFile none(nullptr, std::fclose);
  const int fd = ::open(kw::NativePath(path).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return none;
  struct stat st;
  FILE* file = nullptr;
  if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode) || !(file = ::fdopen(fd, "r"))) {
    ::close(fd);
    return none;
  }
  return ScriptFile(file, std::fclose);
}

// The script's lines (UTF-8, a byte order mark at its start skipped), read one at a time.
std::function<bool(std::wstring*)> ScriptReader(FILE* script) {
  return [script, first = true](std::wstring* line) mutable {
    std::string bytes;
    if (!ReadCappedLine(script, &bytes)) return false;
    if (first && bytes.starts_with("\xEF\xBB\xBF")) bytes.erase(0, 3);
    first = false;
    *line = kw::FromUtf8(bytes);
    return true;
  };
}

// Ctrl-C at the terminal cancels, as in a CAD command line, and never ends rdpub. While libedit
// reads, the terminal has no interrupt character, so ^C arrives as a key (OnCtrlKeyC); while a
// command runs, SIGINT only sets the flag (OnSigint). Either way the next read answers "^C",
// which cancels the prompt that takes it (RTCAN) and is skipped at the command prompt. libedit's
// own signal handlers stay (they restore the terminal on ^Z and follow resizing); a SIGINT sent
// during a read passes through them to OnSigint and ends the read.
volatile sig_atomic_t g_ctrlC = 0;

extern "C" void OnSigint(int) {
  g_ctrlC = 1;
}

int OnCtrlKeyC(int, int) {
  g_ctrlC = 1;
  rl_done = 1;  // ends the read; the partly typed line is dropped
  return 0;
}

// readline() resets libedit's terminal modes on every call, so the interrupt character is
// taken away again each time, after that reset and before the terminal is switched to editing:
// "intr=" clears it in the edit settings, "-intr" keeps it cleared when libedit rebuilds them
// from a changed terminal. The other signal keys (^Z, ^\) keep working.
int TakeAwayInterruptKey() {
  return rl_parse_and_bind("setty -d -intr intr=");
}

void SetUpTerminal() {
  struct sigaction action = {};
  action.sa_handler = OnSigint;
  action.sa_flags = SA_RESTART;  // commands' own reads and writes go on undisturbed
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  rl_initialize();
  using_history();
  rl_add_defun("kw-cancel", OnCtrlKeyC, 'C' & 0x1f);
  rl_pre_input_hook = TakeAwayInterruptKey;
}

// The terminal, with line editing and history.
bool ReadTerminalLine(std::wstring* line) {
  std::fflush(stdout);
  char* text = g_ctrlC ? nullptr : readline("");
  if (g_ctrlC) {
    g_ctrlC = 0;
    std::free(text);
    WriteStdout(L"\n*取消*");
    *line = L"^C";
    return true;
  }
  if (!text) return false;
  if (*text) add_history(text);
  *line = kw::FromUtf8(text);
  std::free(text);
  return true;
}

void PrintHelp() {
  std::wstring text = L"\n内置命令: APPLOAD HELP LIST NEW OPEN QUIT SAVE SAVEAS WAIT";
  for (const std::wstring& name : kwhost::HostCommandNames()) text += L" " + name;
  text +=
      L"\n  ZOOM 角点 角点 | nX | E(范围) | W(窗口) 角点 角点 | C(中心) 点 高度或nX | S(比例) nX"
      L" | P(上一个)\n  PAN 位移 | 基点 第二点   (点: x,y[,z]，当前 UCS)";
  text += SelectionHelp();
  text += L"\n已注册命令:";
  for (const std::wstring& name : kwhost::CommandNames()) text += L"\n  " + name;
  acutPrintf(L"%s", text.c_str());
}

void AppLoad() {
  wchar_t path[kAcedStringBufferLen] = {};
  if (acedGetString(1, L"\n要加载的模块: ", path) != RTNORM || !*path) return;
  std::wstring error;
  if (kwhost::LoadModule(kw::Trim(path), &error)) {
    acutPrintf(L"\n已加载 %s。", path);
  } else {
    acutPrintf(L"\n无法加载模块: %s", error.c_str());
  }
}

// The rest of the command line (or the answer to the prompt), trimmed.
std::wstring Argument(const wchar_t* prompt) {
  wchar_t text[kAcedStringBufferLen] = {};
  if (acedGetString(1, prompt, text) != RTNORM) return {};
  return kw::Trim(text);
}

void OpenFile(const std::wstring& path) {
  std::wstring why;
  if (kwhost::OpenDrawing(path, &why)) {
    acutPrintf(L"\n图形: %s", path.c_str());
  } else {
    acutPrintf(L"\n无法读取图形 %s: %s\n已新建图形 %s。", path.c_str(), why.c_str(), path.c_str());
  }
}

void Save(const std::wstring& path, const std::wstring& version, bool binary) {
  std::wstring why;
  if (kwhost::SaveDrawing(path, version, binary, &why)) {
    acutPrintf(L"\n已保存。");
  } else {
    acutPrintf(L"\n无法保存: %s", why.c_str());
  }
}

// SAVEAS file [R12|2000|2004|2007|2010|2013|2018] [BINARY]: the options are the last words.
void SaveAs() {
  std::vector<std::wstring> words = kw::Split(Argument(L"\n另存为: "), L' ');
  std::erase(words, std::wstring());
  bool binary = false;
  std::wstring version;
  if (!words.empty() && kw::ToUpper(words.back()) == L"BINARY") binary = true, words.pop_back();
  static const std::vector<std::wstring> kVersions = {L"R12",  L"2000", L"2004", L"2007",
                                                      L"2010", L"2013", L"2018"};
  if (words.size() > 1 &&
      std::find(kVersions.begin(), kVersions.end(), kw::ToUpper(words.back())) != kVersions.end()) {
    version = kw::ToUpper(words.back());
    words.pop_back();
  }
  if (words.empty()) {
    acutPrintf(L"\n需要文件名。");
    return;
  }
  std::wstring path = words[0];
  for (size_t i = 1; i < words.size(); ++i) path += L" " + words[i];
  Save(path, version, binary);
}

void List() {
  for (const std::wstring& line : kwhost::ListModelSpace()) acutPrintf(L"\n%s", line.c_str());
}

// The console's own commands; false when `name` is none of them.
bool BuiltIn(const std::wstring& name) {
  if (name == L"HELP") {
    PrintHelp();
  } else if (name == L"APPLOAD") {
    AppLoad();
  } else if (name == L"NEW") {
    kwhost::NewDrawing();
  } else if (name == L"OPEN") {
    std::wstring path = Argument(L"\n图形文件: ");
    if (!path.empty()) OpenFile(path);
  } else if (name == L"SAVE") {
    Save(L"", L"", false);
  } else if (name == L"SAVEAS") {
    SaveAs();
  } else if (name == L"LIST") {
    List();
  } else if (name == L"WAIT") {
    rdpub::Wait();
  } else {
    return false;
  }
  return true;
}

// Runs command lines until QUIT or the end of input.
void CommandLoop(bool interactive) {
  for (;;) {
    if (interactive) acutPrintf(L"\n命令: ");
    std::wstring word;
    if (!kwhost::NextInputWord(&word)) return;
    if (word.empty() || word == L"^C") continue;
    std::wstring name = kw::ToUpper(word);
    if (name == L"QUIT") return;
    if (!BuiltIn(name) && !kwhost::RunCommand(word.c_str())) {
      acutPrintf(L"\n未知命令\"%s\"。输入 HELP 查看命令列表。", name.c_str());
    }
  }
}

bool LoadStartModules(const Options& opt) {
  std::vector<std::wstring> modules = opt.modules;
  if (modules.empty()) {
    std::vector<std::wstring> tried;
    std::wstring library = FindLibrary(&tried);
    if (library.empty()) {
      std::string list;
      for (const std::wstring& t : tried) list += "\n  " + kw::ToUtf8(t);
      std::fprintf(stderr, "rdpub: libkwrdpub.so not found; looked for:%s\n", list.c_str());
      return false;
    }
    modules.push_back(library);
  }
  for (const std::wstring& path : modules) {
    std::wstring error;
    if (!kwhost::LoadModule(path, &error)) {
      std::fprintf(stderr, "rdpub: cannot load %s: %s\n", kw::ToUtf8(path).c_str(),
                   kw::ToUtf8(error).c_str());
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options opt;
  if (!ParseArgs(argc, argv, &opt)) {
    Usage();
    return 1;
  }
  kwhost::SetOutputSink(WriteStdout);
  bool interactive = false;
  ScriptFile script(nullptr, std::fclose);
  if (!opt.script.empty()) {
    script = OpenScript(opt.script);
    if (!script) {
      std::fprintf(stderr, "rdpub: cannot read script %s\n", kw::ToUtf8(opt.script).c_str());
      return 1;
    }
    kwhost::SetInputReader(ScriptReader(script.get()));
  } else if (isatty(STDIN_FILENO)) {
    interactive = true;
    SetUpTerminal();
    kwhost::SetInputReader(ReadTerminalLine, true);
  } else {
    kwhost::SetInputReader(ReadStdinLine);
  }
  if (!opt.drawing.empty()) {
    kwhost::CloseAllDocuments();
    OpenFile(opt.drawing);
  }
  if (!LoadStartModules(opt)) {
    kwhost::CloseMainFrame();
    return 2;
  }
  CommandLoop(interactive);
  kwhost::CloseMainFrame();
  if (interactive) WriteStdout(L"\n");  // leave the shell prompt on a line of its own
  return 0;
}
