/// \file
/// The conflict-driven search: one set of constraints, decided under assumptions, again and again.
#ifndef ESTOC_SEARCH_SEARCH_H
#define ESTOC_SEARCH_SEARCH_H

#include "Analyzer.h"
#include "Averages.h"
#include "Decider.h"
#include "Guide.h"
#include "constraints/Normalise.h"
#include "estoc/Options.h"
#include "inprocess/Inprocessing.h"
#include "propagation/Propagation.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace estoc {

class Listener;

/// How a run of the search ended.
enum class Outcome {
  model,         ///< all variables are assigned, nothing is violated; the trail holds the model
  unsatisfiable, ///< there is no solution, whatever is assumed
  core,          ///< none under the assumptions; `core()` says why
  exhausted,     ///< the budget is spent
  interrupted    ///< somebody wanted it to end
};

/// Counters, since the solver began.
struct SearchCounters {
  std::uint64_t conflicts = 0;
  std::uint64_t decisions = 0;
  std::uint64_t restarts = 0;
  std::uint64_t reductions = 0;
  std::uint64_t learnt_clauses = 0;
  std::uint64_t learnt_cardinalities = 0;
  std::uint64_t learnt_general = 0;
  std::uint64_t learnt_units = 0;
};

class Search final : private UnassignListener {
 public:
  Search(const Options& o, const std::atomic<bool>& interrupt);
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  /// Everything that is derived is written there from now on. At the beginning.
  void setProof(Proof& p);
  /// Null when none is written.
  Proof* proof() { return proof_written; }
  /// A new variable; decisions first try it with the value `phase`. It is one of the problem, or
  /// one that some strategy needs.
  Var addVariable(bool phase, bool own = true);
  /// Adds a row of any form (see `normalise`) to the problem. Goes back to level 0. False when
  /// there is no solution any more. Constraint `id` of the proof is this row, and goes from the
  /// proof when the row does. `glue` counts for learnt rows only.
  bool addRow(Row row, bool learnt, ProofId id, unsigned glue = 2);
  /// The same for rows as a problem comes with them; before anything else, `attachRows` is called.
  /// What is in `row` afterwards is of no use.
  template <class N> bool addDetached(RowOf<N, N>& row, ProofId id);
  /// Makes the rows take part that `addDetached` has added.
  void attachRows() { propagation.attach(); }
  /// Adds a row as it is (positive coefficients in falling order, no variable twice), of which
  /// there is one at a time. Goes back to level 0.
  void addTarget(const Row& row, ProofId id);
  /// Removes it; nothing happens if it is gone already. Goes back to level 0.
  void dropTarget();
  /// Makes l true for ever, which propagation shows in the proof. Goes back to level 0. False when
  /// there is no solution any more.
  bool addFact(Lit l);
  /// Makes l true for ever, although there may be solutions in which it is false: any of these is
  /// one, and costs no more, with the substitutions of `witness`. To be called before anything has
  /// been learnt. Goes back to level 0.
  void addRedundantFact(Lit l, const std::vector<Substitution>& witness);
  /// Puts a row of which literals are fixed into normal form again. At level 0, at a fixpoint, with
  /// nothing learnt; `collect` is to be called before propagating. False when there is no solution
  /// any more.
  bool renewRow(Ref ref);
  /// Removes a row that the constraints `by` of the proof imply, in the proof also the problem's
  /// row that it comes from. The same holds.
  void dropRow(Ref ref, const std::vector<ProofId>& by);
  /// Gives the memory of removed rows back.
  void collect() { propagation.collect({&objective, &target}); }
  /// Tries what single literals imply, for `budget` of work at most. At level 0, at a fixpoint, and
  /// so afterwards. False when there is no solution.
  bool probe(std::uint64_t budget);
  /// Propagates at level 0. False when there is no solution.
  bool propagateFacts();
  /// Adds a row whose degree can be raised later, as it is (positive coefficients in falling order,
  /// no variable twice). At level 0.
  Ref addObjective(const Row& row, ProofId id);
  /// Raises the degree of the row that `addObjective` returned, at whatever level; the next run
  /// begins with the conflict, if this makes one. Constraint `id` of the proof is that row.
  void raiseObjective(Int128 amount, ProofId id);

  /// Searches for a model in which all `assumptions` are true, for at most `conflicts` conflicts.
  Outcome run(const std::vector<Lit>& assumptions, std::uint64_t conflicts);
  /// After `Outcome::core`: a row over negated assumptions that follows from the constraints and is
  /// falsified by the assumptions.
  const LearntRow& core() const { return failure; }
  /// That row's number in the proof, if one is written.
  ProofId coreId() const { return failure_id; }
  /// After `Outcome::model`, until anything is changed.
  bool modelValue(Var v) const { return trail.isTrue(Lit::of(v)); }
  void backToRoot() { propagation.backjump(0); }

  /// Who is asked before decisions; nobody if null.
  void setGuide(Guide* g) { guide = g; }
  /// Who is told now and then that the search goes on; nobody if null.
  void setListener(Listener* l) { listener = l; }
  /// Whether it is known that there is no solution.
  bool isRefuted() const { return !ok; }
  /// Whether somebody wants the search to end.
  bool isInterrupted() const { return interrupted.load(std::memory_order_relaxed); }
  const std::atomic<bool>& interruption() const { return interrupted; }
  /// The row that `addObjective` has added, or `no_ref`.
  Ref objectiveRow() const { return objective; }
  /// Whether l is known to be true in all solutions.
  bool isFact(Lit l) const { return trail.isRootTrue(l); }
  Decider& decisions() { return decider; }
  Propagation& constraints() { return propagation; }
  const Propagation& constraints() const { return propagation; }
  const SearchCounters& counters() const { return count; }
  const InprocessCounters& simplifications() const { return inprocessing.counters(); }
  const Options& settings() const { return options; }
  /// What has been done so far, in visits of watches and terms.
  std::uint64_t work() const {
    return propagation.work().total() + analyzer.work() + inprocessing.work();
  }
  Var variables() const { return trail.variables(); }

 private:
  friend class SearchAudit;
  const Options options;
  const std::atomic<bool>& interrupted;
  Listener* listener = nullptr;
  Guide* guide = nullptr;
  Propagation propagation;
  const Trail& trail;
  Decider decider;
  Analyzer analyzer;
  Inprocessing inprocessing;
  SearchCounters count;
  bool ok = true;
  Ref objective = no_ref;
  Ref target = no_ref;
  bool objective_raised = false; ///< what it implies now has not been looked at
  int objective_level = 0;       ///< where that was done last
  std::vector<Lit> assumed;      ///< the assumptions that the trail's first levels belong to
  LearntRow failure;
  ProofId failure_id = 0;
  Learnt learnt;
  std::vector<Lit> units;
  Proof* proof_written = nullptr;
  std::unique_ptr<Derivation> derivation; ///< null without a proof

  // Restarts and modes
  MovingAverage recent_glue{33};
  MovingAverage usual_glue{30000};
  Luby luby;
  std::uint64_t next_restart = 0;
  std::uint64_t mode_end = 0; ///< in conflicts for the first mode, then in work
  std::uint64_t mode_length = 0;
  std::uint64_t mode_start = 0;
  std::uint64_t mode_count = 0;
  std::uint64_t next_rephase = options.paced(1000);
  std::uint64_t rephases = 0;
  std::uint64_t next_reduction = options.paced(2000);
  /// Long rows cost more than a number of constraints tells: when so many terms have been learnt,
  /// learnt constraints are reduced before their time.
  static constexpr std::uint64_t least_learnt_terms = 500000;
  std::uint64_t learnt_terms = 0; ///< kept at the last reduction, and learnt since
  std::uint64_t most_learnt_terms = least_learnt_terms;
  std::uint64_t inprocessing_work = 0; ///< of all of it
  std::uint64_t random;                ///< state of the generator, of use if there is a seed
  int simplified = 0;                  ///< facts at the last `removeSatisfied`

  void audit([[maybe_unused]] AuditPoint point) const {
#ifndef NDEBUG
    if (options.audit != nullptr) options.audit(*this, point);
#endif
  }
  void onUnassign(int first) override {
    decider.onUnassign(first);
  }
  template <class N> RowState prepare(RowOf<N, N>& row, ProofId& id);
  bool enqueueFacts(const std::vector<Lit>& facts);
  bool noSolution();
  bool resolve(Ref conflict);
  bool install();
  bool learn(const LearntRow& row, ProofId id);
  bool restarting() const;
  void restart();
  void switchMode();
  void rephase();
  void reduce();
  void markReasons(bool mark);
  void removeSatisfied();
  bool simplify();
  enum class Decision { made, none, failed };
  Decision decide(const std::vector<Lit>& assumptions);
};

} // namespace estoc

#endif
