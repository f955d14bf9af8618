/// \file
/// opb2quillon and quillon-check as scripts meet them: exit codes, messages, files.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Outcome {
  int code = -1;
  std::string output; ///< of both streams
};

/// Runs `program` of the build tree with `arguments`, which a shell interprets.
Outcome run(const std::string& program, const std::string& arguments) {
  const std::string command = "'" PROGRAM_DIR "/" + program + "' " + arguments + " 2>&1";
  Outcome outcome;
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return outcome;
  char buffer[4096];
  for (size_t count = 0; (count = fread(buffer, 1, sizeof buffer, pipe)) != 0;)
    outcome.output.append(buffer, count);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
  return outcome;
}

/// A directory for the files of one test.
class Programs : public testing::Test {
 protected:
  std::string directory = testing::TempDir() + "formats_" + std::to_string(getpid());

  void SetUp() override { ASSERT_EQ(std::system(("mkdir -p '" + directory + "'").c_str()), 0); }
  void TearDown() override { EXPECT_EQ(std::system(("rm -r '" + directory + "'").c_str()), 0); }

  /// The quoted path of file `name`, after `text` has been written to it.
  std::string file(const std::string& name, const std::string& text) const {
    std::ofstream(directory + "/" + name, std::ios::binary) << text;
    return path(name);
  }
  std::string path(const std::string& name) const { return "'" + directory + "/" + name + "'"; }
  std::string contents(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(directory + "/" + name, std::ios::binary).rdbuf();
    return text.str();
  }
};

TEST_F(Programs, ConverterNamesAndMaps) {
  const std::string opb = file("in.opb", "min: 1 x[1] ;\n1 x[1] 1 ~y >= 1 ;\n");
  const Outcome plain = run("opb2quillon", opb);
  EXPECT_EQ(plain.code, 0);
  EXPECT_EQ(plain.output, "* #variable= 2 #constraint= 1\n* v1_ stands for x[1]\n"
                          "min: +1*v1_ ;\n+1*v1_ -1*y >= 0 ;\n");
  const Outcome mapped =
      run("opb2quillon", "--map " + path("map") + " - " + path("out") + " <" + opb);
  EXPECT_EQ(mapped.code, 0);
  EXPECT_EQ(mapped.output, "");
  EXPECT_EQ(contents("map"), "v1_ x[1]\n");
  EXPECT_EQ(contents("out").find("stands for"), std::string::npos);

  // What a solver says about the converted problem is checked against the source.
  const std::string solved =
      file("solved", "c optimum objective found = 0\ns OPTIMUM FOUND\nv -v1_ -y \n");
  EXPECT_EQ(run("quillon-check", "--map " + path("map") + " " + opb + " " + solved).output,
            "ok: the one row holds, objective 0 as stated\n");
  EXPECT_EQ(run("quillon-check", path("out") + " - <" + solved).code, 0);
  EXPECT_EQ(run("quillon-check", opb + " " + solved).code, 1) << "without the map";
  EXPECT_EQ(run("quillon-check", "--map " + solved + " " + opb + " " + solved).code, 3);
}

TEST_F(Programs, ConverterRefusesWithPlaceAndLeavesTheOutputAlone) {
  const std::string old = file("out", "precious");
  const std::string product = file("product.opb", "1 x1 x2 >= 1 ;\n");
  const std::string large = file("large.opb", "1 x1 >= 1 ;\n+1 x1\n+5000000000 x2 >= 1 ;\n");
  const Outcome refused = run("opb2quillon", large + " " + old);
  EXPECT_EQ(refused.code, 1);
  EXPECT_NE(
      refused.output.find("large.opb:3:1: row 2: the coefficient 5000000000 of \"x2\" is beyond"),
      std::string::npos)
      << refused.output;
  EXPECT_EQ(run("opb2quillon", product + " " + old).code, 1);
  EXPECT_EQ(contents("out"), "precious");

  EXPECT_EQ(run("opb2quillon", "--maps x").code, 2);
  EXPECT_EQ(run("opb2quillon", "--map").code, 2);
  EXPECT_EQ(run("opb2quillon", "a b c").code, 2);
  EXPECT_EQ(run("opb2quillon", "--map - " + large).code, 2) << "two texts into one stream";
  EXPECT_EQ(run("opb2quillon", path("absent")).code, 3);
  EXPECT_EQ(run("opb2quillon", "'" + directory + "'").code, 3) << "a directory";
  EXPECT_EQ(run("opb2quillon", file("cut.gz", "\x1F\x8B\x08")).code, 3);
  const std::string good = file("good.opb", "1 x >= 1 ;");
  EXPECT_EQ(run("opb2quillon", good + " " + path("no/where")).code, 3);
  EXPECT_EQ(run("opb2quillon", "--map " + path("no/where") + " " + good).code, 3);
  if (access("/dev/full", W_OK) == 0) {
    EXPECT_EQ(run("opb2quillon", good + " /dev/full").code, 3);
    EXPECT_EQ(run("opb2quillon", good + " - >/dev/full").code, 3);
  }
}

TEST_F(Programs, CheckerExitCodes) {
  const std::string problem = file("problem", "max: +2*x ;\n+1*x -1*y >= 0 ;\n+1*y >= 1 ;\n");
  const struct {
    const char* output;
    int code;
    const char* line;
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
    const Outcome outcome = run("quillon-check", problem + " - <" + file("output", entry.output));
    EXPECT_EQ(outcome.code, entry.code) << entry.output;
    EXPECT_EQ(outcome.output, entry.line);
  }
  EXPECT_EQ(run("quillon-check", problem).code, 2);
  EXPECT_EQ(run("quillon-check", "--all " + problem + " -").code, 2);
  EXPECT_EQ(run("quillon-check", problem + " " + path("absent")).code, 3);
  EXPECT_EQ(run("quillon-check", file("broken", "1 x >= 1") + " " + problem).code, 3);
}

TEST_F(Programs, HelpAndVersion) {
  for (const char* program : {"opb2quillon", "quillon-check"}) {
    const Outcome help = run(program, "--help");
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.output.find(std::string("Usage: ") + program + " [--map FILE]"),
              std::string::npos);
    EXPECT_NE(help.output.find("Exit code:"), std::string::npos);
    const Outcome version = run(program, "--version");
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.output.rfind(std::string(program) + " 1.", 0), 0U) << version.output;
  }
}

} // namespace
