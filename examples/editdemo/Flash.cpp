// EditDemo's blinking commands.
//   EDITFLASH      blinks in red for a given time either the entities of a selection (Enter at
//                  its first prompt: every entity; KWTwinkle on a selection set: one group) or
//                  an outline through typed points (KWTwinkle of the points: a temporary
//                  polyline that is erased when the blink ends);
//   EDITSTOPFLASH  stops one blink or group by its number, or all of them (KWStopTwinkle,
//                  KWStopAllTwinkle).
// Blinking runs on the host's timer: in rdpub, WAIT lets it run.
#include <string>

#include "editor/KWSSGet.h"
#include "editor/Twinkle.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"

namespace editdemo {

namespace {

constexpr int kRed = 1;

void FlashSelection(unsigned long ms) {
  ads_name ss = {0, 0};
  if (KWRDPub::KWSSGet_ReturnSelAll(L"\n选择要闪烁的对象", L"\n移除对象: ", nullptr, ss) !=
      RTNORM) {
    return;
  }
  const int id = KWTwinkle(ss, 1, kRed, nullptr, 0.0, ms);
  acedSSFree(ss);
  if (id > 0) {
    acutPrintf(L"\n闪烁 %d。", id);
  } else {
    acutPrintf(L"\n无法闪烁选择集 (%d)。", id);
  }
}

void FlashOutline(unsigned long ms) {
  AcGePoint3dArray points;
  if (!GetPoints(&points)) return;
  if (points.length() < 2) {
    acutPrintf(L"\n轮廓至少需要两个点。");
    return;
  }
  const int id = KWTwinkle(points, kRed, nullptr, 0.0, ms);
  if (id > 0) {
    acutPrintf(L"\n闪烁轮廓 %d。", id);
  } else {
    acutPrintf(L"\n无法闪烁轮廓 (%d)。", id);
  }
}

}  // namespace

void FlashCommand() {
  int ms = 3000;
  if (!GetIntOr(L"\n闪烁时间(毫秒) <3000>: ", 3000, &ms)) return;
  acedInitGet(0, L"Select Outline");
  wchar_t what[kAcedStringBufferLen] = {};
  const int rc = acedGetKword(L"\n闪烁 [选择集(S)/轮廓(O)] <S>: ", what);
  if (rc == RTCAN) return;
  if (rc == RTNORM && std::wstring(what) == L"Outline") {
    FlashOutline(static_cast<unsigned long>(ms));
  } else {
    FlashSelection(static_cast<unsigned long>(ms));
  }
}

void StopFlashCommand() {
  int id = 0;
  const int rc = acedGetInt(L"\n闪烁编号 <全部>: ", &id);
  if (rc == RTNONE) {
    KWStopAllTwinkle(nullptr);
    acutPrintf(L"\n已停止全部闪烁。");
  } else if (rc == RTNORM) {
    acutPrintf(L"\n停止闪烁 %d: %d。", id, KWStopTwinkle(id, nullptr));
  }
}

}  // namespace editdemo
