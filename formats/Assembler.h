/// \file
/// Puts a problem together from terms and rows in the order of the text, many at a time.
#ifndef QUILLON_FORMATS_ASSEMBLER_H
#define QUILLON_FORMATS_ASSEMBLER_H

#include "Problem.h"
#include "TermBatch.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace formats {

/// A literal as a text has it.
struct NamedLiteral {
  std::string_view name;
  bool negated;
};

/// Views handed in (names, labels) must last until the problem is taken. In each form the
/// magnitudes of all coefficients must add up to an Int.
class Assembler {
  struct PendingRow {
    RowHead head;
    std::size_t end; ///< so many of the pending terms are in it or before it
  };

  Problem problem;
  Rows* target = &problem.rows; ///< where rows are entered
  FormBuilder builder;
  std::vector<Literal> factors; ///< kept for its memory
  TermBatch terms;
  std::array<PendingRow, TermBatch::capacity> rows;
  std::size_t row_count = 0;
  /// Whether the pending row with this number, or what has been begun behind the last one, is soft
  /// when the row before is not, or the other way round.
  std::array<bool, TermBatch::capacity + 1> turned{};
  bool is_soft = false; ///< the row that is begun, or the one before

  void enter();
  void turn();

 public:
  Assembler() { builder.begin(target->terms()); }
  Assembler(const Assembler&) = delete;
  Assembler& operator=(const Assembler&) = delete;

  /// Adds a term to the objective between `beginObjective` and `endObjective`, otherwise to the
  /// next row, where it is merged with an earlier one of the same variable.
  void addTerm(std::string_view name, Int coefficient, Place place) {
    if (terms.isFull()) enter();
    terms.add(problem.variables.seek(name), coefficient, place);
  }
  /// The same for the name x`index`, see `Names::seek`.
  void addTerm(std::string_view name, std::uint32_t index, Int coefficient, Place place) {
    if (terms.isFull()) enter();
    terms.add(problem.variables.seek(name, index), coefficient, place);
  }
  /// Adds a term of a variable that is known already.
  void addTerm(int variable, Int coefficient, Place place);
  /// What the product of `literals` comes to: a literal, of a variable of the text or of a product,
  /// or nothing when it is always 0.
  std::optional<Literal> product(const std::vector<NamedLiteral>& literals);
  void beginObjective();
  void endObjective();
  /// Begins a row, which without this call is of the kind of the one before, at first not soft. The
  /// costs of soft rows are set in `rest`.
  void beginRow(bool soft) {
    if (is_soft == soft) return;
    is_soft = soft;
    turned[row_count] = !turned[row_count];
  }
  /// Completes a row of the terms added since the last one.
  void addRow(const RowHead& head) {
    if (row_count == rows.size()) enter();
    rows[row_count++] = {head, terms.size()};
  }
  bool hasRows() const {
    return row_count != 0 || !problem.rows.empty() || !problem.soft.rows.empty();
  }
  /// What is not about terms and rows can be set here. Names must not be added.
  Problem& rest() { return problem; }
  /// Hands over the problem; nothing can be added after that.
  Problem take();
};

} // namespace formats

#endif
