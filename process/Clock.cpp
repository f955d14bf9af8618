/// \file
/// Clocks and limits.
#include "Clock.h"

#include <ctime>

namespace process {

static_assert(CLOCKS_PER_SEC == ticks_per_second, "the processor clock ticks in microseconds");

Ticks processorTicks() {
  return std::clock();
}

Ticks wallTicks() {
  timespec t = {};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<Ticks>(t.tv_sec) * ticks_per_second + t.tv_nsec / 1000;
}

bool TimeLimit::passed() {
  const Ticks now = wallTicks();
  if (now >= wall_end) return true;
  if (now < next_look) return false;
  constexpr Ticks short_while = ticks_per_second / 100;
  const bool over = processorTicks() >= processor_end;
  if (!over) next_look = now + short_while; // whoever asks again is told again
  return over;
}

} // namespace process
