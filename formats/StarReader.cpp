/// \file
/// The reader of our own format: words, then tokens, then a grammar without recursion.
#include "StarReader.h"

#include "Lexical.h"
#include "TermBatch.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace formats {
namespace {

enum class Token {
  end_of_input,
  minimise,
  maximise,
  section,
  end,
  name,
  number,
  plus,
  minus,
  asterisk,
  colon,
  semicolon,
  at_most,
  at_least,
  equal
};

struct Keyword {
  std::string_view word;
  Token token;
};

constexpr Keyword keywords[] = {
    {"minimize:", Token::minimise}, {"minimum:", Token::minimise}, {"min:", Token::minimise},
    {"maximize:", Token::maximise}, {"maximum:", Token::maximise}, {"max:", Token::maximise},
    {"st", Token::section},         {"s.t.", Token::section},      {"st.", Token::section},
    {"bounds", Token::section},     {"bound", Token::section},     {"general", Token::section},
    {"generals", Token::section},   {"gen", Token::section},       {"integer", Token::section},
    {"integers", Token::section},   {"int", Token::section},       {"binary", Token::section},
    {"binaries", Token::section},   {"bin", Token::section},       {"end", Token::end},
};

bool equalsIgnoringCase(std::string_view word, std::string_view lower) {
  if (word.size() != lower.size()) return false;
  for (size_t i = 0; i < word.size(); i++) {
    const char c = word[i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != lower[i]) return false;
  }
  return true;
}

constexpr CharacterSet endsWord([](char c) { return isSpace(c) || isControl(c); });

/// Every member that can fail returns false after it has stored the error; the caller passes the
/// false on.
class Reader {
  static constexpr size_t longest_word = 131071;
  static constexpr size_t longest_image = 255;
  static constexpr Int lowest_coefficient = -2147483647 - 1;

  std::string_view text;
  size_t next = 0;       ///< index of the next unread character of the text
  size_t line = 1;       ///< the line `next` is on
  size_t line_start = 0; ///< index of the first character of that line

  std::string_view word;       ///< the current word, carriage returns dropped
  std::string spliced;         ///< its characters if there were returns inside
  std::vector<size_t> dropped; ///< how many characters the word had when each return was dropped
  size_t pos = 0;              ///< index of the next unread character of the word
  Place word_place;
  bool line_closed = false; ///< the word was ended by a line end
  size_t count = 0;         ///< ordinal of the word, comment skips included

  Token token = Token::end_of_input;
  std::string_view image; ///< the token's characters
  Int value = 0;          ///< of a number
  Place place;            ///< of the token

  Problem problem;
  FormBuilder builder;
  /// Of the form being read; where a sum of coefficients is out of range, the message names the
  /// place and the word of the name.
  TermBatch batch;
  struct {
    Place place;
    size_t word;
  } name_marks[TermBatch::capacity] = {};
  Error error;

  bool fail(std::string message, Place where) {
    error = {where, std::move(message), count};
    return false;
  }
  bool fail(std::string message) { return fail(std::move(message), place); }

  Place here() const { return Place::at(line, next - line_start + 1); }

  char take() {
    const char c = text[next++];
    if (c == '\n') {
      line++;
      line_start = next;
    }
    return c;
  }

  bool failOnControl(char c, Place where) {
    static const char hex[] = "0123456789ABCDEF";
    const unsigned code = static_cast<unsigned char>(c);
    return fail(std::string("invalid control character 0x") + hex[code >> 4] + hex[code & 15],
                where);
  }

  /// Reads the next word, which may be empty. `ended` tells that there was none before the end of
  /// the input.
  bool readWord(bool& ended) {
    dropped.clear();
    pos = 0;
    line_closed = false;
    count++;
    ended = false;
    while (next < text.size() && text[next] == '\r') next++;
    word_place = here();
    const size_t start = next;
    while (next < text.size() && !endsWord(text[next])) next++;
    word = text.substr(start, next - start);
    if (next < text.size() && text[next] == '\r') splice();
    if (word.size() > longest_word)
      return fail("word length exceeds " + std::to_string(longest_word) + " characters",
                  word_place);
    if (next == text.size()) {
      if (word.empty()) {
        ended = true;
        count--;
      }
      return true;
    }
    const Place where = here();
    const char c = take();
    if (!isSpace(c)) return failOnControl(c, where);
    line_closed = c == '\n';
    return true;
  }

  /// Goes on with a word in front of a carriage return, up to its end or beyond what a word holds.
  void splice() {
    spliced = word;
    for (; next < text.size() && spliced.size() <= longest_word; next++) {
      if (text[next] == '\r')
        dropped.push_back(spliced.size());
      else if (endsWord(text[next]))
        break;
      else
        spliced += text[next];
    }
    word = spliced;
  }

  /// Drops the rest of the word and of its line; `ended` as for `readWord`.
  bool skipComment(bool& ended) {
    pos = word.size();
    ended = false;
    count++; // also for the comment that its word's own line end has already closed
    if (line_closed) return true;
    while (next < text.size()) {
      const Place where = here();
      const char c = take();
      if (c == '\n') return true;
      if (c != '\r' && isControl(c)) return failOnControl(c, where);
    }
    ended = true;
    count--;
    return true;
  }

  char peek() const { return pos < word.size() ? word[pos] : '\0'; }

  Place placeInWord() const {
    const auto returns = std::upper_bound(dropped.begin(), dropped.end(), pos) - dropped.begin();
    return Place::at(word_place.line, word_place.column + pos + static_cast<size_t>(returns));
  }

  /// Scans the next token into `token`, `image`, `value` and `place`.
  bool scan() {
    image = {};
    value = 0;
    while (true) {
      while (pos >= word.size()) {
        bool ended = false;
        if (!readWord(ended)) return false;
        if (ended) return reachEnd();
      }
      if (peek() != '\\' && !(peek() == '*' && pos == 0)) break;
      bool ended = false;
      if (!skipComment(ended)) return false;
      if (ended) return reachEnd();
    }
    place = placeInWord();
    if (pos == 0 && isLetter(peek())) {
      for (const Keyword& keyword : keywords) {
        if (!equalsIgnoringCase(word, keyword.word)) continue;
        image = word;
        pos = word.size();
        token = keyword.token;
        return true;
      }
    }
    const char c = peek();
    if (beginsName(c)) return scanName();
    if (isDigit(c) || c == '.') return scanNumber();
    return scanSymbol();
  }

  bool reachEnd() {
    token = Token::end_of_input;
    place = here();
    return true;
  }

  bool scanName() {
    const size_t start = pos;
    while (continuesName(peek())) pos++;
    image = word.substr(start, pos - start);
    token = Token::name;
    if (image.size() <= longest_name) return true;
    return fail("c name `" + std::string(image.substr(0, longest_name)) +
                "...' too long > 32 characters");
  }

  bool scanNumber() {
    const size_t start = pos;
    const auto scanned = [&] {
      return std::string(word.substr(start, std::min(pos - start, longest_image)));
    };
    const auto digits = [&] {
      while (isDigit(peek())) pos++;
    };
    digits();
    if (peek() == '.') {
      pos++;
      if (pos == start + 1 && !isDigit(peek())) return fail("invalid use of decimal point");
      digits();
    }
    if (peek() == 'e' || peek() == 'E') {
      pos++;
      if (peek() == '+' || peek() == '-') pos++;
      if (!isDigit(peek()) && pos - start <= longest_image)
        return fail("numeric constant `" + scanned() + "' incomplete");
      digits();
    }
    image = word.substr(start, std::min(pos - start, longest_image));
    token = Token::number;
    const std::optional<Int> parsed = parseInt(image);
    if (pos - start > longest_image || !parsed || *parsed > largest_number)
      return fail("numeric constant `" + scanned() + "' out of range (" +
                  std::to_string(largest_number) + ")");
    value = *parsed;
    return true;
  }

  bool scanSymbol() {
    const char c = word[pos++];
    image = word.substr(pos - 1, 1);
    // The second character of a two-character relation.
    const auto absorb = [&](char other) {
      if (peek() != other) return false;
      image = word.substr(pos++ - 1, 2);
      return true;
    };
    switch (c) {
    case '+':
      token = Token::plus;
      return true;
    case '-':
      token = Token::minus;
      return true;
    case '*':
      token = Token::asterisk;
      return true;
    case ':':
      token = Token::colon;
      return true;
    case ';':
      token = Token::semicolon;
      return true;
    case '<':
      absorb('=');
      token = Token::at_most;
      return true;
    case '>':
      absorb('=');
      token = Token::at_least;
      return true;
    case '=':
      token = absorb('<') ? Token::at_most : absorb('>') ? Token::at_least : Token::equal;
      return true;
    default:
      return fail(std::string("character `") + c + "' not recognized");
    }
  }

  /// Reads an optional sign: 1 or -1 into `sign`.
  bool readSign(int& sign) {
    sign = token == Token::minus ? -1 : 1;
    return (token != Token::plus && token != Token::minus) || scan();
  }

  /// Adds the terms that have gathered to the form.
  bool enterTerms() {
    batch.lookUp(problem.variables, builder);
    size_t entered = 0;
    for (; entered < batch.size(); entered++) {
      const TermBatch::Entry& term = batch[entered];
      if (!builder.add(term.variable, term.coefficient, term.place, lowest_coefficient,
                       largest_number))
        break;
    }
    const bool all = entered == batch.size();
    if (!all) {
      fail("c number out of RANGE", name_marks[entered].place);
      error.word = name_marks[entered].word;
    }
    batch.clear();
    return all;
  }

  bool addTerm(Int coefficient, Place start) {
    name_marks[batch.size()] = {place, count};
    batch.add(problem.variables.seek(image), coefficient, start);
    // The letters of a spliced word do not last.
    return (!batch.isFull() && word.data() != spliced.data()) || enterTerms();
  }

  /// Reads terms until one is not followed by a sign, or, `broken` then being set, a sign or a
  /// coefficient is not followed by a name.
  bool readTerms(bool& broken) {
    do {
      const Place start = place;
      int sign = 1;
      if (!readSign(sign)) return false;
      Int coefficient = 1;
      if (token == Token::number) {
        coefficient = value;
        if (!scan()) return false;
        if (token != Token::asterisk) return fail("expecting '*' instead of " + std::string(image));
        if (!scan()) return false;
      }
      broken = token != Token::name;
      if (broken) return true;
      if (!addTerm(sign * coefficient, start) || !scan()) return false;
    } while (token == Token::plus || token == Token::minus);
    return true;
  }

  /// Reads a form behind the other terms of `terms`. It is left empty when it is broken, even after
  /// good terms; the names of those stay known.
  bool readForm(Terms& terms) {
    builder.begin(terms);
    bool broken = false;
    const bool complete = readTerms(broken);
    // What is wrong with the terms that have gathered comes before whatever stopped the reading.
    if (!enterTerms() || !complete) return false;
    if (broken) builder.abandon();
    return true;
  }

  bool atLabel() const { return token == Token::name && peek() == ':'; }

  /// Goes from a name that is a label to the token after its colon.
  bool passLabel() { return scan() && scan(); }

  bool readObjective() {
    Objective& objective = problem.objective;
    objective.sense = token == Token::minimise ? Sense::minimise : Sense::maximise;
    objective.place = place;
    objective.name = "obj";
    if (!scan()) return false;
    if (atLabel()) {
      objective.name = image;
      if (!passLabel()) return false;
    }
    return readForm(objective.form);
  }

  bool readRow() {
    RowHead row;
    row.place = place;
    row.ordinal = count;
    std::string label; // the words it came from will be gone
    if (atLabel()) {
      label = image;
      row.label = label;
      if (problem.rows.hasName(label)) return fail("constraint `" + label + "' multiply defined");
      if (!passLabel()) return false;
    }
    Terms& terms = problem.rows.terms();
    const size_t before = terms.size();
    if (!readForm(terms)) return false;
    if (terms.size() == before) return fail("missing variable name");
    if (token == Token::at_most)
      row.relation = Relation::at_most;
    else if (token == Token::at_least)
      row.relation = Relation::at_least;
    else if (token == Token::equal)
      row.relation = Relation::equal;
    else
      return fail("missing constraint sense");
    if (!scan()) return false;
    row.bound_place = place;
    int sign = 1;
    if (!readSign(sign)) return false;
    if (token != Token::number) return fail("missing right-hand side");
    row.bound = sign * value;
    if (!scan()) return false;
    if (token != Token::semicolon) return fail("expecting ';'");
    if (pos < word.size() && peek() != '\\' && peek() != ';')
      return fail("invalid symbol(s) beyond right-hand side", placeInWord());
    problem.rows.add(row);
    return true;
  }

  bool readProblem() {
    if (!scan()) return false;
    if ((token == Token::minimise || token == Token::maximise) && !readObjective()) return false;
    if (token == Token::semicolon && !scan()) return false;
    do {
      if (!readRow() || !scan()) return false;
    } while (token == Token::name || token == Token::number || token == Token::plus ||
             token == Token::minus);
    if (token == Token::end) {
      if (!scan()) return false;
      if (token != Token::end_of_input) return fail("extra symbol(s) detected beyond `end'");
    } else if (token != Token::end_of_input) {
      return fail("symbol `" + std::string(image) + "' in wrong position");
    }
    return true;
  }

 public:
  explicit Reader(std::string_view whole) : text(whole) {}

  Result<Problem> read() {
    if (!readProblem()) return error;
    return std::move(problem);
  }
};

} // namespace

Result<Problem> readStar(std::string_view text) {
  return Reader(text).read();
}

} // namespace formats
