/// \file
/// Local search: flips one variable after the other, led by weights of what is violated.
#ifndef ESTOC_LOCALSEARCH_LOCAL_SEARCH_H
#define ESTOC_LOCALSEARCH_LOCAL_SEARCH_H

#include "FlatProblem.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace estoc {

/// Walks over full assignments. The penalty of an assignment is the sum, over violated rows, of the
/// row's weight times what it lacks, in units of the row's mean coefficient; the demand for a cost
/// of at most `target` is a row, too. A step flips the best of some literals drawn from violated
/// rows (only those can lower the penalty). Where none lowers it, the weights of what is violated
/// grow, and a literal of a violated row flips anyway: so the landscape changes until the walk gets
/// out of every hollow.
///
/// Scores are computed when they are asked for, from the rows that the variable occurs in, so that
/// a flip costs no more than that either, however long the rows are.
///
/// Sources: Lei, Cai, Luo and Hoos, Efficient local search for pseudo Boolean optimization (SAT
/// 2021); Chu, Cai, Luo, Lei and Peng, Towards more efficient local search for pseudo-Boolean
/// optimization (CP 2023); Gao, Weise and Li, An efficient local search heuristic with row
/// weighting for the unicost set covering problem (2015); Cai, Balance between complexity and
/// quality: local search for minimum vertex cover in massive graphs (IJCAI 2015), on the best from
/// multiple selections.
class LocalSearch {
 public:
  /// `problem` is finished and outlives the search.
  LocalSearch(const FlatProblem& problem, std::uint64_t seed, const std::atomic<bool>& interrupt);

  /// Begins a walk at `begin`, an entry for each variable; those for which `fixed` holds never
  /// flip. Weights are as at first or, with `keep_weights`, as the last walk has left them.
  void start(const std::vector<bool>& begin, const std::vector<bool>& fixed, bool keep_weights);
  /// Demands a cost of at most `most`, as the problem counts it.
  void setTarget(std::int64_t most);
  /// Walks until about `budget` visits of terms have been spent, it is interrupted or nothing can
  /// be better. Whether all rows have held meanwhile at a cost of at most the target: `solution`
  /// is the best one, and the target one less than its cost. Without a cost that ends the walk.
  bool run(std::uint64_t budget);

  /// The last solution that `run` has found.
  const std::vector<char>& solution();
  const std::vector<char>& assignment() const { return values; }
  /// Violated rows, the demand on the cost not among them.
  std::size_t violations() const { return violated.size(); }
  std::uint64_t flips() const { return steps; }
  /// Visits of terms since the beginning.
  std::uint64_t work() const { return visits; }

 private:
  struct RowState {
    std::int64_t slack; ///< the row's sum less its degree
    double weight;      ///< of a lack of 1
  };
  /// A set of numbers, with its members in a row to draw from.
  struct DrawSet {
    std::vector<std::uint32_t> members;
    std::vector<std::uint32_t> place; ///< per number: where it stands, or `nowhere`
    static constexpr std::uint32_t nowhere = ~std::uint32_t{0};

    void reset(std::size_t numbers) {
      members.clear();
      place.assign(numbers, nowhere);
    }
    void insert(std::uint32_t n) {
      place[n] = static_cast<std::uint32_t>(members.size());
      members.push_back(n);
    }
    void erase(std::uint32_t n) {
      const std::uint32_t last = members.back();
      members[place[n]] = last;
      place[last] = place[n];
      members.pop_back();
      place[n] = nowhere;
    }
    bool has(std::uint32_t n) const { return place[n] != nowhere; }
    bool empty() const { return members.empty(); }
    std::size_t size() const { return members.size(); }
  };
  struct Candidate {
    Var variable = -1;
    double score = 0; ///< by what the penalty falls
  };

  const FlatProblem& problem;
  const std::atomic<bool>& interrupted;
  std::uint64_t random;
  std::vector<char> values;
  std::vector<char> is_fixed;
  std::vector<RowState> rows;
  std::vector<double> units; ///< per row: the weight of a lack of 1 that it begins with
  DrawSet violated;
  DrawSet costly;                        ///< variables whose flip lowers the cost, not fixed
  std::vector<std::uint64_t> flipped_at; ///< per variable: the step of its last flip, 0 for none
  std::int64_t current_cost = 0;
  std::int64_t target = 0;
  double cost_weight = 0;
  double cost_unit = 0;
  std::uint64_t steps = 0;
  std::uint64_t visits = 0;
  std::uint64_t step_end = 0; ///< visits after which this step takes what it has
  // The last solution: `kept`, or else what was before the flips in `since`.
  std::vector<char> kept;
  std::vector<Var> since;
  bool is_kept = true;

  std::size_t draw(std::size_t below);
  bool isTrue(Lit l) const {
    return (values[static_cast<std::size_t>(l.var())] != 0) != l.negated();
  }
  bool costTooHigh() const { return problem.hasCost() && current_cost > target; }
  double score(Var v);
  void consider(Var v, Candidate& best, bool tabu);
  void considerRow(std::size_t row, std::size_t most, Candidate& best, bool tabu);
  void considerCost(std::size_t most, Candidate& best, bool tabu);
  Candidate bestOfSome();
  Var escape();
  void raiseWeights();
  void flip(Var v);
  void noteSolution();
};

} // namespace estoc

#endif
