/// \file
/// How the lines look.
#include "Output.h"

#include "ExitCode.h"
#include "process/Program.h"

#include <algorithm>
#include <cstdio>

namespace {

/// Columns of a line of values, as far as a single name does not take more.
constexpr std::size_t line_width = 78;

/// Collects words into `v` lines.
class ValueLines {
  std::string line = "v";

 public:
  void add(std::string_view sign, std::string_view name) {
    if (line.size() > 1 && line.size() + 1 + sign.size() + name.size() > line_width) flush();
    ((line += ' ') += sign) += name;
  }
  void flush() {
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
    line = "v";
  }
};

std::string textOf(const std::optional<formats::Int>& bound, const char* otherwise) {
  return bound ? formats::toString(*bound) : otherwise;
}

} // namespace

const char* wordsOf(Verdict verdict) {
  switch (verdict) {
  case Verdict::optimum:
    return "OPTIMUM FOUND";
  case Verdict::satisfiable:
    return "SATISFIABLE";
  case Verdict::unsatisfiable:
    return "UNSATISFIABLE";
  case Verdict::unknown:
    return "UNKNOWN";
  case Verdict::unsupported:
    return "UNSUPPORTED";
  }
  return "";
}

int exitCodeOf(Verdict verdict) {
  switch (verdict) {
  case Verdict::optimum:
    return exit_optimum;
  case Verdict::satisfiable:
    return exit_satisfiable;
  case Verdict::unsatisfiable:
    return exit_unsatisfiable;
  case Verdict::unknown:
  case Verdict::unsupported:
    break;
  }
  return exit_unknown;
}

std::optional<double> Bounds::gap() const {
  if (!lower || !upper) return std::nullopt;
  if (*lower == *upper) return 0.0;
  const auto low = static_cast<double>(*lower);
  const auto high = static_cast<double>(*upper);
  return (high - low) / std::max(std::abs(low), std::abs(high));
}

void printComment(const std::string& text) {
  std::printf("c %s\n", text.c_str());
  process::flushOutput();
}

void printObjective(formats::Int value) {
  std::printf("o %s\n", formats::toString(value).c_str());
  process::flushOutput();
}

void printBounds(double time, const Bounds& bounds) {
  char gap[32] = "-";
  if (const std::optional<double> share = bounds.gap())
    std::snprintf(gap, sizeof gap, "%.2f%%", 100 * *share);
  std::printf("c bound time %.3f lower %s upper %s gap %s\n", time,
              textOf(bounds.lower, "-inf").c_str(), textOf(bounds.upper, "inf").c_str(), gap);
  process::flushOutput();
}

void printVerdict(Verdict verdict) {
  std::printf("s %s\n", wordsOf(verdict));
}

void printValues(const formats::Problem& problem, const formats::Assignment& assignment) {
  const auto is_true = [&](int v) {
    return assignment[static_cast<std::size_t>(v)] == formats::Value::positive;
  };
  if (problem.format == formats::Format::wcnf) {
    std::string line(static_cast<std::size_t>(problem.declared), '0');
    for (int v = 0; v < problem.variables.size(); v++)
      if (is_true(v))
        line[static_cast<std::size_t>(*formats::parseInt(problem.variables[v])) - 1] = '1';
    std::printf("v %s\n", line.c_str());
    return;
  }
  ValueLines lines;
  for (int v = 0; v < problem.variables.size(); v++)
    if (!problem.products.isProduct(v)) lines.add(is_true(v) ? "" : "-", problem.variables[v]);
  if (problem.format == formats::Format::cnf) lines.add("", "0");
  lines.flush();
}
