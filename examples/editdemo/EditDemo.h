// EditDemo's commands and the command-line helpers they share.
#ifndef KW_EXAMPLES_EDITDEMO_EDITDEMO_H_
#define KW_EXAMPLES_EDITDEMO_EDITDEMO_H_

#include <string>

#include "host/api/dbid.h"
#include "host/api/ge.h"

namespace editdemo {

// Asks for a point (typed "x,y" or "x,y,z" in the current UCS) until one is given: RTNORM with
// the point, RTNONE for Enter, RTCAN.
int GetPoint(const wchar_t* prompt, AcGePoint3d* point);
// Points until Enter ("起点", then "下一点 <结束>"); false when cancelled.
bool GetPoints(AcGePoint3dArray* points);
// A number with a default for Enter; false when cancelled.
bool GetRealOr(const wchar_t* prompt, double fallback, double* value);
bool GetIntOr(const wchar_t* prompt, int fallback, int* value);
// The object's handle in hexadecimal, as LIST shows it.
std::wstring HandleText(AcDbObjectId id);

// The commands (Create.cpp, View.cpp, Pick.cpp, Flash.cpp).
void InsertCommand();
void DefineCommand();
void CloneCommand();
void PlineCommand();
void ZoomCommand();
void PickCommand();
void FlashCommand();
void StopFlashCommand();

}  // namespace editdemo

#endif  // KW_EXAMPLES_EDITDEMO_EDITDEMO_H_
