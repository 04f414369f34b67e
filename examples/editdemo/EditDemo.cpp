// EditDemo: a suite module that lets a user try KWRDPub's editor services in rdpub.
//
// What a module does, in order:
//   1. At load (kInitAppMsg) it unlocks itself and registers its commands in the group
//      "EDITDEMO":
//        EDITINSERT  inserts a drawing file as a block reference (KWInsert);
//        EDITDEFINE  defines a block from a drawing file without a reference
//                    (KWRDPub::InsertBlockRecord);
//        EDITCLONE   copies a block definition under a new name (CloneBlock);
//        EDITPLINE   draws a polyline through typed points (CreatePline);
//        EDITZOOM    makes two points visible (CadView::acs_zm2pt);
//        EDITPICK    selects with keywords and Shift (KWRDPub::KWSSGetWithKeyword);
//        EDITFLASH   blinks a selection or an outline for a while (KWTwinkle);
//                    EDITSTOPFLASH stops it.
//   2. Each command asks on the command line, calls the service and prints its result: the
//      handle of what was made, or the service's code when it failed.
//   3. At unload (kUnloadAppMsg) it removes its command group: the library outlives the
//      module, and must not call into unloaded code.
// Points are typed as "x,y" or "x,y,z" in the current UCS; angles in degrees.
#include "examples/editdemo/EditDemo.h"
#include "host/api/accmd.h"
#include "host/api/rx.h"

namespace {

constexpr const wchar_t* kGroup = L"EDITDEMO";

AcRx::AppRetCode Load(void* appId) {
  acrxDynamicLinker->unlockApplication(appId);
  acrxDynamicLinker->registerAppMDIAware(appId);
  acedRegCmds()->addCommand(kGroup, L"EDITINSERT", L"EDITINSERT", 0, &editdemo::InsertCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITDEFINE", L"EDITDEFINE", 0, &editdemo::DefineCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITCLONE", L"EDITCLONE", 0, &editdemo::CloneCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITPLINE", L"EDITPLINE", 0, &editdemo::PlineCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITZOOM", L"EDITZOOM", 0, &editdemo::ZoomCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITPICK", L"EDITPICK", 0, &editdemo::PickCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITFLASH", L"EDITFLASH", 0, &editdemo::FlashCommand);
  acedRegCmds()->addCommand(kGroup, L"EDITSTOPFLASH", L"EDITSTOPFLASH", 0,
                            &editdemo::StopFlashCommand);
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
