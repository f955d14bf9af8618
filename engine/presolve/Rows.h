/// \file
/// Drops rows that other ones imply, and brings rows up to date with what has been fixed.
#ifndef ESTOC_PRESOLVE_ROWS_H
#define ESTOC_PRESOLVE_ROWS_H

#include "search/Search.h"

#include <cstdint>
#include <vector>

namespace estoc {

/// What comparing the rows has come to.
struct RowCounters {
  std::uint64_t renewed = 0; ///< rows in normal form again, since some of their literals are fixed
  std::uint64_t split = 0;   ///< rows that clauses have taken the place of
  std::uint64_t dropped = 0; ///< rows that another one implies
  std::uint64_t fixed = 0;   ///< literals that a clause and a row that contradicts it imply
};

/// Keeps the set of solutions. Of two rows that are compared, the literals of the smaller one are
/// all in the larger one.
///
/// - A row of which some literals are each enough, and all others are needed when these are false,
///   says what a clause for each of the others says, which in a linear relaxation say more. They
///   take its place if they are few.
/// - A row implies another one if, after multiplying it or not, what it has more of the literals is
///   no more than what it demands more. In the proof the other one is deleted.
/// - A clause implies that a row with the negations of its literals loses at least the smallest of
///   their coefficients. A literal with a coefficient larger than what is left to lose is true.
///
/// Rows are compared that share the literal that occurs least in the smaller one; signatures of 64
/// bits tell most of those apart that are of no use.
///
/// Source: Achterberg, Bixby, Gu, Rothberg and Weninger, Presolve reductions in mixed integer
/// programming (2020).
class Rows {
 public:
  Rows(const Options& o, Search& s) : options(o), search(s) {}

  /// Goes once over all rows, within a budget of work. Goes to level 0. Before anything is learnt.
  /// False when there is no solution.
  bool run();

  const RowCounters& counters() const { return count; }

 private:
  struct Line {
    std::size_t start; ///< in `terms`
    std::uint32_t size;
    Ref ref;
    std::int64_t degree;
    std::int64_t sum;
    std::uint64_t signature; ///< of its literals
    std::uint64_t opposite;  ///< of their negations
    bool gone;
  };
  const Options& options;
  Search& search;
  RowCounters count;
  std::vector<Line> lines;
  std::vector<Term<std::int64_t>> terms;
  std::vector<std::size_t> starts;   ///< per literal: in `users`; one more
  std::vector<std::uint32_t> users;  ///< lines by literal
  std::vector<std::int64_t> demands; ///< per literal: coefficient in the row compared, else 0
  std::uint64_t work = 0;
  std::uint64_t budget = 0;

  bool renew();
  void split();
  bool split(Ref ref);
  void take(std::size_t size);
  bool compareAll();
  void compareWithLarger(std::uint32_t small);
  bool opposeWithLarger(std::uint32_t small);
  void compare(std::uint32_t small, std::uint32_t large);
  bool oppose(std::uint32_t small, std::uint32_t large);
  void drop(std::uint32_t line, std::uint32_t by);
  std::size_t uses(Lit l) const { return starts[l.index() + 1] - starts[l.index()]; }
  bool isOver() const { return work >= budget || search.isInterrupted(); }
};

} // namespace estoc

#endif
