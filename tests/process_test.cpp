/// \file
/// The program as a process: options, time limits, termination signals, and standard streams that
/// fail. Whatever happens, there is one whole verdict or an error that no script takes for one.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "Pattern.h"
#include "Process.h"
#include "formats/QuillonOutput.h"
#include "formats/StarReader.h"
#include "process/Display.h"
#include "process/Signals.h"

namespace {

const char* const tiny = "+1*x1 +1*x2 >= 1;\n";

/// `pigeons` pigeons in `holes` holes, as clauses: out of reach of clause learning already for a
/// dozen. With `spare` each pigeon may stay out, at a cost of 1: solutions abound then, but that
/// the best one is the best stays as hard.
std::string pigeons(int pigeons, int holes, bool spare) {
  const auto at = [](int p, int h) { return "p" + std::to_string(p) + "h" + std::to_string(h); };
  std::string rows;
  std::string objective = "min: ";
  for (int p = 1; p <= pigeons; p++) {
    for (int h = 1; h <= holes; h++) rows += "+1*" + at(p, h) + " ";
    if (spare) {
      rows += "+1*out" + std::to_string(p) + " ";
      objective += "+1*out" + std::to_string(p) + " ";
    }
    rows += ">= 1;\n";
  }
  for (int h = 1; h <= holes; h++)
    for (int p = 1; p <= pigeons; p++)
      for (int q = p + 1; q <= pigeons; q++)
        rows += "-1*" + at(p, h) + " -1*" + at(q, h) + " >= -1;\n";
  return (spare ? objective + ";\n" : "") + rows;
}

const std::string hard_decision = pigeons(14, 13, false);
const std::string hard_optimisation = pigeons(14, 13, true);

/// The lines of the output that are not comments.
std::string results(const std::string& out) {
  return replaced(out, "c .*\n", "");
}

/// Expects what a run over `problem` prints when it is stopped: total time, then the best solution
/// if there is an objective, and exit code 10.
void expectStopped(const Finished& f, const std::string& problem, bool has_solution) {
  EXPECT_EQ(f.exit, 10) << f.err;
  EXPECT_TRUE(contains(f.out, "c total time              : [0-9.e-]+ s\ns ")) << f.out;
  EXPECT_EQ(f.out.find("optimum objective"), std::string::npos);
  if (!has_solution) {
    EXPECT_EQ(results(f.out), "s UNKNOWN\n");
    return;
  }
  EXPECT_TRUE(isLike(results(f.out), "s SATISFIABLE\nv [^\n]* \n"));
  const auto parsed = formats::readStar(problem);
  const auto output = formats::readQuillonOutput(f.out);
  ASSERT_TRUE(parsed && output);
  const formats::Report report = formats::checkQuillonOutput(*parsed, *output);
  EXPECT_EQ(report.kind, formats::Report::Kind::holds) << report.sentence;
}

TEST(Options, AreInterpretedInOrder) {
  struct Case {
    std::vector<std::string> arguments;
    std::string out;
    int exit;
  };
  const std::string solved = "s SATISFIABLE\nv -x1 x2 \n";
  const std::string run_program = std::string(PROGRAM_DIR) + "/quillon";
  for (const Case& c : std::vector<Case>{
           {{}, solved, 10},
           {{"--t", "30"}, solved, 10},
           {{"--t", "+30"}, solved, 10},
           {{"ignored.txt", "--t", "5", "--t", "7", "also"}, solved, 10},
           {{"--t"}, "No time limit specified", 0},
           {{"--t", ""}, "No time limit specified", 0},
           {{"--t", "-30"}, "No time limit specified", 0},
           {{"--t", "30s"}, "Invalid time limit `30s'\n", 0},
           {{"--t", "12345678901"}, "Invalid time limit `12345678901'\n", 0},
           {{"--time"}, "Invalid option `--time'; try " + run_program + " --help\n", 0},
           {{"-"}, "Invalid option `-'; try " + run_program + " --help\n", 0},
           {{"--t", "1", "-t"}, "Invalid option `-t'; try " + run_program + " --help\n", 0}}) {
    const Finished f = run({.program = "quillon", .arguments = c.arguments, .input = tiny});
    EXPECT_EQ(results(f.out), c.out);
    EXPECT_EQ(f.exit, c.exit) << c.out;
    EXPECT_EQ(f.err,
              "c Quillon version " QUILLON_VERSION " (September 2005)\nc Developed @ Tessaly\n"
              "c  by Maravel\n");
  }
  const Finished help = run({.program = "quillon", .arguments = {"--help"}});
  EXPECT_EQ(help.exit, 0);
  EXPECT_TRUE(isLike(help.out, "Usage: quillon \\[options...\\] < filename\n\n  options:\n"
                               "   --t nnn                   set timeout to nnn seconds\n"
                               "   --help                    display this help information\n\n"
                               " for more info, please visit [^\n]+\n\n"))
      << help.out;
}

TEST(Output, HasTheLinesInTheirOrder) {
  const Finished f = run({.program = "quillon", .input = "min: +1*x1 +2*x2;\n+1*x1 +1*x2 >= 1;\n"});
  EXPECT_TRUE(isLike(f.out,
                     "c starting to Solve\nc #variables read: 2 - #constraints read: 2\n"
                     "c optimum objective found = 1\nc total time              : [0-9.e-]+ s\n"
                     "s OPTIMUM FOUND\nv x1 -x2 \n"))
      << f.out;
  EXPECT_EQ(f.exit, 30);
  const Finished g = run({.program = "quillon", .input = "+1*x1 +1*x2 >= 3;\n"});
  EXPECT_EQ(g.out, "here\ns UNSATISFIABLE\n");
  EXPECT_EQ(g.exit, 20);
}

TEST(Output, TellsWhenTheObjectiveLeavesTheRange) {
  for (const char* objective : {"max: +2147483647*x +1*y", "min: +2147483647*x +1*y",
                                "max: -2147483647*x -2*y", "min: -2147483647*x -2*y"}) {
    const Finished f =
        run({.program = "quillon", .input = objective + std::string(" ;\n+1*x +1*y >= 1 ;\n")});
    EXPECT_EQ(f.out, "c sum of numeric constants out of range [1]\ns UNKNOWN\n") << objective;
    EXPECT_EQ(f.exit, 0);
  }
}

TEST(TimeLimit, EndsTheSearchWithTheBestSolution) {
  // The limit has passed once a second of processor time has begun after it.
  const Finished decision =
      run({.program = "quillon", .arguments = {"--t", "0"}, .input = hard_decision});
  expectStopped(decision, hard_decision, false);
  for (const char* limit : {"0", "abc", ""}) { // what is no number counts as 0
    const Finished optimisation = run(
        {.program = "quillon", .environment = {{"PBTIMEOUT", limit}}, .input = hard_optimisation});
    expectStopped(optimisation, hard_optimisation, true);
  }
  // The option wins over the environment, and a negative value there is none.
  for (const char* limit : {"0", "-5"}) {
    const Finished f = run({.program = "quillon",
                            .arguments = {"--t", "1000"},
                            .environment = {{"PBTIMEOUT", limit}},
                            .input = tiny});
    EXPECT_EQ(f.exit, 10);
    EXPECT_EQ(results(f.out), "s SATISFIABLE\nv -x1 x2 \n");
  }
}

/// Waits until the process has been searching for a while.
void letSearch(const Process& process) {
  while (process.processorTime() < 0.5) usleep(1000);
}

TEST(Signals, TheFirstEndsTheSearchWithTheBestSolution) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGXCPU}) {
    Process decision({.program = "quillon", .input = hard_decision});
    Process optimisation({.program = "quillon", .input = hard_optimisation});
    letSearch(decision);
    letSearch(optimisation);
    decision.send(signal);
    optimisation.send(signal);
    expectStopped(decision.finish(), hard_decision, false);
    expectStopped(optimisation.finish(), hard_optimisation, true);
  }
}

TEST(Signals, TheSecondEndsTheProcess) {
  Process process({.program = "quillon", .input = hard_optimisation});
  letSearch(process);
  process.send(SIGSTOP); // so that both signals come before the process can do anything
  process.send(SIGTERM);
  process.send(SIGINT);
  process.send(SIGCONT);
  const Finished f = process.finish();
  EXPECT_TRUE(f.signal == SIGTERM || f.signal == SIGINT) << "exit code " << f.exit;
  EXPECT_EQ(results(f.out), "");
}

TEST(Signals, AnEchoOfTheFirstIsNoSecond) {
  for (int i = 0; i < 20; i++) {
    Process process({.program = "quillon", .input = hard_optimisation});
    while (process.processorTime() < 0.05) usleep(1000);
    process.send(SIGTERM); // as timeout(1) does
    usleep(20 * static_cast<unsigned>(i));
    process.send(SIGTERM);
    expectStopped(process.finish(), hard_optimisation, true);
  }
}

/// Delivers a signal to the handler that is installed for it, as the kernel or as a person would.
void deliver(int signal, bool by_kernel) {
  struct sigaction action = {};
  sigaction(signal, nullptr, &action);
  siginfo_t info = {};
  info.si_code = by_kernel ? SI_KERNEL : SI_USER;
  action.sa_sigaction(signal, &info, nullptr);
}

/// Ends with code 7 unless the second signal ends the process.
[[noreturn]] void twoSignals(int second, bool by_kernel) {
  process::catchStopSignals(nullptr);
  deliver(SIGTERM, false);
  deliver(second, by_kernel);
  std::_Exit(process::stopSignal() == SIGTERM ? 7 : 8);
}

TEST(SignalsDeathTest, OnlyAPersonInsists) {
  EXPECT_EXIT(twoSignals(SIGINT, false), testing::KilledBySignal(SIGINT), "");
  EXPECT_EXIT(twoSignals(SIGINT, true), testing::KilledBySignal(SIGINT), ""); // Ctrl-C
  EXPECT_EXIT(twoSignals(SIGXCPU, false), testing::KilledBySignal(SIGXCPU), "");
  EXPECT_EXIT(twoSignals(SIGXCPU, true), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(twoSignals(SIGHUP, false), testing::ExitedWithCode(7), "");
  EXPECT_EXIT((process::beginResults(), twoSignals(SIGINT, false)), testing::ExitedWithCode(7), "");
}

TEST(Signals, WhileReadingNothingIsKnown) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGXCPU}) {
    int fds[2];
    ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
    ASSERT_EQ(write(fds[1], tiny, 10), 10); // the rest never comes
    Process process({.program = "quillon", .input_fd = fds[0]});
    ASSERT_TRUE(process.waitForError("Maravel"));
    process.send(signal);
    const Finished f = process.finish();
    EXPECT_EQ(f.out, "s UNKNOWN\n");
    EXPECT_EQ(f.exit, 0);
    close(fds[0]);
    close(fds[1]);
  }
}

TEST(Signals, IgnoredOnesStayIgnored) {
  std::signal(SIGINT, SIG_IGN); // inherited, as from a shell's background job
  Process process({.program = "quillon", .arguments = {"--t", "0"}, .input = hard_decision});
  std::signal(SIGINT, SIG_DFL);
  ASSERT_TRUE(process.waitForError("Maravel"));
  process.send(SIGINT);
  expectStopped(process.finish(), hard_decision, false);
}

TEST(Progress, IsOffUnlessAskedForOrOnATerminal) {
  const std::string line("c [0-9-]{10}T[0-9:]{8}Z [0-9.]+ s, [0-9]+ conflicts, [0-9]+ restarts, "
                         "[0-9]+ learnt, best objective [0-9]+ at [0-9.]+ s\n");
  for (const char* wish : {"", "0", "1"}) {
    const Finished f = run({.program = "quillon",
                            .arguments = {"--t", std::string(wish) == "1" ? "1" : "0"},
                            .environment = {{"QUILLON_PROGRESS", wish}},
                            .input = hard_optimisation});
    expectStopped(f, hard_optimisation, true);
    EXPECT_EQ(contains(f.err, line), std::string(wish) == "1") << f.err;
    EXPECT_EQ(f.out.find("conflicts"), std::string::npos);
  }
}

/// A terminal, as its other end sees it.
class Terminal {
  int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);

 public:
  explicit Terminal(int width) {
    EXPECT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    winsize size{};
    size.ws_col = static_cast<unsigned short>(width);
    ioctl(master, TIOCSWINSZ, &size);
  }
  ~Terminal() { close(master); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  /// The side that programs use; `flags` as for open.
  int enter(int flags) const { return open(ptsname(master), O_RDWR | flags); }
  /// All that is said until the last program has left.
  std::string listen() const {
    std::string said;
    char buffer[4096];
    for (ssize_t n; (n = read(master, buffer, sizeof buffer)) > 0;)
      said.append(buffer, static_cast<size_t>(n));
    return said;
  }
};

/// What the process says on a terminal, up to its end.
std::string onTerminal(const Process::Setup& setup, int width) {
  const Terminal terminal(width);
  Process::Setup on_terminal = setup;
  on_terminal.error_fd = terminal.enter(O_NOCTTY);
  Process process(on_terminal);
  close(on_terminal.error_fd);
  const std::string said = terminal.listen();
  expectStopped(process.finish(), setup.input, true);
  return said;
}

TEST(Progress, OnATerminalIsOneLineThatGoesAway) {
  for (const int width : {200, 30}) {
    const std::string said = onTerminal(
        {.program = "quillon", .arguments = {"--t", "1"}, .input = hard_optimisation}, width);
    const std::string erase = "\r\033[K";
    ASSERT_GT(said.size(), erase.size());
    EXPECT_EQ(said.substr(said.size() - erase.size()), erase);
    const auto shown = matches(said, "\rc ([^\r\n]*)\033\\[K");
    ASSERT_FALSE(shown.empty());
    for (const std::vector<std::string>& line : shown)
      EXPECT_LT(line.at(1).size(), static_cast<std::size_t>(width - 2));
    EXPECT_EQ(shown.at(0).at(1).find("best objective") != std::string::npos, width == 200);
  }
  const std::string quiet = onTerminal({.program = "quillon",
                                        .arguments = {"--t", "0"},
                                        .environment = {{"QUILLON_PROGRESS", "0"}},
                                        .input = hard_optimisation},
                                       80);
  EXPECT_EQ(quiet.find('\033'), std::string::npos);
}

/// What a display shows in a job of the terminal's, in the foreground or not.
std::string shownToItsUser(bool foreground) {
  const Terminal terminal(200);
  const int open_meanwhile = terminal.enter(O_NOCTTY | O_CLOEXEC);
  const pid_t leader = fork();
  if (leader == 0) {
    setsid();
    dup2(terminal.enter(0), STDERR_FILENO); // now the terminal controls this session's jobs
    const pid_t job = foreground ? 0 : fork();
    if (job == 0) {
      if (!foreground) setpgid(0, 0);
      process::Display display("NO_SUCH_VARIABLE", [] {});
      display.show({.conflicts = 5,
                    .best = "12",
                    .best_time = process::wallTicks(),
                    .bound = "9",
                    .gap = 0.25});
      display.end();
    } else {
      waitpid(job, nullptr, 0);
    }
    _exit(0);
  }
  waitpid(leader, nullptr, 0);
  close(open_meanwhile);
  return terminal.listen();
}

TEST(Progress, InTheBackgroundDisturbsNobody) {
  const std::string said = shownToItsUser(true);
  for (const char* part : {"5 conflicts", "best objective 12", "bound 9", "gap 25.00 %"})
    EXPECT_NE(said.find(part), std::string::npos) << said;
  EXPECT_EQ(shownToItsUser(false), "");
}

/// A problem whose value line is longer than a pipe of the usual size can hold.
const std::string wordy = [] {
  std::string row;
  for (int i = 1000; i < 5000; i++)
    row += "+1*a_name_of_thirty_characters_" + std::to_string(i) + "\n";
  return row + ">= 1;\n";
}();

/// A pipe for standard output.
struct Pipe {
  int fds[2];
  explicit Pipe(int flags) { EXPECT_EQ(pipe2(fds, O_CLOEXEC | flags), 0); }
  ~Pipe() {
    for (const int fd : fds) close(fd);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  /// Waits until there is no room left for a page.
  void waitUntilFull() const {
    const int room = fcntl(fds[0], F_GETPIPE_SZ);
    for (int held = 0; held <= room - 4096; usleep(1000))
      ASSERT_EQ(ioctl(fds[0], FIONREAD, &held), 0);
  }
  /// Everything up to the end, when no process has the other side any more.
  std::string drain() {
    close(std::exchange(fds[1], -1));
    fcntl(fds[0], F_SETFL, 0);
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;)
      text.append(buffer, static_cast<size_t>(n));
    return text;
  }
};

TEST(StandardOutput, IsWaitedForWhenItIsFull) {
  const std::string whole = results(run({.program = "quillon", .input = wordy}).out);
  for (const int flags : {0, O_NONBLOCK}) {
    Pipe pipe(flags);
    Process process({.program = "quillon", .input = wordy, .output_fd = pipe.fds[1]});
    pipe.waitUntilFull();
    process.send(SIGTERM); // the first one: no reason to lose what is being printed
    process.send(SIGHUP);
    EXPECT_EQ(results(pipe.drain()), whole);
    EXPECT_EQ(process.finish().exit, 10);
  }
}

TEST(StandardOutput, ThatNobodyReadsDoesNotHoldUpWhoInsists) {
  for (const int flags : {0, O_NONBLOCK}) {
    const Pipe pipe(flags);
    Process process({.program = "quillon", .input = wordy, .output_fd = pipe.fds[1]});
    pipe.waitUntilFull();
    process.send(SIGTERM);
    process.send(SIGINT);
    const Finished f = process.finish();
    EXPECT_TRUE(f.signal == SIGTERM || f.signal == SIGINT) << "exit code " << f.exit;
  }
}

TEST(StandardOutput, ThatGrowsTooLargeIsAnError) {
  const Finished f = run({.program = "quillon", .input = wordy, .file_size = 50000});
  EXPECT_EQ(f.exit, 74);
  EXPECT_NE(f.err.find("standard output cannot be written"), std::string::npos) << f.err;
}

TEST(StandardOutput, ThatCannotBeWrittenIsAnError) {
  int fds[2];
  ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
  close(fds[0]);
  const std::string overflow = "+2147483647*x1 -2147483647*x2 >= 2147483647;\n";
  for (const std::string& input :
       {std::string(tiny), std::string("+1*x1 >= 2;\n"), std::string("?;"), overflow}) {
    for (const Process::Setup& setup :
         {Process::Setup{.program = "quillon", .input = input, .close_output = true},
          Process::Setup{.program = "quillon", .input = input, .output_file = "/dev/full"},
          Process::Setup{.program = "quillon", .input = input, .output_fd = fds[1]}}) {
      const Finished f = run(setup);
      EXPECT_EQ(f.exit, 74) << input;
      EXPECT_NE(f.err.find("standard output cannot be written"), std::string::npos) << f.err;
    }
  }
  const Finished help =
      run({.program = "quillon", .arguments = {"--help"}, .output_file = "/dev/full"});
  EXPECT_EQ(help.exit, 74);
  close(fds[1]);
}

} // namespace
