/// \file
/// A relaxation together with the exact rows that its rows stand for.
#ifndef ESTOC_LP_LINEAR_PROGRAM_H
#define ESTOC_LP_LINEAR_PROGRAM_H

#include "Relaxation.h"
#include "expression/Expression.h"
#include "optimise/Objective.h"
#include "propagation/Propagation.h"

#include <optional>
#include <vector>

namespace estoc {

/// Sums of rows: wide enough for multipliers of 60 bits and numbers of 50 bits.
struct Summed {
  using Coefficient = Int128;
  using Degree = Int128;
  static constexpr int safe_bits = 100;
};

/// How far from 0 or 1 a value of the relaxation may be and still count as that.
inline constexpr double integral = 1e-6;
/// Whether it is that far from both.
inline bool isBroken(double value) {
  return value > integral && value < 1 - integral;
}

/// The constraints of a problem as a linear program over its variables, with the objective, if
/// there is one. Keeps the rows in integers, too, so that multipliers can be turned into rows that
/// hold whatever the floats were. Two rows that bound the same sum from both sides are one row of
/// the relaxation. Rows with numbers beyond 2^50 are left out.
class LinearProgram {
 public:
  /// Numbers of the rows that take part have at most this many bits.
  static constexpr int largest_bits = 50;

  /// The rows of `constraints` but for `without`, over variables below `columns`.
  LinearProgram(std::unique_ptr<Relaxation> r, Propagation& constraints, Ref without, Var columns,
                const Objective* objective, Proof* proof);

  /// With more terms in the constraints a relaxation takes more memory and time than it gives.
  static constexpr std::size_t most_terms = 5000000;
  static std::size_t countTerms(const Propagation& constraints);

  Relaxation& relaxation() { return *lp; }
  const Relaxation& relaxation() const { return *lp; }
  Var columns() const { return width; }
  /// Numbers in all rows of the relaxation.
  std::size_t nonzeros() const { return entries; }
  /// Whether the objective takes part.
  bool hasObjective() const { return costs != nullptr; }

  /// Whether the relaxation can say anything: rows that all are clauses of two literals or more
  /// hold with all values at 1/2.
  bool isUseful() const { return useful; }
  /// For problems without an objective: takes the left side of the longest row with different
  /// coefficients for one, as solutions are near to where it is large. Proves nothing.
  void takeGuidingCosts();
  // Rows that follow from others ------------------------------------------------------------------

  /// One of the exact rows, and what it is multiplied with.
  struct Share {
    std::int32_t row;
    std::int64_t factor; ///< positive
  };
  static constexpr std::int32_t none = -1;
  /// Rows of the relaxation.
  std::size_t rows() const { return sides.size(); }
  /// The exact row of one side of row `row` of the relaxation, `none` if there is none.
  std::int32_t side(std::size_t row, bool lower) const {
    return lower ? sides[row].lower : sides[row].upper;
  }
  /// The largest coefficient of an exact row, and the number of its terms.
  std::int64_t largestOf(std::int32_t row) const { return at(row).largest; }
  std::size_t sizeOf(std::int32_t row) const { return at(row).size; }
  /// All coefficients and the degree of an exact row together.
  double sumOf(std::int32_t row) const { return at(row).sum; }
  /// Calls `f` with coefficient and literal of each of its terms.
  template <class F> void visitTerms(std::int32_t row, F&& f) const {
    const Exact& e = at(row);
    for (std::size_t k = e.start; k < e.start + e.size; k++)
      f(terms[k].coefficient, terms[k].literal);
  }
  /// By how much `values` of the variables exceed what the exact row demands.
  double slackOf(std::int32_t row, const std::vector<double>& values) const;
  /// Adds the rows to `e`, which has room for the sums, and to `derivation` unless it is null.
  void addShares(Expression<Summed>& e, const std::vector<Share>& shares,
                 Derivation* derivation) const {
    for (const Share& s : shares) addExact(e, at(s.row), s.factor, derivation);
  }
  /// Adds a row that follows from the others, constraint `id` of the proof, behind them.
  void addCut(const std::vector<Term<std::int64_t>>& cut, std::int64_t degree, ProofId id);
  /// Cuts are the rows from this one on.
  std::size_t firstCut() const { return problem_rows; }
  /// Takes cuts out for which `keep` (by row, from `firstCut` on) has 0.
  void keepCuts(const std::vector<char>& keep, Proof* proof);

  /// Takes what level 0 settles out of the relaxation: columns of variables assigned, and rows of
  /// the problem that hold. The exact rows stay as they are.
  void reduce(const Trail& trail);
  /// Fixes the columns that the trail assigns, and frees the others.
  void followTrail(const Trail& trail);
  /// Demands solutions that cost less than `cost`.
  void demandLess(Int128 cost);
  /// What the last optimum costs, in the objective's own numbers.
  double cost() const { return lp->objective() / cost_unit + cost_constant; }

  /// Adds the rows, each as often as its multiplier says, into `e`, which is empty, and into
  /// `derivation` unless it is null. `basis`: the multipliers are those of a basis, not of a ray;
  /// then the result is what stands for 1 in them, and what the objective has to be added with. 0
  /// when the numbers are of no use.
  Int128 combine(Expression<Summed>& e, bool basis, Derivation* derivation);
  /// Adds the demand for a cost of at most `most`, which is constraint `id` of the proof, to `e`;
  /// if `unless` is a literal: or else it is true.
  void addDemand(Expression<Summed>& e, Int128 times, Int128 most, Lit unless, ProofId id,
                 Derivation* derivation) const;
  /// `e` is a sum of rows, in which `unit` stands for 1. Makes of the same rows in `derivation` the
  /// bound on the cost that they prove, by axioms and by what is known at level 0.
  void deriveBound(const Expression<Summed>& e, Int128 unit, const Trail& trail, Proof& proof,
                   Derivation& derivation) const;

 private:
  struct Exact {
    std::size_t start; ///< in `terms`
    std::size_t size;
    std::int64_t degree;
    std::int64_t largest;
    double sum; ///< of all coefficients and the degree
    ProofId id; ///< its own copy in the proof, if one is written
  };
  struct Sides {
    std::int32_t lower = none; ///< the exact row of the lower side
    std::int32_t upper = none;
  };
  std::unique_ptr<Relaxation> lp;
  Var width;
  const Objective* costs;
  double cost_unit = 1;     ///< what a cost of 1 is in the relaxation, a power of 2
  double cost_constant = 0; ///< the relaxation has w ~x as -w x, without w
  Int128 all_costs = 0;
  std::vector<Term<std::int64_t>> terms;
  std::vector<Exact> exact;
  std::vector<Sides> sides;       ///< per row of the relaxation
  std::vector<signed char> fixed; ///< per column: 1 or -1 while it is fixed at 1 or 0
  std::size_t entries = 0;
  std::size_t problem_rows = 0; ///< of the relaxation; what comes behind are cuts
  bool useful = false;

  bool isSettled(std::int32_t row, const Trail& trail) const;
  void takeConstraints(Propagation& constraints, Ref without, Proof* proof);
  void addExact(Expression<Summed>& e, const Exact& row, Int128 factor,
                Derivation* derivation) const;
  void pairRows();
  double boundOf(const Exact& e) const;
  void append(const Exact& e, RelaxationRows& to) const;
  void setCosts();
  const Exact& at(std::int32_t row) const { return exact[static_cast<std::size_t>(row)]; }
  const Exact& exactSide(std::size_t row, bool lower) const { return at(side(row, lower)); }
};

} // namespace estoc

#endif
