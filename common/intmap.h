// A hash map from non-zero 64-bit keys (handles, ids) to small values, stored flat: one array
// of slots probed linearly. It exists because the drawing database looks up every object by
// handle while a file is read and written, and a node per entry (std::unordered_map) costs an
// allocation and a cache miss per object.
//
// Invariants:
//   1. The slot count is a power of two, at least 16; a slot holds key 0 when empty (0 is never
//      a key: a null handle or id names nothing).
//   2. Every key sits in the first empty-free run of slots starting at its home slot
//      (hash & mask): no empty slot lies between a key's home and the key. Erase keeps this by
//      shifting the later keys of the run back instead of leaving markers.
//   3. At most 5/8 of the slots are full, so every probe ends at an empty slot.
// Growth doubles the slot count and re-enters every key; pointers returned by Find() stay valid
// until the next Insert() or Erase().
#ifndef KW_COMMON_INTMAP_H_
#define KW_COMMON_INTMAP_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kw {

template <class Value>
class IntMap {
 public:
  size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }

  // The value of `key`, or null when absent (always for key 0).
  Value* Find(uint64_t key) {
    return const_cast<Value*>(static_cast<const IntMap*>(this)->Find(key));
  }
  const Value* Find(uint64_t key) const {
    if (key == 0 || m_slots.empty()) return nullptr;
    for (size_t i = Home(key);; i = (i + 1) & Mask()) {
      if (m_slots[i].key == key) return &m_slots[i].value;
      if (m_slots[i].key == 0) return nullptr;
    }
  }
  bool Contains(uint64_t key) const { return Find(key) != nullptr; }

  // Adds `key` with `value`: false (and no change) when the key is 0 or already present.
  bool Insert(uint64_t key, Value value) {
    if (key == 0 || Contains(key)) return false;
    if ((m_size + 1) * 8 > m_slots.size() * 5) Grow();
    Place(key, std::move(value));
    ++m_size;
    return true;
  }

  // Removes `key`: false when it was absent.
  bool Erase(uint64_t key) {
    if (key == 0 || m_slots.empty()) return false;
    size_t i = Home(key);
    while (m_slots[i].key != key) {
      if (m_slots[i].key == 0) return false;
      i = (i + 1) & Mask();
    }
    // Backward shift: move each later key of the run into the hole when the hole lies between
    // its home and its slot, so that invariant 2 holds again.
    for (size_t j = (i + 1) & Mask(); m_slots[j].key != 0; j = (j + 1) & Mask()) {
      const size_t home = Home(m_slots[j].key);
      if (((j - home) & Mask()) >= ((j - i) & Mask())) {
        m_slots[i] = std::move(m_slots[j]);
        i = j;
      }
    }
    m_slots[i] = Slot();
    --m_size;
    return true;
  }

  void Clear() {
    m_slots.clear();
    m_size = 0;
    m_shift = 64;
  }

  // Makes room for `count` keys without growing again.
  void Reserve(size_t count) {
    while (count * 8 > m_slots.size() * 5) Grow();
  }

 private:
  struct Slot {
    uint64_t key = 0;
    Value value{};
  };

  size_t Mask() const { return m_slots.size() - 1; }
  // Keys that differ only in their two lowest bits share a group of four neighbouring slots,
  // so that consecutive handles (what a drawing mostly holds) fill cache lines together;
  // the groups themselves are spread by Fibonacci hashing of the rest of the key, so no choice
  // of keys puts more than four into one group.
  size_t Home(uint64_t key) const {
    const uint64_t group = ((key >> 2) * 0x9E3779B97F4A7C15ull) >> m_shift;
    return static_cast<size_t>((group << 2) | (key & 3)) & Mask();
  }

  void Place(uint64_t key, Value value) {
    size_t i = Home(key);
    while (m_slots[i].key != 0) i = (i + 1) & Mask();
    m_slots[i].key = key;
    m_slots[i].value = std::move(value);
  }

  void Grow() {
    std::vector<Slot> old(m_slots.empty() ? 16 : m_slots.size() * 2);
    old.swap(m_slots);
    m_shift = 66 - static_cast<int>(std::bit_width(m_slots.size() - 1));
    for (Slot& s : old) {
      if (s.key != 0) Place(s.key, std::move(s.value));
    }
  }

  std::vector<Slot> m_slots;
  size_t m_size = 0;
  int m_shift = 64;  // 64 - log2(slot count / 4): the group bits of a home slot
};

}  // namespace kw

#endif  // KW_COMMON_INTMAP_H_
