// Property exchange over XML: one code path that both reads and writes an object's values.
//
// An object's DoPropExchange(px) calls PX_String/PX_Int/PX_Double/PX_Bool once per value; when
// px is loading, each call reads the value (or takes the default), when px is storing, each call
// writes it. Values live in an XML document, one section (element) per level:
//   - in element mode (the default) a value is the text of a child element of that name;
//   - in compact (attribute) mode a value is an attribute of the section element.
// Sections are addressed by name, by a "/"-separated path, or by a selector of the form
// Name[@attr="value"] (or 'value'); a selector finds the first such child element. Selector and
// name lookups are indexed, so finding or appending one of n items costs O(1), not O(n).
//
// Ownership: a section or enumerator is returned as a unique_ptr that the caller owns; it keeps
// the document alive, so it stays usable even after the node it came from is destroyed. A removed
// section's element is detached but kept until the document goes away, so a section object that
// still refers to it is harmless (it just no longer belongs to the document).
//
// Failure: loading a malformed, hostile or foreign document fails (false) and leaves the node as
// it was; missing values give their defaults; names that are not valid XML names are never
// written (the write is skipped), so a saved file always loads again. Nothing throws.
#ifndef KW_PERSIST_XTPPROPEXCHANGE_H_
#define KW_PERSIST_XTPPROPEXCHANGE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/guid.h"

struct _xmlNode;
namespace kw::xml {
class DocState;
}

class CXTPPropExchangeXMLNode;
class CXTPPropExchangeEnumerator;

// Opaque position of an enumerator (null: no more items).
struct XTPPosition_;
using POSITION = XTPPosition_*;

// The exchange interface that DoPropExchange implementations are written against.
class CXTPPropExchange {
 public:
  virtual ~CXTPPropExchange() = default;
  CXTPPropExchange(const CXTPPropExchange&) = delete;
  CXTPPropExchange& operator=(const CXTPPropExchange&) = delete;

  bool IsLoading() const { return m_bLoading; }
  bool IsStoring() const { return !m_bLoading; }

  // Loading: value = the stored text (true), or defaultValue (empty when null) when the value is
  // absent (false). Storing: writes value (true; false when name cannot be written).
  virtual bool ExchangeProp(const wchar_t* name, std::wstring& value,
                            const wchar_t* defaultValue) = 0;

  // The section at name (a name, path or selector; "" is this section itself). Storing creates
  // missing plain elements along a path; a selector is never created. Null when not found.
  virtual std::unique_ptr<CXTPPropExchangeXMLNode> GetSection(const wchar_t* name) = 0;
  // As GetSection, but never creates anything.
  virtual std::unique_ptr<CXTPPropExchangeXMLNode> FindSection(const wchar_t* name) const = 0;
  virtual bool IsSectionExists(const wchar_t* name) const = 0;
  // Walks (loading) or appends (storing) the child elements named name.
  virtual std::unique_ptr<CXTPPropExchangeEnumerator> GetEnumerator(const wchar_t* name) = 0;

  // Compact mode: values are attributes. Sections inherit the mode of the node they come from.
  void SetCompactMode(bool bCompactMode) { m_bCompactMode = bCompactMode; }
  bool IsCompactMode() const { return m_bCompactMode; }

 protected:
  explicit CXTPPropExchange(bool bLoading) : m_bLoading(bLoading) {}

  bool m_bLoading;
  bool m_bCompactMode = false;
};

// A section of an XML document (the element it stands for), or a root node that owns a new
// document.
//
// Invariants:
//   1. m_doc is never null; every section of one document shares it.
//   2. m_node is null only for a loading root before a successful load (then every value reads
//      as its default and every section is missing); otherwise it is an element of m_doc (or a
//      detached one, after its removal).
class CXTPPropExchangeXMLNode : public CXTPPropExchange {
 public:
  // A root node for a document whose root element is rootName. A storing root starts with an
  // empty root element; a loading root has nothing until LoadFromFile/LoadFromString succeeds.
  CXTPPropExchangeXMLNode(bool bLoading, const wchar_t* rootName);
  ~CXTPPropExchangeXMLNode() override;

  // Replace the document by the file's or text's; false (nothing changed) when it does not parse
  // or its root element is not named rootName. Only a root node loads.
  bool LoadFromFile(const wchar_t* path);
  // As LoadFromFile, refusing (before reading it) a file larger than maxBytes.
  bool LoadFromFile(const wchar_t* path, uint64_t maxBytes);
  bool LoadFromString(const wchar_t* xml);
  // The whole document with its XML declaration, saved atomically / returned as text.
  bool SaveToFile(const wchar_t* path, bool bFormatted = true) const;
  std::wstring GetXML(bool bFormatted = true) const;

  // True when this node stands for an element (a loading root only after a successful load).
  bool IsValid() const { return m_node != nullptr; }
  std::wstring GetSectionName() const;

  bool ExchangeProp(const wchar_t* name, std::wstring& value, const wchar_t* defaultValue) override;
  std::unique_ptr<CXTPPropExchangeXMLNode> GetSection(const wchar_t* name) override;
  std::unique_ptr<CXTPPropExchangeXMLNode> FindSection(const wchar_t* name) const override;
  bool IsSectionExists(const wchar_t* name) const override;
  std::unique_ptr<CXTPPropExchangeEnumerator> GetEnumerator(const wchar_t* name) override;

  // The value named name exists (attribute in compact mode, child element otherwise).
  bool IsPropertyExists(const wchar_t* name) const;
  // Removes the value named name (attribute in compact mode, child element otherwise).
  bool RemoveProperty(const wchar_t* name);
  // Removes the section found at name (never this node itself); false when there is none.
  bool RemoveSection(const wchar_t* name);
  // A new child element name appended to this section, whatever the mode; null when name is not
  // a valid name or the tree would get too deep.
  std::unique_ptr<CXTPPropExchangeXMLNode> AppendSection(const wchar_t* name);
  // Removes every child of this section (its attributes stay).
  void EmptySection();
  // Names of the values of this section: attributes first, as "@name", then child elements in
  // document order (a name repeated in the document is listed each time).
  void GetKeyNames(std::vector<std::wstring>& names) const;
  // Calls visit(name, text) for the values of this section in GetKeyNames' order and naming;
  // a child element's text is its own text (ElementText). Nothing is copied ahead: a caller
  // keeps only what it needs.
  void VisitValues(
      const std::function<void(const std::wstring& name, const std::wstring& text)>& visit) const;

 private:
  friend class CXTPPropExchangeEnumerator;
  CXTPPropExchangeXMLNode(bool bLoading, std::shared_ptr<kw::xml::DocState> doc, _xmlNode* node,
                          bool bCompactMode);
  std::unique_ptr<CXTPPropExchangeXMLNode> Wrap(_xmlNode* node) const;
  bool Load(std::shared_ptr<kw::xml::DocState> doc);

  std::shared_ptr<kw::xml::DocState> m_doc;
  _xmlNode* m_node;
  std::wstring m_rootName;
};

// Walks the child elements of one name (loading) or appends new ones (storing):
//   POSITION pos = e->GetPosition();
//   while (pos) { auto item = e->GetNext(pos); ... }
// Storing positions never run out: the caller stops after its own count.
class CXTPPropExchangeEnumerator {
 public:
  // The first position. Sections handed out by GetNext are in compact mode when bCompactMode is
  // true. count is the number of items the caller means to store (informative only).
  POSITION GetPosition(uint32_t count = 0, bool bCompactMode = true);
  // The section at pos and pos moved on; storing appends a new element. Null (and pos null) when
  // pos is null or the element cannot be made.
  std::unique_ptr<CXTPPropExchangeXMLNode> GetNext(POSITION& pos);

 private:
  friend class CXTPPropExchangeXMLNode;
  CXTPPropExchangeEnumerator(const CXTPPropExchangeXMLNode& container, std::wstring name);

  bool m_bLoading;
  bool m_bCompactMode = true;
  std::shared_ptr<kw::xml::DocState> m_doc;
  _xmlNode* m_container;
  std::wstring m_name;
};

// Typed exchanges. Loading returns whether the value was present (absent or empty text gives the
// default); storing returns whether it was written. Texts: ints "%d", doubles the shortest text
// that reads back to the same double, bools "1"/"0" (read: a non-zero integer or "true").
bool PX_String(CXTPPropExchange* px, const wchar_t* name, std::wstring& value,
               const wchar_t* defaultValue = nullptr);
bool PX_Int(CXTPPropExchange* px, const wchar_t* name, int& value, int defaultValue = 0);
bool PX_Double(CXTPPropExchange* px, const wchar_t* name, double& value, double defaultValue = 0.0);
bool PX_Bool(CXTPPropExchange* px, const wchar_t* name, bool& value, bool defaultValue = false);

namespace XTP_XMLUtils {

// Loading: reads the text under name and parses it as a braced GUID (GUID_NULL when it is not
// one). Storing: writes id's braced text.
void ExchangeGUID(CXTPPropExchange* px, const wchar_t* name, GUID& id);
// The existing child section name; when there is none and px is storing, a new child element of
// that name appended through the enumerator; otherwise null.
std::unique_ptr<CXTPPropExchangeXMLNode> GetChildExchangeNode(CXTPPropExchange* px,
                                                              const std::wstring& name);
// The section path under parent if it exists; otherwise path split at "\\" and "/" and each part
// walked or created. True when node was set.
bool CreateXMLNode(const wchar_t* path, CXTPPropExchangeXMLNode* parent,
                   std::unique_ptr<CXTPPropExchangeXMLNode>& node);

}  // namespace XTP_XMLUtils

#endif  // KW_PERSIST_XTPPROPEXCHANGE_H_
