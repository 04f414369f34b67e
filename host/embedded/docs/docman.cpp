// The document manager: the session's documents, the current one, and nested locks.
#include <algorithm>

#include "common/fileio.h"
#include "host/api/docman.h"
#include "host/embedded/internal/session.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::detail::S;

bool IsSessionDocument(const AcApDocument* doc) {
  for (auto& d : S().documents) {
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
  return S().current;
}

int AcApDocManager::documentCount() const {
  return static_cast<int>(S().documents.size());
}

Acad::ErrorStatus AcApDocManager::lockDocument(AcApDocument* doc, AcAp::DocLockMode mode,
                                               const wchar_t* /*globalCmdName*/,
                                               const wchar_t* /*localCmdName*/, bool /*prompt*/) {
  if (!doc) return Acad::eNullObjectPointer;
  if (!IsSessionDocument(doc) || mode == AcAp::kNone || mode == AcAp::kNotLocked) {
    return Acad::eInvalidInput;
  }
  if (S().locksFail) return Acad::eNotApplicable;
  doc->m_locks.push_back(mode);
  return Acad::eOk;
}

Acad::ErrorStatus AcApDocManager::unlockDocument(AcApDocument* doc) {
  if (!doc) return Acad::eNullObjectPointer;
  if (!IsSessionDocument(doc) || doc->m_locks.empty()) return Acad::eNotApplicable;
  doc->m_locks.pop_back();
  return Acad::eOk;
}

AcApDocManager* acDocManagerPtr() {
  static AcApDocManager manager;
  return &manager;
}

namespace kwhost {

void SetDocumentLocksFail(bool fail) {
  detail::S().locksFail = fail;
}

void CloseAllDocuments() {
  auto& s = detail::S();
  s.current = nullptr;
  s.documents.clear();
}

void OpenDocument(const std::wstring& fileName) {
  auto& s = detail::S();
  s.documents.push_back(std::make_unique<AcApDocument>(fileName));
  s.current = s.documents.back().get();
  auto name = s.sysVars.find(L"DWGNAME");
  if (name != s.sysVars.end()) name->second.text = s.current->docTitle();
  auto prefix = s.sysVars.find(L"DWGPREFIX");
  if (prefix != s.sysVars.end()) {
    std::wstring folder = kw::ParentOf(fileName);
    prefix->second.text = folder.empty() ? folder : folder + L"/";
  }
}

}  // namespace kwhost
