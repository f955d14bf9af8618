/// \file
/// Proofs of what the engine finds on random small problems: each is accepted, shows as much as the
/// engine says, and shows nothing false whatever is done to its text. A failure prints the seed;
/// ESTOC_PROOF_SEED set to that with ESTOC_PROOF_RUNS=1 runs that problem alone.
#include "Generators.h"
#include "Trial.h"
#include "checker/Verify.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

using checker::Verdict;
using estoc::Lit;

std::string nameOf(int variable) {
  return "x" + std::to_string(variable + 1);
}

std::string opb(const plain::Form& form) {
  std::string out;
  for (const plain::Term& t : form)
    out += (t.coefficient < 0 ? "" : "+") + std::to_string(t.coefficient) + " " +
           nameOf(t.variable) + " ";
  return out;
}

std::string opb(const plain::Problem& problem) {
  std::string out;
  if (problem.objective)
    out = (problem.maximise ? "max: " : "min: ") + opb(*problem.objective) + ";\n";
  for (const plain::Row& row : problem.rows) {
    const char* const relation = row.relation == plain::Relation::at_least  ? ">= "
                                 : row.relation == plain::Relation::at_most ? "<= "
                                                                            : "= ";
    out += opb(row.form) + relation + std::to_string(row.bound) + " ;\n";
  }
  return out;
}

/// What is true of a problem.
struct Truth {
  bool satisfiable;
  std::optional<plain::Int> optimum; ///< in the sense of the proof: to be minimised

  explicit Truth(const plain::Problem& problem)
      : satisfiable(plain::satisfiable(problem)),
        optimum(problem.objective ? plain::optimum(problem) : std::nullopt) {
    if (optimum && problem.maximise) optimum = -*optimum;
  }
  bool allows(const Verdict& verdict) const {
    switch (verdict.kind) {
    case Verdict::Kind::refused:
    case Verdict::Kind::none:
      return true;
    case Verdict::Kind::satisfiable:
      return satisfiable;
    case Verdict::Kind::unsatisfiable:
      return !satisfiable;
    case Verdict::Kind::bounds:
      break;
    }
    if (!satisfiable) return !verdict.upper;
    return verdict.lower && *verdict.lower <= *optimum &&
           (!verdict.upper || *verdict.upper >= *optimum);
  }
};

class TextSink final : public estoc::ProofSink {
 public:
  std::string text;
  void write(const char* bytes, std::size_t size) override { text.append(bytes, size); }
  void appendLiteral(Lit literal, std::string& to) const override {
    to += (literal.negated() ? "~" : "") + nameOf(literal.var());
  }
  std::string ownPrefix() const override { return "_y"; }
};

/// Ends a search after some solutions or bounds.
class Impatient : public estoc::Listener {
  estoc::Solver& solver;
  int left;

 public:
  Impatient(estoc::Solver& s, int reports) : solver(s), left(reports) {}
  void onSolution(const std::vector<bool>&, estoc::Int128, estoc::Strategy) override { count(); }
  void onLowerBound(estoc::Int128, estoc::Strategy) override { count(); }
  void count() {
    if (--left == 0) solver.interrupt();
  }
};

struct Proven {
  estoc::Verdict verdict = estoc::Verdict::unknown;
  std::string proof;
};

std::vector<estoc::WideTerm> termsOf(const plain::Form& form, bool negate) {
  std::vector<estoc::WideTerm> terms;
  for (const plain::Term& t : form)
    terms.push_back({negate ? -t.coefficient : t.coefficient, Lit::of(t.variable, false)});
  return terms;
}

estoc::ProofVersion someVersion(Draws& draws) {
  return draws.oneIn(3) ? estoc::ProofVersion::v2 : estoc::ProofVersion::v3;
}

/// Solves, perhaps not to the end, and proves what has been found.
Proven solve(Draws& draws, const plain::Problem& problem, estoc::ProofVersion version) {
  using plain::Relation;
  TextSink sink;
  estoc::Solver solver(trial::someOptions(draws));
  std::uint64_t rows = 0;
  for (const plain::Row& row : problem.rows) rows += row.relation == Relation::equal ? 2 : 1;
  solver.prove(sink, {version, rows, 0, ""});
  for (int v = 0; v < problem.nvars; v++) solver.newVariable();
  if (problem.objective) solver.minimise(termsOf(*problem.objective, problem.maximise), 0);
  for (const plain::Row& row : problem.rows) {
    if (row.relation != Relation::at_most) solver.addRow(termsOf(row.form, false), row.bound);
    if (row.relation != Relation::at_least) solver.addRow(termsOf(row.form, true), -row.bound);
  }
  Impatient impatient(solver, draws.oneIn(4) ? draws.small(1, 3) : 0);
  Proven result;
  result.verdict = solver.solve({}, &impatient);
  solver.concludeProof();
  result.proof = std::move(sink.text);
  return result;
}

Verdict verdictOn(const std::string& problem, const std::string& proof) {
  std::istringstream stream(proof);
  return checker::verify(checker::readProblem(problem, checker::Format::opb), stream);
}

/// Whether the proof shows what the engine has said.
bool shows(const Verdict& verdict, const Proven& proven, const Truth& truth) {
  const bool optimises = truth.optimum.has_value() || verdict.kind == Verdict::Kind::bounds;
  switch (proven.verdict) {
  case estoc::Verdict::satisfiable:
    if (!optimises) return verdict.kind == Verdict::Kind::satisfiable;
    return verdict.kind == Verdict::Kind::bounds && verdict.upper;
  case estoc::Verdict::unsatisfiable:
    if (!optimises) return verdict.kind == Verdict::Kind::unsatisfiable;
    return verdict.kind == Verdict::Kind::bounds && !verdict.lower && !verdict.upper;
  case estoc::Verdict::optimal:
    return verdict.kind == Verdict::Kind::bounds && verdict.upper && verdict.lower &&
           *verdict.lower == *verdict.upper && *verdict.upper == *truth.optimum;
  case estoc::Verdict::unknown:
    break;
  }
  return verdict.kind != Verdict::Kind::refused;
}

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const value = std::getenv(name);
  return value == nullptr ? otherwise : std::strtoul(value, nullptr, 10);
}

/// Calls `experiment` with draws, a problem, and its number.
template <class Experiment> void repeat(unsigned long usual, Experiment experiment) {
  const unsigned long first = fromEnvironment("ESTOC_PROOF_SEED", 1);
  const unsigned long runs = fromEnvironment("ESTOC_PROOF_RUNS", usual);
  for (unsigned long seed = first; seed - first < runs && !testing::Test::HasFailure(); seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    SeededDraws draws(seed);
    plain::Problem problem = plain::someProblem(draws);
    if (draws.oneIn(2)) plain::addObjective(draws, problem);
    experiment(draws, problem);
  }
}

// ------------------------------------------------------------------------------------------------
// Damage

std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, at);) parts.push_back(part);
  return parts;
}

std::string join(const std::vector<std::string>& parts, char with) {
  std::string text;
  for (const std::string& part : parts) text += part + with;
  return text;
}

std::size_t somePlace(Draws& draws, std::size_t size) {
  return static_cast<std::size_t>(draws.between(0, static_cast<std::int64_t>(size) - 1));
}

/// Another word of the same kind.
std::string damaged(Draws& draws, const std::string& word) {
  const bool is_number = word.find_first_not_of("+-0123456789") == std::string::npos;
  if (is_number && word.find_first_of("0123456789") != std::string::npos && word.size() < 18) {
    const long number = std::strtol(word.c_str(), nullptr, 10);
    switch (draws.small(0, 4)) {
    case 0:
      return std::to_string(number + 1);
    case 1:
      return std::to_string(number - 1);
    case 2:
      return std::to_string(-number);
    case 3:
      return std::to_string(number + draws.small(-5, 5));
    default:
      return std::to_string(draws.small(0, 3));
    }
  }
  if (word.starts_with("~")) return word.substr(1);
  if (word.starts_with("x")) return draws.oneIn(3) ? nameOf(draws.small(0, 8)) : "~" + word;
  static constexpr const char* operations[] = {"+", "*", "d", "s", "-", "m", "n", "c", "w"};
  if (word.size() == 1) return operations[draws.small(0, 8)];
  if (word == "rup") return "red";
  if (word == "soli") return "sol";
  if (word == "del") return "core";
  return word;
}

void damageLine(Draws& draws, std::vector<std::string>& lines, std::size_t place) {
  std::vector<std::string> words = split(lines[place], ' ');
  if (words.empty()) return;
  const std::size_t at = somePlace(draws, words.size());
  switch (draws.small(0, 3)) {
  case 0:
    std::swap(words[at], words[somePlace(draws, words.size())]);
    break;
  case 1:
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(at));
    break;
  default:
    words[at] = damaged(draws, words[at]);
  }
  lines[place] = join(words, ' ');
}

/// A conclusion that says more, or something else.
void strengthen(Draws& draws, std::vector<std::string>& lines, const Truth& truth) {
  const auto conclusion = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
    return line.starts_with("conclusion");
  });
  if (conclusion == lines.end()) return;
  const std::string end = conclusion->ends_with(";") ? " ;" : "";
  const std::string hint = " : " + std::to_string(draws.small(-4, -1)) + " ";
  const long best = truth.optimum.value_or(0);
  switch (draws.small(0, 4)) {
  case 0:
    *conclusion = "conclusion UNSAT" + hint + end;
    break;
  case 1:
    *conclusion = "conclusion BOUNDS INF" + hint + "INF" + end;
    break;
  case 2:
    *conclusion = "conclusion BOUNDS " + std::to_string(best + draws.small(0, 2)) + hint +
                  std::to_string(best) + end;
    break;
  case 3:
    *conclusion =
        "conclusion BOUNDS " + std::to_string(best - 1) + " " + std::to_string(best - 1) + end;
    break;
  default:
    *conclusion = "conclusion SAT" + end;
  }
}

std::string damagedProof(Draws& draws, const std::string& proof, const Truth& truth) {
  std::vector<std::string> lines = split(proof, '\n');
  for (int n = draws.small(1, 3); n > 0; n--) {
    const std::size_t place = somePlace(draws, lines.size());
    const std::size_t other = somePlace(draws, lines.size());
    switch (draws.small(0, 7)) {
    case 0:
      lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(place));
      break;
    case 1:
      std::swap(lines[place], lines[other]);
      break;
    case 2:
      lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(place), std::string(lines[other]));
      break;
    case 3:
      strengthen(draws, lines, truth);
      break;
    default:
      damageLine(draws, lines, place);
    }
    if (lines.empty()) break;
  }
  return join(lines, '\n');
}

} // namespace

TEST(EstocProof, IsAcceptedAndShowsWhatTheEngineSays) {
  repeat(1500, [](Draws& draws, const plain::Problem& problem) {
    const Proven proven = solve(draws, problem, someVersion(draws));
    const std::string text = opb(problem);
    const Verdict verdict = verdictOn(text, proven.proof);
    const Truth truth(problem);
    EXPECT_TRUE(truth.allows(verdict) && shows(verdict, proven, truth)) << verdict.text() << "\n"
                                                                        << text << proven.proof;
  });
}

TEST(EstocProof, OfTheSameRunIsTheSameInEitherVersion) {
  using estoc::ProofVersion;
  // Without marks between and behind words, the words around subproofs, and what 2.0 cannot tell:
  // the hints of "rup".
  const auto words = [](const std::string& proof) {
    std::string text;
    for (std::string line : split(proof, '\n')) {
      if (line.starts_with("rup")) line.resize(std::min(line.find(" : "), line.size()));
      for (const std::string& word : split(line, ' '))
        if (word != ";" && word != ":" && word != "2.0" && word != "3.0" && word != "begin" &&
            word != "end" && word != "subproof" && word != "qed")
          text += word + " ";
    }
    return text;
  };
  repeat(150, [&](const Draws& draws, const plain::Problem& problem) {
    const auto proofIn = [&](ProofVersion version) {
      SeededDraws again = static_cast<const SeededDraws&>(draws);
      return solve(again, problem, version).proof;
    };
    for (const ProofVersion version : {ProofVersion::v2, ProofVersion::v3})
      EXPECT_EQ(proofIn(version), proofIn(version));
    EXPECT_EQ(words(proofIn(ProofVersion::v2)), words(proofIn(ProofVersion::v3)));
  });
}

TEST(EstocProof, ShowsNothingFalseWhenDamaged) {
  int accepted = 0;
  int refused = 0;
  repeat(200, [&](Draws& draws, const plain::Problem& problem) {
    const Proven proven = solve(draws, problem, someVersion(draws));
    if (proven.proof.size() > 100000) return; // a market split
    const std::string text = opb(problem);
    const Truth truth(problem);
    for (int i = 0; i < 25; i++) {
      const std::string proof = damagedProof(draws, proven.proof, truth);
      const Verdict verdict = verdictOn(text, proof);
      (verdict.kind == Verdict::Kind::refused ? refused : accepted)++;
      EXPECT_TRUE(truth.allows(verdict)) << verdict.text() << "\n" << text << proof;
    }
  });
  EXPECT_GT(accepted, 0);
  EXPECT_GT(refused, accepted / 4);
  RecordProperty("accepted", accepted);
  RecordProperty("refused", refused);
}
