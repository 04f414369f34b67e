// Road objects: named, GUID-identified design objects (typical sections, style sets, standards)
// that users create, copy, rename and delete in lists, and the owning list that keeps them.
//
// The binary store (RoadObjectBin.h) and the XML store derive from both classes to add
// persistence; modules derive their own object classes from those.
#ifndef KW_PERSIST_ROADOBJECT_H_
#define KW_PERSIST_ROADOBJECT_H_

#include <string>

#include "common/guid.h"
#include "host/api/array.h"

namespace KWCommonUtils {

// A road object: an identity, a display name and a free description.
//
// The id is all zero after construction; whoever creates a genuinely new object (not one being
// loaded from a store) calls CreateGUID. Equality compares names only, ignoring case: two
// objects named "Road" and "ROAD" are equal whatever their ids, because the lists that hold
// them require unique names, not unique contents.
class CRoadObject {
 public:
  CRoadObject();
  CRoadObject(const CRoadObject& other);
  virtual ~CRoadObject();

  // Copies id, name and description; returns *this.
  virtual const CRoadObject& operator=(const CRoadObject& other);
  // True when the names are equal ignoring case; ids and descriptions are not compared.
  virtual bool operator==(const CRoadObject& other) const;

  // Gives the object a fresh random id.
  void CreateGUID();

  GUID ID() const { return m_id; }
  GUID GetObjectId() const { return m_id; }
  void SetID(GUID id) { m_id = id; }
  void SetObjectId(GUID id) { m_id = id; }

  std::wstring Name() const { return m_strName; }
  std::wstring GetName() const { return m_strName; }
  void SetName(std::wstring name) { m_strName = std::move(name); }

  std::wstring Desc() const { return m_strDesc; }
  std::wstring GetDesc() const { return m_strDesc; }
  void SetDesc(std::wstring desc) { m_strDesc = std::move(desc); }

 protected:
  GUID m_id;
  std::wstring m_strName;
  std::wstring m_strDesc;
};

using CRoadObjectArray = AcArray<CRoadObject*, AcArrayMemCopyReallocator<CRoadObject*>>;

// Removes the pointer at `index` from `items` (later pointers move one place forward) and, when
// bDelete is set and the pointer is not null, deletes the object. An index outside the list
// does nothing.
void RemoveRoadObject(CRoadObjectArray& items, int index, bool bDelete);

// True when an object other than the one with `id` bears `name` (ignoring case). Renaming an
// object to its own name, in any case, is therefore allowed. Only the first object with the
// name is looked at.
bool IsNameExist(const CRoadObjectArray& items, const GUID& id, const wchar_t* name);

// An ordered list of road objects that owns them.
//
// Invariants:
//   1. Every non-null pointer in the list is owned by the list: Reset, the destructor and
//      Remove(..., true) delete it through its virtual destructor.
//   2. Copying a manager (copy constructor, operator=) copies the pointers only; the copy and the
//      source then share the objects, and the caller must make sure that only one of them
//      deletes them (e.g. by emptying the other with Remove(..., false)).
//   3. Lookups by name ignore case and lookups by id compare all 16 bytes; both return the first
//      match in list order.
// Out-of-range indexes are ignored (SetAt, Remove) or answered with null (Item).
class CRoadObjectManager {
 public:
  CRoadObjectManager();
  CRoadObjectManager(const CRoadObjectManager& other);
  CRoadObjectManager& operator=(const CRoadObjectManager& other);
  virtual ~CRoadObjectManager();

  // Null when no object bears the name (ignoring case) or the id.
  virtual CRoadObject* Item(const wchar_t* name) const;
  virtual CRoadObject* Item(const GUID& id) const;
  // Null when index is outside the list.
  virtual CRoadObject* Item(int index) const;
  virtual int Count() const;
  // Deletes every object and empties the list.
  virtual void Reset();
  // Takes the object out of the list; deletes it when bDelete is set.
  virtual void Remove(int index, bool bDelete);
  // Finds the object by id and removes it through the virtual Remove(int, bool), so derived
  // managers that override that one see this call too.
  virtual void Remove(const GUID& id, bool bDelete);

  // Appends the object (the list takes ownership; no check for duplicates or null) and returns
  // its index.
  int Add(CRoadObject* object);
  // Replaces the pointer at index; the old object is neither deleted nor returned.
  void SetAt(int index, CRoadObject* object);

  // Index of the first object with this id / name (ignoring case), or -1.
  int Find(const GUID& id) const;
  int Find(const wchar_t* name) const;

  // baseName when no object bears it; otherwise the first of baseName1, baseName2, ... that is
  // free (ignoring case).
  std::wstring CreateName(const wchar_t* baseName) const;
  // A name for a copy: everything from the copy marker "[副本]" on is cut, the marker appended
  // and the result made unique with CreateName ("Road" -> "Road[副本]" -> "Road[副本]1").
  std::wstring CreateCopyName(const wchar_t* name) const;
  // True when another object than the one with this id already bears the name.
  bool IsNameExist(const GUID& id, const wchar_t* name) const;

 protected:
  CRoadObjectArray m_arrItems;
};

}  // namespace KWCommonUtils

#endif  // KW_PERSIST_ROADOBJECT_H_
