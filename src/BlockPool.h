/// \file
/// Memory for the many small records of a solver.
#ifndef QUILLON_BLOCK_POOL_H
#define QUILLON_BLOCK_POOL_H

#include "Global.h"

namespace quillon {

/// Hands out blocks cut one after the other from large chunks, so that records made together lie
/// together and no header stands between them. A block given back waits for the next request of its
/// size. Large blocks come from the C library.
class BlockPool {
  static constexpr size_t unit = 8; ///< sizes are rounded up to multiples; the alignment, too
  /// A constraint of a hundred terms. From 128 to 4096 it made no difference to time or memory.
  static constexpr size_t largest = 1024;
  /// Small enough that the C library takes what the reader has given back. Blocks of 8 kB took 1 %
  /// more memory, those of 32 kB to 1 MB the same.
  static constexpr size_t chunk_size = 65536;

  struct Free {
    Free* next;
  };
  Free* waiting[largest / unit + 1] = {}; ///< by number of units
  vec<char*> chunks;
  char* next = nullptr; ///< what is left of the last chunk
  size_t left = 0;

  static size_t units(size_t bytes) { return (bytes + unit - 1) / unit; }

  /// Whether each block comes from the C library, so that AddressSanitizer sees its bounds. How the
  /// library was built decides, for blocks pass between it and what includes this.
  static constexpr bool for_sanitizer =
#ifdef QUILLON_SANITIZE
      true;
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

} // namespace quillon

#endif
