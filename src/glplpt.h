/// \file
/// The problem as it was written, and the reader that makes it from text. The reader decides what
/// is well formed and nothing else: rows keep their relations, names and order, and no constraint
/// is simplified.
#ifndef QUILLON_GLPLPT_H
#define QUILLON_GLPLPT_H

#include "glpdmp.h"

#include <cstdio>

/// The longest name of a variable, a row or the objective.
constexpr int lpt_name_length = 32;

/// Sense of the objective; 0 if there is none.
constexpr int LPT_MIN = '-'; ///< minimise
constexpr int LPT_MAX = '+'; ///< maximise

/// Sense of a row.
constexpr int LPT_LE = '<'; ///< at most
constexpr int LPT_GE = '>'; ///< at least
constexpr int LPT_EQ = '='; ///< equal

/// Kind of a column: every variable is 0 or 1.
constexpr int LPT_BIN = 'B';

/// A column: one variable.
struct LPTCOL {
  char name[lpt_name_length + 1]; ///< as written; case is significant
  int j;                          ///< ordinal from 1 in order of first occurrence
  int var;                        ///< solver variable; the loader's to write, unset until then
  int kind;                       ///< `LPT_BIN`
  int lb;                         ///< lower bound, 0
  int ub;                         ///< upper bound, 1
  LPTCOL* next;
};

/// An element of a linear form: one term.
struct LPTLFE {
  int coef;     ///< with its sign; may be 0
  LPTCOL* col;  ///< no other element of the form has this column
  LPTLFE* next; ///< in order of first occurrence within the form
};

/// A row: one constraint.
struct LPTROW {
  char name[lpt_name_length + 1]; ///< given, or "r." and the number of the row's first word
  int i;                          ///< ordinal from 1 in input order
  LPTLFE* ptr;                    ///< the linear form, never null
  int sense;                      ///< `LPT_LE`, `LPT_GE` or `LPT_EQ`
  int rhs;                        ///< right-hand side
  LPTROW* next;
};

/// A problem. Its records lie in its pools.
struct LPT {
  DMP* pool;                      ///< rows and elements, in input order
  char name[lpt_name_length + 1]; ///< of the objective: "obj" if not given, empty if there is none
  int sense;                      ///< of the objective: `LPT_MIN`, `LPT_MAX`, or 0 for none
  LPTLFE* obj;                    ///< objective's form; null if it has no terms or there is none
  int m;                          ///< number of rows, at least 1
  int n;                          ///< number of columns, at least 1
  LPTROW* first_row;
  LPTROW* last_row;
  LPTCOL* first_col;
  LPTCOL* last_col;
  DMP* col_pool; ///< columns
};

/// Reads a problem from `in`, of which nothing has been read yet through the stream, up to the end
/// of input.
/// \return the problem, for `glp_lpt_free_prob` to release; or null, after one line "c %d: ..." on
/// standard output that says what is wrong and at which word; or null without a message if
/// `stop_signal` was set meanwhile. Does not return when memory is exhausted.
[[nodiscard]] LPT* glp_lpt_read_prob(std::FILE* in);

/// Reads a problem from standard input, in the same way.
[[nodiscard]] LPT* glp_lpt_read_prob();

/// Takes the first row off the problem, or returns null when there is none left. Rows taken off
/// earlier, and the objective's form, may be released by this, so that what is made of the rows can
/// use their memory.
LPTROW* glp_lpt_next_row(LPT* lpt);

/// Releases a problem with all its rows, columns and forms.
void glp_lpt_free_prob(LPT* lpt);

#endif
