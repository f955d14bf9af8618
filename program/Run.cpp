/// \file
/// The steps of a run, and its ends.
#include "Run.h"

#include "ExitCode.h"
#include "Loading.h"
#include "formats/InputFile.h"
#include "formats/ProblemReader.h"
#include "process/Display.h"
#include "process/MemoryLimit.h"
#include "process/Program.h"
#include "process/Signals.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <new>
#include <unistd.h>

namespace {

/// The largest input, unpacked: what unpacks without end is noticed here at the latest.
constexpr std::size_t input_limit = std::size_t{1} << 36;

constexpr const char* no_memory = "exhausted memory";

volatile std::sig_atomic_t report_due = 0; ///< set by the display's timer

process::Ticks ticksOf(double seconds) {
  return static_cast<process::Ticks>(seconds * static_cast<double>(process::ticks_per_second));
}

const char* nameOf(estoc::Strategy strategy) {
  switch (strategy) {
  case estoc::Strategy::linear:
    return "linear";
  case estoc::Strategy::core_guided:
    return "core-guided";
  case estoc::Strategy::local_search:
    return "local search";
  case estoc::Strategy::lp:
    return "LP";
  case estoc::Strategy::neighbourhood:
    return "neighbourhood";
  }
  return "";
}

/// Passes on what the engine says, in the user's sense.
class Reporter final : public estoc::Listener {
  const formats::Problem& problem;
  Findings& findings;
  const estoc::Solver& solver;
  const process::Ticks start;
  process::Display display;

 public:
  Reporter(const formats::Problem& text, Findings& record, const estoc::Solver& engine,
           process::Ticks run_start)
      : problem(text), findings(record), solver(engine), start(run_start),
        display("ESTOC_PROGRESS", [] { report_due = 1; }) {}

  void onSolution(const std::vector<bool>& values, formats::Int value,
                  estoc::Strategy by) override {
    findings.addSolution(values, userValue(problem.objective, value), nameOf(by));
  }
  void onLowerBound(formats::Int lower, estoc::Strategy by) override {
    findings.addBound(userValue(problem.objective, lower), nameOf(by));
  }
  void onProgress() override;
  void end() { display.end(); }
};

void Reporter::onProgress() {
  if (report_due == 0) return;
  report_due = 0;
  const estoc::Statistics counters = solver.statistics();
  std::string best; // which the snapshot refers to
  std::string bound;
  process::Snapshot snapshot;
  snapshot.conflicts = static_cast<std::int64_t>(counters.conflicts);
  snapshot.restarts = static_cast<std::int64_t>(counters.restarts);
  snapshot.learnt = static_cast<std::int64_t>(counters.learnt);
  if (problem.hasObjective()) {
    if (const auto solution = findings.last(Findings::What::solution)) {
      best = formats::toString(solution->value);
      snapshot.best = best.c_str();
      snapshot.best_time = start + solution->time;
    }
    if (const auto proven = findings.last(Findings::What::bound)) {
      bound = formats::toString(proven->value);
      snapshot.bound = bound.c_str();
    }
    snapshot.gap = findings.bounds().gap();
  }
  display.show(snapshot);
}

} // namespace

Run::Run(Settings what, process::Ticks run_start)
    : settings(std::move(what)), start(run_start),
      findings(problem, run_start, {settings.verbosity, settings.values}), stats(settings.stats),
      report(settings.report) {}

void Run::startWatchdog() {
  process::Watchdog::Duties duties;
  if (settings.time_limit) duties.wall_end = start + ticksOf(*settings.time_limit);
  if (settings.cpu_limit) duties.processor_end = ticksOf(*settings.cpu_limit);
  duties.on_stop = [this] { onStop(); };
  duties.on_overdue = [this] { onOverdue(); };
  watchdog.emplace(std::move(duties));
  if (process::stopSignal() != 0) process::Watchdog::request(); // it came before
}

void Run::setSolver(estoc::Solver* which) {
  const std::lock_guard lock(solver_mutex);
  solver = which; // cppcheck-suppress danglingLifetime ; taken back before it goes
  // cppcheck-suppress danglingLifetime
  if (solver != nullptr && stop) solver->interrupt();
}

/// On the watchdog's thread.
void Run::onStop() {
  stop = true;
  const std::lock_guard lock(solver_mutex);
  if (solver != nullptr) solver->interrupt();
}

/// On the watchdog's thread: the other one is at something long, and what it has found is kept.
void Run::onOverdue() {
  try {
    if (ProofLog* const log = open_proof) log->abandon();
    end(Verdict::unknown, stoppedBy(), {});
  } catch (const FalseClaim& fault) {
    giveUp(fault.what(), exit_internal);
  } catch (const std::bad_alloc&) {
    process::outOfMemory();
  }
}

std::string Run::stoppedBy() const {
  using Reason = process::Watchdog::Reason;
  if (!watchdog) return "";
  switch (watchdog->reason()) {
  case Reason::request:
    return "signal " + std::to_string(process::stopSignal());
  case Reason::wall_limit:
    return "time limit";
  case Reason::processor_limit:
    return "limit of processor time";
  case Reason::none:
    break;
  }
  return "";
}

/// Reads `problem`. `unknown` when all is well, otherwise what there is to say; text
/// that is no problem ends the process.
Verdict Run::read() {
  if (settings.file == "-" && isatty(STDIN_FILENO) != 0)
    std::fputs("estoc: reading the problem from the terminal, up to Ctrl-D; see estoc --help\n",
               stderr);
  const std::string name = settings.file == "-" ? "standard input" : settings.file;
  const auto bytes = formats::readInput(settings.file, input_limit);
  if (stop || process::stopSignal() != 0) return Verdict::unknown;
  if (!bytes) giveUp(name + ": " + bytes.error().message, exit_no_input);
  auto read = formats::readProblem(*bytes, formats::formatOf(settings.format));
  if (!read) {
    const std::string message = name + ":" + read.error().text();
    if (!read.error().beyond_width) giveUp(message, exit_bad_input);
    process::complain(message);
    return Verdict::unsupported;
  }
  problem = std::move(*read);
  read_at = process::wallTicks() - start;
  findings.comment(1, "read " + std::to_string(problem.variables.size()) + " variables, " +
                          std::to_string(problem.rows.size()) + " rows");
  return Verdict::unknown;
}

/// Ends the process without a verdict; waits for that if the other thread is stating one.
void Run::giveUp(const std::string& message, int code) {
  if (findings.giveUp()) {
    try {
      process::complain(message);
      RunFacts facts = factsNow();
      facts.failure = message;
      // That they cannot be written is told as well, but what came first counts.
      static_cast<void>(stats.write(settings, problem, findings, facts));
      static_cast<void>(report.write(settings, problem, findings, facts));
    } catch (const std::bad_alloc&) { // what is lost is the message
    }
    process::endNow(code);
  }
  for (;;) pause();
}

/// What a proof is about, and the file for it, if either is wanted. A proof that cannot be about
/// the text ends the process, and so does a file that cannot be written.
void Run::stateProblem(const formats::Linear& linear) {
  if (settings.proof.empty() && settings.opb.empty()) return;
  if (settings.opb.empty()) {
    const std::string obstacle = Statement::obstacle(problem);
    if (!obstacle.empty())
      giveUp("a proof cannot be about this text, which " + obstacle +
                 "; it can be about a file that --write-opb FILE writes",
             exit_usage);
    statement.emplace(problem, linear, false);
    return;
  }
  statement.emplace(problem, linear, true);
  ProofFile file(settings.opb);
  statement->writeOpb([&](const std::string& text) { file.write(text.data(), text.size()); });
  file.close();
  if (file.hasFailed()) giveUp(settings.opb + ": it could not be written", process::exit_no_output);
}

Verdict Run::solve() {
  estoc::Solver engine(settings.engine);
  setSolver(&engine);
  const struct Retire {
    Run& run;
    ~Retire() { run.setSolver(nullptr); }
  } retire{*this};
  const auto linear = formats::linearise(problem);
  if (!linear) {
    process::complain(linear.error().text());
    return Verdict::unsupported;
  }
  stateProblem(*linear);
  if (!settings.proof.empty()) {
    const auto version =
        settings.proof_version == "2.0" ? estoc::ProofVersion::v2 : estoc::ProofVersion::v3;
    proof.emplace(settings.proof, *statement, version);
    open_proof = &*proof;
    engine.prove(
        *proof, {version, statement->rows(), statement->surplus(),
                 "about " + process::visible(settings.opb.empty() ? settings.file : settings.opb)});
  }
  load(problem, *linear, statement ? &*statement : nullptr, engine, stop);
  loaded_at = process::wallTicks() - start;
  Reporter reporter(problem, findings, engine, start);
  const estoc::Verdict verdict = stop ? estoc::Verdict::unknown : engine.solve({}, &reporter);
  reporter.end();
  if (proof) {
    engine.concludeProof();
    proof->close();
  }
  counters = engine.statistics();
  switch (verdict) {
  case estoc::Verdict::optimal:
    return Verdict::optimum;
  case estoc::Verdict::satisfiable:
    return Verdict::satisfiable;
  case estoc::Verdict::unsatisfiable:
    return Verdict::unsatisfiable;
  case estoc::Verdict::unknown:
    break;
  }
  return Verdict::unknown;
}

RunFacts Run::factsNow() const {
  RunFacts facts;
  facts.read = read_at;
  facts.loaded = loaded_at;
  facts.ended = process::wallTicks() - start;
  facts.processor = process::processorTicks();
  return facts;
}

/// States the result and ends the process; does nothing when the other thread is at that already.
void Run::end(Verdict claimed, const std::string& stopped_by,
              const std::optional<estoc::Statistics>& engine_counters) {
  RunFacts facts = factsNow();
  facts.stopped_by = stopped_by;
  facts.counters = engine_counters;
  if (!stopped_by.empty()) findings.comment(1, "stopped by " + stopped_by);
  if (facts.counters)
    forEachCounter(*facts.counters, [&](const char* name, std::uint64_t value) {
      findings.comment(2, std::string(name) + " " + std::to_string(value));
    });
  char times[80];
  std::snprintf(times, sizeof times, "time wall %.3f processor %.3f", process::seconds(facts.ended),
                process::seconds(facts.processor));
  findings.comment(1, times);
  const std::optional<Verdict> verdict = findings.conclude(claimed);
  if (!verdict) return;
  facts.verdict = *verdict;
  const bool has_stats = stats.write(settings, problem, findings, facts);
  const bool has_report = report.write(settings, problem, findings, facts);
  const bool has_proof = !proof || !proof->hasFailed();
  if (!has_stats || !has_report || !has_proof) process::endNow(process::exit_no_output);
  const bool nothing_left = *verdict == Verdict::unknown && stopped_by == no_memory;
  process::endNow(nothing_left ? int{process::exit_no_memory} : exitCodeOf(*verdict));
}

void Run::perform() {
  try {
    readAndSolve();
  } catch (const FalseClaim& fault) {
    giveUp(fault.what(), exit_internal);
  }
  for (;;) // the watchdog ends the process
    pause();
}

/// Returns only if the other thread is ending the process.
void Run::readAndSolve() {
  Verdict claimed = Verdict::unknown;
  std::string stopped_by;
  try {
    startWatchdog();
    if (settings.memory_limit) process::limitMemory(*settings.memory_limit);
    findings.comment(1, "estoc " QUILLON_VERSION);
    claimed = read();
    if (read_at != 0 && !stop) claimed = solve();
    const bool has_objective = problem.hasObjective();
    if (claimed == Verdict::unknown || (claimed == Verdict::satisfiable && has_objective))
      stopped_by = stoppedBy();
  } catch (const std::bad_alloc&) { // what the engine or a reader had is free again
    process::complain("memory exhausted");
    stopped_by = no_memory;
    if (proof) proof->abandon();
  }
  end(claimed, stopped_by, counters);
}
