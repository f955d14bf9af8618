/// \file
/// SipHash, and where its key comes from.
#include "KeyedHash.h"

#include <bit>
#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace formats {
namespace {

struct State {
  std::uint64_t a, b, c, d;

  void round() {
    a += b;
    c += d;
    b = std::rotl(b, 13) ^ a;
    d = std::rotl(d, 16) ^ c;
    a = std::rotl(a, 32);
    a += d;
    c += b;
    d = std::rotl(d, 21) ^ a;
    b = std::rotl(b, 17) ^ c;
    c = std::rotl(c, 32);
  }

  void absorb(std::uint64_t word) {
    d ^= word;
    round();
    round();
    a ^= word;
  }
};

/// The first `count` bytes, at most eight, as a number with the first one lowest.
std::uint64_t wordOf(const char* bytes, std::size_t count) {
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < count; i++)
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
  return word;
}

HashKey drawKey() {
  try {
    std::random_device device;
    const auto draw = [&] { return (static_cast<std::uint64_t>(device()) << 32) | device(); };
    return {draw(), draw()};
  } catch (const std::exception&) { // no source of randomness: better than a constant
    const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
    const auto place = reinterpret_cast<std::uintptr_t>(&std::terminate);
    return {static_cast<std::uint64_t>(now), static_cast<std::uint64_t>(place)};
  }
}

} // namespace

const HashKey& processKey() {
  static const HashKey key = drawKey();
  return key;
}

std::uint64_t keyedHash(std::string_view text, const HashKey& key) {
  State state = {key.first ^ 0x736f6d6570736575, key.second ^ 0x646f72616e646f6d,
                 key.first ^ 0x6c7967656e657261, key.second ^ 0x7465646279746573};
  const std::size_t whole = text.size() / 8 * 8;
  for (std::size_t i = 0; i < whole; i += 8) {
    if constexpr (std::endian::native == std::endian::little) {
      std::uint64_t word = 0;
      std::memcpy(&word, text.data() + i, 8);
      state.absorb(word);
    } else {
      state.absorb(wordOf(text.data() + i, 8));
    }
  }
  state.absorb(wordOf(text.data() + whole, text.size() - whole) |
               static_cast<std::uint64_t>(text.size()) << 56);
  state.c ^= 0xff;
  for (int i = 0; i < 4; i++) state.round();
  return state.a ^ state.b ^ state.c ^ state.d;
}

} // namespace formats
