#include "persist/RoadObjectXML.h"

#include <gtest/gtest.h>

#include <fstream>

#include "common/fileio.h"
#include "common/testing/TempDir.h"

namespace {

using KWCommonUtils::CRoadObjectXML;
using KWCommonUtils::CRoadObjectXMLManager;

// An example object of a module: a typical cross section with values of its own.
class CSection : public CRoadObjectXML {
 public:
  void DoPropExchange(CXTPPropExchange* px) override {
    CRoadObjectXML::DoPropExchange(px);
    PX_Double(px, L"width", m_width, 3.75);
    PX_Int(px, L"lanes", m_lanes, 2);
    PX_Bool(px, L"paved", m_paved, true);
  }
  double m_width = 3.75;
  int m_lanes = 2;
  bool m_paved = true;
};

class CSectionManager : public CRoadObjectXMLManager {
 public:
  explicit CSectionManager(std::wstring folder) : m_folder(std::move(folder)) {}
  std::wstring FileName() const override { return L"Sections.xml"; }
  std::wstring FolderPath() const override { return m_folder; }
  std::wstring CollectionNode() const override { return L"Sections"; }
  std::wstring ItemNode() const override { return L"Section"; }
  CSection* Add(const wchar_t* name, double width) {
    auto* s = new CSection;
    s->CreateGUID();
    s->SetName(name);
    s->m_width = width;
    CRoadObjectManager::Add(s);
    return s;
  }
  CSection* At(int i) const { return static_cast<CSection*>(Item(i)); }

 protected:
  CRoadObjectXML* LoadRoadObject(CXTPPropExchange* node) override {
    auto* s = new CSection;
    s->DoPropExchange(node);
    return s;
  }

 private:
  std::wstring m_folder;
};

class RoadObjectXMLTest : public ::testing::Test {
 protected:
  std::wstring Folder() const { return kw::WidePath(dir_ + "/sub"); }
  kwtest::TempDir temp_{"kwstore"};
  std::string dir_ = temp_.path();
};

TEST_F(RoadObjectXMLTest, ExportImportKeepsOrderIdsValuesAndDefault) {
  CSectionManager out(Folder());
  out.Add(L"A", 3.5);
  out.Add(L"B", 1.0 / 3.0)->SetDesc(L"说明 & <x>");
  out.Add(L"C", 7);
  out.SetDefaultItem(1);
  ASSERT_TRUE(out.ExportXML());
  EXPECT_EQ(out.FileFullPath(nullptr), out.FileFullPath(L"other"));

  CSectionManager in(Folder());
  in.Add(L"stale", 1);
  ASSERT_TRUE(in.ImportXML());
  ASSERT_EQ(in.Count(), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(in.At(i)->ID(), out.At(i)->ID());
    EXPECT_EQ(in.At(i)->Name(), out.At(i)->Name());
    EXPECT_EQ(in.At(i)->m_width, out.At(i)->m_width);
  }
  EXPECT_EQ(in.At(1)->Desc(), L"说明 & <x>");
  EXPECT_EQ(in.GetDefaultItem(), 1);
  EXPECT_EQ(in.DefaultItem(), in.At(1));

  EXPECT_EQ(out.SaveXMLString({}, nullptr),
            L"<?xml version=\"1.0\"?>\n<kwrd>\n  <Sections>\n    <default>1</default>\n"
            L"    <Section guid=\"" +
                KWRDPub::GUIDToStr(out.At(0)->ID()) +
                L"\" name=\"A\" desc=\"\" width=\"3.5\" lanes=\"2\" paved=\"1\"/>\n"
                L"    <Section guid=\"" +
                KWRDPub::GUIDToStr(out.At(1)->ID()) +
                L"\" name=\"B\" desc=\"说明 &amp; &lt;x&gt;\" width=\"0.3333333333333333\" "
                L"lanes=\"2\" paved=\"1\"/>\n"
                L"    <Section guid=\"" +
                KWRDPub::GUIDToStr(out.At(2)->ID()) +
                L"\" name=\"C\" desc=\"\" width=\"7\" lanes=\"2\" paved=\"1\"/>\n"
                L"  </Sections>\n</kwrd>\n");
}

TEST_F(RoadObjectXMLTest, LoadingMergesByIdAndFiltersByName) {
  CSectionManager src(Folder());
  src.Add(L"A", 1);
  src.Add(L"B", 2);
  src.Add(L"C", 3);
  const std::wstring text = src.SaveXMLString({}, nullptr);

  CSectionManager filtered(Folder());
  ASSERT_TRUE(filtered.LoadXMLString(text.c_str(), {L"x", L"b"}, nullptr, false));
  ASSERT_EQ(filtered.Count(), 1);
  EXPECT_EQ(filtered.At(0)->Name(), L"B");

  CSectionManager twice(Folder());
  ASSERT_TRUE(twice.LoadXMLString(text.c_str(), {}, nullptr, false));
  ASSERT_TRUE(twice.LoadXMLString(text.c_str(), {}, nullptr, false));
  ASSERT_EQ(twice.Count(), 6);
  EXPECT_EQ(twice.At(3)->Name(), L"A");
  EXPECT_NE(twice.At(3)->ID(), twice.At(0)->ID());  // the copies got fresh ids

  CSectionManager replaced(Folder());
  ASSERT_TRUE(replaced.LoadXMLString(text.c_str(), {}, nullptr, true));
  CSection* first = replaced.At(0);
  first->m_width = 99;
  ASSERT_TRUE(replaced.LoadXMLString(text.c_str(), {}, nullptr, true));
  ASSERT_EQ(replaced.Count(), 3);
  EXPECT_EQ(replaced.At(0)->m_width, 1);  // a new instance with the document's values
  EXPECT_EQ(replaced.At(0)->ID(), src.At(0)->ID());

  // A "default" beyond the list leaves the default as it was.
  CSectionManager bad(Folder());
  bad.SetDefaultItem(src.At(2)->ID());
  std::wstring seven = text;
  seven.replace(seven.find(L"<default>-1</default>"), 21, L"<default>7</default>");
  ASSERT_TRUE(bad.LoadXMLString(seven.c_str(), {}, nullptr, false));
  EXPECT_EQ(bad.GetDefaultItem(), 2);
  EXPECT_FALSE(bad.LoadXMLString(L"<other/>", {}, nullptr, false));
  EXPECT_FALSE(bad.LoadXMLFile(L"/nonexistent/x.xml", {}, nullptr, false));
}

TEST_F(RoadObjectXMLTest, SavingUpdatesItemsInPlaceByGuid) {
  CSectionManager m(Folder());
  m.Add(L"A", 1);
  m.Add(L"B", 2);
  // The same object twice in the list: one element, rewritten the second time.
  CRoadObjectXMLManager::NameList names = {L"B", L"A", L"b"};
  std::wstring text = m.SaveXMLString(names, nullptr);
  EXPECT_EQ(text.find(L"name=\"B\""), text.rfind(L"name=\"B\""));
  EXPECT_LT(text.find(L"name=\"B\""), text.find(L"name=\"A\""));
}

TEST_F(RoadObjectXMLTest, RemoveFromFileAndItsEarlyReturn) {
  CSectionManager m(Folder());
  m.Add(L"A", 1);
  m.Add(L"B", 2);
  ASSERT_TRUE(m.ExportXML());
  m.Remove(0, true, true);
  ASSERT_EQ(m.Count(), 1);
  CSectionManager check(Folder());
  ASSERT_TRUE(check.ImportXML());
  ASSERT_EQ(check.Count(), 1);
  EXPECT_EQ(check.At(0)->Name(), L"B");

  const std::string path = kw::NativePath(m.FileFullPath(nullptr));
  std::ofstream(path, std::ios::binary) << "<kwrd><Sections>";  // damaged
  m.Remove(0, true, true);
  EXPECT_EQ(m.Count(), 1);  // nothing happened
  m.Remove(5, true, true);
  EXPECT_EQ(m.Count(), 1);
  EXPECT_FALSE(check.ImportXML());
  EXPECT_EQ(check.Count(), 0);
}

TEST_F(RoadObjectXMLTest, SingleObjectText) {
  CSection s;
  s.CreateGUID();
  s.SetName(L"N");
  s.m_lanes = 4;
  std::wstring xml = s.SaveXML();
  CSection back;
  ASSERT_TRUE(back.LoadXML(xml.c_str()));
  EXPECT_EQ(back.ID(), s.ID());
  EXPECT_EQ(back.m_lanes, 4);
  EXPECT_FALSE(back.LoadXML(L"<nope/>"));
}

}  // namespace
