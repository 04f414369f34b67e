// The platform's command-line utilities: printing and result-buffer memory.
#ifndef KW_HOST_API_ACUTADS_H_
#define KW_HOST_API_ACUTADS_H_

#include "host/api/adsdef.h"

// printf with the platform's wide rules (common/format.h) onto the command line. RTNORM.
int acutPrintf(const wchar_t* format, ...);

// A zeroed resbuf of that type, or null when out of memory.
resbuf* acutNewRb(int type);
// Frees the whole chain (RTSTR strings included). RTNORM; null is accepted.
int acutRelRb(resbuf* rb);
// A malloc'd copy of s for resbuf::rstring (null gives null).
wchar_t* acutNewString(const wchar_t* s);

#endif  // KW_HOST_API_ACUTADS_H_
