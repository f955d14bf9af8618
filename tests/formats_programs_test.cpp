/// \file
/// opb2quillon and quillon-check as scripts meet them: exit codes, messages, files.
#include "Process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

Finished call(const std::string& program, const Arguments& arguments,
              const std::string& input = "") {
  return run({.program = program, .arguments = arguments, .input = input});
}

int exitOf(const std::string& program, const Arguments& arguments, const std::string& input = "") {
  return call(program, arguments, input).exit;
}

/// Has a directory for the files of one test.
class Programs : public testing::Test {
 protected:
  const std::string directory = testing::TempDir() + "formats_" + std::to_string(getpid());

  void SetUp() override { std::filesystem::create_directory(directory); }
  void TearDown() override { std::filesystem::remove_all(directory); }

  std::string path(const std::string& name) const { return directory + "/" + name; }
  /// The path of file `name`, after `text` has been written to it.
  std::string file(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }
};

TEST_F(Programs, ConverterNamesAndMaps) {
  const std::string source = "min: 1 x[1] ;\n1 x[1] 1 ~y >= 1 ;\n";
  const std::string opb = file("in.opb", source);
  EXPECT_EQ(call("opb2quillon", {opb}).out, "* #variable= 2 #constraint= 1\n"
                                            "* v1_ stands for x[1]\n"
                                            "min: +1*v1_ ;\n+1*v1_ -1*y >= 0 ;\n");
  const Finished mapped = call("opb2quillon", {"--map", path("map"), "-", path("out")}, source);
  EXPECT_EQ(mapped.exit, 0) << mapped.err;
  EXPECT_EQ(mapped.out, "");
  EXPECT_EQ(slurp(path("map")), "v1_ x[1]\n");
  EXPECT_EQ(slurp(path("out")).find("stands for"), std::string::npos);

  // What the solver says about the converted problem is checked against the source.
  const std::string solved =
      file("solved", run({.program = "quillon", .input_file = path("out")}).out);
  EXPECT_EQ(call("quillon-check", {"--map", path("map"), opb, solved}).out,
            "ok: the one row holds, objective 0 as stated\n");
  EXPECT_EQ(exitOf("quillon-check", {path("out"), "-"}, slurp(solved)), 0);
  EXPECT_EQ(exitOf("quillon-check", {opb, solved}), 1) << "without the map";
  EXPECT_EQ(exitOf("quillon-check", {"--map", solved, opb, solved}), 3);
}

TEST_F(Programs, CheckerUnderstandsVariablesThatTheConverterMadeUp) {
  for (const char* source :
       {"min: 1 x1 -1 x1 ; 0 x2 >= 0 ;", "min: 3 ;", "0 x[1] >= 1 ;", ">= 0 ;"}) {
    const std::string opb = file("in.opb", source);
    ASSERT_EQ(exitOf("opb2quillon", {"--map", path("map"), opb, path("out")}), 0);
    const std::string solved = run({.program = "quillon", .input_file = path("out")}).out;
    const Finished checked = call("quillon-check", {"--map", path("map"), opb, "-"}, solved);
    EXPECT_EQ(checked.exit, solved.find("UNSAT") == std::string::npos ? 0 : 4)
        << source << checked.out << checked.err;
  }
}

TEST_F(Programs, WhateverTheFormatTheSolutionIsOneOfTheSource) {
  const struct {
    std::string source;
    const char* format;
    const char* objective; ///< how the optimum is reported, empty for no solution
  } table[] = {
      {"max: 3 x1 ~x2 -1 x1 ;\n1 x1 x3 1 x2 >= 1 ;", "opb", "objective 2 as stated"},
      {"soft: 7 ;\n[3] 1 a b >= 1 ;\n[5] 1 a 1 b <= 1 ;\n[2] -1 a >= 0 ;\n1 b >= 1 ;\n", "wbo",
       "objective 3 as stated"},
      {"soft: 3 ;\n[3] 1 a b >= 1 ;\n[5] 1 a 1 b <= 1 ;\n1 b >= 1 ;\n", "wbo", ""},
      {"h 1 2 0\n3 -1 -2 0\n2 1 0\n2 2 0\n4 0\n", "wcnf", "objective 6 as stated"},
      {"c\np cnf 3 2\n1 -2 0 -1\n0", "cnf", "hold"},
  };
  for (const auto& entry : table) {
    const std::string source = file("in", entry.source);
    ASSERT_EQ(exitOf("opb2quillon", {"--map", path("map"), source, path("out")}), 0) << source;
    const std::string solved = run({.program = "quillon", .input_file = path("out")}).out;
    const Finished checked = call(
        "quillon-check", {"--map", path("map"), "--format", entry.format, source, "-"}, solved);
    EXPECT_EQ(checked.exit, *entry.objective == '\0' ? 4 : 0) << checked.out << checked.err;
    EXPECT_NE(checked.out.find(entry.objective), std::string::npos) << entry.source << checked.out;
  }
  EXPECT_EQ(exitOf("opb2quillon", {"--format", "star", path("in")}), 1);
  EXPECT_EQ(exitOf("quillon-check", {"--format", "star", path("in"), "-"}, "s UNKNOWN"), 3);
  EXPECT_EQ(exitOf("opb2quillon", {"--format", "dimacs", path("in")}), 2);
  EXPECT_EQ(exitOf("quillon-check", {"--format", "OPB", path("in"), "-"}, "s UNKNOWN"), 2);
}

TEST_F(Programs, ConverterWritesNoFileThatItReadsOrWritesAlready) {
  const std::string text = "1 x[1] >= 1 ;";
  const std::string in = file("in", text);
  std::filesystem::create_hard_link(in, path("link"));
  std::filesystem::create_symlink(in, path("symlink"));
  const std::string here =
      directory + "/../" + std::filesystem::path(directory).filename().string();
  const Arguments table[] = {
      {"--map", in, in, path("out")},
      {"--map", path("link"), in, path("out")},
      {"--map", path("out"), in, path("out")},
      {"--map", here + "/out", in, path("out")},
      {in, path("symlink")},
  };
  for (const Arguments& arguments : table) {
    EXPECT_EQ(exitOf("opb2quillon", arguments), 2) << arguments[1];
    EXPECT_EQ(slurp(in), text);
    EXPECT_FALSE(std::filesystem::exists(path("out")));
  }
  EXPECT_EQ(run({.program = "opb2quillon",
                 .arguments = {"--map", path("out"), in},
                 .output_file = path("out")})
                .exit,
            2);
  EXPECT_EQ(exitOf("opb2quillon", {"--map", "/dev/null", in, "/dev/null"}), 0);
}

TEST_F(Programs, InputsAreBounded) {
  const std::string text = "1 x >= 1 ;\n";
  const std::string size = std::to_string(text.size());
  EXPECT_EQ(exitOf("opb2quillon", {"--limit", size}, text), 0);
  EXPECT_EQ(exitOf("opb2quillon", {"--limit", "1K"}, text), 0);
  const Finished refused = call("opb2quillon", {"--limit", size}, text + "\n");
  EXPECT_EQ(refused.exit, 3);
  EXPECT_EQ(refused.err, "opb2quillon: -: more than the limit of " + size + " bytes\n");
  EXPECT_EQ(exitOf("opb2quillon", {"--limit", "1M", "/dev/zero"}), 3);
  EXPECT_EQ(exitOf("quillon-check", {"--limit", "10", file("problem", text), "-"}, "s UNKNOWN"), 3);
  for (const char* wrong : {"-1", "K", "1k", "1.5G", "99999999999G"})
    EXPECT_EQ(exitOf("opb2quillon", {"--limit", wrong}, text), 2) << wrong;
}

TEST_F(Programs, MessagesAreWholeWhateverIsInThem) {
  const std::string problem = file("problem", "x >= 1;");
  const std::string output = std::string("s SATISFIABLE\nv a\0b\x1B[31m", 24);
  EXPECT_EQ(call("quillon-check", {problem, "-"}, output).out,
            "wrong: the problem has no variable for the value \"a\\x00b\\x1B[31m\"\n");
}

TEST_F(Programs, ConverterRefusesWithPlaceAndLeavesTheOutputAlone) {
  const std::string old = file("out", "precious");
  const std::string strict = file("strict.opb", "1 x1 x2 > 1 ;\n");
  const std::string large = file("large.opb", "1 x1 >= 1 ;\n+1 x1\n+5000000000 x2 >= 1 ;\n");
  const Finished refused = call("opb2quillon", {large, old});
  EXPECT_EQ(refused.exit, 1);
  EXPECT_EQ(refused.err, "opb2quillon: " + large +
                             ":3:1: row 2: the coefficient 5000000000 of \"x2\" is beyond "
                             "2147483647\n");
  EXPECT_EQ(exitOf("opb2quillon", {strict, old}), 1);
  EXPECT_EQ(slurp(old), "precious");

  const std::string good = file("good.opb", "1 x >= 1 ;");
  const struct {
    Arguments arguments;
    int exit;
    const char* why;
  } table[] = {
      {{"--maps", "x"}, 2, "unknown option"},
      {{"--map"}, 2, "no file"},
      {{"a", "b", "c"}, 2, "too many files"},
      {{"--map", "-", good}, 2, "two texts into one stream"},
      {{path("absent")}, 3, "no such file"},
      {{directory}, 3, "a directory"},
      {{file("cut.gz", "\x1F\x8B\x08")}, 3, "damaged"},
      {{good, path("no/where")}, 3, "output cannot be opened"},
      {{"--map", path("no/where"), good}, 3, "map cannot be opened"},
      {{good, "/dev/full"}, 3, "output cannot be written"},
  };
  for (const auto& entry : table)
    EXPECT_EQ(exitOf("opb2quillon", entry.arguments), entry.exit) << entry.why;
  EXPECT_EQ(run({.program = "opb2quillon", .arguments = {good}, .output_file = "/dev/full"}).exit,
            3);
}

TEST_F(Programs, CheckerExitCodes) {
  const std::string problem = file("problem", "max: +2*x ;\n+1*x -1*y >= 0 ;\n+1*y >= 1 ;\n");
  const struct {
    const char* output;
    int exit;
    const char* line; ///< of either stream
  } table[] = {
      {"c optimum objective found = 2\ns OPTIMUM FOUND\nv x y \n", 0,
       "ok: all 2 rows hold, objective 2 as stated\n"},
      {"c optimum objective found = 3\ns OPTIMUM FOUND\nv x y \n", 1,
       "wrong: the rows hold, but the objective is 2, to be reported as 2, not 3\n"},
      {"s SATISFIABLE\nv -x y \n", 1, "wrong: row 1 (line 2) does not hold: -1 >= 0 is false\n"},
      {"here\ns UNSATISFIABLE\n", 4, "nothing to check: UNSATISFIABLE, no value line\n"},
      {"c 3: missing variable name\ns UNKNOWN\n", 4, "nothing to check: UNKNOWN, no value line\n"},
      {"s OPTIMAL\n", 3, "quillon-check: -:1:1: the verdict line has no known verdict\n"},
      {"Segmentation fault\n", 3, "quillon-check: -: neither a verdict nor a value line\n"},
  };
  for (const auto& entry : table) {
    const Finished finished = call("quillon-check", {problem, "-"}, entry.output);
    EXPECT_EQ(finished.exit, entry.exit) << entry.output;
    EXPECT_EQ(finished.out + finished.err, entry.line);
  }
  EXPECT_EQ(exitOf("quillon-check", {problem}), 2);
  EXPECT_EQ(exitOf("quillon-check", {"--all", problem, "-"}), 2);
  EXPECT_EQ(exitOf("quillon-check", {problem, path("absent")}), 3);
  EXPECT_EQ(exitOf("quillon-check", {file("broken", "1 x >= 1"), problem}), 3);
}

TEST_F(Programs, HelpAndVersion) {
  for (const std::string program : {"opb2quillon", "quillon-check"}) {
    const Finished help = call(program, {"--help"});
    EXPECT_EQ(help.exit, 0);
    EXPECT_TRUE(help.out.starts_with("Usage: " + program + " [--format NAME] [--map FILE]"));
    EXPECT_NE(help.out.find("Exit code:"), std::string::npos);
    EXPECT_TRUE(call(program, {"--version"}).out.starts_with(program + " 1."));
    EXPECT_EQ(run({.program = program, .arguments = {"--help"}, .output_file = "/dev/full"}).exit,
              3);
  }
}

} // namespace
