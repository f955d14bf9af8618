// See glpavl.h. Insertion goes down the tree once and needs neither recursion nor a stack, after
// D. E. Knuth, The Art of Computer Programming, volume 3, algorithm 6.2.3 A: only the deepest node
// on the way that is out of balance already can have to be rotated, because below it a subtree
// absorbs the new node's height and above it nothing changes.
#include "glpavl.h"

#include "Prefetch.h"
#include "glplib.h"

#include <cassert>
#include <cstring>
#include <new>

using namespace quillon;

namespace {

constexpr std::uint32_t first_log_slots = 6; ///< 1 kB; no matter, for the table doubles
constexpr std::uint32_t most_log_slots = 32;
constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15; ///< odd, its bits without a pattern

/// Whether a text with this code is the only one.
bool isUnique(std::uint64_t code) {
  return (code & 0xFF) != 0;
}

/// Below, equal to or above 0 as the key belongs to the left of `node`, on it or to its right.
int order(const AVLTREE* tree, std::uint64_t code, const void* key, const AVLNODE* node) {
  if (code != node->entry.code) return code < node->entry.code ? -1 : 1;
  return tree->compare(key, node->entry.record);
}

/// The side of `node` on which `other` belongs: 0 left, 1 right.
int sideOf(const AVLTREE* tree, const AVLNODE* other, const AVLNODE* node) {
  return order(tree, other->entry.code, other->entry.record, node) < 0 ? 0 : 1;
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

/// Puts `entry` into the tree.
void plant(AVLTREE* tree, const AVLSLOT& entry) {
  AVLNODE* const fresh = new (glp_dmp_get_atomv(tree->pool, sizeof(AVLNODE)))
      AVLNODE{entry, 0, {nullptr, nullptr}, tree->newest};
  tree->newest = fresh;

  AVLNODE** link = &tree->root;
  AVLNODE** unbalanced = link; // the deepest one, or the root if there is none
  while (*link != nullptr) {
    if ((*link)->balance != 0) unbalanced = link;
    link = &(*link)->child[sideOf(tree, fresh, *link)];
  }
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

/// Puts `entry` into the first free place of its window, or into the tree if there is none.
void place(AVLTREE* tree, const AVLSLOT& entry) {
  AVLSLOT* const window = glp_avl_window(tree, entry.code);
  for (AVLSLOT* slot = window; slot < window + avl_window; slot++) {
    if (slot->record == nullptr) {
      *slot = entry;
      return;
    }
  }
  plant(tree, entry);
}

/// Gives the index a table of another length and puts every entry into its place anew.
void spread(AVLTREE* tree, std::uint32_t log_slots) {
  AVLSLOT* const old_slots = tree->slots;
  const std::size_t old_length = old_slots == nullptr ? 0 : glp_avl_table_length(tree);
  const AVLNODE* const old_newest = tree->newest;
  tree->log_slots = log_slots;
  const std::size_t length = glp_avl_table_length(tree);
  tree->slots = static_cast<AVLSLOT*>(glp_lib_umalloc(length * sizeof(AVLSLOT)));
  for (std::size_t i = 0; i < length; i++) new (&tree->slots[i]) AVLSLOT{nullptr, 0};
  tree->root = tree->newest = nullptr;
  for (std::size_t i = 0; i < old_length; i++)
    if (old_slots[i].record != nullptr) place(tree, old_slots[i]);
  for (const AVLNODE* node = old_newest; node != nullptr; node = node->older)
    place(tree, node->entry);
  glp_lib_ufree(old_slots);
}

} // namespace

AVLSLOT* glp_avl_window(const AVLTREE* tree, std::uint64_t code) {
  const std::uint64_t mixed = code * multiplier;
  return tree->slots + ((mixed ^ mixed >> 32) * multiplier >> (64 - tree->log_slots));
}

std::size_t glp_avl_table_length(const AVLTREE* tree) {
  return (std::size_t{1} << tree->log_slots) + avl_window - 1;
}

int glp_avl_strcmp(const void* key1, const void* key2) {
  return std::strcmp(static_cast<const char*>(key1), static_cast<const char*>(key2));
}

std::uint64_t glp_avl_hash(const char* text, std::size_t length) {
  std::uint64_t hash = length;
  for (std::size_t i = 0; i < length; i += avl_short) {
    hash ^= glp_avl_packed(text + i, length - i < avl_short ? length - i : avl_short);
    hash *= multiplier;
    hash ^= hash >> 32;
  }
  return hash << 8;
}

AVLTREE* glp_avl_create_tree(int (*compare)(const void*, const void*)) {
  AVLTREE* const tree = new (glp_lib_umalloc(sizeof(AVLTREE)))
      AVLTREE{glp_dmp_create_pool(0), compare, nullptr, 0, 0, nullptr, nullptr};
  spread(tree, first_log_slots);
  return tree;
}

void* glp_avl_find_by_code(const AVLTREE* tree, const void* key, std::uint64_t code) {
  const AVLSLOT* const window = glp_avl_window(tree, code);
  for (const AVLSLOT* slot = window; slot < window + avl_window; slot++) {
    if (slot->record == nullptr) return nullptr;
    if (slot->code == code && (isUnique(code) || tree->compare(key, slot->record) == 0))
      return slot->record;
  }
  const AVLNODE* node = tree->root;
  while (node != nullptr) {
    const int o = order(tree, code, key, node);
    if (o == 0) return node->entry.record;
    node = node->child[o < 0 ? 0 : 1];
  }
  return nullptr;
}

void glp_avl_expect(const AVLTREE* tree, std::uint64_t code) {
  prefetch(glp_avl_window(tree, code));
}

void* glp_avl_find_by_key(const AVLTREE* tree, const void* key) {
  const char* const text = static_cast<const char*>(key);
  return glp_avl_find_by_code(tree, key, glp_avl_code(text, std::strlen(text)));
}

void glp_avl_insert_by_code(AVLTREE* tree, void* record, std::uint64_t code) {
  // At most half full, so that windows are, too, unless names have been chosen to share them.
  if (tree->size >> (tree->log_slots - 1) != 0 && tree->log_slots < most_log_slots)
    spread(tree, tree->log_slots + 1);
  tree->size++;
  place(tree, AVLSLOT{record, code});
}

void glp_avl_insert_by_key(AVLTREE* tree, void* record) {
  const char* const text = static_cast<const char*>(record);
  glp_avl_insert_by_code(tree, record, glp_avl_code(text, std::strlen(text)));
}

void glp_avl_delete_tree(AVLTREE* tree) {
  glp_lib_ufree(tree->slots);
  glp_dmp_delete_pool(tree->pool);
  glp_lib_ufree(tree);
}
