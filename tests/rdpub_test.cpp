// The console host end to end: scripts and piped input drive the probe module through rdpub.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

const std::string kProbe = std::string(KW_BUILD_DIR) + "/testmodules/libhostprobe.so";
const std::string kNoEntry = std::string(KW_BUILD_DIR) + "/testmodules/libhostprobe_noentry.so";

struct Outcome {
  int status;
  std::string out;
};

// Runs a shell command line and collects its stdout and exit status.
Outcome Shell(const std::string& command) {
  Outcome run{-1, {}};
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return run;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof(buf), pipe)) > 0) run.out.append(buf, n);
  int raw = pclose(pipe);
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return run;
}

class Rdpub : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/rdpubXXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    folder_ = dir;
  }
  void TearDown() override { Shell("rm -rf '" + folder_ + "'"); }

  std::string Script(const std::string& text) {
    std::string path = folder_ + "/run.scr";
    std::ofstream(path) << text;
    return path;
  }
  Outcome WithScript(const std::string& text) {
    return Shell(std::string(KW_RDPUB) + " --module " + kProbe + " --script " + Script(text) +
                 " 2>/dev/null");
  }

  std::string folder_;
};

TEST_F(Rdpub, ScriptAnswersPromptsAndQuitClosesTheFrameThenUnloads) {
  Outcome run = WithScript("probeask y\nProbeStrings one two three\nQUIT\nProbeAsk\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "\nprobe: loaded记录[记录(Y)/不记录(N)]<Y>:\nprobe: kword 5100 'Y'"
            "\nword: \nline: \nprobe: 5100 'one' 5100 'two three'"
            "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, EndOfScriptCancelsPendingPromptAndCloses) {
  Outcome run = WithScript("ProbeInt\nabc\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "\nprobe: loaded\nint: \n需要整数值。\nint: \nprobe: int -5002 0"
            "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, CaretCAndEnterAnswerPrompts) {
  Outcome run = WithScript("ProbeAsk\n^C\nProbeAsk\n\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("kword -5002 ''"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("kword 5000 ''"), std::string::npos) << run.out;
}

TEST_F(Rdpub, UnknownCommandHelpAndMessageBoxAnswers) {
  Outcome run = WithScript("frobnicate\nHELP\nProbeBox\n!No\nProbeBox\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "\nprobe: loaded\n未知命令\"FROBNICATE\"。输入 HELP 查看命令列表。"
            "\n内置命令: APPLOAD HELP QUIT\n已注册命令:\n  ProbeAsk\n  ProbeBox\n  ProbeInt"
            "\n  ProbeStrings\n[凯维提示] 继续?\nprobe: box 7\n[凯维提示] 继续?\nprobe: box 6"
            "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, PipedInputIsReadLikeAScript) {
  Outcome run = Shell("printf 'ProbeAsk n\\n' | " + std::string(KW_RDPUB) + " --module " + kProbe);
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("probe: kword 5100 'N'\nprobe: WM_CLOSE\nprobe: unloaded same"),
            std::string::npos)
      << run.out;
}

TEST_F(Rdpub, AnOverlongPipedLineIsCutAndTheSessionGoesOn) {
  // 8 MiB without a line end, then a command: only the first 64 KiB of the line are kept.
  Outcome run = Shell("{ head -c 8388608 /dev/zero | tr '\\0' x; printf '\\nProbeInt 3\\n'; } | " +
                      std::string(KW_RDPUB) + " --module " + kProbe);
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("\"" + std::string(65536, 'X') + "\""), std::string::npos);
  EXPECT_LT(run.out.size(), 70000u);
  EXPECT_NE(run.out.find("probe: int 5100 3"), std::string::npos);
}

TEST_F(Rdpub, AppLoadFailureIsReportedAndTheSessionGoesOn) {
  Outcome run = WithScript("APPLOAD " + kNoEntry + "\nProbeInt 3\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("\n无法加载模块: " + kNoEntry + ": 找不到入口函数 acrxEntryPoint"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("probe: int 5100 3"), std::string::npos) << run.out;
}

TEST_F(Rdpub, StartFailuresExitNonZero) {
  std::string rdpub = KW_RDPUB;
  Outcome missing =
      Shell(rdpub + " --module /nonexistent/libx.so --script " + Script("") + " 2>&1");
  EXPECT_EQ(missing.status, 2);
  EXPECT_NE(missing.out.find("rdpub: cannot load /nonexistent/libx.so"), std::string::npos);
  Outcome noScript = Shell(rdpub + " --module " + kProbe + " --script /nonexistent.scr 2>&1");
  EXPECT_EQ(noScript.status, 1);
  EXPECT_EQ(Shell(rdpub + " --bogus 2>/dev/null").status, 1);
}

}  // namespace
