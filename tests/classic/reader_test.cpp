// The reader, through its public face: what it makes of a text, or what it says about it; then the
// services below it where a fault would stay hidden in most texts.
#include "Interrupt.h"
#include "RunEnd.h"
#include "glpavl.h"
#include "glpdmp.h"
#include "glplib.h"
#include "glplpt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

using namespace quillon;

namespace {

/// A linear form as text: "5*x1 -1*y ".
std::string shown(const LPTLFE* form) {
  std::string text;
  for (; form != nullptr; form = form->next)
    text += std::to_string(form->coef) + "*" + form->col->name + " ";
  return text;
}

/// A problem as text: "- obj: 1*x | r.1: 1*x >= 1 | x"; ordinals, counts and bounds are checked.
std::string shown(const LPT* lpt) {
  std::string text;
  if (lpt->sense != 0)
    text = std::string(1, static_cast<char>(lpt->sense)) + " " + lpt->name + ": " + shown(lpt->obj);
  int m = 0;
  for (const LPTROW* row = lpt->first_row; row != nullptr; row = row->next) {
    EXPECT_EQ(row->i, ++m);
    EXPECT_EQ(row->next == nullptr, row == lpt->last_row);
    text += std::string("| ") + row->name + ": " + shown(row->ptr) + static_cast<char>(row->sense) +
            " " + std::to_string(row->rhs) + " ";
  }
  text += "|";
  int n = 0;
  for (const LPTCOL* col = lpt->first_col; col != nullptr; col = col->next) {
    EXPECT_EQ(col->j, ++n) << col->name;
    EXPECT_EQ(col->next == nullptr, col == lpt->last_col);
    EXPECT_TRUE(col->kind == LPT_BIN && col->lb == 0 && col->ub == 1);
    text += std::string(" ") + col->name;
  }
  EXPECT_EQ(lpt->m, m);
  EXPECT_EQ(lpt->n, n);
  return text;
}

/// All that reading from `in` says, followed by the problem if there is one; closes `in`.
std::string outcome(FILE* in) {
  testing::internal::CaptureStdout();
  LPT* const lpt = glp_lpt_read_prob(in);
  std::fflush(stdout);
  std::string text = testing::internal::GetCapturedStdout();
  std::fclose(in);
  if (lpt != nullptr) {
    text += shown(lpt);
    glp_lpt_free_prob(lpt);
  }
  return text;
}

std::string outcome(const std::string& input) {
  FILE* const in = std::tmpfile();
  std::fwrite(input.data(), 1, input.size(), in);
  std::rewind(in);
  return outcome(in);
}

struct Case {
  std::string input;
  std::string expected;
};

void check(const std::vector<Case>& cases) {
  for (const Case& c : cases) EXPECT_EQ(outcome(c.input), c.expected) << c.input.substr(0, 200);
}

std::string times(size_t count, char c) {
  return std::string(count, c);
}

const std::string row = "x >= 1 ;\n";

TEST(Reader, Forms) {
  check({
      {"x>=1;\n", "| r.1: 1*x > 1 | x"},
      {"+3*x1 +2*x1 +y >= 4;\n-y -1*x1 = -0;\n",
       "| r.1: 5*x1 1*y > 4 | r.6: -1*y -1*x1 = 0 | x1 y"},
      {"-3*x +2*y +2*x -5*y + 2*x + 0*z < + 5 ;\n", "| r.1: 1*x -3*y 0*z < 5 | x y z"},
      {"-2147483647*x -1*x +2147483647*y >= -2147483647 ;\n",
       "| r.1: -2147483648*x 2147483647*y > -2147483647 | x y"},
      {"-\n3*\nx\n<=\n-\n4\n;\n", "| r.1: -3*x < -4 | x"},
      {"a<1;\nb>1;\nc=<1;\nd=>1;\ne<=1;\nf>=1;\ng=1;\n",
       "| r.1: 1*a < 1 | r.2: 1*b > 1 | r.3: 1*c < 1 | r.4: 1*d > 1 | r.5: 1*e < 1 | "
       "r.6: 1*f > 1 | r.7: 1*g = 1 | a b c d e f g"},
      {"X1 + x1 + 007*x1 >= 1;\n", "| r.1: 1*X1 8*x1 > 1 | X1 x1"},
  });
}

TEST(Reader, ObjectivesAndNames) {
  check({
      {"MIN: cost: 2*x -y ;\n" + row, "- cost: 2*x -1*y | r.6: 1*x > 1 | x y"},
      {"Maximum:\n;" + row, "+ obj: | r.2: 1*x > 1 | x"},
      {"minimum: x " + row, "- obj: 1*x | r.3: 1*x > 1 | x"},
      {";" + row, "| r.1: 1*x > 1 | x"},
      {"min : x ;\n", "c 2: missing constraint sense\n"},
      // The columns of an abandoned objective stay, and are new to every later form.
      {"max: 2*y -x - ;\nx +y +x >= 1;\n", "+ obj: | r.6: 2*x 1*y > 1 | y x"},
      // A keyword is one only as a whole word.
      {"end: x >= 1;\nst:+int +end +st -bin>= 1;\nEND\n",
       "| end: 1*x > 1 | st: 1*int 1*end 1*st -1*bin > 1 | x int end st bin"},
      {"ends +boundsx +s.t.. >= 1;\n", "| r.1: 1*ends 1*boundsx 1*s.t.. > 1 | ends boundsx s.t.."},
      // Names may be given again by default, not by hand.
      {"r.5: x >= 1;\ny >= 1;\n", "| r.5: 1*x > 1 | r.5: 1*y > 1 | x y"},
      {"x >= 1;\nr.1: x >= 1;\n", "c 4: constraint `r.1' multiply defined\n"},
      {times(32, 'n') + ": " + times(32, 'a') + "<1;\n",
       "| " + times(32, 'n') + ": 1*" + times(32, 'a') + " < 1 | " + times(32, 'a')},
  });
}

TEST(Reader, CommentsAndLines) {
  check({
      {"* a comment\n\\b\n+3*x\\2*\n* ^ \x80\n>= 1;\\end\nend\n*c",
       "c 13: warning: missing final LF\n| r.5: 3*x > 1 | x"},
      // A comment ends with its own line, and counts.
      {"*\nx >= 1 \\\n;*\n", "c 8: invalid symbol(s) beyond right-hand side\n"},
      {"*\n*a\r\n\n" + row, "| r.6: 1*x > 1 | x"},
      {"  \t\v\f\n" + row, "| r.7: 1*x > 1 | x"},
      {"\r\r\n\rx\r1 >\r= \r1 ;\r\n", "| r.2: 1*x1 > 1 | x1"},
      {"x >= 1 ;\r", "c 4: warning: missing final LF\n| r.1: 1*x > 1 | x"},
      {"x >= 1 ;\n*", "c 5: warning: missing final LF\n| r.1: 1*x > 1 | x"},
      {"x >= 1 ; \r", "| r.1: 1*x > 1 | x"},
      {"x >= 1 ;\nend \\ \n*\n", "| r.1: 1*x > 1 | x"},
  });
}

TEST(Reader, Messages) {
  const std::string out_of_range = "' out of range (2147483647)\n";
  check({
      {"", "c 0: missing variable name\n"},
      {"* x\r\n\n*\n", "c 5: missing variable name\n"},
      {"*\n*", "c 3: warning: missing final LF\nc 3: missing variable name\n"},
      {"min: x ;\n", "c 3: missing variable name\n"},
      {"x +>= 1 ;\n", "c 2: missing variable name\n"},
      {"+ - x >= 1 ;\n", "c 2: missing variable name\n"},
      {"Bounds\n" + row, "c 1: missing variable name\n"},
      {std::string("x\0", 2), std::string("c 1: invalid control character 0x00\n")},
      {"* x\ty\n", "c 2: invalid control character 0x09\n"},
      {"x ^", "c 2: warning: missing final LF\nc 2: character `^' not recognized\n"},
      {"x\xff", "c 1: warning: missing final LF\nc 1: character `\xff' not recognized\n"},
      {times(33, 'a') + "\n", "c 1: c name `" + times(32, 'a') + "...' too long > 32 characters\n"},
      {"." + row, "c 1: invalid use of decimal point\n"},
      {"2ex\n", "c 1: numeric constant `2e' incomplete\n"},
      {"x >= 1.E-;\n", "c 3: numeric constant `1.E-' incomplete\n"},
      {"x >= 1e+3;\n", "c 3: numeric constant `1e+3" + out_of_range},
      {"3.*x\n", "c 1: numeric constant `3." + out_of_range},
      {"2147483648*x\n", "c 1: numeric constant `2147483648" + out_of_range},
      {"3 *x >= 1;\n", "c 3: expecting '*' instead of \n"},
      {"3x >= 1;\n", "c 1: expecting '*' instead of x\n"},
      {"2147483647*x +x >= 1;\n",
       "c sum of numeric constants out of range [0]\nc 2: c number out of RANGE\n"},
      {"-2147483647*x -2*x >= 1;\n",
       "c sum of numeric constants out of range [0]\nc 2: c number out of RANGE\n"},
      {"x y >= 1;\n", "c 2: missing constraint sense\n"},
      {"x : y >= 1;\n", "c 2: missing constraint sense\n"},
      {"x > = 1;\n", "c 3: missing right-hand side\n"},
      {"x >= - - 1;\n", "c 4: missing right-hand side\n"},
      {"x >= 1\n", "c 3: expecting ';'\n"},
      {"x>=1;y>=1;\n", "c 1: invalid symbol(s) beyond right-hand side\n"},
      {"c: x >= 1 ;\nc: y >= 1 ;\n", "c 6: constraint `c' multiply defined\n"},
      {"x >= 1 ;;\n", "c 4: symbol `;' in wrong position\n"},
      {row + "Max: x ;\n", "c 5: symbol `Max:' in wrong position\n"},
      {row + "St\n", "c 5: symbol `St' in wrong position\n"},
      {row + "end\nend\n", "c 6: extra symbol(s) detected beyond `end'\n"},
  });
}

TEST(Reader, EveryByteInAName) {
  const std::string anywhere = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                               "!\"#$%&'(),/?@_`{|}~";
  const std::string later = ".0123456789";
  for (int byte = 0; byte < 256; byte++) {
    const std::string c(1, static_cast<char>(byte));
    for (const std::string before : {"", "a"}) {
      std::string expected;
      if (anywhere.find(c) != std::string::npos ||
          (!before.empty() && later.find(c) != std::string::npos)) {
        expected = "| r.1: 1*" + before + c + " > 1 | " + before + c;
      } else if (byte >= 128 || byte == '^' || byte == '[' || byte == ']') {
        expected = "c 1: character `" + c + "' not recognized\n";
      } else if (byte == 127 || byte < 9 || (byte > 13 && byte < 32)) {
        char message[64];
        std::snprintf(message, sizeof message, "c 1: invalid control character 0x%02X\n", byte);
        expected = message;
      } else {
        continue; // another token, white space or a carriage return: the other tables' matter
      }
      EXPECT_EQ(outcome("1*" + before + c + ">=1;\n"), expected) << byte;
    }
  }
}

TEST(Reader, Limits) {
  const std::string too_long = "word length exceeds 131071 characters\n";
  const std::string digits = times(254, '0');
  check({
      // The longest word, a comment from its second character on; and one character more.
      {"x\\" + times(131069, 'y') + "\n>= 1;\n", "| r.1: 1*x > 1 | x"},
      {"x\\" + times(131070, 'y') + "\n>= 1;\n", "c 1: " + too_long},
      {"* " + times(300000, 'y') + "\n" + row, "| r.3: 1*x > 1 | x"},
      {digits + "7*x >= 1;\n", "| r.1: 7*x > 1 | x"},
      {digits + "07*x >= 1;\n",
       "c 1: numeric constant `" + digits + "0' out of range (2147483647)\n"},
      {"x +" + digits + "7*y >= 1;\n", "| r.1: 1*x 7*y > 1 | x y"},
      {"x +" + digits + "07*y >= 1;\n",
       "c 2: numeric constant `" + digits + "0' out of range (2147483647)\n"},
      {"x +2147483647*y -2147483648*z >= 1;\n",
       "c 3: numeric constant `2147483648' out of range (2147483647)\n"},
      {digits + "0.\n", "c 1: numeric constant `" + digits + "0' out of range (2147483647)\n"},
      {times(1000, 'a'), "c 1: warning: missing final LF\nc 1: c name `" + times(32, 'a') +
                             "...' too long > 32 characters\n"},
  });
  // No stack grows with the number of comments, terms or rows.
  std::string comments;
  std::string repeated = "x";
  for (int i = 0; i < 200000; i++) {
    comments += "*\n";
    repeated += " +x";
  }
  check({{comments, "c 400000: missing variable name\n"},
         {repeated + " >= 1;\n", "| r.1: 200001*x > 1 | x"}});
}

/// Forms in which terms that come as one word meet all others, short ones and long ones.
TEST(Reader, PlainTerms) {
  const std::string long_name = times(31, 'n');
  check({
      {"+3*a -b +\n-999999999*" + long_name + "1\n-0*c -1000000000*" + long_name +
           "2 +4*a >= 1 ;\n" + "-a +00000002*b>=-1;\n+a <= 1 ;\n",
       "c 4: missing variable name\n"},
      {"+3*a -b\n-999999999*" + long_name + "1\n-0*c -1000000000*" + long_name + "2 +4*a >= 1 ;\n" +
           "-a +00000002*b>=-1;\n+a <= 1 ;\n",
       "| r.1: 7*a -1*b -999999999*" + long_name + "1 0*c -1000000000*" + long_name +
           "2 > 1 | r.10: -1*a 2*b > -1 | r.12: 1*a < 1 | a b " + long_name + "1 c " + long_name +
           "2"},
      {"+3*a +2.5*b >= 1 ;\n", "c 2: numeric constant `2.5' out of range (2147483647)\n"},
      {"+3*a +4*.b >= 1 ;\n", "c 2: invalid use of decimal point\n"},
      {"+3*a +4*5 >= 1 ;\n", "c 2: missing variable name\n"},
      {"+3*a\r -\r4*\rb\r\n>= 1 ;\n", "| r.1: 3*a -4*b > 1 | a b"},
      {"+a * +b\n+c \\ +d\n+e >= 1 ;\n", "| r.1: 1*a 1*c 1*e > 1 | a c e"},
      {"x >= 1 ; +a\n", "c 5: missing constraint sense\n"},
      {"+a >= +3*b ;\n", "c 3: expecting ';'\n"},
      {"+a >= 1 ;\n* +b\nend +c\n", "c 8: extra symbol(s) detected beyond `end'\n"},
      {"+a +2147483647*a\n+b >= 1 ;\n",
       "c sum of numeric constants out of range [0]\nc 2: c number out of RANGE\n"},
  });
  for (const int terms : {63, 64, 65, 66, 150}) {
    std::string input = "+1*y0";
    std::string form = "| r.1: 3*y0 ";
    std::string columns = " y0";
    for (int i = 1; i < terms; i++) {
      const std::string y = "y" + std::to_string(i);
      input += " +1*" + y;
      form += (i == terms - 1 ? "3*" : i == 5 ? "2*" : "1*") + y + " ";
      columns += " " + y;
    }
    const std::string last = std::to_string(terms - 1);
    input += " +y5 +2*y" + last + " +2*y0 >= 1 ;\n-y" + last + " +y5 <= 1 ;\n";
    form += "> 1 | r." + std::to_string(terms + 7) + ": -1*y" + last + " 1*y5 < 1 |";
    // Row 2's number: the terms, three more, and the three words behind them, then its first.
    check({{input, form + columns}});
  }
}

/// Words that go on from one block of input to the next, at every place where they can be cut; the
/// input comes from a file and in single characters.
TEST(Reader, BlocksCutWords) {
  const std::string text = "+12*abc -34*longer_than_8\r\n+x5 <= -67 ;\n";
  const std::string expected = ": 12*abc -34*longer_than_8 1*x5 < -67 | abc longer_than_8 x5";
  for (size_t before = 0; before <= text.size(); before++) {
    const std::string comment = "* " + times(65536 - 3 - before, 'y') + "\n";
    check({{comment + text, "| r.3" + expected}});
  }
  const std::string input = "min: +x ;\n" + text + "x >= 1 ;\n";
  FILE* const in = fopencookie(const_cast<std::string*>(&input), "r",
                               {[](void* cookie, char* buffer, size_t) -> ssize_t {
                                  static size_t at = 0;
                                  const std::string& all = *static_cast<std::string*>(cookie);
                                  if (at == all.size()) return 0;
                                  *buffer = all[at++];
                                  return 1;
                                },
                                nullptr, nullptr, nullptr});
  EXPECT_EQ(outcome(in), "- obj: 1*x | r.4: 12*abc -34*longer_than_8 1*x5 < -67 | "
                         "r.10: 1*x > 1 | x abc longer_than_8 x5");
}

TEST(Reader, ReadError) {
  EXPECT_EQ(outcome(std::fopen("/", "r")),
            std::string("c 1: read error - ") + strerror(EISDIR) + "\n");
}

/// Delivers the start of a problem, then a stop request together with `end`: 0 for the end of
/// input, -1 for a read that the signal cut short.
struct Stopping {
  bool delivered;
  int end;
};

ssize_t readStopping(void* cookie, char* buffer, size_t) {
  Stopping* const source = static_cast<Stopping*>(cookie);
  if (!source->delivered) {
    source->delivered = true;
    std::memcpy(buffer, "x >= 1 ;", 8);
    return 8;
  }
  stop_signal = 15;
  errno = EINTR;
  return source->end;
}

TEST(Reader, StopsSilently) {
  for (const int end : {0, -1}) {
    stop_signal = 0;
    Stopping source{false, end};
    EXPECT_EQ(outcome(fopencookie(&source, "r", {readStopping, nullptr, nullptr, nullptr})), "");
    EXPECT_NE(stop_signal, 0) << "the read ended before the request";
  }
  EXPECT_EQ(outcome(row), "") << "stopped before the first word";
  stop_signal = 0;
  EXPECT_EQ(outcome(row), "| r.1: 1*x > 1 | x");
}

TEST(ReaderDeathTest, EndsOfTheRun) {
  const auto exits = testing::ExitedWithCode(exit_none);
  EXPECT_EXIT((dup2(2, 1), glp_lib_too_large()), exits, "^c memory exhausted .*\ns UNKNOWN\n$");
  EXPECT_EXIT((dup2(2, 1), glp_lib_insist("a < b", "f.cpp", 7)), exits,
              "^Assertion failed: a < b; file f.cpp; line 7\n$");
}

TEST(StrictInteger, Table) {
  struct {
    const char* text;
    int code;
    int value;
  } const cases[] = {
      {"0", 0, 0},
      {"+2147483647", 0, INT_MAX},
      {"2147483648", 1, 0},
      {"-2147483648", 0, INT_MIN},
      {"-2147483649", 1, 0},
      {"2147483650", 1, 0},
      {"-21474836480", 1, 0},
      {"00000000000000000012", 0, 12},
      {"", 2, 0},
      {"-", 2, 0},
      {"+-1", 2, 0},
      {" 1", 2, 0},
      {"1 ", 2, 0},
      {"1x", 2, 0},
      {"99999999999x", 1, 0},
  };
  for (const auto& c : cases) {
    const int untouched = 4711;
    int value = untouched;
    EXPECT_EQ(glp_lib_str2int(c.text, &value), c.code) << c.text;
    EXPECT_EQ(value, c.code == 0 ? c.value : untouched) << c.text;
  }
}

TEST(Pool, RecordsAreAlignedAndApart) {
  DMP* const pool = glp_dmp_create_pool(0);
  std::mt19937 random(1);
  std::vector<std::pair<unsigned char*, size_t>> atoms;
  for (int i = 0; i < 12000; i++) {
    // The small ones at the end fill blocks to the last byte.
    const size_t size = i >= 2000 ? 1 : i % 100 == 0 ? dmp_max_atom : 1 + random() % 500;
    unsigned char* const atom = static_cast<unsigned char*>(glp_dmp_get_atomv(pool, size));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(atom) % dmp_alignment, 0u);
    std::memset(atom, i % 251, size);
    atoms.emplace_back(atom, size);
  }
  for (size_t i = 0; i < atoms.size(); i++) {
    glp_dmp_release_before(pool, atoms[i].first); // leaves this one and all later ones
    EXPECT_EQ(std::count(atoms[i].first, atoms[i].first + atoms[i].second, i % 251),
              static_cast<std::ptrdiff_t>(atoms[i].second));
  }
  EXPECT_EQ(pool->oldest, pool->newest) << "the blocks before the last record are still there";
  glp_dmp_delete_pool(pool);
}

using CodeAndKey = std::pair<std::uint64_t, std::string>;

CodeAndKey placeOf(const AVLNODE* node) {
  return {node->entry.code, static_cast<const char*>(node->entry.record)};
}

/// The height of the subtree under `node`, whose keys must lie between `low` and `high`.
int checkedHeight(const AVLNODE* node, const CodeAndKey& low, const CodeAndKey& high, int* size) {
  if (node == nullptr) return 0;
  const CodeAndKey place = placeOf(node);
  EXPECT_TRUE(low <= place && place <= high) << place.second;
  const int left = checkedHeight(node->child[0], low, place, size);
  const int right = checkedHeight(node->child[1], place, high, size);
  EXPECT_EQ(node->balance, right - left) << place.second;
  EXPECT_LE(std::abs(node->balance), 1) << place.second;
  ++*size;
  return 1 + std::max(left, right);
}

/// `count` keys, by code ascending, whose windows begin at one place in an index with up to 4096.
std::vector<std::string> collidingKeys(size_t count) {
  AVLTREE* const tree = glp_avl_create_tree(glp_avl_strcmp);
  std::vector<std::string> fillers;
  for (int i = 0; i < 2000; i++) fillers.push_back("filler" + std::to_string(i));
  for (std::string& filler : fillers) glp_avl_insert_by_key(tree, filler.data());
  EXPECT_EQ(tree->log_slots, 12u);
  std::vector<CodeAndKey> keys;
  for (int i = 1000000; keys.size() < count; i++) {
    const std::string key = std::to_string(i);
    const std::uint64_t code = glp_avl_code(key.data(), key.size());
    if (glp_avl_window(tree, code) == tree->slots + 7) keys.emplace_back(code, key);
  }
  glp_avl_delete_tree(tree);
  std::sort(keys.begin(), keys.end());
  std::vector<std::string> result;
  for (const CodeAndKey& key : keys) result.push_back(key.second);
  return result;
}

TEST(NameIndex, StaysBalancedAndFindsAll) {
  const std::vector<std::string> ascending = collidingKeys(700);
  auto descending = ascending;
  std::reverse(descending.begin(), descending.end());
  auto shuffled = ascending;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(2));
  auto repeated = shuffled;
  for (size_t i = 0; i < repeated.size(); i++) repeated[i] = shuffled[i / 10];
  std::vector<std::string> many;
  for (int i = 0; i < 20000; i++) many.push_back(std::string(i % 20, '_') + std::to_string(i));

  for (auto keys : {ascending, descending, shuffled, repeated, many}) {
    AVLTREE* const tree = glp_avl_create_tree(glp_avl_strcmp);
    int inserted = 0;
    int in_tree = 0;
    for (std::string& key : keys) {
      glp_avl_insert_by_key(tree, key.data());
      const int stride = ++inserted <= 50 ? 1 : inserted <= 700 ? 17 : 997;
      if (inserted % stride != 0) continue;
      in_tree = 0;
      checkedHeight(tree->root, {0, ""}, {UINT64_MAX, "\x7F"}, &in_tree);
      int size = in_tree;
      for (std::size_t slot = 0; slot < glp_avl_table_length(tree); slot++)
        if (tree->slots[slot].record != nullptr) size++;
      EXPECT_EQ(size, inserted);
    }
    for (const std::string& key : keys) {
      const void* const found = glp_avl_find_by_key(tree, key.c_str());
      ASSERT_NE(found, nullptr) << key;
      EXPECT_EQ(glp_avl_strcmp(found, key.c_str()), 0);
      EXPECT_EQ(glp_avl_find_by_key(tree, (key + "+").c_str()), nullptr);
    }
    EXPECT_EQ(glp_avl_find_by_key(tree, "15x"), nullptr);
    EXPECT_EQ(glp_avl_find_by_key(tree, ""), nullptr);
    // The tree has what is left over, not more: nearly all if the names have been chosen to
    // collide.
    EXPECT_EQ(in_tree > inserted / 2, keys.size() == 700) << in_tree;
    glp_avl_delete_tree(tree);
  }
}

/// Names that have one code and are told apart by their texts all the same.
TEST(NameIndex, CodesMayCoincide) {
  std::vector<std::string> names;
  for (int i = 0; i < 100; i++) names.push_back("a long name " + std::to_string(i * 7919 % 100));
  AVLTREE* const tree = glp_avl_create_tree(glp_avl_strcmp);
  for (std::string& name : names) glp_avl_insert_by_code(tree, name.data(), 0x100);
  for (std::string& name : names)
    EXPECT_EQ(glp_avl_find_by_code(tree, name.c_str(), 0x100), name.data());
  EXPECT_EQ(glp_avl_find_by_code(tree, "another", 0x100), nullptr);
  glp_avl_delete_tree(tree);
}

} // namespace
