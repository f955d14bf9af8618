/// \file
/// Rows that are made of others: that rounding keeps all solutions and cuts off what it says, and
/// what neighbourhoods keep.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <vector>

#include "Draws.h"
#include "lp/Rounding.h"
#include "optimise/Neighbourhoods.h"

namespace {

using estoc::Expression;
using estoc::Int128;
using estoc::Lit;
using estoc::Rounding;
using estoc::Row;
using estoc::Summed;
using estoc::Var;

/// The sum of the row's terms under the assignment whose bits `point` has.
Int128 sumAt(const Row& row, unsigned point) {
  Int128 sum = 0;
  for (const auto& t : row.terms)
    if (((point >> t.literal.var() & 1U) != 0) != t.literal.negated()) sum += t.coefficient;
  return sum;
}

TEST(Rounding, KeepsAllSolutionsAndCutsOffThePoint) {
  int cuts = 0;
  for (std::uint64_t seed = 1; seed <= 4000; seed++) {
    SeededDraws draws(seed);
    const int n = draws.small(2, 9);
    const int largest = draws.oneIn(3) ? 1000000 : 12;
    Row base;
    Expression<Summed> e;
    e.growTo(n);
    std::vector<double> values;
    Int128 all = 0;
    for (Var v = 0; v < n; v++) {
      base.terms.push_back({draws.small(1, largest), Lit::of(v, draws.oneIn(2))});
      e.addTerm(base.terms.back().literal, base.terms.back().coefficient);
      all += base.terms.back().coefficient;
      values.push_back(draws.oneIn(3) ? draws.small(0, 1) : draws.small(0, 100) / 100.0);
    }
    base.degree = draws.small(1, static_cast<int>(all));
    e.addDegree(base.degree);
    Rounding rounding;
    if (!rounding.take(e, values)) continue;
    if (!rounding.choose(draws.oneIn(2) ? draws.small(2, largest) : 0)) continue;
    cuts++;
    const Row cut = rounding.row();
    double missing = static_cast<double>(cut.degree);
    double squares = 0;
    for (const auto& t : cut.terms) {
      const double x = values[static_cast<std::size_t>(t.literal.var())];
      missing -= static_cast<double>(t.coefficient) * (t.literal.negated() ? 1 - x : x);
      squares += static_cast<double>(t.coefficient) * static_cast<double>(t.coefficient);
    }
    EXPECT_GT(missing, 0) << "seed " << seed;
    EXPECT_NEAR(missing / std::sqrt(squares), rounding.efficacy(), 1e-6) << "seed " << seed;
    for (unsigned point = 0; point < 1U << n; point++) {
      if (sumAt(base, point) >= base.degree) {
        ASSERT_TRUE(sumAt(cut, point) >= cut.degree) << "seed " << seed << " point " << point;
      }
    }
  }
  EXPECT_GT(cuts, 1000);
}

/// 3 x0 + 3 x1 + 2 x2 <= 6 at (1, 1/2, 1): rounding finds what no coefficient shows at once.
TEST(Rounding, FindsTheCoverOfAKnapsack) {
  Expression<Summed> e;
  e.growTo(3);
  for (const Var v : {0, 1, 2}) e.addTerm(Lit::of(v, true), v == 2 ? 2 : 3);
  e.addDegree(2); // 8 - 6
  Rounding rounding;
  ASSERT_TRUE(rounding.take(e, {1, 1 / 3.0, 1}));
  ASSERT_TRUE(rounding.choose(0));
  const Row cut = rounding.row();
  EXPECT_TRUE(sumAt(cut, 0b111) < cut.degree) << "all three do not fit";
  EXPECT_NEAR(rounding.efficacy(), (1.0 / 3) / std::sqrt(3), 1e-9) << "one of the three stays out";
}

class NeighbourhoodsTest : public testing::Test {
 protected:
  std::atomic<bool> interrupt{false};
  estoc::Options options;
  estoc::Search search{options, interrupt};
  std::vector<bool> best;

  void SetUp() override { // 100 chains of four variables
    for (Var v = 0; v < 400; v++) {
      search.addVariable(false, false);
      best.push_back(v % 3 == 0);
    }
    for (Var v = 0; v + 1 < 400; v++)
      if (v % 4 != 3) search.addRow({{{1, Lit::of(v)}, {1, Lit::of(v + 1)}}, 1}, false, 0);
  }
  void expectOfBest(const std::vector<Lit>& kept) const {
    for (const Lit l : kept) EXPECT_NE(best[static_cast<std::size_t>(l.var())], l.negated());
  }
};

TEST_F(NeighbourhoodsTest, GrowWhenRefutedAndShrinkWhenUnclear) {
  using Result = estoc::Neighbourhoods::Result;
  estoc::Neighbourhoods around(search, 400, 0);
  const std::size_t first = around.choose(best, {}).size();
  EXPECT_LT(first, 300U);
  EXPECT_GT(first, 200U);
  around.note(Result::refuted);
  const std::vector<Lit> fewer = around.choose(best, {});
  EXPECT_LT(fewer.size(), first);
  expectOfBest(fewer);
  for (int i = 0; i < 30; i++) around.note(Result::unclear);
  EXPECT_EQ(around.choose(best, {}).size(), 399U);
}

TEST_F(NeighbourhoodsTest, KeepWhatTheRelaxationAgreesWithAndWhatBelongsTogether) {
  estoc::Neighbourhoods around(search, 400, 7);
  std::vector<double> relaxed(400);
  for (std::size_t v = 0; v < 400; v++) relaxed[v] = best[v] == (v >= 50) ? 1 : 0;
  const std::vector<Lit> kept = around.choose(best, relaxed);
  EXPECT_TRUE(around.isRelaxed());
  expectOfBest(kept);
  std::vector<int> missing(100);
  for (Var v = 0; v < 400; v++) missing[static_cast<std::size_t>(v / 4)]++;
  for (const Lit l : kept) {
    EXPECT_GE(l.var(), 50) << "where they differ all is free";
    missing[static_cast<std::size_t>(l.var() / 4)]--;
  }
  int begun = 0;
  for (std::size_t chain = 13; chain < 100; chain++) begun += missing[chain] != 0;
  EXPECT_LE(begun, 3) << "eight more, by chains";
  around.choose(best, relaxed);
  EXPECT_FALSE(around.isRelaxed()) << "every other time by chance";
}

} // namespace
