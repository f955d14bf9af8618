/// \file
/// The order of presolve.
#include "Presolve.h"

namespace estoc {

namespace {
constexpr int most_rounds = 5;
/// Of trying single literals, in visits of watches and terms.
constexpr std::uint64_t most_probing = 20000000;
} // namespace

const std::vector<WideTerm> Presolve::no_cost;

Presolve::Presolve(const Options& o, Search& s, const std::vector<WideTerm>* cost, Var variables)
    : options(o), search(s), rows(o, s), cliques(s),
      columns(s, cost != nullptr ? *cost : no_cost, variables), has_cost(cost != nullptr),
      probing_budget(most_probing) {}

std::uint64_t Presolve::fixed() const {
  return rows.counters().fixed + columns.fixed() + failed;
}

/// What is left of the budget goes into it.
bool Presolve::probe() {
  const std::uint64_t work = search.work();
  const std::uint64_t before = search.simplifications().failed;
  const bool fine = search.probe(probing_budget);
  failed += search.simplifications().failed - before;
  probing_budget -= std::min(probing_budget, search.work() - work);
  return fine;
}

bool Presolve::round() {
  if (!rows.run()) return false;
  // What they say more is for the relaxation.
  if (options.at_most_ones && options.lp && !cliques.run()) return false;
  if (has_cost && !columns.run()) return false;
  return !options.probing || probe();
}

bool Presolve::run() {
  for (int i = 0; i < most_rounds && !search.isInterrupted(); i++) {
    const std::uint64_t before = fixed();
    if (!search.propagateFacts() || !round()) return false;
    if (fixed() == before) break;
  }
  if (search.proof() != nullptr) search.proof()->forgetOrigins();
  return true;
}

} // namespace estoc
