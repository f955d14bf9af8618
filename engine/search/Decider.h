/// \file
/// Which variable to decide next, and which value to try first.
#ifndef ESTOC_SEARCH_DECIDER_H
#define ESTOC_SEARCH_DECIDER_H

#include "estoc/Types.h"
#include "propagation/Prefetch.h"
#include "propagation/Trail.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace estoc {

/// Two orders of the variables, of which one is in use at a time. In stable mode, a heap of
/// activities that decay by conflicts (Moskewicz et al., Chaff, 2001; Eén and Sörensson, 2003). In
/// focused mode, a queue to whose end the variables of a conflict move (Ryan, 2004; Biere and
/// Fröhlich, Evaluating CDCL variable scoring schemes, 2015).
///
/// The value tried first is the last one that the variable had; in stable mode that of the longest
/// trail without conflict since the last reset (Pipatsrisawat and Darwiche, 2007; Biere and
/// Fleury, 2020), or that of the best solution if asked for.
class Decider {
 public:
  explicit Decider(const Trail& t) : trail(t) {}

  /// A new variable, behind the others in both orders; `phase` is the value it is first tried with.
  void addVariable(bool phase);
  /// Gives v, which has never been bumped, an activity to begin with.
  void favour(Var v, double start);
  /// The literals of the trail from place `from` on lose their values.
  void onUnassign(int from);

  /// The variable to decide, which is unassigned; -1 when all are assigned.
  Var next();
  /// The literal of v to try.
  Lit literal(Var v) const;

  void setStable(bool s) { stable = s; }
  bool isStable() const { return stable; }
  /// Notes that v took part in the current conflict.
  void bump(Var v);
  /// Called once a conflict has been analysed: carries out the bumps.
  void endConflict();

  /// The value that v had last.
  bool savedPhase(Var v) const { return saved[static_cast<std::size_t>(v)] > 0; }
  void setPhase(Var v, bool value) { saved[static_cast<std::size_t>(v)] = value ? 1 : -1; }
  /// The values that were had last, to be put back after what should not change them.
  const std::vector<signed char>& phases() const { return saved; }
  void setPhases(const std::vector<signed char>& values) { saved = values; }
  /// Called with the number of literals that are assigned without conflict: remembers their values
  /// if there have never been more.
  void noteTrail(int consistent);
  void forgetBestTrail() { best_size = 0; }
  /// `values` are those of a solution; it steers decisions while `use` says so.
  void setSolution(const std::vector<bool>& values);
  void useSolution(bool use) { use_solution = use; }
  /// The values of the best trail become the saved ones, or all values are turned, or set to what
  /// they were at first.
  enum class Rephase { best, inverted, original, solution };
  void rephase(Rephase how);

 private:
  friend class SearchAudit;
  const Trail& trail;
  bool stable = false;
  bool use_solution = false;

  // Activities
  std::vector<double> activity;
  double increment = 1.0;
  std::vector<Var> heap;
  std::vector<std::int32_t> place; ///< per variable: where it stands in the heap, -1 if not
  bool before(Var a, Var b) const {
    const double x = activity[static_cast<std::size_t>(a)];
    const double y = activity[static_cast<std::size_t>(b)];
    return x > y || (x == y && a < b);
  }
  void siftUp(std::int32_t i);
  void siftDown(std::int32_t i);
  void insert(Var v);
  Var takeFirst();

  // Queue
  struct Link {
    Var previous = -1;
    Var next = -1;
    std::uint64_t stamp = 0;
  };
  std::vector<Link> links;
  Var first = -1;
  Var last = -1;
  Var hint = -1; ///< everything behind it is assigned
  std::uint64_t stamps = 0;
  void moveToEnd(Var v);
  void append(Var v);

  std::vector<Var> bumped;
  std::vector<std::pair<std::uint64_t, Var>> by_stamp;
  std::vector<char> is_bumped;

  // Phases: 1, -1, or 0 for none
  std::vector<signed char> saved;
  std::vector<signed char> original;
  std::vector<signed char> best;
  std::vector<signed char> solution;
  int best_size = 0;
  int noted = 0; ///< the trail up to there is what it was when the best values were taken from it
};

} // namespace estoc

#endif
