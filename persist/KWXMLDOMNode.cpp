// IKWXMLDOMNode: the tree members every wrapper of the family answers.
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include "common/text.h"
#include "persist/KWXMLDOM.h"
#include "persist/internal/DomTree.h"

using kw::xml::CanHaveChildren;
using kw::xml::DepthOf;
using kw::xml::DomHolder;
using kw::xml::HeightOf;
using kw::xml::IsAncestorOrSelf;
using kw::xml::IsTextLike;
using kw::xml::LinkBefore;
using kw::xml::NodeMarkup;
using kw::xml::Utf8;

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

std::vector<IKWXMLDOMNode> IKWXMLDOMNode::ElementsByTagName(const wchar_t* name) const {
  std::vector<IKWXMLDOMNode> found;
  if (!m_node || name == nullptr) return found;
  for (xmlNode* element : kw::xml::ElementsNamed(m_node, name)) found.push_back(Wrap(element));
  return found;
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
