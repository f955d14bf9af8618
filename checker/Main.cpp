/// \file
/// The program `estoc-verify`.
#include "ProofFile.h"
#include "Refusal.h"
#include "Verify.h"
#include "formats/InputFile.h"
#include "process/MemoryLimit.h"
#include "process/Program.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>

namespace {

/// The exit codes; `process::exit_no_memory` and `process::exit_no_output` are two more.
enum ExitCode : int {
  exit_none = 0,           ///< the proof holds and claims nothing, or help was asked for
  exit_refused = 1,        ///< the proof does not hold
  exit_satisfiable = 10,   ///< proven: there is a solution
  exit_unsatisfiable = 20, ///< proven: there is none
  exit_bounds = 30,        ///< proven: bounds on the objective
  exit_usage = 64,         ///< a wrong command line
  exit_bad_input = 65,     ///< the text is no problem
  exit_no_input = 66       ///< a file cannot be read
};

/// The largest problem, unpacked.
constexpr std::size_t input_limit = std::size_t{1} << 36U;

struct Settings {
  std::string problem;
  std::string proof;
  std::string format;
  std::uint64_t memory_limit = 0; ///< in megabytes; 0 for none
};

Settings parseCommandLine(int argc, char** argv) {
  Settings settings;
  CLI::App app(
      "Checks a proof of what a pseudo-Boolean problem has for an answer.\nExit code: 30 "
      "bounds proven, 20 no solution, 10 a solution, 0 nothing claimed, 1 proof refused; see "
      "estoc-verify(1).",
      "estoc-verify");
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.set_help_flag("--help", "display this help");
  app.set_version_flag("--version", "estoc-verify " QUILLON_VERSION, "display the version");
  app.get_formatter()->column_width(24);
  app.add_option("problem", settings.problem, "the problem, perhaps packed")
      ->type_name("")
      ->required();
  app.add_option("proof", settings.proof, "the proof, perhaps packed; \"-\" is standard input")
      ->type_name("")
      ->required();
  app.add_option("--format", settings.format, "the problem is opb, cnf or wcnf")
      ->type_name("NAME")
      ->check(CLI::IsMember({"opb", "cnf", "wcnf"}));
  app.add_option("--memory-limit", settings.memory_limit,
                 "end before taking more than MB megabytes")
      ->type_name("MB")
      ->check(CLI::Range(1, 1000000000));
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    std::exit(exit_none);
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    std::exit(exit_none);
  } catch (const CLI::ParseError& error) {
    process::complain(std::string(error.what()) + "; try --help");
    std::exit(exit_usage);
  }
  return settings;
}

/// The contents of a file, unpacked. Ends the process if it cannot be read.
formats::Bytes read(const std::string& path) {
  auto bytes = formats::readInput(path, input_limit);
  if (bytes) return std::move(*bytes);
  process::complain((path == "-" ? "standard input" : path) + ": " + bytes.error().message);
  std::exit(exit_no_input);
}

checker::Verdict check(const Settings& settings, checker::Problem problem) {
  ProofFile file(settings.proof);
  if (!file.isOpen()) {
    process::complain(settings.proof + ": " + std::strerror(errno));
    std::exit(exit_no_input);
  }
  std::istream stream(&file);
  return checker::verify(std::move(problem), stream);
}

std::optional<checker::Format> formatOf(const std::string& name) {
  if (name == "opb") return checker::Format::opb;
  if (name == "cnf") return checker::Format::cnf;
  if (name == "wcnf") return checker::Format::wcnf;
  return {};
}

int exitCodeOf(checker::Verdict::Kind kind) {
  using Kind = checker::Verdict::Kind;
  switch (kind) {
  case Kind::none:
    return exit_none;
  case Kind::satisfiable:
    return exit_satisfiable;
  case Kind::unsatisfiable:
    return exit_unsatisfiable;
  case Kind::bounds:
    return exit_bounds;
  case Kind::refused:
    break;
  }
  return exit_refused;
}

} // namespace

int main(int argc, char** argv) {
  process::begin({.prefix = "estoc-verify: "});
  Settings settings;
  try {
    settings = parseCommandLine(argc, argv);
    if (settings.memory_limit != 0) process::limitMemory(settings.memory_limit);
    checker::Problem problem =
        checker::readProblem(read(settings.problem), formatOf(settings.format));
    const checker::Verdict verdict = check(settings, std::move(problem));
    std::printf("%s\n", process::visible(verdict.text()).c_str());
    return exitCodeOf(verdict.kind);
  } catch (const checker::Refusal& refusal) {
    process::complain(settings.problem + ":" + refusal.what());
    return exit_bad_input;
  } catch (const std::exception&) { // there is only std::bad_alloc
    process::outOfMemory();
  }
}
