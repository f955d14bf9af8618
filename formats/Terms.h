/// \file
/// Weighted sums of variables, many of them one behind the other in one array: 16 bytes a term,
/// and as many again for a coefficient of more than 32 bits.
#ifndef QUILLON_FORMATS_TERMS_H
#define QUILLON_FORMATS_TERMS_H

#include "Array.h"
#include "Integer.h"
#include "Prefetch.h"
#include "Result.h"

#include <cstddef>
#include <cstdint>

namespace formats {

/// One weighted variable of a form.
struct Term {
  Int coefficient = 0;
  int variable = 0; ///< number in `Problem::variables`
  Place place;      ///< of the variable's first occurrence in the form
};

/// A term as it is stored.
struct PackedTerm {
  std::int32_t coefficient;  ///< or the index of a wide one
  std::uint32_t is_wide : 1; ///< whether it is such an index
  std::uint32_t variable : 31;
  Place place;
};

/// A weighted sum, as a view of terms that are stored elsewhere; good until terms are added there.
/// Each variable occurs in at most one term. Coefficients may be 0.
class Form {
  const PackedTerm* terms = nullptr;
  const Int* wide = nullptr;
  std::size_t count = 0;

 public:
  Form() = default;
  Form(const PackedTerm* first, const Int* wide_ones, std::size_t size)
      : terms(first), wide(wide_ones), count(size) {}

  class Iterator {
    const PackedTerm* at;
    const Int* wide;

   public:
    Iterator(const PackedTerm* term, const Int* wide_ones) : at(term), wide(wide_ones) {}
    Term operator*() const {
      return {at->is_wide != 0 ? wide[at->coefficient] : Int{at->coefficient},
              static_cast<int>(at->variable), at->place};
    }
    Iterator& operator++() {
      at++;
      return *this;
    }
    bool operator==(const Iterator& other) const { return at == other.at; }
  };

  std::size_t size() const { return count; }
  bool empty() const { return count == 0; }
  Term operator[](std::size_t i) const { return *Iterator(terms + i, wide); }
  Iterator begin() const { return {terms, wide}; }
  Iterator end() const { return {terms + count, wide}; }
};

/// The store of terms.
class Terms {
  Array<PackedTerm> packed;
  Array<Int> wide;

 public:
  std::size_t size() const { return packed.size(); }
  bool empty() const { return packed.empty(); }
  /// The form of the terms `first` to `last` - 1.
  Form form(std::size_t first, std::size_t last) const {
    return {packed.data() + first, wide.data(), last - first};
  }
  /// The form of all terms.
  operator Form() const { return form(0, size()); }
  Term operator[](std::size_t i) const { return form(i, i + 1)[0]; }
  Form::Iterator begin() const { return form(0, size()).begin(); }
  Form::Iterator end() const { return form(0, size()).end(); }

  void add(const Term& term) {
    PackedTerm made = {0, 0, static_cast<std::uint32_t>(term.variable) & 0x7FFFFFFF, term.place};
    setCoefficient(made, term.coefficient);
    packed.push(made);
  }
  void setCoefficient(std::size_t i, Int coefficient) { setCoefficient(packed[i], coefficient); }
  /// Drops all terms but the first `count`.
  void truncate(std::size_t count) { packed.truncate(count); }

 private:
  void setCoefficient(PackedTerm& term, Int coefficient) {
    if (term.is_wide == 0 && coefficient == static_cast<std::int32_t>(coefficient))
      term.coefficient = static_cast<std::int32_t>(coefficient);
    else
      setWide(term, coefficient);
  }
  void setWide(PackedTerm& term, Int coefficient);
};

/// Adds the terms of one form after the other to a store, merging repeated variables into the first
/// term. Constant time per term.
class FormBuilder {
  Terms* store = nullptr;
  std::size_t first = 0;    ///< index in the store of the form's first term
  std::uint32_t before = 0; ///< terms of earlier forms
  /// Per variable: how many terms there were, those of earlier forms counted, when it got its
  /// latest one.
  Array<std::uint32_t> latest;

 public:
  /// Begins a form behind the terms that `target` has; only the builder may add to it until the
  /// form is complete, which needs no call.
  void begin(Terms& target) {
    if (store != nullptr) passTerms();
    store = &target;
    first = target.size();
  }
  /// Adds `coefficient` to the variable's coefficient. False, and nothing changed, when an already
  /// present coefficient would leave `lowest` to `highest`.
  [[nodiscard]] bool add(int variable, Int coefficient, Place place, Int lowest, Int highest) {
    const std::size_t v = static_cast<std::size_t>(variable);
    if (v >= latest.size()) latest.fill(v + 1, 0);
    if (latest[v] > before)
      return merge(first + (latest[v] - before - 1), coefficient, lowest, highest);
    store->add({coefficient, variable, place});
    latest[v] = before + static_cast<std::uint32_t>(store->size() - first);
    return true;
  }
  /// Asks for the memory that `add` will use.
  void approach(int variable) const {
    const std::size_t v = static_cast<std::size_t>(variable);
    if (v < latest.size()) prefetch(&latest[v]);
  }
  /// Drops the terms of the form so far.
  void abandon();

 private:
  [[nodiscard]] bool merge(std::size_t index, Int coefficient, Int lowest, Int highest);
  /// Makes the terms of this form earlier ones. A form has less than 2^31 terms, one a variable.
  void passTerms() {
    before += static_cast<std::uint32_t>(store->size() - first);
    if (before >= std::uint32_t{1} << 31) forget();
  }
  void forget();
};

} // namespace formats

#endif
