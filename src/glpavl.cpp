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

constexpr std::uint32_t first_slots = 64;
constexpr std::uint32_t most_slots = std::uint32_t{1} << 31;

/// The hash of a text (G. Fowler, L. C. Noll and K.-P. Vo's FNV-1a), its high bits folded into the
/// low ones.
std::uint32_t hashOf(const void* key) {
  std::uint32_t hash = 2166136261U;
  for (const char* c = static_cast<const char*>(key); *c != '\0'; c++)
    hash = (hash ^ static_cast<unsigned char>(*c)) * 16777619U;
  return hash ^ (hash >> 15);
}

/// Below, equal to or above 0 as the key belongs to the left of `node`, on it or to its right.
int order(const AVLTREE* tree, std::uint32_t hash, const void* key, const AVLNODE* node) {
  if (hash != node->hash) return hash < node->hash ? -1 : 1;
  return tree->compare(key, node->record);
}

/// The side of `node` on which `other` belongs: 0 left, 1 right.
int sideOf(const AVLTREE* tree, const AVLNODE* other, const AVLNODE* node) {
  return order(tree, other->hash, other->record, node) < 0 ? 0 : 1;
}

AVLNODE** slotOf(const AVLTREE* tree, std::uint32_t hash) {
  return &tree->roots[hash & (tree->slots - 1)];
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

/// Puts `fresh` into its tree.
void insert(AVLTREE* tree, AVLNODE* fresh) {
  AVLNODE** link = slotOf(tree, fresh->hash);
  AVLNODE** unbalanced = link; // the deepest one, or the root if there is none
  while (*link != nullptr) {
    if ((*link)->balance != 0) unbalanced = link;
    link = &(*link)->child[sideOf(tree, fresh, *link)];
  }
  fresh->balance = 0;
  fresh->child[0] = fresh->child[1] = nullptr;
  *link = fresh;

  AVLNODE* node = *unbalanced;
  while (node != fresh) {
    const int side = sideOf(tree, fresh, node);
    node->balance += side == 0 ? -1 : 1;
    node = node->child[side];
  }
  const int balance = (*unbalanced)->balance;
  if (balance < -1 || balance > 1) *unbalanced = rotated(*unbalanced);
}

/// Gives the index `slots` slots and puts every node into its tree anew.
void spread(AVLTREE* tree, std::uint32_t slots) {
  glp_lib_ufree(tree->roots);
  tree->roots = nullptr; // the index stays whole if the next line does not return
  // NOLINTNEXTLINE(bugprone-sizeof-expression): the slots do hold pointers
  tree->roots = static_cast<AVLNODE**>(glp_lib_umalloc(slots * sizeof(AVLNODE*)));
  tree->slots = slots;
  for (std::uint32_t i = 0; i < slots; i++) tree->roots[i] = nullptr;
  for (AVLNODE* node = tree->newest; node != nullptr; node = node->older) insert(tree, node);
}

} // namespace

int glp_avl_strcmp(const void* key1, const void* key2) {
  return std::strcmp(static_cast<const char*>(key1), static_cast<const char*>(key2));
}

AVLTREE* glp_avl_create_tree(int (*compare)(const void*, const void*)) {
  AVLTREE* const tree = new (glp_lib_umalloc(sizeof(AVLTREE)))
      AVLTREE{glp_dmp_create_pool(0), compare, nullptr, 0, 0, nullptr};
  spread(tree, first_slots);
  return tree;
}

void* glp_avl_find_by_key(const AVLTREE* tree, const void* key) {
  const std::uint32_t hash = hashOf(key);
  const AVLNODE* node = *slotOf(tree, hash);
  while (node != nullptr) {
    const int o = order(tree, hash, key, node);
    if (o == 0) return node->record;
    node = node->child[o < 0 ? 0 : 1];
  }
  return nullptr;
}

void glp_avl_insert_by_key(AVLTREE* tree, void* record) {
  if (tree->size >= tree->slots && tree->slots < most_slots) spread(tree, 2 * tree->slots);
  AVLNODE* const fresh = new (glp_dmp_get_atomv(tree->pool, sizeof(AVLNODE)))
      AVLNODE{record, hashOf(record), 0, {nullptr, nullptr}, tree->newest};
  tree->newest = fresh;
  tree->size++;
  insert(tree, fresh);
}

void glp_avl_delete_tree(AVLTREE* tree) {
  glp_lib_ufree(tree->roots);
  glp_dmp_delete_pool(tree->pool);
  glp_lib_ufree(tree);
}
