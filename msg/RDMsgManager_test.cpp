#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "kwhost/embedded.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"

struct CRDMsgManagerTestAccess {
  static void Destroy() { CRDMsgManager::Destroy(); }
};

namespace {

using KWRDPub::CTraceLogo;

std::vector<std::wstring> TraceLines() {
  CTraceLogo* log = CTraceLogo::GetInstance(false);
  return log ? log->Lines() : std::vector<std::wstring>{};
}

// Answers a fixed value and counts its calls; optionally runs an action inside the send.
struct Probe {
  explicit Probe(unsigned long a = 0) : answer(a) {}
  unsigned long answer;
  int calls = 0;
  std::function<void(KWMSGHDR*)> action;
};

unsigned long ProbeFn(KWMSGHDR* msg, void* user) {
  Probe* p = static_cast<Probe*>(user);
  ++p->calls;
  if (p->action) p->action(msg);
  return p->answer;
}
unsigned long OtherFn(KWMSGHDR* msg, void* user) {
  return ProbeFn(msg, user);
}

class Watch final : public CMsgWatch {
 public:
  Watch(uint32_t type, uint32_t code, unsigned long answer)
      : m_type(type), m_code(code), m_answer(answer) {}
  uint32_t GetType() override { return m_type; }
  uint32_t GetMsg() override { return m_code; }
  unsigned long OnMessage(KWMSGHDR*) override {
    ++calls;
    return m_answer;
  }
  int calls = 0;

 private:
  uint32_t m_type, m_code;
  unsigned long m_answer;
};

class MsgManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kwhost::ResetSession();
    CRDMsgManagerTestAccess::Destroy();
    CTraceLogo::Destroy();
    KWRDPub::GetModuleState() = KWRDPub::ModuleState{};
    mgr = CRDMsgManager::GetInstance();
    CTraceLogo::GetInstance(true)->Clear();
  }
  void TearDown() override { CRDMsgManagerTestAccess::Destroy(); }

  unsigned long Send(uint32_t type, uint32_t code) {
    KWMSGHDR msg{type, code, 0};
    return mgr->SendMessageW(&msg);
  }

  CRDMsgManager* mgr = nullptr;
};

TEST_F(MsgManagerTest, AnswersCombineLastNonZeroWinsAndBit31Stops) {
  Probe a{5}, b{0}, c{7};
  mgr->Register(L"A", 5, 3, &ProbeFn, &a);
  mgr->Register(L"B", 5, 3, &ProbeFn, &b);
  EXPECT_EQ(Send(5, 3), 5u);
  mgr->Register(L"C", 5, 3, &ProbeFn, &c);
  EXPECT_EQ(Send(5, 3), 7u);

  Probe stop{0x80000000ul}, after{9};
  mgr->Register(L"Stop", 6, 1, &OtherFn, &stop);
  mgr->Register(L"After", 6, 1, &OtherFn, &after);
  EXPECT_EQ(Send(6, 1), 0x80000000ul);
  EXPECT_EQ(after.calls, 0);
}

TEST_F(MsgManagerTest, CallbackRegisteredTwiceIsCalledTwiceAndRemovedAtOnce) {
  Probe p{1};
  mgr->Register(L"Twice", 5, 3, &ProbeFn, &p);
  mgr->Register(L"Twice", 5, 3, &ProbeFn, &p);
  Send(5, 3);
  EXPECT_EQ(p.calls, 2);
  mgr->RemoveRegister(&ProbeFn);
  EXPECT_EQ(mgr->WatcherCount(), 1);  // "ShowMsg" only
  Send(5, 3);
  EXPECT_EQ(p.calls, 2);
  mgr->Register(L"Null", 5, 3, nullptr, nullptr);
  mgr->RemoveRegister(static_cast<CRDMsgManager::MsgFn>(nullptr));
  EXPECT_EQ(mgr->WatcherCount(), 1);
}

TEST_F(MsgManagerTest, ObjectWatchersFilterByPairsOrByTheirOwnTypeAndCode) {
  Watch anyCode(5, 0, 1), exact(5, 4, 2), listed(99, 99, 3);
  mgr->Register(L"Any", &anyCode, false);
  mgr->Register(L"Any again", &anyCode, false);  // ignored: already registered
  mgr->Register(L"Exact", &exact, false);
  unsigned types[] = {5}, codes[] = {3};
  mgr->RegisterEx(L"Listed", types, codes, 1, &listed, false);
  EXPECT_EQ(Send(5, 3), 3u);
  EXPECT_EQ(anyCode.calls, 1);
  EXPECT_EQ(exact.calls, 0);
  EXPECT_EQ(Send(99, 99), 0u);  // a pair list replaces the object's own filter
  EXPECT_EQ(listed.calls, 1);
  mgr->RemoveRegister(&anyCode);
  mgr->RemoveRegister(&exact);
  mgr->RemoveRegister(&listed);
  EXPECT_EQ(mgr->WatcherCount(), 1);
}

TEST_F(MsgManagerTest, AutoDeletedObjectIsReleasedOnRemovalAndAtDestruction) {
  mgr->Register(L"Owned1", new Watch(5, 0, 1), true);
  Watch* second = new Watch(5, 0, 1);
  mgr->Register(L"Owned2", second, true);
  mgr->RemoveRegister(second);  // LeakSanitizer checks both releases
  EXPECT_EQ(mgr->WatcherCount(), 2);
}

TEST_F(MsgManagerTest, WatchersListsLiveRegistrationsWithTheirPairsOrOwnFilter) {
  Watch w(5, 0, 0);
  unsigned types[] = {20, 1, 20}, codes[] = {1, 9, 2};
  Probe p;
  mgr->RegisterEx(L"0123456789012345678901234567890123456789", types, codes, 3, &ProbeFn, &p);
  mgr->Register(L"Obj", &w, false);
  mgr->Register(L"Gone", 5, 3, &OtherFn, &p);
  mgr->RemoveRegister(&OtherFn);
  std::vector<KWMSGWATCHERINFO> list = mgr->Watchers();
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(list[0].name, L"ShowMsg");
  EXPECT_EQ(list[1].name, L"01234567890123456789012345678901");
  EXPECT_EQ(list[1].address, reinterpret_cast<uintptr_t>(&ProbeFn));
  using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;
  EXPECT_EQ(list[1].pairs, (Pairs{{20, 1}, {1, 9}, {20, 2}}));
  EXPECT_FALSE(list[1].ownFilter);
  EXPECT_EQ(list[2].address, reinterpret_cast<uintptr_t>(&w));
  EXPECT_TRUE(list[2].ownFilter);
  EXPECT_EQ(list[2].type, 5u);
  EXPECT_EQ(list[2].code, 0u);
  EXPECT_TRUE(list[2].pairs.empty());
  mgr->RemoveRegister(&w);
}

TEST_F(MsgManagerTest, SendLogNestsSendsAndDeliveries) {
  Probe inner{4};
  Probe outer{3};
  outer.action = [this](KWMSGHDR*) { Send(5, 4); };
  mgr->Register(L"A", 5, 3, &ProbeFn, &outer);
  mgr->Register(L"B", 5, 4, &OtherFn, &inner);
  EXPECT_EQ(Send(5, 3), 3u);
  std::vector<std::wstring> want = {L"<RDMsg_SendMessage1 type='5' msg='3' from=''>",
                                    L"<RDMsg_Send1To dest='A'>",
                                    L"<RDMsg_SendMessage2 type='5' msg='4' from=',1,'>",
                                    L"<RDMsg_Send2To dest='B'>",
                                    L"</RDMsg_Send2To>",
                                    L"</RDMsg_SendMessage2>",
                                    L"</RDMsg_Send1To>",
                                    L"</RDMsg_SendMessage1>"};
  EXPECT_EQ(TraceLines(), want);
  CTraceLogo::GetInstance(false)->Clear();
  KWRDPub::GetModuleState().SetSendLog(0);
  EXPECT_EQ(Send(5, 3), 3u);
  EXPECT_TRUE(TraceLines().empty());
}

TEST_F(MsgManagerTest, DeepNestingShowsDotsAndStillEmptiesTheChain) {
  int depth = 0;
  Probe p{1};
  p.action = [&](KWMSGHDR*) {
    if (++depth < 1000) Send(5, 3);
  };
  mgr->Register(L"Deep", 5, 3, &ProbeFn, &p);
  KWRDPub::GetModuleState().SetSendLog(0);
  EXPECT_EQ(Send(5, 3), 1u);
  EXPECT_EQ(p.calls, 1000);
  // Ten nested sends, traced: the chain passes 85 characters and turns into dots.
  KWRDPub::GetModuleState().SetSendLog(1);
  depth = 990;
  Send(5, 3);
  std::vector<std::wstring> lines = TraceLines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front(), L"<RDMsg_SendMessage1 type='5' msg='3' from=''>");
  EXPECT_EQ(lines[2 * 9], L"<RDMsg_SendMessage10 type='5' msg='3' from=',1,2,3,4,5,6,7,8,9,'>");
  // After the outermost send the numbering starts again.
  CTraceLogo::GetInstance(false)->Clear();
  depth = 999;
  Send(5, 3);
  EXPECT_EQ(TraceLines().front(), L"<RDMsg_SendMessage1 type='5' msg='3' from=''>");
}

TEST_F(MsgManagerTest, LongChainAppendsDotsPast85Characters) {
  int depth = 0;
  Probe p{1};
  p.action = [&](KWMSGHDR*) {
    if (++depth < 40) Send(5, 3);
  };
  mgr->Register(L"Deep", 5, 3, &ProbeFn, &p);
  Send(5, 3);
  std::wstring chain;
  for (const std::wstring& line : TraceLines()) {
    if (line.rfind(L"<RDMsg_SendMessage40 ", 0) == 0) chain = line;
  }
  // ",1,...,31," is 85 characters long: from send 32 on, dots follow.
  std::wstring prefix = L",";
  for (int i = 1; i <= 31; ++i) prefix += std::to_wstring(i) + L",";
  ASSERT_EQ(prefix.size(), 85u);
  // Sends 32 to 35 add "..." while the chain stays below 100 characters; deeper ones add nothing.
  EXPECT_EQ(chain, L"<RDMsg_SendMessage40 type='5' msg='3' from='" + prefix + L"............'>");
}

TEST_F(MsgManagerTest, QuitMessageEndsDeliveryUntilTheEndingMessageOrTheWarning) {
  kwhost::SetManualClock(1000, 12, 0, 0);
  Probe p{1};
  mgr->Register(L"P", 3, 1, &ProbeFn, &p);
  mgr->Register(L"P2", 2, 1, &ProbeFn, &p);
  EXPECT_EQ(Send(1, 10), 0u);
  EXPECT_EQ(TraceLines().back(), L"<QuitMsg />");
  EXPECT_EQ(Send(3, 1), 0u);
  EXPECT_EQ(p.calls, 0);
  EXPECT_EQ(Send(2, 1), 1u);
  EXPECT_EQ(p.calls, 1);
  std::vector<std::wstring> boxes = kwhost::TakeMessageBoxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0], L"[出错提示] 程序收到异常退出消息，强列建议重启软件！\n<QuitMsg />");
  EXPECT_EQ(Send(3, 1), 1u);  // the flag was cleared by the box
}

TEST_F(MsgManagerTest, WarningComesOnceAfterSixtySecondsOfEnding) {
  kwhost::SetManualClock(1000, 12, 0, 0);
  Probe p{1};
  mgr->Register(L"P", 3, 1, &ProbeFn, &p);
  Send(1, 10);
  kwhost::AdvanceClock(60000);
  EXPECT_EQ(Send(3, 1), 0u);
  EXPECT_TRUE(kwhost::TakeMessageBoxes().empty());
  kwhost::AdvanceClock(1);
  EXPECT_EQ(Send(3, 1), 1u);
  std::vector<std::wstring> boxes = kwhost::TakeMessageBoxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0], L"[出错提示] 程序收到异常退出CAD消息，强列建议重启软件！\n<QuitMsg />");
  Send(1, 10);
  kwhost::AdvanceClock(70000);
  EXPECT_EQ(Send(3, 1), 0u);  // told once only
}

TEST_F(MsgManagerTest, ThrowingWatchersAreReportedAndDeliveryGoesOn) {
  Probe thrower{1}, alloc{1}, last{2};
  thrower.action = [](KWMSGHDR*) { throw std::runtime_error("boom"); };
  alloc.action = [](KWMSGHDR*) { throw std::bad_alloc(); };
  mgr->Register(L"Thrower", 5, 3, &ProbeFn, &thrower);
  mgr->Register(L"Alloc", 5, 3, &ProbeFn, &alloc);
  mgr->Register(L"Last", 5, 3, &OtherFn, &last);
  kwhost::TakeDebugTrace();
  EXPECT_EQ(Send(5, 3), 2u);
  EXPECT_EQ(last.calls, 1);
  const std::wstring text = L"向消息监听器 Thrower 发送消息(type:5,message:3)时出现致命错误!";
  EXPECT_EQ(kwhost::TakeMessageBoxes(), std::vector<std::wstring>{L"[错误] " + text});
  std::vector<std::wstring> debug = kwhost::TakeDebugTrace();
  ASSERT_EQ(debug.size(), 2u);
  EXPECT_EQ(debug[0], L"KW:" + text);
  EXPECT_EQ(debug[1], L"memory allocate failed:std::bad_alloc");
  std::vector<std::wstring> lines = TraceLines();
  EXPECT_EQ(lines[2], L"<RDMsg_err msgid=1 desc='" + text + L"'/>");
  EXPECT_EQ(lines[3], L"</RDMsg_Send1To>");
}

TEST_F(MsgManagerTest, WatchersMayRegisterAndRemoveDuringASend) {
  Probe added{6}, self{1}, next{2};
  self.action = [&](KWMSGHDR*) {
    mgr->RemoveRegister(&ProbeFn);
    for (int i = 0; i < 20; ++i) mgr->Register(L"Added", 5, 3, &OtherFn, &added);
  };
  mgr->Register(L"Self", 5, 3, &ProbeFn, &self);
  mgr->Register(L"Next", 7, 7, &ProbeFn, &next);
  EXPECT_EQ(Send(5, 3), 6u);  // the new watchers are reached in the same send
  EXPECT_EQ(added.calls, 20);
  EXPECT_EQ(mgr->WatcherCount(), 21);
  EXPECT_EQ(Send(5, 3), 6u);
  EXPECT_EQ(self.calls, 1);
}

TEST_F(MsgManagerTest, ShowMsgAnswersWithTheMessageBox) {
  // Bit 0x10 wins over the other icon bits: only 0x20 alone reads as a warning.
  KWSHOWMSG show{{1, 9, 0}, L"", L"检查完毕", MB_YESNO | MB_ICONQUESTION};
  kwhost::QueueInput(L"!NO");
  EXPECT_EQ(mgr->SendMessageW(&show.hdr), static_cast<unsigned long>(IDNO));
  show.style = MB_OK | MB_ICONERROR;
  mgr->SendMessageW(&show.hdr);
  show.style = MB_OK;
  mgr->SendMessageW(&show.hdr);
  show.caption = L"标题";
  mgr->SendMessageW(&show.hdr);
  std::vector<std::wstring> want = {L"[警告] 检查完毕", L"[错误] 检查完毕", L"[提示] 检查完毕",
                                    L"[标题] 检查完毕"};
  EXPECT_EQ(kwhost::TakeMessageBoxes(), want);
}

}  // namespace

TEST_F(MsgManagerTest, ObjectWatcherRemovedAndFreedDuringASendIsNeverAskedAgain) {
  // A module may unregister and delete its watcher from inside a send (on unload, say); the
  // dispatcher must not call into the freed object when it reaches its record.
  auto* victim = new Watch(0, 0, 9);
  Probe killer{4};
  killer.action = [&](KWMSGHDR*) {
    mgr->RemoveRegister(victim);
    delete victim;
  };
  mgr->Register(L"Killer", 5, 3, &ProbeFn, &killer);
  mgr->Register(L"Victim", victim, false);
  EXPECT_EQ(Send(5, 3), 4u);
  EXPECT_EQ(mgr->WatcherCount(), 2);
}

TEST_F(MsgManagerTest, SlowSendIsTimedAlsoWhenTheClockStartsAtZero) {
  kwhost::SetManualClock(0, 12, 0, 0);
  Probe slow{1};
  slow.action = [](KWMSGHDR*) { kwhost::AdvanceClock(150); };
  mgr->Register(L"Slow", 5, 3, &ProbeFn, &slow);
  Send(5, 3);
  std::vector<std::wstring> want = {L"<RDMsg_SendMessage1 type='5' msg='3' from=''>",
                                    L"<RDMsg_Send1To dest='Slow'>",
                                    L"RDMsg_time 0.150s",
                                    L"</RDMsg_Send1To>",
                                    L"total_time 0.150s",
                                    L"</RDMsg_SendMessage1>"};
  EXPECT_EQ(TraceLines(), want);
}
