/// \file
/// Faults from outside: memory that runs out at any moment, and standard input that cannot be read
/// or is no problem at all. None of them may look like an answer.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "Allocator.h"
#include "Pattern.h"
#include "Process.h"

namespace {

constexpr const char* why_skipped = "AddressSanitizer has an allocator of its own, which reserves "
                                    "terabytes of address space; other builds run this";

/// Output without the one figure that differs between runs.
std::string comparable(const std::string& out) {
  return replaced(out, "(c total time +: )[^\n]*", "$1");
}

/// Where memory ran out.
enum class Phase { reading, loading, searching, never };

/// Holds a run of the solver in which memory was short against what a run with plenty printed.
Phase phaseOf(const Finished& f, const Finished& whole) {
  EXPECT_EQ(f.signal, 0) << f.err;
  if (f.exit == 71) {
    EXPECT_NE(f.err.find("memory exhausted"), std::string::npos) << f.err;
    EXPECT_FALSE(contains(f.out, "(^|\n)[sv] ")) << f.out;
    return f.out.find("c starting to Solve") == std::string::npos ? Phase::loading
                                                                  : Phase::searching;
  }
  if (f.exit == 0) {
    EXPECT_EQ(f.out, "c memory exhausted while reading the problem\ns UNKNOWN\n");
    return Phase::reading;
  }
  EXPECT_EQ(f.exit, whole.exit);
  EXPECT_EQ(comparable(f.out), comparable(whole.out));
  return Phase::never;
}

std::vector<std::pair<std::string, std::string>> failingFrom(long number, bool once) {
  return {{"LD_PRELOAD", FAILING_MALLOC},
          {"FAIL_FROM", std::to_string(number)},
          {"FAIL_ONCE", once ? "1" : "0"}};
}

/// The numbers of the allocations to let fail: all at first, then ever fewer.
long following(long number) {
  return number + 1 + number / 12;
}

TEST(Memory, MayRunOutAtAnyMoment) {
  if (!own_allocator) GTEST_SKIP() << why_skipped;
  for (const char* name : {"golden/hand_at_most_one", "golden/card_1", "instances/bm23"}) {
    const std::string input = std::string(TEST_DATA_DIR "/") + name + ".in";
    const Finished whole = run({.program = "quillon", .input_file = input});
    ASSERT_TRUE(whole.exit == 10 || whole.exit == 20 || whole.exit == 30) << input;
    for (const bool once : {false, true}) {
      std::map<Phase, int> seen;
      // Past the last allocation several runs in a row are whole.
      for (long number = 1, in_a_row = 0; in_a_row < 12; number = following(number)) {
        const Finished f = run(
            {.program = "quillon", .environment = failingFrom(number, once), .input_file = input});
        const Phase phase = phaseOf(f, whole);
        in_a_row = phase == Phase::never ? in_a_row + 1 : 0;
        seen[phase]++;
        ASSERT_FALSE(testing::Test::HasFailure()) << input << ", allocation " << number;
      }
      for (const Phase phase : {Phase::reading, Phase::loading, Phase::searching})
        EXPECT_GT(seen[phase], 0) << input << ", phase " << static_cast<int>(phase);
    }
  }
}

TEST(Memory, MayBeShortFromTheStart) {
  if (!own_allocator) GTEST_SKIP() << why_skipped;
  std::string input;
  for (int i = 0; i < 60000; i++)
    input += "+2*a" + std::to_string(i) + " +1*b" + std::to_string(i % 1000) + " +1*c >= 2;\n";
  const Finished whole = run({.program = "quillon", .input = input});
  std::map<Phase, int> seen;
  for (long limit = 8 << 20; seen[Phase::never] == 0; limit += limit / 8)
    seen[phaseOf(run({.program = "quillon", .input = input, .address_space = limit}), whole)]++;
  EXPECT_GT(seen[Phase::reading], 0);
  EXPECT_GT(seen[Phase::loading], 0);
}

TEST(Memory, NeedsLittleStack) {
  constexpr long stack = 128 << 10; // 32 kB do, but not with the sanitizers
  std::string row;
  for (int i = 1; i <= 100000; i++)
    row += " +" + std::to_string(i % 977) + "*x" + std::to_string(i);
  const struct {
    std::string input;
    int exit;
  } table[] = {{slurp(TEST_DATA_DIR "/instances/bm23.in"), 30},
               {slurp(TEST_DATA_DIR "/golden/hand_long_word.in"), 0},
               {"min: x1 ;\n" + row + " >= 2 ;\n", 30}};
  for (const auto& [input, exit] : table) {
    const Finished f = run({.program = "quillon", .input = input, .stack = stack});
    EXPECT_EQ(f.exit, exit) << f.signal << f.out.substr(0, 200);
  }
}

TEST(Memory, MayRunOutInTheTools) {
  if (!own_allocator) GTEST_SKIP() << why_skipped;
  const std::string opb = testing::TempDir() + "faults_" + std::to_string(getpid()) + ".opb";
  std::ofstream(opb) << "min: 1 x[1] 2 ~y ;\n1 x[1] 1 ~y >= 1 ;\n";
  for (const Process::Setup& setup :
       {Process::Setup{.program = "opb2quillon", .arguments = {opb}},
        Process::Setup{.program = "opb2quillon", .arguments = {"-"}, .input = "1 x >= "},
        Process::Setup{.program = "quillon-check", .arguments = {opb, "-"}, .input = "v x[1] y"},
        Process::Setup{.program = "quillon-check", .arguments = {opb, "-"}, .input = "v y -y"}}) {
    const Finished whole = run(setup);
    for (const bool once : {false, true}) {
      int failed = 0;
      for (long number = 1, in_a_row = 0; in_a_row < 12; number = following(number)) {
        Process::Setup failing = setup;
        failing.environment = failingFrom(number, once);
        const Finished f = run(failing);
        if (f.exit == whole.exit && f.out + f.err == whole.out + whole.err) {
          in_a_row++;
          continue;
        }
        in_a_row = 0;
        failed++;
        EXPECT_EQ(f.out, "");
        EXPECT_TRUE(isLike(f.err, setup.program + ": (memory exhausted|[^\n]*: "
                                                  "Cannot allocate memory)\n"))
            << f.err;
        EXPECT_EQ(f.exit, 3);
        ASSERT_FALSE(testing::Test::HasFailure()) << setup.program << ", allocation " << number;
      }
      EXPECT_GT(failed, 3);
    }
  }
  unlink(opb.c_str());
}

TEST(StandardInput, ThatCannotBeReadIsRejected) {
  const Finished closed = run({.program = "quillon", .close_input = true});
  EXPECT_EQ(closed.out, "c 1: read error - Bad file descriptor\ns UNKNOWN\n");
  EXPECT_EQ(closed.exit, 0);
  const Finished directory = run({.program = "quillon", .input_file = "/"});
  EXPECT_EQ(directory.out, "c 1: read error - Is a directory\ns UNKNOWN\n");
  EXPECT_EQ(directory.exit, 0);
}

TEST(StandardInput, ThatBreaksOffWithAnErrorIsRejected) {
  const std::string rows = "+1*x1 >= 1;\n";
  const struct {
    std::string text;
    int word; ///< during which the error comes
  } table[] = {{rows, 4}, {rows + "+1*x", 4}, {rows + "* remark", 5}, {rows + "+1*x2 >=", 5}};
  for (const auto& [text, word] : table) {
    // The controlling side of a terminal whose other side is gone: what was written, then an error.
    const int input = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_TRUE(input >= 0 && grantpt(input) == 0 && unlockpt(input) == 0);
    const int terminal = open(ptsname(input), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(write(terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(terminal);
    const Finished f = run({.program = "quillon", .input_fd = input});
    close(input);
    EXPECT_EQ(f.out,
              "c " + std::to_string(word) + ": read error - Input/output error\ns UNKNOWN\n");
    EXPECT_EQ(f.exit, 0);
  }
}

TEST(StandardInput, ThatIsGarbageIsNotReadToTheEnd) {
  constexpr off_t gigabyte = off_t{1} << 30;
  const std::string path = testing::TempDir() + "faults_" + std::to_string(getpid());
  for (const std::string& start : {std::string(),
                                   std::string("\x7F"
                                               "ELF\2\1\1"),
                                   std::string("%PDF-1.4\n"), std::string(200000, 'a'),
                                   std::string("<?xml version=\"1.0\"?>\n")}) {
    std::ofstream(path, std::ios::binary) << start;
    ASSERT_EQ(truncate(path.c_str(), gigabyte), 0); // takes no room on the disk
    const int input = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const Finished f = run({.program = "quillon", .input_fd = input});
    EXPECT_TRUE(isLike(f.out, "c 1: [^\n]+\ns UNKNOWN\n")) << f.out;
    EXPECT_EQ(f.exit, 0);
    EXPECT_LE(lseek(input, 0, SEEK_CUR), 1 << 20); // how far it was read
    close(input);
  }
  unlink(path.c_str());
}

} // namespace
