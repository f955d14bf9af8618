/// \file
/// Local search on its own: what it makes of large numbers, and what it finds.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <vector>

#include "Draws.h"
#include "localsearch/Knapsack.h"
#include "localsearch/LocalSearch.h"

namespace {

using estoc::FlatProblem;
using estoc::Int128;
using estoc::Lit;
using estoc::LocalSearch;
using estoc::WideTerm;

struct WideRow {
  std::vector<WideTerm> terms;
  Int128 degree;
};

Int128 sumOf(const std::vector<WideTerm>& terms, unsigned assignment) {
  Int128 sum = 0;
  for (const WideTerm& t : terms)
    if ((assignment >> t.literal.var() & 1U) != (t.literal.negated() ? 1U : 0U))
      sum += t.coefficient;
  return sum;
}

std::int64_t flatSum(const FlatProblem& flat, std::size_t row, unsigned assignment) {
  std::int64_t sum = 0;
  for (std::size_t i = flat.firstTerm(row); i < flat.endTerm(row); i++)
    if ((assignment >> flat.literal(i).var() & 1U) != (flat.literal(i).negated() ? 1U : 0U))
      sum += flat.coefficient(i);
  return sum;
}

/// Each of the variables once, with coefficients of up to `bits` bits.
std::vector<WideTerm> someTerms(Draws& draws, int variables, int bits) {
  std::vector<WideTerm> terms;
  for (int v = 0; v < variables; v++) {
    const Int128 wide = Int128{draws.between(1, INT64_MAX - 1)} << 63 |
                        static_cast<Int128>(draws.between(1, INT64_MAX - 1));
    terms.push_back({(wide >> (126 - bits)) + 1, Lit::of(v, draws.oneIn(2))});
  }
  return terms;
}

/// Rows of any size become rows of 62 bits that allow nothing which they do not allow, and that
/// are the same when they fit; costs never look smaller than they are.
TEST(FlatProblem, LargeNumbers) {
  constexpr int variables = 6;
  SeededDraws draws(1);
  int same = 0;
  for (int round = 0; round < 200; round++) {
    const int bits = draws.small(1, 123); // six of these fit 127 bits
    WideRow row{someTerms(draws, variables, bits), 0};
    row.degree = sumOf(row.terms, static_cast<unsigned>(draws.small(0, 63))) + draws.small(0, 1);
    const std::vector<WideTerm> cost = someTerms(draws, variables, bits);
    FlatProblem flat(variables);
    for (const WideTerm& t : row.terms) flat.addTerm(t.coefficient, t.literal);
    const bool possible = flat.endRow(row.degree);
    flat.setCost(cost);
    flat.finish();
    bool any = false;
    for (unsigned assignment = 0; assignment < 64; assignment++) {
      const bool flat_holds = flatSum(flat, 0, assignment) >= flat.degree(0);
      const bool holds = sumOf(row.terms, assignment) >= row.degree;
      any |= flat_holds;
      ASSERT_TRUE(holds || !flat_holds) << "round " << round;
      ASSERT_TRUE(holds == flat_holds || bits >= 59) << "round " << round;
      std::int64_t flat_cost = flat.costOffset();
      for (int v = 0; v < variables; v++)
        if ((assignment >> v & 1U) != 0) flat_cost += flat.costGain(v);
      const Int128 true_cost = sumOf(cost, assignment);
      ASSERT_GE(flat_cost * flat.costDivisor(), true_cost) << "round " << round;
      ASSERT_TRUE(flat_cost == true_cost || bits >= 59) << "round " << round;
    }
    ASSERT_EQ(any, possible) << "round " << round;
    same += bits < 59 ? 1 : 0;
  }
  EXPECT_GT(same, 20);
}

/// A walk ends in the optimum of small covering and packing problems, leaves fixed variables alone,
/// and its solutions are solutions.
TEST(LocalSearch, FindsOptimaOfSmallProblems) {
  constexpr int variables = 12;
  const std::atomic<bool> never{false};
  for (std::uint64_t seed = 1; seed <= 60; seed++) {
    SeededDraws draws(seed);
    std::vector<WideRow> rows;
    for (int i = draws.small(3, 15); i > 0; i--) {
      WideRow row{{}, 0};
      for (int v = 0; v < variables; v++)
        if (draws.oneIn(3)) row.terms.push_back({draws.small(1, 9), Lit::of(v, draws.oneIn(5))});
      row.degree = sumOf(row.terms, (1U << variables) - 1) / 2;
      if (row.degree > 0) rows.push_back(std::move(row));
    }
    std::vector<WideTerm> cost;
    for (int v = 0; v < variables; v++) cost.push_back({draws.small(1, 20), Lit::of(v)});
    const bool fixed_value = draws.oneIn(2);
    std::vector<bool> fixed(variables);
    fixed[0] = true;
    std::vector<bool> begin(variables);
    begin[0] = fixed_value;

    Int128 best = std::numeric_limits<std::int64_t>::max();
    for (unsigned assignment = 0; assignment < 1U << variables; assignment++)
      if ((assignment & 1U) == (fixed_value ? 1U : 0U) &&
          std::all_of(rows.begin(), rows.end(), [&](const WideRow& row) {
            return sumOf(row.terms, assignment) >= row.degree;
          }))
        best = std::min(best, sumOf(cost, assignment));

    FlatProblem flat(variables);
    for (const WideRow& row : rows) {
      for (const WideTerm& t : row.terms) flat.addTerm(t.coefficient, t.literal);
      ASSERT_TRUE(flat.endRow(row.degree));
    }
    flat.setCost(cost);
    flat.finish();
    LocalSearch walk(flat, seed, never);
    walk.start(begin, fixed, false);
    walk.setTarget(std::numeric_limits<std::int64_t>::max());
    const bool found = walk.run(300000);
    ASSERT_EQ(found, best < std::numeric_limits<std::int64_t>::max()) << "seed " << seed;
    if (!found) continue;
    unsigned solution = 0;
    for (unsigned v = 0; v < variables; v++)
      solution |= static_cast<unsigned>(walk.solution()[v]) << v;
    EXPECT_EQ(solution & 1U, fixed_value ? 1U : 0U) << "seed " << seed;
    for (const WideRow& row : rows)
      EXPECT_GE(sumOf(row.terms, solution), row.degree) << "seed " << seed;
    EXPECT_EQ(sumOf(cost, solution), best) << "seed " << seed;
  }
}

/// What comes out of a single row is optimal with a budget for it, a solution without one, and
/// leaves fixed variables alone.
TEST(Knapsack, SingleRows) {
  constexpr int variables = 12;
  int solvable = 0;
  for (std::uint64_t seed = 1; seed <= 300; seed++) {
    SeededDraws draws(seed);
    WideRow row{{}, 0};
    std::vector<WideTerm> cost;
    const int ratio = draws.small(0, 3); // equal ones, too
    for (int v = 0; v < variables; v++) {
      const int weight = draws.small(1, 40);
      if (!draws.oneIn(8)) row.terms.push_back({weight, Lit::of(v, draws.oneIn(2))});
      const int worth = ratio == 0 ? weight : draws.small(1, 40);
      if (!draws.oneIn(8)) cost.push_back({worth, Lit::of(v, draws.oneIn(2))});
    }
    row.degree = sumOf(row.terms, static_cast<unsigned>(draws.small(0, 4095))) + 1;
    std::vector<bool> fixed(variables);
    std::vector<bool> begin(variables);
    unsigned fixed_mask = 0;
    unsigned fixed_values = 0;
    for (unsigned v = 0; v < variables; v++) {
      fixed[v] = draws.oneIn(6);
      begin[v] = draws.oneIn(2);
      if (fixed[v]) fixed_mask |= 1U << v;
      if (fixed[v] && begin[v]) fixed_values |= 1U << v;
    }
    Int128 best = std::numeric_limits<std::int64_t>::max();
    for (unsigned a = 0; a < 1U << variables; a++)
      if ((a & fixed_mask) == fixed_values && sumOf(row.terms, a) >= row.degree)
        best = std::min(best, sumOf(cost, a));
    FlatProblem flat(variables);
    for (const WideTerm& t : row.terms) flat.addTerm(t.coefficient, t.literal);
    flat.endRow(row.degree);
    flat.setCost(cost);
    flat.finish();
    for (const std::uint64_t budget : {100000, 0}) {
      std::uint64_t work = 0;
      const std::vector<bool> values = estoc::solveKnapsack(flat, begin, fixed, budget, work);
      if (best == std::numeric_limits<std::int64_t>::max()) {
        ASSERT_TRUE(values.empty()) << "seed " << seed;
        continue;
      }
      ASSERT_FALSE(values.empty()) << "seed " << seed;
      solvable++;
      unsigned a = 0;
      for (unsigned v = 0; v < variables; v++) a |= static_cast<unsigned>(values[v]) << v;
      EXPECT_EQ(a & fixed_mask, fixed_values) << "seed " << seed;
      EXPECT_GE(sumOf(row.terms, a), row.degree) << "seed " << seed;
      if (budget > 0) {
        EXPECT_EQ(sumOf(cost, a), best) << "seed " << seed;
      }
    }
  }
  EXPECT_GT(solvable, 300);
}

} // namespace
