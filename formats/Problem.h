/// \file
/// The problem model that every front end builds and every check reads: named 0-1 variables, an
/// optional linear objective and linear rows, as the text states them, with nothing normalised.
#ifndef QUILLON_FORMATS_PROBLEM_H
#define QUILLON_FORMATS_PROBLEM_H

#include "Integer.h"
#include "Result.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace formats {

/// The variables' names, numbered from 0 in order of first occurrence.
class Names {
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
  };
  std::vector<std::string> names;
  std::unordered_map<std::string, int, Hash, std::equal_to<>> numbers;

 public:
  /// How many there are.
  int size() const { return static_cast<int>(names.size()); }
  /// The number of `name`, or -1 when it is unknown.
  int find(std::string_view name) const;
  /// The number of `name`, which is entered when it is unknown.
  int add(std::string_view name);
  /// The name of variable `number`, 0 to `size() - 1`.
  const std::string& operator[](int number) const { return names[static_cast<size_t>(number)]; }
};

/// One weighted variable of a form.
struct Term {
  Int coefficient = 0;
  int variable = 0; ///< number in `Problem::variables`
  Place place;      ///< of the variable's first occurrence in the form
};

/// A weighted sum; each variable occurs in at most one term. Coefficients may be 0.
using Form = std::vector<Term>;

enum class Relation { at_most, equal, at_least };

/// The relation's sign: "<=", "=" or ">=".
const char* signOf(Relation relation);

/// One constraint: `form` `relation` `bound`.
struct Row {
  std::string name;   ///< empty when the format or the text gives none
  bool named = false; ///< whether `name` stands in the text; false for a name made up by a reader
  Form form;
  Relation relation = Relation::at_least;
  Int bound = 0;
  Place place;       ///< of the row's first character
  Place bound_place; ///< of the bound
};

enum class Sense { none, minimise, maximise };

/// The objective: `form` plus `constant`. With sense `none` there is none and the rest is empty.
struct Objective {
  Sense sense = Sense::none;
  std::string name; ///< empty when the format or the text gives none
  Form form;
  Int constant = 0;
  Place place; ///< of the first character of the keyword
};

/// A problem. Invariant kept by the readers, and expected of everybody else who builds one: in the
/// objective and in each row the magnitudes of all coefficients and of the bound or constant add
/// up to an Int, so no evaluation can wrap.
struct Problem {
  Names variables;
  Objective objective;
  std::vector<Row> rows;
  /// Variables x1 to x`declared` exist although they need not occur anywhere; outputs may mention
  /// them. 0 when the text declares none.
  Int declared = 0;
};

/// Collects the terms of one form after the other, merging repeated variables into the first term.
/// Constant time per term.
class FormBuilder {
  Form form;
  std::vector<size_t> position;   ///< per variable: index of its term
  std::vector<size_t> generation; ///< per variable: the form for which `position` holds
  size_t current = 1;

 public:
  /// Adds `coefficient` to the variable's coefficient. False, and nothing changed, when an already
  /// present coefficient would leave `lowest` to `highest`.
  [[nodiscard]] bool add(int variable, Int coefficient, Place place, Int lowest, Int highest);
  /// Hands over the form and starts the next one.
  Form take();
};

} // namespace formats

#endif
