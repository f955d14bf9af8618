/// \file
/// Changes of the constraints at level 0.
#include "Workbench.h"

#include <algorithm>

namespace estoc {

bool Workbench::fix(Lit l) {
  propagation.backjump(0);
  if (trail.isTrue(l)) return true;
  if (trail.isFalse(l)) return false;
  if (proof != nullptr) proof->needUnit(l);
  propagation.enqueue(l, no_ref);
  count.facts++;
  return propagation.propagate() == no_ref;
}

Ref Workbench::add(const std::vector<Lit>& literals, bool learnt, unsigned glue) {
  propagation.backjump(0);
  const ProofId id = proof != nullptr ? proof->rupClause(literals) : 0;
  return propagation.addClause(literals.data(), literals.size(), learnt, glue, id);
}

bool Workbench::replace(Ref ref, const std::vector<Lit>& literals) {
  assert(!literals.empty());
  const Header old = propagation.at(ref);
  if (literals.size() == 1) {
    const bool fine = fix(literals[0]);
    remove(ref);
    return fine;
  }
  const unsigned glue = std::min<unsigned>(old.glue, static_cast<unsigned>(literals.size()) - 1);
  const Ref shorter = add(literals, old.learnt != 0, glue);
  Header& c = propagation.at(shorter);
  c.used = old.used;
  c.vivified = old.vivified;
  remove(ref);
  return true;
}

} // namespace estoc
