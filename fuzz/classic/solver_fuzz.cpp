/// \file
/// The Solver class, driven through its public interface in any legal order: variables,
/// constraints of all kinds, an objective, then calls of `solve` under changing assumptions, and
/// destruction at any moment. Every answer is held against all assignments, and the solver's state
/// is audited at every step of every search.
#include <fcntl.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "SolverAudit.h"

namespace {

constexpr int max_vars = 10;

/// What the solver has been told, as plain rows: a sum over variables against a bound.
struct Model {
  struct Row {
    std::vector<int> coeff = std::vector<int>(max_vars, 0);
    int relation;
    int64 bound;
  };
  int nvars = 0;
  std::vector<Row> rows;

  static int64 sum(const Row& row, unsigned bits) {
    int64 result = 0;
    for (int x = 0; x < max_vars; x++)
      if ((bits >> x & 1) != 0) result += row.coeff[static_cast<size_t>(x)];
    return result;
  }
  bool holds(unsigned bits) const {
    for (const Row& row : rows) {
      const int64 s = sum(row, bits);
      if (row.relation != pb_at_most && s < row.bound) return false;
      if (row.relation != pb_at_least && s > row.bound) return false;
    }
    return true;
  }
};

void demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

/// Some terms over distinct variables, the coefficients not 0.
void someTerms(FuzzedDataProvider& bytes, const Model& model, int bound, vec<vnumcoef>& terms) {
  for (int x = 0; x < model.nvars; x++) {
    const int coeff = bytes.ConsumeIntegralInRange(-bound, bound);
    // A negated variable number stands for the negated literal.
    if (coeff != 0) terms.push(vnumcoef{bytes.ConsumeBool() ? x + 1 : -(x + 1), coeff});
  }
}

Model::Row rowOf(const vec<vnumcoef>& terms, int relation, int bound) {
  Model::Row row;
  row.relation = relation;
  row.bound = bound;
  for (int i = 0; i < terms.size(); i++) {
    const int x = std::abs(terms[i].vnum) - 1;
    row.coeff[static_cast<size_t>(x)] = terms[i].vnum > 0 ? terms[i].coeff : -terms[i].coeff;
    if (terms[i].vnum < 0) row.bound -= terms[i].coeff; // c*~x = c - c*x
  }
  return row;
}

/// Solves under some assumptions and holds the answer against the model. Without a solution for
/// lack of one under the assumptions alone, the next call must not suffer.
void solveAndCheck(FuzzedDataProvider& bytes, Solver& S, const Model& model) {
  vec<Lit> assumptions;
  unsigned fixed = 0;
  unsigned values = 0;
  for (int n = bytes.ConsumeIntegralInRange(0, 3); n > 0 && model.nvars > 0; n--) {
    const int x = bytes.ConsumeIntegralInRange(0, model.nvars - 1);
    const bool negated = bytes.ConsumeBool();
    if ((fixed >> x & 1) != 0) continue;
    fixed |= 1U << x;
    if (!negated) values |= 1U << x;
    assumptions.push(Lit(x, negated));
  }
  const SolveResult result = S.solve(assumptions);
  demand(S.decisionLevel() == 0, "not back at level 0");
  bool possible = false;
  for (unsigned bits = 0; bits < 1U << model.nvars && !possible; bits++)
    possible = (bits & fixed) == values && model.holds(bits);
  demand(result == (possible ? solve_done : solve_unsatisfiable), "wrong answer");
  if (!possible) return;
  unsigned found = 0;
  for (int x = 0; x < model.nvars; x++)
    if (S.model[x]) found |= 1U << x;
  demand((found & fixed) == values, "the solution breaks an assumption");
  demand(model.holds(found) && S.checkModel(), "the solution breaks a constraint");
}

/// The one call that an objective allows, without assumptions.
void optimiseAndCheck(Solver& S, const Model& model, const Model::Row& objective) {
  const SolveResult result = S.solve(vec<Lit>());
  const bool maximise = objective.relation == pb_at_least;
  bool possible = false;
  int64 best = 0;
  for (unsigned bits = 0; bits < 1U << model.nvars; bits++) {
    if (!model.holds(bits)) continue;
    const int64 value = Model::sum(objective, bits);
    if (!possible || (maximise ? value > best : value < best)) best = value;
    possible = true;
  }
  demand(result == (possible ? solve_done : solve_unsatisfiable), "wrong answer");
  if (!possible) return;
  unsigned found = 0;
  for (int x = 0; x < model.nvars; x++)
    if (S.model[x]) found |= 1U << x;
  demand(model.holds(found), "the solution breaks a constraint");
  demand(Model::sum(objective, found) == best, "not the optimum");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const int null = open("/dev/null", O_WRONLY);
  dup2(null, 1); // the solver reports its sizes
  close(null);
  SolverAudit::enable();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  Solver S;
  Model model;
  model.nvars = bytes.ConsumeIntegralInRange(0, max_vars);
  for (int x = 0; x < model.nvars; x++) S.newVar(true, -1, 0, 0);

  bool accepted = true;
  Model::Row objective;
  const bool optimise = model.nvars > 0 && bytes.ConsumeIntegralInRange(0, 2) == 0;
  if (optimise) {
    vec<vnumcoef> terms;
    for (int x = 0; x < model.nvars; x++) {
      const int coeff = bytes.ConsumeIntegralInRange(-5, 5);
      if (coeff != 0) terms.push(vnumcoef{x + 1, coeff});
    }
    int positive = 0;
    int negative = 0;
    for (int i = 0; i < terms.size(); i++)
      (terms[i].coeff > 0 ? positive : negative) += terms[i].coeff;
    const int relation = bytes.ConsumeBool() ? pb_at_most : pb_at_least;
    objective = rowOf(terms, relation, 0);
    accepted = S.addPBConstraint(relation == pb_at_most ? positive : negative, relation, terms, -1,
                                 -1, true);
    demand(accepted, "an objective was refused");
  }
  for (int n = bytes.ConsumeIntegralInRange(0, 12); n > 0 && accepted; n--) {
    if (bytes.ConsumeIntegralInRange(0, 4) == 0) {
      vec<Lit> clause;
      vec<vnumcoef> terms;
      for (int x = 0; x < model.nvars; x++) {
        const int choice = bytes.ConsumeIntegralInRange(0, 5);
        if (choice > 1) continue;
        clause.push(Lit(x, choice == 1));
        terms.push(vnumcoef{choice == 1 ? -(x + 1) : x + 1, 1});
      }
      if (clause.size() > 0 && bytes.ConsumeBool()) clause.push(Lit(clause[0])); // a repetition
      model.rows.push_back(rowOf(terms, pb_at_least, 1));
      accepted = S.addClause(clause);
    } else {
      vec<vnumcoef> terms;
      someTerms(bytes, model, bytes.PickValueInArray({1, 1, 2, 5, 1000000}), terms);
      const int relation = bytes.PickValueInArray({pb_at_most, pb_equal, pb_at_least});
      const int bound = bytes.ConsumeIntegralInRange(-6, 12);
      model.rows.push_back(rowOf(terms, relation, bound));
      accepted = S.addPBConstraint(bound, relation, terms, -1, -1, false);
    }
  }
  if (!accepted) {
    demand(!S.okay(), "refused and yet fine");
    for (unsigned bits = 0; bits < 1U << model.nvars; bits++)
      demand(!model.holds(bits), "a satisfiable problem was refused");
    return 0;
  }
  if (optimise && S.isOBJ()) {
    if (bytes.ConsumeBool()) optimiseAndCheck(S, model, objective);
    return 0;
  }
  for (int n = bytes.ConsumeIntegralInRange(0, 5); n > 0; n--) solveAndCheck(bytes, S, model);
  return 0;
}
