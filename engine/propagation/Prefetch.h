/// \file
/// A word to the memory in advance.
#ifndef ESTOC_PROPAGATION_PREFETCH_H
#define ESTOC_PROPAGATION_PREFETCH_H

namespace estoc {

/// Has what lies at `place` brought near, for it is going to be read or written soon. Nothing comes
/// of it but time saved; any address will do.
inline void prefetch(const void* place) {
  __builtin_prefetch(place);
}

} // namespace estoc

#endif
