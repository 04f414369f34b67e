#include "editor/internal/ModelSpace.h"

#include "host/api/dbsymtb.h"

namespace kweditor {

AppendResult AppendToModelSpace(AcDbEntity* entity, AcDbObjectId& id) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbBlockTable* table = nullptr;
  if (!db || db->getBlockTable(table, AcDb::kForRead) != Acad::eOk) {
    return AppendResult::kNoBlockTable;
  }
  AcDbBlockTableRecord* model = nullptr;
  Acad::ErrorStatus es = table->getAt(L"*Model_Space", model, AcDb::kForWrite);
  table->close();
  if (es != Acad::eOk) return AppendResult::kNoModelSpace;
  es = model->appendAcDbEntity(id, entity);
  model->close();
  if (es != Acad::eOk) return AppendResult::kNotAppended;
  entity->close();
  return AppendResult::kAppended;
}

}  // namespace kweditor
