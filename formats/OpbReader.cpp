/// \file
/// The reader of OPB and WBO: one statement after the other, one character of lookahead.
#include "OpbReader.h"

#include "Assembler.h"
#include "Lexical.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace formats {
namespace {

bool isNameStart(char c) {
  return isLetter(c) || c == '_' || static_cast<unsigned char>(c) >= 128;
}

/// Whether a character ends a name: white space, control characters and those that mean
/// something by themselves. A '!' is looked at more closely.
constexpr CharacterSet endsName([](char c) {
  constexpr std::string_view operators = ";:<>=+-*~!";
  return isSpace(c) || isControl(c) || operators.find(c) != std::string_view::npos;
});

/// Every member that can fail returns false after it has stored the error; the caller passes the
/// false on.
class Reader {
  const char* next; ///< the next unread character
  const char* const end;
  const char* line_start;
  size_t line = 1;

  Assembler assembler;
  /// Sum of the magnitudes of the statement's numbers, those of negated literals counted twice.
  /// While it is an Int, so is every sum that the rewriting and any evaluation can come to.
  Int weight = 0;
  Int costs = 0;                      ///< of soft rows, each taken twice, and the top
  std::vector<NamedLiteral> literals; ///< of a product
  Error error;

  bool fail(std::string message, Place place) {
    error = {place, std::move(message)};
    return false;
  }
  bool fail(std::string message) { return fail(std::move(message), here()); }
  bool failBeyondWidth(std::string message, Place place) {
    fail(std::move(message), place);
    error.beyond_width = true;
    return false;
  }

  Place here() const { return Place::at(line, static_cast<size_t>(next - line_start) + 1); }
  bool atEnd() const { return next == end; }
  char peek(size_t ahead = 0) const {
    return static_cast<size_t>(end - next) > ahead ? next[ahead] : '\0';
  }
  std::string_view from(const char* start) const {
    return {start, static_cast<size_t>(next - start)};
  }

  void skipComment() {
    std::string_view comment(next, static_cast<size_t>(end - next));
    comment = comment.substr(0, comment.find('\n'));
    next += comment.size();
    constexpr std::string_view key = "#variable=";
    const size_t found =
        assembler.rest().declared == 0 ? comment.find(key) : std::string_view::npos;
    if (found == std::string_view::npos) return;
    comment = comment.substr(found + key.size());
    while (!comment.empty() && isSpace(comment[0])) comment.remove_prefix(1);
    size_t digits = 0;
    while (digits < comment.size() && isDigit(comment[digits])) digits++;
    assembler.rest().declared = parseInt(comment.substr(0, digits)).value_or(0);
    // What is promised is worth no more memory than the text that promises it.
    const Int affordable = (end - line_start) / 4;
    assembler.rest().variables.expect(
        static_cast<size_t>(std::min(assembler.rest().declared, affordable)));
  }

  /// Whether there is only white space so far on this line. Where a '*' is behind anything else,
  /// the text is refused, so this looks at no character twice.
  bool isLineBlank() const { return std::all_of(line_start, next, isSpace); }

  void skipBlanks() {
    while (next != end) {
      if (*next == '*' && isLineBlank()) {
        skipComment();
        continue;
      }
      if (!isSpace(*next)) return;
      if (*next++ == '\n') {
        line++;
        line_start = next;
      }
    }
  }

  bool unexpected() {
    if (atEnd()) return fail("the last statement has no ';'");
    const char c = peek();
    if (c == '*') return fail("a term is a coefficient, a blank and a literal, without a '*'");
    static const char hex[] = "0123456789ABCDEF";
    const unsigned code = static_cast<unsigned char>(c);
    if (code < 32 || code > 126)
      return fail(std::string("unexpected character 0x") + hex[code >> 4] + hex[code & 15]);
    return fail(std::string("unexpected character '") + c + "'");
  }

  /// Takes an unsigned integer, of which the first digit is next.
  bool readNumber(Int& number) {
    const Place place = here();
    const char* const start = next;
    std::uint64_t value = 0;
    for (; next != end && isDigit(*next); next++)
      value = 10 * value + static_cast<unsigned>(*next - '0');
    if (peek() == '.') return fail("the number is not an integer", place);
    if (isNameStart(peek()) || peek() == '~') return fail("a blank is missing behind the number");
    number = static_cast<Int>(value);
    if (next - start <= std::numeric_limits<std::uint64_t>::digits10) return true;
    const std::optional<Int> wide = parseInt(from(start)); // `value` may have wrapped
    if (!wide)
      return failBeyondWidth("the number of " + std::to_string(next - start) +
                                 " digits is beyond " + int_width,
                             place);
    number = *wide;
    return true;
  }

  bool charge(Int amount, Place place) {
    return addTo(weight, amount) ||
           failBeyondWidth(std::string("the numbers of this statement add up to more than ") +
                               int_width,
                           place);
  }

  /// Takes a literal, of which the first character is next.
  bool readLiteral(NamedLiteral& literal) {
    literal.negated = peek() == '~';
    if (literal.negated) next++;
    if (!isNameStart(peek())) return fail("'~' must stand right in front of a name");
    const char* const start = next;
    while (next != end && (!endsName(*next) || (*next == '!' && peek(1) != '='))) next++;
    literal.name = from(start);
    const char c = peek();
    if (c == '~' || c == '*' || c == ':') return fail("a blank is missing behind the name");
    return true;
  }

  /// Makes room for a term, whose weight moves to the other side as well when it is negated; what
  /// is left of its coefficient.
  bool chargeTerm(Int& coefficient, bool negated, Int& constant, Place place) {
    if (!charge(magnitude(coefficient), place)) return false;
    if (!negated) return true;
    if (!charge(magnitude(coefficient), place)) return false;
    constant += coefficient;
    coefficient = -coefficient;
    return true;
  }

  /// Takes the literals that follow a coefficient, and adds the term to the form.
  bool readProduct(Int coefficient, Int& constant, Place place) {
    NamedLiteral literal;
    if (!readLiteral(literal)) return false;
    skipBlanks();
    if (!atLiteral()) {
      if (!chargeTerm(coefficient, literal.negated, constant, place)) return false;
      assembler.addTerm(literal.name, coefficient, place);
      return true;
    }
    assembler.rest().is_plain = false;
    for (literals.assign(1, literal); atLiteral(); skipBlanks()) {
      if (!readLiteral(literal)) return false;
      literals.push_back(literal);
    }
    const std::optional<Literal> product = assembler.product(literals);
    if (!product) return true;
    if (!chargeTerm(coefficient, product->isNegated(), constant, place)) return false;
    assembler.addTerm(product->variable(), coefficient, place);
    return true;
  }

  bool atSumEnd() const {
    const char c = peek();
    return atEnd() || c == ';' || c == '<' || c == '>' || c == '=' || c == '!';
  }
  bool atLiteral() const { return isNameStart(peek()) || peek() == '~'; }

  /// Takes a number of one to nine digits, to which `at` points; false if there are none, or more.
  static bool takeShort(const char*& at, std::uint32_t& number) {
    const char* const start = at;
    for (number = 0; isDigit(*at) && at - start < 10; at++)
      number = 10 * number + static_cast<unsigned>(*at - '0'); // may wrap at the tenth
    return at != start && at - start < 10;
  }

  /// Takes terms written as nearly all texts have them, such as "+3 x12 ", with another one or a
  /// relation next. What is written otherwise is left to the general way, from its first character
  /// on.
  void readPlainTerms() {
    constexpr std::ptrdiff_t longest =
        32; // a sign, 9 digits, a blank, x, 9 digits, a blank, a sign
    while (end - next >= longest) {
      const bool negative = *next == '-';
      if (!negative && *next != '+') return;
      const char* at = next + 1;
      std::uint32_t number = 0;
      if (!takeShort(at, number) || *at++ != ' ') return;
      const char* const name = at;
      std::uint32_t index = 0;
      if (*at++ != 'x' || *at == '0' || !takeShort(at, index) || *at != ' ') return;
      const std::string_view letters(name, static_cast<size_t>(at++ - name));
      if (*at != '+' && *at != '-' && *at != '>' && *at != '<' && *at != '=') return;
      if (!addTo(weight, number)) return;
      const Int coefficient = negative ? -static_cast<Int>(number) : static_cast<Int>(number);
      assembler.addTerm(letters, index, coefficient, here());
      next = at;
    }
  }

  void skipToTerm() {
    skipBlanks();
    readPlainTerms();
  }

  /// Reads the weighted sum up to a relation, a ';' or the end of the text.
  bool readSum(Int& constant) {
    for (skipToTerm(); !atSumEnd(); skipToTerm()) {
      const Place place = here();
      const bool negative = peek() == '-';
      if (negative || peek() == '+') {
        next++;
        if (!isDigit(peek())) assembler.rest().is_plain = false;
        skipBlanks();
      }
      if (atLiteral()) return fail("the literal has no coefficient");
      if (!isDigit(peek())) return unexpected();
      Int number = 0;
      if (!readNumber(number)) return false;
      if (negative) number = -number;
      skipBlanks();
      if (atLiteral()) {
        if (!readProduct(number, constant, place)) return false;
      } else if (atSumEnd() || peek() == '+' || peek() == '-') {
        if (!charge(magnitude(number), place)) return false;
        constant += number;
        assembler.rest().is_plain = false;
      } else if (isDigit(peek())) {
        return fail("a number follows a number");
      } else {
        return unexpected();
      }
    }
    return true;
  }

  /// Reads "min:" or the like if it is next; `keyword` stays empty otherwise.
  void readKeyword(std::string_view& keyword) {
    size_t length = 0;
    while (isLetter(peek(length))) length++;
    size_t colon = length;
    while (peek(colon) == ' ' || peek(colon) == '\t') colon++;
    if (length == 0 || peek(colon) != ':') return;
    keyword = {next, length};
    next += colon + 1;
  }

  bool readObjective(Sense sense, Place place) {
    Objective& objective = assembler.rest().objective;
    if (objective.sense != Sense::none) return fail("a second objective", place);
    if (isSoft()) return fail("an objective beside soft constraints", place);
    if (assembler.hasRows()) return fail("the objective must come before the rows", place);
    objective.sense = sense;
    objective.place = place;
    assembler.beginObjective();
    if (!readSum(objective.constant)) return false;
    assembler.endObjective();
    if (peek() == ';') return true;
    return atEnd() ? unexpected() : fail("the objective has a relation");
  }

  bool isSoft() { return assembler.rest().format == Format::wbo; }

  /// Adds the cost or top to what all of them come to, `times` times.
  bool chargeCost(Int amount, int times, Place place) {
    for (int i = 0; i < times; i++) {
      if (!addTo(costs, amount)) {
        return failBeyondWidth(std::string("the costs of soft constraints and the top add up to "
                                           "more than ") +
                                   int_width,
                               place);
      }
    }
    return true;
  }

  /// Reads the rest of the head of a text with soft rows.
  bool readSoftHead(Place place) {
    if (isSoft()) return fail("a second \"soft:\"", place);
    if (assembler.rest().objective.sense != Sense::none)
      return fail("soft constraints beside an objective", place);
    if (assembler.hasRows()) return fail("\"soft:\" must come before the rows", place);
    assembler.rest().format = Format::wbo;
    skipBlanks();
    if (isDigit(peek())) {
      const Place number_place = here();
      Int top = 0;
      if (!readNumber(top) || !chargeCost(top, 1, number_place)) return false;
      assembler.rest().soft.top = top;
      skipBlanks();
    }
    if (peek() == ';') return true;
    return atEnd() ? unexpected() : fail("the top is no integer of 0 or more and a ';'");
  }

  /// Reads the cost of a soft row, of which the '[' is next.
  bool readCost() {
    if (!isSoft()) return fail("a soft constraint without \"soft:\" at the beginning of the text");
    next++;
    skipBlanks();
    const Place place = here();
    Int cost = 0;
    if (!isDigit(peek()))
      return atEnd() ? unexpected() : fail("the cost is no integer of 0 or more");
    if (!readNumber(cost) || !chargeCost(cost, 2, place)) return false;
    skipBlanks();
    if (peek() != ']') return atEnd() ? unexpected() : fail("expecting ']' behind the cost");
    next++;
    skipBlanks();
    assembler.rest().soft.costs.push(cost);
    return true;
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
    next++;
    if (c != '=') next++;
    return true;
  }

  bool readRow(Place place) {
    RowHead row;
    row.place = place;
    Int constant = 0;
    if (!readSum(constant) || !readRelation(row.relation)) return false;
    skipBlanks();
    row.bound_place = here();
    const bool negative = peek() == '-';
    if (negative || peek() == '+') {
      next++;
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
    assembler.addRow(row);
    return true;
  }

  bool readStatement() {
    const Place place = here();
    weight = 0;
    std::string_view keyword;
    readKeyword(keyword);
    if (keyword.empty()) {
      const bool is_soft = peek() == '[';
      if (is_soft && !readCost()) return false;
      assembler.beginRow(is_soft);
      return readRow(place);
    }
    if (keyword == "min") return readObjective(Sense::minimise, place);
    if (keyword == "max") return readObjective(Sense::maximise, place);
    if (keyword == "soft") return readSoftHead(place);
    return fail("unknown keyword \"" + std::string(keyword.substr(0, longest_name)) + ":\"", place);
  }

 public:
  explicit Reader(std::string_view text)
      : next(text.data()), end(text.data() + text.size()), line_start(next) {
    assembler.rest().format = Format::opb;
    assembler.rest().variables.permit(text.size() / 32); // less than a fifth of the text's memory
  }

  Result<Problem> read() {
    for (skipBlanks(); !atEnd(); skipBlanks()) {
      if (!readStatement()) return error;
      next++; // the ';'
    }
    if (!assembler.hasRows() && !assembler.rest().hasObjective()) {
      fail("there is neither a row nor an objective");
      return error;
    }
    return assembler.take();
  }
};

} // namespace

Result<Problem> readOpb(std::string_view text) {
  return Reader(text).read();
}

} // namespace formats
