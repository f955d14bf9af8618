/// \file
/// Unit propagation over everything that is known.
#ifndef QUILLON_CHECKER_PROPAGATOR_H
#define QUILLON_CHECKER_PROPAGATOR_H

#include "Database.h"

#include <cstdint>
#include <vector>

namespace checker {

/// A row implies a literal when it cannot be satisfied without: when its slack (the sum over all
/// literals that are not false, less the degree) is smaller than the literal's coefficient. It is
/// in conflict when its slack is negative. What the rows of the database imply by themselves stays
/// from one check to the next; a check opens a level with rows that hold for its length, and closes
/// it.
///
/// This is the only file where speed has had a say. A clause watches two of its literals (M.
/// Moskewicz et al., Chaff, 2001); another row has its slack kept up to date as its literals become
/// false and, when a level is closed, are free again. Nothing is done for a row before somebody
/// asks. What the rows of the database imply needs no reason to be sound, but a row that is deleted
/// must take its consequences along, since a witness owes nothing to a row that is not there; then
/// everything is propagated anew, unless a unit row says the same. Rows with numbers beyond 62 bits
/// are looked at as a whole whenever one of their literals becomes false.
class Propagator {
  using Slot = std::uint32_t;
  static constexpr Slot by_unit = 0xFFFFFFFF; ///< as a reason: some unit row
  static constexpr Slot by_nobody = 0xFFFFFFFE;

  enum class Kind : std::uint8_t { dead, clause, counted, wide };
  struct Attached {
    Entry* entry;
    Kind kind;
    std::uint32_t size = 0;    ///< of a clause
    std::size_t first = 0;     ///< of a clause: where its literals are
    std::int64_t slack = 0;    ///< if counted
    std::int64_t largest = -1; ///< if counted: the largest coefficient
  };
  struct Occurrence {
    std::int64_t coefficient;
    Slot slot;
  };
  struct Watch {
    Lit blocker; ///< another literal of the clause: while it is true there is nothing to do
    Slot slot;
  };
  struct Mark {
    std::size_t trail;
    std::size_t slots;
    std::size_t pending;
    bool conflict;
  };

  std::vector<Attached> slots;
  std::size_t dead = 0;
  std::vector<Entry*> pending;             ///< not attached yet; null where one has gone since
  std::size_t gone = 0;                    ///< of those
  std::vector<Lit> clauses;                ///< their literals, the two watched ones first
  std::vector<std::vector<Watch>> watches; ///< by literal that becomes false
  std::vector<std::vector<Occurrence>> occurrences; ///< by literal: in counted rows
  std::vector<std::vector<Slot>> wide;              ///< by literal: in wide rows
  std::vector<std::uint32_t> units;                 ///< by literal: how many unit rows there are

  std::vector<std::int8_t> values; ///< by literal: 1 true, -1 false, 0 neither
  std::vector<Slot> reasons;       ///< by variable
  std::vector<Lit> trail;          ///< true literals in the order in which they became so
  std::size_t processed = 0;       ///< how many of them the slacks know
  bool conflict = false;
  bool stale = false; ///< whether the trail may hold what nothing implies any more
  std::vector<Mark> marks;

  void growFor(const Row& row);
  void rebuild();
  void flush();
  void attach(Entry& entry);
  void attachClause(Slot slot);
  void attachCounted(Slot slot);
  void detachLast();
  void enqueue(Lit literal, Slot reason);
  void propagate();
  void propagateClauses(Lit falsified);
  void look(Slot slot);
  void lookWide(Slot slot);

 public:
  /// Adds a row at the current level. It stays where it is until it is removed or the level closes;
  /// the order of its terms may change.
  void add(Entry& entry);
  /// Removes a row that was added when no level was open. None is open now.
  void remove(Entry& entry);

  void open();
  /// Takes back all that has come since the last `open`.
  void close();
  /// Makes a literal true at the current level.
  void assume(Lit literal);
  /// Propagates to the end. Whether the rows and assumptions contradict each other.
  bool conflicts();
  /// After `conflicts`: 1 true, -1 false, 0 neither.
  int value(Lit literal) const {
    return literal.index() < values.size() ? values[literal.index()] : 0;
  }
  /// After `conflicts`: whether what is known to be true satisfies the row.
  bool satisfies(const Row& row) const;
};

} // namespace checker

#endif
