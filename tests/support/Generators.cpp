/// \file
/// Random small problems of several kinds.
#include "Generators.h"

#include <algorithm>
#include <cstdlib>

namespace plain {

namespace {

Relation someRelation(Draws& draws) {
  return static_cast<Relation>(
      draws.small(static_cast<int>(Relation::at_most), static_cast<int>(Relation::at_least)));
}

/// A bound in or just outside the range that the form's value spans.
Int someBound(Draws& draws, const Form& form) {
  const Range range = rangeOf(form);
  const int beyond = draws.oneIn(3) ? 1 : 0;
  return draws.between(range.low - beyond, range.high + beyond);
}

} // namespace

Form someForm(Draws& draws, const Problem& problem, int max_terms, Int bound, bool one_sign) {
  Form form;
  for (int n = draws.small(0, max_terms); n >= 0; n--) {
    const Int size = draws.oneIn(12) ? 0 : draws.between(1, bound);
    const Int coefficient = !one_sign && draws.oneIn(2) ? -size : size;
    form.push_back({draws.small(0, problem.nvars - 1), coefficient});
  }
  return form;
}

void addMixedRows(Draws& draws, Problem& problem) {
  const int widest = draws.oneIn(2) ? 3 : 20;
  const int bound = draws.small(1, widest);
  for (int n = draws.small(0, 10); n > 0; n--) {
    const bool one_sign = draws.oneIn(3);
    Form form = someForm(draws, problem, problem.nvars + 1, bound, one_sign);
    const Int rhs = someBound(draws, form);
    problem.rows.push_back({std::move(form), someRelation(draws), rhs});
  }
}

void addHugeRows(Draws& draws, Problem& problem, Int limit) {
  for (int n = draws.small(1, 5); n > 0; n--) {
    Form form;
    Int largest = 0;
    Int room = limit - 2; // for the bound, which may lie one outside the form's range
    for (int x = 0; x < problem.nvars && room > 1; x++) {
      if (draws.oneIn(3)) continue;
      const Int size = draws.oneIn(4) ? draws.between(1, 3) : draws.between(1, room / 2);
      if (size > room) break;
      room -= size;
      largest = std::max(largest, size);
      form.push_back({x, draws.oneIn(2) ? size : -size});
    }
    if (form.empty()) continue;
    const Relation relation = someRelation(draws);
    const Int rhs = someBound(draws, form);
    // The degrees of both directions, and room for the largest coefficient on top.
    const Range range = rangeOf(form);
    if (rhs - range.low > limit - largest || range.high - rhs > limit - largest) continue;
    problem.rows.push_back({std::move(form), relation, rhs});
  }
}

void addMatrixRows(Draws& draws, Problem& problem) {
  const int lines = draws.small(2, 4);
  const int columns = draws.small(2, 4);
  problem.nvars = lines * columns;
  const int demanded = draws.small(1, columns - 1);
  const int capacity = std::max(1, (lines * demanded + draws.small(-1, columns - 1)) / columns);
  const auto weight = [&draws] { return draws.oneIn(3) ? draws.small(1, 3) : 1; };
  for (int i = 0; i < lines; i++) {
    Form form;
    for (int j = 0; j < columns; j++) form.push_back({i * columns + j, weight()});
    problem.rows.push_back({std::move(form), Relation::at_least, demanded});
  }
  for (int j = 0; j < columns; j++) {
    Form form;
    for (int i = 0; i < lines; i++) form.push_back({i * columns + j, weight()});
    problem.rows.push_back({std::move(form), Relation::at_most, capacity});
  }
  for (int n = draws.small(0, 3); n > 0; n--) {
    Form form = someForm(draws, problem, problem.nvars, 4, true);
    const Int half = rangeOf(form).high / 2;
    problem.rows.push_back(
        {std::move(form), draws.oneIn(2) ? Relation::at_least : Relation::at_most, half});
  }
}

void addKnapsackRows(Draws& draws, Problem& problem) {
  const int most = draws.oneIn(8) ? 16 : 11;
  problem.nvars = draws.small(6, most);
  const int bound = draws.small(1, 6);
  for (int n = draws.small(4, 10); n > 0; n--) {
    Form form;
    for (int x = 0; x < problem.nvars; x++)
      if (!draws.oneIn(3)) form.push_back({x, draws.between(1, bound)});
    if (form.empty()) continue;
    const Int rhs = rangeOf(form).high / 2 + draws.small(-1, 1);
    const Relation relation = draws.oneIn(8)   ? Relation::equal
                              : draws.oneIn(2) ? Relation::at_least
                                               : Relation::at_most;
    problem.rows.push_back({std::move(form), relation, rhs});
  }
}

void addMarketSplit(Draws& draws, Problem& problem) {
  problem.nvars = draws.small(13, 16);
  for (int n = 3; n > 0; n--) {
    Form form;
    for (int x = 0; x < problem.nvars; x++) form.push_back({x, draws.between(1, 20)});
    const Int half = rangeOf(form).high / 2;
    problem.rows.push_back({std::move(form), Relation::equal, half});
  }
}

void addClauseRows(Draws& draws, Problem& problem) {
  const int most = draws.oneIn(4) ? 16 : 12;
  problem.nvars = draws.small(6, most);
  const auto literals = [&](int n, Int sign, Relation relation, Int bound) {
    Row row{{}, relation, bound};
    for (; n > 0; n--) {
      const Int one = sign != 0 ? sign : draws.oneIn(2) ? 1 : -1;
      row.form.push_back({draws.small(0, problem.nvars - 1), one});
      if (one < 0) row.bound--; // a negated literal is one less its variable
    }
    problem.rows.push_back(std::move(row));
  };
  const int width = draws.small(2, 3);
  const int clauses = problem.nvars * (width == 2 ? draws.small(5, 12) : draws.small(30, 48)) / 10;
  for (int n = clauses; n > 0; n--) literals(width, 0, Relation::at_least, 1);
  for (int n = draws.small(0, 3); n > 0; n--) literals(draws.small(2, 5), 1, Relation::at_most, 1);
  for (int n = draws.small(0, 3); n > 0; n--) literals(draws.small(3, 8), 1, Relation::at_least, 1);
  for (int n = draws.small(0, 2); n > 0; n--) {
    Form form = someForm(draws, problem, problem.nvars, 5, true);
    const Int half = rangeOf(form).high / 2;
    problem.rows.push_back({std::move(form), Relation::at_most, half});
  }
}

Problem someProblem(Draws& draws, Int limit) {
  Problem problem;
  problem.nvars = draws.small(1, 8);
  if (draws.oneIn(60)) {
    addMarketSplit(draws, problem);
    return problem;
  }
  switch (draws.small(0, 7)) {
  case 0:
    addHugeRows(draws, problem, limit);
    break;
  case 1:
  case 2:
    addMixedRows(draws, problem);
    break;
  case 3:
  case 4:
    addKnapsackRows(draws, problem);
    break;
  case 5:
  case 6:
    addClauseRows(draws, problem);
    break;
  default:
    addMatrixRows(draws, problem);
  }
  return problem;
}

void addObjective(Draws& draws, Problem& problem) {
  const int bound = draws.oneIn(3) ? 1 : 30;
  const bool one_sign = draws.oneIn(3);
  problem.objective = someForm(draws, problem, problem.nvars, bound, one_sign);
  problem.maximise = draws.oneIn(2);
}

} // namespace plain
