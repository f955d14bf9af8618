/// \file
/// The comparison of columns.
#include "Columns.h"

#include "proof/Proof.h"

#include <algorithm>
#include <cassert>

namespace estoc {

namespace {
constexpr int most_rounds = 10;
/// Visits of occurrences: so many, and so often the size of the problem.
constexpr std::uint64_t least_budget = 1000000;
constexpr std::uint64_t sizes = 30;
constexpr std::uint64_t most_budget = 60000000;
/// Beyond this the rows are not copied.
constexpr std::size_t most_terms = std::size_t{1} << 22;
} // namespace

Columns::Columns(Search& s, const std::vector<WideTerm>& cost, Var n)
    : search(s), cost_terms(cost), variables(n) {}

/// Copies the rows as they are at level 0. False when they are too many or their numbers too large.
bool Columns::take() {
  Propagation& constraints = search.constraints();
  const Trail& trail = constraints.assignment();
  std::size_t terms = 0;
  for (const Ref ref : constraints.problemConstraints()) terms += constraints.at(ref).size;
  if (terms > most_terms) return false;
  problem = std::make_unique<FlatProblem>(variables);
  for (const Ref ref : constraints.problemConstraints()) {
    Header& c = constraints.at(ref);
    if (c.removed != 0) continue;
    if (search.isInterrupted()) return false;
    Int128 degree = degreeOf(c);
    forEachTerm(c, [&](Int128 a, Lit l) {
      if (trail.isTrue(l)) degree -= a;
      if (!trail.isAssigned(l.var())) problem->addTerm(a, l);
    });
    if (degree > 0)
      problem->endRow(degree);
    else
      problem->dropRow();
  }
  problem->setCost(cost_terms);
  problem->finish();
  if (!problem->isExact()) return false;
  degrees.resize(problem->rows());
  sums.assign(problem->rows(), 0);
  gains.assign(problem->rows(), 0);
  for (std::size_t row = 0; row < problem->rows(); row++) {
    degrees[row] = problem->degree(row);
    for (std::size_t i = problem->firstTerm(row); i < problem->endTerm(row); i++)
      sums[row] += problem->coefficient(i);
  }
  visits += 2 * terms;
  return true;
}

/// What the row of o gains when l becomes true, negative if ~l occurs: as far as it has use for it.
std::int64_t Columns::gainIn(const Occurrence& o, Lit l) const {
  const std::int64_t most = std::max(degrees[o.row], std::int64_t{0});
  const std::int64_t gain = l.negated() ? -o.gain : o.gain;
  return std::clamp(gain, -most, most);
}

std::int64_t Columns::costOf(Lit l) const {
  const std::int64_t gain = problem->costGain(l.var());
  return l.negated() ? -gain : gain;
}

/// Whether p can be false with q true instead. `gains` is that of p, greater than 0 in `wanting`
/// rows and less in `losing`.
Columns::Exchange Columns::compare(Lit q, Lit p, std::size_t wanting, std::size_t losing) {
  if (q.var() == p.var() || !isOpen(q) || costOf(q) > costOf(p)) return Exchange::none;
  std::size_t served = 0;
  std::size_t same = 0;
  bool alone = true;      // q satisfies these rows whatever the others are
  bool exclusive = false; // p and q are never both true
  for (const Occurrence* o = problem->occurrences(q.var()); o != problem->occurrencesEnd(q.var());
       o++) {
    visits++;
    const std::int64_t gain = gainIn(*o, q);
    const std::int64_t lost = gains[o->row];
    if (lost > gain) return Exchange::none;
    if (gain == 0) continue;
    same += lost == gain ? 1 : wanting + losing + 1;
    if (lost > 0) {
      served++;
      alone &= gain >= degrees[o->row];
    } else if (gain < 0) { // both negations occur here
      exclusive |= sums[o->row] + lost + gain < degrees[o->row];
      alone &= sums[o->row] + lost == degrees[o->row]; // for the proof
    }
  }
  if (served != wanting) return Exchange::none;
  if (alone) return Exchange::replace;
  return exclusive && same == wanting + losing ? Exchange::swap : Exchange::none;
}

/// Makes p false if that is no loss, with another literal instead if need be.
void Columns::tryToFix(Lit p) {
  if (costOf(p) < 0) return;
  const Occurrence* const begin = problem->occurrences(p.var());
  const Occurrence* const end = problem->occurrencesEnd(p.var());
  std::size_t wanting = 0;
  std::size_t losing = 0;
  std::uint32_t shortest = 0;
  std::size_t length = ~std::size_t{0};
  for (const Occurrence* o = begin; o != end; o++) {
    gains[o->row] = gainIn(*o, p);
    losing += gains[o->row] < 0 ? 1 : 0;
    if (gains[o->row] <= 0) continue;
    wanting++;
    const std::size_t size = problem->endTerm(o->row) - problem->firstTerm(o->row);
    if (size < length) {
      length = size;
      shortest = o->row;
    }
  }
  visits += static_cast<std::uint64_t>(end - begin);
  Lit other;
  auto exchange = wanting == 0 ? Exchange::replace : Exchange::none;
  if (wanting > 0) {
    const std::size_t last = problem->endTerm(shortest);
    for (std::size_t i = problem->firstTerm(shortest); i < last; i++) {
      other = problem->literal(i);
      visits += 2;
      exchange = compare(other, p, wanting, losing);
      if (exchange != Exchange::none) break;
    }
  }
  for (const Occurrence* o = begin; o != end; o++) gains[o->row] = 0;
  if (exchange != Exchange::none) makeFalse(p, other, exchange == Exchange::swap);
}

void Columns::makeFalse(Lit p, Lit other, bool swap) {
  for (const Occurrence* o = problem->occurrences(p.var()); o != problem->occurrencesEnd(p.var());
       o++) {
    const std::int64_t gain = p.negated() ? -o->gain : o->gain;
    sums[o->row] -= gain < 0 ? -gain : gain;
    if (gain < 0) degrees[o->row] += gain;
  }
  std::vector<Substitution> witness;
  if (swap)
    witness = {{p, other}, {other, p}};
  else
    witness = {{p, Lit()}};
  if (!swap && !other.isNone()) witness.push_back({~other, Lit()});
  search.addRedundantFact(~p, witness);
  fixed_count++;
}

std::uint64_t Columns::pass() {
  const std::uint64_t before = fixed_count;
  const std::uint64_t size = problem->terms() + static_cast<std::uint64_t>(variables);
  const std::uint64_t end = visits + std::min(least_budget + sizes * size, most_budget);
  for (Var v = 0; v < variables && visits < end && !search.isInterrupted(); v++)
    for (const bool negated : {false, true})
      if (isOpen(Lit::of(v))) tryToFix(Lit::of(v, negated));
  return fixed_count - before;
}

bool Columns::run() {
  for (int round = 0; round < most_rounds; round++) {
    if (!search.propagateFacts()) return false;
    if (!take() || pass() == 0) break;
  }
  problem.reset();
  return search.propagateFacts();
}

} // namespace estoc
