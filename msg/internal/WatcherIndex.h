// The dispatcher's lookup from a message's (type, code) pair to the registrations that listen
// to it, so that a send reaches its watchers without visiting the others. Internal to msg/.
//
// An open-addressing hash table (linear probing, power-of-two size, at most half full) from the
// 64-bit pair key to a list of record pointers in registration order. Each list is an object of
// its own: a pointer returned by Find stays valid while keys are added (the table may grow), and
// until Remove takes its last record out.
//
// Invariants:
//   1. m_slots.size() is 0 or a power of two >= 8, and m_used * 2 <= m_slots.size().
//   2. A slot with a null list is empty; every key in the table is reachable from its home slot
//      without crossing an empty slot (removal shifts later entries back to keep this).
//   3. No list is empty; a record appears at most once in a list.
// Main thread only. Find never allocates; Add may throw std::bad_alloc and then changes nothing.
#ifndef KW_MSG_INTERNAL_WATCHERINDEX_H_
#define KW_MSG_INTERNAL_WATCHERINDEX_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace KWRDPub {

template <class Rec>
class WatcherIndex {
 public:
  using List = std::vector<Rec*>;

  // The records listening to `key`, oldest first; null when there are none.
  List* Find(uint64_t key) const {
    if (m_used == 0) return nullptr;
    for (size_t i = Home(key);; i = (i + 1) & Mask()) {
      const Slot& s = m_slots[i];
      if (!s.list) return nullptr;
      if (s.key == key) return s.list.get();
    }
  }

  // Appends `rec` to the list of `key`, which is created when there is none.
  void Add(uint64_t key, Rec* rec) {
    if (List* list = Find(key)) {
      list->push_back(rec);
      return;
    }
    if ((m_used + 1) * 2 > m_slots.size()) Grow();
    auto list = std::make_unique<List>(1, rec);
    Place(key, std::move(list));
    ++m_used;
  }

  // Takes `rec` out of the list of `key`; the key goes when its list empties. Nothing when it is
  // not there.
  void Remove(uint64_t key, Rec* rec) {
    if (m_used == 0) return;
    size_t i = Home(key);
    for (; m_slots[i].list; i = (i + 1) & Mask()) {
      if (m_slots[i].key == key) break;
    }
    List* list = m_slots[i].list.get();
    if (!list) return;
    for (size_t k = 0; k < list->size(); ++k) {
      if ((*list)[k] == rec) {
        list->erase(list->begin() + static_cast<ptrdiff_t>(k));
        break;
      }
    }
    if (list->empty()) EraseSlot(i);
  }

  // Number of keys with records.
  size_t KeyCount() const { return m_used; }

 private:
  struct Slot {
    uint64_t key = 0;
    std::unique_ptr<List> list;
  };

  size_t Mask() const { return m_slots.size() - 1; }
  size_t Home(uint64_t key) const {
    // Fibonacci hashing: the top bits of the product mix every bit of the type and the code.
    return static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> m_shift);
  }
  void Place(uint64_t key, std::unique_ptr<List> list) {
    size_t i = Home(key);
    while (m_slots[i].list) i = (i + 1) & Mask();
    m_slots[i].key = key;
    m_slots[i].list = std::move(list);
  }
  void Grow() {
    const size_t size = m_slots.empty() ? 8 : m_slots.size() * 2;
    std::vector<Slot> old(size);
    old.swap(m_slots);
    m_shift = 64;
    for (size_t s = size; s > 1; s >>= 1) --m_shift;
    for (Slot& s : old) {
      if (s.list) Place(s.key, std::move(s.list));
    }
  }
  // Backward-shift deletion: later entries of the same run move up so that no lookup meets an
  // empty slot before its key (invariant 2).
  void EraseSlot(size_t hole) {
    m_slots[hole].list.reset();
    --m_used;
    for (size_t i = (hole + 1) & Mask(); m_slots[i].list; i = (i + 1) & Mask()) {
      const size_t home = Home(m_slots[i].key);
      // The entry may move into the hole when its home is not in (hole, i] cyclically.
      const bool stays = hole < i ? (home > hole && home <= i) : (home > hole || home <= i);
      if (stays) continue;
      m_slots[hole] = std::move(m_slots[i]);
      hole = i;
    }
  }

  std::vector<Slot> m_slots;
  size_t m_used = 0;
  unsigned m_shift = 64;
};

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_WATCHERINDEX_H_
