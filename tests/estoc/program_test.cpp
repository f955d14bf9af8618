/// \file
/// The program as users run it: what it prints for each format, how it ends, and that nothing
/// which has been found is lost.
#include "Allocator.h"
#include "Pattern.h"
#include "Process.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

Finished runEstoc(std::vector<std::string> arguments, const std::string& input) {
  return run({.program = "estoc", .arguments = std::move(arguments), .input = input});
}

/// A market split: equations that nobody satisfies within a lifetime. If `relaxed`, deviations are
/// allowed and to be minimised, so that a solution is found at once.
std::string endless(bool relaxed) {
  constexpr int rows = 7;
  constexpr int variables = 60;
  std::uint64_t state = 1;
  std::string objective = "min:";
  std::string text;
  for (int r = 0; r < rows; r++) {
    std::int64_t sum = 0;
    for (int v = 1; v <= variables; v++) {
      state = state * 6364136223846793005U + 1442695040888963407U;
      const auto coefficient = static_cast<std::int64_t>(state >> 57);
      sum += coefficient;
      text += "+" + std::to_string(coefficient) + " x" + std::to_string(v) + " ";
    }
    for (int bit = 0; relaxed && bit < 13; bit++)
      for (const char* const sign : {"+", "-"}) {
        const std::string literal = std::to_string(1 << bit) + " d" + (*sign == '+' ? "p" : "n") +
                                    std::to_string(100 * r + bit) + " ";
        text += sign + literal;
        objective += " +" + literal;
      }
    text += "= " + std::to_string(sum / 2) + " ;\n";
  }
  return (relaxed ? objective + " ;\n" : "") + text;
}

/// A file with `text`, whose path it is.
std::string fileWith(const std::string& text, const std::string& name) {
  std::string path = testing::TempDir() + "estoc_" + std::to_string(getpid()) + "_" + name;
  std::ofstream(path) << text;
  return path;
}

/// Whether the last values of `out` satisfy `problem`, by the independent checker.
testing::AssertionResult solves(const std::string& out, const std::string& problem) {
  const Finished f = run({.program = "quillon-check", .arguments = {problem, "-"}, .input = out});
  if (f.exit == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << f.out << f.err << out;
}

TEST(Program, SolvesEveryFormatAndPrintsInItsWay) {
  const struct {
    std::vector<std::string> arguments;
    std::string input;
    int exit;
    std::string last_lines;
  } table[] = {
      {{}, "+1*x +1*y >= 2;", 10, "s SATISFIABLE\nv x y\n"},
      {{}, "max: +2*x +1*y;\n+1*x +1*y <= 1;", 30, "o 2\ns OPTIMUM FOUND\nv x -y\n"},
      {{"--no-values"}, "max: 2 x 1 y;\n1 x 1 y <= 1;", 30, "o 2\ns OPTIMUM FOUND\n"},
      {{}, "min: ;\n1 x >= 1;", 30, "o 0\ns OPTIMUM FOUND\nv x\n"},
      {{}, "1 x 1 ~x >= 2;", 20, "s UNSATISFIABLE\n"},
      // Products are printed by their variables, constants count.
      {{}, "min: 1 x1 x2 -3 x1 ~x2 +5 ~x1;\n1 x1 = 1;", 30, "o -3\ns OPTIMUM FOUND\nv x1 -x2\n"},
      {{"--format", "opb"}, "1 x = 0;", 10, "s SATISFIABLE\nv -x\n"},
      {{},
       "soft: 10;\n[3] 1 x1 1 x2 >= 2;\n1 x1 1 x2 <= 1;\n1 x2 >= 1;",
       30,
       "o 3\ns OPTIMUM FOUND\nv -x1 x2\n"},
      {{}, "soft: 3;\n[3] 1 x1 1 x2 >= 2;\n1 x1 1 x2 <= 1;", 20, "s UNSATISFIABLE\n"},
      {{}, "p cnf 3 3\n1 -2 0\n2 0\n-3 0\n", 10, "s SATISFIABLE\nv 1 2 -3 0\n"},
      {{}, "p cnf 1 2\n1 0\n-1 0\n", 20, "s UNSATISFIABLE\n"},
      // Variables that do not occur have a digit, too.
      {{}, "p wcnf 4 3 10\n10 3 1 0\n3 -1 0\n4 -3 0\n", 30, "o 3\ns OPTIMUM FOUND\nv 1000\n"},
      {{}, "h 1 2 0\n3 -1 0\n4 -2 0\n", 30, "o 3\ns OPTIMUM FOUND\nv 10\n"},
      // The widest numbers.
      {{},
       "min: 85070591730234615865843651857942052864 x;\n1 x >= 1;",
       30,
       "o 85070591730234615865843651857942052864\ns OPTIMUM FOUND\nv x\n"},
      {{}, "1 x >= 170141183460469231731687303715884105727;", 0, "s UNSUPPORTED\n"},
  };
  for (const auto& row : table) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.end(), {"--verbosity", "0"});
    const Finished f = runEstoc(arguments, row.input);
    EXPECT_EQ(f.exit, row.exit) << row.input << f.err;
    EXPECT_TRUE(f.out.ends_with(row.last_lines)) << row.input << "\n" << f.out;
    EXPECT_EQ(f.out.find("c "), std::string::npos) << f.out;
  }
}

TEST(Program, WrapsValuesAndReportsBounds) {
  std::string input = "min:";
  for (int i = 1; i <= 200; i++) input += " +1 x" + std::to_string(i);
  input += " ;\n+1 x1 +1 x200 >= 1 ;\n";
  const std::string problem = fileWith(input, "wrapped.opb");
  const Finished f = run({.program = "estoc", .arguments = {problem}});
  EXPECT_EQ(f.exit, 30);
  EXPECT_TRUE(solves(f.out, problem));
  EXPECT_TRUE(contains(f.out, "\nc bound time [0-9.]+ lower 1 upper 1 gap 0.00%\n"));
  int lines = 0;
  for (std::size_t from = 0, to; (to = f.out.find('\n', from)) != std::string::npos;
       from = to + 1) {
    EXPECT_LE(to - from, 80U);
    lines += f.out[from] == 'v' ? 1 : 0;
  }
  EXPECT_GT(lines, 10);
}

TEST(Program, EndsEachFailureInItsOwnWay) {
  const struct {
    Process::Setup setup;
    int exit;
    const char* message;
  } table[] = {
      {{.arguments = {"--nothing"}}, 64, "--nothing"},
      {{.arguments = {"--seed", "-1"}}, 64, "--seed"},
      {{.arguments = {"--time-limit", "nan"}}, 64, "--time-limit"},
      {{.arguments = {"--memory-limit", "0"}}, 64, "--memory-limit"},
      {{.arguments = {"--format", "text"}}, 64, "wcnf"},
      {{.arguments = {"a", "b"}}, 64, "b"},
      {{.arguments = {"/nowhere/at\tall"}}, 66, "/nowhere/at\\x09all: No such file"},
      {{.close_input = true}, 66, "standard input: "},
      {{.input = "\x1F\x8Bx"}, 66, "damaged"},
      {{.input = "+1 x >= y;"}, 65, "standard input:1:9: "},
      {{.input = "p cnf 1 1\n2 0\n"}, 65, "standard input:2:1: "},
      {{.arguments = {"--format", "cnf"}, .input = "+1 x >= 1;"}, 65, "standard input:1:1: "},
      {{.input = "+1 x >= 1;", .output_file = "/dev/full"}, 74, "cannot be written"},
      {{.input = "+1 x >= 1;", .close_output = true}, 74, "cannot be written"},
      {{.arguments = {"--stats", "/nowhere/s"}, .input = "+1 x >= 1;"}, 74, "/nowhere/s: No such"},
      {{.arguments = {"--stats", "/dev/full"}, .input = "+1 x >= 1;"}, 74, "/dev/full: No space"},
  };
  for (const auto& row : table) {
    Process::Setup setup = row.setup;
    setup.program = "estoc";
    const Finished f = run(setup);
    EXPECT_EQ(f.exit, row.exit) << row.message << f.out << f.err;
    EXPECT_TRUE(f.err.starts_with("estoc: ")) << f.err;
    EXPECT_NE(f.err.find(row.message), std::string::npos) << row.message << ": " << f.err;
    if (row.exit < 70) {
      EXPECT_FALSE(contains(f.out, "(^|\n)s ")) << f.out;
    }
  }
}

TEST(Program, RefusesFilesThatWouldOverwriteEachOther) {
  const std::string text = "1 x >= 1;";
  const std::string problem = fileWith(text, "both.opb");
  const std::string folder = problem.substr(0, problem.rfind('/'));
  const std::string link = folder + "/link";
  const std::string fresh = folder + "/not-yet-there";
  unlink(link.c_str());
  unlink(fresh.c_str());
  ASSERT_EQ(symlink(problem.c_str(), link.c_str()), 0);
  const std::string same = folder + "/./not-yet-there";
  const std::vector<std::string> table[] = {
      {"--report", problem, problem},
      {"--stats", link, problem},
      {"--proof", fresh, "--write-opb", same, problem},
      {"--report", fresh, "--stats", fresh, problem},
  };
  for (const auto& arguments : table) {
    const Finished f = run({.program = "estoc", .arguments = arguments});
    EXPECT_EQ(f.exit, 64) << f.err;
    EXPECT_EQ(slurp(problem), text) << arguments[0];
    EXPECT_NE(access(fresh.c_str(), F_OK), 0) << arguments[0];
  }
  const Finished devices =
      run({.program = "estoc",
           .arguments = {"--report", "/dev/null", "--stats", "/dev/null", problem}});
  EXPECT_EQ(devices.exit, 10) << devices.err;
}

TEST(Program, SignalsAndLimitsKeepTheBestSolution) {
  const std::string problem = fileWith(endless(true), "endless.opb");
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGXCPU}) {
    Process process({.program = "estoc", .arguments = {problem}});
    ASSERT_TRUE(process.waitForOutput("\no "));
    process.send(signal);
    const Finished f = process.finish();
    EXPECT_EQ(f.exit, 10) << f.err;
    EXPECT_NE(f.out.find("\nc stopped by signal " + std::to_string(signal) + "\n"),
              std::string::npos);
    EXPECT_TRUE(solves(f.out, problem));
  }
  for (const char* const limit : {"--time-limit", "--cpu-limit"}) {
    const Finished f = run({.program = "estoc", .arguments = {limit, "0.3", problem}});
    EXPECT_NE(f.out.find("\nc stopped by "), std::string::npos) << f.out;
    if (f.exit == 10)
      EXPECT_TRUE(solves(f.out, problem));
    else // before the first solution
      EXPECT_TRUE(f.exit == 0 && f.out.ends_with("s UNKNOWN\n")) << f.exit << f.out;
  }
}

TEST(Program, SignalsEndReadingAndSearchWithoutASolution) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  const std::string problem = fileWith(endless(false), "never.opb");
  const std::pair<Process::Setup, const char*> table[] = {
      {{.program = "estoc", .input_fd = ends[0]}, "c estoc"}, // waits for its input
      {{.program = "estoc", .arguments = {problem}}, "c read"}};
  for (const auto& [setup, started] : table) {
    Process process(setup);
    ASSERT_TRUE(process.waitForOutput(started));
    process.send(SIGTERM);
    const Finished f = process.finish();
    EXPECT_EQ(f.exit, 0) << f.signal << f.err;
    EXPECT_TRUE(f.out.ends_with("\ns UNKNOWN\n")) << f.out;
  }
  close(ends[0]);
  close(ends[1]);
}

TEST(Program, MemoryMayRunOutAtAnyMoment) {
  if (!own_allocator) GTEST_SKIP() << "AddressSanitizer has an allocator of its own";
  const std::string problem = TEST_DATA_DIR "/instances/bm23.in";
  constexpr long before_main = 40; // where a library's static data cannot be made, main never runs
  int without = 0;
  int with_solution = 0;
  for (const bool once : {true, false})
    for (long number = 1, in_a_row = 0; in_a_row < 6; number += 1 + number / 8) {
      const Finished f = run({.program = "estoc",
                              .arguments = {problem},
                              .environment = {{"LD_PRELOAD", FAILING_MALLOC},
                                              {"FAIL_FROM", std::to_string(number)},
                                              {"FAIL_ONCE", once ? "1" : "0"}}});
      if ((f.signal == SIGABRT || f.exit == 1) && number < before_main) continue;
      EXPECT_EQ(f.signal, 0) << number << f.err;
      in_a_row = f.exit == 30 ? in_a_row + 1 : 0;
      if (f.exit == 71 || f.exit == 66) without++;
      if (f.exit == 10) with_solution++;
      if (f.exit == 30 || f.exit == 10)
        EXPECT_TRUE(solves(f.out, problem)) << number;
      else
        EXPECT_TRUE(f.exit == 71 || f.exit == 66) << number << ": " << f.exit << f.err;
      EXPECT_EQ(f.exit == 30, f.err.empty()) << number << f.err;
    }
  EXPECT_GT(without, 0);
  EXPECT_GT(with_solution, 0);
}

TEST(Program, MemoryMayRunOutWhileTheReportIsWritten) {
  if (!own_allocator) GTEST_SKIP() << "AddressSanitizer has an allocator of its own";
  const std::string report = fileWith("", "report.html");
  constexpr long after_libraries = 100; // have made their static data
  int unwritten = 0;
  for (const bool once : {true, false})
    for (long number = after_libraries, in_a_row = 0; in_a_row < 3; number += 1 + number / 32) {
      const Finished f = run({.program = "estoc",
                              .arguments = {"--no-lp", "--report", report},
                              .environment = {{"LD_PRELOAD", FAILING_MALLOC},
                                              {"FAIL_FROM", std::to_string(number)},
                                              {"FAIL_ONCE", once ? "1" : "0"}},
                              .input = "min: 1 x 2 y;\n1 x 1 y >= 1;"});
      in_a_row = f.exit == 30 ? in_a_row + 1 : 0;
      if (f.exit == 30 || f.exit == 10) {
        EXPECT_TRUE(slurp(report).ends_with("</html>\n")) << number;
      } else if (f.exit == 74) {
        unwritten++;
        EXPECT_NE(f.out.find("\ns "), std::string::npos) << number << f.out;
        EXPECT_NE(f.err.find("memory exhausted"), std::string::npos) << number << f.err;
      } else {
        EXPECT_TRUE(f.exit == 71 || f.exit == 66) << number << ": " << f.exit << f.err;
      }
    }
  EXPECT_GT(unwritten, 0);
}

TEST(Program, MemoryLimitIsKept) {
  if (!own_allocator) GTEST_SKIP() << "AddressSanitizer reserves terabytes";
  std::string input;
  for (int i = 0; i < 200000; i++)
    input += "+1 x" + std::to_string(i) + " +1 x" + std::to_string(i + 1) + " >= 1;\n";
  const Finished tight = runEstoc({"--memory-limit", "20"}, input);
  EXPECT_EQ(tight.exit, 71) << tight.out << tight.err;
  EXPECT_NE(tight.err.find("memory exhausted"), std::string::npos);
  EXPECT_EQ(runEstoc({"--memory-limit", "2000", "--no-values"}, input).exit, 10);
}

TEST(Program, WritesStatistics) {
  const std::string stats = fileWith("", "stats.json");
  const Finished f = runEstoc({"--stats", stats, "--seed", "3", "--no-rephase"},
                              "max: 2 x -100000000000000000000 y;\n1 x 1 y <= 1;");
  EXPECT_EQ(f.exit, 30);
  const nlohmann::json json = nlohmann::json::parse(slurp(stats));
  EXPECT_EQ(json["verdict"], "OPTIMUM FOUND");
  EXPECT_EQ(json["lower"], 2);
  EXPECT_EQ(json["upper"], 2);
  EXPECT_EQ(json["problem"]["variables"], 2);
  EXPECT_EQ(json["options"]["seed"], 3);
  EXPECT_EQ(json["options"]["rephase"], false);
  EXPECT_TRUE(json["counters"]["decisions"].is_number());
  EXPECT_TRUE(json["stopped by"].is_null());
  ASSERT_FALSE(json["found"].empty());
  EXPECT_EQ(json["found"].back()["value"], 2);
  EXPECT_TRUE(json["failure"].is_null());

  EXPECT_EQ(runEstoc({"--stats", stats}, "1 x >= y;").exit, 65);
  const nlohmann::json failed = nlohmann::json::parse(slurp(stats));
  EXPECT_TRUE(failed["verdict"].is_null());
  EXPECT_NE(failed["failure"].get<std::string>().find("standard input:1:8: "), std::string::npos);
}

TEST(Program, ShowsBothBoundsInTheStatusLog) {
  const std::string problem = fileWith(endless(true), "watched.opb");
  Process process(
      {.program = "estoc", .arguments = {problem}, .environment = {{"ESTOC_PROGRESS", "1"}}});
  EXPECT_TRUE(process.waitForError("best objective "));
  process.send(SIGTERM);
  EXPECT_EQ(process.finish().exit, 10);
}

} // namespace
