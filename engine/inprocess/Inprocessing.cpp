/// \file
/// When and for how long to simplify.
#include "Inprocessing.h"

namespace estoc {

namespace {
/// Conflicts between two times; grows with their number.
constexpr std::uint64_t interval = 2000;
/// Shares of the search's work, in hundredths.
constexpr std::uint64_t probing_share = 3;
constexpr std::uint64_t subsumption_share = 3;
constexpr std::uint64_t vivification_share = 10;
/// What a technique gets at least.
constexpr std::uint64_t smallest_budget = 20000;
/// What the search for at-most-ones may cost, a constraint.
constexpr std::uint64_t at_most_one_work = 20;
} // namespace

bool Inprocessing::run(std::uint64_t conflicts, std::uint64_t work) {
  const std::uint64_t done = work - work_before;
  const auto share = [&](std::uint64_t hundredths) {
    bench.startBudget(smallest_budget + done / 100 * hundredths);
  };
  if (options.at_most_ones) {
    bench.startBudget(smallest_budget +
                      at_most_one_work * bench.propagation.problemConstraints().size());
    at_most_ones.run();
  }
  bool fine = true;
  if (options.probing) {
    share(probing_share);
    fine = equivalences.run() && probing.run();
  }
  if (fine && options.subsumption) {
    share(subsumption_share);
    fine = subsumption.run();
  }
  if (fine && options.vivification && bench.count.runs > 0) {
    share(vivification_share);
    fine = vivification.run();
  }
  bench.count.runs++;
  work_before = work;
  next_run = conflicts + options.paced(interval) * bench.count.runs;
  return fine;
}

} // namespace estoc
