/// \file
/// What a solver of linear rows needs beside the rows of a problem: rows that define its products,
/// and its soft rows turned into rows that must hold and costs to be minimised.
#ifndef QUILLON_FORMATS_LINEAR_H
#define QUILLON_FORMATS_LINEAR_H

#include "Problem.h"

namespace formats {

/// Together with `Problem::rows` of the problem that it was made for, this is a linear problem. A
/// solution of the problem can be completed to one of the linear problem, with the same objective;
/// a solution of the linear one, cut to the variables of the text, is one of the problem, with an
/// objective at least as good.
struct Linear {
  /// How many variables there are: those of the problem, products among them, with their numbers,
  /// and behind them one that relaxes a soft row each.
  int variables = 0;
  /// The rows to be added to those of the problem.
  Rows rows;
  /// Whether there is something to minimise: `objective` + `constant`.
  bool optimises = false;
  Terms objective;
  Int constant = 0;
  /// Whether that is the negated objective of the text, which is to be maximised.
  bool negated = false;
};

/// The linear problem for `problem`. Refused, as beyond width, is a soft row that cannot be relaxed
/// in an Int. Linear time.
///
/// A product p of l1 to lk gets the rows li >= p and p >= l1 + ... + lk - k + 1. A soft row of one
/// variable puts its cost on a literal; another one gets a relaxing variable with the cost, which,
/// when true, lets the row (both directions of an equation) hold by a coefficient just large
/// enough. Every soft clause but a single literal gets one, also where that is not needed, since so
/// the format of proofs has it.
Result<Linear> linearise(const Problem& problem);

} // namespace formats

#endif
