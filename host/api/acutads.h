// The platform's command-line utilities: printing and result-buffer memory.
#ifndef KW_HOST_API_ACUTADS_H_
#define KW_HOST_API_ACUTADS_H_

#include "host/api/adsdef.h"

// printf with the platform's wide rules (common/format.h) onto the command line. RTNORM.
int acutPrintf(const wchar_t* format, ...);

// A zeroed resbuf of that type, or null when out of memory.
resbuf* acutNewRb(int type);
// Frees the whole chain: each resbuf with the string or binary chunk its type holds (RTSTR
// and the DXF string and binary group codes, see acdbDxfValueKind). RTNORM; null is accepted.
int acutRelRb(resbuf* rb);
// A malloc'd copy of s for resbuf::rstring (null gives null).
wchar_t* acutNewString(const wchar_t* s);
// Matches `string` against a wildcard pattern, as the platform does (case counts): "*" any
// run, "?" any one character, "#" a digit, "@" a letter, "." a character that is neither,
// "[...]" one of the set (ranges "a-z", "[~...]" none of it), "`" takes the next character
// literally, a leading "~" negates, "," separates alternatives. RTNORM on a match, RTERROR
// otherwise (null arguments included).
int acutWcMatch(const wchar_t* string, const wchar_t* pattern);
// A list from (type, value) pairs ended by 0: strings as const wchar_t*, reals as double,
// points as const double*, shorts and ints as int, 64-bit integers as int64_t, names as
// const int64_t*. RTDXF0 stands for group 0. Null for a type with no meaning or a binary group
// (nothing leaks).
resbuf* acutBuildList(int type, ...);

// Point geometry of the command line (ads_point: x, y, z). acutPolar: the point `dist` from
// `pt` at `angle` (radians, counter-clockwise from x) in the XY plane, z kept. acutDistance:
// the 3D distance. acutAngle: the angle of the line from pt1 to pt2 projected on the XY plane,
// in [0, 2 pi); 0 for two points with the same x and y.
void acutPolar(const ads_point pt, ads_real angle, ads_real dist, ads_point result);
ads_real acutDistance(const ads_point pt1, const ads_point pt2);
ads_real acutAngle(const ads_point pt1, const ads_point pt2);

#endif  // KW_HOST_API_ACUTADS_H_
