/// \file
/// The widths of arithmetic that derivations choose from. A width is a type for coefficients, a
/// wider one for their sums, and the bound up to which coefficients are safe: within it, sums over
/// any number of variables that a problem can have stay inside the degree's type.
#ifndef ESTOC_NUMBERS_WIDTH_H
#define ESTOC_NUMBERS_WIDTH_H

#include "estoc/Types.h"

#include <boost/multiprecision/cpp_int.hpp>

namespace estoc {

using Int256 = boost::multiprecision::int256_t;
using BigInt = boost::multiprecision::cpp_int;

/// Coefficients below 2^30, as learnt constraints have them.
struct Narrow {
  using Coefficient = std::int32_t;
  using Degree = std::int64_t;
  static constexpr int safe_bits = 30;
};
/// Coefficients below 2^62: most derivations that multiply.
struct Middle {
  using Coefficient = std::int64_t;
  using Degree = Int128;
  static constexpr int safe_bits = 62;
};
/// Coefficients below 2^126: derivations on rows with very large numbers.
struct Broad {
  using Coefficient = Int128;
  using Degree = Int256;
  static constexpr int safe_bits = 126;
};
/// Without a bound.
struct Unbounded {
  using Coefficient = BigInt;
  using Degree = BigInt;
  static constexpr int safe_bits = 1 << 30;
};

/// `a` / `d` rounded up, for a >= 0 and d > 0.
template <class N> N ceilDiv(const N& a, const N& d) {
  N quotient = a / d;
  if (quotient * d != a) quotient += 1;
  return quotient;
}

/// The number of bits that `value` >= 0 takes, 0 for 0.
inline int bitLength(std::int64_t value) {
  return value == 0 ? 0 : 64 - __builtin_clzll(static_cast<unsigned long long>(value));
}
inline int bitLength(std::int32_t value) {
  return bitLength(static_cast<std::int64_t>(value));
}
inline int bitLength(Int128 value) {
  const auto high = static_cast<std::int64_t>(value >> 64);
  if (high != 0) return 64 + bitLength(high);
  const auto low = static_cast<unsigned long long>(value);
  return low == 0 ? 0 : 64 - __builtin_clzll(low);
}
inline int bitLength(const BigInt& value) {
  return value == 0 ? 0 : static_cast<int>(boost::multiprecision::msb(value)) + 1;
}

/// The greatest common divisor of two numbers that are not negative; 0 only for two zeros.
template <class N> N greatestCommonDivisor(N a, N b) {
  while (b != 0) {
    N rest = a % b;
    a = std::move(b);
    b = std::move(rest);
  }
  return a;
}

} // namespace estoc

#endif
