/// \file
/// The report of a run: one page in HTML that needs nothing else, for people to look at.
#ifndef QUILLON_PROGRAM_REPORT_H
#define QUILLON_PROGRAM_REPORT_H

#include "StatsFile.h"

/// Opened at once, written at the end.
class Report {
  ResultFile file;

 public:
  /// No report if `name` is empty. Ends the process if it cannot be opened.
  explicit Report(const std::string& name) : file(name) {}
  /// False, after a message, if it cannot be written. Once.
  [[nodiscard]] bool write(const Settings& settings, const formats::Problem& problem,
                           const Findings& findings, const RunFacts& facts);
};

/// The page itself, which is also well-formed XML.
std::string pageOf(const Settings& settings, const formats::Problem& problem,
                   const Findings& findings, const RunFacts& facts);

#endif
