/// \file
/// The reader of solver outputs, line by line.
#include "SolverOutput.h"

#include "Lexical.h"

#include <utility>

namespace formats {
namespace {

struct Verdict {
  std::string_view words;
  Answer answer;
};

constexpr Verdict verdicts[] = {
    {"SATISFIABLE", Answer::satisfiable},     {"OPTIMUM FOUND", Answer::optimum},
    {"UNSATISFIABLE", Answer::unsatisfiable}, {"UNKNOWN", Answer::unknown},
    {"UNSUPPORTED", Answer::unknown},
};

void readValues(std::string_view line, size_t from, size_t number, SolverOutput& output) {
  output.has_values = true;
  while (from < line.size()) {
    if (isSpace(line[from])) {
      from++;
      continue;
    }
    size_t to = from;
    while (to < line.size() && !isSpace(line[to])) to++;
    output.values.push_back(
        {std::string(line.substr(from, to - from)), Place::at(number, from + 1)});
    from = to;
  }
}

/// Reads one line into `output`; the message of what is wrong with it, or nothing.
std::string readLine(std::string_view line, size_t number, SolverOutput& output) {
  const auto isKind = [&](char kind) {
    return !line.empty() && line[0] == kind && (line.size() == 1 || isSpace(line[1]));
  };
  if (isKind('s')) {
    if (output.answer != Answer::none) return "a second verdict line";
    const std::string_view words = trim(line.substr(1));
    for (const Verdict& verdict : verdicts)
      if (words == verdict.words) output.answer = verdict.answer;
    if (output.answer == Answer::none) return "the verdict line has no known verdict";
  } else if (isKind('v')) {
    readValues(line, 1, number, output);
  } else if (isKind('o')) {
    const std::optional<Int> value = parseInt(trim(line.substr(1)));
    if (!value)
      return std::string("the objective line has no plain integer of at most ") + int_width;
    output.objectives.push_back(*value);
  }
  return "";
}

} // namespace

const char* wordsOf(Answer answer) {
  for (const Verdict& verdict : verdicts)
    if (verdict.answer == answer) return verdict.words.data();
  return "no verdict";
}

Result<SolverOutput> readSolverOutput(std::string_view text) {
  SolverOutput output;
  for (size_t number = 1; !text.empty(); number++) {
    std::string message = readLine(takeLine(text), number, output);
    if (!message.empty()) return Error{Place::at(number, 1), std::move(message)};
  }
  return output;
}

} // namespace formats
