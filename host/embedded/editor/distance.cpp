// The command line's point arithmetic.
#include <cmath>

#include "host/api/acutads.h"

ads_real acutDistance(const ads_point pt1, const ads_point pt2) {
  return std::hypot(pt2[0] - pt1[0], pt2[1] - pt1[1], pt2[2] - pt1[2]);
}
