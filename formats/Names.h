/// \file
/// A table of names, numbered from 0 in order of first occurrence. Made for many millions of them:
/// their letters lie in one array, and x1, x2 and so on, as most generators call their variables,
/// or 1, 2 and so on if wanted, are found by their number without being hashed.
#ifndef QUILLON_FORMATS_NAMES_H
#define QUILLON_FORMATS_NAMES_H

#include "Array.h"
#include "Prefetch.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace formats {

class Names {
 public:
  /// A name on its way into the table.
  struct Sought {
    std::string_view name;
    std::uint32_t index; ///< N for xN, or for N, otherwise 0
    std::uint32_t hash;  ///< 0 for these
    std::uint32_t guess; ///< number plus 1 of the name that it probably is, 0 for none
    bool isHashed() const { return index == 0; }
  };

 private:
  struct Slot {
    std::uint32_t entry = 0; ///< number of the name plus 1, 0 for a free slot
    std::uint32_t hash = 0;
  };

  Array<char> letters;       ///< of all names, one behind the other
  Array<std::uint64_t> ends; ///< per name: where its letters end
  Array<int> indexed;        ///< per N: number of its name plus 1; 0 if unknown or in `slots`
  Array<Slot> slots;         ///< open addressing; all names that are not in `indexed`
  std::size_t used = 0;      ///< slots in use, at most half of them
  std::size_t expected = 0;  ///< names of N up to this one belong in `indexed`
  std::size_t permitted = 0; ///< likewise, but memory for them is taken when they come
  bool are_numbers = false;  ///< whether N rather than xN is found by its number

  /// The N of `name` if it is xN, or N, as a number is written, without leading zeros and at most
  /// nine digits, otherwise 0.
  std::uint32_t indexOf(std::string_view name) const {
    if (!are_numbers) {
      if (!name.starts_with('x')) return 0;
      name.remove_prefix(1);
    }
    if (name.empty() || name.size() > 9 || name[0] == '0') return 0;
    std::uint32_t index = 0;
    for (std::size_t i = 0; i < name.size(); i++) {
      const unsigned digit = static_cast<unsigned char>(name[i]) - unsigned{'0'};
      if (digit > 9) return 0;
      index = 10 * index + digit;
    }
    return index;
  }

  int findHashed(std::string_view name, std::uint32_t hash) const;
  int append(std::string_view name);
  void place(Slot slot);
  void enlarge();

  Sought seekHashed(std::string_view name) const;
  int addSlowly(const Sought& sought);

 public:
  /// How many there are.
  int size() const { return static_cast<int>(ends.size()); }
  /// The number of `name`, or -1 when it is unknown.
  int find(std::string_view name) const;
  /// The number of `name`, which is entered when it is unknown; its letters must not lie in this
  /// table, unless it is a whole name of it. Throws `std::bad_alloc` when numbers of 31 bits are
  /// used up.
  int add(std::string_view name) { return add(seek(name)); }

  /// `add` in steps, for whoever has many names at hand: in a large table each step waits for
  /// memory, which the step before has asked for. All names should go through `seek`, then through
  /// `approach` with 1 and with 2, then through `add`; `approach` may be left out, always or
  /// (`isHashed` tells) for names without a hash.
  Sought seek(std::string_view name) const {
    const std::uint32_t index = indexOf(name);
    return index == 0 ? seekHashed(name) : seek(name, index);
  }
  /// The same for the name x`index`, `index` being from 1 to 999,999,999 and written without
  /// leading zeros. Not after `expectNumbers`.
  Sought seek(std::string_view name, std::uint32_t index) const {
    if (index < indexed.size()) prefetch(&indexed[index]);
    return {name, index, 0, 0};
  }
  void approach(Sought& sought, int step) const;
  int add(const Sought& sought) {
    if (sought.index != 0 && sought.index < indexed.size() && indexed[sought.index] != 0)
      return indexed[sought.index] - 1;
    if (sought.guess != 0 && (*this)[static_cast<int>(sought.guess - 1)] == sought.name)
      return static_cast<int>(sought.guess - 1);
    return addSlowly(sought);
  }

  /// The name with the given number, 0 to `size() - 1`, until another one is added.
  std::string_view operator[](int number) const {
    const std::size_t i = static_cast<std::size_t>(number);
    const std::uint64_t start = i == 0 ? 0 : ends[i - 1];
    return {letters.data() + start, static_cast<std::size_t>(ends[i] - start)};
  }
  /// Prepares for names x1 to x`count`, which need not come. Takes memory for each.
  void expect(std::size_t count) { expected = count; }
  /// Allows memory, 6 bytes each, for x1 to x`count` as soon as the last of them has come: without
  /// that, names that come long before those of smaller numbers are hashed.
  void permit(std::size_t count) { permitted = count; }
  /// Prepares likewise for names 1 to `count`. There are no names yet.
  void expectNumbers(std::size_t count) {
    expected = count;
    are_numbers = true;
  }
};

} // namespace formats

#endif
