/// \file
/// Brings the terms of long rows into the order that propagation wants.
#ifndef ESTOC_CONSTRAINTS_SORT_TERMS_H
#define ESTOC_CONSTRAINTS_SORT_TERMS_H

#include "estoc/Types.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace estoc {

/// Sorts by falling coefficients, which are positive; equal ones keep their order. Long rows go
/// through buckets, digit by digit from the lowest on, so that the time is linear: a third of the
/// analysis of rows with ten thousand terms was sorting.
inline void sortByCoefficient(std::vector<Term<std::int32_t>>& terms,
                              std::vector<Term<std::int32_t>>& spare) {
  constexpr std::size_t long_row = 200; ///< where the two ways took the same time
  if (terms.size() < long_row) {
    std::stable_sort(terms.begin(), terms.end(),
                     [](const auto& a, const auto& b) { return a.coefficient > b.coefficient; });
    return;
  }
  constexpr unsigned digit_bits = 10;
  constexpr std::uint32_t digits = 1U << digit_bits;
  std::uint32_t all = 0;
  for (const auto& t : terms) all |= static_cast<std::uint32_t>(t.coefficient);
  spare.resize(terms.size());
  for (unsigned shift = 0; (all >> shift) != 0; shift += digit_bits) {
    std::array<std::uint32_t, digits> next{};
    const auto digit = [&](const Term<std::int32_t>& t) {
      return digits - 1 - ((static_cast<std::uint32_t>(t.coefficient) >> shift) & (digits - 1));
    };
    for (const auto& t : terms) next[digit(t)]++;
    std::uint32_t sum = 0;
    for (std::uint32_t& n : next) sum += std::exchange(n, sum);
    for (const auto& t : terms) spare[next[digit(t)]++] = t;
    terms.swap(spare);
  }
}

} // namespace estoc

#endif
