/// \file
/// Cuts by rounding.
#include "CutLoop.h"

#include "Settle.h"

#include <algorithm>
#include <cmath>

namespace estoc {

namespace {
constexpr double least_efficacy = 1e-3;  ///< distance by which a cut has to cut
constexpr double most_parallel = 0.9;    ///< cosine of the angle between two cuts of a round
constexpr int most_stalled = 8;          ///< rounds without progress
constexpr double progress = 1e-4;        ///< relative, of the bound
constexpr char oldest = 4;               ///< rounds that a cut may be slack
constexpr std::size_t most_tableau = 80; ///< rows of the tableau looked at in a round
constexpr std::size_t most_terms =
    200; ///< beside a fifth of all columns, or a row's that it comes of
constexpr std::size_t most_multipliers = 10000000; ///< of all these rows together
constexpr std::size_t most_cuts = 100;             ///< of a round
constexpr double tight = 1e-6;                     ///< slack of a row that counts as none
constexpr std::size_t most_broken = 1024;          ///< variables looked at by elimination
constexpr std::size_t most_lines = 1024;           ///< rows, too
constexpr int most_bits = 22;                      ///< of a cut's coefficients
constexpr int least_bits = 14; ///< if it comes of many rows: rounding errors spread
constexpr int scale_bits = 40; ///< multipliers of tableau rows are rounded to as many
constexpr int least_scale_bits = 10;
constexpr double largest_sum = 0x1p59; ///< of all numbers in a sum of rows
/// How large a cut's coefficients may be.
int bitsFor(const std::vector<LinearProgram::Share>& shares) {
  return std::max(least_bits, most_bits + 1 - bitLength(static_cast<std::int64_t>(shares.size())));
}

} // namespace

CutLoop::CutLoop(Relaxer& r, Search& s)
    : relaxer(r), search(s), program(r.program()), trail(s.constraints().assignment()) {
  if (search.proof() != nullptr) derivation = std::make_unique<Derivation>(*search.proof());
}

void CutLoop::begin(std::uint64_t work, std::uint64_t first_work) {
  budget = work;
  first_budget = first_work;
  start = relaxer.totalWork();
  stalled = 0;
  first = true;
}

std::uint64_t CutLoop::leftOf(std::uint64_t work) const {
  return work - std::min(work, relaxer.totalWork() - start);
}

Advice CutLoop::finish() {
  begun = true;
  forgetSlack(1);
  return {Advice::Kind::stop};
}

Advice CutLoop::advise() {
  for (;;) {
    if (trail.level() > 0 || search.isInterrupted() || leftOf(budget) == 0) return finish();
    const Relaxed answer = relaxer.ask(leftOf(first ? first_budget : budget));
    if (answer.kind == Relaxed::Kind::hopeless) return {Advice::Kind::infeasible};
    if (answer.row != nullptr) return {Advice::Kind::learn, {}, answer.row, answer.id};
    if (answer.kind == Relaxed::Kind::unfinished && first) return {Advice::Kind::stop};
    begun = true;
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
    fromEvenSums();
    count.rounds++;
    if (!select()) return finish();
    relaxer.rowsChanged();
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
    keep[i] = ages[i] < age ? 1 : 0;
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

/// `sum` becomes `row` with coefficients of at most `bits` bits.
void CutLoop::finishRow(const Row& row, int bits, Derivation* to) {
  sum.writeTo(nullptr);
  sum.clear();
  for (const WideTerm& t : row.terms) sum.addTerm(t.literal, t.coefficient);
  sum.addDegree(row.degree);
  sum.tighten();
  if (sum.degree() < 1) return;
  sum.writeTo(to);
  sum.saturate();
  Int128 divisor = 0;
  for (const Var v : sum.variables()) divisor = greatestCommonDivisor(divisor, sum.magnitude(v));
  if (divisor > 1) sum.divide(divisor);
  shrinkRow(sum, bits);
}

/// Tries to make a cut of a sum of rows, perhaps with a divisor that suggests itself.
void CutLoop::attempt(const std::vector<Share>& shares, std::int64_t divisor) {
  if (search.isInterrupted()) return;
  makeBase(shares, nullptr);
  const std::uint64_t before = rounding.work();
  const bool cuts = rounding.take(sum, relaxer.optimumValues()) && rounding.choose(divisor) &&
                    rounding.efficacy() > least_efficacy;
  relaxer.chargeSteps(rounding.work() - before + 4 * sum.variables().size());
  if (!cuts) return;
  finishRow(rounding.row(), bitsFor(shares), nullptr);
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
  std::size_t most = most_terms + static_cast<std::size_t>(program.columns()) / 5;
  for (const Share& s : shares) most = std::max(most, program.sizeOf(s.row));
  if (cut.terms.empty() || cut.terms.size() > most) return;
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
  finishRow(row, bitsFor(cut.shares), derivation.get());
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
  for (std::size_t i = 0; i < program.firstCut(); i++) {
    for (const bool lower : {true, false}) {
      const std::int32_t row = program.side(i, lower);
      if (row == LinearProgram::none || program.sizeOf(row) < 2) continue;
      const double slack = program.slackOf(row, relaxer.optimumValues());
      relaxer.chargeSteps(program.sizeOf(row));
      if (slack < static_cast<double>(program.largestOf(row))) attempt({{row, 1}}, 0);
    }
  }
}

/// The fractions of the multipliers as integers; `divisor` becomes what stands for 1, 0 if that is
/// not possible.
void CutLoop::sharesOf(const std::vector<double>& multipliers, double sign,
                       std::vector<Share>& shares, std::int64_t& divisor) const {
  shares.clear();
  divisor = 0;
  double all = 1; // a bound on all numbers of the sum together
  const auto fractionOf = [&](std::size_t i) {
    const double x = sign * multipliers[i];
    const double fraction = x - std::floor(x);
    return fraction < 1e-9 || fraction > 1 - 1e-9 ? 0 : fraction;
  };
  for (std::size_t i = 0; i < multipliers.size(); i++) {
    if (fractionOf(i) == 0) continue;
    all += program.sumOf(program.side(i, true));
    if (program.side(i, false) != LinearProgram::none) all += program.sumOf(program.side(i, false));
  }
  int room = scale_bits;
  while (room > least_scale_bits &&
         all * static_cast<double>(std::int64_t{1} << room) > largest_sum)
    room--;
  if (all == 1 || room == least_scale_bits) return;
  divisor = std::int64_t{1} << room;
  for (std::size_t i = 0; i < multipliers.size(); i++) {
    double fraction = fractionOf(i);
    if (fraction == 0) continue;
    bool lower = true;
    if (fraction > 0.5 && program.side(i, false) != LinearProgram::none) {
      lower = false;
      fraction = 1 - fraction;
    }
    const double scaled = fraction * static_cast<double>(divisor);
    // It is positive, so this rounds, whatever the mathematical library says.
    const auto factor = static_cast<std::int64_t>(scaled + 0.5); // NOLINT(*-roundings)
    if (factor > 0) shares.push_back({program.side(i, lower), factor});
  }
}

/// Rows that are tight are added up such that all variables with a broken value have even
/// coefficients: by elimination modulo 2. Half of such a sum is a cut if its degree is odd; whether
/// it is, after the other variables have been rounded or complemented, shows the attempt.
void CutLoop::fromEvenSums() {
  const std::vector<double>& values = relaxer.optimumValues();
  std::vector<std::size_t> place(values.size(), most_broken);
  std::size_t broken = 0;
  for (std::size_t v = 0; v < values.size() && broken < most_broken; v++)
    if (isBroken(values[v])) place[v] = broken++;
  struct Line {
    std::vector<std::uint64_t> odd;  ///< variables, one bit each
    std::vector<std::uint64_t> from; ///< lines that are part of it, one bit each
  };
  std::vector<Line> lines;
  std::vector<std::int32_t> rows;
  const auto set = [](std::vector<std::uint64_t>& bits, std::size_t i) {
    bits[i / 64] ^= std::uint64_t{1} << i % 64;
  };
  const auto isSet = [](const std::vector<std::uint64_t>& bits, std::size_t i) {
    return (bits[i / 64] >> i % 64 & 1) != 0;
  };
  for (std::size_t i = 0; i < program.rows() && rows.size() < most_lines; i++) {
    const std::int32_t lower = program.side(i, true);
    const std::int32_t upper = program.side(i, false);
    std::int32_t row = LinearProgram::none;
    if (program.slackOf(lower, values) < tight)
      row = lower;
    else if (upper != LinearProgram::none && program.slackOf(upper, values) < tight)
      row = upper;
    relaxer.chargeSteps(2 * program.sizeOf(lower));
    if (row == LinearProgram::none) continue;
    Line line{std::vector<std::uint64_t>(most_broken / 64),
              std::vector<std::uint64_t>(most_lines / 64)};
    bool any = false;
    program.visitTerms(row, [&](std::int64_t c, Lit l) {
      const std::size_t p = place[static_cast<std::size_t>(l.var())];
      if (p == most_broken || c % 2 == 0) return;
      set(line.odd, p);
      any = true;
    });
    if (!any) continue;
    set(line.from, rows.size());
    rows.push_back(row);
    lines.push_back(std::move(line));
  }
  std::vector<char> used(lines.size());
  for (std::size_t column = 0; column < broken; column++) {
    std::size_t pivot = 0;
    while (pivot < lines.size() && (used[pivot] != 0 || !isSet(lines[pivot].odd, column))) pivot++;
    if (pivot == lines.size()) continue;
    used[pivot] = 1;
    for (std::size_t i = 0; i < lines.size(); i++) {
      if (used[i] != 0 || !isSet(lines[i].odd, column)) continue;
      for (std::size_t k = 0; k < lines[i].odd.size(); k++) lines[i].odd[k] ^= lines[pivot].odd[k];
      for (std::size_t k = 0; k < lines[i].from.size(); k++)
        lines[i].from[k] ^= lines[pivot].from[k];
    }
  }
  relaxer.chargeSteps(broken * lines.size());
  std::vector<Share> shares;
  for (std::size_t i = 0; i < lines.size(); i++) {
    if (used[i] != 0) continue;
    shares.clear();
    for (std::size_t k = 0; k < rows.size(); k++)
      if (isSet(lines[i].from, k)) shares.push_back({rows[k], 1});
    if (shares.size() > 1) attempt(shares, 2);
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
  const std::size_t most = std::min(most_tableau, most_multipliers / program.rows());
  if (columns.size() > most) columns.resize(most);
  const std::vector<std::vector<double>> tableau = program.relaxation().tableau(columns);
  relaxer.charge(0, columns.size());
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
