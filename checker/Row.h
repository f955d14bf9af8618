/// \file
/// Constraints as they are kept: in literal normal form.
#ifndef QUILLON_CHECKER_ROW_H
#define QUILLON_CHECKER_ROW_H

#include "Integer.h"
#include "Names.h"

#include <vector>

namespace checker {

struct Term {
  Integer coefficient; ///< positive
  Lit literal;
};

/// "The sum of the terms is at least the degree", over distinct variables. The order of the terms
/// means nothing. Every linear inequality over 0-1 variables has exactly one such form, since
/// a * x is a - a * ~x.
///
/// An objective is one, too: its value is the sum of the terms less the degree.
struct Row {
  std::vector<Term> terms;
  Integer degree;

  /// The sum of all coefficients: what the terms come to at most.
  Integer largestSum() const;
  /// Whether every assignment satisfies it.
  bool isTrivial() const { return degree.sign() <= 0; }
  /// Whether no assignment satisfies it.
  bool isContradiction() const { return !isTrivial() && largestSum() < degree; }
  bool isUnit() const {
    return terms.size() == 1 && !isTrivial() && degree <= terms[0].coefficient;
  }
};

/// Satisfied by exactly the assignments that falsify `row`: sum a l >= d does not hold when
/// sum a l <= d - 1, which is sum a ~l >= sum a - d + 1.
Row negation(const Row& row);

} // namespace checker

#endif
