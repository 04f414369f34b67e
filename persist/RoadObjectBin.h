// The binary road object store: road objects kept one per file in one folder, each file the
// memory filer's bytes of the object (doc/roadobject-bin.md gives the layout).
//
// Both classes are frameworks. A module derives its object class from CRoadObjectBin (writing
// its own fields after the base ones in SaveFiler/LoadFiler) and its manager from
// CRoadObjectBinManager (overriding FilePath, FileExt and the factory LoadRoadObjectData).
#ifndef KW_PERSIST_ROADOBJECTBIN_H_
#define KW_PERSIST_ROADOBJECTBIN_H_

#include <string>
#include <string_view>
#include <vector>

#include "persist/RDDwgFiler.h"
#include "persist/RoadObject.h"

namespace KWCommonUtils {

class CRoadObjectBinManager;

// A road object that serialises itself through the memory filer.
//
// The file title (file name without folder and extension) is empty until the object is first
// saved or loaded; afterwards it names the object's file, so that a rename can remove the file
// of the old name.
class CRoadObjectBin : public CRoadObject {
 public:
  CRoadObjectBin();
  CRoadObjectBin(const CRoadObjectBin& other);
  // Copies the base fields and the file title.
  CRoadObjectBin& operator=(const CRoadObjectBin& other);
  ~CRoadObjectBin() override;
  // Copies the base fields only; the file title stays.
  const CRoadObject& operator=(const CRoadObject& other) override;

  // Serialises the object with SaveFiler. On success hands out a buffer from array new[] of
  // unsigned char (the caller frees it with delete[]) and its size; on failure data and size
  // are left as they were and false is returned.
  virtual bool Save(void*& data, int& size) const;
  // Reads the object from `size` bytes with LoadFiler (OnAfterLoad is not called here).
  virtual bool Load(void* data, int size, std::wstring& error);

 protected:
  friend class CRoadObjectBinManager;

  virtual std::wstring FileTitle() const;
  // Writes name, the 16 id bytes in memory order and desc; returns true. Derived classes call
  // it first and then write their own fields.
  virtual bool SaveFiler(CRDDwgFiler& filer) const;
  // Reads what SaveFiler wrote. A truncated input leaves the strings that could not be read
  // empty and the id unchanged; the filer status is not checked here, so a derived loader that
  // must detect damage checks filer.filerStatus() itself. Returns true.
  virtual bool LoadFiler(CRDDwgFiler& filer, std::wstring& error);
  // Called once the manager has read the whole folder; the base accepts.
  virtual bool OnAfterLoad(std::wstring& error);

  void SetFileTitle(const wchar_t* title);

  std::wstring m_strFileTitle;
};

// A road object manager whose objects live one per file in the folder FilePath(), named
// Name{GUID}FileExt() (the braced upper-case id text right after the name).
//
// Invariants:
//   1. An object's file title follows its own name and id: saving an object whose name changed
//      (in case alone too) writes the file of the new name and then removes the file of the old
//      one, so a folder holds one file per object. On a file system that ignores case, a change
//      of case alone removes nothing (both names are one file there).
//   2. No two objects share a file: an object keeps the title of the file it was loaded from
//      only when that title leads back to that file (the file lies in FilePath() under
//      title + FileExt()), and a copy loaded beside its original has no file until it is saved.
//   3. Saves are atomic: a failed save leaves the previous file byte-identical and returns
//      false. A name that could escape the folder (containing "/" or "\\", or equal to "." or
//      "..") makes Save return false without writing anything.
//   4. Objects are never saved implicitly, and destroying the manager deletes the objects but
//      no file.
// The list semantics (ownership, shallow copies) are those of CRoadObjectManager.
class CRoadObjectBinManager : public CRoadObjectManager {
 public:
  using CRoadObjectManager::Remove;

  CRoadObjectBinManager();
  CRoadObjectBinManager(const CRoadObjectBinManager& other);
  CRoadObjectBinManager& operator=(const CRoadObjectBinManager& other);
  ~CRoadObjectBinManager() override;

  // Empties the list (deleting the objects) and loads every file of the folder whose name ends
  // with FileExt(), in name order. For each file that fails (unreadable, rejected by the
  // factory, or OnAfterLoad false) the object's own message (if any) and then
  // "文件\"<path>\"读取失败!" are appended to errors. An object whose OnAfterLoad failed stays
  // in the list. True when every file loaded.
  bool LoadAll(std::vector<std::wstring>& errors);
  // Loads one file. An object whose id is already in the list replaces that object at its
  // index when bReplace is set; otherwise it gets a fresh id, no file title (the file stays the
  // original's) and is appended. Null when the file can't be read or decoded.
  CRoadObjectBin* Load(const wchar_t* path, std::wstring& error, bool bReplace);
  // Save(i) for every index, without stopping at a failure; true when all succeeded.
  bool SaveAll();

  // Removes the object from the list; deletes its file when bDeleteFile (a missing file is no
  // error) and the object when bDelete. An index outside the list does nothing.
  virtual void Remove(int index, bool bDelete, bool bDeleteFile);
  virtual void Remove(const GUID& id, bool bDelete, bool bDeleteFile);
  virtual bool Save(const GUID& id);
  // False for an index outside the list, a null or non-binary item, a name that is not a plain
  // file name, or a failed write.
  virtual bool Save(int index);
  // FilePath() (created when missing), then the title and FileExt().
  virtual std::wstring FileFullPath(const wchar_t* fileTitle) const;

 protected:
  // The folder (no trailing separator) and the extension (with its dot); empty in the base.
  virtual std::wstring FilePath() const;
  virtual std::wstring FileExt() const;
  virtual bool SaveRoadObject(const wchar_t* path, CRoadObjectBin* object);
  virtual CRoadObjectBin* LoadRoadObject(const wchar_t* path, std::wstring& error);
  virtual bool SaveRoadObjectData(void*& data, int& size, CRoadObjectBin* object);
  // The factory: a concrete manager creates its object class, calls its Load and returns it
  // (or deletes it and returns null). The base returns null.
  virtual CRoadObjectBin* LoadRoadObjectData(void* data, int size, std::wstring& error);

 private:
  CRoadObjectBin* BinItem(int index) const;
  bool LoadFolder(std::vector<std::wstring>& errors);
  std::wstring PathOfTitle(std::wstring_view title) const;
  void KeepTitleOnlyForItsFile(CRoadObjectBin* object, std::wstring_view path) const;
  void RemoveReplacedFile(const std::wstring& oldTitle, const std::wstring& newTitle) const;
};

}  // namespace KWCommonUtils

#endif  // KW_PERSIST_ROADOBJECTBIN_H_
