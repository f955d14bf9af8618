/// \file
/// Memory for the many small records of a solver, and the watch lists that take it from there.
#ifndef QUILLON_BLOCK_POOL_H
#define QUILLON_BLOCK_POOL_H

#include "Global.h"

#include <algorithm>
#include <type_traits>

/// Hands out blocks cut one after the other from large chunks, so that records made together lie
/// together and no header stands between them. A block given back waits for the next request of its
/// size. Large blocks come from the C library.
class BlockPool {
  static constexpr size_t unit = 8; ///< sizes are rounded up to multiples; the alignment, too
  static constexpr size_t largest = 1024;
  /// Small enough that the C library takes what the reader has given back.
  static constexpr size_t chunk_size = 65536;

  struct Free {
    Free* next;
  };
  Free* waiting[largest / unit + 1] = {}; ///< by number of units
  vec<char*> chunks;
  char* next = nullptr; ///< what is left of the last chunk
  size_t left = 0;

  static size_t units(size_t bytes) { return (bytes + unit - 1) / unit; }

  /// Whether each block comes from the C library, so that AddressSanitizer sees its bounds.
  static constexpr bool for_sanitizer =
#if defined(__SANITIZE_ADDRESS__)
      true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
      true;
#else
      false;
#endif
#else
      false;
#endif
  static bool isSmall(size_t bytes) {
    return bytes <= largest && !for_sanitizer;
  }

  void addChunk() {
    if (left > 0) put(next, left / unit);
    next = xmalloc<char>(chunk_size);
    left = chunk_size;
    chunks.push(next);
  }
  void put(void* block, size_t n) {
    waiting[n] = new (block) Free{waiting[n]};
  }

 public:
  BlockPool() = default;
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  /// Frees all chunks; large blocks must have been given back.
  ~BlockPool() {
    for (int i = 0; i < chunks.size(); i++) xfree(chunks[i]);
  }

  /// A block of at least `bytes`, uninitialised, aligned for pointers and 64-bit integers. Does not
  /// return when there is no memory.
  void* take(size_t bytes) {
    if (!isSmall(bytes)) return xmalloc<char>(bytes);
    const size_t n = units(bytes);
    if (Free* const block = waiting[n]) {
      waiting[n] = block->next;
      return block;
    }
    if (left < n * unit) addChunk();
    char* const block = next;
    next += n * unit;
    left -= n * unit;
    return block;
  }

  /// Gives a block back that was taken with the same `bytes`.
  void give(void* block, size_t bytes) {
    if (isSmall(bytes)) {
      put(block, units(bytes));
    } else {
      std::free(block);
    }
  }
};

/// A list in the memory of a pool, to which it is small: one for each literal, mostly short.
/// Elements are relocated bitwise when it grows.
template <class T> class WatchList {
  static_assert(std::is_trivially_copyable_v<T>);
  T* data = nullptr;
  int sz = 0;
  int cap = 0;

  /// Only small lists lie in the pool, whose blocks never become one again: a list that grows
  /// leaves blocks of all sizes behind.
  static constexpr size_t largest_in_pool = 64;

  // NOLINTNEXTLINE(bugprone-sizeof-expression): the elements may be pointers
  static size_t bytes(int n) { return sizeof(T) * static_cast<size_t>(n); }
  static T* take(BlockPool& pool, int n) {
    void* const block = bytes(n) <= largest_in_pool ? pool.take(bytes(n)) : xmalloc<char>(bytes(n));
    return static_cast<T*>(block);
  }
  void give(BlockPool& pool) {
    if (bytes(cap) > largest_in_pool) {
      std::free(data);
    } else if (data != nullptr) {
      pool.give(data, bytes(cap));
    }
  }
  [[gnu::noinline]] void grow(BlockPool& pool) { // rare: not within the loops that push
    if (cap > INT_MAX / 2) outOfMemory();        // positions are ints
    const int wanted = cap + max(1, cap / 2);
    T* const larger = take(pool, wanted);
    for (int i = 0; i < sz; i++) new (larger + i) T(data[i]);
    give(pool);
    data = larger;
    cap = wanted;
  }

 public:
  int size() const { return sz; }
  /// The memory the elements take.
  size_t bytes() const { return bytes(sz); }
  T* begin() { return data; }
  const T* begin() const { return data; }
  T& operator[](int i) {
    assert(i >= 0 && i < sz);
    return data[i];
  }
  const T& operator[](int i) const {
    assert(i >= 0 && i < sz);
    return data[i];
  }
  T& last() { return (*this)[sz - 1]; }
  /// Appends a copy of `elem`, which must not lie in this list.
  void push(BlockPool& pool, const T& elem) {
    if (sz == cap) grow(pool);
    new (data + sz++) T(elem);
  }
  /// Removes the last `n` elements, of which there must be as many.
  void shrink(int n) {
    assert(n >= 0 && n <= sz);
    sz -= n;
  }
  /// Removes the elements for which `matches` holds; the others keep their order.
  template <class Matches> void removeIf(Matches matches) {
    sz = static_cast<int>(std::remove_if(data, data + sz, matches) - data);
  }
  /// Drops all elements; the storage stays.
  void clear() { sz = 0; }
  /// Drops all elements and gives the storage back to the pool.
  void release(BlockPool& pool) {
    give(pool);
    data = nullptr;
    sz = cap = 0;
  }
};

#endif
