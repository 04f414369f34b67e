#include "persist/XTPPropExchange.h"

#include <libxml/tree.h>

#include <charconv>
#include <string_view>

#include "common/text.h"
#include "persist/internal/XmlDocState.h"

using kw::xml::DocState;

namespace {

// One step of a section path: a child element by name, or by name and attribute value.
struct Step {
  std::string name;
  bool selector = false;
  std::string attr;
  std::string value;
};

bool ReadName(std::wstring_view path, size_t& at, std::wstring_view stops, std::string* name) {
  size_t end = path.find_first_of(stops, at);
  if (end == std::wstring_view::npos) end = path.size();
  std::wstring_view text = path.substr(at, end - at);
  if (!kw::xml::IsValidName(text)) return false;
  *name = kw::xml::ToXml(text);
  at = end;
  return true;
}

// The part after a name: [@attr="value"] or [@attr='value'].
bool ReadSelector(std::wstring_view path, size_t& at, Step* step) {
  if (path.substr(at, 2) != L"[@") return false;
  at += 2;
  if (!ReadName(path, at, L"=", &step->attr) || at + 1 >= path.size()) return false;
  wchar_t quote = path[at + 1];
  if (quote != L'"' && quote != L'\'') return false;
  size_t close = path.find(quote, at + 2);
  if (close == std::wstring_view::npos || path.substr(close + 1, 1) != L"]") return false;
  step->value = kw::xml::ToXml(path.substr(at + 2, close - at - 2));
  step->selector = true;
  at = close + 2;
  return true;
}

// Splits a section path at "/" (outside selectors); empty parts are skipped. False for a
// malformed path or one deeper than the tree may be.
bool ParsePath(const wchar_t* text, std::vector<Step>* steps) {
  std::wstring_view path = kw::View(text);
  size_t at = 0;
  while (at < path.size()) {
    if (path[at] == L'/') {
      ++at;
      continue;
    }
    Step step;
    if (!ReadName(path, at, L"/[", &step.name)) return false;
    if (at < path.size() && path[at] == L'[' && !ReadSelector(path, at, &step)) return false;
    if (at < path.size() && path[at] != L'/') return false;
    if (steps->size() >= static_cast<size_t>(kw::xml::kMaxDepth)) return false;
    steps->push_back(std::move(step));
  }
  return true;
}

// Walks steps from node; missing plain elements are created when create is set.
xmlNode* Walk(DocState& doc, xmlNode* node, const std::vector<Step>& steps, bool create) {
  for (const Step& step : steps) {
    if (node == nullptr) return nullptr;
    if (step.selector) {
      node = doc.FindChildByAttr(node, step.name, step.attr, step.value);
      continue;
    }
    xmlNode* next = doc.FindChild(node, step.name);
    node = next != nullptr || !create ? next : doc.AppendChild(node, step.name);
  }
  return node;
}

std::string NameOf(const wchar_t* name) {
  return kw::xml::ToXml(kw::View(name));
}

}  // namespace

CXTPPropExchangeXMLNode::CXTPPropExchangeXMLNode(bool bLoading, const wchar_t* rootName)
    : CXTPPropExchange(bLoading), m_node(nullptr), m_rootName(kw::View(rootName)) {
  kw::xml::DocPtr doc = kw::xml::NewDocument(m_rootName);
  if (!doc) doc = kw::xml::NewDocument(L"root");
  m_doc = std::make_shared<DocState>(std::move(doc));
  if (!bLoading && kw::xml::IsValidName(m_rootName)) m_node = m_doc->Root();
}

CXTPPropExchangeXMLNode::CXTPPropExchangeXMLNode(bool bLoading, std::shared_ptr<DocState> doc,
                                                 xmlNode* node, bool bCompactMode)
    : CXTPPropExchange(bLoading), m_doc(std::move(doc)), m_node(node) {
  m_bCompactMode = bCompactMode;
}

CXTPPropExchangeXMLNode::~CXTPPropExchangeXMLNode() = default;

std::unique_ptr<CXTPPropExchangeXMLNode> CXTPPropExchangeXMLNode::Wrap(xmlNode* node) const {
  if (node == nullptr) return nullptr;
  return std::unique_ptr<CXTPPropExchangeXMLNode>(
      new CXTPPropExchangeXMLNode(m_bLoading, m_doc, node, m_bCompactMode));
}

bool CXTPPropExchangeXMLNode::Load(std::shared_ptr<DocState> doc) {
  xmlNode* root = doc->Root();
  if (root == nullptr || kw::xml::FromXml(root->name) != m_rootName) return false;
  m_doc = std::move(doc);
  m_node = root;
  return true;
}

bool CXTPPropExchangeXMLNode::LoadFromFile(const wchar_t* path) {
  return LoadFromFile(path, kw::xml::kMaxFileBytes);
}

bool CXTPPropExchangeXMLNode::LoadFromFile(const wchar_t* path, uint64_t maxBytes) {
  if (path == nullptr || !m_rootName.size()) return false;
  kw::xml::DocPtr doc = kw::xml::ParseFile(path, false, maxBytes);
  return doc && Load(std::make_shared<DocState>(std::move(doc)));
}

bool CXTPPropExchangeXMLNode::LoadFromString(const wchar_t* xml) {
  if (xml == nullptr || !m_rootName.size()) return false;
  kw::xml::DocPtr doc = kw::xml::ParseText(xml);
  return doc && Load(std::make_shared<DocState>(std::move(doc)));
}

bool CXTPPropExchangeXMLNode::SaveToFile(const wchar_t* path, bool bFormatted) const {
  return path != nullptr && m_doc->Root() != nullptr &&
         kw::xml::SaveFile(m_doc->doc(), path, bFormatted);
}

std::wstring CXTPPropExchangeXMLNode::GetXML(bool bFormatted) const {
  return kw::xml::SerializeText(m_doc->doc(), bFormatted);
}

std::wstring CXTPPropExchangeXMLNode::GetSectionName() const {
  return m_node ? kw::xml::FromXml(m_node->name) : m_rootName;
}

bool CXTPPropExchangeXMLNode::ExchangeProp(const wchar_t* name, std::wstring& value,
                                           const wchar_t* defaultValue) {
  std::string key = NameOf(name);
  if (IsStoring()) {
    if (m_node == nullptr || key.empty() || xmlValidateName(BAD_CAST key.c_str(), 0) != 0) {
      return false;
    }
    if (m_bCompactMode) {
      m_doc->SetAttr(m_node, key, kw::xml::ToXml(kw::xml::CleanText(value)));
      return true;
    }
    xmlNode* child = m_doc->FindChild(m_node, key);
    if (child == nullptr) child = m_doc->AppendChild(m_node, key);
    if (child != nullptr) kw::xml::SetElementText(child, value);
    return child != nullptr;
  }
  if (m_node != nullptr && m_bCompactMode) {
    xmlChar* text = xmlGetProp(m_node, BAD_CAST key.c_str());
    if (text != nullptr) {
      value = kw::xml::FromXml(text);
      xmlFree(text);
      return true;
    }
  } else if (m_node != nullptr) {
    if (xmlNode* child = m_doc->FindChild(m_node, key)) {
      value = kw::xml::ElementText(child);
      return true;
    }
  }
  value = kw::View(defaultValue);
  return false;
}

std::unique_ptr<CXTPPropExchangeXMLNode> CXTPPropExchangeXMLNode::GetSection(const wchar_t* name) {
  std::vector<Step> steps;
  if (m_node == nullptr || !ParsePath(name, &steps)) return nullptr;
  return Wrap(Walk(*m_doc, m_node, steps, IsStoring()));
}

std::unique_ptr<CXTPPropExchangeXMLNode> CXTPPropExchangeXMLNode::FindSection(
    const wchar_t* name) const {
  std::vector<Step> steps;
  if (m_node == nullptr || !ParsePath(name, &steps)) return nullptr;
  return Wrap(Walk(*m_doc, m_node, steps, false));
}

bool CXTPPropExchangeXMLNode::IsSectionExists(const wchar_t* name) const {
  return FindSection(name) != nullptr;
}

std::unique_ptr<CXTPPropExchangeEnumerator> CXTPPropExchangeXMLNode::GetEnumerator(
    const wchar_t* name) {
  return std::unique_ptr<CXTPPropExchangeEnumerator>(
      new CXTPPropExchangeEnumerator(*this, std::wstring(kw::View(name))));
}

bool CXTPPropExchangeXMLNode::IsPropertyExists(const wchar_t* name) const {
  if (m_node == nullptr) return false;
  std::string key = NameOf(name);
  if (m_bCompactMode) return xmlHasProp(m_node, BAD_CAST key.c_str()) != nullptr;
  return m_doc->FindChild(m_node, key) != nullptr;
}

bool CXTPPropExchangeXMLNode::RemoveProperty(const wchar_t* name) {
  if (m_node == nullptr) return false;
  std::string key = NameOf(name);
  if (m_bCompactMode) return m_doc->RemoveAttr(m_node, key);
  xmlNode* child = m_doc->FindChild(m_node, key);
  if (child != nullptr) m_doc->Remove(child);
  return child != nullptr;
}

bool CXTPPropExchangeXMLNode::RemoveSection(const wchar_t* name) {
  std::unique_ptr<CXTPPropExchangeXMLNode> section = FindSection(name);
  if (!section || section->m_node == m_node) return false;
  m_doc->Remove(section->m_node);
  return true;
}

std::unique_ptr<CXTPPropExchangeXMLNode> CXTPPropExchangeXMLNode::AppendSection(
    const wchar_t* name) {
  if (m_node == nullptr || !kw::xml::IsValidName(kw::View(name))) return nullptr;
  return Wrap(m_doc->AppendChild(m_node, NameOf(name)));
}

void CXTPPropExchangeXMLNode::EmptySection() {
  if (m_node != nullptr) m_doc->RemoveChildren(m_node);
}

void CXTPPropExchangeXMLNode::GetKeyNames(std::vector<std::wstring>& names) const {
  if (m_node == nullptr) return;
  for (xmlAttr* attr = m_node->properties; attr != nullptr; attr = attr->next) {
    names.push_back(L"@" + kw::xml::FromXml(attr->name));
  }
  for (xmlNode* child = m_node->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) names.push_back(kw::xml::FromXml(child->name));
  }
}

void CXTPPropExchangeXMLNode::VisitValues(
    const std::function<void(const std::wstring& name, const std::wstring& text)>& visit) const {
  if (m_node == nullptr) return;
  for (xmlAttr* attr = m_node->properties; attr != nullptr; attr = attr->next) {
    xmlChar* text = xmlNodeGetContent(reinterpret_cast<xmlNode*>(attr));
    visit(L"@" + kw::xml::FromXml(attr->name), kw::xml::FromXml(text));
    xmlFree(text);
  }
  for (xmlNode* child = m_node->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) {
      visit(kw::xml::FromXml(child->name), kw::xml::ElementText(child));
    }
  }
}

CXTPPropExchangeEnumerator::CXTPPropExchangeEnumerator(const CXTPPropExchangeXMLNode& container,
                                                       std::wstring name)
    : m_bLoading(container.IsLoading()),
      m_doc(container.m_doc),
      m_container(container.m_node),
      m_name(std::move(name)) {}

namespace {

xmlNode* NextNamed(xmlNode* node, const std::string& name) {
  for (; node != nullptr; node = node->next) {
    if (node->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char*>(node->name)) {
      return node;
    }
  }
  return nullptr;
}

// A storing enumerator's position: any non-null value, never dereferenced.
POSITION StoringPosition() {
  static char marker;
  return reinterpret_cast<POSITION>(&marker);
}

}  // namespace

POSITION CXTPPropExchangeEnumerator::GetPosition(uint32_t /*count*/, bool bCompactMode) {
  m_bCompactMode = bCompactMode;
  if (m_container == nullptr) return nullptr;
  if (!m_bLoading) return StoringPosition();
  return reinterpret_cast<POSITION>(NextNamed(m_container->children, kw::xml::ToXml(m_name)));
}

std::unique_ptr<CXTPPropExchangeXMLNode> CXTPPropExchangeEnumerator::GetNext(POSITION& pos) {
  if (pos == nullptr || m_container == nullptr) {
    pos = nullptr;
    return nullptr;
  }
  xmlNode* node;
  if (m_bLoading) {
    node = reinterpret_cast<xmlNode*>(pos);
    pos = reinterpret_cast<POSITION>(NextNamed(node->next, kw::xml::ToXml(m_name)));
  } else {
    node = m_doc->AppendChild(m_container, kw::xml::ToXml(m_name));
    if (node == nullptr) pos = nullptr;
  }
  if (node == nullptr) return nullptr;
  return std::unique_ptr<CXTPPropExchangeXMLNode>(
      new CXTPPropExchangeXMLNode(m_bLoading, m_doc, node, m_bCompactMode));
}

bool PX_String(CXTPPropExchange* px, const wchar_t* name, std::wstring& value,
               const wchar_t* defaultValue) {
  return px != nullptr && px->ExchangeProp(name, value, defaultValue);
}

namespace {

// Loading helper of the numeric exchanges: the stored text when present and not empty.
bool LoadText(CXTPPropExchange* px, const wchar_t* name, std::wstring* text) {
  return px->ExchangeProp(name, *text, nullptr) && !text->empty();
}

std::wstring DoubleText(double value) {
  char buf[64];
  auto result = std::to_chars(buf, buf + sizeof(buf), value);
  return std::wstring(buf, result.ptr);
}

}  // namespace

bool PX_Int(CXTPPropExchange* px, const wchar_t* name, int& value, int defaultValue) {
  if (px == nullptr) return false;
  std::wstring text;
  if (px->IsStoring()) {
    text = std::to_wstring(value);
    return px->ExchangeProp(name, text, nullptr);
  }
  bool found = LoadText(px, name, &text);
  value = found ? kw::WToI(text) : defaultValue;
  return found;
}

bool PX_Double(CXTPPropExchange* px, const wchar_t* name, double& value, double defaultValue) {
  if (px == nullptr) return false;
  std::wstring text;
  if (px->IsStoring()) {
    text = DoubleText(value);
    return px->ExchangeProp(name, text, nullptr);
  }
  bool found = LoadText(px, name, &text);
  value = found ? kw::WToF(text) : defaultValue;
  return found;
}

bool PX_Bool(CXTPPropExchange* px, const wchar_t* name, bool& value, bool defaultValue) {
  if (px == nullptr) return false;
  std::wstring text;
  if (px->IsStoring()) {
    text = value ? L"1" : L"0";
    return px->ExchangeProp(name, text, nullptr);
  }
  bool found = LoadText(px, name, &text);
  value = found ? (kw::WToI(text) != 0 || kw::EqualsNoCase(kw::Trim(text), L"true")) : defaultValue;
  return found;
}

namespace XTP_XMLUtils {

void ExchangeGUID(CXTPPropExchange* px, const wchar_t* name, GUID& id) {
  if (px == nullptr) return;
  std::wstring text;
  if (px->IsStoring()) {
    text = KWRDPub::GUIDToStr(id);
    px->ExchangeProp(name, text, nullptr);
    return;
  }
  px->ExchangeProp(name, text, nullptr);
  id = KWRDPub::StrToGUID(text.c_str());
}

namespace {}  // namespace

std::unique_ptr<CXTPPropExchangeXMLNode> GetChildExchangeNode(CXTPPropExchange* px,
                                                              const std::wstring& name) {
  if (px == nullptr) return nullptr;
  if (auto section = px->FindSection(name.c_str())) return section;
  if (!px->IsStoring()) return nullptr;
  std::unique_ptr<CXTPPropExchangeEnumerator> items = px->GetEnumerator(name.c_str());
  POSITION pos = items->GetPosition(1, px->IsCompactMode());
  return items->GetNext(pos);
}

bool CreateXMLNode(const wchar_t* path, CXTPPropExchangeXMLNode* parent,
                   std::unique_ptr<CXTPPropExchangeXMLNode>& node) {
  if (parent == nullptr || path == nullptr) return false;
  if (auto section = parent->FindSection(path)) {
    node = std::move(section);
    return true;
  }
  std::unique_ptr<CXTPPropExchangeXMLNode> current = parent->FindSection(L"");
  for (const std::wstring& part : kw::Split(path, L'/')) {
    for (const std::wstring& name : kw::Split(part, L'\\')) {
      if (name.empty() || !current) continue;
      std::unique_ptr<CXTPPropExchangeXMLNode> next = current->FindSection(name.c_str());
      current = next ? std::move(next) : current->AppendSection(name.c_str());
    }
  }
  if (!current) return false;
  node = std::move(current);
  return true;
}

}  // namespace XTP_XMLUtils
