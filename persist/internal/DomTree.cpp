#include "persist/internal/DomTree.h"

#include <libxml/tree.h>

#include <algorithm>

namespace kw::xml {
namespace {

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

std::string QualifiedName(const xmlNode* element) {
  std::string name = reinterpret_cast<const char*>(element->name);
  if (element->ns == nullptr || element->ns->prefix == nullptr) return name;
  return reinterpret_cast<const char*>(element->ns->prefix) + (":" + name);
}

// The node after n in document order within top's subtree (null at the end).
xmlNode* NextInTree(xmlNode* n, const xmlNode* top) {
  if (n->children != nullptr && (n->type == XML_ELEMENT_NODE || n == top)) return n->children;
  while (n != top && n->next == nullptr) n = n->parent;
  return n == top ? nullptr : n->next;
}

}  // namespace

DomHolder::~DomHolder() {
  std::vector<xmlNode*> detached;
  for (xmlNode* node : floating) {
    if (node->parent == nullptr) detached.push_back(node);
  }
  std::sort(detached.begin(), detached.end());
  detached.erase(std::unique(detached.begin(), detached.end()), detached.end());
  for (xmlNode* node : detached) xmlFreeNode(node);
}

xmlNode* DomHolder::Float(xmlNode* node) {
  if (node != nullptr) floating.push_back(node);
  return node;
}

xmlNode* DomHolder::Adopt(DocPtr parsed, std::wstring_view newUrl) {
  parseError = parsed ? 0 : 1;
  if (!parsed) return nullptr;
  if (!preserveWhiteSpace) DropBlankText(xmlDocGetRootElement(parsed.get()));
  retired.push_back(std::move(doc));
  doc = std::move(parsed);
  url = newUrl;
  return reinterpret_cast<xmlNode*>(doc.get());
}

std::string Utf8(const wchar_t* text) {
  return ToXml(text == nullptr ? std::wstring_view() : std::wstring_view(text));
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
  if (node->type == XML_DOCUMENT_NODE) return SerializeText(doc, false);
  xmlBufferPtr buf = xmlBufferCreate();
  xmlNodeDump(buf, doc, node, 0, 0);
  std::wstring text = FromXml(xmlBufferContent(buf));
  xmlBufferFree(buf);
  return text;
}

std::vector<xmlNode*> ElementsNamed(xmlNode* top, std::wstring_view name) {
  std::vector<xmlNode*> found;
  if (top == nullptr || !CanHaveChildren(top)) return found;
  const bool all = name == L"*";
  const std::string wanted = ToXml(name);
  for (xmlNode* n = NextInTree(top, top); n != nullptr; n = NextInTree(n, top)) {
    if (n->type == XML_ELEMENT_NODE && (all || QualifiedName(n) == wanted)) found.push_back(n);
  }
  return found;
}

}  // namespace kw::xml
