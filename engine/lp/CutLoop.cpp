/// \file
/// Cuts by rounding.
#include "CutLoop.h"

#include "Settle.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace estoc {

namespace {
constexpr double integral = 1e-6;         ///< values this near to 0 or 1 count as that
constexpr int node_limit = 100000;        ///< pivots of a round
constexpr double least_efficacy = 1e-3;   ///< distance by which a cut has to cut
constexpr double most_parallel = 0.9;     ///< cosine of the angle between two cuts of a round
constexpr int most_stalled = 8;           ///< rounds without progress
constexpr double progress = 1e-4;         ///< relative, of the bound
constexpr char oldest = 4;                ///< rounds that a cut may be slack
constexpr std::size_t most_tableau = 80;  ///< rows of the tableau looked at in a round
constexpr std::size_t most_cuts = 100;    ///< of a round
constexpr int coefficient_bits = 22;      ///< of a cut's coefficients
constexpr int scale_bits = 40;            ///< multipliers of tableau rows are rounded to as many
constexpr int sum_bits = 58;              ///< of a sum of rows before it is rounded
} // namespace

CutLoop::CutLoop(Relaxer& r, Search& s, const Options& o)
    : relaxer(r), search(s), options(o), program(r.program()), trail(s.constraints().assignment()) {
  if (search.proof() != nullptr) derivation = std::make_unique<Derivation>(*search.proof());
}

void CutLoop::begin(std::uint64_t work) {
  budget = work;
  start = relaxer.work() + search.work();
  stalled = 0;
  first = true;
}

std::uint64_t CutLoop::spent() const {
  return relaxer.work() + search.work() - start;
}

Advice CutLoop::finish() {
  forgetSlack(1);
  return {Advice::Kind::stop};
}

Advice CutLoop::advise() {
  for (;;) {
    if (trail.level() > 0 || search.isInterrupted() || spent() > budget) return finish();
    const Relaxed answer = relaxer.ask(node_limit);
    if (answer.kind == Relaxed::Kind::hopeless) return {Advice::Kind::infeasible};
    if (answer.row != nullptr) return {Advice::Kind::learn, {}, answer.row, answer.id};
    if (answer.kind != Relaxed::Kind::optimum) return finish();
    const double cost = relaxer.cost();
    const double step = progress * std::max(1.0, std::abs(best_cost));
    stalled = first || cost > best_cost + step ? 0 : stalled + 1;
    if (first || cost > best_cost) best_cost = cost;
    first = false;
    if (stalled > most_stalled) return finish();
    forgetSlack(oldest);
    found.clear();
    fromSingleRows();
    fromTableau();
    count.rounds++;
    if (!select()) return finish();
    relaxer.rowsChanged();
    std::fprintf(stderr,"round %d cost %.6f found %zu rows %zu pivots %llu spent %.1fM\n",int(count.rounds),cost,found.size(),program.rows()-program.firstCut(),(unsigned long long)relaxer.pivots(),double(spent())/1e6);
  }
}

/// Cuts that are slack at the optimum grow older; those of `age` rounds go.
void CutLoop::forgetSlack(int age) {
  ages.resize(program.rows() - program.firstCut());
  std::vector<char> keep(ages.size());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < ages.size(); i++) {
    const auto row = static_cast<int>(program.firstCut() + i);
    ages[i] = program.relaxation().isSlackBasic(row) ? static_cast<char>(ages[i] + 1) : char{0};
    keep[i] = ages[i] < age;
    if (keep[i] != 0) ages[kept++] = ages[i];
  }
  ages.resize(kept);
  program.keepCuts(keep, search.proof());
}

// Rounding ----------------------------------------------------------------------------------------

/// `sum` becomes the sum of the rows, without what is known at level 0.
void CutLoop::makeBase(const std::vector<Share>& shares, Derivation* to) {
  sum.writeTo(nullptr);
  sum.clear();
  sum.growTo(search.variables());
  sum.writeTo(to);
  program.addShares(sum, shares, to);
  standingOf(sum, trail, to);
  if (sum.degree() >= 1) sum.saturate();
}

/// `sum` becomes `row` with smaller coefficients.
void CutLoop::finishRow(const Row& row, Derivation* to) {
  sum.writeTo(nullptr);
  sum.clear();
  for (const WideTerm& t : row.terms) sum.addTerm(t.literal, t.coefficient);
  sum.addDegree(row.degree);
  sum.tighten();
  if (sum.degree() < 1) return;
  sum.writeTo(to);
  sum.saturate();
  Int128 divisor = 0;
  for (const Var v : sum.variables())
    divisor = greatestCommonDivisor(divisor, sum.magnitude(v));
  if (divisor > 1) sum.divide(divisor);
  shrinkRow(sum, coefficient_bits);
}

/// Tries to make a cut of a sum of rows, perhaps with a divisor that suggests itself.
void CutLoop::attempt(const std::vector<Share>& shares, std::int64_t divisor) {
  makeBase(shares, nullptr);
  const std::uint64_t before = rounding.work();
  const bool cuts = rounding.take(sum, relaxer.optimumValues()) && rounding.choose(divisor) &&
                    rounding.efficacy() > least_efficacy;
  relaxer.chargeSteps(rounding.work() - before + 4 * sum.variables().size());
  if (!cuts) return;
  finishRow(rounding.row(), nullptr);
  if (sum.degree() < 1) return;
  Cut cut;
  double missing = static_cast<double>(sum.degree());
  double squares = 0;
  for (const Var v : sum.variables()) {
    if (!sum.occurs(v)) continue;
    const Lit l = sum.literal(v);
    const auto c = static_cast<std::int64_t>(sum.magnitude(v));
    const double x = relaxer.value(v);
    missing -= static_cast<double>(c) * (l.negated() ? 1 - x : x);
    squares += static_cast<double>(c) * static_cast<double>(c);
    cut.terms.push_back({c, l});
  }
  if (cut.terms.empty() || cut.terms.size() > 1000 + static_cast<std::size_t>(program.columns()) / 5)
    return;
  cut.norm = std::sqrt(squares);
  cut.efficacy = missing / cut.norm;
  if (cut.efficacy < least_efficacy) return;
  cut.degree = static_cast<std::int64_t>(sum.degree());
  cut.shares = shares;
  cut.rounding = rounding;
  found.push_back(std::move(cut));
}

ProofId CutLoop::prove(const Cut& cut) {
  Proof& proof = *search.proof();
  proof.settle(trail);
  derivation->clear();
  makeBase(cut.shares, derivation.get());
  const ProofId base = derivation->finish();
  const Row row = cut.rounding.row();
  const ProofId rounded = cut.rounding.prove(proof, row, base);
  proof.remove(base);
  derivation->add(rounded, 1);
  finishRow(row, derivation.get());
  if (derivation->isCopy()) {
    derivation->clear();
    return rounded;
  }
  const ProofId id = derivation->finish();
  proof.remove(rounded);
  return id;
}

/// Adds the best ones of what has been found. False if there is none.
bool CutLoop::select() {
  std::stable_sort(found.begin(), found.end(),
                   [](const Cut& a, const Cut& b) { return a.efficacy > b.efficacy; });
  dense.assign(static_cast<std::size_t>(program.columns()), 0);
  std::vector<const Cut*> chosen;
  for (const Cut& cut : found) {
    if (chosen.size() >= most_cuts) break;
    for (const auto& t : cut.terms)
      dense[static_cast<std::size_t>(t.literal.var())] =
          static_cast<double>(t.literal.negated() ? -t.coefficient : t.coefficient);
    const bool parallel = std::any_of(chosen.begin(), chosen.end(), [&](const Cut* other) {
      double product = 0;
      for (const auto& t : other->terms)
        product += static_cast<double>(t.literal.negated() ? -t.coefficient : t.coefficient) *
                   dense[static_cast<std::size_t>(t.literal.var())];
      return product > most_parallel * cut.norm * other->norm;
    });
    for (const auto& t : cut.terms) dense[static_cast<std::size_t>(t.literal.var())] = 0;
    if (!parallel) chosen.push_back(&cut);
  }
  for (const Cut* cut : chosen) {
    program.addCut(cut->terms, cut->degree, derivation != nullptr ? prove(*cut) : 0);
    count.added++;
  }
  return !chosen.empty();
}

// Sums of rows ------------------------------------------------------------------------------------

void CutLoop::fromSingleRows() {
  for (std::size_t i = 0; i < program.firstCut(); i++)
    for (const bool lower : {true, false}) {
      const std::int32_t row = program.side(i, lower);
      if (row == LinearProgram::none || program.sizeOf(row) < 2) continue;
      const double slack = program.slackOf(row, relaxer.optimumValues());
      relaxer.chargeSteps(program.sizeOf(row));
      if (slack < static_cast<double>(program.largestOf(row))) attempt({{row, 1}}, 0);
    }
}

/// The fractions of the multipliers as integers; `divisor` becomes what stands for 1, 0 if that is
/// not possible.
void CutLoop::sharesOf(const std::vector<double>& multipliers, double sign,
                       std::vector<Share>& shares, std::int64_t& divisor) const {
  shares.clear();
  divisor = 0;
  std::int64_t largest = 1;
  std::int64_t used = 1;
  const auto fractionOf = [&](std::size_t i) {
    const double x = sign * multipliers[i];
    const double fraction = x - std::floor(x);
    return fraction < 1e-9 || fraction > 1 - 1e-9 ? 0 : fraction;
  };
  for (std::size_t i = 0; i < multipliers.size(); i++) {
    if (fractionOf(i) == 0) continue;
    used++;
    largest = std::max(largest, program.largestOf(program.side(i, true)));
  }
  const int room = std::min(scale_bits, sum_bits - bitLength(largest) - bitLength(used));
  if (used == 1 || room < 10) return;
  divisor = std::int64_t{1} << room;
  for (std::size_t i = 0; i < multipliers.size(); i++) {
    double fraction = fractionOf(i);
    if (fraction == 0) continue;
    bool lower = true;
    if (fraction > 0.5 && program.side(i, false) != LinearProgram::none) {
      lower = false;
      fraction = 1 - fraction;
    }
    const auto factor = static_cast<std::int64_t>(fraction * static_cast<double>(divisor) + 0.5);
    if (factor > 0) shares.push_back({program.side(i, lower), factor});
  }
}

void CutLoop::fromTableau() {
  std::vector<int> columns;
  const std::vector<double>& values = relaxer.optimumValues();
  for (Var v = 0; v < program.columns(); v++) {
    const double x = values[static_cast<std::size_t>(v)];
    if (x > 0.01 && x < 0.99) columns.push_back(v);
  }
  std::stable_sort(columns.begin(), columns.end(), [&](int a, int b) {
    return std::abs(values[static_cast<std::size_t>(a)] - 0.5) <
           std::abs(values[static_cast<std::size_t>(b)] - 0.5);
  });
  if (columns.size() > most_tableau) columns.resize(most_tableau);
  const std::vector<std::vector<double>> tableau = program.relaxation().tableau(columns);
  relaxer.charge(columns.size());
  std::vector<Share> shares;
  for (const std::vector<double>& multipliers : tableau) {
    if (multipliers.empty()) continue;
    for (const double sign : {1.0, -1.0}) {
      std::int64_t divisor = 0;
      sharesOf(multipliers, sign, shares, divisor);
      if (!shares.empty()) attempt(shares, divisor);
    }
  }
}

} // namespace estoc
