/// \file
/// Arbitrary bytes into both readers of our format, the engine's and the library's. They share no
/// code, so where they agree on the problem or on the message, both have read it right, or the
/// same fault has been made twice.
#include "Demand.h"
#include "formats/StarReader.h"
#include "glplpt.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

void requireSameForm(const LPTLFE* form, formats::Form other) {
  for (const formats::Term term : other) {
    demand(form != nullptr, "length of a form");
    demand(form->coef == term.coefficient, "coefficient");
    demand(form->col->j == term.variable + 1, "variable");
    form = form->next;
  }
  demand(form == nullptr, "length of a form");
}

void requireSame(const LPT* lpt, const formats::Problem& other) {
  using formats::Sense;
  const LPTCOL* col = lpt->first_col;
  for (int j = 0; j < other.variables.size(); j++, col = col->next)
    demand(col != nullptr && col->name == other.variables[j], "names");
  demand(col == nullptr, "number of variables");

  const Sense sense = other.objective.sense;
  demand(lpt->sense == (sense == Sense::none       ? 0
                        : sense == Sense::minimise ? LPT_MIN
                                                   : LPT_MAX),
         "sense");
  demand(lpt->name == other.objective.name, "name of the objective");
  requireSameForm(lpt->obj, other.objective.form);

  const LPTROW* row = lpt->first_row;
  for (const formats::Row wanted : other.rows) {
    using formats::Relation;
    demand(row != nullptr, "number of rows");
    demand(row->name == wanted.name(), "name of a row");
    demand(row->sense == (wanted.relation == Relation::at_most ? LPT_LE
                          : wanted.relation == Relation::equal ? LPT_EQ
                                                               : LPT_GE),
           "relation");
    demand(row->rhs == wanted.bound, "right-hand side");
    requireSameForm(row->ptr, wanted.form);
    row = row->next;
  }
  demand(row == nullptr, "number of rows");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0; // not every C library opens an empty buffer
  FILE* const in = fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
  if (in == nullptr) return -1;
  // The engine prints its messages; they are caught here to be compared.
  char* printed = nullptr;
  std::size_t length = 0;
  FILE* const real_stdout = stdout;
  stdout = open_memstream(&printed, &length);
  LPT* const lpt = glp_lpt_read_prob(in);
  std::fclose(stdout);
  stdout = real_stdout;
  std::fclose(in);

  const auto problem =
      formats::readStar(std::string_view(reinterpret_cast<const char*>(data), size));
  demand((lpt != nullptr) == static_cast<bool>(problem), "whether the text is a problem");
  if (lpt != nullptr) {
    requireSame(lpt, *problem);
    glp_lpt_free_prob(lpt);
  } else {
    const std::string message =
        "c " + std::to_string(problem.error().word) + ": " + problem.error().message + "\n";
    // A NUL in the message ends the engine's; such a character is refused before it gets there.
    demand(std::string_view(printed, length).ends_with(message), "message");
  }
  std::free(printed);
  return 0;
}
