/// \file
/// What becomes of cores: cardinalities that follow from them, and counters.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "Draws.h"
#include "optimise/CoreGuided.h"

namespace {

using estoc::LearntRow;
using estoc::Lit;
using estoc::WideTerm;

bool holds(const LearntRow& row, unsigned assignment) {
  std::int64_t sum = 0;
  for (const auto& t : row.terms)
    if ((assignment >> t.literal.var() & 1U) != (t.literal.negated() ? 1U : 0U))
      sum += t.coefficient;
  return sum >= row.degree;
}

TEST(Cores, CardinalitiesFollowAndDemandAsManyLiteralsAsTheRowDoes) {
  SeededDraws draws(1);
  int shorter = 0;
  int uneven = 0;
  for (int number = 0; number < 5000; number++) {
    LearntRow row;
    const int size = draws.small(2, 8);
    std::int64_t sum = 0;
    for (int v = 0; v < size; v++) {
      const int coefficient = draws.small(1, draws.oneIn(2) ? 3 : 12);
      row.terms.push_back({coefficient, Lit::of(v, draws.oneIn(2))});
      sum += coefficient;
    }
    std::sort(row.terms.begin(), row.terms.end(),
              [](const auto& a, const auto& b) { return a.coefficient > b.coefficient; });
    row.degree = draws.between(row.terms[0].coefficient, sum);
    std::size_t needed = 0; // fewer of the heaviest do not reach the degree
    for (std::int64_t reached = 0; reached < row.degree; needed++)
      reached += row.terms[needed].coefficient;
    LearntRow made = row;
    estoc::toCardinality(made, nullptr);
    EXPECT_EQ(made.degree, static_cast<std::int64_t>(needed));
    for (const auto& t : made.terms) EXPECT_EQ(t.coefficient, 1);
    for (unsigned assignment = 0; assignment < 1U << size; assignment++)
      ASSERT_TRUE(!holds(row, assignment) || holds(made, assignment)) << number;
    shorter += made.terms.size() < row.terms.size() ? 1 : 0;
    uneven += row.terms[0].coefficient > row.terms[needed - 1].coefficient ? 1 : 0;
  }
  EXPECT_GT(shorter, 500);
  EXPECT_GT(uneven, 500);
}

TEST(Cores, CountersAreCompletedToWhatTheyCount) {
  const std::atomic<bool> interrupt{false};
  estoc::Search search({}, interrupt);
  std::vector<WideTerm> costs;
  LearntRow core;
  for (int v = 0; v < 5; v++) {
    const Lit l = Lit::of(search.addVariable(false), v == 1);
    costs.push_back({3, l});
    core.terms.push_back({1, l});
  }
  core.degree = 2;
  const estoc::Objective objective(costs, 0);
  estoc::CoreGuided cores(search, objective);
  ASSERT_TRUE(cores.refine(core, 0));
  const Lit third = Lit::of(5); // at least three of them are true
  ASSERT_EQ(cores.assumptions(), std::vector<Lit>{~third});
  ASSERT_TRUE(cores.refine({{{1, third}}, 1}, 0)); // and the next variable comes
  EXPECT_EQ(search.variables(), 7);
  EXPECT_EQ(cores.lowerCost() * objective.scale, 9);
  for (unsigned assignment = 0; assignment < 32; assignment++) {
    std::vector<bool> values;
    int count = 0;
    for (int v = 0; v < 5; v++) {
      values.push_back((assignment >> v & 1U) != 0);
      count += values.back() != (v == 1) ? 1 : 0;
    }
    cores.complete(values);
    EXPECT_EQ(values[5], count >= 3) << assignment;
    EXPECT_EQ(values[6], count >= 4) << assignment;
  }
}

} // namespace
