/// \file
/// The status display: what a long run is doing, on standard error.
#ifndef QUILLON_PROCESS_DISPLAY_H
#define QUILLON_PROCESS_DISPLAY_H

#include <cstdint>
#include <optional>

#include "Clock.h"

namespace process {

/// What a search can say of itself at any moment. Numbers of the objective are texts, since engines
/// differ in their width.
struct Snapshot {
  std::int64_t conflicts = 0;
  std::int64_t restarts = 0;
  std::int64_t learnt = 0;     ///< constraints kept
  const char* best = nullptr;  ///< value of the best solution, null before the first
  Ticks best_time = 0;         ///< when it was found, by `wallTicks`
  const char* bound = nullptr; ///< what no solution can be better than, null if nothing is known
  std::optional<double> gap{}; ///< between the two, as a share of the best value
};

/// Shows snapshots. On a terminal it is one line, refreshed at most five times a second and erased
/// at the end, while the process is in the foreground there; elsewhere, if asked for, one line a
/// second with time stamps. There is at most one display, since it sets a timer of the process.
class Display {
  enum class Mode { off, line, log };
  Mode mode = Mode::off;
  Ticks start; ///< when it all began

 public:
  /// The environment variable `variable` switches it off (0) or on (1); without it, it is on when
  /// standard error is a terminal. If it is on, `when_due` is called from a signal handler whenever
  /// a snapshot should be shown; it must be safe there, see `catchStopSignals`.
  Display(const char* variable, void (*when_due)());
  ~Display() { end(); }
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;

  void show(const Snapshot& snapshot) const;
  /// Stops the timer and clears the terminal.
  void end();
};

/// Clears away what a display has left on the terminal, so that something else can be said there.
void clearDisplay();

} // namespace process

#endif
