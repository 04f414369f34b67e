// EditDemo's commands that create entities and blocks.
#include <numbers>
#include <string>

#include "editor/EntityCreation.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"

namespace editdemo {

namespace {

void PrintHandle(const wchar_t* what, AcDbObjectId id) {
  acutPrintf(L"\n%s %s。", what, HandleText(id).c_str());
}

}  // namespace

// EDITINSERT: file, insertion point, scale, rotation.
void InsertCommand() {
  wchar_t path[kAcedStringBufferLen] = {};
  if (acedGetString(1, L"\n图形文件: ", path) != RTNORM || !*path) return;
  AcGePoint3d at;
  int rc = GetPoint(L"\n插入点 <0,0,0>: ", &at);
  if (rc == RTCAN) return;
  double scale = 1, degrees = 0;
  if (!GetRealOr(L"\n比例 <1>: ", 1, &scale) || !GetRealOr(L"\n旋转角度 <0>: ", 0, &degrees)) {
    return;
  }
  ads_name name = {0, 0};
  rc = KWInsert(path, at, scale, scale, scale, degrees * std::numbers::pi / 180, name);
  AcDbObjectId id;
  if (rc != 0 || acdbGetObjectId(id, name) != Acad::eOk) {
    acutPrintf(L"\n插入失败，代码 %d。", rc);
    return;
  }
  PrintHandle(L"已插入块参照", id);
}

// EDITDEFINE: file and block name (Enter: the file's title).
void DefineCommand() {
  wchar_t path[kAcedStringBufferLen] = {};
  wchar_t block[kAcedStringBufferLen] = {};
  if (acedGetString(1, L"\n图形文件: ", path) != RTNORM || !*path) return;
  if (acedGetString(1, L"\n块名 <文件名>: ", block) != RTNORM) return;
  AcDbObjectId id;
  if (!KWRDPub::InsertBlockRecord(path, id, block, nullptr)) {
    acutPrintf(L"\n未能定义块。");
    return;
  }
  PrintHandle(L"块定义", id);
}

// EDITCLONE: source block, new name, whether the copies take the reference's colour.
void CloneCommand() {
  wchar_t source[kAcedStringBufferLen] = {};
  wchar_t target[kAcedStringBufferLen] = {};
  if (acedGetString(1, L"\n源块名: ", source) != RTNORM) return;
  if (acedGetString(1, L"\n新块名: ", target) != RTNORM) return;
  acedInitGet(0, L"Keep Byblock");
  wchar_t mode[kAcedStringBufferLen] = {};
  const int rc = acedGetKword(L"\n颜色和线型 [保持(K)/随块(B)] <K>: ", mode);
  if (rc == RTCAN) return;
  const int option = rc == RTNORM && std::wstring(mode) == L"Byblock" ? 1 : 0;
  const int result = CloneBlock(source, target, option);
  if (result != 0) {
    acutPrintf(L"\n复制块失败，代码 %d。", result);
    return;
  }
  acutPrintf(L"\n已将块 %s 复制为 %s。", source, target);
}

// EDITPLINE: points, closing, linetype, width, colour.
void PlineCommand() {
  AcGePoint3dArray points;
  if (!GetPoints(&points)) return;
  acedInitGet(0, L"Yes No");
  wchar_t close[kAcedStringBufferLen] = {};
  int rc = acedGetKword(L"\n闭合? [是(Y)/否(N)] <N>: ", close);
  if (rc == RTCAN) return;
  const int closed = rc == RTNORM && std::wstring(close) == L"Yes";
  wchar_t linetype[kAcedStringBufferLen] = {};
  if (acedGetString(0, L"\n线型 <当前>: ", linetype) != RTNORM) return;
  double width = 0;
  if (!GetRealOr(L"\n宽度 <0>: ", 0, &width)) return;
  int color = 256;
  rc = acedGetInt(L"\n颜色号 <256>: ", &color);
  if (rc == RTCAN) return;
  if (rc == RTNONE) color = 256;
  AcDbObjectId id;
  if (CreatePline(points, id, closed, linetype, 1.0, width, static_cast<short>(color)) == 1) {
    PrintHandle(L"已创建多段线", id);
  }
}

}  // namespace editdemo
