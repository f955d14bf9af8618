/// \file
/// Where on the trail a constraint starts to imply something: sums over its terms by decision
/// level. Learnt constraints and the tightened objective backjump by it.
#ifndef QUILLON_LEVEL_SUMS_H
#define QUILLON_LEVEL_SUMS_H

#include "Global.h"
#include "SolverTypes.h"

/// The coefficients of one constraint by the levels at which its literals were assigned.
class LevelSums {
  int root;               ///< the level below which nothing is undone
  vec<int64> falseSum;    ///< per level: sum of the coefficients falsified there
  vec<int64> amaxOnLevel; ///< per level: largest coefficient still open there
  vec<int64> amaxFalse;   ///< per level: largest coefficient falsified there, -1 for none
  vec<Var> amaxVar;       ///< per level: the variable of that
  int maxlevel;           ///< level to jump back to

 public:
  /// What `tmpCoef` holds for a variable whose falsified term shall get a fake watch.
  static constexpr int64 mark = -1;

  /// For a constraint over the levels up to `current`.
  LevelSums(int root_level, int current)
      : root(root_level), falseSum(current + 1, 0), amaxOnLevel(current + 1, 0),
        amaxFalse(current + 1, -1), amaxVar(current + 1, var_Undef), maxlevel(root_level) {}

  /// A term of coefficient `coeff` on variable v was falsified at `level`. Below the root, which
  /// assumptions raise, is as good as at the root.
  void addFalse(int level, int64 coeff, Var v) {
    level = max(level, root);
    falseSum[level] += coeff;
    if (coeff > amaxFalse[level]) {
      amaxFalse[level] = coeff;
      amaxVar[level] = v;
    }
    maxlevel = max(maxlevel, level);
  }

  /// A term of coefficient `coeff` was open at all levels below `level`.
  void addOpen(int level, int64 coeff) {
    for (int l = root; l < level; l++) amaxOnLevel[l] = max(amaxOnLevel[l], coeff);
  }

  /// The highest level with a falsified term, or after `findAssertionLevel` the level to jump to.
  int assertionLevel() const { return maxlevel; }

  /// Finds the first level at which the constraint, its coefficients adding up to `lhs`, implies
  /// something; if it is violated there already, the level before counts (which may lie below the
  /// root). Without such a level the highest one with a falsified term stays. Returns the sum of
  /// the terms not false at the level found. `markVar` is called for the falsified term of each
  /// level passed whose falsification brought the constraint close to implying.
  template <class MarkVar> int64 findAssertionLevel(int64 lhs, int64 degree, MarkVar markVar) {
    int64 sum = lhs;
    for (int l = root; l < falseSum.size(); l++) {
      sum -= falseSum[l];
      if (sum < degree + amaxOnLevel[l]) {
        maxlevel = l;
        if (sum < degree) {
          sum += falseSum[l];
          maxlevel = l - 1;
        }
        break;
      }
      if (amaxFalse[l] != -1 && sum < degree + amaxFalse[l]) {
        assert(amaxVar[l] != var_Undef && falseSum[l] > 0);
        markVar(amaxVar[l]);
      }
    }
    return sum;
  }
};

#endif
