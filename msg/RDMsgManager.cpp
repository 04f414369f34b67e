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
  m_records.reserve(8);
  m_sendKeys.reserve(8);
  Register(L"ShowMsg", KWRDPub::kSysMsgType, KWRDPub::kShowMsgCode, &ShowMsgWatcher, nullptr);
}

CRDMsgManager::~CRDMsgManager() {
  for (Record& r : m_records) {
    if (!r.dead) Release(r);
  }
}

// The object's memory goes back without its destructor running (nor any look at its virtual
// table): the watcher's module may already be unloaded. The object must have been allocated
// with new and CMsgWatch must be its first base.
void CRDMsgManager::Release(Record& r) {
  if (r.watch && r.autoDelete) ::operator delete(static_cast<void*>(r.watch));
  r.watch = nullptr;
}

// Appends `record` (its watcher fields already set) with the name cut to 32 characters and a
// copy of the pair list (none when either array is null). An allocation failure is traced and
// the registration dropped.
void CRDMsgManager::Add(const wchar_t* name, const unsigned int* types, const unsigned int* msgs,
                        int count, Record record) {
  try {
    if (count > 0 && types && msgs) {
      record.keys.resize(static_cast<size_t>(count));
      for (int k = 0; k < count; ++k) record.keys[k] = PairKey(types[k], msgs[k]);
      record.key0 = record.keys[0];
      record.count = count;
    }
    CopyName(record.name, name);
    // The array grows in steps of 8 records.
    if (m_records.size() == m_records.capacity()) {
      m_records.reserve(m_records.size() + 8);
      m_sendKeys.reserve(m_records.capacity());
    }
    m_sendKeys.push_back(record.count == 1 ? record.key0 : kAskRecord);
    m_records.push_back(std::move(record));
  } catch (const std::bad_alloc&) {
    KWRDPub::DebugTrace(L"memory allocate failed:%s", L"CRDMsgManager::Register");
  }
}

bool CRDMsgManager::IsRegistered(const CMsgWatch* watch) const {
  return std::any_of(m_records.begin(), m_records.end(),
                     [watch](const Record& r) { return !r.dead && r.watch == watch; });
}

void CRDMsgManager::Register(const wchar_t* name, unsigned int type, unsigned int msg, MsgFn fn,
                             void* userData) {
  RegisterEx(name, &type, &msg, 1, fn, userData);
}

void CRDMsgManager::RegisterEx(const wchar_t* name, const unsigned int* types,
                               const unsigned int* msgs, int count, MsgFn fn, void* userData) {
  if (!fn) return;
  Record r;
  r.callback = fn;
  r.userData = userData;
  Add(name, types, msgs, count, std::move(r));
}

void CRDMsgManager::Register(const wchar_t* name, CMsgWatch* watch, bool autoDelete) {
  RegisterEx(name, nullptr, nullptr, 0, watch, autoDelete);
}

void CRDMsgManager::RegisterEx(const wchar_t* name, const unsigned int* types,
                               const unsigned int* msgs, int count, CMsgWatch* watch,
                               bool autoDelete) {
  if (!watch || IsRegistered(watch)) return;
  Record r;
  r.watch = watch;
  r.autoDelete = autoDelete;
  Add(name, types, msgs, count, std::move(r));
}

void CRDMsgManager::Kill(size_t index) {
  if (m_sendDepth > 0) {
    m_records[index].dead = true;
    m_hasDead = true;
    return;
  }
  Release(m_records[index]);
  m_records.erase(m_records.begin() + static_cast<ptrdiff_t>(index));
  m_sendKeys.erase(m_sendKeys.begin() + static_cast<ptrdiff_t>(index));
}

void CRDMsgManager::EraseDead() {
  if (!m_hasDead) return;
  m_hasDead = false;
  for (size_t i = m_records.size(); i-- > 0;) {
    if (!m_records[i].dead) continue;
    Release(m_records[i]);
    m_records.erase(m_records.begin() + static_cast<ptrdiff_t>(i));
    m_sendKeys.erase(m_sendKeys.begin() + static_cast<ptrdiff_t>(i));
  }
}

void CRDMsgManager::RemoveRegister(MsgFn fn) {
  if (!fn) return;
  for (size_t i = m_records.size(); i-- > 0;) {
    if (!m_records[i].dead && m_records[i].callback == fn) Kill(i);
  }
}

void CRDMsgManager::RemoveRegister(CMsgWatch* watch) {
  if (!watch) return;
  for (size_t i = m_records.size(); i-- > 0;) {
    if (!m_records[i].dead && m_records[i].watch == watch) {
      Kill(i);
      return;
    }
  }
}

int CRDMsgManager::WatcherCount() const {
  return static_cast<int>(
      std::count_if(m_records.begin(), m_records.end(), [](const Record& r) { return !r.dead; }));
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
  ++m_sendDepth;
  unsigned long result = Deliver(msg, n);
  if (--m_sendDepth == 0) EraseDead();
  if (Traced()) {
    const uint32_t took = timed ? GetTickCount() - start : 0;
    if (took > kSlowMs) TraceLogo(L"total_time %.3fs", took / 1000.0);
    TraceLogo(L"</RDMsg_SendMessage%u>", n);
  }
  g_chain.Restore(link);
  return result;
}

// The filter of one record: its pairs (last to first), or, for an object registered without
// pairs, the object's own GetType/GetMsg (0 = any). A filter that throws accepts nothing.
inline bool CRDMsgManager::Accepts(const Record& r, const KWMSGHDR& msg) const {
  const uint64_t key = PairKey(msg.type, msg.msg);
  for (int k = r.count; k-- > 0;) {
    if (r.keys[k] == key) return true;
  }
  if (!r.watch || r.count > 0) return false;
  try {
    uint32_t type = r.watch->GetType();
    uint32_t code = r.watch->GetMsg();
    return (type == 0 || type == msg.type) && (code == 0 || code == msg.msg);
  } catch (...) {
    return false;
  }
}

unsigned long CRDMsgManager::Deliver(KWMSGHDR* msg, uint32_t n) {
  const uint64_t key = PairKey(msg->type, msg->msg);
  unsigned long result = 0;
  const Record* records = m_records.data();
  const uint64_t* keys = m_sendKeys.data();
  size_t count = m_records.size();
  for (size_t i = 0; i < count; ++i) {
    // Most watchers listen to one pair, kept in a compact array: most records are passed over
    // without being touched.
    if (keys[i] != key && keys[i] != kAskRecord) continue;
    const Record& r = records[i];
    // A record removed during this send may name an object its module has already freed: it
    // is skipped before its filter could ask that object anything.
    if (r.dead) continue;
    if (r.count != 1 && !Accepts(r, *msg)) continue;
    unsigned long answer = 0;
    if (Traced()) {
      answer = DeliverTraced(i, msg, n);
    } else {
      try {
        answer = r.watch ? r.watch->OnMessage(msg) : r.callback(msg, r.userData);
      } catch (...) {
        HandleWatcherException(i, msg, n);
      }
    }
    answer &= 0xFFFFFFFFul;
    // The watcher may have registered others: the records may have moved and grown, and the
    // new ones are reached too.
    records = m_records.data();
    keys = m_sendKeys.data();
    count = m_records.size();
    if (answer != 0) result = answer;
    if (result > 0x7FFFFFFFul) break;
  }
  return result;
}

// Calls the watcher of record `index`. Records may move while it runs (registrations during
// the send), so the record is looked up again by index after the call; its index stays valid
// because removal during a send only marks records dead.
unsigned long CRDMsgManager::DeliverOne(size_t index, KWMSGHDR* msg, uint32_t n) {
  const Record& r = m_records[index];
  try {
    return r.watch ? r.watch->OnMessage(msg) : r.callback(msg, r.userData);
  } catch (...) {
    HandleWatcherException(index, msg, n);
  }
  return 0;
}

// Called inside a catch block: sorts the watcher's exception into out-of-memory and the rest.
void CRDMsgManager::HandleWatcherException(size_t index, KWMSGHDR* msg, uint32_t n) {
  try {
    throw;
  } catch (const std::bad_alloc& e) {
    KWRDPub::DebugTrace(L"memory allocate failed:%s", kw::FromUtf8(e.what()).c_str());
  } catch (...) {
    ReportWatcherFailure(m_records[index].name, msg, n);
  }
}

// Delivery with the send log: the opening tag, the watcher's time when it was slow, the
// closing tag.
unsigned long CRDMsgManager::DeliverTraced(size_t index, KWMSGHDR* msg, uint32_t n) {
  uint32_t start = GetTickCount();
  TraceLogo(L"<RDMsg_Send%uTo dest='%s'>", n, m_records[index].name);
  unsigned long answer = DeliverOne(index, msg, n);
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
    for (const Record& r : m_records) {
      if (r.dead) continue;
      KWMSGWATCHERINFO info;
      info.address =
          r.watch ? reinterpret_cast<uintptr_t>(r.watch) : reinterpret_cast<uintptr_t>(r.callback);
      info.name = r.name;
      for (int k = 0; k < r.count; ++k) {
        info.pairs.emplace_back(static_cast<uint32_t>(r.keys[k] >> 32),
                                static_cast<uint32_t>(r.keys[k]));
      }
      if (r.count == 0 && r.watch) {
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
