/// \file
/// The golden cases: exact output, exit code and search counters of whole runs, and of every value
/// line the proof that it satisfies its own problem. The check of value lines shares nothing with
/// the solver.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "Pattern.h"
#include "Process.h"
#include "formats/QuillonOutput.h"
#include "formats/StarReader.h"

namespace {

/// One line of a table of expected runs: the fields by column name.
struct Expected {
  std::string input;  ///< file
  std::string output; ///< file with the exact standard output; empty if not recorded
  std::map<std::string, std::string> fields;
};

void PrintTo(const Expected& e, std::ostream* os) {
  *os << e.input;
}

std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream in(line);
  for (std::string field; std::getline(in, field, ',');) fields.push_back(field);
  if (!line.empty() && line.back() == ',') fields.emplace_back();
  return fields;
}

std::vector<Expected> table(const std::string& dir, const std::string& csv, bool with_output) {
  std::vector<Expected> rows;
  std::ifstream in(dir + "/" + csv);
  std::string line;
  std::getline(in, line);
  const std::vector<std::string> header = split(line);
  while (std::getline(in, line)) {
    const std::vector<std::string> fields = split(line);
    Expected e;
    for (size_t i = 0; i < header.size(); i++) e.fields[header[i]] = fields.at(i);
    e.input = dir + "/" + fields.at(0) + ".in";
    if (with_output) e.output = dir + "/" + fields.at(0) + ".out";
    rows.push_back(e);
  }
  return rows;
}

/// The counters of the trace line, by name.
std::map<std::string, std::string> counters(const std::string& err) {
  std::map<std::string, std::string> result;
  const size_t start = err.find("stats ");
  if (start == std::string::npos) return result;
  for (const auto& match : matches(err.substr(start), "([a-z_]+)=([0-9]+)"))
    result[match.at(1)] = match.at(2);
  return result;
}

class Golden : public testing::TestWithParam<Expected> {};

TEST_P(Golden, RunIsExact) {
  const Expected& e = GetParam();
  const Finished f = run({.program = "quillon-trace",
                          .environment = {{"PBTIMEOUT", "100000"}},
                          .input_file = e.input});
  EXPECT_EQ(std::to_string(f.exit), e.fields.at("exit")) << f.err;

  if (!e.output.empty()) {
    EXPECT_EQ(replaced(f.out, "(c total time +: )[0-9.e+-]+ s\n", "$1#\n"), slurp(e.output));
  } else {
    EXPECT_NE(f.out.find("\ns " + e.fields.at("verdict") + "\n"), std::string::npos) << f.out;
    const std::string& objective = e.fields.at("objective");
    const size_t found = f.out.find("c optimum objective found = " + objective + "\n");
    EXPECT_EQ(found != std::string::npos, !objective.empty());
  }

  const std::map<std::string, std::string> stats = counters(f.err);
  for (const char* name : {"starts", "decisions", "propagations", "inspects", "conflicts",
                           "pb_propagations", "pb_learnts"}) {
    const std::string& expected = e.fields.at(name);
    if (expected.empty()) continue;
    ASSERT_TRUE(stats.count(name)) << "no counters on standard error: " << f.err;
    EXPECT_EQ(stats.at(name), expected) << name;
  }

  const bool has_values = f.exit == 10 || f.exit == 30;
  EXPECT_EQ(f.out.find("\nv ") != std::string::npos, has_values);
  if (!has_values) return;
  const auto problem = formats::readStar(slurp(e.input));
  const auto output = formats::readQuillonOutput(f.out);
  ASSERT_TRUE(problem && output);
  const formats::Report report = formats::checkQuillonOutput(*problem, *output);
  EXPECT_EQ(report.kind, formats::Report::Kind::holds) << report.sentence;
}

std::string caseName(const testing::TestParamInfo<Expected>& info) {
  std::string name = info.param.fields.at("name");
  for (char& c : name)
    if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden,
                         testing::ValuesIn(table(TEST_DATA_DIR "/golden", "cases.csv", true)),
                         caseName);
INSTANTIATE_TEST_SUITE_P(Instances, Golden,
                         testing::ValuesIn(table(TEST_DATA_DIR "/instances", "instances.csv",
                                                 false)),
                         caseName);

} // namespace
