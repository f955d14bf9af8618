/// \file
/// What a quicksort does again and again, and how it is kept from taking quadratic time without
/// changing what it does.
#ifndef QUILLON_PARTITIONS_H
#define QUILLON_PARTITIONS_H

#include "Global.h"

#include <algorithm>

namespace quillon {

/// The partitions of a quicksort. They go through the array, until an order that defeats the pivots
/// has made them go too far; then an index finds the elements to be swapped. Either way the same
/// ones are. A partition swaps at most as many as its smaller part holds, and an element is in the
/// smaller part a logarithmic number of times: with the index, n elements take O(n log^2 n) time in
/// all, whatever their order.
template <class T, class LessThan> class Partitions {
  /// Elements are compared by their ranks; equal ones have the same.
  struct Ranks {
    int least;
    int largest;
    bool operator==(const Ranks&) const = default;
  };
  T* const array;
  const int size;
  const LessThan lt;
  /// How many elements partitions may still pass without the index.
  int64 allowance;
  /// The index: a binary tree, the children of node i being 2 * i and 2 * i + 1, with a leaf for
  /// each place. Those of parts that are done with are not kept up.
  Ranks* tree = nullptr;
  size_t leaves = 1;

  [[gnu::noinline]] void buildIndex() {
    vec<int> order;
    for (int i = 0; i < size; i++) order.push(i);
    int* const places = static_cast<int*>(order);
    std::sort(places, places + size, [this](int a, int b) { return lt(array[a], array[b]); });
    while (leaves < static_cast<size_t>(size)) leaves *= 2;
    tree = xmalloc<Ranks>(2 * leaves);
    for (size_t node = 0; node < 2 * leaves; node++) tree[node] = Ranks{INT_MAX, -1};
    for (int i = 0, rank = 0; i < size; i++) {
      if (i > 0 && lt(array[places[i - 1]], array[places[i]])) rank++;
      tree[leaves + static_cast<size_t>(places[i])] = Ranks{rank, rank};
    }
    for (size_t node = leaves - 1; node > 0; node--) tree[node] = below(node);
  }
  /// What holds of a node by its children.
  Ranks below(size_t node) const {
    return Ranks{std::min(tree[2 * node].least, tree[2 * node + 1].least),
                 std::max(tree[2 * node].largest, tree[2 * node + 1].largest)};
  }
  Ranks& leaf(int place) { return tree[leaves + static_cast<size_t>(place)]; }
  int placeOf(size_t node) const { return static_cast<int>(node - leaves); }
  /// Brings the nodes above a leaf up to date.
  void follow(int changed) {
    for (size_t node = (leaves + static_cast<size_t>(changed)) / 2; node > 0; node /= 2) {
      const Ranks ranks = below(node);
      if (ranks == tree[node]) return;
      tree[node] = ranks;
    }
  }
  /// The first place behind `i` with at least this rank; the part holds one.
  int firstBehind(int i, int rank) const {
    size_t node = leaves + static_cast<size_t>(i) + 1;
    while (tree[node].largest < rank)
      for (node++; node % 2 == 0;) node /= 2;
    while (node < leaves) {
      node *= 2;
      if (tree[node].largest < rank) node++;
    }
    return placeOf(node);
  }
  /// The last place before `j` with at most this rank; the part holds one.
  int lastBefore(int j, int rank) const {
    size_t node = leaves + static_cast<size_t>(j) - 1;
    while (tree[node].least > rank)
      for (node--; node % 2 != 0;) node /= 2;
    while (node < leaves) {
      node = 2 * node + 1;
      if (tree[node].least > rank) node--;
    }
    return placeOf(node);
  }
  [[gnu::noinline]] int cutByIndex(int first, int n, int at) {
    const int pivot = leaf(first + at).least;
    int i = first - 1;
    int j = first + n;
    for (;;) {
      i = firstBehind(i, pivot);
      j = lastBefore(j, pivot);
      if (i >= j) return i - first;
      std::swap(array[i], array[j]);
      std::swap(leaf(i), leaf(j));
      follow(i);
      follow(j);
    }
  }

 public:
  /// For `n` elements. Partitions of these may pass `steps` without the index.
  Partitions(T* elements, int n, LessThan less_than, int64 steps)
      : array(elements), size(n), lt(less_than), allowance(steps) {}
  ~Partitions() { xfree(tree); }
  Partitions(const Partitions&) = delete;
  Partitions& operator=(const Partitions&) = delete;

  /// Parts the `n` elements from place `first` on around the one at `at` among them: none before it
  /// goes to the right, none behind it to the left. Returns the number on the left.
  int cut(int first, int n, int at) {
    allowance -= n;
    if (allowance < 0) {
      if (tree == nullptr) buildIndex();
      return cutByIndex(first, n, at);
    }
    T* const part = array + first;
    const T pivot = part[at];
    int i = -1;
    int j = n;
    for (;;) {
      do i++;
      while (lt(part[i], pivot));
      do j--;
      while (lt(pivot, part[j]));
      if (i >= j) return i;
      std::swap(part[i], part[j]);
    }
  }
};

} // namespace quillon

#endif
