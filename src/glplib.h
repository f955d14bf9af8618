/// \file
/// The reader's services: messages, the ends of a run that the reader itself may bring about,
/// memory, and the strict integer conversion. Everything it says goes to standard output, where the
/// rest of the results go.
#ifndef QUILLON_GLPLIB_H
#define QUILLON_GLPLIB_H

#include <cstddef>

/// Writes a message to standard output and ends the line. `fmt` and what follows are as for printf.
[[gnu::format(printf, 1, 2)]] void glp_lib_print(const char* fmt, ...);

/// The same, then the process ends with exit code 0: nothing was decided.
[[noreturn, gnu::format(printf, 1, 2)]] void glp_lib_fault(const char* fmt, ...);

/// Reports that the invariant `expr` at `file`, `line` does not hold, and ends the process through
/// `glp_lib_fault`. Called by the macro `insist` only.
[[noreturn]] void glp_lib_insist(const char* expr, const char* file, int line);

/// An invariant that is checked in every build. It holds on every input; the check is there because
/// the reader works on text that anybody may have written.
#define insist(expr) ((expr) ? (void)0 : glp_lib_insist(#expr, __FILE_NAME__, __LINE__))

/// Ends the process because there is no memory for the problem or its ordinals no longer fit an
/// int. This is the input's fault, so the run ends as for every rejected input: a message, the
/// verdict that nothing is known, exit code 0.
[[noreturn]] void glp_lib_too_large();

/// `size` bytes, at least 1, uninitialised and aligned for any type. Never null: when there is no
/// memory the process ends through `glp_lib_too_large`.
void* glp_lib_umalloc(std::size_t size);

/// Returns what `glp_lib_umalloc` gave; a null pointer is fine.
void glp_lib_ufree(void* ptr);

/// The value of the whole of `str` as a decimal integer: an optional sign, then digits, nothing
/// else and no white space anywhere. \return 0 with the value in `*val`; 1 if it lies outside
/// -2147483648 to 2147483647; 2 if `str` is not an integer. `*val` is written only on 0. Digits are
/// taken from the left, so a text that has left the range before its first wrong character gives 1.
[[nodiscard]] int glp_lib_str2int(const char* str, int* val);

#endif
