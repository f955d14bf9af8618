/// \file
/// Building the flat arrays.
#include "FlatProblem.h"

#include "numbers/Width.h"

#include <algorithm>

namespace estoc {

namespace {

constexpr int most_bits = 62;

/// By what to divide numbers of this sum, a power of 2.
Int128 divisorFor(Int128 sum) {
  const int bits = bitLength(sum);
  return bits <= most_bits ? Int128{1} : Int128{1} << (bits - most_bits);
}

} // namespace

bool FlatProblem::endRow(Int128 degree) {
  Int128 sum = 0;
  for (const WideTerm& t : pending) sum += t.coefficient;
  const Int128 divisor = divisorFor(std::max(sum, degree));
  is_exact &= divisor == 1;
  // sum (a / divisor, rounded down) * l >= degree / divisor, rounded up, implies the row.
  std::int64_t reachable = 0;
  for (const WideTerm& t : pending) {
    const auto rounded = static_cast<std::int64_t>(t.coefficient / divisor);
    if (rounded == 0) continue;
    literals.push_back(t.literal);
    coefficients.push_back(rounded);
    reachable += rounded;
  }
  row_starts.push_back(literals.size());
  degrees.push_back(static_cast<std::int64_t>(ceilDiv(degree, divisor)));
  pending.clear();
  return reachable >= degrees.back();
}

void FlatProblem::setCost(const std::vector<WideTerm>& terms) {
  Int128 sum = 0;
  for (const WideTerm& t : terms) sum += t.coefficient;
  cost_divisor = divisorFor(sum); // rounding up adds 1 a term at most, which 63 bits have room for
  is_exact &= cost_divisor == 1;
  cost_gains.assign(static_cast<std::size_t>(variable_count), 0);
  cost_offset = 0;
  for (const WideTerm& t : terms) {
    const auto weight = static_cast<std::int64_t>(ceilDiv(t.coefficient, cost_divisor));
    if (t.literal.negated()) cost_offset += weight;
    cost_gains[static_cast<std::size_t>(t.literal.var())] = t.literal.negated() ? -weight : weight;
  }
}

void FlatProblem::finish() {
  std::vector<WideTerm>().swap(pending);
  variable_starts.assign(static_cast<std::size_t>(variable_count) + 1, 0);
  for (const Lit l : literals) variable_starts[static_cast<std::size_t>(l.var()) + 1]++;
  for (std::size_t v = 0; v < static_cast<std::size_t>(variable_count); v++)
    variable_starts[v + 1] += variable_starts[v];
  by_variable.resize(literals.size());
  std::vector<std::size_t> next(variable_starts.begin(), variable_starts.end() - 1);
  for (std::size_t row = 0; row < rows(); row++) {
    for (std::size_t i = firstTerm(row); i < endTerm(row); i++) {
      const std::int64_t a = coefficients[i];
      by_variable[next[static_cast<std::size_t>(literals[i].var())]++] = {
          literals[i].negated() ? -a : a, static_cast<std::uint32_t>(row)};
    }
  }
}

} // namespace estoc
