/// \file
/// A word to the memory in advance.
#ifndef QUILLON_PREFETCH_H
#define QUILLON_PREFETCH_H

namespace quillon {

/// Has what lies at `place` brought near, for it is going to be read or written soon. Nothing comes
/// of it but time saved; any address will do, a null pointer or one past the end as well.
inline void prefetch(const void* place) {
  __builtin_prefetch(place);
}

} // namespace quillon

#endif
