#include "persist/internal/XmlDoc.h"

#include <iconv.h>
#include <libxml/encoding.h>
#include <libxml/hash.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <mutex>

#include "common/encoding.h"
#include "common/fileio.h"

namespace kw::xml {
namespace {

// The fixed parser options. NOENT, DTDLOAD, DTDATTR, DTDVALID, HUGE and XINCLUDE are never
// set: without HUGE libxml2 keeps its own guards against entity amplification and excessive
// depth, and without the others the parser never reaches outside the bytes it was given.
constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

xmlParserInputPtr RefuseExternalEntity(const char*, const char*, xmlParserCtxtPtr) {
  return nullptr;
}

// Failures are reported by results; libxml2's own messages (parse and encoder errors) would only
// reach stderr.
void Silent(void*, const char*, ...) {}

void InitOnce() {
  static std::once_flag once;
  std::call_once(once, [] {
    xmlInitParser();
    xmlSetExternalEntityLoader(RefuseExternalEntity);
    xmlSetGenericErrorFunc(nullptr, Silent);
  });
}

bool DeclaresEntities(const xmlDoc* doc) {
  for (const xmlDtd* dtd : {doc->intSubset, doc->extSubset}) {
    if (dtd == nullptr) continue;
    auto* general = static_cast<xmlHashTablePtr>(dtd->entities);
    auto* parameter = static_cast<xmlHashTablePtr>(dtd->pentities);
    if ((general && xmlHashSize(general) > 0) || (parameter && xmlHashSize(parameter) > 0)) {
      return true;
    }
  }
  return false;
}

// Walks the element tree without recursion; false when it is deeper than kMaxDepth or holds an
// entity reference (which only a DOCTYPE could have made legal).
bool TreeIsAcceptable(const xmlDoc* doc) {
  const xmlNode* node = xmlDocGetRootElement(const_cast<xmlDoc*>(doc));
  if (node == nullptr) return false;
  const xmlNode* top = node;
  int depth = 1;
  while (node != nullptr) {
    if (node->type == XML_ENTITY_REF_NODE || depth > kMaxDepth) return false;
    if (node->children != nullptr && node->type == XML_ELEMENT_NODE) {
      node = node->children;
      ++depth;
      continue;
    }
    while (node != top && node->next == nullptr) {
      node = node->parent;
      --depth;
    }
    if (node == top) break;
    node = node->next;
  }
  return true;
}

DocPtr Accept(xmlDoc* raw) {
  DocPtr doc(raw);
  if (!doc || DeclaresEntities(doc.get()) || !TreeIsAcceptable(doc.get())) return nullptr;
  return doc;
}

int Options(bool keepBlanks) {
  return keepBlanks ? kOptions : kOptions | XML_PARSE_NOBLANKS;
}

// The encoding named by an XML declaration at the start of the text, or "".
std::string DeclaredEncoding(std::string_view text) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  if (text.substr(0, 5) != "<?xml") return {};
  text = text.substr(0, text.find("?>"));
  size_t at = text.find("encoding");
  if (at == std::string_view::npos) return {};
  text.remove_prefix(at + 8);
  size_t eq = text.find_first_not_of(" \t\r\n");
  if (eq == std::string_view::npos || text[eq] != '=') return {};
  size_t open = text.find_first_not_of(" \t\r\n", eq + 1);
  if (open == std::string_view::npos || (text[open] != '"' && text[open] != '\'')) return {};
  size_t close = text.find(text[open], open + 1);
  if (close == std::string_view::npos) return {};
  return std::string(text.substr(open + 1, close - open - 1));
}

void SetDocEncoding(xmlDoc* doc, const std::string& encoding) {
  if (doc->encoding != nullptr) xmlFree(const_cast<xmlChar*>(doc->encoding));
  doc->encoding = nullptr;
  if (encoding.empty()) return;
  xmlCharEncodingHandlerPtr handler = xmlFindCharEncodingHandler(encoding.c_str());
  if (handler == nullptr) return;
  xmlCharEncCloseFunc(handler);
  doc->encoding = xmlStrdup(reinterpret_cast<const xmlChar*>(encoding.c_str()));
}

bool Dump(xmlDoc* doc, const char* encoding, bool formatted, std::string* out) {
  xmlChar* mem = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(doc, &mem, &size, encoding, formatted ? 1 : 0);
  if (mem == nullptr) return false;
  out->assign(reinterpret_cast<const char*>(mem), static_cast<size_t>(size));
  xmlFree(mem);
  return true;
}

// Whether the encoder writes the UTF-8 text as characters. The writer turns a character the
// encoding lacks into a character reference, which stands for that character only in text and
// attribute values: in a name it makes the file malformed, in a comment, a processing
// instruction or a CDATA section it changes the content.
bool Encodes(xmlCharEncodingHandler* handler, const xmlChar* utf8) {
  const int length = xmlStrlen(utf8);
  bool ascii = true;
  for (int i = 0; i < length; ++i) ascii = ascii && utf8[i] < 0x80;
  if (ascii) return true;  // every encoding a document can declare holds ASCII
  std::string out(static_cast<size_t>(length) * 4 + 16, '\0');
  if (handler->output != nullptr) {
    int inLength = length;
    int outLength = static_cast<int>(out.size());
    int done =
        handler->output(reinterpret_cast<unsigned char*>(out.data()), &outLength, utf8, &inLength);
    return done >= 0 && inLength == length;
  }
  if (handler->iconv_out == nullptr) return false;
  ::iconv(handler->iconv_out, nullptr, nullptr, nullptr, nullptr);
  char* in = reinterpret_cast<char*>(const_cast<xmlChar*>(utf8));
  size_t inLeft = static_cast<size_t>(length);
  char* to = out.data();
  size_t outLeft = out.size();
  return ::iconv(handler->iconv_out, &in, &inLeft, &to, &outLeft) != static_cast<size_t>(-1) &&
         inLeft == 0;
}

// The texts of one node that must be written as characters.
bool NodeEncodes(xmlCharEncodingHandler* handler, const xmlNode* node) {
  if (node->name != nullptr && !Encodes(handler, node->name)) return false;
  if ((node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) && node->ns &&
      node->ns->prefix && !Encodes(handler, node->ns->prefix)) {
    return false;
  }
  const bool literal = node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE ||
                       node->type == XML_CDATA_SECTION_NODE;
  return !literal || node->content == nullptr || Encodes(handler, node->content);
}

bool ElementEncodes(xmlCharEncodingHandler* handler, const xmlNode* element) {
  if (!NodeEncodes(handler, element)) return false;
  for (const xmlAttr* a = element->properties; a != nullptr; a = a->next) {
    if (!NodeEncodes(handler, reinterpret_cast<const xmlNode*>(a))) return false;
  }
  for (const xmlNs* ns = element->nsDef; ns != nullptr; ns = ns->next) {
    if (ns->prefix != nullptr && !Encodes(handler, ns->prefix)) return false;
  }
  return true;
}

// Walks every node of the document without recursion; false at the first one whose markup the
// encoding cannot hold.
bool TreeEncodes(xmlCharEncodingHandler* handler, const xmlDoc* doc) {
  const xmlNode* node = doc->children;
  while (node != nullptr) {
    if (!(node->type == XML_ELEMENT_NODE ? ElementEncodes(handler, node)
                                         : NodeEncodes(handler, node))) {
      return false;
    }
    if (node->children != nullptr && node->type == XML_ELEMENT_NODE) {
      node = node->children;
      continue;
    }
    while (node->next == nullptr && node->parent != nullptr &&
           node->parent->type == XML_ELEMENT_NODE) {
      node = node->parent;
    }
    node = node->next;
  }
  return true;
}

// The encoding a save writes: the document's own when its markup fits it, else UTF-8, so that a
// saved file always loads again.
const char* OutputEncoding(xmlDoc* doc) {
  const char* own = reinterpret_cast<const char*>(doc->encoding);
  if (own == nullptr) return "UTF-8";
  xmlCharEncodingHandlerPtr handler = xmlFindCharEncodingHandler(own);
  if (handler == nullptr) return "UTF-8";
  const bool fits = TreeEncodes(handler, doc);
  xmlCharEncCloseFunc(handler);
  return fits ? own : "UTF-8";
}

bool IsXmlChar(wchar_t c) {
  auto u = static_cast<uint32_t>(c);
  return u == 0x9 || u == 0xA || u == 0xD || (u >= 0x20 && u <= 0xD7FF) ||
         (u >= 0xE000 && u <= 0xFFFD) || (u >= 0x10000 && u <= 0x10FFFF);
}

}  // namespace

void DocDeleter::operator()(_xmlDoc* doc) const {
  xmlFreeDoc(doc);
}

DocPtr Parse(std::string_view bytes, bool keepBlanks) {
  InitOnce();
  if (bytes.empty() || bytes.size() > kMaxFileBytes || bytes.size() > INT_MAX) return nullptr;
  return Accept(xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                              Options(keepBlanks)));
}

DocPtr ParseText(std::wstring_view text, bool keepBlanks) {
  InitOnce();
  std::string utf8 = ToUtf8(text);
  if (utf8.empty() || utf8.size() > kMaxFileBytes) return nullptr;
  DocPtr doc = Accept(xmlReadMemory(utf8.data(), static_cast<int>(utf8.size()), nullptr, "UTF-8",
                                    Options(keepBlanks) | XML_PARSE_IGNORE_ENC));
  if (doc) SetDocEncoding(doc.get(), DeclaredEncoding(utf8));
  return doc;
}

DocPtr ParseFile(const std::wstring& path, bool keepBlanks, uint64_t maxBytes) {
  std::string bytes;
  if (!Fs().ReadFile(path, &bytes, std::min(maxBytes, kMaxFileBytes))) return nullptr;
  return Parse(bytes, keepBlanks);
}

bool Serialize(_xmlDoc* doc, bool formatted, std::string* out) {
  if (doc == nullptr) return false;
  return Dump(doc, OutputEncoding(doc), formatted, out);
}

std::wstring SerializeText(_xmlDoc* doc, bool formatted) {
  std::string utf8;
  if (doc == nullptr || !Dump(doc, "UTF-8", formatted, &utf8)) return {};
  // The text is decoded already: its declaration names the document's own encoding (so that
  // the text saved as such a file is right) or none.
  const std::string_view kDecl = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
  if (utf8.compare(0, kDecl.size(), kDecl) == 0) {
    std::string decl = "<?xml version=\"1.0\"";
    const char* encoding = OutputEncoding(doc);
    if (doc->encoding != nullptr && encoding == reinterpret_cast<const char*>(doc->encoding)) {
      decl += " encoding=\"" + std::string(encoding) + "\"";
    }
    utf8.replace(0, kDecl.size(), decl + "?>");
  }
  return FromUtf8(utf8);
}

bool SaveFile(_xmlDoc* doc, const std::wstring& path, bool formatted) {
  std::string bytes;
  return Serialize(doc, formatted, &bytes) && Fs().WriteFileAtomic(path, bytes);
}

DocPtr NewDocument(std::wstring_view rootName) {
  InitOnce();
  if (!IsValidName(rootName)) return nullptr;
  DocPtr doc(xmlNewDoc(BAD_CAST "1.0"));
  std::string name = ToXml(rootName);
  xmlDocSetRootElement(doc.get(),
                       xmlNewDocNode(doc.get(), nullptr, BAD_CAST name.c_str(), nullptr));
  return doc;
}

std::string ToXml(std::wstring_view text) {
  return ToUtf8(text);
}

std::wstring FromXml(const unsigned char* text) {
  if (text == nullptr) return {};
  return FromUtf8(reinterpret_cast<const char*>(text));
}

bool IsValidName(std::wstring_view name) {
  if (name.empty()) return false;
  for (wchar_t c : name) {
    if (!IsXmlChar(c)) return false;
  }
  std::string utf8 = ToXml(name);
  return xmlValidateName(BAD_CAST utf8.c_str(), 0) == 0;
}

std::wstring CleanText(std::wstring_view text) {
  std::wstring out(text);
  for (wchar_t& c : out) {
    if (!IsXmlChar(c)) c = kReplacementChar;
  }
  return out;
}

std::wstring ElementText(const _xmlNode* element) {
  std::string text;
  for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
    if ((child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) &&
        child->content != nullptr) {
      text += reinterpret_cast<const char*>(child->content);
    }
  }
  return FromUtf8(text);
}

void SetElementText(_xmlNode* element, std::wstring_view text) {
  // Child elements stay: a section object elsewhere may still refer to them.
  xmlNode* child = element->children;
  while (child != nullptr) {
    xmlNode* next = child->next;
    if (child->type != XML_ELEMENT_NODE) {
      xmlUnlinkNode(child);
      xmlFreeNode(child);
    }
    child = next;
  }
  std::string utf8 = ToXml(CleanText(text));
  if (utf8.empty()) return;
  xmlNode* node =
      xmlNewDocTextLen(element->doc, BAD_CAST utf8.data(), static_cast<int>(utf8.size()));
  if (element->children != nullptr) {
    xmlAddPrevSibling(element->children, node);
  } else {
    xmlAddChild(element, node);
  }
}

}  // namespace kw::xml
