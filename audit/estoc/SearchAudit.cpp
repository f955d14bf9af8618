/// \file
/// The audit of a search's state.
#include "SearchAudit.h"

#include "audit/Demand.h"
#include "search/Search.h"

#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace estoc {

using audit::demand;

namespace {

std::string text(Lit l) {
  return (l.negated() ? "~x" : "x") + std::to_string(l.var());
}

} // namespace

/// One look over one search; every part throws at the first fault it finds.
class SearchAudit::Pass {
  const AuditPoint point;
  const Search& search;
  const Propagation& propagation;
  const Trail& trail;
  const Decider& decider;
  /// Per constraint and literal: the detail of the entry in the literal's watch list.
  std::map<std::pair<Ref, std::uint32_t>, std::uint32_t> entries;
  std::map<Ref, std::size_t> entries_of; ///< also tells which references there are

  /// Looking changes nothing, but the engine's own access is to what may be changed.
  Header& at(Ref ref) const { return const_cast<Header&>(propagation.at(ref)); }
  bool falseBefore(Lit l, int place) const {
    return trail.isFalse(l) && trail.position(l.var()) < place;
  }
  /// A constraint as text, made only once it is written: nearly all checks succeed.
  struct Described {
    const Pass* pass;
    Ref ref;

    std::ostream& writeTo(std::ostream& out) const { return pass->write(out, ref); }
    friend std::ostream& operator<<(std::ostream& out, const Described& d) {
      return d.writeTo(out);
    }
  };
  Described describe(Ref ref) const { return {this, ref}; }
  std::ostream& write(std::ostream& out, Ref ref) const {
    out << (at(ref).learnt != 0 ? "learnt" : ref == search.objective ? "objective" : "problem");
    forEachTerm(at(ref), [&](Int128 a, Lit l) {
      out << " " << static_cast<double>(a) << " " << text(l);
      if (trail.isAssigned(l.var()))
        out << (trail.isTrue(l) ? "+" : "-") << trail.level(l.var()) << ","
            << trail.position(l.var());
    });
    return out << " >= " << static_cast<double>(degreeOf(at(ref)));
  }

 public:
  Pass(const Search& s, AuditPoint p)
      : point(p), search(s), propagation(s.propagation), trail(s.trail), decider(s.decider) {}

  void assignment() const {
    int level = 0;
    for (int i = 0; i < trail.size(); i++) {
      const Lit l = trail[i];
      while (level < trail.level() && trail.start(level + 1) <= i) level++;
      demand(trail.isTrue(l) && trail.isFalse(~l), text(l), " is on the trail without its value");
      demand(trail.position(l.var()) == i && trail.level(l.var()) == level, text(l),
             " has a wrong place on the trail");
    }
    int assigned = 0;
    for (Var v = 0; v < trail.variables(); v++) assigned += trail.isAssigned(v) ? 1 : 0;
    demand(assigned == trail.size(), "a value is not on the trail");
  }

  void collect() {
    propagation.forEachConstraint([&](Ref ref) {
      demand(entries_of.emplace(ref, 0).second, "a constraint is listed twice");
      demand(at(ref).removed == 0 && at(ref).marked == 0, describe(ref), ": is marked");
    });
    for (const Ref ref : propagation.learntConstraints())
      demand(at(ref).learnt != 0, describe(ref), ": is no learnt one");
    const auto enter = [&](Ref ref, Lit l, std::uint32_t detail) {
      demand(entries_of.count(ref) != 0, "a watch of ", text(l), " leads nowhere");
      demand(entries.emplace(std::pair{ref, l.index()}, detail).second, describe(ref),
             ": is watched twice by ", text(l));
      entries_of[ref]++;
    };
    for (Var v = 0; v < trail.variables(); v++)
      for (const Lit l : {Lit::of(v), ~Lit::of(v)}) {
        for (const ClauseWatch w : propagation.clauseWatches(l)) {
          enter(w.ref(), l, w.blocker.index());
          demand(at(w.ref()).kind == Kind::clause, describe(w.ref()), ": is no clause");
          demand(w.binary() == (at(w.ref()).size == 2), describe(w.ref()), ": has a wrong size");
        }
        for (const RowWatch w : propagation.rowWatches(l)) {
          enter(w.ref(), l, w.counts() ? static_cast<std::uint32_t>(w.coefficient()) : w.place());
          demand(w.cardinality() == (at(w.ref()).kind == Kind::cardinality), describe(w.ref()),
                 ": is visited as another kind");
          demand(w.counts() == (at(w.ref()).kind == Kind::general32 && at(w.ref()).partial == 0),
                 describe(w.ref()), ": is counted another way");
        }
      }
  }

  std::uint32_t detail(Ref ref, Lit l) const {
    const auto found = entries.find({ref, l.index()});
    demand(found != entries.end(), describe(ref), ": does not watch ", text(l));
    return found->second;
  }

  void watches(Ref ref) const {
    Header& header = at(ref);
    std::size_t watched = 2;
    if (header.kind == Kind::clause) {
      const Lit* const l = static_cast<Clause&>(header).literals();
      for (int i = 0; i < 2; i++) {
        const Lit blocker = Lit::fromIndex(detail(ref, l[i]));
        bool found = false;
        for (std::uint32_t j = 0; j < header.size; j++) found |= l[j] == blocker && blocker != l[i];
        demand(found, describe(ref), ": has no blocker ", text(blocker));
      }
    } else if (header.kind == Kind::cardinality) {
      auto& c = static_cast<Cardinality&>(header);
      demand(c.degree >= 2 && c.degree < c.size, describe(ref), ": is no proper cardinality");
      demand(c.cursor > c.degree && c.cursor < c.size + (c.size == c.degree + 1 ? 1 : 0),
             describe(ref), ": has its cursor at ", c.cursor);
      watched = c.degree + std::size_t{1};
      for (std::uint32_t i = 0; i < watched; i++)
        demand(detail(ref, c.literals()[i]) == i, describe(ref), ": has a wrong place of ",
               text(c.literals()[i]));
    } else {
      watched = withGeneral(header, [&](auto& g) { return general(ref, g); });
    }
    demand(entries_of.at(ref) == watched, describe(ref), ": has ", entries_of.at(ref), " watches");
  }

  /// The number of terms that are watched.
  template <class G> std::size_t general(Ref ref, G& g) const {
    std::size_t watched = 0;
    Int128 slack = -static_cast<Int128>(g.degree);
    bool others_false = true;
    Int128 lacking = static_cast<Int128>(g.degree); // less what is true
    for (std::uint32_t i = 0; i < g.size; i++) {
      const auto [a, l] = g.terms()[i];
      demand(a > 0 && a <= g.largest && (i == 0 || g.terms()[i - 1].coefficient >= a),
             describe(ref), ": has its terms in no order");
      if (trail.isTrue(l)) lacking -= a;
      if (g.partial != 0 && !g.isWatched(i)) {
        others_false &= trail.isFalse(l);
        continue;
      }
      watched++;
      const bool by_index = g.partial != 0 || g.kind != Kind::general32;
      demand(detail(ref, l) == (by_index ? i : static_cast<std::uint32_t>(a)), describe(ref),
             ": has a wrong entry of ", text(l));
      if (!falseBefore(l, propagation.seenByRows())) slack += a;
    }
    demand(slack == static_cast<Int128>(g.slack), describe(ref), ": has slack ",
           static_cast<double>(g.slack), ", should be ", static_cast<double>(slack));
    demand(g.partial == 0 || !g.exhausted || others_false, describe(ref), ": could watch more");
    demand(point != AuditPoint::fixpoint || others_false || lacking <= 0 || slack >= g.largest,
           describe(ref), ": watches too little");
    const std::uint32_t cursor = g.position();
    demand(g.threshold == (cursor < g.size ? g.terms()[cursor].coefficient : 0), describe(ref),
           ": has a wrong threshold");
    for (std::uint32_t i = 0; lacking > 0 && i < cursor; i++)
      demand(trail.isAssigned(g.terms()[i].literal.var()), describe(ref), ": has its cursor at ",
             cursor, ", but not yet implied all before it");
    return watched;
  }

  void watches() const {
    propagation.forEachConstraint([&](Ref ref) { watches(ref); });
  }

  void reasons() const {
    for (int i = 0; i < trail.size(); i++) {
      const Ref ref = trail.reason(trail[i].var());
      if (ref == no_ref) {
        const int level = trail.level(trail[i].var());
        demand(level == 0 || trail.start(level) == i, text(trail[i]), " has no reason");
        continue;
      }
      demand(entries_of.count(ref) != 0, text(trail[i]), " has a reason that is gone");
      bool contains = false;
      Int128 most = -degreeOf(at(ref));
      forEachTerm(at(ref), [&](Int128 a, Lit l) {
        contains |= l == trail[i];
        if (l != trail[i] && !falseBefore(l, i)) most += a;
      });
      demand(contains && most < 0, describe(ref), ": is no reason for ", text(trail[i]));
    }
  }

  void orders() const {
    const auto at_var = [](const auto& table, Var v) { return table[static_cast<std::size_t>(v)]; };
    const auto& heap = decider.heap;
    for (std::size_t i = 0; i < heap.size(); i++) {
      demand(at_var(decider.place, heap[i]) == static_cast<std::int32_t>(i), "x", heap[i],
             " has a wrong place in the heap");
      demand(i == 0 || !decider.before(heap[i], heap[(i - 1) / 2]), "the heap is in disorder");
    }
    std::size_t linked = 0;
    Var previous = -1;
    bool behind = false;
    for (Var v = decider.first; v >= 0; v = at_var(decider.links, v).next) {
      demand(++linked <= decider.links.size() && at_var(decider.links, v).previous == previous &&
                 (previous < 0 ||
                  at_var(decider.links, previous).stamp < at_var(decider.links, v).stamp),
             "the queue is broken at x", v);
      demand(trail.isAssigned(v) || !behind, "x", v, " stands behind the queue's hint");
      demand(trail.isAssigned(v) || at_var(decider.place, v) >= 0, "x", v, " is not in the heap");
      behind |= v == decider.hint;
      previous = v;
    }
    demand(linked == decider.links.size() && decider.last == previous, "the queue has lost some");
    demand(decider.bumped.empty(), "bumps of an earlier conflict are left");
  }

  /// Nothing is falsified or unit.
  void fixpoint() const {
    demand(propagation.isComplete(), "propagation has ended too early");
    propagation.forEachConstraint([&](Ref ref) {
      Int128 slack = -degreeOf(at(ref));
      Int128 free = 0;
      forEachTerm(at(ref), [&](Int128 a, Lit l) {
        if (!trail.isFalse(l)) slack += a;
        if (!trail.isAssigned(l.var()) && a > free) free = a;
      });
      demand(slack >= 0, describe(ref), ": is falsified");
      demand(free <= slack, describe(ref), ": has not implied what it can");
    });
  }
};

void SearchAudit::enforce(const Search& search, AuditPoint point) {
  // A look takes time in proportion to all constraints: fewer and fewer in a long search.
  constexpr std::uint64_t all_until = 64;
  const std::uint64_t n = search.count.conflicts;
  if (n > all_until && n % (n / 8) != 0) return;
  Pass pass(search, point);
  pass.assignment();
  pass.collect();
  pass.watches();
  pass.reasons();
  if (point != AuditPoint::conflict) pass.orders();
  if (point == AuditPoint::fixpoint) pass.fixpoint();
}

} // namespace estoc
