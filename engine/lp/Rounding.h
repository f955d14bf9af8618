/// \file
/// Mixed-integer rounding: a stronger row out of one that holds.
#ifndef ESTOC_LP_ROUNDING_H
#define ESTOC_LP_ROUNDING_H

#include "LinearProgram.h"
#include "constraints/Row.h"

#include <vector>

namespace estoc {

/// Rounds a row sum a_i l_i >= A that holds, such that as much as possible is cut off of the point
/// at which the relaxation has its optimum.
///
/// Some of the literals are complemented (a l is a - a ~l), which makes a row sum b_i y_i >= B with
/// coefficients of either sign. With a divisor d, remainders f_i = b_i mod d and r = B mod d > 0 it
/// becomes
///
///     sum (r floor(b_i / d) + min(f_i, r)) y_i >= r ceil(B / d).
///
/// Example: 3 a + 3 b + 2 c >= 4 by d = 3 (r = 1) is a + b + min(2, 1) c >= 2. A cover inequality
/// is the case in which all that is not in the cover is complemented.
///
/// Sources: Nemhauser and Wolsey, A recursive procedure to generate all cuts for 0-1 mixed integer
/// programs (1990); Marchand and Wolsey, Aggregation and mixed integer rounding to solve MIPs
/// (2001), also for the search for d and for what is complemented.
class Rounding {
 public:
  /// A term of the row to be rounded.
  struct Part {
    Lit literal;
    std::int64_t coefficient; ///< positive
    double value;             ///< of the literal, from 0 to 1
    bool complemented = false;
  };

  /// Takes over the row `e`, whose literals have the values of `values` (of variables). False when
  /// its numbers are too large, or there is nothing to round. `divisors` may hold some that are to
  /// be tried, too.
  bool take(const Expression<Summed>& e, const std::vector<double>& values);
  /// Chooses divisor and complements. `also` is tried as a divisor unless it is 0. False when no
  /// choice cuts anything off.
  bool choose(std::int64_t also);
  /// By how much the point is cut off, as a distance.
  double efficacy() const { return best_efficacy; }
  /// The rounded row.
  Row row() const;
  /// The row in `base` shows `row`: that is rounding, as a proof by contradiction. `row` becomes a
  /// constraint of the proof, whose number is returned.
  ProofId prove(Proof& proof, const Row& row, ProofId base) const;
  /// What has been done so far, in terms handled.
  std::uint64_t work() const { return steps; }

 private:
  std::vector<Part> parts;
  std::int64_t degree = 0;
  std::int64_t divisor = 0;
  double best_efficacy = 0;
  std::uint64_t steps = 0;

  /// floor and remainder of the coefficient, with its sign
  struct Split {
    std::int64_t quotient;
    std::int64_t rest;
  };
  static Split split(const Part& p, std::int64_t d);
  Split splitDegree(std::int64_t d) const;
  double evaluate(std::int64_t d);
};

} // namespace estoc

#endif
