/// \file
/// The parts of steps in both versions of the format.
#include "Syntax.h"

#include "Refusal.h"

namespace checker {

using Kind = Lexer::Kind;

void Syntax::unexpected(const std::string& wanted) const {
  const std::string_view there = lexer.word().substr(0, 40);
  throw Refusal(wanted + " expected" +
                (lexer.kind() == Kind::end        ? " before the end of the proof"
                 : lexer.kind() == Kind::line_end ? " before the end of the line"
                                                  : ", not '" + std::string(there) + "'"));
}

void Syntax::header() {
  skipEmpty();
  for (const char* const part : {"pseudo-Boolean", "proof", "version"})
    if (!takes(part)) unexpected("'pseudo-Boolean proof version'");
  const std::string version = atWord() ? word() : "";
  if (version == "3.0")
    has_lines = false;
  else if (version != "2.0")
    throw Refusal("version 2.0 or 3.0 expected");
  if (lexer.kind() == Kind::semicolon) lexer.take();
  if (lexer.kind() != Kind::line_end) unexpected("the end of the line");
  lexer.countLines(has_lines);
  lexer.take();
}

std::string Syntax::word() {
  if (!atWord()) unexpected("a word");
  std::string result(lexer.word());
  lexer.take();
  return result;
}

bool Syntax::takes(std::string_view what) {
  if (!atWord() || lexer.word() != what) return false;
  lexer.take();
  return true;
}

bool Syntax::atNumber() const {
  if (!atWord()) return false;
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const std::string_view w = lexer.word();
  return isDigit(w[0]) || ((w[0] == '-' || w[0] == '+') && w.size() > 1 && isDigit(w[1]));
}

Integer Syntax::number() {
  const std::optional<Integer> result = atWord() ? Integer::parse(lexer.word()) : std::nullopt;
  if (!result) unexpected("a number");
  lexer.take();
  return *result;
}

Lit Syntax::literal() {
  if (!atWord()) unexpected("a literal");
  const Lit result = names.literal(lexer.word());
  lexer.take();
  return result;
}

std::vector<Lit> Syntax::literals() {
  std::vector<Lit> result;
  while (atWord()) result.push_back(literal());
  return result;
}

/// Collects "+3 x1 -2 ~x2 +7" in `scratch`, a constant on the left side of the inequality.
void Syntax::terms() {
  scratch.clear();
  while (atNumber()) {
    const Integer coefficient = number();
    if (atWord() && (lexer.word()[0] == '~' || Names::isName(lexer.word()))) {
      scratch.addTerm(coefficient, literal());
    } else {
      scratch.raise(-coefficient);
    }
  }
}

Row Syntax::constraint() {
  terms();
  const bool at_most = takes("<=");
  if (!at_most && !takes(">=")) unexpected("a term or '>='");
  const Integer bound = number();
  if (at_most) {
    scratch.raise(-bound);
    scratch.multiply(-1);
  } else {
    scratch.raise(bound);
  }
  return scratch.row();
}

Row Syntax::objective() {
  terms();
  return scratch.row();
}

std::vector<Image> Syntax::witness() {
  std::vector<Image> result;
  while (atWord() && lexer.word() != "subproof" && lexer.word() != "begin") {
    const Lit variable = literal();
    if (variable.negated()) throw Refusal("a witness says what variables become, not literals");
    takes("->");
    Image image{variable.variable(), Image::Kind::constant, {}, false};
    if (takes("1")) {
      image.value = true;
    } else if (!takes("0")) {
      image.kind = Image::Kind::literal;
      image.literal = literal();
    }
    result.push_back(image);
  }
  return result;
}

bool Syntax::another() {
  if (lexer.kind() == Kind::colon || (has_lines && lexer.kind() == Kind::semicolon)) {
    lexer.take();
    if (!has_lines || lexer.kind() != Kind::line_end) return true;
  }
  finish();
  return false;
}

void Syntax::finish() {
  if (lexer.kind() == Kind::semicolon) {
    lexer.take();
    if (!has_lines) return;
  } else if (!has_lines) {
    unexpected("';'");
  }
  if (lexer.kind() == Kind::line_end)
    lexer.take();
  else if (lexer.kind() != Kind::end)
    unexpected("the end of the line");
}

void Syntax::finishLine() {
  if (has_lines) finish();
}

void Syntax::skipEmpty() {
  while (lexer.kind() == Kind::line_end) lexer.take();
}

} // namespace checker
