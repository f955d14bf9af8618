/// \file
/// The pseudo-Boolean constraint: normal form, watches, propagation, conversion to clauses,
/// learnt constraints, the objective, and the overflow guards.
#include <gtest/gtest.h>

#include <unistd.h>

#include <functional>
#include <vector>

#include "EngineTest.h"

namespace {

PseudoBool& pbAt(TestSolver& S, int i) {
  return *static_cast<PseudoBool*>(SolverAudit::constrs(S)[i]);
}

// ------------------------------------------------------------------------------------------------
// Construction

TEST(Construction, NormalFormWatchesAndFacts) {
  const struct {
    std::vector<vnumcoef> terms;
    PBRelation relation;
    int rhs;
    bool accepted;
    const char* stored;
    const char* trail;
  } cases[] = {
      // Signs are normalised, terms sorted, and watched up to the degree plus the largest.
      {{{1, 3}, {2, -2}, {3, 5}}, pb_at_most, 4, true, "5*~x2 3*~x0 2*x1 >= 4", ""},
      {{{1, 1}, {2, 1}, {3, 1}, {4, 1}}, pb_at_least, 1, true, "x3 x1 x2 x0", ""},
      {{{1, 1}, {2, 1}, {3, 1}, {4, 1}}, pb_at_least, 2, true, "1*x0 1*x1 1*x2 1 x3 >= 2", ""},
      {{{1, -3}, {-2, 2}}, pb_at_least, 0, true, "3*~x0 2*~x1 >= 3", "~x0"},
      // Clauses: all coefficients equal the degree, or the degree is 1.
      {{{1, 2}, {2, 2}, {3, 2}}, pb_at_least, 2, true, "x2 x1 x0", ""},
      {{{1, 3}, {2, 1}}, pb_at_least, 1, true, "x1 x0", ""},
      {{{1, 1}, {2, 1}}, pb_at_most, 1, true, "~x1 ~x0", ""},
      {{{1, 2}}, pb_at_least, 2, true, "", "x0"},
      // No saturation, so these are none.
      {{{1, 5}, {2, 1}}, pb_at_least, 5, true, "5*x0 1*x1 >= 5", "x0"},
      {{{1, 3}, {2, 2}}, pb_at_least, 2, true, "3*x0 2*x1 >= 2", ""},
      {{{1, 3}}, pb_at_least, 2, true, "3*x0 >= 2", "x0"},
      // Equalities are two constraints; the second is not tried when the first fails.
      {{{1, 1}, {2, 1}, {3, 1}}, pb_equal, 1, true, "x2 x1 x0; 1*~x0 1*~x1 1*~x2 >= 2", ""},
      {{{1, 1}, {2, 1}}, pb_equal, 3, false, "1*x0 1*x1 >= 3", ""},
      {{{1, 1}, {2, 1}}, pb_equal, -1, false, "1 x0 1 x1 >= -1; 1*~x0 1*~x1 >= 3", ""},
      // Too much, exactly enough, trivially enough.
      {{{1, 1}, {2, 1}}, pb_at_least, 3, false, "1*x0 1*x1 >= 3", ""},
      {{{1, 3}, {2, 2}}, pb_at_least, 5, true, "3*x0 2*x1 >= 5", "x0 x1"},
      {{{1, 3}, {2, 2}}, pb_at_least, 0, true, "3 x0 2 x1 >= 0", ""},
      {{{1, 3}, {2, 2}}, pb_at_least, -2, true, "3*x0 2 x1 >= -2", ""},
      // No terms at all
      {{}, pb_at_least, 0, true, "", ""},
      {{}, pb_at_least, 1, false, "", ""},
      {{}, pb_at_most, -1, false, "", ""},
      {{}, pb_equal, 0, true, "", ""},
      {{}, pb_equal, -1, false, "", ""},
      // Coefficients that only just fit
      {{{1, INT_MAX}, {2, -1}}, pb_at_least, -1, true, "2147483647 x0 1 ~x1 >= 0", ""},
      {{{1, 1}, {2, 1}}, pb_at_least, INT_MAX - 1, false, "1*x0 1*x1 >= 2147483646", ""},
      {{{1, 1000000000}, {2, 1000000000}, {3, 1000000000}},
       pb_at_least,
       2,
       true,
       "1000000000*x0 1000000000*x1 1000000000 x2 >= 2",
       ""},
      {{{1, -INT_MAX}}, pb_at_least, -INT_MAX, true, "2147483647 ~x0 >= 0", ""},
  };
  for (const auto& c : cases) {
    TestSolver S(4);
    vec<vnumcoef> terms;
    for (const vnumcoef& t : c.terms) terms.push(t);
    SCOPED_TRACE(testing::Message() << c.stored << " from relation " << c.relation << " " << c.rhs);
    EXPECT_EQ(S.addPBConstraint(c.rhs, c.relation, terms, -1, -1, false), c.accepted);
    EXPECT_EQ(S.okay(), c.accepted);
    EXPECT_EQ(constraints(S), c.stored);
    EXPECT_EQ(show(SolverAudit::trail(S)), c.trail);
    EXPECT_EQ(SolverAudit::check(S), "");
    for (int i = 0; i < terms.size(); i++) // the caller's coefficients end up negated
      EXPECT_EQ(terms[i].coeff, (c.relation == pb_at_least || (c.relation == pb_equal &&
                                                               SolverAudit::constrs(S).size() < 2)
                                     ? 1
                                     : -1) *
                                    c.terms[static_cast<size_t>(i)].coeff);
  }
}

TEST(Construction, SumBeyondRangeIsNoted) {
  TestSolver S(3);
  S.add({{1, 1000000000}, {2, 1000000000}, {3, 147483647}}, pb_at_least, 2);
  S.add({{1, 1000000000}, {2, 1000000000}, {3, 147483648}}, pb_at_least, 2);
  EXPECT_FALSE(SolverAudit::overflow(pbAt(S, 0)));
  EXPECT_EQ(SolverAudit::lhsMax(pbAt(S, 0)), INT_MAX);
  EXPECT_TRUE(SolverAudit::overflow(pbAt(S, 1)));
}

TEST(Construction, LooksAtTheFactsKnown) {
  TestSolver S(4);
  S.addUnit(~Lit(0));
  EXPECT_TRUE(S.add({{1, 3}, {2, 2}, {3, 2}, {4, 1}}, pb_at_least, 3));
  // The false term counts until the queue is propagated; the bound is that of the largest open one.
  EXPECT_EQ(constraints(S), "3*x0 2*x1 2 x2 1 x3 >= 3");
  EXPECT_EQ(S.propagate(), nullptr);
  EXPECT_EQ(constraints(S), "3'x0 2*x1 2*x2 1*x3 >= 3");
  EXPECT_EQ(S.nAssigns(), 1);
  EXPECT_EQ(SolverAudit::checkFixpoint(S), "");
}

TEST(Construction, ClausesFromKnownFacts) {
  const struct {
    std::vector<Lit> facts;
    bool accepted;
    const char* stored;
    const char* trail;
  } cases[] = {
      {{~Lit(0), ~Lit(1)}, true, "x2 x1 x0", "~x0 ~x1 x2"},
      {{Lit(1)}, true, "", "x1"},
      {{~Lit(0), ~Lit(1), ~Lit(2)}, false, "x0 x1 x2", "~x0 ~x1 ~x2"},
  };
  for (const auto& c : cases) {
    TestSolver S(3);
    for (const Lit p : c.facts) S.addUnit(p);
    EXPECT_EQ(S.add({{1, 1}, {2, 1}, {3, 1}}, pb_at_least, 1), c.accepted);
    EXPECT_EQ(constraints(S), c.stored);
    EXPECT_EQ(show(SolverAudit::trail(S)), c.trail);
    EXPECT_EQ(SolverAudit::check(S), "");
  }
}

// ------------------------------------------------------------------------------------------------
// Propagation

TEST(Propagation, ImpliesAndKeepsAFakeWatch) {
  TestSolver S(3);
  S.add({{1, 1}, {2, 1}, {3, 1}}, pb_at_least, 2);
  for (const Var x : {0, 1, 0}) { // again after backtracking, through the fake watch
    EXPECT_EQ(S.decide(~Lit(x)), nullptr);
    EXPECT_EQ(S.nAssigns(), 3);
    EXPECT_TRUE(pbAt(S, 0).is_fakewatched(x));
    EXPECT_TRUE(SolverAudit::pbImpliedHere(S));
    EXPECT_EQ(SolverAudit::reason(S, 2), &pbAt(S, 0));
    EXPECT_TRUE(pbAt(S, 0).locked(S) || x == 0); // the first term says no if it is not true
    EXPECT_EQ(SolverAudit::checkFixpoint(S), "");
    vec<Lit> why, other;
    pbAt(S, 0).calcReason(S, Lit(2), why, other);
    EXPECT_EQ(show(why), show(~Lit(x)));
    pbAt(S, 0).calcReason(S, Lit(2), why, other);
    EXPECT_EQ(why.size(), 1); // not twice in one analysis
    SolverAudit::forgetExplained(S);
    EXPECT_EQ(other.size(), 0);
    S.cancelUntil(0);
    EXPECT_EQ(SolverAudit::check(S), "");
  }
}

TEST(Propagation, MeetsLiteralsFalsifiedButNotYetVisited) {
  TestSolver S(3);
  S.add({{1, 1}, {2, 1}, {3, 1}}, pb_at_least, 2);
  S.assume(~Lit(0));
  S.enqueue(~Lit(1), nullptr, 1);
  EXPECT_EQ(S.propagate(), &pbAt(S, 0));
  EXPECT_EQ(constraints(S), "1*x0 1*x1 1*x2 >= 2"); // watched again
  EXPECT_EQ(SolverAudit::watchsum(pbAt(S, 0)), 3);
  vec<Lit> why, other;
  pbAt(S, 0).calcReason(S, lit_Undef, why, other);
  EXPECT_EQ(show(why), "~x0 ~x1");
}

TEST(Propagation, ConflictRestoresTheUnvisitedEntries) {
  TestSolver S(10);
  for (int i = 0; i < 5; i++) {
    if (i == 2) {
      S.add({{1, 1}, {9, 1}, {10, 1}}, pb_at_least, 2);
    } else {
      S.add({{1, 1}, {2, 1}, {3, 1}, {4 + i, 1}}, pb_at_least, 2);
    }
  }
  S.addClause(Lits{Lit(0), Lit(1)});
  S.assume(~Lit(0));
  S.enqueue(~Lit(8), nullptr, 1);
  EXPECT_EQ(S.propagate(), &pbAt(S, 2));
  EXPECT_EQ(S.stats.inspects, 3);
  EXPECT_EQ(S.stats.propagations, 0);
  EXPECT_EQ(SolverAudit::propQ(S).size(), 0);
  const WatchList<pbWatchTerm>& list = SolverAudit::pbWatches(S, ~Lit(0));
  ASSERT_EQ(list.size(), 3);
  for (int i = 0; i < 3; i++) EXPECT_EQ(list[i].pb, &pbAt(S, 2 + i));
}

TEST(Propagation, ModelIsCheckedAgainstRows) {
  TestSolver S(2);
  S.add({{1, 3}, {2, -2}}, pb_at_most, 0);
  S.add({{1, 3}, {2, 2}}, pb_at_least, 2);
  S.model.growTo(2, false);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(S.checkModel());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Validation fails on constr 1\n");
  S.model[1] = true;
  EXPECT_TRUE(S.checkModel());
}

// ------------------------------------------------------------------------------------------------
// Learnt constraints

TEST(LearntConstraint, ClauseLikeOnesAssertAfterABackjump) {
  TestSolver S(4);
  S.add({{1, 3}, {2, 2}, {3, 2}}, pb_at_least, 2); // u, w, v
  S.assign(~Lit(0), 3);
  S.assign(~Lit(2), 5);
  S.assign(Lit(3), 9);
  PseudoBool* pb = &pbAt(S, 0);
  Clause* c = nullptr;
  EXPECT_TRUE(convertPBtoCNF(S, pb, c, true));
  EXPECT_EQ(show(c), "x1 x2 x0");
  EXPECT_TRUE(c->learnt());
  EXPECT_EQ(S.decisionLevel(), 5);
  EXPECT_EQ(SolverAudit::reason(S, 1), c);
  SolverAudit::learnts(S).push(c);
}

TEST(LearntConstraint, InstalledWhereItFirstImplies) {
  struct Falsified {
    Lit literal;
    int level;
  };
  const struct {
    std::vector<int> coeffs; // of x0, x1, ...
    int goal;
    std::vector<Falsified> falsified;
    bool accepted;
    int level;
    const char* constraint;
    const char* trail; // from that level on, without decisions
  } cases[] = {
      // Asserted in order of coefficient, with the last falsified term fake-watched.
      {{3, 2, 2, 1}, 4, {{~Lit(0), 2}, {~Lit(3), 4}}, true, 2, "3'x0 2*x1 2*x2 1*x3 >= 4", "x1 x2"},
      // Coefficients are cut to the degree; small ones are neither implied nor all watched.
      {{9, 2, 2, 1}, 4, {{~Lit(1), 2}}, true, 2, "4*x0 2'x1 2*x2 1 x3 >= 4", "x0"},
      {{4, 2, 1}, 4, {}, true, 0, "4*x0 2*x1 1 x2 >= 4", "x0"},
      // Violated where it would first imply: the level before, implying nothing.
      {{1, 1, 1}, 2, {{~Lit(0), 3}, {~Lit(1), 3}}, true, 2, "1*x0 1*x1 1*x2 >= 2", ""},
      // Of the terms falsified on lower levels only one that was large enough keeps an entry.
      {{3, 1, 1, 1, 1},
       3,
       {{~Lit(0), 1}, {~Lit(1), 3}},
       true,
       3,
       "3'x0 1'x1 1*x2 1*x3 1*x4 >= 3",
       "x2 x3 x4"},
      {{2, 2, 2, 2}, 3, {{~Lit(0), 1}, {~Lit(1), 3}}, true, 3, "2 x0 2'x1 2*x2 2*x3 >= 3", "x2 x3"},
      // Clause-like
      {{3, 2, 2}, 2, {{~Lit(0), 1}, {~Lit(1), 2}}, true, 2, "x2 x1 x0", "x2"},
      // Beyond reach, by itself or by the facts of level 0
      {{1, 1}, 3, {}, false, 0, "nothing", ""},
      {{2, 1, 1}, 3, {{~Lit(0), 0}, {~Lit(1), 2}}, false, 2, "nothing", ""},
  };
  for (const auto& c : cases) {
    TestSolver S(static_cast<int>(c.coeffs.size()));
    vec<Lit> literals;
    for (size_t v = 0; v < c.coeffs.size(); v++) {
      literals.push(Lit(static_cast<Var>(v)));
      SolverAudit::add(S, literals.last(), c.coeffs[v]);
    }
    SolverAudit::degree(S) = c.goal;
    for (const Falsified& f : c.falsified) S.assign(f.literal, f.level);
    PseudoBool* pb = nullptr;
    Clause* clause = nullptr;
    SCOPED_TRACE(c.constraint);
    ASSERT_EQ(PseudoBool_add(S, literals, pb, clause), c.accepted);
    const Constr* const made = clause != nullptr ? static_cast<Constr*>(clause) : pb;
    EXPECT_EQ(show(made), c.constraint);
    EXPECT_EQ(S.decisionLevel(), c.level);
    if (clause != nullptr) SolverAudit::learnts(S).push(clause);
    if (pb != nullptr) SolverAudit::pbLearnts(S).push(pb);
    vec<Lit> asserted;
    while (SolverAudit::propQ(S).size() > 0) asserted.push(SolverAudit::propQ(S).dequeue());
    EXPECT_EQ(show(asserted), c.trail);
    for (int i = 0; i < asserted.size() && c.level > 0; i++)
      EXPECT_EQ(SolverAudit::reason(S, var(asserted[i])), made);
    EXPECT_EQ(SolverAudit::check(S), "");
  }
}

// ------------------------------------------------------------------------------------------------
// The objective

/// Minimisation is handed over as at most the sum of the positive coefficients, maximisation as at
/// least the sum of the negative ones.
void addObjective(TestSolver& S, std::initializer_list<vnumcoef> form, bool maximise) {
  int bound = 0;
  for (const vnumcoef& t : form)
    if ((t.coeff < 0) == maximise) bound += t.coeff;
  S.add(form, maximise ? pb_at_least : pb_at_most, bound, true);
}

TEST(Objective, ValueAndNextDegree) {
  const struct {
    std::vector<vnumcoef> form;
    bool maximise;
    std::vector<Lit> assignment; // one level each
    int reported;
    bool more;
    int level;
    const char* tightened;
  } cases[] = {
      {{{1, 1}, {2, 2}, {3, 3}},
       false,
       {Lit(0), ~Lit(1), Lit(2)},
       4,
       true,
       1,
       "3*~x2 2*~x1 1'~x0 >= 3"},
      {{{1, 1}, {2, 2}, {3, 3}},
       false,
       {~Lit(0), ~Lit(1), ~Lit(2)},
       0,
       false,
       3,
       "3 ~x2 2 ~x1 1 ~x0 >= 6"},
      {{{1, 2}, {2, -1}}, true, {Lit(0), Lit(1)}, 2, true, 0, "2*x0 1*~x1 >= 3"},
      {{{1, -1}, {2, -1}}, false, {Lit(0), Lit(1)}, 2, false, 2, "1 x0 1 x1 >= 2"},
      {{{1, -1}, {2, -1}}, false, {Lit(0), ~Lit(1)}, 1, true, 1, "1*x0 1*x1 >= 2"},
      // Violated at level 2, so it is asserted at level 1.
      {{{1, 1}, {2, 1}}, false, {Lit(0), Lit(1)}, 2, true, 1, "1'~x0 1*~x1 >= 1"},
      {{{1, 4}, {2, 2}, {3, 1}},
       false,
       {Lit(0), ~Lit(1), ~Lit(2)},
       4,
       true,
       0,
       "4*~x0 2*~x1 1 ~x2 >= 4"},
  };
  for (const auto& c : cases) {
    TestSolver S(3);
    vec<vnumcoef> form;
    int bound = 0;
    for (const vnumcoef& t : c.form) {
      form.push(t);
      if ((t.coeff < 0) == c.maximise) bound += t.coeff;
    }
    S.addPBConstraint(bound, c.maximise ? pb_at_least : pb_at_most, form, -1, -1, true);
    for (const Lit p : c.assignment) EXPECT_EQ(S.decide(p), nullptr);
    PseudoBool* const objective = SolverAudit::objective(S);
    ASSERT_NE(objective, nullptr);
    EXPECT_EQ(objective->newObjConstraint(S, true), c.more);
    EXPECT_EQ(S.objectiveValue(), c.reported);
    EXPECT_EQ(S.decisionLevel(), c.level);
    EXPECT_EQ(show(objective), c.tightened);
    EXPECT_EQ(SolverAudit::check(S), "");
  }
}

TEST(Objective, EndsWhenNothingCanBeGained) {
  // All literals fixed at the root; and only the false ones.
  for (const bool all : {true, false}) {
    TestSolver S(2);
    addObjective(S, {{1, 1}, {2, 1}}, false);
    S.addUnit(Lit(0));
    if (all) S.addUnit(~Lit(1));
    S.propagate();
    if (!all) S.decide(~Lit(1));
    EXPECT_FALSE(SolverAudit::objective(S)->newObjConstraint(S, true));
    EXPECT_EQ(S.objectiveValue(), 1);
  }
}

TEST(Objective, LargestSumThatFits) {
  TestSolver S(2);
  addObjective(S, {{1, INT_MAX - 5}, {2, 5}}, true);
  EXPECT_EQ(S.solve(Lits{}), solve_done);
  EXPECT_EQ(S.objectiveValue(), INT_MAX);
  EXPECT_TRUE(S.model[0] && S.model[1]);
}

// ------------------------------------------------------------------------------------------------
// Overflow guards

TEST(OverflowDeathTest, EveryGuardNamesItself) {
  const struct {
    int guard;
    std::vector<vnumcoef> form;
    PBRelation relation;
    int bound;
  } rows[] = {
      {1, {{1, -1}, {2, 1}}, pb_at_least, INT_MAX},
      {1, {{1, INT_MIN}, {2, 1}}, pb_at_least, 0},
      {1, {{1, INT_MIN}, {2, 1}}, pb_at_most, 0},
      {1, {{1, 2}, {2, 1}}, pb_at_most, INT_MIN},
      {1, {}, pb_at_most, INT_MIN},
      {4, {{1, 1}, {2, 1}}, pb_at_least, INT_MAX},
      {4, {{1, 2}, {2, 1}}, pb_at_least, INT_MAX - 1},
      {2, {{1, 2000000000}, {2, 2000000000}}, pb_at_least, 100},
  };
  const struct {
    int guard;
    int coefficient; // of x0 in the objective
    bool maximise;
    bool all_true;
  } objectives[] = {
      {3, -1, false, false}, // the value of a minimum needs the sum of all coefficients
      {3, 1, true, true},    // that of a maximum does not, but it may be too large itself,
      {4, 1, true, false},   // or else the tightened degree
  };
  const auto expect = [](int guard, const std::function<void(TestSolver&)>& act) {
    const auto run = [&act] {
      dup2(STDERR_FILENO, STDOUT_FILENO);
      TestSolver S(2);
      act(S);
      std::_Exit(1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(exit_none),
                "c sum of numeric constants out of range \\[" + std::to_string(guard) +
                    "\\]\ns UNKNOWN\n$");
  };
  for (const auto& row : rows)
    expect(row.guard, [&row](TestSolver& S) {
      vec<vnumcoef> form;
      for (const vnumcoef& t : row.form) form.push(t);
      S.addPBConstraint(row.bound, row.relation, form, -1, -1, false);
    });
  for (const auto& objective : objectives)
    expect(objective.guard, [&objective](TestSolver& S) {
      addObjective(S, {{1, INT_MAX}, {2, objective.coefficient}}, objective.maximise);
      for (const Var x : {0, 1})
        if (objective.all_true) S.addUnit(Lit(x));
      S.solve(Lits{});
    });
}

} // namespace
