/// \file
/// Substituting.
#include "Witness.h"

#include "Refusal.h"

#include <algorithm>

namespace checker {

void Witness::set(std::vector<Image> what) {
  for (const Image& image : images) image_of[image.variable] = 0;
  images = std::move(what);
  for (std::size_t i = 0; i < images.size(); i++) {
    const Var v = images[i].variable;
    if (v >= image_of.size()) image_of.resize(2 * (v + std::size_t{1}));
    if (image_of[v] != 0) throw Refusal("the witness says twice what a variable becomes");
    image_of[v] = static_cast<std::uint32_t>(i + 1);
  }
}

std::size_t Witness::touches(const Row& row) const {
  return static_cast<std::size_t>(
      std::count_if(row.terms.begin(), row.terms.end(),
                    [this](const Term& t) { return imageOf(t.literal.variable()) != nullptr; }));
}

void Witness::addImage(const Integer& factor, Lit literal, const Image& image) {
  if (image.kind == Image::Kind::literal)
    scratch.addTerm(factor, literal.negated() ? ~image.literal : image.literal);
  else if (image.value != literal.negated())
    scratch.raise(-factor);
}

Row Witness::applied(const Row& row) {
  scratch.clear();
  scratch.raise(row.degree);
  for (const Term& t : row.terms) {
    if (const Image* const image = imageOf(t.literal.variable()))
      addImage(t.coefficient, t.literal, *image);
    else
      scratch.addTerm(t.coefficient, t.literal);
  }
  return scratch.row();
}

Row Witness::change(const Row& row, bool sinks) {
  scratch.clear();
  for (const Term& t : row.terms) {
    if (const Image* const image = imageOf(t.literal.variable())) {
      const Integer factor = sinks ? -t.coefficient : t.coefficient;
      addImage(factor, t.literal, *image);
      scratch.addTerm(-factor, t.literal);
    }
  }
  return scratch.row();
}

} // namespace checker
