// The tree under the IKWXMLDOM* wrappers: the holder that owns a family's documents and the
// node helpers the node, element and document wrappers share. Internal to persist/.
//
// Invariants of DomHolder:
//   1. doc is never null after CreateDispatch; documents replaced by a later load move to
//      retired and live as long as the holder, so wrappers of their nodes never dangle.
//   2. floating holds every node the family created or detached; at the end those still without
//      a parent are freed (all checked before any is freed), the others belong to a tree.
#ifndef KW_PERSIST_INTERNAL_DOMTREE_H_
#define KW_PERSIST_INTERNAL_DOMTREE_H_

#include <string>
#include <string_view>
#include <vector>

#include "persist/internal/XmlDoc.h"

namespace kw::xml {

struct DomHolder {
  DocPtr doc;
  std::vector<DocPtr> retired;
  std::vector<_xmlNode*> floating;
  std::wstring url;
  long parseError = 0;
  bool async = true;
  bool validateOnParse = true;
  bool resolveExternals = false;
  bool preserveWhiteSpace = false;

  DomHolder() = default;
  ~DomHolder();
  DomHolder(const DomHolder&) = delete;
  DomHolder& operator=(const DomHolder&) = delete;

  // Records node as made or detached by the family (see invariant 2); returns it.
  _xmlNode* Float(_xmlNode* node);
  // The one step after every load: a parsed document (null: the load failed) replaces the
  // current one, which is retired; whitespace-only text is dropped unless preserveWhiteSpace.
  // Sets parseError and, on success, url. The new document node, or null (nothing changed).
  _xmlNode* Adopt(DocPtr parsed, std::wstring_view newUrl);
};

// Wide text as libxml2's UTF-8 ("" for null).
std::string Utf8(const wchar_t* text);

// Node kinds.
bool IsTextLike(const _xmlNode* node);  // text, CDATA, comment, processing instruction
bool CanHaveChildren(const _xmlNode* node);
// Number of elements from node up to the root (0 for a non-element).
int DepthOf(const _xmlNode* node);
// Height of the element tree under node (iterative, so any tree is fine).
int HeightOf(const _xmlNode* node);
bool IsAncestorOrSelf(const _xmlNode* candidate, const _xmlNode* node);

// Links child into parent before ref (null: at the end) without libxml2's text merging, which
// would free a node that a wrapper still holds.
void LinkBefore(_xmlNode* parent, _xmlNode* child, _xmlNode* ref);
// The node's markup (a document: with its XML declaration).
std::wstring NodeMarkup(_xmlDoc* doc, _xmlNode* node);
// The elements below top (top itself excluded) in document order whose qualified name
// (prefix:name) is name, or all of them for "*". Names are compared as they are: no query
// language is involved, so no name can change what is searched.
std::vector<_xmlNode*> ElementsNamed(_xmlNode* top, std::wstring_view name);

}  // namespace kw::xml

#endif  // KW_PERSIST_INTERNAL_DOMTREE_H_
