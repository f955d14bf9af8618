/// \file
/// Restarts, the alternation of stable and focused mode, and rephasing.
#include "Search.h"

namespace estoc {

namespace {
constexpr std::uint64_t first_mode_conflicts = 1000;
constexpr std::uint64_t focused_interval = 2;   ///< conflicts between two restarts at least
constexpr std::uint64_t stable_interval = 1024; ///< unit of the Luby sequence in stable mode
constexpr double restart_margin = 1.1;          ///< restart when the recent glue is this much worse
constexpr std::uint64_t rephase_interval = 1000;
} // namespace

/// In focused mode when what is learnt has lately been worse than usual (Audemard and Simon, 2012;
/// Biere and Fröhlich, 2015), in stable mode by the Luby sequence.
bool Search::restarting() const {
  if (count.conflicts < next_restart) return false;
  if (trail.level() <= static_cast<int>(assumed.size())) return false;
  if (decider.isStable()) return true;
  return recent_glue.value() > restart_margin * usual_glue.value();
}

void Search::restart() {
  count.restarts++;
  propagation.backjump(static_cast<int>(assumed.size()));
  switchMode();
  if (options.rephase && count.conflicts >= next_rephase) rephase();
  next_restart =
      count.conflicts +
      (decider.isStable() ? options.paced(stable_interval) * luby.next() : focused_interval);
}

/// The first mode lasts some conflicts; the work it took, times the square of the number of pairs
/// of modes, is the length of the others, so that both get the same time. Source: Biere and Fleury,
/// CaDiCaL, Kissat, Paracooba, Plingeling and Treengeling entering the SAT competition 2020.
void Search::switchMode() {
  if (!options.stable_mode || !options.focused_mode) return;
  if (mode_length == 0) {
    if (count.conflicts < options.paced(first_mode_conflicts)) return;
    mode_length = work();
  } else if (work() < mode_end) {
    return;
  }
  mode_count++;
  const std::uint64_t pair = mode_count / 2 + 1;
  mode_end = work() + mode_length * pair * pair;
  decider.setStable(!decider.isStable());
  decider.forgetBestTrail();
  luby = Luby();
}

/// In growing intervals: original, inverted, then best phases (and those of the solution) in turn.
void Search::rephase() {
  using Rephase = Decider::Rephase;
  static constexpr Rephase first[] = {Rephase::original, Rephase::inverted};
  static constexpr Rephase turn[] = {Rephase::best, Rephase::solution, Rephase::original,
                                     Rephase::best, Rephase::solution, Rephase::inverted};
  decider.rephase(rephases < 2 ? first[rephases] : turn[(rephases - 2) % 6]);
  rephases++;
  next_rephase = count.conflicts + options.paced(rephase_interval) * (rephases + 1);
}

} // namespace estoc
