// CloneBlock: a new block definition holding copies of another block's entities.
#include <memory>
#include <string>

#include "common/text.h"
#include "editor/EntityCreation.h"
#include "editor/internal/DocLock.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"

namespace {

constexpr int kCloned = 0;
constexpr int kNoTable = -1;
constexpr int kNoSource = -2;
constexpr int kTargetExists = -3;
constexpr int kNothingCopied = -4;
constexpr int kBadName = -5;

// What the copy routine changes in each copy. A negative width leaves polyline widths alone.
struct CopyStyle {
  bool byBlock = false;
  double width = -1.0;
};

void Restyle(AcDbEntity& copy, const CopyStyle& style, AcDbDatabase* db) {
  if (style.byBlock) {
    copy.setColorIndex(0);
    copy.setLinetype(db->byBlockLinetype());
  }
  AcDbPolyline* pline = AcDbPolyline::cast(&copy);
  if (pline && style.width >= 0) pline->setConstantWidth(style.width);
}

// Copies the entities of `source`, in order, into `target` (not yet in a database, so it owns
// the copies); returns how many were copied.
int CopyEntities(const AcDbBlockTableRecord& source, AcDbBlockTableRecord& target,
                 const CopyStyle& style) {
  AcDbBlockTableRecordIterator* raw = nullptr;
  if (source.newIterator(raw) != Acad::eOk) return 0;
  std::unique_ptr<AcDbBlockTableRecordIterator> it(raw);
  int copied = 0;
  for (; !it->done(); it->step()) {
    AcDbEntity* entity = nullptr;
    if (it->getEntity(entity, AcDb::kForRead) != Acad::eOk) continue;
    std::unique_ptr<AcDbObject> clone(entity->clone());
    entity->close();
    AcDbEntity* copy = AcDbEntity::cast(clone.get());
    if (!copy) continue;
    Restyle(*copy, style, source.database());
    if (target.appendAcDbEntity(copy) != Acad::eOk) continue;
    (void)clone.release();  // the target owns it now
    ++copied;
  }
  return copied;
}

int CloneInto(AcDbBlockTable& table, const std::wstring& sourceName, const std::wstring& newName,
              int option) {
  if (table.has(newName.c_str())) return kTargetExists;
  AcDbBlockTableRecord* source = nullptr;
  if (table.getAt(sourceName.c_str(), source, AcDb::kForRead) != Acad::eOk) return kNoSource;
  auto record = std::make_unique<AcDbBlockTableRecord>();
  record->setOrigin(source->origin());
  const int copied = CopyEntities(*source, *record, CopyStyle{option != 0, -1.0});
  source->close();
  if (copied < 1) return kNothingCopied;
  if (record->setName(newName.c_str()) != Acad::eOk) return kNothingCopied;
  if (table.add(record.get()) != Acad::eOk) return kNothingCopied;
  record.release()->close();  // the database owns it now
  return kCloned;
}

int CloneUnguarded(const wchar_t* sourceName, const wchar_t* newName, int option) {
  if (!sourceName || !newName) return kBadName;
  const std::wstring source = kw::Trim(sourceName);
  const std::wstring target = kw::Trim(newName);
  if (source.empty() || target.empty()) return kBadName;
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  if (!db) return kNoTable;
  kweditor::DocLock lock;
  AcDbBlockTable* table = nullptr;
  if (db->getBlockTable(table, AcDb::kForWrite) != Acad::eOk) return kNoTable;
  const int rc = CloneInto(*table, source, target, option);
  table->close();
  return rc;
}

}  // namespace

int CloneBlock(const wchar_t* sourceName, const wchar_t* newName, int option) {
  try {
    return CloneUnguarded(sourceName, newName, option);
  } catch (...) {
    return kNothingCopied;
  }
}
