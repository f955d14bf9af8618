// See glpdmp.h. Records are cut off the front block one after the other; what is left of a block
// when the next record does not fit is given up, at most half of it.
#include "glpdmp.h"

#include "glplib.h"

#include <new>

namespace {

constexpr std::size_t block_capacity = 2 * dmp_max_atom;

} // namespace

struct DMPBLOCK {
  DMPBLOCK* next;
  alignas(std::max_align_t) unsigned char data[block_capacity];
};

DMP* glp_dmp_create_pool(int size) {
  insist(size == 0);
  // A pool without a block looks like one whose block is used up.
  return new (glp_lib_umalloc(sizeof(DMP))) DMP{nullptr, block_capacity};
}

void* glp_dmp_get_atomv(DMP* pool, std::size_t size) {
  insist(size > 0 && size <= dmp_max_atom);
  constexpr std::size_t alignment = alignof(std::max_align_t);
  static_assert(dmp_max_atom % alignment == 0);
  const std::size_t room = (size + alignment - 1) / alignment * alignment;
  if (block_capacity - pool->used < room) {
    DMPBLOCK* const block = new (glp_lib_umalloc(sizeof(DMPBLOCK))) DMPBLOCK;
    block->next = pool->blocks;
    pool->blocks = block;
    pool->used = 0;
  }
  void* const atom = pool->blocks->data + pool->used;
  pool->used += room;
  return atom;
}

void glp_dmp_delete_pool(DMP* pool) {
  while (pool->blocks != nullptr) {
    DMPBLOCK* const block = pool->blocks;
    pool->blocks = block->next;
    glp_lib_ufree(block);
  }
  glp_lib_ufree(pool);
}
