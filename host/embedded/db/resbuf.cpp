// Result buffers: allocation and release, building lists, the value kind of each DXF group
// code, entity names and ids. A list's memory: every resbuf, its string (kString) and its
// binary chunk (kBinary) come from malloc and are freed by acutRelRb.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "host/api/dbads.h"
#include "host/embedded/db/store.h"

AcDbDxfValueKind acdbDxfValueKind(int code) {
  using K = AcDbDxfValueKind;
  struct Range {
    int from, to;
    K kind;
  };
  // -4 carries the selection filters' operators ("<OR", ">=", ...).
  static constexpr Range kRanges[] = {{-5, -5, K::kNone},
                                      {-4, -4, K::kString},
                                      {-3, -3, K::kNone},
                                      {-2, -1, K::kName},
                                      {0, 9, K::kString},
                                      {10, 18, K::kPoint},
                                      {38, 59, K::kReal},
                                      {60, 79, K::kShort},
                                      {90, 99, K::kLong},
                                      {100, 102, K::kString},
                                      {105, 105, K::kString},
                                      {110, 112, K::kPoint},
                                      {140, 149, K::kReal},
                                      {160, 169, K::kInt64},
                                      {170, 179, K::kShort},
                                      {210, 210, K::kPoint},
                                      {270, 289, K::kShort},
                                      {290, 299, K::kShort},
                                      {300, 309, K::kString},
                                      {310, 319, K::kBinary},
                                      {320, 329, K::kString},
                                      {330, 369, K::kName},
                                      {370, 389, K::kShort},
                                      {390, 399, K::kName},
                                      {400, 409, K::kShort},
                                      {410, 419, K::kString},
                                      {420, 429, K::kLong},
                                      {430, 439, K::kString},
                                      {440, 459, K::kLong},
                                      {460, 469, K::kReal},
                                      {470, 479, K::kString},
                                      {480, 481, K::kName},
                                      {999, 1003, K::kString},
                                      {1004, 1004, K::kBinary},
                                      {1005, 1009, K::kString},
                                      {1010, 1013, K::kPoint},
                                      {1040, 1042, K::kReal},
                                      {1070, 1070, K::kShort},
                                      {1071, 1071, K::kLong},
                                      {RTNONE, RTNONE, K::kNone},
                                      {RTREAL, RTREAL, K::kReal},
                                      {RTPOINT, RTPOINT, K::kPoint},
                                      {RTSHORT, RTSHORT, K::kShort},
                                      {RTANG, RTANG, K::kReal},
                                      {RTSTR, RTSTR, K::kString},
                                      {RTENAME, RTPICKS, K::kName},
                                      {5008, 5008, K::kReal},
                                      {RT3DPOINT, RT3DPOINT, K::kPoint},
                                      {RTLONG, RTLONG, K::kLong},
                                      {5014, 5014, K::kNone},
                                      {RTLB, 5019, K::kNone},
                                      {RTDXF0, RTDXF0, K::kString},
                                      {5021, 5021, K::kNone}};
  for (const Range& r : kRanges) {
    if (code >= r.from && code <= r.to) return r.kind;
  }
  return K::kInvalid;
}

resbuf* acutNewRb(int type) {
  auto* rb = static_cast<resbuf*>(std::calloc(1, sizeof(resbuf)));
  if (rb) rb->restype = static_cast<short>(type);
  return rb;
}

int acutRelRb(resbuf* rb) {
  while (rb) {
    resbuf* next = rb->rbnext;
    AcDbDxfValueKind kind = acdbDxfValueKind(rb->restype);
    if (kind == AcDbDxfValueKind::kString) std::free(rb->resval.rstring);
    if (kind == AcDbDxfValueKind::kBinary) std::free(rb->resval.rbinary.buf);
    std::free(rb);
    rb = next;
  }
  return RTNORM;
}

wchar_t* acutNewString(const wchar_t* s) {
  if (!s) return nullptr;
  size_t n = std::wcslen(s) + 1;
  auto* copy = static_cast<wchar_t*>(std::malloc(n * sizeof(wchar_t)));
  if (copy) std::wmemcpy(copy, s, n);
  return copy;
}

namespace {

// Reads one value of `kind` into rb; false when the kind takes no value from the arguments.
bool TakeValue(resbuf* rb, AcDbDxfValueKind kind, va_list& args) {
  using K = AcDbDxfValueKind;
  switch (kind) {
    case K::kString:
      rb->resval.rstring = acutNewString(va_arg(args, const wchar_t*));
      return true;
    case K::kReal:
      rb->resval.rreal = va_arg(args, double);
      return true;
    case K::kPoint: {
      const double* p = va_arg(args, const double*);
      if (p) std::memcpy(rb->resval.rpoint, p, sizeof rb->resval.rpoint);
      return true;
    }
    case K::kShort:
      rb->resval.rint = static_cast<short>(va_arg(args, int));
      return true;
    case K::kLong:
      rb->resval.rlong = va_arg(args, int);
      return true;
    case K::kInt64:
      rb->resval.mnLong = va_arg(args, int64_t);
      return true;
    case K::kName: {
      const int64_t* n = va_arg(args, const int64_t*);
      if (n) std::memcpy(rb->resval.rlname, n, sizeof rb->resval.rlname);
      return true;
    }
    default:
      return false;
  }
}

}  // namespace

resbuf* acutBuildList(int type, ...) {
  va_list args;
  va_start(args, type);
  resbuf* head = nullptr;
  resbuf** tail = &head;
  bool ok = true;
  for (; type != 0; type = va_arg(args, int)) {
    AcDbDxfValueKind kind = acdbDxfValueKind(type);
    resbuf* rb = kind == AcDbDxfValueKind::kInvalid || kind == AcDbDxfValueKind::kBinary
                     ? nullptr
                     : acutNewRb(type == RTDXF0 ? 0 : type);
    if (!rb) {
      ok = false;
      break;
    }
    *tail = rb;
    tail = &rb->rbnext;
    TakeValue(rb, kind, args);
  }
  va_end(args);
  if (ok) return head;
  acutRelRb(head);
  return nullptr;
}

Acad::ErrorStatus acdbGetAdsName(ads_name& name, AcDbObjectId id) {
  name[0] = name[1] = 0;
  if (id.isNull()) return Acad::eNullObjectId;
  if (!kwhost::db::Peek(id)) return Acad::eNotInDatabase;
  name[0] = id.asOldId();
  name[1] = static_cast<int64_t>(static_cast<uint64_t>(id.asOldId()) >> 32);
  return Acad::eOk;
}

Acad::ErrorStatus acdbGetObjectId(AcDbObjectId& id, const ads_name name) {
  id = AcDbObjectId();
  if (!name) return Acad::eInvalidAdsName;
  AcDbObjectId candidate = AcDbObjectId().setFromOldId(name[0]);
  if (name[1] != static_cast<int64_t>(static_cast<uint64_t>(name[0]) >> 32) ||
      !kwhost::db::Peek(candidate)) {
    return Acad::eInvalidAdsName;
  }
  id = candidate;
  return Acad::eOk;
}
