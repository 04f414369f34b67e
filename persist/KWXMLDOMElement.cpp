// IKWXMLDOMElement, its attributes (IKWXMLDOMAttribute) and their live map
// (IKWXMLDOMNamedNodeMap).
#include <libxml/tree.h>

#include "common/text.h"
#include "persist/KWXMLDOM.h"
#include "persist/internal/DomTree.h"

using kw::xml::Utf8;

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
  return ElementsByTagName(name);
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
