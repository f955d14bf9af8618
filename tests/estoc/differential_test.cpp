/// \file
/// Random small problems, the modern engine against exhaustive enumeration, under random options
/// and widths. A failure prints the seed and the problem as text; ESTOC_DIFFERENTIAL_SEED set to
/// that seed with ESTOC_DIFFERENTIAL_RUNS=1 runs that problem alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "Generators.h"
#include "Trial.h"

// Present in builds with sanitizers only.
extern "C" void __attribute__((weak)) __sanitizer_set_death_callback(void (*callback)());

namespace {

using estoc::Lit;
using estoc::Options;
using estoc::Statistics;
using estoc::Verdict;
using trial::Trial;

std::string running; ///< what is being solved, should it end in the middle

void report() {
  if (!running.empty()) std::fprintf(stderr, "The engine failed on %s", running.c_str());
}
extern "C" void onAbort(int) {
  report();
}

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoul(value, nullptr, 10);
}

/// How often the interesting things happened in the problems of one test.
struct Coverage {
  std::uint64_t satisfiable = 0, unsatisfiable = 0, conflicts = 0, restarts = 0, reductions = 0,
                clauses = 0, cardinalities = 0, general = 0, cores = 0, flips = 0, presolved = 0,
                interrupted = 0;

  void count(Verdict verdict, const Statistics& s) {
    (verdict == Verdict::unsatisfiable ? unsatisfiable : satisfiable)++;
    conflicts += s.conflicts;
    restarts += s.restarts;
    reductions += s.reductions;
    clauses += s.learnt_clauses;
    cardinalities += s.learnt_cardinalities;
    general += s.learnt_general;
    cores += s.cores;
    flips += s.local_flips;
    presolved += s.presolved;
  }
};

class EstocDifferential : public testing::Test {
 protected:
  Coverage coverage;

  static void SetUpTestSuite() {
    std::signal(SIGABRT, onAbort);
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(report);
  }

  /// Runs `experiment` on many problems until it reports a fault. False when the runs are too few
  /// or too special to tell anything by their coverage.
  template <class Experiment> void repeat(Experiment experiment) {
    // With sanitizers a run takes ten times as long.
    const unsigned long default_runs = __sanitizer_set_death_callback != nullptr ? 400 : 1200;
    const unsigned long first = fromEnvironment("ESTOC_DIFFERENTIAL_SEED", 1);
    const unsigned long runs = fromEnvironment("ESTOC_DIFFERENTIAL_RUNS", default_runs);
    for (unsigned long seed = first; seed - first < runs; seed++) {
      SeededDraws draws(seed);
      const plain::Problem problem = plain::someProblem(draws);
      const Options options = trial::someOptions(draws);
      running = "seed " + std::to_string(seed) + ", " + trial::text(options) + ":\n" +
                plain::text(problem);
      std::string fault;
      try {
        fault = experiment(draws, problem, options);
      } catch (const std::logic_error& broken) { // from the audit
        fault = broken.what();
      }
      ASSERT_EQ(fault, "") << running;
    }
    running.clear();
    for (const auto& [name, n] : {std::pair{"conflicts", coverage.conflicts},
                                  {"restarts", coverage.restarts},
                                  {"reductions", coverage.reductions},
                                  {"cores", coverage.cores},
                                  {"clauses", coverage.clauses},
                                  {"cardinalities", coverage.cardinalities},
                                  {"general", coverage.general},
                                  {"flips", coverage.flips},
                                  {"presolved", coverage.presolved},
                                  {"interrupted", coverage.interrupted}})
      RecordProperty(name, std::to_string(n));
    if (first != 1 || runs < default_runs) return; // other problems may be too few to tell
    EXPECT_GT(coverage.satisfiable, runs / 10);
    EXPECT_GT(coverage.unsatisfiable, runs / 10);
    EXPECT_GT(coverage.conflicts, runs);
    EXPECT_GT(coverage.restarts, runs / 100);
    EXPECT_GT(coverage.reductions, runs / 100);
    EXPECT_GT(coverage.clauses, runs / 10);
    if (runs >= 1200) { // they are rare
      EXPECT_GT(coverage.cardinalities, 0);
    }
    EXPECT_GT(coverage.general, runs / 10);
    EXPECT_GT(coverage.flips, runs);
  }
};

/// One solver answers a series of questions, between which variables and rows come in.
TEST_F(EstocDifferential, Decision) {
  repeat([this](Draws& draws, const plain::Problem& problem, const Options& options) {
    Trial run(problem.nvars, options, draws);
    const auto asked = static_cast<std::size_t>(draws.small(1, 5));
    std::size_t added = 0;
    std::string fault;
    for (std::size_t question = 1; question <= asked && fault.empty(); question++) {
      if (draws.oneIn(6)) run.addVariable();
      for (; added < problem.rows.size() * question / asked; added++) run.add(problem.rows[added]);
      std::vector<Lit> assumptions;
      for (int k = draws.oneIn(3) ? 0 : draws.small(0, 8); k > 0; k--)
        assumptions.push_back(run.someLiteral());
      running += "solve under" + trial::text(assumptions) + "\n";
      if (draws.oneIn(10)) {
        run.solver.interrupt();
        if (run.solver.solve(assumptions) == Verdict::unknown) coverage.interrupted++;
      }
      const Verdict verdict = run.solver.solve(assumptions);
      fault = run.judge(verdict, assumptions);
      coverage.count(verdict, run.solver.statistics());
    }
    return fault;
  });
}

/// Bounds are right whenever they are reported, and the search goes on after interruptions.
TEST_F(EstocDifferential, Objective) {
  repeat([this](Draws& draws, const plain::Problem& problem, const Options& options) {
    Trial run(problem.nvars, options, draws);
    for (const plain::Row& row : problem.rows) run.add(row);
    run.minimiseSomething();
    running += run.objectiveText();
    trial::Watcher watcher(run, draws.oneIn(2) ? 0 : draws.small(1, 4));
    Verdict verdict = Verdict::unknown;
    for (int again = 200; again > 0 && watcher.fault.empty(); again--) {
      if (draws.oneIn(10)) run.solver.interrupt();
      verdict = run.solver.solve({}, &watcher);
      if (verdict == Verdict::optimal || verdict == Verdict::unsatisfiable) break;
      coverage.interrupted++;
      if ((verdict == Verdict::satisfiable) != run.solver.hasSolution())
        return std::string("an interrupted search is unsure of its solution");
    }
    coverage.count(verdict, run.solver.statistics());
    return watcher.fault.empty() ? run.judge(verdict, {}) : watcher.fault;
  });
}

/// The same input and options take the same steps.
TEST_F(EstocDifferential, Determinism) {
  repeat([this](Draws& draws, const plain::Problem& problem, const Options& options) {
    const SeededDraws start(static_cast<std::uint64_t>(draws.between(0, 1 << 30)));
    std::vector<std::vector<std::uint64_t>> counters;
    for (int i = 0; i < 2; i++) {
      SeededDraws same = start;
      Trial run(problem.nvars, options, same);
      for (const plain::Row& row : problem.rows) run.add(row);
      run.minimiseSomething();
      const Verdict verdict = run.solver.solve();
      const Statistics s = run.solver.statistics();
      coverage.count(verdict, s);
      counters.push_back({static_cast<std::uint64_t>(verdict), s.conflicts, s.decisions,
                          s.propagations, s.restarts, s.reductions, s.learnt_general, s.facts,
                          s.cores, s.local_flips, s.work, s.constraints, s.learnt, s.memory});
    }
    return std::string(counters[0] == counters[1] ? "" : "the counters differ");
  });
}

} // namespace
