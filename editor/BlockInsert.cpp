// Blocks from drawing files: KWInsert (a reference, the block defined on first use) and
// KWRDPub::InsertBlockRecord (the definition alone, in any database).
#include <memory>
#include <string>
#include <string_view>

#include "common/fileio.h"
#include "common/format.h"
#include "editor/EntityCreation.h"
#include "editor/internal/DocLock.h"
#include "editor/internal/ModelSpace.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "host/api/win.h"
#include "msg/MessageReport.h"
#include "services/FileUtils.h"

namespace {

// KWInsert's results.
constexpr int kInserted = 0;
constexpr int kNoDatabase = -1;
constexpr int kNoBlockTable = -2;
constexpr int kUnreadableFile = -3;
constexpr int kNotDefined = -4;
constexpr int kNoModelSpace = -5;
constexpr int kNotAppended = -6;
constexpr int kNoFile = -7;
constexpr int kUnexpected = -10;

// The name KWInsert gives the block of a file: after the last separator, up to the first "."
// after it; the whole path when either is missing.
std::wstring BlockNameOfPath(std::wstring_view path) {
  const size_t sep = path.find_last_of(L"\\/");
  if (sep == std::wstring_view::npos) return std::wstring(path);
  const size_t dot = path.find(L'.', sep + 1);
  if (dot == std::wstring_view::npos) return std::wstring(path);
  return std::wstring(path.substr(sep + 1, dot - sep - 1));
}

bool FileThere(const wchar_t* path) {
  return path && *path && kw::FileExists(path);
}

// Reads the drawing file into a side database, copies it with wblock and defines the block
// from the copy, as the platform's INSERT of a file does.
int DefineFromFile(AcDbDatabase* db, const wchar_t* path, const std::wstring& name,
                   AcDbObjectId& blockId) {
  auto side = std::make_unique<AcDbDatabase>(false, true);
  if (side->readDwgFile(path, _SH_DENYWR) != Acad::eOk) return kUnreadableFile;
  AcDbDatabase* raw = nullptr;
  if (side->wblock(raw) != Acad::eOk) return kNotDefined;
  std::unique_ptr<AcDbDatabase> copy(raw);
  if (db->insert(blockId, name.c_str(), copy.get(), true) != Acad::eOk) return kNotDefined;
  return kInserted;
}

int FindOrDefineBlock(AcDbDatabase* db, const wchar_t* path, AcDbObjectId& blockId) {
  AcDbBlockTable* table = nullptr;
  if (db->getBlockTable(table, AcDb::kForWrite) != Acad::eOk) return kNoBlockTable;
  const std::wstring name = BlockNameOfPath(path);
  const bool defined = table->getAt(name.c_str(), blockId) == Acad::eOk;
  table->close();
  return defined ? kInserted : DefineFromFile(db, path, name, blockId);
}

int AppendReference(AcDbObjectId blockId, const AcGePoint3d& position, const AcGeScale3d& scale,
                    double rotation, int64_t (&name)[2]) {
  auto reference = std::make_unique<AcDbBlockReference>(position, blockId);
  reference->setScaleFactors(scale);
  reference->setRotation(rotation);
  AcDbObjectId id;
  switch (kweditor::AppendToModelSpace(reference.get(), id)) {
    case kweditor::AppendResult::kAppended:
      (void)reference.release();  // the database owns it now
      break;
    case kweditor::AppendResult::kNoBlockTable:
      return kNoBlockTable;
    case kweditor::AppendResult::kNoModelSpace:
      return kNoModelSpace;
    case kweditor::AppendResult::kNotAppended:
      return kNotAppended;
  }
  acdbGetAdsName(name, id);
  return kInserted;
}

int InsertUnguarded(const wchar_t* path, const AcGePoint3d& position, const AcGeScale3d& scale,
                    double rotation, int64_t (&name)[2]) {
  if (!FileThere(path)) return kNoFile;
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  if (!db) return kNoDatabase;
  AcDbObjectId blockId;
  const int rc = FindOrDefineBlock(db, path, blockId);
  if (rc != kInserted) return rc;
  return AppendReference(blockId, position, scale, rotation, name);
}

void ShowBox(const std::wstring& text, UINT icon) {
  MessageBoxW(acedGetAcadFrame(), text.c_str(), KWRDPub::kNoticeCaption, MB_OK | icon);
}

bool InsertFromFile(AcDbDatabase* db, const wchar_t* path, const std::wstring& name,
                    AcDbObjectId& id) {
  auto side = std::make_unique<AcDbDatabase>(false, true);
  Acad::ErrorStatus es = side->readDwgFile(path, _SH_DENYNO);
  if (es != Acad::eOk) {
    ShowBox(kw::FormatW(L"读取文件：%s失败，错误代码：%d。", path, static_cast<int>(es)),
            MB_ICONERROR);
    return false;
  }
  es = db->insert(id, name.c_str(), side.get(), true);
  if (es != Acad::eOk) {
    acutPrintf(L"\n插入块表记录失败，失败原因：%d", static_cast<int>(es));
    KWRDPub::ReportMessage(L"插入块表记录失败，失败原因：%d", static_cast<int>(es));
    return false;
  }
  return true;
}

bool InsertRecordUnguarded(const wchar_t* path, AcDbObjectId& id, const wchar_t* blockName,
                           AcDbDatabase* db) {
  if (!FileThere(path)) {
    ShowBox(kw::FormatW(L"文件%s不存在!", path ? path : L""), MB_ICONINFORMATION);
    return false;
  }
  const std::wstring name =
      blockName && *blockName ? std::wstring(blockName) : KWRDPub::GetFileTitle(path);
  if (!db) db = acdbHostApplicationServices()->workingDatabase();
  AcDbBlockTable* table = nullptr;
  if (!db || db->getBlockTable(table, AcDb::kForRead) != Acad::eOk) return false;
  kweditor::DocLock lock;
  const bool defined = table->getAt(name.c_str(), id) == Acad::eOk;
  table->close();
  if (defined) {
    KWRDPub::ReportMessage(L"%s已经存在", name.c_str());
    return true;
  }
  return InsertFromFile(db, path, name, id);
}

}  // namespace

int KWInsert(const wchar_t* path, double x, double y, double z, double scaleX, double scaleY,
             double scaleZ, double rotation, int64_t (&name)[2]) {
  return KWInsert(path, AcGePoint3d(x, y, z), scaleX, scaleY, scaleZ, rotation, name);
}

int KWInsert(const wchar_t* path, AcGePoint3d position, double scaleX, double scaleY, double scaleZ,
             double rotation, int64_t (&name)[2]) {
  try {
    return InsertUnguarded(path, position, AcGeScale3d(scaleX, scaleY, scaleZ), rotation, name);
  } catch (...) {
    return kUnexpected;
  }
}

namespace KWRDPub {

bool InsertBlockRecord(const wchar_t* path, AcDbObjectId& id, const wchar_t* blockName,
                       AcDbDatabase* db) {
  try {
    return InsertRecordUnguarded(path, id, blockName, db);
  } catch (...) {
    return false;
  }
}

}  // namespace KWRDPub
