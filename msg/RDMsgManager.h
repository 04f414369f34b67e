// The suite's process-wide message bus.
//
// Modules register watchers under a short name (a callback with a user pointer, or an object
// implementing CMsgWatch); any module sends a message (a KWMSGHDR or a structure that begins
// with one) through CRDMsgManager::SendMessageW, and every watcher whose filter accepts it
// receives it, in registration order. The answers combine into one result: the last non-zero
// answer wins and an answer with bit 31 set stops delivery. With the send-log switch on
// (command "TraceMsgLogo") every send is written to the trace log as nested tags.
//
// Invariants of CRDMsgManager (its state lives in the implementation):
//   1. The records are kept in registration order, each with a sequence number larger than
//      every earlier one; a record's name is 0-terminated and at most 32 characters.
//   2. An object is registered at most once among the live records.
//   3. The index lists, for each (type, code) pair, the records with that pair in their list,
//      and separately the objects registered without a list ("any": their own GetType/GetMsg
//      decide), each in registration order; it names exactly the records the dispatcher holds.
//   4. While a send is in progress removal only marks a record dead and clears its index
//      entries (nothing can be called through them); dead records receive nothing, are not
//      listed, and are erased (their auto-deleted objects released, their index entries removed)
//      when the outermost send ends. Outside sends there are no dead records.
//   5. An untraced send allocates no heap memory.
#ifndef KW_MSG_RDMSGMANAGER_H_
#define KW_MSG_RDMSGMANAGER_H_

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

// The header every message starts with.
struct KWMSGHDR {
  uint32_t type;   // message family
  uint32_t msg;    // code within the family
  uint32_t param;  // a 32-bit parameter
};

// The show-message request (type 1, code 9), answered by the built-in watcher "ShowMsg" with the
// result of a message box. An empty caption is chosen from the icon bits of `style`.
struct KWSHOWMSG {
  KWMSGHDR hdr;
  std::wstring caption;
  std::wstring text;
  uint32_t style;
};

namespace KWRDPub {
inline constexpr uint32_t kSysMsgType = 1;     // the dispatcher's own family
inline constexpr uint32_t kShowMsgCode = 9;    // KWSHOWMSG
inline constexpr uint32_t kQuitMsgCode = 10;   // the host is ending; never delivered
inline constexpr uint32_t kEndingMsgType = 2;  // (2, 1) is still delivered while the host ends
inline constexpr uint32_t kEndingMsgCode = 1;
}  // namespace KWRDPub

// A watcher object of another module. GetType/GetMsg are its filter when it is registered
// without a pair list (0 = any). It is never destroyed through this interface: with auto-delete
// the dispatcher releases its memory without running a destructor.
class CMsgWatch {
 public:
  virtual uint32_t GetType() = 0;
  virtual uint32_t GetMsg() = 0;
  virtual unsigned long OnMessage(KWMSGHDR* msg) = 0;

 protected:
  ~CMsgWatch() = default;
};

// One registration as the watcher list ("MsgWatchers") shows it.
struct KWMSGWATCHERINFO {
  uintptr_t address = 0;  // the watcher object, or the callback of a callback watcher
  std::wstring name;      // at most 32 characters
  // The (type, code) pairs as registered; empty for an object filtered by its own type and code.
  std::vector<std::pair<uint32_t, uint32_t>> pairs;
  // An object without pairs: what its GetType and GetMsg answered (0 = any).
  bool ownFilter = false;
  uint32_t type = 0;
  uint32_t code = 0;
};

class CRDMsgManager {
 public:
  using MsgFn = unsigned long (*)(KWMSGHDR* msg, void* userData);

  // The single instance, created on first call (with the built-in watcher "ShowMsg").
  static CRDMsgManager* GetInstance();

  // A callback for one (type, code) pair. Ignored when fn is null; registering the same
  // function again adds another record. Names are cut to 32 characters.
  void Register(const wchar_t* name, unsigned int type, unsigned int msg, MsgFn fn, void* userData);
  // A callback for `count` pairs from two parallel arrays (copied).
  void RegisterEx(const wchar_t* name, const unsigned int* types, const unsigned int* msgs,
                  int count, MsgFn fn, void* userData);
  // An object watcher filtered by its own GetType/GetMsg. Ignored when watch is null or already
  // registered. With autoDelete the dispatcher releases the object when it is removed.
  void Register(const wchar_t* name, CMsgWatch* watch, bool autoDelete);
  // An object watcher for `count` pairs (copied).
  void RegisterEx(const wchar_t* name, const unsigned int* types, const unsigned int* msgs,
                  int count, CMsgWatch* watch, bool autoDelete);
  // Removes every record of this callback. Null is ignored.
  void RemoveRegister(MsgFn fn);
  // Removes the most recent record of this object (releasing it when auto-deleted). From then on
  // the dispatcher never touches the object, even when this is called from inside a send: the
  // caller may delete an object it owns right after this returns.
  void RemoveRegister(CMsgWatch* watch);

  // Dispatches `msg` (null gives 0) and returns the combined answer.
  unsigned long SendMessageW(KWMSGHDR* msg);
  // The live registrations in registration order. A watcher object whose GetType or GetMsg
  // throws ends the list there (the failure goes to the debugging trace); so does running out of
  // memory.
  std::vector<KWMSGWATCHERINFO> Watchers() const;
  // Number of live registrations.
  int WatcherCount() const;

  // Destroys the instance, releasing the auto-deleted watcher objects; the next GetInstance
  // starts afresh and numbers its sends from 1. Nothing when there is none. Only the library's
  // shutdown (CRDPubApp::ProcessDetach) and tests call it.
  static void Destroy();

  CRDMsgManager(const CRDMsgManager&) = delete;
  CRDMsgManager& operator=(const CRDMsgManager&) = delete;

 protected:
  CRDMsgManager();
  virtual ~CRDMsgManager();

 private:
  struct Record;
  struct Entry;
  struct Lists;
  struct State;

  void Add(const wchar_t* name, const unsigned int* types, const unsigned int* msgs, int count,
           std::unique_ptr<Record> record);
  bool IsRegistered(const CMsgWatch* watch) const;
  void Kill(size_t index);
  void MarkDead(Record& r);
  void EraseAt(size_t index);
  void EraseDead();
  static Lists Look(State& st, uint64_t key);
  unsigned long Deliver(KWMSGHDR* msg, uint32_t n);
  unsigned long Call(MsgFn callback, void* target, const Record* rec, KWMSGHDR* msg, uint32_t n);
  unsigned long CallTraced(MsgFn callback, void* target, const Record* rec, KWMSGHDR* msg,
                           uint32_t n);
  void HandleWatcherException(const Record& r, KWMSGHDR* msg, uint32_t n);
  void ReportWatcherFailure(const wchar_t* name, const KWMSGHDR* msg, uint32_t n);

  // Defined where State is complete (some compilers instantiate std::launder eagerly).
  State& St();
  const State& St() const;

  // The state lives inside the object (its layout is private to the implementation, which
  // checks that it fits): a send reaches it without following a pointer.
  static constexpr size_t kStateBytes = 160;
  alignas(16) unsigned char m_stateBytes[kStateBytes];

  static CRDMsgManager* m_sInstance;
};

#endif  // KW_MSG_RDMSGMANAGER_H_
