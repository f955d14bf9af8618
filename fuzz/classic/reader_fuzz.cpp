// Arbitrary bytes into the reader. The sanitizers watch how it reads; the checks here watch what it
// accepts, by the structure every consumer relies on and without a second parser.
#include "Demand.h"
#include "Silence.h"
#include "glplpt.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>

namespace {

bool isName(const char (&name)[lpt_name_length + 1]) {
  const void* const end = std::memchr(name, '\0', sizeof name);
  if (end == nullptr || name[0] == '\0') return false;
  return std::strpbrk(name, " \t\r\n*\\+-:;<>=^[]") == nullptr &&
         std::strchr(".0123456789", name[0]) == nullptr;
}

/// Checks one form. `known` is the number of columns that the forms before it hold.
/// \return the same with this form.
int checkForm(const LPTLFE* form, int known, const LPT* lpt) {
  std::set<const LPTCOL*> columns;
  for (; form != nullptr; form = form->next) {
    demand(columns.insert(form->col).second, "a form holds a column twice");
    const int j = form->col->j;
    demand(j >= 1 && j <= lpt->n, "a form holds a column that is none of the problem's");
    // An objective that was given up leaves columns that no form introduces.
    const bool is_given_up = lpt->sense != 0 && lpt->obj == nullptr;
    demand(j <= known + 1 || is_given_up, "columns are not numbered by first occurrence");
    if (j > known) known = j;
  }
  return known;
}

void checkProblem(const LPT* lpt) {
  int n = 0;
  std::set<std::string> names;
  for (const LPTCOL* col = lpt->first_col; col != nullptr; col = col->next) {
    demand(col->j == ++n, "a column's ordinal or mark is wrong");
    demand(isName(col->name), "a column's name is no name");
    demand(names.insert(col->name).second, "two columns have one name");
    demand(col->kind == LPT_BIN && col->lb == 0 && col->ub == 1, "a column is not 0 or 1");
    demand((col->next == nullptr) == (col == lpt->last_col), "the last column is another");
  }
  demand(n >= 1 && n == lpt->n, "the number of columns is wrong");

  demand(lpt->sense == 0 || lpt->sense == LPT_MIN || lpt->sense == LPT_MAX, "objective's sense");
  demand(lpt->sense == 0 ? lpt->name[0] == '\0' : isName(lpt->name), "objective's name");
  demand(lpt->sense != 0 || lpt->obj == nullptr, "a form without an objective");
  int known = checkForm(lpt->obj, 0, lpt);

  int m = 0;
  for (const LPTROW* row = lpt->first_row; row != nullptr; row = row->next) {
    demand(row->i == ++m, "a row's ordinal is wrong");
    demand(isName(row->name), "a row's name is no name");
    demand(row->ptr != nullptr, "a row has no form");
    demand(row->sense == LPT_LE || row->sense == LPT_GE || row->sense == LPT_EQ, "a row's sense");
    demand(row->rhs > INT_MIN, "a row's right-hand side cannot have been written");
    demand((row->next == nullptr) == (row == lpt->last_row), "the last row is another");
    known = checkForm(row->ptr, known, lpt);
  }
  demand(m >= 1 && m == lpt->m, "the number of rows is wrong");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const Silence silence; // the messages quote the input
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0; // not every C library opens an empty buffer
  FILE* const in = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
  if (in == nullptr) return -1;
  LPT* const lpt = glp_lpt_read_prob(in);
  std::fclose(in);
  if (lpt == nullptr) return 0;
  checkProblem(lpt);
  glp_lpt_free_prob(lpt);
  return 0;
}
