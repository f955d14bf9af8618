/// \file
/// One run of `estoc`, from the text to the verdict.
#ifndef QUILLON_PROGRAM_RUN_H
#define QUILLON_PROGRAM_RUN_H

#include "CommandLine.h"
#include "Findings.h"
#include "ProofLog.h"
#include "Report.h"
#include "process/Watchdog.h"

#include <atomic>
#include <mutex>

/// Reads, solves, prints, whatever happens meanwhile: a limit, a signal, exhausted memory.
///
/// Two threads know it. The one that calls `perform` does the work; the watchdog's asks it to stop
/// and, when it does not do so in time, states the result in its place.
class Run {
 public:
  /// `start` is when the run began, on the wall.
  Run(Settings what, process::Ticks start);
  /// Ends the process. Lets no `std::bad_alloc` out but of its end.
  [[noreturn]] void perform();

 private:
  const Settings settings;
  const process::Ticks start;
  formats::Problem problem;
  Findings findings;
  StatsFile stats;
  Report report;
  std::optional<Statement> statement; ///< of what is proven, if a proof is written
  std::optional<ProofLog> proof;
  std::atomic<ProofLog*> open_proof{nullptr}; ///< the same for the watchdog, once it is there
  std::optional<estoc::Statistics> counters;  ///< at the end of the search
  /// When the problem had been read, and when the engine had it, since the start; 0 before. While
  /// `read_at` is 0, `problem` is only for the thread that works.
  std::atomic<process::Ticks> read_at{0};
  std::atomic<process::Ticks> loaded_at{0};

  std::atomic<bool> stop{false};   ///< the run is to end with what it has
  std::mutex solver_mutex;         ///< of `solver`
  estoc::Solver* solver = nullptr; ///< while it can be interrupted
  std::optional<process::Watchdog> watchdog;

  void readAndSolve();
  void startWatchdog();
  void onStop();
  void onOverdue();
  void setSolver(estoc::Solver* which);
  std::string stoppedBy() const;
  Verdict read();
  [[noreturn]] void giveUp(const std::string& message, int code);
  void stateProblem(const formats::Linear& linear);
  Verdict solve();
  void end(Verdict claimed, const std::string& stopped_by,
           const std::optional<estoc::Statistics>& engine_counters);
  RunFacts factsNow() const;
};

#endif
