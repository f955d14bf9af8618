/// \file
/// From constraints to a linear program, and from multipliers back to rows of integers.
#include "LinearProgram.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <unordered_map>

namespace estoc {

namespace {

/// The largest power of two that x > 0 reaches, as its exponent. Exact, without libm.
int exponentOf(double x) {
  return static_cast<int>(std::bit_cast<std::uint64_t>(x) >> 52 & 0x7FF) - 1023;
}
/// 2^e for e within the normal range.
double powerOfTwo(int e) {
  return std::bit_cast<double>(static_cast<std::uint64_t>(e + 1023) << 52);
}

/// Costs in the relaxation have at most this many bits, so that its tolerances mean something.
constexpr int cost_bits = 20;
/// Multipliers are rounded after scaling to at most this many bits.
constexpr int multiplier_bits = 44;
/// Multipliers this much smaller than the largest are noise.
constexpr double noise = 1e-11;

} // namespace

LinearProgram::LinearProgram(std::unique_ptr<Relaxation> r, Propagation& constraints, Ref without,
                             Var columns, const Objective* objective, Proof* proof)
    : lp(std::move(r)), width(columns), costs(objective) {
  fixed.resize(static_cast<std::size_t>(width));
  takeConstraints(constraints, without, proof);
  pairRows();
  if (costs != nullptr) setCosts();
}

std::size_t LinearProgram::countTerms(const Propagation& constraints) {
  std::size_t sum = 0;
  for (const Ref ref : constraints.problemConstraints()) sum += constraints.at(ref).size;
  return sum;
}

void LinearProgram::takeConstraints(Propagation& constraints, Ref without, Proof* proof) {
  constexpr Int128 most = Int128{1} << largest_bits;
  for (const Ref ref : constraints.problemConstraints()) {
    Header& c = constraints.at(ref);
    if (ref == without || c.removed != 0) continue;
    const Int128 degree = degreeOf(c);
    bool fits = degree <= most;
    const std::size_t start = terms.size();
    Int128 largest = 0;
    Int128 sum = degree;
    forEachTerm(c, [&](Int128 a, Lit l) {
      fits = fits && a <= most && l.var() < width;
      if (!fits) return;
      largest = std::max(largest, a);
      sum += a;
      terms.push_back({static_cast<std::int64_t>(a), l});
    });
    if (!fits) {
      terms.resize(start);
      continue;
    }
    std::sort(terms.begin() + static_cast<std::ptrdiff_t>(start), terms.end(),
              [](const auto& a, const auto& b) { return a.literal < b.literal; });
    if (c.kind != Kind::clause) useful = true;
    exact.push_back({start, c.size, static_cast<std::int64_t>(degree),
                     static_cast<std::int64_t>(largest), static_cast<double>(sum), 0});
    if (proof != nullptr) { // the constraint may go some day
      Derivation copy(*proof);
      copy.add(c.id, 1);
      exact.back().id = copy.finish();
    }
  }
}

/// Makes the rows of the relaxation. Over variables, a coefficient is negative for a negated
/// literal; rows are compared with the sign that makes their first coefficient positive.
void LinearProgram::pairRows() {
  const auto isNegative = [&](const Exact& e) { return terms[e.start].literal.negated(); };
  const auto hash = [&](const Exact& e) {
    std::uint64_t h = e.size;
    for (std::size_t i = e.start; i < e.start + e.size; i++) {
      const bool turned = terms[i].literal.negated() != isNegative(e);
      const auto coefficient = static_cast<std::uint64_t>(terms[i].coefficient);
      h = (h ^ static_cast<std::uint64_t>(terms[i].literal.var())) * 0x9E3779B97F4A7C15U;
      h = (h ^ (turned ? ~coefficient : coefficient)) * 0xC2B2AE3D27D4EB4FU;
      h ^= h >> 29;
    }
    return h;
  };
  const auto opposite = [&](const Exact& a, const Exact& b) {
    if (a.size != b.size) return false;
    for (std::size_t i = 0; i < a.size; i++) {
      const auto& x = terms[a.start + i];
      const auto& y = terms[b.start + i];
      if (x.literal != ~y.literal || x.coefficient != y.coefficient) return false;
    }
    return true;
  };
  std::unordered_map<std::uint64_t, std::int32_t> seen; // the relaxation's row with this hash
  RelaxationRows made;
  for (std::size_t i = 0; i < exact.size(); i++) {
    const Exact& e = exact[i];
    const auto [place, is_new] = seen.try_emplace(hash(e), made.count());
    if (!is_new) {
      const auto row = static_cast<std::size_t>(place->second);
      Sides& s = sides[row];
      if (s.upper == none && opposite(exact[static_cast<std::size_t>(s.lower)], e)) {
        s.upper = static_cast<std::int32_t>(i);
        made.upper[row] = -boundOf(e);
        continue;
      }
    }
    append(e, made);
    sides.push_back({static_cast<std::int32_t>(i), none});
  }
  entries = made.columns.size();
  problem_rows = sides.size();
  lp->addRows(made);
}

/// What the sum over variables must be at least.
double LinearProgram::boundOf(const Exact& e) const {
  double bound = static_cast<double>(e.degree);
  for (std::size_t i = e.start; i < e.start + e.size; i++)
    if (terms[i].literal.negated()) bound -= static_cast<double>(terms[i].coefficient);
  return bound;
}

void LinearProgram::append(const Exact& e, RelaxationRows& to) const {
  for (std::size_t k = e.start; k < e.start + e.size; k++) {
    const auto coefficient = static_cast<double>(terms[k].coefficient);
    to.columns.push_back(terms[k].literal.var());
    to.coefficients.push_back(terms[k].literal.negated() ? -coefficient : coefficient);
  }
  to.starts.push_back(static_cast<int>(to.columns.size()));
  to.lower.push_back(boundOf(e));
  to.upper.push_back(std::numeric_limits<double>::infinity());
}

double LinearProgram::slackOf(std::int32_t row, const std::vector<double>& values) const {
  const Exact& e = at(row);
  double slack = -static_cast<double>(e.degree);
  for (std::size_t k = e.start; k < e.start + e.size; k++) {
    const double x = values[static_cast<std::size_t>(terms[k].literal.var())];
    slack += static_cast<double>(terms[k].coefficient) * (terms[k].literal.negated() ? 1 - x : x);
  }
  return slack;
}

/// Adds an exact row `factor` times.
// cppcheck-suppress constParameter ; terms are added to it
void LinearProgram::addExact(Expression<Summed>& e, const Exact& row, Int128 factor,
                             Derivation* derivation) const {
  for (std::size_t k = row.start; k < row.start + row.size; k++)
    e.addTerm(terms[k].literal, factor * terms[k].coefficient);
  e.addDegree(factor * row.degree);
  if (derivation != nullptr) derivation->add(row.id, factor);
}

void LinearProgram::addCut(const std::vector<Term<std::int64_t>>& cut, std::int64_t degree,
                           ProofId id) {
  std::int64_t largest = 0;
  double sum = static_cast<double>(degree);
  for (const auto& t : cut) {
    largest = std::max(largest, t.coefficient);
    sum += static_cast<double>(t.coefficient);
  }
  sides.push_back({static_cast<std::int32_t>(exact.size()), none});
  exact.push_back({terms.size(), cut.size(), degree, largest, sum, id});
  terms.insert(terms.end(), cut.begin(), cut.end());
  entries += cut.size();
  RelaxationRows made;
  append(exact.back(), made);
  lp->addRows(made);
}

void LinearProgram::keepCuts(const std::vector<char>& keep, Proof* proof) {
  std::vector<int> gone;
  std::size_t kept = problem_rows;
  // The cuts' rows and terms lie behind all others, in the order of the relaxation's rows.
  std::size_t next = sides.size() > kept ? static_cast<std::size_t>(sides[kept].lower) : 0;
  std::size_t end = sides.size() > kept ? exact[next].start : 0;
  for (std::size_t i = problem_rows; i < sides.size(); i++) {
    const Exact e = at(sides[i].lower);
    if (keep[i - problem_rows] == 0) {
      gone.push_back(static_cast<int>(i));
      entries -= e.size;
      if (proof != nullptr) proof->remove(e.id);
      continue;
    }
    std::copy_n(terms.begin() + static_cast<std::ptrdiff_t>(e.start), e.size,
                terms.begin() + static_cast<std::ptrdiff_t>(end));
    exact[next] = e;
    exact[next].start = end;
    end += e.size;
    sides[kept++] = {static_cast<std::int32_t>(next++), none};
  }
  if (gone.empty()) return;
  sides.resize(kept);
  exact.resize(next);
  terms.resize(end);
  lp->removeRows(gone);
}

/// Whether level 0 satisfies the exact row; `none` always holds.
bool LinearProgram::isSettled(std::int32_t row, const Trail& trail) const {
  if (row == none) return true;
  Int128 missing = at(row).degree;
  visitTerms(row, [&](std::int64_t c, Lit l) { missing -= trail.isRootTrue(l) ? c : 0; });
  return missing <= 0;
}

void LinearProgram::reduce(const Trail& trail) {
  std::vector<signed char> settled(static_cast<std::size_t>(width));
  for (Var v = 0; v < width; v++)
    if (trail.isRootAssigned(v)) settled[static_cast<std::size_t>(v)] = trail.value(Lit::of(v));
  std::vector<char> keep(sides.size(), 1);
  std::size_t kept = 0;
  entries = 0;
  const std::size_t first_cut = problem_rows;
  for (std::size_t i = 0; i < sides.size(); i++) {
    if (i < first_cut && isSettled(sides[i].lower, trail) && isSettled(sides[i].upper, trail)) {
      keep[i] = 0;
      problem_rows--;
      continue;
    }
    visitTerms(sides[i].lower, [&](std::int64_t, Lit l) {
      entries += settled[static_cast<std::size_t>(l.var())] == 0 ? 1 : 0;
    });
    sides[kept++] = sides[i];
  }
  sides.resize(kept);
  lp->reduce(settled, keep);
}

void LinearProgram::setCosts() {
  Int128 largest = 0;
  for (const WideTerm& t : costs->terms) {
    largest = std::max(largest, t.coefficient);
    all_costs += t.coefficient;
  }
  const int bits = bitLength(largest);
  if (bits > largest_bits) { // then it is a question of feasibility alone
    costs = nullptr;
    return;
  }
  if (bits > cost_bits) cost_unit = powerOfTwo(cost_bits - bits);
  for (const WideTerm& t : costs->terms) {
    const double scaled = static_cast<double>(t.coefficient) * cost_unit;
    lp->setCost(t.literal.var(), t.literal.negated() ? -scaled : scaled);
    if (t.literal.negated()) cost_constant += static_cast<double>(t.coefficient);
  }
}

void LinearProgram::takeGuidingCosts() {
  const Exact* longest = nullptr;
  for (const Exact& e : exact) {
    std::int64_t smallest = e.largest;
    for (std::size_t i = e.start; i < e.start + e.size; i++)
      smallest = std::min(smallest, terms[i].coefficient);
    if (smallest == e.largest) continue;
    if (longest == nullptr || e.size > longest->size) longest = &e;
  }
  if (longest == nullptr || longest->size < static_cast<std::size_t>(width) / 10) return;
  const int bits = bitLength(longest->largest);
  const double unit = bits > cost_bits ? powerOfTwo(cost_bits - bits) : 1;
  for (std::size_t i = longest->start; i < longest->start + longest->size; i++) {
    const double scaled = static_cast<double>(terms[i].coefficient) * unit;
    lp->setCost(terms[i].literal.var(), terms[i].literal.negated() ? scaled : -scaled);
  }
}

void LinearProgram::followTrail(const Trail& trail) {
  for (Var v = 0; v < width; v++) {
    const signed char value = trail.value(Lit::of(v));
    signed char& now = fixed[static_cast<std::size_t>(v)];
    if (value == now) continue;
    now = value;
    lp->setBounds(v, value > 0 ? 1 : 0, value < 0 ? 0 : 1);
  }
}

void LinearProgram::demandLess(Int128 cost) {
  if (costs == nullptr) return;
  // Half a unit more than needed: at the limit itself the duals often prove too little.
  lp->setCutoff((static_cast<double>(cost) - 0.5 - cost_constant) * cost_unit);
}

Int128 LinearProgram::combine(Expression<Summed>& e, bool basis, Derivation* derivation) {
  const std::vector<double>& y = lp->multipliers();
  const double unit = basis ? cost_unit : 1;
  double largest = 0;
  for (const double x : y) largest = std::max(largest, x < 0 ? -x : x);
  largest /= unit;
  const bool usable = basis ? costs != nullptr && largest < 1e15 : largest > 0;
  if (!usable || !(largest < 1e300) || (largest > 0 && largest < 1e-200)) return 0;

  std::size_t used = 1;
  Int128 numbers = 1;
  const double least = largest * noise * unit;
  const auto lower = [&](std::size_t i) { return y[i] > 0; };
  const auto takesPart = [&](std::size_t i) {
    const double size = lower(i) ? y[i] : -y[i];
    return size > least && (lower(i) ? sides[i].lower : sides[i].upper) != none;
  };
  for (std::size_t i = 0; i < y.size(); i++) {
    if (!takesPart(i)) continue;
    used++;
    numbers = std::max(numbers, Int128{exactSide(i, lower(i)).largest});
  }
  if (basis && !costs->terms.empty()) numbers = std::max(numbers, costs->terms.front().coefficient);
  const int room = std::min(multiplier_bits,
                            Summed::safe_bits - 1 - bitLength(numbers) - bitLength(Int128(used)));
  // All multipliers below 2^room. With an objective the scale is its multiplier, at least 1.
  int scale_bits = largest > 0 ? room - 1 - exponentOf(largest) : room;
  if (basis) {
    scale_bits = std::min(scale_bits, room);
    if (scale_bits < 0) return 0;
  }
  const double scale = powerOfTwo(scale_bits) / unit;
  for (std::size_t i = 0; i < y.size(); i++) {
    if (!takesPart(i)) continue;
    const double size = lower(i) ? y[i] : -y[i];
    // It is not negative, so this rounds, whatever the mathematical library says.
    const Int128 factor = static_cast<std::int64_t>(size * scale + 0.5); // NOLINT(*-roundings)
    if (factor != 0) addExact(e, exactSide(i, lower(i)), factor, derivation);
  }
  return basis ? Int128{1} << scale_bits : Int128{1};
}

void LinearProgram::addDemand(Expression<Summed>& e, Int128 times, Int128 most, Lit unless,
                              ProofId id, Derivation* derivation) const {
  for (const WideTerm& t : costs->terms) e.addTerm(~t.literal, times * t.coefficient);
  if (!unless.isNone()) e.addTerm(unless, times * (all_costs - most));
  e.addDegree(times * (all_costs - most));
  if (derivation != nullptr) derivation->add(id, times);
}

void LinearProgram::deriveBound(const Expression<Summed>& e, Int128 unit, const Trail& trail,
                                Proof& proof, Derivation& derivation) const {
  const auto add = [&](Lit l, Int128 amount) {
    if (amount == 0) return;
    if (!trail.isRootTrue(l)) {
      derivation.weaken(~l, amount);
      return;
    }
    derivation.add(proof.unit(l), amount);
  };
  std::vector<char> has_cost(static_cast<std::size_t>(width));
  for (const WideTerm& t : costs->terms) {
    has_cost[static_cast<std::size_t>(t.literal.var())] = 1;
    const Int128 missing =
        unit * t.coefficient - e.coefficient(t.literal) + e.coefficient(~t.literal);
    add(missing > 0 ? t.literal : ~t.literal, missing > 0 ? missing : -missing);
  }
  for (const Var v : e.variables())
    if (e.occurs(v) && has_cost[static_cast<std::size_t>(v)] == 0)
      add(~e.literal(v), e.magnitude(v));
  derivation.divide(unit);
}

} // namespace estoc
