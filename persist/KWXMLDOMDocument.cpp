// IKWXMLDOMDocument: making nodes, loading (one adopt step for files and text) and saving.
#include <libxml/tree.h>

#include "common/text.h"
#include "persist/KWXMLDOM.h"
#include "persist/internal/DomTree.h"

using kw::xml::DomHolder;
using kw::xml::Utf8;

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
  return ElementsByTagName(tagName);
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
  return Take(m_doc->Adopt(kw::xml::ParseFile(path, m_doc->preserveWhiteSpace), kw::View(path)));
}

int IKWXMLDOMDocument::loadXML(const wchar_t* xml) {
  if (!m_doc || xml == nullptr) return 0;
  return Take(m_doc->Adopt(kw::xml::ParseText(xml, m_doc->preserveWhiteSpace), L""));
}

int IKWXMLDOMDocument::Take(_xmlNode* loaded) {
  if (loaded == nullptr) return 0;
  m_node = loaded;
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
