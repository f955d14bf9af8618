/// \file
/// The constraints that a proof has at the moment.
#ifndef QUILLON_CHECKER_DATABASE_H
#define QUILLON_CHECKER_DATABASE_H

#include "Row.h"

#include <cstdint>
#include <functional>
#include <list>
#include <unordered_map>
#include <vector>

namespace checker {

/// Constraints are numbered from 1 in the order in which they come; no number is used twice.
using Id = std::uint64_t;

/// A constraint with what the database and the propagation know of it.
struct Entry {
  Row row;
  Id id = 0;
  bool is_core = false;
  /// Where the propagation has it: see Propagator.
  bool is_attached = false;
  std::size_t place = 0;
};

class Database {
  std::list<Entry> entries; ///< by identifier
  std::unordered_map<Id, std::list<Entry>::iterator> index;
  std::vector<std::uint32_t> uses; ///< by variable: how many entries it is in
  Id last = 0;

 public:
  /// Adds a constraint under the next identifier. The reference holds until it is removed.
  Entry& add(Row row, bool is_core);
  /// Null when there is none, or none any more.
  Entry* find(Id id);
  void remove(Entry& entry);
  Id lastId() const { return last; }

  /// From the oldest to the newest.
  const std::list<Entry>& all() const { return entries; }
  Entry& newest() { return entries.back(); }
  bool empty() const { return entries.empty(); }

  /// How many entries `variable` is in.
  std::size_t usesOf(Var variable) const { return variable < uses.size() ? uses[variable] : 0; }
  /// An entry that is `row`, the newest one; null if there is none.
  Entry* findEqual(const Row& row);
};

/// Whether both are the same constraint.
bool areEqual(const Row& a, const Row& b);

} // namespace checker

#endif
