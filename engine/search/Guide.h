/// \file
/// Somebody who is asked what to do before the search decides.
#ifndef ESTOC_SEARCH_GUIDE_H
#define ESTOC_SEARCH_GUIDE_H

#include "constraints/Row.h"
#include "estoc/ProofSink.h"
#include "estoc/Types.h"

namespace estoc {

/// What the search shall do at a fixpoint.
struct Advice {
  enum class Kind {
    none,       ///< decide as usual
    decide,     ///< make `literal` true, which is unassigned
    learn,      ///< add `row`, which is falsified or implies something
    stop,       ///< end the run as if its budget were spent
    infeasible, ///< there is no solution
  };
  Kind kind = Kind::none;
  Lit literal{};
  /// In normal form but for level 0, with coefficients of at most `Analyzer::learnt_bits` bits.
  const LearntRow* row = nullptr;
  ProofId id = 0; ///< the row's number in the proof, if one is written
};

/// Called by a search at each fixpoint, once all assumptions are decided.
class Guide {
 public:
  virtual ~Guide() = default;
  virtual Advice advise() = 0;
  /// Whether the search may restart while it has this guide.
  virtual bool allowsRestarts() const = 0;
};

} // namespace estoc

#endif
