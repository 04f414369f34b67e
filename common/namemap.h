// NameMap: a map from names to values that lists its entries in the order the platform's
// string-keyed hash map (CMap<CString, LPCWSTR, ...>) lists them, because users of the style
// collections see that order in lists and files.
//
// That order: 17 buckets, bucket = hash % 17 with hash = hash * 33 + unit over the key's UTF-16
// code units; buckets in ascending order, and within a bucket the most recently added key
// first. Replacing the value of a present key keeps its place; removing a key closes the gap.
// Keys are compared exactly (callers upper-case them first).
#ifndef KW_COMMON_NAMEMAP_H_
#define KW_COMMON_NAMEMAP_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kw {

// The platform's hash of a wide string key (over UTF-16 code units).
inline uint32_t PlatformStringHash(std::wstring_view key) {
  uint32_t hash = 0;
  auto add = [&hash](uint32_t unit) { hash = (hash << 5) + hash + unit; };
  for (wchar_t c : key) {
    const uint32_t cp = static_cast<uint32_t>(c);
    if (cp < 0x10000) {
      add(cp);
    } else {
      add(0xD800 + ((cp - 0x10000) >> 10));
      add(0xDC00 + ((cp - 0x10000) & 0x3FF));
    }
  }
  return hash;
}

template <class V>
class NameMap {
 public:
  static constexpr size_t kBuckets = 17;
  using Entry = std::pair<std::wstring, V>;

  // The value of key, or null.
  V* Find(std::wstring_view key) {
    for (Entry& e : BucketOf(key)) {
      if (e.first == key) return &e.second;
    }
    return nullptr;
  }
  const V* Find(std::wstring_view key) const { return const_cast<NameMap*>(this)->Find(key); }
  bool Contains(std::wstring_view key) const { return Find(key) != nullptr; }
  // Stores value under key: in place when present, else as the newest entry of its bucket.
  void Set(std::wstring_view key, V value) {
    if (V* present = Find(key)) {
      *present = std::move(value);
      return;
    }
    std::vector<Entry>& bucket = BucketOf(key);
    bucket.insert(bucket.begin(), Entry(std::wstring(key), std::move(value)));
    ++m_size;
  }
  // True when the key was present.
  bool Remove(std::wstring_view key) {
    std::vector<Entry>& bucket = BucketOf(key);
    for (auto it = bucket.begin(); it != bucket.end(); ++it) {
      if (it->first == key) {
        bucket.erase(it);
        --m_size;
        return true;
      }
    }
    return false;
  }
  void Clear() {
    for (std::vector<Entry>& bucket : m_buckets) bucket.clear();
    m_size = 0;
  }
  size_t Size() const { return m_size; }
  // Calls fn(key, value) for every entry in the platform's order.
  template <class Fn>
  void ForEach(Fn&& fn) const {
    for (const std::vector<Entry>& bucket : m_buckets) {
      for (const Entry& e : bucket) fn(e.first, e.second);
    }
  }
  std::vector<std::wstring> Keys() const {
    std::vector<std::wstring> keys;
    keys.reserve(m_size);
    ForEach([&keys](const std::wstring& key, const V&) { keys.push_back(key); });
    return keys;
  }

 private:
  std::vector<Entry>& BucketOf(std::wstring_view key) {
    return m_buckets[PlatformStringHash(key) % kBuckets];
  }
  std::vector<Entry> m_buckets[kBuckets];
  size_t m_size = 0;
};

}  // namespace kw

#endif  // KW_COMMON_NAMEMAP_H_
