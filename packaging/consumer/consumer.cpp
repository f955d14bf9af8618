// Solves a small problem through the library: two of three friends come, and if Ann comes, so does
// Bob. Then asks again whether Bob can stay at home.
#include <cstdio>

#include <quillon/Solver.h>

int main() {
  Solver solver;
  for (int i = 0; i < 3; i++) solver.newVar(true, -1, 0, 0); // Ann, Bob, Cleo
  vec<vnumcoef> row;
  for (int i = 1; i <= 3; i++) row.push(vnumcoef{i, 1});
  bool possible = solver.addPBConstraint(2, quillon::pb_equal, row, -1, -1, false);
  row.clear();
  row.push(vnumcoef{2, 1});
  row.push(vnumcoef{1, -1});
  possible = possible && solver.addPBConstraint(0, quillon::pb_at_least, row, -1, -1, false);
  if (!possible) return 1;

  vec<Lit> assumptions;
  if (solver.solve(assumptions) != quillon::solve_done) return 1;
  std::printf("Ann %d Bob %d Cleo %d\n", solver.model[0], solver.model[1], solver.model[2]);
  assumptions.push(~Lit(1));
  if (solver.solve(assumptions) != quillon::solve_unsatisfiable) return 1;
  std::printf("without Bob: impossible\n");
  return 0;
}
