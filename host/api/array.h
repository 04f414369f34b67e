// AcArray: the platform's growable array, with its three lengths:
//   logical length   number of elements in use (length());
//   physical length  number of elements allocated (physicalLength());
//   grow length      minimum growth step when an append finds the array full (default 8).
// Growth rule (what the memory filer's capacity depends on): when an insertion finds the array
// full, the physical length becomes logical + max(growLength, min(logical, 65536 / sizeof(T)))
// elements.
//
// Index errors are the caller's fault: at()/operator[] assert in debug builds; setAt, removeAt
// and insertAt ignore out-of-range indexes and return the array unchanged. Allocation failure
// throws std::bad_alloc like any standard container (callers at the library boundary catch it).
#ifndef KW_HOST_API_ARRAY_H_
#define KW_HOST_API_ARRAY_H_

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

template <class T>
class AcArrayMemCopyReallocator {};
template <class T>
class AcArrayObjectCopyReallocator {};

inline constexpr int ACARRAY_GROWTH_THRESHOLD = 0x10000;

template <class T, class R = std::conditional_t<std::is_trivially_copyable_v<T>,
                                                AcArrayMemCopyReallocator<T>,
                                                AcArrayObjectCopyReallocator<T>>>
class AcArray {
 public:
  explicit AcArray(int physicalLength = 0, int growLength = 8)
      : mGrowLen(growLength > 0 ? growLength : 8) {
    if (physicalLength > 0) setPhysicalLength(physicalLength);
  }
  AcArray(const AcArray& other) : mGrowLen(other.mGrowLen) { copyFrom(other); }
  AcArray(AcArray&& other) noexcept { swap(other); }
  AcArray& operator=(const AcArray& other) {
    if (this != &other) {
      mLogicalLen = 0;
      copyFrom(other);
    }
    return *this;
  }
  AcArray& operator=(AcArray&& other) noexcept {
    swap(other);
    return *this;
  }
  ~AcArray() = default;

  bool operator==(const AcArray& other) const {
    return mLogicalLen == other.mLogicalLen && std::equal(begin(), end(), other.begin());
  }

  T& operator[](int i) {
    assert(i >= 0 && i < mLogicalLen);
    return mpArray[i];
  }
  const T& operator[](int i) const {
    assert(i >= 0 && i < mLogicalLen);
    return mpArray[i];
  }
  T& at(int i) { return (*this)[i]; }
  const T& at(int i) const { return (*this)[i]; }
  T& first() { return (*this)[0]; }
  const T& first() const { return (*this)[0]; }
  T& last() { return (*this)[mLogicalLen - 1]; }
  const T& last() const { return (*this)[mLogicalLen - 1]; }

  AcArray& setAt(int i, const T& value) {
    if (i >= 0 && i < mLogicalLen) mpArray[i] = value;
    return *this;
  }

  int append(const T& value) {
    if (mLogicalLen >= mPhysicalLen) {
      T copy(value);  // value may live inside this array
      grow();
      mpArray[mLogicalLen] = std::move(copy);
    } else {
      mpArray[mLogicalLen] = value;
    }
    return mLogicalLen++;
  }
  AcArray& append(const AcArray& other) {
    AcArray copy(other);
    for (const T& v : copy) append(v);
    return *this;
  }
  AcArray& insertAt(int index, const T& value) {
    if (index < 0 || index > mLogicalLen) return *this;
    T copy(value);
    if (mLogicalLen >= mPhysicalLen) grow();
    std::move_backward(mpArray.get() + index, mpArray.get() + mLogicalLen,
                       mpArray.get() + mLogicalLen + 1);
    mpArray[index] = std::move(copy);
    ++mLogicalLen;
    return *this;
  }
  AcArray& removeAt(int index) {
    if (index < 0 || index >= mLogicalLen) return *this;
    std::move(mpArray.get() + index + 1, mpArray.get() + mLogicalLen, mpArray.get() + index);
    --mLogicalLen;
    mpArray[mLogicalLen] = T();
    return *this;
  }
  bool remove(const T& value, int start = 0) {
    int i = findFrom(value, start);
    if (i < 0) return false;
    removeAt(i);
    return true;
  }
  AcArray& removeFirst() { return removeAt(0); }
  AcArray& removeLast() { return removeAt(mLogicalLen - 1); }
  AcArray& removeAll() { return setLogicalLength(0); }
  AcArray& setAll(const T& value) {
    std::fill(begin(), end(), value);
    return *this;
  }
  AcArray& reverse() {
    std::reverse(begin(), end());
    return *this;
  }

  bool contains(const T& value, int start = 0) const { return findFrom(value, start) >= 0; }
  bool find(const T& value, int& foundAt, int start = 0) const {
    int i = findFrom(value, start);
    if (i < 0) return false;
    foundAt = i;
    return true;
  }
  int find(const T& value) const { return findFrom(value, 0); }
  int findFrom(const T& value, int start) const {
    for (int i = std::max(start, 0); i < mLogicalLen; ++i) {
      if (mpArray[i] == value) return i;
    }
    return -1;
  }

  int length() const { return mLogicalLen; }
  int logicalLength() const { return mLogicalLen; }
  int physicalLength() const { return mPhysicalLen; }
  int growLength() const { return mGrowLen; }
  bool isEmpty() const { return mLogicalLen == 0; }

  // Grows the storage when needed; new elements are value-initialised. Elements past the
  // logical length are never read, so growing the capacity leaves them as they come.
  AcArray& setLogicalLength(int n) {
    n = std::max(n, 0);
    if (n > mPhysicalLen) setPhysicalLength(n);
    if (n > mLogicalLen) {
      std::fill(mpArray.get() + mLogicalLen, mpArray.get() + n, T());
    } else if constexpr (!kReallocates) {
      for (int i = n; i < mLogicalLen; ++i) mpArray[i] = T();  // release what they hold now
    }
    mLogicalLen = n;
    return *this;
  }
  // Not in the platform's array: raises the logical length by n within the current capacity
  // WITHOUT initialising the new elements, and returns the first of them; the caller writes
  // them at once. For plain types only (the memory filer's append path). Null when the capacity
  // is too small.
  T* extendUninitialized(int n) {
    static_assert(kReallocates, "only plain values may be left uninitialised");
    if (n < 0 || n > mPhysicalLen - mLogicalLen) return nullptr;
    T* first = mpArray.get() + mLogicalLen;
    mLogicalLen += n;
    return first;
  }
  // Reallocates to exactly n elements; a smaller n also shortens the logical length.
  AcArray& setPhysicalLength(int n) {
    n = std::max(n, 0);
    if (n == mPhysicalLen) return *this;
    if constexpr (kReallocates) return reallocate(n);
    Storage fresh(n > 0 ? new T[n]() : nullptr);
    int keep = std::min(mLogicalLen, n);
    moveElements(fresh.get(), keep);
    mpArray = std::move(fresh);
    mPhysicalLen = n;
    mLogicalLen = keep;
    return *this;
  }
  // Not in the platform's array: the growth rule, for code that grows the storage itself (the
  // memory filer): an array of `length` elements that is full grows by the larger of the grow
  // length and the smaller of `length` and 64 KiB worth of elements.
  int growthStep(int length) const {
    const int threshold = std::max(ACARRAY_GROWTH_THRESHOLD / static_cast<int>(sizeof(T)), 1);
    return std::max(std::min(length, threshold), mGrowLen);
  }
  AcArray& setGrowLength(int n) {
    if (n > 0) mGrowLen = n;
    return *this;
  }

  T* asArrayPtr() { return mpArray.get(); }
  const T* asArrayPtr() const { return mpArray.get(); }
  T* begin() { return mpArray.get(); }
  T* end() { return mpArray.get() + mLogicalLen; }
  const T* begin() const { return mpArray.get(); }
  const T* end() const { return mpArray.get() + mLogicalLen; }

  void swap(AcArray& other) noexcept {
    std::swap(mpArray, other.mpArray);
    std::swap(mPhysicalLen, other.mPhysicalLen);
    std::swap(mLogicalLen, other.mLogicalLen);
    std::swap(mGrowLen, other.mGrowLen);
  }

 private:
  // Plain bytes and values live in malloc storage, so that growing a large array (the memory
  // filer's 100 KiB steps) is a realloc that the C library can often do without copying.
  static constexpr bool kReallocates =
      std::is_trivially_copyable_v<T> && std::is_trivially_default_constructible_v<T>;
  struct Deleter {
    void operator()(T* p) const {
      if constexpr (kReallocates) {
        std::free(p);
      } else {
        delete[] p;
      }
    }
  };
  using Storage = std::unique_ptr<T[], Deleter>;

  AcArray& reallocate(int n) {
    if (n == 0) {
      mpArray.reset();
    } else {
      void* p = std::realloc(mpArray.get(), sizeof(T) * static_cast<size_t>(n));
      if (p == nullptr) throw std::bad_alloc();
      mpArray.release();
      mpArray.reset(static_cast<T*>(p));
    }
    mPhysicalLen = n;
    mLogicalLen = std::min(mLogicalLen, n);
    return *this;
  }
  void grow() { setPhysicalLength(mLogicalLen + growthStep(mLogicalLen)); }
  void moveElements(T* to, int count) {
    if (count <= 0) return;
    if constexpr (std::is_trivially_copyable_v<T>) {
      std::memcpy(static_cast<void*>(to), mpArray.get(), sizeof(T) * count);
    } else {
      std::move(mpArray.get(), mpArray.get() + count, to);
    }
  }
  void copyFrom(const AcArray& other) {
    if (mPhysicalLen < other.mPhysicalLen) setPhysicalLength(other.mPhysicalLen);
    std::copy(other.begin(), other.end(), mpArray.get());
    mLogicalLen = other.mLogicalLen;
  }

  Storage mpArray;
  int mPhysicalLen = 0;
  int mLogicalLen = 0;
  int mGrowLen = 8;
};

using AcGeIntArray = AcArray<int>;
using AcGeDoubleArray = AcArray<double>;
using AcDbIntArray = AcArray<int>;
using AcDbVoidPtrArray = AcArray<void*>;

#endif  // KW_HOST_API_ARRAY_H_
