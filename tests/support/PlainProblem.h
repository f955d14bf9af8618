/// \file
/// Problems as rows of plain numbers, which know no engine and no format, and the truth about small
/// ones by trying all assignments. Tests and fuzz targets of every engine hold its answers against
/// it.
#ifndef QUILLON_TESTS_PLAIN_PROBLEM_H
#define QUILLON_TESTS_PLAIN_PROBLEM_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace plain {

using Int = std::int64_t;

struct Term {
  int variable; ///< from 0
  Int coefficient;
};

/// A linear form as it could be written, with zero coefficients and repeated variables.
using Form = std::vector<Term>;

enum class Relation { at_most, equal, at_least };

struct Row {
  Form form;
  Relation relation;
  Int bound;
};

/// All sums over a row or the objective stay within 64 bits.
struct Problem {
  int nvars = 0;
  std::vector<Row> rows = {};
  std::optional<Form> objective = {};
  bool maximise = false;
};

/// The problem in the input format, its variables x0, x1, ...
std::string text(const Problem& problem);

/// The same form with each variable once, in the order of first occurrence, and no zero.
Form merged(const Form& form);

/// The range that the form's value spans.
struct Range {
  Int low = 0;  ///< sum of the negative coefficients
  Int high = 0; ///< sum of the positive ones
};
Range rangeOf(const Form& form);

// ------------------------------------------------------------------------------------------------
// The truth. An assignment has the value of variable x in bit x; problems have at most 24
// variables.

using Assignment = unsigned;

/// Variables that must be true, and such that must be false; none can be both.
struct Assumptions {
  Assignment positive = 0;
  Assignment negative = 0;

  void add(int variable, bool negated) { (negated ? negative : positive) |= 1U << variable; }
  bool hold(Assignment assignment) const {
    return (assignment & positive) == positive && (assignment & negative) == 0;
  }
};

Int valueOf(const Form& form, Assignment assignment);
/// Whether all rows hold.
bool holds(const Problem& problem, Assignment assignment);
bool satisfiable(const Problem& problem, const Assumptions& assumptions = {});
/// The best value of the objective, which there is; nothing if there is no solution.
std::optional<Int> optimum(const Problem& problem);

} // namespace plain

#endif
