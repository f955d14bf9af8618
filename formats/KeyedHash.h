/// \file
/// A hash that nobody outside the process can foresee, so that no input can be made whose names
/// collide. The key is drawn anew for each process; nothing that is printed may depend on it.
#ifndef QUILLON_FORMATS_KEYED_HASH_H
#define QUILLON_FORMATS_KEYED_HASH_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace formats {

struct HashKey {
  std::uint64_t first = 0;
  std::uint64_t second = 0;
};

/// The key of this process.
const HashKey& processKey();

/// SipHash-2-4 of `text` (Aumasson and Bernstein, SipHash: a fast short-input PRF, 2012).
std::uint64_t keyedHash(std::string_view text, const HashKey& key);

/// The keyed hash for the standard library's containers.
struct KeyedHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const {
    return static_cast<std::size_t>(keyedHash(text, processKey()));
  }
};

} // namespace formats

#endif
