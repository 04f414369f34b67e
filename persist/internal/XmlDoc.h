// The one door through which XML enters and leaves the library (libxml2 underneath). Internal
// to persist/ and not installed: its callers are the library's XML classes only.
//
// Every XML reader of the library (property exchange, profile, road object store, DOM wrappers)
// parses with Parse() and writes with Serialize()/SaveFile(), so the safety rules live here:
//   - the parser options are fixed: no entity substitution, no DTD loading, no default
//     attributes from a DTD, no validation, no "huge" mode, no XInclude, never the network;
//   - the external-entity loader refuses every request, so no file or URL is ever opened by
//     the parser itself;
//   - a document whose DOCTYPE declares entities is refused: none of the suite's formats uses
//     them, and expanding them later (reading an element's text) could turn a few hundred bytes
//     into gigabytes;
//   - nesting deeper than kMaxDepth elements is refused;
//   - files are read through the file-system seam with a size limit, and saved atomically.
// Failures are null/false results; nothing here throws.
#ifndef KW_PERSIST_INTERNAL_XMLDOC_H_
#define KW_PERSIST_INTERNAL_XMLDOC_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct _xmlDoc;
struct _xmlNode;

namespace kw::xml {

inline constexpr int kMaxDepth = 256;
// Larger files are refused before anything is allocated for them.
inline constexpr uint64_t kMaxFileBytes = 64ull << 20;

struct DocDeleter {
  void operator()(_xmlDoc* doc) const;
};
using DocPtr = std::unique_ptr<_xmlDoc, DocDeleter>;

// Parses bytes whose encoding the document declares (UTF-8 when it declares none; GB2312 and
// GBK through iconv). keepBlanks keeps whitespace-only text between elements. Null when the
// bytes are not a well-formed, acceptable document.
DocPtr Parse(std::string_view bytes, bool keepBlanks = false);
// Parses text that is already decoded (a wide string in memory): the declared encoding is not
// used to decode, but it is remembered as the document's encoding so that a later save to a
// file uses it.
DocPtr ParseText(std::wstring_view text, bool keepBlanks = false);
// Reads the file through kw::Fs() and parses it; null, with nothing allocated for its content,
// when it holds more than maxBytes (at most kMaxFileBytes).
DocPtr ParseFile(const std::wstring& path, bool keepBlanks = false,
                 uint64_t maxBytes = kMaxFileBytes);

// The document as bytes with an XML declaration, in the document's own encoding (UTF-8 when it
// has none, or when a name, comment, processing instruction or CDATA section holds a character
// that encoding lacks: a character reference can stand in only within text and attribute
// values, so the file would not load again). formatted indents elements that hold only
// elements. False when the document is null or the writer fails.
bool Serialize(_xmlDoc* doc, bool formatted, std::string* out);
// The document as wide text; the declaration names the encoding Serialize() would write in,
// and none when the document has none or it would fall back to UTF-8.
std::wstring SerializeText(_xmlDoc* doc, bool formatted);
// Serialize() then kw::Fs().WriteFileAtomic(): the previous file survives any failure.
bool SaveFile(_xmlDoc* doc, const std::wstring& path, bool formatted);

// A new empty document (version 1.0, no encoding) with a root element of that name; null when
// the name is not a valid XML name.
DocPtr NewDocument(std::wstring_view rootName);

// Text helpers between wide text and libxml2's UTF-8 strings.
std::string ToXml(std::wstring_view text);
std::wstring FromXml(const unsigned char* text);
// True when name can be an element or attribute name (so a saved file stays well-formed).
bool IsValidName(std::wstring_view name);
// The text as XML can hold it: characters that XML 1.0 forbids (most control characters,
// U+FFFE, U+FFFF, surrogates) become U+FFFD.
std::wstring CleanText(std::wstring_view text);

// An element's own text: its text and CDATA children joined (not the text of child elements).
std::wstring ElementText(const _xmlNode* element);
// Replaces every child of the element by one text node holding text (cleaned).
void SetElementText(_xmlNode* element, std::wstring_view text);

}  // namespace kw::xml

#endif  // KW_PERSIST_INTERNAL_XMLDOC_H_
