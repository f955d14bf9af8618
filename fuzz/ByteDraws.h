/// \file
/// Problems whose choices the fuzzer makes.
#ifndef QUILLON_FUZZ_BYTE_DRAWS_H
#define QUILLON_FUZZ_BYTE_DRAWS_H

#include <fuzzer/FuzzedDataProvider.h>

#include "Draws.h"

/// Draws from the input; the least of each range when it has come to its end.
class ByteDraws : public Draws {
  FuzzedDataProvider bytes;

 public:
  ByteDraws(const std::uint8_t* data, std::size_t size) : bytes(data, size) {}
  std::int64_t between(std::int64_t low, std::int64_t high) override {
    return bytes.ConsumeIntegralInRange(low, high);
  }
};

#endif
