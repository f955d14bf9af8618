/// \file
/// Conflict analysis while only clauses take part: resolution up to the first literal of the
/// level that alone leads to the conflict, and minimisation of what is learnt.
#include "Analyzer.h"

namespace estoc {

/// Literal l of a clause in the resolution is falsified: takes it in.
void Analyzer::see(Lit l, int& open) {
  const Var v = l.var();
  assert(trail.isFalse(l));
  if (seen[static_cast<std::size_t>(v)] != 0) return;
  if (trail.level(v) == 0) {
    if (derivation != nullptr) noteRootFalse(l);
    return;
  }
  seen[static_cast<std::size_t>(v)] = 1;
  to_clear.push_back(v);
  decider.bump(v);
  if (trail.level(v) == level)
    open++;
  else
    lower.push_back(l);
}

/// As far as clauses go. When a row is to be resolved with, what has been derived becomes an
/// expression; for clauses both ways of computing come to the same.
Analyzer::ClauseResult Analyzer::resolveClauses(Ref conflict, Learnt& out) {
  level = 0;
  const auto visit = [&](Ref ref, auto&& f) {
    auto& c = static_cast<Clause&>(propagation.at(ref));
    noteUse(c);
    steps += c.size;
    for (std::uint32_t i = 0; i < c.size; i++) f(c.literals()[i]);
  };
  visit(conflict, [&](Lit l) { level = std::max(level, trail.level(l.var())); });
  if (level == 0) return ClauseResult::contradiction;
  at = trail.start(level + 1);
  lower.clear();
  int open = 0;
  if (derivation != nullptr) writeResolution(conflict);
  visit(conflict, [&](Lit l) { see(l, open); });

  ClauseResult result = ClauseResult::learnt;
  int next = at;
  for (;;) {
    do next--;
    while (seen[static_cast<std::size_t>(trail[next].var())] == 0);
    if (open == 1) break;
    const Lit implied = trail[next];
    const Ref reason = trail.reason(implied.var());
    if (propagation.at(reason).kind != Kind::clause) {
      result = ClauseResult::row;
      break;
    }
    open--;
    if (derivation != nullptr) writeResolution(reason);
    visit(reason, [&](Lit l) {
      if (l != implied) see(l, open);
    });
  }
  if (result == ClauseResult::row) {
    at = next + 1;
    if (derivation != nullptr) dropRootFalse();
    withWidth(width, [&](auto& e) {
      e.clear();
      e.addDegree(1);
      for (const Lit l : lower) e.addTerm(l, 1);
      for (int i = trail.start(level); i <= next; i++)
        if (seen[static_cast<std::size_t>(trail[i].var())] != 0) e.addTerm(~trail[i], 1);
    });
  } else {
    if (derivation != nullptr) before_minimising = lower;
    if (minimising) minimise(lower);
    if (derivation != nullptr) {
      writeMinimisation();
      dropRootFalse();
      out.id = derivation->finish();
    }
    out.is_clause = true;
    out.clause.assign(1, ~trail[next]);
    out.clause.insert(out.clause.end(), lower.begin(), lower.end());
    out.glue = countLevels(out.clause);
    out.level = 0;
    for (const Lit l : lower) out.level = std::max(out.level, trail.level(l.var()));
  }
  for (const Var v : to_clear) seen[static_cast<std::size_t>(v)] = 0;
  to_clear.clear();
  return result;
}

/// Takes literals out that the others imply by clauses. Source: Sörensson and Biere, Minimizing
/// learned clauses (2009).
void Analyzer::minimise(std::vector<Lit>& clause) {
  std::uint32_t levels = 0;
  for (const Lit l : clause) levels |= levelBit(trail.level(l.var()));
  std::size_t kept = 0;
  for (const Lit l : clause)
    if (!isRedundant(l, levels)) clause[kept++] = l;
  clause.resize(kept);
  for (const Lit l : redundancy_known) redundancy[static_cast<std::size_t>(l.var())] = 0;
  redundancy_known.clear();
}

/// Whether falsified literal l is implied by what is seen: all that its reason depends on is.
/// `levels` has a bit for each level among the literals of the clause. Without recursion, since
/// chains of reasons can be long.
bool Analyzer::isRedundant(Lit l, std::uint32_t levels) {
  const auto known = [&](Lit q) -> signed char& {
    return redundancy[static_cast<std::size_t>(q.var())];
  };
  std::vector<Frame>& stack = minimise_stack;
  stack.clear();
  // Whether q can be looked into: opens its reason. Sets `redundancy` at once when not.
  const auto open = [&](Lit q) {
    const Ref reason = trail.reason(q.var());
    if (reason == no_ref || propagation.at(reason).kind != Kind::clause ||
        (levels & levelBit(trail.level(q.var()))) == 0)
      return false;
    const auto& c = static_cast<const Clause&>(propagation.at(reason));
    stack.push_back({c.literals(), c.literals() + c.size, q});
    return true;
  };
  if (!open(l)) return false;
  while (!stack.empty()) {
    Frame& frame = stack.back();
    if (frame.next == frame.end) {
      const Lit self = frame.self;
      stack.pop_back();
      if (known(self) == 0) redundancy_known.push_back(self);
      known(self) = 1;
      continue;
    }
    const Lit q = *frame.next++;
    steps++;
    if (q.var() == frame.self.var() || trail.level(q.var()) == 0 || known(q) > 0 ||
        seen[static_cast<std::size_t>(q.var())] != 0) // in the clause: below `level` all seen are
      continue;
    if (known(q) < 0 || !open(q)) {
      for (const Frame& f : stack) {
        if (known(f.self) == 0) redundancy_known.push_back(f.self);
        known(f.self) = -1;
      }
      if (known(q) == 0) redundancy_known.push_back(q);
      known(q) = -1;
      return false;
    }
  }
  return true;
}

} // namespace estoc
