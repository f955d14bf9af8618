/// \file
/// Micro-benchmarks of the operations in which a run spends its time. All data are drawn from fixed
/// seeds, and what an operation is expected to do is checked: one that goes astray ends the
/// program.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "SolverAudit.h"
#include "glplpt.h"

namespace {

void demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "quillon_bench: %s\n", what);
  std::abort();
}

/// Random numbers that are the same with every standard library.
class Random {
  std::mt19937 engine;

 public:
  explicit Random(unsigned seed) : engine(seed) {}
  /// An integer from 0 to n - 1.
  int below(int n) { return static_cast<int>(engine() % static_cast<unsigned>(n)); }
  /// `count` different variables out of `nvars`, of which `count` is a small part.
  std::vector<Var> variables(int count, int nvars) {
    std::vector<Var> chosen;
    while (static_cast<int>(chosen.size()) < count) {
      const Var x = below(nvars);
      bool fresh = true;
      for (const Var y : chosen) fresh = fresh && y != x;
      if (fresh) chosen.push_back(x);
    }
    return chosen;
  }
};

/// A constraint "sum >= bound" over terms with positive coefficients and any literals.
struct Row {
  std::vector<vnumcoef> terms; ///< a negative variable number is the negated literal
  int bound;
};

std::vector<Row> clauses(Random& random, int nvars, int count, int size) {
  std::vector<Row> rows;
  for (int i = 0; i < count; i++) {
    Row row{{}, 1};
    for (const Var x : random.variables(size, nvars))
      row.terms.push_back(vnumcoef{random.below(2) == 0 ? x + 1 : -(x + 1), 1});
    rows.push_back(row);
  }
  return rows;
}

/// Rows with coefficients of 1 to 9 that demand a share of their sum, in percent.
std::vector<Row> sums(Random& random, int nvars, int count, int size, int percent) {
  std::vector<Row> rows = clauses(random, nvars, count, size);
  for (Row& row : rows) {
    int total = 0;
    for (vnumcoef& term : row.terms) total += term.coeff = 1 + random.below(9);
    row.bound = total * percent / 100;
  }
  return rows;
}

/// Makes the variables and adds the rows, those with a bound of 1 as clauses.
void build(Solver& S, int nvars, const std::vector<Row>& rows) {
  for (int i = 0; i < nvars; i++) S.newVar(true, -1, 0, 0);
  vec<vnumcoef> terms;
  for (const Row& row : rows) {
    terms.clear();
    for (const vnumcoef& term : row.terms) terms.push(term);
    demand(S.addPBConstraint(row.bound, pb_at_least, terms, -1, -1, false), "a row was refused");
  }
  SolverAudit::emptyAccumulator(S);
}

benchmark::Counter timePer(int64 operations) {
  return {static_cast<double>(operations),
          benchmark::Counter::kIsRate | benchmark::Counter::kInvert};
}

// ------------------------------------------------------------------------------------------------
// Propagation

/// Decides variables in random orders up to a conflict, propagates each, and takes all back; the
/// counter of `visits` tells what a visit of a watching constraint takes, retraction included.
void propagation(benchmark::State& state, Solver& S, const int64 SolverStats::*visits) {
  Random random(2);
  const int nvars = S.nVars();
  std::vector<std::vector<Lit>> orders(16); // drawn beforehand
  for (auto& order : orders) {
    for (Var x = 0; x < nvars; x++) order.emplace_back(x, random.below(2) == 0);
    for (int i = nvars - 1; i > 0; i--)
      std::swap(order[static_cast<size_t>(i)], order[static_cast<size_t>(random.below(i + 1))]);
  }
  demand(S.propagate() == nullptr, "a conflict before any decision");
  const int64 before = S.stats.*visits;
  int64 assigned = 0;
  size_t round = 0;
  for (auto _ : state) {
    for (const Lit p : orders[round++ % orders.size()]) {
      if (S.value(p) != l_Undef) continue;
      S.assume(p);
      if (S.propagate() != nullptr) break;
    }
    assigned += S.nAssigns();
    S.cancelUntil(0);
  }
  const int64 visited = S.stats.*visits - before;
  demand(visited > 0, "nothing was visited");
  state.counters["time/visit"] = timePer(visited);
  state.counters["time/assignment"] = timePer(assigned);
}

void ClausePropagation(benchmark::State& state) {
  Random random(1);
  const int nvars = static_cast<int>(state.range(0));
  Solver S;
  build(S, nvars, clauses(random, nvars, 4 * nvars, 4));
  propagation(state, S, &SolverStats::propagations);
  demand(S.stats.inspects == 0, "a clause was kept as a sum");
}
BENCHMARK(ClausePropagation)->RangeMultiplier(10)->Range(100, 100000);

void PseudoBooleanPropagation(benchmark::State& state) {
  Random random(1);
  const int nvars = static_cast<int>(state.range(0));
  const int size = static_cast<int>(state.range(1));
  Solver S;
  build(S, nvars, sums(random, nvars, nvars, size, 40));
  propagation(state, S, &SolverStats::inspects);
}
BENCHMARK(PseudoBooleanPropagation)
    ->ArgNames({"vars", "terms"})
    ->ArgsProduct({{1000, 100000}, {5, 20}})
    ->Args({1000, 200});

// ------------------------------------------------------------------------------------------------
// Conflict analysis and learning

/// Goes from conflict to conflict, by the activity of variables, and times what each conflict costs
/// from the end of propagation to the learnt constraint's assertion, the backjump included. When
/// enough is learnt, or all decided, it begins again with a new solver.
void learning(benchmark::State& state, int nvars, const std::vector<Row>& rows) {
  constexpr int conflicts_per_solver = 500;
  auto S = std::make_unique<Solver>();
  build(*S, nvars, rows);
  int conflicts = 0;
  int64 literals = 0;
  int64 sums_learnt = 0;
  vec<Lit> clause;
  vec<Lit> sum;
  const auto startAgain = [&] {
    S = std::make_unique<Solver>();
    build(*S, nvars, rows);
    conflicts = 0;
  };
  const auto nextConflict = [&]() -> Constr* {
    for (;;) {
      Constr* const conflict = S->propagate();
      if (conflict != nullptr && S->decisionLevel() > 0) return conflict;
      Var best = var_Undef;
      const vec<double>& activity = SolverAudit::activity(*S);
      for (Var x = 0; x < nvars; x++)
        if (S->value(x) == l_Undef && (best == var_Undef || activity[x] > activity[best])) best = x;
      if (conflict != nullptr || best == var_Undef || conflicts >= conflicts_per_solver) {
        demand(conflicts > 0, "decided without a conflict");
        startAgain();
      } else {
        S->assume(~Lit(best));
      }
    }
  };
  for (auto _ : state) {
    Constr* const conflict = nextConflict();
    clause.clear();
    sum.clear();
    int level = 0;
    bool impossible = false;
    const auto start = std::chrono::steady_clock::now();
    SolverAudit::analyze(*S, conflict, clause, sum, level);
    const bool learns_sum = SolverAudit::learning(*S) && SolverAudit::degree(*S) != 1;
    if (learns_sum) {
      impossible = SolverAudit::recordPB(*S, sum, clause, level);
    } else {
      S->cancelUntil(level);
      SolverAudit::record(*S, clause);
    }
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(passed.count());
    conflicts++;
    literals += clause.size();
    sums_learnt += learns_sum ? 1 : 0;
    if (impossible) startAgain();
  }
  state.counters["literals"] =
      benchmark::Counter(static_cast<double>(literals), benchmark::Counter::kAvgIterations);
  state.counters["sums"] =
      benchmark::Counter(static_cast<double>(sums_learnt), benchmark::Counter::kAvgIterations);
}

void LearningFromClauses(benchmark::State& state) {
  Random random(3);
  const int nvars = static_cast<int>(state.range(0));
  learning(state, nvars, clauses(random, nvars, nvars * 43 / 10, 3));
}
BENCHMARK(LearningFromClauses)->Arg(100)->Arg(300)->UseManualTime();

void LearningFromSums(benchmark::State& state) {
  Random random(3);
  const int nvars = static_cast<int>(state.range(0));
  learning(state, nvars, sums(random, nvars, nvars, 20, 45));
}
BENCHMARK(LearningFromSums)->Arg(100)->Arg(300)->UseManualTime();

/// Pigeons for one hole less: nearly every conflict teaches a pseudo-Boolean constraint.
void LearningFromPigeons(benchmark::State& state) {
  const int holes = static_cast<int>(state.range(0));
  const int pigeons = holes + 1;
  std::vector<Row> rows;
  for (int p = 0; p < pigeons; p++) {
    rows.push_back(Row{{}, 1});
    for (int h = 0; h < holes; h++) rows.back().terms.push_back(vnumcoef{p * holes + h + 1, 1});
  }
  for (int h = 0; h < holes; h++) {
    rows.push_back(Row{{}, pigeons - 1});
    for (int p = 0; p < pigeons; p++)
      rows.back().terms.push_back(vnumcoef{-(p * holes + h + 1), 1});
  }
  learning(state, pigeons * holes, rows);
}
BENCHMARK(LearningFromPigeons)->Arg(10)->Arg(20)->UseManualTime();

// ------------------------------------------------------------------------------------------------
// Decision order

/// An order over `nvars` variables with the solver's tables.
struct Order {
  vec<signed char> values;
  vec<double> activities;
  VarOrder order{values, activities};

  explicit Order(int nvars) {
    for (int i = 0; i < nvars; i++) {
      values.push(static_cast<signed char>(toInt(l_Undef)));
      activities.push(0.0);
      order.newVar(true);
    }
  }
};

/// Bumps variables the way conflicts do: a few over and over, others now and then, each conflict
/// weighing more than the one before. One iteration is one update.
void OrderUpdate(benchmark::State& state) {
  const int nvars = static_cast<int>(state.range(0));
  Order o(nvars);
  Random random(4);
  std::vector<Var> bumped(4096);
  for (Var& x : bumped) x = random.below(random.below(4) == 0 ? nvars : std::max(1, nvars / 10));
  double increment = 1.0;
  size_t i = 0;
  for (auto _ : state) {
    const Var x = bumped[i++ % bumped.size()];
    o.activities[x] += increment;
    o.order.update(x);
    if (i % 20 == 0 && (increment /= 0.95) > 1e100) {
      for (Var y = 0; y < nvars; y++) o.activities[y] *= 1e-100;
      increment *= 1e-100;
    }
  }
  const std::vector<Var> sequence = SolverAudit::sequence(o.order);
  for (size_t k = 1; k < sequence.size(); k++)
    demand(o.activities[sequence[k - 1]] >= o.activities[sequence[k]], "out of order");
}
BENCHMARK(OrderUpdate)->RangeMultiplier(10)->Range(100, 100000);

/// Selects and assigns all variables one by one, some of them implied meanwhile, then unassigns
/// them all.
void OrderSelect(benchmark::State& state) {
  const int nvars = static_cast<int>(state.range(0));
  Order o(nvars);
  Random random(5);
  for (Var x = 0; x < nvars; x++) {
    o.activities[x] = random.below(1 << 20);
    o.order.update(x);
  }
  std::vector<Var> implied;
  for (int k = 0; k < nvars; k++) implied.push_back(random.below(nvars));
  const auto yes = static_cast<signed char>(toInt(l_True));
  int64 selected = 0;
  for (auto _ : state) {
    size_t k = 0;
    for (Var x = o.order.select(0.02); x != var_Undef; x = o.order.select(0.02)) {
      o.values[x] = yes;
      o.values[implied[k++]] = yes;
      selected++;
    }
    for (Var x = 0; x < nvars; x++) {
      o.values[x] = static_cast<signed char>(toInt(l_Undef));
      o.order.undo(x);
    }
  }
  state.counters["time/select"] = timePer(selected);
}
BENCHMARK(OrderSelect)->RangeMultiplier(10)->Range(100, 100000);

// ------------------------------------------------------------------------------------------------
// Reading and construction

/// A mix of clauses and sums as problems have it.
std::vector<Row> mixture(int count) {
  Random random(6);
  std::vector<Row> rows = clauses(random, count, count / 2, 3);
  for (Row& row : sums(random, count, count - count / 2, 8, 30)) rows.push_back(std::move(row));
  return rows;
}

int64 terms(const std::vector<Row>& rows) {
  int64 n = 0;
  for (const Row& row : rows) n += static_cast<int64>(row.terms.size());
  return n;
}

void Reading(benchmark::State& state) {
  const std::vector<Row> rows = mixture(static_cast<int>(state.range(0)));
  std::string text;
  for (const Row& row : rows) {
    for (const vnumcoef& term : row.terms) // the format has no negated literals
      text += (term.vnum > 0 ? "+" : "-") + std::to_string(term.coeff) + "*variable" +
              std::to_string(std::abs(term.vnum)) + " ";
    text += ">= " + std::to_string(row.bound) + " ;\n";
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
  demand(file != nullptr, "no temporary file");
  demand(std::fwrite(text.data(), 1, text.size(), file.get()) == text.size(), "file not written");
  for (auto _ : state) {
    std::rewind(file.get());
    LPT* const problem = glp_lpt_read_prob(file.get());
    demand(problem != nullptr && problem->m == static_cast<int>(rows.size()), "not all rows read");
    glp_lpt_free_prob(problem);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(text.size()));
  state.counters["time/term"] = timePer(state.iterations() * terms(rows));
}
BENCHMARK(Reading)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

/// Makes variables and constraints; the destruction is not counted.
void Construction(benchmark::State& state) {
  const int size = static_cast<int>(state.range(0));
  const std::vector<Row> rows = mixture(size);
  for (auto _ : state) {
    auto S = std::make_unique<Solver>();
    build(*S, size, rows);
    demand(S->nConstrs() == size, "constraints are missing");
    state.PauseTiming();
    S.reset();
    state.ResumeTiming();
  }
  state.counters["time/term"] = timePer(state.iterations() * terms(rows));
}
BENCHMARK(Construction)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
