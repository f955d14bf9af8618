/// \file
/// Proofs of random small texts in every format: each is accepted, about the text itself where
/// proofs know its format, else about the linear OPB that is written for it. ESTOC_PROOF_SEED and
/// ESTOC_PROOF_RUNS choose the texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Generators.h"
#include "Trial.h"
#include "checker/Verify.h"
#include "formats/ProblemReader.h"
#include "program/Loading.h"
#include "program/ProofLog.h"

namespace {

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoul(value, nullptr, 10);
}

/// Clauses with repeated and opposite literals, sometimes empty. For WCNF each begins with its
/// weight, or with "h".
std::string someClauses(Draws& draws, bool weighted, bool header) {
  const int variables = draws.small(1, 6);
  const int clauses = draws.small(1, 25);
  std::string text;
  for (int i = 0; i < clauses; i++) {
    if (weighted) {
      const bool hard = draws.oneIn(2);
      text += hard ? (header ? "50 " : "h ") : std::to_string(draws.small(header ? 1 : 0, 9)) + " ";
    }
    const int size = draws.oneIn(25) ? 0 : draws.oneIn(4) ? 1 : draws.small(2, 4);
    for (int j = 0; j < size; j++)
      text += (draws.oneIn(2) ? "-" : "") + std::to_string(draws.small(1, variables)) + " ";
    text += "0\n";
  }
  if (!weighted || header)
    text = std::string("p ") + (weighted ? "wcnf " : "cnf ") + std::to_string(variables) + " " +
           std::to_string(clauses) + (weighted ? " 50\n" : "\n") + text;
  return text;
}

/// A sum of up to three terms and perhaps a constant; with products, terms of up to three literals.
std::string someSum(Draws& draws, bool products) {
  std::string text;
  for (int terms = draws.small(1, 3); terms > 0; terms--) {
    text += std::to_string(draws.small(-5, 5)) + " ";
    for (int literals = products ? draws.small(1, 3) : 1; literals > 0; literals--)
      text += (draws.oneIn(3) ? "~x" : "x") + std::to_string(draws.small(1, 6)) + " ";
  }
  if (draws.oneIn(8)) text += std::to_string(draws.small(1, 5)) + " ";
  return text;
}

/// Our own format, with an objective or without.
std::string someStars(Draws& draws) {
  plain::Problem problem;
  while (problem.rows.empty()) problem = plain::someProblem(draws);
  if (draws.oneIn(2)) plain::addObjective(draws, problem);
  return plain::text(problem);
}

/// OPB, or WBO with a top cost or without.
std::string someRows(Draws& draws, bool products, bool soft) {
  std::string text;
  if (soft)
    text = draws.oneIn(2) ? "soft: 9 ;\n" : "soft: ;\n";
  else if (!draws.oneIn(3))
    text = (draws.oneIn(3) ? "max: " : "min: ") + someSum(draws, products) + ";\n";
  for (int rows = draws.small(1, 8); rows > 0; rows--) {
    if (soft && draws.oneIn(2)) text += "[" + std::to_string(draws.small(1, 9)) + "] ";
    static constexpr const char* relations[] = {">= ", "<= ", "= "};
    text += someSum(draws, products) + relations[draws.small(0, 2)];
    text += std::to_string(draws.small(-4, 4)) + " ;\n";
  }
  return text;
}

/// Keeps the proof.
class TextSink final : public estoc::ProofSink {
  const Statement& statement;

 public:
  std::string text;
  explicit TextSink(const Statement& about) : statement(about) {}
  void write(const char* bytes, std::size_t size) override { text.append(bytes, size); }
  void appendLiteral(estoc::Lit l, std::string& to) const override {
    statement.appendLiteral(l, to);
  }
  std::string ownPrefix() const override { return statement.freePrefix(); }
};

checker::Format checkedFormat(formats::Format format, bool written) {
  if (written || format == formats::Format::opb) return checker::Format::opb;
  return format == formats::Format::cnf ? checker::Format::cnf : checker::Format::wcnf;
}

/// What the checker says of the proof for `text`, and the verdict that belongs to what the engine
/// says; `written` as it is to be, or as it must.
struct Outcome {
  std::string found, expected, proof;
};

Outcome prove(Draws& draws, const std::string& text, bool written) {
  const auto problem = formats::readProblem(text);
  if (!problem) throw std::logic_error(problem.error().text() + "\n" + text);
  const auto linear = formats::linearise(*problem);
  if (!linear) throw std::logic_error(linear.error().text());
  written = written || !Statement::obstacle(*problem).empty();
  const Statement statement(*problem, *linear, written);
  std::string about = text;
  if (written) {
    about.clear();
    statement.writeOpb([&](const std::string& piece) { about += piece; });
  }
  TextSink sink(statement);
  estoc::Solver solver(trial::someOptions(draws));
  solver.prove(sink, {draws.oneIn(2) ? estoc::ProofVersion::v2 : estoc::ProofVersion::v3,
                      statement.rows(), statement.surplus(), "a comment"});
  const std::atomic<bool> stop{false};
  load(*problem, *linear, &statement, solver, stop);
  const estoc::Verdict verdict = solver.solve();
  solver.concludeProof();

  Outcome outcome;
  outcome.proof = sink.text;
  const bool optimises = problem->hasObjective();
  if (verdict == estoc::Verdict::optimal) {
    const estoc::Int128 cost = *solver.upperBound();
    const std::string value =
        trial::text(written ? cost - statement.surplus() : userValue(problem->objective, cost));
    outcome.expected = "s VERIFIED BOUNDS " + value + " <= obj <= " + value;
  } else if (verdict == estoc::Verdict::satisfiable) {
    outcome.expected = "s VERIFIED SATISFIABLE";
  } else {
    outcome.expected =
        optimises ? "s VERIFIED BOUNDS INF <= obj <= INF" : "s VERIFIED UNSATISFIABLE";
  }
  std::istringstream proof(sink.text);
  outcome.found =
      checker::verify(checker::readProblem(about, checkedFormat(problem->format, written)), proof)
          .text();
  return outcome;
}

std::string someText(Draws& draws) {
  switch (draws.small(0, 6)) {
  case 0:
    return someClauses(draws, false, true);
  case 1:
    return someClauses(draws, true, true);
  case 2:
    return someRows(draws, false, false);
  case 3:
    return someRows(draws, true, false);
  case 4:
    return someRows(draws, draws.oneIn(3), true);
  case 5:
    return someStars(draws);
  default:
    return someClauses(draws, true, false);
  }
}

TEST(EstocProof, OfEveryFormatIsAccepted) {
  const unsigned long first = fromEnvironment("ESTOC_PROOF_SEED", 1);
  const unsigned long runs = fromEnvironment("ESTOC_PROOF_RUNS", 1500);
  for (unsigned long seed = first; seed - first < runs; seed++) {
    SeededDraws draws(seed);
    const std::string text = someText(draws);
    const Outcome outcome = prove(draws, text, draws.oneIn(4));
    ASSERT_EQ(outcome.found, outcome.expected) << "seed " << seed << "\n" << text << outcome.proof;
  }
}

/// A proof of this text in a file, of which the solver has handed over `steps`.
class LogFile {
  const formats::Problem problem =
      std::move(*formats::readProblem("min: +1 aa +1 bb ;\n+1 aa +1 bb >= 1 ;\n"));
  const formats::Linear linear = std::move(*formats::linearise(problem));
  const Statement statement{problem, linear, false};
  const std::string path = testing::TempDir() + "/abandoned.pbp";

 public:
  ProofLog log{path, statement, estoc::ProofVersion::v3};
  explicit LogFile(const std::string& steps) {
    const std::string text = "pseudo-Boolean proof version 3.0\nf 1 ;\n" + steps;
    log.write(text.data(), text.size());
  }
  ~LogFile() { std::remove(path.c_str()); }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  std::string verdict() const {
    std::ifstream file(path);
    return checker::verify(checker::readProblem("min: +1 aa +1 bb ;\n+1 aa +1 bb >= 1 ;\n"), file)
        .text();
  }
};

TEST(ProofLog, EndsWithAConclusionWhateverTheSolverIsAt) {
  const std::string late = "rup 1 aa >= 5 ;\n";
  {
    LogFile cut("soli aa ~bb ;\n");
    cut.log.abandon();
    cut.log.write(late.data(), late.size()); // the solver goes on for a moment
    cut.log.abandon();
    cut.log.close();
    EXPECT_EQ(cut.verdict(), "s VERIFIED NONE");
  }
  LogFile ended("soli aa ~bb ;\npol 1 2 + ;\noutput NONE ;\nconclusion BOUNDS 1 : 1 1 : aa ~bb ;\n"
                "end pseudo-Boolean proof ;\n");
  ended.log.abandon(); // just before the solver's thread would have closed it
  EXPECT_EQ(ended.verdict(), "s VERIFIED BOUNDS 1 <= obj <= 1");
}

} // namespace
