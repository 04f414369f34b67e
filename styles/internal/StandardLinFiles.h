// The host's standard linetype files as the last source of a linetype: "acadiso.lin" (or the
// file the caller names), then "acad.lin", then every ".lin" file in the folder where
// "acadiso.lin" is found on the host's search path.
//
// States of an instance: the folder not searched yet; searched and found (the folder and its
// ".lin" files are kept); searched and not found. The search happens at most once per
// instance, the first time both named files fail to give a linetype, and is never repeated;
// the process uses one instance (ProcessLinFiles), so the folder is searched once per run.
// Tests make their own instances.
//
// Which linetypes a file defines is read once per file (by its full path) and kept, so that a
// name no standard file defines costs lookups, not file reads: restoring a library of
// thousands of linetypes must not read the standard files thousands of times. A file that
// changes while the host runs is therefore seen as it was when first read.
//
// A batch (restoring a whole library) also finds each named file on the search path once, and
// answers a name that no standard file defines with one lookup; it searches the folder at its
// first restore.
#ifndef KW_STYLES_INTERNAL_STANDARDLINFILES_H_
#define KW_STYLES_INTERNAL_STANDARDLINFILES_H_

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/api/dbid.h"

namespace kw::styles {

class StandardLinFiles {
 public:
  // While a batch lives, a file name is looked up on the search path once and its place
  // remembered (restoring a library changes no folder the search looks in), and the names of
  // every standard file are gathered once. Batches nest.
  class Batch {
   public:
    explicit Batch(StandardLinFiles& files) : m_files(files) { ++m_files.m_batches; }
    ~Batch() {
      if (--m_files.m_batches == 0) m_files.EndBatch();
    }
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

   private:
    StandardLinFiles& m_files;
  };

  // Gives the working drawing the linetype `name` (compared ignoring case; wildcard
  // characters in it are taken literally):
  //   - 0 for an empty name;
  //   - 1 when the drawing has it already, or `file` (null: "acadiso.lin") or "acad.lin"
  //     loads it; `id` is untouched;
  //   - 1 when a ".lin" file of the searched folder (in name order) loads it; `id` is then the
  //     loaded record's (null when the table cannot be read);
  //   - 0 otherwise, and always once the folder search found no "acadiso.lin".
  int Restore(const std::wstring& name, const wchar_t* file, AcDbObjectId& id);

 private:
  enum class Search { kNotYet, kFound, kMissing };
  // The folder of "acadiso.lin", searched (and its ".lin" files listed) on the first call
  // only; null when it was not found.
  const std::wstring* Folder();
  using NameSet = std::unordered_set<std::wstring>;
  // A file found on the search path: its path and the names (upper case) it defines; names is
  // null when the file is not found.
  struct Found {
    std::wstring path;
    const NameSet* names = nullptr;
  };
  // What the loader finds for `file` (kept in `scratch` outside a batch).
  const Found& Lookup(const wchar_t* file, Found& scratch);
  // The upper-case names of the linetypes the file at `path` defines.
  const NameSet& NamesIn(const std::wstring& path);
  // In a batch: every name that any standard file defines (the folder searched first).
  const NameSet& BatchNames();
  void EndBatch();
  // Loads the linetype `name` (its upper-case form `upper`) from `file` when the file, found
  // as the loader finds it, defines it.
  bool LoadFrom(std::wstring_view name, const std::wstring& upper, const wchar_t* file);

  Search m_search = Search::kNotYet;
  std::wstring m_folder;
  std::vector<std::wstring> m_linFiles;
  std::unordered_map<std::wstring, NameSet> m_names;  // by full path
  int m_batches = 0;
  // In a batch: what each file name was found as (a handful of names: a list is quickest).
  std::vector<std::pair<std::wstring, Found>> m_found;
  std::unique_ptr<NameSet> m_batchNames;
};

// The instance the library uses.
StandardLinFiles& ProcessLinFiles();

}  // namespace kw::styles

#endif  // KW_STYLES_INTERNAL_STANDARDLINFILES_H_
