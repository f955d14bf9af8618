/// \file
/// Mixed-integer rounding.
#include "Rounding.h"

#include <algorithm>
#include <cmath>

namespace estoc {

namespace {
constexpr std::size_t most_divisors = 8;   ///< different coefficients tried as divisors
constexpr std::size_t most_exchanges = 20; ///< literals whose complement is tried
constexpr int largest_sum_bits = 60;       ///< of degree and all coefficients together
} // namespace

bool Rounding::take(const Expression<Summed>& e, const std::vector<double>& values) {
  parts.clear();
  Int128 sum = e.degree();
  if (sum < 1) return false;
  for (const Var v : e.variables())
    if (e.occurs(v)) sum += e.magnitude(v);
  if (bitLength(sum) > largest_sum_bits) return false;
  for (const Var v : e.variables()) {
    if (!e.occurs(v)) continue;
    const Lit l = e.literal(v);
    const double x =
        static_cast<std::size_t>(v) < values.size() ? values[static_cast<std::size_t>(v)] : 0;
    const double value = std::clamp(l.negated() ? 1 - x : x, 0.0, 1.0);
    parts.push_back({l, static_cast<std::int64_t>(e.magnitude(v)), value, value > 0.5});
  }
  degree = static_cast<std::int64_t>(e.degree());
  return parts.size() > 1;
}

Rounding::Split Rounding::split(const Part& p, std::int64_t d) {
  const std::int64_t quotient = p.coefficient / d;
  const std::int64_t rest = p.coefficient % d;
  if (!p.complemented) return {quotient, rest};
  return rest == 0 ? Split{-quotient, 0} : Split{-quotient - 1, d - rest};
}

Rounding::Split Rounding::splitDegree(std::int64_t d) const {
  std::int64_t b = degree;
  for (const Part& p : parts)
    if (p.complemented) b -= p.coefficient;
  std::int64_t quotient = b / d;
  std::int64_t rest = b % d;
  if (rest < 0) {
    quotient--;
    rest += d;
  }
  return {quotient, rest};
}

/// The efficacy with divisor d; not positive if nothing is cut off.
double Rounding::evaluate(std::int64_t d) {
  steps += 2 * parts.size();
  const Split b = splitDegree(d);
  if (b.rest == 0) return 0;
  // In units of r: numbers stay small, and signs and norms are the same.
  const double r = static_cast<double>(b.rest);
  double missing = static_cast<double>(b.quotient) + 1;
  double squares = 0;
  for (const Part& p : parts) {
    const Split s = split(p, d);
    const double c =
        static_cast<double>(s.quotient) + (s.rest >= b.rest ? 1 : static_cast<double>(s.rest) / r);
    missing -= c * (p.complemented ? 1 - p.value : p.value);
    squares += c * c;
  }
  return squares > 0 ? missing / std::sqrt(squares) : 0;
}

bool Rounding::choose(std::int64_t also) {
  divisor = 0;
  best_efficacy = 0;
  const auto attempt = [&](std::int64_t d) {
    if (d < 2) return;
    const double found = evaluate(d);
    if (found <= best_efficacy) return;
    best_efficacy = found;
    divisor = d;
  };
  std::vector<std::int64_t> divisors;
  for (const Part& p : parts)
    if (isBroken(p.value)) divisors.push_back(p.coefficient);
  std::sort(divisors.begin(), divisors.end(), std::greater<>());
  divisors.erase(std::unique(divisors.begin(), divisors.end()), divisors.end());
  if (divisors.size() > most_divisors) divisors.resize(most_divisors);
  if (also != 0) attempt(also);
  for (const std::int64_t d : divisors) attempt(d);
  if (divisor == 0) return false;
  const std::int64_t first = divisor;
  for (int i = 1; i <= 3; i++) attempt(first >> i);

  std::vector<std::size_t> doubtful;
  for (std::size_t i = 0; i < parts.size(); i++)
    if (isBroken(parts[i].value)) doubtful.push_back(i);
  std::stable_sort(doubtful.begin(), doubtful.end(), [&](std::size_t a, std::size_t b) {
    return std::abs(parts[a].value - 0.5) < std::abs(parts[b].value - 0.5);
  });
  if (doubtful.size() > most_exchanges) doubtful.resize(most_exchanges);
  for (const std::size_t i : doubtful) {
    parts[i].complemented = !parts[i].complemented;
    const double found = evaluate(divisor);
    if (found > best_efficacy)
      best_efficacy = found;
    else
      parts[i].complemented = !parts[i].complemented;
  }
  return true;
}

Row Rounding::row() const {
  Row row;
  const Split b = splitDegree(divisor);
  row.degree = Int128{b.rest} * (b.quotient + 1);
  for (const Part& p : parts) {
    const Split s = split(p, divisor);
    const Int128 c = Int128{b.rest} * s.quotient + std::min(s.rest, b.rest);
    if (c == 0) continue;
    if (!p.complemented) {
      row.terms.push_back({c, p.literal});
    } else { // c is negative: c ~l is -c l + c
      row.terms.push_back({-c, p.literal});
      row.degree -= c;
    }
  }
  return row;
}

/// With z the sum of the integer parts (those with f_i > r rounded up) and s that of the remainders
/// up to r, the row is d z + s >= B, and r z + s >= r ceil(B / d) the rounded one. Its negation, s
/// weakened away and the rest divided by r, says z <= ceil(B / d) - 1. That d - r times and the row
/// once are the rounded row.
ProofId Rounding::prove(Proof& proof, const Row& row, ProofId base) const {
  const Split b = splitDegree(divisor);
  Derivation derivation(proof);
  const auto addAxioms = [&](auto amountOf) {
    for (const Part& p : parts) {
      const std::int64_t amount = amountOf(split(p, divisor).rest);
      if (amount > 0) derivation.weaken(p.complemented ? p.literal : ~p.literal, amount);
    }
  };
  const ProofId negation = proof.negationId();
  derivation.add(negation, 1);
  addAxioms([&](std::int64_t rest) { return rest <= b.rest ? rest : 0; });
  derivation.divide(b.rest);
  derivation.multiply(divisor - b.rest);
  derivation.add(base, 1);
  addAxioms([&](std::int64_t rest) { return rest > b.rest ? divisor - rest : 0; });
  derivation.add(negation, 1);
  return proof.byContradiction(row, derivation);
}

} // namespace estoc
