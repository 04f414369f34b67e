#include "persist/KWXMLDOM.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "common/fileio.h"
#include "common/testing/TempDir.h"

namespace {

const wchar_t kTemplate[] =
    L"<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<TextStyles>\n</TextStyles>\n";

class KWXMLDOMDocumentTest : public ::testing::Test {
 protected:
  void SetUp() override { path_ = kw::WidePath(dir_ + "/TextStyles.xml"); }
  std::string FileBytes() const {
    std::ifstream in(kw::NativePath(path_), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  static void AppendChildNode(IKWXMLDOMDocument& doc, IKWXMLDOMNode parent, const wchar_t* name,
                              const wchar_t* text) {
    IKWXMLDOMElement child = doc.createElement(name);
    child.SetText(text);
    parent.appendChild(child);
  }

  kwtest::TempDir temp_{"kwdom"};
  std::string dir_ = temp_.path();
  std::wstring path_;
};

TEST_F(KWXMLDOMDocumentTest, Gb2312TextStylesRoundTrip) {
  IKWXMLDOMDocument doc;
  ASSERT_TRUE(doc.CreateDispatch());
  ASSERT_TRUE(doc.loadXML(kTemplate));
  IKWXMLDOMElement root = doc.GetDocumentElement();
  ASSERT_EQ(root.GetTagName(), L"TextStyles");
  IKWXMLDOMElement style = doc.createElement(L"TextStyle");
  root.appendChild(style);
  style.setAttribute(L"Name", L"KWStandard");
  style.setAttribute(L"MapStyle", L"");
  style.setAttribute(L"AutoRestore", L"1");
  AppendChildNode(doc, style, L"TypeFace", L"楷体_GB2312");
  AppendChildNode(doc, style, L"PriorSize", L"149.394309");
  ASSERT_TRUE(doc.save(path_.c_str()));

  const std::string expected =
      "<?xml version=\"1.0\" encoding=\"GB2312\"?>\n<TextStyles>\n"
      "  <TextStyle Name=\"KWStandard\" MapStyle=\"\" AutoRestore=\"1\">\n"
      "    <TypeFace>\xbf\xac\xcc\xe5_GB2312</TypeFace>\n"  // 楷体 in GBK
      "    <PriorSize>149.394309</PriorSize>\n  </TextStyle>\n</TextStyles>\n";
  EXPECT_EQ(FileBytes(), expected);

  IKWXMLDOMDocument again;
  ASSERT_TRUE(again.CreateDispatch(L"Msxml.DOMDocument"));
  ASSERT_TRUE(again.load(path_.c_str()));
  IKWXMLDOMNode found =
      again.GetDocumentElement().selectSingleNode(L"TextStyle[@Name='KWStandard']");
  ASSERT_FALSE(found.IsEmpty());
  EXPECT_EQ(found.selectSingleNode(L"TypeFace").GetText(), L"楷体_GB2312");
  IKWXMLDOMElement element(found);
  EXPECT_EQ(element.getAttribute(L"AutoRestore"), L"1");
  EXPECT_EQ(element.getAttribute(L"Missing"), std::nullopt);
  IKWXMLDOMNamedNodeMap attrs = element.GetAttributes();
  EXPECT_EQ(attrs.GetLength(), 3);
  EXPECT_EQ(attrs.GetItem(1).GetNodeName(), L"MapStyle");
  EXPECT_EQ(attrs.nextNode().GetNodeName(), L"Name");
  // Saved again untouched: the same bytes.
  ASSERT_TRUE(again.save(path_.c_str()));
  EXPECT_EQ(FileBytes(), expected);
}

TEST_F(KWXMLDOMDocumentTest, HostileDocumentsDoNotLoad) {
  IKWXMLDOMDocument doc;
  ASSERT_TRUE(doc.CreateDispatch());
  ASSERT_TRUE(doc.loadXML(L"<ok/>"));
  doc.SetResolveExternals(1);
  EXPECT_FALSE(doc.loadXML(L"<!DOCTYPE r [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><r>&x;</r>"));
  EXPECT_NE(doc.GetParseError(), 0);
  EXPECT_FALSE(doc.load((kw::WidePath(dir_) + L"/none.xml").c_str()));
  EXPECT_EQ(doc.GetDocumentElement().GetTagName(), L"ok");
  EXPECT_FALSE(IKWXMLDOMDocument().loadXML(L"<r/>"));  // no object
  EXPECT_FALSE(IKWXMLDOMDocument().CreateDispatch(L"Other.Class"));
}

}  // namespace
