/// \file
/// What a problem is written in: variables, literals, integers of 128 bits, terms.
#ifndef ESTOC_TYPES_H
#define ESTOC_TYPES_H

#include <cstddef>
#include <cstdint>
#include <functional>

namespace estoc {

__extension__ typedef __int128 Int128;

/// A variable: its number, from 0.
using Var = std::int32_t;

/// A variable or its negation. Literals of one variable have neighbouring indices, so that tables
/// by literal are plain arrays.
class Lit {
  std::uint32_t code = ~std::uint32_t{0};
  explicit constexpr Lit(std::uint32_t c) : code(c) {}

 public:
  /// No literal at all.
  constexpr Lit() = default;
  static constexpr Lit of(Var v, bool negated = false) {
    return Lit(2 * static_cast<std::uint32_t>(v) + (negated ? 1U : 0U));
  }
  static constexpr Lit fromIndex(std::uint32_t index) { return Lit(index); }

  constexpr std::uint32_t index() const { return code; }
  constexpr Var var() const { return static_cast<Var>(code >> 1); }
  constexpr bool negated() const { return (code & 1) != 0; }
  constexpr bool isNone() const { return code == ~std::uint32_t{0}; }
  constexpr Lit operator~() const { return Lit(code ^ 1); }
  friend constexpr bool operator==(Lit a, Lit b) { return a.code == b.code; }
  friend constexpr bool operator!=(Lit a, Lit b) { return a.code != b.code; }
  friend constexpr bool operator<(Lit a, Lit b) { return a.code < b.code; }
};

/// A coefficient and the literal it counts for.
template <class C> struct Term {
  C coefficient;
  Lit literal;
};

/// A term as problems state them.
using WideTerm = Term<Int128>;
/// A term as most problems could state it.
using SmallTerm = Term<std::int64_t>;

} // namespace estoc

#endif
