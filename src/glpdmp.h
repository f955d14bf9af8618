/// \file
/// A pool of records that live and die together. A problem consists of millions of small records;
/// taking them from large blocks saves the allocator's overhead on each, and releasing the problem
/// costs one step per block.
#ifndef QUILLON_GLPDMP_H
#define QUILLON_GLPDMP_H

#include "glplib.h"

#include <cstddef>

struct DMPBLOCK;

/// A pool. Its fields are its own business.
struct DMP {
  DMPBLOCK* oldest;    ///< the blocks in the order in which they were filled
  DMPBLOCK* newest;    ///< the one in use
  unsigned char* free; ///< the next record's place in the block in use
  std::size_t left;    ///< bytes behind it
};

/// The largest record a pool can hand out, in bytes.
constexpr std::size_t dmp_max_atom = 32768;

/// Where records begin: enough for pointers and integers, and no gap between records of them.
constexpr std::size_t dmp_alignment = alignof(void*);

/// A new, empty pool. `size` is 0: records of varying size, which is the only kind of pool there
/// is. Does not return when memory is exhausted.
DMP* glp_dmp_create_pool(int size);

/// Puts a fresh block in use. For `glp_dmp_get_atomv` only.
void glp_dmp_add_block(DMP* pool);

/// Storage for one record of `size` bytes, 1 to `dmp_max_atom`: uninitialised, at a multiple of
/// `dmp_alignment`, valid until it is released. Amortised constant time. Does not return when
/// memory is exhausted.
inline void* glp_dmp_get_atomv(DMP* pool, std::size_t size) {
  insist(size > 0 && size <= dmp_max_atom);
  static_assert(dmp_max_atom % dmp_alignment == 0);
  const std::size_t room = (size + dmp_alignment - 1) / dmp_alignment * dmp_alignment;
  if (pool->left < room) glp_dmp_add_block(pool);
  void* const atom = pool->free;
  pool->free += room;
  pool->left -= room;
  return atom;
}

/// Releases records that were handed out before `atom`, though not all that share a block with it.
/// Amortised constant time if `atom` is later in each call.
void glp_dmp_release_before(DMP* pool, const void* atom);

/// Releases every record of the pool and the pool.
void glp_dmp_delete_pool(DMP* pool);

#endif
