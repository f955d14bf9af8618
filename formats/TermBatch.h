/// \file
/// Terms that have gathered so that their variables are looked up at once: in a large problem that
/// takes a fraction of the time, since memory answers many questions as fast as one.
#ifndef QUILLON_FORMATS_TERM_BATCH_H
#define QUILLON_FORMATS_TERM_BATCH_H

#include "Names.h"
#include "Terms.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace formats {

class TermBatch {
 public:
  /// Enough to hide the latency of memory, few enough to stay in the nearest cache: measured with
  /// a million variables in random order, 8 take a quarter longer, and 256 no less.
  static constexpr std::size_t capacity = 64;

  struct Entry {
    Names::Sought name;
    Int coefficient;
    Place place;
    int variable; ///< known after `lookUp`
  };

 private:
  std::array<Entry, capacity> entries;
  std::size_t count = 0;

 public:
  std::size_t size() const { return count; }
  bool isFull() const { return count == capacity; }
  const Entry& operator[](std::size_t i) const { return entries[i]; }

  /// Adds a term, for which there must be room. The letters of the name must last until the batch
  /// is cleared.
  void add(const Names::Sought& name, Int coefficient, Place place) {
    entries[count++] = {name, coefficient, place, 0};
  }
  /// Finds out, and enters, the variables of all terms, in order, for a builder that will get them
  /// next.
  void lookUp(Names& names, const FormBuilder& builder);
  void clear() { count = 0; }
};

} // namespace formats

#endif
