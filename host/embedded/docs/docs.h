// The document service: the session's documents, the current one, and their nested locks.
//
// Invariants:
//   1. `current` is null or one of `documents`.
//   2. A new session has one document, "Drawing1.dwg", and it is current.
//   3. databases[i] is the drawing of documents[i], owned here; the working database is that
//      of the current document (none when there is no current document).
#ifndef KW_HOST_EMBEDDED_DOCS_DOCS_H_
#define KW_HOST_EMBEDDED_DOCS_DOCS_H_

#include <memory>
#include <string>
#include <vector>

#include "host/api/dbmain.h"
#include "host/api/docman.h"

namespace kwhost::docs {

struct State {
  State();
  std::vector<std::unique_ptr<AcApDocument>> documents;
  std::vector<std::unique_ptr<AcDbDatabase>> databases;
  AcApDocument* current = nullptr;
  bool locksFail = false;
};

State& Docs();
// Opens a new document of that name and makes it current.
AcApDocument* Open(const std::wstring& fileName);
// A new session's documents: one new "Drawing1.dwg", locks allowed.
void Reset();
// Makes `doc` (null or one of the documents) current and its drawing the working database.
void MakeCurrent(AcApDocument* doc);

}  // namespace kwhost::docs

#endif  // KW_HOST_EMBEDDED_DOCS_DOCS_H_
