/// \file
/// Conflict analysis by cutting planes; its beginning and its end.
#include "Analyzer.h"

#include "constraints/Normalise.h"
#include "constraints/SortTerms.h"

namespace estoc {

void Analyzer::addVariable() {
  seen.push_back(0);
  redundancy.push_back(0);
  level_stamps.resize(seen.size() + 1);
  level_sums.resize(seen.size() + 1);
}

/// A learnt constraint that is of use survives the next reductions.
void Analyzer::noteUse(Header& c) {
  if (c.learnt != 0) c.used = 2;
}

unsigned Analyzer::countLevels(const std::vector<Lit>& falsified) {
  level_stamp++;
  unsigned count = 0;
  for (const Lit l : falsified) {
    std::uint32_t& stamp = level_stamps[static_cast<std::size_t>(trail.level(l.var()))];
    if (stamp == level_stamp) continue;
    stamp = level_stamp;
    count++;
  }
  return count;
}

/// Whether the sum over what is not falsified stays below the degree: the invariant.
template <class W> bool Analyzer::isFalsifiedSum(const Expression<W>& e) const {
  typename W::Degree sum = 0;
  for (const Var v : e.variables())
    if (e.occurs(v) && !isFalsified(e.literal(v))) sum += e.magnitude(v);
  return sum < e.degree();
}

/// `e` becomes constraint `ref`, without variables assigned at level 0.
template <class W> void Analyzer::load(Expression<W>& e, Ref ref) {
  Header& c = propagation.at(ref);
  e.clear();
  e.addDegree(static_cast<typename W::Degree>(degreeOf(c)));
  if (proof != nullptr) {
    writePlain(c);
    derivation->add(*reason_derivation, 1);
  }
  forEachTerm(c, [&](Int128 a, Lit l) {
    steps++;
    if (trail.isRootFalse(l)) return;
    if (trail.isRootTrue(l))
      e.addDegree(-static_cast<typename W::Degree>(a));
    else
      e.addTerm(l, static_cast<typename W::Coefficient>(a));
  });
  noteUse(c);
  for (const Var v : e.variables())
    if (isFalsified(e.literal(v))) decider.bump(v);
}

/// What e does at the levels below l: implies a literal, is falsified, or neither. Literals are
/// taken from the newest on, since these are mostly those that are not falsified there and show
/// soon that it does neither.
template <class W> Analyzer::Standing Analyzer::standingBelow(const Expression<W>& e, int l) {
  using C = typename W::Coefficient;
  typename W::Degree slack = -e.degree();
  C free = 0;
  const std::vector<Var>& variables = e.variables();
  for (std::size_t i = variables.size(); i-- > 0;) {
    const Var v = variables[i];
    if (!e.occurs(v)) continue;
    steps++;
    const bool before = trail.isAssigned(v) && trail.level(v) < l;
    const Lit literal = e.literal(v);
    if (before && trail.isFalse(literal)) continue;
    const C c = e.magnitude(v);
    slack += c;
    if (!before && c > free) free = c;
    if (slack >= e.bound()) return Standing::open;
  }
  if (slack < 0) return Standing::falsified;
  return free > slack ? Standing::implying : Standing::open;
}

/// The lowest level at which e is falsified; it is at the current one.
template <class W> int Analyzer::lowestFalsified(const Expression<W>& e) {
  int latest = 0;
  typename W::Degree slack = -e.degree(); // below the latest level
  for (const Var v : e.variables())
    if (e.occurs(v) && isFalsified(e.literal(v))) latest = std::max(latest, trail.level(v));
  for (const Var v : e.variables())
    if (e.occurs(v) && !(isFalsified(e.literal(v)) && trail.level(v) < latest))
      slack += e.magnitude(v);
  steps += e.variables().size();
  if (slack >= 0) return latest;

  std::vector<std::pair<int, Var>> falsified;
  for (const Var v : e.variables())
    if (e.occurs(v) && isFalsified(e.literal(v)) && trail.level(v) < latest)
      falsified.emplace_back(trail.level(v), v);
  std::sort(falsified.begin(), falsified.end());
  while (!falsified.empty()) { // backwards: what is falsified at the level and before suffices
    const auto [l, v] = falsified.back();
    slack += e.magnitude(v);
    if (slack >= 0) return l;
    falsified.pop_back();
  }
  return 0;
}

/// Brings coefficients down to `bits` bits; the sum stays falsified.
template <class W> void Analyzer::reduce(Expression<W>& e, int bits) {
  if (!e.divideDown(bits, [&](Lit l) { return isFalsified(l); })) return;
  steps += e.variables().size();
  assert(isFalsifiedSum(e));
}

/// Adds the rounded reason `terms` >= `degree`, in which `implied` has coefficient 1, so often that
/// `implied` cancels. False, with nothing changed but that e may have been reduced, if the width
/// does not suffice.
template <class W, class N>
bool Analyzer::addRounded(Expression<W>& e, const std::vector<Term<N>>& terms, const N& degree,
                          Lit implied) {
  using C = typename W::Coefficient;
  using D = typename W::Degree;
  N largest = 1;
  for (const auto& t : terms)
    if (t.coefficient > largest) largest = t.coefficient;
  // What is falsified by assumption only is not cancelled: its reason is where it all begins.
  if (!e.fitsAfter(largest, e.coefficient(~implied))) {
    e.tighten();
    if (!e.fitsAfter(largest, e.coefficient(~implied))) {
      if (W::safe_bits == Narrow::safe_bits) return false;
      reduce(e, learnt_bits);
      if (!e.fitsAfter(largest, e.coefficient(~implied))) return false;
    }
  }
  const C factor = implied == failed ? C(1) : C(e.coefficient(~implied));
  for (const auto& t : terms) {
    const bool is_new = !e.occurs(t.literal.var());
    e.addTerm(t.literal, static_cast<C>(static_cast<C>(t.coefficient) * factor));
    if (is_new && isFalsified(t.literal)) decider.bump(t.literal.var());
  }
  e.addDegree(static_cast<D>(static_cast<D>(degree) * static_cast<D>(factor)));
  assert(implied == failed || !e.occurs(implied.var()));
  if (derivation != nullptr) derivation->add(*reason_derivation, factor);
  e.saturate();
  steps += terms.size();
  return true;
}

/// Resolves `implied` out of e by its reason. False if that takes a larger width.
template <class W> bool Analyzer::addReason(Expression<W>& e, Lit implied) {
  Header& c = propagation.at(trail.reason(implied.var()));
  noteUse(c);
  decider.bump(implied.var());
  const int position = trail.position(implied.var());
  const auto falsifiedBefore = [&](Lit l) {
    return (trail.isFalse(l) && trail.position(l.var()) < position) ||
           (l == failed && l != implied);
  };
  const auto plain = [&](const Lit* literals, std::uint32_t size, std::int64_t degree) {
    rounded64.clear();
    for (std::uint32_t i = 0; i < size; i++) {
      const Lit l = literals[i];
      if (trail.isRootAssigned(l.var())) {
        if (trail.isTrue(l)) degree--;
        continue;
      }
      rounded64.push_back({1, l});
    }
    if (proof != nullptr) writePlain(c);
    return addRounded(e, rounded64, degree, implied);
  };
  if (c.kind == Kind::clause) return plain(static_cast<Clause&>(c).literals(), c.size, 1);
  if (c.kind == Kind::cardinality) {
    auto& cardinality = static_cast<Cardinality&>(c);
    return plain(cardinality.literals(), c.size, cardinality.degree);
  }
  return withGeneral(c, [&](auto& g) {
    using N = typename std::remove_reference_t<decltype(g)>::Sum;
    std::vector<Term<N>>& rounded = [&]() -> auto& {
      if constexpr (std::is_same_v<N, std::int64_t>)
        return rounded64;
      else
        return rounded128;
    }
    // cppcheck-suppress iterators3 ; it is one field or the other
    ();
    rounded.clear();
    const auto* const terms = g.terms();
    std::uint32_t place = 0;
    while (terms[place].literal != implied) place++;
    const N divisor = terms[place].coefficient;
    N degree = g.degree;
    const auto round = [&](const auto is_noted) {
      const auto note = [&](std::vector<std::uint32_t>& places, std::uint32_t i) {
        if constexpr (is_noted) places.push_back(i);
      };
      for (std::uint32_t i = 0; i < g.size; i++) {
        const Lit l = terms[i].literal;
        const N a = terms[i].coefficient;
        if (i == place) {
          rounded.push_back({1, l});
          note(noted.kept, i);
        } else if (trail.isRootAssigned(l.var())) {
          if (trail.isTrue(l)) degree -= a;
          note(noted.fixed, i);
        } else if (falsifiedBefore(l)) {
          rounded.push_back({divisor == 1 ? a : ceilDiv(a, divisor), l});
          note(noted.kept, i);
        } else {
          const N rest = divisor == 1 ? N(0) : a % divisor;
          const N quotient = rest != 0 && weaken_fully ? N(0) : a / divisor;
          degree -= a - quotient * divisor;
          if (quotient == 0) continue;
          rounded.push_back({quotient, l});
          note(noted.kept, i);
          if (rest != 0) note(noted.changed, i);
        }
      }
    };
    if (proof == nullptr) {
      round(std::false_type());
    } else {
      noted.kept.clear();
      noted.changed.clear();
      noted.fixed.clear();
      round(std::true_type());
    }
    const N before_division = degree;
    degree = ceilDiv(degree, divisor);
    if (proof != nullptr) {
      writeReason(c, divisor, before_division);
      if (std::any_of(rounded.begin(), rounded.end(),
                      [&](const auto& t) { return t.coefficient > degree; }))
        reason_derivation->saturate();
    }
    for (auto& t : rounded)
      if (t.coefficient > degree) t.coefficient = degree;
    return addRounded(e, rounded, degree, implied);
  });
}

/// Resolves until e implies something below `level`, or until only decisions are falsified.
template <class W> Analyzer::RowResult Analyzer::resolveRows(Expression<W>& e) {
  if (to_decisions && e.degree() == 0 && !addReason(e, failed)) return RowResult::widen;
  for (;;) {
    assert(isFalsifiedSum(e));
    if (W::safe_bits > Middle::safe_bits && static_cast<int>(width) > smallest_width) {
      reduce(e, learnt_bits);
      return RowResult::shrink;
    }
    if (!to_decisions) {
      const Standing standing = standingBelow(e, level);
      if (standing == Standing::falsified) {
        level = lowestFalsified(e);
        if (level == 0) return RowResult::contradiction;
        at = trail.start(level + 1);
        continue;
      }
      if (standing == Standing::implying) {
        if (bitLength(e.bound()) <= learnt_bits) return RowResult::done;
        e.tighten();
        if (bitLength(e.bound()) <= learnt_bits) return RowResult::done;
        reduce(e, learnt_bits); // it may not imply anything any more
        continue;
      }
    }
    const int floor = trail.start(to_decisions ? 1 : level);
    int next = at;
    do next--;
    while (next >= floor && (!e.contains(~trail[next]) ||
                             (to_decisions && trail.reason(trail[next].var()) == no_ref)));
    if (next < floor) {
      assert(to_decisions);
      for (const Var v : e.variables())
        if (e.occurs(v) && !isFalsified(e.literal(v))) e.weaken(v, e.magnitude(v));
      e.saturate();
      reduce(e, learnt_bits);
      return RowResult::done;
    }
    assert(trail.reason(trail[next].var()) != no_ref);
    at = next + 1;
    if (!addReason(e, trail[next])) return RowResult::widen;
    at = next;
  }
}

/// The next larger width takes over.
void Analyzer::widen() {
  const std::size_t from = width++;
  withWidth(from, [&](auto& smaller) {
    withWidth(from + 1, [&](auto& larger) { larger.assign(smaller); });
    smaller.clear();
  });
}

/// Takes the row out of e, in normal form.
template <class W> void Analyzer::extract(Expression<W>& e, LearntRow& row) {
  e.tighten();
  row.terms.clear();
  for (const Var v : e.variables())
    row.terms.push_back({static_cast<std::int32_t>(e.magnitude(v)), e.literal(v)});
  row.degree = static_cast<std::int64_t>(e.degree());
  const std::int32_t divisor = divideByCommonDivisor(row, derivation.get());
  if (e.bound() != divisor) sortByCoefficient(row.terms, spare_terms); // else all are 1 now
  e.clear();
}

int Analyzer::lowestImplying(const LearntRow& row) {
  std::vector<int> levels; // at which something of the row is falsified
  std::int64_t slack = -row.degree;
  for (const auto& t : row.terms) {
    slack += t.coefficient;
    if (!trail.isFalse(t.literal)) continue;
    const int l = trail.level(t.literal.var());
    std::int64_t& sum = level_sums[static_cast<std::size_t>(l)];
    if (sum == 0) levels.push_back(l);
    sum += t.coefficient;
  }
  std::sort(levels.begin(), levels.end());
  std::size_t largest = 0; // the first term that is not assigned at the level looked at
  int found = trail.level();
  std::size_t next = 0;
  for (int l = 0;;) {
    if (next < levels.size() && levels[next] == l) {
      slack -= level_sums[static_cast<std::size_t>(l)];
      next++;
    }
    while (largest < row.terms.size()) {
      const Var v = row.terms[largest].literal.var();
      if (!trail.isAssigned(v) || trail.level(v) > l) break;
      largest++;
    }
    if (slack < 0 || (largest < row.terms.size() && row.terms[largest].coefficient > slack)) {
      found = l;
      break;
    }
    if (next == levels.size()) break;
    l = levels[next];
  }
  for (const int l : levels) level_sums[static_cast<std::size_t>(l)] = 0;
  return found;
}

/// Weakens the literals of `row` that are neither falsified nor implied at level l: the row implies
/// the same there, it is shorter, and once saturated often stronger.
void Analyzer::weakenLearnt(LearntRow& row, int l) {
  auto& terms = row.terms;
  const auto isFalseThen = [&](Lit q) { return isFalsified(q) && trail.level(q.var()) <= l; };
  std::int64_t slack = -row.degree;
  for (const auto& t : terms)
    if (!isFalseThen(t.literal)) slack += t.coefficient;
  std::vector<Var>& gone = weakened;
  gone.clear();
  std::size_t kept = 0;
  for (const auto& t : terms) {
    if (t.coefficient > slack || isFalseThen(t.literal)) {
      terms[kept++] = t;
      continue;
    }
    row.degree -= t.coefficient;
    gone.push_back(t.literal.var());
  }
  steps += terms.size();
  if (kept == terms.size()) return;
  terms.resize(kept);
  for (auto& t : terms)
    if (t.coefficient > row.degree) t.coefficient = static_cast<std::int32_t>(row.degree);
  if (derivation != nullptr) writeWeakening(row);
  divideByCommonDivisor(row, derivation.get());
}

/// Runs `resolveRows` in the width at hand, and then in others as it asks.
bool Analyzer::finish(Learnt& out) {
  for (;;) {
    RowResult result = RowResult::done;
    withWidth(width, [&](auto& e) {
      result = resolveRows(e);
      if (result == RowResult::done) extract(e, out.row);
      if (result == RowResult::contradiction) e.clear();
    });
    if (result == RowResult::done) return true;
    if (result == RowResult::contradiction) {
      if (derivation != nullptr) finishDerivation();
      return false;
    }
    if (result == RowResult::widen) {
      widen();
    } else {
      const std::size_t from = width;
      width = std::max(std::size_t{1}, static_cast<std::size_t>(smallest_width));
      withWidth(from, [&](auto& larger) {
        withWidth(width, [&](auto& smaller) { smaller.assign(larger); });
        larger.clear();
      });
    }
  }
}

bool Analyzer::analyze(Ref conflict, Learnt& out) {
  if (proof != nullptr) beginProof();
  at = trail.size();
  level = trail.level();
  to_decisions = false;
  failed = Lit();
  width = static_cast<std::size_t>(smallest_width);
  Header& c = propagation.at(conflict);
  if (c.kind == Kind::clause) {
    const ClauseResult result = resolveClauses(conflict, out);
    if (result != ClauseResult::row) return result == ClauseResult::learnt;
  } else {
    Int128 largest = 1;
    if (c.kind != Kind::cardinality)
      largest = withGeneral(c, [](auto& g) { return static_cast<Int128>(g.largest); });
    const int bits = bitLength(largest);
    if (bits > Narrow::safe_bits) width = std::max(width, std::size_t{1});
    if (bits > Middle::safe_bits) width = std::max(width, std::size_t{2});
    if (bits > Broad::safe_bits) width = std::max(width, std::size_t{3});
    bool contradiction = false;
    withWidth(width, [&](auto& e) {
      load(e, conflict);
      level = lowestFalsified(e);
      contradiction = level == 0;
      if (contradiction)
        e.clear();
      else
        e.saturate();
    });
    if (contradiction) return false;
    at = trail.start(level + 1);
  }
  if (!finish(out)) return false;
  std::vector<Lit> falsified;
  for (const auto& t : out.row.terms)
    if (isFalsified(t.literal)) falsified.push_back(t.literal);
  out.glue = countLevels(falsified);
  out.level = lowestImplying(out.row);
  assert(out.level < level);
  if (weaken_learnt && out.level > 0) weakenLearnt(out.row, out.level);
  if (derivation != nullptr) out.id = finishDerivation();
  out.is_clause = out.row.degree == 1;
  if (out.is_clause) {
    out.clause.clear();
    for (const auto& t : out.row.terms) out.clause.push_back(t.literal);
  }
  return true;
}

bool Analyzer::explainFailure(Lit assumed, LearntRow& core, ProofId& id) {
  if (proof != nullptr) beginProof();
  assert(trail.isFalse(assumed) && trail.level(assumed.var()) > 0);
  core.terms.clear();
  if (trail.reason(assumed.var()) == no_ref) { // decided the other way
    core.terms = {{1, assumed}, {1, ~assumed}};
    core.degree = 1;
    if (proof != nullptr) id = proof->rup(core);
    return true;
  }
  at = start = trail.position(assumed.var());
  level = trail.level();
  to_decisions = true;
  failed = ~assumed;
  width = static_cast<std::size_t>(smallest_width);
  withWidth(width, [](auto& e) { e.clear(); });
  Learnt out;
  if (!finish(out)) return false;
  core = std::move(out.row);
  if (derivation != nullptr) id = finishDerivation();
  std::int64_t sum = 0;
  for (const auto& t : core.terms) sum += t.coefficient;
  return sum >= core.degree;
}

} // namespace estoc
