// Restoring text style definitions into the current drawing.
#include <string>

#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/api/docman.h"
#include "host/api/win.h"
#include "styles/FontCollection.h"

namespace {

using Record = AcDbTextStyleTableRecord;

// Holds a write lock on the current document for its life (when the host grants one).
class DocumentWriteLock {
 public:
  DocumentWriteLock() : m_doc(acDocManager->curDocument()) {
    m_locked = m_doc && acDocManager->lockDocument(m_doc, AcAp::kWrite) == Acad::eOk;
  }
  ~DocumentWriteLock() {
    if (m_locked) acDocManager->unlockDocument(m_doc);
  }
  DocumentWriteLock(const DocumentWriteLock&) = delete;
  DocumentWriteLock& operator=(const DocumentWriteLock&) = delete;
  bool locked() const { return m_locked; }

 private:
  AcApDocument* m_doc;
  bool m_locked = false;
};

const wchar_t* ErrorText(Acad::ErrorStatus es) {
  return acadErrorStatusText(es);
}

// The font steps: each only when its source field is set. False (message printed) on refusal.
bool SetFonts(Record& record, const FONTINFO& info) {
  const wchar_t* name = info.szName;
  Acad::ErrorStatus es = Acad::eOk;
  if (info.szBigFontFileName[0] &&
      (es = record.setBigFontFileName(info.szBigFontFileName)) != Acad::eOk) {
    acutPrintf(L"\n恢复字型 %s 失败!原因:setBigFontFileName(%s) 时出现 %s 错误.", name,
               info.szBigFontFileName, ErrorText(es));
    return false;
  }
  if (info.szFileName[0]) {
    if ((es = record.setFileName(info.szFileName)) != Acad::eOk) {
      acutPrintf(L"\n恢复字型 %s 失败!原因:设置字型文件 %s 时出现 %s 错误.", name, info.szFileName,
                 ErrorText(es));
      return false;
    }
    record.setFlagBits(static_cast<Adesk::UInt8>(info.nFlagBit));
  }
  if (info.szTypeFace[0] &&
      (es = record.setFont(info.szTypeFace, info.bBold != 0, info.bItalic != 0, info.nCharSet,
                           info.nPitchAndFamily)) != Acad::eOk) {
    acutPrintf(L"\n恢复字型 %s 失败,原因:设置字体时出现 %s 错误.", name, ErrorText(es));
    return false;
  }
  return true;
}

void SetTextSettings(Record& record, const FONTINFO& info) {
  record.setIsShapeFile(false);
  record.setIsVertical(info.bVertical != 0);
  record.setObliquingAngle(info.dObliquingAngle);
  record.setPriorSize(info.dPriorSize);
  record.setTextSize(info.dTextSize);
  record.setXScale(info.dXScale);
}

// Names a new record and adds it to the table. False (message printed) on refusal.
bool AddRecord(AcDbTextStyleTable& table, Record& record, const FONTINFO& info, AcDbObjectId& id) {
  Acad::ErrorStatus es = record.setName(info.szName);
  if (es != Acad::eOk) {
    acutPrintf(L"\n恢复字型 %s 失败!原因:设置字体名时出现 %s 错误.", info.szName, ErrorText(es));
    return false;
  }
  if ((es = table.add(id, &record)) != Acad::eOk) {
    acutPrintf(L"\n恢复字型 %s 失败!原因:%s", info.szName, ErrorText(es));
    return false;
  }
  return true;
}

int Restore(const FONTINFO& info, AcDbObjectId& id) {
  DocumentWriteLock lock;
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbObjectPointer<AcDbTextStyleTable> table;
  if (!lock.locked() || !db || table.open(db->textStyleTableId(), AcDb::kForWrite) != Acad::eOk) {
    acutPrintf(L"\n恢复字型时打不开图形TextStyle表!");
    return 0;
  }
  // An existing record is closed by the pointer; a new one is deleted unless it joined the table.
  AcDbObjectPointer<Record> record;
  AcDbObjectId existing;
  const bool isNew = table->getAt(info.szName, existing) != Acad::eOk;
  if (isNew ? record.create() != Acad::eOk : record.open(existing, AcDb::kForWrite) != Acad::eOk) {
    return 0;
  }
  if (!SetFonts(*record, info)) return 0;
  SetTextSettings(*record, info);
  AcDbObjectId added;
  if (isNew && !AddRecord(*table, *record, info, added)) return 0;
  id = isNew ? added : existing;
  return 1;
}

}  // namespace

int CFontCollection::RestoreFont(const FONTINFO& info, AcDbObjectId& id) {
  id = AcDbObjectId::kNull;
  try {
    return Restore(info, id);
  } catch (...) {
    id = AcDbObjectId::kNull;
    MessageBoxW(acedGetAcadFrame(), L"发生异常错误(PageTextStyle)!", L"凯维提示",
                MB_OK | MB_ICONINFORMATION);
    return 0;
  }
}

int CFontCollection::RestoreFont(const wchar_t* name, AcDbObjectId& id) {
  const CFontInfo* info = m_mapFont.Find(kw::ToUpper(kw::View(name)));
  return info ? RestoreFont(info->m_info, id) : 0;
}

int CFontCollection::RestoreFont() {
  int restored = 0;
  m_mapFont.ForEach([&restored, this](const std::wstring& key, const CFontInfo& info) {
    AcDbObjectId id;
    if (m_mapAutoRestore.Find(key)) restored += RestoreFont(info.m_info, id);
  });
  return restored;
}
