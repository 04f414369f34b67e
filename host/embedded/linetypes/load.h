// Loading linetypes from ".lin" files into drawings: acdbLoadLineTypeFile and the LINETYPE
// command share it.
#ifndef KW_HOST_EMBEDDED_LINETYPES_LOAD_H_
#define KW_HOST_EMBEDDED_LINETYPES_LOAD_H_

#include <string>
#include <vector>

#include "host/api/dbmain.h"

namespace kwhost::linetypes {

// Loads the linetypes that `pattern` names from `file` into `db` (null: the working database),
// with the statuses of acdbLoadLineTypeFile (host/api/dbmain.h). An existing linetype is
// rebuilt from the file when `replace` is set; otherwise a pattern skips it and a single name
// gives eDuplicateRecordName. `loaded`, when given, receives the names loaded, in file order.
Acad::ErrorStatus Load(const wchar_t* pattern, const wchar_t* file, AcDbDatabase* db, bool replace,
                       std::vector<std::wstring>* loaded = nullptr);

// `db`, or else the working database (the current document's; the documents are set up first
// when nothing has asked for them yet). Null when there is none.
AcDbDatabase* TargetDatabase(AcDbDatabase* db);

// The folder of `db`'s drawing file; for the working database without a file, DWGPREFIX.
// "" when neither is known.
std::wstring DrawingFolder(AcDbDatabase* db);

}  // namespace kwhost::linetypes

#endif  // KW_HOST_EMBEDDED_LINETYPES_LOAD_H_
