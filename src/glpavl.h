/// \file
/// The index by which the reader finds a row or a column by its name: a hash table, so that a
/// look-up takes constant time however many names there are, over height-balanced binary search
/// trees (G. M. Adelson-Velsky and E. M. Landis, 1962), so that no choice of names makes it slow.
#ifndef QUILLON_GLPAVL_H
#define QUILLON_GLPAVL_H

#include "glpdmp.h"

#include <cstdint>

/// A node of a tree: one record. Keys are ordered by hash, those of one hash by comparison.
struct AVLNODE {
  void* record; ///< begins with its key
  std::uint32_t hash;
  int balance;       ///< height of the right subtree minus that of the left one: -1, 0 or 1
  AVLNODE* child[2]; ///< left: keys not above this one's; right: keys not below it
  AVLNODE* older;    ///< the node made before this one
};

/// An index. Records belong to the caller; the nodes come from a pool of the index.
struct AVLTREE {
  DMP* pool;
  int (*compare)(const void*, const void*); ///< below, equal to or above 0, as strcmp
  AVLNODE** roots;                          ///< a tree for each value of a hash's low bits
  std::uint32_t slots;                      ///< length of `roots`, a power of 2
  std::uint32_t size;                       ///< number of nodes
  AVLNODE* newest;
};

/// Compares two keys that are zero-terminated texts, as strcmp does.
int glp_avl_strcmp(const void* key1, const void* key2);

/// A new, empty index. Keys are zero-terminated texts; `compare` orders them, and none but the same
/// text is equal to a text. Does not return when memory is exhausted.
AVLTREE* glp_avl_create_tree(int (*compare)(const void*, const void*));

/// A record whose key equals `key`, or null. Of several, any. Constant time unless the names have
/// been chosen to have one hash; then logarithmic.
void* glp_avl_find_by_key(const AVLTREE* tree, const void* key);

/// Adds `record`, at whose start its key lies; the key may be in the index already. The record
/// stays where it is and its key does not change as long as the index exists. Time as for a look-up
/// on average over all insertions. Does not return when memory is exhausted.
void glp_avl_insert_by_key(AVLTREE* tree, void* record);

/// Releases the index, not the records.
void glp_avl_delete_tree(AVLTREE* tree);

#endif
