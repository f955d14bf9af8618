/// \file
/// Names and the numbers that they get.
#include "Names.h"

#include "Refusal.h"

#include <algorithm>
#include <limits>

namespace checker {

namespace {

constexpr Var none = std::numeric_limits<Var>::max();
constexpr std::size_t most_variables = std::size_t{1} << 30U;
/// Names x0 to this one are found by their number.
constexpr std::size_t largest_number = 10000000;

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool continuesName(char c) {
  return isLetter(c) || isDigit(c) || std::string_view("[]{}^-").find(c) != std::string_view::npos;
}

/// The number behind an "x", as it is usually written; larger than `largest_number` otherwise.
std::size_t numberIn(std::string_view name) {
  if (name[0] != 'x' || name.size() > 9 || (name[1] == '0' && name.size() > 2)) return none;
  std::size_t number = 0;
  for (const char c : name.substr(1)) {
    if (!isDigit(c)) return none;
    number = 10 * number + static_cast<std::size_t>(c - '0');
  }
  return number;
}

} // namespace

bool Names::isName(std::string_view text) {
  return text.size() >= 2 && isLetter(text[0]) &&
         std::all_of(text.begin(), text.end(), continuesName);
}

Var Names::add(std::string_view name) {
  if (!isName(name)) throw Refusal("'" + std::string(name) + "' is no name of a variable");
  if (names.size() == most_variables) throw Refusal("too many variables");
  names.emplace_back(name);
  return static_cast<Var>(names.size() - 1);
}

Var Names::variable(std::string_view name) {
  if (name.size() < 2) throw Refusal("'" + std::string(name) + "' is no name of a variable");
  const std::size_t number = numberIn(name);
  if (number <= largest_number) {
    if (number >= numbered.size()) numbered.resize(std::min(largest_number, 2 * number) + 1, none);
    Var& known = numbered[number];
    if (known == none) known = add(name);
    return known;
  }
  const auto known = variables.find(name);
  if (known != variables.end()) return known->second;
  const Var variable = add(name);
  variables.emplace(names.back(), variable);
  return variable;
}

Lit Names::literal(std::string_view text) {
  const bool negated = text.starts_with('~');
  return {variable(text.substr(negated ? 1 : 0)), negated};
}

} // namespace checker
