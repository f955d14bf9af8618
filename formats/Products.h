/// \file
/// Products of literals. In a problem each is one more variable, which forms use like the others.
#ifndef QUILLON_FORMATS_PRODUCTS_H
#define QUILLON_FORMATS_PRODUCTS_H

#include "Array.h"
#include "Names.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace formats {

/// A variable or its negation.
class Literal {
  std::uint32_t code = 0;

 public:
  Literal() = default;
  Literal(int variable, bool negated)
      : code(2 * static_cast<std::uint32_t>(variable) + (negated ? 1 : 0)) {}

  int variable() const { return static_cast<int>(code >> 1); }
  bool isNegated() const { return (code & 1) != 0; }
  /// Orders by variable, a literal in front of its negation.
  // The compiler's own comparison with 0 is taken for one of ours.
  auto operator<=>(const Literal&) const = default; // NOLINT(modernize-use-nullptr)
};

/// A variable that is true just when all of `factors` are; two or more, of different variables.
struct Product {
  int variable;
  std::span<const Literal> factors;
};

/// The products of a problem. Each set of factors is there once.
class Products {
  struct Packed {
    std::uint64_t end; ///< index of the factor behind the product's last one
    int variable;
  };

  Array<Packed> packed; ///< by ascending variable
  Array<Literal> factors;

 public:
  std::size_t size() const { return packed.size(); }
  bool empty() const { return packed.empty(); }
  Product operator[](std::size_t i) const;
  /// Whether `variable` is a product rather than one of the text.
  bool isProduct(int variable) const;
  /// The number of the product of `literals`, two or more of different variables in ascending
  /// order. An unknown one is entered here and in `variables`, with a name that no text has since
  /// blanks are in it.
  int add(const std::vector<Literal>& literals, Names& variables);
};

} // namespace formats

#endif
