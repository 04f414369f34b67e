#include "styles/internal/StandardLinFiles.h"

#include <vector>

#include "common/fileio.h"
#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
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
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbLinetypeTable* table = nullptr;
  if (!db || db->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return false;
  const bool has = table->has(name.c_str());
  table->close();
  return has;
}

// The file as the loader finds it ("" when it does not).
std::wstring FindLinFile(const wchar_t* file) {
  std::vector<wchar_t> found(kMaxPath, L'\0');
  const Acad::ErrorStatus es =
      acdbHostApplicationServices()->findFile(found.data(), static_cast<int>(found.size()), file);
  return es == Acad::eOk ? std::wstring(found.data()) : std::wstring();
}

// The upper-case names of the linetypes in `db`.
std::unordered_set<std::wstring> LinetypeNames(AcDbDatabase& db) {
  std::unordered_set<std::wstring> names;
  AcDbLinetypeTable* table = nullptr;
  if (db.getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return names;
  AcDbLinetypeTableIterator* it = nullptr;
  if (table->newIterator(it) == Acad::eOk) {
    for (; !it->done(); it->step()) {
      AcDbLinetypeTableRecord* record = nullptr;
      if (it->getRecord(record, AcDb::kForRead) != Acad::eOk) continue;
      names.insert(kw::ToUpper(record->name()));
      record->close();
    }
    delete it;
  }
  table->close();
  return names;
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

bool IsUpper(std::wstring_view name) {
  for (wchar_t c : name) {
    if (c >= 0x80 || (c >= L'a' && c <= L'z')) return false;
  }
  return true;
}

bool IsLinFile(const std::wstring& fileName) {
  return fileName.size() > 4 && kw::EqualsNoCase(fileName.substr(fileName.size() - 4), L".lin");
}

}  // namespace

const std::wstring* StandardLinFiles::Folder() {
  if (m_search == Search::kNotYet) {
    std::vector<wchar_t> found(kMaxPath, L'\0');
    m_search = Search::kMissing;
    std::vector<std::wstring> files;
    if (acedFindFile(kIsoFile, found.data(), found.size()) == RTNORM) {
      m_folder = kw::ParentOf(found.data());
      m_search = Search::kFound;
      kw::Fs().ListFiles(m_folder, &files);
    }
    for (const std::wstring& file : files) {
      if (IsLinFile(file)) m_linFiles.push_back(kw::JoinPath(m_folder, file));
    }
  }
  return m_search == Search::kFound ? &m_folder : nullptr;
}

const StandardLinFiles::NameSet& StandardLinFiles::NamesIn(const std::wstring& path) {
  auto [it, fresh] = m_names.try_emplace(path);
  if (fresh) {
    AcDbDatabase scratch(false, true);
    if (acdbLoadLineTypeFile(L"*", path.c_str(), &scratch) == Acad::eOk) {
      it->second = LinetypeNames(scratch);
    }
  }
  return it->second;
}

const StandardLinFiles::Found& StandardLinFiles::Lookup(const wchar_t* file, Found& scratch) {
  auto fill = [this, file](Found& found) {
    found.path = FindLinFile(file);
    if (!found.path.empty()) found.names = &NamesIn(found.path);
  };
  if (m_batches == 0) {
    fill(scratch);
    return scratch;
  }
  for (const auto& [name, found] : m_found) {
    if (name == file) return found;
  }
  m_found.emplace_back(file, Found());
  fill(m_found.back().second);
  return m_found.back().second;
}

const StandardLinFiles::NameSet& StandardLinFiles::BatchNames() {
  if (!m_batchNames) {
    m_batchNames = std::make_unique<NameSet>();
    std::vector<const wchar_t*> files{kIsoFile, kImperialFile};
    if (Folder()) {
      for (const std::wstring& path : m_linFiles) files.push_back(path.c_str());
    }
    Found scratch;
    for (const wchar_t* file : files) {
      if (const NameSet* names = Lookup(file, scratch).names) {
        m_batchNames->insert(names->begin(), names->end());
      }
    }
  }
  return *m_batchNames;
}

void StandardLinFiles::EndBatch() {
  m_found.clear();
  m_batchNames.reset();
}

bool StandardLinFiles::LoadFrom(std::wstring_view name, const std::wstring& upper,
                                const wchar_t* file) {
  Found scratch;
  const Found& found = Lookup(file, scratch);
  if (!found.names || !found.names->contains(upper)) return false;
  return acdbLoadLineTypeFile(LiteralPattern(name).c_str(), found.path.c_str()) == Acad::eOk;
}

int StandardLinFiles::Restore(const std::wstring& name, const wchar_t* file, AcDbObjectId& id) {
  if (name.empty()) return 0;
  if (DrawingHas(name)) return 1;
  std::wstring folded;
  const std::wstring& upper = IsUpper(name) ? name : (folded = kw::ToUpper(name));
  if (!file && m_batches > 0 && !BatchNames().contains(upper)) return 0;
  if (LoadFrom(name, upper, file ? file : kIsoFile) || LoadFrom(name, upper, kImperialFile)) {
    return 1;
  }
  if (!Folder()) return 0;
  for (const std::wstring& path : m_linFiles) {
    if (LoadFrom(name, upper, path.c_str())) {
      id = LinetypeId(name);
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
