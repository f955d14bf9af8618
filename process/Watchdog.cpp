/// \file
/// The thread that keeps the time.
#include "Watchdog.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace process {

namespace {

/// Where a request goes, -1 without a watchdog; read by signal handlers.
std::atomic<int> request_end{-1};
static_assert(std::atomic<int>::is_always_lock_free);

void send(int end, char word) {
  // The pipe cannot be full of what matters: one word is as good as many.
  [[maybe_unused]] const ssize_t ignored = write(end, &word, 1);
}

} // namespace

Watchdog::Watchdog(Duties what) : duties(std::move(what)) {
  if (pipe2(pipe_ends, O_CLOEXEC | O_NONBLOCK) != 0)
    throw std::system_error(errno, std::generic_category(), "pipe");
  // Signals are for the threads that do the work.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  thread = std::thread([this] { watch(); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  request_end = pipe_ends[1];
}

Watchdog::~Watchdog() {
  request_end = -1;
  send(pipe_ends[1], static_cast<char>(Word::end));
  thread.join();
  close(pipe_ends[0]);
  close(pipe_ends[1]);
}

void Watchdog::request() noexcept {
  const int saved = errno;
  const int end = request_end;
  if (end >= 0) send(end, static_cast<char>(Word::stop));
  errno = saved;
}

Watchdog::Reason Watchdog::passedLimit() const {
  if (wallTicks() >= duties.wall_end) return Reason::wall_limit;
  if (duties.processor_end != TimeLimit::never && processorTicks() >= duties.processor_end)
    return Reason::processor_limit;
  return Reason::none;
}

/// Waits for a word, at most until `when` on the clock on the wall; whether one has come.
bool Watchdog::waitUntil(Ticks when, Word& word) const {
  constexpr Ticks longest = 3600 * ticks_per_second; // of one wait, since poll counts in int
  const Ticks left = std::clamp(when - wallTicks(), Ticks{0}, longest);
  pollfd end{pipe_ends[0], POLLIN, 0};
  if (poll(&end, 1, static_cast<int>((left + 999) / 1000)) != 1) return false;
  return read(pipe_ends[0], &word, 1) == 1;
}

void Watchdog::watch() {
  Word word = Word::end;
  Reason why = Reason::none;
  while (why == Reason::none) {
    Ticks next = duties.wall_end;
    // One working thread uses no more processor time than passes on the wall.
    if (duties.processor_end != TimeLimit::never)
      next = std::min(next, wallTicks() + duties.processor_end - processorTicks());
    if (waitUntil(next, word)) {
      if (word == Word::end) return;
      why = Reason::request;
    } else {
      why = passedLimit();
    }
  }
  stopped_by = why;
  duties.on_stop();
  const Ticks end = wallTicks() + duties.grace;
  while (wallTicks() < end)
    if (waitUntil(end, word) && word == Word::end) return;
  duties.on_overdue();
}

} // namespace process
