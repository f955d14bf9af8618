/// \file
/// Options, and what they may be.
#include "CommandLine.h"

#include "ExitCode.h"
#include "Techniques.h"
#include "estoc/Solver.h"
#include "formats/ProblemReader.h"
#include "process/SameFile.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <unistd.h>

namespace {

/// Accepts numbers from `low` to `high`; not what is no number at all.
CLI::Validator between(double low, double high) {
  return {[low, high](const std::string& text) -> std::string {
            double value = 0;
            const bool is_number = CLI::detail::lexical_cast(text, value);
            if (is_number && value >= low && value <= high) return "";
            return "must be a number from " + CLI::detail::to_string(low) + " to " +
                   CLI::detail::to_string(high) + ", not " + text;
          },
          ""};
}

/// Accepts what is a number of 64 bits, of which other checks let wrap what is not.
CLI::Validator wholeNumber() {
  return {[](const std::string& text) -> std::string {
            std::uint64_t value = 0;
            const char* const end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, value);
            if (error == std::errc() && stop == end) return "";
            return "must be a whole number of 64 bits, not " + text;
          },
          ""};
}

CLI::Validator aFormat() {
  return {[](const std::string& text) -> std::string {
            if (formats::formatOf(text)) return "";
            return std::string("must be ") + formats::format_names + ", not " + text;
          },
          ""};
}

CLI::Validator aProofVersion() {
  return {[](const std::string& text) -> std::string {
            return text == "2.0" || text == "3.0" ? "" : "must be 2.0 or 3.0, not " + text;
          },
          ""};
}

/// An option without a value that makes `setting` false.
CLI::Option* addSwitchOff(CLI::App& app, const std::string& name, bool& setting,
                          const std::string& what) {
  return app.add_flag_callback(
      name, [&setting] { setting = false; }, what);
}

/// The values that options have when nobody gives them.
std::map<const CLI::Option*, std::string> usualValues(CLI::App& app) {
  std::map<const CLI::Option*, std::string> values;
  for (CLI::Option* const option : app.get_options([](CLI::Option*) { return true; })) {
    values[option] = option->capture_default_str()->get_default_str();
    option->default_str(""); // the help text has no use for it
  }
  return values;
}

/// What `Settings::changed` is.
std::vector<std::pair<std::string, std::string>>
changedOptions(const CLI::App& app, const std::map<const CLI::Option*, std::string>& usual) {
  std::vector<std::pair<std::string, std::string>> changed;
  for (const auto* const option : app.get_options()) {
    const std::string name = option->get_name();
    if (option->empty() || option->get_positional() || name == "--report") continue;
    const bool takes_value = option->get_expected_max() != 0;
    const std::string value = takes_value ? option->results().back() : "";
    if (!takes_value || value != usual.at(option)) changed.emplace_back(name, value);
  }
  return changed;
}

/// What is wrong with the files to be written; empty if nothing.
std::string clashOf(const Settings& settings) {
  const std::pair<const char*, process::NamedFile> files[] = {{"--stats", {settings.stats}},
                                                              {"--report", {settings.report}},
                                                              {"--proof", {settings.proof}},
                                                              {"--write-opb", {settings.opb}}};
  const process::NamedFile problem = {settings.file, STDIN_FILENO};
  for (std::size_t i = 0; i < std::size(files); i++) {
    const auto& [option, file] = files[i];
    if (file.path.empty()) continue;
    if (isSameFile(file, problem)) return std::string(option) + " would overwrite the problem";
    for (std::size_t j = 0; j < i; j++)
      if (!files[j].second.path.empty() && isSameFile(files[j].second, file))
        return std::string(files[j].first) + " and " + option + " are one file, " + file.path;
  }
  return "";
}

constexpr double longest = 1e9;     ///< seconds, some thirty years
constexpr double most_memory = 1e9; ///< MB

} // namespace

Settings parseCommandLine(int argc, char** argv) {
  Settings settings;
  CLI::App app("Decides a pseudo-Boolean problem, or finds an optimal solution and proves it "
               "optimal.\nExit code: 30 optimal, 20 no solution, 10 a solution, 0 none of these;"
               " see estoc(1).",
               "estoc");
  app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.set_help_flag("--help", "display this help");
  const char* const lp = estoc::Solver::linearProgramming();
  app.set_version_flag("--version",
                       "estoc " QUILLON_VERSION "\n" +
                           (lp != nullptr ? std::string("linear programs by ") + lp
                                          : std::string("built without linear programs")),
                       "display the version");
  app.get_formatter()->column_width(24);

  app.add_option("file", settings.file, "the problem, perhaps packed; \"-\" is standard input")
      ->type_name("");
  app.add_option("--time-limit", settings.time_limit, "end after S seconds on the wall")
      ->type_name("S")
      ->check(between(0, longest));
  app.add_option("--cpu-limit", settings.cpu_limit, "end after S seconds of processor time")
      ->type_name("S")
      ->check(between(0, longest));
  app.add_option("--memory-limit", settings.memory_limit,
                 "end before taking more than MB megabytes")
      ->type_name("MB")
      ->check(between(1, most_memory));
  app.add_option("--seed", settings.engine.seed, "vary the search; 0, the default, does not")
      ->type_name("N")
      ->check(wholeNumber());
  app.add_option("--verbosity", settings.verbosity,
                 "0: results only, 1: bounds (default), 2: counters")
      ->type_name("N")
      ->check(between(0, 2));
  addSwitchOff(app, "--no-values", settings.values, "do not print the values of a solution");
  app.add_option("--format", settings.format, std::string("the input is ") + formats::format_names)
      ->type_name("NAME")
      ->check(aFormat());
  app.add_option("--stats", settings.stats, "write statistics to FILE, in JSON")->type_name("FILE");
  app.add_option("--report", settings.report, "write a report to FILE, a page with plots")
      ->type_name("FILE");
  app.add_option("--proof", settings.proof, "write a proof to FILE; .gz and .xz are packed")
      ->type_name("FILE")
      ->group("Proof");
  app.add_option("--proof-version", settings.proof_version,
                 "the version of its format, 2.0 or 3.0 (default)")
      ->type_name("N")
      ->check(aProofVersion())
      ->group("Proof");
  app.add_option("--write-opb", settings.opb,
                 "write the problem to FILE as linear OPB; the proof is about that")
      ->type_name("FILE")
      ->group("Proof");
  for (const Technique& t : techniques)
    addSwitchOff(app, "--no-" + std::string(t.name), settings.engine.*t.member,
                 std::string("do not ") + t.what)
        ->group("Techniques");
  app.add_option("--smallest-width", settings.engine.smallest_width,
                 "derive with integers of 32, 64, 128 bits at least, or unbounded ones: 0 to 3")
      ->type_name("N")
      ->check(between(0, 3))
      ->group("Techniques");

  const auto usual = usualValues(app);
  try {
    app.parse(argc, argv);
    settings.command.assign(argv, argv + argc);
    settings.changed = changedOptions(app, usual);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    std::exit(exit_unknown);
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    std::exit(exit_unknown);
  } catch (const CLI::ParseError& error) {
    process::complain(std::string(error.what()) + "; try --help");
    std::exit(exit_usage);
  }
  if (const std::string clash = clashOf(settings); !clash.empty()) {
    process::complain(clash);
    std::exit(exit_usage);
  }
  return settings;
}
