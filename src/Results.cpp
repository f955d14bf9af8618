/// \file
/// The lines that state the result of a run.
#include "Results.h"

#include <cassert>
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

void printSizes(const Solver& S) {
  std::printf("c #variables read: %d - #constraints read: %d\n", S.nVars(), S.nConstrs());
}

void printOptimum(const Solver& S) {
  std::printf("c optimum objective found = %d\n", S.objectiveValue());
}

void printModel(const Solver& S, const NameVec& names) {
  if (names.size() == 0) return;
  // Collected here: a printf for each took a quarter of a run that finds its solution at once.
  static char text[1 << 14];
  size_t used = 0;
  const auto writeText = [&used] {
    std::fwrite(text, 1, used, stdout);
    used = 0;
  };
  std::printf("v ");
  for (Var x = 0; x < S.nVars(); x++) {
    const size_t length = std::strlen(names[x]);
    if (used + length + 2 > sizeof text) writeText();
    assert(length + 2 <= sizeof text); // the reader's names are short
    if (!S.model[x]) text[used++] = '-';
    std::memcpy(text + used, names[x], length);
    used += length;
    text[used++] = ' ';
  }
  writeText();
  std::printf("\n");
}

void printTotalTime(double seconds) {
  std::printf("c total time              : %g s\n", seconds);
}
