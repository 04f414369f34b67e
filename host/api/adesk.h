// Basic platform types and status codes of the host API.
//
// Status families:
//   - command-line results (RTNORM, RTNONE, RTCAN, RTERROR, ...): int, returned by acedGet* etc.;
//   - Acad::ErrorStatus: database and filer results; eOk (0) is success.
#ifndef KW_HOST_API_ADESK_H_
#define KW_HOST_API_ADESK_H_

#include <cstdint>

namespace Adesk {
using Int8 = int8_t;
using Int16 = int16_t;
using Int32 = int32_t;
using Int64 = int64_t;
using UInt8 = uint8_t;
using UInt16 = uint16_t;
using UInt32 = uint32_t;
using UInt64 = uint64_t;
using Boolean = int;
using IntDbId = int64_t;
using LongPtr = intptr_t;
using ULongPtr = uintptr_t;
using GsMarker = intptr_t;
inline constexpr Boolean kFalse = 0;
inline constexpr Boolean kTrue = 1;
}  // namespace Adesk

// Results of the command-line functions.
inline constexpr int RTNORM = 5100;
inline constexpr int RTNONE = 5000;
inline constexpr int RTREAL = 5001;
inline constexpr int RTPOINT = 5002;
inline constexpr int RTSHORT = 5003;
inline constexpr int RTANG = 5004;
inline constexpr int RTSTR = 5005;
inline constexpr int RTENAME = 5006;
inline constexpr int RTPICKS = 5007;
inline constexpr int RT3DPOINT = 5009;
inline constexpr int RTLONG = 5010;
inline constexpr int RTLB = 5016;    // list begin
inline constexpr int RTLE = 5017;    // list end
inline constexpr int RTDXF0 = 5020;  // group 0 in acutBuildList, where 0 ends the list
inline constexpr int RTKWORD = -5005;
inline constexpr int RTERROR = -5001;
inline constexpr int RTCAN = -5002;
inline constexpr int RTREJ = -5003;
inline constexpr int RTFAIL = -5004;

namespace Acad {
// Only the values the project uses; the numbers are the platform's.
enum ErrorStatus : int {
  eOk = 0,
  eNotImplementedYet = 1,
  eNotApplicable = 2,
  eInvalidInput = 3,
  eOutOfMemory = 6,
  eInvalidOpenState = 8,
  eHandleInUse = 14,
  eNullObjectPointer = 15,
  eNullObjectId = 16,
  eNullBlockName = 17,
  eKeyNotFound = 22,
  eDuplicateKey = 23,
  eInvalidIndex = 24,
  eAlreadyInDb = 26,
  eInvalidExtents = 30,
  eInvalidAdsName = 31,
  eInvalidSymbolTableName = 32,
  eWrongObjectType = 34,
  eWrongDatabase = 35,
  eEndOfFile = 41,
  eNotOpenForRead = 44,
  eNotOpenForWrite = 45,
  eNotThatKindOfClass = 46,
  eInvalidBlockName = 47,
  eFilerError = 53,
  eFileAccessErr = 72,
  eFileNotFound = 76,
  eWasErased = 84,
  ePermanentlyErased = 85,
  eWasOpenForRead = 86,
  eWasOpenForWrite = 87,
  eWasOpenForNotify = 90,
  eOnLockedLayer = 91,
  eAtMaxReaders = 94,
  eNotAnEntity = 97,
  eHadMultipleReaders = 98,
  eDuplicateRecordName = 99,
  eSelfReference = 101,
  eCannotBeErasedByCaller = 109,
  eWasNotErased = 111,
  eNoDatabase = 116,
  eNotInDatabase = 129,
  eUndefinedLineType = 162,
};
}  // namespace Acad

#endif  // KW_HOST_API_ADESK_H_
