/// \file
/// The modern engine takes the same steps with every compiler, in every build and on every machine:
/// all its counters for a table of problems, against those on record in data/estoc_counters.txt.
///
/// A change that is meant to change the search changes counters, and one that is not must not. To
/// record them anew run
///
///     ESTOC_RECORD=1 build/release/tests/estoc_counters_test
///
/// and look at the difference, which is part of the change. The relaxation is left out: its pivots
/// are the same with one version of its library only.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Draws.h"
#include "Generators.h"
#include "PlainProblem.h"
#include "estoc/Solver.h"
#include "program/StatsFile.h"

namespace {

using estoc::Int128;
using estoc::Lit;
using estoc::Options;
using estoc::WideTerm;

/// A variable times a coefficient, or its negation as often; `bound` is kept in step.
void addTerm(plain::Row& row, int variable, plain::Int coefficient, bool negated) {
  row.form.push_back({variable, negated ? -coefficient : coefficient});
  if (negated) row.bound -= coefficient;
}

/// Clauses of three literals, about as many as make them hard.
void drawClauses(Draws& draws, plain::Problem& problem) {
  problem.nvars = 130;
  for (int i = 0; i < 554; i++) {
    plain::Row row{{}, plain::Relation::at_least, 1};
    for (int k = 0; k < 3; k++) {
      const int v = draws.small(0, problem.nvars - 1);
      addTerm(row, v, 1, draws.oneIn(2));
    }
    problem.rows.push_back(row);
  }
}

/// One pigeon more than holes, by clauses of two.
void drawPigeons(Draws&, plain::Problem& problem) {
  constexpr int holes = 7;
  problem.nvars = (holes + 1) * holes;
  for (int p = 0; p <= holes; p++) {
    plain::Row row{{}, plain::Relation::at_least, 1};
    for (int h = 0; h < holes; h++) row.form.push_back({p * holes + h, 1});
    problem.rows.push_back(row);
    for (int q = 0; q < p; q++)
      for (int h = 0; h < holes; h++)
        problem.rows.push_back(
            {{{p * holes + h, -1}, {q * holes + h, -1}}, plain::Relation::at_least, -1});
  }
}

/// Chains of equivalences, some of them closed, with clauses across.
void drawChains(Draws& draws, plain::Problem& problem) {
  problem.nvars = 120;
  for (int v = 0; v + 1 < problem.nvars; v++) {
    if (v % 6 == 5) continue;
    problem.rows.push_back({{{v, 1}, {v + 1, -1}}, plain::Relation::at_least, 0});
    const int back = v % 6 == 4 ? v - 4 : v;
    if (v % 6 == 4 || draws.oneIn(3))
      problem.rows.push_back({{{v + 1, 1}, {back, -1}}, plain::Relation::at_least, 0});
  }
  for (int i = 0; i < 110; i++) {
    plain::Row row{{}, plain::Relation::at_least, 1};
    for (int k = 0; k < 3; k++) {
      const int v = draws.small(0, problem.nvars - 1);
      addTerm(row, v, 1, draws.oneIn(2));
    }
    problem.rows.push_back(row);
  }
}

/// Weighted rows over 40 variables, each with half of its sum, and costs.
void drawHalves(Draws& draws, plain::Problem& problem) {
  problem.nvars = 40;
  for (int i = 0; i < 25; i++) {
    plain::Row row{{}, plain::Relation::at_least, 0};
    plain::Int sum = 0;
    for (int k = 0; k < 12; k++) {
      const int coefficient = draws.small(1, 30);
      const int v = draws.small(0, problem.nvars - 1);
      addTerm(row, v, coefficient, draws.oneIn(2));
      sum += coefficient;
    }
    row.bound += sum / 2;
    problem.rows.push_back(row);
  }
  problem.objective.emplace();
  for (int v = 0; v < problem.nvars; v++) problem.objective->push_back({v, draws.small(1, 50)});
}

/// Everything is covered by three of 50 sets, which cost differently.
void drawCovers(Draws& draws, plain::Problem& problem) {
  problem.nvars = 50;
  for (int i = 0; i < 60; i++) {
    plain::Row row{{}, plain::Relation::at_least, 1};
    for (int k = 0; k < 6; k++) row.form.push_back({draws.small(0, problem.nvars - 1), 1});
    problem.rows.push_back(row);
  }
  problem.objective.emplace();
  for (int v = 0; v < problem.nvars; v++) problem.objective->push_back({v, draws.small(1, 9)});
}

std::vector<WideTerm> termsOf(const plain::Form& form, Int128 sign) {
  std::vector<WideTerm> terms;
  for (const plain::Term& t : form) terms.push_back({sign * t.coefficient, Lit::of(t.variable)});
  return terms;
}

using Generator = void (*)(Draws&, plain::Problem&);
using Setting = void (*)(Options&);

/// Search for better solutions only.
void alone(Options& o) {
  o.core_guided = o.local_search = o.targets = false;
}

std::string countersOf(Generator generate, std::uint64_t seed, Setting set) {
  SeededDraws draws(seed);
  plain::Problem problem;
  generate(draws, problem);
  Options options;
  options.lp = false;
  set(options);
  estoc::Solver solver(options);
  for (int v = 0; v < problem.nvars; v++) solver.newVariable();
  for (const plain::Row& row : problem.rows) {
    if (row.relation != plain::Relation::at_most) solver.addRow(termsOf(row.form, 1), row.bound);
    if (row.relation != plain::Relation::at_least) solver.addRow(termsOf(row.form, -1), -row.bound);
  }
  if (problem.objective) solver.minimise(termsOf(*problem.objective, 1), 0);
  std::ostringstream out;
  out << "verdict " << static_cast<int>(solver.solve());
  forEachCounter(solver.statistics(), [&](const std::string& name, std::uint64_t value) {
    // Of memory only its use is on record, which containers do not decide.
    if (value != 0 && name != "memory") out << ", " << name << " " << value;
  });
  return out.str();
}

TEST(EstocCounters, AreThoseOnRecord) {
  const struct {
    const char* name;
    Generator generate;
    std::uint64_t seed; ///< of the problem
    Setting set;
  } cases[] = {
      {"clauses", drawClauses, 1, alone},
      {"clauses, only by recency", drawClauses, 2,
       [](Options& o) { alone(o), o.stable_mode = false; }},
      {"clauses, only by activity", drawClauses, 3,
       [](Options& o) { alone(o), o.focused_mode = false; }},
      {"clauses, all often", drawClauses, 4, [](Options& o) { alone(o), o.pace = 50; }},
      {"clauses, another seed", drawClauses, 4, [](Options& o) { alone(o), o.seed = 7; }},
      {"clauses, local search", drawClauses, 3, [](Options&) {}},
      {"pigeons", drawPigeons, 1, [](Options&) {}},
      {"pigeons as clauses", drawPigeons, 1, [](Options& o) { o.at_most_ones = false; }},
      {"chains, all often", drawChains, 5, [](Options& o) { o.pace = 50; }},
      {"halves", drawHalves, 6, [](Options&) {}},
      {"halves, all often", drawHalves, 6, [](Options& o) { o.pace = 50; }},
      {"halves, one strategy", drawHalves, 6, alone},
      {"halves, weakened less", drawHalves, 6,
       [](Options& o) { o.weaken_fully = o.weaken_learnt = false; }},
      {"halves, 128 bits", drawHalves, 9, [](Options& o) { o.smallest_width = 2; }},
      {"halves, integers without bound", drawHalves, 9, [](Options& o) { o.smallest_width = 3; }},
      {"covers", drawCovers, 7, [](Options&) {}},
      {"covers, all often", drawCovers, 8, [](Options& o) { o.pace = 30; }},
      {"matrix", plain::addMatrixRows, 16, [](Options& o) { o.pace = 30; }},
      {"knapsacks", plain::addKnapsackRows, 17, [](Options& o) { o.pace = 30; }},
      {"equalities", plain::addMarketSplit, 18, [](Options& o) { o.pace = 30; }},
  };
  std::string counters;
  for (const auto& c : cases)
    counters += c.name + (": " + countersOf(c.generate, c.seed, c.set)) + "\n";
  const std::string path = TEST_DATA_DIR "/estoc_counters.txt";
  if (std::getenv("ESTOC_RECORD") != nullptr) std::ofstream(path) << counters;
  std::ostringstream record;
  record << std::ifstream(path).rdbuf();
  EXPECT_EQ(counters, record.str()) << "if that is meant: ESTOC_RECORD=1, see the test's file";
}

} // namespace
