/// \file
/// The index by which the reader finds a row or a column by its name: a hash table, so that a
/// look-up takes constant time however many names there are, with a height-balanced binary search
/// tree (G. M. Adelson-Velsky and E. M. Landis, 1962) for the names that find their places taken,
/// so that no choice of names makes it slow.
#ifndef QUILLON_GLPAVL_H
#define QUILLON_GLPAVL_H

#include "glpdmp.h"

#include <cstddef>
#include <cstdint>

/// A place of the table. Short names are told apart by their codes alone (see `glp_avl_code`), so
/// that a look-up need not visit the record, which is elsewhere in memory.
struct AVLSLOT {
  void* record; ///< begins with its key; null: the place is free
  std::uint64_t code;
};

/// A node of the tree: one record. Keys are ordered by code, those of one code by comparison.
struct AVLNODE {
  AVLSLOT entry;
  int balance;       ///< height of the right subtree minus that of the left one: -1, 0 or 1
  AVLNODE* child[2]; ///< left: keys not above this one's; right: keys not below it
  AVLNODE* older;    ///< the node made before this one
};

/// The places in which a key can be: from the one that its code selects on, this many. With 2 of
/// them, loading 1.5 million terms over 100 thousand variables took 1.1 times as long; 4 and 16
/// made no difference.
constexpr std::uint32_t avl_window = 8;

/// An index. Records belong to the caller; the nodes come from a pool of the index.
struct AVLTREE {
  DMP* pool;
  int (*compare)(const void*, const void*); ///< below, equal to or above 0, as strcmp
  AVLSLOT* slots;                           ///< the table
  std::uint32_t log_slots;                  ///< binary logarithm of the places where windows begin
  std::uint32_t size;                       ///< number of records
  AVLNODE* root;                            ///< of the tree
  AVLNODE* newest;                          ///< of the tree's nodes
};

/// The first place in which an entry with this code can be.
AVLSLOT* glp_avl_window(const AVLTREE* tree, std::uint64_t code);

/// The number of places, those included that only windows that begin before them have.
std::size_t glp_avl_table_length(const AVLTREE* tree);

/// Compares two keys that are zero-terminated texts, as strcmp does.
int glp_avl_strcmp(const void* key1, const void* key2);

/// The longest text that is its own code.
constexpr std::size_t avl_short = 8;

/// Up to `avl_short` characters as one number.
inline std::uint64_t glp_avl_packed(const char* text, std::size_t length) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < length; i++) word = word << 8 | static_cast<unsigned char>(text[i]);
  return word;
}

/// A hash of any text. Its last byte, unlike that of a short text, is zero.
std::uint64_t glp_avl_hash(const char* text, std::size_t length);

/// The code of a text of `length` characters other than zero: the text itself if it is short, which
/// no other text has; or its hash, which another long text may have, too.
inline std::uint64_t glp_avl_code(const char* text, std::size_t length) {
  return length >= 1 && length <= avl_short ? glp_avl_packed(text, length)
                                            : glp_avl_hash(text, length);
}

/// A new, empty index. Keys are zero-terminated texts; `compare` orders them, and none but the same
/// text is equal to a text. Does not return when memory is exhausted.
AVLTREE* glp_avl_create_tree(int (*compare)(const void*, const void*));

/// A record whose key equals `key`, or null. Of several, any. Constant time unless the names have
/// been chosen to crowd in few places; then logarithmic.
void* glp_avl_find_by_key(const AVLTREE* tree, const void* key);

/// The same for a key whose code is known.
void* glp_avl_find_by_code(const AVLTREE* tree, const void* key, std::uint64_t code);

/// Says that a key with this code is going to be looked up, for the memory to be ready.
void glp_avl_expect(const AVLTREE* tree, std::uint64_t code);

/// Adds `record`, at whose start its key lies; the key may be in the index already. The record
/// stays where it is and its key does not change as long as the index exists. Time as for a look-up
/// on average over all insertions. Does not return when memory is exhausted.
void glp_avl_insert_by_key(AVLTREE* tree, void* record);

/// The same for a key whose code is known.
void glp_avl_insert_by_code(AVLTREE* tree, void* record, std::uint64_t code);

/// Releases the index, not the records.
void glp_avl_delete_tree(AVLTREE* tree);

#endif
