/// \file
/// Storing constraints in the form that propagation wants, and giving their memory back.
#include "Propagation.h"

#include "numbers/Width.h"

#include <algorithm>

namespace estoc {

void Propagation::addVariable() {
  trail.addVariable();
  for (int i = 0; i < 2; i++) watches.emplace_back();
}

template <class T>
T& Propagation::create(Kind kind, std::size_t size, bool learnt, unsigned glue, ProofId id,
                       Ref& ref) {
  if (size >= (std::uint32_t{1} << 31)) throw std::bad_alloc();
  ref = arena.allocate(T::bytes(size));
  T& c = *new (arena.at(ref)) T{};
  c.id = id;
  c.size = static_cast<std::uint32_t>(size);
  c.kind = kind;
  c.learnt = learnt ? 1 : 0;
  c.glue = static_cast<std::uint16_t>(std::min(glue, 65535U));
  (learnt ? learnts : problem).push_back(ref);
  return c;
}

/// Brings those `count` of the literals to the front that are best watched: true and unassigned
/// ones, then those that have been false for the shortest time.
void Propagation::watchFirst(Lit* literals, std::size_t size, std::size_t count) {
  if (trail.level() == 0) return; // nothing is assigned
  const auto better = [&](Lit a, Lit b) {
    const bool a_false = trail.isFalse(a);
    const bool b_false = trail.isFalse(b);
    if (a_false != b_false) return b_false;
    return a_false && trail.position(a.var()) > trail.position(b.var());
  };
  std::partial_sort(literals, literals + count, literals + size, better);
}

Ref Propagation::addClause(const Lit* literals, std::size_t size, bool learnt, unsigned glue,
                           ProofId id) {
  assert(size >= 2);
  Ref ref = no_ref;
  auto& c = create<Clause>(Kind::clause, size, learnt, glue, id, ref);
  std::copy(literals, literals + size, c.literals());
  return attach(ref);
}

template <class R>
Ref Propagation::storeClause(const R& row, bool learnt, unsigned glue, ProofId id) {
  Ref ref = no_ref;
  auto& c = create<Clause>(Kind::clause, row.terms.size(), learnt, glue, id, ref);
  for (std::size_t i = 0; i < row.terms.size(); i++) c.literals()[i] = row.terms[i].literal;
  return ref;
}

template <class R>
Ref Propagation::storeCardinality(const R& row, bool learnt, unsigned glue, ProofId id) {
  Ref ref = no_ref;
  auto& c = create<Cardinality>(Kind::cardinality, row.terms.size(), learnt, glue, id, ref);
  c.degree = static_cast<std::uint32_t>(row.degree);
  c.cursor = c.degree + 1;
  for (std::size_t i = 0; i < row.terms.size(); i++) c.literals()[i] = row.terms[i].literal;
  return ref;
}

template <class G, class R>
Ref Propagation::storeGeneral(Kind kind, const R& row, bool learnt, unsigned glue, ProofId id) {
  using C = typename G::Coefficient;
  Ref ref = no_ref;
  auto& g = create<G>(kind, row.terms.size(), learnt, glue, id, ref);
  g.degree = static_cast<typename G::Sum>(row.degree);
  g.slack = -g.degree;
  g.largest = g.threshold = static_cast<C>(row.terms.front().coefficient);
  auto* const terms = g.terms();
  for (std::uint32_t i = 0; i < g.size; i++)
    terms[i] = {static_cast<C>(row.terms[i].coefficient), row.terms[i].literal};
  return ref;
}

/// The watches that constraint `c` at `ref` has as a whole (not `General::partial`), as far as they
/// follow from what is stored: calls `clause(l, watch)` and `row(l, watch)`.
template <class OnClause, class OnRow>
void forEachWatch(Header& c, Ref ref, OnClause&& clause, OnRow&& row) {
  switch (c.kind) {
  case Kind::clause: {
    const Lit* const l = static_cast<Clause&>(c).literals();
    for (int i = 0; i < 2; i++) clause(l[i], ClauseWatch(ref, c.size == 2, l[1 - i]));
    return;
  }
  case Kind::cardinality: {
    auto& cardinality = static_cast<Cardinality&>(c);
    for (std::uint32_t i = 0; i <= cardinality.degree; i++)
      row(cardinality.literals()[i], RowWatch::ofCardinality(ref, i));
    return;
  }
  case Kind::general32: {
    const auto& g = static_cast<General32&>(c);
    for (std::uint32_t i = 0; i < g.size; i++)
      row(g.terms()[i].literal, RowWatch::ofCount(ref, g.terms()[i].coefficient));
    return;
  }
  default:
    withGeneral(c, [&](auto& g) {
      for (std::uint32_t i = 0; i < g.size; i++)
        row(g.terms()[i].literal, RowWatch::ofTerm(ref, i));
    });
  }
}

/// Attaches a constraint that has been stored, which is returned.
Ref Propagation::attach(Ref ref) {
  Header& header = at(ref);
  if (header.kind == Kind::clause) {
    watchFirst(static_cast<Clause&>(header).literals(), header.size, 2);
  } else if (header.kind == Kind::cardinality) {
    auto& c = static_cast<Cardinality&>(header);
    watchFirst(c.literals(), c.size, c.degree + std::size_t{1});
  } else {
    if (header.kind == Kind::general32 && header.learnt != 0 &&
        watchSome(static_cast<General32&>(header), ref))
      return ref;
    withGeneral(header, [&](auto& g) {
      for (std::uint32_t i = 0; i < g.size; i++) {
        const Lit l = g.terms()[i].literal;
        if (!trail.isFalse(l) || trail.position(l.var()) >= row_head)
          g.slack += g.terms()[i].coefficient;
      }
    });
  }
  forEachWatch(
      header, ref, [&](Lit l, ClauseWatch w) { watches[l.index()].clauses.push(w); },
      [&](Lit l, RowWatch w) { watches[l.index()].rows.push(w); });
  return ref;
}

void Propagation::attach() {
  std::vector<std::uint32_t> in_clauses(watches.size()); // per literal: further watches
  std::vector<std::uint32_t> in_rows(watches.size());
  const std::size_t first = problem.size() - std::exchange(detached, 0);
  for (std::size_t i = first; i < problem.size(); i++)
    forEachWatch(
        at(problem[i]), problem[i], [&](Lit l, ClauseWatch) { in_clauses[l.index()]++; },
        [&](Lit l, RowWatch) { in_rows[l.index()]++; });
  for (std::size_t l = 0; l < watches.size(); l++) {
    watches[l].clauses.makeRoom(in_clauses[l]);
    watches[l].rows.makeRoom(in_rows[l]);
  }
  for (std::size_t i = first; i < problem.size(); i++) attach(problem[i]);
}

/// Watches as few literals as suffice. False, with nothing done, if that is most of them: then
/// counting all is cheaper.
bool Propagation::watchSome(General32& g, Ref ref) {
  const Term<std::int32_t>* const terms = g.terms();
  const std::int64_t wanted = g.degree + g.largest;
  const std::size_t most = static_cast<std::size_t>(g.size) / 3;
  // Literals that are not false, heavy ones first; then those that have been false for the shortest
  // time, so that going back brings these back first.
  std::vector<std::uint32_t> chosen;
  std::vector<std::pair<int, std::uint32_t>> falsified; // negated position, index
  std::int64_t sum = 0;
  for (std::uint32_t i = 0; i < g.size && sum < wanted; i++) {
    const Lit l = terms[i].literal;
    if (trail.isFalse(l)) {
      falsified.emplace_back(-trail.position(l.var()), i);
      continue;
    }
    chosen.push_back(i);
    sum += terms[i].coefficient;
    if (chosen.size() > most) return false;
  }
  const bool enough = sum >= wanted;
  if (!enough) {
    std::sort(falsified.begin(), falsified.end());
    for (std::size_t i = 0; i < falsified.size() && sum < wanted; i++) {
      chosen.push_back(falsified[i].second);
      sum += terms[falsified[i].second].coefficient;
    }
    if (chosen.size() > most) return false;
  }
  g.partial = 1;
  g.exhausted = !enough;
  for (std::uint32_t i = 0; i < g.size; i++) g.unwatch(i);
  for (const std::uint32_t i : chosen) {
    const Lit l = terms[i].literal;
    g.watch(i);
    if (!trail.isFalse(l) || trail.position(l.var()) >= row_head) g.slack += terms[i].coefficient;
    watches[l.index()].rows.push(RowWatch::ofTerm(ref, i));
  }
  return true;
}

template <class R> Ref Propagation::store(const R& row, bool learnt, unsigned glue, ProofId id) {
  assert(row.terms.size() >= 2 && row.degree >= 1);
  const auto largest = row.terms.front().coefficient;
  if (largest == 1 && row.degree == 1) return storeClause(row, learnt, glue, id);
  if (largest == 1 && row.degree < static_cast<decltype(row.degree)>(row.terms.size()))
    return storeCardinality(row, learnt, glue, id);
  const int bits = bitLength(largest);
  if (bits <= 31) return storeGeneral<General32>(Kind::general32, row, learnt, glue, id);
  if (bits <= 63) return storeGeneral<General64>(Kind::general64, row, learnt, glue, id);
  return storeGeneral<General128>(Kind::general128, row, learnt, glue, id);
}
template Ref Propagation::store(const Row& row, bool learnt, unsigned glue, ProofId id);
template Ref Propagation::store(const SmallRow& row, bool learnt, unsigned glue, ProofId id);
template Ref Propagation::store(const LearntRow& row, bool learnt, unsigned glue, ProofId id);

Ref Propagation::addObjective(const Row& row, ProofId id) {
  Int128 sum = 0;
  for (const WideTerm& t : row.terms) sum += t.coefficient;
  const int bits = bitLength(sum); // the degree never exceeds the sum by more than one term
  if (bits <= 30) return attach(storeGeneral<General32>(Kind::general32, row, false, 0, id));
  if (bits <= 62) return attach(storeGeneral<General64>(Kind::general64, row, false, 0, id));
  return attach(storeGeneral<General128>(Kind::general128, row, false, 0, id));
}

void Propagation::raiseDegree(Ref ref, Int128 amount, ProofId id) {
  if (proof != nullptr && id != at(ref).id) proof->forgetLean(at(ref).id);
  at(ref).id = id;
  withGeneral(at(ref), [&](auto& g) {
    using S = typename std::remove_reference_t<decltype(g)>::Sum;
    g.degree += static_cast<S>(amount);
    g.slack -= static_cast<S>(amount);
    g.threshold = g.largest;
  });
}

void Propagation::collect(std::initializer_list<Ref*> moved) {
  Arena fresh;
  fresh.reserve(arena.bytes() - removed_bytes);
  // Each list in its order; what has been copied says in its identifier where to.
  for (std::vector<Ref>* list : {&problem, &learnts}) {
    std::size_t kept = 0;
    for (const Ref ref : *list) {
      Header& old = at(ref);
      if (old.removed != 0) continue;
      const std::size_t bytes = bytesOf(old);
      const Ref copy = fresh.allocate(bytes);
      std::memcpy(fresh.at(copy), &old, bytes);
      old.id = copy;
      (*list)[kept++] = copy;
    }
    list->resize(kept);
  }
  const auto forward = [&](Ref ref) {
    const Header& old = at(ref);
    return old.removed != 0 ? no_ref : static_cast<Ref>(old.id);
  };
  const auto forwardAll = [&](auto& list) {
    auto* keep = list.begin();
    for (auto& watch : list) {
      const Ref ref = forward(watch.ref());
      if (ref == no_ref) continue;
      *keep = watch;
      keep++->setRef(ref);
    }
    list.truncate(keep);
  };
  for (LiteralWatches& of_literal : watches) {
    forwardAll(of_literal.clauses);
    forwardAll(of_literal.rows);
  }
  for (int i = trail.start(1); i < trail.size(); i++) {
    const Var v = trail[i].var();
    if (trail.reason(v) == no_ref) continue;
    trail.setReason(v, forward(trail.reason(v)));
    assert(trail.reason(v) != no_ref);
  }
  for (Ref* const place : moved)
    if (*place != no_ref) *place = forward(*place);
  arena.takeOver(fresh);
  removed_bytes = 0;
}

std::size_t Propagation::bytes() const {
  std::size_t sum = arena.bytes() + (problem.size() + learnts.size()) * sizeof(Ref);
  for (const LiteralWatches& of_literal : watches)
    sum += sizeof of_literal + of_literal.clauses.bytes() + of_literal.rows.bytes();
  return sum;
}

} // namespace estoc
