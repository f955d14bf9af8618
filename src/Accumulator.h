/// \file
/// The pseudo-Boolean constraint that grows while a conflict is analysed.
#ifndef QUILLON_ACCUMULATOR_H
#define QUILLON_ACCUMULATOR_H

#include <algorithm>

#include "Global.h"
#include "Parameters.h"
#include "SolverTypes.h"

namespace quillon {

/// A sum of literals with positive coefficients that shall reach a degree. Terms are added one by
/// one; before each resolution a scaling pass saturates, measures and multiplies all of them.
///
/// A pass touches only the literals that are not false, of which a sum that is still falsified has
/// fewer than its degree. The coefficients of the others follow when they are read: a coefficient
/// remembers which pass it has seen last, and passes combine, along paths that get shorter with use
/// (R. E. Tarjan, Applications of Path Compression on Balanced Trees, 1979). So an analysis takes
/// time in what enters the sum, not in that times the number of resolutions.
///
/// A literal in the sum becomes false or open only by `scale`'s leave: between two passes no
/// assignment changes but that of the variable which the second leaves out.
class Accumulator {
  struct Term {
    int64 coeff = 0;       ///< as the pass `stamp` has left it
    int stamp = 0;         ///< 0: not in the sum
    bool negated = false;  ///< the literal's sign
    bool measured = false; ///< stands in `open`
    bool marked = false;   ///< see `mark`
  };
  /// What has become, by pass `next`, of a coefficient c: the smaller of c * factor and limit.
  struct Pass {
    int64 factor;
    int64 limit;
    int next;
    void append(const Pass& later) {
      limit = std::min(limit * later.factor, later.limit);
      factor = std::min(factor * later.factor, limit); // c is at least 1
      next = later.next;
    }
  };
  vec<Term> terms;    ///< per variable
  vec<Var> entries;   ///< in order of entry, again when the sign turned; not all are still there
  int unmeasured = 0; ///< the first of them that no pass has looked at
  vec<Var> open;      ///< those whose literals are not false, as of the last pass
  vec<Pass> passes;   ///< number i comes behind pass i + 1
  int stamp = 1;      ///< the last pass, or 1 when there was none
  int64 largest = 0;  ///< no coefficient is larger
  int64 true_sum = 0;
  int64 looked_at = 0;

  Lit literal(Var x, const Term& term) const { return Lit(x, term.negated); }
  /// Brings the coefficient of a term that is in the sum up to date.
  void refresh(Term& term) {
    while (term.stamp != stamp) {
      Pass& pass = passes[term.stamp - 1];
      if (pass.next != stamp) pass.append(passes[pass.next - 1]);
      term.coeff = std::min(term.coeff * pass.factor, pass.limit);
      term.stamp = pass.next;
    }
  }

 public:
  int64 degree = 0;

  /// Makes room for the variables below `nvars`.
  void growTo(int nvars) { terms.growTo(nvars); }
  /// The memory it takes.
  size_t bytes() const { return terms.bytes() + entries.bytes() + open.bytes() + passes.bytes(); }

  /// Starts anew, with nothing in the sum and degree 0.
  void clear() {
    for (int i = 0; i < entries.size(); i++) {
      Term& term = terms[entries[i]];
      term.stamp = 0;
      term.measured = false;
    }
    entries.clear();
    open.clear();
    passes.clear();
    unmeasured = 0;
    stamp = 1;
    largest = degree = true_sum = looked_at = 0;
  }

  /// Whether x is in the sum, by either literal.
  bool contains(Var x) const { return terms[x].stamp != 0; }
  /// Its literal, if it is.
  Lit literal(Var x) const { return literal(x, terms[x]); }
  /// The coefficient of that; to be lowered, not raised.
  int64& coeff(Var x) {
    assert(contains(x));
    refresh(terms[x]);
    return terms[x].coeff;
  }
  /// Takes x out of the sum, in which it may be.
  void remove(Var x) { terms[x].stamp = 0; }

  /// What became of a variable whose literal was added.
  struct Added {
    bool entered; ///< it was not in the sum before
    int64 coeff;  ///< 0: it is no longer
  };
  /// Adds `amount`, at least 1, times `lit`. Since a*x + b*~x = (a - b)*x + b, opposite literals
  /// cancel and lower the degree.
  Added add(Lit lit, int64 amount) {
    assert(amount > 0);
    const Var x = var(lit);
    Term& term = terms[x];
    if (term.stamp == 0) {
      term.coeff = amount;
      term.negated = sign(lit);
      term.stamp = stamp;
      term.marked = false;
      entries.push(x);
      largest = std::max(largest, amount);
      return {true, amount};
    }
    refresh(term);
    if (term.negated == sign(lit)) {
      term.coeff += amount;
    } else {
      degree -= amount;
      term.coeff -= amount;
      if (term.coeff < 0) {
        term.coeff = -term.coeff;
        term.negated = !term.negated;
        degree += term.coeff;
        entries.push(x); // the other literal may be open
      }
      if (term.coeff == 0) remove(x);
    }
    largest = std::max(largest, term.coeff);
    return {false, term.coeff};
  }

  /// A scaling pass: saturates the sum, measures its literals that are not false, and multiplies it
  /// by `mul`, at least 1; all but the variable `without`. False if the sum is of no more use: it
  /// is not falsified, `without` left out, or its degree would grow too large.
  template <class IsFalse> bool scale(Var without, int64 mul, IsFalse isFalse) {
    if (degree == -1) markFirst(without);
    measure(without, isFalse);
    if (degree <= 0 || true_sum >= degree) return false;
    if (degree * mul > learning_bounds::scaled_degree) return false;
    const bool excepted = contains(without);
    if (excepted) refresh(terms[without]);
    if (mul != 1 || largest > degree) {
      degree *= mul;
      largest = degree;
      passes.push(Pass{mul, degree, ++stamp});
      if (excepted) terms[without].stamp = stamp;
    }
    return true;
  }
  /// The sum of the literals that were not false, as of the last pass and before it multiplied.
  int64 trueSum() const { return true_sum; }
  /// How many terms the passes have looked at since `clear`, for tests.
  int64 work() const { return looked_at; }

  /// Asks for a fake watch on x wherever its literal is false in a constraint whose watches are
  /// chosen anew, see `PseudoBool::assertAndWatch`. Stays until x enters the sum.
  void mark(Var x) { terms[x].marked = true; }
  bool isMarked(Var x) const { return terms[x].marked; }

 private:
  template <class IsFalse> void measure(Var without, IsFalse isFalse) {
    looked_at += entries.size() - unmeasured + open.size();
    for (; unmeasured < entries.size(); unmeasured++) {
      const Var x = entries[unmeasured];
      Term& term = terms[x];
      if (term.stamp == 0 || term.measured || isFalse(literal(x, term))) continue;
      term.measured = true;
      open.push(x);
    }
    true_sum = 0;
    int kept = 0;
    for (int i = 0; i < open.size(); i++) {
      const Var x = open[i];
      Term& term = terms[x];
      term.measured = term.stamp != 0 && !isFalse(literal(x, term));
      if (!term.measured) continue;
      open[kept++] = x;
      if (x == without) continue;
      refresh(term);
      true_sum += term.coeff; // not saturated: one that had to be makes the sum useless anyway
    }
    open.shrink(open.size() - kept);
#ifndef NDEBUG
    for (int i = 0; i < entries.size(); i++) {
      const Term& term = terms[entries[i]];
      assert(term.stamp == 0 || term.measured || entries[i] == without ||
             isFalse(literal(entries[i], term)));
    }
#endif
  }
  /// A sum given up at degree -1 leaves a mark. What is watched, and so the search, depends on it.
  void markFirst(Var without) {
    for (int i = 0; i < entries.size(); i++) {
      if (!contains(entries[i]) || entries[i] == without) continue;
      mark(entries[i]);
      return;
    }
  }
};

} // namespace quillon

#endif
