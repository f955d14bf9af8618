/// \file
/// Moving averages, and the sequence that spaces restarts in stable mode.
#ifndef ESTOC_SEARCH_AVERAGES_H
#define ESTOC_SEARCH_AVERAGES_H

#include <cstdint>

namespace estoc {

/// An exponential moving average that begins as the plain average of what has been seen. `window`
/// is about how many values it remembers. Only products and sums of doubles, so it is the same
/// everywhere.
class MovingAverage {
  double average = 0.0;
  double share = 1.0;
  double smallest_share;

 public:
  explicit MovingAverage(double window) : smallest_share(1.0 / window) {}
  void add(double x) {
    average += share * (x - average);
    share = share / (1.0 + share); // 1, 1/2, 1/3, ...
    if (share < smallest_share) share = smallest_share;
  }
  double value() const { return average; }
};

/// 1 1 2 1 1 2 4 1 1 2 ... Sources: Luby, Sinclair and Zuckerman (1993); Knuth's reluctant
/// doubling (2011).
class Luby {
  std::uint64_t u = 1;
  std::uint64_t v = 1;

 public:
  std::uint64_t next() {
    const std::uint64_t result = v;
    if ((u & (~u + 1)) == v) {
      u++;
      v = 1;
    } else {
      v *= 2;
    }
    return result;
  }
};

} // namespace estoc

#endif
