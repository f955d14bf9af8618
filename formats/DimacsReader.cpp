/// \file
/// The reader of CNF and WCNF: a header, then numbers.
#include "DimacsReader.h"

#include "Lexical.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace formats {
namespace {

constexpr std::string_view cnf_word = "cnf";
constexpr std::string_view wcnf_word = "wcnf";

/// Every member that can fail returns false after it has stored the error; the caller passes the
/// false on.
class Reader {
  /// Twice as much, and a bit, fits the numbers of literals.
  static constexpr Int most_variables = std::numeric_limits<int>::max() - 1;

  const char* next; ///< the next unread character
  const char* const end;
  const char* line_start;
  size_t line = 1;

  Problem problem;
  FormBuilder builder;
  /// By number of a variable in the text: its number in the problem plus 1, 0 when unknown. Only a
  /// shortcut to the names, and no larger than they are, give or take a factor.
  Array<int> shortcuts;

  bool has_header = false;
  Int clauses = 0;                ///< promised by the header
  Int count = 0;                  ///< clauses so far
  Int largest = 0;                ///< variable so far
  Int costs = 0;                  ///< of soft clauses, each taken twice
  std::optional<Int> hard_weight; ///< a weight from here on makes a clause hard
  Error error;

  bool fail(std::string message, Place place) {
    error = {place, std::move(message)};
    return false;
  }
  bool fail(std::string message) { return fail(std::move(message), here()); }

  Place here() const { return Place::at(line, static_cast<size_t>(next - line_start) + 1); }
  bool atEnd() const { return next == end; }
  char peek(size_t ahead = 0) const {
    return static_cast<size_t>(end - next) > ahead ? next[ahead] : '\0';
  }

  bool isLineBlank() const { return std::all_of(line_start, next, isSpace); }

  void skipBlanks() {
    while (next != end) {
      if (*next == 'c' && isLineBlank()) {
        while (next != end && *next != '\n') next++;
      } else if (isSpace(*next)) {
        if (*next++ == '\n') {
          line++;
          line_start = next;
        }
      } else {
        return;
      }
    }
  }
  /// Takes white space up to the end of the line.
  void skipBlanksOfLine() {
    while (next != end && *next != '\n' && isSpace(*next)) next++;
  }

  bool unexpected(const std::string& wanted) {
    if (atEnd()) return fail(wanted + " is missing at the end of the text");
    static const char hex[] = "0123456789ABCDEF";
    const char c = peek();
    const unsigned code = static_cast<unsigned char>(c);
    std::string found = isSpace(c) ? std::string("end of the line")
                        : code < 33 || code > 126
                            ? std::string("character 0x") + hex[code >> 4] + hex[code & 15]
                            : std::string("character '") + c + "'";
    return fail("expecting " + wanted + " instead of the " + found);
  }

  /// Takes a number of digits, which `what` calls in messages.
  bool readNumber(Int& number, const char* what) {
    const Place place = here();
    const char* const start = next;
    while (next != end && isDigit(*next)) next++;
    if (next == start) return unexpected(what);
    if (!atEnd() && !isSpace(peek()))
      return peek() == '.' ? fail("the number is not an integer", place)
                           : unexpected("a blank behind the number");
    const std::optional<Int> value = parseInt({start, static_cast<size_t>(next - start)});
    if (!value) {
      fail("the number of " + std::to_string(next - start) + " digits is beyond " + int_width,
           place);
      error.beyond_width = true;
      return false;
    }
    number = *value;
    return true;
  }

  bool readHeader() {
    next++;
    skipBlanksOfLine();
    const Place kind_place = here();
    const char* const start = next;
    while (next != end && !isSpace(*next)) next++;
    const std::string_view kind(start, static_cast<size_t>(next - start));
    if (kind != cnf_word && kind != wcnf_word)
      return fail("the header names neither cnf nor wcnf", kind_place);
    problem.format = kind == cnf_word ? Format::cnf : Format::wcnf;
    has_header = true;

    skipBlanksOfLine();
    const Place variables_place = here();
    if (!readNumber(problem.declared, "the number of variables")) return false;
    if (problem.declared > most_variables)
      return fail("more than " + toString(most_variables) + " variables", variables_place);
    skipBlanksOfLine();
    if (!readNumber(clauses, "the number of clauses")) return false;
    skipBlanksOfLine();
    if (problem.format == Format::wcnf && isDigit(peek())) {
      if (!readNumber(hard_weight.emplace(), "the weight of hard clauses")) return false;
      skipBlanksOfLine();
    }
    return atEnd() || peek() == '\n' || unexpected("the end of the line");
  }

  /// The number in the problem of the variable that the text calls `index`.
  int variableOf(Int index) {
    const size_t i = static_cast<size_t>(index);
    if (i < shortcuts.size() && shortcuts[i] != 0) return shortcuts[i] - 1;
    const int variable = problem.variables.add(toString(index));
    if (i <= 2 * static_cast<size_t>(problem.variables.size()) + 1000) {
      shortcuts.fill(i + 1, 0);
      shortcuts[i] = variable + 1;
    }
    return variable;
  }

  /// Takes the literals of a clause and its 0; what its row must come to at least.
  bool readLiterals(Int& bound) {
    bound = 1;
    for (skipBlanks();; skipBlanks()) {
      const Place place = here();
      const bool negated = peek() == '-';
      if (negated) next++;
      Int index = 0;
      // Nearly all literals take this way.
      const char* digit = next;
      for (; digit != end && isDigit(*digit) && digit - next < 9; digit++)
        index = 10 * index + (*digit - '0');
      if (digit != next && (digit == end || isSpace(*digit)))
        next = digit;
      else if (!readNumber(index, "a literal, or the 0 behind the last one,"))
        return false;
      if (index == 0) {
        if (negated) return fail("0 is no variable", place);
        return true;
      }
      if (has_header ? index > problem.declared : index > most_variables)
        return fail("the variable " + toString(index) + " is beyond the " +
                        (has_header ? toString(problem.declared) + " of the header"
                                    : toString(most_variables) + " that there may be"),
                    place);
      largest = std::max(largest, index);
      if (negated) bound--;
      // No clause is long enough for this to fail.
      if (!builder.add(variableOf(index), negated ? -1 : 1, place, -largest_int, largest_int))
        return fail("a variable occurs too often", place);
    }
  }

  bool readWeight(Int& weight, bool& is_hard) {
    const Place place = here();
    is_hard = false;
    if (!has_header && peek() == 'h') {
      next++;
      is_hard = true;
      return atEnd() || isSpace(peek()) || unexpected("a blank behind the h");
    }
    if (peek() == '-') return fail("a weight must not be negative", place);
    if (!readNumber(weight, "a weight")) return false;
    is_hard = hard_weight && weight >= *hard_weight;
    if (is_hard || (addTo(costs, weight) && addTo(costs, weight))) return true;
    fail(std::string("the weights add up to more than ") + int_width, place);
    error.beyond_width = true;
    return false;
  }

  bool readClause() {
    RowHead head;
    head.place = head.bound_place = here();
    if (has_header && count == clauses)
      return fail("more clauses than the " + toString(clauses) + " of the header");
    count++;
    bool is_hard = true;
    Int weight = 0;
    if (problem.format == Format::wcnf && !readWeight(weight, is_hard)) return false;
    Rows& rows = is_hard ? problem.rows : problem.soft.rows;
    builder.begin(rows.terms());
    if (!readLiterals(head.bound)) return false;
    rows.add(head);
    if (!is_hard) problem.soft.costs.push(weight);
    return true;
  }

  /// Takes what some collections have behind the last clause.
  bool readTrailer() {
    next++;
    skipBlanks();
    if (peek() == '0') next++;
    skipBlanks();
    return atEnd() || unexpected("the end of the text");
  }

  bool readAll() {
    skipBlanks();
    problem.format = Format::wcnf;
    if (atEnd()) return fail("there is neither a header nor a clause");
    if (peek() == 'p' && !readHeader()) return false;
    for (skipBlanks(); !atEnd(); skipBlanks()) {
      if (peek() == '%' && problem.format == Format::cnf && count == clauses) return readTrailer();
      if (!readClause()) return false;
    }
    if (!has_header) problem.declared = largest;
    return !has_header || count == clauses ||
           fail("the header promises " + toString(clauses) + " clauses, the text has " +
                toString(count));
  }

 public:
  explicit Reader(std::string_view text)
      : next(text.data()), end(text.data() + text.size()), line_start(next) {}

  Result<Problem> read() {
    if (!readAll()) return error;
    return std::move(problem);
  }
};

/// Takes white space and comments off the beginning of `text`.
void skipComments(std::string_view& text) {
  while (!text.empty()) {
    if (text.front() == 'c')
      takeLine(text);
    else if (isSpace(text.front()))
      text.remove_prefix(1);
    else
      return;
  }
}

/// Takes the first word off `text`, with the white space in front of it.
std::string_view takeWord(std::string_view& text) {
  size_t start = 0;
  while (start < text.size() && isSpace(text[start])) start++;
  size_t end = start;
  while (end < text.size() && !isSpace(text[end])) end++;
  const std::string_view word = text.substr(start, end - start);
  text.remove_prefix(end);
  return word;
}

bool isInteger(std::string_view word) {
  if (word.starts_with('-')) word.remove_prefix(1);
  return !word.empty() && std::all_of(word.begin(), word.end(), isDigit);
}

} // namespace

bool isDimacs(std::string_view text) {
  skipComments(text);
  std::string_view word = takeWord(text);
  if (word == "p") {
    word = takeWord(text);
    return word == cnf_word || word == wcnf_word;
  }
  if (word != "h" && (word.starts_with('-') || !isInteger(word))) return false;
  do word = takeWord(text);
  while (isInteger(word) && word != "0");
  return word == "0";
}

Result<Problem> readDimacs(std::string_view text) {
  return Reader(text).read();
}

} // namespace formats
