/// \file
/// Search and branching by the relaxation take turns.
#include "Feasibility.h"

#include "presolve/Presolve.h"

#include <algorithm>
#include <limits>

namespace estoc {

namespace {
constexpr std::uint64_t slice = 2000;           ///< conflicts of the search
constexpr std::uint64_t branch_work = 50000000; ///< work of branching
} // namespace

/// Unless all rows are clauses, which inprocessing knows best.
void Feasibility::presolve(Var variables) {
  const Propagation& constraints = search.constraints();
  const auto isClause = [&](Ref ref) { return constraints.at(ref).kind == Kind::clause; };
  const std::vector<Ref>& rows = constraints.problemConstraints();
  if (!options.presolve || std::all_of(rows.begin(), rows.end(), isClause)) return;
  Presolve presolve(options, search, nullptr, variables);
  presolve.run(); // what it shows the search remembers
  presolved_count = presolve.fixed();
  dropped_count = presolve.dropped();
}

Feasibility::Feasibility(const Options& o, Search& s, Var variables) : options(o), search(s) {
  if (variables == 0) return;
  presolve(variables);
  if (!options.lp || search.isRefuted()) return;
  relaxer = Relaxer::make(search, no_ref, variables, nullptr);
  if (relaxer != nullptr && !relaxer->program().isUseful()) relaxer.reset();
  if (relaxer == nullptr) return;
  relaxer->program().takeGuidingCosts();
  branching = std::make_unique<Branching>(*relaxer, search);
}

Outcome Feasibility::run() {
  constexpr std::uint64_t no_end = std::numeric_limits<std::uint64_t>::max() / 2;
  if (relaxer == nullptr) return search.run({}, no_end);
  for (;;) {
    const std::uint64_t before = relaxer->totalWork();
    const bool branch = branched < searched;
    if (branch) {
      branching->begin(options.paced(branch_work), true);
      search.setGuide(branching.get());
    }
    const Outcome outcome = search.run({}, branch ? no_end : options.paced(slice));
    search.setGuide(nullptr);
    (branch ? branched : searched) += relaxer->totalWork() - before;
    if (outcome != Outcome::exhausted) return outcome;
  }
}

} // namespace estoc
