/// \file
/// Proofs of random small problems with numbers of any width, of searches that are interrupted and
/// go on or not: each is accepted, and shows just the bounds that the engine has. A failure prints
/// the seed, the problem and the proof; ESTOC_PROOF_SEED set to that seed with ESTOC_PROOF_RUNS=1
/// runs that problem alone.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "Generators.h"
#include "Trial.h"
#include "checker/Verify.h"

namespace {

using estoc::ProofVersion;
using estoc::Verdict;

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoul(value, nullptr, 10);
}

/// Keeps the proof.
class TextSink : public estoc::ProofSink {
 public:
  std::string text;
  void write(const char* bytes, std::size_t size) override { text.append(bytes, size); }
  void appendLiteral(estoc::Lit l, std::string& to) const override {
    to += (l.negated() ? "~x" : "x") + std::to_string(l.var());
  }
  std::string ownPrefix() const override { return "_c"; }
};

/// What the checker is to find in the proof.
std::string expectedOf(const estoc::Solver& solver, Verdict verdict, bool optimises) {
  const auto number = [](const std::optional<estoc::Int128>& value) {
    return value ? trial::text(*value) : "INF";
  };
  if (verdict == Verdict::unsatisfiable)
    return optimises ? "s VERIFIED BOUNDS INF <= obj <= INF" : "s VERIFIED UNSATISFIABLE";
  if (optimises)
    return "s VERIFIED BOUNDS " + number(solver.lowerBound()) +
           " <= obj <= " + number(solver.upperBound());
  return verdict == Verdict::satisfiable ? "s VERIFIED SATISFIABLE" : "s VERIFIED NONE";
}

struct Outcome {
  Verdict verdict = Verdict::unknown;
  std::uint64_t cores = 0;
  bool states = false; ///< whether a row is stated that another one implies
  bool agrees = false;
};

/// One problem; `options` and all else come from the seed.
Outcome prove(unsigned long seed) {
  SeededDraws draws(seed);
  const plain::Problem problem = plain::someProblem(draws);
  const estoc::Options options = trial::someOptions(draws);
  estoc::ProofPlan plan;
  plan.version = draws.oneIn(2) ? ProofVersion::v2 : ProofVersion::v3;
  for (const plain::Row& row : problem.rows)
    plan.rows += row.relation == plain::Relation::equal ? 2 : 1;
  TextSink sink;
  trial::Trial run(problem.nvars, options, draws, &sink, plan);
  for (const plain::Row& row : problem.rows) run.add(row);
  const bool optimises = !draws.oneIn(3);
  if (optimises) run.minimiseSomething();

  Outcome outcome;
  if (draws.oneIn(10)) run.solver.interrupt();
  trial::Watcher watcher(run, draws.oneIn(2) ? 0 : draws.small(1, 4));
  for (int calls = draws.oneIn(3) ? 1 : 200; calls > 0; calls--) {
    outcome.verdict = run.solver.solve({}, optimises ? &watcher : nullptr);
    if (outcome.verdict == Verdict::optimal || outcome.verdict == Verdict::unsatisfiable) break;
    if (outcome.verdict == Verdict::satisfiable && !optimises) break;
  }
  const std::string expected = expectedOf(run.solver, outcome.verdict, optimises);
  outcome.cores = run.solver.statistics().cores;
  run.solver.concludeProof();

  outcome.states = sink.text.find("\nia ") != std::string::npos;
  std::istringstream proof(sink.text);
  const std::string found = checker::verify(checker::readProblem(run.opbText()), proof).text();
  outcome.agrees = found == expected;
  EXPECT_EQ(found, expected) << "seed " << seed << ", " << trial::text(options) << ":\n"
                             << run.opbText() << sink.text;
  return outcome;
}

TEST(EstocProof, OfAnyWidthShowsTheBoundsOfTheEngine) {
  const unsigned long first = fromEnvironment("ESTOC_PROOF_SEED", 1);
  const unsigned long runs = fromEnvironment("ESTOC_PROOF_RUNS", 1200);
  unsigned long optimal = 0;
  unsigned long unsatisfiable = 0;
  std::uint64_t cores = 0;
  unsigned long states = 0;
  for (unsigned long seed = first; seed - first < runs; seed++) {
    const Outcome outcome = prove(seed);
    ASSERT_TRUE(outcome.agrees);
    optimal += outcome.verdict == Verdict::optimal ? 1 : 0;
    unsatisfiable += outcome.verdict == Verdict::unsatisfiable ? 1 : 0;
    cores += outcome.cores;
    states += outcome.states ? 1 : 0;
  }
  if (first != 1 || runs < 1200) return; // other problems may be too few to tell
  EXPECT_GT(optimal, runs / 10);
  EXPECT_GT(unsatisfiable, runs / 10);
  EXPECT_GT(cores, 0);
  EXPECT_GT(states, 0);
}

} // namespace
