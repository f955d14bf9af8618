/// \file
/// Preloaded into a program, makes its allocations fail from the one with number FAIL_FROM on, or
/// with FAIL_ONCE that one alone. They are counted from 1 at the start of the process.
#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>

namespace {

long numberIn(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
}

bool fails() {
  static const long from = numberIn("FAIL_FROM");
  static const bool once = numberIn("FAIL_ONCE") != 0;
  static long count = 0;
  count++;
  if (from == 0 || count < from || (once && count > from)) return false;
  errno = ENOMEM;
  return true;
}

template <class Function> Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" void* malloc(std::size_t size) {
  static auto* const real = next<void*(std::size_t)>("malloc");
  return fails() ? nullptr : real(size);
}

extern "C" void* realloc(void* old, std::size_t size) {
  static auto* const real = next<void*(void*, std::size_t)>("realloc");
  return fails() ? nullptr : real(old, size);
}
