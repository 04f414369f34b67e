// The world of the line style tests: a fresh host session with one new drawing, the current
// project in a folder of its own (named after the test) and no line style collection, arranged
// before each test; each test group shares one self-removing temporary folder for its projects.
// Only the tests include this header; LineStyleTestWorld_test.cpp defines it.
#ifndef KW_STYLES_INTERNAL_LINESTYLETESTWORLD_H_
#define KW_STYLES_INTERNAL_LINESTYLETESTWORLD_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/testing/TempDir.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "styles/LineStyleCollection.h"

class LineStyleWorld : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void SetUp() override;
  void TearDown() override;

  // The project's collection file, Styles/LineTypes.xml.
  std::filesystem::path File() const { return m_project / "Styles" / "LineTypes.xml"; }
  // Writes a collection file holding `items` inside its LineTypes section.
  static void WriteCollection(const std::string& items, const std::filesystem::path& path);
  void WriteCollection(const std::string& items) const { WriteCollection(items, File()); }
  static CLineStyleCollection* Lines() { return CLineStyleCollection::GetInstance(); }
  // The collection's names in its listing order.
  static std::vector<std::wstring> Names();

  // The whole file; empty when it cannot be read.
  static std::string ReadBytes(const std::filesystem::path& path);
  // Writes the file, making its folders first.
  static void WriteBytes(const std::filesystem::path& path, const std::string& bytes);
  // The current drawing's linetype record of that name; null when there is none.
  static AcDbObjectId LinetypeId(const wchar_t* name);
  // The name of a text style record, "shx:<file>" for a shape file, "<none>" when it cannot
  // be opened.
  static std::wstring TextStyleName(AcDbObjectId id);
  // A definition of n dashes with every list consistent.
  static CLineStyle Plain(const wchar_t* name, int n);

  // Runs `read` on the linetype record `name` of the current drawing (opened for read).
  template <class Read>
  static void WithLinetype(const wchar_t* name, Read read) {
    AcDbLinetypeTableRecord* record = nullptr;
    ASSERT_EQ(acdbOpenObject(record, LinetypeId(name), AcDb::kForRead), Acad::eOk) << name;
    read(*record);
    record->close();
  }

  std::filesystem::path m_project;

 private:
  static inline std::optional<kwtest::TempDir> s_temp;
};

#endif  // KW_STYLES_INTERNAL_LINESTYLETESTWORLD_H_
