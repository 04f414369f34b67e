// Dialogs on the command line: message boxes, the save-as prompt and the debugging trace.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "host/api/win.h"
#include "kwhost/embedded.h"

namespace {

class Dialogs : public ::testing::Test {
 protected:
  void SetUp() override { kwhost::ResetSession(); }
};

TEST_F(Dialogs, MessageBoxesPrintOneLineAndTakeDefaultOrScriptedAnswer) {
  EXPECT_EQ(MessageBoxW(nullptr, L"文本", L"凯维提示", MB_OK | MB_ICONINFORMATION), IDOK);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO | MB_DEFBUTTON2), IDNO);
  kwhost::QueueInput(L"!cancel\nnext");
  EXPECT_EQ(MessageBoxW(nullptr, L"q", nullptr, MB_YESNOCANCEL), IDCANCEL);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_OK), IDOK);  // "next" is not a box answer
  EXPECT_EQ(kwhost::PendingInput(), 1u);
  EXPECT_EQ(kwhost::TakeMessageBoxes(),
            (std::vector<std::wstring>{L"[凯维提示] 文本", L"[c] q", L"[Error] q", L"[c] q"}));
  EXPECT_EQ(kwhost::TakeOutput(), L"\n[凯维提示] 文本\n[c] q\n[Error] q\n[c] q");
}

TEST_F(Dialogs, TheRestOfAPartlyTakenLineAnswersABox) {
  kwhost::QueueInput(L"ProbeBox !no\nnext");
  std::wstring word;
  ASSERT_TRUE(kwhost::NextInputWord(&word));
  EXPECT_EQ(word, L"ProbeBox");
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO), IDNO);
  ASSERT_TRUE(kwhost::NextInputWord(&word));
  EXPECT_EQ(word, L"next");
}

// A terminal: each read hands out the next line the user types (lines run out as Ctrl-D).
class TerminalBoxes : public Dialogs {
 protected:
  void Type(std::vector<std::wstring> lines) {
    typed_ = std::move(lines);
    kwhost::SetInputReader(
        [this](std::wstring* line) {
          if (next_ == typed_.size()) return false;
          *line = typed_[next_++];
          return true;
        },
        true);
  }
  std::vector<std::wstring> typed_;
  size_t next_ = 0;
};

TEST_F(TerminalBoxes, ABoxWithSeveralButtonsAsksByKeywordWithEnterForTheDefault) {
  Type({L"n", L"", L"maybe", L"!ignore", L"^C", L"^C", L"RETRY"});
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNOCANCEL), IDNO);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO | MB_DEFBUTTON2), IDNO);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_ABORTRETRYIGNORE), IDIGNORE);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_OKCANCEL), IDCANCEL);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO), IDYES);  // no Cancel: the default
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_RETRYCANCEL | MB_DEFBUTTON2), IDRETRY);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO | MB_DEFBUTTON2), IDNO);  // input ended
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\n[c] q\n[Yes/No/Cancel] <Yes>: "
            L"\n[c] q\n[Yes/No] <No>: "
            L"\n[c] q\n[Abort/Retry/Ignore] <Abort>: \n无效选项关键字。"
            L"\n[Abort/Retry/Ignore] <Abort>: "
            L"\n[c] q\n[OK/Cancel] <OK>: "
            L"\n[c] q\n[Yes/No] <Yes>: "
            L"\n[c] q\n[Retry/Cancel] <Cancel>: "
            L"\n[c] q\n[Yes/No] <No>: ");
}

TEST_F(TerminalBoxes, OneButtonBoxesAndQueuedAnswersDoNotReadTheTerminal) {
  Type({L"typed"});
  kwhost::QueueInput(L"!no\nrest of the command line");
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_OK), IDOK);
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO), IDNO);   // the queued answer
  EXPECT_EQ(MessageBoxW(nullptr, L"q", L"c", MB_YESNO), IDYES);  // asks the terminal
  EXPECT_EQ(next_, 1u);
  EXPECT_EQ(kwhost::PendingInput(), 1u);  // the typed command line is left for its prompts
}

class SaveAs : public Dialogs {
 protected:
  wchar_t file[64] = {};
  OPENFILENAMEW ofn{nullptr, L"日志文件(*.log)|*.log||",
                    file,    64,
                    nullptr, OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT,
                    L".log"};
};

TEST_F(SaveAs, AppendsDefaultExtensionAndCancels) {
  kwhost::QueueInput(L"out dir/trace\n/tmp/x.txt\n\n^C");
  ASSERT_EQ(GetSaveFileNameW(&ofn), TRUE);
  EXPECT_STREQ(file, L"out dir/trace.log");
  ASSERT_EQ(GetSaveFileNameW(&ofn), TRUE);
  EXPECT_STREQ(file, L"/tmp/x.txt");
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);  // no input left
  EXPECT_EQ(kwhost::TakeOutput(), L"\n另存为: \n另存为: \n另存为: \n另存为: \n另存为: ");
  ofn.nMaxFile = 4;
  kwhost::QueueInput(L"long.log");
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
}

TEST_F(SaveAs, ExistingFileIsConfirmed) {
  const kwtest::TempDir dir("kwhost");
  std::wstring path = dir.WAt(L"old.log");
  ASSERT_TRUE(kw::Fs().WriteFileAtomic(path, "x"));
  kwhost::QueueInput(path + L"\n!no\n" + path);
  EXPECT_EQ(GetSaveFileNameW(&ofn), FALSE);
  EXPECT_EQ(GetSaveFileNameW(&ofn), TRUE);  // default answer: yes
  EXPECT_EQ(kwhost::TakeMessageBoxes().size(), 2u);
}

TEST_F(Dialogs, DebugTraceIsKept) {
  OutputDebugStringW(L"Unload KWRDPub.arx");
  OutputDebugStringW(nullptr);
  EXPECT_EQ(kwhost::TakeDebugTrace(), std::vector<std::wstring>{L"Unload KWRDPub.arx"});
  EXPECT_TRUE(kwhost::TakeDebugTrace().empty());
}

}  // namespace
