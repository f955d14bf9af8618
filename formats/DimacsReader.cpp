/// \file
/// The reader of CNF and WCNF: a header, then numbers.
#include "DimacsReader.h"

#include "Assembler.h"
#include "Lexical.h"

#include <algorithm>
#include <cstdint>
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
  static constexpr Int most_variables = std::numeric_limits<int>::max() - 1;

  const char* next; ///< the next unread character
  const char* const end;
  const char* line_start;
  size_t line = 1;

  Assembler assembler;
  bool has_header = false;
  Format format = Format::wcnf;
  Int declared = 0; ///< the number of variables that the header promises, or the largest so far
  Int clauses = 0;  ///< promised by the header
  Int count = 0;    ///< clauses so far
  Int costs = 0;    ///< of soft clauses, each taken twice
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
    std::uint64_t narrow = 0;
    for (; next != end && isDigit(*next); next++)
      narrow = 10 * narrow + static_cast<unsigned>(*next - '0');
    if (next == start) return unexpected(what);
    if (!atEnd() && !isSpace(peek()))
      return peek() == '.' ? fail("the number is not an integer", place)
                           : unexpected("a blank behind the number");
    number = static_cast<Int>(narrow);
    if (next - start <= std::numeric_limits<std::uint64_t>::digits10) return true;
    const std::optional<Int> value =
        parseInt({start, static_cast<size_t>(next - start)}); // `narrow` may have wrapped
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
    format = kind == cnf_word ? Format::cnf : Format::wcnf;
    has_header = true;

    skipBlanksOfLine();
    const Place variables_place = here();
    if (!readNumber(declared, "the number of variables")) return false;
    if (declared > most_variables)
      return fail("more than " + toString(most_variables) + " variables", variables_place);
    skipBlanksOfLine();
    if (!readNumber(clauses, "the number of clauses")) return false;
    skipBlanksOfLine();
    if (format == Format::wcnf && isDigit(peek())) {
      if (!readNumber(hard_weight.emplace(), "the weight of hard clauses")) return false;
      skipBlanksOfLine();
    }
    return atEnd() || peek() == '\n' || unexpected("the end of the line");
  }

  /// Takes the literals of a clause and its 0; what its row must come to at least.
  bool readLiterals(Int& bound) {
    bound = 1;
    for (skipBlanks();; skipBlanks()) {
      const Place place = here();
      const bool negated = peek() == '-';
      if (negated) next++;
      while (peek() == '0' && isDigit(peek(1))) next++; // 01 is 1
      const char* const digits = next;
      Int index = 0;
      if (!readNumber(index, "a literal, or the 0 behind the last one,")) return false;
      if (index == 0) return !negated || fail("0 is no variable", place);
      if (has_header ? index > declared : index > most_variables) {
        return fail("the variable " + toString(index) + " is beyond the " +
                        (has_header ? toString(declared) + " of the header"
                                    : toString(most_variables) + " that there may be"),
                    place);
      }
      if (!has_header) declared = std::max(declared, index);
      if (negated) bound--;
      assembler.addTerm({digits, static_cast<size_t>(next - digits)}, negated ? -1 : 1, place);
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
    if (format == Format::wcnf && !readWeight(weight, is_hard)) return false;
    assembler.beginRow(!is_hard);
    if (!readLiterals(head.bound)) return false;
    assembler.addRow(head);
    if (!is_hard) assembler.rest().soft.costs.push(weight);
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
    if (atEnd()) return fail("there is neither a header nor a clause");
    if (peek() == 'p' && !readHeader()) return false;
    // Memory for variables in proportion to the text, whatever it promises.
    const Int affordable = (end - next) / 16;
    assembler.rest().variables.expectNumbers(
        static_cast<size_t>(has_header ? std::min(declared, affordable) : affordable));
    for (skipBlanks(); !atEnd(); skipBlanks()) {
      if (peek() == '%' && format == Format::cnf && count == clauses) return readTrailer();
      if (!readClause()) return false;
    }
    return !has_header || count == clauses ||
           fail("the header promises " + toString(clauses) + " clauses, the text has " +
                toString(count));
  }

 public:
  explicit Reader(std::string_view text)
      : next(text.data()), end(text.data() + text.size()), line_start(next) {}

  Result<Problem> read() {
    if (!readAll()) return error;
    assembler.rest().format = format;
    assembler.rest().declared = declared;
    assembler.rest().has_header = has_header;
    return assembler.take();
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
