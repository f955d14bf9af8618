/// \file
/// The solver as its users see it.
#ifndef ESTOC_SOLVER_H
#define ESTOC_SOLVER_H

#include "Options.h"
#include "ProofSink.h"
#include "Types.h"

#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace estoc {

/// What `Solver::solve` has found out.
enum class Verdict {
  unknown,       ///< interrupted, and there is no solution yet
  satisfiable,   ///< a solution; with an objective not proven optimal, since interrupted
  unsatisfiable, ///< there is no solution (under the assumptions)
  optimal        ///< a solution that no other one beats
};

/// What the solver does, and who has found a solution or a bound.
enum class Strategy { linear, core_guided, local_search, lp, neighbourhood };

/// Counters of a solver, since it began. Nothing here depends on time.
struct Statistics {
  std::uint64_t conflicts = 0;
  std::uint64_t decisions = 0;
  std::uint64_t propagations = 0;  ///< literals propagated
  std::uint64_t clause_visits = 0; ///< clauses looked at in propagation
  std::uint64_t row_visits = 0;    ///< the same for other constraints
  std::uint64_t restarts = 0;
  std::uint64_t reductions = 0;
  std::uint64_t learnt_clauses = 0;
  std::uint64_t learnt_cardinalities = 0;
  std::uint64_t learnt_general = 0;
  std::uint64_t facts = 0;           ///< literals fixed by learning
  std::uint64_t failed_literals = 0; ///< that probing found
  std::uint64_t equivalences = 0;    ///< literals found equivalent to others
  std::uint64_t shortened = 0;       ///< clauses made shorter by vivification
  std::uint64_t subsumed = 0;        ///< clauses removed, since another one implies them
  std::uint64_t strengthened = 0;    ///< clauses made shorter by another one
  std::uint64_t at_most_ones = 0;    ///< cardinalities made of clauses
  std::uint64_t cores = 0;
  std::uint64_t presolved = 0;    ///< literals fixed by presolve
  std::uint64_t dropped = 0;      ///< rows that presolve dropped, since another one implies them
  std::uint64_t local_slices = 0; ///< slices of local search
  std::uint64_t local_flips = 0;  ///< and its flips
  std::uint64_t lp_calls = 0;     ///< linear programs solved
  std::uint64_t lp_skipped = 0;   ///< calls saved, since the last optimum still fitted
  std::uint64_t lp_pivots = 0;
  std::uint64_t lp_conflicts = 0; ///< conflicts that were proven by a linear program
  std::uint64_t lp_failed = 0;    ///< seemed to be such, but rounding lost the proof
  std::uint64_t cut_rounds = 0;   ///< in which rows were made that cut an optimum off
  std::uint64_t cuts = 0;         ///< those rows
  std::uint64_t work = 0;         ///< visits of watches and terms, the unit of budgets
  std::size_t constraints = 0;    ///< stored now, learnt ones not among them
  std::size_t learnt = 0;         ///< learnt ones stored now
  std::size_t memory = 0;         ///< bytes of constraints and watch lists
};

/// Somebody who is told what a solver finds. Called from within `solve`, on its thread; must not
/// call the solver but for `interrupt`, `value` and the observers.
class Listener {
 public:
  virtual ~Listener() = default;
  /// A solution better than all before; `values` has an entry for each variable of the problem. For
  /// problems without an objective `value` is 0.
  virtual void onSolution(const std::vector<bool>& values, Int128 value, Strategy by) = 0;
  /// No solution is better than `lower`, which is larger than all before.
  virtual void onLowerBound(Int128 lower, Strategy by) = 0;
  /// The search goes on: called every few hundred conflicts.
  virtual void onProgress() {}
};

/// Decides and optimises one pseudo-Boolean problem. Several can live side by side.
///
/// Use: create variables, add rows, set an objective or none, then call `solve`. Between calls more
/// variables and rows may be added, unless there is an objective: what an optimal solution can do
/// without has been fixed then. All magnitudes of a row's numbers add up to less than 2^127,
/// likewise those of the objective. When memory is exhausted, any function may throw
/// std::bad_alloc; the solver can only be destroyed then.
class Solver {
 public:
  explicit Solver(const Options& options = {});
  ~Solver();
  Solver(const Solver&) = delete;
  Solver& operator=(const Solver&) = delete;

  /// Writes a proof of everything from now on. At the beginning, before there are variables. The
  /// rows, and an objective, are added before the first `solve`, which is called without
  /// assumptions.
  void prove(ProofSink& sink, const ProofPlan& plan);
  /// Writes the end of the proof: what has been shown so far. Nothing more may be done then but ask
  /// for results.
  void concludeProof();

  /// A new variable; they are numbered from 0.
  Var newVariable();
  Var variables() const;
  /// Demands: the sum of `terms` is at least `bound`. Terms may repeat variables, be negative or 0.
  /// In a proof it is the problem's row number `proof_row`, or for 0 the one behind the row before.
  /// False when it has been noticed that there is no solution.
  bool addRow(std::vector<WideTerm> terms, Int128 bound, ProofId proof_row = 0);
  /// The same, in less time, for a row whose magnitudes add up to less than 2^62.
  bool addSmallRow(std::span<const SmallTerm> terms, std::int64_t bound, ProofId proof_row = 0);
  /// Sets what is to be minimised: `constant` plus the sum of `terms`. Once, before `solve`.
  void minimise(std::vector<WideTerm> terms, Int128 constant);

  /// Looks for a solution in which `assumptions` are true or, when there is an objective, for a
  /// best one (assumptions must be empty then). Ends early when interrupted; called again it goes
  /// on.
  Verdict solve(const std::vector<Lit>& assumptions = {}, Listener* listener = nullptr);
  /// Makes a call of `solve` that is running, or the next one, end soon. Can be called from any
  /// thread and from signal handlers.
  void interrupt() noexcept;

  /// Whether there is a solution, that is whether `value` may be asked.
  bool hasSolution() const;
  /// The value of v in the best solution, or without objective in the last one.
  bool value(Var v) const;
  /// The objective's value in the best solution.
  std::optional<Int128> upperBound() const;
  /// What no solution is below, as far as it is known.
  std::optional<Int128> lowerBound() const;
  /// After `unsatisfiable` under assumptions: some of these that cannot all be true.
  const std::vector<Lit>& core() const;
  Statistics statistics() const;
  /// The library that solves linear programs, and its version; null in builds without.
  static const char* linearProgramming();

 private:
  struct Inside;
  std::unique_ptr<Inside> inside;
};

} // namespace estoc

#endif
