// Proves that the hot paths allocate no heap memory once warm: an untraced (and a traced)
// SendMessageW and TraceLogo. Every operator new of this program is replaced by a counting one;
// under AddressSanitizer every malloc is counted as well through the sanitizer's hooks.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "kwhost/embedded.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"

#if defined(__SANITIZE_ADDRESS__)
// From the sanitizer runtime's allocator interface (its header is not installed with gcc).
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, size_t),
                                                         void (*)(const volatile void*));
#endif

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};

void* Counted(size_t size) {
  if (g_counting.load(std::memory_order_relaxed)) g_allocations.fetch_add(1);
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  return p;
}

#if defined(__SANITIZE_ADDRESS__)
void OnMalloc(const volatile void*, size_t) {
  if (g_counting.load(std::memory_order_relaxed)) g_allocations.fetch_add(1);
}
void OnFree(const volatile void*) {}
#endif

}  // namespace

void* operator new(size_t size) {
  return Counted(size);
}
void* operator new[](size_t size) {
  return Counted(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  try {
    return Counted(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, size_t) noexcept {
  std::free(p);
}

namespace {

class Counting {
 public:
  Counting() {
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_install_malloc_and_free_hooks(&OnMalloc, &OnFree);
#endif
    g_allocations = 0;
    g_counting = true;
  }
  ~Counting() {
    g_counting = false;
  }
  long Count() const {
    return g_allocations.load();
  }
};

unsigned long Answer(KWMSGHDR* msg, void*) {
  return msg->msg;
}

std::wstring* volatile g_sink = nullptr;

TEST(NoAllocation, TheCounterSeesAllocations) {
  Counting counting;
  g_sink = new std::wstring(100, L'x');
  long seen = counting.Count();
  delete g_sink;
  EXPECT_GE(seen, 1);
}

TEST(NoAllocation, WarmSendsAndTraceLinesAllocateNothing) {
  kwhost::ResetSession();
  KWRDPub::GetModuleState() = KWRDPub::ModuleState{};  // a host that is not ending
  CRDMsgManager* mgr = CRDMsgManager::GetInstance();
  for (unsigned i = 0; i < 8; ++i)
    mgr->Register(L"Eight", i < 2 ? 5 : 100 + i, 3, &Answer, nullptr);
  KWRDPub::ModuleState& st = KWRDPub::GetModuleState();
  KWMSGHDR msg{5, 3, 0};
  st.SetSendLog(1);
  // Warm-up: creates the trace log and lets each format be translated once.
  const auto traceLine = [] {
    KWRDPub::TraceLogo(L"<RDMsg_SendMessage%u type='%u' msg='%u' from='%s'>", 12u, 5u, 3u,
                       L",1,2,3,4,5,6,7,8,9,10,11,");
  };
  mgr->SendMessageW(&msg);
  traceLine();
  long untraced = 0;
  long traced = 0;
  {
    Counting counting;
    st.SetSendLog(0);
    for (int i = 0; i < 100; ++i) mgr->SendMessageW(&msg);
    for (int i = 0; i < 100; ++i) traceLine();
    untraced = counting.Count();
    st.SetSendLog(1);
    for (int i = 0; i < 100; ++i) mgr->SendMessageW(&msg);
    traced = counting.Count() - untraced;
    st.SetSendLog(0);
  }
  EXPECT_EQ(untraced, 0);
  EXPECT_EQ(traced, 0);
  mgr->RemoveRegister(&Answer);
}

}  // namespace
