// See glplib.h. Nothing here depends on the locale.
#include "glplib.h"

#include "RunEnd.h"
#include "glpchr.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

using namespace quillon;

namespace {

[[gnu::format(printf, 1, 0)]] void printLine(const char* fmt, va_list arg) {
  std::vprintf(fmt, arg);
  std::putchar('\n');
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
  std::exit(exit_none);
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
  const int sign = glp::signOf(*str);
  if (sign != 0) str++;
  if (!glp::isOf(*str, glp::is_digit)) return 2;
  const std::int64_t most = sign < 0 ? -std::int64_t{INT_MIN} : INT_MAX;
  std::int64_t size;
  const char* const end = glp::readDigits(str, most, size);
  if (end == nullptr) return 1;
  if (*end != '\0') return 2;
  *val = static_cast<int>(sign < 0 ? -size : size);
  return 0;
}
