/// \file
/// Readers of OPB, CNF and WCNF.
#include "Problem.h"

#include "Refusal.h"
#include "Sum.h"

#include <algorithm>

namespace checker {

namespace {

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The words of a text; a line that begins with one of `comment` counts as white space.
class Words {
  std::string_view text;
  std::string_view comment;
  bool line_begins = true;

 public:
  std::size_t line = 1;

  Words(std::string_view whole, std::string_view comment_letters)
      : text(whole), comment(comment_letters) {}

  /// The next word; empty at the end. ";" and ":" are words, and so is a row of "<", ">" and "=".
  std::string_view next() {
    while (!text.empty()) {
      if (text[0] == '\n') {
        line++;
        line_begins = true;
        text.remove_prefix(1);
      } else if (isBlank(text[0])) {
        text.remove_prefix(1);
      } else if (line_begins && comment.find(text[0]) != comment.npos) {
        text.remove_prefix(std::min(text.find('\n'), text.size()));
      } else {
        break;
      }
    }
    line_begins = false;
    constexpr std::string_view relation = "<>=";
    std::size_t length = 0;
    while (length < text.size() && !isBlank(text[length])) {
      const bool alone = text[length] == ';' || text[length] == ':';
      if (length == 0 && alone) length++;
      if (alone) break;
      if (length > 0 && (relation.find(text[length]) == relation.npos) !=
                            (relation.find(text[0]) == relation.npos))
        break;
      length++;
    }
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(length);
    return word;
  }
};

/// What all formats have in common: a row from terms, and where something is wrong.
class Reader {
 protected:
  Problem problem;
  Words words;
  Sum sum;
  std::string_view word; ///< the current one

  Reader(std::string_view text, std::string_view comments) : words(text, comments) {
    word = words.next();
  }
  void advance() { word = words.next(); }
  [[noreturn]] static void refuse(const std::string& why) { throw Refusal(why); }
  void expect(std::string_view what) {
    if (word != what)
      refuse("'" + std::string(what) + "' expected, not '" + std::string(word.substr(0, 40)) + "'");
    advance();
  }
  Integer number() {
    const std::optional<Integer> result =
        word.size() > longest_number ? std::nullopt : Integer::parse(word);
    if (!result) refuse("a number expected, not '" + std::string(word.substr(0, 40)) + "'");
    advance();
    return *result;
  }
  void addRow() { problem.rows.push_back(sum.row()); }

 public:
  static constexpr std::size_t longest_number = std::size_t{1} << 16U;
  std::size_t line() const { return words.line; }
};

class OpbReader : public Reader {
  /// "+3 x1 -2 ~x2" up to something else than a number.
  void terms() {
    sum.clear();
    while (!word.empty() && std::string_view("+-0123456789").find(word[0]) != word.npos) {
      const Integer coefficient = number();
      if (word.empty() || word == ";") {
        sum.raise(-coefficient); // a constant
      } else {
        sum.addTerm(coefficient, problem.names.literal(word));
        advance();
      }
    }
  }

  void objective() {
    problem.maximise = word == "max";
    advance();
    expect(":");
    terms();
    if (problem.maximise) sum.multiply(-1);
    problem.objective = sum.row();
    expect(";");
  }

  void constraint() {
    std::string label;
    if (word[0] == '@') {
      label = word;
      advance();
    }
    terms();
    const std::string_view relation = word;
    if (relation != ">=" && relation != "=" && relation != "<=")
      refuse("a linear row expected; '" + std::string(word.substr(0, 40)) + "' stands there");
    if (!label.empty() && relation == "=")
      refuse("an equality is two rows and cannot have a label");
    advance();
    sum.raise(number());
    expect(";");
    if (!label.empty()) problem.labels[label] = problem.rows.size() + 1;
    if (relation != "<=") addRow();
    sum.multiply(-1);
    if (relation != ">=") addRow();
  }

 public:
  explicit OpbReader(std::string_view text) : Reader(text, "*") {}
  Problem read() {
    if (word == "min" || word == "max") objective();
    while (!word.empty()) constraint();
    return std::move(problem);
  }
};

class DimacsReader : public Reader {
  bool weighted;
  std::size_t clauses = 0;

  /// Literals up to 0, each once.
  std::vector<Lit> clause() {
    std::vector<Lit> result;
    for (;;) {
      const Integer literal = number();
      if (literal.sign() == 0) break;
      const Var variable = problem.names.variable("x" + magnitude(literal).text());
      result.emplace_back(variable, literal.sign() < 0);
    }
    const auto before = [](Lit a, Lit b) { return a.index() < b.index(); };
    std::sort(result.begin(), result.end(), before);
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
  }

  void addClause(const std::vector<Lit>& literals) {
    sum.clear();
    for (const Lit l : literals) sum.addTerm(1, l);
    sum.raise(1);
    addRow();
  }

  void softClause(Sum& cost) {
    const Integer weight = number();
    if (weight.sign() < 0) refuse("a weight is not negative");
    std::vector<Lit> literals = clause();
    if (literals.size() == 1) {
      cost.addTerm(weight, ~literals[0]);
      return;
    }
    const Lit violated(problem.names.variable("_b" + std::to_string(clauses)), true);
    literals.push_back(violated);
    cost.addTerm(weight, violated);
    addClause(literals);
  }

 public:
  DimacsReader(std::string_view text, bool is_weighted)
      : Reader(text, is_weighted ? "c" : "cp"), weighted(is_weighted) {}
  Problem read() {
    Sum cost;
    while (!word.empty()) {
      clauses++;
      if (!weighted) {
        addClause(clause());
      } else if (word == "h") {
        advance();
        addClause(clause());
      } else if (word == "p") {
        refuse("WCNF of 2022 expected, which has no line that begins with 'p'");
      } else {
        softClause(cost);
      }
    }
    if (weighted) problem.objective = cost.row();
    return std::move(problem);
  }
};

/// By the first line that is no comment: "p cnf" or something else.
Format formatOf(std::string_view text) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    Words words(line, "*");
    const std::string_view first = words.next();
    const std::string_view second = words.next();
    if (first.empty() || (first[0] == 'c' && (first == "c" || line[0] == 'c'))) continue;
    if (first == "p") return second == "cnf" ? Format::cnf : Format::wcnf;
    if (first == "h") return Format::wcnf;
    // A soft clause is nothing but numbers; a row has a name or a relation in the second place.
    return !second.empty() && Integer::parse(first) && Integer::parse(second) ? Format::wcnf
                                                                              : Format::opb;
  }
  return Format::opb;
}

template <class R> Problem readWith(R reader) {
  try {
    return reader.read();
  } catch (const Refusal& refusal) {
    throw Refusal(std::to_string(reader.line()) + ": " + refusal.what());
  }
}

} // namespace

Problem readProblem(std::string_view text, std::optional<Format> format) {
  const Format is = format ? *format : formatOf(text);
  if (is == Format::opb) return readWith(OpbReader(text));
  return readWith(DimacsReader(text, is == Format::wcnf));
}

} // namespace checker
