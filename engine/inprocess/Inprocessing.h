/// \file
/// Simplifies the constraints between two parts of the search.
#ifndef ESTOC_INPROCESS_INPROCESSING_H
#define ESTOC_INPROCESS_INPROCESSING_H

#include "AtMostOnes.h"
#include "Equivalences.h"
#include "Probing.h"
#include "Subsumption.h"
#include "Vivification.h"
#include "estoc/Options.h"

namespace estoc {

/// The techniques in turn, each with a share of the work that the search has done since the last
/// time. All of them keep the set of solutions.
class Inprocessing {
 public:
  Inprocessing(const Options& o, Propagation& p, const std::atomic<bool>& interrupt)
      : options(o), bench(p, interrupt), at_most_ones(bench), equivalences(bench), probing(bench),
        subsumption(bench), vivification(bench) {}

  void setProof(Proof& p) { bench.proof = &p; }
  /// At level 0, at a fixpoint; afterwards, too. `conflicts` and `work` are the search's so far,
  /// inprocessing not among them. False when there is no solution.
  bool run(std::uint64_t conflicts, std::uint64_t work);
  /// Whether enough has happened since the last time.
  bool isDue(std::uint64_t conflicts) const { return conflicts >= next_run; }
  /// Whether constraints have been removed, whose memory is to be given back.
  bool takeChanged() { return bench.takeChanged(); }

  const InprocessCounters& counters() const { return bench.count; }
  /// Work that propagation does not count.
  std::uint64_t work() const { return bench.chargedWork(); }

 private:
  const Options& options;
  Workbench bench;
  AtMostOnes at_most_ones;
  Equivalences equivalences;
  Probing probing;
  Subsumption subsumption;
  Vivification vivification;
  std::uint64_t next_run = 0;
  std::uint64_t work_before = 0;
};

} // namespace estoc

#endif
