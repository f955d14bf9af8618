/// \file
/// Changes of the constraints at level 0.
#include "Workbench.h"

#include <algorithm>

namespace estoc {

bool Workbench::fix(Lit l) {
  propagation.backjump(0);
  if (trail.isTrue(l)) return true;
  if (trail.isFalse(l)) return false;
  propagation.enqueue(l, no_ref);
  count.facts++;
  return propagation.propagate() == no_ref;
}

Ref Workbench::add(const std::vector<Lit>& literals, bool learnt, unsigned glue) {
  propagation.backjump(0);
  return propagation.addClause(literals.data(), literals.size(), learnt, glue);
}

bool Workbench::replace(Ref ref, const std::vector<Lit>& literals) {
  assert(!literals.empty());
  const Header old = propagation.at(ref);
  if (literals.size() == 1) {
    remove(ref);
    return fix(literals[0]);
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
