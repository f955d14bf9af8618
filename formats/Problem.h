/// \file
/// The problem model that every front end builds and every check reads: named 0-1 variables,
/// products of their literals, an objective or soft rows, and rows, as the text states them, with
/// nothing normalised. Nothing in it is allocated by itself: a problem is a handful of arrays.
#ifndef QUILLON_FORMATS_PROBLEM_H
#define QUILLON_FORMATS_PROBLEM_H

#include "Integer.h"
#include "Names.h"
#include "Products.h"
#include "Result.h"
#include "Terms.h"

#include <cstddef>
#include <cstdint>
#include <optional>
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

/// What a text is written in.
enum class Format {
  star, ///< our own
  opb,
  wbo,
  cnf,
  wcnf ///< either form
};

/// Rows that need not hold, each at a cost of 0 or more.
struct SoftRows {
  Rows rows;
  Array<Int> costs; ///< of violating each row
  /// What the costs of all violated rows must add up to less than.
  std::optional<Int> top;
};

/// A problem. Invariant kept by the readers, and expected of everybody else who builds one: in the
/// objective and in each row the magnitudes of all coefficients and of the bound or constant add
/// up to an Int, and so do all costs, each taken twice, and the top; so no evaluation can wrap.
struct Problem {
  Format format = Format::star;
  /// Those of the text and, each behind its factors, the products.
  Names variables;
  Products products;
  Objective objective; ///< none in WBO and WCNF, where the cost is to be minimised
  Rows rows;           ///< all of them must hold
  SoftRows soft;       ///< in WBO and WCNF only
  /// Variables x1 to x`declared`, in DIMACS formats 1 to `declared`, exist although they need not
  /// occur anywhere; outputs may mention them. 0 when the text declares none.
  Int declared = 0;
  /// In DIMACS formats: whether the text begins with a header ("p cnf", "p wcnf").
  bool has_header = false;
  /// In OPB: whether there is just one literal behind each number, and a number behind each sign.
  bool is_plain = true;

  /// Whether violated soft rows have a cost, which is what is to be minimised.
  bool hasCost() const { return format == Format::wbo || format == Format::wcnf; }
  /// Whether one solution can be better than another.
  bool hasObjective() const { return hasCost() || objective.sense != Sense::none; }
};

} // namespace formats

#endif
