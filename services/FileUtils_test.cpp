// File titles and number text.
#include "services/FileUtils.h"

#include <gtest/gtest.h>

namespace {

TEST(FileUtilsTest, FileTitleCutsFolderAndLastExtension) {
  EXPECT_EQ(FileUtils::GetFileTitle(L"/prj/blocks/井盖.v2.dxf"), L"井盖.v2");
  EXPECT_EQ(FileUtils::GetFileTitle(L"C:\\prj\\road"), L"road");
  EXPECT_EQ(FileUtils::GetFileTitle(L"/prj.d/road"), L"road");
  EXPECT_EQ(FileUtils::GetFileTitle(nullptr), L"");
}

TEST(FileUtilsTest, FormatStringKeepsAtMostTheGivenDecimals) {
  EXPECT_EQ(KWRDPub::FormatString(1.5, 6, false), L"1.5");
  EXPECT_EQ(KWRDPub::FormatString(2.0, 6, false), L"2");
  EXPECT_EQ(KWRDPub::FormatString(2.9999999, 6, false), L"3");  // within 1e-6 of 3
  EXPECT_EQ(KWRDPub::FormatString(2.999999, 6, false), L"2.999999");
  EXPECT_EQ(KWRDPub::FormatString(0.123456789, -1, false), L"0.123457");
  EXPECT_EQ(KWRDPub::FormatString(-0.0000001, 6, false), L"0");
  EXPECT_EQ(KWRDPub::FormatString(1.25, 3, true), L"1.250");
  EXPECT_EQ(KWRDPub::FormatString(10.0, 0, false), L"10");
}

TEST(FileUtilsTest, FormatStringRoundsAndWritesAsPrintfDoes) {
  EXPECT_EQ(KWRDPub::FormatString(0.125, 2, false), L"0.12");  // exact halves go to even
  EXPECT_EQ(KWRDPub::FormatString(2.5, 0, false), L"2");
  EXPECT_EQ(KWRDPub::FormatString(-1.5, 0, false), L"-2");
  EXPECT_EQ(KWRDPub::FormatString(1e20, 6, false), L"100000000000000000000");
  EXPECT_EQ(KWRDPub::FormatString(-1.7976931348623157e308, 2, true).size(), 313u);
  EXPECT_EQ(KWRDPub::FormatString(0.1, 30, true), L"0.10000000000000000555");  // 20 at most
  EXPECT_EQ(KWRDPub::FormatString(-6.35, 6, false), L"-6.35");
}

}  // namespace
