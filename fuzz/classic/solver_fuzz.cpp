/// \file
/// The Solver class, driven through its public interface in any legal order: variables,
/// constraints of all kinds, an objective, then calls of `solve` under changing assumptions, and
/// destruction at any moment. Every answer is held against all assignments, and the solver's state
/// is audited at every step of every search.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <vector>

#include "Demand.h"
#include "PlainProblem.h"
#include "SolverAudit.h"

namespace {

constexpr int max_vars = 10;

/// Some terms over distinct variables, the coefficients not 0.
void someTerms(FuzzedDataProvider& bytes, int nvars, int bound, vec<vnumcoef>& terms) {
  for (int x = 0; x < nvars; x++) {
    const int coeff = bytes.ConsumeIntegralInRange(-bound, bound);
    // A negated variable number stands for the negated literal.
    if (coeff != 0) terms.push(vnumcoef{bytes.ConsumeBool() ? x + 1 : -(x + 1), coeff});
  }
}

/// The row that the solver is told in literals.
plain::Row rowOf(const vec<vnumcoef>& terms, PBRelation relation, int bound) {
  plain::Row row{{},
                 relation == pb_at_most ? plain::Relation::at_most
                 : relation == pb_equal ? plain::Relation::equal
                                        : plain::Relation::at_least,
                 bound};
  for (int i = 0; i < terms.size(); i++) {
    const bool negated = terms[i].vnum < 0;
    row.form.push_back({std::abs(terms[i].vnum) - 1, negated ? -terms[i].coeff : terms[i].coeff});
    if (negated) row.bound -= terms[i].coeff; // c*~x = c - c*x
  }
  return row;
}

plain::Assignment modelOf(const Solver& S, int nvars) {
  plain::Assignment found = 0;
  for (int x = 0; x < nvars; x++)
    if (S.model[x]) found |= 1U << x;
  return found;
}

/// Solves under some assumptions and holds the answer against the truth. Without a solution for
/// lack of one under the assumptions alone, the next call must not suffer.
void solveAndCheck(FuzzedDataProvider& bytes, Solver& S, const plain::Problem& problem) {
  vec<Lit> literals;
  plain::Assumptions assumptions;
  for (int n = bytes.ConsumeIntegralInRange(0, 3); n > 0 && problem.nvars > 0; n--) {
    const int x = bytes.ConsumeIntegralInRange(0, problem.nvars - 1);
    const bool negated = bytes.ConsumeBool();
    literals.push(Lit(x, negated));
    assumptions.add(x, negated);
  }
  const SolveResult result = S.solve(literals);
  demand(S.decisionLevel() == 0, "not back at level 0");
  const bool possible = plain::satisfiable(problem, assumptions);
  demand(result == (possible ? solve_done : solve_unsatisfiable), "wrong answer");
  if (!possible) return;
  const plain::Assignment found = modelOf(S, problem.nvars);
  demand(assumptions.hold(found), "the solution breaks an assumption");
  demand(plain::holds(problem, found) && S.checkModel(), "the solution breaks a constraint");
}

/// The one call that an objective allows, without assumptions.
void optimiseAndCheck(Solver& S, const plain::Problem& problem) {
  const SolveResult result = S.solve(vec<Lit>());
  const auto best = plain::optimum(problem);
  demand(result == (best ? solve_done : solve_unsatisfiable), "wrong answer");
  if (!best) return;
  const plain::Assignment found = modelOf(S, problem.nvars);
  demand(plain::holds(problem, found), "the solution breaks a constraint");
  demand(plain::valueOf(*problem.objective, found) == *best, "not the optimum");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  SolverAudit::enable();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  Solver S;
  plain::Problem problem;
  problem.nvars = bytes.ConsumeIntegralInRange(0, max_vars);
  for (int x = 0; x < problem.nvars; x++) S.newVar(true, -1, 0, 0);

  bool accepted = true;
  const bool optimise = problem.nvars > 0 && bytes.ConsumeIntegralInRange(0, 2) == 0;
  if (optimise) {
    vec<vnumcoef> terms;
    problem.objective.emplace();
    for (int x = 0; x < problem.nvars; x++) {
      const int coeff = bytes.ConsumeIntegralInRange(-5, 5);
      if (coeff == 0) continue;
      terms.push(vnumcoef{x + 1, coeff});
      problem.objective->push_back({x, coeff});
    }
    problem.maximise = !bytes.ConsumeBool();
    const auto [low, high] = plain::rangeOf(*problem.objective);
    accepted = S.addPBConstraint(static_cast<int>(problem.maximise ? low : high),
                                 problem.maximise ? pb_at_least : pb_at_most, terms, -1, -1, true);
    demand(accepted, "an objective was refused");
  }
  for (int n = bytes.ConsumeIntegralInRange(0, 12); n > 0 && accepted; n--) {
    if (bytes.ConsumeIntegralInRange(0, 4) == 0) {
      vec<Lit> clause;
      vec<vnumcoef> terms;
      for (int x = 0; x < problem.nvars; x++) {
        const int choice = bytes.ConsumeIntegralInRange(0, 5);
        if (choice > 1) continue;
        clause.push(Lit(x, choice == 1));
        terms.push(vnumcoef{choice == 1 ? -(x + 1) : x + 1, 1});
      }
      if (clause.size() > 0 && bytes.ConsumeBool()) clause.push(Lit(clause[0])); // a repetition
      problem.rows.push_back(rowOf(terms, pb_at_least, 1));
      accepted = S.addClause(clause);
    } else {
      vec<vnumcoef> terms;
      someTerms(bytes, problem.nvars, bytes.PickValueInArray({1, 1, 2, 5, 1000000}), terms);
      const PBRelation relation = bytes.PickValueInArray({pb_at_most, pb_equal, pb_at_least});
      const int bound = bytes.ConsumeIntegralInRange(-6, 12);
      problem.rows.push_back(rowOf(terms, relation, bound));
      accepted = S.addPBConstraint(bound, relation, terms, -1, -1, false);
    }
  }
  if (!accepted) {
    demand(!S.okay(), "refused and yet fine");
    demand(!plain::satisfiable(problem), "a satisfiable problem was refused");
    return 0;
  }
  if (optimise && S.isOBJ()) {
    if (bytes.ConsumeBool()) optimiseAndCheck(S, problem);
    return 0;
  }
  for (int n = bytes.ConsumeIntegralInRange(0, 5); n > 0; n--) solveAndCheck(bytes, S, problem);
  return 0;
}
