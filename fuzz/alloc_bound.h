// The memory bound of the binary readers: one input may make a reader allocate at most
// kPerByte bytes per input byte plus kSlack at its peak (the readers allow a model 16 bytes of
// memory per input byte plus 1 MiB; lists growing by doubling and the input's own copies account
// for the rest). A target that breaks the bound aborts, so the fuzzer keeps the input as a crash.
#ifndef KW_FUZZ_ALLOC_BOUND_H_
#define KW_FUZZ_ALLOC_BOUND_H_

#include <cstdio>
#include <cstdlib>

#include "common/testing/AllocMeter.h"

class AllocBound {
 public:
  static constexpr int64_t kPerByte = 32;
  static constexpr int64_t kSlack = 4 << 20;

  explicit AllocBound(size_t inputBytes)
      : m_limit(kPerByte * static_cast<int64_t>(inputBytes) + kSlack) {
    if (!kwtest::AllocMeterWorks()) std::abort();  // a bound nobody checks proves nothing
  }
  ~AllocBound() {
    const int64_t peak = m_meter.PeakBytes();
    if (peak <= m_limit) return;
    std::fprintf(stderr, "allocation bound broken: peak %lld bytes, bound %lld\n",
                 static_cast<long long>(peak), static_cast<long long>(m_limit));
    std::abort();
  }
  AllocBound(const AllocBound&) = delete;
  AllocBound& operator=(const AllocBound&) = delete;

 private:
  kwtest::AllocMeter m_meter;
  int64_t m_limit;
};

#endif  // KW_FUZZ_ALLOC_BOUND_H_
