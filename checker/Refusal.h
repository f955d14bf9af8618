/// \file
/// Why a problem or a proof is not accepted.
#ifndef QUILLON_CHECKER_REFUSAL_H
#define QUILLON_CHECKER_REFUSAL_H

#include <stdexcept>

namespace checker {

/// Thrown wherever something does not hold; nothing that was thrown over is used again. The message
/// is one line, without the place.
class Refusal : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

} // namespace checker

#endif
