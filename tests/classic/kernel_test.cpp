/// \file
/// Assignment, clauses, conflict analysis, learning arithmetic, reductions, and the audit itself.
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <map>
#include <random>
#include <vector>

#include "EngineTest.h"
#include "LevelSums.h"

namespace {

// ------------------------------------------------------------------------------------------------
// Clauses

TEST(Clauses, ProblemClausesAreNormalised) {
  const Lit a(0), b(1), c(2), t(3), f(4); // t is true, f false
  const struct {
    std::vector<Lit> literals;
    bool accepted;
    const char* stored;
    const char* trail;
  } cases[] = {
      {{a, ~a, b}, true, "", "x3 ~x4"},    {{b, a, b}, true, "x0 x1", "x3 ~x4"},
      {{b, t, a}, true, "", "x3 ~x4"},     {{f, c, f, a, b}, true, "x0 x1 x2", "x3 ~x4"},
      {{f, ~t, a}, true, "", "x3 ~x4 x0"}, {{f, ~t}, false, "", "x3 ~x4"},
      {{}, false, "", "x3 ~x4"},
  };
  for (const auto& test : cases) {
    TestSolver S(5);
    S.enqueue(t, nullptr, 1);
    S.enqueue(~f, nullptr, 1);
    vec<Lit> literals;
    for (const Lit p : test.literals) literals.push(p);
    SCOPED_TRACE(show(literals));
    EXPECT_EQ(S.addClause(literals), test.accepted);
    EXPECT_EQ(S.okay(), test.accepted);
    EXPECT_EQ(constraints(S), test.stored);
    EXPECT_EQ(show(SolverAudit::trail(S)), test.trail);
    EXPECT_EQ(SolverAudit::check(S), "");
  }
}

TEST(Clauses, LearntClausesWatchTheHighestLevel) {
  TestSolver S(4);
  const Lit p(0), q(1), r(2), s(3);
  S.assign(~q, 3);
  S.assign(~r, 5);
  S.assign(~s, 5);
  S.assign(~p, 7);
  Clause* c = nullptr;
  ASSERT_TRUE(Clause_new(S, Lits{p, q, r, s}, true, c));
  EXPECT_EQ(show(c), "x0 x2 x1 x3");
  EXPECT_EQ(SolverAudit::watches(S, ~r).last(), c);
  EXPECT_EQ(c->activity(), 1.0F);
  EXPECT_EQ(SolverAudit::activity(S)[3], 1.0);
  SolverAudit::learnts(S).push(c);

  // The second watch when literals may be in any state: the first not false, whatever the levels.
  const struct {
    Lits literals;
    const char* expected;
  } cases[] = {{{p, Lit(20), q, r}, "x0 x20 x1 x2"},
               {{p, q, r, Lit(20)}, "x0 x20 x2 x1"},
               {{p, q, r, s}, "x0 x2 x1 x3"}};
  while (S.nVars() <= 20) S.newVar(true, -1, 0, 0);
  for (const auto& test : cases) {
    ASSERT_TRUE(Clause_add(S, test.literals, c));
    EXPECT_EQ(show(c), test.expected);
    SolverAudit::learnts(S).push(c);
  }
}

TEST(Clauses, PropagationMovesTheFalseWatch) {
  TestSolver S(4);
  S.addClause(Lits{Lit(0), Lit(1), Lit(2)});
  Constr* const c = SolverAudit::constrs(S)[0];
  EXPECT_EQ(S.decide(~Lit(0)), nullptr);
  EXPECT_EQ(show(c), "x1 x2 x0");
  EXPECT_EQ(SolverAudit::watches(S, ~Lit(0)).size(), 0);
  EXPECT_EQ(SolverAudit::checkFixpoint(S), "");

  EXPECT_EQ(S.decide(~Lit(2)), nullptr);
  EXPECT_EQ(SolverAudit::reason(S, 1), c);
  EXPECT_EQ(SolverAudit::checkFixpoint(S), "");
  vec<Lit> why, other;
  EXPECT_FALSE(c->calcReason(S, Lit(1), why, other));
  EXPECT_EQ(show(why), "~x2 ~x0");
  EXPECT_EQ(other.size(), 0);
  EXPECT_EQ(S.stats.propagations, 2);

  S.cancelUntil(0);
  S.decide(Lit(1));
  EXPECT_EQ(S.decide(~Lit(2)), nullptr); // satisfied: the watch stays
  EXPECT_EQ(show(c), "x1 x2 x0");
}

TEST(Clauses, ConflictKeepsTheRestOfTheList) {
  TestSolver S(5);
  for (const Var x : {1, 2, 3, 4}) S.addClause(Lits{Lit(0), Lit(x)});
  S.assume(~Lit(0));
  S.enqueue(~Lit(2), nullptr, 1);
  Constr* const confl = S.propagate();
  EXPECT_EQ(confl, SolverAudit::constrs(S)[1]);
  EXPECT_EQ(SolverAudit::propQ(S).size(), 0);
  EXPECT_EQ(show(SolverAudit::trail(S)), "~x0 ~x2 x1");
  const WatchList<Constr*>& list = SolverAudit::watches(S, ~Lit(0));
  ASSERT_EQ(list.size(), 4);
  for (int i = 0; i < 4; i++) EXPECT_EQ(list[i], SolverAudit::constrs(S)[i]);
  vec<Lit> why, other;
  confl->calcReason(S, lit_Undef, why, other);
  EXPECT_EQ(show(why), "~x2 ~x0");
}

TEST(Memory, IsCountedByWhatThereIs) {
  TestSolver S(6);
  const MemoryUse empty = S.memoryUse();
  S.addClause(Lits{Lit(0), Lit(1), Lit(2)});
  S.add({{4, 1}, {5, 1}, {6, 1}}, pb_at_least, 2);
  const MemoryUse use = S.memoryUse();
  EXPECT_EQ(empty.constraints + empty.watches, 0);
  EXPECT_GT(use.constraints, 3 * sizeof(Lit) + 3 * sizeof(PBTerm));
  EXPECT_EQ(use.watches, 2 * sizeof(Constr*) + 3 * sizeof(pbWatchTerm));
  EXPECT_EQ(use.variables, empty.variables);
  S.decide(Lit(0)); // the trail, its queue and its level
  EXPECT_GE(S.memoryUse().variables, use.variables + 2 * sizeof(Lit) + sizeof(int));
}

// ------------------------------------------------------------------------------------------------
// Conflict analysis

TEST(Analysis, FirstUniqueImplicationPoint) {
  TestSolver S(5);
  S.addClause(Lits{~Lit(1), Lit(2)});
  S.addClause(Lits{~Lit(2), ~Lit(0), Lit(3)});
  S.addClause(Lits{~Lit(2), Lit(4)});
  S.addClause(Lits{~Lit(3), ~Lit(4)});
  S.decide(Lit(0));
  Constr* const confl = S.decide(Lit(1));
  ASSERT_NE(confl, nullptr);
  vec<Lit> learnt, pb_learnt;
  int level;
  SolverAudit::analyze(S, confl, learnt, pb_learnt, level);
  EXPECT_EQ(show(learnt), "~x2 ~x0");
  EXPECT_EQ(level, 1);
  EXPECT_EQ(show(SolverAudit::trail(S)), "x0 x1"); // undone up to the implication point
  EXPECT_EQ(S.decisionLevel(), 2);

  S.cancelUntil(level);
  SolverAudit::record(S, learnt);
  EXPECT_EQ(S.nLearnts(), 1);
  EXPECT_EQ(SolverAudit::reason(S, 2), SolverAudit::learnts(S)[0]);
  EXPECT_EQ(S.value(Lit(2)), l_False);
  EXPECT_EQ(SolverAudit::check(S), "");
}

/// x0 + x1 + x2 >= 2 and ~x1 + ~x2 + x3 >= 2 add up to x0 + x3 >= 2.
class CuttingPlane : public testing::Test {
 protected:
  TestSolver S{5};
  vec<Lit> learnt, pb_learnt;
  int level = -1;

  void SetUp() override {
    S.add({{1, 1}, {2, 1}, {3, 1}}, pb_at_least, 2);
    S.add({{-2, 1}, {-3, 1}, {4, 1}}, pb_at_least, 2);
  }
  void analyzeConflict() {
    Constr* const confl = S.decide(~Lit(0));
    ASSERT_EQ(confl, SolverAudit::constrs(S)[1]);
    EXPECT_EQ(SolverAudit::check(S), "");
    SolverAudit::analyze(S, confl, learnt, pb_learnt, level);
  }
};

TEST_F(CuttingPlane, IsLearntBesideTheClause) {
  analyzeConflict();
  EXPECT_EQ(show(learnt), "x0");
  EXPECT_EQ(level, 0);
  EXPECT_TRUE(SolverAudit::learning(S));
  EXPECT_EQ(SolverAudit::degree(S), 2);
  EXPECT_FALSE(SolverAudit::entered(S, 1)); // cancelled
  EXPECT_FALSE(SolverAudit::recordPB(S, pb_learnt, learnt, level));
  ASSERT_EQ(S.pb_nLearnts(), 1);
  EXPECT_EQ(show(SolverAudit::pbLearnts(S)[0]), "1*x3 1*x0 >= 2");
  EXPECT_EQ(show(SolverAudit::trail(S)), "x3 x0");
  EXPECT_EQ(S.decisionLevel(), 0);
  EXPECT_EQ(S.propagate(), nullptr);
  EXPECT_EQ(SolverAudit::checkFixpoint(S), "");
}

/// What is asserted at the level of the assumptions still waits to be propagated.
TEST_F(CuttingPlane, AssertsUnderAssumptions) {
  S.decide(Lit(4));
  SolverAudit::rootLevel(S) = 1;
  analyzeConflict();
  EXPECT_FALSE(SolverAudit::recordPB(S, pb_learnt, learnt, level));
  EXPECT_EQ(S.decisionLevel(), 1);
  EXPECT_EQ(show(SolverAudit::trail(S)), "x4 x3 x0");
  EXPECT_EQ(SolverAudit::propQ(S).size(), 2);
}

TEST(Analysis, FactsBelowTheRootCountAtTheRoot) {
  LevelSums levels;
  levels.start(2, 3);
  levels.addFalse(0, 3, 7);
  levels.addOpen(4, 2);
  EXPECT_EQ(levels.findAssertionLevel(3, 6, 2, [](Var) {}), 3);
  EXPECT_EQ(levels.assertionLevel(), 2);
}

// ------------------------------------------------------------------------------------------------
// Learning arithmetic

TEST(Learning, OppositeLiteralsCancel) {
  const struct {
    int64 amount;
    bool negative;
    int64 coeff, goal;
    bool sign;
  } cases[] = {
      {3, true, 8, 10, true},  // 5 ~x + 3 ~x
      {3, false, 2, 7, true},  // 5 ~x + 3 x = 2 ~x + 3
      {5, false, 0, 5, true},  // nothing is left
      {7, false, 2, 5, false}, // 5 ~x + 7 x = 2 x + 5
  };
  for (const auto& c : cases) {
    TestSolver S(1);
    SolverAudit::degree(S) = 10;
    EXPECT_TRUE(SolverAudit::add(S, ~Lit(0), 5));
    EXPECT_FALSE(SolverAudit::add(S, Lit(0, c.negative), c.amount));
    EXPECT_EQ(SolverAudit::coef(S, 0), c.coeff);
    EXPECT_EQ(SolverAudit::degree(S), c.goal);
    EXPECT_EQ(SolverAudit::entered(S, 0), c.coeff != 0);
    EXPECT_TRUE(c.coeff == 0 || SolverAudit::negated(S, 0) == c.sign);
  }
}

TEST(Learning, ScalingSaturatesMeasuresAndMultiplies) {
  TestSolver S(4);
  S.assign(~Lit(1), 1);
  for (const Var x : {1, 3}) SolverAudit::add(S, Lit(x), 3 + x);
  for (const Var x : {0, 2}) SolverAudit::add(S, Lit(x), 1);
  SolverAudit::add(S, Lit(2), 1);
  SolverAudit::degree(S) = 4;
  SolverAudit::scale(S, ~Lit(3), 4);
  EXPECT_EQ(SolverAudit::coef(S, 0), 4);
  EXPECT_EQ(SolverAudit::coef(S, 1), 16); // saturated before
  EXPECT_EQ(SolverAudit::coef(S, 2), 8);
  EXPECT_EQ(SolverAudit::coef(S, 3), 6); // the literal being resolved is left out
  EXPECT_EQ(SolverAudit::degree(S), 16);
  EXPECT_EQ(SolverAudit::trueSum(S), 3);
  SolverAudit::degree(S) = 13;
  SolverAudit::scale(S, ~Lit(3), 1);
  EXPECT_EQ(SolverAudit::coef(S, 1), 13);
}

/// The sum as its definition has it: every pass goes through all terms.
struct PlainSum {
  std::map<Var, int64> coeff; ///< of the positive literal, or negated of the negative one
  int64 degree = 0;
  int64 true_sum = 0;

  void add(Lit lit, int64 amount) {
    int64& c = coeff[var(lit)];
    const int64 old_size = std::abs(c);
    c += sign(lit) ? -amount : amount;
    degree -= (old_size + amount - std::abs(c)) / 2; // what has cancelled
    if (c == 0) coeff.erase(var(lit));
  }
  template <class IsFalse> bool scale(Var without, int64 mul, IsFalse isFalse) {
    true_sum = 0;
    for (auto& [x, c] : coeff) {
      if (x == without) continue;
      const int64 size = std::min(std::abs(c), degree);
      if (!isFalse(Lit(x, c < 0))) true_sum += size;
      c = (c < 0 ? -size : size) * mul;
    }
    degree *= mul;
    return true_sum * mul < degree && degree <= 1000;
  }
};

TEST(Learning, PassesThatAreCaughtUpWithLaterComeToTheSame) {
  std::mt19937 random(5);
  const auto upTo = [&random](int n) { return static_cast<int>(random() % n) + 1; };
  int passes = 0;
  int scaled = 0;
  for (int run = 0; run < 300; run++) {
    constexpr int nvars = 12;
    Accumulator sum;
    sum.growTo(nvars);
    for (int again = 0; again < 2; again++) {
      PlainSum plain;
      sum.clear();
      std::vector<int> value;
      for (int x = 0; x < nvars; x++) value.push_back(upTo(12) > 2 ? -1 : upTo(2) - 1);
      const auto isFalse = [&value](Lit q) {
        return value[static_cast<size_t>(var(q))] == (sign(q) ? 1 : -1);
      };
      sum.degree = plain.degree = 4;
      for (bool useful = true; useful;) {
        for (int k = upTo(4); k > 0; k--) {
          const Lit lit(upTo(nvars) - 1, upTo(4) == 1);
          const int amount = upTo(6);
          plain.add(lit, amount);
          const Accumulator::Added added = sum.add(lit, amount);
          ASSERT_EQ(added.coeff, plain.coeff.count(var(lit)) ? std::abs(plain.coeff[var(lit)]) : 0);
        }
        const int raised = upTo(5);
        plain.degree += raised;
        sum.degree += raised;
        const Var resolved = upTo(nvars) - 1;
        value[static_cast<size_t>(resolved)] = 0;
        const int mul = upTo(3) == 1 ? upTo(3) : 1;
        useful = plain.degree > 0 && plain.scale(resolved, mul, isFalse);
        ASSERT_EQ(sum.scale(resolved, mul, isFalse), useful);
        if (!useful) break;
        passes++;
        scaled += mul > 1 ? 1 : 0;
        ASSERT_EQ(sum.degree, plain.degree);
        ASSERT_EQ(sum.trueSum(), plain.true_sum);
        plain.coeff.erase(resolved);
        sum.remove(resolved);
        if (upTo(4) > 1) continue;
        for (Var x = 0; x < nvars; x++) {
          ASSERT_EQ(sum.contains(x), plain.coeff.count(x) != 0);
          if (!sum.contains(x)) continue;
          ASSERT_EQ(sum.coeff(x), std::abs(plain.coeff[x]));
          ASSERT_EQ(sign(sum.literal(x)), plain.coeff[x] < 0);
        }
      }
    }
  }
  EXPECT_GT(passes, 1000);
  EXPECT_GT(scaled, 100);
}

/// A conflict at the end of a long chain: each resolution brings in a literal that stays.
class LateConflict : public testing::Test {
 protected:
  static constexpr int length = 5000;
  // The constants, the chain, and for each of its links a literal that is false already.
  static constexpr Var off = 0, start = 1, a = 2, b = 3, chain = 4, side = chain + length;
  TestSolver S{side + length};
  vec<Lit> learnt, pb_learnt;
  int level = -1;

  Constr* conflict() {
    S.add({{start + 1, 1}, {a + 1, 1}, {b + 1, 1}}, pb_at_least, 2);
    S.addClause(Lits{Lit(start), Lit(chain)});
    for (int i = 0; i < length; i++) {
      S.addClause(Lits{Lit(off), ~Lit(side + i)});
      const bool last = i == length - 1;
      S.addClause(Lits{~Lit(chain + i), Lit(side + i), last ? ~Lit(a) : Lit(chain + i + 1)});
    }
    EXPECT_EQ(S.decide(~Lit(off)), nullptr);
    return S.decide(~Lit(start));
  }
};

TEST_F(LateConflict, TakesTimeInWhatEntersTheSum) {
  Constr* const confl = conflict();
  SolverAudit::analyze(S, confl, learnt, pb_learnt, level);
  EXPECT_TRUE(SolverAudit::learning(S));
  EXPECT_EQ(SolverAudit::degree(S), 2); // the sides, b and twice the start
  EXPECT_EQ(SolverAudit::coef(S, start), 2);
  EXPECT_EQ(learnt.size(), length + 1);
  EXPECT_GE(pb_learnt.size(), 2 * length);
  EXPECT_LT(SolverAudit::passWork(S), 4 * length);
}

TEST_F(LateConflict, TeachesNoSumOnceTheRunIsToEnd) {
  Constr* const confl = conflict();
  stop_signal = SIGTERM;
  SolverAudit::analyze(S, confl, learnt, pb_learnt, level);
  stop_signal = 0;
  EXPECT_FALSE(SolverAudit::learning(S));
  EXPECT_EQ(SolverAudit::passWork(S), 0);
  EXPECT_EQ(learnt.size(), length + 1); // the clause leaves the state in order
}

TEST(Learning, GivenUpBeyondItsBounds) {
  // The degree after a scaling pass, and a constraint that is no longer falsified
  const struct {
    int64 degree, open, mul;
    bool useful;
  } passes[] = {{1000, 999, 1, true}, {1001, 1, 1, false}, {500, 1, 2, true}, {501, 1, 2, false},
                {500, 500, 1, false}, {0, 1, 1, false},    {-1, 1, 1, false}};
  for (const auto& c : passes) {
    TestSolver S(2);
    S.assign(Lit(1), 1);
    SolverAudit::learning(S) = true;
    SolverAudit::add(S, Lit(0), c.open);
    SolverAudit::degree(S) = c.degree;
    SolverAudit::scale(S, Lit(1), c.mul);
    EXPECT_EQ(SolverAudit::learning(S), c.useful) << c.degree;
    EXPECT_EQ(SolverAudit::isMarked(S, 0),
              c.degree == -1); // what the objective watches depends on it
  }
  // A coefficient and the degree while a constraint is merged
  for (const int over : {0, 1}) {
    TestSolver S(3);
    S.add({{1, 1}, {2, 1}, {3, 1}}, pb_at_least, 2);
    S.assign(~Lit(0), 1);
    SolverAudit::learning(S) = true;
    PseudoBool::UpdateLearned(S, 2500, Lit(0), 4);
    PseudoBool::UpdateLearned(S, 9999 + over, Lit(1), 1);
    EXPECT_TRUE(SolverAudit::learning(S));
    PseudoBool::UpdateLearned(S, 1, Lit(1), 1);
    EXPECT_EQ(SolverAudit::learning(S), over == 0);

    SolverAudit::emptyAccumulator(S);
    SolverAudit::learning(S) = true;
    SolverAudit::degree(S) = 9998 + over;
    vec<Lit> why, list;
    EXPECT_TRUE(SolverAudit::constrs(S)[0]->calcReason(S, lit_Undef, why, list));
    EXPECT_EQ(SolverAudit::learning(S), over == 0);
    EXPECT_EQ(show(list), over == 0 ? "x0 x1 x2" : "");
    EXPECT_EQ(show(why), "~x0");
  }
}

// ------------------------------------------------------------------------------------------------
// Activities and reduction

TEST(Activities, BumpedWhereAssignedAndRescaledTogether) {
  TestSolver S(3);
  SolverAudit::bump(S, Lit(1));
  EXPECT_EQ(SolverAudit::activity(S)[1], 0);
  S.assign(Lit(1), 1);
  SolverAudit::bump(S, Lit(1));
  EXPECT_EQ(SolverAudit::activity(S)[1], 1);
  S.assign(Lit(2), 2);
  SolverAudit::activity(S)[2] = 1e100;
  SolverAudit::bump(S, Lit(2)); // adds too little to pass the limit
  EXPECT_EQ(SolverAudit::activity(S)[2], 1e100);
  SolverAudit::activity(S)[2] = 1.5e100;
  SolverAudit::bump(S, Lit(2));
  EXPECT_NEAR(SolverAudit::activity(S)[2], 1.5, 1e-9);
  EXPECT_NEAR(SolverAudit::activity(S)[1], 1e-100, 1e-110);
  EXPECT_EQ(SolverAudit::check(S), "");
}

std::string activitiesLeft(TestSolver& S) {
  std::ostringstream out;
  for (int i = 0; i < S.nLearnts(); i++) out << SolverAudit::learnts(S)[i]->activity() << " ";
  for (int i = 0; i < S.pb_nLearnts(); i++) out << SolverAudit::pbLearnts(S)[i]->activity() << " ";
  return out.str();
}

TEST(Reduction, KeepsTheActiveAndTheLocked) {
  const struct {
    std::vector<float> activities; // the last one's constraint is locked if `locked`
    double inc;
    bool locked;
    const char* left;
  } cases[] = {
      {{}, 1, false, ""},
      {{2}, 2, false, "2 "},             // exactly at the limit
      {{2}, 2.5, false, ""},             // half of one is none, but it is below the limit
      {{4, 1, 3, 2}, 1, false, "3 4 "},  // the less active half goes
      {{4, 1, 3, 2}, 12.5, false, "4 "}, // and what is below 12.5 / 4
      {{5, 6, 7, 1}, 1, true, "1 6 7 "}, // but not what is a reason
      {{5, 6, 1}, 18, true, "1 6 "},
  };
  for (const bool pb : {false, true}) {
    for (const auto& c : cases) {
      TestSolver S(6);
      if (c.locked) S.assign(~Lit(5), 1);
      for (size_t i = 0; i < c.activities.size(); i++) {
        if (pb) {
          for (const Var x : {0, 1, 2}) SolverAudit::add(S, Lit(x), 1);
          SolverAudit::degree(S) = 2;
          PseudoBool* out = nullptr;
          Clause* clause = nullptr;
          ASSERT_TRUE(PseudoBool_add(S, Lits{Lit(0), Lit(1), Lit(2)}, out, clause));
          SolverAudit::emptyAccumulator(S);
          out->activity() = c.activities[i];
          SolverAudit::pbLearnts(S).push(out);
        } else {
          Clause* out = nullptr;
          ASSERT_TRUE(Clause_new(S, Lits{Lit(0), Lit(1), Lit(2)}, true, out));
          out->activity() = c.activities[i];
          SolverAudit::learnts(S).push(out);
        }
      }
      if (c.locked && pb) {
        S.decide(Lit(4));
        S.enqueue(Lit(0), SolverAudit::pbLearnts(S).last(), 1);
      } else if (c.locked) {
        S.decide(Lit(4));
        S.enqueue(Lit(0), SolverAudit::learnts(S).last(), 1);
      }
      SolverAudit::claInc(S) = SolverAudit::pbInc(S) = c.inc;
      if (pb) {
        SolverAudit::reducePB(S);
      } else {
        SolverAudit::reduceClauses(S);
      }
      EXPECT_EQ(activitiesLeft(S), c.left) << (pb ? "constraints" : "clauses") << ", " << c.inc;
    }
  }
}

TEST(Reduction, SatisfiedConstraintsGoAtTheRoot) {
  TestSolver S(5);
  S.addClause(Lits{Lit(0), Lit(1)});
  S.addClause(Lits{Lit(1), Lit(2), Lit(3)});
  S.add({{1, 3}, {2, 2}, {3, 2}}, pb_at_least, 2);
  S.add({{1, 3}, {2, 2}, {3, 2}}, pb_at_least, 4);
  S.addUnit(Lit(0));
  S.addUnit(~Lit(3));
  EXPECT_TRUE(SolverAudit::simplify(S));
  EXPECT_EQ(constraints(S), "x1 x2 x3; 3*x0 2*x1 2*x2 >= 4"); // false literals stay
  EXPECT_EQ(SolverAudit::checkFixpoint(S), "");
  S.addUnit(Lit(1));
  EXPECT_TRUE(SolverAudit::simplify(S));
  EXPECT_EQ(S.nConstrs(), 0);
}

// ------------------------------------------------------------------------------------------------
// Search

TEST(Search, AssumptionsDecideOneQuestionOnly) {
  TestSolver S(3);
  S.add({{1, 1}, {2, 1}, {3, 1}}, pb_at_most, 1);
  S.add({{1, 1}, {2, 1}}, pb_at_least, 1);
  EXPECT_EQ(S.solve(Lits{Lit(0), Lit(1)}), solve_unsatisfiable);
  EXPECT_EQ(S.solve(Lits{Lit(1), Lit(1)}), solve_done);
  EXPECT_EQ(S.solve(Lits{Lit(2)}), solve_unsatisfiable);
  EXPECT_TRUE(S.okay());
  EXPECT_EQ(S.solve(Lits{}), solve_done);
  EXPECT_TRUE(S.checkModel());
  struct : SearchHost {
    bool outOfTime() override { return true; }
  } expired;
  S.host = &expired;
  EXPECT_EQ(S.solve(Lits{}), solve_stopped);
}

TEST(Search, FactsThatContradictEachOtherEndIt) {
  TestSolver S(1);
  EXPECT_TRUE(S.addUnit(Lit(0)));
  EXPECT_FALSE(S.addUnit(~Lit(0)));
  EXPECT_FALSE(S.okay());
}

TEST(Search, WithoutVariables) {
  TestSolver S(0);
  EXPECT_EQ(S.solve(Lits{}), solve_done);
}

// ------------------------------------------------------------------------------------------------
// The audit

/// Every fault that the audit is for is found.
TEST(Audit, FindsBrokenState) {
  const struct {
    const char* fault;
    std::function<void(TestSolver&)> cause;
  } cases[] = {
      {"", [](TestSolver&) {}},
      {"clause x0 x1 x2 is watched 0 times for x0",
       [](TestSolver& S) { SolverAudit::watches(S, ~Lit(0)).clear(); }},
      {"there are 3 clause watches for 1 clauses",
       [](TestSolver& S) {
         SolverAudit::watches(S, Lit(5)).push(SolverAudit::pool(S), SolverAudit::constrs(S)[0]);
       }},
      {"term 2 has 2 watch entries: 1'x3 1*x4 1*x5 >= 2",
       [](TestSolver& S) {
         const pbWatchTerm entry = SolverAudit::pbWatches(S, ~Lit(5)).last();
         SolverAudit::pbWatches(S, ~Lit(5)).push(SolverAudit::pool(S), entry);
       }},
      {"term 2 has 1 watch entries: 1'x3 1*x4 1 x5 >= 2",
       [](TestSolver& S) { static_cast<PseudoBool*>(SolverAudit::constrs(S)[1])->unwatchTerm(2); }},
      {"watched sum 1 of 1'x3 1*x4 1*x5 >= 2",
       [](TestSolver& S) {
         SolverAudit::watchsum(*static_cast<PseudoBool*>(SolverAudit::constrs(S)[1])) = 1;
       }},
      {"x2 is less active than its place in the order",
       [](TestSolver& S) { SolverAudit::activity(S)[2] = 1; }},
      {"x0 at level 1 has neither reason nor decision",
       [](TestSolver& S) { S.enqueue(Lit(0), nullptr, 1); }},
      {"clause x0 x1 x2 does not imply x0",
       [](TestSolver& S) { S.enqueue(Lit(0), SolverAudit::constrs(S)[0], 1); }},
      {"1'x3 1*x4 1*x5 >= 2 does not imply x0",
       [](TestSolver& S) { S.enqueue(Lit(0), SolverAudit::constrs(S)[1], 1); }},
      {"x5 is on the trail twice", [](TestSolver& S) { SolverAudit::trail(S).push(Lit(5)); }},
      {"violated unnoticed: clause x0 x1 x2",
       [](TestSolver& S) {
         for (const Var x : {0, 1, 2}) {
           S.assume(~Lit(x));
           SolverAudit::propQ(S).clear();
         }
       }},
      {"unit unnoticed: clause x0 x1 x2",
       [](TestSolver& S) {
         for (const Var x : {0, 1}) {
           S.assume(~Lit(x));
           SolverAudit::propQ(S).clear();
         }
       }},
  };
  for (const auto& c : cases) {
    TestSolver S(6);
    S.addClause(Lits{Lit(0), Lit(1), Lit(2)});
    S.add({{4, 1}, {5, 1}, {6, 1}}, pb_at_least, 2);
    S.decide(~Lit(3)); // x4 and x5 are implied
    c.cause(S);
    EXPECT_EQ(SolverAudit::checkFixpoint(S), c.fault);
  }
}

} // namespace
