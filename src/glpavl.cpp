// See glpavl.h. Insertion goes down the tree once and needs neither recursion nor a stack, after
// D. E. Knuth, The Art of Computer Programming, volume 3, algorithm 6.2.3 A: only the deepest node
// on the way that is out of balance already can have to be rotated, because below it a subtree
// absorbs the new node's height and above it nothing changes.
#include "glpavl.h"

#include "glplib.h"

#include <cassert>
#include <cstring>
#include <new>

namespace {

/// The side of `node` on which `key` belongs: 0 left, 1 right.
int sideOf(const AVLTREE* tree, const void* key, const AVLNODE* node) {
  return tree->compare(key, node->record) < 0 ? 0 : 1;
}

/// The subtree under `top`, which is higher by two on one side, with its balance restored. Its
/// height becomes what it was before the insertion.
AVLNODE* rotated(AVLNODE* top) {
  const int sign = top->balance / 2;
  const int heavy = sign > 0 ? 1 : 0;
  const int light = 1 - heavy;
  AVLNODE* const below = top->child[heavy];
  if (below->balance == sign) {
    top->child[heavy] = below->child[light];
    below->child[light] = top;
    top->balance = below->balance = 0;
    return below;
  }
  AVLNODE* const inner = below->child[light];
  assert(inner != nullptr); // this side of `below` is the higher one
  below->child[light] = inner->child[heavy];
  inner->child[heavy] = below;
  top->child[heavy] = inner->child[light];
  inner->child[light] = top;
  top->balance = inner->balance == sign ? -sign : 0;
  below->balance = inner->balance == -sign ? sign : 0;
  inner->balance = 0;
  return inner;
}

} // namespace

int glp_avl_strcmp(const void* key1, const void* key2) {
  return std::strcmp(static_cast<const char*>(key1), static_cast<const char*>(key2));
}

AVLTREE* glp_avl_create_tree(int (*compare)(const void*, const void*)) {
  return new (glp_lib_umalloc(sizeof(AVLTREE))) AVLTREE{glp_dmp_create_pool(0), compare, nullptr};
}

void* glp_avl_find_by_key(const AVLTREE* tree, const void* key) {
  const AVLNODE* node = tree->root;
  while (node != nullptr) {
    const int order = tree->compare(key, node->record);
    if (order == 0) return node->record;
    node = node->child[order < 0 ? 0 : 1];
  }
  return nullptr;
}

void glp_avl_insert_by_key(AVLTREE* tree, void* record) {
  AVLNODE** link = &tree->root;
  AVLNODE** unbalanced = link; // the deepest one, or the root if there is none
  while (*link != nullptr) {
    if ((*link)->balance != 0) unbalanced = link;
    link = &(*link)->child[sideOf(tree, record, *link)];
  }
  AVLNODE* const fresh =
      new (glp_dmp_get_atomv(tree->pool, sizeof(AVLNODE))) AVLNODE{record, 0, {nullptr, nullptr}};
  *link = fresh;

  AVLNODE* node = *unbalanced;
  while (node != fresh) {
    const int side = sideOf(tree, record, node);
    node->balance += side == 0 ? -1 : 1;
    node = node->child[side];
  }
  const int balance = (*unbalanced)->balance;
  if (balance < -1 || balance > 1) *unbalanced = rotated(*unbalanced);
}

void glp_avl_delete_tree(AVLTREE* tree) {
  glp_dmp_delete_pool(tree->pool);
  glp_lib_ufree(tree);
}
