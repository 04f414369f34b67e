#include "persist/RoadObjectBin.h"

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "common/fileio.h"
#include "common/format.h"
#include "common/guid.h"
#include "common/text.h"

namespace KWCommonUtils {

namespace {

// The file name without folder, cut before its last "." (the whole name when there is none).
std::wstring FileTitleOf(std::wstring_view path) {
  std::wstring name = kw::FileNameOf(path);
  const size_t dot = name.rfind(L'.');
  if (dot != std::wstring::npos) name.erase(dot);
  return name;
}

// A name becomes part of a file name; anything that could leave the folder is refused.
bool IsPlainFileName(const std::wstring& name) {
  return name != L"." && name != L".." && name.find_first_of(L"/\\") == std::wstring::npos &&
         name.find(L'\0') == std::wstring::npos;
}

bool EndsWithNoCase(std::wstring_view text, std::wstring_view suffix) {
  return text.size() >= suffix.size() &&
         kw::EqualsNoCase(text.substr(text.size() - suffix.size()), suffix);
}

// Empty when the string cannot be read.
std::wstring ReadFilerString(CRDDwgFiler& filer) {
  AcString text;
  filer.readString(text);
  return std::move(text.str());
}

}  // namespace

CRoadObjectBin::CRoadObjectBin() = default;

CRoadObjectBin::CRoadObjectBin(const CRoadObjectBin& other)
    : CRoadObject(other), m_strFileTitle(other.m_strFileTitle) {}

CRoadObjectBin& CRoadObjectBin::operator=(const CRoadObjectBin& other) {
  CRoadObject::operator=(other);
  m_strFileTitle = other.m_strFileTitle;
  return *this;
}

CRoadObjectBin::~CRoadObjectBin() = default;

const CRoadObject& CRoadObjectBin::operator=(const CRoadObject& other) {
  return CRoadObject::operator=(other);
}

bool CRoadObjectBin::Save(void*& data, int& size) const {
  CRDDwgFiler filer;
  try {
    if (!SaveFiler(filer)) return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
  const RDByteArray& bytes = filer.GetData();
  auto* copy = new (std::nothrow) unsigned char[static_cast<size_t>(bytes.length())];
  if (copy == nullptr) return false;
  std::memcpy(copy, bytes.asArrayPtr(), static_cast<size_t>(bytes.length()));
  data = copy;
  size = bytes.length();
  return true;
}

bool CRoadObjectBin::Load(void* data, int size, std::wstring& error) {
  CRDDwgFiler filer;
  if (!filer.SetData(data, size)) return false;
  try {
    return LoadFiler(filer, error);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::wstring CRoadObjectBin::FileTitle() const {
  return m_strFileTitle;
}

bool CRoadObjectBin::SaveFiler(CRDDwgFiler& filer) const {
  filer.writeString(m_strName.c_str());
  filer.writeBytes(&m_id, sizeof(m_id));
  filer.writeString(m_strDesc.c_str());
  return true;
}

bool CRoadObjectBin::LoadFiler(CRDDwgFiler& filer, std::wstring&) {
  m_strName = ReadFilerString(filer);
  GUID id;
  if (filer.readBytes(&id, sizeof(id)) == Acad::eOk) m_id = id;
  m_strDesc = ReadFilerString(filer);
  return true;
}

bool CRoadObjectBin::OnAfterLoad(std::wstring&) {
  return true;
}

void CRoadObjectBin::SetFileTitle(const wchar_t* title) {
  m_strFileTitle = kw::View(title);
}

CRoadObjectBinManager::CRoadObjectBinManager() = default;

CRoadObjectBinManager::CRoadObjectBinManager(const CRoadObjectBinManager& other) = default;

CRoadObjectBinManager& CRoadObjectBinManager::operator=(const CRoadObjectBinManager& other) {
  CRoadObjectManager::operator=(other);
  return *this;
}

CRoadObjectBinManager::~CRoadObjectBinManager() {
  Reset();
}

CRoadObjectBin* CRoadObjectBinManager::BinItem(int index) const {
  return dynamic_cast<CRoadObjectBin*>(Item(index));
}

bool CRoadObjectBinManager::LoadAll(std::vector<std::wstring>& errors) {
  Reset();
  try {
    return LoadFolder(errors);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool CRoadObjectBinManager::LoadFolder(std::vector<std::wstring>& errors) {
  const std::wstring folder = FilePath();
  const std::wstring ext = FileExt();
  std::vector<std::wstring> names;
  kw::Fs().ListFiles(folder, &names);
  bool allLoaded = true;
  // Every id in the list is unique while the folder loads (a repeated id replaces), so an index
  // by id answers what Find would, without a walk of the list per file.
  std::map<GUID, int> byId;
  for (const std::wstring& name : names) {
    if (!EndsWithNoCase(name, ext)) continue;
    const std::wstring path = kw::JoinPath(folder, name);
    std::wstring error;
    CRoadObjectBin* object = LoadRoadObject(path.c_str(), error);
    if (object != nullptr) {
      KeepTitleOnlyForItsFile(object, path);
      const auto [at, isNew] = byId.try_emplace(object->ID(), Count());
      if (isNew) {
        Add(object);
      } else {
        delete Item(at->second);
        SetAt(at->second, object);
      }
    }
    const bool ok = object != nullptr && object->OnAfterLoad(error);
    if (!error.empty()) errors.push_back(error);
    if (!ok) {
      errors.push_back(kw::FormatW(L"文件\"%s\"读取失败!", path.c_str()));
      allLoaded = false;
    }
  }
  return allLoaded;
}

CRoadObjectBin* CRoadObjectBinManager::Load(const wchar_t* path, std::wstring& error,
                                            bool bReplace) {
  std::unique_ptr<CRoadObjectBin> object(LoadRoadObject(path, error));
  if (object == nullptr) return nullptr;
  try {
    KeepTitleOnlyForItsFile(object.get(), kw::View(path));
    const int index = Find(object->ID());
    if (index >= 0 && bReplace) {
      delete Item(index);
      SetAt(index, object.get());
      return object.release();
    }
    if (index >= 0) {
      // A copy of an object already in the list: the file is the original's, the copy has none.
      object->CreateGUID();
      object->SetFileTitle(L"");
    }
    Add(object.get());
    return object.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool CRoadObjectBinManager::SaveAll() {
  bool allSaved = true;
  for (int i = 0; i < Count(); ++i) allSaved = Save(i) && allSaved;
  return allSaved;
}

void CRoadObjectBinManager::Remove(int index, bool bDelete, bool bDeleteFile) {
  if (index < 0 || index >= Count()) return;
  CRoadObject* object = Item(index);
  const CRoadObjectBin* bin = dynamic_cast<const CRoadObjectBin*>(object);
  if (bin != nullptr && bDeleteFile && !bin->FileTitle().empty()) {
    kw::Fs().RemoveFile(FileFullPath(bin->FileTitle().c_str()));
  }
  RemoveRoadObject(m_arrItems, index, bDelete);
}

void CRoadObjectBinManager::Remove(const GUID& id, bool bDelete, bool bDeleteFile) {
  Remove(Find(id), bDelete, bDeleteFile);
}

bool CRoadObjectBinManager::Save(const GUID& id) {
  return Save(Find(id));
}

bool CRoadObjectBinManager::Save(int index) {
  CRoadObjectBin* object = BinItem(index);
  if (object == nullptr || !IsPlainFileName(object->Name())) return false;
  try {
    kw::Fs().CreateDirectories(FilePath());
    const std::wstring title =
        kw::FormatW(L"%s%s", object->Name().c_str(), KWRDPub::GUIDToStr(object->ID()).c_str());
    return SaveRoadObject(FileFullPath(title.c_str()).c_str(), object);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::wstring CRoadObjectBinManager::FileFullPath(const wchar_t* fileTitle) const {
  kw::Fs().CreateDirectories(FilePath());
  return PathOfTitle(kw::View(fileTitle));
}

std::wstring CRoadObjectBinManager::PathOfTitle(std::wstring_view title) const {
  return kw::JoinPath(FilePath(), std::wstring(title) + FileExt());
}

// A title that does not lead back to the file the object came from (a file outside the folder,
// or an extension in another case) would make a save or a removal touch some other file.
void CRoadObjectBinManager::KeepTitleOnlyForItsFile(CRoadObjectBin* object,
                                                    std::wstring_view path) const {
  if (PathOfTitle(object->FileTitle()) != path) object->SetFileTitle(L"");
}

// Titles that differ only in case name one file on a file system that ignores case, where
// removing the old name would remove the file just written: the old file goes only when the
// folder lists both names.
void CRoadObjectBinManager::RemoveReplacedFile(const std::wstring& oldTitle,
                                               const std::wstring& newTitle) const {
  const std::wstring oldPath = FileFullPath(oldTitle.c_str());
  if (!kw::FileExists(oldPath)) return;
  if (kw::EqualsNoCase(oldTitle, newTitle)) {
    std::vector<std::wstring> names;
    kw::Fs().ListFiles(FilePath(), &names);
    const auto listed = [&](const std::wstring& title) {
      return std::find(names.begin(), names.end(), title + FileExt()) != names.end();
    };
    if (!listed(oldTitle) || !listed(newTitle)) return;
  }
  kw::Fs().RemoveFile(oldPath);
}

std::wstring CRoadObjectBinManager::FilePath() const {
  return std::wstring();
}

std::wstring CRoadObjectBinManager::FileExt() const {
  return std::wstring();
}

bool CRoadObjectBinManager::SaveRoadObject(const wchar_t* path, CRoadObjectBin* object) {
  const std::wstring newTitle = FileTitleOf(kw::View(path));
  void* data = nullptr;
  int size = 0;
  if (!SaveRoadObjectData(data, size, object)) return false;
  const bool written = kw::Fs().WriteFileAtomic(
      path, std::string_view(static_cast<const char*>(data), static_cast<size_t>(size)));
  delete[] static_cast<unsigned char*>(data);
  if (!written) return false;
  // The old file goes only once the new one is safely in place.
  const std::wstring oldTitle = object->FileTitle();
  if (!oldTitle.empty() && oldTitle != newTitle) RemoveReplacedFile(oldTitle, newTitle);
  object->SetFileTitle(newTitle.c_str());
  return true;
}

CRoadObjectBin* CRoadObjectBinManager::LoadRoadObject(const wchar_t* path, std::wstring& error) {
  try {
    const std::wstring title = FileTitleOf(kw::View(path));
    std::string bytes;
    if (!kw::Fs().ReadFile(std::wstring(kw::View(path)), &bytes, INT_MAX)) return nullptr;
    std::unique_ptr<CRoadObjectBin> object(
        LoadRoadObjectData(bytes.data(), static_cast<int>(bytes.size()), error));
    if (object != nullptr) object->SetFileTitle(title.c_str());
    return object.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool CRoadObjectBinManager::SaveRoadObjectData(void*& data, int& size, CRoadObjectBin* object) {
  return object->Save(data, size);
}

CRoadObjectBin* CRoadObjectBinManager::LoadRoadObjectData(void*, int, std::wstring&) {
  return nullptr;
}

}  // namespace KWCommonUtils
