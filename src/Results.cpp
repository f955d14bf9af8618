/// \file
/// The lines that state the result of a run.
#include "Results.h"

#include <cstdio>
#include <cstring>

NameVec::~NameVec() {
  for (int i = 0; i < names.size(); i++) pool.give(names[i], std::strlen(names[i]) + 1);
}

void NameVec::push(const char* name) {
  const size_t length = std::strlen(name) + 1;
  names.push(static_cast<char*>(pool.take(length)));
  std::memcpy(names.last(), name, length);
}

size_t NameVec::bytes() const {
  size_t sum = 0;
  for (int i = 0; i < names.size(); i++) sum += sizeof(char*) + std::strlen(names[i]) + 1;
  return sum;
}

void printVerdict(Verdict verdict) {
  switch (verdict) {
  case Verdict::satisfiable:
    std::printf("s SATISFIABLE\n");
    break;
  case Verdict::unsatisfiable:
    std::printf("s UNSATISFIABLE\n");
    break;
  case Verdict::optimum:
    std::printf("s OPTIMUM FOUND\n");
    break;
  case Verdict::unknown:
    std::printf("s UNKNOWN\n");
    break;
  }
}

void printModel(const Solver& S, const NameVec& names) {
  if (names.size() == 0) return;
  std::printf("v ");
  for (Var x = 0; x < S.nVars(); x++) {
    if (!S.model[x]) std::putchar('-');
    std::fputs(names[x], stdout); // a printf for each would take as long as loading the problem
    std::putchar(' ');
  }
  std::printf("\n");
}

void printTotalTime(double seconds) {
  std::printf("c total time              : %g s\n", seconds);
}
