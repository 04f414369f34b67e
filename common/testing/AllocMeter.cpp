#include "common/testing/AllocMeter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace kwtest {
namespace {

std::atomic<bool> g_on{false};
std::atomic<int64_t> g_count{0};
std::atomic<int64_t> g_live{0};  // bytes live beyond the level at the start
std::atomic<int64_t> g_peak{0};
std::atomic<int64_t> g_total{0};  // bytes asked for, frees not subtracted

void Allocated(size_t size) {
  if (!g_on.load(std::memory_order_relaxed)) return;
  g_count.fetch_add(1, std::memory_order_relaxed);
  g_total.fetch_add(static_cast<int64_t>(size), std::memory_order_relaxed);
  const int64_t live = g_live.fetch_add(static_cast<int64_t>(size)) + static_cast<int64_t>(size);
  int64_t peak = g_peak.load(std::memory_order_relaxed);
  while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
  }
}

// Blocks allocated before the start may be freed during the measurement: the live count then
// drops below zero, which is right (the peak is measured above the starting level).
void Freed(size_t size) {
  if (g_on.load(std::memory_order_relaxed)) g_live.fetch_sub(static_cast<int64_t>(size));
}

}  // namespace
}  // namespace kwtest

#if defined(__SANITIZE_ADDRESS__)

// From the sanitizer runtime's allocator interface (its header is not installed with gcc).
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, size_t),
                                                         void (*)(const volatile void*));
extern "C" size_t __sanitizer_get_allocated_size(const volatile void*);

namespace kwtest {
namespace {

void OnMalloc(const volatile void*, size_t size) {
  Allocated(size);
}
// The hook runs before the block is released, so its size can still be asked.
void OnFree(const volatile void* p) {
  if (p != nullptr && g_on.load(std::memory_order_relaxed))
    Freed(__sanitizer_get_allocated_size(p));
}

bool InstallHooks() {
  static const bool installed = __sanitizer_install_malloc_and_free_hooks(&OnMalloc, &OnFree) != 0;
  return installed;
}

}  // namespace

bool AllocMeterWorks() {
  return InstallHooks();
}

bool AllocMeterSeesMalloc() {
  return InstallHooks();
}

}  // namespace kwtest

#else  // without the sanitizer: every operator new carries its size in front of the block

namespace {

constexpr size_t kPrefix = 16;  // keeps the default new alignment

void* CountedNew(size_t size) {
  auto* block = static_cast<unsigned char*>(std::malloc(size + kPrefix));
  if (block == nullptr) throw std::bad_alloc();
  *reinterpret_cast<size_t*>(block) = size;
  kwtest::Allocated(size);
  return block + kPrefix;
}

void CountedDelete(void* p) noexcept {
  if (p == nullptr) return;
  unsigned char* block = static_cast<unsigned char*>(p) - kPrefix;
  kwtest::Freed(*reinterpret_cast<size_t*>(block));
  std::free(block);
}

}  // namespace

void* operator new(size_t size) {
  return CountedNew(size);
}
void* operator new[](size_t size) {
  return CountedNew(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  try {
    return CountedNew(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* p) noexcept {
  CountedDelete(p);
}
void operator delete[](void* p) noexcept {
  CountedDelete(p);
}
void operator delete(void* p, size_t) noexcept {
  CountedDelete(p);
}
void operator delete[](void* p, size_t) noexcept {
  CountedDelete(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
  CountedDelete(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  CountedDelete(p);
}

namespace kwtest {
bool AllocMeterWorks() {
  return true;
}

bool AllocMeterSeesMalloc() {
  return false;
}
}  // namespace kwtest

#endif

namespace kwtest {

AllocMeter::AllocMeter() {
  AllocMeterWorks();
  g_count = 0;
  g_live = 0;
  g_peak = 0;
  g_total = 0;
  g_on = true;
}

AllocMeter::~AllocMeter() {
  g_on = false;
}

int64_t AllocMeter::Count() const {
  return g_count.load();
}

int64_t AllocMeter::PeakBytes() const {
  return g_peak.load();
}

int64_t AllocMeter::TotalBytes() const {
  return g_total.load();
}

}  // namespace kwtest
