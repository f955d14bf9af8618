/// \file
/// Propagation and its bookkeeping.
#include "Propagator.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace checker {

namespace {

constexpr std::int64_t largest_counted = std::int64_t{1} << 62U;

/// Whether the sum of the coefficients and the degree, which is positive, are small enough to count
/// in 64 bits.
bool isNarrow(const Row& row) {
  const Integer sum = row.largestSum();
  return sum < largest_counted && row.degree < largest_counted;
}

bool isClause(const Row& row) {
  return row.terms.size() > 1 &&
         std::all_of(row.terms.begin(), row.terms.end(),
                     [&row](const Term& t) { return t.coefficient >= row.degree; });
}

} // namespace

void Propagator::growFor(const Row& row) {
  std::size_t wanted = values.size();
  for (const Term& t : row.terms) wanted = std::max(wanted, (t.literal.index() | 1) + 1);
  if (wanted == values.size()) return;
  wanted = std::max(wanted, 2 * values.size());
  values.resize(wanted);
  watches.resize(wanted);
  occurrences.resize(wanted);
  wide.resize(wanted);
  units.resize(wanted);
  reasons.resize(wanted / 2);
}

void Propagator::add(Entry& entry) {
  growFor(entry.row);
  if (entry.row.isUnit()) units[entry.row.terms[0].literal.index()]++;
  entry.is_attached = false;
  entry.place = pending.size();
  pending.push_back(&entry);
}

void Propagator::remove(Entry& entry) {
  assert(marks.empty());
  const Row& row = entry.row;
  const bool is_unit = row.isUnit();
  if (is_unit) units[row.terms[0].literal.index()]--;
  stale = stale || conflict;
  if (!entry.is_attached) {
    pending[entry.place] = nullptr;
    if (2 * ++gone > pending.size()) {
      std::erase(pending, nullptr);
      gone = 0;
      for (std::size_t i = 0; i < pending.size(); i++) pending[i]->place = i;
    }
  } else {
    const auto slot = static_cast<Slot>(entry.place);
    Attached& attached = slots[slot];
    attached.kind = Kind::dead;
    attached.entry = nullptr;
    attached.largest = std::numeric_limits<std::int64_t>::min();
    dead++;
    for (const Term& t : row.terms) {
      Slot& reason = reasons[t.literal.variable()];
      if (values[t.literal.index()] == 1 && reason == slot) reason = by_unit;
    }
  }
  for (const Term& t : row.terms)
    if (values[t.literal.index()] == 1 && reasons[t.literal.variable()] == by_unit &&
        units[t.literal.index()] == 0)
      stale = true;
}

/// Forgets all that is implied and begins anew.
void Propagator::rebuild() {
  std::vector<Entry*> rows;
  for (const Attached& a : slots)
    if (a.kind != Kind::dead) rows.push_back(a.entry);
  for (Entry* const e : pending)
    if (e != nullptr) rows.push_back(e);
  slots.clear();
  clauses.clear();
  dead = 0;
  for (auto& list : watches) list.clear();
  for (auto& list : occurrences) list.clear();
  for (auto& list : wide) list.clear();
  for (const Lit l : trail) values[l.index()] = values[(~l).index()] = 0;
  trail.clear();
  processed = 0;
  conflict = false;
  stale = false;
  pending = std::move(rows);
  gone = 0;
  for (std::size_t i = 0; i < pending.size(); i++) {
    pending[i]->is_attached = false;
    pending[i]->place = i;
  }
}

/// Attaches what is pending, until there is a conflict: then there is nothing more to know.
void Propagator::flush() {
  std::size_t next = 0;
  for (; next < pending.size() && !conflict; next++) {
    Entry* const entry = pending[next];
    if (entry == nullptr) continue;
    attach(*entry);
    propagate();
  }
  pending.erase(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(next));
  gone = 0;
  for (std::size_t i = 0; i < pending.size(); i++) {
    if (pending[i] != nullptr)
      pending[i]->place = i;
    else
      gone++;
  }
}

void Propagator::attach(Entry& entry) {
  const auto slot = static_cast<Slot>(slots.size());
  slots.push_back({&entry, Kind::counted});
  entry.is_attached = true;
  entry.place = slot;
  const Row& row = entry.row;
  if (row.isTrivial()) return; // never implies anything
  if (!isNarrow(row)) {
    slots[slot].kind = Kind::wide;
    for (const Term& t : row.terms) wide[t.literal.index()].push_back(slot);
    lookWide(slot);
  } else if (marks.empty() && isClause(row)) {
    attachClause(slot);
  } else {
    attachCounted(slot);
  }
}

void Propagator::attachClause(Slot slot) {
  Attached& attached = slots[slot];
  attached.kind = Kind::clause;
  attached.first = clauses.size();
  for (const Term& t : attached.entry->row.terms) clauses.push_back(t.literal);
  attached.size = static_cast<std::uint32_t>(clauses.size() - attached.first);
  Lit* const literals = &clauses[attached.first];
  // The two watched ones are not false if that can be; others are so as long as the row is here.
  std::stable_partition(literals, literals + attached.size,
                        [this](Lit l) { return values[l.index()] >= 0; });
  watches[literals[0].index()].push_back({literals[1], slot});
  watches[literals[1].index()].push_back({literals[0], slot});
  if (values[literals[0].index()] < 0)
    conflict = true;
  else if (values[literals[1].index()] < 0 && values[literals[0].index()] == 0)
    enqueue(literals[0], slot);
}

void Propagator::attachCounted(Slot slot) {
  Row& row = slots[slot].entry->row;
  const auto larger = [](const Term& a, const Term& b) { return a.coefficient > b.coefficient; };
  if (!std::is_sorted(row.terms.begin(), row.terms.end(), larger))
    std::stable_sort(row.terms.begin(), row.terms.end(), larger);
  std::int64_t slack = -row.degree.value();
  for (const Term& t : row.terms) {
    const std::int64_t coefficient = t.coefficient.value();
    occurrences[t.literal.index()].push_back({coefficient, slot});
    if (values[t.literal.index()] >= 0) slack += coefficient;
  }
  slots[slot].slack = slack;
  slots[slot].largest = row.terms.empty() ? 0 : row.terms[0].coefficient.value();
  if (slack < slots[slot].largest) look(slot);
}

/// Detaches the row that was attached last, in a level.
void Propagator::detachLast() {
  const Attached& attached = slots.back();
  const Row& row = attached.entry->row;
  if (attached.kind == Kind::wide) {
    for (const Term& t : row.terms) wide[t.literal.index()].pop_back();
  } else if (!row.isTrivial()) {
    for (const Term& t : row.terms) occurrences[t.literal.index()].pop_back();
  }
  slots.pop_back();
}

void Propagator::enqueue(Lit literal, Slot reason) {
  values[literal.index()] = 1;
  values[(~literal).index()] = -1;
  reasons[literal.variable()] = reason;
  trail.push_back(literal);
}

void Propagator::propagate() {
  while (processed < trail.size() && !conflict) {
    const Lit falsified = ~trail[processed++];
    // All slacks first, so that they can be given back for whole literals.
    for (const Occurrence& o : occurrences[falsified.index()]) {
      Attached& row = slots[o.slot];
      row.slack -= o.coefficient;
      if (row.slack < row.largest) look(o.slot);
    }
    for (const Slot slot : wide[falsified.index()])
      if (slots[slot].kind == Kind::wide) lookWide(slot);
    if (!conflict) propagateClauses(falsified);
  }
}

void Propagator::propagateClauses(Lit falsified) {
  std::vector<Watch>& list = watches[falsified.index()];
  std::size_t kept = 0;
  for (std::size_t i = 0; i < list.size(); i++) {
    const Watch watch = list[i];
    list[kept++] = watch;
    if (conflict || values[watch.blocker.index()] > 0) continue;
    const Attached& attached = slots[watch.slot];
    if (attached.kind == Kind::dead) {
      kept--;
      continue;
    }
    Lit* const literals = &clauses[attached.first];
    if (literals[0] == falsified) std::swap(literals[0], literals[1]);
    const Lit other = literals[0];
    list[kept - 1].blocker = other;
    if (values[other.index()] > 0) continue;
    Lit* const end = literals + attached.size;
    Lit* const free =
        std::find_if(literals + 2, end, [this](Lit l) { return values[l.index()] >= 0; });
    if (free != end) {
      std::swap(literals[1], *free);
      watches[literals[1].index()].push_back({other, watch.slot});
      kept--;
    } else if (values[other.index()] < 0) {
      conflict = true;
    } else {
      enqueue(other, watch.slot);
    }
  }
  list.resize(kept);
}

/// What a counted row implies.
void Propagator::look(Slot slot) {
  const Attached& attached = slots[slot];
  if (attached.kind == Kind::dead || conflict) return;
  if (attached.slack < 0) {
    conflict = true;
    return;
  }
  for (const Term& t : attached.entry->row.terms) {
    if (t.coefficient.value() <= attached.slack) break;
    if (values[t.literal.index()] == 0) enqueue(t.literal, slot);
  }
}

void Propagator::lookWide(Slot slot) {
  if (conflict) return;
  const Row& row = slots[slot].entry->row;
  Integer slack = -row.degree;
  for (const Term& t : row.terms)
    if (values[t.literal.index()] >= 0) slack += t.coefficient;
  if (slack.sign() < 0) {
    conflict = true;
    return;
  }
  for (const Term& t : row.terms)
    if (values[t.literal.index()] == 0 && t.coefficient > slack) enqueue(t.literal, slot);
}

bool Propagator::conflicts() {
  if (marks.empty() && (stale || 2 * dead > slots.size() + 1000)) rebuild();
  propagate();
  flush();
  return conflict;
}

void Propagator::open() {
  conflicts();
  marks.push_back({trail.size(), slots.size(), pending.size(), conflict});
}

void Propagator::close() {
  const Mark mark = marks.back();
  marks.pop_back();
  while (trail.size() > mark.trail) {
    const Lit literal = trail.back();
    trail.pop_back();
    values[literal.index()] = values[(~literal).index()] = 0;
    if (trail.size() < processed)
      for (const Occurrence& o : occurrences[(~literal).index()])
        slots[o.slot].slack += o.coefficient;
  }
  processed = std::min(processed, trail.size());
  while (slots.size() > mark.slots) {
    if (slots.back().entry->row.isUnit()) units[slots.back().entry->row.terms[0].literal.index()]--;
    detachLast();
  }
  // What was there before is there still: with a conflict nothing is attached, without one all was.
  for (; pending.size() > mark.pending; pending.pop_back())
    if (const Row& row = pending.back()->row; row.isUnit()) units[row.terms[0].literal.index()]--;
  conflict = mark.conflict;
}

bool Propagator::satisfies(const Row& row) const {
  Integer missing = row.degree;
  for (const Term& t : row.terms)
    if (value(t.literal) > 0) missing -= t.coefficient;
  return missing.sign() <= 0;
}

void Propagator::assume(Lit literal) {
  if (conflicts() || value(literal) > 0) return;
  if ((literal.index() | 1) >= values.size()) {
    Row grown;
    grown.terms.push_back({1, literal});
    growFor(grown);
  }
  if (values[literal.index()] < 0)
    conflict = true;
  else
    enqueue(literal, by_nobody);
}

} // namespace checker
