// The document manager: the open drawings of the session and their locks.
//
// The embedded host starts every session with one document ("Drawing1.dwg"), which is the
// current one. Locks nest: every successful lockDocument must be matched by an
// unlockDocument; the document's lock mode is that of its innermost lock, kNotLocked when
// none is held.
#ifndef KW_HOST_API_DOCMAN_H_
#define KW_HOST_API_DOCMAN_H_

#include <string>
#include <vector>

#include "host/api/adesk.h"
#include "host/api/rx.h"

class AcDbDatabase;

namespace AcAp {
enum DocLockMode {
  kNone = 0x00,
  kAutoWrite = 0x01,
  kNotLocked = 0x02,
  kWrite = 0x04,
  kProtectedAutoWrite = 0x14,
  kRead = 0x20,
  kXWrite = 0x40,
};
}  // namespace AcAp

class AcApDocument : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcApDocument);

  // A document of that name showing `database` (owned by the host's document service).
  explicit AcApDocument(std::wstring fileName, AcDbDatabase* database = nullptr)
      : m_fileName(std::move(fileName)), m_database(database) {}
  // The drawing's path as opened or named ("Drawing1.dwg" for a new drawing).
  const wchar_t* fileName() const { return m_fileName.c_str(); }
  // The file name without its folder.
  const wchar_t* docTitle() const;
  AcAp::DocLockMode lockMode(bool bIncludeMyLocks = false) const;
  AcAp::DocLockMode myLockMode() const { return lockMode(true); }
  int lockCount() const { return static_cast<int>(m_locks.size()); }
  // The drawing database; null until the host has one for this document.
  AcDbDatabase* database() const { return m_database; }

 private:
  friend class AcApDocManager;
  std::wstring m_fileName;
  mutable std::wstring m_title;
  std::vector<AcAp::DocLockMode> m_locks;
  AcDbDatabase* m_database = nullptr;
};

class AcApDocManager : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcApDocManager);

  // The current document, or null when none is open.
  AcApDocument* curDocument() const;
  AcApDocument* mdiActiveDocument() const { return curDocument(); }
  int documentCount() const;
  // eOk; eNullObjectPointer for a null document; eInvalidInput for a document of another
  // session or kNone/kNotLocked as mode; eNotApplicable when the host refuses the lock (tests
  // arrange that with kwhost::SetDocumentLocksFail).
  Acad::ErrorStatus lockDocument(AcApDocument* doc, AcAp::DocLockMode mode = AcAp::kWrite,
                                 const wchar_t* globalCmdName = nullptr,
                                 const wchar_t* localCmdName = nullptr, bool prompt = true);
  // eOk; eNullObjectPointer for null; eNotApplicable when the document holds no lock.
  Acad::ErrorStatus unlockDocument(AcApDocument* doc);
};

// The session's document manager (never null while the host runs).
AcApDocManager* acDocManagerPtr();
#define acDocManager acDocManagerPtr()

#endif  // KW_HOST_API_DOCMAN_H_
