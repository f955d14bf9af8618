/// \file
/// The linear problem that a proof is about: the text itself, where the proof format knows it, or a
/// linear OPB file written for it.
#ifndef QUILLON_PROGRAM_STATEMENT_H
#define QUILLON_PROGRAM_STATEMENT_H

#include "estoc/Types.h"
#include "formats/Linear.h"
#include "formats/Problem.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Rows are numbered from 1, an equation as two, ">=" before "<=". In OPB, variables are called
/// what the text calls them; in clauses the variable i is x<i>, and a soft clause that is not a
/// single literal is the row with the further literal ~_b<i>, where i counts all clauses. In a file
/// that is written, variables are x1, x2 and so on in the order of their numbers.
class Statement {
 public:
  /// Why a proof cannot be about the text `problem` was read from; empty if it can.
  static std::string obstacle(const formats::Problem& problem);

  /// About the text, or about a file to be written. Both arguments must last.
  Statement(const formats::Problem& problem, const formats::Linear& linear, bool written);

  /// How many rows there are.
  std::uint64_t rows() const { return row_count; }
  /// The number of the first row that `row` of the problem, or of `linear.rows`, stands for.
  std::uint64_t numberOf(std::size_t row, bool of_problem) const {
    return (of_problem ? problem_rows : linear_rows)[row];
  }
  /// Appends the text of a literal.
  void appendLiteral(estoc::Lit literal, std::string& text) const;
  /// What no variable's name begins with.
  const std::string& freePrefix() const { return free_prefix; }
  /// What the engine's objective has more than that of the statement: OPB files have no constants.
  formats::Int surplus() const { return written ? linear.constant : 0; }
  /// Writes the OPB file, in pieces.
  void writeOpb(const std::function<void(const std::string&)>& write) const;

 private:
  const formats::Problem& problem;
  const formats::Linear& linear;
  const bool written;
  std::uint64_t row_count = 0;
  std::vector<std::uint64_t> problem_rows; ///< their numbers
  std::vector<std::uint64_t> linear_rows;
  std::vector<std::uint64_t> soft_clauses; ///< for each relaxing variable: number of its clause
  std::string free_prefix = "_c";

  void numberRows();
  void numberClauses();
};

#endif
