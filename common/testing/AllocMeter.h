// Measures the heap memory a piece of code takes: the number of allocations and the peak of
// live bytes above the level at which the measurement started. Tests use it to prove that a
// reader's memory is bounded by its input, and fuzz targets to stop on an input that makes a
// reader allocate more than its bound.
//
// A program gets the meter from kw_add_alloc_meter (cmake/kw_helpers.cmake), which adds
// AllocMeter.cpp to it; the program must not replace operator new itself. Under
// AddressSanitizer the meter counts every allocation through the sanitizer's malloc hooks
// (operator new, malloc and realloc alike); without the sanitizer it replaces the global
// operator new and delete and counts those.
//
// One meter at a time, on one thread; nested meters are not supported.
#ifndef KW_COMMON_TESTING_ALLOCMETER_H_
#define KW_COMMON_TESTING_ALLOCMETER_H_

#include <cstddef>
#include <cstdint>

namespace kwtest {

class AllocMeter {
 public:
  // Starts measuring; the peak is counted from the bytes live now.
  AllocMeter();
  // Stops measuring.
  ~AllocMeter();
  AllocMeter(const AllocMeter&) = delete;
  AllocMeter& operator=(const AllocMeter&) = delete;

  // Allocations made since the start.
  int64_t Count() const;
  // The largest number of bytes that were live at once, beyond those live at the start.
  int64_t PeakBytes() const;
  // The bytes all allocations since the start asked for, frees not subtracted: what a reader
  // costs in transient buffers too.
  int64_t TotalBytes() const;
};

// True when the program counts allocations at all (false only if neither way is available).
bool AllocMeterWorks();
// True when C allocations (malloc, libxml2's) are counted too, not only operator new: only under
// AddressSanitizer. Tests of readers that allocate through C libraries skip without it.
bool AllocMeterSeesMalloc();

}  // namespace kwtest

#endif  // KW_COMMON_TESTING_ALLOCMETER_H_
