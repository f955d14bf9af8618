/// \file
/// The choices of which random problems are made: from a seed in tests, from the input bytes in
/// fuzz targets.
#ifndef QUILLON_TESTS_DRAWS_H
#define QUILLON_TESTS_DRAWS_H

#include <cstdint>
#include <random>

/// Numbers to be drawn one after the other: two draws are never arguments of one call, whose order
/// is the compiler's.
class Draws {
 public:
  virtual ~Draws() = default;
  /// A number from `low` to `high`, both included.
  virtual std::int64_t between(std::int64_t low, std::int64_t high) = 0;

  int small(int low, int high) { return static_cast<int>(between(low, high)); }
  bool oneIn(int n) { return small(1, n) == n; }
};

/// A seed stands for the same draws everywhere: only the generator's raw numbers are used, not the
/// library's distributions.
class SeededDraws : public Draws {
  std::mt19937_64 random;

 public:
  explicit SeededDraws(std::uint64_t seed) : random(seed) {}
  std::int64_t between(std::int64_t low, std::int64_t high) override {
    return low + static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(high - low + 1));
  }
};

#endif
