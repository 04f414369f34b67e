// The dispatcher's lookup from a message's (type, code) pair to the entries of the registrations
// that listen to it, so that a send reaches its watchers without visiting the others. Internal
// to msg/.
//
// An open-addressing hash table (linear probing, power-of-two size, at most half full) from the
// 64-bit pair key to a list of entries in the order they were added. A list lives in its slot,
// so a lookup costs one probe and no further indirection; lists move when any key is added or
// removed, so a caller that keeps one across a change looks it up again.
//
// Invariants:
//   1. m_slots.size() is 0 or a power of two >= 8, and m_used * 2 <= m_slots.size().
//   2. A slot is empty when its list is; every key in the table is reachable from its home slot
//      without crossing an empty slot (removal shifts later entries back to keep this).
//   3. No key has an empty list; an entry's `rec` appears at most once in a list.
// Main thread only. Find never allocates; Add may throw std::bad_alloc and then changes nothing.
#ifndef KW_MSG_INTERNAL_WATCHERINDEX_H_
#define KW_MSG_INTERNAL_WATCHERINDEX_H_

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace KWRDPub {

// Entry: any copyable type with a member `rec` naming the registration it stands for.
template <class Entry>
class WatcherIndex {
 public:
  using List = std::vector<Entry>;

  // The entries listed under `key`, oldest first; null when there are none. Valid until the
  // next change.
  [[gnu::always_inline]] List* Find(uint64_t key) {
    const size_t i = SlotOf(key);
    return i == kNone ? nullptr : &m_slots[i].list;
  }

  // Appends `entry` to the list of `key`, which is created when there is none.
  void Add(uint64_t key, const Entry& entry) {
    if (List* list = Find(key)) {
      list->push_back(entry);
      return;
    }
    List list(1, entry);
    if ((m_used + 1) * 2 > m_slots.size()) Grow();
    Place(key, std::move(list));
    ++m_used;
  }

  // Takes the entry of `rec` out of the list of `key`; the key goes when its list empties.
  // Nothing when it is not there.
  template <class Rec>
  void Remove(uint64_t key, const Rec* rec) {
    const size_t slot = SlotOf(key);
    if (slot == kNone) return;
    List* list = &m_slots[slot].list;
    for (size_t k = 0; k < list->size(); ++k) {
      if ((*list)[k].rec == rec) {
        list->erase(list->begin() + static_cast<ptrdiff_t>(k));
        break;
      }
    }
    if (list->empty()) EraseSlot(slot);
  }

  // Number of keys with entries.
  size_t KeyCount() const { return m_used; }

 private:
  struct Slot {
    uint64_t key = 0;
    List list;
  };
  static constexpr size_t kNone = ~size_t{0};

  [[gnu::always_inline]] size_t SlotOf(uint64_t key) const {
    if (m_used == 0) return kNone;
    for (size_t i = Home(key);; i = (i + 1) & Mask()) {
      const Slot& s = m_slots[i];
      if (s.key == key && !s.list.empty()) return i;
      if (s.list.empty()) return kNone;
    }
  }

  size_t Mask() const { return m_slots.size() - 1; }
  size_t Home(uint64_t key) const {
    // Fibonacci hashing: the top bits of the product mix every bit of the type and the code.
    return static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> m_shift);
  }
  void Place(uint64_t key, List&& list) {
    size_t i = Home(key);
    while (!m_slots[i].list.empty()) i = (i + 1) & Mask();
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
      if (!s.list.empty()) Place(s.key, std::move(s.list));
    }
  }
  // Backward-shift deletion: later entries of the same run move up so that no lookup meets an
  // empty slot before its key (invariant 2).
  void EraseSlot(size_t hole) {
    m_slots[hole].list = List();
    --m_used;
    for (size_t i = (hole + 1) & Mask(); !m_slots[i].list.empty(); i = (i + 1) & Mask()) {
      const size_t home = Home(m_slots[i].key);
      // The entry may move into the hole unless its home lies cyclically in (hole, i].
      const bool stays = hole < i ? (home > hole && home <= i) : (home > hole || home <= i);
      if (stays) continue;
      m_slots[hole].key = m_slots[i].key;
      m_slots[hole].list = std::move(m_slots[i].list);
      m_slots[i].list = List();
      hole = i;
    }
  }

  std::vector<Slot> m_slots;
  size_t m_used = 0;
  unsigned m_shift = 64;
};

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_WATCHERINDEX_H_
