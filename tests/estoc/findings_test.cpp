/// \file
/// What the program does when somebody else is wrong or late: claims of the engine that do not hold
/// are never printed, and the watchdog acts when the program does not.
#include "formats/ProblemReader.h"
#include "process/Program.h"
#include "process/Watchdog.h"
#include "program/Findings.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

namespace {

constexpr const char* minimising = "min: +1 x1 +2 x2 ;\n+1 x1 +1 x2 >= 1 ;\n";
constexpr const char* soft = "soft: 5 ;\n[3] +1 x1 >= 1 ;\n[3] +1 x2 >= 1 ;\n";

using Claims = std::function<void(Findings&)>;

/// The last of `claims` is false: nothing is printed of it, nor afterwards, and one caller is to
/// end the run.
void expectRefuted(const char* text, const Claims& claims) {
  const auto problem = formats::readProblem(text);
  Findings findings(*problem, process::wallTicks(), {.verbosity = 0});
  testing::internal::CaptureStdout();
  EXPECT_THROW(claims(findings), FalseClaim);
  const std::size_t before = findings.events().size();
  findings.addSolution({true, true}, 3, "a test");
  findings.addBound(1, "a test");
  findings.comment(0, "a test");
  EXPECT_FALSE(findings.conclude(Verdict::unknown));
  EXPECT_EQ(findings.events().size(), before);
  process::flushOutput();
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(printed.empty() || printed == "o 2\n") << printed;
  EXPECT_TRUE(findings.giveUp());
  EXPECT_FALSE(findings.giveUp());
}

TEST(Findings, NothingIsPrintedOfAFalseClaimNorAfterwards) {
  const std::pair<const char*, Claims> table[] = {
      {minimising,
       [](Findings& f) {
         f.addSolution({false, false}, 0, "a fault");
       }},
      {minimising,
       [](Findings& f) {
         f.addSolution({true, false}, 0, "a fault");
       }},
      {minimising,
       [](Findings& f) {
         f.addSolution({true, false}, 2, "a fault");
       }},
      {soft,
       [](Findings& f) {
         f.addSolution({false, false}, 6, "a fault");
       }},
      {soft,
       [](Findings& f) {
         f.addSolution({false, true}, 2, "a fault");
       }},
      {minimising, [](Findings& f) { f.conclude(Verdict::optimum); }},
      {minimising, [](Findings& f) { f.conclude(Verdict::satisfiable); }},
  };
  for (const auto& [text, claims] : table) expectRefuted(text, claims);
  const Claims contradictions[] = {[](Findings& f) { f.addBound(3, "a fault"); },
                                   [](Findings& f) { f.conclude(Verdict::unsatisfiable); },
                                   [](Findings& f) {
                                     f.addBound(2, "a test");
                                     f.addSolution({true, false}, 1, "a fault");
                                   }};
  for (const Claims& contradict : contradictions)
    expectRefuted(minimising, [&](Findings& f) {
      f.addSolution({false, true}, 2, "a test");
      contradict(f);
    });
}

/// The engine may count a cost that a solution does not have, so what it claims next need not be
/// better than what is known.
TEST(Findings, KeepTheBetterOfTheTrueCosts) {
  const auto problem = formats::readProblem(soft);
  Findings findings(*problem, process::wallTicks(), {.verbosity = 0});
  testing::internal::CaptureStdout();
  findings.addSolution({true, true}, 4, "a test");
  findings.addSolution({true, false}, 3, "a test");
  EXPECT_EQ(*findings.conclude(Verdict::unknown), Verdict::satisfiable);
  EXPECT_FALSE(findings.conclude(Verdict::unknown));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "o 0\ns SATISFIABLE\nv x1 x2\n");
}

TEST(Bounds, GapIsAShareOfTheLargerMagnitude) {
  EXPECT_FALSE((Bounds{.lower = 1}).gap());
  EXPECT_EQ(*(Bounds{0, 0}).gap(), 0.0);
  EXPECT_EQ(*(Bounds{3, 4}).gap(), 0.25);
  EXPECT_EQ(*(Bounds{-4, 4}).gap(), 2.0);
}

TEST(Watchdog, PassesARequestOnAndEndsWhoeverIsLate) {
  std::atomic<int> calls{0};
  process::Watchdog dog({.on_stop = [&] { calls = 1; },
                         .grace = 0,
                         .on_overdue =
                             [&] {
                               calls += 10;
                               calls.notify_one();
                             }});
  EXPECT_EQ(dog.reason(), process::Watchdog::Reason::none);
  process::Watchdog::request();
  for (int seen = 0; seen != 11; seen = calls) calls.wait(seen);
  EXPECT_EQ(dog.reason(), process::Watchdog::Reason::request);
}

TEST(Watchdog, LeavesThoseAloneWhoEndInTime) {
  bool overdue = false;
  {
    process::Watchdog dog({.on_stop = [] {},
                           .grace = 3600 * process::ticks_per_second,
                           .on_overdue = [&] { overdue = true; }});
    process::Watchdog::request();
  }
  process::Watchdog::request(); // to nobody
  EXPECT_FALSE(overdue);
}

} // namespace
