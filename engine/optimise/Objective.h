/// \file
/// The objective in the form that all strategies share, with what is known of its value.
#ifndef ESTOC_OPTIMISE_OBJECTIVE_H
#define ESTOC_OPTIMISE_OBJECTIVE_H

#include "constraints/Row.h"
#include "estoc/Types.h"

#include <vector>

namespace estoc {

/// offset + scale * (sum of weight * literal), weights positive without a common divisor, in
/// falling order, no variable twice. The sum alone is the cost.
struct Objective {
  std::vector<WideTerm> terms;
  Int128 offset = 0;
  Int128 scale = 1;

  Objective() = default;
  /// From `constant` plus the sum of `terms`, in any form.
  Objective(std::vector<WideTerm> terms, Int128 constant);

  Int128 value(Int128 cost) const { return offset + scale * cost; }
  /// The sum of all weights: what every cost is at most.
  Int128 largestCost() const;
  /// The cost of `values`, an entry for each variable.
  Int128 cost(const std::vector<bool>& values) const;
  /// The row that holds for costs of at most `most`; as it is, not saturated.
  Row atMost(Int128 most) const;
};

} // namespace estoc

#endif
