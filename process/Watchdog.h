/// \file
/// Sees to it that a program ends in time, whatever it is at.
#ifndef QUILLON_PROCESS_WATCHDOG_H
#define QUILLON_PROCESS_WATCHDOG_H

#include "Clock.h"

#include <atomic>
#include <functional>
#include <thread>

namespace process {

/// A thread that waits for a time limit or a request to stop. It passes the request on, and when
/// the program has not ended after a while, it ends it. There is at most one at a time.
class Watchdog {
 public:
  /// Why the program is to stop.
  enum class Reason : int { none, request, wall_limit, processor_limit };

  struct Duties {
    Ticks processor_end = TimeLimit::never; ///< reading of the processor clock
    Ticks wall_end = TimeLimit::never;      ///< reading of the clock on the wall
    /// Called once, as soon as there is a reason; it may set an atomic.
    std::function<void()> on_stop;
    /// How long after that the program may go on.
    Ticks grace = ticks_per_second / 2;
    /// Called after that time if the watchdog still exists. It may use whatever is made for several
    /// threads, and ends the process.
    std::function<void()> on_overdue;
  };

  explicit Watchdog(Duties what);
  /// Calls nothing any more.
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  /// Asks the program to stop. For signal handlers, too; without a watchdog nothing happens.
  static void request() noexcept;

  Reason reason() const { return stopped_by; }

 private:
  const Duties duties;
  std::atomic<Reason> stopped_by{Reason::none};
  int pipe_ends[2] = {-1, -1}; ///< a byte in it is a word to the thread
  std::thread thread;

  enum class Word : char { stop = 's', end = 'e' };
  Reason passedLimit() const;
  bool waitUntil(Ticks when, Word& word) const;
  void watch();
};

} // namespace process

#endif
