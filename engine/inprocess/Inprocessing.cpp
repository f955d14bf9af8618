/// \file
/// When and for how long to simplify.
#include "Inprocessing.h"

#include <algorithm>

namespace estoc {

namespace {
/// Conflicts between two times; grows with their number.
constexpr std::uint64_t interval = 2000;
/// Shares of the search's work, in hundredths.
constexpr std::uint64_t at_most_one_share = 1;
constexpr std::uint64_t probing_share = 3;
constexpr std::uint64_t subsumption_share = 3;
constexpr std::uint64_t vivification_share = 10;
/// What each technique has to begin with.
constexpr std::uint64_t first_credit = 20000;
/// What the search for at-most-ones may cost at first, a constraint.
constexpr std::uint64_t at_most_one_work = 20;
} // namespace

/// Runs one technique if what it has earned suffices to look at each constraint once.
template <class F> bool Inprocessing::spend(std::uint64_t& credit, F&& technique) {
  if (credit < bench.propagation.problemConstraints().size()) return true;
  const std::uint64_t before = bench.spent();
  bench.startBudget(credit);
  const bool fine = technique();
  credit -= std::min(credit, bench.spent() - before);
  return fine;
}

bool Inprocessing::run(std::uint64_t conflicts, std::uint64_t work) {
  const std::uint64_t done = work - work_before;
  if (bench.count.runs == 0) {
    credits = {first_credit, first_credit, first_credit, first_credit};
    credits.at_most_ones += at_most_one_work * bench.propagation.problemConstraints().size();
  }
  credits.at_most_ones += done / 100 * at_most_one_share;
  credits.probing += done / 100 * probing_share;
  credits.subsumption += done / 100 * subsumption_share;
  credits.vivification += done / 100 * vivification_share;
  bool fine = true;
  if (options.at_most_ones) {
    spend(credits.at_most_ones, [&] {
      at_most_ones.run();
      return true;
    });
  }
  if (options.probing)
    fine = spend(credits.probing, [&] { return equivalences.run() && probing.run(); });
  if (fine && options.subsumption)
    fine = spend(credits.subsumption, [&] { return subsumption.run(); });
  if (fine && options.vivification)
    fine = spend(credits.vivification, [&] { return vivification.run(); });
  bench.count.runs++;
  work_before = work;
  next_run = conflicts + options.paced(interval) * bench.count.runs;
  return fine;
}

} // namespace estoc
