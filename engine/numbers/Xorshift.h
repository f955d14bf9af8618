/// \file
/// The generator of random numbers, the same everywhere.
#ifndef ESTOC_NUMBERS_XORSHIFT_H
#define ESTOC_NUMBERS_XORSHIFT_H

#include <cstdint>

namespace estoc {

/// Brings `state`, which is not 0, to the next of 2^64 - 1 states; the new one is the number drawn,
/// the upper bits the better ones. Source: Marsaglia, Xorshift RNGs (2003).
inline std::uint64_t xorshift(std::uint64_t& state) {
  state ^= state << 13;
  state ^= state >> 7;
  state ^= state << 17;
  return state;
}

} // namespace estoc

#endif
