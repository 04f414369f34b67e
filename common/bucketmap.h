// A map from wide-string keys that walks its entries in the order of the platform's hash map
// (MFC CMap over wide-string keys): the system shows and saves its style collections in that
// order, so a rebuilt map must give the same order for the same keys and history.
//
// The order, for a table of B buckets:
//   1. the hash of a key is h = h * 33 + c over its UTF-16 code units (32-bit, wrapping), and
//      the key lives in bucket h % B;
//   2. buckets are walked from 0 to B - 1;
//   3. inside a bucket, the entry added last comes first; replacing the value of an existing
//      key keeps its place; removing a key leaves the others in their order.
//
// Invariants:
//   1. every key is in exactly one bucket list and in the index, and nowhere else;
//   2. the index maps each key to its entry in the list of the key's bucket.
// Lookups, inserts and removals cost O(1) on average (the index), whatever the bucket count.
// Keys are compared exactly (callers that ignore case upper-case them first).
#ifndef KW_COMMON_BUCKETMAP_H_
#define KW_COMMON_BUCKETMAP_H_

#include <cstdint>
#include <iterator>
#include <list>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kw {

// The platform's string hash over the UTF-16 form of `key` (characters beyond the BMP count as
// their two surrogates).
inline uint32_t PlatformStringHash(const std::wstring& key) {
  uint32_t hash = 0;
  for (wchar_t c : key) {
    const uint32_t code = static_cast<uint32_t>(c);
    if (code >= 0x10000 && code <= 0x10FFFF) {
      const uint32_t v = code - 0x10000;
      hash = hash * 33 + (0xD800 + (v >> 10));
      hash = hash * 33 + (0xDC00 + (v & 0x3FF));
    } else {
      hash = hash * 33 + code;
    }
  }
  return hash;
}

template <class Value>
class BucketMap {
 public:
  using Entry = std::pair<std::wstring, Value>;

  explicit BucketMap(uint32_t buckets = 17) : m_buckets(buckets == 0 ? 1 : buckets) {}
  BucketMap(const BucketMap& other) : m_buckets(other.m_buckets.size()) { CopyFrom(other); }
  BucketMap& operator=(const BucketMap& other) {
    if (this != &other) {
      Clear();
      m_buckets.assign(other.m_buckets.size(), {});
      CopyFrom(other);
    }
    return *this;
  }

  size_t Size() const { return m_index.size(); }
  bool Empty() const { return m_index.empty(); }
  void Clear() {
    m_index.clear();
    for (auto& bucket : m_buckets) bucket.clear();
  }

  // The value of `key`, or null.
  const Value* Find(const std::wstring& key) const {
    auto it = m_index.find(key);
    return it == m_index.end() ? nullptr : &it->second->second;
  }
  // Sets the value of `key`: an existing key keeps its place, a new one goes to the front of its
  // bucket.
  void Set(const std::wstring& key, Value value) {
    auto it = m_index.find(key);
    if (it != m_index.end()) {
      it->second->second = std::move(value);
      return;
    }
    auto& bucket = m_buckets[PlatformStringHash(key) % m_buckets.size()];
    bucket.emplace_front(key, std::move(value));
    m_index.emplace(key, bucket.begin());
  }
  // Removes `key`; false when it is not there.
  bool Remove(const std::wstring& key) {
    auto it = m_index.find(key);
    if (it == m_index.end()) return false;
    m_buckets[PlatformStringHash(key) % m_buckets.size()].erase(it->second);
    m_index.erase(it);
    return true;
  }

  // Calls visit(key, value) for every entry in the platform's order.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    for (const auto& bucket : m_buckets) {
      for (const Entry& entry : bucket) visit(entry.first, entry.second);
    }
  }

 private:
  using Bucket = std::list<Entry>;

  // Re-adds the other map's entries so that each bucket ends in the same order.
  void CopyFrom(const BucketMap& other) {
    for (size_t b = 0; b < other.m_buckets.size(); ++b) {
      for (const Entry& entry : other.m_buckets[b]) {
        m_buckets[b].push_back(entry);
        m_index.emplace(entry.first, std::prev(m_buckets[b].end()));
      }
    }
  }

  std::vector<Bucket> m_buckets;
  std::unordered_map<std::wstring, typename Bucket::iterator> m_index;
};

}  // namespace kw

#endif  // KW_COMMON_BUCKETMAP_H_
