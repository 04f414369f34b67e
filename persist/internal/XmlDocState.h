// The document behind every section of one property exchange, with its lookup indexes.
// Internal to persist/: the public classes hold it through a shared pointer.
//
// Why indexes: a section with n children is looked up by child name (profile keys) or by an
// attribute value (the store's guid selector) once per value or object, which is O(n) each and
// O(n^2) for a whole file with a linear scan.
//
// Invariants:
//   1. m_doc is never null.
//   2. Nodes in m_buried are detached from the tree and freed only by the destructor, before the
//      document (their names may live in the document's dictionary). A section object that still
//      points at one therefore never dangles.
//   3. An index of a parent P, when present, is exact for the element children P has now:
//      byName[n] is P's first element child named n (when hasNames), and byAttr[(n, a)][v] is
//      P's first child named n whose attribute a is v. Every change made through this class keeps
//      that true or drops P's index; nothing else changes elements of the tree.
#ifndef KW_PERSIST_INTERNAL_XMLDOCSTATE_H_
#define KW_PERSIST_INTERNAL_XMLDOCSTATE_H_

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "persist/internal/XmlDoc.h"

namespace kw::xml {

class DocState {
 public:
  explicit DocState(DocPtr doc) : m_doc(std::move(doc)) {}
  ~DocState();
  DocState(const DocState&) = delete;
  DocState& operator=(const DocState&) = delete;

  _xmlDoc* doc() const { return m_doc.get(); }
  _xmlNode* Root() const;

  // The first element child of parent with that name (UTF-8), or null.
  _xmlNode* FindChild(_xmlNode* parent, const std::string& name);
  // The first element child named name whose attribute attr equals value, or null.
  _xmlNode* FindChildByAttr(_xmlNode* parent, const std::string& name, const std::string& attr,
                            const std::string& value);
  // A new last element child; null when name is not a valid name or the tree would get deeper
  // than kMaxDepth.
  _xmlNode* AppendChild(_xmlNode* parent, const std::string& name);
  void SetAttr(_xmlNode* element, const std::string& attr, const std::string& value);
  bool RemoveAttr(_xmlNode* element, const std::string& attr);
  // Detaches node from the tree (kept until the document goes away).
  void Remove(_xmlNode* node);
  void RemoveChildren(_xmlNode* parent);

 private:
  struct AttrIndex {
    std::unordered_map<std::string, _xmlNode*> byValue;
    bool duplicates = false;
  };
  struct ParentIndex {
    bool hasNames = false;
    std::unordered_map<std::string, _xmlNode*> byName;
    std::map<std::pair<std::string, std::string>, AttrIndex> byAttr;
  };
  void BuildNames(_xmlNode* parent, ParentIndex& index);
  AttrIndex& BuildAttr(_xmlNode* parent, ParentIndex& index, const std::string& name,
                       const std::string& attr);

  DocPtr m_doc;
  std::vector<_xmlNode*> m_buried;
  std::unordered_map<_xmlNode*, ParentIndex> m_index;
};

}  // namespace kw::xml

#endif  // KW_PERSIST_INTERNAL_XMLDOCSTATE_H_
