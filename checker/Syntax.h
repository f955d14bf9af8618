/// \file
/// What the steps of a proof are made of: numbers, literals, constraints, and the two ways of
/// separating them.
#ifndef QUILLON_CHECKER_SYNTAX_H
#define QUILLON_CHECKER_SYNTAX_H

#include "Lexer.h"
#include "Names.h"
#include "Row.h"
#include "Sum.h"

#include <optional>
#include <string>
#include <vector>

namespace checker {

/// What a witness puts in the place of a variable: a literal or a constant.
struct Image {
  enum class Kind { literal, constant };
  Var variable;
  Kind kind;
  Lit literal; ///< if it is one
  bool value;  ///< if it is a constant
};

/// Reads the parts of a step. Version 3 ends steps by ";" and separates their parts by ":"; version
/// 2 ends steps by the end of the line, constraints and witnesses by ";". Everything throws a
/// Refusal when something else stands there.
class Syntax {
 public:
  Lexer lexer;

  Syntax(std::istream& proof, Names& variable_names) : lexer(proof), names(variable_names) {}

  /// The first line; from then on the version is known.
  void header();
  bool hasLines() const { return has_lines; }

  bool atWord() const { return lexer.kind() == Lexer::Kind::word; }
  /// Takes the next word.
  std::string word();
  /// Takes the next word if it is `what`; whether it was.
  bool takes(std::string_view what);
  bool atNumber() const;
  Integer number();
  Lit literal();
  /// Literals as far as there are any.
  std::vector<Lit> literals();
  /// "+3 x1 -2 ~x2 >= 1", where "<=" may stand, too. In version 2 the ";" behind it is left.
  Row constraint();
  /// "+3 x1 -2 ~x2 +7": the sum of it is the terms of the row less its degree.
  Row objective();
  /// "x1 -> 0 x2 -> ~x3", where the arrows may be missing.
  std::vector<Image> witness();

  /// Behind a part of a step: whether another part follows; otherwise the step has been ended.
  bool another();
  /// The end of a step.
  void finish();
  /// The end of a line that is no step, such as "proofgoal #1"; nothing in version 3.
  void finishLine();
  /// Skips empty lines.
  void skipEmpty();

 private:
  Names& names;
  bool has_lines = true;
  Sum scratch;

  [[noreturn]] void unexpected(const std::string& wanted) const;
  void terms();
};

} // namespace checker

#endif
