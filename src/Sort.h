/// \file
/// Sorting whose result is the same everywhere: a quicksort with its own random pivots (C. A. R.
/// Hoare, Quicksort, 1962) over a selection sort. Not stable, but fully determined by the input
/// order, which a standard library's sort is not.
#ifndef QUILLON_SORT_H
#define QUILLON_SORT_H

#include "Global.h"
#include "Partitions.h"

#include <bit>

template <class T> struct LessThan_default {
  bool operator()(const T& a, const T& b) const { return a < b; }
};

/// Sorts by repeatedly taking the first of the least remaining elements; quadratic.
template <class T, class LessThan> void selectionSort(T* array, int size, LessThan lt) {
  for (int i = 0; i < size - 1; i++) {
    int best = i;
    for (int j = i + 1; j < size; j++)
      if (lt(array[j], array[best])) best = j;
    std::swap(array[i], array[best]);
  }
}

/// Arrays up to this size are sorted by selection. It decides how ties end, and so does not change.
constexpr int selection_sort_limit = 15;

/// Sorts `array` by `lt`, drawing the pivots with `seed` (see `drand`). The parts of a partition
/// are sorted left before right where both draw from the seed. Parts that wait are kept in a list,
/// not on the call stack, so no input can exhaust that.
template <class T, class LessThan> void sort(T* array, int size, LessThan lt, double& seed) {
  struct Part {
    int first;
    int size;
  };
  // The most seen was 1.8 times the logarithm, in some millions of random orders of 16 to a million
  // elements, most of them of less than a hundred; the mean comes near 1.2.
  const int64 allowance = int64{4} * size * std::bit_width(static_cast<unsigned>(size));
  quillon::Partitions<T, LessThan> partitions(array, size, lt, allowance);
  vec<Part> waiting;
  for (Part part{0, size};;) {
    if (part.size <= selection_sort_limit) {
      selectionSort(array + part.first, part.size, lt);
      if (waiting.size() == 0) return;
      part = waiting.last();
      waiting.pop();
      continue;
    }
    const int left = partitions.cut(part.first, part.size, irand(seed, part.size));
    const Part right{part.first + left, part.size - left};
    if (right.size > selection_sort_limit) {
      waiting.push(right);
    } else {
      selectionSort(array + right.first, right.size, lt);
    }
    part.size = left;
  }
}

template <class T, class LessThan> void sort(T* array, int size, LessThan lt) {
  double seed = 91648253.0;
  sort(array, size, lt, seed);
}

template <class T> void sort(T* array, int size) {
  sort(array, size, LessThan_default<T>());
}

template <class T, class LessThan> void sort(vec<T>& v, LessThan lt) {
  sort(static_cast<T*>(v), v.size(), lt);
}

/// Sorts and drops every element equal to its predecessor; `size` receives the number left.
template <class T, class LessThan> void sortUnique(T* array, int& size, LessThan lt) {
  if (size == 0) return;
  sort(array, size, lt);
  int kept = 1;
  for (int i = 1; i < size; i++)
    if (lt(array[kept - 1], array[i])) array[kept++] = array[i];
  size = kept;
}

template <class T, class LessThan> void sortUnique(vec<T>& v, LessThan lt) {
  int size = v.size();
  sortUnique(static_cast<T*>(v), size, lt);
  v.shrink(v.size() - size);
}

template <class T> void sortUnique(vec<T>& v) {
  sortUnique(v, LessThan_default<T>());
}

#endif
