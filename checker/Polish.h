/// \file
/// The rule `pol`: a derivation by cutting planes in reverse Polish notation.
#ifndef QUILLON_CHECKER_POLISH_H
#define QUILLON_CHECKER_POLISH_H

#include "Sum.h"
#include "Syntax.h"

#include <deque>
#include <functional>
#include <variant>
#include <vector>

namespace checker {

/// A stack on which constraints are combined. What was only just pushed stays a number, a literal
/// or the name of a row until something is done with it: most of it is added to what is below it.
class Polish {
  struct Operand {
    enum class Kind { number, literal, row, sum };
    Kind kind = Kind::number;
    Integer number = 0;       ///< if it is one; otherwise a factor for a literal or row
    Lit literal = {};         ///< if it is one
    const Row* row = nullptr; ///< if it is one
  };

  std::vector<Operand> stack;
  std::deque<Sum> sums; ///< one for each operand of that kind, from the bottom
  std::size_t used = 0; ///< how many of them
  std::function<const Row&(const Integer&)> row_of;
  std::function<const Row&(const std::string&)> row_of_label;

  Operand& top(std::size_t depth = 0);
  void makeConstraint(Operand& operand) const;
  Sum& makeSum();
  Integer popNumber(int least);
  void add();
  void apply(char operation);

 public:
  /// How rows are found by identifier or label; these throw when there is none.
  Polish(std::function<const Row&(const Integer&)> by_id,
         std::function<const Row&(const std::string&)> by_label)
      : row_of(std::move(by_id)), row_of_label(std::move(by_label)) {}

  /// Reads operands and operations to the end of the step. What it comes to follows from the rows
  /// it names, since each operation keeps what every 0-1 solution satisfies: see Sum.
  Row derive(Syntax& syntax);
};

} // namespace checker

#endif
