/// \file
/// The formats library: what each reader takes and refuses, that conversions keep the meaning, and
/// that the check of outputs notices every kind of false claim.
#include "formats/DimacsReader.h"
#include "formats/InputFile.h"
#include "formats/KeyedHash.h"
#include "formats/OpbReader.h"
#include "formats/ProblemReader.h"
#include "formats/QuillonOutput.h"
#include "formats/StarForm.h"
#include "formats/StarReader.h"
#include "formats/StarWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace formats {
namespace {

/// A problem in one line, without regard to the format it came from.
std::string show(const Problem& problem) {
  const auto form = [&](Form terms) {
    std::string text;
    for (const Term term : terms) {
      const std::string name(problem.variables[term.variable]);
      text += toString(term.coefficient) +
              (problem.products.isProduct(term.variable) ? "(" + name + ")" : name) + " ";
    }
    return text;
  };
  std::string text;
  const Objective& objective = problem.objective;
  if (objective.sense != Sense::none)
    text += std::string(objective.sense == Sense::minimise ? "min " : "max ") +
            form(objective.form) + "+ " + toString(objective.constant) + "; ";
  const auto show = [&](const Row& row) {
    return (row.label.empty() ? "" : std::string(row.label) + ": ") + form(row.form) +
           signOf(row.relation) + " " + toString(row.bound) + "; ";
  };
  for (const Row row : problem.rows) text += show(row);
  for (size_t i = 0; i < problem.soft.rows.size(); i++)
    text += "[" + toString(problem.soft.costs[i]) + "] " + show(problem.soft.rows[i]);
  if (problem.soft.top) text += "top " + toString(*problem.soft.top) + "; ";
  return text;
}

std::string repeated(const std::string& text, size_t times) {
  std::string result;
  for (size_t i = 0; i < times; i++) result += text;
  return result;
}

// ------------------------------------------------------------------------------------------------
// Integers

TEST(Integer, ReadsAndWritesUpTo127BitsAndNothingBeyond) {
  const std::string largest = "170141183460469231731687303715884105727";
  EXPECT_EQ(parseInt(largest), largest_int);
  EXPECT_EQ(toString(largest_int), largest);
  EXPECT_EQ(parseInt("-" + largest), -largest_int);
  EXPECT_EQ(toString(-largest_int - 1), "-170141183460469231731687303715884105728");
  EXPECT_EQ(parseInt(repeated("0", 300) + "42"), Int{42});
  for (const char* text : {"170141183460469231731687303715884105728", "", "-", "+-1", "1 ", "0x1",
                           "999999999999999999999999999999999999999999999999999999"})
    EXPECT_FALSE(parseInt(text)) << text;
}

// ------------------------------------------------------------------------------------------------
// Names

TEST(KeyedHash, IsSipHash) {
  // From the appendix of the paper: the key's and the text's bytes count up from 0.
  std::string text;
  for (char c = 0; c < 15; c++) text += c;
  EXPECT_EQ(keyedHash(text, {0x0706050403020100, 0x0f0e0d0c0b0a0908}), 0xa129ca6149be45e5);
}

TEST(Names, KeepTheirNumbersWhereverTheyAreKept) {
  Names names;
  // Too high an index for the number of names, then not so any more.
  EXPECT_EQ(names.add("x5000"), 0);
  EXPECT_EQ(names.add("x999999999"), 1);
  for (const char* name : {"x", "x0", "x01", "x1", "x1a", "x1000000000", "x-1", "X1", ""}) {
    const int next = names.size();
    EXPECT_EQ(names.find(name), -1) << name;
    EXPECT_EQ(names.add(name), next) << name;
  }
  const int first = names.size();
  for (int i = 2; i < 6000; i++) names.add("x" + std::to_string(i));
  EXPECT_EQ(names.size(), first + 6000 - 2 - 1);
  EXPECT_EQ(names.find("x5000"), 0);
  names.permit(20000);
  for (int i = 20000; i > 6000; i--) {
    const int next = names.size();
    EXPECT_EQ(names.add("x" + std::to_string(i)), next);
  }
  for (int i = 0; i < names.size(); i++) EXPECT_EQ(names.add(names[i]), i) << names[i];
}

TEST(Names, CannotBeMadeToCollide) {
  // The standard library's hash of two words is (((s ^ f(a)) * m) ^ f(b)) * m, then mixed: for any
  // a there is a b that leads to the same. If that mattered, this test would not end.
  constexpr std::uint64_t m = 0xc6a4a7935bd1e995;
  std::uint64_t inverse = m;
  for (int i = 0; i < 6; i++) inverse *= 2 - m * inverse;
  const auto mixed = [](std::uint64_t v) { return v ^ (v >> 47); };
  Names names;
  std::string text(16, '\0');
  constexpr int many = 300000;
  for (int i = 0; i < many; i++) {
    const std::uint64_t a = static_cast<std::uint64_t>(i);
    const std::uint64_t sum = ((0xc70f6907 ^ (16 * m)) ^ (mixed(a * m) * m)) * m;
    const std::uint64_t b = mixed(sum * inverse) * inverse;
    std::memcpy(text.data(), &a, 8);
    std::memcpy(text.data() + 8, &b, 8);
#ifdef __GLIBCXX__
    static const std::size_t common = std::hash<std::string>()(text);
    ASSERT_EQ(std::hash<std::string>()(text), common);
#endif
    names.add(text);
  }
  EXPECT_EQ(names.size(), many);
}

// ------------------------------------------------------------------------------------------------
// Our own format

struct Accepted {
  std::string text;
  std::string problem;
};

TEST(StarReader, Accepts) {
  const std::string name32(32, 'n');
  const Accepted table[] = {
      {"min: +2*x1 +3*x2 ;\nc1: +1*x1 -4*x2 >= -2;\n", "min 2x1 3x2 + 0; c1: 1x1 -4x2 >= -2; "},
      {"MAXIMUM: cost: x1 ; -x1<-1; end", "max 1x1 + 0; -1x1 <= -1; "},
      {"min >= 0;", "1min >= 0; "}, // only "min:" in one word is the keyword
      {"\\" + std::string(131070, 'x') + "\nx>1;", "1x >= 1; "}, // the longest word
      {"x=<1;\nx=>1;\nx>1;\nx = +1;", "1x <= 1; 1x >= 1; 1x >= 1; 1x = 1; "},
      {"+3*x1 +2*x1 -5*y +5*y >= 007;", "5x1 0y >= 7; "},
      {"-2147483647*x -1*x >= 1;", "-2147483648x >= 1; "},
      {"3* x >= -5;", "3x >= -5; "},
      {"+1*_a!# +1*{b|c} +1*$x.y >= 2 ;", "1_a!# 1{b|c} 1$x.y >= 2; "},
      {"+int +1*end +e1 >= 1;", "1int 1end 1e1 >= 1; "},
      {"end: x >= 1;", "end: 1x >= 1; "},
      {"; x >= 1;", "1x >= 1; "},
      {"min: +1*a - ; b >= 1; end * over", "min + 0; 1b >= 1; "},
      {"min: +2* ; b >= 1;", "min + 0; 1b >= 1; "},
      {"*\nx >= 1;", "1x >= 1; "}, // the lone star's comment ends with its own line
      {"x >= 1;\\\ny >= 1;", "1x >= 1; 1y >= 1; "},
      {"x >= 1; \\ a comment to the end of the text", "1x >= 1; "},
      {"x\r >= 1\r\n;\r\n", "1x >= 1; "},
      {name32 + " >= 1;", "1" + name32 + " >= 1; "},
  };
  for (const Accepted& entry : table) {
    const Result<Problem> problem = readStar(entry.text);
    ASSERT_TRUE(problem) << entry.text << "\n" << problem.error().text();
    EXPECT_EQ(show(*problem), entry.problem) << entry.text;
  }
}

TEST(StarReader, NumbersVariablesByFirstOccurrenceEvenInAnAbandonedObjective) {
  const Result<Problem> problem = readStar("min: +1*b +1*c - ;\n+1*a +1*b +2*b >= 1;\n");
  ASSERT_TRUE(problem);
  EXPECT_TRUE(problem->objective.form.empty());
  EXPECT_EQ(problem->variables.find("b"), 0);
  EXPECT_EQ(problem->variables.find("c"), 1);
  EXPECT_EQ(problem->variables.find("a"), 2);
  EXPECT_EQ(show(*problem), "min + 0; 1a 3b >= 1; ");
}

struct Refused {
  std::string text;
  std::string error; ///< place and message
  size_t word = 0;   ///< our own format only
};

TEST(StarReader, Refuses) {
  const std::string long_name(40, 'n');
  const Refused table[] = {
      {"", "1:1: missing variable name", 0},
      {"* a\n* b\n", "3:1: missing variable name", 4},
      {"min: +1*x1 ;\n", "2:1: missing variable name", 3},
      {"x >= 1;\nr.1: x >= 1;\n", "2:1: constraint `r.1' multiply defined", 4},
      {"c: x >= 1;\n\nc: x >= 1;", "3:1: constraint `c' multiply defined", 6},
      {"st x >= 1;", "1:1: missing variable name", 1},
      {"+2147483647*x +1*x >= 1;", "1:18: c number out of RANGE", 2},
      {"-2147483647*x -2*x >= 1;", "1:18: c number out of RANGE", 2},
      {"+2147483647*x +1*x + +y >= 1;", "1:18: c number out of RANGE", 2}, // the first error
      {"+2147483647*x +1*\rx\r\r +1*y 5 >= 1;", "1:19: c number out of RANGE", 2},
      {"x >= 2147483648;", "1:6: numeric constant `2147483648' out of range (2147483647)", 3},
      {"3.5*x >= 1;", "1:1: numeric constant `3.5' out of range (2147483647)", 1},
      {"+1e3*x >= 1;", "1:2: numeric constant `1e3' out of range (2147483647)", 1},
      {"2ex1 >= 1;", "1:1: numeric constant `2e' incomplete", 1},
      {". >= 1;", "1:1: invalid use of decimal point", 1},
      {std::string(256, '0') + "*x >= 1;",
       "1:1: numeric constant `" + std::string(255, '0') + "' out of range (2147483647)", 1},
      {std::string(255, '0') + "e*x >= 1;", // too long before it is found to be incomplete
       "1:1: numeric constant `" + std::string(255, '0') + "' out of range (2147483647)", 1},
      {"3x1 >= 1;", "1:2: expecting '*' instead of x1", 1},
      {"+3 *x1 >= 1;\nx2 >= 1;", "2:1: expecting '*' instead of x2", 4},
      {"x1 x2 >= 1;", "1:4: missing constraint sense", 2},
      {"x >= ;", "1:6: missing right-hand side", 3},
      {"*\nx >= ;", "2:6: missing right-hand side", 5}, // the closed comment counts
      {"x >= 1 y", "1:8: expecting ';'", 4},
      {"x>=1;y>=1;", "1:6: invalid symbol(s) beyond right-hand side", 1},
      {"x>=1;; ", "1:6: symbol `;' in wrong position", 1},
      {"x>=1;\nmin: x;", "2:1: symbol `min:' in wrong position", 2},
      {"x>=1; end y", "1:11: extra symbol(s) detected beyond `end'", 3},
      {"x ^ 2", "1:3: character `^' not recognized", 2},
      {"x : y >= 1;", "1:3: missing constraint sense", 2},
      {"* a\tb\nx>=1;", "1:4: invalid control character 0x09", 2},
      {std::string("x\0>=1;", 6), "1:2: invalid control character 0x00", 1},
      {"x\x7F", "1:2: invalid control character 0x7F", 1},
      {long_name, "1:1: c name `" + long_name.substr(0, 32) + "...' too long > 32 characters", 1},
      {std::string(131072, 'x'), "1:1: word length exceeds 131071 characters", 1},
      {"+1*x\r\r+1*\r^", "1:11: character `^' not recognized", 1},
  };
  for (const Refused& entry : table) {
    const Result<Problem> problem = readStar(entry.text);
    ASSERT_FALSE(problem) << entry.text;
    EXPECT_EQ(problem.error().text(), entry.error) << entry.text;
    EXPECT_EQ(problem.error().word, entry.word) << entry.text;
  }
}

TEST(StarWriter, WhatIsWrittenIsReadAsTheSame) {
  const char* texts[] = {
      "min: +1*x -2*y ;\nc: +1*x >= -3;\n+0*z <= 4;\n",
      "max: min:+1*x;\nmin:+1*x = 1;\nend: +end +int >= 1;\n", // labels that alone are keywords
      "min: ;\nx >= 1;",
      "-2147483647*x -1*x +2*y >= -2147483647;\n",
  };
  for (const char* text : texts) {
    const Result<Problem> first = readStar(text);
    ASSERT_TRUE(first) << text << first.error().text();
    const std::string written = writeStar(*first, {"a comment; with * anything \\ in it"});
    const Result<Problem> second = readStar(written);
    ASSERT_TRUE(second) << written << second.error().text();
    EXPECT_EQ(show(*second), show(*first)) << written;
    EXPECT_EQ(second->objective.name, first->objective.name);
  }
}

TEST(StarWriter, DropsGivenNamesThatAReaderMayMakeUp) {
  // Written as it stands, the first row's made-up name would be the given one of the second.
  const Result<Problem> first = readStar("\n+1*x >= 1;\nr.9: +1*x >= 0;\n");
  ASSERT_TRUE(first);
  const Result<Problem> second = readStar(writeStar(*first));
  ASSERT_TRUE(second);
  EXPECT_EQ(show(*second), "1x >= 1; 1x >= 0; ");
}

// ------------------------------------------------------------------------------------------------
// OPB

TEST(OpbReader, Accepts) {
  const Accepted table[] = {
      {"* #variable= 2 #constraint= 1\nmin: 1 x1 -2 x2 ;\n+1 x1 +1 x2 >= 1 ;\n",
       "min 1x1 -2x2 + 0; 1x1 1x2 >= 1; "},
      {"max:+1 a;1 a<=1;1 a=+1;", "max 1a + 0; 1a <= 1; 1a = 1; "},
      {"min: 3 ~x +5 -1 y ;\n2 ~x 3 x >= - 1 ;", "min -3x -1y + 8; 1x >= -3; "},
      {"1 x -1 x +2 >= 1 ;", "0x >= -1; "},
      {">= 1 ;", ">= 1; "},
      {"1 x\n* in between ; ~\n  * indented\n>= 1\n;", "1x >= 1; "},
      {"1 x[1] 1 \xC3\xA4 1 a!b >= 1;", "1x[1] 1\xC3\xA4 1a!b >= 1; "},
      {"100000000000000000000000000000000000000 x >= 1;",
       "100000000000000000000000000000000000000x >= 1; "},
      {"1 x+2 y-3 ~z\r\n>=1;", "1x 2y 3z >= 4; "},
      // Products: factors in the order of variables, once; x x is x, and x ~x is 0.
      {"max: 3 x1 ~x2 -1 x3 ;\n-1 ~x2 x1 2 x1 >= -1;2 x3 x3+4 ~x1 ~x1>=1;",
       "max 3(x1 ~x2) -1x3 + 0; -1(x1 ~x2) 2x1 >= -1; 2x3 -4x1 >= -3; "},
      {"2 y\n* comment\n ~x 5 x y ~x 1 x y >= 2;", "2(y ~x) 1(y x) >= 2; "},
      // Soft rows.
      {"soft: 10 ;\n[ 2 ] 1 x y >= 1;1 x = 1;[3]-1 x<= 0;",
       "1x = 1; [2] 1(x y) >= 1; [3] -1x <= 0; top 10; "},
      {"* c\nsoft:;", ""},
  };
  for (const Accepted& entry : table) {
    const Result<Problem> problem = readOpb(entry.text);
    ASSERT_TRUE(problem) << entry.text << "\n" << problem.error().text();
    EXPECT_EQ(show(*problem), entry.problem) << entry.text;
  }
  EXPECT_EQ(readOpb(table[0].text)->declared, 2);
}

TEST(OpbReader, TakesPlainTermsAsItTakesOthers) {
  // One blank between numbers and names is the way that is read fast, two are not.
  const std::string most = toString(largest_int);
  for (const std::string& row :
       {std::string("+1 x1 -2 x2 +0 x3 >= -1 ;"), std::string("+2 x7 +3 x7 -5 x7 <= 1 ;"),
        std::string("+999999999 x999999999 -9999999999 x1 +4 x1000000000 = 1 ;"),
        std::string("+1 x0 +1 x01 -1 x1 +01 x2 +3 x >= 1 ;"),
        std::string("+1 x1a -1 x1! +1 y2 5 x6 +2 x8 >= 1 ;"),
        std::string("-3 x4 x5 +2 x4 ~x6 -1 ~x7 >= 1 ;"), std::string("+1 x1 +2 >= 1 ;"),
        std::string("- 1 x1 + 2 x2 >= 1 ;"), "-" + most + " x1 >= 0 ;",
        "+" + most + " x1 +1 x2 >= 0 ;", "+1 x1 -" + most + " x2 >= 0 ;",
        std::string("+1 x1 : +1 x2 >= 1 ;"), std::string("+1 x1 ; >= 1 ;"),
        std::string("+1 -x1 >= 1 ;"), std::string("+1 x1 * >= 1 ;")}) {
    std::string text = row + "\n" + row + "\n* " + repeated("-", 40) + "\n";
    std::string spaced;
    for (const char c : text) spaced += c == ' ' ? "  " : std::string(1, c);
    const Result<Problem> fast = readOpb(text);
    const Result<Problem> slow = readOpb(spaced);
    ASSERT_EQ(fast.operator bool(), slow.operator bool()) << row;
    if (fast) {
      EXPECT_EQ(show(*fast), show(*slow)) << row;
      EXPECT_EQ(fast->is_plain, slow->is_plain) << row;
    } else {
      EXPECT_EQ(fast.error().message, slow.error().message) << row;
    }
  }
  const Result<Problem> problem = readOpb("+1 x5 -2 x5 >=\n 1 ;" + repeated(" ", 40));
  ASSERT_TRUE(problem);
  EXPECT_EQ(problem->rows[0].form[0].place.column, 1U);
}

TEST(OpbReader, MergesInLargeProblemsAsInSmallOnes) {
  std::mt19937 random(5);
  std::string text;
  std::string expected;
  for (int i = 0; i < 400; i++) {
    std::vector<std::pair<std::string, long long>> merged;
    for (auto k = random() % (i % 10 == 0 ? 200 : 4); k > 0; k--) {
      const auto variable = random() % 150;
      const std::string name = (variable % 2 == 0 ? "x" : "task_") + std::to_string(variable);
      const long long weight = random() % 20 == 0 ? 3000000000 : 5;
      text += std::to_string(weight) + " " + name + " ";
      const auto known = std::find_if(merged.begin(), merged.end(),
                                      [&](const auto& term) { return term.first == name; });
      if (known == merged.end())
        merged.emplace_back(name, weight);
      else
        known->second += weight;
    }
    for (const auto& [name, weight] : merged) expected += std::to_string(weight) + name + " ";
    text += ">= 1 ;\n";
    expected += ">= 1; ";
  }
  const Result<Problem> problem = readOpb(text);
  ASSERT_TRUE(problem) << problem.error().text();
  EXPECT_EQ(show(*problem), expected);
}

TEST(OpbReader, Refuses) {
  const Refused table[] = {
      {"* nothing\n", "2:1: there is neither a row nor an objective"},
      {"1 x1 x2~x3 >= 1;", "1:8: a blank is missing behind the name"},
      {"1 x1 ~ >= 1;", "1:7: '~' must stand right in front of a name"},
      {"1 x1 != 1;", "1:6: the relation != is not linear"},
      {"1 x1 > 1;", "1:6: unknown relation >, known are >=, <= and ="},
      {"1 x1 == 1;", "1:6: unknown relation ==, known are >=, <= and ="},
      {"1 x1 >= 1 <= 2;", "1:11: the row has two relations"},
      {"[2] 1 x1 >= 1;", "1:1: a soft constraint without \"soft:\" at the beginning of the text"},
      {"soft: 3 ;\nsoft: 3 ;", "2:1: a second \"soft:\""},
      {"1 x >= 1; soft: 3 ;", "1:11: \"soft:\" must come before the rows"},
      {"min: 1 x; soft: ;", "1:11: soft constraints beside an objective"},
      {"soft: ; min: 1 x;", "1:9: an objective beside soft constraints"},
      {"soft: -3 ;", "1:7: the top is no integer of 0 or more and a ';'"},
      {"soft: 3", "1:8: the last statement has no ';'"},
      {"soft: ;[-1] 1 x >= 1;", "1:9: the cost is no integer of 0 or more"},
      {"soft: ;[1 1 x >= 1;", "1:11: expecting ']' behind the cost"},
      {"soft: ;[1] [1] 1 x >= 1;", "1:12: unexpected character '['"},
      {"min: 1 x;\nmin: 1 y;", "2:1: a second objective"},
      {"1 x >= 1;\nmin: 1 y;", "2:1: the objective must come before the rows"},
      {"min: 1 x >= 1;", "1:10: the objective has a relation"},
      {"maximise: 1 x;", "1:1: unknown keyword \"maximise:\""},
      {"1 x >= 1;\n1 y >= 1\n", "3:1: the last statement has no ';'"},
      {"1 x", "1:4: the last statement has no ';'"},
      {"1 x ;", "1:5: the row has no relation"},
      {"1.5 x >= 1;", "1:1: the number is not an integer"},
      {"1 x >= 1.5;", "1:8: the number is not an integer"},
      {"1 x >= y;", "1:8: the right-hand side is no integer"},
      {"1 x >= 1 y;", "1:10: expecting ';' behind the right-hand side"},
      {"2x >= 1;", "1:2: a blank is missing behind the number"},
      {"1 x:2 y >= 1;", "1:4: a blank is missing behind the name"},
      {"1 ~ x >= 1;", "1:4: '~' must stand right in front of a name"},
      {"x >= 1;", "1:1: the literal has no coefficient"},
      {"3 2 x >= 1;", "1:3: a number follows a number"},
      {"+3*x >= 1;", "1:3: a term is a coefficient, a blank and a literal, without a '*'"},
      {"1 x >= 1; * no comment",
       "1:11: a term is a coefficient, a blank and a literal, without a '*'"},
      {std::string("1 x\0 >= 1;", 10), "1:4: unexpected character 0x00"},
      {"1 x\n >= 170141183460469231731687303715884105728;",
       "2:5: the number of 39 digits is beyond 127 bits"},
      // Each number fits, but a negated literal moves its weight to the bound.
      {"100000000000000000000000000000000000000 x >= 1;\n 100000000000000000000000000000000000000 "
       "~x >= 1;",
       "2:2: the numbers of this statement add up to more than 127 bits"},
      {"soft: ;\n[90000000000000000000000000000000000000] 1 x >= 1;",
       "2:2: the costs of soft constraints and the top add up to more than 127 bits"},
  };
  for (const Refused& entry : table) {
    const Result<Problem> problem = readOpb(entry.text);
    ASSERT_FALSE(problem) << entry.text;
    EXPECT_EQ(problem.error().text(), entry.error) << entry.text;
    EXPECT_EQ(problem.error().beyond_width, entry.error.find("127 bits") != std::string::npos)
        << entry.text;
  }
}

// ------------------------------------------------------------------------------------------------
// DIMACS

TEST(DimacsReader, Accepts) {
  const Accepted table[] = {
      {"c x\np cnf 4 3\n1 -2 0 4\n 0\nc in between\n-1 4 -1\nc inside\n0",
       "11 -12 >= 0; 14 >= 1; -21 14 >= -1; "},
      {"cx\r\np  cnf\t2 1 \r\n2 -2 0\r\n%\r\n0\r\n", "02 >= 0; "},
      {"p cnf 0 0\n", ""},
      {"p cnf 3 1\n0\n", ">= 1; "},
      {"p cnf 2 1\n01 -002 1 00", "21 -12 >= 0; "},
      {"p wcnf 2 4 5\n5 1 0\n4 2 0\n6 -1 0 1 0\n", "11 >= 1; -11 >= 0; [4] 12 >= 1; [1] >= 1; "},
      {"p wcnf 1 1\n5 1 0", "[5] 11 >= 1; "},
      {"c\nh 1 -2 0\n3 2 0\n h\n0\n0 2000000000 0", // 2000 million variables take no memory
       "11 -12 >= 0; >= 1; [3] 12 >= 1; [0] 12000000000 >= 1; "},
  };
  for (const Accepted& entry : table) {
    ASSERT_TRUE(isDimacs(entry.text)) << entry.text;
    const Result<Problem> problem = readDimacs(entry.text);
    ASSERT_TRUE(problem) << entry.text << "\n" << problem.error().text();
    EXPECT_EQ(show(*problem), entry.problem) << entry.text;
  }
  EXPECT_EQ(readDimacs(table[0].text)->declared, 4);
  EXPECT_EQ(readDimacs("h 7 0 1 -3 0")->declared, 7);
}

TEST(DimacsReader, KeepsHardAndSoftClausesApartInLargeProblems) {
  std::mt19937 random(3);
  std::string text;
  std::string hard;
  std::string soft;
  for (int i = 0; i < 1000; i++) {
    const std::string weight = std::to_string(random() % 100);
    const bool is_soft = i % 300 < 200 && random() % 3 != 0;
    text += (is_soft ? weight : "h") + " ";
    std::string& rows = is_soft ? soft : hard;
    if (is_soft) rows += "[" + weight + "] ";
    const auto length = random() % (i % 10 == 0 ? 200 : 4);
    for (unsigned k = 0; k < length; k++) {
      const std::string variable = std::to_string(1000 * (random() % 100) + k + 1);
      text += variable + " ";
      rows += "1" + variable + " ";
    }
    text += "0\n";
    rows += ">= 1; ";
  }
  const Result<Problem> problem = readDimacs(text);
  ASSERT_TRUE(problem) << problem.error().text();
  EXPECT_EQ(show(*problem), hard + soft);
}

TEST(DimacsReader, Refuses) {
  const Refused table[] = {
      {"c\n", "2:1: there is neither a header nor a clause"},
      {"p sat 1 1\n1 0", "1:3: the header names neither cnf nor wcnf"},
      {"p cnf 1\n1 0", "1:8: expecting the number of clauses instead of the end of the line"},
      {"p cnf -1 1\n1 0", "1:7: expecting the number of variables instead of the character '-'"},
      {"p cnf 2 1 3\n1 0", "1:11: expecting the end of the line instead of the character '3'"},
      {"p cnf 2147483647 1", "1:7: more than 2147483646 variables"},
      {"p cnf 2 1\n1 -3 0", "2:3: the variable 3 is beyond the 2 of the header"},
      {"1 3000000000 0", "1:3: the variable 3000000000 is beyond the 2147483646 that there may be"},
      {"p cnf 2 1\n1 0\n2 0", "3:1: more clauses than the 1 of the header"},
      {"p cnf 2 2\n1 0\n", "3:1: the header promises 2 clauses, the text has 1"},
      {"p cnf 2 1\n1 2\n",
       "3:1: a literal, or the 0 behind the last one, is missing at the end of the text"},
      {"p cnf 2 1\n1 c 0",
       "2:3: expecting a literal, or the 0 behind the last one, instead of the character 'c'"},
      {"p cnf 2 1\n1 2.5 0", "2:3: the number is not an integer"},
      {"p cnf 2 1\n1 - 2 0",
       "2:4: expecting a literal, or the 0 behind the last one, instead of the end of the line"},
      {"p cnf 2 1\n-0", "2:1: 0 is no variable"},
      {"p cnf 2 2\n1 0 % 0", "2:5: expecting a literal, or the 0 behind the last one, instead of "
                             "the character '%'"},
      {"p cnf 2 1\n1 0 % 0 1", "2:9: expecting the end of the text instead of the character '1'"},
      {"p wcnf 2 1 3\n-1 2 0", "2:1: a weight must not be negative"},
      {"p wcnf 2 1 3\nh 2 0", "2:1: expecting a weight instead of the character 'h'"},
      {"h 1 0\nhh 2 0", "2:2: expecting a blank behind the h instead of the character 'h'"},
      {"h 1 0\n5 2 0\n1.5 2 0", "3:1: the number is not an integer"},
      {"h 1 0\n170141183460469231731687303715884105728 1 0",
       "2:1: the number of 39 digits is beyond 127 bits"},
      {"h 1 0\n90000000000000000000000000000000000000 1 0",
       "2:1: the weights add up to more than 127 bits"},
  };
  for (const Refused& entry : table) {
    const Result<Problem> problem = readDimacs(entry.text);
    ASSERT_FALSE(problem) << entry.text;
    EXPECT_EQ(problem.error().text(), entry.error) << entry.text;
    EXPECT_EQ(problem.error().beyond_width, entry.error.ends_with("127 bits")) << entry.text;
  }
}

// ------------------------------------------------------------------------------------------------
// Any format

TEST(ProblemReader, TellsTheFormatsApart) {
  const struct {
    std::string text;
    Format format;
  } table[] = {
      {"+1*x >= 1;", Format::star},       {"c >= 1;", Format::star}, // no comment of a CNF
      {"h -1*x >= 0;", Format::star},     {"h >= 0; 1*x >= 0;", Format::star},
      {"p >= 0;", Format::star},          {"+1 x >= 1;", Format::opb},
      {"1 x 2 y\n>= 0 ;", Format::opb},   {"min: ;", Format::opb},
      {"soft: ; 1 x >= 1;", Format::wbo}, {"c\np cnf 0 0", Format::cnf},
      {"p wcnf 1 0", Format::wcnf},       {"h 1 0", Format::wcnf},
      {"3 1 -2\n 0 h 1 0", Format::wcnf},
  };
  for (const auto& entry : table) {
    const Result<Problem> found = readProblem(entry.text);
    ASSERT_TRUE(found) << entry.text << "\n" << found.error().text();
    for (const char* name : {"star", "opb", "wbo", "cnf", "wcnf"}) {
      const Format format = *formatOf(name);
      const Result<Problem> read = readProblem(entry.text, format);
      EXPECT_EQ(static_cast<bool>(read), format == entry.format) << entry.text << " as " << name;
      EXPECT_TRUE(read ? read->format == format : read.error().place.line != 0);
    }
  }
  EXPECT_FALSE(formatOf("OPB"));
  EXPECT_EQ(readProblem("soft: ;", Format::opb).error().text(),
            "1:1: the text is in the format wbo, not opb");
}

TEST(ProblemReader, ReportsTheReaderThatGotFurther) {
  EXPECT_EQ(readProblem("1 x >= 1;\n1 y >= y;").error().text(),
            "2:8: the right-hand side is no integer");
  EXPECT_EQ(readProblem("1*x >= 1;\n1*y >= y;").error().text(), "2:8: missing right-hand side");
}

// ------------------------------------------------------------------------------------------------
// From OPB to our own format

struct Converted {
  std::string opb;
  std::string star; ///< the lines behind the first
};

TEST(StarForm, ConvertsAndLosesNoRow) {
  const std::string long_name(33, 'n');
  const Converted table[] = {
      {"max: 1 x 2 ~y;1 x >= 1;",
       "* objective of the source = objective here + 2\nmax: +1*x -2*y ;\n+1*x >= 1 ;\n"},
      {"1 x -1 x >= 0; 1 y >= 1;",
       "* row 1 of the source has no variable and always holds: dropped\n"
       "* 1 of the source's variables have no weight left and do not "
       "occur\n+1*y >= 1 ;\n"},
      {"1 x >= 1; <= -1; 1 y 1 ~y = 1;",
       "* row 2 of the source has no variable and never holds: the last row stands for it\n"
       "* row 3 of the source has no variable and always holds: dropped\n"
       "* 1 of the source's variables have no weight left and do not occur\n"
       "+1*x >= 1 ;\n+1*x >= 2 ;\n"},
      {">= 99999999999;",
       "* row 1 of the source has no variable and never holds: the last row stands for it\n"
       "+1*v1_ >= 2 ;\n"},
      {"min: 2;", "* the objective of the source has no variable: it is always 2\n"
                  "* no row is left: the one here always holds\n+1*v1_ >= 0 ;\n"},
      // A fresh name is new to the source, too, and keywords are fine beside a coefficient.
      {"1 x[1] 1 v1_ 1 end 1 " + long_name + " >= 1;", "+1*v2_ +1*v1_ +1*end +1*v3_ >= 1 ;\n"},
  };
  for (const Converted& entry : table) {
    const Result<StarForm> form = toStarForm(*readOpb(entry.opb));
    ASSERT_TRUE(form) << entry.opb << "\n" << form.error().text();
    const std::string text = writeStar(form->problem, form->notes);
    EXPECT_EQ(text.substr(text.find('\n') + 1), entry.star) << entry.opb;
    const Result<Problem> again = readStar(text);
    ASSERT_TRUE(again) << text << again.error().text();
    EXPECT_EQ(again->rows.size(), form->problem.rows.size());
  }
}

TEST(StarForm, RefusesWhatOurFormatCannotHold) {
  const Refused table[] = {
      {"1 x >= 1;\n1 x\n 2147483648 y >= 1;",
       "3:2: row 2: the coefficient 2147483648 of \"y\" is beyond 2147483647"},
      {"min: 2147483647 x 1 x;\n1 x >= 1;",
       "1:6: objective: the coefficient 2147483648 of \"x\" is beyond 2147483647"},
      {"2147483647 ~x -5 y >= -9;", ""}, // rewritten: -2147483647 x - 5 y >= -2147483656
      {"1 x >= -2147483648;", "1:8: row 1: the right-hand side -2147483648 is beyond 2147483647"},
  };
  for (const Refused& entry : table) {
    const Result<StarForm> form = toStarForm(*readOpb(entry.text));
    ASSERT_FALSE(form) << entry.text;
    if (!entry.error.empty()) {
      EXPECT_EQ(form.error().text(), entry.error);
    }
  }
  EXPECT_TRUE(toStarForm(*readOpb("2147483648 x -1 x >= 1;"))) << "only the merged number counts";
}

/// Random OPB problems over few variables with negated and repeated literals. Whatever the readers,
/// the rewriting and the writer do, under every assignment each row must be as true as the literals
/// as generated say, and the objective as large.
TEST(StarForm, KeepsTheMeaningOfRandomProblems) {
  struct Literal {
    int coefficient, variable;
    bool negated;
  };
  constexpr int variables = 4;
  std::mt19937 random(7);
  const auto pick = [&](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  for (int round = 0; round < 300; round++) {
    std::string text;
    std::vector<std::vector<Literal>> sums; // the objective's first
    std::vector<int> bounds, relations;
    const int rows = pick(1, 3);
    for (int i = 0; i <= rows; i++) {
      sums.emplace_back();
      if (i == 0) text += "min: ";
      for (int k = pick(1, 6); k > 0; k--) {
        const Literal literal = {pick(-4, 4), pick(0, variables - 1), pick(0, 1) == 1};
        sums.back().push_back(literal);
        text += std::to_string(literal.coefficient) + (literal.negated ? " ~x" : " x") + "[" +
                std::to_string(literal.variable) + "] ";
      }
      relations.push_back(pick(0, 2));
      bounds.push_back(pick(-5, 5));
      if (i > 0)
        text += std::string(signOf(static_cast<Relation>(relations.back()))) + " " +
                std::to_string(bounds.back());
      text += ";\n";
    }
    const Result<Problem> opb = readOpb(text);
    ASSERT_TRUE(opb) << text << opb.error().text();
    const Result<StarForm> form = toStarForm(*opb);
    ASSERT_TRUE(form) << text;
    const Result<Problem> star = readStar(writeStar(form->problem, form->notes));
    ASSERT_TRUE(star) << text << star.error().text();

    for (unsigned bits = 0; bits < 1U << variables; bits++) {
      std::vector<int> truth;
      bool all_hold = true;
      for (size_t i = 0; i < sums.size(); i++) {
        int sum = 0;
        for (const Literal& l : sums[i])
          if (((bits >> l.variable) & 1) != static_cast<unsigned>(l.negated)) sum += l.coefficient;
        truth.push_back(sum);
        if (i > 0 && !(relations[i] == 0   ? sum <= bounds[i]
                       : relations[i] == 1 ? sum == bounds[i]
                                           : sum >= bounds[i]))
          all_hold = false;
      }
      std::vector<ValueEntry> values;
      for (int v = 0; v < variables; v++) {
        const std::string name = "x[" + std::to_string(v) + "]";
        if (opb->variables.find(name) >= 0)
          values.push_back({((bits >> v) & 1 ? "" : "-") + name, {}});
      }
      const Result<Assignment> of_opb = assignmentOf(*opb, values);
      ASSERT_TRUE(of_opb) << of_opb.error().text();
      EXPECT_EQ(evaluate(*opb, *of_opb).kind == Evaluation::Kind::holds, all_hold) << text << bits;
      const Objective& objective = opb->objective;
      EXPECT_EQ(toString(*valueOf(objective.form, *of_opb) + objective.constant),
                std::to_string(truth[0]));

      // The star form's variables by way of the renaming.
      Assignment of_star(static_cast<size_t>(star->variables.size()), Value::negative);
      for (const auto& [new_name, old_name] : form->renamed)
        if (star->variables.find(new_name) >= 0)
          of_star[static_cast<size_t>(star->variables.find(new_name))] =
              (*of_opb)[static_cast<size_t>(opb->variables.find(old_name))];
      EXPECT_EQ(evaluate(*star, of_star).kind == Evaluation::Kind::holds, all_hold) << text << bits;
      EXPECT_EQ(toString(*valueOf(star->objective.form, of_star) + objective.constant),
                std::to_string(truth[0]));
    }
  }
}

// ------------------------------------------------------------------------------------------------
// Solver outputs and their check

TEST(SolverOutput, ReadsOursAndTheCompetitions) {
  const Result<QuillonOutput> ours =
      readQuillonOutput("c starting to Solve\nc optimum objective found = -3\n"
                        "c total time              : 0 s\ns OPTIMUM FOUND\nv x1 -x2 x3 \n");
  ASSERT_TRUE(ours);
  EXPECT_EQ(ours->answer, Answer::optimum);
  EXPECT_EQ(ours->reported, std::vector<Int>{-3});
  ASSERT_EQ(ours->values.size(), 3U);
  EXPECT_EQ(ours->values[1].text, "-x2");
  EXPECT_EQ(ours->values[1].place, Place::at(5, 6));

  const Result<QuillonOutput> theirs =
      readQuillonOutput("o 9\nv x1 ~x2\no 4\nvalue of nothing\ns SATISFIABLE\r\nv x3");
  ASSERT_TRUE(theirs);
  EXPECT_EQ(theirs->answer, Answer::satisfiable);
  EXPECT_EQ(theirs->objectives, (std::vector<Int>{9, 4}));
  EXPECT_EQ(theirs->values.size(), 3U);
  EXPECT_TRUE(theirs->reported.empty());

  EXPECT_EQ(readQuillonOutput("here\ns UNSATISFIABLE\n")->answer, Answer::unsatisfiable);
  for (const char* text :
       {"s MAYBE\n", "s\n", "s UNKNOWN\ns SATISFIABLE\n", "o many\n", "o\n",
        "c optimum objective found = 3.5\n", "o 170141183460469231731687303715884105728\n"})
    EXPECT_FALSE(readQuillonOutput(text)) << text;
}

struct Claim {
  std::string problem;
  std::string output;
  std::string sentence;
};

TEST(Check, SaysWhatHoldsAndWhatDoesNot) {
  const std::string small = "min: +2*x -3*y ;\nc: +1*x +1*y >= 1 ;\n";
  const std::string widest = "60000000000000000000000000000000000000";
  const std::string vast = "min: " + widest + " x ;\n" + widest + " x >= " + widest + " ;";
  const Claim table[] = {
      // V = 2 with N = -3 is reported as 5; V = -1 as 2.
      {small, "c optimum objective found = 5\ns SATISFIABLE\nv x -y ",
       "ok: the one row holds, objective 2 as stated"},
      {small, "o -1\nc optimum objective found = 2\ns OPTIMUM FOUND\nv x y",
       "ok: the one row holds, objective -1 as stated"},
      {small, "s SATISFIABLE\nv x y", "ok: the one row holds, objective -1, none stated"},
      {small, "c optimum objective found = -1\ns OPTIMUM FOUND\nv x y",
       "wrong: the rows hold, but the objective is -1, to be reported as 2, not -1"},
      {small, "o 2\ns OPTIMUM FOUND\nv x y",
       "wrong: the rows hold, but the objective is -1, not 2"},
      {small,
       "c optimum objective found = 5\nc optimum objective found = 2\ns OPTIMUM FOUND\nv x y",
       "wrong: the rows hold, but the objective is -1, to be reported as 2, not 5"},
      {small, "o 2\no -1\ns OPTIMUM FOUND\nv x y", "ok: the one row holds, objective -1 as stated"},
      {small, "o -1\no 2\ns OPTIMUM FOUND\nv x -y",
       "wrong: the verdict is OPTIMUM FOUND with the objective 2, but -1 was stated before"},
      {small, "o -1\no 2\ns SATISFIABLE\nv x -y", "ok: the one row holds, objective 2 as stated"},
      {small, "s SATISFIABLE\nv -x -y",
       "wrong: row 1 \"c\" (line 2) does not hold: 0 >= 1 is false"},
      {small, "s SATISFIABLE\nv x", "wrong: row 1 \"c\" (line 2) uses \"y\", which has no value"},
      {"min: x; y >= 1;", "s SATISFIABLE\nv y",
       "wrong: the objective uses \"x\", which has no value"},
      {"0*x +1*y >= 1;", "s SATISFIABLE\nv y", "ok: the one row holds"},
      {small, "s SATISFIABLE\nv x y -x", "wrong: the value line has \"x\" both ways"},
      {small, "s SATISFIABLE\nv x y x", "ok: the one row holds, objective -1, none stated"},
      {small, "s SATISFIABLE\nv x y z", "wrong: the problem has no variable for the value \"z\""},
      {"* #variable= 3\n1 x1 >= 1;", "s SATISFIABLE\nv x1 -x2 x3", "ok: the one row holds"},
      {"* #variable= 3\n1 x1 >= 1;", "s SATISFIABLE\nv x1 -x4",
       "wrong: the problem has no variable for the value \"-x4\""},
      {small, "s OPTIMUM FOUND", "wrong: the verdict is OPTIMUM FOUND, but there is no value line"},
      {small, "s UNSATISFIABLE\nv x y",
       "wrong: the verdict is UNSATISFIABLE, but there is a value line"},
      {small, "s UNSATISFIABLE", "nothing to check: UNSATISFIABLE, no value line"},
      {small, "s UNKNOWN", "nothing to check: UNKNOWN, no value line"},
      {"x >= 1;", "o 1\ns OPTIMUM FOUND\nv x",
       "wrong: an objective is stated, but the problem has none"},
      // Without a positive coefficient, minimising reports -V; maximising always reports V - N.
      {"min: -x -y; x>=0;", "c optimum objective found = 2\ns OPTIMUM FOUND\nv x y",
       "ok: the one row holds, objective -2 as stated"},
      {"max: -x -y; x>=0;", "c optimum objective found = 2\ns OPTIMUM FOUND\nv -x -y",
       "ok: the one row holds, objective 0 as stated"},
      // Our format has no constant, so our program's number is free of it, and an "o" line is not.
      {"min: 2 ~x;\n1 x >= 1;", "c optimum objective found = 0\no 0\ns OPTIMUM FOUND\nv x",
       "wrong: the rows hold, but the objective is 0, to be reported as 2, not 0"},
      {"min: 2 ~x;\n1 x >= 1;", "c optimum objective found = 2\no 0\ns OPTIMUM FOUND\nv x",
       "ok: the one row holds, objective 0 as stated"},
      // A tilde may be part of a name or its negation.
      {"+1*~a +1*b >= 2;", "s SATISFIABLE\nv ~a b", "ok: the one row holds"},
      {"-1*~a +1*b >= 1;", "s SATISFIABLE\nv -~a b", "ok: the one row holds"},
      {"-1*a +1*b >= 1;", "s SATISFIABLE\nv ~a b", "ok: the one row holds"},
      // Wider than 64 bits, and one off is noticed.
      {vast, "o " + widest + "\ns OPTIMUM FOUND\nv x",
       "ok: the one row holds, objective " + widest + " as stated"},
      {vast, "o 60000000000000000000000000000000000001\ns OPTIMUM FOUND\nv x", "wrong"},
  };
  for (const Claim& claim : table) {
    const Result<Problem> problem = readProblem(claim.problem);
    ASSERT_TRUE(problem) << claim.problem << problem.error().text();
    const Result<QuillonOutput> output = readQuillonOutput(claim.output);
    ASSERT_TRUE(output) << claim.output << output.error().text();
    const Report report = checkQuillonOutput(*problem, *output);
    EXPECT_EQ(report.text().substr(0, claim.sentence == "wrong" ? 5 : std::string::npos),
              claim.sentence);
    const auto kind = claim.sentence.starts_with("ok")      ? Report::Kind::holds
                      : claim.sentence.starts_with("wrong") ? Report::Kind::fails
                                                            : Report::Kind::nothing;
    EXPECT_EQ(report.kind, kind) << report.sentence;
  }
}

// ------------------------------------------------------------------------------------------------
// Packed inputs and hostile ones

std::string fromHex(std::string_view hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
  return bytes;
}

/// What `unpack` makes of `text`, if anything.
std::optional<std::string> unpacked(const std::string& text, size_t limit = 1000) {
  Bytes bytes;
  std::copy(text.begin(), text.end(), bytes.extend(text.size()));
  const Result<Bytes> result = unpack(std::move(bytes), limit);
  if (!result) return std::nullopt;
  return std::string(std::string_view(*result));
}

TEST(InputFile, UnpacksWholeStreamsAndRefusesDamagedOnes) {
  const std::string text = "+1 x1 >= 1 ;\n";
  const struct {
    const char* hex;
    size_t detected; ///< this many bytes tell the kind
    size_t padding;  ///< this many zeros may follow a stream, 0 for none
  } table[] = {
      {"1f8b0800000000000203d33654a83054b0b3553054b0e60200b90eb55a0d000000", 2, 1},
      {"425a68393141592653594269aadb000002d88000104008200b00402000310c08188c9a390ebbd950f177245385"
       "0904269aadb0",
       10, 0},
      {"fd377a585a000004e6d6b4460200210116000000742fe5a301000c2b31207831203e3d2031203b0a0000000006"
       "cd99d481cea2da0001250d7119c4b61fb6f37d010000000004595a",
       5, 4},
  };
  for (const auto& entry : table) {
    const std::string packed = fromHex(entry.hex);
    ASSERT_TRUE(unpacked(packed)) << entry.hex;
    EXPECT_EQ(*unpacked(packed), text);
    EXPECT_EQ(*unpacked(packed + packed), text + text);
    for (size_t size = entry.detected; size < packed.size(); size++)
      EXPECT_FALSE(unpacked(packed.substr(0, size))) << entry.hex << " cut to " << size;
    EXPECT_FALSE(unpacked(packed + "!")) << entry.hex;
    const std::string zeros(std::max(entry.padding, size_t{1}), '\0');
    EXPECT_EQ(unpacked(packed + zeros).has_value(), entry.padding != 0) << entry.hex;
    EXPECT_FALSE(unpacked(packed + zeros + "!")) << entry.hex;
    EXPECT_EQ(unpacked(packed, text.size()), text);
    EXPECT_FALSE(unpacked(packed, text.size() - 1)) << entry.hex;
    std::string flipped = packed;
    flipped[flipped.size() / 2] ^= 4;
    EXPECT_FALSE(unpacked(flipped)) << entry.hex;
  }
  EXPECT_EQ(*unpacked("BZh9 >= 1;"), "BZh9 >= 1;") << "a text that begins like bzip2";
  EXPECT_EQ(*unpacked(""), "");
}

TEST(AnyReader, SurvivesDeepLongAndMutilatedTexts) {
  // Long runs show quadratic cost as a test that does not end.
  const size_t many = 100000;
  for (const char* piece :
       {"+",      "~",     "*\n",   "\r",           "x\r",  "+1*x ",   "1 x ",        "1 ~",
        "; ",     "v x\n", "min:",  "a ",           "\\\n", "x>=1;\n", "1 x >= 1;\n", "\r\r+1*a",
        "1 x y ", "x ~y ", "soft:", "[1] 1 x = 1;", "c\n",  " c",      "1 0\n",       "h "}) {
    const std::string text = repeated(piece, many);
    EXPECT_FALSE(readStar(text) && readOpb(text)) << piece;
    EXPECT_FALSE(readDimacs("p cnf 9 2\n" + text)) << piece;
    EXPECT_FALSE(readOpb("soft: ;\n1 " + text)) << piece;
    EXPECT_TRUE(readQuillonOutput(text)) << piece;
  }
  const std::string seed = "* #variable= 3\nmin: +2*x1 -3 ~x2 ;\nc: +1*x1 1 x2 >= -1 ;\nend \\\r\n"
                           "s SATISFIABLE\nv x1 -x2\no 3\nc optimum objective found = 1\n";
  std::mt19937 random(11);
  for (int round = 0; round < 4000; round++) {
    std::string text = seed.substr(random() % seed.size());
    for (int k = 0; k < 4; k++) text[random() % text.size()] = static_cast<char>(random() % 256);
    const Result<Problem> problem = readProblem(text);
    const Result<QuillonOutput> output = readQuillonOutput(text);
    if (problem && output) {
      EXPECT_FALSE(checkQuillonOutput(*problem, *output).sentence.empty());
    }
    if (!problem) {
      EXPECT_FALSE(problem.error().message.empty());
    }
  }
}

} // namespace
} // namespace formats
