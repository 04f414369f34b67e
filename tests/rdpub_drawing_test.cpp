// The console host's drawing commands end to end: opening, listing and saving DXF drawings.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "common/testing/TempDir.h"

namespace {

class RdpubDrawing : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    temp_.emplace("kw_rdpub_dxf");
    dir_ = temp_->path();
    setenv("KWRD_USER_DIR", (dir_ + "/user").c_str(), 1);
    setenv("KWRD_WORK_DIR", (dir_ + "/work").c_str(), 1);
  }
  static void TearDownTestSuite() { temp_.reset(); }

  // rdpub on `drawing` with the input lines; its standard output.
  static std::string Run(const std::string& drawing, const std::string& input) {
    const std::string script = dir_ + "/script.txt";
    std::ofstream(script) << input;
    const std::string command = std::string(KW_RDPUB) + " --script " + script + " " + drawing;
    std::string out;
    FILE* pipe = popen(command.c_str(), "r");
    char buf[4096];
    size_t n;
    while (pipe && (n = fread(buf, 1, sizeof(buf), pipe)) > 0) out.append(buf, n);
    if (pipe) pclose(pipe);
    return out;
  }
  static std::string Read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  static std::optional<kwtest::TempDir> temp_;
  static std::string dir_;
};
std::optional<kwtest::TempDir> RdpubDrawing::temp_;
std::string RdpubDrawing::dir_;

TEST_F(RdpubDrawing, AMissingDrawingStartsNewAndSaveWritesItWithABackup) {
  const std::string path = dir_ + "/road.dxf";
  EXPECT_EQ(Run(path, "LIST\nSAVE\nSAVE\nQUIT\n"), "\n图形: " + path + "\n已保存。\n已保存。");
  EXPECT_EQ(Read(path).substr(0, 47), "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1015\n");
  EXPECT_EQ(Read(dir_ + "/road.bak"), Read(path));
}

TEST_F(RdpubDrawing, AnUnreadableDrawingSaysWhyAndStartsNew) {
  const std::string path = dir_ + "/bad.dxf";
  std::ofstream(path) << "0\nSECTION\n2\nENTITIES\n0\nLINE\n10\nabc\n";
  EXPECT_EQ(Run(path, "QUIT\n"), "\n无法读取图形 " + path +
                                     ": line 7: group 10 value 'abc' is not a number\n已新建图形 " +
                                     path + "。");
}

TEST_F(RdpubDrawing, ListShowsModelSpaceAndSaveAsWritesTheVersionAsked) {
  const std::string path = dir_ + "/lines.dxf";
  std::ofstream(path) << "0\nSECTION\n2\nENTITIES\n0\nLINE\n8\nRoad\n10\n1\n20\n2\n11\n3\n21\n4\n"
                         "0\nCIRCLE\n10\n0\n20\n0\n40\n2.5\n0\nENDSEC\n0\nEOF\n";
  const std::string out = dir_ + "/lines2018.dxf";
  EXPECT_EQ(Run(path, "LIST\nSAVEAS " + out + " 2018 BINARY\nSAVEAS " + out + " R12\nQUIT\n"),
            "\n图形: " + path +
                "\n3 LINE Road (1,2,0) (3,4,0)\n5 CIRCLE 0 (0,0,0) r=2.5\n另存为: \n已保存。\n"
                "另存为: \n无法保存: R12 格式只能读取, 不能写入; 请另存为 2000 或更高版本");
  EXPECT_EQ(Read(out).substr(0, 22), std::string("AutoCAD Binary DXF\r\n\x1a\0", 22));
  EXPECT_EQ(Run(out, "LIST\nQUIT\n"),
            "\n图形: " + out + "\n3 LINE Road (1,2,0) (3,4,0)\n5 CIRCLE 0 (0,0,0) r=2.5");
}

}  // namespace
