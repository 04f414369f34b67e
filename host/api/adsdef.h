// The platform's command-line data types: points, entity names and the result buffer that
// carries one value of a command-line or system-variable call (RT* type codes: adesk.h).
#ifndef KW_HOST_API_ADSDEF_H_
#define KW_HOST_API_ADSDEF_H_

#include <cstdint>

#include "host/api/adesk.h"

using ads_real = double;
using ads_point = ads_real[3];
using ads_name = int64_t[2];

// A result buffer. Strings (RTSTR) are allocated with malloc and freed by acutRelRb.
struct resbuf {
  resbuf* rbnext;
  short restype;
  union {
    double rreal;
    double rpoint[3];
    short rint;
    wchar_t* rstring;
    int32_t rlong;
    int64_t mnLong;
    int64_t rlname[2];
    struct {
      short clen;
      char* buf;
    } rbinary;
  } resval;
};

#endif  // KW_HOST_API_ADSDEF_H_
