/// \file
/// The status display: what a long run is doing, on standard error.
#ifndef QUILLON_PROGRESS_H
#define QUILLON_PROGRESS_H

#include "Solver.h"
#include "process/Clock.h"

/// Keeps the time limit and shows the state of the search. On a terminal it is one line, refreshed
/// at most five times a second and erased at the end; elsewhere, if asked for, one line a second
/// with time stamps. The environment variable QUILLON_PROGRESS switches it off (0) or on (1);
/// without it, it is on when standard error is a terminal. There is at most one, since it sets a
/// timer of the process.
class Progress final : public SearchHost {
  enum class Mode { off, line, log };
  Mode mode;
  process::TimeLimit limit;
  double start;               ///< when it all began, in seconds
  double solution_time = 0.0; ///< when the last solution was found

  double elapsed() const;

 public:
  /// Starts the timer if there is anything to show.
  explicit Progress(const process::TimeLimit& time_limit);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() override;

  bool outOfTime() override { return limit.passed(); }
  void onReportDue(const Solver& S) override;
  void onSolution(const Solver& S) override;
  void onEnd() override;
};

#endif
