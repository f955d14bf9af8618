/// \file
/// The propagation loops, and taking assignments back.
#include "Propagation.h"

#include <algorithm>

namespace estoc {

namespace {
/// So many literals ahead the memory is told what is going to be visited, first where the watches
/// are, then the watches.
constexpr int far = 16;
constexpr int near = 8;
} // namespace

/// Visits the clauses that watch `falsified`. A clause keeps its watched literals in front; one
/// that has no other literal to watch implies the other watched one, or is in conflict. The
/// blocking literal in the entry saves the look at a clause that it satisfies. Sources: Moskewicz,
/// Madigan, Zhao, Zhang and Malik, Chaff (2001); Sörensson and Eén (2008) on blocking literals.
Ref Propagation::propagateClauses(Lit falsified) {
  CompactList<ClauseWatch>& list = watches[falsified.index()].clauses;
  ClauseWatch* keep = list.begin();
  const ClauseWatch* const end = keep + list.size();
  done.clause_visits += list.size();
  std::uint64_t looked_at = 0; // terms
  Ref conflict = no_ref;
  const ClauseWatch* entry = keep;
  while (entry != end) {
    const ClauseWatch watch = *entry++;
    const signed char blocking = trail.value(watch.blocker);
    if (blocking > 0) {
      *keep++ = watch;
      continue;
    }
    if (watch.binary()) {
      *keep++ = watch;
      if (blocking < 0) {
        conflict = watch.ref();
        break;
      }
      push(watch.blocker, watch.ref());
      continue;
    }
    auto& c = static_cast<Clause&>(at(watch.ref()));
    Lit* const literals = c.literals();
    const Lit other = Lit::fromIndex(literals[0].index() ^ literals[1].index() ^ falsified.index());
    const signed char other_value = trail.value(other);
    if (other_value > 0) {
      *keep++ = ClauseWatch(watch.ref(), false, other);
      continue;
    }
    Lit* replacement = literals + 2;
    const Lit* const last = literals + c.size;
    while (replacement != last && trail.value(*replacement) < 0) replacement++;
    looked_at += static_cast<std::uint64_t>(replacement - literals);
    if (replacement != last) {
      const Lit found = *replacement;
      literals[0] = other;
      literals[1] = found;
      *replacement = falsified;
      watches[found.index()].clauses.push(ClauseWatch(watch.ref(), false, other));
      continue;
    }
    *keep++ = ClauseWatch(watch.ref(), false, other);
    if (watch.ref() == ignored) continue;
    if (other_value < 0) {
      conflict = watch.ref();
      break;
    }
    push(other, watch.ref());
  }
  while (entry != end) *keep++ = *entry++; // behind a conflict
  list.truncate(keep);
  done.terms += looked_at;
  return conflict;
}

/// Enqueues each literal whose coefficient exceeds the slack. Goes on where it stopped last time:
/// what was assigned then is assigned until one of the falsified literals is taken back. The same
/// holds once what is true satisfies the constraint, so nothing more is looked at then.
template <class G> void Propagation::implyGeneral(G& g, Ref ref) {
  if (isSatisfied(g)) return;
  const auto* const terms = g.terms();
  const std::uint32_t first = g.position();
  std::uint32_t i = first;
  typename G::Sum lacking = g.degree; // less what is true
  for (; i < g.size && terms[i].coefficient > g.slack; i++) {
    const signed char value = trail.value(terms[i].literal);
    if (value == 0) {
      push(terms[i].literal, ref);
    } else if (value > 0) {
      lacking -= terms[i].coefficient;
      if (lacking <= 0) {
        g.satisfier = i;
        done.terms += i - first;
        g.setCursor(g.size);
        return;
      }
    }
  }
  done.terms += i - first;
  g.setCursor(i);
}

/// A watched literal, term number `index`, has become false. Watches others instead, as many as it
/// takes; if there are not enough, the constraint implies what it can. False when it is falsified.
/// `keep` tells whether the entry stays. Source: Devriendt, Watched propagation of 0-1 integer
/// linear constraints (2020).
bool Propagation::visitPartial(General32& g, Ref ref, std::uint32_t index, bool& keep) {
  const Term<std::int32_t>* const terms = g.terms();
  g.slack -= terms[index].coefficient;
  if (isSatisfied(g)) {
    keep = true;
    return true;
  }
  const std::int64_t wanted = g.largest;
  if (g.slack < wanted && !g.exhausted) {
    std::uint32_t i = g.scan;
    std::uint32_t looked = 0;
    for (; looked < g.size && g.slack < wanted; looked++) {
      if (trail.value(terms[i].literal) >= 0 && !g.isWatched(i)) { // mostly it is false
        g.watch(i);
        g.slack += terms[i].coefficient;
        watches[terms[i].literal.index()].rows.push(RowWatch::ofTerm(ref, i));
      }
      if (++i == g.size) i = 0;
    }
    g.scan = i;
    done.terms += looked;
    g.exhausted = g.slack < wanted;
  }
  if (g.slack >= wanted) {
    keep = false;
    g.unwatch(index);
    return true;
  }
  keep = true;
  if (g.slack < 0) return false;
  if (g.slack < g.threshold) implyGeneral(g, ref);
  return true;
}

/// Looks for another literal to watch instead of `falsified`, which stands at `place`. Without one
/// all other watched literals are implied; false when one of them is false already. `keep` tells
/// whether the entry stays.
bool Propagation::visitCardinality(Ref ref, std::uint32_t place, Lit falsified, bool& keep) {
  auto& c = static_cast<Cardinality&>(at(ref));
  Lit* const literals = c.literals();
  assert(place <= c.degree && literals[place] == falsified);
  const std::uint32_t first = c.degree + 1;
  std::uint32_t i = c.cursor;
  for (std::uint32_t looked = first; looked < c.size; looked++) {
    const Lit candidate = literals[i];
    if (trail.value(candidate) >= 0) {
      literals[i] = falsified;
      literals[place] = candidate;
      c.cursor = i;
      watches[candidate.index()].rows.push(RowWatch::ofCardinality(ref, place));
      done.terms += looked - first + 1;
      keep = false;
      return true;
    }
    if (++i == c.size) i = first;
  }
  done.terms += c.size;
  keep = true;
  for (std::uint32_t j = 0; j <= c.degree; j++)
    if (j != place && trail.value(literals[j]) < 0) return false;
  for (std::uint32_t j = 0; j <= c.degree; j++)
    if (j != place && trail.value(literals[j]) == 0) push(literals[j], ref);
  return true;
}

/// Tells all rows that count `falsified`, and visits those that watch it. Behind a conflict the
/// rest of the list is told, too, but nothing more is implied, so that every row has seen the
/// same part of the trail.
Ref Propagation::propagateRows(Lit falsified) {
  CompactList<RowWatch>& list = watches[falsified.index()].rows;
  RowWatch* keep = list.begin();
  const RowWatch* const end = list.end();
  done.row_visits += list.size();
  Ref conflict = no_ref;
  for (const RowWatch* entry = list.begin(); entry != end; entry++) {
    const RowWatch watch = *entry;
    const auto count = [&](auto& g, const auto& coefficient) {
      g.slack -= coefficient;
      if (g.slack >= g.threshold || conflict != no_ref) return;
      if (g.slack < 0)
        conflict = watch.ref();
      else
        implyGeneral(g, watch.ref());
    };
    if (watch.counts()) {
      *keep++ = watch;
      count(static_cast<General32&>(at(watch.ref())), watch.coefficient());
      continue;
    }
    bool stays = true;
    if (watch.cardinality()) {
      if (conflict == no_ref && !visitCardinality(watch.ref(), watch.place(), falsified, stays))
        conflict = watch.ref();
    } else if (at(watch.ref()).partial != 0) {
      auto& g = static_cast<General32&>(at(watch.ref()));
      if (conflict != no_ref)
        g.slack -= g.terms()[watch.place()].coefficient;
      else if (!visitPartial(g, watch.ref(), watch.place(), stays))
        conflict = watch.ref();
    } else {
      withGeneral(at(watch.ref()),
                  [&](auto& g) { count(g, g.terms()[watch.place()].coefficient); });
    }
    if (stays) *keep++ = watch;
  }
  list.truncate(keep);
  return conflict;
}

Ref Propagation::propagate() {
  for (;;) {
    while (clause_head < trail.size()) {
      const Lit falsified = ~trail[clause_head++];
      prefetch(watches[falsified.index()].rows.begin());
      const Ref conflict = propagateClauses(falsified);
      if (conflict != no_ref) return conflict;
    }
    if (row_head == trail.size()) return no_ref;
    done.literals++;
    const Ref conflict = propagateRows(~trail[row_head++]);
    if (conflict != no_ref) return conflict;
  }
}

/// Undoes what general constraints know of a literal, which they watch by `list`.
void Propagation::giveBack(const CompactList<RowWatch>& list) {
  for (const RowWatch watch : list) {
    if (watch.cardinality()) continue;
    if (watch.counts()) {
      auto& g = static_cast<General32&>(at(watch.ref()));
      g.slack += watch.coefficient();
      g.threshold = g.largest;
      continue;
    }
    withGeneral(at(watch.ref()), [&](auto& g) {
      g.slack += g.terms()[watch.place()].coefficient;
      g.threshold = g.largest;
      g.exhausted = false;
    });
  }
}

void Propagation::backjump(int level) {
  if (level >= trail.level()) return;
  const int target = trail.start(level + 1);
  for (int i = row_head; i-- > target;) {
    // What comes next is known here, and lies anywhere.
    if (i >= near + target) prefetch(watches[(~trail[i - near]).index()].rows.begin());
    if (i >= far + target) prefetch(&watches[(~trail[i - far]).index()]);
    giveBack(watches[(~trail[i]).index()].rows);
  }
  listener.onUnassign(target);
  trail.cut(level);
  clause_head = std::min(clause_head, target);
  row_head = std::min(row_head, target);
}

bool Propagation::imply(Ref ref) {
  Header& header = at(ref);
  switch (header.kind) {
  case Kind::clause: {
    const Lit* const l = static_cast<Clause&>(header).literals();
    if (trail.value(l[1]) >= 0 || trail.value(l[0]) > 0) return true;
    if (trail.value(l[0]) < 0) return false;
    push(l[0], ref);
    return true;
  }
  case Kind::cardinality: {
    auto& c = static_cast<Cardinality&>(header);
    const Lit* const l = c.literals();
    if (trail.value(l[c.degree]) >= 0) return true;
    if (trail.value(l[c.degree - 1]) < 0) return false;
    for (std::uint32_t i = 0; i < c.degree; i++)
      if (trail.value(l[i]) == 0) push(l[i], ref);
    return true;
  }
  default:
    return withGeneral(header, [&](auto& g) {
      if (g.slack < 0) return false;
      if (g.slack < g.threshold) implyGeneral(g, ref);
      return true;
    });
  }
}

} // namespace estoc
