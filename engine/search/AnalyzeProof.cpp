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

/// Notes which literals of `c` are fixed at level 0.
void Analyzer::noteFixed(Header& c) {
  noted.fixed.clear();
  std::uint32_t place = 0;
  forEachLiteral(c, [&](Lit l) {
    if (trail.isRootAssigned(l.var())) noted.fixed.push_back(place);
    place++;
  });
}

/// The row that stands for `c`: lean, if much of it is fixed at level 0. What it has lost is no
/// longer noted as fixed.
ProofId Analyzer::leanForm(Header& c) {
  if (noted.fixed.empty()) return c.id;
  Proof::Lean form = proof->leanForm(c.id);
  std::erase_if(noted.fixed, [&](std::uint32_t place) {
    return trail.position(termAt(c, place).literal.var()) < form.end;
  });
  if (noted.fixed.size() < spared_terms) return form.id;
  Derivation& written = *reason_derivation;
  written.clear();
  written.add(form.id, 1);
  dropFixed(c);
  form = {written.finish(), trail.start(1)};
  proof->setLean(c.id, form);
  return form.id;
}

/// Takes out of the reason that is being written what is noted as fixed.
void Analyzer::dropFixed(Header& c) {
  for (const std::uint32_t place : noted.fixed) {
    const auto [a, l] = termAt(c, place);
    reason_derivation->dropAssigned(l, a, trail);
  }
  noted.fixed.clear();
}

/// Writes the constraint `c` without what is fixed at level 0.
void Analyzer::writePlain(Header& c) {
  noteFixed(c);
  const ProofId id = leanForm(c);
  reason_derivation->clear();
  reason_derivation->add(id, 1);
  dropFixed(c);
}

/// Writes the rounding of row `c`, whose terms have been noted. It comes to `degree` just before
/// the division by `divisor`.
void Analyzer::writeReason(Header& c, Int128 divisor, Int128 degree) {
  const std::size_t gone = c.size - noted.kept.size() - noted.fixed.size();
  const ProofId id = leanForm(c);
  Derivation& written = *reason_derivation;
  written.clear();
  const bool is_clause = degree <= divisor && noted.changed.empty() && noted.fixed.empty();
  if (is_clause && gone > noted.kept.size() + spared_terms) {
    stated_clause.clear();
    for (const std::uint32_t place : noted.kept) stated_clause.push_back(termAt(c, place).literal);
    passing.push_back(proof->rupClause(stated_clause, id));
    written.add(passing.back(), 1);
    return;
  }
  if (isShorterStated(noted.kept.size() + noted.fixed.size(), gone)) {
    stated.terms.clear();
    stated.degree = degree;
    for (const std::uint32_t place : noted.kept) stated.terms.push_back(termAt(c, place));
    for (const std::uint32_t place : noted.fixed) {
      stated.terms.push_back(termAt(c, place));
      if (trail.isTrue(stated.terms.back().literal))
        stated.degree += stated.terms.back().coefficient;
    }
    for (const std::uint32_t place : noted.changed)
      stated.degree += termAt(c, place).coefficient % divisor;
    passing.push_back(proof->implied(stated, id));
    written.add(passing.back(), 1);
  } else {
    written.add(id, 1);
    auto kept = noted.kept.begin();
    for (std::uint32_t place = 0; gone != 0 && place < c.size; place++) {
      if (kept != noted.kept.end() && *kept == place) {
        ++kept;
        continue;
      }
      const Lit l = termAt(c, place).literal;
      if (!trail.isRootAssigned(l.var())) written.weakenAway(l.var());
    }
  }
  dropFixed(c);
  for (const std::uint32_t place : noted.changed) {
    const auto [a, l] = termAt(c, place);
    written.weaken(l, a % divisor);
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
