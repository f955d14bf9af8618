/// \file
/// The two clocks of a run, and limits on them.
#ifndef QUILLON_PROCESS_CLOCK_H
#define QUILLON_PROCESS_CLOCK_H

#include <cstdint>
#include <limits>

namespace process {

/// A clock reading or a time span, in microseconds.
using Ticks = std::int64_t;
constexpr Ticks ticks_per_second = 1000000;

/// Processor time that this process has used, of all its threads. A system call: some hundred times
/// the price of `wallTicks`.
Ticks processorTicks();
/// Time on the wall, by a clock that nobody sets; cheap to read and safe in signal handlers.
Ticks wallTicks();

inline double seconds(Ticks ticks) {
  return static_cast<double>(ticks) / static_cast<double>(ticks_per_second);
}

/// When a run is to end with what it has.
class TimeLimit {
  Ticks next_look = 0; ///< when to read the processor clock again

 public:
  static constexpr Ticks never = std::numeric_limits<Ticks>::max();
  Ticks processor_end = never; ///< reading of the processor clock
  Ticks wall_end = never;      ///< reading of the clock on the wall

  /// Whether either clock has reached its limit, the processor clock as of the last hundredth of a
  /// second: cheap enough to be asked at every step of a search. Once it has passed, it stays so.
  bool passed();
};

} // namespace process

#endif
