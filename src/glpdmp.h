/// \file
/// A pool of records that live and die together. A problem consists of millions of small records;
/// taking them from large blocks saves the allocator's overhead on each, and releasing the problem
/// costs one step per block.
#ifndef QUILLON_GLPDMP_H
#define QUILLON_GLPDMP_H

#include <cstddef>

struct DMPBLOCK;

/// A pool. Its fields are its own business.
struct DMP {
  DMPBLOCK* blocks; ///< all blocks, the one in use first
  std::size_t used; ///< bytes handed out from the block in use
};

/// The largest record a pool can hand out, in bytes.
constexpr std::size_t dmp_max_atom = 32768;

/// A new, empty pool. `size` is 0: records of varying size, which is the only kind of pool there
/// is. Does not return when memory is exhausted.
DMP* glp_dmp_create_pool(int size);

/// Storage for one record of `size` bytes, 1 to `dmp_max_atom`: uninitialised, aligned for any
/// type, valid until the pool is deleted. Amortised constant time. Does not return when memory is
/// exhausted.
void* glp_dmp_get_atomv(DMP* pool, std::size_t size);

/// Releases every record of the pool and the pool.
void glp_dmp_delete_pool(DMP* pool);

#endif
