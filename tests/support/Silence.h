/// \file
/// Keeps quiet what an engine says on standard output.
#ifndef QUILLON_TESTS_SILENCE_H
#define QUILLON_TESTS_SILENCE_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

/// Standard output goes nowhere as long as this lives.
class Silence {
  int kept;

 public:
  Silence() {
    std::fflush(stdout);
    kept = dup(STDOUT_FILENO);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDOUT_FILENO);
    close(null);
  }
  ~Silence() {
    std::fflush(stdout);
    dup2(kept, STDOUT_FILENO);
    close(kept);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
};

#endif
