// EditDemo: a suite module that lets a user try KWRDPub's editor services in rdpub.
//
// What a module does, in order:
//   1. At load (kInitAppMsg) it unlocks itself and registers its commands in the group
//      "EDITDEMO":
//        EDITINSERT  inserts a drawing file as a block reference (KWInsert);
//        EDITDEFINE  defines a block from a drawing file without a reference
//                    (KWRDPub::InsertBlockRecord);
//        EDITCLONE   copies a block definition under a new name (CloneBlock);
//        EDITPLINE   draws a polyline through typed points (CreatePline).
//   2. Each command asks on the command line, calls the service and prints its result: the
//      handle of what was made, or the service's code when it failed.
//   3. At unload (kUnloadAppMsg) it removes its command group: the library outlives the
//      module, and must not call into unloaded code.
// Points are typed as "x,y" or "x,y,z"; angles in degrees.
#include <cmath>
#include <cwchar>
#include <numbers>
#include <string>

#include "editor/EntityCreation.h"
#include "host/api/accmd.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"
#include "host/api/dbads.h"
#include "host/api/rx.h"

namespace {

constexpr const wchar_t* kGroup = L"EDITDEMO";

// "x,y" or "x,y,z" (blanks around the numbers allowed); false for anything else.
bool ParsePoint(const wchar_t* text, AcGePoint3d* point) {
  double v[3] = {0, 0, 0};
  const wchar_t* p = text;
  for (int count = 0; count < 3; ++count) {
    wchar_t* end = nullptr;
    v[count] = std::wcstod(p, &end);
    if (end == p) return false;
    while (*end == L' ') ++end;
    if (*end == L'\0') {
      *point = AcGePoint3d(v[0], v[1], v[2]);
      return count >= 1;
    }
    if (*end != L',') return false;
    p = end + 1;
  }
  return false;
}

// Asks for a point until one is typed: RTNORM with the point, RTNONE for Enter, RTCAN.
int GetPoint(const wchar_t* prompt, AcGePoint3d* point) {
  wchar_t text[kAcedStringBufferLen] = {};
  for (;;) {
    const int rc = acedGetString(0, prompt, text);
    if (rc != RTNORM) return rc;
    if (!*text) return RTNONE;
    if (ParsePoint(text, point)) return RTNORM;
    acutPrintf(L"\n需要点坐标 x,y 或 x,y,z。");
  }
}

// A real with a default for Enter; false when cancelled.
bool GetRealOr(const wchar_t* prompt, double fallback, double* value) {
  *value = fallback;
  const int rc = acedGetReal(prompt, value);
  if (rc == RTNONE) *value = fallback;
  return rc == RTNORM || rc == RTNONE;
}

void PrintHandle(const wchar_t* what, AcDbObjectId id) {
  acutPrintf(L"\n%s %I64X。", what, id.handle().value());
}

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

// Points until Enter; false when cancelled.
bool GetPoints(AcGePoint3dArray* points) {
  AcGePoint3d point;
  for (;;) {
    const int rc = GetPoint(points->isEmpty() ? L"\n起点: " : L"\n下一点 <结束>: ", &point);
    if (rc == RTCAN) return false;
    if (rc == RTNONE) return true;
    points->append(point);
  }
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

AcRx::AppRetCode Load(void* appId) {
  acrxDynamicLinker->unlockApplication(appId);
  acrxDynamicLinker->registerAppMDIAware(appId);
  acedRegCmds()->addCommand(kGroup, L"EDITINSERT", L"EDITINSERT", 0, &InsertCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITDEFINE", L"EDITDEFINE", 0, &DefineCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITCLONE", L"EDITCLONE", 0, &CloneCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITPLINE", L"EDITPLINE", 0, &PlineCommand);
  return AcRx::kRetOK;
}

AcRx::AppRetCode Unload() {
  acedRegCmds()->removeGroup(kGroup);
  return AcRx::kRetOK;
}

}  // namespace

extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* pkt) {
  switch (msg) {
    case AcRx::kInitAppMsg:
      return Load(pkt);
    case AcRx::kUnloadAppMsg:
      return Unload();
    default:
      return AcRx::kRetOK;
  }
}
