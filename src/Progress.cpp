/// \file
/// What the program tells a search and shows of it.
#include "Progress.h"

#include <cstdio>

#include "Interrupt.h"
#include "process/Signals.h"

using namespace quillon;

Progress::Progress(const process::TimeLimit& time_limit)
    : limit(time_limit), display("QUILLON_PROGRESS", [] { report_due = 1; }) {}

void Progress::onReportDue(const Solver& S) {
  process::Snapshot snapshot;
  snapshot.conflicts = S.stats.conflicts;
  snapshot.restarts = S.stats.starts - 1;
  snapshot.learnt = S.nLearnts() + S.pb_nLearnts();
  char value[16];
  if (S.solutionFound()) {
    std::snprintf(value, sizeof value, "%d", S.objectiveValue());
    snapshot.best = value;
    snapshot.best_time = solution_time;
  }
  display.show(snapshot);
}

void Progress::onEnd() {
  process::beginResults(); // what there is now is the result, come what may
  display.end();
}
