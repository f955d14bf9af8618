/// \file
/// Extends at-most-ones by literals that exclude all of their members.
#ifndef ESTOC_PRESOLVE_CLIQUES_H
#define ESTOC_PRESOLVE_CLIQUES_H

#include "search/Search.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace estoc {

/// Two literals exclude each other if they are in one at-most-one, of which a clause of two is the
/// smallest kind. An at-most-one to which something can be added says less than the relaxation
/// could know: the extended one takes the place of all that are part of it. Keeps the set of
/// solutions. Source: Johnson and Padberg, Degree-two inequalities, clique facets, and biperfect
/// graphs (1982).
class Cliques {
 public:
  explicit Cliques(Search& s) : search(s), trail(s.constraints().assignment()) {}

  /// Goes once over all rows, within a budget of work. At level 0, at a fixpoint, before anything
  /// is learnt. False when there is no solution.
  bool run();

  std::uint64_t extended() const { return extended_count; }
  /// At-most-ones that were part of an extended one.
  std::uint64_t dropped() const { return dropped_count; }

 private:
  struct Line {
    std::size_t start; ///< in `members`
    std::uint32_t size;
    Ref ref;
    bool gone;
  };
  Search& search;
  const Trail& trail;
  std::uint64_t extended_count = 0;
  std::uint64_t dropped_count = 0;
  std::vector<Line> lines;
  std::vector<Lit> members;          ///< literals of which one may be true, line by line
  std::vector<std::size_t> starts;   ///< per literal: in `users`; one more
  std::vector<std::uint32_t> users;  ///< lines by literal
  std::vector<std::uint32_t> stamps; ///< per literal: the last time it was seen next to another one
  std::uint32_t stamp = 0;
  std::vector<std::uint32_t> shared; ///< per line: members in the clique; 0 in between
  std::vector<Lit> clique;
  std::vector<Lit> open;
  std::uint64_t work = 0;

  bool take();
  void keepNeighbours(Lit l);
  void grow(const Line& line);
  void put(const Line& line);
  ProofId derive(const Line& line);
  bool isOver() const;
};

} // namespace estoc

#endif
