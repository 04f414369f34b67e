#include "persist/internal/XmlDocState.h"

#include <libxml/tree.h>

#include <cstring>

namespace kw::xml {
namespace {

// Parents with at most this many children are searched directly; an index would cost more.
constexpr int kLinearLimit = 32;

bool IsElementNamed(const xmlNode* node, const std::string& name) {
  return node->type == XML_ELEMENT_NODE &&
         std::strcmp(reinterpret_cast<const char*>(node->name), name.c_str()) == 0;
}

// The attribute's value, and whether the element has it.
bool AttrValue(xmlNode* element, const std::string& attr, std::string* value) {
  xmlChar* text = xmlGetProp(element, BAD_CAST attr.c_str());
  if (text == nullptr) return false;
  value->assign(reinterpret_cast<const char*>(text));
  xmlFree(text);
  return true;
}

int Depth(const xmlNode* node) {
  int depth = 0;
  for (; node != nullptr && node->type == XML_ELEMENT_NODE; node = node->parent) ++depth;
  return depth;
}

}  // namespace

DocState::~DocState() {
  for (xmlNode* node : m_buried) xmlFreeNode(node);
}

xmlNode* DocState::Root() const {
  return xmlDocGetRootElement(m_doc.get());
}

void DocState::BuildNames(xmlNode* parent, ParentIndex& index) {
  for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) {
      index.byName.emplace(reinterpret_cast<const char*>(child->name), child);
    }
  }
  index.hasNames = true;
}

xmlNode* DocState::FindChild(xmlNode* parent, const std::string& name) {
  auto found = m_index.find(parent);
  if (found == m_index.end() || !found->second.hasNames) {
    int seen = 0;
    xmlNode* child = parent->children;
    for (; child != nullptr && seen < kLinearLimit; child = child->next, ++seen) {
      if (IsElementNamed(child, name)) return child;
    }
    if (child == nullptr) return nullptr;
    ParentIndex& index = m_index[parent];
    BuildNames(parent, index);
    found = m_index.find(parent);
  }
  auto hit = found->second.byName.find(name);
  return hit == found->second.byName.end() ? nullptr : hit->second;
}

DocState::AttrIndex& DocState::BuildAttr(xmlNode* parent, ParentIndex& index,
                                         const std::string& name, const std::string& attr) {
  AttrIndex& built = index.byAttr[{name, attr}];
  std::string value;
  for (xmlNode* child = parent->children; child != nullptr; child = child->next) {
    if (IsElementNamed(child, name) && AttrValue(child, attr, &value)) {
      if (!built.byValue.emplace(value, child).second) built.duplicates = true;
    }
  }
  return built;
}

xmlNode* DocState::FindChildByAttr(xmlNode* parent, const std::string& name,
                                   const std::string& attr, const std::string& value) {
  ParentIndex& index = m_index[parent];
  auto found = index.byAttr.find({name, attr});
  AttrIndex& values =
      found != index.byAttr.end() ? found->second : BuildAttr(parent, index, name, attr);
  auto hit = values.byValue.find(value);
  return hit == values.byValue.end() ? nullptr : hit->second;
}

xmlNode* DocState::AppendChild(xmlNode* parent, const std::string& name) {
  if (xmlValidateName(BAD_CAST name.c_str(), 0) != 0 || Depth(parent) >= kMaxDepth) {
    return nullptr;
  }
  xmlNode* child = xmlNewDocNode(m_doc.get(), nullptr, BAD_CAST name.c_str(), nullptr);
  xmlAddChild(parent, child);
  auto found = m_index.find(parent);
  if (found != m_index.end() && found->second.hasNames) found->second.byName.emplace(name, child);
  return child;
}

void DocState::SetAttr(xmlNode* element, const std::string& attr, const std::string& value) {
  auto found = m_index.find(element->parent);
  AttrIndex* values = nullptr;
  if (found != m_index.end()) {
    for (auto& [key, index] : found->second.byAttr) {
      if (key.second == attr && IsElementNamed(element, key.first)) values = &index;
    }
  }
  std::string old;
  bool hadOld = values != nullptr && AttrValue(element, attr, &old);
  xmlSetProp(element, BAD_CAST attr.c_str(), BAD_CAST value.c_str());
  if (values == nullptr) return;
  auto same = values->byValue.find(value);
  // Which of two equal values comes first is unknown without a walk: rebuild on next use.
  if (values->duplicates || (same != values->byValue.end() && same->second != element)) {
    found->second.byAttr.erase({reinterpret_cast<const char*>(element->name), attr});
    return;
  }
  if (hadOld) values->byValue.erase(old);
  values->byValue[value] = element;
}

bool DocState::RemoveAttr(xmlNode* element, const std::string& attr) {
  m_index.erase(element->parent);
  return xmlUnsetProp(element, BAD_CAST attr.c_str()) == 0;
}

void DocState::Remove(xmlNode* node) {
  m_index.erase(node->parent);
  xmlUnlinkNode(node);
  m_buried.push_back(node);
}

void DocState::RemoveChildren(xmlNode* parent) {
  m_index.erase(parent);
  while (parent->children != nullptr) {
    xmlNode* child = parent->children;
    xmlUnlinkNode(child);
    m_buried.push_back(child);
  }
}

}  // namespace kw::xml
