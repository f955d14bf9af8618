/// \file
/// Who works on the objective when, and what has been found.
#ifndef ESTOC_OPTIMISE_COORDINATOR_H
#define ESTOC_OPTIMISE_COORDINATOR_H

#include "CoreGuided.h"
#include "Neighbourhoods.h"
#include "Objective.h"
#include "Target.h"
#include "estoc/Solver.h"
#include "localsearch/Improver.h"
#include "lp/Branching.h"
#include "lp/CutLoop.h"
#include "search/Search.h"

#include <optional>
#include <vector>

namespace estoc {

/// Has all strategies work on one set of constraints in turn: presolve, cuts and a dive at first,
/// then branching by the relaxation, solution-improving and core-guided search, neighbourhoods of
/// the best solution, and local search in between. Slices are measured in conflicts or work, shares
/// in work; whoever moves a bound gets another slice.
class Coordinator {
 public:
  /// `problem_variables` are those that solutions speak of; others are the strategies' own.
  Coordinator(const Options& o, Search& s, Objective what, Var problem_variables);

  /// Until the optimum is proven (`optimal`), it is clear that there is no solution, or the search
  /// is interrupted.
  Verdict run(Listener* listener);

  const std::vector<bool>& solution() const { return best; }
  std::optional<Int128> upperBound() const;
  Int128 lowerBound() const { return objective.value(lower); }
  std::uint64_t cores() const { return core_count; }
  /// Literals that have been fixed before the search.
  std::uint64_t presolved() const { return presolved_count; }
  /// Rows that have been dropped before the search.
  std::uint64_t dropped() const { return dropped_count; }
  const Improver& localSearch() const { return improver; }
  /// Writes the end of the proof, which there is: the bounds so far.
  void concludeProof();
  /// Null while there is no relaxation.
  const Relaxer* relaxation() const { return relaxer.get(); }
  /// Null while there are no cuts.
  const CutLoop* cuts() const { return cut_loop.get(); }

 private:
  static constexpr int all_shares = 16; ///< targets are at a number of these
  static constexpr int least_share = 2;
  const Options options;
  Search& search;
  const Objective objective;
  const Var problem_variables;
  CoreGuided core_guided;
  Improver improver;
  Target target;
  Neighbourhoods neighbourhoods;
  std::uint64_t neighbourhood_share = 4;
  int target_share = least_share; ///< where in the gap targets are
  std::uint64_t aimed_at = 0;     ///< the work done when the target was chosen
  std::vector<bool> best;
  std::optional<Int128> upper; ///< the cost of `best`
  Int128 lower = 0;
  ProofId upper_id = 0; ///< in the proof: the row that demands a lower cost than `upper`
  std::uint64_t core_count = 0;
  std::uint64_t presolved_count = 0;
  std::uint64_t dropped_count = 0;
  bool is_presolved = false;
  std::uint64_t work_of[5] = {0, 0, 0, 0, 0}; ///< by strategy
  std::unique_ptr<Relaxer> relaxer;
  std::unique_ptr<Branching> branching;
  std::unique_ptr<CutLoop> cut_loop; ///< null unless cuts are wanted
  static constexpr std::uint64_t all_worth = 16;
  std::uint64_t branching_worth = all_worth; ///< in sixteenths of its share
  std::uint64_t slices = 0;
  std::uint64_t branching_slices = 0;

  enum class SliceEnd { moved, stuck, proven, infeasible, interrupted };
  SliceEnd linearSlice(Listener* listener, std::uint64_t conflicts);
  SliceEnd coreSlice(Listener* listener, std::uint64_t conflicts);
  /// There is nothing better than what there is.
  SliceEnd refuted() const { return upper ? SliceEnd::proven : SliceEnd::infeasible; }
  bool presolve();
  std::vector<bool> localStart() const;
  SliceEnd localSlice(Listener* listener, std::vector<bool> from);
  SliceEnd branchingSlice(Listener* listener, std::uint64_t budget);
  SliceEnd neighbourhoodSlice(Listener* listener);
  SliceEnd cutSlice(Listener* listener, std::uint64_t budget);
  void startRelaxation();
  void aim(bool dive);
  void weigh(Strategy turn, bool progress);
  std::uint64_t branchingShare() const;
  Strategy next() const;
  std::uint64_t work() const {
    return search.work() + neighbourhoods.work() + (relaxer != nullptr ? relaxer->work() : 0);
  }
  void takeModel(Listener* listener, Strategy by);
  bool takeSolution(Listener* listener, std::vector<bool> values, Strategy by);
  void raiseLower(Listener* listener, Int128 cost, Strategy by);
  void deriveLower(Derivation& derivation) const;
  void writeSolution(const std::vector<bool>& values);
  bool closed() const { return upper && lower >= *upper; }
};

} // namespace estoc

#endif
