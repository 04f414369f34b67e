// Command-line helpers of EditDemo's commands.
#include <string>

#include "common/format.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/aced.h"
#include "host/api/acutads.h"

namespace editdemo {

int GetPoint(const wchar_t* prompt, AcGePoint3d* point) {
  ads_point picked = {0, 0, 0};
  const int rc = acedGetPoint(nullptr, prompt, picked);
  if (rc == RTNORM) *point = AcGePoint3d(picked[0], picked[1], picked[2]);
  return rc;
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
