/// \file
/// The problem model that every front end builds and every check reads: named 0-1 variables, an
/// optional linear objective and linear rows, as the text states them, with nothing normalised.
/// Nothing in it is allocated by itself: a problem is a handful of arrays.
#ifndef QUILLON_FORMATS_PROBLEM_H
#define QUILLON_FORMATS_PROBLEM_H

#include "Integer.h"
#include "Names.h"
#include "Result.h"
#include "Terms.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace formats {

enum class Relation { at_most, equal, at_least };

/// The relation's sign: "<=", "=" or ">=".
const char* signOf(Relation relation);

/// What a row is, but for its terms.
struct RowHead {
  Relation relation = Relation::at_least;
  Int bound = 0;
  Place place;       ///< of the row's first character
  Place bound_place; ///< of the bound
  /// The name that the text gives, empty when it gives none.
  std::string_view label;
  /// A reader that makes up names numbers the rows, in ascending order; 0 otherwise.
  std::uint64_t ordinal = 0;
};

/// One constraint: `form` `relation` `bound`. It is a view into a problem, good until rows are
/// added there.
struct Row : RowHead {
  Form form;

  /// The label, or else "r." and the ordinal, or else nothing.
  std::string name() const;
};

/// The rows of a problem, packed: 48 bytes a row, its terms and its label, and 16 bytes for a bound
/// of more than 64 bits.
class Rows {
  struct Packed {
    std::uint64_t
        end; ///< index of the term behind the row's last one; the row before has the first
    std::int64_t bound; ///< or the index of a wide one
    Place place;
    Place bound_place;
    std::uint64_t ordinal;
    std::int32_t label; ///< its number, -1 for none
    Relation relation;
    bool is_wide; ///< whether `bound` is such an index
  };

  Terms store;
  Array<Packed> packed;
  Array<Int> wide_bounds;
  Names labels;

 public:
  class Iterator {
    const Rows* rows;
    std::size_t index;

   public:
    Iterator(const Rows* over, std::size_t at) : rows(over), index(at) {}
    Row operator*() const { return (*rows)[index]; }
    Iterator& operator++() {
      index++;
      return *this;
    }
    bool operator==(const Iterator& other) const { return index == other.index; }
  };

  std::size_t size() const { return packed.size(); }
  bool empty() const { return packed.empty(); }
  Row operator[](std::size_t i) const;
  Iterator begin() const { return {this, 0}; }
  Iterator end() const { return {this, size()}; }

  /// Where the terms of the next row are added.
  Terms& terms() { return store; }
  /// Adds a row of the terms added since the last one.
  void add(const RowHead& head);
  /// Whether a row has the name `name`. Constant time on average for labels, logarithmic for
  /// names made up.
  bool hasName(std::string_view name) const;
};

enum class Sense { none, minimise, maximise };

/// The objective: `form` plus `constant`. With sense `none` there is none and the rest is empty.
struct Objective {
  Sense sense = Sense::none;
  std::string name; ///< empty when the format or the text gives none
  Terms form;
  Int constant = 0;
  Place place; ///< of the first character of the keyword
};

/// A problem. Invariant kept by the readers, and expected of everybody else who builds one: in the
/// objective and in each row the magnitudes of all coefficients and of the bound or constant add
/// up to an Int, so no evaluation can wrap.
struct Problem {
  Names variables;
  Objective objective;
  Rows rows;
  /// Variables x1 to x`declared` exist although they need not occur anywhere; outputs may mention
  /// them. 0 when the text declares none.
  Int declared = 0;
};

} // namespace formats

#endif
