/// \file
/// The index by which the reader finds a row or a column by its name: a height-balanced binary
/// search tree (G. M. Adelson-Velsky and E. M. Landis, 1962). No choice of names makes it slow.
#ifndef QUILLON_GLPAVL_H
#define QUILLON_GLPAVL_H

#include "glpdmp.h"

/// A node of the tree: one record.
struct AVLNODE {
  void* record;      ///< begins with its key
  int balance;       ///< height of the right subtree minus that of the left one: -1, 0 or 1
  AVLNODE* child[2]; ///< left: keys not above this one's; right: keys not below it
};

/// An index. Records belong to the caller; the nodes come from a pool of the index.
struct AVLTREE {
  DMP* pool;
  int (*compare)(const void*, const void*); ///< below, equal to or above 0, as strcmp
  AVLNODE* root;
};

/// Compares two keys that are zero-terminated texts, as strcmp does.
int glp_avl_strcmp(const void* key1, const void* key2);

/// A new, empty index over keys ordered by `compare`. Does not return when memory is exhausted.
AVLTREE* glp_avl_create_tree(int (*compare)(const void*, const void*));

/// A record whose key equals `key`, or null. Of several, any. At most 1.45 log2(size + 2)
/// comparisons.
void* glp_avl_find_by_key(const AVLTREE* tree, const void* key);

/// Adds `record`, at whose start its key lies; the key may be in the index already. The record
/// stays where it is and its key does not change as long as the index exists. Logarithmic time.
/// Does not return when memory is exhausted.
void glp_avl_insert_by_key(AVLTREE* tree, void* record);

/// Releases the index, not the records.
void glp_avl_delete_tree(AVLTREE* tree);

#endif
