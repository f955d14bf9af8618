/// \file
/// Products and soft rows: what the check makes of them, and whether their linear form means the
/// same, held against the literals of random texts as they were generated.
#include "formats/Check.h"
#include "formats/Linear.h"
#include "formats/OpbReader.h"
#include "formats/ProblemReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace formats {
namespace {

constexpr int variables = 3;

/// One statement of a text: the objective, a row, or a soft row.
struct Statement {
  struct Factors {
    int coefficient;
    std::vector<std::pair<int, bool>> literals; ///< variable, and whether it is negated
  };
  std::vector<Factors> terms;
  Relation relation = Relation::at_least;
  int bound = 0;
  int cost = -1; ///< of a soft row

  int left(unsigned bits) const {
    int sum = 0;
    for (const Factors& term : terms)
      if (std::all_of(term.literals.begin(), term.literals.end(), [&](const auto& literal) {
            return (((bits >> literal.first) & 1) != 0) != literal.second;
          }))
        sum += term.coefficient;
    return sum;
  }
  bool holds(unsigned bits) const {
    return relation == Relation::at_most ? left(bits) <= bound
           : relation == Relation::equal ? left(bits) == bound
                                         : left(bits) >= bound;
  }
  std::string text() const {
    std::string result = cost < 0 ? "" : "[" + std::to_string(cost) + "] ";
    for (const Factors& term : terms) {
      result += std::to_string(term.coefficient);
      for (const auto& [variable, negated] : term.literals)
        result += (negated ? " ~x" : " x") + std::to_string(variable + 1);
      result += ' ';
    }
    return result;
  }
};

/// A text, and what is true of it.
class Generated {
  std::mt19937 random;
  Statement objective;
  std::vector<Statement> rows;

  int pick(int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  }
  Statement statement() {
    Statement made;
    for (int terms = pick(0, 3); terms > 0; terms--) {
      made.terms.push_back({pick(-3, 3), {}});
      for (int factors = std::max(1, pick(-1, 3)); factors > 0; factors--)
        made.terms.back().literals.emplace_back(pick(0, variables - 1), pick(0, 1) == 1);
    }
    made.relation = static_cast<Relation>(pick(0, 2));
    made.bound = pick(-2, 2);
    return made;
  }

 public:
  const enum class Kind { plain, minimise, maximise, soft, soft_with_top } kind;
  const int top;
  std::string text;

  explicit Generated(unsigned seed)
      : random(seed), kind(static_cast<Kind>(seed % 5)), top(pick(0, 8)) {
    const bool is_soft = kind >= Kind::soft;
    if (kind == Kind::minimise || kind == Kind::maximise) {
      objective = statement();
      text = (kind == Kind::minimise ? "min: " : "max: ") + objective.text() + ";\n";
    } else if (is_soft) {
      text = kind == Kind::soft ? "soft: ;\n" : "soft: " + std::to_string(top) + " ;\n";
    }
    for (int i = pick(1, 4); i > 0; i--) {
      rows.push_back(statement());
      if (is_soft && pick(0, 2) != 0) rows.back().cost = pick(0, 4);
      text += rows.back().text() + signOf(rows.back().relation) + " " +
              std::to_string(rows.back().bound) + " ;\n";
    }
  }

  /// The objective or cost when the variables are `bits`, nothing when some row does not hold; 0 if
  /// there is no objective.
  std::optional<int> value(unsigned bits) const {
    int cost = 0;
    for (const Statement& row : rows) {
      if (row.holds(bits)) continue;
      if (row.cost < 0) return std::nullopt;
      cost += row.cost;
    }
    if (kind == Kind::soft_with_top && cost >= top) return std::nullopt;
    return kind >= Kind::soft ? cost : objective.left(bits);
  }
};

bool allHold(const Rows& rows, const Assignment& assignment) {
  for (const Row row : rows) {
    const Int left = *valueOf(row.form, assignment);
    if (row.relation != Relation::at_most && left < row.bound) return false;
    if (row.relation != Relation::at_least && left > row.bound) return false;
  }
  return true;
}

/// The least that `linear` allows its objective to be when the variables of the text are as in
/// `assignment`, which has all of them and the products; and that a product cannot be otherwise.
std::optional<Int> leastOf(const Problem& problem, const Linear& linear, Assignment assignment) {
  std::optional<Int> least;
  const int relaxing = linear.variables - problem.variables.size();
  assignment.resize(static_cast<size_t>(linear.variables));
  for (unsigned bits = 0; bits < 1U << relaxing; bits++) {
    for (int r = 0; r < relaxing; r++)
      assignment[assignment.size() - 1 - static_cast<size_t>(r)] =
          ((bits >> r) & 1) != 0 ? Value::positive : Value::negative;
    if (!allHold(problem.rows, assignment) || !allHold(linear.rows, assignment)) continue;
    const Int value = *valueOf(linear.objective, assignment) + linear.constant;
    least = std::min(least.value_or(value), value);
    for (size_t i = 0; i < problem.products.size(); i++) {
      Value& product = assignment[static_cast<size_t>(problem.products[i].variable)];
      const Value right = product;
      product = right == Value::positive ? Value::negative : Value::positive;
      EXPECT_FALSE(allHold(linear.rows, assignment)) << "another value of product " << i;
      product = right;
    }
  }
  return least;
}

TEST(Linear, MeansWhatTheTextDoesAndSoDoesTheCheck) {
  for (unsigned seed = 0; seed < 3000; seed++) {
    const Generated generated(seed);
    const Result<Problem> problem = readOpb(generated.text);
    ASSERT_TRUE(problem) << generated.text << problem.error().text();
    const Result<Linear> linear = linearise(*problem);
    ASSERT_TRUE(linear) << generated.text;
    for (unsigned bits = 0; bits < 1U << variables; bits++) {
      SCOPED_TRACE(generated.text + std::to_string(bits));
      Assignment assignment;
      for (int v = 0; v < problem->variables.size(); v++) {
        const std::string_view name = problem->variables[v];
        const bool value = problem->products.isProduct(v) ? seed % 2 != 0 // which the check ignores
                                                          : ((bits >> (name[1] - '1')) & 1) != 0;
        assignment.push_back(value ? Value::positive : Value::negative);
      }
      const std::optional<int> truth = generated.value(bits);
      const Evaluation found = evaluate(*problem, assignment);
      ASSERT_EQ(found.kind == Evaluation::Kind::holds, truth.has_value());
      ASSERT_EQ(found.objective.has_value(), truth && generated.kind != Generated::Kind::plain);
      if (found.objective) {
        ASSERT_EQ(toString(*found.objective), std::to_string(*truth));
      }

      for (size_t i = 0; i < problem->products.size(); i++) {
        const Product product = problem->products[i];
        const bool value =
            std::all_of(product.factors.begin(), product.factors.end(), [&](const Literal factor) {
              return assignment[static_cast<size_t>(factor.variable())] ==
                     (factor.isNegated() ? Value::negative : Value::positive);
            });
        assignment[static_cast<size_t>(product.variable)] =
            value ? Value::positive : Value::negative;
      }
      const std::optional<Int> least = leastOf(*problem, *linear, assignment);
      ASSERT_EQ(least.has_value(), truth.has_value());
      ASSERT_EQ(linear->optimises, generated.kind != Generated::Kind::plain);
      ASSERT_EQ(linear->negated, generated.kind == Generated::Kind::maximise);
      if (truth) {
        ASSERT_EQ(toString(linear->negated ? -*least : *least), std::to_string(*truth));
      }
    }
  }
}

TEST(Linear, DefinesASharedProductOnceAndRelaxesOnlyWhereALiteralDoesNotDo) {
  const struct {
    std::string text;
    int variables; ///< beyond those of the text
    size_t rows;
  } table[] = {
      {"min: 1 x y ;\n2 y x -1 x y x >= 1;\n1 x ~y >= 0;", 2, 6},
      {"1 x1 x2 x3 x4 >= 1;", 1, 5},
      {"soft: 3 ;\n[1] 1 x >= 1;\n[1] -2 x y <= -1;\n[1] 1 x -1 x >= 1;[1] 1 x >= 0;", 1, 4},
      {"soft: ;\n[1] 1 x 1 y >= 1;\n[1] 1 x -1 y = 0;\n[1] 1 x 1 y >= 0;", 2, 3},
      {"p wcnf 2 3 9\n9 1 0\n3 1 2 0\n4 -1 0\n", 1, 1},
  };
  for (const auto& entry : table) {
    const Result<Problem> problem = readProblem(entry.text);
    ASSERT_TRUE(problem) << entry.text << problem.error().text();
    const Result<Linear> linear = linearise(*problem);
    ASSERT_TRUE(linear);
    const int in_text = problem->variables.size() - static_cast<int>(problem->products.size());
    EXPECT_EQ(linear->variables - in_text, entry.variables) << entry.text;
    EXPECT_EQ(linear->rows.size(), entry.rows) << entry.text;
  }
}

TEST(Linear, RefusesARowTooWideToBeRelaxed) {
  // The row's numbers fit, but not with another coefficient as large as their sum.
  const std::string wide = "50000000000000000000000000000000000000";
  const Result<Problem> problem =
      readOpb("soft: ;\n[1] " + wide + " x1 " + wide + " x2 >= " + wide + " ;");
  ASSERT_TRUE(problem) << problem.error().text();
  const Result<Linear> linear = linearise(*problem);
  ASSERT_FALSE(linear);
  EXPECT_TRUE(linear.error().beyond_width);
  EXPECT_EQ(linear.error().place, Place::at(2, 1));
}

TEST(Check, SpeaksOfProductsSoftRowsAndTop) {
  const std::string wbo = "soft: 5 ;\n[3] 1 x y >= 1 ;\n[4] 1 ~x 1 z >= 2 ;\n1 x 1 z >= 1 ;\n";
  const std::string wcnf = "h 1 2 0\n3 -1 4 0\n2 -2 0\n";
  const struct {
    std::string problem, output, sentence;
  } table[] = {
      {"min: -2 x y ;\n1 x ~y >= 0 ;", "o -2\ns OPTIMUM FOUND\nv x y",
       "ok: the one row holds, objective -2 as stated"},
      {"1 x y >= 1 ;", "s SATISFIABLE\nv x -y",
       "wrong: row 1 (line 1) does not hold: 0 >= 1 is false"},
      {"1 x y 1 z >= 1 ;", "s SATISFIABLE\nv -x z", "ok: the one row holds"}, // y matters no more
      {"1 x y 1 z >= 1 ;", "s SATISFIABLE\nv x z",
       "wrong: row 1 (line 1) uses \"x y\", which has no value"},
      {wbo, "o 3\ns OPTIMUM FOUND\nv -x -y z", "ok: the one row holds, objective 3 as stated"},
      {wbo, "o 3\ns OPTIMUM FOUND\nv x y z", "wrong: the rows hold, but the objective is 4, not 3"},
      {wbo, "s SATISFIABLE\nv x -y z",
       "wrong: the rows hold, but the cost 7 is not below the top 5"},
      {wbo, "s SATISFIABLE\nv -x -y -z", "wrong: row 1 (line 4) does not hold: 0 >= 1 is false"},
      {"soft: ;\n[3] 1 x y >= 1 ;\n1 x >= 1 ;", "s SATISFIABLE\nv x",
       "wrong: soft row 1 (line 2) uses \"x y\", which has no value"},
      {wcnf, "o 3\ns OPTIMUM FOUND\nv 1000", "ok: the one row holds, objective 3 as stated"},
      {wcnf, "o 3\ns OPTIMUM FOUND\nv 1 -2 -4 0", "ok: the one row holds, objective 3 as stated"},
      {wcnf, "o 2\ns OPTIMUM FOUND\nv 0100", "ok: the one row holds, objective 2 as stated"},
      {wcnf, "s SATISFIABLE\nv 0011", "wrong: row 1 (line 1) does not hold: 0 >= 1 is false"},
      {wcnf, "s SATISFIABLE\nv 10000",
       "wrong: the problem has no variable for the value \"10000\""},
      {"p cnf 3 1\n1 -2 0", "s SATISFIABLE\nv 1 -2 3 0", "ok: the one row holds"},
      {"p cnf 3 1\n1 -2 0", "s SATISFIABLE\nv 1 -2 4 0",
       "wrong: the problem has no variable for the value \"4\""},
  };
  for (const auto& entry : table) {
    const Result<Problem> problem = readProblem(entry.problem);
    ASSERT_TRUE(problem) << entry.problem << problem.error().text();
    const Result<SolverOutput> output = readSolverOutput(entry.output);
    ASSERT_TRUE(output) << output.error().text();
    EXPECT_EQ(checkOutput(*problem, *output).text(), entry.sentence) << entry.problem;
  }
}

} // namespace
} // namespace formats
