/// \file
/// The comparison of rows.
#include "Rows.h"

#include "numbers/Width.h"
#include "proof/Proof.h"

#include <algorithm>
#include <cassert>

namespace estoc {

namespace {
/// Visits of terms and rows: so many, and so often the number of terms.
constexpr std::uint64_t least_budget = 1000000;
constexpr std::uint64_t sizes = 30;
constexpr std::uint64_t most_budget = 60000000;
/// Beyond this rows stay as they are.
constexpr std::size_t most_terms = std::size_t{1} << 22;
constexpr int most_bits = 61; ///< of the sum of a row
/// Of a row that is split: clauses, and their literals for each literal of the row.
constexpr std::size_t most_clauses = 12;
constexpr std::size_t most_growth = 6;

std::uint64_t bitOf(Lit l) {
  return std::uint64_t{1} << (l.index() * 0x9E3779B97F4A7C15U >> 58);
}
} // namespace

/// Puts rows in which literals are fixed into normal form again.
bool Rows::renew() {
  Propagation& constraints = search.constraints();
  const Trail& trail = constraints.assignment();
  if (trail.size() == 0) return true;
  std::vector<Ref> stale;
  for (const Ref ref : constraints.problemConstraints()) {
    Header& c = constraints.at(ref);
    bool has_fixed = false;
    forEachLiteral(c, [&](Lit l) { has_fixed |= trail.isAssigned(l.var()); });
    if (has_fixed && c.removed == 0) stale.push_back(ref);
  }
  for (const Ref ref : stale) {
    if (search.isInterrupted()) break;
    count.renewed++;
    if (!search.renewRow(ref)) return false;
  }
  if (!stale.empty()) search.collect();
  return true;
}

/// Whether clauses have taken the place of the row.
bool Rows::split(Ref ref) {
  Header& c = search.constraints().at(ref);
  const Trail& trail = search.constraints().assignment();
  const Int128 degree = degreeOf(c);
  std::vector<Lit> clause; // of those that are enough alone
  std::vector<Lit> others;
  Int128 least = degree; // of their coefficients
  Int128 slack = -degree;
  bool is_open = true;
  forEachTerm(c, [&](Int128 a, Lit l) {
    is_open &= !trail.isAssigned(l.var());
    (a == degree ? clause : others).push_back(l);
    if (a == degree) return;
    slack += a;
    least = std::min(least, a);
  });
  if (!is_open || clause.empty()) return false;
  if (slack < 0) { // they are of no use
    others.clear();
  } else if (others.empty() || others.size() > most_clauses || least <= slack ||
             (clause.size() + 1) * others.size() > most_growth * c.size) {
    return false;
  }
  const ProofId id = c.id;
  std::vector<ProofId> ids;
  const auto add = [&] {
    if (search.proof() != nullptr) ids.push_back(search.proof()->rupClause(clause, id));
    search.constraints().addClause(clause.data(), clause.size(), false, 0,
                                   ids.empty() ? 0 : ids.back());
  };
  if (others.empty()) {
    add();
  } else {
    clause.emplace_back();
    for (const Lit l : others) {
      clause.back() = l;
      add();
    }
  }
  search.dropRow(ref, ids);
  count.split++;
  return true;
}

void Rows::split() {
  const Propagation& constraints = search.constraints();
  const std::vector<Ref> before = constraints.problemConstraints();
  bool any = false;
  for (const Ref ref : before) {
    const Kind kind = constraints.at(ref).kind;
    if (kind == Kind::clause || kind == Kind::cardinality) continue;
    if (search.isInterrupted()) break;
    any |= split(ref);
  }
  if (any) search.collect();
}

/// Copies the rows, which have `size` terms.
void Rows::take(std::size_t size) {
  Propagation& constraints = search.constraints();
  terms.reserve(size);
  lines.reserve(constraints.problemConstraints().size());
  for (const Ref ref : constraints.problemConstraints()) {
    Header& c = constraints.at(ref);
    assert(c.removed == 0);
    Int128 sum = 0; // at least the degree
    forEachTerm(c, [&](Int128 a, Lit) { sum += a; });
    if (bitLength(sum) > most_bits) continue;
    Line line{terms.size(), c.size, ref, static_cast<std::int64_t>(degreeOf(c)), 0, 0, 0, false};
    line.sum = static_cast<std::int64_t>(sum);
    forEachTerm(c, [&](Int128 a, Lit l) {
      terms.push_back({static_cast<std::int64_t>(a), l});
      line.signature |= bitOf(l);
      line.opposite |= bitOf(~l);
    });
    lines.push_back(line);
  }
  starts.assign(2 * static_cast<std::size_t>(search.variables()) + 1, 0);
  for (const auto& t : terms) starts[t.literal.index() + 1]++;
  for (std::size_t i = 1; i < starts.size(); i++) starts[i] += starts[i - 1];
  std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
  users.resize(terms.size());
  for (std::uint32_t i = 0; i < lines.size(); i++)
    for (std::size_t k = lines[i].start; k < lines[i].start + lines[i].size; k++)
      users[next[terms[k].literal.index()]++] = i;
  demands.assign(starts.size() - 1, 0);
  budget = std::min(least_budget + sizes * size, most_budget);
  work = size;
}

/// The row `line` follows from row `by`.
void Rows::drop(std::uint32_t line, std::uint32_t by) {
  lines[line].gone = true;
  search.dropRow(lines[line].ref, {search.constraints().at(lines[by].ref).id});
  count.dropped++;
}

/// `demands` has the coefficients of `small`.
void Rows::compare(std::uint32_t small, std::uint32_t large) {
  const Line& s = lines[small];
  const Line& l = lines[large];
  std::uint32_t found = 0;
  std::int64_t more = 0;   // what s has more of common literals
  std::int64_t less = 0;   // what l has more, of all its literals
  bool is_multiple = true; // s, multiplied to the degree of l, has no more of any literal
  for (std::size_t i = l.start; i < l.start + l.size; i++) {
    const std::int64_t a = demands[terms[i].literal.index()];
    const std::int64_t b = terms[i].coefficient;
    if (a > 0) {
      found++;
      is_multiple = is_multiple && Int128{a} * l.degree <= Int128{b} * s.degree;
    }
    (a > b ? more : less) += a > b ? a - b : b - a;
  }
  work += l.size;
  if (found < s.size) return;
  // cppcheck-suppress knownConditionTrueFalse ; the loop changes it
  if (is_multiple || more <= s.degree - l.degree)
    drop(large, small);
  else if (less <= l.degree - s.degree)
    drop(small, large);
}

void Rows::compareWithLarger(std::uint32_t small) {
  const Line& line = lines[small];
  Lit rarest = terms[line.start].literal;
  for (std::size_t i = line.start; i < line.start + line.size; i++)
    if (uses(terms[i].literal) < uses(rarest)) rarest = terms[i].literal;
  work += line.size + uses(rarest);
  if (uses(rarest) < 2) return;
  bool marked = false;
  for (std::size_t k = starts[rarest.index()]; k < starts[rarest.index() + 1]; k++) {
    const std::uint32_t large = users[k];
    const Line& other = lines[large];
    if (large == small || other.gone || other.size < line.size ||
        (line.signature & ~other.signature) != 0)
      continue;
    if (!marked)
      for (std::size_t i = line.start; i < line.start + line.size; i++)
        demands[terms[i].literal.index()] = terms[i].coefficient;
    marked = true;
    compare(small, large);
    if (line.gone || isOver()) break;
  }
  if (!marked) return;
  for (std::size_t i = line.start; i < line.start + line.size; i++)
    demands[terms[i].literal.index()] = 0;
}

/// `demands` has the literals of the clause `small`. False when there is no solution.
bool Rows::oppose(std::uint32_t small, std::uint32_t large) {
  const Line& l = lines[large];
  std::uint32_t found = 0;
  std::int64_t least = l.degree;
  work += l.size;
  for (std::size_t i = l.start; i < l.start + l.size; i++) {
    if (demands[(~terms[i].literal).index()] == 0) continue;
    found++;
    least = std::min(least, terms[i].coefficient);
  }
  if (found < lines[small].size) return true;
  const std::int64_t slack = l.sum - l.degree - least;
  for (std::size_t i = l.start; i < l.start + l.size; i++) {
    const Lit q = terms[i].literal;
    if (demands[(~q).index()] != 0 || terms[i].coefficient <= slack) continue;
    if (search.isFact(q)) continue;
    count.fixed++;
    if (!search.addFact(q)) return false;
  }
  return true;
}

bool Rows::opposeWithLarger(std::uint32_t small) {
  const Line& line = lines[small];
  Lit rarest = ~terms[line.start].literal;
  for (std::size_t i = line.start; i < line.start + line.size; i++)
    if (uses(~terms[i].literal) < uses(rarest)) rarest = ~terms[i].literal;
  work += line.size + uses(rarest);
  bool marked = false;
  bool fine = true;
  for (std::size_t k = starts[rarest.index()]; k < starts[rarest.index() + 1]; k++) {
    const std::uint32_t large = users[k];
    const Line& other = lines[large];
    if (other.gone || other.size <= line.size || (line.opposite & ~other.signature) != 0) continue;
    if (!marked)
      for (std::size_t i = line.start; i < line.start + line.size; i++)
        demands[terms[i].literal.index()] = terms[i].coefficient;
    marked = true;
    fine = oppose(small, large);
    if (!fine || isOver()) break;
  }
  if (!marked) return fine;
  for (std::size_t i = line.start; i < line.start + line.size; i++)
    demands[terms[i].literal.index()] = 0;
  return fine;
}

bool Rows::compareAll() {
  for (std::uint32_t i = 0; i < lines.size() && !isOver(); i++) {
    if (!lines[i].gone) compareWithLarger(i);
    if (!lines[i].gone && lines[i].degree == 1 && !opposeWithLarger(i)) return false;
  }
  return true;
}

bool Rows::run() {
  const Propagation& constraints = search.constraints();
  const auto sizeOfAll = [&] {
    std::size_t size = 0;
    for (const Ref ref : constraints.problemConstraints()) size += constraints.at(ref).size;
    return size;
  };
  if (sizeOfAll() > most_terms) return true;
  if (!search.propagateFacts() || !renew() || !search.propagateFacts()) return false;
  if (options.row_splitting) split();
  if (!options.row_comparison) return true;
  const std::uint64_t before = count.dropped;
  take(sizeOfAll());
  const bool fine = compareAll();
  lines.clear();
  terms.clear();
  if (count.dropped != before) search.collect();
  return fine && search.propagateFacts();
}

} // namespace estoc
