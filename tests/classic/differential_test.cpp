/// \file
/// Random small problems, the engine against exhaustive enumeration. A failure prints the seed and
/// the problem as text; QUILLON_DIFFERENTIAL_SEED set to that seed with QUILLON_DIFFERENTIAL_RUNS=1
/// runs that problem alone.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Generators.h"
#include "SolverAudit.h"

namespace {

using plain::Problem;

std::string running; ///< what to print should the run end in the middle; empty between problems

/// An overflow guard ends the process with code 0, which must not pass for success.
void onExit() {
  if (running.empty()) return;
  std::fprintf(stderr, "The engine ended the run on %s", running.c_str());
  std::_Exit(1);
}

extern "C" void onAbort(int) {
  std::fprintf(stderr, "The engine failed an assertion on %s", running.c_str());
}

vec<vnumcoef>& handOver(const plain::Form& form, vec<vnumcoef>& terms) {
  terms.clear();
  for (const plain::Term& t : plain::merged(form))
    terms.push(vnumcoef{t.variable + 1, static_cast<int>(t.coefficient)});
  return terms;
}

PBRelation relationOf(plain::Relation relation) {
  switch (relation) {
  case plain::Relation::at_most:
    return pb_at_most;
  case plain::Relation::equal:
    return pb_equal;
  case plain::Relation::at_least:
    break;
  }
  return pb_at_least;
}

/// A solver with the problem loaded, objective first, up to the first row that is refused.
class Trial {
  Problem problem;

 public:
  Solver solver;
  bool accepted = true;
  bool reports_negated = false; ///< minimises, without a positive coefficient
  int64 offset = 0;             ///< sum of the objective's negative coefficients

  explicit Trial(const Problem& p) : problem(p) {
    for (Var x = 0; x < problem.nvars; x++) solver.newVar(true, -1, 0, 0);
    vec<vnumcoef> terms;
    if (problem.objective) {
      const auto [low, high] = plain::rangeOf(plain::merged(*problem.objective));
      reports_negated = !problem.maximise && high == 0;
      offset = low;
      accepted = solver.addPBConstraint(static_cast<int>(problem.maximise ? low : high),
                                        problem.maximise ? pb_at_least : pb_at_most,
                                        handOver(*problem.objective, terms), -1, -1, true);
    }
    for (const plain::Row& row : problem.rows) {
      accepted =
          accepted && solver.addPBConstraint(static_cast<int>(row.bound), relationOf(row.relation),
                                             handOver(row.form, terms), -1, -1, false);
    }
  }

  SolveResult solve(const std::vector<Lit>& assumptions) {
    vec<Lit> literals;
    for (const Lit p : assumptions) literals.push(p);
    return solver.solve(literals);
  }

  plain::Assignment model() const {
    plain::Assignment assignment = 0;
    for (Var x = 0; x < problem.nvars; x++)
      if (solver.model[x]) assignment |= 1U << x;
    return assignment;
  }

  /// What is wrong with the answer `result` under the assumptions; empty if nothing.
  std::string judge(SolveResult result, const std::vector<Lit>& literals) const {
    plain::Assumptions assumptions;
    for (const Lit p : literals) assumptions.add(var(p), sign(p));
    std::ostringstream wrong;
    const bool expected = plain::satisfiable(problem, assumptions);
    if (result != (expected ? solve_done : solve_unsatisfiable)) {
      wrong << "verdict " << result << ", but it is " << (expected ? "" : "un") << "satisfiable";
    } else if (expected && (!plain::holds(problem, model()) || !assumptions.hold(model()))) {
      wrong << "the model " << model() << " is no solution";
    } else if (expected && problem.objective && solver.isOBJ()) {
      const int64 value = plain::valueOf(*problem.objective, model());
      const int64 best = *plain::optimum(problem);
      const int64 reported = reports_negated ? -value : value - offset;
      if (value != best) wrong << "value " << value << ", but " << best << " is possible";
      if (solver.objectiveValue() != reported)
        wrong << "reports " << solver.objectiveValue() << " for " << value;
    }
    return wrong.str();
  }
};

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoul(value, nullptr, 10);
}

/// How often the interesting things happened in the problems of one test.
struct Coverage {
  int64 satisfiable = 0;
  int64 unsatisfiable = 0;
  int64 conflicts = 0;
  int64 pb_learnts = 0;
  int64 reductions = 0; ///< problems of which learnt constraints have been dropped

  void count(SolveResult result, const Solver& S) {
    (result == solve_done ? satisfiable : unsatisfiable)++;
    conflicts += S.stats.conflicts;
    pb_learnts += S.stats.pb_learnts;
    reductions += S.pb_nLearnts() < S.stats.pb_learnts;
  }
};

class Differential : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    SolverAudit::enable();
    std::atexit(onExit);
    std::signal(SIGABRT, onAbort);
  }

  /// Runs `experiment` on many problems until it reports a fault. It may complete the problem
  /// before it calls its second argument, which notes what the problem is.
  template <class Experiment> void repeat(Experiment experiment) {
    constexpr unsigned long default_runs = 3000;
    const unsigned long first = fromEnvironment("QUILLON_DIFFERENTIAL_SEED", 1);
    const unsigned long runs = fromEnvironment("QUILLON_DIFFERENTIAL_RUNS", default_runs);
    Coverage coverage;
    for (unsigned long seed = first; seed - first < runs; seed++) {
      SeededDraws draws(seed);
      Problem problem = plain::someProblem(draws);
      std::string fault;
      try {
        fault = experiment(draws, problem, coverage);
      } catch (const std::logic_error& broken) {
        fault = broken.what();
      }
      const std::string where = running;
      running.clear();
      ASSERT_EQ(fault, "") << "seed " << seed << ":\n" << where;
    }
    if (first == 1 && runs >= default_runs) { // other problems may be too few to tell
      EXPECT_GT(coverage.satisfiable, static_cast<int64>(runs / 10));
      EXPECT_GT(coverage.unsatisfiable, static_cast<int64>(runs / 10));
      EXPECT_GT(coverage.conflicts, static_cast<int64>(runs));
      EXPECT_GT(coverage.pb_learnts, static_cast<int64>(runs / 10));
      EXPECT_GT(coverage.reductions, 0);
    }
    RecordProperty("reductions", std::to_string(coverage.reductions));
    RecordProperty("conflicts", std::to_string(coverage.conflicts));
    RecordProperty("pb_learnts", std::to_string(coverage.pb_learnts));
  }
};

TEST_F(Differential, Decision) {
  repeat([](Draws&, const Problem& problem, Coverage& coverage) {
    running = plain::text(problem);
    Trial run(problem);
    const SolveResult result = run.solve({});
    coverage.count(result, run.solver);
    if (!run.accepted && result != solve_unsatisfiable) return std::string("refused, then solved");
    return run.judge(result, {});
  });
}

TEST_F(Differential, Objective) {
  repeat([](Draws& draws, Problem& problem, Coverage& coverage) {
    plain::addObjective(draws, problem);
    running = plain::text(problem);
    Trial run(problem);
    const SolveResult result = run.solve({});
    coverage.count(result, run.solver);
    return run.judge(result, {});
  });
}

/// One solver answers a series of questions, and what it learns from one does not spoil the next.
TEST_F(Differential, Assumptions) {
  repeat([](Draws& draws, const Problem& problem, Coverage& coverage) {
    Trial run(problem);
    std::string fault;
    for (int n = draws.small(1, 5); n > 0 && fault.empty(); n--) {
      std::vector<Lit> assumptions;
      for (int k = draws.small(0, 4); k > 0; k--)
        assumptions.push_back(Lit{draws.small(0, problem.nvars - 1), draws.oneIn(2)});
      running = plain::text(problem) + "under";
      for (const Lit p : assumptions) running += (sign(p) ? " -x" : " x") + std::to_string(var(p));
      running += "\n";
      const SolveResult result = run.solve(assumptions);
      fault = run.judge(result, assumptions);
      coverage.count(result, run.solver);
    }
    return fault;
  });
}

} // namespace
