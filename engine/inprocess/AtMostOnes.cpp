/// \file
/// Detection of at-most-ones among clauses of two literals.
#include "AtMostOnes.h"

#include "proof/Derivation.h"

#include <algorithm>

namespace estoc {

/// Builds the graph.
void AtMostOnes::gather() {
  edges.assign(2 * static_cast<std::size_t>(trail.variables()), {});
  count = 0;
  propagation.forEachConstraint([&](Ref ref) {
    const Header& header = propagation.at(ref);
    bench.charge(1);
    if (header.removed != 0 || header.kind != Kind::clause || header.size != 2) return;
    const Lit* const l = static_cast<const Clause&>(header).literals();
    if (trail.isAssigned(l[0].var()) || trail.isAssigned(l[1].var())) return;
    edges[(~l[0]).index()].push_back({~l[1], ref});
    edges[(~l[1]).index()].push_back({~l[0], ref});
    count++;
  });
}

/// Grows a clique from `first` over edges that are in no clique yet.
void AtMostOnes::grow(Lit first) {
  clique.assign(1, first);
  std::vector<Lit> open;
  for (const Edge& e : edges[first.index()])
    if (propagation.at(e.ref).removed == 0) open.push_back(e.other);
  std::sort(open.begin(), open.end(), [&](Lit a, Lit b) {
    const std::size_t x = edges[a.index()].size();
    const std::size_t y = edges[b.index()].size();
    return x != y ? x > y : a < b;
  });
  open.erase(std::unique(open.begin(), open.end()), open.end());
  std::vector<Lit> touched;
  for (const Lit l : open) {
    if (common[l.index()] + 1 != clique.size()) continue;
    clique.push_back(l);
    for (const Edge& e : edges[l.index()]) {
      bench.charge(1);
      if (propagation.at(e.ref).removed != 0) continue;
      // Once for each member, though an edge may be there twice.
      if (common[e.other.index()] + 2 != clique.size()) continue;
      if (common[e.other.index()]++ == 0) touched.push_back(e.other);
    }
  }
  for (const Lit l : touched) common[l.index()] = 0;
}

/// The clique, as the proof has it: that of the first k members, k - 1 times, and their edges to
/// the next one, all divided by k, is that of the first k + 1.
ProofId AtMostOnes::derive() {
  Derivation derivation(*bench.proof);
  for (std::size_t k = 1; k < clique.size(); k++) {
    if (k > 1) derivation.multiply(k - 1);
    for (std::size_t i = 0; i < k; i++) common[clique[i].index()] = 1;
    for (const Edge& e : edges[clique[k].index()]) {
      if (common[e.other.index()] == 0 || propagation.at(e.ref).removed != 0) continue;
      common[e.other.index()] = 0; // once, though an edge may be there twice
      derivation.add(propagation.at(e.ref).id, 1);
    }
    if (k > 1) derivation.divide(k);
  }
  return derivation.finish();
}

/// The clique takes the place of its edges.
void AtMostOnes::put() {
  Row row;
  for (const Lit l : clique) row.terms.push_back({1, ~l});
  row.degree = static_cast<Int128>(clique.size()) - 1;
  propagation.add(row, false, 0, bench.proof != nullptr ? derive() : 0);
  bench.count.at_most_ones++;
  for (const Lit l : clique) common[l.index()] = 1;
  for (const Lit l : clique) {
    for (const Edge& e : edges[l.index()]) {
      if (common[e.other.index()] == 0 || propagation.at(e.ref).removed != 0) continue;
      bench.remove(e.ref);
      count--;
    }
  }
  for (const Lit l : clique) common[l.index()] = 0;
}

void AtMostOnes::run() {
  gather();
  if (count == left) return;
  const std::size_t literals = edges.size();
  common.assign(literals, 0);
  std::vector<Lit> order;
  for (std::size_t i = 0; i < literals; i++)
    if (edges[i].size() + 1 >= smallest)
      order.push_back(Lit::fromIndex(static_cast<std::uint32_t>(i)));
  std::stable_sort(order.begin(), order.end(),
                   [&](Lit a, Lit b) { return edges[a.index()].size() < edges[b.index()].size(); });
  for (const Lit l : order) {
    for (;;) {
      if (bench.isOver()) return;
      grow(l);
      if (clique.size() < smallest) break;
      put();
    }
  }
  left = count;
}

} // namespace estoc
