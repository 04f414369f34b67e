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
#include "msg/internal/SendChain.h"
#include "msg/internal/WatcherIndex.h"

using KWRDPub::GetModuleState;
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
  std::wstring text = kw::FormatW(L"%s%s", lead, GetModuleState().LastHostEnded());
  MessageBoxW(acedGetAcadFrame(), text.c_str(), L"出错提示", MB_ICONERROR);
}

// Host-ending rule: false when the send must be refused.
bool PassHostEnding(const KWMSGHDR& msg) {
  KWRDPub::ModuleState& st = GetModuleState();
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
  GetModuleState().MarkHostEnding(L"<QuitMsg />", GetTickCount());
}

// One (type, code) pair as a single comparable word.
constexpr uint64_t PairKey(uint32_t type, uint32_t code) {
  return (uint64_t{type} << 32) | code;
}

bool Traced() {
  return GetModuleState().SendLog() != 0;
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

struct CRDMsgManager::State {
  std::vector<std::unique_ptr<Record>> records;  // registration order
  KWRDPub::WatcherIndex<Record> byPair;          // pair -> records with it in their list
  std::vector<Record*> any;                      // objects without a list, registration order
  uint64_t nextSeq = 0;
  int sendDepth = 0;
  bool hasDead = false;
};

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

CRDMsgManager::CRDMsgManager() : m_state(std::make_unique<State>()) {
  m_state->records.reserve(8);
  Register(L"ShowMsg", KWRDPub::kSysMsgType, KWRDPub::kShowMsgCode, &ShowMsgWatcher, nullptr);
}

CRDMsgManager::~CRDMsgManager() {
  for (std::unique_ptr<Record>& r : m_state->records) {
    if (!r->dead) Release(*r);
  }
}

// Appends `record` (its watcher fields already set) with the name cut to 32 characters and a
// copy of the pair list (none when either array is null), and lists it in the index. An
// allocation failure is traced and the registration dropped whole.
void CRDMsgManager::Add(const wchar_t* name, const unsigned int* types, const unsigned int* msgs,
                        int count, std::unique_ptr<Record> record) {
  State& st = *m_state;
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
    if (record->keys.empty()) {
      // A callback without pairs never matches: it is kept (and listed) but not indexed.
      if (record->watch) st.any.push_back(record.get());
    } else {
      for (uint64_t key : DistinctKeys(record->keys)) {
        st.byPair.Add(key, record.get());
        listed.push_back(key);
      }
    }
    st.records.push_back(std::move(record));
  } catch (const std::bad_alloc&) {
    for (uint64_t key : listed) st.byPair.Remove(key, record.get());
    KWRDPub::DebugTrace(L"memory allocate failed:%s", L"CRDMsgManager::Register");
  }
}

bool CRDMsgManager::IsRegistered(const CMsgWatch* watch) const {
  return std::any_of(
      m_state->records.begin(), m_state->records.end(),
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
  if (m_state->sendDepth > 0) {
    m_state->records[index]->dead = true;
    m_state->hasDead = true;
    return;
  }
  EraseAt(index);
}

// The one place a record leaves: its object released, its index entries and the record itself
// removed, so the records and the index always name the same registrations.
void CRDMsgManager::EraseAt(size_t index) {
  State& st = *m_state;
  Record* r = st.records[index].get();
  Release(*r);
  if (r->keys.empty()) {
    st.any.erase(std::remove(st.any.begin(), st.any.end(), r), st.any.end());
  } else {
    for (uint64_t key : r->keys) st.byPair.Remove(key, r);  // a repeated key finds nothing more
  }
  st.records.erase(st.records.begin() + static_cast<ptrdiff_t>(index));
}

void CRDMsgManager::EraseDead() {
  if (!m_state->hasDead) return;
  m_state->hasDead = false;
  for (size_t i = m_state->records.size(); i-- > 0;) {
    if (m_state->records[i]->dead) EraseAt(i);
  }
}

void CRDMsgManager::RemoveRegister(MsgFn fn) {
  if (!fn) return;
  for (size_t i = m_state->records.size(); i-- > 0;) {
    const Record& r = *m_state->records[i];
    if (!r.dead && r.callback == fn) Kill(i);
  }
}

void CRDMsgManager::RemoveRegister(CMsgWatch* watch) {
  if (!watch) return;
  for (size_t i = m_state->records.size(); i-- > 0;) {
    const Record& r = *m_state->records[i];
    if (!r.dead && r.watch == watch) {
      Kill(i);
      return;
    }
  }
}

int CRDMsgManager::WatcherCount() const {
  return static_cast<int>(std::count_if(m_state->records.begin(), m_state->records.end(),
                                        [](const std::unique_ptr<Record>& r) { return !r->dead; }));
}

unsigned long CRDMsgManager::SendMessageW(KWMSGHDR* msg) {
  if (!msg) return 0;
  g_chain.Revive();
  if (!PassHostEnding(*msg)) return 0;
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
  ++m_state->sendDepth;
  unsigned long result = Deliver(msg, n);
  if (--m_state->sendDepth == 0) EraseDead();
  if (Traced()) {
    const uint32_t took = timed ? GetTickCount() - start : 0;
    if (took > kSlowMs) TraceLogo(L"total_time %.3fs", took / 1000.0);
    TraceLogo(L"</RDMsg_SendMessage%u>", n);
  }
  g_chain.Restore(link);
  return result;
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

// Walks two lists at once in registration order: the records listed under the message's pair
// and the objects that filter for themselves. Both are read afresh after each call: watchers
// registered during the send are appended to them and reached too (their lists stay put, as
// the index removes keys only outside sends), and removed ones are only marked dead.
unsigned long CRDMsgManager::Deliver(KWMSGHDR* msg, uint32_t n) {
  State& st = *m_state;
  const uint64_t key = PairKey(msg->type, msg->msg);
  const std::vector<Record*>* keyed = st.byPair.Find(key);
  unsigned long result = 0;
  for (size_t i = 0, j = 0;;) {
    const size_t ni = keyed ? keyed->size() : 0;
    Record* r = nullptr;
    if (i < ni && (j >= st.any.size() || (*keyed)[i]->seq < st.any[j]->seq)) {
      r = (*keyed)[i++];
      // A record removed during this send may name an object its module has already freed.
      if (r->dead) continue;
    } else if (j < st.any.size()) {
      r = st.any[j++];
      if (r->dead || !OwnFilterAccepts(r->watch, *msg)) continue;
    } else {
      break;
    }
    const unsigned long answer =
        (Traced() ? CallTraced(*r, msg, n) : Call(*r, msg, n)) & 0xFFFFFFFFul;
    if (!keyed) keyed = st.byPair.Find(key);  // the first watcher of this pair may have come
    if (answer != 0) result = answer;
    if (result > 0x7FFFFFFFul) break;
  }
  return result;
}

// The one place a watcher is called. The record stays where it is while the watcher runs
// (records are held by pointer and removal during a send only marks them).
inline unsigned long CRDMsgManager::Call(Record& r, KWMSGHDR* msg, uint32_t n) {
  try {
    return r.watch ? r.watch->OnMessage(msg) : r.callback(msg, r.userData);
  } catch (...) {
    HandleWatcherException(r, msg, n);
  }
  return 0;
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
unsigned long CRDMsgManager::CallTraced(Record& r, KWMSGHDR* msg, uint32_t n) {
  uint32_t start = GetTickCount();
  TraceLogo(L"<RDMsg_Send%uTo dest='%s'>", n, r.name);
  unsigned long answer = Call(r, msg, n);
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
    for (const std::unique_ptr<Record>& rec : m_state->records) {
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
