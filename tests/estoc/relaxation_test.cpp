/// \file
/// The signs, states and traps of the LP library, as the interface promises them: that multipliers,
/// rounded to integers, prove what the relaxation says. Random linear programs, with rows of all
/// relations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "Draws.h"
#include "lp/LazyRows.h"
#include "lp/Relaxation.h"

namespace {

using estoc::ProbedColumn;
using estoc::Relaxation;
using estoc::RelaxationRows;
using End = Relaxation::End;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double scale = 1 << 20;

/// A linear program whose numbers are small integers, kept beside the library.
struct Program {
  int columns;
  std::vector<int> cost, lower, upper; ///< of the columns
  std::vector<std::vector<int>> rows;
  RelaxationRows given;

  explicit Program(Draws& draws) : columns(draws.small(2, 8)) {
    for (int j = 0; j < columns; j++) {
      cost.push_back(draws.small(-5, 5));
      const int fixed = draws.small(0, 5);
      lower.push_back(fixed == 1 ? 1 : 0);
      upper.push_back(fixed == 0 ? 0 : 1);
    }
    for (int i = draws.small(1, 8); i > 0; i--) {
      rows.emplace_back();
      for (int j = 0; j < columns; j++) {
        rows.back().push_back(j == 0 ? 1 : draws.oneIn(2) ? draws.small(-4, 4) : 0);
        if (rows.back().back() == 0) continue;
        given.columns.push_back(j);
        given.coefficients.push_back(rows.back().back());
      }
      given.starts.push_back(static_cast<int>(given.columns.size()));
      const int bound = draws.small(-5, 5);
      const int relation = draws.small(0, 3); // >=, <=, =, both sides
      given.lower.push_back(relation == 1 ? -infinity : bound);
      given.upper.push_back(relation == 0 ? infinity : relation == 3 ? bound + 2 : bound);
    }
  }

  /// What the rows, as often as rounded `multipliers` say, prove the cost to be at least, times
  /// `unit`: 0 for a ray, for which more than 0 proves that there is no solution.
  double proven(const std::vector<double>& multipliers, double unit) const {
    double bound = 0;
    std::vector<double> reduced(static_cast<std::size_t>(columns));
    for (std::size_t j = 0; j < reduced.size(); j++) reduced[j] = unit * cost[j];
    for (std::size_t i = 0; i < rows.size(); i++) {
      const double m = std::nearbyint(multipliers[i] * scale);
      const double side = m > 0 ? given.lower[i] : given.upper[i];
      if (m == 0 || !std::isfinite(side)) continue; // of the wrong sign: of no use
      bound += m * side;
      for (std::size_t j = 0; j < reduced.size(); j++) reduced[j] -= m * rows[i][j];
    }
    for (std::size_t j = 0; j < reduced.size(); j++)
      bound += reduced[j] * (reduced[j] > 0 ? lower[j] : upper[j]);
    return bound;
  }
};

/// Plain, and with rows that are shown only once they are violated.
class RelaxationTest : public testing::TestWithParam<bool> {
 protected:
  std::atomic<bool> interrupt{false};

  void SetUp() override {
    if (estoc::relaxationLibrary() == nullptr) GTEST_SKIP() << "built without an LP library";
  }
  std::unique_ptr<Relaxation> make(const Program& p) {
    std::unique_ptr<Relaxation> lp = estoc::makeRelaxation(p.columns, interrupt);
    if (GetParam()) lp = std::make_unique<estoc::LazyRows>(std::move(lp), 1);
    for (int j = 0; j < p.columns; j++) {
      const auto i = static_cast<std::size_t>(j);
      lp->setCost(j, p.cost[i]);
      lp->setBounds(j, p.lower[i], p.upper[i]);
    }
    lp->addRows(p.given);
    return lp;
  }
};

TEST_P(RelaxationTest, MultipliersProveWhatIsSaid) {
  int optimal = 0, infeasible = 0, cutoff = 0, useless = 0;
  for (std::uint64_t seed = 1; seed <= 3000; seed++) {
    SeededDraws draws(seed);
    const Program program(draws);
    const auto lp = make(program);
    const End end = lp->solve(1000);
    if (end == End::infeasible) {
      infeasible++;
      useless += program.proven(lp->multipliers(), 0) <= 0;
      continue;
    }
    ASSERT_EQ(end, End::optimal) << "seed " << seed;
    optimal++;
    const double best = lp->objective();
    EXPECT_NEAR(program.proven(lp->multipliers(), scale) / scale, best, 1e-3) << "seed " << seed;
    double cost = 0;
    for (std::size_t j = 0; j < program.cost.size(); j++) cost += program.cost[j] * lp->primal()[j];
    EXPECT_NEAR(cost, best, 1e-6) << "seed " << seed;

    // Again with a cutoff below: the last basis proves that nothing is that cheap.
    const auto cut = make(program);
    cut->setCutoff(best - 0.5);
    const End how = cut->solve(1000);
    ASSERT_TRUE(how == End::cutoff || how == End::optimal) << "seed " << seed;
    if (how == End::optimal) continue;
    cutoff++;
    useless += program.proven(cut->multipliers(), scale) / scale < best - 1;
  }
  EXPECT_GT(optimal, 400);
  EXPECT_GT(infeasible, 500);
  EXPECT_GT(cutoff, 200);
  EXPECT_LT(useless, 30);
}

/// After rows come and go and bounds change, the answer is that of a fresh start.
TEST_P(RelaxationTest, ChangesKeepUp) {
  for (std::uint64_t seed = 1; seed <= 300; seed++) {
    SeededDraws draws(seed);
    Program program(draws);
    const auto lp = make(program);
    lp->solve(1000);
    RelaxationRows more; // x0 + x1 >= 2, and away with it
    more.columns = {0, 1};
    more.coefficients = {1, 1};
    more.starts = {0, 2};
    more.lower = {2};
    more.upper = {infinity};
    lp->addRows(more);
    lp->solve(1000);
    EXPECT_EQ(lp->rows(), static_cast<int>(program.rows.size()) + 1);
    lp->removeRows({lp->rows() - 1});
    for (std::size_t j = 0; j < program.cost.size(); j++) {
      program.lower[j] = 0;
      lp->setBounds(static_cast<int>(j), 0, program.upper[j]);
    }
    const auto fresh = make(program);
    const End end = fresh->solve(1000);
    ASSERT_EQ(lp->solve(1000), end) << "seed " << seed;
    if (end == End::optimal) {
      EXPECT_NEAR(lp->objective(), fresh->objective(), 1e-6) << "seed " << seed;
    }
  }
}

/// Without settled columns and rows that hold anyway the answer is the same, and stays so when a
/// row comes that has such columns, bounds change, or a cutoff is set.
TEST_P(RelaxationTest, GetsSmaller) {
  int compared = 0, dropped = 0;
  for (std::uint64_t seed = 1; seed <= 2000; seed++) {
    SeededDraws draws(seed);
    Program program(draws);
    const auto lp = make(program);
    if (draws.oneIn(2)) lp->solve(1000);
    std::vector<signed char> settled;
    for (std::size_t j = 0; j < program.cost.size(); j++)
      settled.push_back(program.lower[j] == program.upper[j] ? program.upper[j] == 1 ? 1 : -1 : 0);
    std::vector<char> keep;
    bool possible = true; // propagation would have seen it else
    for (std::size_t i = 0; i < program.rows.size(); i++) {
      int least = 0, most = 0;
      for (std::size_t j = 0; j < settled.size(); j++) {
        const int a = program.rows[i][j];
        least += a * (a > 0 ? program.lower[j] : program.upper[j]);
        most += a * (a > 0 ? program.upper[j] : program.lower[j]);
      }
      keep.push_back(least < program.given.lower[i] || most > program.given.upper[i] ? 1 : 0);
      dropped += keep.back() == 0 ? 1 : 0;
      possible = possible && most >= program.given.lower[i] && least <= program.given.upper[i];
    }
    if (!possible) continue;
    lp->reduce(settled, keep);
    const auto kept = std::count(keep.begin(), keep.end(), 1);
    ASSERT_EQ(lp->rows(), static_cast<int>(kept));
    if (kept == 0 || std::count(settled.begin(), settled.end(), 0) == 0) {
      EXPECT_EQ(lp->solve(1000), End::trouble); // nothing to solve
      continue;
    }
    const auto compare = [&](Relaxation& fresh) {
      const End end = fresh.solve(1000);
      ASSERT_EQ(lp->solve(1000), end) << "seed " << seed;
      if (end != End::optimal) return;
      compared++;
      EXPECT_NEAR(lp->objective(), fresh.objective(), 1e-6) << "seed " << seed;
      double cost = 0;
      for (std::size_t j = 0; j < settled.size(); j++) {
        cost += program.cost[j] * lp->primal()[j];
        if (settled[j] != 0) {
          EXPECT_EQ(lp->primal()[j], settled[j] > 0 ? 1 : 0) << "seed " << seed;
        }
      }
      EXPECT_NEAR(cost, fresh.objective(), 1e-6) << "seed " << seed;
    };
    auto fresh = make(program);
    compare(*fresh);
    RelaxationRows more;
    for (int j = 0; j < program.columns; j++) {
      more.columns.push_back(j);
      more.coefficients.push_back(draws.small(1, 3));
    }
    more.starts = {0, program.columns};
    more.lower = {static_cast<double>(draws.small(0, 6))};
    more.upper = {infinity};
    lp->addRows(more);
    fresh->addRows(more);
    for (std::size_t j = 0; j < settled.size(); j++) {
      const int lower = settled[j] == 0 ? draws.small(0, 1) : program.lower[j];
      lp->setBounds(static_cast<int>(j), lower, program.upper[j]);
      fresh->setBounds(static_cast<int>(j), lower, program.upper[j]);
    }
    compare(*fresh);
    lp->setCutoff(fresh->objective() + 0.5);
    EXPECT_NE(lp->solve(1000), End::cutoff) << "seed " << seed;
  }
  EXPECT_GT(compared, 300);
  EXPECT_GT(dropped, 300);
}

/// Trying columns out tells what fixing them costs, and leaves all as it was.
TEST_P(RelaxationTest, ProbingAgreesWithFixing) {
  int compared = 0;
  for (std::uint64_t seed = 1; seed <= 500; seed++) {
    SeededDraws draws(seed);
    const Program program(draws);
    const auto lp = make(program);
    if (lp->solve(1000) != End::optimal) continue;
    const double best = lp->objective();
    std::vector<int> columns;
    for (int j = 0; j < program.columns; j++)
      if (lp->primal()[j] > 0.01 && lp->primal()[j] < 0.99) columns.push_back(j);
    const std::vector<ProbedColumn> probed = lp->probe(columns, 1000);
    for (std::size_t i = 0; i < columns.size(); i++) {
      for (const bool up : {false, true}) {
        const auto fixed = make(program);
        fixed->setBounds(columns[i], up ? 1 : 0, up ? 1 : 0);
        const End end = fixed->solve(1000);
        const bool said = up ? probed[i].up_infeasible : probed[i].down_infeasible;
        EXPECT_EQ(end == End::infeasible, said) << "seed " << seed;
        if (end != End::optimal || said) continue;
        compared++;
        EXPECT_NEAR(fixed->objective() - best, up ? probed[i].up : probed[i].down, 1e-4)
            << "seed " << seed;
      }
    }
    EXPECT_EQ(lp->solve(1000), End::optimal);
    EXPECT_NEAR(lp->objective(), best, 1e-6) << "seed " << seed;
  }
  EXPECT_GT(compared, 20);
}

/// A row of the tableau has its own column once, and no other one that is in the basis; asking for
/// it leaves the optimum as it was.
TEST_P(RelaxationTest, TableauRowsAreThoseOfTheBasis) {
  int rows = 0;
  for (std::uint64_t seed = 1; seed <= 3000; seed++) {
    SeededDraws draws(seed);
    const Program program(draws);
    const auto lp = make(program);
    if (lp->solve(1000) != End::optimal) continue;
    const double best = lp->objective();
    std::vector<int> broken; // between their bounds, so in the basis
    for (int j = 0; j < program.columns; j++)
      if (lp->primal()[j] > 0.01 && lp->primal()[j] < 0.99) broken.push_back(j);
    const std::vector<std::vector<double>> tableau = lp->tableau(broken);
    ASSERT_EQ(tableau.size(), broken.size());
    for (std::size_t k = 0; k < broken.size(); k++) {
      ASSERT_EQ(tableau[k].size(), program.rows.size()) << "seed " << seed;
      for (const int j : broken) {
        double sum = 0;
        for (std::size_t i = 0; i < program.rows.size(); i++)
          sum += tableau[k][i] * program.rows[i][static_cast<std::size_t>(j)];
        EXPECT_NEAR(sum, j == broken[k] ? 1 : 0, 1e-9) << "seed " << seed;
      }
      rows++;
    }
    EXPECT_EQ(lp->solve(1000), End::optimal);
    EXPECT_NEAR(lp->objective(), best, 1e-6) << "seed " << seed;
  }
  EXPECT_GT(rows, 100);
}

TEST_P(RelaxationTest, EndsWhenInterruptedOrEmpty) {
  const auto empty = estoc::makeRelaxation(3, interrupt);
  EXPECT_EQ(empty->solve(10), End::trouble);
  std::uint64_t seed = 1;
  for (;; seed++) { // one that takes pivots
    ASSERT_LT(seed, 1000U);
    SeededDraws draws(seed);
    const auto lp = make(Program(draws));
    if (lp->solve(1000) == End::optimal && lp->pivots() > 3) break;
  }
  SeededDraws draws(seed);
  const auto lp = make(Program(draws));
  EXPECT_EQ(lp->solve(1), End::limit);
  interrupt = true;
  EXPECT_EQ(lp->solve(1000), End::interrupted);
  interrupt = false;
  EXPECT_EQ(lp->solve(1000), End::optimal);
}

/// Of many rows few are shown, those that stop mattering are hidden again, and all answers are as
/// if all were shown.
TEST(LazyRows, AnswerLikeAllRows) {
  if (estoc::relaxationLibrary() == nullptr) GTEST_SKIP() << "built without an LP library";
  constexpr int columns = 10;
  const std::atomic<bool> interrupt{false};
  int most_shown = 0;
  bool has_hidden = false;
  SeededDraws draws(1);
  estoc::LazyRows lazy(estoc::makeRelaxation(columns, interrupt), columns);
  const auto plain = estoc::makeRelaxation(columns, interrupt);
  RelaxationRows rows;
  for (int i = 0; i < 400; i++) {
    double sum = 0;
    for (int j = 0; j < columns; j++) {
      if (!draws.oneIn(3)) continue;
      rows.columns.push_back(j);
      rows.coefficients.push_back(draws.small(1, 9));
      sum += rows.coefficients.back();
    }
    rows.starts.push_back(static_cast<int>(rows.columns.size()));
    rows.lower.push_back(std::floor(sum / draws.small(2, 9)));
    rows.upper.push_back(infinity);
  }
  lazy.addRows(rows);
  plain->addRows(rows);
  for (int j = 0; j < columns; j++) {
    const int cost = draws.small(1, 9);
    lazy.setCost(j, cost);
    plain->setCost(j, cost);
  }
  for (int call = 0; call < 300; call++) {
    for (int j = 0; j < columns; j++) {
      const int upper = draws.oneIn(8) ? 0 : 1;
      const int lower = upper == 1 && draws.oneIn(8) ? 1 : 0;
      lazy.setBounds(j, lower, upper);
      plain->setBounds(j, lower, upper);
    }
    const int before = lazy.shownRows();
    const End end = plain->solve(1000);
    ASSERT_EQ(lazy.solve(1000), end) << "call " << call;
    if (end == End::optimal) {
      EXPECT_NEAR(lazy.objective(), plain->objective(), 1e-6) << "call " << call;
    }
    most_shown = std::max(most_shown, lazy.shownRows());
    has_hidden = has_hidden || lazy.shownRows() < before;
  }
  EXPECT_GT(most_shown, columns);
  EXPECT_LT(most_shown, lazy.rows());
  EXPECT_TRUE(has_hidden);
}

INSTANTIATE_TEST_SUITE_P(Rows, RelaxationTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Lazy" : "AllAtOnce"; });

} // namespace
