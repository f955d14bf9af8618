/// \file
/// Branch and bound by the relaxation.
#include "Branching.h"

#include <algorithm>

namespace estoc {

namespace {
constexpr std::uint32_t reliable = 2;  ///< observations that make trying out unnecessary
constexpr std::size_t batch = 9;       ///< candidates tried out before the best one must change
constexpr std::size_t most_tried = 36; ///< candidates tried out at one node
} // namespace

Branching::Branching(Relaxer& r, Search& s)
    : relaxer(r), search(s), trail(s.constraints().assignment()),
      records(static_cast<std::size_t>(r.columns())) {}

void Branching::begin(std::uint64_t work, bool dive) {
  budget = work;
  start = relaxer.totalWork();
  diving = dive;
  forgetRest();
}

void Branching::forget() {
  path.clear();
  forgetRest();
}

void Branching::forgetRest() {
  rest.clear();
  next_rest = 0;
}

std::uint64_t Branching::left() const {
  return budget - std::min(budget, relaxer.totalWork() - start);
}

/// The next decision of the path that is to be made again. False when all of them are made; what
/// is refuted meanwhile is cut off.
bool Branching::resume(Lit& literal) {
  for (std::size_t i = 0; i < path.size(); i++) {
    const Lit l = path[i].literal;
    if (trail.isFalse(l)) {
      path.resize(i);
      return false;
    }
    if (!trail.isTrue(l)) {
      literal = l;
      return true;
    }
  }
  return false;
}

Advice Branching::advise() {
  if (search.counters().conflicts != rest_conflicts) forgetRest();
  while (next_rest < rest.size()) {
    const Lit l = rest[next_rest++];
    if (!trail.isAssigned(l.var())) return {Advice::Kind::decide, l};
  }
  if (left() == 0) return {Advice::Kind::stop};
  const Relaxed dear = relaxer.tightenDemand();
  if (dear.kind == Relaxed::Kind::hopeless) return {Advice::Kind::infeasible};
  if (dear.row != nullptr) return {Advice::Kind::learn, {}, dear.row, dear.id};
  Lit literal;
  if (resume(literal)) return {Advice::Kind::decide, literal};
  const std::uint64_t before = relaxer.pivots();
  const Relaxed answer = relaxer.ask(left());
  node_pivots += relaxer.pivots() - before;
  switch (answer.kind) {
  case Relaxed::Kind::hopeless:
    return {Advice::Kind::infeasible};
  case Relaxed::Kind::row:
    return {Advice::Kind::learn, {}, answer.row, answer.id};
  case Relaxed::Kind::unfinished:
    return {Advice::Kind::stop};
  case Relaxed::Kind::nothing:
    return {};
  case Relaxed::Kind::optimum:
    break;
  }
  if (answer.row != nullptr) return {Advice::Kind::learn, {}, answer.row, answer.id};
  noteCost();
  collect();
  if (candidates.empty()) { // all is clear: what propagation leaves open is decided so
    rest_conflicts = search.counters().conflicts;
    forgetRest();
    for (Var v = 0; v < relaxer.columns(); v++)
      if (!trail.isAssigned(v)) rest.push_back(Lit::of(v, relaxer.value(v) < 0.5));
    if (rest.empty()) return {};
    return {Advice::Kind::decide, rest[next_rest++]};
  }
  const Lit chosen = diving ? chooseForDive() : choose();
  const double x = relaxer.value(chosen.var());
  path.push_back({chosen, relaxer.cost(), chosen.negated() ? x : 1 - x});
  return {Advice::Kind::decide, chosen};
}

// Pseudo-costs ------------------------------------------------------------------------------------

void Branching::note(Var v, bool up, double change) {
  Record& r = records[static_cast<std::size_t>(v)];
  change = std::max(change, 0.0);
  (up ? r.up : r.down) += change;
  (up ? r.ups : r.downs)++;
  (up ? average.up : average.down) += change;
  (up ? average.ups : average.downs)++;
}

/// The relaxation has been solved with the path decided: what its last decision has cost.
void Branching::noteCost() {
  if (path.empty() || path.back().distance == 0) return;
  Decided& last = path.back();
  note(last.literal.var(), !last.literal.negated(), (relaxer.cost() - last.cost) / last.distance);
  last.distance = 0;
}

/// What a distance of 1 is expected to cost.
double Branching::expected(const Record& r, bool up) const {
  if ((up ? r.ups : r.downs) > 0) return up ? r.up / r.ups : r.down / r.downs;
  if ((up ? average.ups : average.downs) > 0)
    return up ? average.up / average.ups : average.down / average.downs;
  return 1;
}

double Branching::score(double down, double up) const {
  return std::max(down, 1e-6) * std::max(up, 1e-6);
}

/// The variables on which the relaxation is undecided, most promising ones first.
void Branching::collect() {
  candidates.clear();
  for (Var v = 0; v < relaxer.columns(); v++) {
    const double x = relaxer.value(v);
    if (!isBroken(x) || trail.isAssigned(v)) continue;
    const Record& r = records[static_cast<std::size_t>(v)];
    candidates.push_back(
        {v, x, score(expected(r, false) * x, expected(r, true) * (1 - x)), false, false});
  }
  std::sort(candidates.begin(), candidates.end(), [](const Candidate& a, const Candidate& b) {
    return a.score != b.score ? a.score > b.score : a.v < b.v;
  });
}

/// Candidates of which little is known are tried out, within a share of all pivots.
void Branching::tryOut() {
  std::size_t tried = 0;
  double best = 0;
  for (std::size_t i = 0; i < candidates.size() && tried < most_tried;) {
    if (probe_pivots > node_pivots / 4 + 1000) return;
    std::vector<int> columns;
    std::vector<std::size_t> which;
    for (; i < candidates.size() && columns.size() < batch; i++) {
      const Record& r = records[static_cast<std::size_t>(candidates[i].v)];
      if (std::min(r.ups, r.downs) >= reliable) {
        best = std::max(best, candidates[i].score);
        continue;
      }
      columns.push_back(candidates[i].v);
      which.push_back(i);
    }
    if (columns.empty()) return;
    const std::uint64_t before = relaxer.pivots();
    const std::vector<ProbedColumn> results = relaxer.probe(columns, 50);
    probe_pivots += relaxer.pivots() - before;
    tried += columns.size();
    bool better = false;
    for (std::size_t k = 0; k < which.size(); k++) {
      Candidate& c = candidates[which[k]];
      const ProbedColumn& p = results[k];
      if (!p.down_infeasible) note(c.v, false, p.down / c.value);
      if (!p.up_infeasible) note(c.v, true, p.up / (1 - c.value));
      c.down_refuted = p.down_infeasible;
      c.up_refuted = p.up_infeasible;
      c.score = score(p.down_infeasible ? 1e20 : p.down, p.up_infeasible ? 1e20 : p.up);
      if (c.score > best) {
        best = c.score;
        better = true;
      }
    }
    if (!better) return;
  }
}

Lit Branching::choose() {
  if (relaxer.hasObjective()) tryOut();
  const Candidate* best = &candidates.front();
  for (const Candidate& c : candidates)
    if (c.score > best->score) best = &c;
  // What is refuted first need not be looked at later.
  if (best->down_refuted != best->up_refuted) return Lit::of(best->v, best->down_refuted);
  return Lit::of(best->v, best->value < 0.5);
}

/// The value nearest to 1: it decides most.
Lit Branching::chooseForDive() {
  const Candidate* best = &candidates.front();
  for (const Candidate& c : candidates)
    if (c.value > best->value) best = &c;
  return Lit::of(best->v);
}

} // namespace estoc
