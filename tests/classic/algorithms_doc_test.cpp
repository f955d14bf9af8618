/// \file
/// The worked examples of docs/algorithms.md, step by step and with the same numbers. Whoever
/// changes one of the two changes the other.
#include "Constraints.h"
#include "Solver.h"
#include "SolverAudit.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr Var a = 0, b = 1, c = 2, d = 3;

/// A solver with the variables a, b, c and d.
struct AlgorithmsDocument : testing::Test {
  Solver S;
  AlgorithmsDocument() {
    for (const Var x : {a, b, c, d}) EXPECT_EQ(S.newVar(true, -1, 0, 0), x);
    SolverAudit::emptyAccumulator(S);
  }

  /// Adds coeffs[0]*a + coeffs[1]*b + ... >= degree, a negative coefficient standing for that many
  /// times the negated variable; with `is_objective` a sum to be maximised.
  PseudoBool& add(const std::vector<int>& coeffs, int degree, bool is_objective = false) {
    vec<vnumcoef> terms;
    for (int i = 0; i < static_cast<int>(coeffs.size()); i++) {
      const int k = coeffs[static_cast<size_t>(i)];
      if (k != 0) terms.push(vnumcoef{k < 0 ? -(i + 1) : i + 1, std::abs(k)});
    }
    EXPECT_TRUE(S.addPBConstraint(degree, pb_at_least, terms, -1, -1, is_objective));
    return dynamic_cast<PseudoBool&>(*SolverAudit::constrs(S).last());
  }

  /// Decides that x is false, and propagates.
  Constr* decideFalse(Var x) {
    EXPECT_TRUE(S.assume(Lit(x, true)));
    return S.propagate();
  }

  /// The assigned literals in order, such as "~a c".
  std::string trail() {
    std::string text;
    for (int i = 0; i < SolverAudit::trail(S).size(); i++)
      text += " " + name(SolverAudit::trail(S)[i]);
    return text.empty() ? text : text.substr(1);
  }
  static std::string name(Lit p) {
    return (sign(p) ? "~" : "") + std::string(1, static_cast<char>('a' + var(p)));
  }
  /// The terms of a constraint, those that are watched marked with "!" and fake watches with "?".
  static std::string watches(const PseudoBool& pb) {
    std::string text;
    for (int i = 0; i < pb.size(); i++)
      text += (i == 0 ? "" : " ") + std::to_string(pb[i].coeff()) + name(pb[i].lit) +
              (pb.is_watched(i)       ? "!"
               : pb.is_fakewatched(i) ? "?"
                                      : "");
    return text;
  }
};

TEST_F(AlgorithmsDocument, WatchedSumsAndFakeWatches) {
  PseudoBool& pb = add({4, 3, 2, 1}, 4);
  EXPECT_EQ(watches(pb), "4a! 3b! 2c! 1d");
  EXPECT_EQ(SolverAudit::watchsum(pb), 9);

  // b becomes false: d is watched in its place, but the sum stays short of 8, so a is implied.
  EXPECT_EQ(decideFalse(b), nullptr);
  EXPECT_EQ(watches(pb), "4a! 3b? 2c! 1d!");
  EXPECT_EQ(SolverAudit::watchsum(pb), 7);
  EXPECT_EQ(trail(), "~b a");
  EXPECT_EQ(SolverAudit::reason(S, a), &pb);

  // Taking the decision back touches nothing of the constraint.
  S.cancel();
  EXPECT_EQ(trail(), "");
  EXPECT_EQ(watches(pb), "4a! 3b? 2c! 1d!");
  EXPECT_EQ(SolverAudit::watchsum(pb), 7);

  // d becomes false: the fake watch of b, no longer false, counts again, and 9 suffices.
  EXPECT_EQ(decideFalse(d), nullptr);
  EXPECT_EQ(watches(pb), "4a! 3b! 2c! 1d");
  EXPECT_EQ(SolverAudit::watchsum(pb), 9);
  EXPECT_EQ(trail(), "~d");
  EXPECT_EQ(SolverAudit::pbWatches(S, Lit(d, true)).size(), 0);
}

TEST_F(AlgorithmsDocument, LearningByCuttingPlanes) {
  PseudoBool& first = add({2, 2, 2, 1}, 3);
  PseudoBool& second = add({2, 3, 2, -2}, 4);
  EXPECT_EQ(decideFalse(a), nullptr);
  EXPECT_EQ(trail(), "~a");
  Constr* const conflict = decideFalse(b);
  EXPECT_EQ(conflict, &second);
  EXPECT_EQ(trail(), "~a ~b c d");
  EXPECT_EQ(SolverAudit::reason(S, d), &first);
  EXPECT_EQ(SolverAudit::reasonCoeff(S, d), 1);

  vec<Lit> clause, literals;
  int backjump_level = -1;
  SolverAudit::analyze(S, conflict, clause, literals, backjump_level);
  ASSERT_EQ(clause.size(), 2);
  EXPECT_EQ(name(clause[0]), "b");
  EXPECT_EQ(name(clause[1]), "a");
  EXPECT_EQ(backjump_level, 1);
  ASSERT_TRUE(SolverAudit::learning(S)); // the sum has not been given up

  // 1 * second + 2 * first, d cancelled: 6a + 7b + 6c >= 8.
  EXPECT_EQ(SolverAudit::degree(S), 8);
  const std::pair<Var, int64> expected[] = {{a, 6}, {b, 7}, {c, 6}};
  for (const auto& [x, coeff] : expected) {
    EXPECT_TRUE(SolverAudit::entered(S, x));
    EXPECT_FALSE(SolverAudit::negated(S, x));
    EXPECT_EQ(SolverAudit::coef(S, x), coeff);
  }
  EXPECT_FALSE(SolverAudit::entered(S, d));
  EXPECT_EQ(SolverAudit::trueSum(S), 6); // c alone, short of 8: the sum asserts b

  // The sum is stored at level 1, where it implies b and c; the clause would have implied b alone.
  EXPECT_FALSE(SolverAudit::recordPB(S, literals, clause, backjump_level));
  ASSERT_EQ(SolverAudit::pbLearnts(S).size(), 1);
  const PseudoBool* const learnt = SolverAudit::pbLearnts(S)[0];
  EXPECT_EQ(learnt->degree(), 8);
  EXPECT_EQ(S.decisionLevel(), 1);
  EXPECT_EQ(trail(), "~a b c");
  EXPECT_EQ(SolverAudit::reason(S, b), learnt);
  EXPECT_EQ(SolverAudit::reason(S, c), learnt);
  EXPECT_EQ(SolverAudit::learnts(S).size(), 1);
}

TEST_F(AlgorithmsDocument, TheObjectivesBackjump) {
  PseudoBool& objective = add({4, 3, 2, 1}, 0, true);
  struct Step {
    const char* solution;
    int value;
    int degree; // demanded next
    int level;  // to which the demand jumps back
    const char* trail;
  };
  constexpr Step steps[] = {{"~a ~b ~c ~d", 0, 1, 3, "~a ~b ~c d"},
                            {"~a ~b ~c d", 1, 2, 2, "~a ~b c"},
                            {"~a ~b c ~d", 2, 3, 2, "~a ~b c d"},
                            {"~a ~b c d", 3, 4, 1, "~a b"}};
  for (const Step& step : steps) {
    SCOPED_TRACE(step.solution);
    for (const Var x : {a, b, c, d})
      if (S.value(x) == l_Undef) {
        EXPECT_EQ(decideFalse(x), nullptr);
      }
    EXPECT_EQ(trail(), step.solution);
    EXPECT_TRUE(objective.newObjConstraint(S, true));
    EXPECT_EQ(S.objectiveValue(), step.value);
    EXPECT_EQ(objective.degree(), step.degree);
    EXPECT_EQ(S.decisionLevel(), step.level);
    EXPECT_EQ(trail(), step.trail);
    EXPECT_EQ(S.propagate(), nullptr);
  }
}

} // namespace
