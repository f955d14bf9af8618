/// \file
/// The audit of the modern engine: looks a whole search over for broken invariants.
#ifndef ESTOC_SEARCH_AUDIT_H
#define ESTOC_SEARCH_AUDIT_H

#include "estoc/Options.h"

namespace estoc {

class SearchAudit {
 public:
  /// For `Options::audit`. Checks what holds at any point: trail, levels and reasons; watch lists
  /// against constraints, slacks and places; both orders of the decider. At a fixpoint also that no
  /// constraint is falsified or implies anything more. Throws a `std::logic_error` that says what
  /// is wrong.
  static void enforce(const Search& search, AuditPoint point);

 private:
  class Pass;
};

} // namespace estoc

#endif
