/// \file
/// Asking for memory ahead of its use.
#ifndef QUILLON_FORMATS_PREFETCH_H
#define QUILLON_FORMATS_PREFETCH_H

namespace formats {

/// Has the processor bring in what is at `place`, if it can; changes nothing otherwise.
inline void prefetch(const void* place) {
  __builtin_prefetch(place);
}

} // namespace formats

#endif
