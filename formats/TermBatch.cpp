/// \file
/// The look-up of many names, step by step.
#include "TermBatch.h"

namespace formats {

void TermBatch::lookUp(Names& names, const FormBuilder& builder) {
  for (int step = 1; step <= 2; step++)
    for (std::size_t i = 0; i < count; i++)
      if (entries[i].name.isHashed()) names.approach(entries[i].name, step);
  for (std::size_t i = 0; i < count; i++) {
    entries[i].variable = names.add(entries[i].name);
    builder.approach(entries[i].variable);
  }
}

} // namespace formats
