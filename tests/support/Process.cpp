/// \file
/// Runs programs of the build as a user's script would.
#include "Process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

/// A shell starts what it puts in the background with SIGINT ignored, which our children would
/// inherit: tests that interrupt one would wait for ever.
[[maybe_unused]] const bool signals_are_default = [] {
  for (const int s : {SIGTERM, SIGINT, SIGHUP, SIGXCPU}) std::signal(s, SIG_DFL);
  return true;
}();

} // namespace

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

Process::Process(const Setup& setup) {
  std::string pattern = std::filesystem::temp_directory_path() / "quillon-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) std::abort();
  dir = pattern;
  std::ofstream(dir + "/in", std::ios::binary) << setup.input;
  const std::string in = setup.input_file.empty() ? dir + "/in" : setup.input_file;
  const std::string out = setup.output_file.empty() ? dir + "/out" : setup.output_file;
  const std::string err = dir + "/err";
  const std::string program = std::string(PROGRAM_DIR) + "/" + setup.program;
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& a : setup.arguments) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  for (const std::string& file : {dir + "/out", err}) std::ofstream create(file);

  pid = fork();
  if (pid != 0) return;
  const int in_fd = setup.input_fd >= 0 ? setup.input_fd : open(in.c_str(), O_RDONLY);
  const int out_fd = setup.output_fd >= 0 ? setup.output_fd
                                          : open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(in_fd, 0);
  dup2(out_fd, 1);
  dup2(setup.error_fd >= 0 ? setup.error_fd : open(err.c_str(), O_WRONLY | O_TRUNC), 2);
  if (setup.close_input) close(0);
  if (setup.close_output) close(1);
  for (const auto& [resource, bytes] :
       {std::pair(RLIMIT_AS, setup.address_space), std::pair(RLIMIT_STACK, setup.stack),
        std::pair(RLIMIT_FSIZE, setup.file_size)}) {
    const rlimit limit{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
    if (bytes > 0) setrlimit(resource, &limit);
  }
  for (const auto& [name, value] : setup.environment) setenv(name.c_str(), value.c_str(), 1);
  execv(program.c_str(), argv.data());
  _exit(127);
}

Process::~Process() {
  if (pid > 0) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  std::filesystem::remove_all(dir);
}

void Process::send(int signal) const {
  kill(pid, signal);
}

namespace {

bool waitFor(int pid, const std::string& file, const std::string& text) {
  for (;;) {
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT);
    const bool ended = info.si_pid != 0;
    if (slurp(file).find(text) != std::string::npos) return true;
    if (ended) return false;
    usleep(1000);
  }
}

} // namespace

bool Process::waitForError(const std::string& text) const {
  return waitFor(pid, dir + "/err", text);
}

bool Process::waitForOutput(const std::string& text) const {
  return waitFor(pid, dir + "/out", text);
}

double Process::processorTime() const {
  std::istringstream stat(slurp("/proc/" + std::to_string(pid) + "/stat"));
  std::string field;
  long user = 0;
  long system = 0;
  stat.ignore(1 << 20, ')');
  for (int i = 3; i <= 13; i++) stat >> field;
  stat >> user >> system;
  return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

Finished Process::finish() {
  Finished result;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) { // a timer of our own process
  }
  pid = -1;
  result.out = slurp(dir + "/out");
  result.err = slurp(dir + "/err");
  if (WIFEXITED(status)) result.exit = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

Finished run(const Process::Setup& setup) {
  return Process(setup).finish();
}
