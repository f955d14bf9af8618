/// \file
/// From the answers of the relaxation to rows that hold.
#include "Relaxer.h"

#include "LazyRows.h"

#include <algorithm>
#include <cmath>

namespace estoc {

namespace {
/// The relaxation becomes smaller when one in so many of its columns is settled, and some more.
constexpr int reduction_share = 10;
constexpr int least_reduction = 20;
constexpr std::uint64_t looks_of_call = 1;
/// Pivots of a call: as many as the work allows, within these bounds.
constexpr std::uint64_t least_pivots = 20;
constexpr std::uint64_t most_pivots = 100000;
} // namespace

std::unique_ptr<Relaxer> Relaxer::make(Search& s, Ref without, Var columns,
                                       const Objective* objective) {
  if (LinearProgram::countTerms(s.constraints()) > LinearProgram::most_terms) return nullptr;
  std::unique_ptr<Relaxation> empty = makeRelaxation(columns, s.interruption());
  if (empty == nullptr) return nullptr;
  s.backToRoot();
  if (s.settings().lazy_rows)
    empty = std::make_unique<LazyRows>(std::move(empty),
                                       s.settings().paced(static_cast<std::uint64_t>(columns)));
  return std::make_unique<Relaxer>(
      LinearProgram(std::move(empty), s.constraints(), without, columns, objective, s.proof()), s);
}

Relaxer::Relaxer(LinearProgram program, Search& s) : lp(std::move(program)), search(s) {
  if (search.proof() == nullptr) return;
  derivation = std::make_unique<Derivation>(*search.proof());
  sum.writeTo(derivation.get());
}

std::uint64_t Relaxer::numbers() const {
  return lp.nonzeros() + static_cast<std::size_t>(lp.columns());
}

/// Measured over problems of 3 thousand to 500 thousand numbers: a pivot takes time like the root
/// of their number, since the larger they are the sparser is what it touches.
std::uint64_t Relaxer::workOfPivot() const {
  return 40 * static_cast<std::uint64_t>(std::sqrt(static_cast<double>(lp.relaxation().size()))) +
         1;
}

void Relaxer::charge(std::uint64_t looks, std::uint64_t pivots) {
  steps += looks * numbers() + pivots * workOfPivot();
}

void Relaxer::demandLess(Int128 cost, ProofId id, Lit unless) {
  demand_unless = unless;
  demanded = cost;
  demand_id = id;
  demand_changed = true;
  demand_is_new = true;
  lp.demandLess(cost);
}

/// Once level 0 has settled much more, the relaxation becomes smaller.
void Relaxer::reduce() {
  const Trail& trail = search.constraints().assignment();
  const int known = trail.start(1);
  if (known - settled <= (lp.columns() - settled) / reduction_share + least_reduction) return;
  settled = known;
  lp.reduce(trail);
  has_values = false;
}

bool Relaxer::fitsTrail() {
  if (!has_values) return false;
  const Trail& trail = search.constraints().assignment();
  steps += static_cast<std::uint64_t>(trail.size());
  for (int i = 0; i < trail.size(); i++) {
    const Lit l = trail[i];
    if (l.var() >= lp.columns()) continue;
    const double x = value(l.var());
    if (l.negated() ? x > integral : x < 1 - integral) return false;
  }
  return true;
}

Relaxed Relaxer::ask(std::uint64_t most) {
  const Trail& trail = search.constraints().assignment();
  if (!demand_changed && fitsTrail()) {
    count.skipped++;
    return {Relaxed::Kind::optimum};
  }
  count.calls++;
  reduce();
  demand_changed = false;
  has_values = false;
  lp.followTrail(trail);
  const std::uint64_t before = lp.relaxation().pivots();
  const std::uint64_t affordable = std::clamp(most / workOfPivot(), least_pivots, most_pivots);
  const Relaxation::End end = lp.relaxation().solve(static_cast<int>(affordable));
  charge(looks_of_call, lp.relaxation().pivots() - before);
  switch (end) {
  case Relaxation::End::optimal: {
    const double* const x = lp.relaxation().primal();
    values.assign(x, x + lp.columns());
    optimum = lp.cost();
    has_values = true;
    if (trail.level() > 0 || !hasObjective()) return {Relaxed::Kind::optimum};
    const Relaxed answer = settleRoot();
    return {answer.kind == Relaxed::Kind::hopeless ? answer.kind : Relaxed::Kind::optimum,
            answer.row, answer.id};
  }
  case Relaxation::End::infeasible:
    if (addUp(false) == 0) break;
    return settle(true);
  case Relaxation::End::cutoff:
    if (trail.level() == 0) return settleRoot();
    if (!addDemanded()) break;
    return settle(true);
  case Relaxation::End::limit: {
    Relaxed answer{Relaxed::Kind::unfinished};
    if (hasObjective() && demanded && addDemanded()) answer = settle(false);
    if (answer.kind == Relaxed::Kind::nothing) answer.kind = Relaxed::Kind::unfinished;
    return answer;
  }
  case Relaxation::End::interrupted:
  case Relaxation::End::trouble:
    break;
  }
  return {};
}

/// `sum` becomes the rows combined, with a basis also what is demanded. 0 when that fails, else see
/// `LinearProgram::combine`.
Int128 Relaxer::addUp(bool basis) {
  sum.clear();
  sum.growTo(search.variables());
  if (derivation != nullptr) {
    search.proof()->settle(search.constraints().assignment());
    derivation->clear();
  }
  const Int128 unit = lp.combine(sum, basis, derivation.get());
  steps += sum.variables().size() * 4;
  if (unit == 0) count.failed++;
  return unit;
}

/// Makes `derived` of `sum`, if it says something under the trail. `expected`: it should.
Relaxed Relaxer::settle(bool expected) {
  const Trail& trail = search.constraints().assignment();
  Relaxed result;
  const Standing standing = standingOf(sum, trail, derivation.get());
  if (standing != Standing::falsified && standing != Standing::contradiction && expected)
    count.failed++;
  switch (standing) {
  case Standing::contradiction:
    count.conflicts++;
    if (derivation != nullptr) derivation->finish();
    return {Relaxed::Kind::hopeless};
  case Standing::falsified:
    count.conflicts++;
    shrinkConflict(sum, trail, Analyzer::learnt_bits);
    break;
  case Standing::implying:
    shrinkRow(sum, Analyzer::learnt_bits);
    if (standingOf(sum, trail, derivation.get()) != Standing::implying) return {};
    break;
  case Standing::open:
    return {};
  }
  if (!extractRow(sum, derived)) return {};
  result.kind = Relaxed::Kind::row;
  result.row = &derived;
  if (derivation != nullptr) result.id = derivation->finish();
  return result;
}

/// Sums up the rows and what is demanded.
bool Relaxer::addDemanded() {
  const Int128 unit = addUp(true);
  if (unit != 0) lp.addDemand(sum, unit, *demanded - 1, demand_unless, demand_id, derivation.get());
  return unit != 0;
}

/// `sum` becomes a sum of rows that is kept.
void Relaxer::load(const RowSum& rows) {
  sum.clear();
  sum.growTo(search.variables());
  for (const WideTerm& t : rows.terms) sum.addTerm(t.literal, t.coefficient);
  sum.addDegree(rows.degree);
  steps += rows.terms.size() * 4;
  if (derivation == nullptr || rows.id == 0) return;
  search.proof()->settle(search.constraints().assignment());
  derivation->clear();
  derivation->add(rows.id, 1);
}

Relaxed Relaxer::tightenDemand() {
  if (!demand_is_new || bounding.unit == 0) return {};
  demand_is_new = false;
  load(bounding);
  lp.addDemand(sum, bounding.unit, *demanded - 1, demand_unless, demand_id, derivation.get());
  return settle(false);
}

ProofId Relaxer::lowerId() {
  if (lower_id != 0 || lower == 0) return lower_id;
  load(bounding);
  lp.deriveBound(sum, bounding.unit, search.constraints().assignment(), *search.proof(),
                 *derivation);
  return lower_id = derivation->finish();
}

/// The duals at level 0: a lower bound, and what it costs too much to turn.
Relaxed Relaxer::settleRoot() {
  const Trail& trail = search.constraints().assignment();
  RowSum rows;
  rows.unit = addUp(true);
  if (rows.unit == 0) return {};
  for (const Var v : sum.variables())
    if (sum.occurs(v)) rows.terms.push_back({sum.magnitude(v), sum.literal(v)});
  rows.degree = sum.degree();
  lp.addDemand(sum, rows.unit, -1, Lit(), 0, nullptr);
  // What is missing to a sum that a cost of -1 could reach, in units, is how far it is away.
  Int128 missing = sum.degree();
  for (const Var v : sum.variables())
    if (sum.occurs(v) && !trail.isFalse(sum.literal(v))) missing -= sum.magnitude(v);
  const Int128 proven = missing > 0 ? ceilDiv(missing, rows.unit) - 1 : Int128{0};
  if (proven > lower) {
    lower = proven;
    if (derivation != nullptr) {
      Proof& proof = *search.proof();
      if (derivation->isEmpty()) derivation->add(proof.rup(LearntRow()), 1);
      rows.id = derivation->finish();
      if (bounding.id != 0) proof.remove(bounding.id);
      if (lower_id != 0) proof.remove(lower_id);
      lower_id = 0;
    }
    bounding = std::move(rows);
    demand_is_new = demanded.has_value();
    return tightenDemand();
  }
  if (!demanded) return {};
  load(rows);
  lp.addDemand(sum, rows.unit, *demanded - 1, demand_unless, demand_id, derivation.get());
  return settle(false);
}

std::vector<ProbedColumn> Relaxer::probe(const std::vector<int>& columns, int pivots) {
  const std::uint64_t before = lp.relaxation().pivots();
  std::vector<ProbedColumn> result = lp.relaxation().probe(columns, pivots);
  charge(columns.size(), lp.relaxation().pivots() - before);
  return result;
}

} // namespace estoc
