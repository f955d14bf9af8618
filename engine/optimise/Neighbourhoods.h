/// \file
/// Which part of the best solution is kept while the rest is searched for a better one.
#ifndef ESTOC_OPTIMISE_NEIGHBOURHOODS_H
#define ESTOC_OPTIMISE_NEIGHBOURHOODS_H

#include "search/Search.h"

#include <vector>

namespace estoc {

/// Chooses literals of the best solution to be assumed, so that what is left is small enough to be
/// searched. There are two ways in turn: to keep what the relaxation's optimum agrees with, but for
/// some, and to set free a number of variables that share rows, around one chosen by chance. How
/// many are set free follows success: more when the neighbourhood has been refuted, fewer when it
/// could not be searched to its end.
///
/// Sources: Danna, Rothberg and Le Pape, Exploring relaxation induced neighborhoods to improve MIP
/// solutions (2005); Shaw, Using constraint programming and local search methods to solve vehicle
/// routing problems (1998), for large neighbourhoods and for what is related.
class Neighbourhoods {
 public:
  enum class Result {
    improved, ///< a better solution was found
    refuted,  ///< there is none
    unclear
  };

  /// Of the first `variables` variables of `s`.
  Neighbourhoods(Search& s, Var variables, std::uint64_t seed);

  /// Literals of `best` to be assumed. `relaxed`: values of an optimum of the relaxation, empty if
  /// there is none.
  std::vector<Lit> choose(const std::vector<bool>& best, const std::vector<double>& relaxed);
  /// Whether the last choice goes by the relaxation.
  bool isRelaxed() const { return by_relaxation; }
  /// What came of the last choice.
  void note(Result result);
  /// Work done so far, in the unit of `Search::work`.
  std::uint64_t work() const { return steps; }

 private:
  Search& search;
  const Var variables;
  std::uint64_t random;
  std::uint64_t steps = 0;
  bool is_built = false;
  bool by_relaxation = false;
  double free_share[2] = {0.3, 0.02}; ///< by chance; beside what the relaxation sets free
  // Rows and the variables in them, and back.
  std::vector<std::size_t> row_starts;
  std::vector<Var> row_variables;
  std::vector<std::size_t> variable_starts;
  std::vector<std::size_t> variable_rows;
  std::vector<char> is_free;
  std::vector<char> row_seen;

  void build();
  void setFree(std::size_t count);
};

} // namespace estoc

#endif
