/// \file
/// Branch and bound by the relaxation, on the trail of the conflict-driven search.
#ifndef ESTOC_LP_BRANCHING_H
#define ESTOC_LP_BRANCHING_H

#include "Relaxer.h"
#include "search/Guide.h"

#include <vector>

namespace estoc {

/// A guide that solves the relaxation at each node, and decides variables on which it is
/// undecided. Nodes that are cut off become conflicts, so the search learns and goes back as ever.
/// The decisions are kept: what a backjump takes back is decided again, up to the first one that
/// is no longer open, so that the tree is left where it was, also between slices. Depth first.
///
/// The variable is chosen by what its decisions have cost so far (pseudo-costs: Bénichou et al.,
/// Experiments in mixed-integer linear programming, 1971), which is tried out first while little is
/// known (Achterberg, Koch and Martin, Branching rules revisited, 2005).
class Branching final : public Guide {
 public:
  Branching(Relaxer& r, Search& s);

  /// The next run may do `work`, in the unit of `Search::work`. `dive`: looks for a solution
  /// rather than for a proof.
  void begin(std::uint64_t work, bool dive);
  /// Leaves all decisions behind.
  void forget();
  Advice advise() override;
  bool allowsRestarts() const override { return false; }
  /// What has been spent since `begin`.
  std::uint64_t left() const;

 private:
  struct Decided {
    Lit literal;
    double cost = 0;     ///< of the relaxation before
    double distance = 0; ///< how far the value moved; 0 once the change of cost is noted
  };
  struct Record {
    double up = 0; ///< sums of changes of the cost for a distance of 1
    double down = 0;
    std::uint32_t ups = 0;
    std::uint32_t downs = 0;
  };
  struct Candidate {
    Var v;
    double value;
    double score;
    bool down_refuted = false; ///< it seems that nothing is to be found there
    bool up_refuted = false;
  };

  Relaxer& relaxer;
  Search& search;
  const Trail& trail;
  std::uint64_t start = 0;
  std::uint64_t budget = 0;
  bool diving = false;
  std::vector<Decided> path;
  std::vector<Lit> rest; ///< to be decided without asking, the relaxation has no doubts
  std::size_t next_rest = 0;
  std::uint64_t rest_conflicts = 0;
  std::vector<Record> records;
  Record average; ///< over all variables
  std::uint64_t node_pivots = 0;
  std::uint64_t probe_pivots = 0;
  std::vector<Candidate> candidates;

  void forgetRest();
  bool resume(Lit& literal);
  void noteCost();
  void note(Var v, bool up, double change);
  double score(double down, double up) const;
  double expected(const Record& r, bool up) const;
  void collect();
  Lit choose();
  void tryOut();
  Lit chooseForDive();
};

} // namespace estoc

#endif
