/// \file
/// Asks the relaxation about the trail, and turns the answers into rows that hold.
#ifndef ESTOC_LP_RELAXER_H
#define ESTOC_LP_RELAXER_H

#include "LinearProgram.h"
#include "Settle.h"
#include "search/Search.h"

#include <optional>
#include <vector>

namespace estoc {

/// Counters of the relaxation, since the solver began.
struct RelaxationCounters {
  std::uint64_t calls = 0;     ///< linear programs solved
  std::uint64_t skipped = 0;   ///< calls saved, since the last optimum still fitted the trail
  std::uint64_t conflicts = 0; ///< conflicts that came out
  std::uint64_t failed = 0;    ///< infeasible or cut off, but the sum of integers did not show it
};

/// What the relaxation says under the trail.
struct Relaxed {
  enum class Kind {
    optimum,    ///< the values are there; `row`, if not null, is implying
    row,        ///< `row` is falsified or implying
    hopeless,   ///< there is no solution at all (that costs little enough)
    unfinished, ///< the work is spent; the next call goes on where this one ended
    nothing     ///< no help: the library is in trouble
  };
  Kind kind = Kind::nothing;
  const LearntRow* row = nullptr;
  ProofId id = 0; ///< of `row` in the proof, if one is written
};

/// One linear program in service of one search.
class Relaxer {
 public:
  /// The relaxation of what `s` has at level 0, but for row `without`, over the first `columns`
  /// variables, with the objective unless that is null. Null where there is no LP library, or the
  /// problem is too large for it.
  static std::unique_ptr<Relaxer> make(Search& s, Ref without, Var columns,
                                       const Objective* objective);
  Relaxer(LinearProgram program, Search& s);

  /// Solutions have to cost less than `cost` from now on, says constraint `id` of the proof; if
  /// `unless` is a literal: or else it is true.
  void demandLess(Int128 cost, ProofId id, Lit unless = Lit());
  /// Solves under the trail, which is at a fixpoint, unless the last optimum fits it. Ends after
  /// `most` units of work, in the unit of `work`, and a few pivots at least.
  Relaxed ask(std::uint64_t most);
  /// The rows, for those who make others of them.
  LinearProgram& program() { return lp; }
  /// The values of the last optimum.
  const std::vector<double>& optimumValues() const { return values; }
  /// Rows have been added or taken out: the last optimum is no longer one.
  void rowsChanged() { has_values = false; }
  /// Work done for the relaxation elsewhere: all numbers are looked at `looks` times.
  void charge(std::uint64_t looks, std::uint64_t pivots);
  void chargeSteps(std::uint64_t done) { steps += done; }
  /// The value of variable v in the last optimum.
  double value(Var v) const { return values[static_cast<std::size_t>(v)]; }
  Var columns() const { return lp.columns(); }
  /// The cost of the last optimum.
  double cost() const { return optimum; }
  bool hasObjective() const { return lp.hasObjective(); }
  /// What no solution costs less than, as proven at level 0; costs are at least 0.
  Int128 lowerCost() const { return lower; }
  /// With a proof: the constraint that says so, 0 if there is none.
  ProofId lowerId();
  /// What the best lower bound says, together with what is demanded since the last call: usually
  /// that much is too dear. No call to the relaxation is needed for that.
  Relaxed tightenDemand();
  std::vector<ProbedColumn> probe(const std::vector<int>& columns, int pivots);
  const RelaxationCounters& counters() const { return count; }
  std::uint64_t pivots() const { return lp.relaxation().pivots(); }
  /// What has been done so far, in the unit of `Search::work`.
  std::uint64_t work() const { return steps; }
  /// The same with what the search has done.
  std::uint64_t totalWork() const { return steps + search.work(); }

 private:
  LinearProgram lp;
  Search& search;
  std::optional<Int128> demanded;
  ProofId demand_id = 0;
  Lit demand_unless;
  bool demand_changed = false;
  Expression<Summed> sum;
  LearntRow derived;
  std::vector<double> values;
  double optimum = 0;
  bool has_values = false;
  /// A sum of rows, as the duals at level 0 have it.
  struct RowSum {
    std::vector<WideTerm> terms;
    Int128 degree = 0;
    Int128 unit = 0; ///< what stands for 1 in it; 0 if there is none
    ProofId id = 0;
  };
  Int128 lower = 0;
  RowSum bounding;      ///< what shows `lower`
  ProofId lower_id = 0; ///< once it has been asked for
  bool demand_is_new = false;
  std::unique_ptr<Derivation> derivation; ///< null unless a proof is written
  RelaxationCounters count;
  std::uint64_t steps = 0;
  int settled = 0; ///< literals of level 0 that the relaxation has been rid of

  std::uint64_t numbers() const;
  std::uint64_t workOfPivot() const;
  void reduce();
  bool fitsTrail();
  Int128 addUp(bool basis);
  bool addDemanded();
  void load(const RowSum& rows);
  Relaxed settle(bool expected);
  Relaxed settleRoot();
};

} // namespace estoc

#endif
