// See glplib.h. Nothing here depends on the locale.
#include "glplib.h"

#include "Global.h"

#include <cstdarg>

namespace {

[[gnu::format(printf, 1, 0)]] void printLine(const char* fmt, va_list arg) {
  std::vprintf(fmt, arg);
  std::putchar('\n');
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

} // namespace

void glp_lib_print(const char* fmt, ...) {
  va_list arg;
  va_start(arg, fmt);
  printLine(fmt, arg);
  va_end(arg);
}

void glp_lib_fault(const char* fmt, ...) {
  va_list arg;
  va_start(arg, fmt);
  printLine(fmt, arg);
  va_end(arg);
  endRun(exit_none);
}

void glp_lib_insist(const char* expr, const char* file, int line) {
  glp_lib_fault("Assertion failed: %s; file %s; line %d", expr, file, line);
}

void glp_lib_too_large() {
  glp_lib_print("c memory exhausted while reading the problem");
  glp_lib_fault("s UNKNOWN");
}

void* glp_lib_umalloc(size_t size) {
  insist(size > 0);
  void* ptr = std::malloc(size);
  if (ptr == nullptr) glp_lib_too_large();
  return ptr;
}

void glp_lib_ufree(void* ptr) {
  std::free(ptr);
}

int glp_lib_str2int(const char* str, int* val) {
  const bool negative = *str == '-';
  if (*str == '+' || *str == '-') str++;
  if (!isDigit(*str)) return 2;
  int sum = 0; // takes the sign along, because the negative range reaches one further
  for (; isDigit(*str); str++) {
    const int digit = *str - '0';
    if (negative) {
      if (sum < INT_MIN / 10 || sum * 10 < INT_MIN + digit) return 1;
      sum = sum * 10 - digit;
    } else {
      if (sum > INT_MAX / 10 || sum * 10 > INT_MAX - digit) return 1;
      sum = sum * 10 + digit;
    }
  }
  if (*str != '\0') return 2;
  *val = sum;
  return 0;
}
