/// \file
/// The plain row: a constraint while nothing is done with it but to hand it from one to another.
#ifndef ESTOC_CONSTRAINTS_ROW_H
#define ESTOC_CONSTRAINTS_ROW_H

#include "estoc/Types.h"

#include <vector>

namespace estoc {

/// sum coefficient * literal >= degree. In normal form the coefficients are positive, no larger
/// than the degree, in falling order, and no variable occurs twice.
struct Row {
  std::vector<WideTerm> terms;
  Int128 degree = 0;
};

} // namespace estoc

#endif
