// The console host end to end: scripts and piped input drive the probe module through rdpub.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "common/testing/TempDir.h"

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

struct Measured {
  int status;
  long peakKb;  // the largest resident set the program had, in KiB
};

// Runs rdpub with these arguments (output thrown away) and reports its peak resident memory.
// Under AddressSanitizer freed memory is returned at once (no quarantine), so that the figure is
// the program's own memory.
Measured RunMeasured(std::vector<std::string> args) {
  args.insert(args.begin(), KW_RDPUB);
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    setenv("ASAN_OPTIONS", "quarantine_size_mb=0:detect_leaks=0", 1);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int raw = 0;
  rusage usage{};
  if (pid < 0 || wait4(pid, &raw, 0, &usage) != pid) return {-1, 0};
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, usage.ru_maxrss};
}

class Rdpub : public ::testing::Test {
 protected:
  std::string Script(const std::string& text, const std::string& name = "run.scr") {
    std::string path = folder_ + "/" + name;
    std::ofstream(path) << text;
    return path;
  }
  Outcome WithScript(const std::string& text) {
    return Shell(std::string(KW_RDPUB) + " --module " + kProbe + " --script " + Script(text) +
                 " 2>/dev/null");
  }

  kwtest::TempDir temp_{"rdpub"};
  std::string folder_ = temp_.path();
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
  EXPECT_EQ(run.out,
            "\nprobe: loaded记录[记录(Y)/不记录(N)]<Y>:\nprobe: kword -5002 ''"
            "记录[记录(Y)/不记录(N)]<Y>:\nprobe: kword 5000 ''"
            "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, UnknownCommandHelpAndMessageBoxAnswers) {
  Outcome run = WithScript("frobnicate\nHELP\nProbeBox\n!No\nProbeBox\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "\nprobe: loaded\n未知命令\"FROBNICATE\"。输入 HELP 查看命令列表。"
            "\n内置命令: APPLOAD HELP LIST NEW OPEN QUIT SAVE SAVEAS WAIT"
            " EXPORTSVG LINETYPE PAN ZOOM"
            "\n  ZOOM 角点 角点 | nX | E(范围) | W(窗口) 角点 角点"
            " | C(中心) 点 高度或nX | S(比例) nX | P(上一个)"
            "\n  PAN 位移 | 基点 第二点   (点: x,y[,z]，当前 UCS)"
            "\n选择对象时每行输入一项:"
            "\n  2A 2B          图元句柄(十六进制, 空格分隔)"
            "\n  W x1,y1 x2,y2  窗口: 完全在框内的图元"
            "\n  C x1,y1 x2,y2  交叉: 在框内或与框相交的图元"
            "\n  ALL            全部图元"
            "\n  x,y            拾取点 (当前 UCS): 拾取框下的图元"
            "\n  R / A          之后的选择移除 / 添加"
            "\n  -...           以上各项前加 \"-\": 按住 Shift (移除)"
            "\n  其它文字       交给命令 (关键字)"
            "\n  空行 / 只有空格 回车 / 空格键, 结束选择"
            "\n  ^C             取消"
            "\n已注册命令:"
            "\n  ProbeAsk\n  ProbeBox\n  ProbeInt"
            "\n  ProbeStrings"
            "\n[凯维提示] 继续?\nprobe: box 7\n[凯维提示] 继续?\nprobe: box 6"
            "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, PipedInputIsReadLikeAScript) {
  Outcome run = Shell("printf 'ProbeAsk n\\n' | " + std::string(KW_RDPUB) + " --module " + kProbe);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "\nprobe: loaded记录[记录(Y)/不记录(N)]<Y>:\nprobe: kword 5100 'N'"
            "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

// What the probe session prints when its input starts with 8 MiB of "x" on one line and then
// runs ProbeInt 3: the first 64 KiB of the line, as an unknown command.
const std::string kCutSession = "\nprobe: loaded\n未知命令\"" + std::string(65536, 'X') +
                                "\"。输入 HELP 查看命令列表。\nint: \nprobe: int 5100 3"
                                "\nprobe: WM_CLOSE\nprobe: unloaded same";

TEST_F(Rdpub, AnOverlongPipedLineIsCutAndTheSessionGoesOn) {
  // 8 MiB without a line end, then a command: only the first 64 KiB of the line are kept.
  Outcome run = Shell("{ head -c 8388608 /dev/zero | tr '\\0' x; printf '\\nProbeInt 3\\n'; } | " +
                      std::string(KW_RDPUB) + " --module " + kProbe);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, kCutSession);
}

TEST_F(Rdpub, AppLoadFailureIsReportedAndTheSessionGoesOn) {
  Outcome run = WithScript("APPLOAD " + kNoEntry + "\nProbeInt 3\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "\nprobe: loaded\n要加载的模块: \n无法加载模块: " + kNoEntry +
                         ": 找不到入口函数 acrxEntryPoint\nint: \nprobe: int 5100 3"
                         "\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, StartFailuresExitNonZero) {
  std::string rdpub = KW_RDPUB;
  Outcome missing =
      Shell(rdpub + " --module /nonexistent/libx.so --script " + Script("") + " 2>&1");
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.out,
            "rdpub: cannot load /nonexistent/libx.so: /nonexistent/libx.so: cannot open shared "
            "object file: No such file or directory\n");
  Outcome noScript = Shell(rdpub + " --module " + kProbe + " --script /nonexistent.scr 2>&1");
  EXPECT_EQ(noScript.status, 1);
  EXPECT_EQ(noScript.out, "rdpub: cannot read script /nonexistent.scr\n");
  Outcome bogus = Shell(rdpub + " --bogus 2>&1");
  EXPECT_EQ(bogus.status, 1);
  EXPECT_EQ(bogus.out, "usage: rdpub [--script FILE] [--module PATH]... [DRAWING]\n");
}

TEST_F(Rdpub, AnOverlongScriptLineIsCutLikeAPipedOne) {
  Outcome run = WithScript(std::string(8 << 20, 'x') + "\nProbeInt 3\n");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, kCutSession);
}

TEST_F(Rdpub, AScriptIsReadAsAStreamInMemoryIndependentOfItsLength) {
  // 4 MiB of empty lines: held in memory at once, they took over thirty times their size.
  const std::string empty = Script("", "empty.scr");
  const std::string lines = Script(std::string(4 << 20, '\n'), "lines.scr");
  Measured small = RunMeasured({"--module", kProbe, "--script", empty});
  Measured large = RunMeasured({"--module", kProbe, "--script", lines});
  EXPECT_EQ(small.status, 0);
  EXPECT_EQ(large.status, 0);
  EXPECT_LT(large.peakKb - small.peakKb, 4 << 10) << small.peakKb << " KiB, then " << large.peakKb;
}

TEST_F(Rdpub, AFifoIsReadAsAStreamAndDevNullIsAnEmptyScript) {
  const std::string fifo = folder_ + "/run.fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string rdpub = std::string(KW_RDPUB) + " --module " + kProbe + " --script ";
  Outcome streamed =
      Shell("{ printf 'ProbeInt 3\\n' > " + fifo + " & } ; timeout 60 " + rdpub + fifo + " 2>&1");
  EXPECT_EQ(streamed.status, 0);
  EXPECT_EQ(streamed.out,
            "\nprobe: loaded\nint: \nprobe: int 5100 3\nprobe: WM_CLOSE\nprobe: unloaded same");
  Outcome empty = Shell(rdpub + "/dev/null 2>&1");
  EXPECT_EQ(empty.status, 0);
  EXPECT_EQ(empty.out, "\nprobe: loaded\nprobe: WM_CLOSE\nprobe: unloaded same");
}

TEST_F(Rdpub, AFolderOrAMissingFileIsAnUnreadableScript) {
  const std::string rdpub = std::string(KW_RDPUB) + " --module " + kProbe + " --script ";
  Outcome folder = Shell(rdpub + folder_ + " 2>&1");
  EXPECT_EQ(folder.status, 1);
  EXPECT_EQ(folder.out, "rdpub: cannot read script " + folder_ + "\n");
  EXPECT_EQ(Shell(rdpub + folder_ + "/missing.scr 2>/dev/null").status, 1);
}

}  // namespace
