#include "msg/RDMsgManager.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "common/encoding.h"
#include "common/format.h"
#include "host/api/editor.h"
#include "host/api/win.h"
#include "msg/DebugTrace.h"
#include "msg/ModuleState.h"
#include "msg/TraceLogo.h"
#include "msg/internal/ModuleStateHere.h"
#include "msg/internal/SendChain.h"
#include "msg/internal/WatcherIndex.h"

using KWRDPub::TraceLogo;

CRDMsgManager* CRDMsgManager::m_sInstance = nullptr;

namespace {

KWRDPub::SendChain g_chain;

constexpr uint32_t kSlowMs = 100;

unsigned long ShowMsgWatcher(KWMSGHDR* msg, void*) {
  if (msg->type != KWRDPub::kSysMsgType || msg->msg != KWRDPub::kShowMsgCode) return 0;
  const KWSHOWMSG* show = reinterpret_cast<const KWSHOWMSG*>(msg);
  const wchar_t* caption = show->caption.c_str();
  if (show->caption.empty()) {
    caption = (show->style & MB_ICONERROR) ? L"错误" : (show->style & 0x30) ? L"警告" : L"提示";
  }
  return static_cast<unsigned long>(
      MessageBoxW(acedGetAcadFrame(), show->text.c_str(), caption, show->style));
}

void ShowEndingBox(const wchar_t* lead) {
  std::wstring text = kw::FormatW(L"%s%s", lead, KWRDPub::ModuleStateHere().LastHostEnded());
  MessageBoxW(acedGetAcadFrame(), text.c_str(), L"出错提示", MB_ICONERROR);
}

// Host-ending rule: false when the send must be refused.
bool PassHostEnding(const KWMSGHDR& msg) {
  KWRDPub::ModuleState& st = KWRDPub::ModuleStateHere();
  if (!st.HostEnding()) return true;
  if (st.WarningDue(GetTickCount())) {
    ShowEndingBox(L"程序收到异常退出CAD消息，强列建议重启软件！\n");
    st.AcknowledgeHostEnding(true);
    return true;
  }
  if (msg.type != KWRDPub::kEndingMsgType || msg.msg != KWRDPub::kEndingMsgCode) return false;
  ShowEndingBox(L"程序收到异常退出消息，强列建议重启软件！\n");
  st.AcknowledgeHostEnding(false);
  return true;
}

void HandleQuit() {
  g_chain.Drop();
  TraceLogo(L"<QuitMsg />");
  KWRDPub::ModuleStateHere().MarkHostEnding(L"<QuitMsg />", GetTickCount());
}

// One (type, code) pair as a single comparable word.
constexpr uint64_t PairKey(uint32_t type, uint32_t code) {
  return (uint64_t{type} << 32) | code;
}

bool Traced() {
  return KWRDPub::ModuleStateHere().SendLog() != 0;
}

void CopyName(wchar_t (&dst)[33], const wchar_t* name) {
  size_t n = 0;
  for (; name && name[n] && n < 32; ++n) dst[n] = name[n];
  dst[n] = 0;
}

}  // namespace

// One registration.
struct CRDMsgManager::Record {
  uint64_t seq = 0;          // registration order (invariant 1)
  bool dead = false;         // removed during a send; erased when it ends
  MsgFn callback = nullptr;  // a callback watcher, or
  void* userData = nullptr;
  CMsgWatch* watch = nullptr;  // an object watcher
  bool autoDelete = false;
  std::vector<uint64_t> keys;  // the (type, code) pairs as registered, type in the high word
  wchar_t name[33] = {};
};

// What a send needs of a registration, kept in the index lists so that a send reads nothing
// else: copied from the record at registration, cleared when the record dies. 32 bytes, so that
// a list's length is a shift away.
struct CRDMsgManager::Entry {
  uint64_t seq = 0;  // the record's
  Record* rec = nullptr;
  MsgFn callback = nullptr;  // a callback watcher's function; null for an object watcher
  void* target = nullptr;    // the callback's user pointer, or the CMsgWatch object
  // A dead entry has neither function nor object: nothing can be called through it.
  bool Dead() const { return !callback && !target; }
};

// The lists of one send, as they stood when last looked at.
struct CRDMsgManager::Lists {
  const Entry* listed;
  size_t listedCount;
  const Entry* any;
  size_t anyCount;
  uint64_t changes;  // State::changes then
};

struct CRDMsgManager::State {
  KWRDPub::WatcherIndex<Entry> byPair;           // pair -> records with it in their list
  std::vector<std::unique_ptr<Record>> records;  // registration order
  std::vector<Entry> any;                        // objects without a list, registration order
  uint64_t nextSeq = 0;
  uint64_t changes = 0;  // counts every change to the lists (a send holding them looks again)
  int sendDepth = 0;
  bool hasDead = false;
};

inline CRDMsgManager::State& CRDMsgManager::St() {
  return *std::launder(reinterpret_cast<State*>(m_stateBytes));
}

inline const CRDMsgManager::State& CRDMsgManager::St() const {
  return *std::launder(reinterpret_cast<const State*>(m_stateBytes));
}

namespace {

// The distinct keys of a pair list: a record is listed once under each of its pairs.
std::vector<uint64_t> DistinctKeys(std::vector<uint64_t> keys) {
  std::sort(keys.begin(), keys.end());
  keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
  return keys;
}

// The object's memory goes back without its destructor running (nor any look at its virtual
// table): the watcher's module may already be unloaded. The object must have been allocated
// with new and CMsgWatch must be its first base.
template <class R>
void Release(R& r) {
  if (r.watch && r.autoDelete) ::operator delete(static_cast<void*>(r.watch));
  r.watch = nullptr;
}

}  // namespace

CRDMsgManager* CRDMsgManager::GetInstance() {
  if (!m_sInstance) m_sInstance = new CRDMsgManager;
  return m_sInstance;
}

void CRDMsgManager::Destroy() {
  delete m_sInstance;
  m_sInstance = nullptr;
  // The send state goes with the dispatcher: a new one numbers its sends from 1 again.
  g_chain = KWRDPub::SendChain{};
}

CRDMsgManager::CRDMsgManager() {
  static_assert(sizeof(State) <= kStateBytes && alignof(State) <= 16);
  new (m_stateBytes) State;
  St().records.reserve(8);
  Register(L"ShowMsg", KWRDPub::kSysMsgType, KWRDPub::kShowMsgCode, &ShowMsgWatcher, nullptr);
}

CRDMsgManager::~CRDMsgManager() {
  for (std::unique_ptr<Record>& r : St().records) {
    if (!r->dead) Release(*r);
  }
  St().~State();
}

// Appends `record` (its watcher fields already set) with the name cut to 32 characters and a
// copy of the pair list (none when either array is null), and lists it in the index. An
// allocation failure is traced and the registration dropped whole.
void CRDMsgManager::Add(const wchar_t* name, const unsigned int* types, const unsigned int* msgs,
                        int count, std::unique_ptr<Record> record) {
  State& st = St();
  std::vector<uint64_t> listed;
  try {
    if (count > 0 && types && msgs) {
      record->keys.resize(static_cast<size_t>(count));
      for (int k = 0; k < count; ++k) record->keys[k] = PairKey(types[k], msgs[k]);
    }
    CopyName(record->name, name);
    record->seq = st.nextSeq++;
    // The array grows in steps of 8 records.
    if (st.records.size() == st.records.capacity()) st.records.reserve(st.records.size() + 8);
    const Entry entry{record->seq, record.get(), record->callback,
                      record->watch ? static_cast<void*>(record->watch) : record->userData};
    if (record->keys.empty()) {
      // A callback without pairs never matches: it is kept (and listed) but not indexed.
      if (record->watch) st.any.push_back(entry);
    } else {
      for (uint64_t key : DistinctKeys(record->keys)) {
        st.byPair.Add(key, entry);
        listed.push_back(key);
      }
    }
    st.records.push_back(std::move(record));
    ++st.changes;
  } catch (const std::bad_alloc&) {
    for (uint64_t key : listed) st.byPair.Remove(key, record.get());
    ++st.changes;
    KWRDPub::DebugTrace(L"memory allocate failed:%s", L"CRDMsgManager::Register");
  }
}

bool CRDMsgManager::IsRegistered(const CMsgWatch* watch) const {
  return std::any_of(
      St().records.begin(), St().records.end(),
      [watch](const std::unique_ptr<Record>& r) { return !r->dead && r->watch == watch; });
}

void CRDMsgManager::Register(const wchar_t* name, unsigned int type, unsigned int msg, MsgFn fn,
                             void* userData) {
  RegisterEx(name, &type, &msg, 1, fn, userData);
}

void CRDMsgManager::RegisterEx(const wchar_t* name, const unsigned int* types,
                               const unsigned int* msgs, int count, MsgFn fn, void* userData) {
  if (!fn) return;
  std::unique_ptr<Record> r(new (std::nothrow) Record);
  if (!r) return;
  r->callback = fn;
  r->userData = userData;
  Add(name, types, msgs, count, std::move(r));
}

void CRDMsgManager::Register(const wchar_t* name, CMsgWatch* watch, bool autoDelete) {
  RegisterEx(name, nullptr, nullptr, 0, watch, autoDelete);
}

void CRDMsgManager::RegisterEx(const wchar_t* name, const unsigned int* types,
                               const unsigned int* msgs, int count, CMsgWatch* watch,
                               bool autoDelete) {
  if (!watch || IsRegistered(watch)) return;
  std::unique_ptr<Record> r(new (std::nothrow) Record);
  if (!r) return;
  r->watch = watch;
  r->autoDelete = autoDelete;
  Add(name, types, msgs, count, std::move(r));
}

// Removal: outside a send the record goes at once; during one it is only marked (invariant 4).
void CRDMsgManager::Kill(size_t index) {
  if (St().sendDepth > 0) {
    MarkDead(*St().records[index]);
    return;
  }
  EraseAt(index);
}

// Removal during a send: the record and its entries are marked so that no send reaches it again.
void CRDMsgManager::MarkDead(Record& r) {
  State& st = St();
  r.dead = true;
  st.hasDead = true;
  ++st.changes;
  const auto mark = [&r](std::vector<Entry>& list) {
    for (Entry& e : list) {
      if (e.rec == &r) e.callback = nullptr, e.target = nullptr;
    }
  };
  if (r.keys.empty()) mark(st.any);
  for (uint64_t key : r.keys) {
    if (std::vector<Entry>* list = st.byPair.Find(key)) mark(*list);
  }
}

// The one place a record leaves: its object released, its index entries and the record itself
// removed, so the records and the index always name the same registrations.
void CRDMsgManager::EraseAt(size_t index) {
  State& st = St();
  Record* r = st.records[index].get();
  Release(*r);
  if (r->keys.empty()) {
    std::erase_if(st.any, [r](const Entry& e) { return e.rec == r; });
  } else {
    for (uint64_t key : r->keys) st.byPair.Remove(key, r);  // a repeated key finds nothing more
  }
  st.records.erase(st.records.begin() + static_cast<ptrdiff_t>(index));
  ++st.changes;
}

void CRDMsgManager::EraseDead() {
  if (!St().hasDead) return;
  St().hasDead = false;
  for (size_t i = St().records.size(); i-- > 0;) {
    if (St().records[i]->dead) EraseAt(i);
  }
}

void CRDMsgManager::RemoveRegister(MsgFn fn) {
  if (!fn) return;
  for (size_t i = St().records.size(); i-- > 0;) {
    const Record& r = *St().records[i];
    if (!r.dead && r.callback == fn) Kill(i);
  }
}

void CRDMsgManager::RemoveRegister(CMsgWatch* watch) {
  if (!watch) return;
  for (size_t i = St().records.size(); i-- > 0;) {
    const Record& r = *St().records[i];
    if (!r.dead && r.watch == watch) {
      Kill(i);
      return;
    }
  }
}

int CRDMsgManager::WatcherCount() const {
  return static_cast<int>(std::count_if(St().records.begin(), St().records.end(),
                                        [](const std::unique_ptr<Record>& r) { return !r->dead; }));
}

// The one place a watcher is called.
[[gnu::always_inline]] inline unsigned long CRDMsgManager::Call(MsgFn callback, void* target,
                                                                const Record* rec, KWMSGHDR* msg,
                                                                uint32_t n) {
  try {
    return callback ? callback(msg, target) : static_cast<CMsgWatch*>(target)->OnMessage(msg);
  } catch (...) {
    HandleWatcherException(*rec, msg, n);
  }
  return 0;
}

namespace {

// The own filter of an object registered without pairs (0 = any). A filter that throws
// accepts nothing.
bool OwnFilterAccepts(CMsgWatch* watch, const KWMSGHDR& msg) {
  try {
    uint32_t type = watch->GetType();
    uint32_t code = watch->GetMsg();
    return (type == 0 || type == msg.type) && (code == 0 || code == msg.msg);
  } catch (...) {
    return false;
  }
}

}  // namespace

// The two lists a send of `key` walks, as they stand.
[[gnu::always_inline]] inline CRDMsgManager::Lists CRDMsgManager::Look(State& st, uint64_t key) {
  const std::vector<Entry>* listed = st.byPair.Find(key);
  Lists lists{nullptr, 0, st.any.data(), st.any.size(), st.changes};
  if (listed) lists.listed = listed->data(), lists.listedCount = listed->size();
  return lists;
}

// Walks two lists at once in registration order: the entries listed under the message's pair
// and the objects that filter for themselves. Watchers registered during the send are appended
// to them and reached too, and removed ones are only cleared: after any change the lists are
// looked at afresh. Kept inside SendMessageW at every optimisation level: the send is one
// function.
[[gnu::always_inline]] inline unsigned long CRDMsgManager::Deliver(KWMSGHDR* msg, uint32_t n) {
  State& st = St();
  const uint64_t key = PairKey(msg->type, msg->msg);
  Lists lists = Look(st, key);
  unsigned long result = 0;
  for (size_t i = 0, j = 0;;) {
    const Entry* e = nullptr;
    if (j == lists.anyCount) {
      // No self-filtering object comes before the next listed entry: the usual case.
      if (i == lists.listedCount) break;
      e = &lists.listed[i++];
    } else if (i < lists.listedCount && lists.listed[i].seq < lists.any[j].seq) {
      e = &lists.listed[i++];
    } else {
      e = &lists.any[j++];
      if (e->Dead()) continue;
      // The object's own filter is the module's code: it may change the registrations too.
      const bool accepted = OwnFilterAccepts(static_cast<CMsgWatch*>(e->target), *msg);
      if (lists.changes != st.changes) {
        lists = Look(st, key);
        e = &lists.any[j - 1];
      }
      if (!accepted) continue;
    }
    // What the call needs is taken out first, field by field (a copy of the whole entry would
    // make the call wait for the copy to land).
    const MsgFn callback = e->callback;
    void* const target = e->target;
    const Record* const rec = e->rec;
    // A record removed during this send may name an object its module has already freed.
    if (!callback && !target) continue;
    const unsigned long answer =
        (KWRDPub::ModuleStateHere().SendLog() ? CallTraced(callback, target, rec, msg, n)
                                              : Call(callback, target, rec, msg, n)) &
        0xFFFFFFFFul;
    if (lists.changes != st.changes) lists = Look(st, key);
    if (answer != 0) result = answer;
    if (result > 0x7FFFFFFFul) break;
  }
  return result;
}

unsigned long CRDMsgManager::SendMessageW(KWMSGHDR* msg) {
  if (!msg) return 0;
  g_chain.Revive();
  if (KWRDPub::ModuleStateHere().HostEnding() && !PassHostEnding(*msg)) return 0;
  if (msg->type == KWRDPub::kSysMsgType && msg->msg == KWRDPub::kQuitMsgCode) {
    HandleQuit();
    return 0;
  }
  uint32_t n = g_chain.NextNumber();
  if (Traced()) {
    TraceLogo(L"<RDMsg_SendMessage%u type='%u' msg='%u' from='%s'>", n, msg->type, msg->msg,
              g_chain.Text());
  }
  const KWRDPub::SendChain::Link link = g_chain.Extend(n);
  // The clock is read only for the trace, which is the only place that reports the time. A
  // tick count of 0 is a time like any other, so whether it was read is kept apart.
  const bool timed = Traced();
  const uint32_t start = timed ? GetTickCount() : 0;
  ++St().sendDepth;
  unsigned long result = Deliver(msg, n);
  if (--St().sendDepth == 0) EraseDead();
  if (Traced()) {
    const uint32_t took = timed ? GetTickCount() - start : 0;
    if (took > kSlowMs) TraceLogo(L"total_time %.3fs", took / 1000.0);
    TraceLogo(L"</RDMsg_SendMessage%u>", n);
  }
  g_chain.Restore(link);
  return result;
}

// Called inside a catch block: sorts the watcher's exception into out-of-memory and the rest.
void CRDMsgManager::HandleWatcherException(const Record& r, KWMSGHDR* msg, uint32_t n) {
  try {
    throw;
  } catch (const std::bad_alloc& e) {
    KWRDPub::DebugTrace(L"memory allocate failed:%s", kw::FromUtf8(e.what()).c_str());
  } catch (...) {
    ReportWatcherFailure(r.name, msg, n);
  }
}

// Delivery with the send log: the opening tag, the watcher's time when it was slow, the
// closing tag.
unsigned long CRDMsgManager::CallTraced(MsgFn callback, void* target, const Record* rec,
                                        KWMSGHDR* msg, uint32_t n) {
  uint32_t start = GetTickCount();
  TraceLogo(L"<RDMsg_Send%uTo dest='%s'>", n, rec->name);
  unsigned long answer = Call(callback, target, rec, msg, n);
  uint32_t took = GetTickCount() - start;
  if (took > kSlowMs) TraceLogo(L"RDMsg_time %.3fs", took / 1000.0);
  TraceLogo(L"</RDMsg_Send%uTo>", n);
  return answer;
}

void CRDMsgManager::ReportWatcherFailure(const wchar_t* name, const KWMSGHDR* msg, uint32_t n) {
  try {
    std::wstring text = kw::FormatW(L"向消息监听器 %s 发送消息(type:%u,message:%u)时出现致命错误!",
                                    name, msg->type, msg->msg);
    if (Traced()) TraceLogo(L"<RDMsg_err msgid=%u desc='%s'/>", n, text.c_str());
    KWRDPub::DebugTrace(L"KW:%s", text.c_str());
    MessageBoxW(acedGetAcadFrame(), text.c_str(), L"错误", MB_ICONERROR);
  } catch (...) {
    KWRDPub::DebugTrace(L"memory allocate failed:%s", name);
  }
}

std::vector<KWMSGWATCHERINFO> CRDMsgManager::Watchers() const {
  std::vector<KWMSGWATCHERINFO> list;
  try {
    for (const std::unique_ptr<Record>& rec : St().records) {
      const Record& r = *rec;
      if (r.dead) continue;
      KWMSGWATCHERINFO info;
      info.address =
          r.watch ? reinterpret_cast<uintptr_t>(r.watch) : reinterpret_cast<uintptr_t>(r.callback);
      info.name = r.name;
      for (uint64_t key : r.keys) {
        info.pairs.emplace_back(static_cast<uint32_t>(key >> 32), static_cast<uint32_t>(key));
      }
      if (r.keys.empty() && r.watch) {
        info.ownFilter = true;
        info.type = r.watch->GetType();
        info.code = r.watch->GetMsg();
      }
      list.push_back(std::move(info));
    }
  } catch (...) {
    KWRDPub::DebugTrace(L"KW:%s", L"CRDMsgManager::Watchers");
  }
  return list;
}
