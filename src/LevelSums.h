/// \file
/// Where on the trail a constraint starts to imply something: sums over its terms by decision
/// level. Learnt constraints and the tightened objective backjump by it.
#ifndef QUILLON_LEVEL_SUMS_H
#define QUILLON_LEVEL_SUMS_H

#include <algorithm>

#include "Global.h"
#include "SolverTypes.h"

namespace quillon {

/// The coefficients of one constraint by the levels at which its literals were assigned. The work
/// is that of the levels which hold a term; levels in between cost nothing. One object serves one
/// constraint after the other.
class LevelSums {
  /// What happened to the constraint's terms at one level.
  struct Level {
    int64 falseSum = 0;      ///< sum of the coefficients falsified there
    int64 amaxFalse = -1;    ///< largest coefficient falsified there, -1 for none
    Var amaxVar = var_Undef; ///< the variable of that
    int64 amaxAssigned = 0;  ///< largest coefficient assigned there: open at all levels below
    int64 amaxOpen = 0;      ///< largest coefficient still open there
    bool touched = false;
  };
  int root = 0;      ///< the level below which nothing is undone
  vec<Level> levels; ///< per level, the unassigned terms last
  vec<int> touched;  ///< the levels that hold something
  int maxlevel = 0;  ///< level to jump back to

  /// What is below the root is beyond reach, as if it had happened at the root.
  Level& at(int level) {
    level = max(level, root);
    if (!levels[level].touched) {
      levels[level].touched = true;
      touched.push(level);
    }
    return levels[level];
  }

 public:
  /// The memory it takes.
  size_t bytes() const { return levels.bytes() + touched.bytes(); }

  /// Starts anew for a constraint over the levels from `root_level` to `current`.
  void start(int root_level, int current) {
    for (int i = 0; i < touched.size(); i++) levels[touched[i]] = Level();
    touched.clear();
    levels.growTo(current + 2);
    root = maxlevel = root_level;
    at(root);
  }

  /// A term of coefficient `coeff` on variable v was falsified at `level`.
  void addFalse(int level, int64 coeff, Var v) {
    Level& l = at(level);
    l.falseSum += coeff;
    if (coeff > l.amaxFalse) {
      l.amaxFalse = coeff;
      l.amaxVar = v;
    }
    maxlevel = max(maxlevel, level);
  }

  /// A term of coefficient `coeff` was open at all levels below `level`.
  void addOpen(int level, int64 coeff) {
    Level& l = at(level);
    l.amaxAssigned = max(l.amaxAssigned, coeff);
  }

  /// The highest level with a falsified term, or after `findAssertionLevel` the level to jump to.
  int assertionLevel() const { return maxlevel; }

  /// Finds the first level up to `current` at which the constraint, its coefficients adding up to
  /// `lhs`, implies something; if it is violated there already, the level before counts (which may
  /// lie below the root). Without such a level the highest one with a falsified term stays. Returns
  /// the sum of the terms not false at the level found. `markVar` is called for the falsified term
  /// of each level passed whose falsification brought the constraint close to implying.
  template <class MarkVar>
  int64 findAssertionLevel(int current, int64 lhs, int64 degree, MarkVar markVar) {
    int* const order = static_cast<int*>(touched);
    std::sort(order, order + touched.size());
    int64 open = 0;
    for (int i = touched.size() - 1; i >= 0; i--) {
      levels[order[i]].amaxOpen = open;
      open = max(open, levels[order[i]].amaxAssigned);
    }
    int64 sum = lhs;
    for (int i = 0; i < touched.size() && order[i] <= current; i++) {
      const Level& l = levels[order[i]];
      sum -= l.falseSum;
      if (sum < degree + l.amaxOpen) {
        maxlevel = order[i];
        if (sum < degree) {
          sum += l.falseSum;
          maxlevel = order[i] - 1;
        }
        break;
      }
      if (l.amaxFalse != -1 && sum < degree + l.amaxFalse) {
        assert(l.amaxVar != var_Undef && l.falseSum > 0);
        markVar(l.amaxVar);
      }
    }
    return sum;
  }
};

} // namespace quillon

#endif
