/// \file
/// What the program tells a search and shows of it.
#ifndef QUILLON_PROGRESS_H
#define QUILLON_PROGRESS_H

#include "Solver.h"
#include "process/Clock.h"
#include "process/Display.h"

/// Keeps the time limit and feeds the status display, which the environment variable
/// QUILLON_PROGRESS controls.
class Progress final : public quillon::SearchHost {
  process::TimeLimit limit;
  process::Display display;
  process::Ticks solution_time = 0; ///< when the last solution was found

 public:
  explicit Progress(const process::TimeLimit& time_limit);

  bool outOfTime() override { return limit.passed(); }
  void onReportDue(const Solver& S) override;
  void onSolution(const Solver& /*S*/) override { solution_time = process::wallTicks(); }
  void onEnd() override;
};

#endif
