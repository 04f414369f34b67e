// IKWXMLDOM*: a small document object model in the shape of the classic dispatch DOM (node,
// element, attribute, document, named node map), over libxml2, for the text style file.
//
// Each wrapper is a value holding one node (or nothing): copies refer to the same node, and
// every wrapper keeps its document alive, so a wrapper never dangles, even after its node was
// removed from the tree or its document object was destroyed or reloaded. Ownership: the
// documents and every node made or detached through the family belong to the family's shared
// holder and are freed with the last wrapper; callers never free anything. Member names follow the
// dispatch DOM: GetX/SetX are properties, lower-case names are methods. Strings are std::wstring
// (values that may be absent, such as a missing attribute, are std::optional), objects are
// wrapper values (an empty wrapper where the dispatch DOM gives null), node lists are vectors,
// and success flags are int (non-zero on success).
//
// Failure: nothing throws. A call on an empty wrapper, or one the model does not allow (a node
// of another document, a child that is an ancestor, a tree deeper than 256) does nothing and
// returns an empty wrapper, 0, or an empty/absent string. Documents load through the library's
// one XML parser (no entities, no DTD loading, no network) and save atomically; the encoding a
// document declares (GB2312 included) is kept when it is saved. Style sheets (transformNode)
// are not supported and give empty results.
#ifndef KW_PERSIST_KWXMLDOM_H_
#define KW_PERSIST_KWXMLDOM_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct _xmlNode;
namespace kw::xml {
struct DomHolder;
}

class IKWXMLDOMNamedNodeMap;
class IKWXMLDOMDocument;

// Node types as the dispatch DOM numbers them.
enum KWXMLDOMNodeType : long {
  KWNODE_ELEMENT = 1,
  KWNODE_ATTRIBUTE = 2,
  KWNODE_TEXT = 3,
  KWNODE_CDATA_SECTION = 4,
  KWNODE_PROCESSING_INSTRUCTION = 7,
  KWNODE_COMMENT = 8,
  KWNODE_DOCUMENT = 9,
  KWNODE_DOCUMENT_FRAGMENT = 11,
};

// One node of a document: element, attribute, text, CDATA, comment, processing instruction,
// document or document fragment. The tree members below answer for any of them; a member
// that makes no sense for the node's kind gives the empty result.
class IKWXMLDOMNode {
 public:
  IKWXMLDOMNode() = default;
  virtual ~IKWXMLDOMNode() = default;
  IKWXMLDOMNode(const IKWXMLDOMNode&) = default;
  IKWXMLDOMNode& operator=(const IKWXMLDOMNode&) = default;

  // True when the wrapper holds no node.
  bool IsEmpty() const { return m_node == nullptr; }
  bool IsSameNode(const IKWXMLDOMNode& other) const { return m_node == other.m_node; }

  std::wstring GetNodeName() const;
  std::optional<std::wstring> GetNodeValue() const;
  void SetNodeValue(const wchar_t* value);
  long GetNodeType() const;
  IKWXMLDOMNode GetParentNode() const;
  std::vector<IKWXMLDOMNode> GetChildNodes() const;
  IKWXMLDOMNode GetFirstChild() const;
  IKWXMLDOMNode GetLastChild() const;
  IKWXMLDOMNode GetPreviousSibling() const;
  IKWXMLDOMNode GetNextSibling() const;
  IKWXMLDOMNamedNodeMap GetAttributes() const;
  // Tree changes give the node inserted or removed (empty on refusal). An empty refChild means
  // "at the end". A document fragment moves its children.
  IKWXMLDOMNode insertBefore(const IKWXMLDOMNode& newChild, const IKWXMLDOMNode& refChild);
  IKWXMLDOMNode replaceChild(const IKWXMLDOMNode& newChild, const IKWXMLDOMNode& oldChild);
  IKWXMLDOMNode removeChild(const IKWXMLDOMNode& child);
  IKWXMLDOMNode appendChild(const IKWXMLDOMNode& newChild);
  int hasChildNodes() const;
  IKWXMLDOMDocument GetOwnerDocument() const;
  IKWXMLDOMNode cloneNode(int deep) const;
  std::wstring GetNodeTypeString() const;
  // The text of the node and everything below it; SetText replaces the children by one text.
  std::wstring GetText() const;
  void SetText(const wchar_t* text);
  int GetSpecified() const;
  IKWXMLDOMNode GetDefinition() const;
  std::optional<std::wstring> GetNodeTypedValue() const;
  void SetNodeTypedValue(const wchar_t* value);
  std::optional<std::wstring> GetDataType() const;
  void SetDataType(const wchar_t* dataType);
  // The node's markup (a document: with its XML declaration).
  std::wstring GetXml() const;
  std::wstring transformNode(const IKWXMLDOMNode& styleSheet) const;
  std::vector<IKWXMLDOMNode> selectNodes(const wchar_t* xpath) const;
  IKWXMLDOMNode selectSingleNode(const wchar_t* xpath) const;
  int GetParsed() const;
  std::wstring GetNamespaceURI() const;
  std::wstring GetPrefix() const;
  std::wstring GetBaseName() const;
  void transformNodeToObject(const IKWXMLDOMNode& styleSheet, const IKWXMLDOMNode& output) const;

 protected:
  friend class IKWXMLDOMNamedNodeMap;
  IKWXMLDOMNode(std::shared_ptr<kw::xml::DomHolder> doc, _xmlNode* node);
  // The node as a wrapper of this document (empty for null).
  IKWXMLDOMNode Wrap(_xmlNode* node) const;
  // The one search behind both getElementsByTagName: elements below this node named name
  // (qualified, "*": all) in document order, names compared as given.
  std::vector<IKWXMLDOMNode> ElementsByTagName(const wchar_t* name) const;
  _xmlNode* ElementNode() const;
  static _xmlNode* NodeOf(const IKWXMLDOMNode& node) { return node.m_node; }

  std::shared_ptr<kw::xml::DomHolder> m_doc;
  _xmlNode* m_node = nullptr;
};

class IKWXMLDOMAttribute : public IKWXMLDOMNode {
 public:
  IKWXMLDOMAttribute() = default;
  // Holds node when it is an attribute (else nothing).
  explicit IKWXMLDOMAttribute(const IKWXMLDOMNode& node);
  std::wstring GetName() const;
  std::optional<std::wstring> GetValue() const;
  void SetValue(const wchar_t* value);
};

class IKWXMLDOMElement : public IKWXMLDOMNode {
 public:
  IKWXMLDOMElement() = default;
  // Holds node when it is an element (else nothing).
  explicit IKWXMLDOMElement(const IKWXMLDOMNode& node);
  std::wstring GetTagName() const;
  std::optional<std::wstring> getAttribute(const wchar_t* name) const;
  void setAttribute(const wchar_t* name, const wchar_t* value);
  void removeAttribute(const wchar_t* name);
  IKWXMLDOMAttribute getAttributeNode(const wchar_t* name) const;
  // Copies the attribute's name and value onto this element; gives the replaced attribute's
  // former value holder (empty when there was none).
  IKWXMLDOMAttribute setAttributeNode(const IKWXMLDOMAttribute& attr);
  IKWXMLDOMAttribute removeAttributeNode(const IKWXMLDOMAttribute& attr);
  // Descendant elements of that name ("*": all) in document order.
  std::vector<IKWXMLDOMNode> getElementsByTagName(const wchar_t* name) const;
  void normalize();
};

// The attributes of one element, live: it reads the element's attributes at each call, so
// changes made through the element show at once. Invariant: 0 <= m_next, the index that
// nextNode gives next; an element wrapper that is empty (the map of a non-element) holds no
// items and refuses every change.
class IKWXMLDOMNamedNodeMap {
 public:
  IKWXMLDOMNamedNodeMap() = default;
  IKWXMLDOMNode getNamedItem(const wchar_t* name) const;
  IKWXMLDOMNode setNamedItem(const IKWXMLDOMNode& attr);
  IKWXMLDOMNode removeNamedItem(const wchar_t* name);
  IKWXMLDOMNode GetItem(long index) const;
  long GetLength() const;
  IKWXMLDOMNode getQualifiedItem(const wchar_t* baseName, const wchar_t* namespaceURI) const;
  IKWXMLDOMNode removeQualifiedItem(const wchar_t* baseName, const wchar_t* namespaceURI);
  // Iteration: the next attribute after the last one given (empty at the end); reset restarts.
  IKWXMLDOMNode nextNode();
  void reset() { m_next = 0; }

 private:
  friend class IKWXMLDOMNode;
  explicit IKWXMLDOMNamedNodeMap(const IKWXMLDOMElement& element) : m_element(element) {}
  IKWXMLDOMElement m_element;
  long m_next = 0;
};

// A document and its parse settings. States: empty (default-constructed: every member does
// nothing), live (after CreateDispatch: an empty document, then whatever the last successful
// load gave). A load replaces the content of this wrapper only: other wrapper copies made
// before it, and the nodes of the old content, go on showing the old content (the settings,
// the URL and the parse result are shared).
class IKWXMLDOMDocument : public IKWXMLDOMNode {
 public:
  IKWXMLDOMDocument() = default;
  // Holds node when it is a document (else nothing).
  explicit IKWXMLDOMDocument(const IKWXMLDOMNode& node);
  // Creates a new empty document ("Msxml.DOMDocument" and its versions are the only classes).
  int CreateDispatch(const wchar_t* progId = L"Msxml.DOMDocument");

  IKWXMLDOMNode GetDoctype() const;
  IKWXMLDOMNode GetImplementation() const;
  IKWXMLDOMElement GetDocumentElement() const;
  void SetRefDocumentElement(const IKWXMLDOMElement& element);
  IKWXMLDOMElement createElement(const wchar_t* tagName);
  IKWXMLDOMNode createDocumentFragment();
  IKWXMLDOMNode createTextNode(const wchar_t* data);
  IKWXMLDOMNode createComment(const wchar_t* data);
  IKWXMLDOMNode createCDATASection(const wchar_t* data);
  IKWXMLDOMNode createProcessingInstruction(const wchar_t* target, const wchar_t* data);
  IKWXMLDOMAttribute createAttribute(const wchar_t* name);
  // Entity references are never made: documents with entities are not accepted either.
  IKWXMLDOMNode createEntityReference(const wchar_t* name);
  // Every element of the document of that name ("*": all) in document order.
  std::vector<IKWXMLDOMNode> getElementsByTagName(const wchar_t* tagName) const;
  IKWXMLDOMNode createNode(long type, const wchar_t* name, const wchar_t* namespaceURI);
  IKWXMLDOMNode nodeFromID(const wchar_t* idString) const;
  // Replace the content by the file's / text's; 0 (content unchanged) when it does not load.
  int load(const wchar_t* path);
  int loadXML(const wchar_t* xml);
  long GetReadyState() const { return 4; }
  // 0 after a successful load, else non-zero.
  long GetParseError() const;
  std::wstring GetUrl() const;
  int GetAsync() const;
  void SetAsync(int async);
  void abort() {}
  // Writes the document (in its declared encoding) atomically; non-zero on success. 0, with
  // the file left as it was, for a document without a document element or a failed write.
  int save(const wchar_t* path) const;
  int GetValidateOnParse() const;
  void SetValidateOnParse(int validate);
  // Stored only: external resources are never fetched.
  int GetResolveExternals() const;
  void SetResolveExternals(int resolve);
  int GetPreserveWhiteSpace() const;
  void SetPreserveWhiteSpace(int preserve);
  // Events are not raised; the handlers are accepted and ignored.
  void SetOnreadystatechange(void* handler) { (void)handler; }
  void SetOndataavailable(void* handler) { (void)handler; }
  void SetOntransformnode(void* handler) { (void)handler; }

 private:
  // Points this wrapper at a newly adopted document node; 0 when the load failed (null).
  int Take(_xmlNode* loaded);
};

#endif  // KW_PERSIST_KWXMLDOM_H_
