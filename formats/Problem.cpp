/// \file
/// The name table, and the merging of repeated variables.
#include "Problem.h"

#include <utility>

namespace formats {

int Names::find(std::string_view name) const {
  const auto found = numbers.find(name);
  return found == numbers.end() ? -1 : found->second;
}

int Names::add(std::string_view name) {
  const int known = find(name);
  if (known >= 0) return known;
  const int number = size();
  names.emplace_back(name);
  numbers.emplace(name, number);
  return number;
}

const char* signOf(Relation relation) {
  if (relation == Relation::at_most) return "<=";
  return relation == Relation::equal ? "=" : ">=";
}

bool FormBuilder::add(int variable, Int coefficient, Place place, Int lowest, Int highest) {
  const size_t v = static_cast<size_t>(variable);
  if (v >= position.size()) {
    position.resize(v + 1, 0);
    generation.resize(v + 1, 0);
  }
  if (generation[v] != current) {
    generation[v] = current;
    position[v] = form.size();
    form.push_back({coefficient, variable, place});
    return true;
  }
  Int sum = form[position[v]].coefficient;
  if (!addTo(sum, coefficient) || sum < lowest || sum > highest) return false;
  form[position[v]].coefficient = sum;
  return true;
}

Form FormBuilder::take() {
  current++;
  return std::exchange(form, {});
}

} // namespace formats
