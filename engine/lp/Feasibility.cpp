/// \file
/// Search and branching by the relaxation take turns.
#include "Feasibility.h"

#include <limits>

namespace estoc {

namespace {
constexpr std::uint64_t slice = 2000;           ///< conflicts of the search
constexpr std::uint64_t branch_work = 50000000; ///< work of branching
} // namespace

Feasibility::Feasibility(const Options& o, Search& s, Var variables) : options(o), search(s) {
  if (!options.lp || variables == 0) return;
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
