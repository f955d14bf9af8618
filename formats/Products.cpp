/// \file
/// The table of products.
#include "Products.h"

#include <algorithm>
#include <string>

namespace formats {

Product Products::operator[](std::size_t i) const {
  const std::uint64_t first = i == 0 ? 0 : packed[i - 1].end;
  return {packed[i].variable, {factors.data() + first, packed[i].end - first}};
}

bool Products::isProduct(int variable) const {
  const Packed* const end = packed.data() + packed.size();
  const Packed* const found =
      std::lower_bound(packed.data(), end, variable,
                       [](const Packed& product, int wanted) { return product.variable < wanted; });
  return found != end && found->variable == variable;
}

int Products::add(const std::vector<Literal>& literals, Names& variables) {
  std::string name;
  for (const Literal literal : literals) {
    if (!name.empty()) name += ' ';
    if (literal.isNegated()) name += '~';
    name += variables[literal.variable()];
  }
  const int next = variables.size();
  const int variable = variables.add(name);
  if (variable != next) return variable;
  for (const Literal literal : literals) factors.push(literal);
  packed.push({factors.size(), variable});
  return variable;
}

} // namespace formats
