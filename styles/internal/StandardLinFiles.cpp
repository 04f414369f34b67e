#include "styles/internal/StandardLinFiles.h"

#include <vector>

#include "common/fileio.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"

namespace kw::styles {

namespace {

constexpr wchar_t kIsoFile[] = L"acadiso.lin";
constexpr wchar_t kImperialFile[] = L"acad.lin";
// Longest path the search may hand back.
constexpr size_t kMaxPath = 4096;

// The name as a pattern that matches only itself: the loader takes wildcards.
std::wstring LiteralPattern(std::wstring_view name) {
  std::wstring pattern;
  for (wchar_t c : name) {
    if (std::wstring_view(L"*?#@.[]~`,-").find(c) != std::wstring_view::npos) pattern += L'`';
    pattern += c;
  }
  return pattern;
}

bool DrawingHas(const std::wstring& name) {
  resbuf* found = acdbTblSearch(L"LTYPE", name.c_str(), 0);
  acutRelRb(found);
  return found != nullptr;
}

bool Loads(const std::wstring& pattern, const wchar_t* file) {
  return acdbLoadLineTypeFile(pattern.c_str(), file) == Acad::eOk;
}

AcDbObjectId LinetypeId(const std::wstring& name) {
  AcDbObjectId id;
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbLinetypeTable* table = nullptr;
  if (!db || db->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return id;
  if (table->getAt(name.c_str(), id) != Acad::eOk) id = AcDbObjectId();
  table->close();
  return id;
}

bool IsLinFile(const std::wstring& fileName) {
  return fileName.size() > 4 && kw::EqualsNoCase(fileName.substr(fileName.size() - 4), L".lin");
}

}  // namespace

const std::wstring* StandardLinFiles::Folder() {
  if (m_search == Search::kNotYet) {
    std::vector<wchar_t> found(kMaxPath, L'\0');
    m_search = Search::kMissing;
    if (acedFindFile(kIsoFile, found.data(), found.size()) == RTNORM) {
      m_folder = kw::ParentOf(found.data());
      m_search = Search::kFound;
    }
  }
  return m_search == Search::kFound ? &m_folder : nullptr;
}

int StandardLinFiles::Restore(std::wstring_view name, const wchar_t* file, AcDbObjectId& id) {
  if (name.empty()) return 0;
  const std::wstring plain(name);
  if (DrawingHas(plain)) return 1;
  const std::wstring pattern = LiteralPattern(name);
  if (Loads(pattern, file ? file : kIsoFile) || Loads(pattern, kImperialFile)) return 1;
  const std::wstring* folder = Folder();
  std::vector<std::wstring> files;
  if (!folder || !kw::Fs().ListFiles(*folder, &files)) return 0;
  for (const std::wstring& fileName : files) {
    if (IsLinFile(fileName) && Loads(pattern, kw::JoinPath(*folder, fileName).c_str())) {
      id = LinetypeId(plain);
      return 1;
    }
  }
  return 0;
}

StandardLinFiles& ProcessLinFiles() {
  static StandardLinFiles files;
  return files;
}

}  // namespace kw::styles
