/// \file
/// The program `estoc-verify` as users run it: its verdict line, its exit codes, packed files, and
/// files and memory that are not there.
#include "Allocator.h"
#include "Process.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

std::string fileWith(const std::string& text, const std::string& name) {
  std::string path = testing::TempDir() + "checker_" + std::to_string(getpid()) + "_" + name;
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

Finished check(std::vector<std::string> arguments, const std::string& input = "") {
  return run({.program = "estoc-verify", .arguments = std::move(arguments), .input = input});
}

const char* const problem = "min: +1 x1 +1 x2 ;\n+1 x1 +1 x2 >= 1 ;\n";

std::string proofOf(const std::string& conclusion) {
  return "pseudo-Boolean proof version 3.0\nsoli x1 ~x2;\nrup >= 1;\noutput NONE;\nconclusion " +
         conclusion + ";\nend pseudo-Boolean proof;\n";
}

} // namespace

TEST(CheckerProgram, EndsWithACodeForEachVerdict) {
  struct Case {
    const char* text;
    const char* proof;
    int code;
    const char* verdict;
  };
  for (const Case& c : std::vector<Case>{
           {problem, "BOUNDS 1 : 3 1", 30, "s VERIFIED BOUNDS 1 <= obj <= 1\n"},
           {problem, "SAT", 10, "s VERIFIED SATISFIABLE\n"},
           {problem, "NONE", 0, "s VERIFIED NONE\n"},
           {problem, "UNSAT", 1, "s NOT VERIFIED line 5: a solution has been logged\n"},
           {problem, "\x1B[2J", 1, "s NOT VERIFIED line 5: unknown conclusion '\\x1B[2J'\n"}}) {
    const Finished done = check({fileWith(c.text, "p.opb"), fileWith(proofOf(c.proof), "p.pbp")});
    EXPECT_EQ(done.exit, c.code) << c.proof;
    EXPECT_EQ(done.out, c.verdict);
  }
  const Finished infeasible = check(
      {fileWith("p cnf 1 2\n1 0 -1 0\n", "p.cnf"), "-"},
      "pseudo-Boolean proof version 2.0\nf 2\npol 1 2 +\noutput NONE\nconclusion UNSAT : 3\nend "
      "pseudo-Boolean proof\n");
  EXPECT_EQ(infeasible.exit, 20);
  EXPECT_EQ(infeasible.out, "s VERIFIED UNSATISFIABLE\n");
}

TEST(CheckerProgram, UnpacksWhatIsPacked) {
  const std::string text = fileWith(problem, "packed.opb");
  const std::string proof = fileWith(proofOf("BOUNDS 1 1"), "packed.pbp");
  for (const std::string tool : {"gzip", "bzip2", "xz"}) {
    const std::string command = tool + " -kf " + text + " " + proof;
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string ending = tool == "gzip" ? ".gz" : tool == "bzip2" ? ".bz2" : ".xz";
    EXPECT_EQ(check({text + ending, proof + ending}).out, "s VERIFIED BOUNDS 1 <= obj <= 1\n");
    // A packed proof that is cut off is none.
    const std::string packed = slurp(proof + ending);
    const std::string cut = fileWith(packed.substr(0, packed.size() / 2), "cut.pbp" + ending);
    const Finished done = check({text, cut});
    EXPECT_EQ(done.exit, 1) << tool;
    EXPECT_TRUE(done.out.ends_with("the proof is damaged or cannot be read any further\n"))
        << done.out;
  }
}

TEST(CheckerProgram, SaysWhyThereIsNoVerdict) {
  const std::string text = fileWith(problem, "p.opb");
  const std::string proof = fileWith(proofOf("NONE"), "p.pbp");
  EXPECT_EQ(check({}).exit, 64);
  EXPECT_EQ(check({text, proof, "--format", "star"}).exit, 64);
  EXPECT_EQ(check({"/nonexistent", proof}).exit, 66);
  EXPECT_EQ(check({text, "/nonexistent"}).exit, 66);
  const Finished bad = check({fileWith("+1 x1 x2 >= 1 ;\n", "bad.opb"), proof});
  EXPECT_EQ(bad.exit, 65);
  EXPECT_NE(bad.err.find("bad.opb:1: a linear row expected"), std::string::npos) << bad.err;
  EXPECT_EQ(check({"--help"}).exit, 0);
}

TEST(CheckerProgram, EndsWhenMemoryDoes) {
  if (!own_allocator) GTEST_SKIP() << "AddressSanitizer has an allocator of its own";
  // Each step doubles the digits of a number that is kept.
  std::string steps = "pseudo-Boolean proof version 3.0\n";
  for (int i = 1; i < 2000; i++)
    steps += "pol " + std::to_string(i) + " 1" + std::string(250, '0') + " *;\n";
  const Finished done =
      check({fileWith("+1 x1 >= 1 ;\n", "p.opb"), "-", "--memory-limit", "20"}, steps);
  EXPECT_EQ(done.exit, 71);
  EXPECT_EQ(done.err, "estoc-verify: memory exhausted\n");
}
