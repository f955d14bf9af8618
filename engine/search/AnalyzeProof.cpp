/// \file
/// How conflict analysis is written into a proof. Resolution of clauses: the clauses are added, and
/// each sum is saturated, which makes a clause of it again. Where most of a long row is weakened,
/// what is left of it is stated instead: proofs would consist of little else than names of
/// variables that do not matter.
#include "Analyzer.h"

#include <algorithm>

namespace estoc {

void Analyzer::setProof(Proof& p, std::size_t terms) {
  proof = &p;
  spared_terms = terms;
  derivation = std::make_unique<Derivation>(p);
  reason_derivation = std::make_unique<Derivation>(p);
  for (std::size_t w = 0; w < 4; w++) withWidth(w, [&](auto& e) { e.writeTo(derivation.get()); });
}

void Analyzer::beginProof() {
  proof->remove(passing);
  proof->settle(trail);
  derivation->clear();
}

/// Writes the derivation, and removes what has served it.
ProofId Analyzer::finishDerivation() {
  ProofId id = 0;
  if (!passing.empty() && derivation->isCopy()) { // of what was stated last
    id = passing.back();
    passing.pop_back();
    derivation->clear();
  } else {
    id = derivation->finish();
  }
  proof->remove(passing);
  return id;
}

/// The row that stands for `c`: lean, if much of it is fixed at level 0.
Proof::Lean Analyzer::leanForm(Header& c) {
  Proof::Lean form{c.id, 0};
  if (c.size < spared_terms) return form;
  form = proof->leanForm(c.id);
  const int end = trail.start(1);
  if (form.end == end) return form;
  const auto isNew = [&](Lit l) {
    return trail.isRootAssigned(l.var()) && trail.position(l.var()) >= form.end;
  };
  std::size_t count = 0;
  forEachLiteral(c, [&](Lit l) { count += isNew(l) ? 1 : 0; });
  if (count < spared_terms) return form;
  Derivation& written = *reason_derivation;
  written.clear();
  written.add(form.id, 1);
  forEachTerm(c, [&](Int128 a, Lit l) {
    if (isNew(l)) written.dropAssigned(l, a, trail);
  });
  form = {written.finish(), end};
  proof->setLean(c.id, form);
  return form;
}

/// Writes the rounding of `c`, in which `implied` has the coefficient `divisor`: literals that
/// neither were falsified before it nor fit the divisor are weakened.
void Analyzer::writeReason(Header& c, Lit implied, Int128 divisor) {
  const Proof::Lean form = leanForm(c);
  Derivation& written = *reason_derivation;
  written.clear();
  const int position = divisor == 1 ? 0 : trail.position(implied.var());
  const auto isKept = [&](Lit l) {
    return l == implied || l == failed || (trail.isFalse(l) && trail.position(l.var()) < position);
  };
  const auto write = [&](const auto& termAt, const auto& by, Int128 degree) {
    std::vector<std::uint32_t>& kept = kept_terms;
    std::vector<std::uint32_t>& gone = gone_terms;
    std::vector<std::uint32_t>& changed = changed_terms;
    kept.clear();
    gone.clear();
    changed.clear();
    for (std::uint32_t i = 0; i < c.size; i++) {
      const auto [a, l] = termAt(i);
      if (trail.isRootAssigned(l.var())) {
        if (trail.position(l.var()) < form.end) {
          if (trail.isTrue(l)) degree -= a;
        } else if (trail.isTrue(l)) {
          gone.push_back(i);
        } else {
          kept.push_back(i);
          changed.push_back(i);
        }
      } else if (by == 1 || isKept(l) || a % by == 0) {
        kept.push_back(i);
      } else if (weaken_fully || a < by) {
        gone.push_back(i);
      } else {
        kept.push_back(i);
        changed.push_back(i);
      }
    }
    if (isShorterStated(kept.size(), gone.size())) {
      Row& row = stated;
      row.terms.clear();
      for (const std::uint32_t i : kept)
        row.terms.push_back({termAt(i).coefficient, termAt(i).literal});
      row.degree = degree;
      for (const std::uint32_t i : gone) row.degree -= termAt(i).coefficient;
      passing.push_back(proof->implied(row, form.id));
      written.add(passing.back(), 1);
    } else {
      written.add(form.id, 1);
      for (const std::uint32_t i : gone) written.weakenAway(termAt(i).literal.var());
    }
    for (const std::uint32_t i : changed) {
      const auto [a, l] = termAt(i);
      if (trail.isRootAssigned(l.var()))
        written.dropAssigned(l, a, trail);
      else
        written.weaken(l, static_cast<decltype(a)>(a % by));
    }
  };
  if (c.kind == Kind::clause || c.kind == Kind::cardinality) {
    const Lit* const literals = c.kind == Kind::clause ? static_cast<Clause&>(c).literals()
                                                       : static_cast<Cardinality&>(c).literals();
    write([&](std::uint32_t i) { return Term<std::int32_t>{1, literals[i]}; }, 1, degreeOf(c));
  } else {
    withGeneral(c, [&](auto& g) {
      using C = typename std::remove_reference_t<decltype(g)>::Coefficient;
      const auto* const terms = g.terms();
      write([&](std::uint32_t i) { return terms[i]; }, static_cast<C>(divisor), g.degree);
    });
  }
  written.divide(divisor);
}

/// A row has lost the variables `weakened`, and been saturated, which makes it `row`.
void Analyzer::writeWeakening(const LearntRow& row) {
  if (isShorterStated(row.terms.size(), weakened.size())) {
    passing.push_back(derivation->finish());
    passing.push_back(proof->implied(row, passing.back()));
    derivation->add(passing.back(), 1);
  } else {
    for (const Var v : weakened) derivation->weakenAway(v);
    derivation->saturate();
  }
}

/// Clause `ref` is the conflict, or the reason that is resolved with next.
void Analyzer::writeResolution(Ref ref) {
  const bool is_first = derivation->isEmpty();
  derivation->push(propagation.at(ref).id);
  derivation->add();
  if (!is_first) derivation->saturate();
}

/// Literal l occurs in the clause that is being resolved, but not in what is learnt.
void Analyzer::noteRootFalse(Lit l) {
  seen[static_cast<std::size_t>(l.var())] = 1;
  to_clear.push_back(l.var());
  root_false.push_back(l);
}

void Analyzer::dropRootFalse() {
  for (const Lit l : root_false) derivation->dropAssigned(l, 1, trail);
  root_false.clear();
}

/// Resolves the literals away that minimisation has removed, and those that come in by this; the
/// newest ones first, since a reason has only older ones. What is `seen` is in the clause, or is
/// still to be resolved away.
void Analyzer::writeMinimisation() {
  const auto older = [&](Lit a, Lit b) {
    return trail.position(a.var()) < trail.position(b.var());
  };
  std::vector<Lit>& open = before_minimising; // a heap of literals to be resolved away
  std::size_t kept = 0;
  std::size_t removed = 0;
  for (const Lit l : open) { // the order has not changed
    if (kept < lower.size() && lower[kept] == l)
      kept++;
    else
      open[removed++] = l;
  }
  open.resize(removed);
  std::make_heap(open.begin(), open.end(), older);
  while (!open.empty()) {
    std::pop_heap(open.begin(), open.end(), older);
    const Lit gone = open.back();
    open.pop_back();
    const Ref reason = trail.reason(gone.var());
    writeResolution(reason);
    const auto& c = static_cast<const Clause&>(propagation.at(reason));
    for (std::uint32_t i = 0; i < c.size; i++) {
      const Lit l = c.literals()[i];
      if (seen[static_cast<std::size_t>(l.var())] != 0) continue;
      if (trail.level(l.var()) == 0) {
        noteRootFalse(l);
        continue;
      }
      seen[static_cast<std::size_t>(l.var())] = 1;
      to_clear.push_back(l.var());
      open.push_back(l);
      std::push_heap(open.begin(), open.end(), older);
    }
  }
}

} // namespace estoc
