/// \file
/// Cuts: rows that hold and that the optimum of the relaxation violates.
#ifndef ESTOC_LP_CUT_LOOP_H
#define ESTOC_LP_CUT_LOOP_H

#include "Relaxer.h"
#include "Rounding.h"
#include "search/Guide.h"

#include <array>
#include <vector>

namespace estoc {

/// Counters of the cuts, since the solver began.
struct CutCounters {
  std::uint64_t rounds = 0;
  std::uint64_t added = 0;
};

/// A guide that, at level 0, solves the relaxation and cuts its optimum off, in rounds, while that
/// raises the bound. Every cut is a row of integers, rounded from a sum of rows; the sums are
/// single rows (which gives covers, too), rows of the tableau and sums of rows that are even but
/// for their degree. Of the cuts of a round the deepest are taken that are not too parallel; those
/// that have not been tight for some rounds go.
///
/// Sources: Gomory, An algorithm for integer solutions to linear programs (1963); Caprara and
/// Fischetti, {0, 1/2}-Chvátal-Gomory cuts (1996); Achterberg, Constraint integer programming
/// (2007), for the selection.
class CutLoop final : public Guide {
 public:
  CutLoop(Relaxer& r, Search& s);

  /// The next run may do `work`, in the unit of `Search::work`, of which `first_work` on the
  /// relaxation's first optimum. A run that does not get that far has not begun.
  void begin(std::uint64_t work, std::uint64_t first_work);
  /// Whether there was one.
  bool hasBegun() const { return begun; }
  Advice advise() override;
  bool allowsRestarts() const override { return false; }
  const CutCounters& counters() const { return count; }

 private:
  using Share = LinearProgram::Share;
  struct Cut {
    std::vector<Share> shares;
    Rounding rounding;
    std::vector<Term<std::int64_t>> terms;
    std::int64_t degree = 0;
    double efficacy = 0;
    double norm = 0;
  };

  Relaxer& relaxer;
  Search& search;
  LinearProgram& program;
  const Trail& trail;
  std::uint64_t start = 0;
  std::uint64_t budget = 0;
  std::uint64_t first_budget = 0;
  int stalled = 0;
  double best_cost = 0;
  bool first = true;
  bool begun = false;
  Expression<Summed> sum;
  Rounding rounding;
  std::unique_ptr<Derivation> derivation; ///< null unless a proof is written
  std::vector<Cut> found;
  std::vector<char> ages; ///< per cut: rounds in which it has not been tight
  std::vector<double> dense;
  CutCounters count;

  std::uint64_t leftOf(std::uint64_t work) const;
  Advice finish();
  void makeBase(const std::vector<Share>& shares, Derivation* to);
  void finishRow(const Row& row, int bits, Derivation* to);
  void attempt(const std::vector<Share>& shares, std::int64_t divisor);
  void fromSingleRows();
  void fromTableau();
  void fromEvenSums();
  void sharesOf(const std::vector<double>& multipliers, double sign, std::vector<Share>& shares,
                std::int64_t& divisor) const;
  bool select();
  ProofId prove(const Cut& cut);
  void forgetSlack(int age);
};

} // namespace estoc

#endif
