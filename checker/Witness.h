/// \file
/// Substitutions of variables, the witnesses of redundance.
#ifndef QUILLON_CHECKER_WITNESS_H
#define QUILLON_CHECKER_WITNESS_H

#include "Sum.h"
#include "Syntax.h"

#include <vector>

namespace checker {

class Witness {
  std::vector<Image> images;
  std::vector<std::uint32_t> image_of; ///< by variable: its place in `images` plus one, or 0
  Sum scratch;

  /// Adds factor times what the literal becomes.
  void addImage(const Integer& factor, Lit literal, const Image& image);
  const Image* imageOf(Var variable) const {
    const std::uint32_t place = variable < image_of.size() ? image_of[variable] : 0;
    return place == 0 ? nullptr : &images[place - 1];
  }

 public:
  /// Throws a Refusal when a variable is mapped twice.
  void set(std::vector<Image> what);
  const std::vector<Image>& all() const { return images; }
  /// How many of the row's variables are mapped.
  std::size_t touches(const Row& row) const;
  /// "The left side does not become smaller by the witness": sum over the mapped terms of what they
  /// become, less what they are, is at least 0. With `sinks`: it does not become larger. Together
  /// with the row this implies `applied`, since all other terms remain.
  Row change(const Row& row, bool sinks);
  /// The row with every variable replaced by its image. An assignment satisfies it exactly if the
  /// composition (first the witness, then the assignment) satisfies the row.
  Row applied(const Row& row);
};

} // namespace checker

#endif
