#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "persist/KWXMLDOM.h"

namespace {

// The elements by their attribute "i".
std::vector<std::wstring> Ids(const std::vector<IKWXMLDOMNode>& nodes) {
  std::vector<std::wstring> ids;
  for (const IKWXMLDOMNode& node : nodes) {
    ids.push_back(IKWXMLDOMElement(node).getAttribute(L"i").value_or(L"-"));
  }
  return ids;
}

// The document and element forms share one search: descendants in document order, by qualified
// name, the element itself excluded.
TEST(KWXMLDOMElement, GetElementsByTagNameFindsDescendantsByExactName) {
  IKWXMLDOMDocument doc;
  ASSERT_TRUE(doc.CreateDispatch());
  ASSERT_TRUE(
      doc.loadXML(L"<r i=\"0\" xmlns:p=\"urn:p\"><a i=\"1\"><b i=\"2\"/><a i=\"3\"/></a>"
                  L"<p:a i=\"4\"/><b i=\"5\"/></r>"));
  IKWXMLDOMElement root = doc.GetDocumentElement();
  IKWXMLDOMElement first(root.GetFirstChild());
  using Names = std::vector<std::wstring>;
  EXPECT_EQ(Ids(doc.getElementsByTagName(L"a")), (Names{L"1", L"3"}));
  EXPECT_EQ(Ids(root.getElementsByTagName(L"a")), (Names{L"1", L"3"}));
  EXPECT_EQ(Ids(first.getElementsByTagName(L"a")), (Names{L"3"}));
  EXPECT_EQ(Ids(doc.getElementsByTagName(L"p:a")), (Names{L"4"}));
  EXPECT_EQ(Ids(doc.getElementsByTagName(L"*")), (Names{L"0", L"1", L"2", L"3", L"4", L"5"}));
  EXPECT_EQ(Ids(root.getElementsByTagName(L"*")), (Names{L"1", L"2", L"3", L"4", L"5"}));
  EXPECT_TRUE(doc.getElementsByTagName(nullptr).empty());
  EXPECT_TRUE(IKWXMLDOMDocument().getElementsByTagName(L"a").empty());
}

// A name is compared, never run as a query: quotes in it cannot widen the search.
TEST(KWXMLDOMElement, GetElementsByTagNameTakesQuotesAsPartOfTheName) {
  IKWXMLDOMDocument doc;
  ASSERT_TRUE(doc.CreateDispatch());
  ASSERT_TRUE(doc.loadXML(L"<r><a i=\"1\"/><b i=\"2\"/></r>"));
  const wchar_t* injected = L"a'] | //*[name()='b";
  EXPECT_TRUE(doc.getElementsByTagName(injected).empty());
  EXPECT_TRUE(doc.GetDocumentElement().getElementsByTagName(injected).empty());
  EXPECT_TRUE(doc.getElementsByTagName(L"a'").empty());
}

}  // namespace
