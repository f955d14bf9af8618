/// \file
/// The statistics of a run, as a JSON file.
#ifndef QUILLON_PROGRAM_STATS_FILE_H
#define QUILLON_PROGRAM_STATS_FILE_H

#include "CommandLine.h"
#include "Findings.h"
#include "ResultFile.h"
#include "estoc/Solver.h"

#include <optional>
#include <string>

/// What the files at the end tell beside the findings.
struct RunFacts {
  process::Ticks read = 0;   ///< when the problem had been read, since the beginning; 0: it was not
  process::Ticks loaded = 0; ///< when the engine had it; 0: it never had
  process::Ticks ended = 0;
  process::Ticks processor = 0; ///< time used
  Verdict verdict = Verdict::unknown;
  std::string stopped_by = {}; ///< empty when nothing did
  std::optional<estoc::Statistics> counters = {};
  std::string failure = {}; ///< the message that ended the run in place of a verdict
};

/// Opened at once, written at the end.
class StatsFile {
  ResultFile file;

 public:
  /// No file if `name` is empty. Ends the process if it cannot be opened.
  explicit StatsFile(const std::string& name) : file(name) {}
  /// False, after a message, if it cannot be written. Once.
  [[nodiscard]] bool write(const Settings& settings, const formats::Problem& problem,
                           const Findings& findings, const RunFacts& facts);
};

/// The counters of the engine by name, in one order for all outputs.
template <class Visitor> void forEachCounter(const estoc::Statistics& s, Visitor visit) {
  visit("conflicts", s.conflicts);
  visit("decisions", s.decisions);
  visit("propagations", s.propagations);
  visit("clause visits", s.clause_visits);
  visit("row visits", s.row_visits);
  visit("restarts", s.restarts);
  visit("reductions", s.reductions);
  visit("learnt clauses", s.learnt_clauses);
  visit("learnt cardinalities", s.learnt_cardinalities);
  visit("learnt general", s.learnt_general);
  visit("facts", s.facts);
  visit("failed literals", s.failed_literals);
  visit("equivalences", s.equivalences);
  visit("shortened", s.shortened);
  visit("subsumed", s.subsumed);
  visit("strengthened", s.strengthened);
  visit("at-most-ones", s.at_most_ones);
  visit("cores", s.cores);
  visit("presolved", s.presolved);
  visit("rows dropped", s.dropped);
  visit("slices of local search", s.local_slices);
  visit("flips", s.local_flips);
  visit("LP calls", s.lp_calls);
  visit("LP calls skipped", s.lp_skipped);
  visit("LP pivots", s.lp_pivots);
  visit("LP conflicts", s.lp_conflicts);
  visit("LP conflicts lost", s.lp_failed);
  visit("cut rounds", s.cut_rounds);
  visit("cuts", s.cuts);
  visit("work", s.work);
  visit("constraints", std::uint64_t{s.constraints});
  visit("learnt", std::uint64_t{s.learnt});
  visit("memory", std::uint64_t{s.memory});
}

#endif
