/// \file
/// The public face: hands everything on.
#include "estoc/Solver.h"

#include "lp/Feasibility.h"
#include "optimise/Coordinator.h"
#include "search/Search.h"

#include <atomic>
#include <limits>

namespace estoc {

struct Solver::Inside {
  const Options options;
  std::atomic<bool> interrupted{false};
  std::unique_ptr<Proof> proof; ///< null when none is written
  ProofId proof_row = 0;        ///< the number of the last row of the problem
  Search search;
  Var problem_variables = 0;
  SmallRow small_row;                 ///< kept for its memory
  std::optional<Objective> objective; ///< until the first `solve`
  std::unique_ptr<Coordinator> coordinator;
  std::unique_ptr<Feasibility> feasibility; ///< without an objective
  std::vector<bool> solution;
  bool has_solution = false;
  std::vector<Lit> core;

  std::uint64_t local_slices = 0; ///< without an objective
  std::uint64_t local_flips = 0;

  explicit Inside(const Options& o) : options(o), search(options, interrupted) {}

  /// Looks for a solution by local search, for the problem as it is now; whether it is there.
  bool solveLocally() {
    if (!options.local_search || search.isRefuted()) return false;
    const std::vector<WideTerm> no_cost;
    Improver improver(options, search, no_cost, problem_variables);
    const bool found = improver.begin(improver.phases(), false) && improver.next({});
    local_slices += improver.slices();
    local_flips += improver.flips();
    if (found) {
      solution = improver.solution();
      has_solution = true;
    }
    return found;
  }
};

Solver::Solver(const Options& options) : inside(std::make_unique<Inside>(options)) {}
Solver::~Solver() = default;

void Solver::prove(ProofSink& sink, const ProofPlan& plan) {
  assert(inside->problem_variables == 0 && inside->proof == nullptr);
  inside->proof = std::make_unique<Proof>(sink, plan);
  inside->search.setProof(*inside->proof);
}

void Solver::concludeProof() {
  Inside& in = *inside;
  if (in.coordinator != nullptr)
    in.coordinator->concludeProof();
  else if (in.proof->contradictionId() != 0 && in.objective)
    in.proof->concludeBounds({}, in.proof->contradictionId(), {}, {});
  else if (in.proof->contradictionId() != 0)
    in.proof->concludeUnsatisfiable();
  else if (in.has_solution)
    in.proof->concludeSatisfiable(in.solution);
  else
    in.proof->concludeNone();
}

Var Solver::newVariable() {
  inside->search.backToRoot();
  inside->problem_variables++;
  return inside->search.addVariable(false, false);
}

Var Solver::variables() const {
  return inside->problem_variables;
}

bool Solver::addRow(std::vector<WideTerm> terms, Int128 bound, ProofId proof_row) {
  inside->proof_row = proof_row != 0 ? proof_row : inside->proof_row + 1;
  Row row{std::move(terms), bound};
  return inside->search.addDetached(row, inside->proof_row);
}

bool Solver::addSmallRow(std::span<const SmallTerm> terms, std::int64_t bound, ProofId proof_row) {
  inside->proof_row = proof_row != 0 ? proof_row : inside->proof_row + 1;
  inside->small_row.terms.assign(terms.begin(), terms.end());
  inside->small_row.degree = bound;
  return inside->search.addDetached(inside->small_row, inside->proof_row);
}

void Solver::minimise(std::vector<WideTerm> terms, Int128 constant) {
  inside->objective.emplace(std::move(terms), constant);
  for (const WideTerm& t : inside->objective->terms)
    inside->search.decisions().setPhase(t.literal.var(), t.literal.negated());
}

Verdict Solver::solve(const std::vector<Lit>& assumptions, Listener* listener) {
  Inside& in = *inside;
  in.search.setListener(listener);
  in.search.attachRows();
  if (in.objective) {
    assert(assumptions.empty());
    if (in.coordinator == nullptr)
      in.coordinator =
          std::make_unique<Coordinator>(in.options, in.search, *in.objective, in.problem_variables);
    const Verdict verdict = in.coordinator->run(listener);
    in.interrupted = false;
    return verdict;
  }
  if (in.search.isRefuted()) { // as loading can show: no relaxation is needed then
    in.interrupted = false;
    in.core.clear();
    return Verdict::unsatisfiable;
  }
  std::vector<Lit> different; // each assumption opens a level, of which there is one a variable
  std::vector<bool> is_assumed(2 * static_cast<std::size_t>(in.search.variables()));
  for (const Lit l : assumptions) {
    if (!is_assumed[l.index()]) different.push_back(l);
    is_assumed[l.index()] = true;
  }
  if (different.empty() && in.solveLocally()) {
    in.interrupted = false;
    in.core.clear();
    if (listener != nullptr) listener->onSolution(in.solution, 0, Strategy::local_search);
    return Verdict::satisfiable;
  }
  if (different.empty() && in.feasibility == nullptr)
    in.feasibility = std::make_unique<Feasibility>(in.options, in.search, in.problem_variables);
  const Outcome outcome =
      different.empty() ? in.feasibility->run()
                        : in.search.run(different, std::numeric_limits<std::uint64_t>::max() / 2);
  in.interrupted = false;
  in.core.clear();
  switch (outcome) {
  case Outcome::model:
    in.solution.resize(static_cast<std::size_t>(in.problem_variables));
    for (Var v = 0; v < in.problem_variables; v++)
      in.solution[static_cast<std::size_t>(v)] = in.search.modelValue(v);
    in.has_solution = true;
    if (listener != nullptr) listener->onSolution(in.solution, 0, Strategy::linear);
    return Verdict::satisfiable;
  case Outcome::core:
    for (const auto& t : in.search.core().terms) in.core.push_back(~t.literal);
    return Verdict::unsatisfiable;
  case Outcome::unsatisfiable:
    return Verdict::unsatisfiable;
  case Outcome::exhausted:
  case Outcome::interrupted:
    break;
  }
  return Verdict::unknown;
}

void Solver::interrupt() noexcept {
  inside->interrupted.store(true, std::memory_order_relaxed);
}

bool Solver::hasSolution() const {
  return inside->coordinator != nullptr ? inside->coordinator->upperBound().has_value()
                                        : inside->has_solution;
}

bool Solver::value(Var v) const {
  const std::vector<bool>& values =
      inside->coordinator != nullptr ? inside->coordinator->solution() : inside->solution;
  return values[static_cast<std::size_t>(v)];
}

std::optional<Int128> Solver::upperBound() const {
  return inside->coordinator != nullptr ? inside->coordinator->upperBound() : std::nullopt;
}

std::optional<Int128> Solver::lowerBound() const {
  if (inside->coordinator == nullptr) return std::nullopt;
  return inside->coordinator->lowerBound();
}

const std::vector<Lit>& Solver::core() const {
  return inside->core;
}

Statistics Solver::statistics() const {
  const SearchCounters& c = inside->search.counters();
  const Propagation& p = inside->search.constraints();
  Statistics s;
  s.conflicts = c.conflicts;
  s.decisions = c.decisions;
  s.propagations = p.work().literals;
  s.clause_visits = p.work().clause_visits;
  s.row_visits = p.work().row_visits;
  s.restarts = c.restarts;
  s.reductions = c.reductions;
  s.learnt_clauses = c.learnt_clauses;
  s.learnt_cardinalities = c.learnt_cardinalities;
  s.learnt_general = c.learnt_general;
  const InprocessCounters& i = inside->search.simplifications();
  s.facts = c.learnt_units + i.facts;
  s.failed_literals = i.failed;
  s.equivalences = i.equivalences;
  s.shortened = i.shortened;
  s.subsumed = i.subsumed;
  s.strengthened = i.strengthened;
  s.at_most_ones = i.at_most_ones;
  s.cores = inside->coordinator != nullptr ? inside->coordinator->cores() : 0;
  s.local_slices = inside->local_slices;
  s.local_flips = inside->local_flips;
  if (inside->coordinator != nullptr) {
    s.presolved = inside->coordinator->presolved();
    s.dropped = inside->coordinator->dropped();
    s.local_slices = inside->coordinator->localSearch().slices();
    s.local_flips = inside->coordinator->localSearch().flips();
  } else if (inside->feasibility != nullptr) {
    s.presolved = inside->feasibility->presolved();
    s.dropped = inside->feasibility->dropped();
  }
  s.work = inside->search.work();
  const Relaxer* const relaxer = inside->coordinator != nullptr ? inside->coordinator->relaxation()
                                 : inside->feasibility != nullptr
                                     ? inside->feasibility->relaxation()
                                     : nullptr;
  if (relaxer != nullptr) {
    s.lp_calls = relaxer->counters().calls;
    s.lp_skipped = relaxer->counters().skipped;
    s.lp_pivots = relaxer->pivots();
    s.lp_conflicts = relaxer->counters().conflicts;
    s.lp_failed = relaxer->counters().failed;
    if (inside->coordinator != nullptr && inside->coordinator->cuts() != nullptr) {
      s.cut_rounds = inside->coordinator->cuts()->counters().rounds;
      s.cuts = inside->coordinator->cuts()->counters().added;
    }
    s.work += relaxer->work();
  }
  s.constraints = p.problemConstraints().size();
  s.learnt = p.learntConstraints().size();
  s.memory = p.bytes();
  return s;
}

const char* Solver::linearProgramming() {
  return relaxationLibrary();
}

} // namespace estoc
