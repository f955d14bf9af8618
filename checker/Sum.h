/// \file
/// A constraint on the workbench: what the cutting-planes rules work on.
#ifndef QUILLON_CHECKER_SUM_H
#define QUILLON_CHECKER_SUM_H

#include "Row.h"

#include <vector>

namespace checker {

/// "The sum of coefficient times variable is at least the bound", with coefficients of any sign
/// (the variable form). Adding is plain in this form. The rules that speak of literals see a
/// negative coefficient c of x as -c times ~x, which is the same after adding -c to the bound.
///
/// Every operation but `add` and `addTerm` with a negative factor keeps what is satisfied by every
/// 0-1 solution of what went in. Source of the rules: W. Cook, C. Coullard and G. Turan, On the
/// complexity of cutting-plane proofs, 1987; J. Hooker, Generalized resolution and cutting planes,
/// 1988.
class Sum {
  std::vector<Integer> coefficients; ///< by variable
  std::vector<char> is_used;         ///< by variable: whether it is in `used`
  std::vector<Var> used; ///< all variables with a coefficient other than 0, and perhaps more
  Integer bound;

  Integer& coefficientOf(Var variable);
  /// What the bound is in the literal form: the degree.
  Integer degree() const;

 public:
  /// Back to 0 >= 0.
  void clear();
  /// Adds factor * literal to the left side.
  void addTerm(const Integer& factor, Lit literal);
  /// Adds `what` to the bound.
  void raise(const Integer& what) { bound += what; }
  /// Adds factor times `row`. A sum of inequalities with factors >= 0 is one that follows.
  void add(const Row& row, const Integer& factor);
  /// Adds factor times what `other` is.
  void add(const Sum& other, const Integer& factor);

  /// Multiplies by `factor` >= 0.
  void multiply(const Integer& factor);
  /// Divides by `divisor` > 0 in the literal form and rounds everything up. The coefficients may be
  /// rounded up since literals are not negative; the left side is an integer then, and so the
  /// degree may be rounded up as well.
  void divide(const Integer& divisor);
  /// The same in the variable form: variables are not negative either.
  void divideVariables(const Integer& divisor);
  /// Cuts coefficients in the literal form down to the degree: one true literal with the degree as
  /// coefficient is enough, and more makes no difference.
  void saturate();
  /// Takes out a variable by adding its literal axiom (literal >= 0) often enough.
  void weaken(Var variable);
  /// Subtracts `what` >= 0 from the bound.
  void lower(const Integer& what) { bound -= what; }
  /// Mixed-integer rounding with `divisor` d > 0, in the variable form or else the literal form.
  /// Let the row be sum a_j y_j >= b with all y_j >= 0, r = b mod d, a_j = d q_j + s_j with 0 <=
  /// s_j < d. Raising to d each s_j > r gives d z + y >= b for the integer z = sum q_j y_j + sum
  /// (s_j > r) y_j and y = sum (s_j <= r) s_j y_j >= 0. With c = ceil(b / d): if z >= c, then r z +
  /// y >= r c since y >= 0; otherwise y >= b - d z = r + d (c - 1 - z) >= r (c - z). Either way r z
  /// + y >= r c, which is the result: coefficients r q_j + min(s_j, r), bound r c. (H. Marchand and
  /// L. Wolsey, Aggregation and mixed integer rounding to solve MIPs, 2001.)
  void roundMixed(const Integer& divisor, bool literal_form);

  /// The same as a row.
  Row row() const;
};

} // namespace checker

#endif
