/// \file
/// Raising the lower bound by unsatisfiable cores.
#ifndef ESTOC_OPTIMISE_CORE_GUIDED_H
#define ESTOC_OPTIMISE_CORE_GUIDED_H

#include "Objective.h"
#include "search/Search.h"

#include <vector>

namespace estoc {

/// Turns a row in normal form into "at least k of these", with k as large as the row gives: fewer
/// than k of its literals cannot reach the degree. Then coefficients are cut to the k-th
/// (weakening), light literals that the degree can spare are left out (weakening), and division by
/// the k-th coefficient does the rest. `derivation`, if not null, has derived the row.
void toCardinality(LearntRow& row, Derivation* derivation);

/// The objective, reformulated step by step: cost >= lower + sum of weight * literal, for all
/// solutions, where the literals are the objective's and those of counters. Assuming the literals
/// false gives either a solution that costs as little as can be, or a core: a row over them that
/// cannot all be false. The core, as a cardinality "at least k of n", takes its smallest weight
/// from each of its literals and moves k times that weight into the lower bound; what more than k
/// of them cost is what the counter's variables stand for: the j-th is true just when at least k +
/// j of them are. The next variable comes only when one is found in a core itself. Heavy literals
/// are assumed first (stratification).
///
/// Sources: Devriendt, Gocht, Demirović, Nordström and Stuckey, Cutting to the core of
/// pseudo-Boolean optimization (2021); Morgado, Dodaro and Marques-Silva, Core-guided MaxSAT with
/// soft cardinality constraints (2014); Ansótegui, Bonet and Levy (2012) on stratification.
class CoreGuided {
 public:
  CoreGuided(Search& s, const Objective& objective);

  /// What no cost is below.
  Int128 lowerCost() const { return lower; }
  /// What is to be assumed now, heaviest first.
  std::vector<Lit> assumptions() const;
  /// Takes a core of these assumptions in; goes back to level 0. False when there is no solution.
  /// `id` is its number in the proof, if one is written.
  bool refine(const LearntRow& core, ProofId id);
  /// Assumes more literals from now on. False when all are assumed already.
  bool lowerThreshold();
  /// Fixes literals that cannot be true in a solution of a cost below `upper`, which constraint
  /// `upper_id` of the proof demands. Goes back to level 0 if there are any. False when there is no
  /// such solution.
  bool harden(Int128 upper, ProofId upper_id);
  /// Gives the variables of counters the values that belong to a solution, of which `values` has
  /// the problem's variables.
  void complete(std::vector<bool>& values) const;
  /// Adds to the derivation the reformulated objective: cost - sum of weight * literal >=
  /// lowerCost().
  void deriveBound(Derivation& derivation) const;

 private:
  /// At least `base` + j of `literals` are true just when the j-th variable is.
  struct Counter {
    std::vector<Lit> literals;
    Int128 weight;
    std::size_t reached;        ///< the newest variable stands for this many true literals
    std::vector<Var> variables; ///< up to the newest one, each for one literal more
    LearntRow sum;              ///< with a proof: literals - variables >= base
    std::size_t part;           ///< with a proof: index in `parts`
  };
  /// With a proof: for each core, constraint `id` times `weight` is its part of the bound.
  struct Part {
    ProofId id;
    Int128 weight;
  };
  Search& search;
  std::vector<Int128> weights; ///< per literal: its weight in the reformulated objective
  std::vector<Lit> active;     ///< literals whose weight may not be 0
  std::vector<Counter> counters;
  std::vector<Part> parts;
  std::vector<std::int32_t> counter_of; ///< per variable: whose newest one it is, -1 for none
  Int128 lower = 0;
  Int128 threshold = 0;

  void setWeight(Lit l, Int128 weight);
  bool spend(Lit l, Int128 amount);
  bool extend(std::size_t counter);
};

} // namespace estoc

#endif
