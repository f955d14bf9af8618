/// \file
/// One derivation by cutting planes, collected while it is being made.
#ifndef ESTOC_PROOF_DERIVATION_H
#define ESTOC_PROOF_DERIVATION_H

#include "Proof.h"

namespace estoc {

/// A step `pol` while it is being made, in reverse Polish
/// notation. There is one constraint at the bottom, the one derived so far; others are pushed,
/// changed and added to it. The calls follow those of `Expression`.
class Derivation {
  Proof& proof;
  Text line;
  std::size_t first_end = 0; ///< where the line is behind its first constraint; 0 if there is none

 public:
  explicit Derivation(Proof& p) : proof(p) {}

  /// Forgets what has been derived so far.
  void clear() {
    line.clear();
    first_end = 0;
  }
  /// Nothing yet.
  bool isEmpty() const { return line.empty(); }
  /// One constraint, with which nothing has been done.
  bool isCopy() const { return first_end == line.size(); }

  /// Constraint `id`, on top; the first one is the bottom. `add` adds it to what is below.
  void push(ProofId id) { line.addNumber(id); }
  /// What is on top becomes part of what is below; the first time it is the bottom itself.
  void add() {
    if (first_end != 0)
      line.add(" +");
    else
      first_end = line.size();
  }
  /// Adds what another one has derived, `factor` times; it stays as it is.
  template <class N> void add(const Derivation& other, const N& factor) {
    line.add(other.line);
    multiply(factor);
    add();
  }
  /// What is on top, `factor` times.
  template <class N> void multiply(const N& factor) {
    if (factor != 1) operation(factor, " *");
  }
  /// What is on top divided by `divisor`, rounded up.
  template <class N> void divide(const N& divisor) {
    if (divisor != 1) operation(divisor, " d");
  }
  /// What is on top saturated.
  void saturate() { line.add(" s"); }
  /// What is on top loses `amount` of its coefficient of literal l, and of its degree.
  template <class N> void weaken(Lit l, const N& amount) {
    proof.appendLiteral(line, ~l);
    multiply(amount);
    line.add(" +");
  }
  /// What is on top loses variable v, and of its degree the coefficient that v has.
  void weakenAway(Var v) { proof.appendWeakening(line, v); }
  /// What is on top loses literal l, with coefficient `amount`, which is true or false at level 0.
  template <class N> void dropAssigned(Lit l, const N& amount, const Trail& trail) {
    assert(trail.isRootAssigned(l.var()));
    if (trail.isTrue(l)) {
      weakenAway(l.var());
      return;
    }
    push(proof.unit(~l));
    multiply(amount);
    line.add(" +");
  }
  /// Adds constraint `id` `factor` times to the bottom.
  template <class N> void add(ProofId id, const N& factor) {
    push(id);
    multiply(factor);
    add();
  }

  /// Writes the step; this is empty again. The number of what has been derived.
  ProofId finish();

 private:
  template <class N> void operation(const N& number, const char* what) {
    line.addNumber(number);
    line.add(what);
  }
};

} // namespace estoc

#endif
