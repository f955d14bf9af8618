/// \file
/// What every other file of the engine stands on: memory, random numbers, the growable array and
/// the three-valued truth value.
#ifndef QUILLON_GLOBAL_H
#define QUILLON_GLOBAL_H

#include <cassert>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

using int64 = std::int64_t;

// ------------------------------------------------------------------------------------------------
// Memory

namespace quillon {

/// Ends the process because an allocation failed, as a failing `new` would.
[[noreturn]] inline void outOfMemory() {
  if (const std::new_handler handler = std::get_new_handler()) handler();
  std::fputs("memory exhausted\n", stderr);
  std::abort();
}

} // namespace quillon

/// Room for `size` elements of T, which are left uninitialised. Does not return when there is none.
template <class T> inline T* xmalloc(size_t size) {
  // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer, in an array of pointers
  T* tmp = static_cast<T*>(std::malloc(size * sizeof(T)));
  if (size != 0 && tmp == nullptr) quillon::outOfMemory();
  return tmp;
}

/// `ptr` resized to `size` elements of T, relocated bitwise if need be. Does not return on failure.
template <class T> inline T* xrealloc(T* ptr, size_t size) {
  // NOLINTNEXTLINE(bugprone-sizeof-expression): as above
  T* tmp = static_cast<T*>(std::realloc(static_cast<void*>(ptr), size * sizeof(T)));
  if (size != 0 && tmp == nullptr) quillon::outOfMemory();
  return tmp;
}

/// Frees what `xmalloc` or `xrealloc` returned; a null pointer is fine.
template <class T> inline void xfree(T* ptr) {
  if (ptr != nullptr) std::free(static_cast<void*>(ptr));
}

template <class T> inline T max(T a, T b) {
  return a > b ? a : b;
}

// ------------------------------------------------------------------------------------------------
// Random numbers: a multiplicative congruential generator modulo 2^31 - 1. The state is a positive
// integer held in a double, where all intermediate results are exact.

/// The next number in [0, 1); advances `seed`.
inline double drand(double& seed) {
  seed *= 1389796;
  const int q = static_cast<int>(seed / 2147483647);
  seed -= static_cast<double>(q) * 2147483647;
  return seed / 2147483647;
}

/// The next integer in [0, size); advances `seed`.
inline int irand(double& seed, int size) {
  return static_cast<int>(drand(seed) * size);
}

// ------------------------------------------------------------------------------------------------
// The growable array

/// A growable array over storage from `malloc`. Elements are relocated bitwise when it grows, so
/// every element type must tolerate that (`vec` itself does). Access is checked by assertions only.
/// An array is never copied as a whole: contents move through `copyTo`, `moveTo` and `release`
/// only.
template <class T> class vec {
  T* data = nullptr;
  int sz = 0;
  int cap = 0;

  /// Makes room for `min_cap` elements, growing geometrically.
  void grow(int min_cap) {
    if (min_cap <= cap) return;
    int64 wanted = cap;
    if (wanted == 0) {
      wanted = min_cap >= 16 ? min_cap : 16;
    } else {
      do wanted = wanted * 2 + 16;
      while (wanted < min_cap);
    }
    if (wanted > INT_MAX) quillon::outOfMemory(); // positions are ints
    resize(static_cast<int>(wanted));
  }
  void resize(int new_cap) {
    cap = new_cap;
    data = xrealloc(data, static_cast<size_t>(cap));
  }

 public:
  vec() = default;
  vec(int size, const T& pad) { growTo(size, pad); }
  /// Adopts `array`, which came from `malloc` and holds `size` elements.
  vec(T* array, int size) : data(array), sz(size), cap(size) {}
  ~vec() { clear(true); }
  vec(const vec&) = delete;
  vec& operator=(const vec&) = delete;

  /// Hands the storage to the caller and leaves the array empty.
  T* release() {
    T* result = data;
    data = nullptr;
    sz = cap = 0;
    return result;
  }
  explicit operator T*() { return data; }
  explicit operator const T*() const { return data; }

  int size() const { return sz; }
  int capacity() const { return cap; }
  /// Makes room for `size` elements, and no more than that.
  void reserve(int size) {
    if (size > cap) resize(size);
  }
  /// The memory the elements take.
  // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
  size_t bytes() const { return sizeof(T) * static_cast<size_t>(sz); }
  /// Removes the last `nelems` elements, of which there must be as many.
  void shrink(int nelems) {
    assert(nelems <= sz);
    for (int i = 0; i < nelems; i++) data[--sz].~T();
  }
  void pop() {
    assert(sz > 0);
    data[--sz].~T();
  }
  void push() {
    if (sz == cap) grow(sz + 1);
    new (&data[sz++]) T();
  }
  /// Appends a copy of `elem`, which must not lie in this array.
  void push(const T& elem) {
    if (sz == cap) grow(sz + 1);
    new (&data[sz++]) T(elem);
  }
  /// Room for `nelems` more elements behind the last one, to be written there and taken in with
  /// `pushedUpTo`; saves looking at the capacity for each. For element types without destructor.
  T* room(int nelems) {
    if (cap - sz < nelems) grow(sz + nelems);
    return data + sz;
  }
  /// Takes in what lies before `end`, which comes from `room`.
  void pushedUpTo(const T* end) { sz = static_cast<int>(end - data); }
  T& last() { return (*this)[sz - 1]; }
  const T& last() const { return (*this)[sz - 1]; }
  T& operator[](int i) {
    assert(data != nullptr && i >= 0 && i < sz);
    return data[i];
  }
  const T& operator[](int i) const {
    assert(data != nullptr && i >= 0 && i < sz);
    return data[i];
  }

  void copyTo(vec& copy) const {
    copy.clear();
    copy.growTo(sz);
    for (int i = 0; i < sz; i++) copy.data[i] = data[i];
  }
  /// Hands all contents to `dest`, whose own are destroyed first; constant time.
  void moveTo(vec& dest) {
    dest.clear(true);
    dest.data = data;
    dest.sz = sz;
    dest.cap = cap;
    release();
  }
  /// Appends default-constructed elements until there are `size`; never shrinks.
  void growTo(int size) {
    if (sz >= size) return;
    grow(size);
    while (sz < size) new (&data[sz++]) T();
  }
  /// Appends copies of `pad` until there are `size` elements; never shrinks.
  void growTo(int size, const T& pad) {
    if (sz >= size) return;
    grow(size);
    while (sz < size) new (&data[sz++]) T(pad);
  }
  /// Destroys all elements; with `dealloc` the storage goes, too.
  void clear(bool dealloc = false) {
    if (data == nullptr) return;
    for (int i = 0; i < sz; i++) data[i].~T();
    sz = 0;
    if (dealloc) {
      xfree(data);
      data = nullptr;
      cap = 0;
    }
  }
};

// ------------------------------------------------------------------------------------------------
// The three-valued truth value

class lbool {
  int value = 0; ///< 1 true, -1 false, 0 undefined
  explicit constexpr lbool(int v) : value(v) {}

 public:
  constexpr lbool() = default;
  explicit constexpr lbool(bool b) : value(2 * b - 1) {}

  constexpr bool operator==(lbool other) const { return value == other.value; }
  constexpr bool operator!=(lbool other) const { return value != other.value; }
  constexpr lbool operator~() const { return lbool(-value); }

  friend constexpr int toInt(lbool l) { return l.value; }
  friend constexpr lbool toLbool(int v);
};

constexpr lbool toLbool(int v) {
  return lbool(v);
}

constexpr lbool l_True = toLbool(1);
constexpr lbool l_False = toLbool(-1);
constexpr lbool l_Undef = toLbool(0);

#endif
