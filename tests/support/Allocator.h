/// \file
/// Whether the tests' memory is that of the system.
#ifndef QUILLON_TESTS_ALLOCATOR_H
#define QUILLON_TESTS_ALLOCATOR_H

#if defined(__has_feature)
#define HAS_FEATURE(name) __has_feature(name)
#else
#define HAS_FEATURE(name) 0
#endif

/// False under AddressSanitizer, whose allocator reserves terabytes of address space.
#if defined(__SANITIZE_ADDRESS__) || HAS_FEATURE(address_sanitizer)
inline constexpr bool own_allocator = false;
#else
inline constexpr bool own_allocator = true;
#endif

#endif
