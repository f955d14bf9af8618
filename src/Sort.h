/// \file
/// Sorting whose result is the same everywhere: a quicksort with its own random pivots (C. A. R.
/// Hoare, Quicksort, 1962) over a selection sort. Not stable, but fully determined by the input
/// order, which a standard library's sort is not.
#ifndef QUILLON_SORT_H
#define QUILLON_SORT_H

#include "Global.h"

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

/// Arrays up to this size are sorted by selection.
constexpr int selection_sort_limit = 15;

/// Sorts `array` by `lt`, drawing the pivots with `seed` (see `drand`). The parts of a partition
/// are sorted left before right where both draw from the seed. Parts that wait are kept in a list,
/// not on the call stack, so no input can exhaust that.
template <class T, class LessThan> void sort(T* array, int size, LessThan lt, double& seed) {
  struct Part {
    T* start;
    int size;
  };
  vec<Part> waiting;
  for (;;) {
    if (size <= selection_sort_limit) {
      selectionSort(array, size, lt);
      if (waiting.size() == 0) return;
      array = waiting.last().start;
      size = waiting.last().size;
      waiting.pop();
      continue;
    }
    const T pivot = array[irand(seed, size)];
    int i = -1;
    int j = size;
    for (;;) {
      do i++;
      while (lt(array[i], pivot));
      do j--;
      while (lt(pivot, array[j]));
      if (i >= j) break;
      std::swap(array[i], array[j]);
    }
    if (size - i > selection_sort_limit) {
      waiting.push(Part{array + i, size - i});
    } else {
      selectionSort(array + i, size - i, lt);
    }
    size = i;
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
