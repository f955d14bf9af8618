/// \file
/// Puts a problem together from terms and rows in the order of the text. It lets some terms gather
/// before it enters them, so that their names are looked up at once: in a large problem that takes
/// a fraction of the time, since memory answers many questions as fast as one.
#ifndef QUILLON_FORMATS_ASSEMBLER_H
#define QUILLON_FORMATS_ASSEMBLER_H

#include "Problem.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace formats {

/// Views handed in (names, labels) must last until the problem is taken. In each form the
/// magnitudes of all coefficients must add up to an Int.
class Assembler {
  /// Enough to hide the latency of memory, few enough to stay in the nearest cache: measured with
  /// a million variables in random order, 8 take a quarter longer, and 256 no less.
  static constexpr std::size_t batch = 64;

  struct PendingTerm {
    Names::Sought name;
    Int coefficient;
    Place place;
    int variable;
  };
  struct PendingRow {
    RowHead head;
    std::size_t end; ///< so many of the pending terms are in it or before it
  };

  Problem problem;
  FormBuilder builder;
  std::array<PendingTerm, batch> terms;
  std::array<PendingRow, batch> rows;
  std::size_t term_count = 0;
  std::size_t row_count = 0;

  void enter();

 public:
  Assembler() { builder.begin(problem.rows.terms()); }
  Assembler(const Assembler&) = delete;
  Assembler& operator=(const Assembler&) = delete;

  /// Adds a term to the objective between `beginObjective` and `endObjective`, otherwise to the
  /// next row, where it is merged with an earlier one of the same variable.
  void addTerm(std::string_view name, Int coefficient, Place place) {
    if (term_count == batch) enter();
    terms[term_count++] = {problem.variables.seek(name), coefficient, place, 0};
  }
  void beginObjective();
  void endObjective();
  /// Completes a row of the terms added since the last one.
  void addRow(const RowHead& head) {
    if (row_count == batch) enter();
    rows[row_count++] = {head, term_count};
  }
  bool hasRows() const { return row_count != 0 || !problem.rows.empty(); }
  /// What is not about terms and rows can be set here. Names must not be added.
  Problem& rest() { return problem; }
  /// Hands over the problem; nothing can be added after that.
  Problem take();
};

} // namespace formats

#endif
