/// \file
/// Which learnt constraints are kept.
#include "Search.h"

#include <algorithm>

namespace estoc {

namespace {
constexpr std::uint64_t reduction_interval = 150; ///< grows with the square root of their number
constexpr unsigned glue_kept = 2;                 ///< constraints up to this glue stay for ever
constexpr unsigned glue_tier = 6;                 ///< up to this they stay while they are used
} // namespace

/// Reasons of assigned variables must stay.
void Search::markReasons(bool mark) {
  for (int i = trail.start(1); i < trail.size(); i++) {
    const Ref reason = trail.reason(trail[i].var());
    if (reason != no_ref) propagation.at(reason).marked = mark ? 1 : 0;
  }
}

/// Removes what is satisfied at level 0.
void Search::removeSatisfied() {
  if (trail.start(1) == simplified) return;
  simplified = trail.start(1);
  const auto satisfied = [&](Header& c) {
    Int128 rest = degreeOf(c);
    forEachTerm(c, [&](Int128 a, Lit l) {
      if (trail.isRootTrue(l)) rest -= a;
    });
    return rest <= 0;
  };
  propagation.forEachConstraint([&](Ref ref) {
    Header& c = propagation.at(ref);
    if (c.removed == 0 && c.marked == 0 && ref != objective && satisfied(c))
      propagation.remove(ref);
  });
}

/// Drops half of the learnt constraints that are neither of low glue nor of use lately, the worst
/// ones first. Source: Audemard and Simon, Predicting learnt clauses quality (2009).
void Search::reduce() {
  count.reductions++;
  markReasons(true);
  removeSatisfied();
  std::vector<Ref> candidates;
  for (const Ref ref : propagation.learntConstraints()) {
    Header& c = propagation.at(ref);
    if (c.removed != 0) continue;
    const bool used = c.used > 0;
    if (used) c.used--;
    if (c.marked != 0 || c.glue <= glue_kept) continue;
    if (used && c.glue <= glue_tier) continue;
    candidates.push_back(ref);
  }
  std::stable_sort(candidates.begin(), candidates.end(), [&](Ref a, Ref b) {
    const Header& x = propagation.at(a);
    const Header& y = propagation.at(b);
    if (x.glue != y.glue) return x.glue > y.glue;
    return x.size > y.size;
  });
  candidates.resize(candidates.size() * 3 / 4);
  for (const Ref ref : candidates) propagation.remove(ref);
  markReasons(false);
  propagation.collect({&objective, &target});
  learnt_terms = 0;
  for (const Ref ref : propagation.learntConstraints())
    if (const Header& c = propagation.at(ref); c.removed == 0) learnt_terms += c.size;
  most_learnt_terms = std::max(learnt_terms * 2, least_learnt_terms);
  // Arithmetic progression of the distances.
  next_reduction = count.conflicts + options.paced(reduction_interval) * (count.reductions + 1);
}

} // namespace estoc
