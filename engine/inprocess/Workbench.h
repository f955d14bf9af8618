/// \file
/// What the techniques of inprocessing share: changes of the constraints, and a budget.
#ifndef ESTOC_INPROCESS_WORKBENCH_H
#define ESTOC_INPROCESS_WORKBENCH_H

#include "propagation/Propagation.h"

#include <atomic>
#include <utility>
#include <vector>

namespace estoc {

/// Counters, since the solver began.
struct InprocessCounters {
  std::uint64_t runs = 0;
  std::uint64_t facts = 0;  ///< literals fixed
  std::uint64_t probes = 0; ///< literals tried
  std::uint64_t failed = 0; ///< probes that led to a conflict
  std::uint64_t equivalences = 0;
  std::uint64_t vivified = 0;     ///< clauses tried
  std::uint64_t shortened = 0;    ///< clauses that this made shorter
  std::uint64_t subsumed = 0;     ///< clauses that another one implies
  std::uint64_t strengthened = 0; ///< clauses that lost a literal to another one
  std::uint64_t at_most_ones = 0; ///< cardinalities that took the place of clauses of two
};

/// Every change is one that reverse unit propagation confirms, given what is there at the time.
/// Changes are made at level 0; what is removed stays in the lists until `Propagation::collect`.
class Workbench {
 public:
  Workbench(Propagation& p, const std::atomic<bool>& interrupt)
      : propagation(p), trail(p.assignment()), interrupted(interrupt) {}
  Workbench(const Workbench&) = delete;
  Workbench& operator=(const Workbench&) = delete;

  Propagation& propagation;
  const Trail& trail;
  InprocessCounters count;
  Proof* proof = nullptr; ///< where steps are written, if one is

  /// Goes back to level 0, where l is true from now on, and propagates. False when there is no
  /// solution; nothing else may be called then.
  bool fix(Lit l);
  /// Goes back to level 0 and adds a clause of at least two literals, none of them assigned there.
  Ref add(const std::vector<Lit>& literals, bool learnt, unsigned glue);
  /// Puts `literals`, some of those of the clause or what they are equivalent to, in the place of
  /// the clause. Goes back to level 0. False when there is no solution.
  bool replace(Ref ref, const std::vector<Lit>& literals);
  void remove(Ref ref) {
    propagation.remove(ref);
    changed = true;
  }
  /// Whether something has been removed since the last call.
  bool takeChanged() { return std::exchange(changed, false); }

  /// Goes back over the trail through what made constraint `ref` falsified, or made it imply the
  /// literal at place `before`: calls `goOn(l, others)` for the literals above level 0 that this
  /// rests on, the newest first, where `others` older ones are known so far. The reason of l takes
  /// its place if the answer is true; without one there is no more to see of l.
  template <class F> void walkBack(Ref ref, int before, F&& goOn) {
    int open = 0;
    const auto see = [&](Ref from) {
      forEachLiteral(propagation.at(from), [&](Lit l) {
        charge(1);
        char& mark = seen[static_cast<std::size_t>(l.var())];
        if (!trail.isFalse(l) || trail.position(l.var()) >= before || mark != 0 ||
            trail.level(l.var()) == 0)
          return;
        mark = 1;
        open++;
      });
    };
    seen.resize(static_cast<std::size_t>(trail.variables()));
    see(ref);
    while (open > 0) {
      const Lit l = trail[--before];
      char& mark = seen[static_cast<std::size_t>(l.var())];
      if (mark == 0) continue;
      mark = 0;
      open--;
      if (goOn(l, open)) see(trail.reason(l.var()));
    }
  }

  /// From now on there is `work` to spend, in visits of watches and terms.
  void startBudget(std::uint64_t work) { end = spent() + work; }
  /// Whether it is spent, or somebody wants the search to end.
  bool isOver() const { return spent() >= end || interrupted.load(std::memory_order_relaxed); }
  /// All work so far, the search's propagation, too.
  std::uint64_t spent() const { return propagation.work().total() + steps; }
  /// Notes work that is not propagation's.
  void charge(std::uint64_t work) { steps += work; }
  std::uint64_t chargedWork() const { return steps; }

 private:
  const std::atomic<bool>& interrupted;
  std::uint64_t steps = 0;
  std::uint64_t end = 0;
  bool changed = false;
  std::vector<char> seen; ///< per variable, during `walkBack`
};

} // namespace estoc

#endif
