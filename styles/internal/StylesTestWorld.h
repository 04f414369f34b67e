// The world of the styles tests: a fresh host session with one new drawing, an empty project
// folder (the current project) and no text style library, arranged before each test and
// cleared after it. Only the tests include this header; StylesTestWorld_test.cpp defines it.
#ifndef KW_STYLES_INTERNAL_STYLESTESTWORLD_H_
#define KW_STYLES_INTERNAL_STYLESTESTWORLD_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "common/testing/TempDir.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"

class StylesWorld : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  std::string StylesFile() const { return dir_ + "/Styles/TextStyles.xml"; }
  static void WriteBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
  }
  static std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  // The current drawing's database.
  static AcDbDatabase* Db();
  // Adds a text style to the current drawing (a typeface: bold, charset 134, pitch 2); its id.
  static AcDbObjectId AddTextStyle(const wchar_t* name, const wchar_t* file,
                                   const wchar_t* bigFont = L"", const wchar_t* typeface = nullptr);

  const kwtest::TempDir temp_{"kwstyles"};
  // The project folder.
  const std::string dir_ = temp_.path();
};

#endif  // KW_STYLES_INTERNAL_STYLESTESTWORLD_H_
