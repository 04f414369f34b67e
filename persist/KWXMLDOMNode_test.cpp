#include <gtest/gtest.h>

#include "persist/KWXMLDOM.h"

namespace {

TEST(KWXMLDOMNode, TreeEditsKeepWrappersValid) {
  IKWXMLDOMDocument doc;
  ASSERT_TRUE(doc.CreateDispatch());
  ASSERT_TRUE(doc.loadXML(L"<r><a>1</a><b>2</b></r>"));
  IKWXMLDOMElement root = doc.GetDocumentElement();
  IKWXMLDOMNode a = root.GetFirstChild();
  IKWXMLDOMNode text = a.GetFirstChild();
  EXPECT_EQ(text.GetNodeType(), KWNODE_TEXT);
  EXPECT_EQ(text.GetNodeValue(), L"1");
  EXPECT_FALSE(root.removeChild(a).IsEmpty());
  EXPECT_EQ(a.GetText(), L"1");  // detached, still usable
  IKWXMLDOMNode t2 = doc.createTextNode(L"x&y");
  root.appendChild(t2);
  root.appendChild(doc.createTextNode(L"z"));  // not merged: both wrappers stay valid
  EXPECT_EQ(t2.GetNodeValue(), L"x&y");
  EXPECT_TRUE(root.appendChild(root).IsEmpty());                  // a node cannot contain itself
  EXPECT_TRUE(root.GetFirstChild().appendChild(root).IsEmpty());  // nor its ancestor
  EXPECT_TRUE(doc.appendChild(doc.createElement(L"second")).IsEmpty());
  IKWXMLDOMNode clone = root.cloneNode(1);
  root.replaceChild(a, root.GetFirstChild());
  EXPECT_EQ(root.GetXml(), L"<r><a>1</a>x&amp;yz</r>");
  EXPECT_EQ(clone.GetXml(), L"<r><b>2</b>x&amp;yz</r>");
  root.SetText(L"only");
  EXPECT_EQ(a.GetText(), L"1");
  EXPECT_EQ(doc.GetXml(), L"<?xml version=\"1.0\"?>\n<r>only</r>\n");
  IKWXMLDOMDocument other;
  other.CreateDispatch();
  other.loadXML(L"<o/>");
  EXPECT_TRUE(other.GetDocumentElement().appendChild(a).IsEmpty());  // another document's node
  // Reloading keeps old wrappers alive.
  ASSERT_TRUE(doc.loadXML(L"<n/>"));
  EXPECT_EQ(root.GetXml(), L"<r>only</r>");
  EXPECT_EQ(doc.GetDocumentElement().GetTagName(), L"n");
}

// replaceChild either swaps the two nodes or changes nothing.
TEST(KWXMLDOMNode, ReplaceChildIsAllOrNothing) {
  IKWXMLDOMDocument doc;
  ASSERT_TRUE(doc.CreateDispatch());
  ASSERT_TRUE(doc.loadXML(L"<r k=\"1\" m=\"2\"><a/><b/><c/></r>"));
  IKWXMLDOMElement root = doc.GetDocumentElement();
  IKWXMLDOMNode a = root.GetFirstChild();
  IKWXMLDOMNode b = a.GetNextSibling();
  // The new child is the old child's next sibling.
  EXPECT_TRUE(root.replaceChild(b, a).IsSameNode(a));
  EXPECT_EQ(root.GetXml(), L"<r k=\"1\" m=\"2\"><b/><c/></r>");
  // An attribute is not a child: nothing changes.
  IKWXMLDOMNode k = root.GetAttributes().getNamedItem(L"k");
  EXPECT_TRUE(root.replaceChild(doc.createElement(L"x"), k).IsEmpty());
  EXPECT_EQ(root.GetXml(), L"<r k=\"1\" m=\"2\"><b/><c/></r>");
  // A refused insertion leaves the old child in its place.
  EXPECT_TRUE(doc.replaceChild(doc.createTextNode(L"t"), root).IsEmpty());
  EXPECT_TRUE(doc.GetDocumentElement().IsSameNode(root));
  // An empty wrapper does nothing.
  IKWXMLDOMNode floating = doc.createElement(L"f");
  EXPECT_TRUE(IKWXMLDOMNode().replaceChild(b, floating).IsEmpty());
}

}  // namespace
