#include "persist/XTPPropExchange.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

std::wstring Repeat(const std::wstring& piece, int times) {
  std::wstring out;
  for (int i = 0; i < times; ++i) out += piece;
  return out;
}

TEST(XTPPropExchange, StoresValuesAsElementsOrAttributesAndReadsThemBack) {
  CXTPPropExchangeXMLNode store(false, L"kwrd");
  auto plain = store.GetSection(L"Plain");
  std::wstring s = L"a<b>&\"c\" 中文";
  int i = -42;
  double d = 0.1;
  bool b = true;
  PX_String(plain.get(), L"S", s);
  PX_Int(plain.get(), L"I", i);
  PX_Double(plain.get(), L"D", d);
  PX_Bool(plain.get(), L"B", b);
  auto compact = store.GetSection(L"Compact");
  compact->SetCompactMode(true);
  PX_String(compact.get(), L"S", s);
  PX_Int(compact.get(), L"I", i);

  std::wstring xml = store.GetXML(false);
  EXPECT_EQ(xml,
            L"<?xml version=\"1.0\"?>\n<kwrd><Plain><S>a&lt;b&gt;&amp;\"c\" 中文</S><I>-42</I>"
            L"<D>0.1</D><B>1</B></Plain><Compact S=\"a&lt;b&gt;&amp;&quot;c&quot; 中文\" "
            L"I=\"-42\"/></kwrd>\n");

  CXTPPropExchangeXMLNode load(true, L"kwrd");
  ASSERT_TRUE(load.LoadFromString(xml.c_str()));
  auto lp = load.GetSection(L"Plain");
  std::wstring s2;
  int i2 = 0;
  double d2 = 0;
  bool b2 = false;
  EXPECT_TRUE(PX_String(lp.get(), L"S", s2));
  EXPECT_TRUE(PX_Int(lp.get(), L"I", i2));
  EXPECT_TRUE(PX_Double(lp.get(), L"D", d2));
  EXPECT_TRUE(PX_Bool(lp.get(), L"B", b2));
  EXPECT_EQ(s2, s);
  EXPECT_EQ(i2, -42);
  EXPECT_EQ(d2, 0.1);
  EXPECT_TRUE(b2);
  // Element mode does not see attributes, and missing values take their defaults.
  auto lc = load.GetSection(L"Compact");
  EXPECT_FALSE(PX_Int(lc.get(), L"I", i2, 7));
  EXPECT_EQ(i2, 7);
  lc->SetCompactMode(true);
  EXPECT_TRUE(PX_Int(lc.get(), L"I", i2, 7));
  EXPECT_EQ(i2, -42);
  EXPECT_FALSE(PX_String(lc.get(), L"Missing", s2, L"dflt"));
  EXPECT_EQ(s2, L"dflt");
}

TEST(XTPPropExchange, DoublesKeepEveryBit) {
  for (double v : {0.1, -0.0, 1e-310, 1.0 / 3.0, 123456789.123456789, -2.5e300}) {
    CXTPPropExchangeXMLNode store(false, L"r");
    double w = v;
    PX_Double(&store, L"v", w);
    CXTPPropExchangeXMLNode load(true, L"r");
    ASSERT_TRUE(load.LoadFromString(store.GetXML().c_str()));
    double back = 99;
    PX_Double(&load, L"v", back);
    EXPECT_EQ(std::signbit(back), std::signbit(v));
    EXPECT_EQ(back, v);
  }
}

TEST(XTPPropExchange, SectionsByPathSelectorAndEnumerator) {
  CXTPPropExchangeXMLNode store(false, L"kwrd");
  auto list = store.GetSection(L"List/Items");
  ASSERT_TRUE(list);
  auto items = list->GetEnumerator(L"Item");
  POSITION pos = items->GetPosition(100);
  for (int n = 0; n < 100; ++n) {
    auto item = items->GetNext(pos);
    ASSERT_TRUE(item);
    EXPECT_TRUE(item->IsCompactMode());
    std::wstring key = L"k" + std::to_wstring(n);
    PX_String(item.get(), L"guid", key);
    PX_Int(item.get(), L"n", n);
  }
  // Enough children for the indexed lookups; a changed attribute is found under its new value.
  auto hit = store.FindSection(L"List/Items/Item[@guid=\"k57\"]");
  ASSERT_TRUE(hit);
  hit->SetCompactMode(true);
  std::wstring renamed = L"k57b";
  PX_String(hit.get(), L"guid", renamed);
  EXPECT_FALSE(list->FindSection(L"Item[@guid='k57']"));
  EXPECT_TRUE(list->FindSection(L"Item[@guid='k57b']"));
  // A duplicate value: the first element in document order wins.
  auto last = list->FindSection(L"Item[@guid=\"k99\"]");
  last->SetCompactMode(true);
  std::wstring dup = L"k3";
  PX_String(last.get(), L"guid", dup);
  int n = 0;
  CXTPPropExchangeXMLNode check(true, L"kwrd");
  ASSERT_TRUE(check.LoadFromString(store.GetXML().c_str()));
  for (auto [selector, expected] : {std::pair{L"List/Items/Item[@guid='k57b']", 57},
                                    std::pair{L"List/Items/Item[@guid='k3']", 3},
                                    std::pair{L"List/Items/Item[@guid='k98']", 98}}) {
    auto found = check.FindSection(selector);
    ASSERT_TRUE(found) << selector;
    found->SetCompactMode(true);
    PX_Int(found.get(), L"n", n);
    EXPECT_EQ(n, expected);
  }
  // Selectors are never created, and a loading node never creates anything.
  EXPECT_FALSE(list->GetSection(L"Item[@guid=\"none\"]"));
  CXTPPropExchangeXMLNode load(true, L"kwrd");
  ASSERT_TRUE(load.LoadFromString(store.GetXML().c_str()));
  EXPECT_FALSE(load.GetSection(L"Other"));
  auto loaded = load.GetSection(L"List")->GetSection(L"Items")->GetEnumerator(L"Item");
  int count = 0;
  for (POSITION p = loaded->GetPosition(); p != nullptr; ++count) {
    auto item = loaded->GetNext(p);
    PX_Int(item.get(), L"n", n);
    EXPECT_EQ(n, count);
  }
  EXPECT_EQ(count, 100);
}

TEST(XTPPropExchange, RemovedSectionsStayHarmlessForTheirHolders) {
  CXTPPropExchangeXMLNode store(false, L"kwrd");
  auto a = store.GetSection(L"a/b");
  ASSERT_TRUE(store.RemoveSection(L"a"));
  EXPECT_FALSE(store.IsSectionExists(L"a"));
  std::wstring v = L"x";
  EXPECT_TRUE(PX_String(a.get(), L"k", v));  // a detached element: not in the document
  EXPECT_EQ(store.GetXML(false), L"<?xml version=\"1.0\"?>\n<kwrd/>\n");
  EXPECT_FALSE(store.RemoveSection(L""));
}

TEST(XTPPropExchange, RefusesNamesAndTextThatWouldBreakTheFile) {
  CXTPPropExchangeXMLNode store(false, L"kwrd");
  std::wstring v = L"bad\x01text\xFFFE";
  EXPECT_FALSE(PX_String(&store, L"has space", v));
  EXPECT_FALSE(store.GetSection(L"1abc"));
  EXPECT_TRUE(PX_String(&store, L"ok", v));
  CXTPPropExchangeXMLNode load(true, L"kwrd");
  ASSERT_TRUE(load.LoadFromString(store.GetXML().c_str()));
  PX_String(&load, L"ok", v);
  EXPECT_EQ(v, L"bad\xFFFDtext\xFFFD");
  EXPECT_FALSE(CXTPPropExchangeXMLNode(false, L"bad name").IsValid());
}

TEST(XTPPropExchange, HostileOrForeignDocumentsDoNotLoad) {
  CXTPPropExchangeXMLNode load(true, L"kwrd");
  ASSERT_TRUE(load.LoadFromString(L"<kwrd><v>1</v></kwrd>"));
  const std::wstring bomb =
      L"<?xml version=\"1.0\"?><!DOCTYPE kwrd [<!ENTITY a \"aaaaaaaaaa\">"
      L"<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\"><!ENTITY c "
      L"\"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">"
      L"<!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;\"><!ENTITY e "
      L"\"&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;\">"
      L"<!ENTITY f \"&e;&e;&e;&e;&e;&e;&e;&e;&e;&e;\"><!ENTITY g "
      L"\"&f;&f;&f;&f;&f;&f;&f;&f;&f;&f;\">"
      L"]><kwrd><v>&g;</v></kwrd>";
  const std::wstring external =
      L"<!DOCTYPE kwrd [<!ENTITY x SYSTEM \"file:///etc/passwd\">]><kwrd><v>&x;</v></kwrd>";
  const std::wstring undeclared =
      L"<!DOCTYPE kwrd SYSTEM \"http://127.0.0.1:1/k.dtd\"><kwrd><v>&x;</v></kwrd>";
  for (const std::wstring& text :
       {bomb, external, undeclared, std::wstring(L"<kwrd><v>1</kwrd>"), std::wstring(L""),
        std::wstring(L"<other/>"), Repeat(L"<a>", 300) + Repeat(L"</a>", 300)}) {
    EXPECT_FALSE(load.LoadFromString(text.c_str())) << text.substr(0, 60);
  }
  EXPECT_FALSE(load.LoadFromString(nullptr));
  int v = 0;
  PX_Int(&load, L"v", v);
  EXPECT_EQ(v, 1);  // the previous document is still there
  // 255 levels below the root are still fine.
  EXPECT_TRUE(load.LoadFromString(
      (L"<kwrd>" + Repeat(L"<a>", 255) + Repeat(L"</a>", 255) + L"</kwrd>").c_str()));
}

TEST(XTPPropExchange, XmlUtilsExchangeGuidsAndCreatePaths) {
  CXTPPropExchangeXMLNode store(false, L"kwrd");
  GUID id;
  CoCreateGuid(&id);
  XTP_XMLUtils::ExchangeGUID(&store, L"guid", id);
  std::unique_ptr<CXTPPropExchangeXMLNode> node;
  ASSERT_TRUE(XTP_XMLUtils::CreateXMLNode(L"a\\b/c", &store, node));
  EXPECT_EQ(node->GetSectionName(), L"c");
  EXPECT_TRUE(store.IsSectionExists(L"a/b/c"));
  auto child = XTP_XMLUtils::GetChildExchangeNode(&store, L"a");
  ASSERT_TRUE(child);
  EXPECT_TRUE(child->IsSectionExists(L"b"));

  CXTPPropExchangeXMLNode load(true, L"kwrd");
  ASSERT_TRUE(load.LoadFromString(store.GetXML().c_str()));
  GUID back = GUID_NULL;
  XTP_XMLUtils::ExchangeGUID(&load, L"guid", back);
  EXPECT_EQ(back, id);
  EXPECT_FALSE(XTP_XMLUtils::GetChildExchangeNode(&load, L"none"));
  XTP_XMLUtils::ExchangeGUID(&load, L"none", back);
  EXPECT_EQ(back, GUID_NULL);
}

}  // namespace
