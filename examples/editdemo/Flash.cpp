// EditDemo's blinking commands.
//   EDITFLASH      blinks the entities of a selection (Enter at its first prompt: every entity)
//                  in red for a given time (KWTwinkle on a selection set: one group);
//   EDITSTOPFLASH  stops one blink or group by its number, or all of them (KWStopTwinkle,
//                  KWStopAllTwinkle).
// Blinking runs on the host's timer: in rdpub, WAIT lets it run.
#include "editor/KWSSGet.h"
#include "editor/Twinkle.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"

namespace editdemo {

namespace {

constexpr int kRed = 1;

}  // namespace

void FlashCommand() {
  int ms = 3000;
  if (!GetIntOr(L"\n闪烁时间(毫秒) <3000>: ", 3000, &ms)) return;
  ads_name ss = {0, 0};
  if (KWRDPub::KWSSGet_ReturnSelAll(L"\n选择要闪烁的对象", L"\n移除对象: ", nullptr, ss) !=
      RTNORM) {
    return;
  }
  const int id = KWTwinkle(ss, 1, kRed, nullptr, 0.0, static_cast<unsigned long>(ms));
  acedSSFree(ss);
  if (id > 0) {
    acutPrintf(L"\n闪烁 %d。", id);
  } else {
    acutPrintf(L"\n无法闪烁选择集 (%d)。", id);
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
