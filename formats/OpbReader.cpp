/// \file
/// The OPB reader: one statement after the other, one character of lookahead.
#include "OpbReader.h"

#include "Lexical.h"

#include <string>
#include <utility>

namespace formats {
namespace {

bool isNameStart(char c) {
  return isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 128;
}

/// Characters that end a name because they mean something by themselves.
bool isOperator(char c) {
  return std::string_view(";:<>=+-*~").find(c) != std::string_view::npos;
}

/// Every member that can fail returns false after it has stored the error; the caller passes the
/// false on.
class Reader {
  std::string_view text;
  size_t next = 0;
  size_t line = 1;
  size_t line_start = 0;
  bool line_blank = true; ///< only white space so far on this line

  Problem problem;
  FormBuilder builder;
  /// Sum of the magnitudes of the statement's numbers, those of negated literals counted twice.
  /// While it is an Int, so is every sum that the rewriting and any evaluation can come to.
  Int weight = 0;
  Error error;

  bool fail(std::string message, Place place) {
    error = {place, std::move(message)};
    return false;
  }
  bool fail(std::string message) { return fail(std::move(message), here()); }

  Place here() const { return Place::at(line, next - line_start + 1); }
  bool atEnd() const { return next >= text.size(); }
  char peek(size_t ahead = 0) const {
    return next + ahead < text.size() ? text[next + ahead] : '\0';
  }

  void advance() {
    if (text[next] == '\n') {
      line++;
      line_start = next + 1;
      line_blank = true;
    } else if (!isSpace(text[next])) {
      line_blank = false;
    }
    next++;
  }

  void skipComment() {
    const size_t end = std::min(text.find('\n', next), text.size());
    std::string_view comment = text.substr(next, end - next);
    next = end;
    constexpr std::string_view key = "#variable=";
    const size_t found = problem.declared == 0 ? comment.find(key) : std::string_view::npos;
    if (found == std::string_view::npos) return;
    comment.remove_prefix(found + key.size());
    while (!comment.empty() && isSpace(comment[0])) comment.remove_prefix(1);
    size_t digits = 0;
    while (digits < comment.size() && isDigit(comment[digits])) digits++;
    problem.declared = parseInt(comment.substr(0, digits)).value_or(0);
  }

  void skipBlanks() {
    while (!atEnd() && (isSpace(peek()) || (peek() == '*' && line_blank))) {
      if (peek() == '*')
        skipComment();
      else
        advance();
    }
  }

  bool unexpected() {
    if (atEnd()) return fail("the last statement has no ';'");
    const char c = peek();
    if (c == '*') return fail("a term is a coefficient, a blank and a literal, without a '*'");
    if (c == '[') return fail("soft constraints are not supported");
    static const char hex[] = "0123456789ABCDEF";
    const unsigned code = static_cast<unsigned char>(c);
    if (code < 32 || code > 126)
      return fail(std::string("unexpected character 0x") + hex[code >> 4] + hex[code & 15]);
    return fail(std::string("unexpected character '") + c + "'");
  }

  /// Takes an unsigned integer, of which the first digit is next.
  bool readNumber(Int& number) {
    const Place place = here();
    const size_t start = next;
    while (isDigit(peek())) advance();
    if (peek() == '.') return fail("the number is not an integer", place);
    if (isNameStart(peek()) || peek() == '~') return fail("a blank is missing behind the number");
    const std::optional<Int> value = parseInt(text.substr(start, next - start));
    if (!value)
      return fail("the number of " + std::to_string(next - start) + " digits is beyond " +
                      int_width,
                  place);
    number = *value;
    return true;
  }

  bool failOnWeight(Place place) {
    return fail(std::string("the numbers of this statement add up to more than ") + int_width,
                place);
  }

  bool charge(Int amount, Place place) { return addTo(weight, amount) || failOnWeight(place); }

  /// Takes a literal, of which the first character is next, and adds it to the form.
  bool readLiteral(Int coefficient, Int& constant, Place place) {
    const bool negated = peek() == '~';
    if (negated) advance();
    if (!isNameStart(peek())) return fail("'~' must stand right in front of a name");
    const size_t start = next;
    while (!atEnd() && !isSpace(peek()) && !isControl(peek()) && !isOperator(peek()) &&
           !(peek() == '!' && peek(1) == '='))
      advance();
    const std::string_view name = text.substr(start, next - start);
    const char c = peek();
    if (c == '~' || c == '+' || c == '-' || c == '*' || c == ':')
      return fail("a blank is missing behind the name");
    if (!charge(magnitude(coefficient), place)) return false;
    if (negated) {
      if (!charge(magnitude(coefficient), place)) return false;
      constant += coefficient;
      coefficient = -coefficient;
    }
    return builder.add(problem.variables.add(name), coefficient, place, -largest_int,
                       largest_int) ||
           failOnWeight(place);
  }

  bool atSumEnd() const {
    const char c = peek();
    return atEnd() || c == ';' || c == '<' || c == '>' || c == '=' || c == '!';
  }
  bool atLiteral() const { return isNameStart(peek()) || peek() == '~'; }

  /// Reads the weighted sum up to a relation, a ';' or the end of the text.
  bool readSum(Form& form, Int& constant) {
    for (skipBlanks(); !atSumEnd(); skipBlanks()) {
      const Place place = here();
      const bool negative = peek() == '-';
      if (negative || peek() == '+') {
        advance();
        skipBlanks();
      }
      if (atLiteral()) return fail("the literal has no coefficient");
      if (!isDigit(peek())) return unexpected();
      Int number = 0;
      if (!readNumber(number)) return false;
      if (negative) number = -number;
      skipBlanks();
      if (atLiteral()) {
        if (!readLiteral(number, constant, place)) return false;
        skipBlanks();
        if (atLiteral()) return fail("a product of literals: only linear sums are supported");
      } else if (atSumEnd() || peek() == '+' || peek() == '-') {
        if (!charge(magnitude(number), place)) return false;
        constant += number;
      } else if (isDigit(peek())) {
        return fail("a number follows a number");
      } else {
        return unexpected();
      }
    }
    form = builder.take();
    return true;
  }

  /// Reads "min:" or the like if it is next; `keyword` stays empty otherwise.
  void readKeyword(std::string_view& keyword) {
    size_t length = 0;
    while (isLetter(peek(length))) length++;
    size_t colon = length;
    while (peek(colon) == ' ' || peek(colon) == '\t') colon++;
    if (length == 0 || peek(colon) != ':') return;
    keyword = text.substr(next, length);
    while (next < text.size() && peek() != ':') advance();
    advance();
  }

  bool readObjective(Sense sense, Place place) {
    Objective& objective = problem.objective;
    if (objective.sense != Sense::none) return fail("a second objective", place);
    if (!problem.rows.empty()) return fail("the objective must come before the rows", place);
    objective.sense = sense;
    objective.place = place;
    if (!readSum(objective.form, objective.constant)) return false;
    if (peek() == ';') return true;
    return atEnd() ? unexpected() : fail("the objective has a relation");
  }

  bool readRelation(Relation& relation) {
    const char c = peek();
    const char second = peek(1);
    if (atEnd()) return unexpected();
    if (c == ';') return fail("the row has no relation");
    if (c == '!' && second == '=') return fail("the relation != is not linear");
    if (c == '!') return unexpected();
    if (c == '=' && (second == '=' || second == '<' || second == '>'))
      return fail(std::string("unknown relation =") + second + ", known are >=, <= and =");
    if (c != '=' && second != '=')
      return fail(std::string("unknown relation ") + c + ", known are >=, <= and =");
    relation = c == '=' ? Relation::equal : c == '<' ? Relation::at_most : Relation::at_least;
    advance();
    if (c != '=') advance();
    return true;
  }

  bool readRow(Place place) {
    Row row;
    row.place = place;
    Int constant = 0;
    if (!readSum(row.form, constant) || !readRelation(row.relation)) return false;
    skipBlanks();
    row.bound_place = here();
    const bool negative = peek() == '-';
    if (negative || peek() == '+') {
      advance();
      skipBlanks();
    }
    if (!isDigit(peek())) return atEnd() ? unexpected() : fail("the right-hand side is no integer");
    if (!readNumber(row.bound)) return false;
    if (!charge(row.bound, row.bound_place)) return false;
    row.bound = (negative ? -row.bound : row.bound) - constant;
    skipBlanks();
    if (peek() != ';') {
      if (atEnd()) return unexpected();
      if (atSumEnd()) return fail("the row has two relations");
      return fail("expecting ';' behind the right-hand side");
    }
    problem.rows.push_back(std::move(row));
    return true;
  }

  bool readStatement() {
    const Place place = here();
    weight = 0;
    std::string_view keyword;
    readKeyword(keyword);
    if (keyword.empty()) return readRow(place);
    if (keyword == "min") return readObjective(Sense::minimise, place);
    if (keyword == "max") return readObjective(Sense::maximise, place);
    if (keyword == "soft") return fail("soft constraints are not supported", place);
    return fail("unknown keyword \"" + std::string(keyword.substr(0, longest_name)) + ":\"", place);
  }

 public:
  explicit Reader(std::string_view whole) : text(whole) {}

  Result<Problem> read() {
    for (skipBlanks(); !atEnd(); skipBlanks()) {
      if (!readStatement()) return error;
      advance(); // the ';'
    }
    if (problem.rows.empty() && problem.objective.sense == Sense::none) {
      fail("there is neither a row nor an objective");
      return error;
    }
    return std::move(problem);
  }
};

} // namespace

Result<Problem> readOpb(std::string_view text) {
  return Reader(text).read();
}

} // namespace formats
