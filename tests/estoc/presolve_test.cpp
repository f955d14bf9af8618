/// \file
/// What presolve fixes and drops, what it must not, and that its proofs hold: that it keeps an
/// optimum is held by the differential tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "checker/Verify.h"
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
  std::uint64_t dropped = 0; ///< rows that it is to drop
};

const Lit a = Lit::of(0), b = Lit::of(1), c = Lit::of(2), d = Lit::of(3), e = Lit::of(4);

std::string nameOf(Lit l) {
  return (l.negated() ? "~x" : "x") + std::to_string(l.var() + 1);
}

/// Keeps the proof.
class TextSink final : public estoc::ProofSink {
 public:
  std::string text;
  void write(const char* bytes, std::size_t size) override { text.append(bytes, size); }
  void appendLiteral(Lit l, std::string& to) const override { to += nameOf(l); }
  std::string ownPrefix() const override { return "_c"; }
};

/// The number of variables of these rows.
int variablesOf(const std::vector<Row>& rows) {
  int count = 0;
  for (const Row& row : rows)
    for (const auto& t : row.terms) count = std::max(count, t.literal.var() + 1);
  return count;
}

std::string textOf(const Terms& terms) {
  std::string text;
  for (const auto& t : terms)
    text += std::to_string(static_cast<int>(t.coefficient)) + " " + nameOf(t.literal) + " ";
  return text;
}

std::string opb(const Case& k) {
  std::string text = "min: " + textOf(k.cost) + ";\n";
  for (const Row& row : k.rows)
    text += textOf(row.terms) + ">= " + std::to_string(row.bound) + ";\n";
  return text;
}

/// All by presolve and search; what trials of single literals find is not of interest here.
estoc::Options optionsWith(bool presolve) {
  estoc::Options options;
  options.presolve = presolve;
  options.probing = false;
  options.local_search = false;
  options.lp = false;
  return options;
}

/// Solves the cases with presolve and without.
void check(const std::vector<Case>& cases) {
  for (const Case& k : cases) {
    for (const bool presolve : {true, false}) {
      TextSink sink;
      estoc::Solver solver(optionsWith(presolve));
      solver.prove(sink, {estoc::ProofVersion::v3, k.rows.size(), 0, ""});
      for (int v = 0; v < variablesOf(k.rows); v++) solver.newVariable();
      solver.minimise(k.cost, 0);
      for (const Row& row : k.rows) solver.addRow(row.terms, row.bound);
      ASSERT_EQ(solver.solve(), Verdict::optimal) << k.why;
      EXPECT_EQ(*solver.upperBound(), k.optimum) << k.why;
      EXPECT_EQ(solver.statistics().presolved, presolve ? k.fixed : 0) << k.why;
      EXPECT_EQ(solver.statistics().dropped, presolve ? k.dropped : 0) << k.why;
      solver.concludeProof();
      std::istringstream proof(sink.text);
      const std::string value = std::to_string(k.optimum);
      EXPECT_EQ(checker::verify(checker::readProblem(opb(k), checker::Format::opb), proof).text(),
                "s VERIFIED BOUNDS " + value + " <= obj <= " + value)
          << k.why << "\n"
          << opb(k) << sink.text;
    }
  }
}

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
      {"a row that another one implies has no say, nor in the proof",
       {{2, a}, {1, b}, {1, c}, {1, d}, {1, e}},
       {{{{1, a}, {1, b}, {1, c}, {1, d}, {1, e}}, 3},
        {{{1, ~a}, {1, ~b}}, 1},
        {{{3, a}, {2, b}, {2, c}, {2, d}, {2, e}}, 6}},
       1,
       3,
       1},
  };
  check(cases);
}

struct RowCase {
  const char* why;
  std::vector<Row> rows;
  std::uint64_t dropped;
  std::uint64_t fixed;
};

TEST(Presolve, ComparesRows) {
  const std::vector<RowCase> cases = {
      {"the same row in other words",
       {{{{2, a}, {2, b}, {2, c}}, 3}, {{{1, c}, {1, b}, {1, a}}, 2}},
       1,
       0},
      {"a row twice, and less than that",
       {{{{1, a}, {1, b}, {1, c}}, 2}, {{{3, a}, {2, b}, {2, c}, {1, d}}, 4}},
       1,
       0},
      {"b and c alone do not suffice",
       {{{{1, a}, {1, b}, {1, c}}, 2}, {{{3, a}, {2, b}, {2, c}, {1, d}}, 5}},
       0,
       0},
      {"at most one of four, so of three",
       {{{{1, ~a}, {1, ~b}, {1, ~c}}, 2}, {{{1, ~a}, {1, ~b}, {1, ~c}, {1, ~d}}, 3}},
       1,
       0},
      {"two of five may be among the three",
       {{{{1, ~a}, {1, ~b}, {1, ~c}}, 2}, {{{1, ~a}, {1, ~b}, {1, ~c}, {1, ~d}, {1, ~e}}, 3}},
       0,
       0},
      {"a or b is the one of four",
       {{{{1, a}, {1, b}}, 1}, {{{1, ~a}, {1, ~b}, {1, ~c}, {1, ~d}}, 3}},
       0,
       2},
      {"c is too heavy beside a or b, d is not",
       {{{{1, a}, {1, b}}, 1}, {{{3, ~a}, {2, ~b}, {2, ~c}, {1, ~d}}, 5}},
       0,
       1},
  };
  for (const RowCase& k : cases) {
    estoc::Options options = optionsWith(true);
    options.row_splitting = false;
    for (const bool comparison : {true, false}) {
      options.row_comparison = comparison;
      estoc::Solver solver(options);
      for (int v = 0; v < variablesOf(k.rows); v++) solver.newVariable();
      for (const Row& row : k.rows) solver.addRow(row.terms, row.bound);
      EXPECT_EQ(solver.solve(), Verdict::satisfiable) << k.why;
      EXPECT_EQ(solver.statistics().dropped, comparison ? k.dropped : 0) << k.why;
      EXPECT_EQ(solver.statistics().presolved, comparison ? k.fixed : 0) << k.why;
    }
  }
}

/// Without an objective, so that columns do not matter.
TEST(Presolve, SplitsRowsAndExtendsAtMostOnes) {
  const std::vector<RowCase> cases = {
      {"a and b are both needed without c", {{{{2, c}, {1, a}, {1, b}}, 2}}, 1, 0},
      {"one of a and b is not", {{{{2, c}, {1, a}, {1, b}, {1, d}}, 2}}, 0, 0},
      {"a and b are not enough without c or d", {{{{4, c}, {4, d}, {2, a}, {1, b}}, 4}}, 1, 0},
      {"a excludes all of b, c and d",
       {{{{1, ~b}, {1, ~c}, {1, ~d}}, 2},
        {{{1, ~a}, {1, ~b}}, 1},
        {{{1, ~a}, {1, ~c}, {1, ~e}}, 2},
        {{{1, ~a}, {1, ~d}}, 1}},
       3,
       0},
      {"a excludes b and c, but not d",
       {{{{1, ~b}, {1, ~c}, {1, ~d}}, 2},
        {{{1, ~a}, {1, ~b}, {1, ~e}}, 2},
        {{{1, ~a}, {1, ~c}}, 1}},
       1,
       0},
      {"a excludes b only",
       {{{{1, ~b}, {1, ~c}, {1, ~d}}, 2}, {{{1, ~a}, {1, ~b}, {1, ~e}}, 2}},
       0,
       0},
  };
  for (const RowCase& k : cases) {
    estoc::Options options = optionsWith(true);
    options.row_comparison = false;
    options.lp = true; // what they are for
    for (const bool on : {true, false}) {
      options.row_splitting = on;
      options.at_most_ones = on;
      estoc::Solver solver(options);
      for (int v = 0; v < variablesOf(k.rows); v++) solver.newVariable();
      for (const Row& row : k.rows) solver.addRow(row.terms, row.bound);
      EXPECT_EQ(solver.solve(), Verdict::satisfiable) << k.why;
      EXPECT_EQ(solver.statistics().dropped, on ? k.dropped : 0) << k.why;
    }
  }
}

} // namespace
