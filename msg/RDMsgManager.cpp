#include "msg/RDMsgManager.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "common/format.h"
#include "host/api/editor.h"
#include "host/api/win.h"
#include "msg/DebugTrace.h"
#include "msg/TraceLogo.h"
#include "msg/internal/ModuleState.h"

using KWRDPub::GetModuleState;
using KWRDPub::TraceLogo;

CRDMsgManager* CRDMsgManager::m_sInstance = nullptr;

namespace {

// The nesting chain of the sends in progress (",1,2,3,"), outermost first.
// Invariants: len < kCap and text[len] == 0; `live` is false after the quit message until the
// next send. Past kLongChain characters each deeper send appends "..." instead of its number,
// as long as the buffer has room; a full buffer stays as it is.
struct SendChain {
  static constexpr size_t kCap = 100;
  static constexpr size_t kLongChain = 85;
  wchar_t text[kCap] = {};
  size_t len = 0;
  bool live = false;
  uint32_t counter = 0;

  void Clear() {
    len = 0;
    text[0] = 0;
  }
  void Put(const wchar_t* s, size_t n) {
    if (len + n >= kCap) return;
    wmemcpy(text + len, s, n);
    len += n;
    text[len] = 0;
  }
  static size_t Digits(uint32_t n, wchar_t* out) {
    wchar_t rev[10];
    size_t k = 0;
    do {
      rev[k++] = static_cast<wchar_t>(L'0' + n % 10);
      n /= 10;
    } while (n);
    for (size_t i = 0; i < k; ++i) out[i] = rev[k - 1 - i];
    return k;
  }
  void Extend(uint32_t n) {
    wchar_t num[12];
    size_t k = Digits(n, num);
    num[k++] = L',';
    if (len == 0) {
      Put(L",", 1);
      Put(num, k);
    } else if (len >= kLongChain) {
      Put(L"...", 3);
    } else {
      Put(num, k);
    }
  }
  // Ends send n: ",n," at the start empties the chain and restarts the numbering; found later,
  // the chain is cut after the comma before n; not found (shown as "..."), it is left.
  void Restore(uint32_t n) {
    wchar_t pat[13];
    pat[0] = L',';
    size_t k = 1 + Digits(n, pat + 1);
    pat[k++] = L',';
    std::wstring_view view(text, len);
    size_t at = view.find(std::wstring_view(pat, k));
    if (at == std::wstring_view::npos) return;
    if (at == 0) {
      Clear();
      counter = 0;
      return;
    }
    len = at + 1;
    text[len] = 0;
  }
};

SendChain g_chain;

constexpr uint32_t kSlowMs = 100;
constexpr uint32_t kWarnAfterMs = 60000;

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
  std::wstring text = kw::FormatW(L"%s%s", lead, GetModuleState().lastHostEnded);
  MessageBoxW(acedGetAcadFrame(), text.c_str(), L"出错提示", MB_ICONERROR);
}

// Host-ending rule: false when the send must be refused.
bool PassHostEnding(const KWMSGHDR& msg) {
  KWRDPub::ModuleState& st = GetModuleState();
  if (!st.hostEnding) return true;
  if (st.warnAfterEnd && GetTickCount() - st.hostEndTick > kWarnAfterMs) {
    st.warnAfterEnd = false;
    ShowEndingBox(L"程序收到异常退出CAD消息，强列建议重启软件！\n");
    st.hostEnding = 0;
    return true;
  }
  if (msg.type != KWRDPub::kEndingMsgType || msg.msg != KWRDPub::kEndingMsgCode) return false;
  ShowEndingBox(L"程序收到异常退出消息，强列建议重启软件！\n");
  st.hostEnding = 0;
  return true;
}

void HandleQuit() {
  KWRDPub::ModuleState& st = GetModuleState();
  g_chain.Clear();
  g_chain.live = false;
  TraceLogo(L"<QuitMsg />");
  st.SetLastHostEnded(L"<QuitMsg />");
  st.hostEnding = 1;
  st.hostEndTick = GetTickCount();
}

bool Traced() {
  return GetModuleState().traceMsgLogo != 0;
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
  g_chain = SendChain{};
}

CRDMsgManager::CRDMsgManager() {
  m_records.reserve(8);
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

void CRDMsgManager::Add(Record&& record) {
  try {
    // The array grows in steps of 8 records.
    if (m_records.size() == m_records.capacity()) m_records.reserve(m_records.size() + 8);
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
  try {
    Record r;
    if (count > 0 && types && msgs) {
      r.types.assign(types, types + count);
      r.msgs.assign(msgs, msgs + count);
      r.count = count;
    }
    r.callback = fn;
    r.userData = userData;
    CopyName(r.name, name);
    Add(std::move(r));
  } catch (const std::bad_alloc&) {
    KWRDPub::DebugTrace(L"memory allocate failed:%s", L"CRDMsgManager::RegisterEx");
  }
}

void CRDMsgManager::Register(const wchar_t* name, CMsgWatch* watch, bool autoDelete) {
  RegisterEx(name, nullptr, nullptr, 0, watch, autoDelete);
}

void CRDMsgManager::RegisterEx(const wchar_t* name, const unsigned int* types,
                               const unsigned int* msgs, int count, CMsgWatch* watch,
                               bool autoDelete) {
  if (!watch || IsRegistered(watch)) return;
  try {
    Record r;
    if (count > 0 && types && msgs) {
      r.types.assign(types, types + count);
      r.msgs.assign(msgs, msgs + count);
      r.count = count;
    }
    r.watch = watch;
    r.autoDelete = autoDelete;
    CopyName(r.name, name);
    Add(std::move(r));
  } catch (const std::bad_alloc&) {
    KWRDPub::DebugTrace(L"memory allocate failed:%s", L"CRDMsgManager::RegisterEx");
  }
}

void CRDMsgManager::Kill(size_t index) {
  if (m_sendDepth > 0) {
    m_records[index].dead = true;
    m_hasDead = true;
    return;
  }
  Release(m_records[index]);
  m_records.erase(m_records.begin() + static_cast<ptrdiff_t>(index));
}

void CRDMsgManager::EraseDead() {
  if (!m_hasDead) return;
  m_hasDead = false;
  for (size_t i = m_records.size(); i-- > 0;) {
    if (!m_records[i].dead) continue;
    Release(m_records[i]);
    m_records.erase(m_records.begin() + static_cast<ptrdiff_t>(i));
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
  if (!g_chain.live) {
    g_chain.Clear();
    g_chain.live = true;
  }
  if (!PassHostEnding(*msg)) return 0;
  if (msg->type == KWRDPub::kSysMsgType && msg->msg == KWRDPub::kQuitMsgCode) {
    HandleQuit();
    return 0;
  }
  uint32_t n = ++g_chain.counter;
  if (Traced()) {
    TraceLogo(L"<RDMsg_SendMessage%u type='%u' msg='%u' from='%s'>", n, msg->type, msg->msg,
              g_chain.text);
  }
  g_chain.Extend(n);
  // The clock is read only for the trace, which is the only place that reports the time.
  uint32_t start = Traced() ? GetTickCount() : 0;
  ++m_sendDepth;
  unsigned long result = Deliver(msg, n);
  if (--m_sendDepth == 0) EraseDead();
  if (Traced()) {
    uint32_t took = start ? GetTickCount() - start : 0;
    if (took > kSlowMs) TraceLogo(L"total_time %.3fs", took / 1000.0);
    TraceLogo(L"</RDMsg_SendMessage%u>", n);
  }
  g_chain.Restore(n);
  return result;
}

unsigned long CRDMsgManager::Deliver(KWMSGHDR* msg, uint32_t n) {
  unsigned long result = 0;
  for (size_t i = 0; i < m_records.size(); ++i) {
    unsigned long answer = DeliverOne(i, msg, n) & 0xFFFFFFFFul;
    if (answer != 0) result = answer;
    if (result > 0x7FFFFFFFul) break;
  }
  return result;
}

bool CRDMsgManager::Accepts(const Record& r, const KWMSGHDR& msg) const {
  for (int k = r.count; k-- > 0;) {
    if (r.types[k] == msg.type && r.msgs[k] == msg.msg) return true;
  }
  if (!r.watch || r.count > 0) return false;
  uint32_t type = r.watch->GetType();
  uint32_t code = r.watch->GetMsg();
  return (type == 0 || type == msg.type) && (code == 0 || code == msg.msg);
}

unsigned long CRDMsgManager::DeliverOne(size_t index, KWMSGHDR* msg, uint32_t n) {
  // The record may move while its watcher runs (registrations during the send): work on copies.
  const Record& r = m_records[index];
  if (r.dead) return 0;
  try {
    if (!Accepts(r, *msg)) return 0;
  } catch (...) {
    return 0;  // a filter that throws accepts nothing
  }
  wchar_t name[33];
  wmemcpy(name, r.name, 33);
  CMsgWatch* watch = r.watch;
  MsgFn fn = r.callback;
  void* userData = r.userData;
  unsigned long answer = 0;
  uint32_t start = 0;
  bool opened = false;
  try {
    if (Traced()) {
      start = GetTickCount();
      opened = true;
      TraceLogo(L"<RDMsg_Send%uTo dest='%s'>", n, name);
    }
    answer = watch ? watch->OnMessage(msg) : fn(msg, userData);
  } catch (const std::bad_alloc& e) {
    wchar_t what[128];
    size_t k = 0;
    for (const char* p = e.what(); *p && k < 127; ++p) what[k++] = static_cast<unsigned char>(*p);
    what[k] = 0;
    KWRDPub::DebugTrace(L"memory allocate failed:%s", what);
  } catch (...) {
    std::wstring text = kw::FormatW(L"向消息监听器 %s 发送消息(type:%u,message:%u)时出现致命错误!",
                                    name, msg->type, msg->msg);
    if (Traced()) TraceLogo(L"<RDMsg_err msgid=%u desc='%s'/>", n, text.c_str());
    KWRDPub::DebugTrace(L"KW:%s", text.c_str());
    MessageBoxW(acedGetAcadFrame(), text.c_str(), L"错误", MB_ICONERROR);
  }
  if (opened) {
    uint32_t took = GetTickCount() - start;
    if (took > kSlowMs) TraceLogo(L"RDMsg_time %.3fs", took / 1000.0);
    TraceLogo(L"</RDMsg_Send%uTo>", n);
  }
  return answer;
}

std::wstring CRDMsgManager::FilterText(const Record& r) const {
  if (r.count == 0 && r.watch) {
    return kw::FormatW(L"[%u(%u)]", r.watch->GetType(), r.watch->GetMsg());
  }
  // A 17-bucket hash map of type to codes, listed bucket by bucket (bucket = (type >> 4) % 17),
  // the most recently added type first within a bucket.
  struct Group {
    uint32_t type;
    std::wstring codes;
  };
  std::vector<Group> buckets[17];
  for (int k = 0; k < r.count; ++k) {
    std::vector<Group>& bucket = buckets[(r.types[k] >> 4) % 17];
    auto it = std::find_if(bucket.begin(), bucket.end(),
                           [&](const Group& g) { return g.type == r.types[k]; });
    if (it == bucket.end()) it = bucket.insert(bucket.begin(), Group{r.types[k], L""});
    it->codes += kw::FormatW(L"%d,", static_cast<int>(r.msgs[k]));
  }
  std::wstring text;
  for (const std::vector<Group>& bucket : buckets) {
    for (const Group& g : bucket) {
      std::wstring codes = g.codes.substr(0, g.codes.size() - 1);
      text += kw::FormatW(L"%u(%s);", g.type, codes.c_str());
    }
  }
  while (!text.empty() && text.back() == L';') text.pop_back();
  return L"[" + text + L"]";
}

void CRDMsgManager::TraceWatchers() {
  try {
    int total = WatcherCount();
    acutPrintf(L"\n共%d个消息监听器", total);
    int number = 0;
    for (const Record& r : m_records) {
      if (r.dead) continue;
      uint64_t address =
          r.watch ? reinterpret_cast<uintptr_t>(r.watch) : reinterpret_cast<uintptr_t>(r.callback);
      std::wstring filter = FilterText(r);
      acutPrintf(L"\n%d: (0x%I64x) %s %s", ++number, address, r.name, filter.c_str());
    }
  } catch (...) {
    KWRDPub::DebugTrace(L"KW:%s", L"CRDMsgManager::TraceWatchers");
  }
}
