/// \file
/// Variables and literals as numbers, and their names.
#ifndef QUILLON_CHECKER_NAMES_H
#define QUILLON_CHECKER_NAMES_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace checker {

using Var = std::uint32_t;

/// A variable or its negation.
class Lit {
  std::uint32_t code = 0;

 public:
  Lit() = default;
  Lit(Var variable, bool negated) : code(2 * variable + (negated ? 1 : 0)) {}
  Var variable() const { return code / 2; }
  bool negated() const { return (code & 1) != 0; }
  Lit operator~() const { return {variable(), !negated()}; }
  bool operator==(const Lit&) const = default;
  /// To index arrays by: below twice the number of variables.
  std::size_t index() const { return code; }
};

/// All variables that the problem or the proof has named so far.
class Names {
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };
  std::deque<std::string> names; ///< by variable
  std::unordered_map<std::string_view, Var, Hash, std::equal_to<>> variables;
  std::vector<Var> numbered; ///< the variable x1234 is at 1234; nearly all names are of this kind

  Var add(std::string_view name);

 public:
  /// Whether `text` can name a variable: a letter or underscore, then at least one more letter,
  /// digit or any of []{}_^-.
  static bool isName(std::string_view text);
  /// The variable of that name, a new one if there is none. Throws a Refusal if it is no name.
  Var variable(std::string_view name);
  /// The literal that `text` is: a name, or one behind "~".
  Lit literal(std::string_view text);
  std::size_t size() const { return names.size(); }
  const std::string& of(Var variable) const { return names[variable]; }
};

} // namespace checker

#endif
