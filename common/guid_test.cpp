#include "common/guid.h"

#include <gtest/gtest.h>

#include <set>

namespace {

const GUID kSample = {0x1234ABCD, 0x00EF, 0x4A0B, {0x8C, 0x0D, 0x01, 0x02, 0x03, 0x04, 0x05, 0xFF}};

TEST(GuidTest, TextFormIsBracedUpperCase38Characters) {
  EXPECT_EQ(KWRDPub::GUIDToStr(kSample), L"{1234ABCD-00EF-4A0B-8C0D-0102030405FF}");
  EXPECT_EQ(KWRDPub::GUIDToStr(GUID_NULL), L"{00000000-0000-0000-0000-000000000000}");
}

TEST(GuidTest, ParsingAcceptsEitherCaseAndRoundTrips) {
  bool ok = false;
  EXPECT_EQ(KWRDPub::StrToGUID(L"{1234abcd-00ef-4a0b-8c0d-0102030405ff}", &ok), kSample);
  EXPECT_TRUE(ok);
  EXPECT_EQ(KWRDPub::StrToGUID(L" {1234ABCD-00EF-4A0B-8C0D-0102030405FF} "), kSample);
}

TEST(GuidTest, BadTextIsAClearFailure) {
  for (const wchar_t* bad :
       {L"", L"1234ABCD-00EF-4A0B-8C0D-0102030405FF", L"{1234ABCD-00EF-4A0B-8C0D-0102030405F}",
        L"{1234ABCD+00EF-4A0B-8C0D-0102030405FF}", L"{1234ABCD-00EF-4A0B-8C0D-0102030405FG}",
        L"{1234ABCD-00EF-4A0B-8C0D-0102030405FF}x"}) {
    bool ok = true;
    EXPECT_EQ(KWRDPub::StrToGUID(bad, &ok), GUID_NULL) << bad;
    EXPECT_FALSE(ok) << bad;
  }
  bool ok = true;
  EXPECT_EQ(KWRDPub::StrToGUID(nullptr, &ok), GUID_NULL);
  EXPECT_FALSE(ok);
}

TEST(GuidTest, FreshGuidsAreVersion4AndDistinct) {
  std::set<std::wstring> seen;
  for (int i = 0; i < 200; ++i) {
    GUID id;
    ASSERT_EQ(CoCreateGuid(&id), 0);
    EXPECT_EQ(id.Data3 >> 12, 4);
    EXPECT_EQ(id.Data4[0] & 0xC0, 0x80);
    seen.insert(KWRDPub::GUIDToStr(id));
  }
  EXPECT_EQ(seen.size(), 200u);
  EXPECT_EQ(CoCreateGuid(nullptr), -1);
}

}  // namespace
