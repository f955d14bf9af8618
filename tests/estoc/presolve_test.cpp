/// \file
/// What presolve fixes, and what it must not: that it keeps an optimum is held by the differential
/// tests.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "estoc/Solver.h"

namespace {

using estoc::Lit;
using estoc::Verdict;
using Terms = std::vector<estoc::WideTerm>;

struct Row {
  Terms terms;
  int bound;
};

struct Case {
  const char* why;
  Terms cost;
  std::vector<Row> rows;
  std::uint64_t fixed; ///< literals that presolve is to fix
  int optimum;
};

const Lit a = Lit::of(0), b = Lit::of(1), c = Lit::of(2), d = Lit::of(3);

TEST(Presolve, FixesWhatAnOptimumCanDoWithout) {
  const Terms one_each = {{1, a}, {1, b}, {1, c}, {1, d}};
  const std::vector<Case> cases = {
      {"a costs, and no row wants it; without its row, c does for b and d",
       one_each,
       {{{{1, b}, {1, c}}, 1}, {{{1, b}, {1, ~a}, {1, d}}, 1}, {{{1, c}, {1, d}}, 1}},
       3,
       1},
      {"b covers all that a covers and costs as much",
       one_each,
       {{{{1, a}, {1, b}, {1, c}}, 1}, {{{1, b}, {1, d}}, 1}, {{{1, c}, {1, d}}, 1}},
       1,
       2},
      {"b would do, but costs more",
       {{1, a}, {2, b}, {2, c}, {2, d}},
       {{{{1, a}, {1, b}, {1, c}}, 1},
        {{{1, b}, {1, d}}, 1},
        {{{1, c}, {1, d}}, 1},
        {{{1, a}, {1, d}}, 1}},
       0,
       3},
      {"one b is not enough where two are wanted",
       one_each,
       {{{{1, a}, {1, b}, {1, c}}, 2}, {{{1, a}, {1, b}, {1, d}}, 2}, {{{1, c}, {1, d}}, 1}},
       0,
       3},
      {"a and b are in the same rows and never both true: the dearer one goes",
       {{3, a}, {2, b}, {1, c}, {1, d}},
       {{{{1, a}, {1, b}, {1, c}}, 1},
        {{{1, ~a}, {1, ~b}, {1, ~c}}, 2},
        {{{1, a}, {1, b}, {1, d}}, 1},
        {{{1, ~a}, {1, ~b}, {1, ~d}}, 2}},
       1,
       2},
  };
  for (const Case& k : cases) {
    for (const bool presolve : {true, false}) {
      estoc::Options options;
      options.presolve = presolve;
      estoc::Solver solver(options);
      for (int v = 0; v < 4; v++) solver.newVariable();
      solver.minimise(k.cost, 0);
      for (const Row& row : k.rows) solver.addRow(row.terms, row.bound);
      ASSERT_EQ(solver.solve(), Verdict::optimal) << k.why;
      EXPECT_EQ(*solver.upperBound(), k.optimum) << k.why;
      EXPECT_EQ(solver.statistics().presolved, presolve ? k.fixed : 0) << k.why;
    }
  }
}

} // namespace
