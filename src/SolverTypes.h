/// \file
/// Variables and literals.
#ifndef QUILLON_SOLVER_TYPES_H
#define QUILLON_SOLVER_TYPES_H

/// A variable: numbered 0, 1, 2, ... in creation order; -1 stands for none.
using Var = int;
constexpr Var var_Undef = -1;

/// A variable or its negation, in one int.
class Lit {
  int x = 0; ///< 2 * variable + sign

 public:
  Lit() = default;
  /// The positive literal of `variable`, or with `negated` its complement.
  constexpr explicit Lit(Var variable, bool negated = false)
      : x(variable + variable + static_cast<int>(negated)) {}

  friend constexpr Lit operator~(Lit p);
  friend constexpr bool sign(Lit p) { return (p.x & 1) != 0; }
  friend constexpr Var var(Lit p) { return p.x >> 1; }
  /// Position of the literal's slot in tables with two slots a variable.
  friend constexpr int index(Lit p) { return p.x; }

  friend constexpr bool operator==(Lit p, Lit q) { return p.x == q.x; }
  friend constexpr bool operator!=(Lit p, Lit q) { return p.x != q.x; }
  /// Puts the two literals of a variable next to each other, the positive one first.
  friend constexpr bool operator<(Lit p, Lit q) { return p.x < q.x; }
};

constexpr Lit operator~(Lit p) {
  p.x ^= 1;
  return p;
}

constexpr Lit lit_Undef(var_Undef, false);
constexpr Lit lit_Error(var_Undef, true);

#endif
