// The XML door of the library (persist/internal/XmlDoc): what a save writes when the document
// declares an encoding that cannot hold all of it.
#include "persist/internal/XmlDoc.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Saved(const wchar_t* text) {
  kw::xml::DocPtr doc = kw::xml::ParseText(text);
  std::string bytes;
  if (!doc || !kw::xml::Serialize(doc.get(), false, &bytes)) return "(failed)";
  return bytes;
}

TEST(XmlDoc, TextTheEncodingLacksBecomesCharacterReferences) {
  EXPECT_EQ(Saved(L"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r a=\"宽\">Größe 宽</r>"),
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<r a=\"&#23485;\">Gr\xF6\xDF"
            "e &#23485;</r>\n");
}

// Character references stand for characters only in text and attribute values: anywhere else
// the whole document is written in UTF-8 (and says so).
TEST(XmlDoc, MarkupTheEncodingLacksSwitchesTheDocumentToUtf8) {
  const std::string utf8 = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  EXPECT_EQ(Saved(L"<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r><Größe/></r>"),
            utf8 +
                "<r><Gr\xC3\xB6\xC3\x9F"
                "e/></r>\n");
  EXPECT_EQ(Saved(L"<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r ä=\"1\"/>"),
            utf8 + "<r \xC3\xA4=\"1\"/>\n");
  EXPECT_EQ(Saved(L"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r><!--宽--></r>"),
            utf8 + "<r><!--\xE5\xAE\xBD--></r>\n");
  EXPECT_EQ(Saved(L"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r><![CDATA[宽]]></r>"),
            utf8 + "<r><![CDATA[\xE5\xAE\xBD]]></r>\n");
  EXPECT_EQ(Saved(L"<?xml version=\"1.0\" encoding=\"GBK\"?><r><?pi ö?></r>"),
            utf8 + "<r><?pi \xC3\xB6?></r>\n");
  kw::xml::DocPtr doc = kw::xml::ParseText(L"<?xml version=\"1.0\" encoding=\"US-ASCII\"?><ä/>");
  ASSERT_TRUE(doc);
  EXPECT_EQ(kw::xml::SerializeText(doc.get(), false), L"<?xml version=\"1.0\"?>\n<ä/>\n");
}

}  // namespace
