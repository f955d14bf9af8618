/// \file
/// A cost that the search tries to reach, as something to be assumed.
#include "Target.h"

#include "numbers/Width.h"

#include <algorithm>

namespace estoc {

bool Target::isPossible() const {
  return !objective.terms.empty() && bitLength(objective.largestCost()) <= 124;
}

void Target::state(Int128 most) {
  drop();
  assert(most >= 0 && most < objective.largestCost());
  literal_now = Lit::of(search.addVariable(false));
  most_now = most;
  all.push_back({literal_now, most});
  Row few = objective.atMost(most); // literal: the cost is at most `most`
  const auto place = std::find_if(few.terms.begin(), few.terms.end(),
                                  [&](const WideTerm& t) { return t.coefficient <= few.degree; });
  few.terms.insert(place, {few.degree, ~literal_now});
  if (Proof* const proof = search.proof()) {
    Row many; // ~literal: it is more
    many.terms = objective.terms;
    many.terms.push_back({most + 1, literal_now});
    many.degree = most + 1;
    few_id = proof->redundant(few, {~literal_now});
    many_id = proof->redundant(many, {literal_now});
  }
  search.addTarget(few, few_id);
}

void Target::drop() {
  if (!isStated()) return;
  search.dropTarget();
  if (Proof* const proof = search.proof()) proof->remove(many_id);
  literal_now = Lit();
}

bool Target::refute(ProofId core) {
  if (Proof* const proof = search.proof()) {
    Derivation derivation(*proof);
    derivation.add(many_id, 1);
    derivation.add(core, most_now + 1);
    if (lower_id != 0) proof->remove(lower_id);
    lower_id = derivation.finish();
  }
  lower = most_now + 1;
  const Lit refuted = literal_now;
  const bool fine = search.addRow({{{1, ~refuted}}, 1}, false, core);
  drop();
  return fine;
}

void Target::complete(std::vector<bool>& values, Int128 cost) const {
  for (const Stated& s : all)
    values[static_cast<std::size_t>(s.literal.var())] = (cost <= s.most) != s.literal.negated();
}

} // namespace estoc
