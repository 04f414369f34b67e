#include "persist/XMLPrivateProfile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"

namespace {

class XMLPrivateProfileTest : public ::testing::Test {
 protected:
  void SetUp() override { path_ = kw::WidePath(dir_ + "/p.xml"); }

  std::string FileBytes() const {
    std::ifstream in(dir_ + "/p.xml", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  void PutFile(const std::string& bytes) const {
    std::ofstream(dir_ + "/p.xml", std::ios::binary) << bytes;
  }

  kwtest::TempDir temp_{"kwprofile"};
  std::string dir_ = temp_.path();
  std::wstring path_;
};

TEST_F(XMLPrivateProfileTest, EveryEncodingReadsBackIdentically) {
  const unsigned char block[5] = {0x00, 0x7F, 0x80, 0xAB, 0xFF};
  {
    CXMLPrivateProfile p(path_.c_str(), L"config");
    p.WriteValue(L"s", L"str", L"文本 <x>");
    p.WriteValue(L"s", L"int", -12);
    p.WriteValue(L"s", L"ulong", 4294967295ul);
    p.WriteValue(L"s", L"bool", true);
    p.WriteValue(L"s", L"plain", 0.1, 0);
    p.WriteValue(L"s", L"exact", 0.1, 1);
    p.WriteValue(L"s", L"negzero", -0.0, 1);
    p.WriteValue(L"s", L"p3", AcGePoint3d(1.5, -2, 1.0 / 3.0), 1);
    p.WriteValue(L"s", L"p2", AcGePoint2d(2.0, 0.25), 0);
    p.WriteValue(L"s", L"v3", AcGeVector3d(0, 0, 1), 0);
    p.WriteValue(L"s", L"v2", AcGeVector2d(1e-300, 7), 1);
    p.WriteValue(L"s", L"bin", block, 5);
  }
  CXMLPrivateProfile p(path_.c_str(), L"config");
  std::wstring s;
  int i = 0;
  unsigned long ul = 0;
  bool b = false;
  double plain = 0, exact = 0, negzero = 1;
  AcGePoint3d p3;
  AcGePoint2d p2;
  AcGeVector3d v3;
  AcGeVector2d v2;
  unsigned char back[5] = {};
  EXPECT_EQ(p.ReadValue(L"s", L"str", s, nullptr), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"int", i, 0), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"ulong", ul, 0ul), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"bool", b, false), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"plain", plain, 0.0), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"exact", exact, 0.0), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"negzero", negzero, 1.0), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"p3", p3), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"p2", p2), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"v3", v3), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"v2", v2), 1);
  EXPECT_EQ(p.ReadValue(L"s", L"bin", back, 5), 1);
  EXPECT_EQ(s, L"文本 <x>");
  EXPECT_EQ(i, -12);
  EXPECT_EQ(ul, 4294967295ul);
  EXPECT_TRUE(b);
  EXPECT_EQ(plain, 0.1);
  EXPECT_EQ(exact, 0.1);
  EXPECT_TRUE(negzero == 0.0 && std::signbit(negzero));
  EXPECT_EQ(p3, AcGePoint3d(1.5, -2, 1.0 / 3.0));
  EXPECT_EQ(p2, AcGePoint2d(2.0, 0.25));
  EXPECT_EQ(v3, AcGeVector3d(0, 0, 1));
  EXPECT_EQ(v2, AcGeVector2d(1e-300, 7));
  EXPECT_EQ(std::memcmp(back, block, 5), 0);
}

TEST_F(XMLPrivateProfileTest, TextFormsAreExact) {
  EXPECT_EQ(CXMLPrivateProfile::FormatDouble(1.5, false), L"1.5");
  EXPECT_EQ(CXMLPrivateProfile::FormatDouble(2.0, false), L"2");
  EXPECT_EQ(CXMLPrivateProfile::FormatDouble(0.0, false), L"0");
  EXPECT_EQ(CXMLPrivateProfile::FormatDouble(-0.25, false), L"-0.25");
  EXPECT_EQ(CXMLPrivateProfile::FormatDouble(1.0 / 3.0, false), L"0.3333333333");
  EXPECT_EQ(CXMLPrivateProfile::FormatDouble(1.0, true), L"0x000000000000F03F");
  EXPECT_EQ(CXMLPrivateProfile::ParseDouble(L"0x000000000000f03f"), 1.0);
  EXPECT_EQ(CXMLPrivateProfile::ParseDouble(L"0x00"), 0.0);  // short: missing bytes are 0
  EXPECT_EQ(CXMLPrivateProfile::ParseDouble(L" 2.5abc"), 2.5);

  const unsigned char bytes[2] = {0x0A, 0xF0};
  {
    CXMLPrivateProfile p(path_.c_str(), L"config");
    p.WriteValue(L"a\\b", L"@id", 7);
    p.WriteValue(L"a/b", L"id", L"x");
    p.WriteValue(L"a/b", L"bin", bytes, 2);
    p.WriteValue(L"", L"top", 1.25, 0);
  }
  EXPECT_EQ(FileBytes(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n  <a>\n    <b id=\"7\">\n"
            "      <id>x</id>\n      <bin>0x0AF0</bin>\n    </b>\n  </a>\n"
            "  <top>1.25</top>\n</config>\n");
  CXMLPrivateProfile p(path_.c_str(), L"config");
  std::vector<std::wstring> keys;
  p.GetAllKey(L"a\\b", keys);
  EXPECT_EQ(keys, (std::vector<std::wstring>{L"@id", L"id", L"bin"}));
  p.GetAllKey(nullptr, keys);
  EXPECT_EQ(keys, (std::vector<std::wstring>{L"a", L"top"}));
  unsigned char small[1] = {0};
  EXPECT_EQ(p.ReadValue(L"a/b", L"bin", small, 1), 1);
  EXPECT_EQ(small[0], 0x0A);
  EXPECT_EQ(p.ReadValue(L"a/b", L"id", small, 1), 0);  // no "0x": not a block
}

TEST_F(XMLPrivateProfileTest, MissingOrEmptyValuesGiveDefaults) {
  PutFile("<config><s><empty></empty><blank/></s></config>");
  CXMLPrivateProfile p(path_.c_str(), L"config");
  int i = 1;
  double d = 1;
  std::wstring s = L"old";
  AcGePoint3d pt(1, 2, 3);
  EXPECT_EQ(p.ReadValue(L"s", L"empty", i, 9), 0);
  EXPECT_EQ(i, 9);
  EXPECT_EQ(p.ReadValue(L"s", L"blank", d, 2.5), 0);
  EXPECT_EQ(d, 2.5);
  EXPECT_EQ(p.ReadValue(L"s", L"empty", s, L"dflt"), 0);
  EXPECT_EQ(s, L"dflt");
  EXPECT_EQ(p.ReadValue(L"nosection", L"k", s, nullptr), 0);
  EXPECT_EQ(s, L"");
  EXPECT_EQ(p.ReadValue(L"s", L"missing", pt), 0);
  EXPECT_EQ(pt, AcGePoint3d(1, 2, 3));
  CXMLPrivateProfile none((kw::WidePath(dir_) + L"/none.xml").c_str(), L"config");
  EXPECT_EQ(none.ReadValue(L"s", L"k", i, 4), 0);
  EXPECT_EQ(i, 4);
}

TEST_F(XMLPrivateProfileTest, ModesSwitchBySavingOrReloading) {
  CXMLPrivateProfile p(path_.c_str(), L"config");
  p.WriteValue(L"s", L"a", 1);
  EXPECT_FALSE(kw::FileExists(path_));  // not before the document is closed
  int v = 0;
  EXPECT_EQ(p.ReadValue(L"s", L"a", v, 0), 1);  // the read saved first
  EXPECT_EQ(v, 1);
  p.WriteValue(L"s", L"b", 2);  // reloads: "a" survives
  p.Close();
  CXMLPrivateProfile q(path_.c_str(), L"config");
  EXPECT_EQ(q.ReadValue(L"s", L"a", v, 0), 1);
  EXPECT_EQ(v, 1);
  q.RemoveKey(L"s", L"a");
  q.WriteValue(L"t", L"@x", 3);
  q.RemoveKey(L"t", L"@x");
  q.RemoveSection(L"missing");
  q.Close();
  EXPECT_EQ(FileBytes(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n  <s>\n    <b>2</b>\n  </s>\n"
            "  <t/>\n</config>\n");
  q.RemoveSection(L"s");
  q.Close();
  EXPECT_EQ(FileBytes(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n  <t/>\n</config>\n");
}

TEST_F(XMLPrivateProfileTest, DamagedFilesAreNeverOverwritten) {
  const std::string damaged = "<config><s><a>1</a></s>";  // unterminated
  const std::string foreign = "<other><s><a>1</a></s></other>";
  for (const std::string& bytes : {damaged, foreign}) {
    PutFile(bytes);
    {
      CXMLPrivateProfile p(path_.c_str(), L"config");
      int v = 5;
      EXPECT_EQ(p.ReadValue(L"s", L"a", v, 9), 0);
      EXPECT_EQ(v, 9);
      p.WriteValue(L"s", L"a", 2);
      EXPECT_FALSE(p.Close());  // the write was dropped
      p.RemoveSection(L"s");
      EXPECT_FALSE(p.Close());
      EXPECT_TRUE(p.Close());  // nothing changed since
    }
    EXPECT_EQ(FileBytes(), bytes);
  }
}

// The encoding named by the file's declaration (a UTF-16 file starts with its byte order mark).
std::string DeclaredEncoding(const std::string& bytes) {
  std::string text = bytes.starts_with("\xFF\xFE")
                         ? kw::ToUtf8(kw::FromUtf16LEBytes(bytes.data() + 2, bytes.size() - 2))
                         : bytes;
  size_t at = text.find("encoding=\"");
  if (at == std::string::npos) return "";
  at += 10;
  return text.substr(at, text.find('"', at) - at);
}

// A name the declared encoding cannot hold is written as a character reference by the XML
// writer, which no reader accepts in a name: the file is written in UTF-8 instead. A name the
// encoding holds keeps the file in its encoding.
TEST_F(XMLPrivateProfileTest, EveryDeclaredEncodingKeepsTheFileLoadable) {
  struct Case {
    const char* encoding;
    bool holdsGerman;   // "Größe"
    bool holdsChinese;  // "宽度"
  };
  const Case cases[] = {{"UTF-8", true, true},       {"UTF-16", true, true},
                        {"ISO-8859-1", true, false}, {"windows-1252", true, false},
                        {"US-ASCII", false, false},  {"GBK", false, true},
                        {"GB2312", false, true},     {"GB18030", true, true}};
  const std::string body = "<config><Road><W>1</W></Road></config>\n";
  for (const Case& c : cases) {
    for (const wchar_t* name : {L"Größe", L"宽度"}) {
      SCOPED_TRACE(std::string(c.encoding) + " " + kw::ToUtf8(name));
      const std::string head =
          "<?xml version=\"1.0\" encoding=\"" + std::string(c.encoding) + "\"?>\n";
      PutFile(std::string(c.encoding) == "UTF-16"
                  ? "\xFF\xFE" + kw::ToUtf16LEBytes(kw::FromUtf8(head + body))
                  : head + body);
      {
        CXMLPrivateProfile p(path_.c_str(), L"config");
        p.WriteValue(L"Road", name, L"wert 值");
        EXPECT_TRUE(p.Close());
      }
      const bool holds = name[0] == L'G' ? c.holdsGerman : c.holdsChinese;
      EXPECT_EQ(DeclaredEncoding(FileBytes()), holds ? c.encoding : "UTF-8");
      CXMLPrivateProfile p(path_.c_str(), L"config");
      std::wstring value;
      int w = 0;
      EXPECT_EQ(p.ReadValue(L"Road", name, value, nullptr), 1);
      EXPECT_EQ(value, L"wert 值");
      EXPECT_EQ(p.ReadValue(L"Road", L"W", w, 0), 1);
      EXPECT_EQ(w, 1);
    }
  }
}

TEST_F(XMLPrivateProfileTest, FailedSaveKeepsThePreviousFile) {
  {
    CXMLPrivateProfile p(path_.c_str(), L"config");
    p.WriteValue(L"s", L"a", 1);
  }
  std::string before = FileBytes();
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  {
    CXMLPrivateProfile p(path_.c_str(), L"config");
    p.WriteValue(L"s", L"a", 2);
    EXPECT_FALSE(p.Close());
    p.WriteValue(L"s", L"a", 3);
    int v = 0;
    EXPECT_EQ(p.ReadValue(L"s", L"a", v, 0), 1);  // the save before the read failed
    EXPECT_EQ(v, 1);
    EXPECT_FALSE(p.Close());
    p.WriteValue(L"s", L"bad name", 4);
    faulty.Reset();
    EXPECT_FALSE(p.Close());  // not an XML name
  }
  EXPECT_EQ(FileBytes(), before);
  faulty.FailWrites();
  faulty.Reset();
  faulty.FailReads();
  CXMLPrivateProfile p(path_.c_str(), L"config");
  int v = 0;
  EXPECT_EQ(p.ReadValue(L"s", L"a", v, 3), 0);
  EXPECT_EQ(v, 3);
}

}  // namespace
