// Road objects kept in one XML document: a file of the manager's own, or a string held elsewhere.
//
// Document shape (element names of the root, collection and item come from the manager):
//   <kwrd>                                   XMLRoot()
//     <Collection>                           CollectionNode()
//       <default>1</default>                 index of the default object (-1: none)
//       <Item guid="{...}" name=".." desc=".." ...derived values as attributes.../>
//   ...
// An item is found by the selector Item[@guid="{...}"], so saving into a document that already
// holds an object's element rewrites that element instead of adding another. Lookups are indexed:
// saving or loading n objects costs O(n), not O(n^2).
//
// Ownership: the manager owns its objects (CRoadObjectManager's invariants). Failure: every
// operation reports by its result only (false, null, empty string); a document that does not
// parse, has another root or is hostile loads nothing, and a file is only ever replaced
// atomically.
#ifndef KW_PERSIST_ROADOBJECTXML_H_
#define KW_PERSIST_ROADOBJECTXML_H_

#include <map>
#include <string>
#include <vector>

#include "persist/RoadObject.h"
#include "persist/XTPPropExchange.h"

namespace KWCommonUtils {

// A road object that exchanges its values with an XML node. Derived classes override
// DoPropExchange, call this one first and then exchange their own values.
class CRoadObjectXML : public CRoadObject {
 public:
  CRoadObjectXML() = default;
  CRoadObjectXML(const CRoadObjectXML& other) = default;
  CRoadObjectXML& operator=(const CRoadObjectXML& other) = default;
  ~CRoadObjectXML() override = default;

  // "guid" (braced text), "name", "desc", in this order.
  virtual void DoPropExchange(CXTPPropExchange* px);
  // The object alone as an XML text whose root element is XMLNode() (values as attributes).
  virtual std::wstring SaveXML();
  // Reads such a text; false when it does not parse or its root element is not XMLNode().
  virtual bool LoadXML(const wchar_t* xml);
  // Called after the object was taken into a manager's list; the base returns true.
  virtual bool OnAfterLoad();

 protected:
  // The root element name of a single object's text; the base gives "kwrd".
  virtual std::wstring XMLNode();
};

class CRoadObjectXMLManager : public CRoadObjectManager {
 public:
  using CRoadObjectManager::Remove;
  using NameList = std::vector<std::wstring>;

  CRoadObjectXMLManager();
  // Shallow copies: the item pointers and the default id (CRoadObjectManager invariant 2).
  CRoadObjectXMLManager(const CRoadObjectXMLManager& other);
  CRoadObjectXMLManager& operator=(const CRoadObjectXMLManager& other);
  // Deletes the objects; nothing is written.
  ~CRoadObjectXMLManager() override;

  // Removes the object at index; with bRemoveFromFile its element is first deleted from the
  // manager's file. When that file exists but cannot be loaded, nothing at all happens (the
  // object stays in the list). An invalid index does nothing.
  virtual void Remove(int index, bool bDelete, bool bRemoveFromFile);
  virtual void Remove(const GUID& id, bool bDelete, bool bRemoveFromFile);

  // Reset(), then load the manager's file. False when it is missing or does not load.
  virtual bool ImportXML();
  // Saves every object to the manager's file.
  virtual bool ExportXML();

  // Merges the document's objects into the list (see LoadRoadObjectFromXML). names, when not
  // empty, takes only the objects so named (ignoring case). tag is handed to the hooks.
  virtual bool LoadXMLFile(const wchar_t* path, const NameList& names, const wchar_t* tag,
                           bool bReplace);
  // Writes the objects (or only those named) to a new document saved atomically at path.
  virtual bool SaveXMLFile(const wchar_t* path, const NameList& names, const wchar_t* tag);
  virtual bool LoadXMLString(const wchar_t* xml, const NameList& names, const wchar_t* tag,
                             bool bReplace);
  // The document as text; "" when SaveXML fails.
  virtual std::wstring SaveXMLString(const NameList& names, const wchar_t* tag);

  // The document's file name (with extension), its folder (without trailing separator), and the
  // element names of the list and of one object.
  virtual std::wstring FileName() const = 0;
  virtual std::wstring FolderPath() const = 0;
  virtual std::wstring CollectionNode() const = 0;
  virtual std::wstring ItemNode() const = 0;
  // FolderPath() (created when missing) + "/" + FileName(); the argument is ignored on purpose:
  // a manager has exactly one document.
  virtual std::wstring FileFullPath(const wchar_t* ignored);
  // The root element name; the base gives "kwrd".
  virtual std::wstring XMLRoot();

  // Index of the default object (-1 when none) / the object itself (null when none).
  virtual int GetDefaultItem() const;
  virtual CRoadObjectXML* DefaultItem() const;
  // Stores the id as given (unchecked) / takes the id of Item(index) (an invalid index changes
  // nothing).
  virtual void SetDefaultItem(const GUID& id);
  virtual void SetDefaultItem(int index);

  // The whole exchange on a root node: the collection, its "default", then the items.
  virtual bool LoadXML(CXTPPropExchange* px, const NameList& names, const wchar_t* tag,
                       bool bReplace);
  virtual bool SaveXML(CXTPPropExchange* px, const NameList& names, const wchar_t* tag);
  // The items of a collection node, loading or storing by the node's direction.
  virtual bool ExchangeXML(CXTPPropExchange* collection, const NameList& names, const wchar_t* tag,
                           bool bReplace);

 protected:
  // Hooks around the whole exchange; the base returns true from both.
  virtual bool OnBeforeExchange(CXTPPropExchange* px);
  virtual bool OnAfterExchange(CXTPPropExchange* px);
  // Makes an object from an item node and merges it into the list: skipped (deleted, null) when
  // a name list is given and does not name it; appended when its id is new; with bReplace put in
  // place of the object with the same id (which is deleted); otherwise appended with a fresh id.
  virtual CRoadObjectXML* LoadRoadObjectFromXML(CXTPPropExchange* node, const NameList& names,
                                                const wchar_t* tag, bool bReplace);
  // obj->DoPropExchange(node); true, also for a null obj.
  virtual bool SaveRoadObject(CXTPPropExchange* node, CRoadObjectXML* obj);
  // The factory: a new object of the manager's class read from node. The base returns null.
  virtual CRoadObjectXML* LoadRoadObject(CXTPPropExchange* node);

  GUID m_defaultId;

 private:
  bool LoadItems(CXTPPropExchange* collection, const NameList& names, const wchar_t* tag,
                 bool bReplace);
  bool SaveItems(CXTPPropExchange* collection, const NameList& names);
  int FindLoaded(const GUID& id);

  void NoteLoaded(const GUID& id, int index);

  // While a load runs: the first index of each id in the list, valid while the list holds
  // m_loadCount objects, so merging n objects costs O(n log n) instead of O(n^2).
  std::map<GUID, int> m_loadIndex;
  int m_loadCount = -1;
};

}  // namespace KWCommonUtils

#endif  // KW_PERSIST_ROADOBJECTXML_H_
