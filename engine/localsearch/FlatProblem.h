/// \file
/// The rows of a problem as local search wants them: by row and by variable, in flat arrays.
#ifndef ESTOC_LOCALSEARCH_FLAT_PROBLEM_H
#define ESTOC_LOCALSEARCH_FLAT_PROBLEM_H

#include "estoc/Types.h"

#include <cstdint>
#include <vector>

namespace estoc {

/// Rows "sum coefficient * literal >= degree" with positive coefficients, and a cost, a sum of
/// positive weights times literals. All sums fit 62 bits. Numbers that are larger are divided, in
/// the direction that makes the row stronger and the cost larger: what satisfies a flat row
/// satisfies the row, but not every solution satisfies the flat rows, and costs compare only about.
///
/// Use: `addTerm` for each term of a row and then `endRow`, for all rows; `setCost`; `finish`.
class FlatProblem {
 public:
  /// An occurrence of a variable: `gain` is what the row's sum gains when the variable becomes
  /// true, less than 0 where its negation occurs.
  struct Occurrence {
    std::int64_t gain;
    std::uint32_t row;
  };

  explicit FlatProblem(Var n) : variable_count(n), row_starts(1, 0) {}

  void addTerm(Int128 coefficient, Lit literal) { pending.push_back({coefficient, literal}); }
  /// Makes a row of the terms since the last one. False when its division has left no way to
  /// satisfy it.
  bool endRow(Int128 degree);
  /// Drops the terms since the last row.
  void dropRow() { pending.clear(); }
  void setCost(const std::vector<WideTerm>& terms);
  /// Makes the arrays by variable; afterwards nothing can be added. O(terms) time.
  void finish();

  Var variables() const { return variable_count; }
  std::size_t rows() const { return degrees.size(); }
  std::size_t terms() const { return literals.size(); }
  std::size_t firstTerm(std::size_t row) const { return row_starts[row]; }
  std::size_t endTerm(std::size_t row) const { return row_starts[row + 1]; }
  Lit literal(std::size_t term) const { return literals[term]; }
  std::int64_t coefficient(std::size_t term) const { return coefficients[term]; }
  std::int64_t degree(std::size_t row) const { return degrees[row]; }
  const Occurrence* occurrences(Var v) const {
    return by_variable.data() + variable_starts[static_cast<std::size_t>(v)];
  }
  const Occurrence* occurrencesEnd(Var v) const {
    return by_variable.data() + variable_starts[static_cast<std::size_t>(v) + 1];
  }
  /// What the cost gains when v becomes true.
  std::int64_t costGain(Var v) const { return cost_gains[static_cast<std::size_t>(v)]; }
  bool hasCost() const { return !cost_gains.empty(); }
  /// Whether nothing had to be divided.
  bool isExact() const { return is_exact; }
  /// The cost as this problem counts it: of a cost that was divided, the same part.
  Int128 costDivisor() const { return cost_divisor; }
  /// What is added to the sum of the gains of all true variables to make the cost.
  std::int64_t costOffset() const { return cost_offset; }

 private:
  Var variable_count;
  std::vector<WideTerm> pending;
  std::vector<std::size_t> row_starts; ///< one more than rows
  std::vector<Lit> literals;           ///< of all rows
  std::vector<std::int64_t> coefficients;
  std::vector<std::int64_t> degrees;
  std::vector<std::size_t> variable_starts; ///< one more than variables
  std::vector<Occurrence> by_variable;
  std::vector<std::int64_t> cost_gains; ///< empty without a cost
  Int128 cost_divisor = 1;
  bool is_exact = true;
  std::int64_t cost_offset = 0;
};

} // namespace estoc

#endif
