// Proves that the hot paths allocate no heap memory once warm: an untraced (and a traced)
// SendMessageW and TraceLogo. The allocation meter counts every operator new of this program,
// and under AddressSanitizer every malloc as well.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "common/testing/AllocMeter.h"
#include "kwhost/embedded.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"

namespace {

unsigned long Answer(KWMSGHDR* msg, void*) {
  return msg->msg;
}

std::wstring* volatile g_sink = nullptr;

TEST(NoAllocation, TheMeterSeesAllocations) {
  kwtest::AllocMeter meter;
  g_sink = new std::wstring(100, L'x');
  const int64_t seen = meter.Count();
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
  int64_t untraced = 0;
  int64_t traced = 0;
  {
    kwtest::AllocMeter meter;
    st.SetSendLog(0);
    for (int i = 0; i < 100; ++i) mgr->SendMessageW(&msg);
    for (int i = 0; i < 100; ++i) traceLine();
    untraced = meter.Count();
    st.SetSendLog(1);
    for (int i = 0; i < 100; ++i) mgr->SendMessageW(&msg);
    traced = meter.Count() - untraced;
    st.SetSendLog(0);
  }
  EXPECT_EQ(untraced, 0);
  EXPECT_EQ(traced, 0);
  mgr->RemoveRegister(&Answer);
}

}  // namespace
