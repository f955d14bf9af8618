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

/// The techniques in turn, each for a share of the search's work: what it does not spend it may
/// spend the next time. All of them keep the set of solutions.
class Inprocessing {
 public:
  Inprocessing(const Options& o, Propagation& p, const std::atomic<bool>& interrupt)
      : options(o), bench(p, interrupt), at_most_ones(bench, o.pace > 1 ? 3 : smallest_clique),
        equivalences(bench), probing(bench), subsumption(bench), vivification(bench) {}

  void setProof(Proof& p) { bench.proof = &p; }
  /// At level 0, at a fixpoint; afterwards, too. `conflicts` and `work` are the search's so far,
  /// inprocessing not among them. False when there is no solution.
  bool run(std::uint64_t conflicts, std::uint64_t work);
  /// At level 0, at a fixpoint; afterwards, too: tries all literals, for `work` at most. False when
  /// there is no solution.
  bool probe(std::uint64_t work) {
    bench.startBudget(work);
    return probing.run(true);
  }
  /// Whether enough has happened since the last time.
  bool isDue(std::uint64_t conflicts) const { return conflicts >= next_run; }
  /// Whether constraints have been removed, whose memory is to be given back.
  bool takeChanged() { return bench.takeChanged(); }

  const InprocessCounters& counters() const { return bench.count; }
  /// Work that propagation does not count.
  std::uint64_t work() const { return bench.chargedWork(); }

 private:
  /// Below this size resolution does as well, and the search is faster with clauses.
  static constexpr std::size_t smallest_clique = 6;
  const Options& options;
  Workbench bench;
  AtMostOnes at_most_ones;
  Equivalences equivalences;
  Probing probing;
  Subsumption subsumption;
  Vivification vivification;
  std::uint64_t next_run = 0;
  std::uint64_t work_before = 0;
  /// What each technique has earned and not spent.
  struct Credits {
    std::uint64_t at_most_ones = 0;
    std::uint64_t probing = 0;
    std::uint64_t subsumption = 0;
    std::uint64_t vivification = 0;
  } credits;

  template <class F> bool spend(std::uint64_t& credit, F&& technique);
};

} // namespace estoc

#endif
