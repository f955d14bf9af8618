/// \file
/// Forward subsumption and self-subsuming resolution of clauses.
#include "Subsumption.h"

#include <algorithm>

namespace estoc {

namespace {
constexpr std::uint32_t longest = 100; ///< clauses beyond this are left alone
constexpr unsigned glue_kept = 6;      ///< learnt clauses beyond this will be gone soon
constexpr std::uint32_t crowd = 1000;  ///< entries of a literal
} // namespace

/// Collects the clauses, short ones first.
void Subsumption::gather() {
  candidates.clear();
  is_fresh.assign(static_cast<std::size_t>(trail.variables()), 0);
  propagation.forEachConstraint([&](Ref ref) {
    const Header& header = propagation.at(ref);
    if (header.removed != 0 || header.kind != Kind::clause || header.size > longest) return;
    if (header.learnt != 0 && header.glue > glue_kept) return;
    candidates.push_back({ref, header.size});
    bench.charge(1);
    if (header.compared != 0) return;
    const auto& c = static_cast<const Clause&>(header);
    for (std::uint32_t i = 0; i < c.size; i++)
      is_fresh[static_cast<std::size_t>(c.literals()[i].var())] = 1;
    bench.charge(c.size);
  });
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const Candidate& a, const Candidate& b) { return a.size < b.size; });
}

/// What the clause of `entry` does to the marked one. `resolved` is the literal of the marked one
/// that can go.
Subsumption::Relation Subsumption::compare(const Entry& entry, Lit found_by, Lit& resolved) {
  resolved = isMarked(found_by) ? Lit() : ~found_by;
  const auto fits = [&](Lit l) {
    if (isMarked(l)) return true;
    if (!isMarked(~l) || !resolved.isNone()) return false;
    resolved = ~l;
    return true;
  };
  if (entry.size == 2) {
    if (!fits(entry.other) || propagation.at(entry.ref).removed != 0) return Relation::none;
  } else {
    const auto& c = static_cast<const Clause&>(propagation.at(entry.ref));
    if (c.removed != 0) return Relation::none;
    for (std::uint32_t i = 0; i < c.size; i++) {
      bench.charge(1);
      if (c.literals()[i] != found_by && !fits(c.literals()[i])) return Relation::none;
    }
  }
  return resolved.isNone() ? Relation::subsumes : Relation::strengthens;
}

/// Compares a clause with those before it.
bool Subsumption::process(const Candidate& candidate) {
  const auto& clause = static_cast<const Clause&>(propagation.at(candidate.ref));
  marked.clear();
  bool satisfied = false;
  std::uint32_t fresh = 0;
  for (std::uint32_t i = 0; i < clause.size; i++) {
    const Lit l = clause.literals()[i];
    satisfied |= trail.isTrue(l);
    if (trail.isAssigned(l.var())) continue;
    fresh += is_fresh[static_cast<std::size_t>(l.var())];
    marked.push_back(l);
  }
  bench.charge(clause.size);
  if (satisfied) {
    bench.remove(candidate.ref);
    return true;
  }
  if (fresh < 2 && marked.size() == clause.size) return true;
  for (const Lit l : marked) marks[static_cast<std::size_t>(l.var())] = l.negated() ? -1 : 1;
  Relation relation = Relation::none;
  Lit resolved;
  Ref by = no_ref;
  for (std::size_t i = 0; i < marked.size() && relation == Relation::none; i++) {
    for (const Lit l : {marked[i], ~marked[i]}) {
      for (const Entry& entry : entries[l.index()]) {
        bench.charge(1);
        relation = compare(entry, l, resolved);
        if (relation == Relation::none) continue;
        by = entry.ref;
        break;
      }
      if (relation != Relation::none) break;
    }
  }
  for (const Lit l : marked) marks[static_cast<std::size_t>(l.var())] = 0;

  if (relation == Relation::subsumes) {
    bench.count.subsumed++;
    if (clause.learnt == 0 && propagation.at(by).learnt != 0) {
      // What a learnt clause stands in for must not be forgotten.
      const auto& c = static_cast<const Clause&>(propagation.at(by));
      const std::vector<Lit> literals(c.literals(), c.literals() + c.size);
      bench.add(literals, false, 0);
      bench.remove(by);
    }
    bench.remove(candidate.ref);
    return true;
  }
  if (relation == Relation::strengthens) {
    bench.count.strengthened++;
    marked.erase(std::find(marked.begin(), marked.end(), resolved));
  }
  return marked.size() == clause.size || bench.replace(candidate.ref, marked);
}

/// Makes the clause known to longer ones, by its rarest literal.
void Subsumption::enter(const Candidate& candidate) {
  const auto& c = static_cast<const Clause&>(propagation.at(candidate.ref));
  if (c.removed != 0) return;
  std::uint32_t rarest = 0;
  for (std::uint32_t i = 1; i < c.size; i++)
    if (entries[c.literals()[i].index()].size() < entries[c.literals()[rarest].index()].size())
      rarest = i;
  CompactList<Entry>& list = entries[c.literals()[rarest].index()];
  if (list.size() < crowd) list.push({candidate.ref, c.literals()[rarest == 0 ? 1 : 0], c.size});
}

bool Subsumption::run() {
  gather();
  entries.resize(2 * static_cast<std::size_t>(trail.variables()));
  marks.resize(static_cast<std::size_t>(trail.variables()));
  bool complete = true;
  for (const Candidate& candidate : candidates) {
    if (bench.isOver()) {
      complete = false;
      break;
    }
    if (!process(candidate)) return false;
    enter(candidate);
  }
  for (auto& list : entries) list = {};
  if (complete)
    for (const Candidate& candidate : candidates) propagation.at(candidate.ref).compared = 1;
  return true;
}

} // namespace estoc
