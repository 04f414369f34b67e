// The host's standard linetype files as the last source of a linetype: "acadiso.lin" (or the
// file the caller names), then "acad.lin", then every ".lin" file in the folder where
// "acadiso.lin" is found on the host's search path.
//
// States of an instance: the folder not searched yet; searched and found (the folder is kept);
// searched and not found. The search happens at most once per instance, the first time both
// named files fail to give a linetype, and is never repeated; the process uses one instance
// (ProcessLinFiles), so the folder is searched once per run. Tests make their own instances.
#ifndef KW_STYLES_INTERNAL_STANDARDLINFILES_H_
#define KW_STYLES_INTERNAL_STANDARDLINFILES_H_

#include <string>
#include <string_view>

#include "host/api/dbid.h"

namespace kw::styles {

class StandardLinFiles {
 public:
  // Gives the working drawing the linetype `name` (compared ignoring case; wildcard
  // characters in it are taken literally):
  //   - 0 for an empty name;
  //   - 1 when the drawing has it already, or `file` (null: "acadiso.lin") or "acad.lin"
  //     loads it; `id` is untouched;
  //   - 1 when a ".lin" file of the searched folder (in name order) loads it; `id` is then the
  //     loaded record's (null when the table cannot be read);
  //   - 0 otherwise, and always once the folder search found no "acadiso.lin".
  int Restore(std::wstring_view name, const wchar_t* file, AcDbObjectId& id);

 private:
  enum class Search { kNotYet, kFound, kMissing };
  // The folder of "acadiso.lin", searched on the first call only; null when it was not found.
  const std::wstring* Folder();

  Search m_search = Search::kNotYet;
  std::wstring m_folder;
};

// The instance the library uses.
StandardLinFiles& ProcessLinFiles();

}  // namespace kw::styles

#endif  // KW_STYLES_INTERNAL_STANDARDLINFILES_H_
