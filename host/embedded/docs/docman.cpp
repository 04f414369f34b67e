// The document manager: the session's documents, the current one, and nested locks.
#include <algorithm>

#include "common/fileio.h"
#include "host/api/docman.h"
#include "host/embedded/docs/docs.h"
#include "kwhost/embedded.h"

namespace kwhost::docs {

State::State() {
  databases.push_back(std::make_unique<AcDbDatabase>());
  documents.push_back(std::make_unique<AcApDocument>(L"Drawing1.dwg", databases.back().get()));
  current = documents.back().get();
  acdbHostApplicationServices()->setWorkingDatabase(current->database());
}

void MakeCurrent(AcApDocument* doc) {
  Docs().current = doc;
  acdbHostApplicationServices()->setWorkingDatabase(doc ? doc->database() : nullptr);
}

State& Docs() {
  static State state;
  return state;
}

namespace {

// The session's first document exists from the moment the host library is loaded, so that the
// working database is there before anything asks for it (a module's first command included).
const bool kFirstDocument = [] {
  Docs();
  return true;
}();

}  // namespace

AcApDocument* Open(const std::wstring& fileName) {
  State& s = Docs();
  s.databases.push_back(std::make_unique<AcDbDatabase>());
  s.documents.push_back(std::make_unique<AcApDocument>(fileName, s.databases.back().get()));
  MakeCurrent(s.documents.back().get());
  return s.current;
}

void Reset() {
  Docs() = State();
  MakeCurrent(Docs().current);
}

}  // namespace kwhost::docs

namespace {

using kwhost::docs::Docs;

bool IsSessionDocument(const AcApDocument* doc) {
  for (auto& d : Docs().documents) {
    if (d.get() == doc) return true;
  }
  return false;
}

}  // namespace

const wchar_t* AcApDocument::docTitle() const {
  m_title = kw::FileNameOf(m_fileName);
  return m_title.c_str();
}

AcAp::DocLockMode AcApDocument::lockMode(bool /*bIncludeMyLocks*/) const {
  return m_locks.empty() ? AcAp::kNotLocked : m_locks.back();
}

AcApDocument* AcApDocManager::curDocument() const {
  return Docs().current;
}

int AcApDocManager::documentCount() const {
  return static_cast<int>(Docs().documents.size());
}

Acad::ErrorStatus AcApDocManager::lockDocument(AcApDocument* doc, AcAp::DocLockMode mode,
                                               const wchar_t* /*globalCmdName*/,
                                               const wchar_t* /*localCmdName*/, bool /*prompt*/) {
  if (!doc) return Acad::eNullObjectPointer;
  if (!IsSessionDocument(doc) || mode == AcAp::kNone || mode == AcAp::kNotLocked) {
    return Acad::eInvalidInput;
  }
  if (Docs().locksFail) return Acad::eNotApplicable;
  doc->m_locks.push_back(mode);
  return Acad::eOk;
}

Acad::ErrorStatus AcApDocManager::unlockDocument(AcApDocument* doc) {
  if (!doc) return Acad::eNullObjectPointer;
  if (!IsSessionDocument(doc) || doc->m_locks.empty()) return Acad::eNotApplicable;
  doc->m_locks.pop_back();
  return Acad::eOk;
}

ACRX_NO_CONS_DEFINE_MEMBERS(AcApDocument, AcRxObject)
ACRX_NO_CONS_DEFINE_MEMBERS(AcApDocManager, AcRxObject)

AcApDocManager* acDocManagerPtr() {
  static AcApDocManager manager;
  return &manager;
}

namespace kwhost {

void SetDocumentLocksFail(bool fail) {
  docs::Docs().locksFail = fail;
}

void CloseAllDocuments() {
  auto& s = docs::Docs();
  docs::MakeCurrent(nullptr);
  s.documents.clear();
  s.databases.clear();
}

}  // namespace kwhost
