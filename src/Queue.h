/// \file
/// A first-in first-out queue that keeps what was taken out until it is cleared.
#ifndef QUILLON_QUEUE_H
#define QUILLON_QUEUE_H

#include "Global.h"

template <class T> class Queue {
  vec<T> elems;  ///< everything inserted since the last `clear`
  int first = 0; ///< position in `elems` of the next element to take out

 public:
  /// Makes room for `size` elements between two calls of `clear`.
  void reserve(int size) { elems.reserve(size); }
  void insert(const T& x) { elems.push(x); }
  /// Takes the oldest pending element out; there must be one.
  T dequeue() {
    assert(size() > 0);
    return elems[first++];
  }
  /// The oldest pending element; there must be one.
  const T& head() const { return elems[first]; }
  /// Number of pending elements.
  int size() const { return elems.size() - first; }
  /// Drops all elements; the storage stays.
  void clear() {
    elems.clear();
    first = 0;
  }
  /// The memory it takes.
  // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
  size_t bytes() const { return sizeof(T) * static_cast<size_t>(elems.capacity()); }
  /// Whether `x` is pending; linear.
  bool has(const T& x) const {
    for (int i = first; i < elems.size(); i++)
      if (elems[i] == x) return true;
    return false;
  }
};

#endif
