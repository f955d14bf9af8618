/// \file
/// Proofs by hand, for each rule some that hold and some that do not: a rule that is too weak
/// refuses the former, one that is too strong accepts the latter.
#include "checker/Refusal.h"
#include "checker/Verify.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

using checker::readProblem;
using checker::verify;

std::string verdictOn(const std::string& problem, const std::string& proof) {
  std::istringstream stream(proof);
  return verify(readProblem(problem), stream).text();
}

/// Steps in version 3, between their header and an end without a claim unless they have their own.
std::string proofWith(const std::string& steps) {
  std::string proof = "pseudo-Boolean proof version 3.0\n" + steps;
  if (steps.find("output") == std::string::npos) proof += " output NONE; conclusion NONE;";
  return proof + " end pseudo-Boolean proof;\n";
}

struct Case {
  const char* why;
  const char* steps;
  bool holds;
};

/// Each case by itself on the same problem.
void tryAll(const std::string& problem, const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    const std::string verdict = verdictOn(problem, proofWith(c.steps));
    EXPECT_EQ(c.holds, !verdict.starts_with("s NOT VERIFIED")) << c.why << "\n"
                                                               << c.steps << "\n"
                                                               << verdict;
  }
}

} // namespace

TEST(CheckerRules, CuttingPlanesGiveExactlyTheirResult) {
  // Rows 1 to 3; a case derives row 4 and says what it is.
  tryAll(
      "+3 x1 +2 x2 -1 x3 >= 2 ;\n+2 ~x1 +2 x2 >= 3 ;\n+4 x1 +7 x2 +6 x3 +1 x4 >= 9 ;\n",
      {{"an identifier by itself", "pol 1; e 3 x1 2 x2 1 ~x3 >= 3 : 4;", true},
       {"opposite literals cancel", "pol 1 2 +; e 1 x1 4 x2 1 ~x3 >= 4 : 4;", true},
       {"cancelling lowers the degree", "pol 1 2 +; e 1 x1 4 x2 1 ~x3 >= 5 : 4;", false},
       {"multiplication", "pol 2 5 *; e 10 ~x1 10 x2 >= 15 : -1;", true},
       {"no negative factor", "pol 2 -1 *;", false},
       {"zero times a row", "pol 2 0 *; e >= 0 : 4;", true},
       {"division rounds up in the literal form", "pol 1 2 d; e 2 x1 1 x2 1 ~x3 >= 2 : 4;", true},
       {"division in the variable form", "pol 1 2 c; e 2 x1 1 x2 >= 1 : 4;", true},
       {"no division by zero", "pol 1 0 d;", false},
       {"saturation", "pol 1 x3 w s; e 2 x1 2 x2 >= 2 : 4;", true},
       {"weakening takes the variable out", "pol 1 x1 w; e 2 x2 1 ~x3 >= 0 : 4;", true},
       {"weakening is of variables", "pol 1 ~x3 w;", false},
       {"literal axioms", "pol 1 ~x1 2 * + x3 +; e 1 x1 2 x2 >= 0 : 4;", true},
       {"literals on both sides", "pol x1 ~x1 +; e >= -1 : 4;", true},
       {"a lower degree", "pol 2 1 -; e 2 ~x1 2 x2 >= 2 : 4;", true},
       {"not a higher one", "pol 2 -1 -;", false},
       // 4 x1 + 7 x2 + 6 x3 + x4 >= 9 by 5: r = 4, so 4 x1 + (4 + 2) x2 + (4 + 1) x3 + x4 >= 8.
       {"mixed-integer rounding", "pol 3 5 m; e 4 x1 6 x2 5 x3 1 x4 >= 8 : 4;", true},
       {"and with the number as it is", "pol 3 5 m; e 4 x1 6 x2 5 x3 1 x4 >= 9 : 4;", false},
       // 3 x1 + 2 x2 + ~x3 >= 3 by 2: r = 1, so (1 + 1) x1 + x2 + ~x3 >= 2.
       {"mixed-integer rounding of literals", "pol 1 2 n; e 2 x1 1 x2 1 ~x3 >= 2 : 4;", true},
       // 3 x1 + 2 x2 - x3 >= 2 by 3: r = 2, so 2 x1 + 2 x2 + (-2 + 2) x3 >= 2.
       {"mixed-integer rounding of variables", "pol 1 3 m; e 2 x1 2 x2 >= 2 : 4;", true},
       {"sums nest", "pol 1 2 2 * 3 3 * + +; pol 2 2 * 1 + 3 + 3 + 3 +; e 1 x1 1 x2 >= 1;", false},
       {"sums nest",
        "@a pol 1 2 2 * 3 3 * + +; @b pol 2 2 * 1 + 3 + 3 + 3 +; ia 11 x1 27 x2 17 x3 3 x4 >= 31 : "
        "@a; ia 11 x1 27 x2 17 x3 3 x4 >= 31 : @b; i 11 x1 27 x2 17 x3 3 x4 >= 32 : @b;",
        false},
       {"too few operands", "pol 1 +;", false},
       {"too many", "pol 1 2;", false},
       {"nothing", "pol ;", false},
       {"no such row", "pol 4;", false},
       {"no row 0", "pol 0;", false},
       {"counting back too far", "pol -4;", false}});
}

TEST(CheckerRules, NumbersHaveNoBound) {
  const std::string huge = "1" + std::string(40, '0');
  tryAll(
      "+" + huge + " x1 +1 x2 >= " + huge + " ;\n",
      {{"a wide row propagates", "rup 1 x1 >= 1;", true},
       {"but not more", "rup 1 x2 >= 1;", false},
       {"in company", "rup 1 x1 1 x3 >= 1; rup 1 x1 1 x2 >= 1; rup 1 x1 1 x2 >= 2;", false},
       {"past 64 bits and back",
        "pol 1 5000000000000000000000 d; pol 2 2000000000000000000 d; e 1 x1 1 x2 >= 1 : 3;", true},
       {"exactly", "pol 1 9223372036854775807 *; pol 2 9223372036854775808 d; i 1 x1 >= 1 : 3;",
        true},
       {"the smallest of 64 bits", "pol -9223372036854775808;", false}});
  for (const char* const number : {"3", "-9223372036854775808", "9223372036854775807", "0"})
    EXPECT_EQ(verdictOn("+1 x1 >= 1 ;", proofWith("rup 1 x1 >= " + std::string(number) +
                                                  "; e 1 x1 >= " + number + " : 2;")),
              number[0] == '-' || number[0] == '0'
                  ? "s VERIFIED NONE"
                  : "s NOT VERIFIED line 2: unit propagation does not show the constraint");
  // Squaring the number 20 times would take a million bits.
  std::string steps = "pol 1";
  const std::string factor(60000, '9');
  for (int i = 0; i < 10; i++) steps += " " + factor + " *";
  EXPECT_EQ(verdictOn("+1 x1 >= 1 ;", proofWith(steps + ";")),
            "s NOT VERIFIED line 2: a number of more than 1048576 bits");
}

TEST(CheckerRules, OneRowImpliesAnotherByItsLetters) {
  tryAll("+2 x1 +2 x2 +2 x3 >= 4 ;\n+5 x1 +3 x2 -1 x4 >= 4 ;\n+1 x5 >= 2 ;\n",
         {{"less of it", "i 2 x1 2 x2 2 x3 >= 3 : 1;", true},
          {"more of it", "i 2 x1 2 x2 2 x3 >= 5 : 1;", false},
          {"further literals", "i 3 x1 2 x2 2 x3 1 x6 >= 4 : 1;", true},
          {"weakened", "i 2 x1 2 x2 >= 2 : 1;", true},
          {"weakened at its price", "i 2 x1 2 x2 >= 3 : 1;", false},
          {"smaller coefficients at their price", "i 1 x1 1 x2 1 x3 >= 1 : 1;", true},
          {"not for nothing", "i 1 x1 1 x2 1 x3 >= 3 : 1;", false},
          {"no division", "i 1 x1 1 x2 1 x3 >= 2 : 1;", false},
          {"saturated", "i 5 x1 3 x2 1 ~x4 >= 5 : 2;", true},
          {"saturated to the new degree", "i 1 x1 1 x2 1 ~x4 >= 1 : 2;", true},
          {"opposite literals are none", "i 2 x1 2 x2 2 ~x3 >= 4 : 1;", false},
          {"a trivial row", "i 1 x7 >= 0 : 1;", true},
          {"a contradiction implies all", "i 1 x7 >= 3 : 3;", true},
          {"found without a hint", "del id 3; i 2 x1 2 x2 >= 2;", true},
          {"nowhere to be found", "del id 3; i 2 x1 2 x2 >= 4;", false},
          {"added", "ia 2 x1 2 x2 >= 2 : 1; e 2 x1 2 x2 >= 2 : 4;", true},
          {"only looked at", "i 2 x1 2 x2 >= 2 : 1; pol 4;", false}});
}

TEST(CheckerRules, PropagationShowsWhatItCanAndNoMore) {
  tryAll(
      "+1 x1 +1 x2 >= 1 ;\n+1 x1 +1 ~x2 >= 1 ;\n+2 x3 +1 x4 +1 x5 >= 2 ;\n+1 ~x1 +1 x6 +1 x7 >= 1 "
      ";\n",
      {{"two clauses", "rup 1 x1 >= 1;", true},
       {"from above", "rup -1 x1 <= -1;", true},
       {"its consequences stay", "rup 1 x1 >= 1; rup 1 x6 1 x7 >= 1;", true},
       {"not without it", "rup 1 x6 1 x7 >= 1 : 4;", false},
       {"but not more", "rup 1 x6 >= 1;", false},
       {"a row that is no clause", "rup 1 x3 1 x4 >= 1;", true},
       {"with the number as it is", "rup 1 x3 1 x4 >= 2;", false},
       {"hints", "rup 1 x1 >= 1 : 1 2 ~;", true},
       {"hints in the other order", "rup 1 x1 >= 1 : ~ 2 1;", true},
       {"a hint is missing", "rup 1 x1 >= 1 : 1;", false},
       {"deleted", "del id 1; rup 1 x1 >= 1;", false},
       {"deleted by range", "del range 1 3; rup 1 x1 >= 1;", false},
       {"deleted by range, counting back", "del range -4 -1; rup 1 x1 >= 1;", false},
       {"the range ends before", "del range 2 2; rup 1 x1 >= 1;", true},
       {"deleted by what it is", "del spec 1 ~x2 1 x1 >= 1; rup 1 x1 >= 1;", false},
       {"what was shown goes with what showed it",
        "rup 1 x1 >= 1; del id 1; del id 5; rup 1 x1 >= 1;", false},
       {"unless it is there once more", "rup 1 x1 >= 1; pol 5; del id 1 5; rup 1 x1 >= 1;", true},
       {"a consequence of a deleted unit goes, too",
        "rup 1 x1 >= 1; rup 1 x6 1 x7 >= 1; del id 6; del id 1 2; del id 5; rup 1 x6 1 x7 >= 1;",
        false},
       {"no deletion of what is not there", "del id 5;", false},
       {"nor twice", "del id 1 1;", false},
       {"a derived row is not in the core", "rup 1 x1 >= 1; delc 5;", false},
       {"but derived", "rup 1 x1 >= 1; deld 5;", true},
       {"until it is moved", "rup 1 x1 >= 1; core id 5; delc 5;", true},
       {"a trivial row", "rup 1 x9 >= 0;", true},
       {"an impossible row", "rup 1 x9 >= 2;", false}});
}

TEST(CheckerRules, WitnessesOweEveryRowTheyTouch) {
  tryAll(
      "min: 1 x1 2 x2 ;\n+1 x1 +1 x2 >= 1 ;\n+1 x3 +1 x4 >= 1 ;\n",
      {{"a fresh variable", "red 1 y1 >= 1 : y1 -> 1;", true},
       {"without arrow", "red 1 y1 >= 1 : y1 1;", true},
       {"that is not fresh any more", "red 1 y1 >= 1 : y1 -> 1; red 1 ~y1 >= 1 : y1 -> 0;", false},
       {"a definition", "red 1 ~y1 1 x1 >= 1 : y1 -> 0; red 1 y1 1 ~x1 >= 1 : y1 -> 1;", true},
       {"a false definition", "red 1 ~y1 1 x1 >= 1 : y1 -> 0; red 1 y1 >= 1 : y1 -> 1;", false},
       {"symmetry", "red 1 x3 1 ~x4 >= 1 : x3 -> x4 x4 -> x3;", true},
       {"only one side of it", "red 1 x3 1 ~x4 >= 1 : x4 -> x3;", false},
       {"nothing becomes dearer", "red 1 x1 >= 1 : x1 -> 1 x2 -> 0;", true},
       {"something would", "red 1 x2 >= 1 : x1 -> 0 x2 -> 1;", false},
       {"a row would be falsified", "red 1 ~x3 >= 1 : x3 -> 0;", false},
       {"once the row is gone it is not", "del id 2; red 1 ~x3 >= 1 : x3 -> 0;", true},
       {"derived rows count",
        "rup 1 x3 1 x4 1 x5 >= 1; del id 2; red 1 ~x3 >= 1 : x3 -> 0 x4 -> 0;", false},
       {"a row would say something else", "red 1 x9 >= 1 : x9 -> 1 x3 -> x5;", false},
       {"the row itself", "red 1 x3 >= 1 : x4 -> 1;", false},
       {"no witness is a proof by contradiction", "red 1 x3 1 x4 1 x5 >= 1;", true},
       {"that needs one", "red 1 x3 >= 1 : ;", false},
       {"twice", "red 1 x3 >= 1 : x3 -> 1 x3 -> 1;", false},
       {"of a literal", "red 1 ~x3 >= 1 : ~x3 -> 1;", false},
       {"a dual argument", "red 1 x3 >= 1 : x3 -> 1;", true},
       {"against a consequence of a deleted row",
        "rup 1 x3 1 x4 1 x9 >= 1; pol 2; red 1 x3 >= 1 : x3 -> 1; del id 5; red 1 ~x3 >= 1 : x3 -> "
        "0 x4 -> 1;",
        true}});
}

TEST(CheckerRules, SubproofsShowTheirGoals) {
  tryAll(
      "min: 1 x1 1 x2 ;\n+1 x1 +1 x2 >= 1 ;\n+1 x1 +1 x2 +1 x3 >= 2 ;\n",
      {{"goals by hand",
        "red 1 x3 >= 1 : x3 -> 1 : subproof proofgoal #1 pol -1 -2 +; qed : -1; "
        "proofgoal 2 pol -1 1 +; qed : -1; qed;",
        true},
       {"the rest by itself", "red 1 x3 >= 1 : x3 -> 1 : subproof proofgoal 2 rup >= 1; qed; qed;",
        true},
       {"contradictions are found", "red 1 x3 >= 1 : x3 -> 1 : subproof proofgoal 2 qed; qed;",
        true},
       {"a goal is not shown", "red 1 ~x3 >= 1 : x3 -> 0 : subproof proofgoal #1 qed; qed;", false},
       {"nor by a proof that is none",
        "red 1 ~x3 >= 1 : x3 -> 0 : subproof proofgoal 2 pol 1; qed; qed;", false},
       {"nor by what is no contradiction",
        "red 1 ~x3 >= 1 : x3 -> 0 : subproof proofgoal 2 pol 1; qed : -1; qed;", false},
       {"a proof by contradiction", "red 1 x1 1 x2 1 x4 >= 1 : : subproof pol -1 1 +; qed : -1;",
        true},
       {"one that is none", "red 1 x1 >= 1 : : subproof pol -1 1 +; qed;", false},
       {"what was assumed is forgotten",
        "red 1 x3 >= 1 : x3 -> 1 : subproof proofgoal 2 pol -1; qed; qed; pol 4;", false},
       {"its numbers are not used again",
        "red 1 x3 >= 1 : x3 -> 1 : subproof proofgoal 2 pol -1; qed; qed; e 1 x3 >= 1 : 6;", true},
       {"no redundance inside", "red 1 x3 >= 1 : x3 -> 1 : subproof red 1 y1 >= 1 : y1 -> 1; qed;",
        false},
       {"no solution inside", "red 1 x3 >= 1 : x3 -> 1 : subproof soli x1 x2 x3; qed;", false},
       {"no deletion of rows outside", "red 1 x3 >= 1 : x3 -> 1 : subproof del id 1; qed;", false},
       {"nor of the last of them", "pol 1; red 1 x3 >= 1 : x3 -> 1 : subproof del id 3; qed;",
        false},
       {"of rows inside", "red 1 x3 >= 1 : x3 -> 1 : subproof pol 1; del id -1; qed;", true},
       {"no such goal", "red 1 x3 >= 1 : x3 -> 1 : subproof proofgoal #2 qed; qed;", false},
       {"of the objective",
        "red 1 x1 >= 1 : x1 -> x2 x2 -> x1 : subproof proofgoal #2 pol -1; qed; qed;", true},
       {"no end", "red 1 x3 >= 1 : x3 -> 1 : subproof ", false}});
}

TEST(CheckerRules, ObjectivesAreReplacedByEqualOnes) {
  const std::string end = " output NONE; conclusion BOUNDS 1 : 1 INF;";
  tryAll("min: 1 x1 1 x2 ;\n+1 x1 +1 x2 >= 1 ;\n+1 x1 +1 x2 <= 1 ;\n+1 x3 = 0 ;\n",
         {{"the same", "obju new 1 x2 1 x1;", true},
          {"equal by a row", "obju new 1 x1 1 x2 1 x3;", true},
          {"by the difference", "obju diff 1 x3;", true},
          {"a number for it", ("obju new 1;" + end).c_str(), true},
          {"a wrong number", "obju new 2;", false},
          {"not by derived rows", "red 1 x1 >= 1 : x1 -> 1 x2 -> 0; obju new 1;", true},
          {"not by derived rows", "red 1 x4 >= 1 : x4 -> 1; obju diff 1 ~x4;", false},
          {"unless moved", "red 1 x4 >= 1 : x4 -> 1; core id 5; obju diff 1 ~x4;", true},
          {"by hand",
           "obju new 1 : subproof proofgoal #1 pol -1 2 +; qed : -1; proofgoal #2 pol -1 1 +; qed "
           ": -1; qed;",
           true},
          {"by hand, not by derived rows",
           "red 1 x4 >= 1 : x4 -> 1; obju diff 1 ~x4 : subproof proofgoal #1 pol -1 5 +; qed; qed;",
           false}});
}

TEST(CheckerRules, ConclusionsSayNoMoreThanIsShown) {
  struct Conclusion {
    const char* steps;
    const char* verdict; ///< behind "s "; "" if refused
  };
  const auto tryConclusions = [](const std::string& problem, const std::vector<Conclusion>& cases) {
    for (const Conclusion& c : cases) {
      const std::string verdict = verdictOn(problem, proofWith(c.steps));
      EXPECT_EQ(verdict.starts_with("s NOT VERIFIED") ? "" : verdict.substr(2), c.verdict)
          << c.steps << "\n"
          << verdict;
    }
  };
  tryConclusions("+1 x1 >= 1 ;\n+1 x2 >= 1 ;\n-1 x1 -1 x2 >= -1 ;\n",
                 {{"pol 1 2 + 3 +; output NONE; conclusion UNSAT : 4;", "VERIFIED UNSATISFIABLE"},
                  {"pol 1 2 + 3 +; output NONE; conclusion UNSAT;", "VERIFIED UNSATISFIABLE"},
                  {"output NONE; conclusion UNSAT;", ""},
                  {"pol 1 2 + 3 +; output NONE; conclusion UNSAT : 3;", ""},
                  {"pol 1 2 + 3 +; output NONE; conclusion BOUNDS INF INF;", ""},
                  {"output NONE; conclusion SAT : x1 x2;", ""},
                  {"sol x1 x2; output NONE; conclusion SAT;", ""},
                  {"del id 3; sol x1 x2; output NONE; conclusion SAT;", ""}});
  tryConclusions("+1 x1 +1 x2 >= 1 ;\n",
                 {{"output NONE; conclusion SAT : x1;", "VERIFIED SATISFIABLE"},
                  {"sol ~x1; output NONE; conclusion SAT;", "VERIFIED SATISFIABLE"},
                  {"output NONE; conclusion SAT : ~x1;", ""},
                  {"output NONE; conclusion SAT : x1 ~x1;", ""},
                  {"output NONE; conclusion SAT;", ""},
                  {"soli x1; output NONE; conclusion SAT;", ""},
                  {"output NONE; conclusion NONE;", "VERIFIED NONE"},
                  {"output IMPLICIT; conclusion NONE;", ""}});
  tryConclusions(
      "min: 2 x1 3 x2 ;\n+1 x1 +1 x2 >= 1 ;\n",
      {{"soli x1 ~x2; rup >= 1; output NONE; conclusion BOUNDS 2 : -1 2;",
        "VERIFIED BOUNDS 2 <= obj <= 2"},
       {"soli x1 ~x2 : 2; rup >= 1; output NONE; conclusion BOUNDS 2 2;",
        "VERIFIED BOUNDS 2 <= obj <= 2"},
       {"soli x1 ~x2 : 1; output NONE; conclusion NONE;", ""},
       {"soli x1 ~x2; rup >= 1; output NONE; conclusion BOUNDS 3 : -1 3;", ""},
       {"soli x1 ~x2; rup >= 1; output NONE; conclusion BOUNDS INF INF;", ""},
       {"soli x1 ~x2; rup >= 1; output NONE; conclusion UNSAT : -1;", ""},
       {"soli x1 ~x2; rup >= 1; output NONE; conclusion BOUNDS 2 : -1 1;", ""},
       {"sol x1 ~x2; output NONE; conclusion BOUNDS 0 2;", "VERIFIED BOUNDS 0 <= obj <= 2"},
       {"sol x1 ~x2; output NONE; conclusion BOUNDS 2 2;", ""},
       {"pol 1 2 *; output NONE; conclusion BOUNDS 2 : 2 INF;", "VERIFIED BOUNDS 2 <= obj <= INF"},
       {"output NONE; conclusion BOUNDS 0 3 : ~x1 x2;", "VERIFIED BOUNDS 0 <= obj <= 3"},
       {"output NONE; conclusion BOUNDS 0 3 : x2;", ""},                // x1 is missing
       {"soli x1 ~x2; soli x1 ~x2; output NONE; conclusion NONE;", ""}, // excluded by now
       {"soli x1 x2; soli x1 ~x2; rup >= 1; output NONE; conclusion BOUNDS 2 : -1 2;",
        "VERIFIED BOUNDS 2 <= obj <= 2"},
       {"del id 1; output NONE; conclusion BOUNDS 0 0 : ~x1 ~x2;", ""},
       {"del id 1; soli ~x1 ~x2; output NONE; conclusion NONE;", ""}});
  // Numbers in the proof are of what is minimised; the verdict is about the objective.
  tryConclusions(
      "max: 2 x1 3 x2 ;\n+1 x1 +1 x2 <= 1 ;\n",
      {{"soli ~x1 x2 : -3; rup >= 1; output NONE; conclusion BOUNDS -3 : -1 -3;",
        "VERIFIED BOUNDS 3 <= obj <= 3"},
       {"soli x1 ~x2; output NONE; conclusion BOUNDS -5 -2;", "VERIFIED BOUNDS 2 <= obj <= 5"},
       {"output NONE; conclusion BOUNDS -5 INF;", "VERIFIED BOUNDS -INF <= obj <= 5"},
       {"output NONE; conclusion BOUNDS -3 INF;", ""}});
  tryConclusions(
      "min: 1 x1 ;\n+1 x1 +1 x2 >= 3 ;\n",
      {{"output NONE; conclusion BOUNDS INF : 1 INF;", "VERIFIED BOUNDS INF <= obj <= INF"},
       {"output NONE; conclusion BOUNDS 7 : 1 INF;", "VERIFIED BOUNDS 7 <= obj <= INF"}});
}

TEST(CheckerRules, BothVersionsSayTheSame) {
  const std::string problem = "min: 1 x1 1 x2 ;\n+1 x1 +1 x2 >= 1 ;\n+1 x3 +1 x4 >= 1 ;\n";
  EXPECT_EQ(verdictOn(problem, "pseudo-Boolean proof version 2.0\n"
                               "* a comment\n"
                               "f 2\n"
                               "\n"
                               "rup 1 x1 1 x2 1 x5 >= 1 ;\n"
                               "red 1 x3 >= 1 ; x3 -> 1 ; begin\n"
                               "  proofgoal #1\n"
                               "    pol -1 -2 +\n"
                               "  end -1\n"
                               "end\n"
                               "red 1 y1 >= 1 ; y1 -> 1\n"
                               "e 1 y1 >= 1 ; -1\n"
                               "pol 1 2 * % another comment\n"
                               "del id -1\n"
                               "soli x1 ~x2 x3\n"
                               "u >= 1 ; 1 -1\n"
                               "output NONE\n"
                               "conclusion BOUNDS 1 : -1 1 : x1 ~x2 x3\n"
                               "end pseudo-Boolean proof\n"),
            "s VERIFIED BOUNDS 1 <= obj <= 1");
  // A line holds one step, a step one line.
  EXPECT_EQ(verdictOn(problem, "pseudo-Boolean proof version 2.0\nf 2 pol 1\n"),
            "s NOT VERIFIED line 2: the end of the line expected, not 'pol'");
  EXPECT_EQ(verdictOn(problem, "pseudo-Boolean proof version 2.0\npol 1\n2 +\n"),
            "s NOT VERIFIED line 3: unknown rule '2'");
  EXPECT_EQ(
      verdictOn(problem, "pseudo-Boolean proof version 3.0\npol 1\n 2\n+\n; %;\nf 2\n;\nf 3;"),
      "s NOT VERIFIED line 8: the problem has 2 constraints, not 3");
  EXPECT_EQ(verdictOn(problem, "pseudo-Boolean proof version 1.2\n"),
            "s NOT VERIFIED line 1: version 2.0 or 3.0 expected");
  EXPECT_EQ(verdictOn(problem, "pseudo-Boolean proof version 3.0\npol 1;\n"),
            "s NOT VERIFIED line 2: a word expected before the end of the proof");
  EXPECT_EQ(
      verdictOn(problem, ""),
      "s NOT VERIFIED line 1: 'pseudo-Boolean proof version' expected before the end of the proof");
}

TEST(CheckerRules, LabelsNameRows) {
  tryAll("@first +1 x1 >= 1 ;\n+1 x1 +1 x2 >= 2 ;\n",
         {{"of the problem", "pol @first; e 1 x1 >= 1 : 3;", true},
          {"of a step", "@sum pol 1 2 +; del id @sum; pol 2;", true},
          {"deleted", "@sum pol 1 2 +; del id @sum; pol @sum;", false},
          {"unknown", "pol @other;", false},
          {"found", "@it e 1 x1 1 x2 >= 2; del id @it; del id 2;", false},
          {"given anew", "@a pol 1; @a pol 2; e 1 x1 1 x2 >= 2 : @a;", true},
          {"of a row with a subproof",
           "@r red 1 x3 >= 1 : x3 -> 1 : subproof @in pol 1; qed; e 1 x3 >= 1 : @r;", true}});
}

TEST(CheckerProblems, RowsAreNumberedAsTheFormatSays) {
  tryAll(
      "* comment\nmin: 1 x1 -2 ~x2 ;\n1 x1 1 x2 = 1 ;\n2 x1 3 ~x1 1 a_[1]{2}^-3 >= 1;\n-1 x1 <= 0;",
      {{"an equality is two", "e 1 x1 1 x2 >= 1 : 1; e -1 x1 -1 x2 >= -1 : 2;", true},
       {"literals of one variable", "e 1 ~x1 1 a_[1]{2}^-3 >= -1 : 3; e 1 x1 >= 0 : 4; f 4;", true},
       {"negated costs", "output NONE; conclusion BOUNDS -2 -2 : ~x1 x2;", false},
       {"negated costs", "soli ~x1 x2 a_[1]{2}^-3 : 0;", true}});
  tryAll(
      "c comment\np cnf 3 3\n1 -2 1 0\n3\n-1 0 1 1 2 -2 -1 3 0\n",
      {{"clauses", "f 3; e 1 x1 1 ~x2 >= 1 : 1; e 1 x3 1 ~x1 >= 1 : 2; e 1 x3 >= -1 : 3;", true}});
  tryAll(
      "c comment\n1 1 0\nh 1 2 3 0\n1 2 3 0\n2 2 0\n2 1 2 0\n",
      {{"soft clauses of several literals are rows",
        "f 3; e 1 x1 1 x2 1 x3 >= 1 : 1; e 1 x2 1 x3 1 ~_b3 >= 1 : 2; e 1 x1 1 x2 1 ~_b5 >= 1 : 3;",
        true},
       {"what is violated costs its weight", "soli ~x1 ~x2 x3 _b3 ~_b5 : 5;", true}});
}

TEST(CheckerProblems, WhatIsNoneIsRefusedWithItsLine) {
  struct Bad {
    const char* text;
    const char* reason;
  };
  for (const Bad& bad :
       std::vector<Bad>{{"+1 x1 x2 >= 1 ;\n", "1: a linear row expected; 'x2' stands there"},
                        {"+1 x1 >= 1 ;\n+1 x >= 1 ;\n", "2: 'x' is no name of a variable"},
                        {"+1 x1 >= y ;\n", "1: a number expected, not 'y'"},
                        {"+1 x1 >= 1 +1 x2 >= 1 ;\n", "1: ';' expected, not '+1'"},
                        {"@e +1 x1 = 1 ;\n", "1: an equality is two rows and cannot have a label"},
                        {"p wcnf 2 1 5\n5 1 0\n",
                         "1: WCNF of 2022 expected, which has no line that begins with 'p'"},
                        {"p cnf 1 1\n1 2\n", "3: a number expected, not ''"},
                        {"h 1 0\n-3 1 0\n", "2: a weight is not negative"}}) {
    try {
      readProblem(bad.text);
      ADD_FAILURE() << bad.text;
    } catch (const checker::Refusal& refusal) {
      EXPECT_EQ(std::string(refusal.what()), bad.reason);
    }
  }
}
