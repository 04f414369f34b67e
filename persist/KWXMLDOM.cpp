#include "persist/KWXMLDOM.h"

#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <algorithm>

#include "common/text.h"
#include "persist/internal/XmlDoc.h"

namespace kw::xml {

// The documents behind a family of wrappers.
// Invariants:
//   1. doc is never null after CreateDispatch; documents replaced by a later load move to
//      retired and live as long as the holder, so wrappers of their nodes never dangle.
//   2. floating holds every node this model created or detached; at the end those still without
//      a parent are freed (all checked before any is freed), the others belong to a tree.
struct DomHolder {
  DocPtr doc;
  std::vector<DocPtr> retired;
  std::vector<xmlNode*> floating;
  std::wstring url;
  long parseError = 0;
  bool async = true;
  bool validateOnParse = true;
  bool resolveExternals = false;
  bool preserveWhiteSpace = false;

  ~DomHolder() {
    std::vector<xmlNode*> detached;
    for (xmlNode* node : floating) {
      if (node->parent == nullptr) detached.push_back(node);
    }
    std::sort(detached.begin(), detached.end());
    detached.erase(std::unique(detached.begin(), detached.end()), detached.end());
    for (xmlNode* node : detached) xmlFreeNode(node);
  }
  xmlNode* Float(xmlNode* node) {
    if (node != nullptr) floating.push_back(node);
    return node;
  }
};

}  // namespace kw::xml

using kw::xml::DomHolder;

namespace {

std::string Utf8(const wchar_t* text) {
  return kw::xml::ToXml(kw::View(text));
}

bool IsTextLike(const xmlNode* n) {
  return n->type == XML_TEXT_NODE || n->type == XML_CDATA_SECTION_NODE ||
         n->type == XML_COMMENT_NODE || n->type == XML_PI_NODE;
}

bool CanHaveChildren(const xmlNode* n) {
  return n->type == XML_ELEMENT_NODE || n->type == XML_DOCUMENT_NODE ||
         n->type == XML_DOCUMENT_FRAG_NODE;
}

int DepthOf(const xmlNode* n) {
  int depth = 0;
  for (; n != nullptr && n->type == XML_ELEMENT_NODE; n = n->parent) ++depth;
  return depth;
}

// Height of the element tree under n (iterative, so any tree is fine).
int HeightOf(const xmlNode* top) {
  int best = 0, depth = 0;
  const xmlNode* n = top;
  while (n != nullptr) {
    if (n->type == XML_ELEMENT_NODE) best = std::max(best, depth + 1);
    if (n->children != nullptr && n->type != XML_ATTRIBUTE_NODE) {
      n = n->children;
      ++depth;
      continue;
    }
    while (n != top && n->next == nullptr) {
      n = n->parent;
      --depth;
    }
    if (n == top) break;
    n = n->next;
  }
  return best;
}

bool IsAncestorOrSelf(const xmlNode* candidate, const xmlNode* node) {
  for (; node != nullptr; node = node->parent) {
    if (node == candidate) return true;
  }
  return false;
}

// Links child into parent before ref (null: at the end) without libxml2's text merging, which
// would free a node that a wrapper still holds.
void LinkBefore(xmlNode* parent, xmlNode* child, xmlNode* ref) {
  child->parent = parent;
  child->next = ref;
  child->prev = ref ? ref->prev : parent->last;
  if (child->prev) {
    child->prev->next = child;
  } else {
    parent->children = child;
  }
  if (ref) {
    ref->prev = child;
  } else {
    parent->last = child;
  }
}

std::wstring NodeMarkup(xmlDoc* doc, xmlNode* node) {
  if (node->type == XML_DOCUMENT_NODE) return kw::xml::SerializeText(doc, false);
  xmlBufferPtr buf = xmlBufferCreate();
  xmlNodeDump(buf, doc, node, 0, 0);
  std::wstring text = kw::xml::FromXml(xmlBufferContent(buf));
  xmlBufferFree(buf);
  return text;
}

// Whitespace-only text is not content unless the document preserves it (as the dispatch DOM
// loads by default); dropping it also lets a saved document be indented.
void DropBlankText(xmlNode* node) {
  while (node != nullptr) {
    xmlNode* next = node->next;
    if (node->type == XML_TEXT_NODE && xmlIsBlankNode(node)) {
      xmlUnlinkNode(node);
      xmlFreeNode(node);
    } else if (node->type == XML_ELEMENT_NODE) {
      DropBlankText(node->children);
    }
    node = next;
  }
}

kw::xml::DocPtr Loaded(kw::xml::DocPtr doc, bool preserveWhiteSpace) {
  if (doc && !preserveWhiteSpace) DropBlankText(xmlDocGetRootElement(doc.get()));
  return doc;
}

}  // namespace

// ---------------------------------------------------------------- IKWXMLDOMNode

IKWXMLDOMNode::IKWXMLDOMNode(std::shared_ptr<DomHolder> doc, xmlNode* node)
    : m_doc(std::move(doc)), m_node(node) {}

IKWXMLDOMNode IKWXMLDOMNode::Wrap(xmlNode* node) const {
  return node ? IKWXMLDOMNode(m_doc, node) : IKWXMLDOMNode();
}

xmlNode* IKWXMLDOMNode::ElementNode() const {
  return m_node && m_node->type == XML_ELEMENT_NODE ? m_node : nullptr;
}

std::wstring IKWXMLDOMNode::GetNodeName() const {
  if (!m_node) return {};
  switch (m_node->type) {
    case XML_TEXT_NODE:
      return L"#text";
    case XML_CDATA_SECTION_NODE:
      return L"#cdata-section";
    case XML_COMMENT_NODE:
      return L"#comment";
    case XML_DOCUMENT_NODE:
      return L"#document";
    case XML_DOCUMENT_FRAG_NODE:
      return L"#document-fragment";
    default:
      return kw::xml::FromXml(m_node->name);
  }
}

std::optional<std::wstring> IKWXMLDOMNode::GetNodeValue() const {
  if (!m_node) return std::nullopt;
  if (m_node->type == XML_ATTRIBUTE_NODE) return GetText();
  if (!IsTextLike(m_node)) return std::nullopt;
  return kw::xml::FromXml(m_node->content);
}

void IKWXMLDOMNode::SetNodeValue(const wchar_t* value) {
  if (m_node && (IsTextLike(m_node) || m_node->type == XML_ATTRIBUTE_NODE)) SetText(value);
}

long IKWXMLDOMNode::GetNodeType() const {
  return m_node ? static_cast<long>(m_node->type) : 0;
}

IKWXMLDOMNode IKWXMLDOMNode::GetParentNode() const {
  return m_node && m_node->type != XML_ATTRIBUTE_NODE ? Wrap(m_node->parent) : IKWXMLDOMNode();
}

std::vector<IKWXMLDOMNode> IKWXMLDOMNode::GetChildNodes() const {
  std::vector<IKWXMLDOMNode> children;
  if (m_node && m_node->type != XML_ATTRIBUTE_NODE) {
    for (xmlNode* c = m_node->children; c != nullptr; c = c->next) children.push_back(Wrap(c));
  }
  return children;
}

IKWXMLDOMNode IKWXMLDOMNode::GetFirstChild() const {
  return m_node && CanHaveChildren(m_node) ? Wrap(m_node->children) : IKWXMLDOMNode();
}

IKWXMLDOMNode IKWXMLDOMNode::GetLastChild() const {
  return m_node && CanHaveChildren(m_node) ? Wrap(m_node->last) : IKWXMLDOMNode();
}

IKWXMLDOMNode IKWXMLDOMNode::GetPreviousSibling() const {
  return m_node && m_node->type != XML_ATTRIBUTE_NODE ? Wrap(m_node->prev) : IKWXMLDOMNode();
}

IKWXMLDOMNode IKWXMLDOMNode::GetNextSibling() const {
  return m_node && m_node->type != XML_ATTRIBUTE_NODE ? Wrap(m_node->next) : IKWXMLDOMNode();
}

IKWXMLDOMNamedNodeMap IKWXMLDOMNode::GetAttributes() const {
  return IKWXMLDOMNamedNodeMap(IKWXMLDOMElement(*this));
}

IKWXMLDOMNode IKWXMLDOMNode::insertBefore(const IKWXMLDOMNode& newChild,
                                          const IKWXMLDOMNode& refChild) {
  xmlNode* child = newChild.m_node;
  xmlNode* ref = refChild.m_node;
  if (!m_node || !child || !CanHaveChildren(m_node) || child->doc != m_node->doc) return {};
  if (ref && ref->parent != m_node) return {};
  if (child->type == XML_ATTRIBUTE_NODE || child->type == XML_DOCUMENT_NODE) return {};
  if (IsAncestorOrSelf(child, m_node) || child == ref) return {};
  if (DepthOf(m_node) + HeightOf(child) > kw::xml::kMaxDepth) return {};
  if (m_node->type == XML_DOCUMENT_NODE &&
      ((child->type == XML_ELEMENT_NODE && xmlDocGetRootElement(m_node->doc) != nullptr) ||
       child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE ||
       child->type == XML_DOCUMENT_FRAG_NODE)) {
    return {};  // one document element, and no text outside it
  }
  if (child->type == XML_DOCUMENT_FRAG_NODE) {
    while (child->children != nullptr) {
      xmlNode* moved = child->children;
      xmlUnlinkNode(moved);
      LinkBefore(m_node, moved, ref);
    }
    return newChild;
  }
  xmlUnlinkNode(child);
  m_doc->Float(child);
  LinkBefore(m_node, child, ref);
  return newChild;
}

IKWXMLDOMNode IKWXMLDOMNode::appendChild(const IKWXMLDOMNode& newChild) {
  return insertBefore(newChild, IKWXMLDOMNode());
}

IKWXMLDOMNode IKWXMLDOMNode::removeChild(const IKWXMLDOMNode& child) {
  if (!m_node || !child.m_node || child.m_node->parent != m_node ||
      child.m_node->type == XML_ATTRIBUTE_NODE) {
    return {};
  }
  xmlUnlinkNode(child.m_node);
  m_doc->Float(child.m_node);
  return child;
}

IKWXMLDOMNode IKWXMLDOMNode::replaceChild(const IKWXMLDOMNode& newChild,
                                          const IKWXMLDOMNode& oldChild) {
  xmlNode* old = oldChild.m_node;
  if (!m_node || !old || old->parent != m_node || old->type == XML_ATTRIBUTE_NODE) return {};
  if (newChild.m_node == old) return oldChild;
  // The new child takes the old one's place, which is before the old one's next sibling (or
  // before the new child's own next sibling when the two are neighbours).
  xmlNode* ref = old->next == newChild.m_node ? newChild.m_node->next : old->next;
  xmlUnlinkNode(old);
  if (insertBefore(newChild, Wrap(ref)).IsEmpty()) {
    LinkBefore(m_node, old, ref);  // refused: nothing moved, so the old place is still there
    return {};
  }
  m_doc->Float(old);
  return oldChild;
}

int IKWXMLDOMNode::hasChildNodes() const {
  return m_node && m_node->type != XML_ATTRIBUTE_NODE && m_node->children ? 1 : 0;
}

IKWXMLDOMDocument IKWXMLDOMNode::GetOwnerDocument() const {
  if (!m_node || m_node->type == XML_DOCUMENT_NODE) return {};
  return IKWXMLDOMDocument(Wrap(reinterpret_cast<xmlNode*>(m_node->doc)));
}

IKWXMLDOMNode IKWXMLDOMNode::cloneNode(int deep) const {
  if (!m_node || m_node->type == XML_DOCUMENT_NODE) return {};
  if (m_node->type == XML_ATTRIBUTE_NODE) {
    xmlAttr* copy = xmlCopyProp(nullptr, reinterpret_cast<xmlAttr*>(m_node));
    if (copy) copy->doc = m_node->doc;
    return Wrap(m_doc->Float(reinterpret_cast<xmlNode*>(copy)));
  }
  return Wrap(m_doc->Float(xmlDocCopyNode(m_node, m_node->doc, deep ? 1 : 2)));
}

std::wstring IKWXMLDOMNode::GetNodeTypeString() const {
  if (!m_node) return {};
  switch (m_node->type) {
    case XML_ELEMENT_NODE:
      return L"element";
    case XML_ATTRIBUTE_NODE:
      return L"attribute";
    case XML_TEXT_NODE:
      return L"text";
    case XML_CDATA_SECTION_NODE:
      return L"cdatasection";
    case XML_PI_NODE:
      return L"processinginstruction";
    case XML_COMMENT_NODE:
      return L"comment";
    case XML_DOCUMENT_NODE:
      return L"document";
    case XML_DOCUMENT_FRAG_NODE:
      return L"documentfragment";
    default:
      return L"";
  }
}

std::wstring IKWXMLDOMNode::GetText() const {
  if (!m_node) return {};
  xmlChar* text = xmlNodeGetContent(m_node);
  std::wstring out = kw::xml::FromXml(text);
  xmlFree(text);
  return out;
}

void IKWXMLDOMNode::SetText(const wchar_t* text) {
  if (!m_node || m_node->type == XML_DOCUMENT_NODE) return;
  std::string utf8 = kw::xml::ToXml(kw::xml::CleanText(kw::View(text)));
  if (IsTextLike(m_node)) {
    xmlNodeSetContent(m_node, nullptr);
    xmlNodeAddContent(m_node, BAD_CAST utf8.c_str());
    return;
  }
  // Children go to the floating list: wrappers may still hold them.
  while (m_node->children != nullptr) {
    xmlNode* child = m_node->children;
    xmlUnlinkNode(child);
    m_doc->Float(child);
  }
  xmlNode* textNode = xmlNewDocText(m_node->doc, BAD_CAST utf8.c_str());
  LinkBefore(m_node, textNode, nullptr);
}

int IKWXMLDOMNode::GetSpecified() const {
  return m_node ? 1 : 0;
}
IKWXMLDOMNode IKWXMLDOMNode::GetDefinition() const {
  return {};
}
std::optional<std::wstring> IKWXMLDOMNode::GetNodeTypedValue() const {
  if (!m_node) return std::nullopt;
  return GetText();
}
void IKWXMLDOMNode::SetNodeTypedValue(const wchar_t* value) {
  SetText(value);
}
std::optional<std::wstring> IKWXMLDOMNode::GetDataType() const {
  return std::nullopt;
}
void IKWXMLDOMNode::SetDataType(const wchar_t*) {}

std::wstring IKWXMLDOMNode::GetXml() const {
  return m_node ? NodeMarkup(m_doc->doc.get(), m_node) : std::wstring();
}

std::wstring IKWXMLDOMNode::transformNode(const IKWXMLDOMNode&) const {
  return {};
}
void IKWXMLDOMNode::transformNodeToObject(const IKWXMLDOMNode&, const IKWXMLDOMNode&) const {}

std::vector<IKWXMLDOMNode> IKWXMLDOMNode::selectNodes(const wchar_t* xpath) const {
  std::vector<IKWXMLDOMNode> found;
  if (!m_node || xpath == nullptr) return found;
  xmlXPathContextPtr ctx = xmlXPathNewContext(m_node->doc);
  if (ctx == nullptr) return found;
  ctx->node = m_node;
  xmlXPathObjectPtr result = xmlXPathEvalExpression(BAD_CAST Utf8(xpath).c_str(), ctx);
  if (result && result->type == XPATH_NODESET && result->nodesetval) {
    for (int i = 0; i < result->nodesetval->nodeNr; ++i) {
      xmlNode* n = result->nodesetval->nodeTab[i];
      if (n->type != XML_NAMESPACE_DECL) found.push_back(Wrap(n));
    }
  }
  xmlXPathFreeObject(result);
  xmlXPathFreeContext(ctx);
  return found;
}

IKWXMLDOMNode IKWXMLDOMNode::selectSingleNode(const wchar_t* xpath) const {
  std::vector<IKWXMLDOMNode> found = selectNodes(xpath);
  return found.empty() ? IKWXMLDOMNode() : found.front();
}

int IKWXMLDOMNode::GetParsed() const {
  return 1;
}

std::wstring IKWXMLDOMNode::GetNamespaceURI() const {
  return m_node && m_node->type == XML_ELEMENT_NODE && m_node->ns
             ? kw::xml::FromXml(m_node->ns->href)
             : std::wstring();
}

std::wstring IKWXMLDOMNode::GetPrefix() const {
  return m_node && m_node->type == XML_ELEMENT_NODE && m_node->ns
             ? kw::xml::FromXml(m_node->ns->prefix)
             : std::wstring();
}

std::wstring IKWXMLDOMNode::GetBaseName() const {
  if (!m_node || (m_node->type != XML_ELEMENT_NODE && m_node->type != XML_ATTRIBUTE_NODE)) {
    return {};
  }
  return kw::xml::FromXml(m_node->name);
}

// ---------------------------------------------------------------- IKWXMLDOMAttribute

IKWXMLDOMAttribute::IKWXMLDOMAttribute(const IKWXMLDOMNode& node) : IKWXMLDOMNode(node) {
  if (GetNodeType() != KWNODE_ATTRIBUTE) *this = IKWXMLDOMAttribute();
}

std::wstring IKWXMLDOMAttribute::GetName() const {
  return GetNodeName();
}
std::optional<std::wstring> IKWXMLDOMAttribute::GetValue() const {
  return GetNodeValue();
}
void IKWXMLDOMAttribute::SetValue(const wchar_t* value) {
  SetNodeValue(value);
}

// ---------------------------------------------------------------- IKWXMLDOMElement

IKWXMLDOMElement::IKWXMLDOMElement(const IKWXMLDOMNode& node) : IKWXMLDOMNode(node) {
  if (GetNodeType() != KWNODE_ELEMENT) *this = IKWXMLDOMElement();
}

std::wstring IKWXMLDOMElement::GetTagName() const {
  return GetNodeName();
}

std::optional<std::wstring> IKWXMLDOMElement::getAttribute(const wchar_t* name) const {
  if (!m_node || name == nullptr) return std::nullopt;
  xmlChar* value = xmlGetProp(m_node, BAD_CAST Utf8(name).c_str());
  if (value == nullptr) return std::nullopt;
  std::wstring text = kw::xml::FromXml(value);
  xmlFree(value);
  return text;
}

void IKWXMLDOMElement::setAttribute(const wchar_t* name, const wchar_t* value) {
  if (!m_node || !kw::xml::IsValidName(kw::View(name))) return;
  // The old attribute node may be held by a wrapper: detach it instead of freeing it.
  removeAttribute(name);
  std::string text = kw::xml::ToXml(kw::xml::CleanText(kw::View(value)));
  xmlSetProp(m_node, BAD_CAST Utf8(name).c_str(), BAD_CAST text.c_str());
}

void IKWXMLDOMElement::removeAttribute(const wchar_t* name) {
  removeAttributeNode(getAttributeNode(name));
}

IKWXMLDOMAttribute IKWXMLDOMElement::getAttributeNode(const wchar_t* name) const {
  if (!m_node || name == nullptr) return {};
  xmlAttr* attr = xmlHasProp(m_node, BAD_CAST Utf8(name).c_str());
  if (attr == nullptr || attr->type != XML_ATTRIBUTE_NODE) return {};
  return IKWXMLDOMAttribute(Wrap(reinterpret_cast<xmlNode*>(attr)));
}

IKWXMLDOMAttribute IKWXMLDOMElement::setAttributeNode(const IKWXMLDOMAttribute& attr) {
  if (!m_node || attr.IsEmpty()) return {};
  std::wstring name = attr.GetName();
  IKWXMLDOMAttribute old = getAttributeNode(name.c_str());
  setAttribute(name.c_str(), attr.GetValue().value_or(L"").c_str());
  return old;
}

IKWXMLDOMAttribute IKWXMLDOMElement::removeAttributeNode(const IKWXMLDOMAttribute& attr) {
  if (!m_node || attr.IsEmpty() || NodeOf(attr)->parent != m_node) return {};
  auto* raw = reinterpret_cast<xmlAttr*>(NodeOf(attr));
  // Unlink by hand: xmlRemoveProp would free it.
  if (raw->prev) {
    raw->prev->next = raw->next;
  } else {
    m_node->properties = raw->next;
  }
  if (raw->next) raw->next->prev = raw->prev;
  raw->next = raw->prev = nullptr;
  raw->parent = nullptr;
  m_doc->floating.push_back(NodeOf(attr));
  return attr;
}

std::vector<IKWXMLDOMNode> IKWXMLDOMElement::getElementsByTagName(const wchar_t* name) const {
  std::wstring xpath =
      kw::View(name) == L"*" ? L".//*" : L".//*[name()='" + std::wstring(kw::View(name)) + L"']";
  if (kw::View(name).find(L'\'') != std::wstring_view::npos) return {};
  return selectNodes(xpath.c_str());
}

void IKWXMLDOMElement::normalize() {
  if (!m_node) return;
  for (xmlNode* c = m_node->children; c != nullptr; c = c->next) {
    while (c->type == XML_TEXT_NODE && c->next && c->next->type == XML_TEXT_NODE) {
      xmlNode* next = c->next;
      xmlNodeAddContent(c, next->content);
      xmlUnlinkNode(next);
      m_doc->Float(next);
    }
  }
}

// ---------------------------------------------------------------- IKWXMLDOMNamedNodeMap

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::getNamedItem(const wchar_t* name) const {
  return m_element.getAttributeNode(name);
}

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::setNamedItem(const IKWXMLDOMNode& attr) {
  IKWXMLDOMAttribute a(attr);
  if (a.IsEmpty() || m_element.IsEmpty()) return {};
  m_element.setAttributeNode(a);
  return m_element.getAttributeNode(a.GetName().c_str());
}

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::removeNamedItem(const wchar_t* name) {
  return m_element.removeAttributeNode(m_element.getAttributeNode(name));
}

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::GetItem(long index) const {
  xmlNode* element = m_element.ElementNode();
  if (element == nullptr || index < 0) return {};
  xmlAttr* attr = element->properties;
  for (long i = 0; attr != nullptr && i < index; ++i) attr = attr->next;
  return m_element.Wrap(reinterpret_cast<xmlNode*>(attr));
}

long IKWXMLDOMNamedNodeMap::GetLength() const {
  xmlNode* element = m_element.ElementNode();
  long count = 0;
  for (xmlAttr* a = element ? element->properties : nullptr; a != nullptr; a = a->next) ++count;
  return count;
}

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::getQualifiedItem(const wchar_t* baseName,
                                                      const wchar_t* namespaceURI) const {
  return kw::SafeLength(namespaceURI) == 0 ? getNamedItem(baseName) : IKWXMLDOMNode();
}

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::removeQualifiedItem(const wchar_t* baseName,
                                                         const wchar_t* namespaceURI) {
  return kw::SafeLength(namespaceURI) == 0 ? removeNamedItem(baseName) : IKWXMLDOMNode();
}

IKWXMLDOMNode IKWXMLDOMNamedNodeMap::nextNode() {
  IKWXMLDOMNode item = GetItem(m_next);
  if (!item.IsEmpty()) ++m_next;
  return item;
}

// ---------------------------------------------------------------- IKWXMLDOMDocument

IKWXMLDOMDocument::IKWXMLDOMDocument(const IKWXMLDOMNode& node) : IKWXMLDOMNode(node) {
  if (GetNodeType() != KWNODE_DOCUMENT) *this = IKWXMLDOMDocument();
}

int IKWXMLDOMDocument::CreateDispatch(const wchar_t* progId) {
  if (!kw::View(progId).starts_with(L"Msxml") && !kw::View(progId).starts_with(L"MSXML")) return 0;
  auto holder = std::make_shared<DomHolder>();
  holder->doc.reset(xmlNewDoc(BAD_CAST "1.0"));
  m_doc = holder;
  m_node = reinterpret_cast<xmlNode*>(holder->doc.get());
  return 1;
}

IKWXMLDOMNode IKWXMLDOMDocument::GetDoctype() const {
  return {};
}
IKWXMLDOMNode IKWXMLDOMDocument::GetImplementation() const {
  return {};
}

IKWXMLDOMElement IKWXMLDOMDocument::GetDocumentElement() const {
  if (!m_node) return {};
  return IKWXMLDOMElement(Wrap(xmlDocGetRootElement(m_node->doc)));
}

void IKWXMLDOMDocument::SetRefDocumentElement(const IKWXMLDOMElement& element) {
  IKWXMLDOMElement old = GetDocumentElement();
  if (element.IsEmpty() || element.IsSameNode(old)) return;
  if (!old.IsEmpty()) removeChild(old);
  appendChild(element);
}

IKWXMLDOMElement IKWXMLDOMDocument::createElement(const wchar_t* tagName) {
  if (!m_node || !kw::xml::IsValidName(kw::View(tagName))) return {};
  xmlNode* n = xmlNewDocNode(m_node->doc, nullptr, BAD_CAST Utf8(tagName).c_str(), nullptr);
  return IKWXMLDOMElement(Wrap(m_doc->Float(n)));
}

IKWXMLDOMNode IKWXMLDOMDocument::createDocumentFragment() {
  return m_node ? Wrap(m_doc->Float(xmlNewDocFragment(m_node->doc))) : IKWXMLDOMNode();
}

IKWXMLDOMNode IKWXMLDOMDocument::createTextNode(const wchar_t* data) {
  if (!m_node) return {};
  std::string text = kw::xml::ToXml(kw::xml::CleanText(kw::View(data)));
  return Wrap(m_doc->Float(xmlNewDocText(m_node->doc, BAD_CAST text.c_str())));
}

IKWXMLDOMNode IKWXMLDOMDocument::createComment(const wchar_t* data) {
  std::wstring text = kw::xml::CleanText(kw::View(data));
  if (!m_node || text.find(L"--") != std::wstring::npos || text.ends_with(L"-")) return {};
  return Wrap(m_doc->Float(xmlNewDocComment(m_node->doc, BAD_CAST kw::xml::ToXml(text).c_str())));
}

IKWXMLDOMNode IKWXMLDOMDocument::createCDATASection(const wchar_t* data) {
  std::string text = kw::xml::ToXml(kw::xml::CleanText(kw::View(data)));
  if (!m_node || text.find("]]>") != std::string::npos) return {};
  return Wrap(m_doc->Float(
      xmlNewCDataBlock(m_node->doc, BAD_CAST text.c_str(), static_cast<int>(text.size()))));
}

IKWXMLDOMNode IKWXMLDOMDocument::createProcessingInstruction(const wchar_t* target,
                                                             const wchar_t* data) {
  std::string text = kw::xml::ToXml(kw::xml::CleanText(kw::View(data)));
  if (!m_node || !kw::xml::IsValidName(kw::View(target)) || text.find("?>") != std::string::npos ||
      kw::EqualsNoCase(kw::View(target), L"xml")) {
    return {};
  }
  return Wrap(
      m_doc->Float(xmlNewDocPI(m_node->doc, BAD_CAST Utf8(target).c_str(), BAD_CAST text.c_str())));
}

IKWXMLDOMAttribute IKWXMLDOMDocument::createAttribute(const wchar_t* name) {
  if (!m_node || !kw::xml::IsValidName(kw::View(name))) return {};
  xmlAttr* attr = xmlNewDocProp(m_node->doc, BAD_CAST Utf8(name).c_str(), BAD_CAST "");
  return IKWXMLDOMAttribute(Wrap(m_doc->Float(reinterpret_cast<xmlNode*>(attr))));
}

IKWXMLDOMNode IKWXMLDOMDocument::createEntityReference(const wchar_t*) {
  return {};
}

std::vector<IKWXMLDOMNode> IKWXMLDOMDocument::getElementsByTagName(const wchar_t* tagName) const {
  return IKWXMLDOMElement(GetDocumentElement()).IsEmpty()
             ? std::vector<IKWXMLDOMNode>()
             : selectNodes(
                   kw::View(tagName) == L"*"
                       ? L"//*"
                       : (L"//*[name()='" + std::wstring(kw::View(tagName)) + L"']").c_str());
}

IKWXMLDOMNode IKWXMLDOMDocument::createNode(long type, const wchar_t* name,
                                            const wchar_t* namespaceURI) {
  if (kw::SafeLength(namespaceURI) != 0) return {};
  switch (type) {
    case KWNODE_ELEMENT:
      return createElement(name);
    case KWNODE_ATTRIBUTE:
      return createAttribute(name);
    case KWNODE_TEXT:
      return createTextNode(L"");
    case KWNODE_CDATA_SECTION:
      return createCDATASection(L"");
    case KWNODE_COMMENT:
      return createComment(L"");
    case KWNODE_PROCESSING_INSTRUCTION:
      return createProcessingInstruction(name, L"");
    case KWNODE_DOCUMENT_FRAGMENT:
      return createDocumentFragment();
    default:
      return {};
  }
}

IKWXMLDOMNode IKWXMLDOMDocument::nodeFromID(const wchar_t*) const {
  return {};
}

int IKWXMLDOMDocument::load(const wchar_t* path) {
  if (!m_doc || path == nullptr) return 0;
  kw::xml::DocPtr doc =
      Loaded(kw::xml::ParseFile(path, m_doc->preserveWhiteSpace), m_doc->preserveWhiteSpace);
  m_doc->parseError = doc ? 0 : 1;
  if (!doc) return 0;
  m_doc->retired.push_back(std::move(m_doc->doc));
  m_doc->doc = std::move(doc);
  m_doc->url = path;
  m_node = reinterpret_cast<xmlNode*>(m_doc->doc.get());
  return 1;
}

int IKWXMLDOMDocument::loadXML(const wchar_t* xml) {
  if (!m_doc || xml == nullptr) return 0;
  kw::xml::DocPtr doc =
      Loaded(kw::xml::ParseText(xml, m_doc->preserveWhiteSpace), m_doc->preserveWhiteSpace);
  m_doc->parseError = doc ? 0 : 1;
  if (!doc) return 0;
  m_doc->retired.push_back(std::move(m_doc->doc));
  m_doc->doc = std::move(doc);
  m_doc->url.clear();
  m_node = reinterpret_cast<xmlNode*>(m_doc->doc.get());
  return 1;
}

long IKWXMLDOMDocument::GetParseError() const {
  return m_doc ? m_doc->parseError : 0;
}
std::wstring IKWXMLDOMDocument::GetUrl() const {
  return m_doc ? m_doc->url : std::wstring();
}
int IKWXMLDOMDocument::GetAsync() const {
  return m_doc && m_doc->async ? 1 : 0;
}
void IKWXMLDOMDocument::SetAsync(int async) {
  if (m_doc) m_doc->async = async != 0;
}

int IKWXMLDOMDocument::save(const wchar_t* path) const {
  if (!m_node || path == nullptr || xmlDocGetRootElement(m_node->doc) == nullptr) return 0;
  return kw::xml::SaveFile(m_node->doc, path, !m_doc->preserveWhiteSpace) ? 1 : 0;
}

int IKWXMLDOMDocument::GetValidateOnParse() const {
  return m_doc && m_doc->validateOnParse;
}
void IKWXMLDOMDocument::SetValidateOnParse(int validate) {
  if (m_doc) m_doc->validateOnParse = validate != 0;
}
int IKWXMLDOMDocument::GetResolveExternals() const {
  return m_doc && m_doc->resolveExternals;
}
void IKWXMLDOMDocument::SetResolveExternals(int resolve) {
  if (m_doc) m_doc->resolveExternals = resolve != 0;
}
int IKWXMLDOMDocument::GetPreserveWhiteSpace() const {
  return m_doc && m_doc->preserveWhiteSpace;
}
void IKWXMLDOMDocument::SetPreserveWhiteSpace(int preserve) {
  if (m_doc) m_doc->preserveWhiteSpace = preserve != 0;
}
