// Command-line helpers of EditDemo's commands.
#include <cwchar>
#include <string>

#include "common/format.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"

namespace editdemo {

namespace {

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

}  // namespace

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

bool GetPoints(AcGePoint3dArray* points) {
  AcGePoint3d point;
  for (;;) {
    const int rc = GetPoint(points->isEmpty() ? L"\n起点: " : L"\n下一点 <结束>: ", &point);
    if (rc == RTCAN) return false;
    if (rc == RTNONE) return true;
    points->append(point);
  }
}

bool GetRealOr(const wchar_t* prompt, double fallback, double* value) {
  const int rc = acedGetReal(prompt, value);
  if (rc == RTNONE) *value = fallback;
  return rc == RTNORM || rc == RTNONE;
}

bool GetIntOr(const wchar_t* prompt, int fallback, int* value) {
  const int rc = acedGetInt(prompt, value);
  if (rc == RTNONE) *value = fallback;
  return rc == RTNORM || rc == RTNONE;
}

std::wstring HandleText(AcDbObjectId id) {
  return kw::FormatW(L"%I64X", id.handle().value());
}

}  // namespace editdemo
