#include "styles/LayerInfo.h"

#include "common/text.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/api/win.h"
#include "styles/LineStyleCollection.h"

namespace {

void ShowMessage(const wchar_t* text) {
  MessageBoxW(adsw_acadMainWnd(), text, L"凯维提示", MB_OK | MB_ICONINFORMATION);
}

AcDbDatabase* WorkingDatabase() {
  return acdbHostApplicationServices()->workingDatabase();
}

void ApplyTo(AcDbLayerTableRecord& record, const CLayerInfo& info) {
  record.setIsOff(info.m_bOff);
  record.setIsLocked(info.m_bLocked);
  record.setIsFrozen(info.m_bFrozen);
  record.setColor(info.m_color);
  record.setLineWeight(info.m_lineWeight);
}

bool Agrees(const AcDbLayerTableRecord& record, const CLayerInfo& info) {
  if (record.isOff() != info.m_bOff || record.isLocked() != info.m_bLocked ||
      record.isFrozen() != info.m_bFrozen || !(record.color() == info.m_color) ||
      record.lineWeight() != info.m_lineWeight) {
    return false;
  }
  return info.m_strLineType.empty() ||
         record.linetypeObjectId() == KWRDPub::GetLineTypeId(info.m_strLineType.c_str());
}

}  // namespace

CLayerInfo::CLayerInfo(const wchar_t* name, bool bInit) {
  SetLayer(name, bInit);
}

void CLayerInfo::SetLayer(const wchar_t* name, bool bInit) {
  m_strName = kw::View(name);
  if (bInit) InitByLayerName();
}

void CLayerInfo::InitByLayerName() {
  if (m_strName.empty()) {
    ShowMessage(L"图层名为空");
    return;
  }
  AcDbDatabase* db = WorkingDatabase();
  if (!db) return;
  AcDbObjectPointer<AcDbLayerTable> table(db->layerTableId(), AcDb::kForRead);
  AcDbObjectId id;
  if (table.openStatus() != Acad::eOk || table->getAt(m_strName.c_str(), id) != Acad::eOk) return;
  AcDbObjectPointer<AcDbLayerTableRecord> record(id, AcDb::kForRead);
  if (record.openStatus() != Acad::eOk) return;
  m_strLineType = KWRDPub::GetLineTypeName(record->linetypeObjectId());
  m_color = record->color();
  m_lineWeight = record->lineWeight();
  m_bFrozen = record->isFrozen();
  m_bLocked = record->isLocked();
  m_bOff = record->isOff();
}

AcDbObjectId CLayerInfo::UpdateLayer(AcDbObjectId id) {
  AcDbObjectPointer<AcDbLayerTableRecord> record(id, AcDb::kForRead);
  if (record.openStatus() != Acad::eOk) return AcDbObjectId::kNull;
  if (Agrees(*record, *this)) return id;
  if (record->upgradeOpen() != Acad::eOk) return AcDbObjectId::kNull;
  ApplyTo(*record, *this);
  if (!m_strLineType.empty())
    record->setLinetypeObjectId(KWRDPub::GetLineTypeId(m_strLineType.c_str()));
  return id;
}

AcDbObjectId CLayerInfo::CreateLayer(AcDbLayerTable& table) {
  if (table.upgradeOpen() != Acad::eOk) return AcDbObjectId::kNull;
  AcDbObjectPointer<AcDbLayerTableRecord> record;
  record.create();
  if (record->setName(m_strName.c_str()) != Acad::eOk) return AcDbObjectId::kNull;
  record->setLinetypeObjectId(KWRDPub::GetLineTypeId(m_strLineType.c_str()));
  ApplyTo(*record, *this);
  AcDbObjectId id;
  return table.add(id, record) == Acad::eOk ? id : AcDbObjectId::kNull;
}

AcDbObjectId CLayerInfo::LayerId() {
  if (m_strName.empty()) {
    ShowMessage(L"图层名为空,不能创建图层");
    return AcDbObjectId::kNull;
  }
  AcDbDatabase* db = WorkingDatabase();
  if (!db) return AcDbObjectId::kNull;
  AcDbObjectPointer<AcDbLayerTable> table(db->layerTableId(), AcDb::kForRead);
  if (table.openStatus() != Acad::eOk) return AcDbObjectId::kNull;
  AcDbObjectId id;
  if (table->getAt(m_strName.c_str(), id) == Acad::eOk) {
    table.close();
    return UpdateLayer(id);
  }
  return CreateLayer(*table);
}
