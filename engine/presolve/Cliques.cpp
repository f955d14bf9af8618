/// \file
/// The extension of at-most-ones.
#include "Cliques.h"

#include "proof/Derivation.h"

#include <algorithm>
#include <cassert>

namespace estoc {

namespace {
constexpr std::uint64_t most_work = 20000000; ///< in visits of terms
/// Beyond this the rows are not copied.
constexpr std::size_t most_terms = std::size_t{1} << 22;
} // namespace

bool Cliques::isOver() const {
  return work >= most_work || search.isInterrupted();
}

/// Copies the at-most-ones. False when there are none, or too many.
bool Cliques::take() {
  Propagation& constraints = search.constraints();
  lines.clear();
  members.clear();
  for (const Ref ref : constraints.problemConstraints()) {
    Header& c = constraints.at(ref);
    assert(c.removed == 0);
    work++;
    const bool is_pair = c.kind == Kind::clause && c.size == 2;
    if (!is_pair && (c.kind != Kind::cardinality || degreeOf(c) + 1 != c.size)) continue;
    const std::size_t start = members.size();
    bool is_open = true;
    forEachLiteral(c, [&](Lit l) {
      members.push_back(~l);
      is_open &= !trail.isAssigned(l.var());
    });
    if (is_open)
      lines.push_back({start, c.size, ref, false});
    else
      members.resize(start);
    if (members.size() > most_terms) return false;
  }
  starts.assign(2 * static_cast<std::size_t>(search.variables()) + 1, 0);
  for (const Lit l : members) starts[l.index() + 1]++;
  for (std::size_t i = 1; i < starts.size(); i++) starts[i] += starts[i - 1];
  std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
  users.resize(members.size());
  for (std::uint32_t i = 0; i < lines.size(); i++)
    for (std::size_t k = lines[i].start; k < lines[i].start + lines[i].size; k++)
      users[next[members[k].index()]++] = i;
  stamps.assign(starts.size() - 1, 0);
  stamp = 0;
  shared.assign(lines.size(), 0);
  work += members.size();
  return !lines.empty();
}

/// `open` loses what l does not exclude.
void Cliques::keepNeighbours(Lit l) {
  stamp++;
  for (std::size_t k = starts[l.index()]; k < starts[l.index() + 1]; k++) {
    const Line& line = lines[users[k]];
    for (std::size_t i = line.start; i < line.start + line.size; i++)
      stamps[members[i].index()] = stamp;
    work += line.size;
  }
  work += open.size();
  stamps[l.index()] = 0;
  std::erase_if(open, [&](Lit other) { return stamps[other.index()] != stamp; });
}

/// `clique` becomes the line and what can be added to it.
void Cliques::grow(const Line& line) {
  const auto begin = members.begin() + static_cast<std::ptrdiff_t>(line.start);
  clique.assign(begin, begin + line.size);
  const auto uses = [&](Lit l) { return starts[l.index() + 1] - starts[l.index()]; };
  const Lit rarest = *std::min_element(clique.begin(), clique.end(),
                                       [&](Lit a, Lit b) { return uses(a) < uses(b); });
  work += clique.size();
  open.clear();
  if (uses(rarest) < 2) return;
  stamp++;
  for (const Lit l : clique) stamps[l.index()] = stamp;
  for (std::size_t k = starts[rarest.index()]; k < starts[rarest.index() + 1]; k++) {
    const Line& other = lines[users[k]];
    work += other.size;
    for (std::size_t i = other.start; i < other.start + other.size; i++) {
      if (stamps[members[i].index()] == stamp) continue;
      stamps[members[i].index()] = stamp; // each once
      open.push_back(members[i]);
    }
  }
  for (const Lit l : clique) {
    if (open.empty() || isOver()) break;
    if (l != rarest) keepNeighbours(l);
  }
  if (isOver()) open.clear();
  while (!open.empty()) {
    const Lit l = open.back();
    open.pop_back();
    clique.push_back(l);
    keepNeighbours(l);
    work += clique.size();
  }
}

/// The clique, as the proof has it: that of k members, k - 1 times, and their edges to the next
/// one, which propagation shows, all divided by k, is that of k + 1.
ProofId Cliques::derive(const Line& line) {
  Proof& proof = *search.proof();
  std::vector<ProofId> edges;
  Derivation derivation(proof);
  derivation.add(search.constraints().at(line.ref).id, 1);
  for (std::size_t k = line.size; k < clique.size(); k++) {
    derivation.multiply(k - 1);
    for (std::size_t i = 0; i < k; i++) {
      edges.push_back(proof.rupClause({~clique[i], ~clique[k]}));
      derivation.add(edges.back(), 1);
    }
    derivation.divide(k);
  }
  const ProofId id = derivation.finish();
  proof.remove(edges);
  return id;
}

/// The clique takes the place of all lines that are part of it.
void Cliques::put(const Line& line) {
  Row row;
  for (const Lit l : clique) row.terms.push_back({1, ~l});
  row.degree = static_cast<Int128>(clique.size()) - 1;
  const ProofId id = search.proof() != nullptr ? derive(line) : 0;
  search.addRow(std::move(row), false, id); // in normal form already, so it keeps its number
  extended_count++;
  std::vector<std::uint32_t> touched;
  for (const Lit l : clique) {
    for (std::size_t k = starts[l.index()]; k < starts[l.index() + 1]; k++) {
      if (shared[users[k]]++ == 0) touched.push_back(users[k]);
      work++;
    }
  }
  for (const std::uint32_t i : touched) {
    Line& part = lines[i];
    if (shared[i] == part.size && !part.gone) {
      part.gone = true;
      search.dropRow(part.ref, {id});
      dropped_count++;
    }
    shared[i] = 0;
  }
}

bool Cliques::run() {
  if (!search.propagateFacts()) return false;
  const std::uint64_t before = extended_count;
  if (take()) {
    for (std::size_t i = 0; i < lines.size() && !isOver(); i++) {
      if (lines[i].gone) continue;
      grow(lines[i]);
      if (clique.size() > lines[i].size) put(lines[i]);
    }
  }
  lines = {};
  members = {};
  users = {};
  if (extended_count != before) search.collect();
  return search.propagateFacts();
}

} // namespace estoc
