// A write lock on the current document for the life of a scope. Work that changes the drawing
// takes it so that the host sees the change as the document's; when there is no current
// document or the host refuses the lock, the work goes on without one (the host's main thread
// is the only writer anyway). The lock taken is released exactly once.
#ifndef KW_EDITOR_INTERNAL_DOCLOCK_H_
#define KW_EDITOR_INTERNAL_DOCLOCK_H_

#include "host/api/docman.h"

namespace kweditor {

class DocLock {
 public:
  DocLock() {
    AcApDocManager* manager = acDocManager;
    AcApDocument* doc = manager ? manager->curDocument() : nullptr;
    if (doc && manager->lockDocument(doc, AcAp::kWrite) == Acad::eOk) m_doc = doc;
  }
  ~DocLock() {
    if (m_doc) acDocManager->unlockDocument(m_doc);
  }
  DocLock(const DocLock&) = delete;
  DocLock& operator=(const DocLock&) = delete;

 private:
  AcApDocument* m_doc = nullptr;
};

}  // namespace kweditor

#endif  // KW_EDITOR_INTERNAL_DOCLOCK_H_
