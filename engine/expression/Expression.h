/// \file
/// The expression: a constraint while it is being derived. Coefficients lie in an array over all
/// variables, so that a term is found in one look. Every rule of derivation is here, once.
#ifndef ESTOC_EXPRESSION_EXPRESSION_H
#define ESTOC_EXPRESSION_EXPRESSION_H

#include "estoc/Types.h"
#include "numbers/Width.h"
#include "proof/Derivation.h"

#include <algorithm>
#include <cassert>
#include <vector>

namespace estoc {

/// sum over the variables v of |c_v| * (v if c_v > 0, else ~v) >= degree. The rules are those of
/// cutting planes over literals: addition (opposite literals cancel), multiplication, weakening,
/// division with rounding up, saturation. Source: Cook, Coullard and Turán, On the complexity of
/// cutting-plane proofs (1987); Hooker, Generalized resolution (1988) for saturation.
///
/// `W` is a width (numbers/Width.h). The caller keeps coefficients within `W::safe_bits`;
/// `fitsAfter` tells beforehand whether an addition does.
template <class W> class Expression {
 public:
  using C = typename W::Coefficient;
  using D = typename W::Degree;

 private:
  std::vector<C> coefficients; ///< per variable; 0 for one that does not occur
  std::vector<char> listed;    ///< per variable: whether it stands in `list`
  std::vector<Var> list;       ///< every variable that occurs, and perhaps some that no longer do
  D right_side = 0;
  C upper = 0; ///< at least every coefficient's magnitude
  Derivation* derivation = nullptr;

  static C size(const C& c) { return c < 0 ? C(-c) : c; }
  C& at(Var v) { return coefficients[static_cast<std::size_t>(v)]; }
  const C& at(Var v) const { return coefficients[static_cast<std::size_t>(v)]; }

 public:
  /// Makes room for variables below `count`.
  void growTo(Var count) {
    coefficients.resize(static_cast<std::size_t>(count));
    listed.resize(static_cast<std::size_t>(count));
  }
  /// From now on, weakening, division and saturation are written there, if it is not null.
  /// Additions are for the caller to write.
  void writeTo(Derivation* to) { derivation = to; }
  /// 0 >= 0. Linear in the number of variables that occur.
  void clear() {
    for (const Var v : list) {
      at(v) = 0;
      listed[static_cast<std::size_t>(v)] = 0;
    }
    list.clear();
    right_side = 0;
    upper = 0;
  }

  const D& degree() const { return right_side; }
  /// The coefficient of literal l, 0 if it does not occur.
  C coefficient(Lit l) const {
    const C& c = at(l.var());
    if (l.negated()) return c < 0 ? C(-c) : C(0);
    return c > 0 ? c : C(0);
  }
  bool contains(Lit l) const { return l.negated() ? at(l.var()) < 0 : at(l.var()) > 0; }
  /// The variables, among them some whose coefficient has become 0.
  const std::vector<Var>& variables() const { return list; }
  /// The literal of variable v, whose coefficient is not 0.
  Lit literal(Var v) const { return Lit::of(v, at(v) < 0); }
  /// The magnitude of v's coefficient.
  C magnitude(Var v) const { return size(at(v)); }
  bool occurs(Var v) const { return at(v) != 0; }
  /// At least the largest coefficient; exact after `tighten`.
  const C& bound() const { return upper; }

  /// Forgets variables without a coefficient, and makes `bound` exact.
  void tighten() {
    std::size_t kept = 0;
    upper = 0;
    for (const Var v : list) {
      if (at(v) == 0) {
        listed[static_cast<std::size_t>(v)] = 0;
        continue;
      }
      if (size(at(v)) > upper) upper = size(at(v));
      list[kept++] = v;
    }
    list.resize(kept);
  }

  // Rules -----------------------------------------------------------------------------------------

  /// Adds `amount` > 0 times literal l to the left side.
  void addTerm(Lit l, const C& amount) {
    C& c = at(l.var());
    char& is_listed = listed[static_cast<std::size_t>(l.var())];
    if (is_listed == 0) {
      is_listed = 1;
      list.push_back(l.var());
    }
    const C before = size(c);
    const bool opposite = l.negated() ? c > 0 : c < 0;
    if (opposite) right_side -= D(before < amount ? before : amount); // a l + a ~l is a
    if (l.negated())
      c -= amount;
    else
      c += amount;
    if (size(c) > upper) upper = size(c);
  }
  /// Adds `amount` to the right side.
  void addDegree(const D& amount) { right_side += amount; }

  /// Whether coefficients stay safe when terms of at most `largest` are added `factor` times.
  template <class N> bool fitsAfter(const N& largest, const C& factor) const {
    const int bits = bitLength(largest) + bitLength(factor);
    return std::max(bits, bitLength(upper)) + 1 <= W::safe_bits;
  }

  /// Weakens variable v by `amount`, at most its coefficient: adds `amount` times the opposite
  /// literal's axiom.
  void weaken(Var v, const C& amount) {
    C& c = at(v);
    assert(amount <= size(c));
    if (derivation != nullptr) {
      if (amount == size(c))
        derivation->weakenAway(v);
      else
        derivation->weaken(literal(v), amount);
    }
    right_side -= D(amount);
    if (c > 0)
      c -= amount;
    else
      c += amount;
  }
  /// Divides by `divisor` > 0, rounding coefficients and degree up.
  void divide(const C& divisor) {
    if (derivation != nullptr) derivation->divide(divisor);
    for (const Var v : list) {
      C& c = at(v);
      if (c > 0)
        c = ceilDiv(c, divisor);
      else if (c < 0)
        c = C(-ceilDiv(C(-c), divisor));
    }
    upper = ceilDiv(upper, divisor);
    right_side = right_side > 0 ? ceilDiv(right_side, D(divisor)) : D(0);
  }
  /// Cuts coefficients at the degree, which must be at least 1.
  void saturate() {
    assert(right_side >= 1);
    if (D(upper) <= right_side) return;
    if (derivation != nullptr) derivation->saturate();
    const C most = static_cast<C>(right_side);
    for (const Var v : list) {
      C& c = at(v);
      if (c > most)
        c = most;
      else if (c < 0 && C(-c) > most)
        c = C(-most);
    }
    upper = most;
  }

  /// Divides such that coefficients have at most `bits` bits. What `isFalse(literal)` says no to is
  /// weakened first until the divisor fits, so that nothing is lost by rounding the others, and
  /// what they falsify stays falsified. False when nothing is to be done.
  template <class F> bool divideDown(int bits, F&& isFalse) {
    tighten();
    const C most = static_cast<C>((C(1) << static_cast<unsigned>(bits)) - 1);
    if (upper <= most) return false;
    const C divisor = ceilDiv(upper, most);
    for (const Var v : list) {
      if (!occurs(v) || isFalse(literal(v))) continue;
      const C rest = static_cast<C>(magnitude(v) % divisor);
      if (rest != 0) weaken(v, rest);
    }
    divide(divisor);
    if (right_side >= 1) saturate();
    tighten();
    return true;
  }

  /// Takes over `other`, whose width may differ; its numbers must fit.
  template <class V> void assign(const Expression<V>& other) {
    clear();
    for (const Var v : other.variables())
      if (other.occurs(v)) addTerm(other.literal(v), static_cast<C>(other.magnitude(v)));
    right_side = static_cast<D>(other.degree());
  }
};

} // namespace estoc

#endif
